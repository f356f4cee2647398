// CString made from formats and resources, and as a BSTR.
#include "afx.h"

#include <oleauto.h>
#include <utility>

namespace {

// Both are the system C library's, in whose wide formats %s is a wide text. (The compiler's own replacements, which
// other names would reach, take it for an 8-bit one.)
int FormatInto(LPTSTR pch, size_t cch, LPCTSTR pszFormat, va_list args)
{
    va_list argsUsed;
    va_copy(argsUsed, args);
    const int nLength = ::_vsnwprintf(pch, cch, pszFormat, argsUsed);
    va_end(argsUsed);
    return nLength;
}

int FormattedLength(LPCTSTR pszFormat, va_list args)
{
    va_list argsUsed;
    va_copy(argsUsed, args);
    const int nLength = ::_vscwprintf(pszFormat, argsUsed);
    va_end(argsUsed);
    return nLength;
}

} // namespace

void CString::FormatV(LPCTSTR pszFormat, va_list args)
{
    if (!pszFormat) pszFormat = _afxPchNil;
    // Made beside the old text, which may be the format or one of the arguments. Most results are short.
    TCHAR szShort[256];
    int nLength = FormatInto(szShort, ARRAYSIZE(szShort), pszFormat, args);
    if (nLength >= 0) {
        Assign(szShort, nLength);
        return;
    }
    CString strResult;
    nLength = FormattedLength(pszFormat, args);
    if (nLength > 0) {
        LPTSTR pch = strResult.GetBuffer(nLength);
        nLength = FormatInto(pch, static_cast<size_t>(nLength) + 1, pszFormat, args);
        strResult.ReleaseBuffer(nLength > 0 ? nLength : 0);
    }
    *this = std::move(strResult);
}

void CString::FormatText(LPCTSTR pszFormat, ...)
{
    va_list args;
    va_start(args, pszFormat);
    FormatV(pszFormat, args);
    va_end(args);
}

void CString::FormatMessageText(LPCTSTR pszFormat, ...)
{
    LPTSTR pszText = NULL;
    va_list args;
    va_start(args, pszFormat);
    const DWORD cch =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_ALLOCATE_BUFFER,
                         pszFormat ? pszFormat : _afxPchNil, 0, 0, reinterpret_cast<LPTSTR>(&pszText), 0, &args);
    va_end(args);
    CString strResult(pszText, static_cast<int>(cch));
    ::LocalFree(pszText);
    *this = std::move(strResult);
}

BOOL CString::LoadString(UINT nID)
{
    Empty();
    // Strings come in blocks of 16; the ids of resources have 16 bits.
    if (nID > 0xFFFF) return FALSE;
    const HINSTANCE hModule = ::AfxFindResourceHandle(MAKEINTRESOURCE(nID / 16 + 1), RT_STRING);
    const HRSRC hResource = ::FindResourceW(hModule, MAKEINTRESOURCE(nID / 16 + 1), RT_STRING);
    const HGLOBAL hBlock = hResource ? ::LoadResource(hModule, hResource) : NULL;
    LPCTSTR pch = hBlock ? static_cast<LPCTSTR>(::LockResource(hBlock)) : NULL;
    if (!pch) return FALSE;
    // Each text is its length and its characters. The system's own LoadString believes any length.
    DWORD cchLeft = ::SizeofResource(hModule, hResource) / sizeof(TCHAR);
    for (UINT nBefore = nID % 16; cchLeft > 0 && *pch < cchLeft; --nBefore) {
        const int nLength = *pch;
        if (nBefore == 0) {
            if (nLength > 0) Assign(pch + 1, nLength);
            return nLength > 0;
        }
        pch += 1 + nLength;
        cchLeft -= 1 + static_cast<DWORD>(nLength);
    }
    return FALSE;
}

BSTR CString::AllocSysString() const
{
    BSTR bstr = ::SysAllocStringLen(m_pchData, GetLength());
    if (!bstr) AfxThrowMemoryException();
    return bstr;
}

BSTR CString::SetSysString(BSTR* pbstr) const
{
    if (!::SysReAllocStringLen(pbstr, m_pchData, GetLength())) AfxThrowMemoryException();
    return *pbstr;
}
