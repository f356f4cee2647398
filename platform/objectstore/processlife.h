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

// Whether the process of this number that started then is running. One that may not be looked at counts as running.
inline bool IsRunning(DWORD dwProcess, const FILETIME& ftStart)
{
    const HANDLE hProcess = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, dwProcess);
    if (!hProcess) return ::GetLastError() == ERROR_ACCESS_DENIED;
    const FILETIME ft = StartOf(hProcess);
    const bool bRunning = ::CompareFileTime(&ft, &ftStart) == 0 && ::WaitForSingleObject(hProcess, 0) == WAIT_TIMEOUT;
    ::CloseHandle(hProcess);
    return bRunning;
}

} // namespace store

#endif
