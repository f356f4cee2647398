// Two processes on one volume.
#include "agent.h"
#include "support/import_patch.h"

#include <functional>
#include <memory>
#include <utility>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
const std::string kByNumber = std::to_string(kNumber);

class ProcessTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"shared", {Order({{kNumber}})});
        m_db = OpenDb(m_guid, m_oidDatabase, kNumber);
        m_pAgent = std::make_unique<CAgent>(m_strPath);
        EXPECT_EQ(RenderGuid(m_guid), m_pAgent->Do("mount 3"));
        EXPECT_EQ(std::to_string(m_oidDatabase), m_pAgent->Do("open shared " + kByNumber));
    }
    void TearDown() override
    {
        m_pAgent.reset();
        m_db.Close();
        VolumeTest::TearDown();
    }
    CEOID m_oidDatabase = 0;
    CDb m_db;
    std::unique_ptr<CAgent> m_pAgent;
};

TEST_F(ProcessTest, EachSeesTheOthersChangesAtItsNextCall)
{
    for (int i = 0; i < 100; ++i) {
        const CEOID mine = Write(m_db, 0, CProps().I4(1, i));
        EXPECT_EQ("1:I4=" + std::to_string(i), m_pAgent->Do("read " + std::to_string(mine)));
        EXPECT_EQ(std::to_string(mine), m_pAgent->Do("write " + std::to_string(mine) + " " + std::to_string(-i)));
        EXPECT_EQ("1:I4=" + std::to_string(-i), ReadOid(m_db, mine).strContent);
        const CEOID theirs = m_pAgent->DoForOid("write 0 1000");
        EXPECT_GT(theirs, mine);
        EXPECT_EQ("1:I4=1000", ReadOid(m_db, theirs).strContent);
        EXPECT_EQ("1", m_pAgent->Do("remove " + std::to_string(theirs)));
        EXPECT_EQ(static_cast<DWORD>(ERROR_KEY_DELETED), Read(m_db).dwError);
    }
    EXPECT_EQ(100u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ("check ", m_pAgent->Do("check"));
}

TEST_F(ProcessTest, AWalkGoesOnAcrossTheOthersChanges)
{
    for (const long n : {10, 20, 30, 40}) Write(m_db, 0, CProps().I4(1, n));
    const CEOID first = ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr);
    m_pAgent->Do("write 0 15");
    ::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, 1, nullptr);
    EXPECT_EQ("1:I4=15", Read(m_db).strContent);
    EXPECT_EQ(std::to_string(first), m_pAgent->Do("write " + std::to_string(first) + " 35"));
    ::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, 1, nullptr);
    EXPECT_EQ("1:I4=20", Read(m_db).strContent);
    EXPECT_EQ("1", m_pAgent->Do("remove " + std::to_string(first)));
    ::CeSeekDatabase(m_db, CEDB_SEEK_CURRENT, 2, nullptr);
    EXPECT_EQ("1:I4=40", Read(m_db).strContent);
}

TEST_F(ProcessTest, TheFileGrowsUnderBoth)
{
    for (int nRound = 0; nRound < 20; ++nRound) {
        for (int i = 0; i < 10; ++i) {
            EXPECT_WORKS(
                Write(m_db, 0, CProps().I4(1, nRound).Blob(2, std::vector<BYTE>(30000, static_cast<BYTE>(i)))));
        }
        EXPECT_NE(0u, m_pAgent->DoForOid("write 0 " + std::to_string(nRound)));
    }
    EXPECT_EQ("check ", m_pAgent->Do("check"));
    EXPECT_EQ(220u, CountRecords(m_guid, m_oidDatabase));
}

std::function<void()> g_whenMapped;

LPVOID WINAPI MapThen(HANDLE hMapping, DWORD dwAccess, DWORD dwHigh, DWORD dwLow, SIZE_T cb, LPVOID pAt)
{
    const LPVOID p = ::MapViewOfFileEx(hMapping, dwAccess, dwHigh, dwLow, cb, pAt);
    if (const auto then = std::exchange(g_whenMapped, nullptr)) then();
    return p;
}

