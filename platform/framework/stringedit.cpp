// CString's parts, searches and edits.
#include "afx.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

namespace {

constexpr TCHAR kSpaces[] = L" \t\n\r";

// 0 belongs to no set: a set ends there.
bool IsIn(LPCTSTR pszSet, TCHAR ch)
{
    return ch != 0 && pszSet && std::wcschr(pszSet, ch);
}

// The first place in [pch, pchEnd) where pszSub stands, else NULL. REQUIRES: nSubLength > 0.
LPCTSTR FindText(LPCTSTR pch, LPCTSTR pchEnd, LPCTSTR pszSub, int nSubLength)
{
    while (pchEnd - pch >= nSubLength) {
        pch = std::wmemchr(pch, *pszSub, pchEnd - pch - nSubLength + 1);
        if (!pch || std::wmemcmp(pch, pszSub, nSubLength) == 0) return pch;
        ++pch;
    }
    return NULL;
}

} // namespace

// Parts.

CString CString::Mid(int nFirst, int nCount) const
{
    nFirst = std::clamp(nFirst, 0, GetLength());
    nCount = std::clamp(nCount, 0, GetLength() - nFirst);
    if (nCount == GetLength()) return *this;
    return CString(m_pchData + nFirst, nCount);
}

CString CString::Mid(int nFirst) const
{
    return Mid(nFirst, GetLength());
}

CString CString::Left(int nCount) const
{
    return Mid(0, nCount);
}

CString CString::Right(int nCount) const
{
    return Mid(GetLength() - std::clamp(nCount, 0, GetLength()));
}

CString CString::SpanIncluding(LPCTSTR pszSet) const
{
    int nLength = 0;
    while (nLength < GetLength() && IsIn(pszSet, m_pchData[nLength])) ++nLength;
    return Left(nLength);
}

CString CString::SpanExcluding(LPCTSTR pszSet) const
{
    const int nEnd = FindOneOf(pszSet);
    return nEnd < 0 ? *this : Left(nEnd);
}

// Searches.

int CString::Find(TCHAR ch, int nStart) const
{
    nStart = std::max(nStart, 0);
    if (nStart >= GetLength()) return -1;
    const LPCTSTR pchFound = std::wmemchr(m_pchData + nStart, ch, GetLength() - nStart);
    return pchFound ? static_cast<int>(pchFound - m_pchData) : -1;
}

int CString::Find(LPCTSTR pszSub, int nStart) const
{
    nStart = std::max(nStart, 0);
    if (nStart > GetLength()) return -1;
    const int nSubLength = TextLength(pszSub);
    if (nSubLength == 0) return nStart;
    const LPCTSTR pchFound = FindText(m_pchData + nStart, m_pchData + GetLength(), pszSub, nSubLength);
    return pchFound ? static_cast<int>(pchFound - m_pchData) : -1;
}

int CString::ReverseFind(TCHAR ch) const
{
    int nIndex = GetLength() - 1;
    while (nIndex >= 0 && m_pchData[nIndex] != ch) --nIndex;
    return nIndex;
}

int CString::FindOneOf(LPCTSTR pszSet) const
{
    for (int nIndex = 0; nIndex < GetLength(); ++nIndex) {
        if (IsIn(pszSet, m_pchData[nIndex])) return nIndex;
    }
    return -1;
}

// Edits.

void CString::MakeUpper()
{
    CopyBeforeWrite();
    ::CharUpperBuffW(m_pchData, GetLength());
}

void CString::MakeLower()
{
    CopyBeforeWrite();
    ::CharLowerBuffW(m_pchData, GetLength());
}

void CString::MakeReverse()
{
    CopyBeforeWrite();
    std::reverse(m_pchData, m_pchData + GetLength());
}

void CString::TrimLeft()
{
    TrimLeft(kSpaces);
}

void CString::TrimLeft(TCHAR ch)
{
    int nCount = 0;
    while (nCount < GetLength() && m_pchData[nCount] == ch) ++nCount;
    Delete(0, nCount);
}

