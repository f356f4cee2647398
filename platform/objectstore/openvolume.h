// openvolume.h - one volume file as this process has it open: the engine's volume, and what is cached of its catalogue.
//
// The cache is right as long as ContentVersion says so: Sync compares it at the start of every access, CChange stamps
// it anew after a commit of this process.
//
// Ownership  mounts.h keeps the one COpenVolume of a file; databases belong to it and live as long.
// Threads    everything but Open and Engine is used only while an access to the volume is held.
// Errors     Win32 codes.
#ifndef KORVANESTORE_OPENVOLUME_H
#define KORVANESTORE_OPENVOLUME_H

#include "database.h"

#include <unordered_map>

namespace store {

// The volume record.
struct CVolumeRecord
{
    LCID lcid = LOCALE_INVARIANT;
    DWORD dwStamp = 0;    // CollationStamp of the system that sorted the texts
    CEOID oidNext = 1;    // first OID that no process has taken; 0: all are used up
    DWORD nDeletions = 0; // databases deleted so far: an enumeration notices
};

// A record's keys in one order, before and after a change.
struct COrderKeys
{
    CByteBuffer oldKey, newKey;
};

class COpenVolume
{
public:
    // Opens or makes the file (engine.h), writes the volume record of a new one, sorts texts anew that another system
    // has sorted.
    static DWORD Open(const wchar_t* pszPath, DWORD dwDisposition, std::unique_ptr<COpenVolume>& volume,
                      bool& bExisted);
    COpenVolume(const COpenVolume&) = delete;
    COpenVolume& operator=(const COpenVolume&) = delete;

    CVolume& Engine() { return *m_pEngine; }

    // First thing in every access. Fails as the access does, or with ERROR_FILE_CORRUPT.
    DWORD Sync(CAccess& access);
    // Whether Sync has nothing to do for an access that sees this version.
    bool IsInStep(ULONGLONG ullVersion) const { return m_ullVersion == ullVersion && !m_bBatchEnding; }
    // Nothing of what is cached may be believed any more: a transaction was given up.
    void ForgetAll();
    // Ends the engine's batch, by committing or abandoning it, with the cache in step.
    DWORD EndBatch(bool bCommit);

    const CVolumeRecord& Record() const { return m_record; }
    ULONGLONG Epoch() const { return m_ullEpoch; }
    // How many batches this process has abandoned.
    DWORD Abandoned() const { return m_nAbandoned; }

    // The database with this OID. ERROR_FILE_NOT_FOUND, ERROR_FILE_CORRUPT.
    DWORD Database(CAccess& access, CEOID oid, CDatabase*& pDatabase)
    {
        if (pDatabase && pDatabase->ullEpoch == m_ullEpoch && pDatabase->Oid() == oid) return ERROR_SUCCESS;
        return LoadDatabase(access, oid, pDatabase);
    }
    // The OID behind a name; 0 when there is none. Names compare without case.
    CEOID FindDatabase(CAccess& access, const wchar_t* pszName);
    // The first database behind an OID; 0 when there is none.
    CEOID NextDatabase(CAccess& access, CEOID oidAfter);
    // Which database has a record of this OID; 0: none.
    CEOID FindRecord(CAccess& access, CEOID oidRecord);

    // An OID that was never given out. They are taken from the volume in blocks; a block is given up when another
    // process has written meanwhile, so that OIDs rise in the order of creation whoever creates.
    DWORD TakeOid(CWriteAccess& access, CEOID& oid);
    DWORD SaveRecord(CWriteAccess& access, const CVolumeRecord& record);

    // The time of a change. A batch asks the system for it once a tick, which takes as long as a tenth of the change.
    FILETIME Now(const CAccess& access);

    // The cached database, new or with what is known of one with this OID; and the forgetting of a deleted one.
    CDatabase& Remember(CEOID oid);
    void Forget(CEOID oid);

    // Reusable buffers, so that a call allocates nothing once they have grown.
    CByteBuffer scratchRecord, scratchKey, scratchValue;
    COrderKeys scratchOrderKeys[CEDB_MAXSORTORDER];

private:
    friend class CChange;
    COpenVolume() = default;
    DWORD Prepare();
    DWORD LoadDatabase(CAccess& access, CEOID oid, CDatabase*& pDatabase);
    void KeepOids();
    void Stamp(ULONGLONG ullVersion) { m_ullVersion = ullVersion; }

    std::unique_ptr<CVolume> m_pEngine;
    std::unordered_map<CEOID, std::unique_ptr<CDatabase>> m_databases;
    CVolumeRecord m_record;
    ULONGLONG m_ullVersion = 0;    // ContentVersion that the cache stands for
    ULONGLONG m_ullEpoch = 1;      // one more whenever descriptors must be read again
    ULONGLONG m_ullShapeEpoch = 1; // likewise for shapes
    CEOID m_oidFree = 0;           // next OID of the block that was taken
    DWORD m_nFree = 0;             // and how many are left of it
    CEOID m_oidUnknown = 0;        // nobody here has ever been given this one or a higher one
    DWORD m_nAbandoned = 0;        // batches
    DWORD m_dwTick = 0;            // of the system, in which the batch asked for the time
    FILETIME m_ftTick = {};        // and what it was; 0: not asked yet
    bool m_bBatchEnding = false;   // between EndBatch's steps another thread may come: it must believe nothing either
};

// A writing call: the access, and the cache's way with its outcome.
class CChange
{
public:
    explicit CChange(COpenVolume& volume) : m_volume(volume), m_access(volume.Engine())
    {
        m_dwError = volume.Sync(m_access);
    }
    ~CChange()
    {
        if (m_bChanging && !m_bCommitted) m_volume.ForgetAll();
    }
    CChange(const CChange&) = delete;
    CChange& operator=(const CChange&) = delete;

    DWORD Error() const { return m_dwError; }
    CWriteAccess& Access() { return m_access; }
    // After all that can be refused was checked, before the first change. cb: bytes of keys and values to be changed.
    DWORD Begin(size_t cb)
    {
        const DWORD dwError = m_access.Reserve(cb);
        m_bChanging = dwError == ERROR_SUCCESS;
        return dwError;
    }
    DWORD Commit()
    {
        ULONGLONG ullVersion;
        const DWORD dwError = m_access.Commit(&ullVersion);
        if (dwError != ERROR_SUCCESS) return dwError;
        m_volume.Stamp(ullVersion);
        m_bCommitted = true;
        return ERROR_SUCCESS;
    }

private:
    COpenVolume& m_volume;
    CWriteAccess m_access;
    DWORD m_dwError;
    bool m_bChanging = false;
    bool m_bCommitted = false;
};

// A name as the map has it: upper case, two bytes a character, high byte first, behind its key space.
void AppendNameKey(CByteBuffer& key, const wchar_t* pszName);

} // namespace store

#endif
