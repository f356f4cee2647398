// windbase.h - the device's object-store databases: volumes, databases, records, seeks.
//
// The names, numbers and record layouts are the device SDK's; korvanestore.dll is behind them on a desktop.
//
// A volume is one file, mounted by path and named by a CEGUID from then on; the all-zero CEGUID names the object store
// itself, which is always mounted. A volume holds databases, a database holds records, a record holds properties: typed
// values under a 32-bit CEPROPID (number in the high word, CEVT_ type in the low word). Objects have 32-bit CEOIDs,
// never 0 and never used twice within a volume.
//
// Ownership  what a call hands out is said at the call; a database handle is closed with CloseHandle.
// Threads    every call may come from any thread; calls on one volume are served one after the other.
// Errors     a failing call returns FALSE, 0 or INVALID_HANDLE_VALUE and sets the last error; the errors of each call
//            are listed there. ERROR_INVALID_PARAMETER is the answer to null pointers, unknown volumes and handles
//            that are not open; ERROR_DISK_FULL to a volume that can grow no further; ERROR_FILE_CORRUPT to a volume
//            whose pages contradict themselves.
// Durability a write call that has returned success survives the death of the process at any instruction. A power cut
//            brings the volume back to its last flush (CeFlushDBVol, or the last CeUnmountDBVol) or to a later state.
#ifndef KORVANE_PLATFORM_WINDBASE_H
#define KORVANE_PLATFORM_WINDBASE_H

#include <windows.h>

#ifdef KORVANESTORE_BUILDING
#define KORVANESTORE_API extern "C" __declspec(dllexport)
#else
#define KORVANESTORE_API extern "C" __declspec(dllimport)
#endif

typedef DWORD CEOID;
typedef CEOID* PCEOID;
typedef DWORD CEPROPID;
typedef CEPROPID* PCEPROPID;

// ---- Constants -----------------------------------------------------------------------------------------------------

// Value types, the low word of a CEPROPID.
#define CEVT_I2 2
#define CEVT_I4 3
#define CEVT_R8 5
#define CEVT_BOOL 11
#define CEVT_UI2 18
#define CEVT_UI4 19
#define CEVT_LPWSTR 31
#define CEVT_FILETIME 64
#define CEVT_BLOB 65

#define TypeFromPropID(propid) LOWORD(propid)

// CEPROPVAL.wFlags
#define CEDB_PROPNOTFOUND 0x0100 // out of a read: the record has no such property
#define CEDB_PROPDELETE 0x0200   // into a write: remove the property

// Open, read and mount flags
#define CEDB_AUTOINCREMENT 0x00000001 // open: each read moves on to the next record
#define CEDB_ALLOWREALLOC 0x00000001  // read: the buffer may be allocated anew

// Seek types
#define CEDB_SEEK_CEOID 0x00000001
#define CEDB_SEEK_BEGINNING 0x00000002
#define CEDB_SEEK_END 0x00000004
#define CEDB_SEEK_CURRENT 0x00000008
#define CEDB_SEEK_VALUESMALLER 0x00000010
#define CEDB_SEEK_VALUEFIRSTEQUAL 0x00000020
#define CEDB_SEEK_VALUEGREATER 0x00000040
#define CEDB_SEEK_VALUENEXTEQUAL 0x00000080

// Sort flags
#define CEDB_SORT_DESCENDING 0x00000001
#define CEDB_SORT_CASEINSENSITIVE 0x00000002
#define CEDB_SORT_UNKNOWNFIRST 0x00000004
#define CEDB_SORT_GENERICORDER 0x00000008
#define CEDB_SORT_IGNORENONSPACE 0x00000010
#define CEDB_SORT_IGNORESYMBOLS 0x00000020
#define CEDB_SORT_IGNOREKANATYPE 0x00000040
#define CEDB_SORT_IGNOREWIDTH 0x00000080
#define CEDB_SORT_STRINGSORT 0x00000100
#define CEDB_SORT_UNIQUE 0x00000200
#define CEDB_SORT_NONNULL 0x00000400

// CEDBASEINFO.dwFlags, CEDBASEINFOEX.dwFlags: which members are valid, and two states in the high word
#define CEDB_VALIDNAME 0x0001
#define CEDB_VALIDTYPE 0x0002
#define CEDB_VALIDSORTSPEC 0x0004
#define CEDB_VALIDMODTIME 0x0008
#define CEDB_VALIDDBFLAGS 0x0010
#define CEDB_VALIDCREATE (CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC | CEDB_VALIDDBFLAGS)
#define CEDB_NOCOMPRESS 0x00010000
#define CEDB_SYSTEMDB 0x00020000

