// Switches the checker on as KORVANE_GUARD says, and makes a test fail that leaves blocks of ours behind.
#include "blocks.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <vector>

namespace guard {
namespace {

// Blocks that are made once, or that outlive their maker by contract: the function they come from, and why.
struct COnceOnly
{
    enum EWhere
    {
        kCalled, // it is on the stack
        kItself  // it is the one that allocates
    };
    const char* pszFunction;
    EWhere where;
    const char* pszWhy;
};
constexpr COnceOnly kOnceOnly[] = {
    {"InitLib", COnceOnly::kCalled,
     "the log writer of an earlier call and its open file live on until the process ends"},
    {"CRegistryKey_Initializer", COnceOnly::kCalled, "the root keys are static, and are made anew by each call"},
    {"WeightsFor", COnceOnly::kCalled, "the store's weights of a locale's characters are kept"},
    {"AddHandle", COnceOnly::kCalled, "the store's table of handles grows and stays"},
    {"COpenVolume::", COnceOnly::kCalled,
     "what the store knows of a volume until it is unmounted, which the object store never is"},
    {"vector<void**", COnceOnly::kCalled, "the same: its cursors"},
    {"CDatabase::SaveNewShape", COnceOnly::kCalled, "the same: the shapes of its databases' records"},
    {"CDatabase::ShapeFor", COnceOnly::kCalled, "the same"},
    {"Create(_CEGUID", COnceOnly::kCalled, "the same: what it knows of a database, a deleted one too"},
    {"kv_hold_pages", COnceOnly::kItself, "the same: its list of pages that are not used again yet"},
    {"CMounts::", COnceOnly::kCalled, "the store's list of volumes grows and stays"},
    {"CWatches::", COnceOnly::kItself, "the store's list of handles that are told of changes grows and stays"},
    {"CThreadState::Get", COnceOnly::kItself, "the framework's state of a thread, until the thread ends"},
    {"AfxRegisterWndClass", COnceOnly::kCalled, "the name of the thread's last class stays with its state"},
    {"_Hashtable<void*", COnceOnly::kItself, "the thread's tables of handles grow and stay"},
};

// What the framework makes for handles that come from elsewhere lives until the thread is idle: a test has no such
// moment, so that it is done here.
void DeleteTemporaries()
{
    const HMODULE hFramework = ::GetModuleHandleW(L"korvaneafx.dll");
    if (!hFramework) return;
    for (const char* pszName : {"_ZN4CWnd13DeleteTempMapEv@0", "_ZN3CDC13DeleteTempMapEv@0",
                                "_ZN10CGdiObject13DeleteTempMapEv@0", "_ZN5CMenu13DeleteTempMapEv@0"}) {
        const auto deleteTemporaries =
            reinterpret_cast<void(WINAPI*)()>(reinterpret_cast<INT_PTR>(::GetProcAddress(hFramework, pszName)));
        ASSERT_NE(nullptr, deleteTemporaries) << pszName;
        deleteTemporaries();
    }
}

class CLeakListener : public testing::EmptyTestEventListener
{
public:
    void OnTestStart(const testing::TestInfo&) override
    {
        BeginTest();
        m_ullBefore = LastBlock();
    }

    void OnTestEnd(const testing::TestInfo&) override
    {
        DeleteTemporaries();
        std::vector<CBlock> blocks(CountOurs(m_ullBefore));
        CopyOurs(m_ullBefore, blocks.data(), static_cast<DWORD>(blocks.size()));
        int nLeaks = 0;
        for (const CBlock& block : blocks) {
            if (IsOnceOnly(block)) continue;
            if (++nLeaks <= kMostTold) TellBlock(block);
        }
        EXPECT_EQ(0, nLeaks) << "blocks that the test left allocated; see above for who allocated them";
    }

    void OnTestProgramEnd(const testing::UnitTest&) override
    {
        const CFigures figures = Figures();
        std::printf("guard: %lu blocks, %lu of them without a page of their own, at most %lu at a time\n",
                    static_cast<unsigned long>(figures.ullBlocks), static_cast<unsigned long>(figures.ullPlain),
                    static_cast<unsigned long>(figures.dwMostLive));
    }

private:
    static constexpr int kMostTold = 10;

    static bool Names(const void* pv, const COnceOnly& onceOnly)
    {
        char szName[300];
        Describe(pv, szName, sizeof(szName));
        return std::strstr(szName, onceOnly.pszFunction) != nullptr;
    }

    static bool IsOnceOnly(const CBlock& block)
    {
        for (const COnceOnly& onceOnly : kOnceOnly) {
            if (Names(block.pvOurs, onceOnly)) return true;
            if (onceOnly.where == COnceOnly::kItself) continue;
            for (int i = 0; i < kFrames && block.allocated.frames[i]; ++i) {
                if (Names(block.allocated.frames[i], onceOnly)) return true;
            }
        }
        return false;
    }

    ULONGLONG m_ullBefore = 0;
};

EPlace PlaceFromEnvironment()
{
    wchar_t szPlace[8] = L"";
    if (!::GetEnvironmentVariableW(L"KORVANE_GUARD", szPlace, 8)) return EPlace::kOff;
    if (std::wcscmp(szPlace, L"behind") == 0) return EPlace::kBehind;
    if (std::wcscmp(szPlace, L"before") == 0) return EPlace::kBefore;
    std::fprintf(stderr, "KORVANE_GUARD is behind or before\n");
    std::abort();
}

const bool g_bStarted = [] {
    const EPlace place = PlaceFromEnvironment();
    if (place == EPlace::kOff) return false;
    TurnOn(place);
    testing::UnitTest::GetInstance()->listeners().Append(new CLeakListener);
    return true;
}();

} // namespace
} // namespace guard
