#include "afx.h"

#include <cstdio>
#include <cstdlib>

void AFXAPI AfxAssertFailedLine(LPCSTR pszFileName, int nLine)
{
    char szText[512];
    std::snprintf(szText, sizeof szText, "%s(%d): assertion failed\n", pszFileName, nLine);
    ::OutputDebugStringA(szText);
    std::fputs(szText, stderr);
    std::fflush(stderr);
    if (::IsDebuggerPresent()) ::DebugBreak();
    std::abort();
}

void AFXAPI AfxTraceText(LPCTSTR pszText)
{
    // A trace in the middle of an operation must not change what that operation reports.
    const DWORD dwKeep = ::GetLastError();
    ::OutputDebugStringW(pszText);
    ::SetLastError(dwKeep);
}
