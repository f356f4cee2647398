// An in-memory model of one row on the table "Items", limited to its fields Id, Name and Small.
//
// It does what the row and the store under it are documented to do, with lists and searches instead of an engine: every
// operation returns the row's code and leaves the row's flags and bookmark. Positions of the handle are modelled too,
// because that is where deletes, failed moves and other rows' changes meet.
#ifndef KORVANE_TESTS_KORVANEDB_MODEL_H
#define KORVANE_TESTS_KORVANEDB_MODEL_H

#include "db_fixture.h"

#include <array>
#include <optional>

// A field's value: nothing, a number (Id, Small) or a text (Name).
struct CModelValue
{
    enum EKind
    {
        None,
        Number,
        String
    } kind = None;
    long lNumber = 0;
    std::wstring text;
    bool operator==(const CModelValue& other) const
    {
        return kind == other.kind && lNumber == other.lNumber && text == other.text;
    }
};
using CModelFields = std::array<CModelValue, 3>;

struct CModelRecord
{
    CEOID oid;
    CModelFields fields;
};

class CModel
{
public:
    static constexpr int kNoIndex = -1; // else the number of the field that the index is on; Small is descending

    std::vector<CModelRecord> records; // in order of creation
    CEOID oid = 0;
    int bEof = 1;
    int bBof = 1;
    int nIndex = kNoIndex;
    std::optional<CModelValue> filter;
    CModelFields values;

    CModelRecord* Find(CEOID oidWanted);

    long MoveFirst();
    long MoveNext();
    long MovePrev();
    long MoveLast();
    long SetIndex(int nNewIndex);
    long Seek(KorvaneDB::SeekEnum type, const CModelValue& value);
    long SetBookmark(CEOID oidWanted);
    long Delete();
    long Read();
    // oidNew: what the store will call a new record.
    long Write(CEOID oidNew);
    // Another row's changes of records.
    void DeleteOther(CEOID oidGone);
    // The handle stands on the record, which another row has changed since the handle moved there.
    bool ChangedUnderTheHandle(CEOID oidRecord);

private:
    enum EPlace
    {
        OnRecord,
        Gap,
        AtEnd
    };
    // The record's place in the order of the handle: a negative result is before, 0 the same record.
    int Compare(const CModelRecord& left, const CModelRecord& right) const;
    int CompareKey(const CModelValue& left, const CModelValue& right) const;
    const CModelRecord* First() const;
    const CModelRecord* Last() const;
    void LookAtCurrent();
    const CModelRecord* Neighbour(bool bNext);
    bool MoveTo(const CModelRecord* pRecord, bool bEndIfNone);
    const CModelValue& Key(const CModelRecord& record) const { return record.fields[m_nOrder]; }

    int m_nOrder = kNoIndex; // order of the handle; the row's own index can lag behind after a failed SetIndex
    EPlace m_place = AtEnd;
    CModelRecord m_current = {}; // record of the handle, or the deleted one in front of the gap, as last seen
};

#endif