// CENOTIFYREQUEST.dwFlags
#define CEDB_EXNOTIFICATION 0x00000001

// CEOIDINFO.wObjType
#define OBJTYPE_INVALID 0
#define OBJTYPE_FILE 1
#define OBJTYPE_DIRECTORY 2
#define OBJTYPE_DATABASE 3
#define OBJTYPE_RECORD 4

// Limits
#define CEDB_MAXDBASENAMELEN 32                // characters of a database's name, terminator included
#define CEDB_MAXSORTORDER 4                    // sort orders of a database
#define CEDB_MAXSORTPROP 3                     // properties of a sort order
#define CEDB_MAXDATABLOCKSIZE 4092             // bytes
#define CEDB_MAXPROPDATASIZE ((4092 * 16) - 1) // bytes of one property's data
#define CEDB_MAXRECORDSIZE (128 * 1024)        // bytes of one record's data
#define CEDB_MAXNUMRECORDS 0xFFFF              // records of a database

// Window messages of notifications
#define WM_DBNOTIFICATION 0x03FD
#define DB_CEOID_CREATED (WM_USER + 1)
#define DB_CEOID_DATABASE_DELETED (WM_USER + 2)
#define DB_CEOID_RECORD_DELETED (WM_USER + 3)
#define DB_CEOID_FILE_DELETED (WM_USER + 4)
#define DB_CEOID_DIRECTORY_DELETED (WM_USER + 5)
#define DB_CEOID_CHANGED (WM_USER + 6)

// Errors under their database names
#define ERROR_DBPROP_NOT_FOUND ERROR_ACCESS_DENIED
#define ERROR_REPEATED_KEY ERROR_ALREADY_EXISTS

// ---- Records -------------------------------------------------------------------------------------------------------

typedef struct _CEGUID
{
    DWORD Data1, Data2, Data3, Data4;
} CEGUID, *PCEGUID;

// The object store's own name (all zero) and the name of no volume (all ones).
#define CREATE_SYSTEMGUID(pguid) (memset((pguid), 0, sizeof(CEGUID)))
#define CREATE_INVALIDGUID(pguid) (memset((pguid), 0xFF, sizeof(CEGUID)))
#define CHECK_SYSTEMGUID(pguid) (!((pguid)->Data1 | (pguid)->Data2 | (pguid)->Data3 | (pguid)->Data4))
#define CHECK_INVALIDGUID(pguid) (!~((pguid)->Data1 & (pguid)->Data2 & (pguid)->Data3 & (pguid)->Data4))

typedef struct _CEBLOB
{
    DWORD dwCount; // bytes
    LPBYTE lpb;
} CEBLOB, *PCEBLOB;

typedef union _CEVALUNION {
    short iVal;
    USHORT uiVal;
    long lVal;
    ULONG ulVal;
    FILETIME filetime;
    LPWSTR lpwstr;
    CEBLOB blob;
    BOOL boolVal;
    double dblVal;
} CEVALUNION, *PCEVALUNION;

typedef struct _CEPROPVAL
{
    CEPROPID propid;
    WORD wLenData; // the store's own; any value may come in
    WORD wFlags;   // CEDB_PROPNOTFOUND, CEDB_PROPDELETE
    CEVALUNION val;
} CEPROPVAL, *PCEPROPVAL;

typedef struct _CEFILEINFO
{
    DWORD dwAttributes;
    CEOID oidParent;
    WCHAR szFileName[MAX_PATH];
    FILETIME ftLastChanged;
    DWORD dwLength;
} CEFILEINFO;

typedef struct _CEDIRINFO
{
    DWORD dwAttributes;
    CEOID oidParent;
    WCHAR szDirName[MAX_PATH];
} CEDIRINFO;

typedef struct _CERECORDINFO
{
    CEOID oidParent;
} CERECORDINFO;

typedef struct _SORTORDERSPEC
{
    CEPROPID propid;
    DWORD dwFlags; // CEDB_SORT_
} SORTORDERSPEC;

