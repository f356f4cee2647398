// CString's constructors, assignments, joins and comparisons.
#include "afx.h"

#include <cstring>
#include <utility>

namespace {

LPCTSTR Text(LPCTSTR psz)
{
    return psz ? psz : _afxPchNil;
}

bool IsResourceId(const void* psz)
{
    return psz && IS_INTRESOURCE(psz);
}

TCHAR Widen(char ch)
{
    TCHAR chWide = 0;
    ::MultiByteToWideChar(CP_ACP, 0, &ch, 1, &chWide, 1);
    return chWide;
}

// The C library folds only A to Z; the device folds whatever the system knows.
TCHAR Fold(TCHAR ch)
{
    if (ch < 0x80) return ch >= L'A' && ch <= L'Z' ? ch + (L'a' - L'A') : ch;
    ::CharLowerBuffW(&ch, 1);
    return ch;
}

int CompareByLocale(LPCTSTR psz1, LPCTSTR psz2, DWORD dwFlags)
{
    return ::CompareStringW(LOCALE_USER_DEFAULT, dwFlags, psz1, -1, Text(psz2), -1) - CSTR_EQUAL;
}

} // namespace

// Constructors.

CString::CString(const CString& strSource) : CString()
{
    if (strSource.IsNil()) return;
    if (strSource.IsLocked()) {
        Assign(strSource.m_pchData, strSource.GetLength());
    } else {
        ::InterlockedIncrement(&strSource.GetData()->nRefs);
        m_pchData = strSource.m_pchData;
    }
}

CString::CString(TCHAR ch, int nRepeat) : CString()
{
    if (nRepeat < 1) return;
    Reserve(nRepeat);
    std::wmemset(m_pchData, ch, nRepeat);
    SetLength(nRepeat);
}

CString::CString(LPCSTR psz) : CString()
{
    if (IsResourceId(psz)) {
        if (!LoadString(LOWORD(psz))) TRACE(L"There is no string resource %u.\n", LOWORD(psz));
    } else {
        *this = psz;
    }
}

CString::CString(LPCWSTR psz) : CString()
{
    if (IsResourceId(psz)) {
        if (!LoadString(LOWORD(psz))) TRACE(L"There is no string resource %u.\n", LOWORD(psz));
    } else {
        *this = psz;
    }
}

CString::CString(LPCSTR pch, int nLength) : CString()
{
    AssignNarrow(pch, nLength);
}

CString::CString(LPCWSTR pch, int nLength) : CString()
{
    if (pch && nLength > 0) Assign(pch, nLength);
}

// Assignments.

void CString::AssignNarrow(LPCSTR pch, int nLength)
{
    CString strWide;
    // No code page makes more UTF-16 units than there were bytes.
    if (pch && nLength > 0) {
        LPTSTR pchWide = strWide.GetBuffer(nLength);
        strWide.ReleaseBuffer(::MultiByteToWideChar(CP_ACP, 0, pch, nLength, pchWide, nLength));
    }
    *this = std::move(strWide);
}

void CString::Empty()
{
    if (IsLocked()) {
        SetLength(0);
    } else if (!IsNil()) {
        Release(m_pchData);
        m_pchData = const_cast<LPTSTR>(_afxPchNil);
    }
}

const CString& CString::operator=(const CString& strSource)
{
    if (m_pchData == strSource.m_pchData) return *this;
    if (IsLocked() || strSource.IsLocked()) {
        Assign(strSource.m_pchData, strSource.GetLength());
    } else {
        CString strShared(strSource);
        std::swap(m_pchData, strShared.m_pchData);
    }
    return *this;
}

const CString& CString::operator=(CString&& strSource)
{
    // A locked record neither leaves its string nor gives way to another.
    if (IsLocked() || strSource.IsLocked()) return *this = static_cast<const CString&>(strSource);
    std::swap(m_pchData, strSource.m_pchData);
    return *this;
}

const CString& CString::operator=(TCHAR ch)
{
    Assign(&ch, 1);
    return *this;
}

const CString& CString::operator=(char ch)
{
    return *this = Widen(ch);
}

const CString& CString::operator=(LPCSTR psz)
{
    AssignNarrow(psz, psz ? static_cast<int>(std::strlen(psz)) : 0);
    return *this;
}

const CString& CString::operator=(LPCWSTR psz)
{
    Assign(psz, TextLength(psz));
    return *this;
}

const CString& CString::operator+=(const CString& str)
{
    Append(str.m_pchData, str.GetLength());
    return *this;
}

const CString& CString::operator+=(char ch)
{
    return *this += Widen(ch);
}

const CString& CString::operator+=(LPCTSTR psz)
{
    Append(psz, TextLength(psz));
    return *this;
}

// Joins.

CString CString::Join(LPCTSTR pch1, int nLength1, LPCTSTR pch2, int nLength2)
{
    CString strJoined;
    if (const int nLength = SumOfLengths(nLength1, nLength2)) {
        strJoined.Reserve(nLength);
        strJoined.Append(pch1, nLength1);
        strJoined.Append(pch2, nLength2);
    }
    return strJoined;
}

CString AFXAPI operator+(const CString& str1, const CString& str2)
{
    return CString::Join(str1, str1.GetLength(), str2, str2.GetLength());
}

CString AFXAPI operator+(const CString& str, TCHAR ch)
{
    return CString::Join(str, str.GetLength(), &ch, 1);
}

CString AFXAPI operator+(TCHAR ch, const CString& str)
{
    return CString::Join(&ch, 1, str, str.GetLength());
}

CString AFXAPI operator+(const CString& str, char ch)
{
    return str + Widen(ch);
}

CString AFXAPI operator+(char ch, const CString& str)
{
    return Widen(ch) + str;
}

CString AFXAPI operator+(const CString& str, LPCTSTR psz)
{
    return CString::Join(str, str.GetLength(), psz, CString::TextLength(psz));
}

CString AFXAPI operator+(LPCTSTR psz, const CString& str)
{
    return CString::Join(psz, CString::TextLength(psz), str, str.GetLength());
}

// Comparisons.

int CString::Compare(LPCTSTR psz) const
{
    return psz == m_pchData ? 0 : std::wcscmp(m_pchData, Text(psz));
}

int CString::CompareNoCase(LPCTSTR psz) const
{
    LPCTSTR pch1 = m_pchData;
    LPCTSTR pch2 = Text(psz);
    for (;; ++pch1, ++pch2) {
        const int nDifference = *pch1 == *pch2 ? 0 : Fold(*pch1) - Fold(*pch2);
        if (nDifference != 0 || *pch1 == 0) return nDifference;
    }
}

int CString::Collate(LPCTSTR psz) const
{
    return CompareByLocale(m_pchData, psz, 0);
}

int CString::CollateNoCase(LPCTSTR psz) const
{
    return CompareByLocale(m_pchData, psz, NORM_IGNORECASE);
}
