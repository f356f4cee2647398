// Batches: many calls, one transaction.
#include "agent.h"
#include "no_memory.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);

class BatchTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"batch", {Order({{kNumber}})});
        m_db = OpenDb(m_guid, m_oidDatabase, kNumber);
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    DWORD Count() { return static_cast<DWORD>(WalkForward(OpenDb(m_guid, m_oidDatabase)).size()); }
    CEOID m_oidDatabase = 0;
    CDb m_db;
};

TEST_F(BatchTest, ACommittedBatchStays)
{
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    for (int i = 0; i < 100; ++i) EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 100 - i)));
    EXPECT_WORKS(::CeDeleteRecord(m_db, WalkForward(m_db)[0]));
    EXPECT_EQ(99u, Count()) << "the batch's own changes are seen at once";
    EXPECT_EQ(99u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ(99u, Count());
    m_db.Close();
    Remount();
    EXPECT_EQ(99u, Count());
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, RecordsThatComeOneAfterTheOtherFillTheirPages)
{
    constexpr int kRecords = 4000;
    const std::wstring text(100, L'x');
    const CEOID oidFirst = MakeDatabase(m_guid, L"first"), oidNext = MakeDatabase(m_guid, L"next");
    CDb first = OpenDb(m_guid, oidFirst);
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    {
        // The next database begins on the page that the first one ends on.
        const CDb next = OpenDb(m_guid, oidNext);
        for (int i = 0; i < 10; ++i) EXPECT_WORKS(Write(next, 0, CProps().I4(1, i)));
    }
    for (int i = 0; i < kRecords; ++i) EXPECT_WORKS(Write(first, 0, CProps().I4(1, i).Text(2, text)));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ("", CheckVolume(m_guid));
    first.Close();
    m_db.Close();
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    EXPECT_TRUE(::GetFileAttributesExW(m_strPath.c_str(), GetFileExInfoStandard, &data));
    // A record takes 130 bytes; in pages that LMDB splits in halves they would be 860 KB.
    EXPECT_LT(data.nFileSizeLow, 700000u);
}

TEST_F(BatchTest, ALargeRecordThatShrinksInTheBatchThatMadeItIsSound)
{
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).Text(2, std::wstring(20000, L'x')));
    EXPECT_WORKS(oid);
    EXPECT_WORKS(Write(m_db, oid, CProps().Text(2, L"short")));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ("", CheckVolume(m_guid));
    m_db.Close();
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    EXPECT_WORKS(::CeCompactDBVol(m_strPath.c_str(), nullptr, 0));
    EXPECT_WORKS(::CeMountDBVol(&m_guid, m_strPath.data(), OPEN_EXISTING));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, AnAbandonedBatchNeverWas)
{
    const CEOID kept = Write(m_db, 0, CProps().I4(1, 1)), deleted = Write(m_db, 0, CProps().I4(1, 2));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(Write(m_db, kept, CProps().I4(1, 10)));
    EXPECT_WORKS(::CeDeleteRecord(m_db, deleted));
    const CEOID oidNew = Write(m_db, 0, CProps().I4(1, 3));
    const CEOID oidDatabase = MakeDatabase(m_guid, L"in the batch", {Order({{kNumber}})});
    EXPECT_WORKS(Write(OpenDb(m_guid, oidDatabase, kNumber), 0, CProps().I4(1, 1)));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    EXPECT_EQ((std::vector<CEOID>{kept, deleted}), WalkForward(m_db));
    EXPECT_EQ("1:I4=1", ReadOid(m_db, kept).strContent);
    CEOIDINFO info;
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx(&m_guid, oidNew, &info));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx(&m_guid, oidDatabase, &info));
    EXPECT_WORKS(MakeDatabase(m_guid, L"in the batch"));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, APointerOnARecordThatTheAbandonedBatchMadeIsOnADeletedOne)
{
    Write(m_db, 0, CProps().I4(1, 1));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 2)));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    EXPECT_WORKS(::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr));
    EXPECT_EQ("1:I4=1", Read(m_db).strContent);
}

TEST_F(BatchTest, ARecordThatTheAbandonedBatchDeletedIsUnderThePointerAgain)
{
    const CEOID oidFirst = Write(m_db, 0, CProps().I4(1, 1)), oid = Write(m_db, 0, CProps().I4(1, 2)),
                oidLast = Write(m_db, 0, CProps().I4(1, 3));
    EXPECT_EQ(oid, ::CeSeekDatabase(m_db, CEDB_SEEK_CEOID, oid, nullptr));
    CDb increment = OpenDb(m_guid, m_oidDatabase, kNumber, CEDB_AUTOINCREMENT);
    EXPECT_EQ(oidFirst, Read(increment).oid);
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(::CeDeleteRecord(m_db, oid));
    EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    EXPECT_EQ(oid, Read(m_db).oid);
    EXPECT_EQ(oid, ::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, 0, nullptr));
    EXPECT_EQ(oidLast, ::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, 1, nullptr));
    EXPECT_EQ(oid, Read(increment).oid);
    // One that is gone for good stays gone whatever else is abandoned.
    EXPECT_WORKS(::CeDeleteRecord(m_db, oidLast));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    increment.Close();
}

