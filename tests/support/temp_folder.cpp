#include "support/temp_folder.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>

CTempFolder::CTempFolder()
{
    static int counter = 0;
    wchar_t base[MAX_PATH + 1] = L"";
    ::GetTempPathW(MAX_PATH, base);
    m_path =
        std::wstring(base) + L"korvane-" + std::to_wstring(::GetCurrentProcessId()) + L"-" + std::to_wstring(++counter);
    RemoveFolder(m_path);
    if (!::CreateDirectoryW(m_path.c_str(), nullptr)) {
        std::fprintf(stderr, "cannot make the folder %ls: error %lu\n", m_path.c_str(), ::GetLastError());
        std::abort();
    }
}

CTempFolder::~CTempFolder()
{
    RemoveFolder(m_path);
}

std::set<std::wstring> CTempFolder::Files() const
{
    std::set<std::wstring> names;
    WIN32_FIND_DATAW found;
    const HANDLE search = ::FindFirstFileW(File(L"*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) names.insert(found.cFileName);
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
    return names;
}

bool RemoveFolder(const std::wstring& path)
{
    WIN32_FIND_DATAW found;
    HANDLE search = ::FindFirstFileW((path + L"\\*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = found.cFileName;
            if (name == L"." || name == L"..") continue;
            const std::wstring inner = path + L"\\" + name;
            if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                RemoveFolder(inner);
            } else {
                ::SetFileAttributesW(inner.c_str(), FILE_ATTRIBUTE_NORMAL);
                ::DeleteFileW(inner.c_str());
            }
        } while (::FindNextFileW(search, &found));
        ::FindClose(search);
    }
    return ::RemoveDirectoryW(path.c_str()) || ::GetLastError() == ERROR_FILE_NOT_FOUND ||
           ::GetLastError() == ERROR_PATH_NOT_FOUND;
}
