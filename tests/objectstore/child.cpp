#include "child.h"

#include <map>

namespace {

constexpr DWORD kLongestSilence = 30000; // milliseconds

std::map<std::wstring, RoleFunction>& Roles()
{
    static std::map<std::wstring, RoleFunction> roles;
    return roles;
}

std::wstring OwnPath()
{
    wchar_t szPath[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, szPath, MAX_PATH);
    return szPath;
}

void CALLBACK KillLate(void* hProcess, BOOLEAN)
{
    ::TerminateProcess(hProcess, 99);
}

// A line out of a pipe; what was read behind it is kept in strPending.
bool ReadPipeLine(HANDLE hPipe, std::string& strPending, std::string& strLine)
{
    for (;;) {
        const size_t nEnd = strPending.find('\n');
        if (nEnd != std::string::npos) {
            strLine = strPending.substr(0, nEnd);
            strPending.erase(0, nEnd + 1);
            return true;
        }
        char rgBuffer[4096];
        DWORD cbRead = 0;
        if (!::ReadFile(hPipe, rgBuffer, sizeof rgBuffer, &cbRead, nullptr) || cbRead == 0) return false;
        strPending.append(rgBuffer, cbRead);
    }
}

void WritePipeLine(HANDLE hPipe, std::string strLine)
{
    strLine += '\n';
    DWORD cbWritten = 0;
    ::WriteFile(hPipe, strLine.data(), static_cast<DWORD>(strLine.size()), &cbWritten, nullptr);
}

} // namespace

CChild::CChild(const std::wstring& strRole, const CArguments& arguments)
{
    std::wstring strCommand = L"\"" + OwnPath() + L"\" --role " + strRole;
    for (const std::wstring& strArgument : arguments) strCommand += L" \"" + strArgument + L"\"";

    SECURITY_ATTRIBUTES inherit = {sizeof inherit, nullptr, TRUE};
    HANDLE hTheirInput = nullptr, hTheirOutput = nullptr;
    ::CreatePipe(&hTheirInput, &m_hInput, &inherit, 0);
    ::CreatePipe(&m_hOutput, &hTheirOutput, &inherit, 0);
    ::SetHandleInformation(m_hInput, HANDLE_FLAG_INHERIT, 0);
    ::SetHandleInformation(m_hOutput, HANDLE_FLAG_INHERIT, 0);

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = hTheirInput;
    startup.hStdOutput = hTheirOutput;
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process = {};
    if (::CreateProcessW(nullptr, strCommand.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
        m_hProcess = process.hProcess;
        ::CloseHandle(process.hThread);
        ::CreateTimerQueueTimer(&m_hTimer, nullptr, KillLate, m_hProcess, kLongestSilence, 0, WT_EXECUTEONLYONCE);
    }
    ::CloseHandle(hTheirInput);
    ::CloseHandle(hTheirOutput);
}

CChild::~CChild()
{
    if (m_hTimer) ::DeleteTimerQueueTimer(nullptr, m_hTimer, INVALID_HANDLE_VALUE);
    Kill();
    if (m_hProcess) ::CloseHandle(m_hProcess);
    if (m_hInput) ::CloseHandle(m_hInput);
    ::CloseHandle(m_hOutput);
}

void CChild::Send(const std::string& strLine)
{
    Rearm();
    WritePipeLine(m_hInput, strLine);
}

std::string CChild::ReadLine()
{
    Rearm();
    std::string strLine;
    return ReadPipeLine(m_hOutput, m_strPending, strLine) ? strLine : "(gone)";
}

void CChild::Rearm()
{
    if (m_hTimer) ::ChangeTimerQueueTimer(nullptr, m_hTimer, kLongestSilence, 0);
}

void CChild::Kill()
{
    if (!m_hProcess) return;
    ::TerminateProcess(m_hProcess, 99);
    ::WaitForSingleObject(m_hProcess, INFINITE);
}

DWORD CChild::Finish()
{
    ::CloseHandle(m_hInput);
    m_hInput = nullptr;
    ::WaitForSingleObject(m_hProcess, INFINITE);
    DWORD dwExitCode = 0;
    ::GetExitCodeProcess(m_hProcess, &dwExitCode);
    return dwExitCode;
}

CRole::CRole(const wchar_t* pszName, RoleFunction pfnRun)
{
    Roles()[pszName] = pfnRun;
}

DWORD RunSelf(const CArguments& arguments)
{
    std::wstring strCommand = L"\"" + OwnPath() + L"\"";
    for (const std::wstring& strArgument : arguments) strCommand += L" \"" + strArgument + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(nullptr, strCommand.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process))
        return ::GetLastError();
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD dwExitCode = 1;
    ::GetExitCodeProcess(process.hProcess, &dwExitCode);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    return dwExitCode;
}

bool RunRole(CArguments arguments, int& nExitCode)
{
    if (arguments.size() < 2 || arguments[0] != L"--role") return false;
    const auto found = Roles().find(arguments[1]);
    arguments.erase(arguments.begin(), arguments.begin() + 2);
    nExitCode = found == Roles().end() ? 98 : found->second(arguments);
    return true;
}

void Say(const std::string& strLine)
{
    WritePipeLine(::GetStdHandle(STD_OUTPUT_HANDLE), strLine);
}

bool Hear(std::string& strLine)
{
    static std::string strPending;
    return ReadPipeLine(::GetStdHandle(STD_INPUT_HANDLE), strPending, strLine);
}
