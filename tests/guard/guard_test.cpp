// Proves that the memory checker finds what it is there to find. Each misdeed is done by this program, started again.
#include "support/guard/guard.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <afx.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

// What a second process does, with a block of ten bytes unless it says otherwise. The volatile pointers keep the
// compiler from seeing what is done.
void OverrunByOne()
{
    volatile char* volatile p = new char[10];
    p[10] = 1;
}

void ReadOneBehind()
{
    volatile char* volatile p = new char[10];
    volatile char* volatile pBehind = p + 10;
    std::printf("%d", *pBehind);
}

void UnderrunByOne()
{
    volatile char* volatile p = new char[10];
    volatile char* volatile pBefore = p - 1;
    *pBefore = 1;
}

// The next page is too far away to tell: found when the block is freed.
void SpoilAndFree(int nOffset)
{
    volatile char* volatile p = static_cast<char*>(std::malloc(10));
    volatile char* volatile pSpoilt = p + nOffset;
    *pSpoilt = 1;
    std::free(const_cast<char*>(p));
}

void UseAfterFree()
{
    int* volatile p = new int(5);
    int* volatile pGone = p;
    delete p;
    std::printf("%d", *pGone);
}

void UseAfterGrowth()
{
    volatile char* volatile p = static_cast<char*>(std::malloc(10));
    volatile char* volatile pOld = p;
    p = static_cast<char*>(std::realloc(const_cast<char*>(p), 20));
    *pOld = 1;
}

void FreeTwice()
{
    void* volatile p = std::malloc(10);
    void* volatile pGone = p;
    std::free(p);
    std::free(pGone);
}

void FreeTheMiddle()
{
    volatile char* volatile p = static_cast<char*>(std::malloc(16));
    volatile char* volatile pMiddle = p + 8;
    std::free(const_cast<char*>(pMiddle));
}

void ReadBehindAString()
{
    const BSTR bstr = ::SysAllocString(L"automation");
    wchar_t* volatile pBehind = bstr + 11;
    std::printf("%d", *pBehind);
}

void UseAStringAfterFree()
{
    wchar_t* volatile bstr = ::SysAllocString(L"automation");
    wchar_t* volatile pGone = bstr;
    ::SysFreeString(bstr);
    std::printf("%d", *pGone);
}

void ReadBehindAFrameworkString()
{
    CString str(L"framework");
    const wchar_t* volatile pBehind = static_cast<LPCTSTR>(str) + 10;
    std::printf("%d", *pBehind);
}

void OverrunTaskMemory()
{
    volatile char* volatile p = static_cast<char*>(::CoTaskMemAlloc(16));
    p[16] = 1;
}

void OverrunLocalMemory()
{
    volatile char* volatile p = static_cast<char*>(::LocalAlloc(LMEM_FIXED, 10));
    p = static_cast<char*>(::LocalReAlloc(const_cast<char*>(p), 20, LMEM_MOVEABLE));
    p[20] = 1;
}

void UseGlobalMemoryAfterFree()
{
    volatile char* volatile p = static_cast<char*>(::GlobalAlloc(GPTR, 10));
    ::GlobalFree(const_cast<char*>(p));
    std::printf("%d", *p);
}

// More blocks than can have a page of their own: the last is between patterns.
void OverrunWithoutAPage()
{
    static void* blocks[guard::kMostGuarded + 100];
    for (void*& p : blocks) p = std::malloc(8);
    volatile char* volatile p = static_cast<char*>(std::malloc(10));
    p[10] = 1;
    std::free(const_cast<char*>(p));
}

void WriteAfterFreeWithoutAPage()
{
    static void* blocks[guard::kMostGuarded + 10000];
    for (void*& p : blocks) p = std::malloc(8);
    volatile char* volatile p = static_cast<char*>(blocks[guard::kMostGuarded + 100]);
    for (size_t i = guard::kMostGuarded + 100; i < guard::kMostGuarded + 1000; ++i) std::free(blocks[i]);
    *p = 1;
    for (size_t i = guard::kMostGuarded + 1000; i < guard::kMostGuarded + 10000; ++i) std::free(blocks[i]);
}

// More blocks than the checker has records for: the last go their usual way.
void HoldVeryManyBlocks()
{
    std::vector<void*> blocks(guard::kMostGuarded + guard::kMostPlain + 1000);
    for (void*& p : blocks) {
        p = std::malloc(1);
        ASSERT_NE(nullptr, p);
    }
    for (void* p : blocks) std::free(std::realloc(p, 2));
}

