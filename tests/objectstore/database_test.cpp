// Creating, changing, deleting and enumerating databases.
#include "agent.h"

#include <algorithm>
#include <set>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);

class DatabaseTest : public VolumeTest
{
protected:
    CEOID Create(CEDBASEINFOEX info) { return ::CeCreateDatabaseEx2(&m_guid, &info); }
    BOOL Set(CEOID oid, CEDBASEINFOEX info) { return ::CeSetDatabaseInfoEx2(&m_guid, oid, &info); }
    CEDBASEINFOEX Describe(CEOID oid)
    {
        CEOIDINFOEX info = {};
        info.wVersion = CEOIDINFOEX_VERSION;
        EXPECT_WORKS(::CeOidGetInfoEx2(&m_guid, oid, &info));
        return info.infDatabase;
    }
    static std::multiset<CEOID> Enumerate(CEGUID guid, DWORD dwType)
    {
        std::multiset<CEOID> oids;
        const CDb search(::CeFindFirstDatabaseEx(&guid, dwType));
        EXPECT_WORKS(static_cast<HANDLE>(search));
        while (const CEOID oid = ::CeFindNextDatabaseEx(search, nullptr)) oids.insert(oid);
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, ::CeFindNextDatabaseEx(search, nullptr)) << "the end is the end again";
        return oids;
    }
};

TEST_F(DatabaseTest, ANameIsRequired)
{
    CEDBASEINFOEX info = BaseInfo(L"name");
    info.dwFlags &= ~CEDB_VALIDNAME;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Create(info));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Create(BaseInfo(L"")));
    CEDBASEINFO old = {};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx(&m_guid, &old));
}

TEST_F(DatabaseTest, NamesHaveOneTo31Characters)
{
    for (const size_t cch : {1u, 30u, 31u}) {
        const std::wstring strName(cch, L'n');
        const CEOID oid = Create(BaseInfo(strName));
        EXPECT_WORKS(oid);
        EXPECT_EQ(strName, Describe(oid).szDbaseName);
    }
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Create(BaseInfo(std::wstring(32, L'n')))) << "no terminator in the array";
}

TEST_F(DatabaseTest, NamesCompareWithoutCase)
{
    const CEOID oid = MakeDatabase(m_guid, L"Caf\x00e9");
    EXPECT_FAILS(ERROR_DUP_NAME, Create(BaseInfo(L"Caf\x00e9")));
    EXPECT_FAILS(ERROR_DUP_NAME, Create(BaseInfo(L"CAF\x00c9")));
    EXPECT_FAILS(ERROR_DUP_NAME, Create(BaseInfo(L"caf\x00e9")));
    EXPECT_WORKS(Create(BaseInfo(L"Caf")));
    CEOID found = 0;
    const CDb db(::CeOpenDatabaseEx(&m_guid, &found, const_cast<LPWSTR>(L"cAF\x00c9"), 0, 0, nullptr));
    EXPECT_EQ(oid, found);
    EXPECT_STREQ(L"Caf\x00e9", Describe(oid).szDbaseName) << "the spelling stays";
}

TEST_F(DatabaseTest, OnlyTheValidMembersAreTaken)
{
    CEDBASEINFOEX info = BaseInfo(L"bare", {Order({{kNumber}})}, 7);
    info.dwFlags = CEDB_VALIDNAME;
    const CEDBASEINFOEX bare = Describe(Create(info));
    EXPECT_EQ(0u, bare.dwDbaseType);
    EXPECT_EQ(0u, bare.wNumSortOrder);
    const CEDBASEINFOEX whole = Describe(Create(BaseInfo(L"whole", {Order({{kNumber}})}, 7)));
    EXPECT_EQ(7u, whole.dwDbaseType);
    EXPECT_EQ(1u, whole.wNumSortOrder);
    EXPECT_EQ(kNumber, whole.rgSortSpecs[0].rgPropID[0]);
}

