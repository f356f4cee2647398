#include "volumestate.h"

#include <algorithm>
#include <cstring>

namespace store {

namespace {

// Pages that one change can need beside its value: both trees split from leaf to root, and the free list is saved.
constexpr DWORD kPagesForOneChange = 48;

} // namespace

DWORD ToWin32(int rc)
{
    switch (rc) {
    case MDB_SUCCESS:
        return ERROR_SUCCESS;
    case MDB_NOTFOUND:
        return ERROR_FILE_NOT_FOUND;
    case MDB_MAP_FULL:
    case MDB_TXN_FULL:
        return ERROR_DISK_FULL;
    case MDB_BAD_VALSIZE:
    case EINVAL:
        return ERROR_INVALID_PARAMETER;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    default:
        return rc > 0 ? static_cast<DWORD>(rc) : ERROR_FILE_CORRUPT;
    }
}

// ---- The map and its states ----------------------------------------------------------------------------------------

void CVolumeState::SeeCommitted()
{
    const DWORD dwTxn = kv_committed_txnid(pEnv);
    if (dwTxn == dwSeenTxn) return;
    dwSeenTxn = dwTxn;
    ullVersion++;
    EndReading();
}

DWORD CVolumeState::BeginReading()
{
    SeeCommitted();
    if (bReadTxnLive) return ERROR_SUCCESS;
    if (kv_map_is_short(pEnv)) {
        const DWORD dwError = MapWholeFile();
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    const int rc = mdb_txn_renew(pReadTxn);
    bReadTxnLive = rc == MDB_SUCCESS;
    return ToWin32(rc);
}

void CVolumeState::EndReading()
{
    if (bReadTxnLive) mdb_txn_reset(pReadTxn);
    bReadTxnLive = false;
}

// What met a damaged page finds nothing more, not even what is sound: the next reading begins anew.
void CVolumeState::GiveUpSnapshot()
{
    if (!bReadTxnLive) return;
    EndReading();
    ullVersion++; // for the cursors
}

// Cursors and snapshots point into the map: none is left when it moves.
DWORD CVolumeState::MapWholeFile()
{
    LARGE_INTEGER cbFile;
    if (!::GetFileSizeEx(hFile, &cbFile)) return ::GetLastError();
    EndReading();
    CloseWriteCursors();
    ClosePutCursor();
    ullVersion++;
    const DWORD cbMap = static_cast<DWORD>(std::min<LONGLONG>(cbFile.QuadPart, kLargestFile + kLargestStep));
    const DWORD dwError = ToWin32(kv_remap(pEnv, cbMap / kPageBytes * kPageBytes));
    if (bBatch && kv_map_is_lost(pEnv)) dwBatchError = dwError;
    return dwError;
}

// Makes sure that the open transaction finds pages for cb bytes of changes, and for what is pending.
DWORD CVolumeState::MakeRoom(size_t cb)
{
    const DWORD dwNeeded =
        kPagesForOneChange + static_cast<DWORD>(cb / kPageBytes) + 1 + pending.PagesNeeded(dwTreePages);
    if (kv_pages_left(pWriteTxn) > dwNeeded) return ERROR_SUCCESS;
    LARGE_INTEGER cbFile;
    if (!::GetFileSizeEx(hFile, &cbFile)) return ::GetLastError();
    const DWORD cbOld = cbFile.LowPart / kPageBytes * kPageBytes;
    const DWORD cbWanted = bBatch ? std::clamp(cbOld, kSmallestStep, kLargestBatchStep)
                                  : std::clamp(cbOld / 4, kSmallestStep, kLargestStep);
    DWORD cbStep = cbWanted / kPageBytes * kPageBytes;
    cbStep = std::max(cbStep, dwNeeded * kPageBytes);
    if (cbStep > kLargestFile || cbOld > kLargestFile - cbStep) {
        cbStep = dwNeeded * kPageBytes;
        if (cbStep > kLargestFile || cbOld > kLargestFile - cbStep) return ERROR_DISK_FULL;
    }
    // Space is taken by writing zeros: on a sparse file a full disk would show as an access violation in the map.
    static const BYTE rgZeros[64 * 1024] = {};
    for (DWORD cbDone = 0; cbDone < cbStep;) {
        const DWORD cbPiece = std::min<DWORD>(cbStep - cbDone, sizeof rgZeros);
        const DWORD dwError = WriteAt(hFile, cbOld + cbDone, rgZeros, cbPiece);
        if (dwError != ERROR_SUCCESS) {
            if (cbDone >= dwNeeded * kPageBytes) break; // less than was asked for, but enough
            // What the disk did take is given back to it. If that fails the file is only longer than it need be.
            if (::SetFilePointer(hFile, static_cast<LONG>(cbOld), nullptr, FILE_BEGIN) == cbOld) ::SetEndOfFile(hFile);
            return dwError == ERROR_HANDLE_DISK_FULL ? ERROR_DISK_FULL : dwError;
        }
        cbDone += cbPiece;
    }
    return MapWholeFile();
}

// A file that was copied may have holes where there were zeros. They are filled before the first change: a store into a
// hole on a full disk is an access violation.
DWORD CVolumeState::FillHoles()
{
    FILE_STANDARD_INFO info;
    if (!::GetFileInformationByHandleEx(hFile, FileStandardInfo, &info, sizeof info)) return ::GetLastError();
    if (info.AllocationSize.QuadPart >= info.EndOfFile.QuadPart) return ERROR_SUCCESS;
    static const BYTE rgZeros[kPageBytes] = {};
    BYTE rgPage[kPageBytes];
    const DWORD cbFile = info.EndOfFile.LowPart / kPageBytes * kPageBytes;
    for (DWORD cbDone = 0; cbDone < cbFile; cbDone += kPageBytes) {
        DWORD dwError = ReadAt(hFile, cbDone, rgPage, kPageBytes);
        if (dwError == ERROR_SUCCESS && std::memcmp(rgPage, rgZeros, kPageBytes) == 0)
            dwError = WriteAt(hFile, cbDone, rgZeros, kPageBytes);
        if (dwError != ERROR_SUCCESS) return dwError == ERROR_HANDLE_DISK_FULL ? ERROR_DISK_FULL : dwError;
    }
    return ERROR_SUCCESS;
}

DWORD CVolumeState::BeginTransaction()
{
    DWORD dwError = ERROR_SUCCESS;
    if (shared->bNeedsRecovery) dwError = Recover();
    if (dwError == ERROR_SUCCESS && !shared->bInUseMarked) dwError = MarkInUse();
    if (dwError == ERROR_SUCCESS && kv_map_is_short(pEnv)) dwError = MapWholeFile();
    if (dwError != ERROR_SUCCESS) return dwError;
    SeeCommitted();
    pages.flushed_last_page = shared->flushed.last_page;
    pages.held_count = 0;
    return ToWin32(mdb_txn_begin(pEnv, nullptr, 0, &pWriteTxn));
}

DWORD CVolumeState::Commit()
{
    CloseWriteCursors();
    if (bBatch) EndPuts();
    // A batch may have begun before another process flushed: what is held is decided while the commit saves its list.
    pages.flushed_last_page = shared->flushed.last_page;
    MDB_txn* pTxn = pWriteTxn;
    DWORD dwError = MakeRoom(0);
    pWriteTxn = nullptr;
    if (dwError != ERROR_SUCCESS) {
        mdb_txn_abort(pTxn);
        return dwError;
    }
    const int rc = mdb_txn_commit(pTxn);
    if (rc != MDB_SUCCESS) return ToWin32(rc);
    for (DWORD i = 0; i < pages.held_count; i++) shared.Hold(pages.held[i]);
    pages.held_count = 0;
    shared->dwCommitsSinceFlush++;
    SeeCommitted();
    return ERROR_SUCCESS;
}

void CVolumeState::Abort()
{
    CloseWriteCursors();
    if (bBatch) EndPuts();
    if (pWriteTxn) mdb_txn_abort(pWriteTxn);
    pWriteTxn = nullptr;
}

DWORD CVolumeState::Put(CBytes key, size_t cb, BYTE*& p, unsigned nFlags)
{
    MDB_val k = {key.cb, const_cast<BYTE*>(key.p)}, v = {cb, nullptr};
    if (bBatch && !pPutCursor && mdb_cursor_open(pWriteTxn, kMainTree, &pPutCursor) != MDB_SUCCESS)
        pPutCursor = nullptr; // no memory: it goes without
    const int rc = pPutCursor ? kv_put(pPutCursor, &k, &v, MDB_RESERVE | nFlags)
                              : mdb_put(pWriteTxn, kMainTree, &k, &v, MDB_RESERVE | nFlags);
    p = static_cast<BYTE*>(v.mv_data);
    return ToWin32(rc);
}

DWORD CVolumeState::Delete(CBytes key)
{
    MDB_val k = {key.cb, const_cast<BYTE*>(key.p)};
    if (pPutCursor) kv_forget_place(pPutCursor);
    return ToWin32(mdb_del(pWriteTxn, kMainTree, &k, nullptr));
}

void CVolumeState::EndPuts()
{
    ClosePutCursor();
    pending.Clear();
}

void CVolumeState::ClosePutCursor()
{
    if (pPutCursor) mdb_cursor_close(pPutCursor);
    pPutCursor = nullptr;
}

void CVolumeState::CloseWriteCursors()
{
    for (void** ppCursor : writeCursors) {
        mdb_cursor_close(static_cast<MDB_cursor*>(*ppCursor));
        *ppCursor = nullptr;
    }
    writeCursors.clear();
}

} // namespace store