CString* g_pLeft = nullptr;

void LeaveAString()
{
    g_pLeft = new CString(L"left behind");
}

void LeaveNothing()
{
    CString str(L"text");
    str += L" and more";
    const BSTR bstr = str.AllocSysString();
    ::SysFreeString(bstr);
    const HLOCAL hLocal = ::LocalReAlloc(::LocalAlloc(LPTR, 5), 9, LMEM_MOVEABLE | LMEM_ZEROINIT);
    EXPECT_EQ(9u, ::LocalSize(hLocal));
    EXPECT_EQ(nullptr, ::LocalFree(hLocal));
    const HGLOBAL hMovable = ::GlobalAlloc(GMEM_MOVEABLE, 5), hFixed = ::GlobalAlloc(GMEM_FIXED, 5);
    EXPECT_NE(nullptr, ::GlobalLock(hMovable));
    ::GlobalUnlock(hMovable);
    EXPECT_EQ(hFixed, ::GlobalLock(hFixed));
    ::GlobalUnlock(hFixed);
    EXPECT_EQ(nullptr, ::GlobalFree(hMovable));
    EXPECT_EQ(nullptr, ::GlobalFree(hFixed));
    std::free(std::realloc(std::calloc(3, 5), 100));
}

struct CMisdeed
{
    const char* pszName;
    void (*function)();
    const char* pszBehind; // what is said in this mode; NULL: nothing, and the program goes on
    const char* pszBefore;
};

const CMisdeed kMisdeeds[] = {
    {"OverrunByOne", &OverrunByOne, "which is byte 10, behind its end", nullptr},
    {"ReadOneBehind", &ReadOneBehind, "which is byte 10, behind its end", nullptr},
    {"UnderrunByOne", &UnderrunByOne, nullptr, "which is byte -1, before its beginning"},
    {"SpoilBehind", [] { SpoilAndFree(10); }, "which is byte 10", "the bytes behind it were written to"},
    {"SpoilBefore", [] { SpoilAndFree(-1); }, "the bytes before it were written to", "which is byte -1"},
    {"UseAfterFree", &UseAfterFree, "which is byte 0, after it was freed", "which is byte 0, after it was freed"},
    {"UseAfterGrowth", &UseAfterGrowth, "which is byte 0, after it was freed", "which is byte 0, after it was freed"},
    {"FreeTwice", &FreeTwice, "given to HeapFree after it was freed", "given to HeapFree after it was freed"},
    {"FreeTheMiddle", &FreeTheMiddle, "given to HeapFree with a wrong address", "with a wrong address"},
    {"ReadBehindAString", &ReadBehindAString, "behind its end", nullptr},
    {"UseAStringAfterFree", &UseAStringAfterFree, "after it was freed", "after it was freed"},
    {"ReadBehindAFrameworkString", &ReadBehindAFrameworkString, "behind its end", nullptr},
    {"OverrunTaskMemory", &OverrunTaskMemory, "which is byte 16, behind its end", nullptr},
    {"OverrunLocalMemory", &OverrunLocalMemory, "which is byte 20, behind its end", nullptr},
    {"UseGlobalMemoryAfterFree", &UseGlobalMemoryAfterFree, "after it was freed", "after it was freed"},
    {"OverrunWithoutAPage", &OverrunWithoutAPage, "the bytes behind it", "the bytes behind it"},
    {"WriteAfterFreeWithoutAPage", &WriteAfterFreeWithoutAPage, "written to after it", "written to after it"},
    {"HoldVeryManyBlocks", &HoldVeryManyBlocks, nullptr, nullptr},
    {"LeaveAString", &LeaveAString, "blocks that the test left allocated", "blocks that the test left allocated"},
    {"LeaveNothing", &LeaveNothing, nullptr, nullptr},
};

struct CEnded
{
    DWORD dwExitCode;
    std::string output;
};

