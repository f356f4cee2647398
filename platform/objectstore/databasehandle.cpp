#include "databasehandle.h"

#include "watches.h"

namespace store {

CDatabaseHandle::CDatabaseHandle(CVolumeRef volume, const CEGUID& guid, CEOID oidDatabase, DWORD dwFlags,
                                 DWORD& dwError)
    : CHandleObject(kDatabase), m_volume(std::move(volume)), m_guid(guid), m_oidDatabase(oidDatabase),
      m_dwFlags(dwFlags), m_index{oidDatabase, 0}, m_cursor(std::in_place, m_volume->Engine())
{
    dwError = m_volume->Engine().NoteDatabaseOpen(oidDatabase);
    m_bNoted = dwError == ERROR_SUCCESS;
}

DWORD CDatabaseHandle::Watch(const CENOTIFYREQUEST& request)
{
    const DWORD dwError = CWatches::Instance().Add(*this, request);
    m_bWatched = dwError == ERROR_SUCCESS;
    return dwError;
}

CDatabaseHandle::~CDatabaseHandle()
{
    if (m_bWatched) CWatches::Instance().Remove(*this);
    {
        // The engine's cursor must not go while another thread is inside the engine.
        const CReadAccess access(m_volume->Engine());
        m_cursor.reset();
    }
    if (m_bNoted) m_volume->Engine().NoteDatabaseClosed(m_oidDatabase);
}

DWORD CDatabaseHandle::Refresh(CAccess& access)
{
    if (IsFresh()) return ERROR_SUCCESS;
    const DWORD dwError = m_volume->Database(access, m_oidDatabase, m_pDatabase);
    if (dwError != ERROR_SUCCESS) return dwError == ERROR_FILE_NOT_FOUND ? ERROR_INVALID_HANDLE : dwError;
    m_pOrder = m_pDatabase->FindOrder(m_index.bOrder);
    if (m_index.bOrder != 0 && !m_pOrder) return ERROR_INVALID_HANDLE;
    m_ullEpoch = m_volume->Epoch();
    return ERROR_SUCCESS;
}

// ---- Places --------------------------------------------------------------------------------------------------------

bool CDatabaseHandle::IsInOrder(CBytes key) const
{
    if (m_index.bOrder == 0) return key.cb == 9 && key.p[0] == kRecordSpace && GetBig32(key.p + 1) == m_oidDatabase;
    return key.cb >= 10 && key.p[0] == kIndexSpace && GetBig32(key.p + 1) == m_oidDatabase &&
           key.p[5] == m_index.bOrder;
}

// The cursor's entry becomes the pointer's, if it is one of the order. Where there is no memory for its key, the pointer
// stays where it was, without the cursor.
bool CDatabaseHandle::Take()
{
    const CBytes key = m_cursor->Key();
    m_bCursorThere = false;
    if (!IsInOrder(key)) return false;
    if (m_index.bOrder == 0) {
        m_oid = GetBig32(key.p + 5);
    } else {
        CIndexEntry entry;
        entry.Read(m_index, key, m_cursor->Value());
        m_sortKey.Reserve(entry.head.cb + entry.rest.cb);
        m_oid = entry.oidRecord;
        m_sortKey.Clear();
        entry.AppendSortKey(m_sortKey);
    }
    m_place = kOnRecord;
    m_bCursorThere = true;
    m_bByIncrement = false;
    return true;
}

void CDatabaseHandle::IntoGap()
{
    m_place = kInGap;
    m_nAbandoned = m_volume->Abandoned();
}

bool CDatabaseHandle::SeekAtLeastPlace(CAccess& access)
{
    return m_index.bOrder == 0 ? m_cursor->SeekAtLeast(access, RecordKey(m_oidDatabase, m_oid))
                               : SeekEntryAtLeast(access, *m_cursor, m_index, m_sortKey.Bytes(), m_oid);
}

bool CDatabaseHandle::SeekBeforePlace(CAccess& access)
{
    return m_index.bOrder == 0 ? m_cursor->SeekBefore(access, RecordKey(m_oidDatabase, m_oid))
                               : SeekEntryBefore(access, *m_cursor, m_index, m_sortKey.Bytes(), m_oid);
}

// Puts the cursor on the record of the pointer, wherever that is now in the order. False: the record is gone, the
// pointer in its gap; or it cannot be known, which the access knows, and the pointer stays.
bool CDatabaseHandle::FindAgain(CAccess& access)
{
    for (int nPass = 0; nPass < 2; ++nPass) {
        if (SeekAtLeastPlace(access) && IsInOrder(m_cursor->Key())) {
            const CBytes key = m_cursor->Key();
            CIndexEntry entry;
            if (m_index.bOrder == 0
                    ? GetBig32(key.p + 5) == m_oid
                    : entry.Read(m_index, key, m_cursor->Value()) && entry.oidRecord == m_oid &&
                          entry.head.cb + entry.rest.cb == m_sortKey.Size() && entry.StartsWith(m_sortKey.Bytes())) {
                m_bCursorThere = true;
                return true;
            }
        }
        if (access.Error() != ERROR_SUCCESS) return false;
        CBytes value;
        CRecordView record;
        if (m_index.bOrder == 0 || nPass == 1 || !access.Get(RecordKey(m_oidDatabase, m_oid), value)) break;
        const CShape* pShape = m_pDatabase->ShapeOf(access, value);
        if (!pShape || !record.Attach(value, *pShape)) break;
        m_sortKey.Clear();
        if (!m_pOrder->AppendKey(m_sortKey, record, m_volume->Record().lcid)) break;
    }
    if (access.Error() == ERROR_SUCCESS) IntoGap();
    return false;
}

// Makes the pointer good for the present state. True: on a record, and the cursor is on it.
bool CDatabaseHandle::Restore(CAccess& access)
{
    if (m_place == kOnRecord && m_bCursorThere && m_cursor->IsPlaced(access)) return true;
    if (m_place == kInGap && m_nAbandoned != m_volume->Abandoned()) m_place = kOnRecord;
    if (m_place == kOnRecord && FindAgain(access)) return true;
    if (m_place != kInGap || !m_bByIncrement) return false;
    // A read brought the pointer here: the record that follows takes the place of the one that is gone.
    if (SeekAtLeastPlace(access) && Take()) {
        m_bByIncrement = true;
        return true;
    }
    return AtEnd(access);
}

bool CDatabaseHandle::SeekFirst(CAccess& access)
{
    const bool bOn = m_index.bOrder == 0 ? m_cursor->SeekAtLeast(access, RecordPrefix(m_oidDatabase))
                                         : m_cursor->SeekAtLeast(access, IndexPrefix(m_oidDatabase, m_index.bOrder));
    return bOn && IsInOrder(m_cursor->Key());
}

bool CDatabaseHandle::SeekLast(CAccess& access)
{
    // Above every key of the order: what is lacking last begins with 0xFF, at most three times, before the OID.
    CSmallKey<24> above(m_index.bOrder == 0 ? kRecordSpace : kIndexSpace);
    above.Add32(m_oidDatabase);
    if (m_index.bOrder != 0) above.Add8(m_index.bOrder);
    for (int i = 0; i < 4; ++i) above.Add32(0xFFFFFFFF);
    return m_cursor->SeekBefore(access, above) && IsInOrder(m_cursor->Key());
}

// ---- Moves ---------------------------------------------------------------------------------------------------------

bool CDatabaseHandle::SeekOid(CAccess& access, CEOID oid)
{
    if (m_index.bOrder == 0) {
        if (m_cursor->SeekAtLeast(access, RecordKey(m_oidDatabase, oid)) && IsInOrder(m_cursor->Key()) &&
            GetBig32(m_cursor->Key().p + 5) == oid)
            return Take();
        m_bCursorThere = false;
        return false;
    }
    CBytes value;
    if (!access.Get(RecordKey(m_oidDatabase, oid), value)) return false;
    CRecordView record;
    const CShape* pShape = m_pDatabase->ShapeOf(access, value);
    CByteBuffer& key = m_volume->scratchKey;
    key.Clear();
    if (!pShape || !record.Attach(value, *pShape) || !m_pOrder->AppendKey(key, record, m_volume->Record().lcid))
        return false;
    PlaceOn(oid, key.Bytes()); // the cursor follows when it is needed: often only this record is
    return true;
}

bool CDatabaseHandle::SeekFromStart(CAccess& access, DWORD n)
{
    const DWORD nCount = m_pDatabase->nRecords;
    m_bCursorThere = false;
    if (n >= nCount) return AtEnd(access);
    if (n > nCount / 2) return SeekFromEnd(access, nCount - 1 - n) || AtEnd(access);
    if (!SeekFirst(access)) return AtEnd(access);
    for (; n > 0; --n)
        if (!m_cursor->Next(access) || !IsInOrder(m_cursor->Key())) return AtEnd(access);
    return Take();
}

bool CDatabaseHandle::SeekFromEnd(CAccess& access, DWORD n)
{
    const DWORD nCount = m_pDatabase->nRecords;
    m_bCursorThere = false;
    if (n >= nCount) return false;
    if (n > nCount / 2) return SeekFromStart(access, nCount - 1 - n);
    if (!SeekLast(access)) return false;
    for (; n > 0; --n)
        if (!m_cursor->Prev(access) || !IsInOrder(m_cursor->Key())) return false;
    return Take();
}

bool CDatabaseHandle::Step(CAccess& access, long n)
{
    bool bOn = Restore(access);
    if (n == 0 || access.Error() != ERROR_SUCCESS) return bOn;
    m_bCursorThere = false; // it leaves before it is known whether the pointer does
    if (n > 0) {
        if (m_place == kAtEnd) return false;
        if (m_place == kOnRecord)
            bOn = m_cursor->Next(access);
        else
            bOn = SeekAtLeastPlace(access);
        while (bOn && IsInOrder(m_cursor->Key()) && --n > 0) bOn = m_cursor->Next(access);
        return (bOn && Take()) || AtEnd(access);
    }
    if (m_place == kAtEnd)
        bOn = SeekLast(access);
    else if (m_place == kOnRecord)
        bOn = m_cursor->Prev(access);
    else
        bOn = SeekBeforePlace(access);
    while (bOn && IsInOrder(m_cursor->Key()) && ++n < 0) bOn = m_cursor->Prev(access);
    return bOn && Take();
}

// Whether the entry's record has the order's first nProps properties: one that lacks them never matches a value.
bool CDatabaseHandle::HasValues(CAccess& access, const CIndexEntry& entry, WORD nProps)
{
    if (nProps == 1) return entry.head.cb > 0 && entry.head.p[0] == kPartPresent;
    CBytes value;
    if (!access.Get(RecordKey(m_oidDatabase, entry.oidRecord), value)) return false;
    const CShape* pShape = m_pDatabase->ShapeOf(access, value);
    for (WORD i = 0; pShape && i < nProps; ++i)
        if (pShape->Find(m_pOrder->spec.rgPropID[i]) == pShape->Count()) return false;
    return pShape != nullptr;
}

bool CDatabaseHandle::SeekValue(CAccess& access, DWORD dwSeekType, CBytes sortKey, WORD nProps)
{
    CIndexEntry entry;
    if (dwSeekType != CEDB_SEEK_VALUENEXTEQUAL) m_bCursorThere = false;
    const auto onEntry = [&] { return entry.Read(m_index, m_cursor->Key(), m_cursor->Value()); };
    bool bOn;
    switch (dwSeekType) {
    case CEDB_SEEK_VALUEFIRSTEQUAL:
        bOn = SeekEntryAtLeast(access, *m_cursor, m_index, sortKey, 0) && onEntry() && entry.StartsWith(sortKey);
        break;
    case CEDB_SEEK_VALUENEXTEQUAL:
        bOn = Step(access, 1) && onEntry() && entry.StartsWith(sortKey);
        break;
    case CEDB_SEEK_VALUEGREATER:
        bOn = SeekEntryAtLeast(access, *m_cursor, m_index, sortKey, 0);
        while (bOn && onEntry() && !HasValues(access, entry, nProps)) bOn = m_cursor->Next(access);
        break;
    default:
        bOn = SeekEntryBefore(access, *m_cursor, m_index, sortKey, 0);
        while (bOn && onEntry() && !HasValues(access, entry, nProps)) bOn = m_cursor->Prev(access);
        break;
    }
    if (!bOn || !Take()) return AtEnd(access);
    FetchRecord();
    return true;
}

DWORD CDatabaseHandle::CurrentIndex(CAccess& access)
{
    if (!Restore(access)) return 0;
    DWORD nIndex = 0;
    m_bCursorThere = false;
    while (m_cursor->Prev(access) && IsInOrder(m_cursor->Key())) ++nIndex;
    return nIndex;
}

DWORD CDatabaseHandle::CurrentRecord(CAccess& access, CBytes& record)
{
    // In an index the record is found without its entry.
    if (m_place == kOnRecord && m_index.bOrder != 0 && access.Get(RecordKey(m_oidDatabase, m_oid), record))
        return ERROR_SUCCESS;
    if (!Restore(access)) {
        if (access.Error() != ERROR_SUCCESS) return access.Error();
        return m_place == kAtEnd ? EndError() : ERROR_KEY_DELETED;
    }
    if (m_index.bOrder == 0) {
        record = m_cursor->Value();
        return ERROR_SUCCESS;
    }
    if (access.Get(RecordKey(m_oidDatabase, m_oid), record)) return ERROR_SUCCESS;
    return ERROR_FILE_CORRUPT; // an entry without a record
}

void CDatabaseHandle::Advance(CAccess& access)
{
    if (Step(access, 1)) {
        m_bByIncrement = true;
    } else if (access.Error() != ERROR_SUCCESS) {
        // The record was read, and must not be read again. What is wrong is for the next read to say.
        m_place = kAtEnd;
        m_dwEndError = access.Error();
    }
}

// The change that this follows is made, and must not fail any more. Without memory the old key stays: that of a record is
// found again when it turns out to be another one, and the gap of a deleted one is where it was last seen.
void CDatabaseHandle::RememberKey(CBytes sortKey)
{
    try {
        m_sortKey.Assign(sortKey);
    } catch (const std::bad_alloc&) {
    }
}

void CDatabaseHandle::PlaceOn(CEOID oid, CBytes sortKey)
{
    m_place = kOnRecord;
    m_oid = oid;
    m_bByIncrement = false;
    m_bCursorThere = false;
    RememberKey(sortKey);
}

void CDatabaseHandle::NoteDeleted(CEOID oid, CBytes sortKey)
{
    if (m_place != kOnRecord || m_oid != oid) return;
    IntoGap();
    m_bByIncrement = IsAutoIncrement();
    m_bCursorThere = false;
    RememberKey(sortKey);
}

// ---- Plans ---------------------------------------------------------------------------------------------------------

const CReadPlan& CDatabaseHandle::PlanFor(const CShape& shape, const CEPROPID* rgPropID, WORD nCount)
{
    if (!rgPropID) {
        m_planForAll.Assign(shape, nullptr, nCount);
        return m_planForAll;
    }
    if (!IsPlanned(rgPropID, nCount)) {
        m_planned.assign(rgPropID, rgPropID + nCount);
        for (CPlan& plan : m_rgPlans) plan.bValid = false;
    }
    if (const CPlan* const pKnown = KnownPlan(shape.Id(), rgPropID, nCount)) return *pKnown;
    CPlan& plan = m_rgPlans[shape.Id() % ARRAYSIZE(m_rgPlans)];
    plan.bValid = false;
    plan.Assign(shape, rgPropID, nCount);
    plan.wShape = shape.Id();
    plan.cbFixed = shape.FixedSize();
    plan.ullShapeEpoch = m_pDatabase->ullShapeEpoch;
    plan.bValid = shape.Id() != kInlineShape;
    return plan;
}

} // namespace store
