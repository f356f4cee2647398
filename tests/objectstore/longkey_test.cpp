// Sort keys beyond what the map's keys hold: they are cut there, and still order, seek and change in full.
#include "no_memory.h"
#include "support.h"

#include <algorithm>
#include <random>

namespace {

constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);

class LongKeyTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"long", {Order({{kName}})});
        m_db = OpenDb(m_guid, m_oidDatabase, kName);
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    CEOID Seek(DWORD dwType, const std::wstring& str)
    {
        return ::CeSeekDatabase(m_db, dwType, CProps().Text(2, str).Address(), nullptr);
    }

    CEOID m_oidDatabase = 0;
    CDb m_db;
};

// A number as 16 characters that order as it does, behind 600 that are the same for all.
std::wstring Long(ULONGLONG ull)
{
    std::wstring str(600, L'p');
    for (int i = 60; i >= 0; i -= 4) str += static_cast<wchar_t>(L'a' + (ull >> i & 15));
    return str;
}

TEST_F(LongKeyTest, AHundredRecordsBetweenTheSameTwoFindTheirPlaces)
{
    // Each new key lies between the one before and the upper end: the numbers that order cut keys run out many times.
    std::vector<CEOID> expected = {Write(m_db, 0, CProps().Text(2, Long(0)))};
    const CEOID oidUpper = Write(m_db, 0, CProps().Text(2, Long(200)));
    for (int i = 1; i <= 100; ++i) {
        const CEOID oid = Write(m_db, 0, CProps().Text(2, Long(i)));
        ASSERT_WORKS(oid);
        expected.push_back(oid);
    }
    expected.push_back(oidUpper);
    EXPECT_EQ(expected, WalkForward(m_db));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(LongKeyTest, AHundredRecordsBeforeTheFirstFindTheirPlaces)
{
    std::vector<CEOID> expected;
    for (int i = 1000; i > 900; --i) expected.insert(expected.begin(), Write(m_db, 0, CProps().Text(2, Long(i))));
    EXPECT_EQ(expected, WalkForward(m_db));
}

TEST_F(LongKeyTest, RandomKeysWithSharedBeginningsSeekInFull)
{
    std::mt19937 random(17);
    std::vector<std::pair<std::wstring, CEOID>> records;
    for (int i = 0; i < 300; ++i) {
        std::wstring str = Long(random() % 200);
        if (i % 3 == 0) str.resize(200 + random() % 416);
        records.emplace_back(str, Write(m_db, 0, CProps().Text(2, str)));
    }
    for (int i = 0; i < 100; ++i) { // and some of them move
        auto& record = records[random() % records.size()];
        record.first = Long(random() % 200);
        EXPECT_EQ(record.second, Write(m_db, record.second, CProps().Text(2, record.first)));
    }
    std::sort(records.begin(), records.end());
    std::vector<CEOID> expected;
    for (const auto& record : records) expected.push_back(record.second);
    EXPECT_EQ(expected, WalkForward(m_db));
    for (int i = 0; i < 200; ++i) {
        const std::wstring str = Long(i);
        const auto bound = std::lower_bound(records.begin(), records.end(), std::make_pair(str, CEOID{0}));
        EXPECT_EQ(bound == records.end() ? 0 : bound->second, Seek(CEDB_SEEK_VALUEGREATER, str));
        EXPECT_EQ(bound == records.begin() ? 0 : (bound - 1)->second, Seek(CEDB_SEEK_VALUESMALLER, str));
        EXPECT_EQ(bound != records.end() && bound->first == str ? bound->second : 0,
                  Seek(CEDB_SEEK_VALUEFIRSTEQUAL, str));
    }
}

TEST_F(LongKeyTest, APointerHoldsWhenTheNumbersAreGivenAnew)
{
    const CEOID oidFirst = Write(m_db, 0, CProps().Text(2, Long(0)));
    const CEOID oidLast = Write(m_db, 0, CProps().Text(2, Long(500)));
    const CDb other = OpenDb(m_guid, m_oidDatabase, kName);
    ASSERT_EQ(oidLast, ::CeSeekDatabase(other, CEDB_SEEK_END, 0, nullptr));
    std::vector<CEOID> written;
    for (int i = 1; i <= 80; ++i) written.push_back(Write(m_db, 0, CProps().Text(2, Long(i))));
    ASSERT_WORKS(::CeDeleteRecord(m_db, oidLast));
    EXPECT_EQ(written.back(), ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr));
    EXPECT_EQ(oidFirst, ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, static_cast<DWORD>(-80), nullptr));
}