#define SORTORDERSPECEX_VERSION 1
typedef struct _SORTORDERSPECEX
{
    WORD wVersion;
    WORD wNumProps; // 1 to CEDB_MAXSORTPROP
    WORD wKeyFlags; // 0 or CEDB_SORT_UNIQUE, for the whole key
    WORD wReserved;
    CEPROPID rgPropID[CEDB_MAXSORTPROP]; // most significant first
    DWORD rgdwFlags[CEDB_MAXSORTPROP];   // CEDB_SORT_, a property each
} SORTORDERSPECEX;

typedef struct _CEDBASEINFO
{
    DWORD dwFlags; // CEDB_VALID..., CEDB_NOCOMPRESS, CEDB_SYSTEMDB
    WCHAR szDbaseName[CEDB_MAXDBASENAMELEN];
    DWORD dwDbaseType;
    WORD wNumRecords;
    WORD wNumSortOrder;
    DWORD dwSize; // bytes
    FILETIME ftLastModified;
    SORTORDERSPEC rgSortSpecs[CEDB_MAXSORTORDER];
} CEDBASEINFO;

#define CEDBASEINFOEX_VERSION 1
typedef struct _CEDBASEINFOEX
{
    WORD wVersion;
    WORD wNumSortOrder;
    DWORD dwFlags;
    WCHAR szDbaseName[CEDB_MAXDBASENAMELEN];
    DWORD dwDbaseType;
    DWORD dwNumRecords;
    DWORD dwSize; // bytes
    FILETIME ftLastModified;
    SORTORDERSPECEX rgSortSpecs[CEDB_MAXSORTORDER];
} CEDBASEINFOEX, *PCEDBASEINFOEX;

typedef struct _CEOIDINFO
{
    WORD wObjType; // OBJTYPE_, names the member of the union
    WORD wPad;
    union {
        CEFILEINFO infFile;
        CEDIRINFO infDirectory;
        CEDBASEINFO infDatabase;
        CERECORDINFO infRecord;
    };
} CEOIDINFO, *PCEOIDINFO;

#define CEOIDINFOEX_VERSION 1
typedef struct _CEOIDINFOEX
{
    WORD wVersion;
    WORD wObjType;
    union {
        CEFILEINFO infFile;
        CEDIRINFO infDirectory;
        CEDBASEINFOEX infDatabase;
        CERECORDINFO infRecord;
    };
} CEOIDINFOEX;

#define BY_HANDLE_DB_INFORMATION_VERSION 1
typedef struct _BY_HANDLE_DB_INFORMATION
{
    WORD wVersion;
    WORD wReserved;
    CEGUID guidVol;
    CEOID oidDbase;
    CEDBASEINFOEX infDatabase;
} BY_HANDLE_DB_INFORMATION, *LPBY_HANDLE_DB_INFORMATION;

typedef struct _CENOTIFYREQUEST
{
    DWORD dwSize;  // of this record
    HWND hwnd;     // receives the messages
    DWORD dwFlags; // CEDB_EXNOTIFICATION; 0, for the object store only
    HANDLE hHeap;  // for the CENOTIFICATIONs, serialized; null: the process's
    DWORD dwParam; // the caller's own, handed back
} CENOTIFYREQUEST, *PCENOTIFYREQUEST;

typedef struct _CENOTIFICATION
{
    DWORD dwSize;    // of this record
    DWORD dwParam;   // the request's
    UINT uType;      // DB_CEOID_CREATED, DB_CEOID_CHANGED, DB_CEOID_RECORD_DELETED
    CEGUID guid;     // the volume's, as the handle was opened
    CEOID oid;       // the record's
    CEOID oidParent; // the database's
} CENOTIFICATION, *PCENOTIFICATION;

#ifdef __cplusplus
static_assert(sizeof(CEGUID) == 16 && sizeof(CEBLOB) == 8 && sizeof(CEVALUNION) == 8 && sizeof(CEPROPVAL) == 16);
static_assert(sizeof(CEFILEINFO) == 540 && sizeof(CEDIRINFO) == 528 && sizeof(CERECORDINFO) == 4);
static_assert(sizeof(SORTORDERSPEC) == 8 && sizeof(SORTORDERSPECEX) == 32);
static_assert(sizeof(CEDBASEINFO) == 120 && sizeof(CEDBASEINFOEX) == 220);
static_assert(sizeof(CEOIDINFO) == 544 && sizeof(CEOIDINFOEX) == 544 && sizeof(BY_HANDLE_DB_INFORMATION) == 244);
static_assert(sizeof(CENOTIFYREQUEST) == 20 && sizeof(CENOTIFICATION) == 36);
#endif

