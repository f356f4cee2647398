// Batches, and what their calls do not put into the map at once: pending.h.
#include "keys.h"
#include "volumestate.h"

namespace store {

// While there is no room nothing has changed, and it can be tried again. Any other failure is the batch's end.
DWORD CVolumeState::PutOnePending(CBytes key, CBytes value)
{
    DWORD dwError = dwBatchError; // the map may be lost
    if (dwError == ERROR_SUCCESS) dwError = MakeRoom(value.cb);
    if (dwError != ERROR_SUCCESS) return dwError;
    BYTE* p;
    dwError = Put(key, value.cb, p, 0);
    if (dwError == ERROR_SUCCESS)
        CopyBytes(p, value.p, value.cb);
    else
        dwBatchError = dwError;
    return dwError;
}

// The keys of one order, the lowest first: each goes a few places behind the one before.
DWORD CVolumeState::PutPending(CPendingRun& run)
{
    if (run.IsEmpty()) return ERROR_SUCCESS;
    CloseWriteCursors();
    pending.Sort(run);
    DWORD dwError = ERROR_SUCCESS;
    while (dwError == ERROR_SUCCESS && !run.IsEmpty()) {
        dwError = PutOnePending(pending.First(run), CBytes());
        if (dwError == ERROR_SUCCESS) pending.Drop(run);
    }
    return dwError;
}

DWORD CVolumeState::PutPending()
{
    DWORD dwError = ERROR_SUCCESS;
    for (CPendingRun& run : pending.Runs())
        if (dwError == ERROR_SUCCESS) dwError = PutPending(run);
    CBytes key, value;
    while (dwError == ERROR_SUCCESS && pending.AnyValue(key, value)) {
        CloseWriteCursors();
        dwError = PutOnePending(key, value);
        if (dwError == ERROR_SUCCESS) pending.ForgetValue(key);
    }
    if (dwError == ERROR_SUCCESS) pending.Clear();
    return dwError;
}

// Puts what somebody may come by who looks for this key and goes on from there. Records are never pending; an order is
// not left without another look for a key.
DWORD CVolumeState::PutPendingFor(CBytes key)
{
    if (!bBatch || pending.IsEmpty() || key.p[0] == kRecordSpace) return ERROR_SUCCESS;
    for (CPendingRun& run : pending.Runs())
        if (run.IsOf(key)) return PutPending(run);
    return key.p[0] == kIndexSpace && key.cb >= kRunPrefixBytes ? ERROR_SUCCESS : PutPending();
}

bool CVolume::HasBatch() const
{
    return m_pState->bBatch;
}

bool CVolume::IsInAnyBatch() const
{
    return m_pState->shared->lBatch != 0;
}

DWORD CVolume::BeginBatch()
{
    CVolumeState& state = *m_pState;
    state.shared.Lock();
    DWORD dwError = ERROR_ALREADY_EXISTS;
    if (!state.bBatch) {
        state.shared.WaitForBatch();
        dwError = state.BeginTransaction();
        if (dwError == ERROR_SUCCESS) {
            state.shared->lBatch = state.shared.Owner();
            state.bBatch = true;
            state.dwBatchError = ERROR_SUCCESS;
            state.dwTreePages = kv_tree_pages(state.pWriteTxn);
            state.ullVersion++;
        }
    }
    state.shared.Unlock();
    return dwError;
}

DWORD CVolume::CommitBatch()
{
    CVolumeState& state = *m_pState;
    state.shared.Lock();
    DWORD dwError = ERROR_NO_DATA;
    if (state.bBatch) {
        dwError = state.dwBatchError;
        if (dwError == ERROR_SUCCESS) dwError = state.PutPending();
        if (dwError == ERROR_SUCCESS) {
            state.shared->bChanging = 1;
            dwError = state.Commit();
            state.shared->bChanging = 0;
        } else {
            state.Abort();
        }
        state.bBatch = false;
        state.shared->lBatch = 0;
        state.ullVersion++;
        if (dwError == ERROR_SUCCESS) {
            state.FlushIfDue();
            state.Tell();
        } else {
            state.notes.clear();
        }
    }
    state.shared.Unlock();
    return dwError;
}

DWORD CVolume::AbandonBatch()
{
    CVolumeState& state = *m_pState;
    state.shared.Lock();
    const DWORD dwError = state.bBatch ? ERROR_SUCCESS : ERROR_NO_DATA;
    if (state.bBatch) {
        state.Abort();
        state.notes.clear();
        state.bBatch = false;
        state.shared->lBatch = 0;
        state.ullVersion++;
    }
    state.shared.Unlock();
    return dwError;
}

} // namespace store