TEST_F(DatabaseTest, BadSortOrdersAreRefused)
{
    const auto refused = [&](const char* pszWhy, const std::vector<SORTORDERSPECEX>& orders) {
        SCOPED_TRACE(pszWhy);
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Create(BaseInfo(L"refused", orders)));
    };
    const SORTORDERSPECEX number = Order({{kNumber}}), name = Order({{kName}});
    SORTORDERSPECEX order = number;
    order.wVersion = 2;
    refused("another version", {order});
    refused("no property", {Order({})});
    refused("four properties", {Order({{kNumber}, {kName}, {Prop(3, CEVT_I2)}, {Prop(4, CEVT_I2)}})});
    refused("a blob", {Order({{Prop(1, CEVT_BLOB)}})});
    refused("a blob in the second place", {Order({{kNumber}, {Prop(1, CEVT_BLOB)}})});
    refused("no known type", {Order({{Prop(1, 4)}})});
    refused("property 0", {Order({{0}})});
    refused("one property twice in a list", {Order({{kNumber}, {kNumber}})});
    refused("one list twice", {number, name, number});
    refused("one list twice, flags differ", {number, Order({{kNumber, CEDB_SORT_DESCENDING}})});
    CEDBASEINFOEX info = BaseInfo(L"refused", {number, name});
    info.wNumSortOrder = CEDB_MAXSORTORDER + 1;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Create(info));
    EXPECT_WORKS(Create(BaseInfo(L"refused", {number}))) << "a refusal left the name behind";
}

TEST_F(DatabaseTest, FourOrdersOfThreePropertiesAreTaken)
{
    const CEPROPID a = Prop(1, CEVT_I2), b = Prop(1, CEVT_UI4), c = Prop(2, CEVT_FILETIME), d = Prop(9, CEVT_R8);
    const CEOID oid = Create(
        BaseInfo(L"full", {Order({{a}, {b}, {c}}), Order({{b}, {a}, {c}}), Order({{c}, {d}, {a}}), Order({{a}, {b}})}));
    EXPECT_WORKS(oid);
    EXPECT_EQ(4u, Describe(oid).wNumSortOrder);
}

TEST_F(DatabaseTest, AWrongVersionOrNoPointerIsRefused)
{
    CEDBASEINFOEX info = BaseInfo(L"v");
    for (const WORD wVersion : {0, 2}) {
        info.wVersion = wVersion;
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Create(info));
    }
    CEGUID unknown = {1, 2, 3, 4};
    info.wVersion = CEDBASEINFOEX_VERSION;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx2(&unknown, &info));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx2(nullptr, &info));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx2(&m_guid, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx(&m_guid, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabase(nullptr, 0, 0, nullptr));
}

TEST_F(DatabaseTest, TheOldFormTakesOnePropertyOrders)
{
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDCREATE | CEDB_NOCOMPRESS;
    wcscpy(info.szDbaseName, L"old");
    info.dwDbaseType = 12;
    info.wNumSortOrder = 2;
    info.rgSortSpecs[0] = {kNumber, CEDB_SORT_DESCENDING};
    info.rgSortSpecs[1] = {kName, CEDB_SORT_CASEINSENSITIVE};
    const CEDBASEINFOEX got = Describe(::CeCreateDatabaseEx(&m_guid, &info));
    EXPECT_STREQ(L"old", got.szDbaseName);
    EXPECT_EQ(12u, got.dwDbaseType);
    ASSERT_EQ(2u, got.wNumSortOrder);
    EXPECT_EQ(kNumber, got.rgSortSpecs[0].rgPropID[0]);
    EXPECT_EQ(static_cast<DWORD>(CEDB_SORT_DESCENDING), got.rgSortSpecs[0].rgdwFlags[0]);
    EXPECT_EQ(1u, got.rgSortSpecs[1].wNumProps);
    EXPECT_TRUE(got.dwFlags & CEDB_NOCOMPRESS);
}

