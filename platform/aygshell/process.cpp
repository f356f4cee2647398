#include "aygshell.h"

#include <shellapi.h>

#include <cwchar>
#include <exception>
#include <string>

namespace {

constexpr wchar_t kBrowser[] = L"iexplore.exe";

template <class Function> std::wstring TextOf(Function function)
{
    std::wstring text(MAX_PATH, L'\0');
    for (;;) {
        const DWORD cch = function(&text[0], static_cast<DWORD>(text.size()));
        if (cch < text.size()) {
            text.resize(cch);
            return text;
        }
        text.resize(text.size() * 2);
    }
}

// The folders in which a program is looked for, separated by ";".
std::wstring ProgramFolders()
{
    std::wstring folders = TextOf([](LPWSTR psz, DWORD cch) { return ::GetModuleFileNameW(nullptr, psz, cch); });
    folders.resize(folders.find_last_of(L'\\') + 1);
    folders += L';' + TextOf([](LPWSTR psz, DWORD cch) { return ::GetSystemDirectoryW(psz, cch); });
    folders += L';' + TextOf([](LPWSTR psz, DWORD cch) { return ::GetWindowsDirectoryW(psz, cch); });
    folders += L';' + TextOf([](LPWSTR psz, DWORD cch) { return ::GetEnvironmentVariableW(L"PATH", psz, cch); });
    return folders;
}

// Empty when there is no such program.
std::wstring FindProgram(LPCWSTR pszName)
{
    const std::wstring folders = ProgramFolders();
    return TextOf(
        [&](LPWSTR psz, DWORD cch) { return ::SearchPathW(folders.c_str(), pszName, L".exe", cch, psz, nullptr); });
}

bool BeginsWith(const std::wstring& text, const wchar_t* pszBegin)
{
    return ::_wcsnicmp(text.c_str(), pszBegin, std::wcslen(pszBegin)) == 0;
}

BOOL OpenAddress(std::wstring address, LPPROCESS_INFORMATION pInfo)
{
    bool bHasScheme = false;
    for (const wchar_t* pszScheme : {L"mailto:", L"http://", L"https://", L"ftp://"}) {
        bHasScheme = bHasScheme || BeginsWith(address, pszScheme);
    }
    if (!bHasScheme) address.insert(0, L"http://");

    SHELLEXECUTEINFOW execute = {};
    execute.cbSize = sizeof(execute);
    // Without a message box of the shell's; and done when it returns, because the caller need not have a message loop.
    execute.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_FLAG_NO_UI | SEE_MASK_FLAG_DDEWAIT;
    execute.lpVerb = L"open";
    execute.lpFile = address.c_str();
    execute.nShow = SW_SHOWNORMAL;
    if (!::ShellExecuteExW(&execute)) return FALSE;
    if (pInfo) {
        pInfo->hProcess = execute.hProcess;
        pInfo->dwProcessId = execute.hProcess ? ::GetProcessId(execute.hProcess) : 0;
    } else if (execute.hProcess) {
        ::CloseHandle(execute.hProcess);
    }
    return TRUE;
}

} // namespace

BOOL WINAPI CeCreateProcessW(LPCWSTR pszImageName, LPCWSTR pszCommandLine, LPSECURITY_ATTRIBUTES pSecurityProcess,
                             LPSECURITY_ATTRIBUTES pSecurityThread, BOOL bInherit, DWORD dwFlags, LPVOID pEnvironment,
                             LPCWSTR pszFolder, LPSTARTUPINFOW pStartup, LPPROCESS_INFORMATION pInfo)
{
    if (pInfo) *pInfo = {};
    if (!pszImageName || !*pszImageName) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    try {
        const std::wstring arguments = pszCommandLine ? pszCommandLine : L"";
        const std::wstring program = FindProgram(pszImageName);
        if (program.empty()) {
            if (::_wcsicmp(pszImageName, kBrowser) == 0) return OpenAddress(arguments, pInfo);
            ::SetLastError(ERROR_FILE_NOT_FOUND);
            return FALSE;
        }

        std::wstring commandLine = L'"' + program + L"\" " + arguments;
        STARTUPINFOW startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION info = {};
        if (!::CreateProcessW(program.c_str(), &commandLine[0], pSecurityProcess, pSecurityThread, bInherit, dwFlags,
                              pEnvironment, pszFolder, pStartup ? pStartup : &startup, &info)) {
            return FALSE;
        }
        if (pInfo) {
            *pInfo = info;
        } else {
            ::CloseHandle(info.hThread);
            ::CloseHandle(info.hProcess);
        }
        return TRUE;
    } catch (const std::exception&) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
}