CEnded RunMisdeed(const char* pszMisdeed, const wchar_t* pszPlace)
{
    const CTempFolder folder;
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    const HANDLE hOutput = ::CreateFileW(folder.File(L"output").c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                                         CREATE_ALWAYS, 0, nullptr);
    wchar_t szProgram[MAX_PATH];
    ::GetModuleFileNameW(nullptr, szProgram, MAX_PATH);
    std::wstring commandLine = L'"' + std::wstring(szProgram) + L'"';
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = hOutput;
    PROCESS_INFORMATION process = {};
    wchar_t szOwnPlace[8] = L"";
    const DWORD cchOwnPlace = ::GetEnvironmentVariableW(L"KORVANE_GUARD", szOwnPlace, 8);
    ::SetEnvironmentVariableA("KORVANE_GUARD_MISDEED", pszMisdeed);
    ::SetEnvironmentVariableW(L"KORVANE_GUARD", pszPlace);
    EXPECT_TRUE(
        ::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process));
    ::SetEnvironmentVariableA("KORVANE_GUARD_MISDEED", nullptr);
    ::SetEnvironmentVariableW(L"KORVANE_GUARD", cchOwnPlace ? szOwnPlace : nullptr);
    ::CloseHandle(hOutput);
    CEnded ended = {};
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &ended.dwExitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    std::ifstream file(std::filesystem::path(folder.File(L"output")), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    ended.output = text.str();
    return ended;
}

class GuardTest : public testing::TestWithParam<CMisdeed>
{
protected:
    static void Check(const CEnded& ended, const char* pszExpected)
    {
        if (!pszExpected) {
            EXPECT_EQ(0u, ended.dwExitCode) << ended.output;
            EXPECT_EQ(std::string::npos, ended.output.find("guard: a block")) << ended.output;
            return;
        }
        EXPECT_NE(0u, ended.dwExitCode) << ended.output;
        EXPECT_NE(std::string::npos, ended.output.find(pszExpected)) << ended.output;
        EXPECT_NE(std::string::npos, ended.output.find("allocated by")) << "no stack\n" << ended.output;
    }
};

} // namespace

TEST_P(GuardTest, IsFoundWithThePageBehind)
{
    Check(RunMisdeed(GetParam().pszName, L"behind"), GetParam().pszBehind);
}

TEST_P(GuardTest, IsFoundWithThePageBefore)
{
    Check(RunMisdeed(GetParam().pszName, L"before"), GetParam().pszBefore);
}

INSTANTIATE_TEST_SUITE_P(Misdeeds, GuardTest, testing::ValuesIn(kMisdeeds),
                         [](const auto& info) { return info.param.pszName; });

TEST(GuardReportTest, AFaultNamesTheFunctionThatAllocatedAndTheOneThatFreed)
{
    const CEnded ended = RunMisdeed("UseAfterFree", L"behind");
    EXPECT_EQ(static_cast<DWORD>(guard::kFaultExitCode), ended.dwExitCode);
    const size_t allocated = ended.output.find("allocated by"), freed = ended.output.find("freed by");
    ASSERT_NE(std::string::npos, allocated) << ended.output;
    ASSERT_NE(std::string::npos, freed) << ended.output;
    EXPECT_NE(std::string::npos, ended.output.substr(allocated, freed - allocated).find("UseAfterFree"));
    EXPECT_NE(std::string::npos, ended.output.substr(freed).find("UseAfterFree"));
    EXPECT_NE(std::string::npos, ended.output.find("of 4 bytes"));
}

TEST(GuardReportTest, ALeakNamesTheModuleThatAllocated)
{
    EXPECT_NE(std::string::npos, RunMisdeed("LeaveAString", L"behind").output.find("korvaneafx.dll+0x"));
}

int main(int argc, char** argv)
{
    char szMisdeed[64] = "";
    if (::GetEnvironmentVariableA("KORVANE_GUARD_MISDEED", szMisdeed, sizeof(szMisdeed))) {
        // The leak is for the end of a test to find; the others are done in one as well, to be treated alike.
        for (const CMisdeed& misdeed : kMisdeeds) {
            if (std::string(szMisdeed) != misdeed.pszName) continue;
            class CDoIt : public testing::Test
            {
            public:
                explicit CDoIt(const CMisdeed& what) : m_misdeed(what) {}
                void TestBody() override { m_misdeed.function(); }

            private:
                const CMisdeed& m_misdeed;
            };
            testing::RegisterTest("Misdeed", "Done", nullptr, nullptr, __FILE__, __LINE__,
                                  [&misdeed]() -> testing::Test* { return new CDoIt(misdeed); });
        }
        testing::GTEST_FLAG(filter) = "Misdeed.*";
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