TEST_F(BatchTest, AnOidOfAnAbandonedBatchIsNotGivenOutAgainByAnybody)
{
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open batch");
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    const CEOID oidGone = Write(m_db, 0, CProps().I4(1, 1));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    const CEOID oidOther = agent.DoForOid("write 0 2");
    EXPECT_GT(oidOther, oidGone);
    EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    EXPECT_EQ(0u, agent.Finish());
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    const CEOID oidGoneToo = Write(m_db, 0, CProps().I4(1, 3));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    m_db.Close();
    Remount();
    m_db = OpenDb(m_guid, m_oidDatabase, kNumber);
    EXPECT_GT(Write(m_db, 0, CProps().I4(1, 4)), oidGoneToo);
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, ABatchEndsAlsoWhenWhoeverMountedTheVolumeHasGone)
{
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    m_db.Close();
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    EXPECT_WORKS(::CeBeginBatch(&m_guid)) << "the name is good in every process";
    {
        const CDb db = OpenDb(m_guid, m_oidDatabase, kNumber);
        EXPECT_WORKS(Write(db, 0, CProps().I4(1, 1)));
    }
    EXPECT_EQ(0u, agent.Finish());
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ(1u, Count());
}

TEST_F(BatchTest, ADatabaseMadeAfterAnAbandonedBatchHasNothingOfTheOneMadeInIt)
{
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    const CEOID oidGone = MakeDatabase(m_guid, L"gone", {Order({{kNumber}})});
    CDb gone = OpenDb(m_guid, oidGone, kNumber);
    EXPECT_WORKS(Write(gone, 0, CProps().I4(1, 5).Text(2, L"gone")));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    const CEOID oidNew = MakeDatabase(m_guid, L"new", {Order({{Prop(2, CEVT_LPWSTR)}})});
    EXPECT_NE(oidGone, oidNew) << "an open handle of the one must not become one of the other";
    EXPECT_FAILS(ERROR_INVALID_HANDLE, Write(gone, 0, CProps().I4(1, 6)));
    EXPECT_EQ(0u, CountRecords(m_guid, oidNew));
    {
        const CDb db = OpenDb(m_guid, oidNew);
        EXPECT_WORKS(Write(db, 0, CProps().I4(1, 7).Text(2, L"new")));
        EXPECT_EQ(1u, WalkForward(db).size());
    }
    EXPECT_EQ("", CheckVolume(m_guid));
    gone.Close();
    Remount();
    EXPECT_EQ(1u, CountRecords(m_guid, oidNew));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, BatchesDoNotNestAndEndOnce)
{
    EXPECT_FAILS(ERROR_NO_DATA, ::CeCommitBatch(&m_guid));
    EXPECT_FAILS(ERROR_NO_DATA, ::CeAbandonBatch(&m_guid));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_FAILS(ERROR_ALREADY_EXISTS, ::CeBeginBatch(&m_guid));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1)));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ(1u, Count()) << "the refused begin did not end the first";
    EXPECT_FAILS(ERROR_NO_DATA, ::CeCommitBatch(&m_guid));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    EXPECT_FAILS(ERROR_NO_DATA, ::CeAbandonBatch(&m_guid));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(::CeCommitBatch(&m_guid)) << "an empty batch";
}

TEST_F(BatchTest, UnknownVolumesAreRefused)
{
    CEGUID unknown = {1, 2, 3, 4}, invalid = InvalidGuid();
    for (CEGUID* pGuid : {&unknown, &invalid, static_cast<CEGUID*>(nullptr)}) {
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeBeginBatch(pGuid));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCommitBatch(pGuid));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeAbandonBatch(pGuid));
    }
}

TEST_F(BatchTest, TheObjectStoreHasBatchesToo)
{
    CEGUID guid = SystemGuid();
    EXPECT_WORKS(::CeBeginBatch(&guid));
    const CEOID oid = MakeDatabase(guid, L"batch test");
    EXPECT_WORKS(::CeAbandonBatch(&guid));
    CEOIDINFO info;
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfo(oid, &info));
}

TEST_F(BatchTest, BatchesOnTwoVolumesAreTwo)
{
    CEGUID other = MountVolume(m_folder.File(L"other.vol"), CREATE_NEW);
    const CEOID oidOther = MakeDatabase(other, L"o");
    CDb dbOther = OpenDb(other, oidOther);
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(::CeBeginBatch(&other));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1)));
    EXPECT_WORKS(Write(dbOther, 0, CProps().I4(1, 1)));
    EXPECT_WORKS(::CeAbandonBatch(&other));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ(1u, Count());
    EXPECT_EQ(0u, WalkForward(dbOther).size());
    dbOther.Close();
    EXPECT_WORKS(::CeUnmountDBVol(&other));
}

