// Opening databases: by OID and by name, with an order, in several handles.
#include "support.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kSize = Prop(3, CEVT_UI4);

class OpenTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oid = MakeDatabase(m_guid, L"things", {Order({{kNumber}}), Order({{kName}, {kSize}})});
    }
    HANDLE Open(CEOID& oid, const wchar_t* pszName, CEPROPID propid = 0, DWORD dwFlags = 0)
    {
        return ::CeOpenDatabaseEx(&m_guid, &oid, const_cast<LPWSTR>(pszName), propid, dwFlags, nullptr);
    }
    HANDLE Open(SORTORDERSPECEX order)
    {
        CEOID oid = m_oid;
        return ::CeOpenDatabaseEx2(&m_guid, &oid, nullptr, &order, 0, nullptr);
    }
    CEOID m_oid = 0;
};

TEST_F(OpenTest, ByOidTheNameIsIgnored)
{
    CEOID oid = m_oid;
    const CDb db(Open(oid, L"another name"));
    EXPECT_TRUE(db.IsOpen());
    EXPECT_EQ(m_oid, oid);
}

TEST_F(OpenTest, ByNameTheOidIsReceived)
{
    CEOID oid = 0;
    const CDb db(Open(oid, L"THINGS"));
    EXPECT_TRUE(db.IsOpen());
    EXPECT_EQ(m_oid, oid);
}

TEST_F(OpenTest, WhatIsNotThereIsReported)
{
    CEOID oid = 0;
    EXPECT_FAILS(ERROR_FILE_NOT_FOUND, Open(oid, L"nothing"));
    EXPECT_EQ(0u, oid);
    EXPECT_FAILS(ERROR_FILE_NOT_FOUND, Open(oid, std::wstring(300, L'x').c_str()));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr));
    oid = 4711;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, L"things"));
    oid = Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 1));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr)) << "a record is no database";
}

TEST_F(OpenTest, BadArgumentsAreRefused)
{
    CEOID oid = m_oid;
    CEGUID unknown = {1, 2, 3, 4};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabaseEx(&unknown, &oid, nullptr, 0, 0, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabaseEx(nullptr, &oid, nullptr, 0, 0, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabaseEx(&m_guid, nullptr, nullptr, 0, 0, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr, 0, 2));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr, 0, 0x80000001));
}

TEST_F(OpenTest, AnOrderIsChosenByItsProperty)
{
    CEOID oid = m_oid;
    EXPECT_TRUE(CDb(Open(oid, nullptr, kNumber)).IsOpen());
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr, kSize)) << "it leads no order";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr, Prop(1, CEVT_I2))) << "same number, other type";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(oid, nullptr, Prop(2, CEVT_I4)));
}

TEST_F(OpenTest, AnOrderIsChosenByAllItsProperties)
{
    EXPECT_TRUE(CDb(Open(Order({{kNumber}}))).IsOpen());
    EXPECT_TRUE(CDb(Open(Order({{kName}, {kSize}}))).IsOpen());
    EXPECT_TRUE(CDb(Open(Order({{kName, CEDB_SORT_DESCENDING}, {kSize}}, CEDB_SORT_UNIQUE))).IsOpen())
        << "flags do not choose";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(Order({{kSize}, {kName}})));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(Order({{kNumber}, {kSize}})));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(Order({{kName}, {kSize}, {kNumber}})));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(Order({})));
    SORTORDERSPECEX order = Order({{kNumber}});
    order.wNumProps = 4;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(order));
    order = Order({{kNumber}});
    order.wVersion = 0;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Open(order));
}

TEST_F(OpenTest, WithoutAnOrderTheRecordsComeAsCreated)
{
    const CDb db = OpenDb(m_guid, m_oid);
    std::vector<CEOID> created;
    for (const long n : {5, 1, 4, 2, 3}) created.push_back(Write(db, 0, CProps().I4(1, n)));
    EXPECT_EQ(created, WalkForward(db));
    CEOID oid = m_oid;
    const CDb sameOrder(::CeOpenDatabaseEx2(&m_guid, &oid, nullptr, nullptr, 0, nullptr));
    EXPECT_EQ(created, WalkForward(sameOrder));
}

TEST_F(OpenTest, ANewHandleStandsOnTheFirstRecordOfItsOrder)
{
    {
        const CDb db = OpenDb(m_guid, m_oid);
        for (const long n : {5, 1, 4}) EXPECT_WORKS(Write(db, 0, CProps().I4(1, n)));
    }
    EXPECT_EQ("1:I4=5", Read(OpenDb(m_guid, m_oid)).strContent);
    EXPECT_EQ("1:I4=1", Read(OpenDb(m_guid, m_oid, kNumber)).strContent);
    const CDb db = OpenDb(m_guid, m_oid, kNumber);
    EXPECT_WORKS(::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr));
    EXPECT_EQ("1:I4=4", Read(db).strContent) << "there is no place before the first";
}