TEST_F(LongKeyTest, AStepForWhichThereIsNoMemoryIsNotMade)
{
    const CEOID oidFirst = Write(m_db, 0, CProps().Text(2, L"a"));
    const CEOID oidSecond = Write(m_db, 0, CProps().Text(2, Long(1)));
    const CEOID oidThird = Write(m_db, 0, CProps().Text(2, Long(2)));
    const CDb other = OpenDb(m_guid, m_oidDatabase, kName);
    ASSERT_EQ(oidFirst, ::CeSeekDatabase(other, CEDB_SEEK_BEGINNING, 0, nullptr));
    const CProps sought = std::move(CProps().Text(2, Long(0)));
    {
        const CNoRoom noRoom;
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, 1, nullptr));
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, 1, nullptr));
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeSeekDatabase(other, CEDB_SEEK_BEGINNING, 1, nullptr));
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeSeekDatabase(other, CEDB_SEEK_END, 0, nullptr));
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY,
                     ::CeSeekDatabase(other, CEDB_SEEK_VALUEGREATER, sought.Address(), nullptr));
        EXPECT_EQ(oidFirst, Read(other).oid);
    }
    EXPECT_EQ(oidSecond, ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, 1, nullptr));
    EXPECT_EQ(oidThird, ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, 1, nullptr));
}

TEST_F(LongKeyTest, AReadThatAdvancesBeyondWhatThereIsMemoryForStaysWhereItIs)
{
    const CEOID oidFirst = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"a"));
    const CEOID oidSecond = Write(m_db, 0, CProps().I4(1, 2).Text(2, Long(1)));
    const CDb other = OpenDb(m_guid, m_oidDatabase, kName, CEDB_AUTOINCREMENT);
    ASSERT_EQ(oidFirst, Read(other, {Prop(1, CEVT_I4)}).oid);
    ASSERT_EQ(oidFirst, ::CeSeekDatabase(other, CEDB_SEEK_BEGINNING, 0, nullptr));
    const CDb fresh = OpenDb(m_guid, m_oidDatabase, kName, CEDB_AUTOINCREMENT);
    {
        const CNoRoom noRoom;
        EXPECT_EQ(0u, Read(fresh, {Prop(1, CEVT_I4)}).oid);
        EXPECT_EQ(0u, Read(fresh, {Prop(1, CEVT_I4)}).oid);
    }
    EXPECT_EQ(oidFirst, Read(fresh, {Prop(1, CEVT_I4)}).oid);
    EXPECT_EQ(oidSecond, Read(fresh, {Prop(1, CEVT_I4)}).oid);
}

TEST_F(LongKeyTest, AChangeThatIsMadeIsNotCalledAFailureForWantOfMemory)
{
    ASSERT_WORKS(Write(m_db, 0, CProps().Text(2, Long(1))));
    ASSERT_WORKS(Write(m_db, 0, CProps().Text(2, L"a")));
    const CDb other = OpenDb(m_guid, m_oidDatabase, kName);
    CEOID oid;
    {
        const CNoRoom noRoom;
        oid = Write(other, 0, CProps().Text(2, Long(2)));
        EXPECT_WORKS(oid);
    }
    EXPECT_EQ(oid, Read(other).oid);
    EXPECT_EQ(0u, ::CeSeekDatabase(other, CEDB_SEEK_CURRENT, 1, nullptr)) << "it is the last";
    EXPECT_EQ(3u, CountRecords(m_guid, m_oidDatabase));
}

} // namespace
