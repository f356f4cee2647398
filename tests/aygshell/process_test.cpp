// Starting programs as the device does.
#include "aygshell.h"

#include "support/import_patch.h"
#include "support/start_recorder.h"

#include <shellapi.h>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr wchar_t kName[] = L"korvane-start-me.exe";

BOOL Start(LPCWSTR name, LPCWSTR arguments, PROCESS_INFORMATION* info)
{
    return ::CreateProcessW(name, arguments, nullptr, nullptr, FALSE, 0, nullptr, nullptr, nullptr, info);
}

// A desktop without any program.
DWORD WINAPI FindNothing(LPCWSTR, LPCWSTR, LPCWSTR, DWORD, LPWSTR, LPWSTR*)
{
    return 0;
}

std::wstring g_opened;
bool g_bOpens = true;

BOOL WINAPI Open(SHELLEXECUTEINFOW* execute)
{
    g_opened = execute->lpFile;
    EXPECT_STREQ(L"open", execute->lpVerb);
    EXPECT_EQ(nullptr, execute->lpParameters);
    if (!g_bOpens) ::SetLastError(ERROR_NO_ASSOCIATION);
    return g_bOpens;
}

class BrowserTest : public testing::Test
{
protected:
    BrowserTest()
    {
        g_opened.clear();
        g_bOpens = true;
    }

    const CImportPatch m_search{L"aygshell.dll", "SearchPathW", FindNothing};
    const CImportPatch m_open{L"aygshell.dll", "ShellExecuteExW", Open};
};

} // namespace

TEST(ProcessTest, TheProgramGetsItsNameAndTheArgumentsAsTheyAre)
{
    const CProgramInTheWay program(kName);
    for (const wchar_t* arguments : {L"http://www.example.com/a b?c=\"d\"", L"one two", L"\"", L""}) {
        PROCESS_INFORMATION info;
        ASSERT_TRUE(Start(kName, arguments, &info)) << ::GetLastError();
        EXPECT_EQ(program.CommandLine(arguments), program.WaitForStart());
        ::WaitForSingleObject(info.hProcess, INFINITE);
        DWORD code = 0;
        EXPECT_TRUE(::GetExitCodeProcess(info.hProcess, &code));
        EXPECT_EQ(7u, code);
        EXPECT_TRUE(::CloseHandle(info.hThread));
        EXPECT_TRUE(::CloseHandle(info.hProcess));
    }
}

TEST(ProcessTest, NeitherArgumentsNorInformationAreNeeded)
{
    const CProgramInTheWay program(kName);
    ASSERT_TRUE(Start(kName, nullptr, nullptr));
    EXPECT_EQ(program.CommandLine(L""), program.WaitForStart());
}

TEST(ProcessTest, APathIsTakenAsItIs)
{
    const CProgramInTheWay program(kName);
    ASSERT_TRUE(Start(program.Path().c_str(), L"x", nullptr));
    EXPECT_EQ(program.CommandLine(L"x"), program.WaitForStart());
}

TEST(ProcessTest, TheCurrentFolderIsNotSearched)
{
    const CTempFolder folder;
    ASSERT_TRUE(::CopyFileW((ProgramFolder() + L"\\start_recorder.exe").c_str(), folder.File(kName).c_str(), TRUE));
    wchar_t before[MAX_PATH];
    ::GetCurrentDirectoryW(MAX_PATH, before);
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.Path().c_str()));
    EXPECT_FALSE(Start(kName, L"", nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), ::GetLastError());
    ::SetCurrentDirectoryW(before);
}

TEST(ProcessTest, ThePathIsSearched)
{
    const CTempFolder folder;
    ASSERT_TRUE(::CopyFileW((ProgramFolder() + L"\\start_recorder.exe").c_str(), folder.File(kName).c_str(), TRUE));
    wchar_t before[8192] = L"";
    ::GetEnvironmentVariableW(L"PATH", before, 8192);
    ::SetEnvironmentVariableW(L"PATH", (std::wstring(before) + L";" + folder.Path()).c_str());
    PROCESS_INFORMATION info;
    EXPECT_TRUE(Start(kName, L"", &info));
    ::SetEnvironmentVariableW(L"PATH", before);
    ::WaitForSingleObject(info.hProcess, INFINITE);
    ::CloseHandle(info.hThread);
    ::CloseHandle(info.hProcess);
}

TEST(ProcessTest, WithoutANameThereIsNothingToStart)
{
    for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L""}) {
        PROCESS_INFORMATION info;
        EXPECT_FALSE(Start(name, L"x", &info));
        EXPECT_EQ(static_cast<DWORD>(ERROR_INVALID_PARAMETER), ::GetLastError());
        EXPECT_EQ(nullptr, info.hProcess);
    }
}

TEST(ProcessTest, AFileThatIsNoProgramFails)
{
    const CProgramInTheWay program(L"iexplore.exe", CProgramInTheWay::NO_PROGRAM);
    EXPECT_FALSE(Start(L"iexplore.exe", L"http://www.example.com", nullptr));
}

TEST_F(BrowserTest, WithoutTheBrowserTheDesktopsOwnOpensTheAddress)
{
    static constexpr struct
    {
        const wchar_t *arguments, *opened;
    } kCases[] = {
        {L"http://www.example.com/", L"http://www.example.com/"},
        {L"HTTPS://www.example.com/", L"HTTPS://www.example.com/"},
        {L"ftp://ftp.example.com/", L"ftp://ftp.example.com/"},
        {L"mailto:somebody@example.com", L"mailto:somebody@example.com"},
        {L"www.example.com", L"http://www.example.com"},
        {L"", L"http://"},
        // Nothing but a browser can be started.
        {L"C:\\windows\\notepad.exe", L"http://C:\\windows\\notepad.exe"},
        {L"file:///C:/windows/notepad.exe", L"http://file:///C:/windows/notepad.exe"},
    };
    for (const auto& c : kCases) {
        PROCESS_INFORMATION info;
        EXPECT_TRUE(Start(L"IExplore.exe", c.arguments, &info));
        EXPECT_EQ(c.opened, g_opened);
        EXPECT_EQ(nullptr, info.hProcess);
        EXPECT_EQ(nullptr, info.hThread);
    }
    EXPECT_TRUE(Start(L"iexplore.exe", nullptr, nullptr));
    EXPECT_EQ(L"http://", g_opened);
}

TEST_F(BrowserTest, ADesktopWithoutABrowserFails)
{
    g_bOpens = false;
    EXPECT_FALSE(Start(L"iexplore.exe", L"http://www.example.com", nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_ASSOCIATION), ::GetLastError());
}

TEST_F(BrowserTest, AnyOtherProgramIsNotReplaced)
{
    EXPECT_FALSE(Start(L"calendar.exe", L"http://www.example.com", nullptr));
    EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_NOT_FOUND), ::GetLastError());
    EXPECT_EQ(L"", g_opened);
}
