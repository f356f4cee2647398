// The reads and steps that a walk consists of. They do what readapi.cpp does, when all that has to be looked up for it was
// looked up by an earlier call and nothing has changed since, in half the time.
#include "databasehandle.h"
#include "volumestate.h"

namespace store {

namespace {

class CSharedLock
{
public:
    explicit CSharedLock(CShared& shared) : m_shared(shared) { m_shared.Lock(); }
    ~CSharedLock() { m_shared.Unlock(); }
    CSharedLock(const CSharedLock&) = delete;
    CSharedLock& operator=(const CSharedLock&) = delete;

private:
    CShared& m_shared;
};

} // namespace

// Whether the snapshot, the catalogue and the cursor are those of the last call, and the cursor on the pointer's record.
bool CDatabaseHandle::IsAtHand(const CVolumeState& state) const
{
    return !state.bBatch && state.bReadTxnLive && kv_committed_txnid(state.pEnv) == state.dwSeenTxn &&
           m_volume->IsInStep(state.ullVersion) && IsFresh() && m_place == kOnRecord && m_bCursorThere &&
           m_cursor->IsPlacedIn(state.ullVersion);
}

// Moves to the next entry of the same page.
bool CDatabaseHandle::AdvanceInPage(CVolumeState& state)
{
    const bool bWalking = m_oid == m_oidSteppedTo;
    if (!m_cursor->NextInPage()) return false;
    try {
        if (!Take()) return AtEnd(), true; // the entry is another table's or order's
    } catch (const std::bad_alloc&) {
        return false; // the long way will tell
    }
    m_oidSteppedTo = m_oid;
    if (bWalking) LookAhead(state);
    return true;
}

// In an index, what a walk will read next lies anywhere: the processor is told two records ahead, so that reading them
// does not wait for memory.
void CDatabaseHandle::LookAhead(CVolumeState& state)
{
    if (m_index.bOrder == 0) return;
    m_here = m_ahead.oid == m_oid && m_ahead.ullVersion == state.ullVersion ? m_ahead : CLeafOf();
    m_ahead = m_afterNext;
    if (m_ahead.ullVersion == state.ullVersion && m_ahead.pLeaf) {
        const CSmallKey<9> key = RecordKey(m_oidDatabase, m_ahead.oid);
        kv_fetch_record(m_ahead.pLeaf, static_cast<CBytes>(key).p);
    }
    m_afterNext = {};
    CBytes next;
    if (!m_cursor->PeekInPage(2, next) || !IsInOrder(next)) return;
    m_afterNext.oid = GetBig32(next.p + next.cb - 4);
    m_afterNext.ullVersion = state.ullVersion;
    m_afterNext.pLeaf = LeafOf(state, m_afterNext.oid);
    if (m_afterNext.pLeaf) kv_fetch_leaf(m_afterNext.pLeaf);
}

// After a seek in an index the record is what is read next: its page is on its way while the caller comes back for it.
void CDatabaseHandle::FetchRecord()
{
    const CVolumeState& state = m_volume->Engine().State();
    if (state.bBatch || !state.bReadTxnLive || m_index.bOrder == 0) return;
    m_here = {m_oid, LeafOf(state, m_oid), state.ullVersion};
    if (m_here.pLeaf) kv_fetch_leaf(m_here.pLeaf);
}

const void* CDatabaseHandle::LeafOf(const CVolumeState& state, CEOID oid) const
{
    const CSmallKey<9> key = RecordKey(m_oidDatabase, oid);
    return kv_record_leaf(state.pReadTxn, static_cast<CBytes>(key).p);
}

// The record under the pointer, at hand.
bool CDatabaseHandle::RecordAtHand(const CVolumeState& state, CBytes& record) const
{
    if (m_index.bOrder == 0) {
        record = m_cursor->Value();
        return true;
    }
    const bool bKnown = m_here.oid == m_oid && m_here.ullVersion == state.ullVersion;
    const void* const pLeaf = bKnown ? m_here.pLeaf : LeafOf(state, m_oid);
    MDB_val value;
    const CSmallKey<9> key = RecordKey(m_oidDatabase, m_oid);
    if (!pLeaf || !kv_record_in_leaf(pLeaf, static_cast<CBytes>(key).p, &value)) return false;
    record = {static_cast<const BYTE*>(value.mv_data), value.mv_size};
    return true;
}

bool CDatabaseHandle::ReadQuickly(const CEPROPID* rgPropID, WORD nCount, BYTE* pBuffer, DWORD& cbBuffer, CEOID& oid)
{
    CVolumeState& state = m_volume->Engine().State();
    const CSharedLock lock(state.shared);
    CBytes record;
    if (!IsAtHand(state) || !RecordAtHand(state, record) || record.cb < sizeof(WORD)) return false;
    const CPlan* const pPlan = KnownPlan(Load<WORD>(record.p), rgPropID, nCount);
    CRecordView view;
    ULONGLONG cbNeeded;
    if (!pPlan || pPlan->VaryingCount() > ARRAYSIZE(m_rgVarying) || !pPlan->FindsAny() ||
        !view.Attach(record, pPlan->cbFixed) || !pPlan->Measure(view, m_rgVarying, cbNeeded) || cbNeeded > cbBuffer)
        return false;
    const CEOID oidRead = m_oid;
    if (IsAutoIncrement()) {
        if (!AdvanceInPage(state)) return false;
        m_bByIncrement = m_place == kOnRecord;
    }
    pPlan->Fill(view, m_rgVarying, pBuffer);
    cbBuffer = static_cast<DWORD>(cbNeeded);
    oid = oidRead;
    return true;
}

bool CDatabaseHandle::StepQuickly(CEOID& oid)
{
    CVolumeState& state = m_volume->Engine().State();
    const CSharedLock lock(state.shared);
    if (!IsAtHand(state) || !AdvanceInPage(state)) return false;
    oid = m_place == kOnRecord ? m_oid : 0;
    return true;
}

} // namespace store
