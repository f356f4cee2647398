// record.h - a record's bytes: which properties it has (its shape) and where their values lie.
//
// A record begins with the number of its shape, an entry in the database's dictionary of property lists; then the fixed
// part, a slot for each property in the order of their ids; then texts and blobs, packed. The slot of a text or blob is
// where it ends, counted from the start of the packed part. docs/volume-format.md has an example byte by byte.
//
// Ownership  a view points at bytes and a shape that must outlive it.
// Threads    none of their own.
// Errors     bytes that contradict themselves: false, never a read outside the value.
#ifndef KORVANESTORE_RECORD_H
#define KORVANESTORE_RECORD_H

#include "sortkey.h"

#include <vector>

namespace store {

constexpr WORD kInlineShape = 0xFFFF;   // the property list stands in the record itself
constexpr DWORD kWideText = 0x80000000; // bit of a text's slot: two bytes a character, else one
constexpr DWORD kNoSlot = 0xFFFFFFFF;

// How a slot holds its value. kNone: there is no slot.
enum class ESlot : BYTE
{
    kNone,
    kBool, // one byte, with its sign
    kWord,
    kDword,
    kQword,
    kVarying // the end of a text or blob
};
ESlot KindOfSlot(CEPROPID propid);

struct CSlot
{
    CEPROPID propid;
    DWORD cbOffset;   // in the fixed part
    DWORD cbPrevious; // offset of the slot of the text or blob before this one; kNoSlot for the first and for numbers
};

// True for the types that a property can have.
bool IsKnownType(CEPROPID propid);
inline bool IsVarying(CEPROPID propid)
{
    return TypeFromPropID(propid) == CEVT_LPWSTR || TypeFromPropID(propid) == CEVT_BLOB;
}

// A list of properties and the layout that follows from it.
class CShape
{
public:
    // The list: little-endian CEPROPIDs, ascending, each once. False when it is not that.
    bool Assign(CBytes list);
    void Assign(const CField* pFields, size_t nCount); // known types, ascending, each once

    WORD Id() const { return m_wId; }
    void SetId(WORD wId) { m_wId = wId; }
    size_t Count() const { return m_slots.size(); }
    const CSlot& operator[](size_t i) const { return m_slots[i]; }
    DWORD FixedSize() const { return m_cbFixed; }
    bool Matches(const CField* pFields, size_t nCount) const;
    size_t Find(CEPROPID propid) const; // Count() when there is none

private:
    bool Layout();
    std::vector<CSlot> m_slots;
    DWORD m_cbFixed = 0;
    WORD m_wId = kInlineShape;
};

// One record's bytes under its shape.
class CRecordView
{
public:
    // What shape a record needs: kInlineShape with the list that it brings along, or a number of the dictionary.
    static bool ShapeOf(CBytes value, WORD& wShape, CBytes& inlineList);

    bool Attach(CBytes value, const CShape& shape);
    // The same for a shape of the dictionary, whose fixed part has this size.
    bool Attach(CBytes value, DWORD cbFixed)
    {
        if (value.cb < sizeof(WORD) || value.cb - sizeof(WORD) < cbFixed) return false;
        m_pFixed = value.p + sizeof(WORD);
        m_pPacked = m_pFixed + cbFixed;
        m_cbPacked = static_cast<DWORD>(value.cb - sizeof(WORD) - cbFixed);
        return true;
    }
    const CShape& Shape() const { return *m_pShape; }

    // The value in a slot of the shape.
    bool Get(size_t nSlot, CField& field) const;
    // The same for slots of which it is known what they hold.
    bool GetVarying(const CSlot& slot, CField& field) const;
    ULONGLONG Number(ESlot kind, DWORD cbOffset) const;
    // The value of a property; field.propid is 0 when the record lacks it.
    bool Find(CEPROPID propid, CField& field) const;

private:
    const CShape* m_pShape = nullptr;
    const BYTE* m_pFixed = nullptr;
    const BYTE* m_pPacked = nullptr;
    DWORD m_cbPacked = 0;
};

inline ULONGLONG CRecordView::Number(ESlot kind, DWORD cbOffset) const
{
    const BYTE* const p = m_pFixed + cbOffset;
    switch (kind) {
    case ESlot::kBool:
        return static_cast<DWORD>(static_cast<signed char>(*p));
    case ESlot::kWord:
        return Load<WORD>(p);
    case ESlot::kDword:
        return Load<DWORD>(p);
    case ESlot::kQword:
        return Load<ULONGLONG>(p);
    default:
        return 0;
    }
}

inline bool CRecordView::GetVarying(const CSlot& slot, CField& field) const
{
    const DWORD dwEnd = Load<DWORD>(m_pFixed + slot.cbOffset), cbEnd = dwEnd & ~kWideText;
    const DWORD cbStart = slot.cbPrevious == kNoSlot ? 0 : Load<DWORD>(m_pFixed + slot.cbPrevious) & ~kWideText;
    if (cbStart > cbEnd || cbEnd > m_cbPacked) return false;
    field.propid = slot.propid;
    field.p = m_pPacked + cbStart;
    field.cch = cbEnd - cbStart;
    if (TypeFromPropID(slot.propid) == CEVT_BLOB) {
        field.form = CField::kBlob;
        return !(dwEnd & kWideText);
    }
    field.form = CField::kNarrow;
    if (dwEnd & kWideText) {
        if (field.cch % 2 != 0) return false;
        field.form = CField::kWide;
        field.cch /= 2;
    }
    return true;
}

// Bytes that a record of these fields takes, and the bytes themselves. The fields are those of the shape, in its order.
size_t RecordSize(const CField* pFields, const CShape& shape);
void EncodeRecord(const CField* pFields, const CShape& shape, BYTE* p);

// Bytes that count against the limits of the API: a number its size, a text two a character without the terminator.
DWORD DataSize(const CField& field);

// Describes a caller's text, which is at psz with its terminator. False when it has more than cchMax characters.
bool MeasureText(const wchar_t* psz, DWORD cchMax, CField& field);

// Writes a text's characters, wide, and its terminator, in the next multiple of four bytes: whoever reads the text in
// such pieces would have to wait for a last one that was written in two.
inline void ExpandText(wchar_t* pTo, const CField& field)
{
    DWORD dwLast = 0;
    if (field.form == CField::kNarrow) {
        WidenBytes(pTo, field.p, field.cch);
        if (field.cch & 1) dwLast = field.p[field.cch - 1];
    } else {
        CopyBytes(reinterpret_cast<BYTE*>(pTo), field.p, field.cch * sizeof(wchar_t));
        if (field.cch & 1) dwLast = Load<WORD>(field.p + (field.cch - 1) * sizeof(wchar_t));
    }
    Store(pTo + (field.cch & ~1u), dwLast);
}

} // namespace store

#endif
