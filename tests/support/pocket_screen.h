// A screen of a test program's own: a desktop of 240 x 320 pixels, with its own pointer, keyboard and foreground
// window, whatever else runs on the display.
//
// Ownership  the object owns the desktop. The thread that makes it works on it, and so do the programs that it starts
//            with the desktop's Name.
#ifndef KORVANE_TESTS_SUPPORT_POCKET_SCREEN_H
#define KORVANE_TESTS_SUPPORT_POCKET_SCREEN_H

#include <windows.h>

#include <string>

class CPocketScreen
{
public:
    CPocketScreen() : m_name(Name())
    {
        // By a process of its own: this one must not have a window or a pointer before it changes desktops.
        wchar_t path[MAX_PATH];
        ::GetModuleFileNameW(nullptr, path, MAX_PATH);
        PROCESS_INFORMATION pointer = {};
        if (!Start(L'"' + std::wstring(path) + L"\" " + kOtherRole, pointer)) return;
        ::WaitForSingleObject(pointer.hProcess, 20000);
        Close(pointer);

        m_hDesktop = ::CreateDesktopW(m_name.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr);
        if (!Start(L"explorer.exe /desktop=" + m_name + L",240x320", m_shell)) return;
        ::WaitForInputIdle(m_shell.hProcess, 20000);
        ::SetThreadDesktop(m_hDesktop);
        for (int i = 0; i < 2000 && !IsThere(); ++i) ::Sleep(10); // the shell tells nobody when its desktop is there
    }
    ~CPocketScreen()
    {
        ::TerminateProcess(m_shell.hProcess, 0);
        Close(m_shell);
        ::CloseDesktop(m_hDesktop);
    }
    CPocketScreen(const CPocketScreen&) = delete;
    CPocketScreen& operator=(const CPocketScreen&) = delete;

    static std::wstring Name() { return L"korvane-test-" + std::to_wstring(::GetCurrentProcessId()); }
    bool IsThere() const { return ::GetSystemMetrics(SM_CXSCREEN) == 240 && ::GetSystemMetrics(SM_CYSCREEN) == 320; }

    // The program is started once more, to put the pointer on the part of the display where the screen comes: main asks
    // first whether it is that.
    static bool IsOtherRole() { return std::wstring(::GetCommandLineW()).find(kOtherRole) != std::wstring::npos; }
    static int RunOtherRole()
    {
        ::SetCursorPos(100, 100); // the display is told of a change only
        ::SetCursorPos(120, 160);
        return 0;
    }

private:
    static constexpr wchar_t kOtherRole[] = L"--put-pointer-in-place";

    static bool Start(std::wstring command, PROCESS_INFORMATION& info)
    {
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        return ::CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &info);
    }
    static void Close(PROCESS_INFORMATION& info)
    {
        ::CloseHandle(info.hThread);
        ::CloseHandle(info.hProcess);
    }

    const std::wstring m_name;
    HDESK m_hDesktop = nullptr;       // owned
    PROCESS_INFORMATION m_shell = {}; // owned
};

#endif
