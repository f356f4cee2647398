#include "database.h"

namespace store {

namespace {

constexpr WORD kMaxShapes = 4096; // in a dictionary; records of further shapes bring their lists along

// Descriptor: offsets of the fixed part. Do not renumber: on disk.
enum : size_t
{
    kTypeAt = 0,
    kFlagsAt = 4,
    kRecordsAt = 8,
    kSizeAt = 12,
    kModifiedAt = 20,
    kShapesAt = 28,
    kOrdersAt = 30,
    kNameLengthAt = 31,
    kNameAt = 32,
};

} // namespace

bool COrder::IsUnique() const
{
    bool bUnique = spec.wKeyFlags & CEDB_SORT_UNIQUE;
    for (WORD i = 0; i < spec.wNumProps; ++i) bUnique = bUnique || spec.rgdwFlags[i] & CEDB_SORT_UNIQUE;
    return bUnique;
}

bool COrder::Requires(WORD nProp) const
{
    return spec.rgdwFlags[nProp] & CEDB_SORT_NONNULL || IsUnique();
}

bool COrder::HasText() const
{
    for (WORD i = 0; i < spec.wNumProps; ++i)
        if (TypeFromPropID(spec.rgPropID[i]) == CEVT_LPWSTR) return true;
    return false;
}

bool COrder::Concerns(CEPROPID propid) const
{
    for (WORD i = 0; i < spec.wNumProps; ++i)
        if (spec.rgPropID[i] == propid) return true;
    return false;
}

bool CFieldList::Find(CEPROPID propid, CField& field) const
{
    field.propid = 0;
    for (size_t i = 0; i < nCount && pFields[i].propid <= propid; ++i)
        if (pFields[i].propid == propid) field = pFields[i];
    return true;
}

bool CDatabase::Decode(CBytes value)
{
    if (value.cb < kNameAt) return false;
    const BYTE* p = value.p;
    dwType = Load<DWORD>(p + kTypeAt);
    dwFlags = Load<DWORD>(p + kFlagsAt);
    nRecords = Load<DWORD>(p + kRecordsAt);
    cbRecords = Load<ULONGLONG>(p + kSizeAt);
    ftModified = Load<FILETIME>(p + kModifiedAt);
    nShapes = Load<WORD>(p + kShapesAt);
    const BYTE nOrders = p[kOrdersAt], cchName = p[kNameLengthAt];
    const BYTE* const pEnd = p + value.cb;
    p += kNameAt;
    if (nShapes > kMaxShapes || nRecords > CEDB_MAXNUMRECORDS || nOrders > CEDB_MAXSORTORDER || cchName == 0 ||
        cchName >= CEDB_MAXDBASENAMELEN || pEnd - p < static_cast<ptrdiff_t>(cchName * sizeof(WCHAR)))
        return false;
    CopyBytes(reinterpret_cast<BYTE*>(szName), p, cchName * sizeof(WCHAR));
    szName[cchName] = 0;
    p += cchName * sizeof(WCHAR);
    orders.resize(nOrders);
    for (COrder& order : orders) {
        if (pEnd - p < 4) return false;
        order.bId = p[0];
        order.spec = {};
        order.spec.wVersion = SORTORDERSPECEX_VERSION;
        order.spec.wNumProps = p[1];
        order.spec.wKeyFlags = Load<WORD>(p + 2);
        p += 4;
        if (order.bId == 0 || order.spec.wNumProps == 0 || order.spec.wNumProps > CEDB_MAXSORTPROP ||
            pEnd - p < order.spec.wNumProps * 8)
            return false;
        for (WORD i = 0; i < order.spec.wNumProps; ++i, p += 8) {
            order.spec.rgPropID[i] = Load<CEPROPID>(p);
            order.spec.rgdwFlags[i] = Load<DWORD>(p + 4);
            if (!IsKnownType(order.spec.rgPropID[i]) || TypeFromPropID(order.spec.rgPropID[i]) == CEVT_BLOB)
                return false;
        }
    }
    return p == pEnd;
}

void CDatabase::Encode(CByteBuffer& value) const
{
    value.Clear();
    BYTE* p = value.Room(kNameAt);
    Store(p + kTypeAt, dwType);
    Store(p + kFlagsAt, dwFlags);
    Store(p + kRecordsAt, nRecords);
    Store(p + kSizeAt, cbRecords);
    Store(p + kModifiedAt, ftModified);
    Store(p + kShapesAt, nShapes);
    p[kOrdersAt] = static_cast<BYTE>(orders.size());
    BYTE cchName = 0;
    while (szName[cchName]) ++cchName;
    p[kNameLengthAt] = cchName;
    value.Commit(kNameAt);
    value.Append(CBytes{reinterpret_cast<const BYTE*>(szName), cchName * sizeof(WCHAR)});
    for (const COrder& order : orders) {
        p = value.Room(4 + CEDB_MAXSORTPROP * 8);
        p[0] = order.bId;
        p[1] = static_cast<BYTE>(order.spec.wNumProps);
        Store(p + 2, order.spec.wKeyFlags);
        for (WORD i = 0; i < order.spec.wNumProps; ++i) {
            Store(p + 4 + i * 8, order.spec.rgPropID[i]);
            Store(p + 8 + i * 8, order.spec.rgdwFlags[i]);
        }
        value.Commit(4 + order.spec.wNumProps * 8);
    }
}

DWORD CDatabase::Save(CWriteAccess& access, CByteBuffer& scratch) const
{
    Encode(scratch);
    return access.Put(DatabaseKey(m_oid), scratch.Bytes());
}

void CDatabase::Touch()
{
    ::GetSystemTimeAsFileTime(&ftModified);
}

const COrder* CDatabase::FindOrder(BYTE bId) const
{
    for (const COrder& order : orders)
        if (order.bId == bId) return &order;
    return nullptr;
}

const CShape* CDatabase::ShapeOf(CAccess& access, CBytes record)
{
    WORD wShape;
    CBytes list;
    if (!CRecordView::ShapeOf(record, wShape, list)) return nullptr;
    if (wShape == kInlineShape) return m_inlineShape.Assign(list) ? &m_inlineShape : nullptr;
    if (wShape < m_shapes.size() && m_shapes[wShape]) return m_shapes[wShape].get();
    if (wShape >= nShapes || !access.Get(ShapeKey(m_oid, wShape), list)) return nullptr;
    auto pShape = std::make_unique<CShape>();
    if (!pShape->Assign(list)) return nullptr;
    pShape->SetId(wShape);
    if (wShape >= m_shapes.size()) m_shapes.resize(wShape + 1);
    m_shapes[wShape] = std::move(pShape);
    return m_shapes[wShape].get();
}

DWORD CDatabase::LoadShapes(CAccess& access)
{
    if (m_shapes.size() < nShapes) m_shapes.resize(nShapes);
    for (WORD i = 0; i < nShapes; ++i) {
        BYTE rgRecord[sizeof(WORD)];
        Store(rgRecord, i);
        if (!m_shapes[i] && !ShapeOf(access, {rgRecord, sizeof rgRecord})) return ERROR_FILE_CORRUPT;
    }
    return ERROR_SUCCESS;
}

DWORD CDatabase::ShapeFor(CAccess& access, const CField* pFields, size_t nCount, const CShape*& pShape)
{
    pShape = m_pLastShape;
    if (pShape && pShape->Matches(pFields, nCount)) return ERROR_SUCCESS;
    const DWORD dwError = LoadShapes(access);
    if (dwError != ERROR_SUCCESS) return dwError;
    for (const auto& pKnown : m_shapes)
        if (pKnown && pKnown->Matches(pFields, nCount)) {
            pShape = m_pLastShape = pKnown.get();
            return ERROR_SUCCESS;
        }
    m_newShape.Assign(pFields, nCount);
    m_newShape.SetId(nShapes < kMaxShapes ? nShapes : kInlineShape);
    pShape = &m_newShape;
    return ERROR_SUCCESS;
}

DWORD CDatabase::SaveNewShape(CWriteAccess& access, const CShape* pShape)
{
    BYTE* p;
    const DWORD dwError = access.Put(ShapeKey(m_oid, pShape->Id()), pShape->Count() * sizeof(CEPROPID), p);
    if (dwError != ERROR_SUCCESS) return dwError;
    for (size_t i = 0; i < pShape->Count(); ++i) Store(p + i * sizeof(CEPROPID), (*pShape)[i].propid);
    m_shapes.resize(nShapes);
    m_shapes.push_back(std::make_unique<CShape>(*pShape));
    m_pLastShape = m_shapes.back().get();
    ++nShapes;
    return ERROR_SUCCESS;
}

void CDatabase::ForgetShapes()
{
    m_shapes.clear();
    m_pLastShape = nullptr;
}

void CDatabase::MakeEmpty()
{
    nRecords = 0;
    cbRecords = 0;
    nShapes = 0;
    ForgetShapes();
}

} // namespace store
