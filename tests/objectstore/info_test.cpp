// What the store tells about databases, records and handles.
#include "support.h"

#include <cstring>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);

class InfoTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"Described",
                                     {Order({{kNumber, CEDB_SORT_DESCENDING}}, CEDB_SORT_UNIQUE),
                                      Order({{kName, CEDB_SORT_CASEINSENSITIVE}, {kNumber, 0}})},
                                     77);
        m_db = OpenDb(m_guid, m_oidDatabase);
        m_oidRecord = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"one"));
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    CEDBASEINFOEX Describe()
    {
        CEOIDINFOEX info = {};
        info.wVersion = CEOIDINFOEX_VERSION;
        EXPECT_WORKS(::CeOidGetInfoEx2(&m_guid, m_oidDatabase, &info));
        EXPECT_EQ(OBJTYPE_DATABASE, info.wObjType);
        return info.infDatabase;
    }
    CEOID m_oidDatabase = 0, m_oidRecord = 0;
    CDb m_db;
};

TEST_F(InfoTest, TheNewFormTellsEverything)
{
    const CEDBASEINFOEX info = Describe();
    EXPECT_EQ(CEDBASEINFOEX_VERSION, info.wVersion);
    EXPECT_STREQ(L"Described", info.szDbaseName);
    EXPECT_EQ(77u, info.dwDbaseType);
    EXPECT_EQ(1u, info.dwNumRecords);
    EXPECT_GT(info.dwSize, 0u);
    ASSERT_EQ(2u, info.wNumSortOrder);
    EXPECT_EQ(CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC | CEDB_VALIDMODTIME | CEDB_VALIDDBFLAGS,
              LOWORD(info.dwFlags));
    const SORTORDERSPECEX &first = info.rgSortSpecs[0], &second = info.rgSortSpecs[1];
    EXPECT_EQ(SORTORDERSPECEX_VERSION, first.wVersion);
    EXPECT_EQ(1u, first.wNumProps);
    EXPECT_EQ(CEDB_SORT_UNIQUE, first.wKeyFlags);
    EXPECT_EQ(kNumber, first.rgPropID[0]);
    EXPECT_EQ(static_cast<DWORD>(CEDB_SORT_DESCENDING), first.rgdwFlags[0] & ~CEDB_SORT_NONNULL);
    EXPECT_EQ(2u, second.wNumProps);
    EXPECT_EQ(0u, second.wKeyFlags);
    EXPECT_EQ(kName, second.rgPropID[0]);
    EXPECT_EQ(kNumber, second.rgPropID[1]);
    EXPECT_EQ(static_cast<DWORD>(CEDB_SORT_CASEINSENSITIVE), second.rgdwFlags[0]);
}

TEST_F(InfoTest, TheOldFormTellsTheFirstPropertyOfEachOrder)
{
    CEOIDINFO info = {};
    ASSERT_WORKS(::CeOidGetInfoEx(&m_guid, m_oidDatabase, &info));
    EXPECT_EQ(OBJTYPE_DATABASE, info.wObjType);
    EXPECT_STREQ(L"Described", info.infDatabase.szDbaseName);
    EXPECT_EQ(77u, info.infDatabase.dwDbaseType);
    EXPECT_EQ(1u, info.infDatabase.wNumRecords);
    EXPECT_EQ(Describe().dwSize, info.infDatabase.dwSize);
    ASSERT_EQ(2u, info.infDatabase.wNumSortOrder);
    EXPECT_EQ(kNumber, info.infDatabase.rgSortSpecs[0].propid);
    EXPECT_EQ(kName, info.infDatabase.rgSortSpecs[1].propid);
    EXPECT_EQ(static_cast<DWORD>(CEDB_SORT_CASEINSENSITIVE), info.infDatabase.rgSortSpecs[1].dwFlags);
}

TEST_F(InfoTest, ARecordTellsItsDatabase)
{
    CEOIDINFO old = {};
    EXPECT_WORKS(::CeOidGetInfoEx(&m_guid, m_oidRecord, &old));
    EXPECT_EQ(OBJTYPE_RECORD, old.wObjType);
    EXPECT_EQ(m_oidDatabase, old.infRecord.oidParent);
    CEOIDINFOEX info = {};
    info.wVersion = CEOIDINFOEX_VERSION;
    EXPECT_WORKS(::CeOidGetInfoEx2(&m_guid, m_oidRecord, &info));
    EXPECT_EQ(OBJTYPE_RECORD, info.wObjType);
    EXPECT_EQ(m_oidDatabase, info.infRecord.oidParent);
}

TEST_F(InfoTest, AnOidOfNoObjectIsAnInvalidHandle)
{
    EXPECT_WORKS(::CeDeleteRecord(m_db, m_oidRecord));
    for (const CEOID oid : {CEOID(0), CEOID(4711), m_oidRecord, CEOID(0xFFFFFFFF)}) {
        CEOIDINFO old;
        std::memset(&old, 0xFF, sizeof old);
        EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx(&m_guid, oid, &old)) << oid;
        EXPECT_EQ(OBJTYPE_INVALID, old.wObjType);
        CEOIDINFOEX info;
        std::memset(&info, 0xFF, sizeof info);
        info.wVersion = CEOIDINFOEX_VERSION;
        EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx2(&m_guid, oid, &info)) << oid;
        EXPECT_EQ(OBJTYPE_INVALID, info.wObjType);
    }
}

