// shared.h - what the processes that have one volume open share: a lock, who is there, which pages wait for the flush.
//
// The block lies in a section of the system (station.h); what the last of the processes leaves in it, however it ends,
// counts for nothing. Everything in it can be found anew from the file.
//
// Ownership  CShared has, from Enter to Leave, a slot in the block.
// Threads    Enter, Leave and OthersAreHere are called between LockOpening and UnlockOpening, all else under the lock.
//            What a dead process had is cleared away by one who has the right to open and close, and by nobody else:
//            its slot may be another process's the moment after.
#ifndef KORVANESTORE_SHARED_H
#define KORVANESTORE_SHARED_H

#include "lmdb_ext.h"
#include "station.h"

#include <windbase.h>

#include <string>
#include <vector>

namespace store {

struct CVolumeHeader;

constexpr DWORD kProcessSlots = 128;
constexpr DWORD kOpenDatabaseSlots = 4096;
constexpr DWORD kChangeNotes = 2048;

// A change that some process wants to be told of.
struct CChangeNote
{
    UINT uType; // DB_CEOID_...
    CEOID oid, oidParent;
    LONG lOwner;    // the process that made it: slot + 1
    DWORD dwThread; // likewise the thread
    DWORD dwHandle; // likewise the handle, by its address
};

struct CSharedBlock
{
    volatile LONG lLock;          // slot + 1 of the process inside a call, 0: nobody
    volatile LONG lBatch;         // slot + 1 of the process with an open batch, 0: none
    volatile LONG bChanging;      // the process inside a call is changing the volume
    volatile LONG bNeedsRecovery; // one died while it did: held pages are unknown until a recovery
    LONG bInUseMarked;            // the header on the disk says "in use"
    DWORD dwSequence;             // the header's
    DWORD dwCommitsSinceFlush;
    CEGUID guid;
    kv_state flushed;       // the last flushed state
    WCHAR szPath[MAX_PATH]; // full, as first opened
    struct
    {
        DWORD dwProcess; // 0: free
        FILETIME ftStart;
        LONG bMounted; // and not only held open by handles
        LONG nWatches; // handles that are to be told of changes
        LONG bCalled;  // its event was set and it has not looked yet
        DWORD dwSeen;  // notes that it has taken, counted from the first there ever was
    } rgProcesses[kProcessSlots];
    LONG nWatching; // processes with such handles: nobody else's changes are noted
    DWORD dwNotes;  // notes there ever were; the last kChangeNotes of them are kept
    CChangeNote rgNotes[kChangeNotes];
    DWORD dwOpenDatabases; // entries of the table below that have ever been used
    struct
    {
        CEOID oid; // 0: free
        WORD wSlot;
        WORD wCount;
    } rgOpenDatabases[kOpenDatabaseSlots];
    DWORD cbHeld;                            // bytes of rgHeld that may not be 0
    BYTE rgHeld[KV_PAGE_MAP_BYTES];          // pages of the flushed state that were freed since
    BYTE rgFreeInFlushed[KV_PAGE_MAP_BYTES]; // pages that the flushed state does not use, as far as it reaches
};

class CShared
{
public:
    CShared() = default;
    CShared(const CShared&) = delete;
    CShared& operator=(const CShared&) = delete;

    // Finds or makes the block of a file, and locks opening and closing, which one process does at a time.
    DWORD Open(HANDLE hFile, const std::wstring& strPath);
    void LockOpening();
    // When this process is not in the block any more, the file's handle is closed already.
    void UnlockOpening();

    // Forgets processes that are gone. True when another one is there.
    bool OthersAreHere();
    // Under the lock, for one who is not opening or closing: forgets them, unless somebody else is.
    void ForgetTheDead();
    // The first process: fills the block from the volume's header.
    void Reset(const CVolumeHeader& header, const std::wstring& strPath);
    // Pages are held, and no page is any longer. The maps are for the largest volume there can be: only as much of them
    // is touched as this one has pages.
    void Hold(DWORD dwPage);
    void HoldNone();
    bool AnyHeld() const;

    // Takes a slot for this process; ERROR_NOT_ENOUGH_MEMORY when all are taken.
    DWORD Enter();
    void Leave();
    void SetMounted(bool bMounted);

    // The lock around every call. A process that died inside is found out and its lock taken over.
    void Lock();
    void Unlock() { __atomic_store_n(&m_pBlock->lLock, 0, __ATOMIC_RELEASE); }
    // Waits, inside the lock, until no other process has a batch open.
    void WaitForBatch();
    LONG Owner() const { return m_lOwner; }
    bool IsGone(LONG lOwner) const; // whether another one's process, slot + 1, has died

    // Under the lock: this process has one handle more, or less, that is to be told of changes.
    void AddWatch();
    void RemoveWatch();
    bool IsWatched() const { return m_pBlock->nWatching != 0; }
    // Under the lock, which it may let go and take again: hands changes to all processes that watch, and wakes them.
    // Waits for one that is behind, but for kLongestNoteWait at most: it then misses the oldest.
    void Publish(const std::vector<CChangeNote>& notes);
    // Under the lock: the next changes that this process has not taken yet. 0: none.
    DWORD TakeNotes(CChangeNote* pNotes, DWORD nRoom);

    CSharedBlock* operator->() const { return m_pBlock; }

private:
    void LockSlowly();
    void TakeOver(LONG lDead);
    bool TakeLockOver(LONG lDead);
    void ForgetWatches(DWORD nSlot);
    DWORD NotesThatFit() const;
    void WakeWatching();

    DWORD m_dwRow = 0; // of the station
    CBlockView m_view;
    CSharedBlock* m_pBlock = nullptr; // the view's
    LONG m_lOwner = 0;                // slot + 1, 0 outside
    bool m_bOpening = false;          // between LockOpening and UnlockOpening, when one thread alone uses this
};

// The event that wakes a process because of changes. Empty: it cannot be had. The caller closes it.
HANDLE OpenNoteEvent(DWORD dwProcess, bool bOwn);

inline void CShared::Lock()
{
    if (::InterlockedCompareExchange(&m_pBlock->lLock, m_lOwner, 0) != 0) LockSlowly();
}

} // namespace store

#endif
