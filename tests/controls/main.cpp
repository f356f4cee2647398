// The tests of controls/ run on a screen of their own: a desktop of 240 x 320 pixels, with its own pointer, keyboard
// and foreground window, whatever else runs on the display.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

constexpr wchar_t kPutPointer[] = L"--put-pointer-in-place";

class CPocketScreen
{
public:
    CPocketScreen()
    {
        PutPointerInPlace();
        const std::wstring name = L"korvane-controls-" + std::to_wstring(::GetCurrentProcessId());
        m_hDesktop = ::CreateDesktopW(name.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr);
        std::wstring shell = L"explorer.exe /desktop=" + name + L",240x320";
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        if (!::CreateProcessW(nullptr, &shell[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &m_shell))
            return;
        ::WaitForInputIdle(m_shell.hProcess, 20000);
        ::SetThreadDesktop(m_hDesktop);
        for (int i = 0; i < 2000 && !IsThere(); ++i) ::Sleep(10); // the shell tells nobody when its desktop is there
    }
    ~CPocketScreen()
    {
        ::TerminateProcess(m_shell.hProcess, 0);
        ::CloseHandle(m_shell.hThread);
        ::CloseHandle(m_shell.hProcess);
        ::CloseDesktop(m_hDesktop);
    }
    CPocketScreen(const CPocketScreen&) = delete;
    CPocketScreen& operator=(const CPocketScreen&) = delete;

    bool IsThere() const { return ::GetSystemMetrics(SM_CXSCREEN) == 240 && ::GetSystemMetrics(SM_CYSCREEN) == 320; }

private:
    static void PutPointerInPlace()
    {
        wchar_t path[MAX_PATH];
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        std::wstring command = L'"' + std::wstring(path) + L"\" " + kPutPointer;
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION info = {};
        if (!::CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info))
            return;
        ::WaitForSingleObject(info.hProcess, 20000);
        ::CloseHandle(info.hThread);
        ::CloseHandle(info.hProcess);
    }

    HDESK m_hDesktop = nullptr;       // owned
    PROCESS_INFORMATION m_shell = {}; // owned
};

} // namespace

int main(int argc, char** argv)
{
    if (std::wstring(::GetCommandLineW()).find(kPutPointer) != std::wstring::npos) {
        ::SetCursorPos(100, 100); // the display is told of a change only
        ::SetCursorPos(120, 160);
        return 0;
    }
    testing::InitGoogleTest(&argc, argv);
    const CPocketScreen screen;
    if (!screen.IsThere()) {
        std::fprintf(stderr, "There is no screen of 240 x 320 pixels to test on.\n");
        return 1;
    }
    return RUN_ALL_TESTS();
}