// ---- Volumes -------------------------------------------------------------------------------------------------------

// Mounts the volume file at lpszDBVol (at most MAX_PATH characters with the terminator) and names it in *pceguid.
//   dwFlags           file missing                 file present
//   CREATE_NEW        created                      fails, ERROR_FILE_EXISTS
//   CREATE_ALWAYS     created                      replaced by an empty volume; last error ERROR_ALREADY_EXISTS
//   OPEN_EXISTING     fails, ERROR_FILE_NOT_FOUND  opened
//   OPEN_ALWAYS       created                      opened; last error ERROR_ALREADY_EXISTS
//   TRUNCATE_EXISTING fails, ERROR_FILE_NOT_FOUND  opened and emptied
// On success without a word of its own the last error is 0. Each mount adds one to the volume's count in this process;
// a path mounted twice, under whatever spelling, has one GUID, which other processes that mount it get as well.
// On failure *pceguid is the invalid GUID. Errors: ERROR_INVALID_PARAMETER (null or overlong path, unknown flags),
// ERROR_PATH_NOT_FOUND, ERROR_ACCESS_DENIED (a directory, no permission), ERROR_SHARING_VIOLATION (CREATE_ALWAYS or
// TRUNCATE_EXISTING on a mounted volume, or the file may be one that is mounted under another name, but the system does
// not tell), ERROR_DISK_FULL, ERROR_NOT_ENOUGH_MEMORY, ERROR_FILE_CORRUPT (the file is no volume, empty or damaged),
// ERROR_REVISION_MISMATCH (a volume of another version). A refused file is left as it was; only one that was being
// replaced or emptied when the disk failed is no volume afterwards.
KORVANESTORE_API BOOL WINAPI CeMountDBVol(PCEGUID pceguid, LPWSTR lpszDBVol, DWORD dwFlags);

// Takes back one mount of this process. The last one flushes the volume, gives an open batch up and lets the name go;
// open database handles go on working and keep the file until the last of them is closed.
// Errors: ERROR_INVALID_PARAMETER (null, the object store, a volume that this process has not mounted); ERROR_DISK_FULL
// or the disk's own when the flush fails: it is unmounted all the same, and a power cut may cost what was written since
// the last flush.
KORVANESTORE_API BOOL WINAPI CeUnmountDBVol(PCEGUID pceguid);

// Writes everything of the volume to its file: from here on a power cut loses nothing that was written before the call.
// The object store is flushed as any volume. Errors: ERROR_INVALID_PARAMETER (unknown volume), ERROR_DISK_FULL.
KORVANESTORE_API BOOL WINAPI CeFlushDBVol(PCEGUID pceguid);

// Enumerates the mounted volume files of all processes (not the object store). Start with the invalid GUID; each
// success stores the next volume's GUID in *pceguid and its full path in lpBuf (dwNumChars characters).
// Errors: ERROR_NO_MORE_ITEMS at the end; ERROR_INSUFFICIENT_BUFFER (*pceguid is left as it was: call again with a
// larger buffer); ERROR_KEY_DELETED (the volume named in *pceguid is no longer mounted: start again).
KORVANESTORE_API BOOL WINAPI CeEnumDBVolumes(PCEGUID pceguid, LPWSTR lpBuf, DWORD dwNumChars);

// Sets the locale by which the volume's texts are compared, and sorts its text orders anew; a new volume has the
// invariant one. Nothing is done for an unknown locale, and while a database of the volume is open. A unique order
// under whose new locale two keys are the same keeps both records.
KORVANESTORE_API VOID WINAPI CeChangeDatabaseLCID(PCEGUID pceguid, DWORD LCID);

// ---- Databases -----------------------------------------------------------------------------------------------------

// Creates a database and returns its CEOID, or 0. CEDB_VALIDNAME and a name of 1 to 31 characters are required; the
// other CEDB_VALID bits select type, sort orders and flags. Names compare without case. A UNIQUE order makes all of its
// properties NONNULL. Texts sort as CompareStringW has them in the volume's locale; orders without an ignoring flag
// tell all different texts apart, and CEDB_SORT_GENERICORDER compares code units. Errors: ERROR_DUP_NAME,
// ERROR_DISK_FULL, ERROR_INVALID_PARAMETER (no name, too many sort orders or properties, a sort property that is a blob
// or of no known type, unknown sort flags, a property twice in an order, two sort orders on the same properties, a
// wrong wVersion). CeCreateDatabase works on the object store and cuts a name of more than 31 characters.
KORVANESTORE_API CEOID WINAPI CeCreateDatabase(LPWSTR lpszName, DWORD dwDbaseType, WORD wNumSortOrder,
                                               SORTORDERSPEC* rgSortSpecs);
