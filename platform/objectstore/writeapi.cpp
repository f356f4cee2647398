// The calls that write and delete records.
#include "apiedge.h"
#include "databasehandle.h"
#include "values.h"

#include <algorithm>

using namespace store;

namespace {

constexpr size_t kFixedBytes = 512; // descriptor, volume record and their keys

// The entries of the sort orders that a write or delete changes.
class CIndexChanges
{
public:
    explicit CIndexChanges(CDatabaseHandle& handle) : m_handle(handle), m_rgKeys(handle.Volume().scratchOrderKeys) {}

    // Works out the change of one order. pOld, pNew: the record before and after, null when there is none.
    template <class TOld, class TNew>
    DWORD Add(CAccess& access, size_t nOrder, const TOld* pOld, const TNew* pNew, CEOID oid)
    {
        const COrder& order = m_handle.Database().orders[nOrder];
        const LCID lcid = m_handle.Volume().Record().lcid;
        CByteBuffer &oldKey = m_rgKeys[nOrder].oldKey, &newKey = m_rgKeys[nOrder].newKey;
        oldKey.Clear();
        newKey.Clear();
        if (pOld && !order.AppendKey(oldKey, *pOld, lcid)) return ERROR_FILE_CORRUPT;
        if (!pNew) {
            m_rgbDelete[nOrder] = true;
            return ERROR_SUCCESS;
        }
        for (WORD i = 0; i < order.spec.wNumProps; ++i) {
            CField field;
            if (order.Requires(i) && (!pNew->Find(order.spec.rgPropID[i], field) || field.propid == 0))
                return ERROR_DBPROP_NOT_FOUND;
        }
        order.AppendKey(newKey, *pNew, lcid);
        if (pOld && SameBytes(oldKey.Bytes(), newKey.Bytes())) return ERROR_SUCCESS;
        if (order.IsUnique()) {
            CTreeCursor cursor(m_handle.Volume().Engine());
            const CIndexName index = {m_handle.DatabaseOid(), order.bId};
            if (HasEntry(access, cursor, index, newKey.Bytes(), oid)) return ERROR_REPEATED_KEY;
            if (access.Error() != ERROR_SUCCESS) return access.Error(); // nothing is known, and nothing has changed
        }
        m_rgbDelete[nOrder] = pOld != nullptr;
        m_rgbInsert[nOrder] = true;
        return ERROR_SUCCESS;
    }

    size_t Size() const
    {
        size_t cb = 0;
        for (size_t i = 0; i < CEDB_MAXSORTORDER; ++i) {
            if (m_rgbDelete[i]) cb += m_rgKeys[i].oldKey.Size() + 32;
            if (m_rgbInsert[i]) cb += m_rgKeys[i].newKey.Size() + 32;
        }
        return cb;
    }

    DWORD Apply(CWriteAccess& access, CEOID oid) const
    {
        CVolume& engine = m_handle.Volume().Engine();
        for (size_t i = 0; i < m_handle.Database().orders.size(); ++i) {
            const CIndexName index = {m_handle.DatabaseOid(), m_handle.Database().orders[i].bId};
            DWORD dwError = ERROR_SUCCESS;
            if (m_rgbDelete[i]) dwError = DeleteEntry(access, engine, index, m_rgKeys[i].oldKey.Bytes(), oid);
            if (dwError == ERROR_SUCCESS && m_rgbInsert[i])
                dwError = InsertEntry(access, engine, index, m_rgKeys[i].newKey.Bytes(), oid);
            if (dwError != ERROR_SUCCESS) return dwError;
        }
        return ERROR_SUCCESS;
    }

    // The record's key in the handle's order, before and after; empty in the order of creation.
    CBytes OldKey() const { return KeyOf(&COrderKeys::oldKey); }
    CBytes NewKey() const { return KeyOf(&COrderKeys::newKey); }

private:
    CBytes KeyOf(CByteBuffer COrderKeys::*pKey) const
    {
        if (!m_handle.Order()) return {};
        return (m_rgKeys[m_handle.Order() - m_handle.Database().orders.data()].*pKey).Bytes();
    }

