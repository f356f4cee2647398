// Writing, reading and deleting records.
#include "support.h"

#include <cstring>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kData = Prop(3, CEVT_BLOB);

class RecordTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"records", {Order({{kNumber}})});
        m_db = OpenDb(m_guid, m_oidDatabase);
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    // Written, read at once, and read after a remount: the same each time.
    void ExpectKept(const CProps& props)
    {
        const CEOID oid = Write(m_db, 0, props);
        ASSERT_WORKS(oid);
        EXPECT_EQ(props.Render(), Read(m_db).strContent);
        m_db.Close();
        Remount();
        m_db = OpenDb(m_guid, m_oidDatabase);
        EXPECT_EQ(props.Render(), ReadOid(m_db, oid).strContent);
    }
    CEOID m_oidDatabase = 0;
    CDb m_db;
};

TEST_F(RecordTest, EveryTypeComesBackAsItWas)
{
    ExpectKept(std::move(CProps()
                             .I2(1, -32768)
                             .I4(1, -2147483647 - 1)
                             .UI2(1, 65535)
                             .UI4(1, 0xFFFFFFFF)
                             .R8(1, -1.5)
                             .Bool(1, TRUE)
                             .Time(1, 0x8123456789ABCDEF)
                             .Text(1, L"text")
                             .Blob(1, {0, 1, 0, 255})));
    ExpectKept(std::move(
        CProps().I2(0xFFFF, 32767).I4(0, 2147483647).UI2(7, 0).UI4(7, 0).R8(7, 5e-324).Bool(7, FALSE).Time(7, 0)));
}

TEST_F(RecordTest, OneNumberWithTwoTypesIsTwoProperties)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(5, 1).Text(5, L"x"));
    EXPECT_EQ("5:I4=1 5:TEXT=(1)x", ReadOid(m_db, oid).strContent);
    EXPECT_WORKS(Write(m_db, oid, CProps().Remove(Prop(5, CEVT_I4))));
    EXPECT_EQ("5:TEXT=(1)x", ReadOid(m_db, oid).strContent);
}

TEST_F(RecordTest, TextsOfEveryKindComeBackUnitByUnit)
{
    for (const std::wstring& str :
         {std::wstring(), std::wstring(L"x"), std::wstring(L"\xd800"), std::wstring(L"a\xdc00z"),
          std::wstring(L"\xdc00\xd800"), std::wstring(L"\x0001\x0008\t\r\n\x001f\x007f\x0080\xfffe\xffff"),
          std::wstring(L"\xd83d\xde00"), std::wstring(511, L'k'), std::wstring(32734, L'\x4e2d')})
        ExpectKept(std::move(CProps().Text(2, str)));
}

TEST_F(RecordTest, BlobsOfEverySizeComeBack)
{
    std::vector<BYTE> bytes;
    for (const size_t cb : {0u, 1u, 3u, 4u, 2000u, 4092u, 4096u, 4097u, 65470u, 65471u}) {
        while (bytes.size() < cb) bytes.push_back(static_cast<BYTE>(bytes.size() * 31));
        ExpectKept(std::move(CProps().I4(1, 9).Blob(3, bytes)));
    }
}

TEST_F(RecordTest, APropertyOneByteTooLongIsRefused)
{
    EXPECT_FAILS(ERROR_INVALID_PARAMETER,
                 Write(m_db, 0, CProps().Blob(3, std::vector<BYTE>(CEDB_MAXPROPDATASIZE + 1))));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, 0, CProps().Text(2, std::wstring(32736, L'x'))));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, 0, CProps().Text(2, std::wstring(32767, L'x'))));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, 0, CProps().Text(2, std::wstring(200000, L'x'))));
    EXPECT_EQ(0u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(RecordTest, ARecordHoldsUpTo128Kilobytes)
{
    const std::vector<BYTE> most(CEDB_MAXPROPDATASIZE, 0xAB);
    const CEOID oid = Write(m_db, 0, CProps().Blob(3, most).Blob(4, most).Blob(5, std::vector<BYTE>(130)));
    EXPECT_WORKS(oid) << "131,072 bytes";
    EXPECT_FAILS(ERROR_DISK_FULL, Write(m_db, oid, CProps().Blob(6, {1})));
    EXPECT_EQ(3u, ReadOid(m_db, oid).wCount);
    EXPECT_FAILS(ERROR_DISK_FULL, Write(m_db, 0, CProps().Blob(3, most).Blob(4, most).Blob(5, most)));
    EXPECT_WORKS(Write(m_db, oid, CProps().Blob(6, {1}).Remove(Prop(5, CEVT_BLOB)))) << "what goes makes room";
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(RecordTest, ARecordHoldsAThousandProperties)
{
    CProps props;
    for (WORD i = 0; i < 1000; ++i) props.I4(i, i * 3);
    ExpectKept(props);
}

TEST_F(RecordTest, AnUpdateTouchesOnlyWhatItNames)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"two").Blob(3, {3}));
    EXPECT_EQ(oid, Write(m_db, oid, CProps().Text(2, L"a longer text than before").R8(4, 1.0)));
    EXPECT_EQ("1:I4=1 2:TEXT=(25)a longer text than before 3:BLOB=(1)03 4:R8=3ff0000000000000",
              ReadOid(m_db, oid).strContent);
    EXPECT_EQ(oid, Write(m_db, oid, CProps().Remove(kName).Text(2, L"").Remove(kData)));
    EXPECT_EQ("1:I4=1 2:TEXT=(0) 4:R8=3ff0000000000000", ReadOid(m_db, oid).strContent);
}

