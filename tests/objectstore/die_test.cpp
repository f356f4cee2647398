// A process that dies inside the store, with the writer's place taken: at each of the system's calls that a change makes.
// The others go on as if it had never begun, or had ended well; nobody waits for it.
#include "agent.h"
#include "child.h"
#include "no_memory.h"
#include "support.h"
#include "support/import_patch.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr DWORD kLongestTakeover = 10000; // milliseconds

int g_nCall = 0, g_nDieAt = 0;

// Before the call, or after it.
void MayDie()
{
    if (++g_nCall == g_nDieAt) ::TerminateProcess(::GetCurrentProcess(), 77);
}

BOOL WINAPI DyingWrite(HANDLE hFile, LPCVOID p, DWORD cb, LPDWORD pcb, LPOVERLAPPED pOverlapped)
{
    MayDie();
    if (g_nCall + 1 == g_nDieAt) {
        ::WriteFile(hFile, p, cb / 2, pcb, pOverlapped);
        MayDie();
    }
    const BOOL bDone = ::WriteFile(hFile, p, cb, pcb, pOverlapped);
    MayDie();
    return bDone;
}

BOOL WINAPI DyingFlush(HANDLE hFile)
{
    MayDie();
    const BOOL bDone = ::FlushFileBuffers(hFile);
    MayDie();
    return bDone;
}

LPVOID WINAPI DyingMap(HANDLE hMapping, DWORD dwAccess, DWORD dwHigh, DWORD dwLow, SIZE_T cb, LPVOID pAt)
{
    MayDie();
    return ::MapViewOfFileEx(hMapping, dwAccess, dwHigh, dwLow, cb, pAt);
}

// Arguments: the volume, what to do, the call to die at.
int RunDying(const CArguments& arguments)
{
    CEGUID guid = MountVolume(arguments.at(0), OPEN_EXISTING);
    CEOID oid = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(L"dying"), 0, 0, nullptr));
    const CImportPatch write(L"korvanestore.dll", "WriteFile", &DyingWrite);
    const CImportPatch flush(L"korvanestore.dll", "FlushFileBuffers", &DyingFlush);
    const CImportPatch map(L"korvanestore.dll", "MapViewOfFileEx", &DyingMap);
    const std::wstring& strWhat = arguments.at(1);
    g_nDieAt = _wtoi(arguments.at(2).c_str());
    if (strWhat != L"flush") Write(db, 0, CProps().I4(1, 1).Blob(2, std::vector<BYTE>(strWhat == L"grow" ? 65000 : 5)));
    if (strWhat == L"flush") ::CeFlushDBVol(&guid);
    if (strWhat == L"batch") {
        ::CeBeginBatch(&guid);
        for (int i = 0; i < 20; ++i) Write(db, 0, CProps().I4(1, i).Blob(2, std::vector<BYTE>(40000)));
        ::CeAbandonBatch(&guid);
    }
    g_nDieAt = 0;
    Say("lived");
    std::string strEnd;
    Hear(strEnd);
    return 0;
}

const CRole g_dying(L"dying", RunDying);

class DieTest : public VolumeTest, public testing::WithParamInterface<const wchar_t*>
{
protected:
    DWORD Count() { return CountRecords(m_guid, m_oid); }
    CEOID m_oid = 0;
};

TEST_P(DieTest, TheOthersGoOn)
{
    const std::wstring strWhat = GetParam();
    m_oid = MakeDatabase(m_guid, L"dying", {Order({{kNumber}})});
    int nDeaths = 0;
    // A batch makes many calls, most of them alike.
    const int nStep = strWhat == L"batch" && !IsLongRun() ? 9 : 1;
    for (int nDieAt = 1;; nDieAt += nStep) {
        SCOPED_TRACE(nDieAt);
        // Each time with a volume that nobody has changed yet, and again with one that is in use and not flushed.
        const bool bInUse = nDieAt % 2 || strWhat == L"flush";
        ASSERT_NO_FATAL_FAILURE(Remount());
        CDb db = OpenDb(m_guid, m_oid, kNumber);
        if (bInUse) {
            for (long i = 0; i < 30; ++i) ASSERT_WORKS(Write(db, 0, CProps().I4(1, i)));
        }
        const DWORD nBefore = Count();
        CChild child(L"dying", {m_strPath, strWhat, std::to_wstring((nDieAt + 1) / 2)});
        const bool bLived = child.ReadLine() == "lived";
        if (!bLived) {
            ++nDeaths;
            ASSERT_EQ(77u, child.Finish());
        } else {
            ASSERT_EQ(0u, child.Finish());
        }
        const DWORD dwStart = ::GetTickCount();
        const CEOID oid = Write(db, 0, CProps().I4(1, 4711));
        ASSERT_WORKS(oid);
        EXPECT_LT(::GetTickCount() - dwStart, kLongestTakeover);
        const DWORD nNow = Count() - 1;
        EXPECT_TRUE(nNow == nBefore || nNow == nBefore + 1) << nBefore << " before, " << nNow << " now";
        ASSERT_EQ("", CheckVolume(m_guid));
        ASSERT_WORKS(::CeFlushDBVol(&m_guid));
        ASSERT_EQ("", CheckVolume(m_guid));
        db.Close();
        if (bLived && !bInUse) break;
        if (bLived && strWhat == L"flush") break;
    }
    EXPECT_GT(nDeaths, 2);
}

INSTANTIATE_TEST_SUITE_P(Changes, DieTest, testing::Values(L"write", L"grow", L"flush", L"batch"));

class DeadVolumeTest : public VolumeTest
{
};

TEST_F(DeadVolumeTest, WithoutMemoryForARecoveryAChangeFailsAndNobodyWaitsForIt)
{
    const CEOID oidDatabase = MakeDatabase(m_guid, L"dying", {Order({{kNumber}})});
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open dying");
    EXPECT_NE(0u, agent.DoForOid("write 0 7"));
    agent.Kill();
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    const CDb db = OpenDb(m_guid, oidDatabase, kNumber);
    {
        const CNoMemory noMemory;
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, Write(db, 0, CProps().I4(1, 8)));
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeFlushDBVol(&m_guid));
    }
    EXPECT_WORKS(Write(db, 0, CProps().I4(1, 8)));
    EXPECT_EQ(2u, CountRecords(m_guid, oidDatabase));
    EXPECT_EQ("", CheckVolume(m_guid));
}

} // namespace
