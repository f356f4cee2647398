// engine.h - one volume file as an ordered map from keys to values, shared by processes, safe against kills and power
// cuts.
//
// The map is one LMDB tree, compared as bytes (memcmp, shorter first). docs/volume-format.md has the file's layout,
// docs/database.md the reasoning behind locks, flushes and recovery.
//
// Ownership  a process has at most one CVolume for a file (LMDB must never be opened twice on one); mounts.h
//            sees to that. Pointers into the map are good until the access object that gave them ends, or writes.
// Threads    an access object takes the volume for itself: other threads and processes wait, so accesses are short and
//            never nested on one volume.
// Errors     Win32 codes, ERROR_SUCCESS when all is well. LMDB's own codes never leave engine.cpp.
#ifndef KORVANESTORE_ENGINE_H
#define KORVANESTORE_ENGINE_H

#include <windbase.h>

#include <memory>
#include <string>

namespace store {

constexpr size_t kMaxKeyBytes = 511;

struct CBytes
{
    const BYTE* p = nullptr;
    size_t cb = 0;
};

class CAccess;
struct CChangeNote;
struct CVolumeState;

class CVolume
{
public:
    // Opens or makes the volume file. dwDisposition is one of the mount flags (CREATE_NEW ... TRUNCATE_EXISTING);
    // bExisted says whether there was a file. Refused files are left untouched: ERROR_FILE_CORRUPT (no volume),
    // ERROR_REVISION_MISMATCH (another version), ERROR_SHARING_VIOLATION (to be emptied, but open in some process).
    static DWORD Open(const wchar_t* pszPath, DWORD dwDisposition, std::unique_ptr<CVolume>& volume, bool& bExisted);

    // Who has opened the volume says so when its content is sound too. Without it, the file is left as it was found.
    void Accept();

    // Abandons an open batch, flushes, and lets the file go; the last process to do so cuts it to its content.
    ~CVolume();
    CVolume(const CVolume&) = delete;
    CVolume& operator=(const CVolume&) = delete;

    // Whether it is known to be the volume of a file, under whatever path that was reached. The handle can read or write.
    bool IsOf(HANDLE hFile) const;
    const std::wstring& Path() const; // full path, as first opened
    // Whether this process shows the volume among those that it has mounted (CStation::List).
    void SetMounted(bool bMounted);
    const CEGUID& Guid() const; // new, the same in all processes for as long as one has the file open

    // Makes all that is committed safe against a power cut.
    DWORD Flush();

    // One transaction over many write accesses. BeginBatch: ERROR_ALREADY_EXISTS when one is open; the others:
    // ERROR_NO_DATA when none is. CommitBatch fails with the error of a write access that ended half way.
    DWORD BeginBatch();
    DWORD CommitBatch();
    DWORD AbandonBatch();
    bool HasBatch() const;     // this process's
    bool IsInAnyBatch() const; // or another's, for which writes wait; either may have changed by the time it is known

    // Which databases have open handles, in whatever process. Noting is for outside of accesses; asking is for inside
    // of the one that will act upon the answer, 0 asks for any database at all. Entries of a process that died are
    // forgotten. NoteDatabaseOpen: ERROR_NOT_ENOUGH_MEMORY when the table is full.
    DWORD NoteDatabaseOpen(CEOID oidDatabase);
    void NoteDatabaseClosed(CEOID oidDatabase);
    bool IsDatabaseOpen(const CAccess& access, CEOID oidDatabase);

    // Who watches is told of the changes that write accesses note (CWriteAccess::Note), of all processes, in the order of
    // their commits. Unwatched volumes cost a look at a counter. For outside of accesses, as TakeNotes is: up to nRoom
    // changes that this process has not taken yet, 0 when there are none.
    void AddWatch();
    void RemoveWatch();
    DWORD TakeNotes(CChangeNote* pNotes, DWORD nRoom);
    bool IsOwn(const CChangeNote& note) const; // of this process

    // Walks both trees and the free list: every page is used exactly once, keys are in order. ERROR_FILE_CORRUPT, and a
    // sentence in strProblem, for the first contradiction.
    DWORD CheckPages(std::wstring& strProblem);

    CVolumeState& State() { return *m_pState; } // for the store's innermost

private:
    friend class CAccess;
    friend class CReadAccess;
    friend class CWriteAccess;
    friend class CTreeCursor;
    CVolume();
    std::unique_ptr<CVolumeState> m_pState;
};

// What reading and writing have in common. Inside a batch both see the batch's own changes.
class CAccess
{
public:
    CAccess(const CAccess&) = delete;
    CAccess& operator=(const CAccess&) = delete;

    // ERROR_SUCCESS, or why the access could not begin: nothing else may be called then.
    DWORD Error() const { return m_dwError; }

