// Flushes, and what has to be found again when a process died: docs/database.md has the reasoning.
#include "volumestate.h"

#include <cstring>
#include <memory>
#include <new>

namespace store {

namespace {

// Without a flush of its own a volume is flushed after so many commits: a power cut never costs more than these.
constexpr DWORD kCommitsBetweenFlushes = 50000;

} // namespace

// Learns, from the flushed state just reached, which pages the next transactions may use.
DWORD CVolumeState::AdoptFlushed()
{
    const DWORD dwError = BeginReading();
    if (dwError != ERROR_SUCCESS) return dwError;
    kv_state committed;
    kv_committed(pEnv, &committed);
    const size_t cbMap = committed.last_page / 8 + 1;
    // An exception would leave the volume locked.
    const std::unique_ptr<BYTE[]> freeMap(new (std::nothrow) BYTE[cbMap]());
    if (!freeMap) return ERROR_NOT_ENOUGH_MEMORY;
    const int rc = kv_list_free(pReadTxn, freeMap.get());
    if (rc != MDB_SUCCESS) return ToWin32(rc);
    // Pages that are held yet were freed before this state: it does not use them either.
    for (size_t i = 0; i < cbMap; i++)
        shared->rgFreeInFlushed[i] = freeMap[i] | (i < shared->cbHeld ? shared->rgHeld[i] : 0);
    shared->flushed = committed;
    shared->dwCommitsSinceFlush = 0;
    return ERROR_SUCCESS;
}

DWORD CVolumeState::WriteVolumeHeader(bool bInUse)
{
    CVolumeHeader header = {};
    std::memcpy(header.rgMagic, "KORVANEV", sizeof header.rgMagic);
    header.dwVersion = kFormatVersion;
    header.dwPageBytes = kPageBytes;
    header.dwSequence = shared->dwSequence;
    header.dwInUse = bInUse;
    header.boot = PresentBoot();
    header.flushed = shared->flushed;
    const DWORD dwError = WriteHeader(hFile, header);
    if (dwError == ERROR_SUCCESS) shared->dwSequence = header.dwSequence;
    return dwError;
}

// Before the first change: from now on the file is not what its header says, and a power cut must be noticed.
DWORD CVolumeState::MarkInUse()
{
    DWORD dwError = FillHoles();
    if (dwError == ERROR_SUCCESS) dwError = WriteVolumeHeader(true);
    if (dwError == ERROR_SUCCESS) shared->bInUseMarked = 1;
    return dwError;
}

// Makes the committed state the flushed one. Until the header that says so is on the disk, nothing of the old one has
// been written to; afterwards its pages are free for use.
DWORD CVolumeState::FlushLocked()
{
    const bool bHeld = shared.AnyHeld();
    if (!bHeld && kv_committed_txnid(pEnv) == shared->flushed.txnid) return ERROR_SUCCESS;
    shared->bChanging = 1;
    DWORD dwError = ERROR_SUCCESS;
    // While a batch is open, in whatever process, there can be no transaction: the pages then stay held until the next
    // flush.
    bool bReleased = false;
    if (bHeld && shared->lBatch == 0) {
        dwError = kv_map_is_short(pEnv) ? MapWholeFile() : ERROR_SUCCESS;
        if (dwError == ERROR_SUCCESS) dwError = ToWin32(mdb_txn_begin(pEnv, nullptr, 0, &pWriteTxn));
        if (dwError == ERROR_SUCCESS) {
            pages.pin = 0;
            dwError = ToWin32(kv_free_held(pWriteTxn, shared->rgHeld));
            if (dwError == ERROR_SUCCESS) dwError = MakeRoom(KV_PAGE_MAP_BYTES * 8 * 4 / 16);
            if (dwError == ERROR_SUCCESS) {
                dwError = Commit();
            } else {
                Abort();
            }
            pages.pin = 1;
            bReleased = dwError == ERROR_SUCCESS;
        }
    }
    if (dwError == ERROR_SUCCESS) dwError = kv_sync(pEnv);
    if (dwError == ERROR_SUCCESS) {
        kv_committed(pEnv, &shared->flushed);
        dwError = WriteVolumeHeader(true);
    }
    if (bReleased && dwError != ERROR_SUCCESS) {
        // The list now offers pages that the state on the disk still uses: no transaction before a flush has succeeded.
        shared->bNeedsRecovery = 1;
    } else if (dwError == ERROR_SUCCESS) {
        if (bReleased) shared.HoldNone();
        dwError = AdoptFlushed();
    }
    shared->bChanging = 0;
    return dwError;
}

// Behind a commit, which stands whether or not this succeeds; if not, the next one tries again.
void CVolumeState::FlushIfDue()
{
    if (shared->dwCommitsSinceFlush >= kCommitsBetweenFlushes) FlushLocked();
}

// After a process died while changing the volume (or all of them did): what the trees do not use and the free list does
// not offer was put aside, or lost. It is freed by a flush that itself takes pages from the end of the file only.
DWORD CVolumeState::Recover()
{
    DWORD dwError = shared->bInUseMarked ? ERROR_SUCCESS : MarkInUse();
    if (dwError == ERROR_SUCCESS) dwError = BeginReading();
    if (dwError != ERROR_SUCCESS) return dwError;
    // As above: no exceptions.
    const std::unique_ptr<BYTE[]> used(new (std::nothrow) BYTE[KV_PAGE_MAP_BYTES]());
    const std::unique_ptr<BYTE[]> freeMap(new (std::nothrow) BYTE[KV_PAGE_MAP_BYTES]());
    if (!used || !freeMap) return ERROR_NOT_ENOUGH_MEMORY;
    uint32_t dwPage = 0;
    int rc = kv_list_used(pReadTxn, used.get(), &dwPage);
    if (rc == MDB_SUCCESS) rc = kv_list_free(pReadTxn, freeMap.get());
    if (rc != MDB_SUCCESS) return ToWin32(rc);
    kv_state committed;
    kv_committed(pEnv, &committed);
    shared.HoldNone();
    for (DWORD dw = KV_RESERVED_PAGES; dw <= committed.last_page; dw++) {
        if (kv_bit(used.get(), dw) && kv_bit(freeMap.get(), dw)) return ERROR_FILE_CORRUPT;
        if (!kv_bit(used.get(), dw) && !kv_bit(freeMap.get(), dw)) shared.Hold(dw);
    }
    kv_forbid_reuse(pEnv, 1);
    shared->flushed.txnid = 0; // whatever it was: this state is to be flushed
    dwError = FlushLocked();
    kv_forbid_reuse(pEnv, 0);
    if (dwError == ERROR_SUCCESS) shared->bNeedsRecovery = 0;
    return dwError;
}

DWORD CVolume::Flush()
{
    CVolumeState& state = *m_pState;
    state.shared.Lock();
    DWORD dwError = ERROR_SUCCESS;
    if (state.shared->bNeedsRecovery && state.shared->lBatch == 0) dwError = state.Recover();
    if (dwError == ERROR_SUCCESS) dwError = state.FlushLocked();
    state.shared.Unlock();
    return dwError;
}

DWORD CVolume::CheckPages(std::wstring& strProblem)
{
    CReadAccess access(*this);
    CVolumeState& state = *m_pState;
    if (access.Error() != ERROR_SUCCESS) {
        if (access.Error() == ERROR_FILE_CORRUPT) strProblem = L"the volume cannot be read";
        return access.Error();
    }
    std::vector<BYTE> used(KV_PAGE_MAP_BYTES), freeMap(KV_PAGE_MAP_BYTES);
    uint32_t dwPage = 0;
    // The batch's own state has a free list that is not saved: the committed one is checked.
    DWORD dwError = state.bBatch ? state.BeginReading() : ERROR_SUCCESS;
    if (dwError != ERROR_SUCCESS) return dwError;
    // What could not be looked at is not damaged.
    const auto report = [&](int rc, const std::wstring& strFound) -> DWORD {
        state.GiveUpSnapshot();
        if (rc == ENOMEM) return ERROR_NOT_ENOUGH_MEMORY;
        strProblem = strFound;
        return ERROR_FILE_CORRUPT;
    };
    int rc = kv_list_used(state.pReadTxn, used.data(), &dwPage);
    if (rc != MDB_SUCCESS) return report(rc, L"page " + std::to_wstring(dwPage) + L" is damaged, or used twice");
    rc = kv_list_free(state.pReadTxn, freeMap.data());
    if (rc != MDB_SUCCESS) return report(rc, L"the list of free pages contradicts itself");
    kv_state committed;
    kv_committed(state.pEnv, &committed);
    for (DWORD dw = KV_RESERVED_PAGES; dw <= committed.last_page && !state.shared->bNeedsRecovery; dw++) {
        const int nRoles = kv_bit(used.data(), dw) + kv_bit(freeMap.data(), dw) + kv_bit(state.shared->rgHeld, dw);
        if (nRoles == 1) continue;
        return report(MDB_CORRUPTED, L"page " + std::to_wstring(dw) +
                                         (nRoles ? L" is in use and free at once" : L" is neither used nor free"));
    }
    MDB_cursor* pCursor = nullptr;
    rc = mdb_cursor_open(state.pReadTxn, kMainTree, &pCursor);
    if (rc != MDB_SUCCESS) return report(rc, L"the map cannot be walked");
    const std::unique_ptr<MDB_cursor, decltype(&mdb_cursor_close)> closed(pCursor, &mdb_cursor_close);
    std::vector<BYTE> last;
    MDB_val key, value;
    rc = mdb_cursor_get(pCursor, &key, &value, MDB_FIRST);
    for (; rc == MDB_SUCCESS; rc = mdb_cursor_get(pCursor, &key, &value, MDB_NEXT)) {
        const MDB_val before = {last.size(), last.data()};
        if (!last.empty() && kv_compare_keys(&before, &key) >= 0) break;
        const BYTE* p = static_cast<const BYTE*>(key.mv_data);
        last.assign(p, p + key.mv_size);
    }
    if (rc == MDB_NOTFOUND) return ERROR_SUCCESS;
    return report(rc, L"the keys of the map are not in order");
}

} // namespace store
