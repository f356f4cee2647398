#include "record.h"

namespace store {

namespace {

DWORD SlotSize(CEPROPID propid)
{
    static constexpr DWORD kSizes[] = {0, 1, 2, 4, 8, 4};
    return kSizes[static_cast<int>(KindOfSlot(propid))];
}

DWORD PackedSize(const CField& field)
{
    return field.form == CField::kWide ? field.cch * 2 : field.cch;
}

void NarrowText(BYTE* pTo, const BYTE* pFrom, DWORD cch)
{
    DWORD i = 0;
    for (; i + 8 <= cch; i += 8) {
        const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pFrom + i * 2));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(pTo + i), _mm_packus_epi16(units, units));
    }
    for (; i < cch; ++i) pTo[i] = pFrom[i * 2];
}

} // namespace

ESlot KindOfSlot(CEPROPID propid)
{
    switch (TypeFromPropID(propid)) {
    case CEVT_BOOL:
        return ESlot::kBool;
    case CEVT_I2:
    case CEVT_UI2:
        return ESlot::kWord;
    case CEVT_I4:
    case CEVT_UI4:
        return ESlot::kDword;
    case CEVT_R8:
    case CEVT_FILETIME:
        return ESlot::kQword;
    case CEVT_LPWSTR:
    case CEVT_BLOB:
        return ESlot::kVarying;
    default:
        return ESlot::kNone;
    }
}

bool IsKnownType(CEPROPID propid)
{
    return KindOfSlot(propid) != ESlot::kNone;
}

bool CShape::Layout()
{
    DWORD cbOffset = 0, cbPrevious = kNoSlot;
    CEPROPID propidBefore = 0;
    for (CSlot& slot : m_slots) {
        if ((propidBefore != 0 && slot.propid <= propidBefore) || !IsKnownType(slot.propid)) return false;
        propidBefore = slot.propid;
        slot.cbOffset = cbOffset;
        slot.cbPrevious = kNoSlot;
        if (IsVarying(slot.propid)) {
            slot.cbPrevious = cbPrevious;
            cbPrevious = cbOffset;
        }
        cbOffset += SlotSize(slot.propid);
    }
    m_cbFixed = cbOffset;
    return true;
}

bool CShape::Assign(CBytes list)
{
    if (list.cb % sizeof(CEPROPID) != 0) return false;
    m_slots.resize(list.cb / sizeof(CEPROPID));
    for (size_t i = 0; i < m_slots.size(); ++i) m_slots[i].propid = Load<CEPROPID>(list.p + i * sizeof(CEPROPID));
    return Layout();
}

void CShape::Assign(const CField* pFields, size_t nCount)
{
    m_slots.resize(nCount);
    for (size_t i = 0; i < nCount; ++i) m_slots[i].propid = pFields[i].propid;
    Layout();
}

bool CShape::Matches(const CField* pFields, size_t nCount) const
{
    if (nCount != m_slots.size()) return false;
    for (size_t i = 0; i < nCount; ++i)
        if (m_slots[i].propid != pFields[i].propid) return false;
    return true;
}

size_t CShape::Find(CEPROPID propid) const
{
    size_t nLow = 0, nHigh = m_slots.size();
    while (nLow < nHigh) {
        const size_t nMiddle = (nLow + nHigh) / 2;
        if (m_slots[nMiddle].propid < propid)
            nLow = nMiddle + 1;
        else
            nHigh = nMiddle;
    }
    return nLow < m_slots.size() && m_slots[nLow].propid == propid ? nLow : m_slots.size();
}

bool CRecordView::ShapeOf(CBytes value, WORD& wShape, CBytes& inlineList)
{
    inlineList = {};
    if (value.cb < sizeof(WORD)) return false;
    wShape = Load<WORD>(value.p);
    if (wShape != kInlineShape) return true;
    if (value.cb < 2 * sizeof(WORD)) return false;
    inlineList = {value.p + 2 * sizeof(WORD), Load<WORD>(value.p + sizeof(WORD)) * sizeof(CEPROPID)};
    return inlineList.cb <= value.cb - 2 * sizeof(WORD);
}