TEST_F(ProcessTest, TheFileGrowsWhileAnotherOpensIt)
{
    m_db.Close();
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    {
        const CImportPatch patch(L"korvanestore.dll", "MapViewOfFileEx", &MapThen);
        g_whenMapped = [&] { m_pAgent->Do("grow 100"); };
        m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        EXPECT_FALSE(g_whenMapped);
    }
    EXPECT_EQ(100u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(ProcessTest, TwoProcessesLetTheFileGrowAtOnce)
{
    CAgent other(m_strPath);
    other.Do("mount 3");
    other.Do("open shared");
    for (int nRound = 0; nRound < 3; ++nRound) {
        m_pAgent->Begin("grow 150");
        other.Begin("grow 150");
        for (int i = 0; i < 100; ++i) ASSERT_WORKS(Write(m_db, 0, CProps().I4(1, i)));
        EXPECT_EQ("done", m_pAgent->End());
        EXPECT_EQ("done", other.End());
    }
    EXPECT_EQ(1200u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ("check ", other.Do("check"));
    EXPECT_LE(ReadWholeFile(m_strPath).size(), 900u * 32768 + (8u << 20));
}

TEST_F(ProcessTest, ADatabaseCreatedThereIsUsedHere)
{
    const CEOID oid = m_pAgent->DoForOid("database theirs");
    EXPECT_NE(0u, oid);
    CEDBASEINFOEX info = BaseInfo(L"THEIRS");
    EXPECT_FAILS(ERROR_DUP_NAME, ::CeCreateDatabaseEx2(&m_guid, &info));
    const CDb db = OpenDb(m_guid, oid, kNumber);
    EXPECT_WORKS(Write(db, 0, CProps().I4(1, 1)));
    EXPECT_EQ("error 32", m_pAgent->Do("drop " + std::to_string(oid)));
}

TEST_F(ProcessTest, TheVolumeStaysWhenOneOfThemLeaves)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 5));
    EXPECT_EQ("1", m_pAgent->Do("shut"));
    EXPECT_EQ("1", m_pAgent->Do("unmount"));
    EXPECT_EQ("1:I4=5", ReadOid(m_db, oid).strContent);
    EXPECT_EQ(RenderGuid(m_guid), m_pAgent->Do("mount 3"));
    EXPECT_EQ(std::to_string(m_oidDatabase), m_pAgent->Do("open shared"));
    m_db.Close();
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    EXPECT_EQ("1:I4=5", m_pAgent->Do("read " + std::to_string(oid)));
    EXPECT_NE(0u, m_pAgent->DoForOid("write 0 6"));
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ(2u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(ProcessTest, AFlushOfEitherIsAFlushOfTheVolume)
{
    for (int i = 0; i < 50; ++i) {
        EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, i)));
        EXPECT_NE(0u, m_pAgent->DoForOid("write 0 " + std::to_string(i)));
        if (i % 10 == 4) {
            EXPECT_WORKS(::CeFlushDBVol(&m_guid));
        } else if (i % 10 == 9) {
            EXPECT_EQ("1", m_pAgent->Do("flush"));
        }
    }
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ(100u, CountRecords(m_guid, m_oidDatabase));
}

// Each process increments its own numbers of one record as fast as it can; nothing is lost.
int RunCounter(const CArguments& arguments)
{
    CEGUID guid = MountVolume(arguments.at(0), OPEN_EXISTING);
    const WORD wMine = static_cast<WORD>(_wtoi(arguments.at(1).c_str()));
    CEOID oidDatabase = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oidDatabase, const_cast<LPWSTR>(L"shared"), kNumber, 0, nullptr));
    Say("ready");
    std::string strLine;
    Hear(strLine);
    CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr);
    for (long i = 1; i <= 3000; ++i) {
        if (Write(db, oid, CProps().I4(wMine, i)) != oid) return static_cast<int>(::GetLastError());
        if (i % 10 == 0 && !Write(db, 0, CProps().I4(1, i).I4(50, wMine))) return static_cast<int>(::GetLastError());
        if (ReadOid(db, oid).oid != oid) return 97;
    }
    return 0;
}

const CRole g_counter(L"counter", RunCounter);

TEST_F(ProcessTest, ThreeWritersAtOnceLoseNothing)
{
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 0));
    std::vector<std::unique_ptr<CChild>> children;
    for (const wchar_t* psz : {L"11", L"12", L"13"})
        children.push_back(std::make_unique<CChild>(L"counter", CArguments{m_strPath, psz}));
    for (auto& pChild : children) EXPECT_EQ("ready", pChild->ReadLine());
    for (auto& pChild : children) pChild->Send("go");
    for (auto& pChild : children) EXPECT_EQ(0u, pChild->Finish());
    EXPECT_EQ("1:I4=0 11:I4=3000 12:I4=3000 13:I4=3000", ReadOid(m_db, oid).strContent);
    EXPECT_EQ(901u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ("", CheckVolume(m_guid));
}

DWORD WINAPI WriteFromThread(void* pDb)
{
    for (int i = 0; i < 1000; ++i) {
        if (!Write(static_cast<HANDLE>(pDb), 0, CProps().I4(1, i))) return 1;
    }
    return 0;
}

TEST_F(ProcessTest, FourThreadsOnOneHandleAndOnTheirOwnLoseNothing)
{
    CDb own[2] = {OpenDb(m_guid, m_oidDatabase), OpenDb(m_guid, m_oidDatabase)};
    HANDLE rgThreads[4];
    for (int i = 0; i < 4; ++i)
        rgThreads[i] = ::CreateThread(nullptr, 0, WriteFromThread,
                                      i < 2 ? static_cast<HANDLE>(own[i]) : static_cast<HANDLE>(m_db), 0, nullptr);
    ::WaitForMultipleObjects(4, rgThreads, TRUE, INFINITE);
    for (const HANDLE hThread : rgThreads) {
        DWORD dwExitCode = 9;
        ::GetExitCodeThread(hThread, &dwExitCode);
        EXPECT_EQ(0u, dwExitCode);
        CloseHandle(hThread);
    }
    EXPECT_EQ(4000u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ("", CheckVolume(m_guid));
}

} // namespace
