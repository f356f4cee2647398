// The numbers and layouts of the device's SDK: programs have them compiled in, and files and other processes too.
#include <windbase.h>

#include <gtest/gtest.h>

#include <cstddef>

namespace {

struct CNumber
{
    const char* pszName;
    DWORD dwIs, dwDevice;
};

#define NUMBER(name, value)                                                                                            \
    {                                                                                                                  \
#name, static_cast < DWORD>(name), value                                                                       \
    }
#define OFFSET(type, member, value)                                                                                    \
    {                                                                                                                  \
#type "." #member, offsetof(type, member), value                                                               \
    }

constexpr CNumber kNumbers[] = {
    NUMBER(CEVT_I2, 2),
    NUMBER(CEVT_I4, 3),
    NUMBER(CEVT_R8, 5),
    NUMBER(CEVT_BOOL, 11),
    NUMBER(CEVT_UI2, 18),
    NUMBER(CEVT_UI4, 19),
    NUMBER(CEVT_LPWSTR, 31),
    NUMBER(CEVT_FILETIME, 64),
    NUMBER(CEVT_BLOB, 65),
    NUMBER(CEDB_PROPNOTFOUND, 0x100),
    NUMBER(CEDB_PROPDELETE, 0x200),
    NUMBER(CEDB_AUTOINCREMENT, 1),
    NUMBER(CEDB_ALLOWREALLOC, 1),
    NUMBER(CEDB_SEEK_CEOID, 1),
    NUMBER(CEDB_SEEK_BEGINNING, 2),
    NUMBER(CEDB_SEEK_END, 4),
    NUMBER(CEDB_SEEK_CURRENT, 8),
    NUMBER(CEDB_SEEK_VALUESMALLER, 0x10),
    NUMBER(CEDB_SEEK_VALUEFIRSTEQUAL, 0x20),
    NUMBER(CEDB_SEEK_VALUEGREATER, 0x40),
    NUMBER(CEDB_SEEK_VALUENEXTEQUAL, 0x80),
    NUMBER(CEDB_SORT_DESCENDING, 1),
    NUMBER(CEDB_SORT_CASEINSENSITIVE, 2),
    NUMBER(CEDB_SORT_UNKNOWNFIRST, 4),
    NUMBER(CEDB_SORT_GENERICORDER, 8),
    NUMBER(CEDB_SORT_IGNORENONSPACE, 0x10),
    NUMBER(CEDB_SORT_IGNORESYMBOLS, 0x20),
    NUMBER(CEDB_SORT_IGNOREKANATYPE, 0x40),
    NUMBER(CEDB_SORT_IGNOREWIDTH, 0x80),
    NUMBER(CEDB_SORT_STRINGSORT, 0x100),
    NUMBER(CEDB_SORT_UNIQUE, 0x200),
    NUMBER(CEDB_SORT_NONNULL, 0x400),
    NUMBER(CEDB_VALIDNAME, 1),
    NUMBER(CEDB_VALIDTYPE, 2),
    NUMBER(CEDB_VALIDSORTSPEC, 4),
    NUMBER(CEDB_VALIDMODTIME, 8),
    NUMBER(CEDB_VALIDDBFLAGS, 0x10),
    NUMBER(CEDB_VALIDCREATE, 0x17),
    NUMBER(CEDB_NOCOMPRESS, 0x10000),
    NUMBER(CEDB_SYSTEMDB, 0x20000),
    NUMBER(CEDB_EXNOTIFICATION, 1),
    NUMBER(OBJTYPE_INVALID, 0),
    NUMBER(OBJTYPE_FILE, 1),
    NUMBER(OBJTYPE_DIRECTORY, 2),
    NUMBER(OBJTYPE_DATABASE, 3),
    NUMBER(OBJTYPE_RECORD, 4),
    NUMBER(CEDB_MAXDBASENAMELEN, 32),
    NUMBER(CEDB_MAXSORTORDER, 4),
    NUMBER(CEDB_MAXSORTPROP, 3),
    NUMBER(CEDB_MAXPROPDATASIZE, 65471),
    NUMBER(CEDB_MAXRECORDSIZE, 131072),
    NUMBER(CEDB_MAXNUMRECORDS, 0xFFFF),
    NUMBER(WM_DBNOTIFICATION, 0x3FD),
    NUMBER(DB_CEOID_CREATED, 0x401),
    NUMBER(DB_CEOID_RECORD_DELETED, 0x403),
    NUMBER(DB_CEOID_CHANGED, 0x406),
    NUMBER(ERROR_DBPROP_NOT_FOUND, ERROR_ACCESS_DENIED),
    NUMBER(ERROR_REPEATED_KEY, ERROR_ALREADY_EXISTS),
    OFFSET(CEBLOB, dwCount, 0),
    OFFSET(CEBLOB, lpb, 4),
    OFFSET(CEPROPVAL, propid, 0),
    OFFSET(CEPROPVAL, wLenData, 4),
    OFFSET(CEPROPVAL, wFlags, 6),
    OFFSET(CEPROPVAL, val, 8),
    OFFSET(SORTORDERSPEC, propid, 0),
    OFFSET(SORTORDERSPEC, dwFlags, 4),
    OFFSET(SORTORDERSPECEX, wVersion, 0),
    OFFSET(SORTORDERSPECEX, wNumProps, 2),
    OFFSET(SORTORDERSPECEX, wKeyFlags, 4),
    OFFSET(SORTORDERSPECEX, rgPropID, 8),
    OFFSET(SORTORDERSPECEX, rgdwFlags, 20),
    OFFSET(CEDBASEINFO, dwFlags, 0),
    OFFSET(CEDBASEINFO, szDbaseName, 4),
    OFFSET(CEDBASEINFO, dwDbaseType, 68),
    OFFSET(CEDBASEINFO, wNumRecords, 72),
    OFFSET(CEDBASEINFO, wNumSortOrder, 74),
    OFFSET(CEDBASEINFO, dwSize, 76),
    OFFSET(CEDBASEINFO, ftLastModified, 80),
    OFFSET(CEDBASEINFO, rgSortSpecs, 88),
    OFFSET(CEDBASEINFOEX, wVersion, 0),
    OFFSET(CEDBASEINFOEX, wNumSortOrder, 2),
    OFFSET(CEDBASEINFOEX, dwFlags, 4),
    OFFSET(CEDBASEINFOEX, szDbaseName, 8),
    OFFSET(CEDBASEINFOEX, dwDbaseType, 72),
    OFFSET(CEDBASEINFOEX, dwNumRecords, 76),
    OFFSET(CEDBASEINFOEX, dwSize, 80),
    OFFSET(CEDBASEINFOEX, ftLastModified, 84),
    OFFSET(CEDBASEINFOEX, rgSortSpecs, 92),
    OFFSET(CEOIDINFO, wObjType, 0),
    OFFSET(CEOIDINFO, infDatabase, 4),
    OFFSET(CEOIDINFOEX, wVersion, 0),
    OFFSET(CEOIDINFOEX, wObjType, 2),
    OFFSET(CEOIDINFOEX, infDatabase, 4),
    OFFSET(BY_HANDLE_DB_INFORMATION, wVersion, 0),
    OFFSET(BY_HANDLE_DB_INFORMATION, guidVol, 4),
    OFFSET(BY_HANDLE_DB_INFORMATION, oidDbase, 20),
    OFFSET(BY_HANDLE_DB_INFORMATION, infDatabase, 24),
    OFFSET(CENOTIFYREQUEST, dwSize, 0),
    OFFSET(CENOTIFYREQUEST, hwnd, 4),
    OFFSET(CENOTIFYREQUEST, dwFlags, 8),
    OFFSET(CENOTIFYREQUEST, hHeap, 12),
    OFFSET(CENOTIFYREQUEST, dwParam, 16),
    OFFSET(CENOTIFICATION, dwSize, 0),
    OFFSET(CENOTIFICATION, dwParam, 4),
    OFFSET(CENOTIFICATION, uType, 8),
    OFFSET(CENOTIFICATION, guid, 12),
    OFFSET(CENOTIFICATION, oid, 28),
    OFFSET(CENOTIFICATION, oidParent, 32),
};

} // namespace

TEST(LayoutTest, NumbersAndLayoutsAreTheDevices)
{
    for (const CNumber& number : kNumbers) EXPECT_EQ(number.dwDevice, number.dwIs) << number.pszName;
}
