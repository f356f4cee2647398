// The seek pointer: moves by place and by OID, where it is after failures, and the index that a seek tells.
#include "support.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr DWORD kBack1 = static_cast<DWORD>(-1);

class SeekTest : public VolumeTest
{
protected:
    // Ten records, created out of order: 50, 20, 90, ... and sorted by number: 10, 20, ... 100.
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"numbers", {Order({{kNumber}})});
        m_db = OpenDb(m_guid, m_oidDatabase, kNumber);
        m_sorted.resize(10);
        for (const int n : {5, 2, 9, 10, 1, 7, 3, 8, 6, 4}) m_sorted[n - 1] = Write(m_db, 0, CProps().I4(1, n * 10));
        Seek(CEDB_SEEK_BEGINNING, 0);
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    CEOID Seek(DWORD dwType, DWORD dwValue, DWORD* pdwIndex = nullptr)
    {
        return ::CeSeekDatabase(m_db, dwType, dwValue, pdwIndex);
    }
    // The record that a number of steps from the start reaches, and its index.
    void ExpectAt(size_t nIndex, CEOID oid, DWORD dwIndex)
    {
        EXPECT_EQ(m_sorted[nIndex], oid);
        EXPECT_EQ(nIndex, dwIndex);
        EXPECT_EQ(oid, Read(m_db).oid) << "the pointer is elsewhere";
    }
    void ExpectAtEnd() { EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), Read(m_db).dwError); }

    CEOID m_oidDatabase = 0;
    CDb m_db;
    std::vector<CEOID> m_sorted;
};

TEST_F(SeekTest, BeginningCountsFromZero)
{
    for (DWORD i = 0; i < 10; ++i) {
        DWORD dwIndex = 99;
        const CEOID oid = Seek(CEDB_SEEK_BEGINNING, i, &dwIndex);
        ExpectAt(i, oid, dwIndex);
    }
}

TEST_F(SeekTest, BeginningPastTheEndLeavesThePointerAtTheEnd)
{
    for (const DWORD dwValue : {10ul, 11ul, 0x7FFFFFFFul, 0xFFFFFFFFul}) {
        SCOPED_TRACE(dwValue);
        Seek(CEDB_SEEK_BEGINNING, 3);
        DWORD dwIndex = 99;
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_BEGINNING, dwValue, &dwIndex));
        EXPECT_EQ(99u, dwIndex);
        ExpectAtEnd();
    }
}

TEST_F(SeekTest, EndCountsBackAndTakesZeroForOne)
{
    static const struct
    {
        DWORD dwValue;
        size_t nIndex;
    } kCases[] = {{0, 9}, {1, 9}, {2, 8}, {3, 7}, {9, 1}, {10, 0}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.dwValue);
        DWORD dwIndex = 99;
        const CEOID oid = Seek(CEDB_SEEK_END, c.dwValue, &dwIndex);
        ExpectAt(c.nIndex, oid, dwIndex);
    }
}

TEST_F(SeekTest, EndBeforeTheStartStaysWhereItWas)
{
    for (const DWORD dwValue : {11ul, 0x7FFFFFFFul}) {
        Seek(CEDB_SEEK_BEGINNING, 3);
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_END, dwValue));
        EXPECT_EQ(m_sorted[3], Read(m_db).oid);
    }
}

TEST_F(SeekTest, CurrentMovesBothWaysAndTellsTheIndex)
{
    Seek(CEDB_SEEK_BEGINNING, 4);
    static const struct
    {
        int nStep;
        size_t nIndex;
    } kCases[] = {{0, 4}, {1, 5}, {-1, 4}, {3, 7}, {-7, 0}, {9, 9}, {0, 9}, {-4, 5}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.nStep);
        DWORD dwIndex = 99;
        const CEOID oid = Seek(CEDB_SEEK_CURRENT, static_cast<DWORD>(c.nStep), &dwIndex);
        ExpectAt(c.nIndex, oid, dwIndex);
    }
}

TEST_F(SeekTest, CurrentPastTheEndLeavesThePointerAtTheEnd)
{
    for (const DWORD dwStep : {7ul, 8ul, 0x7FFFFFFFul}) {
        Seek(CEDB_SEEK_BEGINNING, 3);
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CURRENT, dwStep));
        ExpectAtEnd();
    }
}

TEST_F(SeekTest, CurrentBeforeTheStartStaysWhereItWas)
{
    for (const DWORD dwStep : {static_cast<DWORD>(-4), static_cast<DWORD>(-5), 0x80000000ul}) {
        Seek(CEDB_SEEK_BEGINNING, 3);
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CURRENT, dwStep));
        EXPECT_EQ(m_sorted[3], Read(m_db).oid);
    }
}

