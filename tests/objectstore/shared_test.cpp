// What the processes of a volume share, from the inside: two of them clear away after a third that died.
#include "processlife.h"
#include "header.h"
#include "shared.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <functional>
#include <utility>

using namespace store;

namespace {

// Called when somebody asks whether a process is alive.
std::function<void()> g_whenAsked;
decltype(&::OpenProcess) g_pOpenProcess;

HANDLE WINAPI OpenProcessThen(DWORD dwAccess, BOOL bInherit, DWORD dwProcess)
{
    const HANDLE hProcess = g_pOpenProcess(dwAccess, bInherit, dwProcess);
    if (const auto then = std::exchange(g_whenAsked, nullptr)) then();
    return hProcess;
}

// Three processes are three objects of this one: a slot of the block is one's that died when it bears another start.
class SharedTest : public testing::Test
{
protected:
    SharedTest() : m_patch(nullptr, "OpenProcess", &OpenProcessThen)
    {
        g_pOpenProcess = reinterpret_cast<decltype(&::OpenProcess)>(m_patch.Original());
    }
    void SetUp() override
    {
        m_hFile = ::CreateFileW(m_strPath.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                nullptr, CREATE_NEW, 0, nullptr);
        ASSERT_NE(INVALID_HANDLE_VALUE, m_hFile);
        Enter(m_first);
        CBlockView view;
        ASSERT_EQ(0u, CStation::Instance().Take(m_hFile, m_strPath, m_dwRow, view));
        CStation::Instance().LetGo(m_dwRow, *view.Get());
        auto& dead = m_first->rgProcesses[kDead - 1];
        dead.dwProcess = ::GetCurrentProcessId();
        dead.ftStart = {OwnStart().dwLowDateTime + 1, 0};
    }
    void TearDown() override
    {
        g_whenAsked = nullptr;
        for (CShared* const pShared : {&m_first, &m_second}) {
            if (!pShared->Owner()) continue;
            pShared->LockOpening();
            pShared->Leave();
            pShared->UnlockOpening();
        }
        ::CloseHandle(m_hFile);
    }
    void Enter(CShared& shared)
    {
        ASSERT_EQ(0u, shared.Open(m_hFile, m_strPath));
        if (!shared.OthersAreHere()) shared.Reset(CVolumeHeader(), m_strPath);
        EXPECT_EQ(0u, shared.Enter());
        shared.UnlockOpening();
    }
    bool CanOpen()
    {
        if (!CStation::Instance().TryTakeAgain(m_dwRow)) return false;
        CStation::Instance().LetGo(m_dwRow, *m_first.operator->());
        return true;
    }

    static constexpr LONG kDead = 2; // its slot + 1, which is the next that somebody gets
    CTempFolder m_folder;
    const std::wstring m_strPath = m_folder.File(L"file");
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
    DWORD m_dwRow = 0;
    CShared m_first, m_second;
    const CImportPatch m_patch;
};

TEST_F(SharedTest, WhoGetsTheSlotOfADeadProcessKeepsIt)
{
    g_whenAsked = [&] {
        if (CanOpen()) Enter(m_second);
    };
    m_first.Lock();
    m_first.ForgetTheDead();
    m_first.Unlock();
    EXPECT_FALSE(g_whenAsked);
    if (!m_second.Owner()) Enter(m_second);
    EXPECT_EQ(kDead, m_second.Owner());
    EXPECT_EQ(::GetCurrentProcessId(), m_first->rgProcesses[kDead - 1].dwProcess);
}

TEST_F(SharedTest, TheLockOfADeadProcessIsTakenOver)
{
    m_first->lLock = kDead;
    m_first->lBatch = kDead;
    m_first->bChanging = 1;
    m_first.Lock();
    EXPECT_EQ(m_first.Owner(), m_first->lLock);
    EXPECT_EQ(0, m_first->lBatch);
    EXPECT_EQ(1, m_first->bNeedsRecovery);
    m_first.Unlock();
    EXPECT_TRUE(CanOpen());
}

TEST_F(SharedTest, TheLockOfWhoGotTheSlotOfADeadProcessIsNotTakenOver)
{
    m_first->lLock = kDead;
    bool bUnlocked = false;
    g_whenAsked = [&] {
        Enter(m_second); // which clears away after the dead one
        m_second.Lock();
        EXPECT_EQ(kDead, m_second.Owner());
        // The first asks twice before it believes, and then again.
        g_whenAsked = [&] {
            g_whenAsked = [&] {
                bUnlocked = true;
                m_second.Unlock();
            };
        };
    };
    m_first.Lock();
    EXPECT_TRUE(bUnlocked);
    m_first.Unlock();
    g_whenAsked = nullptr;
}

} // namespace
