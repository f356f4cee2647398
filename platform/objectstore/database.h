// database.h - what a process knows of one database: its descriptor, its sort orders, its dictionary of shapes.
//
// The descriptor lies in the map under DatabaseKey, shapes under ShapeKey. Shapes are only ever added; what is cached
// of them stays good until a transaction of this process is given up.
//
// Ownership  belongs to its COpenVolume and lives as long; shapes belong to the database object.
// Threads    used only while an access to the volume is held.
// Errors     Win32 codes; bytes that contradict themselves are ERROR_FILE_CORRUPT.
#ifndef KORVANESTORE_DATABASE_H
#define KORVANESTORE_DATABASE_H

#include "keys.h"
#include "record.h"

#include <memory>
#include <vector>

namespace store {

// A sort order and the number that its index entries carry.
struct COrder
{
    BYTE bId = 0; // 1 to 255; 0 stands for the order of creation, which needs no entries
    SORTORDERSPECEX spec = {};

    bool IsUnique() const;
    bool Requires(WORD nProp) const; // NONNULL, or part of a unique key
    bool HasText() const;            // the locale matters
    bool Concerns(CEPROPID propid) const;
    // Appends the key of a record. The source has bool Find(CEPROPID, CField&) as CRecordView does; false: corrupt.
    template <class TSource> bool AppendKey(CByteBuffer& key, const TSource& source, LCID lcid) const
    {
        CField field;
        for (WORD i = 0; i < spec.wNumProps; ++i) {
            if (!source.Find(spec.rgPropID[i], field)) return false;
            if (field.propid)
                AppendKeyPart(key, field, spec.rgdwFlags[i], lcid);
            else
                AppendLackingPart(key, spec.rgdwFlags[i]);
        }
        return true;
    }
};

// Fields in the order of their ids, searched as a record is.
struct CFieldList
{
    const CField* pFields;
    size_t nCount;
    bool Find(CEPROPID propid, CField& field) const;
};

class CDatabase
{
public:
    explicit CDatabase(CEOID oid) : m_oid(oid) {}
    CDatabase(const CDatabase&) = delete;
    CDatabase& operator=(const CDatabase&) = delete;

    CEOID Oid() const { return m_oid; }

    // The descriptor.
    DWORD dwType = 0;
    DWORD dwFlags = 0; // CEDB_NOCOMPRESS, CEDB_SYSTEMDB
    DWORD nRecords = 0;
    ULONGLONG cbRecords = 0;
    FILETIME ftModified = {};
    WORD nShapes = 0;
    WCHAR szName[CEDB_MAXDBASENAMELEN] = {};
    std::vector<COrder> orders;

    bool Decode(CBytes value);
    void Encode(CByteBuffer& value) const;
    DWORD Save(CWriteAccess& access, CByteBuffer& scratch) const;
    void Touch(); // sets the modification time to now

    // The shape of a stored record; null when the record or the dictionary is corrupt.
    const CShape* ShapeOf(CAccess& access, CBytes record);
    // The shape for fields that are to be written; a new one is kept back until SaveNewShape puts it into the map.
    DWORD ShapeFor(CAccess& access, const CField* pFields, size_t nCount, const CShape*& pShape);
    DWORD SaveNewShape(CWriteAccess& access, const CShape* pShape);
    bool IsNewShape(const CShape* pShape) const { return pShape == &m_newShape && pShape->Id() != kInlineShape; }
    void ForgetShapes();
    // For one that is being made: there may have been another one with its OID, in a transaction that was given up.
    void MakeEmpty();

    const COrder* FindOrder(BYTE bId) const;

    ULONGLONG ullEpoch = 0;      // of the volume, when the descriptor was read
    ULONGLONG ullShapeEpoch = 0; // likewise, of the shapes

private:
    DWORD LoadShapes(CAccess& access);

    const CEOID m_oid;
    std::vector<std::unique_ptr<CShape>> m_shapes; // by id; null: not read yet
    const CShape* m_pLastShape = nullptr;          // what was written last is often written next
    CShape m_newShape;
    CShape m_inlineShape; // of the record that ShapeOf saw last, if that brought its own
};

} // namespace store

#endif
