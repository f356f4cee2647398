// A program of the test's own in the way of another: beside the test program, under the other's name.
#ifndef KORVANE_TESTS_SUPPORT_START_RECORDER_H
#define KORVANE_TESTS_SUPPORT_START_RECORDER_H

#include "support/temp_folder.h"

#include <windows.h>

#include <string>

// The folder of the running program, without a separator at its end.
inline std::wstring ProgramFolder()
{
    wchar_t path[MAX_PATH];
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring text(path);
    return text.substr(0, text.find_last_of(L'\\'));
}

// While it lives, the file `name` beside the test program is `start_recorder.exe`, or a text that is no program.
class CProgramInTheWay
{
public:
    enum KIND
    {
        RECORDER,
        NO_PROGRAM
    };

    explicit CProgramInTheWay(const wchar_t* name, KIND kind = RECORDER)
        : m_path(ProgramFolder() + L"\\" + name), m_record(m_folder.File(L"record")),
          m_eventName(L"korvane-start-" + std::to_wstring(::GetCurrentProcessId())),
          m_event(::CreateEventW(nullptr, FALSE, FALSE, m_eventName.c_str()))
    {
        if (kind == RECORDER) {
            ::CopyFileW((ProgramFolder() + L"\\start_recorder.exe").c_str(), m_path.c_str(), FALSE);
        } else {
            const HANDLE file = ::CreateFileW(m_path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
            DWORD written = 0;
            ::WriteFile(file, "no program", 10, &written, nullptr);
            ::CloseHandle(file);
        }
        ::SetEnvironmentVariableW(L"KORVANE_START_RECORD", m_record.c_str());
        ::SetEnvironmentVariableW(L"KORVANE_START_EVENT", m_eventName.c_str());
    }
    ~CProgramInTheWay()
    {
        // Not before a recorder that has just set the event has ended.
        for (int i = 0; i < 500 && !::DeleteFileW(m_path.c_str()); ++i) {
            if (::GetLastError() == ERROR_FILE_NOT_FOUND) break;
            ::Sleep(10);
        }
        ::SetEnvironmentVariableW(L"KORVANE_START_RECORD", nullptr);
        ::SetEnvironmentVariableW(L"KORVANE_START_EVENT", nullptr);
        ::CloseHandle(m_event);
    }
    CProgramInTheWay(const CProgramInTheWay&) = delete;
    CProgramInTheWay& operator=(const CProgramInTheWay&) = delete;

    const std::wstring& Path() const { return m_path; }
    // The whole command line of the next start; empty if there is none within 20 seconds.
    std::wstring WaitForStart() const
    {
        if (::WaitForSingleObject(m_event, 20000) != WAIT_OBJECT_0) return L"";
        const HANDLE file =
            ::CreateFileW(m_record.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
        std::wstring text(::GetFileSize(file, nullptr) / sizeof(wchar_t), L'\0');
        DWORD read = 0;
        ::ReadFile(file, &text[0], static_cast<DWORD>(text.size() * sizeof(wchar_t)), &read, nullptr);
        ::CloseHandle(file);
        return text;
    }
    // What a start with these arguments shows.
    std::wstring CommandLine(const std::wstring& arguments) const { return L'"' + m_path + L"\" " + arguments; }

private:
    CTempFolder m_folder;
    const std::wstring m_path, m_record, m_eventName;
    const HANDLE m_event; // owned
};

#endif