TEST_F(OpenTest, TheInvalidGuidSearchesEverything)
{
    CEGUID other = MountVolume(m_folder.File(L"other.vol"), CREATE_NEW), invalid = InvalidGuid(), store = SystemGuid();
    const CEOID there = MakeDatabase(other, L"only there");
    CEOID oid = 4711; // counts as 0
    CDb db(::CeOpenDatabaseEx(&invalid, &oid, const_cast<LPWSTR>(L"only there"), 0, 0, nullptr));
    EXPECT_TRUE(db.IsOpen());
    EXPECT_EQ(there, oid);
    EXPECT_TRUE(IsInvalidGuid(invalid));
    BY_HANDLE_DB_INFORMATION info = {};
    info.wVersion = BY_HANDLE_DB_INFORMATION_VERSION;
    EXPECT_WORKS(::CeGetDBInformationByHandle(db, &info));
    EXPECT_TRUE(SameGuid(other, info.guidVol));
    db.Close();

    const CEOID inStore = MakeDatabase(store, L"only there");
    oid = 0;
    db = CDb(::CeOpenDatabaseEx(&invalid, &oid, const_cast<LPWSTR>(L"ONLY there"), 0, 0, nullptr));
    EXPECT_WORKS(::CeGetDBInformationByHandle(db, &info));
    EXPECT_TRUE(SameGuid(store, info.guidVol)) << "the object store comes first";
    db.Close();
    EXPECT_FAILS(ERROR_FILE_NOT_FOUND,
                 ::CeOpenDatabaseEx(&invalid, &oid, const_cast<LPWSTR>(L"nowhere"), 0, 0, nullptr));
    EXPECT_WORKS(::CeDeleteDatabaseEx(&store, inStore));
    EXPECT_WORKS(::CeUnmountDBVol(&other));
}

TEST_F(OpenTest, HandlesHaveTheirOwnPlaces)
{
    const CDb byNumber = OpenDb(m_guid, m_oid, kNumber), byName = OpenDb(m_guid, m_oid, Order({{kName}, {kSize}}));
    const CEOID a = Write(byNumber, 0, CProps().I4(1, 1).Text(2, L"z").UI4(3, 1));
    const CEOID b = Write(byNumber, 0, CProps().I4(1, 2).Text(2, L"a").UI4(3, 2));
    EXPECT_EQ(a, ::CeSeekDatabase(byNumber, CEDB_SEEK_BEGINNING, 0, nullptr));
    EXPECT_EQ(b, ::CeSeekDatabase(byName, CEDB_SEEK_BEGINNING, 0, nullptr));
    EXPECT_EQ(b, ::CeSeekDatabase(byNumber, CEDB_SEEK_CURRENT, 1, nullptr));
    EXPECT_EQ(b, Read(byName).oid) << "the other handle moved it";
    EXPECT_WORKS(::CeDeleteRecord(byNumber, b));
    const CRecord record = Read(byName);
    EXPECT_EQ(0u, record.oid);
    EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), record.dwError);
}

TEST_F(OpenTest, ARecordWrittenThroughOneHandleIsSeenByAllOthers)
{
    const CDb writer = OpenDb(m_guid, m_oid), reader = OpenDb(m_guid, m_oid, kNumber);
    const CEOID b = Write(writer, 0, CProps().I4(1, 20));
    EXPECT_EQ(b, ::CeSeekDatabase(reader, CEDB_SEEK_BEGINNING, 0, nullptr));
    const CEOID a = Write(writer, 0, CProps().I4(1, 10));
    EXPECT_EQ(a, ::CeSeekDatabase(reader, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr));
    EXPECT_WORKS(Write(writer, a, CProps().I4(1, 30)));
    EXPECT_EQ((std::vector<CEOID>{b, a}), WalkForward(reader));
}

TEST_F(OpenTest, TwoHundredHandlesAreOpenAtOnce)
{
    std::vector<CDb> handles;
    for (int i = 0; i < 200; ++i) handles.push_back(OpenDb(m_guid, m_oid, i % 2 ? kNumber : 0));
    for (int i = 0; i < 200; ++i) EXPECT_WORKS(Write(handles[i], 0, CProps().I4(1, 1000 - i)));
    for (const CDb& db : handles) EXPECT_EQ(200u, WalkForward(db).size());
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, ::CeDeleteDatabaseEx(&m_guid, m_oid));
    handles.resize(1);
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, ::CeDeleteDatabaseEx(&m_guid, m_oid));
    handles.clear();
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, m_oid));
}

} // namespace
