// A program that tells a test with which command line it was started: it writes it to the file named by
// KORVANE_START_RECORD, then sets the event named by KORVANE_START_EVENT. Started by anybody else it does nothing.
#include <windows.h>

#include <string>

namespace {

std::wstring Variable(const wchar_t* name)
{
    wchar_t text[512];
    const DWORD length = ::GetEnvironmentVariableW(name, text, 512);
    return length < 512 ? std::wstring(text, length) : std::wstring();
}

} // namespace

int main()
{
    const std::wstring path = Variable(L"KORVANE_START_RECORD");
    const std::wstring event = Variable(L"KORVANE_START_EVENT");
    if (path.empty() || event.empty()) return 0;

    const std::wstring record = ::GetCommandLineW();
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ::WriteFile(file, record.data(), static_cast<DWORD>(record.size() * sizeof(wchar_t)), &written, nullptr);
    ::CloseHandle(file);
    const HANDLE done = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, event.c_str());
    ::SetEvent(done);
    ::CloseHandle(done);
    return 7;
}