KORVANESTORE_API CEOID WINAPI CeCreateDatabaseEx(PCEGUID pceguid, CEDBASEINFO* lpCEDBInfo);
KORVANESTORE_API CEOID WINAPI CeCreateDatabaseEx2(PCEGUID pceguid, CEDBASEINFOEX* lpCEDBInfo);

// Changes what the CEDB_VALID bits of dwFlags select; a sort list replaces the old one and all records are sorted anew.
// Errors: ERROR_INVALID_PARAMETER, ERROR_DUP_NAME, ERROR_DISK_FULL, ERROR_SHARING_VIOLATION (sort orders of a database
// that is open anywhere), ERROR_DBPROP_NOT_FOUND (a record lacks a NONNULL or UNIQUE property), ERROR_REPEATED_KEY (two
// records have one UNIQUE key); nothing is changed then.
KORVANESTORE_API BOOL WINAPI CeSetDatabaseInfo(CEOID oidDbase, CEDBASEINFO* pNewInfo);
KORVANESTORE_API BOOL WINAPI CeSetDatabaseInfoEx(PCEGUID pceguid, CEOID oidDbase, CEDBASEINFO* pNewInfo);
KORVANESTORE_API BOOL WINAPI CeSetDatabaseInfoEx2(PCEGUID pceguid, CEOID oidDbase, CEDBASEINFOEX* pNewInfo);

// Removes a database with all its records. Errors: ERROR_INVALID_PARAMETER (no such database), ERROR_SHARING_VIOLATION
// (it is open, in whatever process).
KORVANESTORE_API BOOL WINAPI CeDeleteDatabase(CEOID oidDbase);
KORVANESTORE_API BOOL WINAPI CeDeleteDatabaseEx(PCEGUID pceguid, CEOID oidDbase);

// Enumerates databases of a type (0: of every type) in one volume, or in the object store and all volumes mounted by
// this process (null or the invalid GUID). The handle is closed with CloseHandle; INVALID_HANDLE_VALUE on failure:
// ERROR_INVALID_PARAMETER (unknown volume), ERROR_OUTOFMEMORY. Next returns a CEOID, and in *pceguid (may be null) the
// volume that it belongs to; 0 with ERROR_NO_MORE_ITEMS at the end, with ERROR_KEY_DELETED when a database was deleted
// meanwhile (start again).
KORVANESTORE_API HANDLE WINAPI CeFindFirstDatabase(DWORD dwDbaseType);
KORVANESTORE_API HANDLE WINAPI CeFindFirstDatabaseEx(PCEGUID pceguid, DWORD dwDbaseType);
KORVANESTORE_API CEOID WINAPI CeFindNextDatabase(HANDLE hEnum);
KORVANESTORE_API CEOID WINAPI CeFindNextDatabaseEx(HANDLE hEnum, PCEGUID pceguid);

// Opens a database: by *poid when that is not 0, else by name, and then *poid receives the OID. With the invalid GUID
// *poid counts as 0 and the object store and then all volumes mounted by this process are searched. propid (pSort: its
// properties) chooses the sort order: the one with just that property, or else the first that begins with it (pSort:
// with just those properties; its flags are not looked at); 0 (null) is the order of creation. dwFlags:
// CEDB_AUTOINCREMENT or 0. The handle stands on the first record. Returns INVALID_HANDLE_VALUE on failure:
// ERROR_INVALID_PARAMETER (unknown volume, OID, sort order or flags, a bad notification request), ERROR_FILE_NOT_FOUND
// (no such name), ERROR_NOT_ENOUGH_MEMORY.
//
// hwndNotify, pRequest (null: none): the window is posted a message for each record of the database that another thread
// than the one that opened, or another process, creates, changes or deletes, until the handle is closed; changes made
// through the handle itself, by whatever thread, are not told. Changes of one volume are told in the order of their
// commits, those of a batch when it is committed.
//   dwFlags              message                                                  wParam   lParam
//   0                    DB_CEOID_CREATED, DB_CEOID_CHANGED,                      record   database
//                        DB_CEOID_RECORD_DELETED
//   CEDB_EXNOTIFICATION  WM_DBNOTIFICATION                                        0        CENOTIFICATION*
// hwndNotify is as dwFlags 0, which mounted volumes refuse (ERROR_INVALID_PARAMETER): the message does not name one. The
// CENOTIFICATION belongs to the receiver, who frees it by CeFreeNotification. dwSize must be right, hwnd a window. A
// database that is open cannot be deleted, so there is no message for that. A change whose message finds no room (the
// window's queue, the heap) is not told, nor are the oldest of more than 2,048 that a process did not take in two
// seconds because it was stopped.
KORVANESTORE_API HANDLE WINAPI CeOpenDatabase(PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags,
                                              HWND hwndNotify);