bool CRecordView::Attach(CBytes value, const CShape& shape)
{
    const size_t cbHead =
        sizeof(WORD) + (shape.Id() == kInlineShape ? sizeof(WORD) + shape.Count() * sizeof(CEPROPID) : 0);
    if (value.cb < cbHead || value.cb - cbHead < shape.FixedSize()) return false;
    m_pShape = &shape;
    m_pFixed = value.p + cbHead;
    m_pPacked = m_pFixed + shape.FixedSize();
    m_cbPacked = static_cast<DWORD>(value.cb - cbHead - shape.FixedSize());
    return true;
}

bool CRecordView::Get(size_t nSlot, CField& field) const
{
    const CSlot& slot = (*m_pShape)[nSlot];
    const ESlot kind = KindOfSlot(slot.propid);
    if (kind == ESlot::kVarying) return GetVarying(slot, field);
    field.propid = slot.propid;
    field.form = CField::kNumber;
    field.ullBits = Number(kind, slot.cbOffset);
    return true;
}

bool CRecordView::Find(CEPROPID propid, CField& field) const
{
    const size_t nSlot = m_pShape->Find(propid);
    if (nSlot != m_pShape->Count()) return Get(nSlot, field);
    field.propid = 0;
    return true;
}

size_t RecordSize(const CField* pFields, const CShape& shape)
{
    size_t cb = sizeof(WORD) + shape.FixedSize();
    if (shape.Id() == kInlineShape) cb += sizeof(WORD) + shape.Count() * sizeof(CEPROPID);
    for (size_t i = 0; i < shape.Count(); ++i)
        if (IsVarying(pFields[i].propid)) cb += PackedSize(pFields[i]);
    return cb;
}

void EncodeRecord(const CField* pFields, const CShape& shape, BYTE* p)
{
    Store(p, shape.Id());
    p += sizeof(WORD);
    if (shape.Id() == kInlineShape) {
        Store(p, static_cast<WORD>(shape.Count()));
        p += sizeof(WORD);
        for (size_t i = 0; i < shape.Count(); ++i, p += sizeof(CEPROPID)) Store(p, pFields[i].propid);
    }
    BYTE* const pPacked = p + shape.FixedSize();
    DWORD cbEnd = 0;
    for (size_t i = 0; i < shape.Count(); ++i) {
        const CField& field = pFields[i];
        switch (TypeFromPropID(field.propid)) {
        case CEVT_BOOL: {
            // One byte, and -1 (the automation types' true) comes back as it went in.
            const long l = static_cast<long>(field.ullBits);
            *p++ = l >= -128 && l <= 127 ? static_cast<BYTE>(l) : 1;
            break;
        }
        case CEVT_I2:
        case CEVT_UI2:
            Store(p, static_cast<WORD>(field.ullBits));
            p += 2;
            break;
        case CEVT_I4:
        case CEVT_UI4:
            Store(p, static_cast<DWORD>(field.ullBits));
            p += 4;
            break;
        case CEVT_R8:
        case CEVT_FILETIME:
            Store(p, field.ullBits);
            p += 8;
            break;
        default:
            if (field.form == CField::kNarrowing)
                NarrowText(pPacked + cbEnd, field.p, field.cch);
            else
                CopyBytes(pPacked + cbEnd, field.p, PackedSize(field));
            cbEnd += PackedSize(field);
            Store(p, field.form == CField::kWide ? cbEnd | kWideText : cbEnd);
            p += 4;
            break;
        }
    }
}

DWORD DataSize(const CField& field)
{
    switch (TypeFromPropID(field.propid)) {
    case CEVT_BOOL:
        return sizeof(BOOL);
    case CEVT_LPWSTR:
        return field.cch * sizeof(wchar_t);
    case CEVT_BLOB:
        return field.cch;
    default:
        return SlotSize(field.propid);
    }
}

bool MeasureText(const wchar_t* psz, DWORD cchMax, CField& field)
{
    DWORD cch = 0;
    unsigned nAll = 0;
    for (; psz[cch] != 0; ++cch) {
        if (cch == cchMax) return false;
        nAll |= psz[cch];
    }
    field.p = reinterpret_cast<const BYTE*>(psz);
    field.cch = cch;
    field.form = nAll < 0x100 ? CField::kNarrowing : CField::kWide;
    return true;
}

} // namespace store
