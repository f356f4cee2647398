// The test program of the database layer.
//
// The object store stays mounted until its process ends, so the tests run in a second process: this one then removes
// the folder that KORVANE_OBJECTSTORE pointed to.
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <windows.h>
#include <windbase.h>

#include <cstdio>

namespace {

// Runs this program again with the same arguments, and returns its exit code.
int RunSelf()
{
    std::wstring commandLine = ::GetCommandLineW();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process;
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                          &process)) {
        std::fprintf(stderr, "cannot start the tests: error %lu\n", ::GetLastError());
        return 1;
    }
    DWORD dwExitCode = 1;
    ::WaitForSingleObject(process.hProcess, INFINITE);
    ::GetExitCodeProcess(process.hProcess, &dwExitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return static_cast<int>(dwExitCode);
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    wchar_t szInner[2] = L"";
    if (::GetEnvironmentVariableW(L"KORVANE_TEST_INNER", szInner, 2) == 0) {
        CTempFolder folder;
        ::SetEnvironmentVariableW(L"KORVANE_OBJECTSTORE", folder.Path().c_str());
        ::SetEnvironmentVariableW(L"KORVANE_TEST_INNER", L"1");
        return RunSelf();
    }
    ::testing::InitGoogleTest(&argc, argv);
    // What stays until the end is no leak of the test that happens to use it first.
    CEGUID objectStore = {};
    ::CloseHandle(::CeFindFirstDatabaseEx(&objectStore, 0));
    return RUN_ALL_TESTS();
}
