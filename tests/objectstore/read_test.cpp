// Reading records: what is asked for, into which buffer, with which result; reads that move on.
#include "support.h"

#include <cstring>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kData = Prop(3, CEVT_BLOB);
constexpr CEPROPID kAbsent = Prop(9, CEVT_UI4);

class ReadTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"records", {Order({{kNumber}})});
        m_db = OpenDb(m_guid, m_oidDatabase);
        m_oid = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"name").Blob(3, {7, 8, 9}));
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    CEOID m_oidDatabase = 0;
    CDb m_db;
    CEOID m_oid = 0;
};

TEST_F(ReadTest, PropertiesComeInTheOrderAskedForAndAbsentOnesAreMarked)
{
    std::vector<CEPROPID> wanted = {kData, kAbsent, kNumber, kNumber, Prop(1, CEVT_I2)};
    WORD wCount = static_cast<WORD>(wanted.size());
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    ASSERT_EQ(m_oid, ::CeReadRecordProps(m_db, CEDB_ALLOWREALLOC, &wCount, wanted.data(), &pBuffer, &cbBuffer));
    ASSERT_EQ(5u, wCount);
    const CEPROPVAL* p = reinterpret_cast<CEPROPVAL*>(pBuffer);
    for (size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_EQ(wanted[i], p[i].propid);
        EXPECT_EQ(i == 1 || i == 4 ? CEDB_PROPNOTFOUND : 0, p[i].wFlags) << i;
    }
    EXPECT_EQ(3u, p[0].val.blob.dwCount);
    EXPECT_EQ(0, std::memcmp(p[0].val.blob.lpb, "\7\10\11", 3));
    EXPECT_EQ(1, p[2].val.lVal);
    EXPECT_EQ(1, p[3].val.lVal);
    ::LocalFree(pBuffer);
}

TEST_F(ReadTest, TextsAndBlobsLieInTheSameBlock)
{
    WORD wCount = 0;
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    ASSERT_EQ(m_oid, ::CeReadRecordProps(m_db, CEDB_ALLOWREALLOC, &wCount, nullptr, &pBuffer, &cbBuffer));
    EXPECT_EQ(3u, wCount);
    EXPECT_GE(::LocalSize(pBuffer), cbBuffer);
    for (const CEPROPVAL* p = reinterpret_cast<CEPROPVAL*>(pBuffer); wCount > 0; ++p, --wCount) {
        const BYTE* pData = nullptr;
        size_t cb = 0;
        if (p->propid == kName) pData = reinterpret_cast<BYTE*>(p->val.lpwstr), cb = 5 * sizeof(wchar_t);
        if (p->propid == kData) pData = p->val.blob.lpb, cb = 3;
        if (!pData) continue;
        EXPECT_GE(pData, pBuffer + 3 * sizeof(CEPROPVAL));
        EXPECT_LE(pData + cb, pBuffer + cbBuffer);
        EXPECT_EQ(0u, reinterpret_cast<UINT_PTR>(pData) % (p->propid == kName ? 2 : 1));
    }
    ::LocalFree(pBuffer);
}

TEST_F(ReadTest, ABufferOfTheCallersIsFilledInPlace)
{
    alignas(4) BYTE rgBuffer[256];
    LPBYTE pBuffer = rgBuffer;
    DWORD cbBuffer = sizeof rgBuffer;
    WORD wCount = 0;
    EXPECT_EQ(m_oid, ::CeReadRecordProps(m_db, 0, &wCount, nullptr, &pBuffer, &cbBuffer));
    EXPECT_EQ(rgBuffer, pBuffer);
    EXPECT_GE(cbBuffer, 3 * sizeof(CEPROPVAL) + 10 + 3);
    EXPECT_LE(cbBuffer, 3 * sizeof(CEPROPVAL) + 10 + 3 + 8) << "no more than alignment needs";
    EXPECT_EQ("1:I4=1 2:TEXT=(4)name 3:BLOB=(3)070809", Render(reinterpret_cast<CEPROPVAL*>(rgBuffer), wCount));
}