TEST_F(DatabaseTest, TheOldestFormWorksOnTheObjectStoreAndCutsLongNames)
{
    const std::wstring strName = L"object store database with a name that is too long";
    SORTORDERSPEC order = {kNumber, 0};
    const CEOID oid = ::CeCreateDatabase(const_cast<LPWSTR>(strName.c_str()), 3, 1, &order);
    ASSERT_WORKS(oid);
    CEOIDINFO info = {};
    EXPECT_WORKS(::CeOidGetInfo(oid, &info));
    EXPECT_EQ(strName.substr(0, 31), info.infDatabase.szDbaseName);
    EXPECT_EQ(3u, info.infDatabase.dwDbaseType);
    EXPECT_FAILS(ERROR_DUP_NAME, ::CeCreateDatabase(const_cast<LPWSTR>(strName.c_str()), 3, 1, &order));

    CDb search(::CeFindFirstDatabase(3));
    EXPECT_EQ(oid, ::CeFindNextDatabase(search));
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, ::CeFindNextDatabase(search));
    search.Close();

    CEDBASEINFO change = {};
    change.dwFlags = CEDB_VALIDTYPE;
    change.dwDbaseType = 4;
    EXPECT_WORKS(::CeSetDatabaseInfo(oid, &change));
    EXPECT_WORKS(::CeOidGetInfo(oid, &info));
    EXPECT_EQ(4u, info.infDatabase.dwDbaseType);
    CEOID opened = oid;
    CDb db(::CeOpenDatabase(&opened, nullptr, kNumber, 0, nullptr));
    EXPECT_WORKS(Write(db, 0, CProps().I4(1, 5)));
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, ::CeDeleteDatabase(oid));
    db.Close();
    EXPECT_WORKS(::CeDeleteDatabase(oid));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfo(oid, &info));
}

TEST_F(DatabaseTest, NameTypeAndTimeCanBeChangedWhileOpen)
{
    const CEOID oid = MakeDatabase(m_guid, L"before", {}, 1);
    MakeDatabase(m_guid, L"taken");
    const CDb db = OpenDb(m_guid, oid);
    CEDBASEINFOEX info = BaseInfo(L"After", {}, 2);
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDMODTIME;
    info.ftLastModified = {0x12345678, 0x01C00000};
    EXPECT_WORKS(Set(oid, info));
    const CEDBASEINFOEX got = Describe(oid);
    EXPECT_STREQ(L"After", got.szDbaseName);
    EXPECT_EQ(2u, got.dwDbaseType);
    EXPECT_EQ(0, ::CompareFileTime(&info.ftLastModified, &got.ftLastModified));
    info = BaseInfo(L"TAKEN");
    info.dwFlags = CEDB_VALIDNAME;
    EXPECT_FAILS(ERROR_DUP_NAME, Set(oid, info));
    info = BaseInfo(L"AFTER");
    info.dwFlags = CEDB_VALIDNAME;
    EXPECT_WORKS(Set(oid, info)) << "its own name in another case is no duplicate";
    EXPECT_WORKS(Create(BaseInfo(L"before"))) << "the old name is free";
}

TEST_F(DatabaseTest, ChangesOfWhatIsNotThereAreRefused)
{
    CEDBASEINFOEX info = BaseInfo(L"x");
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Set(4711, info));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Set(0, info));
    const CEOID oid = MakeDatabase(m_guid, L"y");
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSetDatabaseInfoEx2(&m_guid, oid, nullptr));
    info.wVersion = 9;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Set(oid, info));
    const CEOID oidRecord = Write(OpenDb(m_guid, oid), 0, CProps().I4(1, 1));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Set(oidRecord, BaseInfo(L"x"))) << "a record is no database";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteDatabaseEx(&m_guid, oidRecord));
}

TEST_F(DatabaseTest, SortOrdersOfAnOpenDatabaseStay)
{
    const CEOID oid = MakeDatabase(m_guid, L"open", {Order({{kNumber}})});
    CDb db = OpenDb(m_guid, oid);
    CEDBASEINFOEX info = BaseInfo(L"", {Order({{kName}})});
    info.dwFlags = CEDB_VALIDSORTSPEC;
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, Set(oid, info));
    EXPECT_EQ(kNumber, Describe(oid).rgSortSpecs[0].rgPropID[0]);
    db.Close();
    EXPECT_WORKS(Set(oid, info));
    EXPECT_EQ(kName, Describe(oid).rgSortSpecs[0].rgPropID[0]);
}