TEST_F(SeekTest, FromTheEndOnlyStepsBackLeadAnywhere)
{
    Seek(CEDB_SEEK_BEGINNING, 10);
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CURRENT, 0));
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CURRENT, 1));
    DWORD dwIndex = 99;
    CEOID oid = Seek(CEDB_SEEK_CURRENT, kBack1, &dwIndex);
    ExpectAt(9, oid, dwIndex);
    Seek(CEDB_SEEK_BEGINNING, 10);
    oid = Seek(CEDB_SEEK_CURRENT, static_cast<DWORD>(-3), &dwIndex);
    ExpectAt(7, oid, dwIndex);
}

TEST_F(SeekTest, AWalkBackwardVisitsAllAndThenStops)
{
    EXPECT_EQ((std::vector<CEOID>{m_sorted.rbegin(), m_sorted.rend()}), WalkBackward(m_db));
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CURRENT, kBack1));
}

TEST_F(SeekTest, ByOidTellsTheIndexAndLeavesThePointerWhenThereIsNone)
{
    DWORD dwIndex = 99;
    for (size_t i = 0; i < 10; ++i) {
        const CEOID oid = Seek(CEDB_SEEK_CEOID, m_sorted[i], &dwIndex);
        ExpectAt(i, oid, dwIndex);
    }
    Seek(CEDB_SEEK_BEGINNING, 4);
    for (const CEOID oid : {CEOID(0), CEOID(4711), m_oidDatabase, CEOID(0xFFFFFFFF)}) {
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CEOID, oid));
        EXPECT_EQ(m_sorted[4], Read(m_db).oid);
    }
}

TEST_F(SeekTest, AnOidOfAnotherDatabaseIsNotFound)
{
    const CDb other = OpenDb(m_guid, MakeDatabase(m_guid, L"other"));
    const CEOID oid = Write(other, 0, CProps().I4(1, 1));
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CEOID, oid));
}

TEST_F(SeekTest, InAnEmptyDatabaseEverySeekFails)
{
    const CEOID oid = MakeDatabase(m_guid, L"empty", {Order({{kNumber}})});
    const CDb db = OpenDb(m_guid, oid, kNumber);
    const CProps value = std::move(CProps().I4(1, 10));
    for (const DWORD dwType : {CEDB_SEEK_BEGINNING, CEDB_SEEK_END, CEDB_SEEK_CURRENT}) {
        for (const DWORD dwStep : {0ul, 1ul, 2ul, kBack1})
            EXPECT_FAILS(ERROR_NO_MORE_ITEMS, ::CeSeekDatabase(db, dwType, dwStep, nullptr)) << dwType << ' ' << dwStep;
    }
    for (const DWORD dwType :
         {CEDB_SEEK_VALUESMALLER, CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUENEXTEQUAL, CEDB_SEEK_VALUEGREATER})
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, ::CeSeekDatabase(db, dwType, value.Address(), nullptr)) << dwType;
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, ::CeSeekDatabase(db, CEDB_SEEK_CEOID, m_sorted[0], nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), Read(db).dwError);
}

TEST_F(SeekTest, BadTypesAndArgumentsAreRefusedAndMoveNothing)
{
    Seek(CEDB_SEEK_BEGINNING, 4);
    for (const DWORD dwType : {0ul, 3ul, 0x100ul, 0x200ul, 0x400ul, 0xFFFFFFFFul})
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(dwType, 0)) << dwType;
    for (const DWORD dwType :
         {CEDB_SEEK_VALUESMALLER, CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUENEXTEQUAL, CEDB_SEEK_VALUEGREATER}) {
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(dwType, 0)) << "no value";
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(dwType, CProps().I2(1, 1).Address())) << "another type";
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(dwType, CProps().I4(2, 1).Address())) << "another property";
        const CProps value = std::move(CProps().I4(1, 10));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSeekDatabaseEx(m_db, dwType, value.Address(), 0, nullptr));
        const CProps two = std::move(CProps().I4(1, 10).I4(2, 10));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSeekDatabaseEx(m_db, dwType, two.Address(), 2, nullptr));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER,
                     ::CeSeekDatabase(OpenDb(m_guid, m_oidDatabase), dwType, value.Address(), nullptr))
            << "the order of creation has no values";
    }
    EXPECT_EQ(m_sorted[4], Read(m_db).oid);
    for (const HANDLE h : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE, ::GetStdHandle(STD_OUTPUT_HANDLE)})
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 0, nullptr));
}