KORVANESTORE_API HANDLE WINAPI CeOpenDatabaseEx(PCEGUID pceguid, PCEOID poid, LPWSTR lpszName, CEPROPID propid,
                                                DWORD dwFlags, CENOTIFYREQUEST* pRequest);
KORVANESTORE_API HANDLE WINAPI CeOpenDatabaseEx2(PCEGUID pceguid, PCEOID poid, LPWSTR lpszName, SORTORDERSPECEX* pSort,
                                                 DWORD dwFlags, CENOTIFYREQUEST* pRequest);

// Frees the record of a WM_DBNOTIFICATION message. pRequest names the heap, as it did when the database was opened.
// Errors: ERROR_INVALID_PARAMETER.
KORVANESTORE_API BOOL WINAPI CeFreeNotification(PCENOTIFYREQUEST pRequest, PCENOTIFICATION pNotify);

// ---- Seeking, reading, writing -------------------------------------------------------------------------------------

// Moves the handle's seek pointer along its sort order and returns the OID of the record reached, or 0.
//   CEDB_SEEK_CEOID            dwValue is an OID; the pointer stays where it was when there is none
//   CEDB_SEEK_BEGINNING        dwValue counts from the start: 0 is the first record
//   CEDB_SEEK_END              dwValue counts from the end: 0 and 1 are the last record, 2 the one before it; a
//                              negative number counts as the positive one
//   CEDB_SEEK_CURRENT          dwValue, signed, counts from the current record; 0 stays; from the end -1 is the last
//   CEDB_SEEK_VALUESMALLER     the last record whose key is smaller than the value
//   CEDB_SEEK_VALUEFIRSTEQUAL  the first record with that key
//   CEDB_SEEK_VALUENEXTEQUAL   the next record, if it has that key
//   CEDB_SEEK_VALUEGREATER     the first record whose key is equal or greater
// For the VALUE forms dwValue is the address of a CEPROPVAL with the order's property (for the Ex call of wNumVals of
// them, the order's leading properties). "Smaller" and "greater" follow the order: in a descending one the greater
// value comes first and counts as smaller. Records without the property match no value. A failed VALUE seek, and a move
// past the end, leaves the pointer at the end; a move to before the first record, and a CEOID that is not there, leaves
// it where it was. While nothing is written, a step costs no search.
// *lpdwIndex (may be null) receives the position from the start, counted from 0; it costs a walk.
// Errors: ERROR_NO_MORE_ITEMS (no such record), ERROR_KEY_DELETED (CURRENT 0 on a record that is gone),
// ERROR_INVALID_PARAMETER (handle, type, value, a property that the order does not have); then the pointer stays.
KORVANESTORE_API CEOID WINAPI CeSeekDatabase(HANDLE hDatabase, DWORD dwSeekType, DWORD dwValue, LPDWORD lpdwIndex);
KORVANESTORE_API CEOID WINAPI CeSeekDatabaseEx(HANDLE hDatabase, DWORD dwSeekType, DWORD dwValue, WORD wNumVals,
                                               LPDWORD lpdwIndex);