TEST_F(DatabaseTest, ADatabaseOpenElsewhereIsProtected)
{
    const CEOID oid = MakeDatabase(m_guid, L"shared", {Order({{kNumber}})});
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    EXPECT_EQ(std::to_string(oid), agent.Do("open shared"));
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, ::CeDeleteDatabaseEx(&m_guid, oid));
    CEDBASEINFOEX info = BaseInfo(L"", {});
    info.dwFlags = CEDB_VALIDSORTSPEC;
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, Set(oid, info));
    EXPECT_EQ("1", agent.Do("shut"));
    EXPECT_WORKS(Set(oid, info));
    CDb db = OpenDb(m_guid, oid);
    EXPECT_EQ("error 32", agent.Do("drop " + std::to_string(oid)));
    EXPECT_EQ("error 32", agent.Do("reorder " + std::to_string(oid)));
    db.Close();
    EXPECT_EQ("1", agent.Do("drop " + std::to_string(oid)));
}

TEST_F(DatabaseTest, ADatabaseThatAKilledProcessHadOpenIsFree)
{
    const CEOID oid = MakeDatabase(m_guid, L"shared");
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    EXPECT_EQ(std::to_string(oid), agent.Do("open shared"));
    agent.Kill();
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, oid));
}

TEST_F(DatabaseTest, DeletingTakesTheRecordsAlong)
{
    const CEOID oid = MakeDatabase(m_guid, L"doomed", {Order({{kNumber}})});
    CDb db = OpenDb(m_guid, oid);
    const CEOID oidRecord = Write(db, 0, CProps().I4(1, 1));
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, ::CeDeleteDatabaseEx(&m_guid, oid)) << "it is open here";
    db.Close();
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, oid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteDatabaseEx(&m_guid, oid));
    CEOIDINFO info;
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx(&m_guid, oid, &info));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx(&m_guid, oidRecord, &info));
    EXPECT_GT(MakeDatabase(m_guid, L"doomed"), oidRecord) << "an OID was used twice";
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(DatabaseTest, OidsAreNotUsedAgainAfterARemount)
{
    CEOID oidLast = MakeDatabase(m_guid, L"d");
    for (int i = 0; i < 4; ++i) {
        CDb db = OpenDb(m_guid, oidLast);
        const CEOID oidRecord = Write(db, 0, CProps().I4(1, i));
        EXPECT_GT(oidRecord, oidLast);
        EXPECT_WORKS(::CeDeleteRecord(db, oidRecord));
        db.Close();
        EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, oidLast));
        Remount();
        oidLast = MakeDatabase(m_guid, L"d");
        EXPECT_GT(oidLast, oidRecord);
    }
}

TEST_F(DatabaseTest, EnumerationSelectsByType)
{
    const CEOID a = MakeDatabase(m_guid, L"a", {}, 5), b = MakeDatabase(m_guid, L"b", {}, 6),
                c = MakeDatabase(m_guid, L"c", {}, 5);
    EXPECT_EQ((std::multiset<CEOID>{a, b, c}), Enumerate(m_guid, 0));
    EXPECT_EQ((std::multiset<CEOID>{a, c}), Enumerate(m_guid, 5));
    EXPECT_EQ((std::multiset<CEOID>{}), Enumerate(m_guid, 7));
}