TEST_F(InfoTest, BadArgumentsAreRefused)
{
    CEGUID unknown = {1, 2, 3, 4};
    CEOIDINFO old;
    CEOIDINFOEX info = {};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOidGetInfoEx(&unknown, m_oidRecord, &old));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOidGetInfoEx(nullptr, m_oidRecord, &old));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOidGetInfoEx(&m_guid, m_oidRecord, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOidGetInfo(m_oidRecord, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOidGetInfoEx2(&m_guid, m_oidRecord, nullptr));
    for (const WORD wVersion : {0, 2}) {
        info.wVersion = wVersion;
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOidGetInfoEx2(&m_guid, m_oidRecord, &info));
    }
}

TEST_F(InfoTest, AHandleTellsVolumeDatabaseAndDescription)
{
    BY_HANDLE_DB_INFORMATION info = {};
    info.wVersion = BY_HANDLE_DB_INFORMATION_VERSION;
    ASSERT_WORKS(::CeGetDBInformationByHandle(m_db, &info));
    EXPECT_TRUE(SameGuid(m_guid, info.guidVol));
    EXPECT_EQ(m_oidDatabase, info.oidDbase);
    EXPECT_STREQ(L"Described", info.infDatabase.szDbaseName);
    EXPECT_EQ(1u, info.infDatabase.dwNumRecords);
    EXPECT_EQ(2u, info.infDatabase.wNumSortOrder);
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeGetDBInformationByHandle(m_db, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeGetDBInformationByHandle(nullptr, &info));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeGetDBInformationByHandle(INVALID_HANDLE_VALUE, &info));
    info.wVersion = 2;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeGetDBInformationByHandle(m_db, &info));
}

TEST_F(InfoTest, CountAndSizeFollowTheRecords)
{
    const DWORD dwBefore = Describe().dwSize;
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 2).Text(2, std::wstring(1000, L's')));
    const DWORD dwWith = Describe().dwSize;
    EXPECT_EQ(2u, Describe().dwNumRecords);
    EXPECT_GE(dwWith, dwBefore + 1000) << "a text takes a byte a character at least";
    EXPECT_WORKS(Write(m_db, oid, CProps().Text(2, L"short")));
    EXPECT_LT(Describe().dwSize, dwWith);
    EXPECT_WORKS(::CeDeleteRecord(m_db, oid));
    EXPECT_EQ(dwBefore, Describe().dwSize);
    EXPECT_EQ(1u, Describe().dwNumRecords);
}

TEST_F(InfoTest, TheTimeOfTheLastChangeGoesOnWithChangesOnly)
{
    CEDBASEINFOEX change = BaseInfo(L"");
    change.dwFlags = CEDB_VALIDMODTIME;
    change.ftLastModified = {0, 0x01C00000}; // long ago
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, m_oidDatabase, &change));
    ReadOid(m_db, m_oidRecord);
    WalkForward(m_db);
    FILETIME ftNow, ftThen = change.ftLastModified, ftChanged = Describe().ftLastModified;
    EXPECT_EQ(0, ::CompareFileTime(&ftChanged, &ftThen));
    ::GetSystemTimeAsFileTime(&ftNow);
    EXPECT_WORKS(Write(m_db, m_oidRecord, CProps().I4(1, 5)));
    ftChanged = Describe().ftLastModified;
    EXPECT_GT(::CompareFileTime(&ftChanged, &ftThen), 0);
    // Within ten seconds of the clock.
    const auto Ticks = [](const FILETIME& ft) {
        return static_cast<LONGLONG>(ft.dwHighDateTime) << 32 | ft.dwLowDateTime;
    };
    EXPECT_LT(std::abs(Ticks(ftChanged) - Ticks(ftNow)), 100000000);
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, m_oidDatabase, &change));
    EXPECT_WORKS(::CeDeleteRecord(m_db, m_oidRecord));
    ftChanged = Describe().ftLastModified;
    EXPECT_GT(::CompareFileTime(&ftChanged, &ftThen), 0);
}

TEST_F(InfoTest, FlagsOfADatabaseAreKept)
{
    CEDBASEINFOEX info = BaseInfo(L"flags");
    info.dwFlags |= CEDB_VALIDDBFLAGS | CEDB_NOCOMPRESS | CEDB_SYSTEMDB;
    const CEOID oid = ::CeCreateDatabaseEx2(&m_guid, &info);
    CEOIDINFO got = {};
    EXPECT_WORKS(::CeOidGetInfoEx(&m_guid, oid, &got));
    EXPECT_EQ(CEDB_NOCOMPRESS | CEDB_SYSTEMDB, static_cast<int>(got.infDatabase.dwFlags & 0xFFFF0000));
    EXPECT_EQ(0u, Describe().dwFlags & 0xFFFF0000);
    info.dwFlags = CEDB_VALIDDBFLAGS | CEDB_SYSTEMDB;
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    EXPECT_WORKS(::CeOidGetInfoEx(&m_guid, oid, &got));
    EXPECT_EQ(CEDB_SYSTEMDB, static_cast<int>(got.infDatabase.dwFlags & 0xFFFF0000));
    info = BaseInfo(L"unflagged");
    info.dwFlags |= CEDB_NOCOMPRESS; // without CEDB_VALIDDBFLAGS it says nothing
    EXPECT_WORKS(::CeOidGetInfoEx(&m_guid, ::CeCreateDatabaseEx2(&m_guid, &info), &got));
    EXPECT_EQ(0u, got.infDatabase.dwFlags & 0xFFFF0000);
}

TEST_F(InfoTest, DescriptionsSurviveARemount)
{
    const CEDBASEINFOEX before = Describe();
    m_db.Close();
    Remount();
    const CEDBASEINFOEX after = Describe();
    EXPECT_EQ(0, std::memcmp(&before, &after, sizeof before));
    m_db = OpenDb(m_guid, m_oidDatabase);
}

} // namespace