// Reads properties of the record under the seek pointer and returns its OID, or 0.
// rgPropID null: all properties, *lpcPropID receives their number; else *lpcPropID (not 0) properties in the order
// asked for, CEDB_PROPNOTFOUND in the flags of those that the record lacks. The buffer receives the CEPROPVAL array
// with texts and blobs behind it, in one block of *lpcbBuffer bytes (in: its size, out: the bytes used or needed). With
// CEDB_ALLOWREALLOC *lplpBuffer is null or a block from LocalAlloc (from hHeap, if that is given) and may be replaced,
// even when the call fails; the caller frees it. Without it the caller's buffer is filled; null with a size of 0 asks
// for the size. An auto-increment handle moves on with success and ERROR_NO_DATA, with no other error. A BOOL comes
// back as it was written from -128 to 127, as 1 for any other true value. Errors: ERROR_NO_MORE_ITEMS (the pointer is
// at the end), ERROR_NO_DATA (the record has none of the properties; the buffer is valid all the same),
// ERROR_INSUFFICIENT_BUFFER, ERROR_KEY_DELETED (the record is gone), ERROR_INVALID_PARAMETER, ERROR_NOT_ENOUGH_MEMORY.
KORVANESTORE_API CEOID WINAPI CeReadRecordProps(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID,
                                                LPBYTE* lplpBuffer, LPDWORD lpcbBuffer);
KORVANESTORE_API CEOID WINAPI CeReadRecordPropsEx(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID,
                                                  LPBYTE* lplpBuffer, LPDWORD lpcbBuffer, HANDLE hHeap);

// Creates a record (oidRecord 0) or changes one: the properties given are set or, with CEDB_PROPDELETE, removed, all or
// none; the others stay. Of a property given twice the last counts. Data are counted in their type's size, a text with
// 2 bytes a character without its terminator. Returns the record's OID and leaves the seek pointer on it; 0 on failure:
// ERROR_DISK_FULL (also for more than CEDB_MAXNUMRECORDS records and for more than CEDB_MAXRECORDSIZE bytes),
// ERROR_INVALID_PARAMETER (no properties, an unknown type, more than CEDB_MAXPROPDATASIZE bytes, an OID of no record of
// this database), ERROR_DBPROP_NOT_FOUND (a NONNULL or UNIQUE property is missing), ERROR_REPEATED_KEY (a UNIQUE key
// exists already).
KORVANESTORE_API CEOID WINAPI CeWriteRecordProps(HANDLE hDbase, CEOID oidRecord, WORD cPropID, CEPROPVAL* rgPropVal);

// Deletes a record of the handle's database. When it was the current one, a read fails with ERROR_KEY_DELETED until the
// pointer is moved: CURRENT +1 is then the record that followed, CURRENT -1 the one before. A handle opened with
// CEDB_AUTOINCREMENT goes on to the following record. Errors: ERROR_INVALID_PARAMETER.
KORVANESTORE_API BOOL WINAPI CeDeleteRecord(HANDLE hDatabase, CEOID oidRecord);

// ---- Information ---------------------------------------------------------------------------------------------------

// Describes a database or record. wVersion of the Ex2 form is set to 1 by the caller. FALSE with ERROR_INVALID_HANDLE
// for an OID of no object (wObjType is then OBJTYPE_INVALID), with ERROR_INVALID_PARAMETER for anything else wrong.
// dwSize is what the records take in the volume. A database with several properties in a sort order shows the first of
// them in the old form; more records than a WORD counts cannot be.
KORVANESTORE_API BOOL WINAPI CeOidGetInfo(CEOID oid, CEOIDINFO* poidInfo);
KORVANESTORE_API BOOL WINAPI CeOidGetInfoEx(PCEGUID pceguid, CEOID oid, CEOIDINFO* oidInfo);
KORVANESTORE_API BOOL WINAPI CeOidGetInfoEx2(PCEGUID pceguid, CEOID oid, CEOIDINFOEX* oidInfo);

// Volume, OID and description of the database behind an open handle; the caller sets wVersion to 1.
KORVANESTORE_API BOOL WINAPI CeGetDBInformationByHandle(HANDLE hDbase, LPBY_HANDLE_DB_INFORMATION lpDBInfo);

// ---- Handles -------------------------------------------------------------------------------------------------------

// Closes a database or enumeration handle of this store, and hands any other to the system. INVALID_HANDLE_VALUE, which
// names the process itself on a desktop, fails with ERROR_INVALID_HANDLE as it does on the device.
// CloseHandle is this function for whoever includes this header, so that code written for the device closes its
// database handles as it always did.
KORVANESTORE_API BOOL WINAPI CeCloseHandle(HANDLE hObject);
#ifndef KORVANESTORE_BUILDING
#define CloseHandle(hObject) CeCloseHandle(hObject)
#endif

#endif
