// volumestate.h - the inside of CVolume: the engine's environment, its transactions, and what is shared with other
// processes. Included by the engine's own sources only.
//
// Ownership  CVolume owns it; environment, transactions and cursors are the state's.
// Threads    everything is used under the lock of `shared`, opening and closing between its LockOpening and
//            UnlockOpening as well.
// Errors     Win32 codes; ToWin32 is the one place where LMDB's codes become such.
#ifndef KORVANESTORE_VOLUMESTATE_H
#define KORVANESTORE_VOLUMESTATE_H

#include "engine.h"
#include "header.h"
#include "pending.h"
#include "shared.h"

#include <vector>

namespace store {

constexpr MDB_dbi kMainTree = 1; // LMDB's number of the unnamed tree

// A file grows by a quarter of its size at a time, in a batch to twice its size, within these bounds. Each growth maps it
// anew, which the system makes a batch pay for with each page that it touches afterwards.
constexpr DWORD kSmallestStep = 64 * kPageBytes;
constexpr DWORD kLargestStep = 4 << 20;
constexpr DWORD kLargestBatchStep = 16 << 20;
constexpr DWORD kLargestFile = KV_MAX_PAGES * kPageBytes - kLargestStep;

DWORD ToWin32(int rc);

struct CVolumeState
{
    std::wstring strPath;
    CShared shared;
    MDB_env* pEnv = nullptr;             // owned
    HANDLE hFile = INVALID_HANDLE_VALUE; // owned; lent to the environment
    MDB_txn* pReadTxn = nullptr;         // owned; reset between changes of the map
    bool bReadTxnLive = false;           // it holds a snapshot
    MDB_txn* pWriteTxn = nullptr;        // of the present write access or the batch
    bool bBatch = false;                 // pWriteTxn outlives its access
    DWORD dwBatchError = 0;              // a write access of the batch ended half way
    std::vector<void**> writeCursors;    // cursors on pWriteTxn: closed before it changes
    MDB_cursor* pPutCursor = nullptr;    // owned; puts of the batch, which mostly follow each other
    CPending pending;                    // of the batch
    DWORD dwTreePages = 0;               // that the map had when the batch began
    ULONGLONG ullVersion = 1;            // see CAccess::ContentVersion
    DWORD dwSeenTxn = 0;                 // the committed state that ullVersion stands for
    kv_pages pages = {};
    bool bAccepted = false;         // its content is sound too: not before is anything in the file put in order
    std::vector<BYTE> replaced;     // until then, the metas as they were found, if opening put others there
    std::vector<CChangeNote> notes; // of the present write access or the batch: told when it has ended well

    ~CVolumeState();
    void CloseFile();
    DWORD Open(DWORD dwDisposition, bool bCreated);
    DWORD OpenEnvironment();
    DWORD PrepareFile(DWORD dwDisposition, bool bNew, bool bOthers, CVolumeHeader& header);
    void PutBack();
    DWORD AdoptFlushed();
    void SeeCommitted();
    DWORD BeginReading();
    void EndReading();
    void GiveUpSnapshot();
    DWORD BeginTransaction();
    DWORD Commit();
    void Abort();
    DWORD MapWholeFile();
    DWORD MakeRoom(size_t cb);
    DWORD Put(CBytes key, size_t cb, BYTE*& p, unsigned nFlags);
    DWORD Delete(CBytes key);
    DWORD PutOnePending(CBytes key, CBytes value);
    DWORD PutPending();
    DWORD PutPending(CPendingRun& run);
    DWORD PutPendingFor(CBytes key);
    DWORD FillHoles();
    DWORD WriteVolumeHeader(bool bInUse);
    DWORD MarkInUse();
    DWORD FlushLocked();
    void FlushIfDue();
    DWORD Recover();
    void CloseWriteCursors();
    void ClosePutCursor();
    void EndPuts();
    void Tell()
    {
        if (notes.empty()) return;
        std::vector<CChangeNote> told;
        told.swap(notes); // telling may let other threads in
        shared.Publish(told);
    }
    DWORD Close();
};

} // namespace store

#endif