TEST_F(ReadTest, ASmallBufferIsLeftAloneAndTheNeededSizeTold)
{
    for (const bool bAll : {true, false}) {
        std::vector<CEPROPID> wanted = {kNumber, kName, kAbsent, kData};
        alignas(4) BYTE rgBuffer[256];
        LPBYTE pBuffer = rgBuffer;
        DWORD cbNeeded = 0;
        WORD wCount = bAll ? 0 : 4;
        EXPECT_FAILS(ERROR_INSUFFICIENT_BUFFER,
                     ::CeReadRecordProps(m_db, 0, &wCount, bAll ? nullptr : wanted.data(), &pBuffer, &cbNeeded));
        ASSERT_GT(cbNeeded, 3 * sizeof(CEPROPVAL));
        ASSERT_LE(cbNeeded, sizeof rgBuffer);
        for (DWORD cb = 0; cb < cbNeeded; ++cb) {
            std::memset(rgBuffer, 0xEE, sizeof rgBuffer);
            DWORD cbBuffer = cb;
            wCount = bAll ? 0 : 4;
            EXPECT_FAILS(ERROR_INSUFFICIENT_BUFFER,
                         ::CeReadRecordProps(m_db, 0, &wCount, bAll ? nullptr : wanted.data(), &pBuffer, &cbBuffer));
            EXPECT_EQ(cbNeeded, cbBuffer);
            for (size_t i = cb; i < sizeof rgBuffer; ++i) ASSERT_EQ(0xEE, rgBuffer[i]) << "written behind the buffer";
        }
        std::memset(rgBuffer, 0xEE, sizeof rgBuffer);
        wCount = bAll ? 0 : 4;
        EXPECT_EQ(m_oid, ::CeReadRecordProps(m_db, 0, &wCount, bAll ? nullptr : wanted.data(), &pBuffer, &cbNeeded));
        for (size_t i = cbNeeded; i < sizeof rgBuffer; ++i) ASSERT_EQ(0xEE, rgBuffer[i]);
    }
}

TEST_F(ReadTest, ABlockIsUsedAgainAndGrows)
{
    const CEOID big = Write(m_db, 0, CProps().Text(2, std::wstring(20000, L'g')));
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    for (const CEOID oid : {m_oid, big, m_oid, big}) {
        ::CeSeekDatabase(m_db, CEDB_SEEK_CEOID, oid, nullptr);
        WORD wCount = 0;
        EXPECT_EQ(oid, ::CeReadRecordProps(m_db, CEDB_ALLOWREALLOC, &wCount, nullptr, &pBuffer, &cbBuffer));
        EXPECT_EQ(ReadOid(m_db, oid).strContent, Render(reinterpret_cast<CEPROPVAL*>(pBuffer), wCount));
        cbBuffer = static_cast<DWORD>(::LocalSize(pBuffer));
    }
    EXPECT_EQ(nullptr, ::LocalFree(pBuffer));
}

TEST_F(ReadTest, ABlockComesFromTheHeapThatIsGiven)
{
    const HANDLE hHeap = ::HeapCreate(0, 0, 0);
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    for (const size_t cch : {10u, 5000u}) {
        const CEOID oid = Write(m_db, 0, CProps().Text(2, std::wstring(cch, L'h')));
        WORD wCount = 0;
        EXPECT_EQ(oid, ::CeReadRecordPropsEx(m_db, CEDB_ALLOWREALLOC, &wCount, nullptr, &pBuffer, &cbBuffer, hHeap));
        EXPECT_TRUE(::HeapValidate(hHeap, 0, pBuffer));
        EXPECT_GE(::HeapSize(hHeap, 0, pBuffer), cbBuffer);
    }
    EXPECT_TRUE(::HeapFree(hHeap, 0, pBuffer));
    ::HeapDestroy(hHeap);
}

TEST_F(ReadTest, OnlyAbsentPropertiesIsNoDataButTheBufferIsValid)
{
    std::vector<CEPROPID> wanted = {kAbsent, Prop(8, CEVT_LPWSTR)};
    for (const DWORD dwFlags : {0, CEDB_ALLOWREALLOC}) {
        alignas(4) BYTE rgBuffer[64] = {};
        LPBYTE pBuffer = dwFlags ? nullptr : rgBuffer;
        DWORD cbBuffer = dwFlags ? 0 : sizeof rgBuffer;
        WORD wCount = 2;
        EXPECT_FAILS(ERROR_NO_DATA, ::CeReadRecordProps(m_db, dwFlags, &wCount, wanted.data(), &pBuffer, &cbBuffer));
        ASSERT_NE(nullptr, pBuffer);
        EXPECT_EQ(2u, wCount);
        EXPECT_EQ(2 * sizeof(CEPROPVAL), cbBuffer);
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(wanted[i], reinterpret_cast<CEPROPVAL*>(pBuffer)[i].propid);
            EXPECT_EQ(CEDB_PROPNOTFOUND, reinterpret_cast<CEPROPVAL*>(pBuffer)[i].wFlags);
        }
        if (dwFlags) ::LocalFree(pBuffer);
    }
}