TEST_F(SeekTest, FromTheGapOfADeletedRecordTheNeighboursAreReached)
{
    static const struct
    {
        int nStep;
        int nFromGap;
    } kCases[] = {{1, 0}, {2, 1}, {3, 2}, {-1, -1}, {-2, -2}};
    int nVictim = 2; // each case deletes one, so that two lie between this and the start
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.nStep);
        std::vector<CEOID> sorted = WalkForward(OpenDb(m_guid, m_oidDatabase, kNumber));
        Seek(CEDB_SEEK_BEGINNING, nVictim);
        EXPECT_WORKS(::CeDeleteRecord(m_db, sorted[nVictim]));
        EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
        sorted.erase(sorted.begin() + nVictim);
        DWORD dwIndex = 99;
        EXPECT_EQ(sorted[nVictim + c.nFromGap], Seek(CEDB_SEEK_CURRENT, static_cast<DWORD>(c.nStep), &dwIndex));
        EXPECT_EQ(static_cast<DWORD>(nVictim + c.nFromGap), dwIndex);
    }
}

TEST_F(SeekTest, FromTheGapBehindTheLastRecordThereIsOnlyTheWayBack)
{
    Seek(CEDB_SEEK_END, 0);
    EXPECT_WORKS(::CeDeleteRecord(m_db, m_sorted[9]));
    EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    EXPECT_EQ(m_sorted[8], Seek(CEDB_SEEK_CURRENT, kBack1));
    EXPECT_WORKS(::CeDeleteRecord(m_db, m_sorted[8]));
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(CEDB_SEEK_CURRENT, 1));
    ExpectAtEnd();
}

TEST_F(SeekTest, DeletingEveryCurrentRecordByStepsOfOneSkipsNone)
{
    std::vector<CEOID> seen;
    for (CEOID oid = Seek(CEDB_SEEK_BEGINNING, 0); oid; oid = Seek(CEDB_SEEK_CURRENT, 1)) {
        seen.push_back(oid);
        EXPECT_WORKS(::CeDeleteRecord(m_db, oid));
    }
    EXPECT_EQ(m_sorted, seen);
    EXPECT_EQ(0u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(SeekTest, DeletingBySkippingStepsEnds)
{
    Seek(CEDB_SEEK_BEGINNING, 0);
    int nDeleted = 0;
    while (const CEOID oid = Seek(CEDB_SEEK_CURRENT, 2)) {
        ASSERT_WORKS(::CeDeleteRecord(m_db, oid));
        ASSERT_LT(++nDeleted, 11);
    }
    EXPECT_EQ(10u - nDeleted, CountRecords(m_guid, m_oidDatabase));
    EXPECT_GT(nDeleted, 3);
}

TEST_F(SeekTest, DeletingAnotherRecordMovesOnlyTheIndex)
{
    Seek(CEDB_SEEK_BEGINNING, 5);
    EXPECT_WORKS(::CeDeleteRecord(m_db, m_sorted[2]));
    DWORD dwIndex = 99;
    EXPECT_EQ(m_sorted[5], Seek(CEDB_SEEK_CURRENT, 0, &dwIndex));
    EXPECT_EQ(4u, dwIndex);
}

TEST_F(SeekTest, ARecordCreatedBeforeThePointerMovesOnlyTheIndex)
{
    Seek(CEDB_SEEK_BEGINNING, 5);
    EXPECT_WORKS(Write(OpenDb(m_guid, m_oidDatabase), 0, CProps().I4(1, 15)));
    DWORD dwIndex = 99;
    EXPECT_EQ(m_sorted[5], Seek(CEDB_SEEK_CURRENT, 0, &dwIndex));
    EXPECT_EQ(6u, dwIndex);
}

TEST_F(SeekTest, ARecordThatMovesTakesThePointerAlong)
{
    Seek(CEDB_SEEK_BEGINNING, 2); // 30
    EXPECT_WORKS(Write(OpenDb(m_guid, m_oidDatabase), m_sorted[2], CProps().I4(1, 85)));
    DWORD dwIndex = 99;
    EXPECT_EQ(m_sorted[2], Seek(CEDB_SEEK_CURRENT, 0, &dwIndex));
    EXPECT_EQ(7u, dwIndex);
    EXPECT_EQ(m_sorted[8], Seek(CEDB_SEEK_CURRENT, 1)); // 90
}

TEST_F(SeekTest, AWriteLeavesThePointerOnItsRecord)
{
    Seek(CEDB_SEEK_BEGINNING, 0);
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 45));
    EXPECT_EQ(oid, Read(m_db).oid);
    EXPECT_EQ(m_sorted[4], Seek(CEDB_SEEK_CURRENT, 1)) << "50 follows 45";
    EXPECT_WORKS(Write(m_db, m_sorted[0], CProps().I4(1, 95)));
    EXPECT_EQ(m_sorted[9], Seek(CEDB_SEEK_CURRENT, 1)) << "100 follows 95";
}

TEST_F(SeekTest, ALongWalkSeesEveryRecordOnce)
{
    for (int i = 0; i < 3000; ++i) ASSERT_WORKS(Write(m_db, 0, CProps().I4(1, (i * 7919) % 3001)));
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ(3010u, CountRecords(m_guid, m_oidDatabase));
}

} // namespace
