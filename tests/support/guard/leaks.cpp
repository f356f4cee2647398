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
    const char* pszFunction;
    const char* pszWhy;
};
constexpr COnceOnly kOnceOnly[] = {
    {"InitLib", "the log writer of an earlier call and its open file live on until the process ends"},
    {"CRegistryKey_Initializer", "the root keys are static, and are made anew by each call"},
    {"cxa_throw", "the run-time library's own of a thread's first exception, and its index of the unwind tables"},
    {"cxa_allocate_exception", "the same"},
    {"WeightsFor", "the store's weights of a locale's characters are kept"},
    {"AddHandle", "the store's table of handles grows and stays"},
    {"COpenVolume::", "what the store knows of a volume until it is unmounted, which the object store never is"},
    {"vector<void**", "the same: its cursors"},
    {"CMounts::", "the store's list of volumes grows and stays"},
};

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

    bool IsOnceOnly(const CBlock& block)
    {
        for (int i = 0; i < kFrames && block.allocated.frames[i]; ++i) {
            char szName[300];
            Describe(block.allocated.frames[i], szName, sizeof(szName));
            for (const COnceOnly& onceOnly : kOnceOnly) {
                if (std::strstr(szName, onceOnly.pszFunction)) return true;
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