TEST_F(ReadTest, BadArgumentsAreRefused)
{
    alignas(4) BYTE rgBuffer[64];
    LPBYTE pBuffer = rgBuffer, pNone = nullptr;
    DWORD cbBuffer = sizeof rgBuffer;
    WORD wCount = 1;
    CEPROPID propid = kNumber;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(m_db, 0, nullptr, &propid, &pBuffer, &cbBuffer));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(m_db, 0, &wCount, &propid, nullptr, &cbBuffer));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(m_db, 0, &wCount, &propid, &pBuffer, nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(m_db, 0, &wCount, &propid, &pNone, &cbBuffer));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(m_db, 2, &wCount, &propid, &pBuffer, &cbBuffer));
    for (const HANDLE h : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE})
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(h, 0, &wCount, &propid, &pBuffer, &cbBuffer));
    EXPECT_EQ(m_oid, Read(m_db).oid);
}

TEST_F(ReadTest, WithoutAutoincrementAReadStays)
{
    Write(m_db, 0, CProps().I4(1, 2));
    ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(m_oid, Read(m_db).oid);
}

class AutoIncrementTest : public ReadTest
{
protected:
    // Numbers 1 to 5; the handle reads on and on.
    void SetUp() override
    {
        ReadTest::SetUp();
        m_oids.push_back(m_oid);
        for (const long n : {2, 3, 4, 5}) m_oids.push_back(Write(m_db, 0, CProps().I4(1, n)));
        m_auto = OpenDb(m_guid, m_oidDatabase, kNumber, CEDB_AUTOINCREMENT);
    }
    void TearDown() override
    {
        m_auto.Close();
        ReadTest::TearDown();
    }
    void ExpectEnd() { EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), Read(m_auto).dwError); }
    std::vector<CEOID> m_oids;
    CDb m_auto;
};

TEST_F(AutoIncrementTest, AReadLoopSeesEveryRecordAndThenTheEndAgainAndAgain)
{
    for (int nRound = 0; nRound < 2; ++nRound) {
        for (const CEOID oid : m_oids) EXPECT_EQ(oid, Read(m_auto).oid);
        for (int i = 0; i < 3; ++i) ExpectEnd();
        EXPECT_WORKS(::CeSeekDatabase(m_auto, CEDB_SEEK_BEGINNING, 0, nullptr));
    }
}

TEST_F(AutoIncrementTest, AfterAReadThePointerIsOneFurther)
{
    Read(m_auto);
    DWORD dwIndex = 99;
    EXPECT_EQ(m_oids[1], ::CeSeekDatabase(m_auto, CEDB_SEEK_CURRENT, 0, &dwIndex));
    EXPECT_EQ(1u, dwIndex);
    Read(m_auto);
    EXPECT_EQ(m_oids[1], ::CeSeekDatabase(m_auto, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr));
}

TEST_F(AutoIncrementTest, ReadingAndDeletingVisitsEveryRecordOnce)
{
    std::vector<CEOID> seen;
    while (const CEOID oid = Read(m_auto).oid) {
        seen.push_back(oid);
        EXPECT_WORKS(::CeDeleteRecord(m_auto, oid));
    }
    EXPECT_EQ(m_oids, seen);
    ExpectEnd();
    EXPECT_EQ(0u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(AutoIncrementTest, DeletingTheCurrentRecordGoesOnToTheNext)
{
    Read(m_auto);
    EXPECT_WORKS(::CeDeleteRecord(m_auto, m_oids[1]));
    EXPECT_EQ(m_oids[2], Read(m_auto).oid);
}

TEST_F(AutoIncrementTest, ARecordDeletedByAnotherHandleIsSteppedOver)
{
    Read(m_auto);
    EXPECT_WORKS(::CeDeleteRecord(m_db, m_oids[1]));
    EXPECT_EQ(m_oids[2], Read(m_auto).oid) << "the pointer got there by reading, so no error is told";
}

TEST_F(AutoIncrementTest, ASmallBufferDoesNotMoveOnButNoDataDoes)
{
    alignas(4) BYTE rgBuffer[64];
    LPBYTE pBuffer = rgBuffer;
    DWORD cbBuffer = 1;
    WORD wCount = 0;
    EXPECT_FAILS(ERROR_INSUFFICIENT_BUFFER, ::CeReadRecordProps(m_auto, 0, &wCount, nullptr, &pBuffer, &cbBuffer));
    EXPECT_EQ(m_oids[0], Read(m_auto).oid);
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_DATA), Read(m_auto, {kAbsent}).dwError);
    EXPECT_EQ(m_oids[2], Read(m_auto).oid);
}

