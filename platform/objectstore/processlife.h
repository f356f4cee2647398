// processlife.h - tells one process from another that was given its number later: by the time of its start.
#ifndef KORVANESTORE_PROCESSLIFE_H
#define KORVANESTORE_PROCESSLIFE_H

#include <windows.h>

namespace store {

inline FILETIME StartOf(HANDLE hProcess)
{
    FILETIME ftStart = {}, ftOther;
    ::GetProcessTimes(hProcess, &ftStart, &ftOther, &ftOther, &ftOther);
    return ftStart;
}

inline const FILETIME& OwnStart()
{
    static const FILETIME s_ftStart = StartOf(::GetCurrentProcess());
    return s_ftStart;
}

// Whether the process of this number is running that started then; of its start the lower half will do. One that cannot
// be looked at, for whatever reason but that there is none of that number, counts as running.
inline bool IsRunning(DWORD dwProcess, DWORD dwStart)
{
    const HANDLE hProcess = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, dwProcess);
    if (!hProcess) return ::GetLastError() != ERROR_INVALID_PARAMETER;
    const DWORD dwFound = StartOf(hProcess).dwLowDateTime;
    const bool bRunning = (dwFound == dwStart || dwFound == 0) && ::WaitForSingleObject(hProcess, 0) != WAIT_OBJECT_0;
    ::CloseHandle(hProcess);
    return bRunning;
}

inline bool IsRunning(DWORD dwProcess, const FILETIME& ftStart)
{
    return IsRunning(dwProcess, ftStart.dwLowDateTime);
}

} // namespace store

#endif