TEST_F(RecordTest, OfAPropertyGivenTwiceTheLastCounts)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).I4(1, 2).Text(2, L"a").Text(2, L"b"));
    EXPECT_EQ("1:I4=2 2:TEXT=(1)b", ReadOid(m_db, oid).strContent);
    EXPECT_WORKS(Write(m_db, oid, CProps().I4(1, 3).Remove(kNumber)));
    EXPECT_EQ("2:TEXT=(1)b", ReadOid(m_db, oid).strContent);
    EXPECT_WORKS(Write(m_db, oid, CProps().Remove(kName).Text(2, L"c")));
    EXPECT_EQ("2:TEXT=(1)c", ReadOid(m_db, oid).strContent);
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(RecordTest, RemovingWhatIsNotThereIsFine)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).Remove(kName));
    EXPECT_WORKS(oid);
    EXPECT_EQ(oid, Write(m_db, oid, CProps().Remove(kData)));
    EXPECT_EQ("1:I4=1", ReadOid(m_db, oid).strContent);
}

TEST_F(RecordTest, ARecordWithoutPropertiesStillIsOne)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1));
    EXPECT_EQ(oid, Write(m_db, oid, CProps().Remove(kNumber)));
    EXPECT_EQ(1u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ(std::vector<CEOID>{oid}, WalkForward(m_db));
    EXPECT_EQ(std::vector<CEOID>{oid}, WalkForward(OpenDb(m_guid, m_oidDatabase, kNumber)));
    EXPECT_EQ(0u, ReadOid(m_db, oid).wCount);
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ(oid, Write(m_db, oid, CProps().I4(1, 2)));
    EXPECT_EQ("1:I4=2", Read(m_db).strContent);
    EXPECT_WORKS(Write(m_db, 0, CProps().Remove(kNumber))) << "a new record of removals is an empty one";
    EXPECT_EQ(2u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(RecordTest, BadWritesAreRefusedWhole)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1));
    const CProps one = std::move(CProps().I4(1, 2));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeWriteRecordProps(m_db, oid, 0, one.Data()));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeWriteRecordProps(m_db, oid, 1, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeWriteRecordProps(nullptr, 0, 1, one.Data()));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, 4711, one));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, m_oidDatabase, one)) << "a database is no record";
    for (const WORD wType : {0, 1, 4, 17, 32, 66, 100, 0x4003, 0x0403}) {
        CProps props = std::move(CProps().I4(1, 99).I4(2, 1));
        props.Last().propid = Prop(2, wType);
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, oid, props)) << wType;
    }
    CProps noText = std::move(CProps().I4(1, 99).Text(2, L""));
    noText.Last().val.lpwstr = nullptr;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, oid, noText));
    CProps noBytes = std::move(CProps().I4(1, 99).Blob(3, {}));
    noBytes.Last().val.blob = {5, nullptr};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, oid, noBytes));
    EXPECT_EQ("1:I4=1", ReadOid(m_db, oid).strContent);
    noBytes.Last().val.blob = {0, nullptr};
    EXPECT_WORKS(Write(m_db, oid, noBytes)) << "an empty blob needs no address";
}

TEST_F(RecordTest, ARecordOfAnotherDatabaseIsNotWritten)
{
    const CDb other = OpenDb(m_guid, MakeDatabase(m_guid, L"other"));
    const CEOID oid = Write(other, 0, CProps().I4(1, 1));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(m_db, oid, CProps().I4(1, 2)));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(m_db, oid));
    EXPECT_EQ("1:I4=1", ReadOid(other, oid).strContent);
}

TEST_F(RecordTest, WhatWasReadCanBeWritten)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"copied").Blob(3, {1, 2, 3}));
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    WORD wCount = 0;
    EXPECT_EQ(oid, ::CeReadRecordProps(m_db, CEDB_ALLOWREALLOC, &wCount, nullptr, &pBuffer, &cbBuffer));
    const CEOID copy = ::CeWriteRecordProps(m_db, 0, wCount, reinterpret_cast<CEPROPVAL*>(pBuffer));
    EXPECT_WORKS(copy);
    EXPECT_EQ(ReadOid(m_db, oid).strContent, ReadOid(m_db, copy).strContent);
    ::LocalFree(pBuffer);
}

TEST_F(RecordTest, DeletingRefusesWhatIsNoRecord)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(m_db, 0));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(m_db, 4711));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(m_db, m_oidDatabase));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(nullptr, oid));
    EXPECT_WORKS(::CeDeleteRecord(m_db, oid));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(m_db, oid));
    EXPECT_EQ(0u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(RecordTest, A65536thRecordFindsNoPlace)
{
    ASSERT_WORKS(::CeBeginBatch(&m_guid));
    const CProps props = std::move(CProps().I4(1, 1));
    for (int i = 0; i < CEDB_MAXNUMRECORDS; ++i) ASSERT_WORKS(Write(m_db, 0, props)) << i;
    EXPECT_FAILS(ERROR_DISK_FULL, Write(m_db, 0, props));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_FAILS(ERROR_DISK_FULL, Write(m_db, 0, props));
    EXPECT_EQ(65535u, CountRecords(m_guid, m_oidDatabase));
    DWORD dwIndex = 0;
    const CEOID last = ::CeSeekDatabase(m_db, CEDB_SEEK_END, 0, &dwIndex);
    EXPECT_EQ(65534u, dwIndex);
    EXPECT_WORKS(Write(m_db, last, CProps().I4(1, 2))) << "a change needs no place";
    EXPECT_WORKS(::CeDeleteRecord(m_db, last));
    EXPECT_WORKS(Write(m_db, 0, props));
    EXPECT_FAILS(ERROR_DISK_FULL, Write(m_db, 0, props));
}

} // namespace