TEST_F(AutoIncrementTest, AtTheEndARecordThatArrivesIsNotMissedByASeek)
{
    while (Read(m_auto).oid) {
    }
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 6));
    EXPECT_EQ(oid, ::CeSeekDatabase(m_auto, CEDB_SEEK_END, 0, nullptr));
    EXPECT_EQ(oid, Read(m_auto).oid);
    ExpectEnd();
}

TEST_F(ReadTest, ADeletedCurrentRecordIsKeyDeletedUntilAMove)
{
    const CEOID next = Write(m_db, 0, CProps().I4(1, 2));
    const CDb other = OpenDb(m_guid, m_oidDatabase);
    EXPECT_EQ(m_oid, ReadOid(m_db, m_oid).oid);
    EXPECT_WORKS(::CeDeleteRecord(other, m_oid));
    for (int i = 0; i < 2; ++i) EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    EXPECT_EQ(next, ::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, 1, nullptr));
    EXPECT_EQ(next, Read(m_db).oid);
}

} // namespace

// In every order, unique ones and those of two properties too: such reads find most of what they need where the last one
// left it, and must see when it is no longer so.
TEST_F(ReadTest, AReadThatMovesOnMeetsTheRecordBehindTheOneThatIsDeletedMeanwhile)
{
    constexpr CEPROPID kKey = Prop(4, CEVT_UI4);
    const CEOID oidDatabase = MakeDatabase(
        m_guid, L"orders",
        {Order({{kNumber, CEDB_SORT_DESCENDING}}), Order({{kName}, {kNumber}}), Order({{kKey}}, CEDB_SORT_UNIQUE)});
    const CDb other = OpenDb(m_guid, oidDatabase);
    std::vector<CEOID> oids;
    for (int i = 0; i < 60; ++i)
        oids.push_back(Write(other, 0, CProps().I4(1, 100 - i).Text(2, L"name " + std::to_wstring(100 + i)).UI4(4, i)));
    CDb walks[] = {OpenDb(m_guid, oidDatabase, 0, CEDB_AUTOINCREMENT),
                   OpenDb(m_guid, oidDatabase, kNumber, CEDB_AUTOINCREMENT),
                   OpenDb(m_guid, oidDatabase, Order({{kName}, {kNumber}}), CEDB_AUTOINCREMENT),
                   OpenDb(m_guid, oidDatabase, kKey, CEDB_AUTOINCREMENT)};
    // Into a buffer that is there, as the quick way wants it.
    const auto read = [](HANDLE h) {
        CEPROPID rgWanted[] = {kNumber, kName};
        BYTE rgb[200];
        LPBYTE pBuffer = rgb;
        DWORD cb = sizeof rgb;
        WORD wCount = 2;
        return ::CeReadRecordProps(h, 0, &wCount, rgWanted, &pBuffer, &cb);
    };
    size_t nNext = 0;
    const auto readAll = [&](int nTimes) {
        for (; nTimes > 0; --nTimes, ++nNext)
            for (CDb& walk : walks) EXPECT_EQ(oids[nNext], read(walk)) << nNext;
    };
    while (nNext + 5 < oids.size()) {
        readAll(4);
        EXPECT_WORKS(::CeDeleteRecord(other, oids[nNext])); // on which all of them stand
        oids.erase(oids.begin() + static_cast<ptrdiff_t>(nNext));
    }
    readAll(static_cast<int>(oids.size() - nNext));
    for (CDb& walk : walks) EXPECT_FAILS(ERROR_NO_MORE_ITEMS, read(walk));
}