TEST_F(DatabaseTest, EnumeratingEverythingNamesTheVolume)
{
    const CEOID here = MakeDatabase(m_guid, L"here", {}, 0x4B4F5256);
    CEGUID other = MountVolume(m_folder.File(L"other.vol"), CREATE_NEW), store = SystemGuid(), guid = {};
    const CEOID there = MakeDatabase(other, L"there", {}, 0x4B4F5256),
                inStore = MakeDatabase(store, L"in the store", {}, 0x4B4F5256);
    CEGUID invalid = InvalidGuid();
    for (CEGUID* pGuid : {&invalid, static_cast<CEGUID*>(nullptr)}) {
        const CDb search(::CeFindFirstDatabaseEx(pGuid, 0x4B4F5256));
        int nHere = 0, nThere = 0, nInStore = 0;
        while (const CEOID oid = ::CeFindNextDatabaseEx(search, &guid)) {
            nHere += SameGuid(guid, m_guid) && oid == here;
            nThere += SameGuid(guid, other) && oid == there;
            nInStore += SameGuid(guid, store) && oid == inStore;
        }
        EXPECT_EQ(1, nHere);
        EXPECT_EQ(1, nThere);
        EXPECT_EQ(1, nInStore);
    }
    EXPECT_WORKS(::CeDeleteDatabaseEx(&store, inStore));
    EXPECT_WORKS(::CeUnmountDBVol(&other));
}

TEST_F(DatabaseTest, ADeletionDuringAnEnumerationIsReported)
{
    for (const wchar_t* psz : {L"a", L"b", L"c"}) MakeDatabase(m_guid, psz);
    const CDb search(::CeFindFirstDatabaseEx(&m_guid, 0));
    const CEOID first = ::CeFindNextDatabaseEx(search, nullptr);
    EXPECT_WORKS(first);
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, first));
    EXPECT_FAILS(ERROR_KEY_DELETED, ::CeFindNextDatabaseEx(search, nullptr));
    EXPECT_EQ(2u, Enumerate(m_guid, 0).size());
}

TEST_F(DatabaseTest, EnumerationRefusesUnknownVolumesAndHandles)
{
    CEGUID unknown = {1, 2, 3, 4};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindFirstDatabaseEx(&unknown, 0));
    const CDb db = OpenDb(m_guid, MakeDatabase(m_guid, L"a"));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindNextDatabaseEx(INVALID_HANDLE_VALUE, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindNextDatabaseEx(nullptr, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindNextDatabaseEx(db, nullptr))
        << "a database handle enumerates nothing";
    const CDb search(::CeFindFirstDatabaseEx(&m_guid, 0));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSeekDatabase(search, CEDB_SEEK_BEGINNING, 0, nullptr));
}

TEST_F(DatabaseTest, WhenAllHandlesAreTakenEachCallSaysSoInItsOwnWord)
{
    CEOID oid = MakeDatabase(m_guid, L"a");
    std::vector<HANDLE> handles;
    HANDLE h;
    while ((h = ::CeFindFirstDatabaseEx(&m_guid, 0)) != INVALID_HANDLE_VALUE && handles.size() < 0x20000)
        handles.push_back(h);
    EXPECT_EQ(static_cast<DWORD>(ERROR_OUTOFMEMORY), ::GetLastError());
    EXPECT_GT(handles.size(), 60000u);
    EXPECT_FAILS(ERROR_OUTOFMEMORY, ::CeFindFirstDatabaseEx(&m_guid, 0));
    EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeOpenDatabaseEx(&m_guid, &oid, nullptr, 0, 0, nullptr));
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, oid)) << "the handle that found no place keeps nothing open";
    for (const HANDLE hEnum : handles) EXPECT_TRUE(::CloseHandle(hEnum));
    oid = MakeDatabase(m_guid, L"b");
    EXPECT_TRUE(OpenDb(m_guid, oid));
}

TEST_F(DatabaseTest, AHundredDatabasesLiveInOneVolume)
{
    for (int i = 0; i < 100; ++i) {
        const CDb db = OpenDb(m_guid, MakeDatabase(m_guid, L"db" + std::to_wstring(i), {Order({{kNumber}})}));
        EXPECT_WORKS(Write(db, 0, CProps().I4(1, i)));
    }
    Remount();
    EXPECT_EQ(100u, Enumerate(m_guid, 0).size());
    EXPECT_EQ("", CheckVolume(m_guid));
}

} // namespace