void CString::TrimLeft(LPCTSTR pszSet)
{
    int nCount = 0;
    while (nCount < GetLength() && IsIn(pszSet, m_pchData[nCount])) ++nCount;
    Delete(0, nCount);
}

void CString::TrimRight()
{
    TrimRight(kSpaces);
}

void CString::TrimRight(TCHAR ch)
{
    int nLength = GetLength();
    while (nLength > 0 && m_pchData[nLength - 1] == ch) --nLength;
    Delete(nLength, GetLength());
}

void CString::TrimRight(LPCTSTR pszSet)
{
    int nLength = GetLength();
    while (nLength > 0 && IsIn(pszSet, m_pchData[nLength - 1])) --nLength;
    Delete(nLength, GetLength());
}

int CString::Replace(TCHAR chOld, TCHAR chNew)
{
    if (chOld == chNew) return 0;
    const int nCount = static_cast<int>(std::count(m_pchData, m_pchData + GetLength(), chOld));
    if (nCount > 0) {
        CopyBeforeWrite();
        std::replace(m_pchData, m_pchData + GetLength(), chOld, chNew);
    }
    return nCount;
}

int CString::Replace(LPCTSTR pszOld, LPCTSTR pszNew)
{
    const int nOldLength = TextLength(pszOld);
    const int nNewLength = TextLength(pszNew);
    if (nOldLength == 0) return 0;
    const LPCTSTR pchEnd = m_pchData + GetLength();
    int nCount = 0;
    for (LPCTSTR pch = m_pchData; (pch = FindText(pch, pchEnd, pszOld, nOldLength)); pch += nOldLength) ++nCount;
    if (nCount == 0) return 0;

    // Built beside the old text, because both arguments may point into it.
    const INT64 nLength = GetLength() + static_cast<INT64>(nCount) * (nNewLength - nOldLength);
    if (nLength > INT_MAX) AfxThrowMemoryException();
    CString strResult;
    if (nLength > 0) strResult.Reserve(static_cast<int>(nLength));
    LPCTSTR pchRest = m_pchData;
    while (const LPCTSTR pchFound = FindText(pchRest, pchEnd, pszOld, nOldLength)) {
        strResult.Append(pchRest, static_cast<int>(pchFound - pchRest));
        strResult.Append(pszNew, nNewLength);
        pchRest = pchFound + nOldLength;
    }
    strResult.Append(pchRest, static_cast<int>(pchEnd - pchRest));
    *this = std::move(strResult);
    return nCount;
}

int CString::Remove(TCHAR ch)
{
    const int nCount = static_cast<int>(std::count(m_pchData, m_pchData + GetLength(), ch));
    if (nCount > 0) {
        CopyBeforeWrite();
        std::remove(m_pchData, m_pchData + GetLength(), ch);
        SetLength(GetLength() - nCount);
    }
    return nCount;
}

void CString::InsertText(int nIndex, LPCTSTR pch, int nLength)
{
    nIndex = std::clamp(nIndex, 0, GetLength());
    const int nOldLength = GetLength();
    // Appended first: that grows the room, and takes care of a text that is part of this string.
    Append(pch, nLength);
    std::rotate(m_pchData + nIndex, m_pchData + nOldLength, m_pchData + GetLength());
}

int CString::Insert(int nIndex, TCHAR ch)
{
    InsertText(nIndex, &ch, 1);
    return GetLength();
}

int CString::Insert(int nIndex, LPCTSTR psz)
{
    const int nLength = TextLength(psz);
    if (nLength > 0) InsertText(nIndex, psz, nLength);
    return GetLength();
}

int CString::Delete(int nIndex, int nCount)
{
    const int nLength = GetLength();
    nIndex = std::max(nIndex, 0);
    if (nIndex >= nLength || nCount <= 0) return nLength;
    nCount = std::min(nCount, nLength - nIndex);
    CopyBeforeWrite();
    std::wmemmove(m_pchData + nIndex, m_pchData + nIndex + nCount, nLength - nIndex - nCount);
    SetLength(nLength - nCount);
    return GetLength();
}