    CDatabaseHandle& m_handle;
    COrderKeys* const m_rgKeys; // one for each order, the volume's
    bool m_rgbDelete[CEDB_MAXSORTORDER] = {};
    bool m_rgbInsert[CEDB_MAXSORTORDER] = {};
};

// Reads the caller's properties: ascending, each once, the last of those given twice.
DWORD ReadGiven(const CEPROPVAL* pValues, WORD wCount, std::vector<CGiven>& given)
{
    given.clear();
    bool bAscending = true;
    for (WORD i = 0; i < wCount; ++i) {
        CGiven one;
        one.bDelete = pValues[i].wFlags & CEDB_PROPDELETE;
        if (one.bDelete) {
            one.field.propid = pValues[i].propid;
            if (!IsKnownType(one.field.propid)) return ERROR_INVALID_PARAMETER;
        } else if (!FieldFromValue(pValues[i], CEDB_MAXPROPDATASIZE / sizeof(wchar_t), CEDB_MAXPROPDATASIZE,
                                   one.field)) {
            return ERROR_INVALID_PARAMETER;
        }
        bAscending = bAscending && (given.empty() || given.back().field.propid < one.field.propid);
        given.push_back(one);
    }
    if (bAscending) return ERROR_SUCCESS;
    std::stable_sort(given.begin(), given.end(),
                     [](const CGiven& left, const CGiven& right) { return left.field.propid < right.field.propid; });
    size_t nKept = 0;
    for (size_t i = 0; i < given.size(); ++i)
        if (i + 1 == given.size() || given[i + 1].field.propid != given[i].field.propid) given[nKept++] = given[i];
    given.resize(nKept);
    return ERROR_SUCCESS;
}

// The record as it will be: what is given, and what the old one (null: none) has beside it.
DWORD Merge(const CRecordView* pOld, const std::vector<CGiven>& given, std::vector<CField>& fields)
{
    fields.clear();
    size_t nSlot = 0;
    const size_t nSlots = pOld ? pOld->Shape().Count() : 0;
    CField field;
    const auto keepBefore = [&](ULONGLONG ullPropid) {
        for (; nSlot < nSlots && pOld->Shape()[nSlot].propid < ullPropid; ++nSlot) {
            if (!pOld->Get(nSlot, field)) return false;
            fields.push_back(field);
        }
        return true;
    };
    for (const CGiven& one : given) {
        if (!keepBefore(one.field.propid)) return ERROR_FILE_CORRUPT;
        if (nSlot < nSlots && pOld->Shape()[nSlot].propid == one.field.propid) ++nSlot;
        if (!one.bDelete) fields.push_back(one.field);
    }
    if (!keepBefore(1ULL << 32)) return ERROR_FILE_CORRUPT;
    DWORD cbData = 0;
    for (const CField& one : fields) {
        cbData += DataSize(one);
        if (cbData > CEDB_MAXRECORDSIZE) return ERROR_DISK_FULL;
    }
    return fields.size() > 0xFFFF ? ERROR_DISK_FULL : ERROR_SUCCESS;
}

bool IsGiven(const std::vector<CGiven>& given, const COrder& order)
{
    for (const CGiven& one : given)
        if (order.Concerns(one.field.propid)) return true;
    return false;
}

// Gets a record for changing: a copy, as the map's bytes move while it is changed.
DWORD TakeRecord(CAccess& access, CDatabaseHandle& handle, CEOID oid, CRecordView& record, size_t& cb)
{
    CBytes value;
    if (!access.Get(RecordKey(handle.DatabaseOid(), oid), value))
        return access.Error() != ERROR_SUCCESS ? access.Error() : ERROR_INVALID_PARAMETER;
    CByteBuffer& copy = handle.Volume().scratchRecord;
    copy.Assign(value);
    cb = copy.Size();
    const CShape* pShape = handle.Database().ShapeOf(access, copy.Bytes());
    return pShape && record.Attach(copy.Bytes(), *pShape) ? ERROR_SUCCESS : ERROR_FILE_CORRUPT;
}

DWORD Write(CDatabaseHandle& handle, CEOID& oid, const CEPROPVAL* pValues, WORD wCount)
{
    COpenVolume& volume = handle.Volume();
    CChange change(volume);
    CWriteAccess& access = change.Access();
    DWORD dwError = change.Error();
    if (dwError == ERROR_SUCCESS) dwError = handle.Begin(access);
    std::vector<CGiven>& given = handle.scratchGiven;
    if (dwError == ERROR_SUCCESS) dwError = ReadGiven(pValues, wCount, given);
    if (dwError != ERROR_SUCCESS) return dwError;

    CDatabase& database = handle.Database();
    const bool bNew = oid == 0;
    if (bNew && database.nRecords >= CEDB_MAXNUMRECORDS) return ERROR_DISK_FULL;
    CRecordView oldRecord;
    size_t cbOld = 0;
    if (!bNew) dwError = TakeRecord(access, handle, oid, oldRecord, cbOld);
    std::vector<CField>& fields = handle.scratchFields;
    if (dwError == ERROR_SUCCESS) dwError = Merge(bNew ? nullptr : &oldRecord, given, fields);
    if (dwError != ERROR_SUCCESS) return dwError;

    const CFieldList newRecord = {fields.data(), fields.size()};
    CIndexChanges changes(handle);
    for (size_t i = 0; i < database.orders.size(); ++i) {
        const COrder& order = database.orders[i];
        if (!bNew && !IsGiven(given, order) && handle.Order() != &order) continue;
        dwError = changes.Add(access, i, bNew ? nullptr : &oldRecord, &newRecord, oid);
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    const CShape* pShape;
    dwError = database.ShapeFor(access, fields.data(), fields.size(), pShape);
    if (dwError != ERROR_SUCCESS) return dwError;
    const size_t cbRecord = RecordSize(fields.data(), *pShape);

    dwError = change.Begin(cbRecord + changes.Size() + pShape->Count() * sizeof(CEPROPID) + kFixedBytes);
    CEOID oidWritten = oid;
    if (dwError == ERROR_SUCCESS && bNew) dwError = volume.TakeOid(access, oidWritten);
    BYTE* p;
    if (dwError == ERROR_SUCCESS) dwError = access.Put(RecordKey(handle.DatabaseOid(), oidWritten), cbRecord, p);
    if (dwError != ERROR_SUCCESS) return dwError;
    EncodeRecord(fields.data(), *pShape, p);
    if (database.IsNewShape(pShape)) dwError = database.SaveNewShape(access, pShape);
    if (dwError == ERROR_SUCCESS) dwError = changes.Apply(access, oidWritten);
    if (dwError != ERROR_SUCCESS) return dwError;
    database.nRecords += bNew;
    database.cbRecords += cbRecord - static_cast<ULONGLONG>(cbOld);
    database.ftModified = volume.Now(access);
    dwError = database.Save(access, volume.scratchValue);
    if (dwError == ERROR_SUCCESS) dwError = change.Commit();
    if (dwError != ERROR_SUCCESS) return dwError;
    oid = oidWritten;
    handle.PlaceOn(oid, changes.NewKey());
    access.Note(bNew ? DB_CEOID_CREATED : DB_CEOID_CHANGED, oid, handle.DatabaseOid(), &handle);
    return ERROR_SUCCESS;
}

DWORD Delete(CDatabaseHandle& handle, CEOID oid)
{
    COpenVolume& volume = handle.Volume();
    CChange change(volume);
    CWriteAccess& access = change.Access();
    DWORD dwError = change.Error();
    if (dwError == ERROR_SUCCESS) dwError = handle.Begin(access);
    CRecordView record;
    size_t cbRecord = 0;
    if (dwError == ERROR_SUCCESS) dwError = TakeRecord(access, handle, oid, record, cbRecord);
    if (dwError != ERROR_SUCCESS) return dwError;
    CDatabase& database = handle.Database();
    CIndexChanges changes(handle);
    for (size_t i = 0; i < database.orders.size(); ++i) {
        dwError = changes.Add(access, i, &record, static_cast<const CRecordView*>(nullptr), oid);
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    if (database.nRecords == 0 || database.cbRecords < cbRecord) return ERROR_FILE_CORRUPT;
    dwError = change.Begin(changes.Size() + kFixedBytes);
    if (dwError == ERROR_SUCCESS) dwError = access.Delete(RecordKey(handle.DatabaseOid(), oid));
    if (dwError == ERROR_SUCCESS) dwError = changes.Apply(access, oid);
    if (dwError != ERROR_SUCCESS) return dwError;
    --database.nRecords;
    database.cbRecords -= cbRecord;
    database.ftModified = volume.Now(access);
    dwError = database.Save(access, volume.scratchValue);
    if (dwError == ERROR_SUCCESS) dwError = change.Commit();
    if (dwError != ERROR_SUCCESS) return dwError;
    handle.NoteDeleted(oid, changes.OldKey());
    access.Note(DB_CEOID_RECORD_DELETED, oid, handle.DatabaseOid(), &handle);
    return ERROR_SUCCESS;
}

} // namespace

CEOID WINAPI CeWriteRecordProps(HANDLE hDbase, CEOID oidRecord, WORD cPropID, CEPROPVAL* rgPropVal)
{
    return Answer(CEOID{0}, [&](CEOID& oid) -> DWORD {
        const CPin pin(hDbase, CHandleObject::kDatabase);
        if (!pin.Get() || !rgPropVal || cPropID == 0) return ERROR_INVALID_PARAMETER;
        oid = oidRecord;
        return Write(static_cast<CDatabaseHandle&>(*pin.Get()), oid, rgPropVal, cPropID);
    });
}

BOOL WINAPI CeDeleteRecord(HANDLE hDatabase, CEOID oidRecord)
{
    return AnswerBool([&]() -> DWORD {
        const CPin pin(hDatabase, CHandleObject::kDatabase);
        if (!pin.Get()) return ERROR_INVALID_PARAMETER;
        return Delete(static_cast<CDatabaseHandle&>(*pin.Get()), oidRecord);
    });
}
