// korvanebatch.h - several calls on a volume as one transaction, and the care of volumes: check-up,
// compaction, salvage. Extensions of korvanestore.dll; the device has none of them.
//
// Between CeBeginBatch and CeCommitBatch all changes that this process makes to the volume, through whatever handle,
// are one transaction: this process sees them at once, other processes see all of them or none, when the batch is
// committed. A batch that is neither committed nor abandoned vanishes with the process, or with its last mount of the
// volume. Writers in other processes wait for its end.
//
// Threads    a batch belongs to the process: whichever thread writes to the volume meanwhile takes part in it.
// Errors     FALSE with the last error: ERROR_INVALID_PARAMETER for an unknown volume.
#ifndef KORVANE_PLATFORM_KORVANEBATCH_H
#define KORVANE_PLATFORM_KORVANEBATCH_H

#include <windbase.h>

// Begins a batch. ERROR_ALREADY_EXISTS when one is open: batches do not nest.
KORVANESTORE_API BOOL WINAPI CeBeginBatch(PCEGUID pceguid);

// Makes the batch's changes one committed transaction, as durable as a single write call. ERROR_NO_DATA when no batch
// is open; ERROR_DISK_FULL or ERROR_FILE_CORRUPT when a change of it had failed half way: nothing is changed then, and
// the batch is over.
KORVANESTORE_API BOOL WINAPI CeCommitBatch(PCEGUID pceguid);

// Gives the batch's changes up. ERROR_NO_DATA when no batch is open.
KORVANESTORE_API BOOL WINAPI CeAbandonBatch(PCEGUID pceguid);

// Checks a volume as a whole: every page is in use once or free, the map's keys are in order, every record and every
// index entry belongs to a database and to each other, every database's count is right.
// TRUE when nothing is wrong. FALSE with ERROR_FILE_CORRUPT when something is: lpProblem (dwNumChars characters, may be
// null) receives one sentence on the first thing found. Other errors: the check could not be made.
KORVANESTORE_API BOOL WINAPI CeCheckDBVol(PCEGUID pceguid, LPWSTR lpProblem, DWORD dwNumChars);

// Writes the volume file at this path anew, without its free space: to a file beside it, its path with ".compacting"
// behind, which is checked as a whole and then takes the volume's place in one renaming. Databases and records keep
// everything: OIDs, names, types, flags, sort orders, times. Until the renaming the volume is only read; whatever
// fails, and wherever the process is killed, it is there as it was. What a killed process has left of the new file, the
// next compaction overwrites.
// Nobody may have the volume mounted, and nobody can mount it meanwhile. Errors: ERROR_SHARING_VIOLATION or
// ERROR_ACCESS_DENIED (it is mounted, or no file can be made beside it), ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND,
// ERROR_DISK_FULL, ERROR_INVALID_PARAMETER (a path of more than 248 characters), ERROR_REVISION_MISMATCH,
// the disk's own error when a page cannot be read, ERROR_FILE_CORRUPT: lpProblem (dwNumChars characters, may be null)
// receives one sentence on the first thing found, or is empty when the file is no volume.
KORVANESTORE_API BOOL WINAPI CeCompactDBVol(LPCWSTR lpszDBVol, LPWSTR lpProblem, DWORD dwNumChars);

// What CeSalvageDBVol has done.
typedef struct _CESALVAGEINFO
{
    DWORD nPages;        // whole pages of the damaged file
    DWORD nDamagedPages; // pages of its trees that are damaged or not in the file
    DWORD nDatabases;    // of the new volume
    DWORD nRecords;      // in them
    DWORD nLostRecords;  // that are known to be missing; of a database whose description is lost nobody knows
} CESALVAGEINFO;

// Is told each finding in a sentence, which is good during the call.
typedef VOID(CALLBACK* CESALVAGEPROC)(LPCWSTR lpFinding, LPVOID lpParam);

// Makes a new volume, lpszNew, of what can still be read of a damaged one, which is only read: its header or first pages
// gone, the file cut off, pages overwritten. Where a branch of the trees is lost, each page that nothing accounts for is
// looked at. What a page says of itself must be sound, or nothing of it is taken; the file has no checksums of its
// content, so a record that was changed within its bytes comes out as it stands.
// Databases and records keep their OIDs; sort orders are sorted anew. A database whose description is lost gets the name
// that the volume's list of names has for it, in capitals, or "Recovered N", and no sort orders. Records whose list of
// properties is lost cannot be read. The file is made as lpszNew with ".recovering" behind, checked, and renamed.
// FALSE, and no new file: ERROR_FILE_CORRUPT (nothing of a volume is in it), the disk's own error (nothing can be had of
// it, and there are pages that the disk did not give), ERROR_FILE_EXISTS (lpszNew does), ERROR_INVALID_PARAMETER (a null
// pointer but for lpFound, an empty or overlong path), ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED,
// ERROR_DISK_FULL.
KORVANESTORE_API BOOL WINAPI CeSalvageDBVol(LPCWSTR lpszDamaged, LPCWSTR lpszNew, CESALVAGEINFO* lpInfo,
                                            CESALVAGEPROC lpFound, LPVOID lpParam);

#endif
