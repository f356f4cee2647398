#include "keys.h"
#include "volumestate.h"

#include <algorithm>

namespace store {

namespace {

MDB_val ToVal(CBytes bytes)
{
    return {bytes.cb, const_cast<BYTE*>(bytes.p)};
}

CBytes ToBytes(const MDB_val& val)
{
    return {static_cast<const BYTE*>(val.mv_data), val.mv_size};
}

MDB_txn* TxnOf(const CVolumeState& state)
{
    return state.pWriteTxn ? state.pWriteTxn : state.pReadTxn;
}

} // namespace

ULONGLONG CAccess::ContentVersion() const
{
    return m_volume.m_pState->ullVersion;
}

bool CAccess::IsInBatch() const
{
    return m_volume.m_pState->bBatch;
}

bool CAccess::Get(CBytes key, CBytes& value)
{
    MDB_txn* const pTxn = TxnOf(*m_volume.m_pState);
    MDB_val k = ToVal(key), v;
    if (key.cb == KV_RECORD_KEY_BYTES && key.p[0] == kRecordSpace) {
        const void* const pLeaf = kv_record_leaf(pTxn, key.p);
        if (pLeaf && kv_record_in_leaf(pLeaf, key.p, &v)) {
            value = ToBytes(v);
            return true;
        }
    }
    if (m_volume.m_pState->bBatch && m_volume.m_pState->pending.FindValue(key, value)) return true;
    const int rc = mdb_get(pTxn, kMainTree, &k, &v);
    if (rc == MDB_SUCCESS) {
        value = ToBytes(v);
        return true;
    }
    if (rc != MDB_NOTFOUND) m_dwError = ToWin32(rc);
    return false;
}

CReadAccess::CReadAccess(CVolume& volume) : CAccess(volume)
{
    CVolumeState& state = *volume.m_pState;
    state.shared.Lock();
    m_dwError = !state.bBatch ? state.BeginReading() : kv_map_is_lost(state.pEnv) ? state.dwBatchError : ERROR_SUCCESS;
}

CReadAccess::~CReadAccess()
{
    CVolumeState& state = *m_volume.m_pState;
    if (m_dwError != ERROR_SUCCESS) state.GiveUpSnapshot();
    state.shared.Unlock();
}

CWriteAccess::CWriteAccess(CVolume& volume) : CAccess(volume)
{
    CVolumeState& state = *volume.m_pState;
    state.shared.Lock();
    if (state.bBatch) {
        m_dwError = state.dwBatchError;
    } else {
        state.shared.WaitForBatch();
        m_dwError = state.BeginTransaction();
    }
}

CWriteAccess::~CWriteAccess()
{
    CVolumeState& state = *m_volume.m_pState;
    if (!state.bBatch) {
        state.Abort();
        state.Tell();
    } else if (m_bChanged && !m_bDone) {
        // Its changes cannot be taken back one by one: the batch as a whole is.
        state.dwBatchError = m_dwError != ERROR_SUCCESS ? m_dwError : ERROR_DISK_FULL;
    }
    state.shared.Unlock();
}

DWORD CWriteAccess::Reserve(size_t cb)
{
    CVolumeState& state = *m_volume.m_pState;
    // A change moves whole pages: what is small takes more room than its bytes.
    cb *= 4;
    if (!state.bBatch) return state.MakeRoom(cb);
    DWORD dwError = state.pending.IsFull() ? state.PutPending() : ERROR_SUCCESS;
    if (dwError == ERROR_SUCCESS) dwError = state.MakeRoom(cb);
    if (dwError != ERROR_DISK_FULL || state.pending.IsEmpty()) return dwError;
    // What is kept free for that which is pending is most often more than it takes.
    dwError = state.PutPending();
    return dwError == ERROR_SUCCESS ? state.MakeRoom(cb) : dwError;
}

DWORD CWriteAccess::Put(CBytes key, CBytes value)
{
    CVolumeState& state = *m_volume.m_pState;
    if (state.bBatch) {
        // What is put again and again, or best in order, can wait.
        const bool bWaits = key.p[0] == kIndexSpace ? value.cb == 0 && state.pending.AddKey(key)
                                                    : key.p[0] <= kDatabaseSpace && state.pending.SetValue(key, value);
        if (bWaits) {
            state.ullVersion++;
            m_bChanged = true;
            return ERROR_SUCCESS;
        }
        state.pending.ForgetValue(key);
    }
    BYTE* p = nullptr;
    const DWORD dwError = Put(key, value.cb, p);
    if (dwError == ERROR_SUCCESS) CopyBytes(p, value.p, value.cb); // of which there may be none, at no address
    return dwError;
}

DWORD CWriteAccess::Put(CBytes key, size_t cb, BYTE*& p)
{
    return Insert(key, cb, p, 0);
}

DWORD CWriteAccess::Append(CBytes key, CBytes value)
{
    BYTE* p = nullptr;
    const DWORD dwError = Insert(key, value.cb, p, MDB_APPEND);
    if (dwError == ERROR_SUCCESS) CopyBytes(p, value.p, value.cb); // of which there may be none, at no address
    return dwError;
}

DWORD CWriteAccess::Insert(CBytes key, size_t cb, BYTE*& p, unsigned nFlags)
{
    CVolumeState& state = *m_volume.m_pState;
    DWORD dwError = state.MakeRoom(cb);
    if (dwError == ERROR_SUCCESS) {
        state.CloseWriteCursors();
        state.ullVersion++;
        m_bChanged = true;
        dwError = state.Put(key, cb, p, nFlags);
    }
    if (dwError != ERROR_SUCCESS) m_dwError = dwError;
    return dwError;
}

DWORD CWriteAccess::Delete(CBytes key)
{
    CVolumeState& state = *m_volume.m_pState;
    // Names and shapes never wait.
    const bool bMayWait = state.bBatch && (key.p[0] == kIndexSpace || key.p[0] <= kDatabaseSpace);
    DWORD dwError = bMayWait ? state.PutPendingFor(key) : ERROR_SUCCESS;
    if (dwError == ERROR_SUCCESS) dwError = state.MakeRoom(0);
    if (dwError == ERROR_SUCCESS) {
        state.CloseWriteCursors();
        state.ullVersion++;
        dwError = state.Delete(key);
        if (dwError != ERROR_FILE_NOT_FOUND) m_bChanged = true;
    }
    if (dwError != ERROR_SUCCESS && dwError != ERROR_FILE_NOT_FOUND) m_dwError = dwError;
    return dwError;
}

DWORD CWriteAccess::Commit(ULONGLONG* pullVersion)
{
    CVolumeState& state = *m_volume.m_pState;
    if (m_dwError != ERROR_SUCCESS) return m_dwError;
    if (!state.bBatch && m_bChanged) {
        state.shared->bChanging = 1;
        m_dwError = state.Commit();
        state.shared->bChanging = 0;
        if (m_dwError != ERROR_SUCCESS) return m_dwError;
        state.FlushIfDue();
    }
    m_bDone = true;
    if (pullVersion) *pullVersion = state.ullVersion;
    return ERROR_SUCCESS;
}

void CWriteAccess::Note(UINT uType, CEOID oid, CEOID oidParent, const void* pHandle)
{
    CVolumeState& state = *m_volume.m_pState;
    if (!state.shared.IsWatched()) return;
    const DWORD dwHandle = reinterpret_cast<DWORD>(pHandle);
    try {
        state.notes.push_back({uType, oid, oidParent, state.shared.Owner(), ::GetCurrentThreadId(), dwHandle});
    } catch (const std::bad_alloc&) {
        // The change itself is made: it must not fail for want of memory to tell of it.
    }
}

// ---- Cursors -------------------------------------------------------------------------------------------------------

CTreeCursor::CTreeCursor(CVolume& volume) : m_volume(volume) {}

CTreeCursor::~CTreeCursor()
{
    if (!m_pCursor) return;
    auto& cursors = m_volume.m_pState->writeCursors;
    cursors.erase(std::remove(cursors.begin(), cursors.end(), &m_pCursor), cursors.end());
    mdb_cursor_close(static_cast<MDB_cursor*>(m_pCursor));
}

bool CTreeCursor::IsPlaced(const CAccess&) const
{
    return m_bPlaced && m_pCursor && m_ullVersion == m_volume.m_pState->ullVersion;
}

bool CTreeCursor::Move(CAccess& access, int op, CBytes key)
{
    CVolumeState& state = *m_volume.m_pState;
    if (state.bBatch && key.cb) {
        const DWORD dwError = state.PutPendingFor(key);
        if (dwError != ERROR_SUCCESS) {
            access.m_dwError = dwError;
            return m_bPlaced = false;
        }
    }
    MDB_txn* pTxn = TxnOf(state);
    const bool bWrite = pTxn == state.pWriteTxn;
    int rc = MDB_SUCCESS;
    if (m_pCursor && m_bOnWriteTxn != bWrite) {
        auto& cursors = state.writeCursors;
        cursors.erase(std::remove(cursors.begin(), cursors.end(), &m_pCursor), cursors.end());
        mdb_cursor_close(static_cast<MDB_cursor*>(m_pCursor));
        m_pCursor = nullptr;
    }
    MDB_cursor* pCursor = static_cast<MDB_cursor*>(m_pCursor);
    if (!pCursor) {
        if (bWrite) state.writeCursors.push_back(&m_pCursor); // first: where memory is out there is no cursor either
        rc = mdb_cursor_open(pTxn, kMainTree, &pCursor);
        if (rc == MDB_SUCCESS) {
            m_pCursor = pCursor;
            m_bOnWriteTxn = bWrite;
        } else if (bWrite) {
            state.writeCursors.pop_back();
        }
    } else if (!bWrite && m_ullVersion != state.ullVersion) {
        rc = mdb_cursor_renew(pTxn, pCursor);
    }
    MDB_val k = ToVal(key), v = {};
    if (rc == MDB_SUCCESS) rc = mdb_cursor_get(pCursor, &k, &v, static_cast<MDB_cursor_op>(op));
    m_ullVersion = state.ullVersion;
    m_bPlaced = rc == MDB_SUCCESS;
    if (m_bPlaced) {
        m_key = ToBytes(k);
        m_value = ToBytes(v);
    } else if (rc != MDB_NOTFOUND) {
        access.m_dwError = ToWin32(rc);
    }
    return m_bPlaced;
}

bool CTreeCursor::SeekAtLeast(CAccess& access, CBytes key)
{
    return Move(access, MDB_SET_RANGE, key);
}

bool CTreeCursor::SeekBefore(CAccess& access, CBytes key)
{
    if (SeekAtLeast(access, key)) return Prev(access);
    return access.Error() == ERROR_SUCCESS && Move(access, MDB_LAST, {});
}

bool CTreeCursor::Next(CAccess& access)
{
    const CVolumeState& state = *m_volume.m_pState;
    if (m_bPlaced && !m_bOnWriteTxn && !state.pWriteTxn && m_ullVersion == state.ullVersion) {
        if (NextInPage()) return true;
    }
    return Move(access, MDB_NEXT, {});
}

bool CTreeCursor::NextInPage()
{
    MDB_val key, value;
    if (!kv_next_in_page(static_cast<MDB_cursor*>(m_pCursor), &key, &value)) return false;
    m_key = ToBytes(key);
    m_value = ToBytes(value);
    return true;
}

bool CTreeCursor::PeekInPage(unsigned nAhead, CBytes& key) const
{
    MDB_val found;
    if (!kv_peek_in_page(static_cast<MDB_cursor*>(m_pCursor), nAhead, &found)) return false;
    key = ToBytes(found);
    return true;
}

bool CTreeCursor::Prev(CAccess& access)
{
    return Move(access, MDB_PREV, {});
}

} // namespace store