    // A number that differs whenever the map may differ from what an earlier access of this process saw: what was
    // cached under the same number is still good. A write access that commits reports its own new number through
    // CWriteAccess::Commit, so that a cache that its owner kept right can be stamped anew.
    ULONGLONG ContentVersion() const;

    // Whether it is part of a batch of this process.
    bool IsInBatch() const;

    // The value under a key; false when there is none, or when the volume turns out damaged: Error() tells the two
    // apart afterwards (ERROR_FILE_CORRUPT), here and after a cursor's move. Entries of sort orders are for cursors to
    // find: those that a batch has just put may not be here yet.
    bool Get(CBytes key, CBytes& value);

protected:
    explicit CAccess(CVolume& volume) : m_volume(volume) {}
    ~CAccess() = default;
    friend class CTreeCursor;
    CVolume& m_volume;
    DWORD m_dwError = ERROR_SUCCESS;
};

// One reading call: a snapshot of the last committed state (of the batch's state inside a batch).
class CReadAccess : public CAccess
{
public:
    explicit CReadAccess(CVolume& volume);
    ~CReadAccess();
};

// One writing call: all its changes or none. Ends without effect unless Commit succeeded.
class CWriteAccess : public CAccess
{
public:
    explicit CWriteAccess(CVolume& volume);
    ~CWriteAccess();

    // Makes sure, before the first change, that changes of about cb bytes in all will find room in the file
    // (ERROR_DISK_FULL). Inside a batch this is what keeps a call from failing half way.
    DWORD Reserve(size_t cb);

    // Sets a key's value. The second form leaves the cb bytes to be filled at p before anything else is called. Inside a
    // batch the first form may leave entries of sort orders and descriptors to be put later (pending.h): when a cursor is
    // about to come by them, or the batch is committed. Room for that is made here and in Reserve.
    DWORD Put(CBytes key, CBytes value);
    DWORD Put(CBytes key, size_t cb, BYTE*& p);
    // Puts a key behind all that there are, which fills pages where Put would halve them. ERROR_FILE_CORRUPT for a key
    // that belongs elsewhere.
    DWORD Append(CBytes key, CBytes value);
    // Removes a key. ERROR_FILE_NOT_FOUND when there is none.
    DWORD Delete(CBytes key);

    // Commits (inside a batch: adds to it). The version is the one that accesses see from now on.
    DWORD Commit(ULONGLONG* pullVersion = nullptr);

    // After a successful Commit: what was done, with which handle. Those who watch are told when the access, or the
    // batch that it is part of, has ended well.
    void Note(UINT uType, CEOID oid, CEOID oidParent, const void* pHandle);

private:
    DWORD Insert(CBytes key, size_t cb, BYTE*& p, unsigned nFlags);
    bool m_bChanged = false;
    bool m_bDone = false;
};

// A place in the map that is kept between accesses as long as nothing changes: a walk then costs no seek.
class CTreeCursor
{
public:
    explicit CTreeCursor(CVolume& volume);
    ~CTreeCursor();
    CTreeCursor(const CTreeCursor&) = delete;
    CTreeCursor& operator=(const CTreeCursor&) = delete;

    // True while the cursor still stands where it was put: nothing was committed or written since. Else it must be put
    // anew by a Seek; Next and Prev need a placed cursor.
    bool IsPlaced(const CAccess& access) const;

    // For who has the version at hand.
    bool IsPlacedIn(ULONGLONG ullVersion) const { return m_bPlaced && m_ullVersion == ullVersion; }

    // Each stands on an entry afterwards and returns true, or there is none: false, and the cursor is not placed.
    bool SeekAtLeast(CAccess& access, CBytes key); // the first entry with a key >= key
    bool SeekBefore(CAccess& access, CBytes key);  // the last entry with a key < key
    bool Next(CAccess& access);
    bool Prev(CAccess& access);
    // Next for a cursor that is placed, under a lock on the volume and outside of batches, if the entry is one of the same
    // page. False: nothing has moved.
    bool NextInPage();
    // Likewise: the key so many places ahead in the page. False: there is none.
    bool PeekInPage(unsigned nAhead, CBytes& key) const;

    // The entry. Good until the access ends or writes.
    CBytes Key() const { return m_key; }
    CBytes Value() const { return m_value; }

private:
    bool Move(CAccess& access, int op, CBytes key);
    CVolume& m_volume;
    void* m_pCursor = nullptr;  // MDB_cursor of m_ullVersion's transaction
    ULONGLONG m_ullVersion = 0; // state of the map that the cursor is placed in
    bool m_bOnWriteTxn = false; // the cursor belongs to a batch's transaction
    bool m_bPlaced = false;
    CBytes m_key, m_value;
};

} // namespace store

#endif
