// Files for the readers of files: there is one, and the target has put it there.
#include "target.h"

#include <windows.h>

#include <algorithm>

static const uint8_t* g_pFile;
static size_t g_cbFile, g_nAt;

const wchar_t* fuzz::PutFile(const uint8_t* data, size_t size)
{
    g_pFile = data;
    g_cbFile = size;
    return L"file";
}
HANDLE CreateFileW(LPCWSTR, DWORD, DWORD, void*, DWORD, DWORD, HANDLE)
{
    g_nAt = 0;
    return &g_pFile;
}
BOOL ReadFile(HANDLE, void* pv, DWORD cb, DWORD* pcbRead, void*)
{
    const size_t n = g_nAt < g_cbFile ? std::min<size_t>(cb, g_cbFile - g_nAt) : 0;
    if (n) memcpy(pv, g_pFile + g_nAt, n);
    g_nAt += n;
    *pcbRead = static_cast<DWORD>(n);
    return TRUE;
}
DWORD SetFilePointer(HANDLE, LONG nMove, LONG*, DWORD)
{
    if (nMove < 0) return INVALID_SET_FILE_POINTER;
    return static_cast<DWORD>(g_nAt = nMove);
}
DWORD GetFileSize(HANDLE, DWORD*)
{
    return static_cast<DWORD>(g_cbFile);
}
BOOL GetFileSizeEx(HANDLE, LARGE_INTEGER* pSize)
{
    pSize->QuadPart = g_cbFile;
    return TRUE;
}
BOOL CloseHandle(HANDLE)
{
    return TRUE;
}