TEST_F(BatchTest, OtherProcessesSeeAllOfItOrNothing)
{
    Write(m_db, 0, CProps().I4(1, 1));
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    EXPECT_EQ(std::to_string(m_oidDatabase), agent.Do("open batch " + std::to_string(kNumber)));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    for (const long n : {2, 3, 4}) EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, n)));
    EXPECT_EQ("list 1:I4=1", agent.Do("list"));
    EXPECT_EQ("check ", agent.Do("check"));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ("list 1:I4=1 1:I4=2 1:I4=3 1:I4=4", agent.Do("list"));
}

TEST_F(BatchTest, AWriterInAnotherProcessWaitsForTheEndOfTheBatch)
{
    CChild writer(L"agent", {m_strPath});
    writer.Send("mount 3");
    writer.ReadLine();
    writer.Send("open batch");
    writer.ReadLine();
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1)));
    writer.Send("write 0 2");
    for (int i = 0; i < 2000; ++i) EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 3)));
    EXPECT_EQ(2001u, Count()) << "the other process wrote into the batch";
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_NE(0u, std::strtoul(writer.ReadLine().c_str(), nullptr, 10));
    EXPECT_EQ(2002u, Count());
}

TEST_F(BatchTest, AFailingCallInABatchChangesNothing)
{
    m_db.Close();
    const CEOID oidUnique =
        MakeDatabase(m_guid, L"unique", {Order({{Prop(2, CEVT_LPWSTR)}}), Order({{kNumber}}, CEDB_SORT_UNIQUE)});
    CDb db = OpenDb(m_guid, oidUnique);
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    const CEOID one = Write(db, 0, CProps().I4(1, 1).Text(2, L"one"));
    EXPECT_WORKS(one);
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(db, 0, CProps().I4(1, 1).Text(2, L"second")));
    const CEOID two = Write(db, 0, CProps().I4(1, 2).Text(2, L"two"));
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(db, two, CProps().I4(1, 1).Text(2, L"changed")));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(db, 4711));
    CEDBASEINFOEX info = BaseInfo(L"UNIQUE");
    EXPECT_FAILS(ERROR_DUP_NAME, ::CeCreateDatabaseEx2(&m_guid, &info));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ("1:I4=2 2:TEXT=(3)two", ReadOid(db, two).strContent);
    EXPECT_EQ(2u, CountRecords(m_guid, oidUnique));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, ASeekInABatchForWhichThereIsNoMemoryLeavesNothingBehind)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    {
        const CNoMemory noMemory;
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr));
    }
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ(oid, ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr));
}

TEST_F(BatchTest, AKilledProcessLeavesNothingOfItsBatch)
{
    Write(m_db, 0, CProps().I4(1, 1));
    {
        CAgent agent(m_strPath);
        agent.Do("mount 3");
        agent.Do("open batch");
        EXPECT_EQ("1", agent.Do("begin"));
        for (int i = 0; i < 500; ++i) EXPECT_NE(0u, agent.DoForOid("write 0 7"));
        agent.Kill();
    }
    EXPECT_EQ(1u, Count());
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 2))) << "the dead process still has the right to write";
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    EXPECT_EQ("", CheckVolume(m_guid));
    m_db.Close();
    Remount();
    EXPECT_EQ(2u, Count());
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(BatchTest, AnUnmountAbandonsTheBatch)
{
    Write(m_db, 0, CProps().I4(1, 1));
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 2)));
    m_db.Close();
    Remount();
    EXPECT_EQ(1u, Count());
}

TEST_F(BatchTest, ABatchGrowsTheFileFromNothingToTwentyMegabytes)
{
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    std::vector<BYTE> bytes(CEDB_MAXPROPDATASIZE);
    for (int i = 0; i < 320; ++i) {
        for (size_t n = 0; n < bytes.size(); n += 100) bytes[n] = static_cast<BYTE>(n + i);
        ASSERT_WORKS(Write(m_db, 0, CProps().I4(1, i).Blob(3, bytes))) << i;
    }
    EXPECT_EQ(320u, WalkForward(m_db).size());
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    m_db.Close();
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    WIN32_FILE_ATTRIBUTE_DATA file = {};
    ASSERT_TRUE(::GetFileAttributesExW(m_strPath.c_str(), GetFileExInfoStandard, &file));
    EXPECT_GT(file.nFileSizeLow, 20u * 1000 * 1000);
    EXPECT_LT(file.nFileSizeLow, 24u * 1000 * 1000) << "out of proportion";
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    m_db = OpenDb(m_guid, m_oidDatabase, kNumber);
    const std::string strExpected = CProps().I4(1, 319).Blob(3, bytes).Render();
    EXPECT_EQ(strExpected, ReadOid(m_db, ::CeSeekDatabase(m_db, CEDB_SEEK_END, 0, nullptr)).strContent);
    EXPECT_EQ("", CheckVolume(m_guid));
}

} // namespace
