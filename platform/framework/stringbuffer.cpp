// CString's record: making, sharing, growing and filling it, and handing it out for direct writing.
#include "afx.h"

#include <climits>
#include <cstdlib>
#include <cstring>

namespace {

struct NilRecord
{
    CStringData data;
    TCHAR terminator;
};
// Constant, so that it is there before any constructor of a static CString runs, and so that writing through it is
// caught.
constexpr NilRecord kNil = {{-1, 0, 0}, 0};

// The largest text whose record still has a size that fits into an int.
constexpr int kMaxLength = static_cast<int>((INT_MAX - sizeof(CStringData)) / sizeof(TCHAR)) - 1;

size_t RecordSize(int nAllocLength)
{
    return sizeof(CStringData) + (static_cast<size_t>(nAllocLength) + 1) * sizeof(TCHAR);
}

} // namespace

LPCTSTR const _afxPchNil = &kNil.terminator;

LPTSTR CString::NewBuffer(int nAllocLength)
{
    if (nAllocLength > kMaxLength) AfxThrowMemoryException();
    CStringData* pData = static_cast<CStringData*>(std::malloc(RecordSize(nAllocLength)));
    if (!pData) AfxThrowMemoryException();
    pData->nRefs = 1;
    pData->nDataLength = 0;
    pData->nAllocLength = nAllocLength;
    pData->data()[0] = 0;
    return pData->data();
}

void CString::Release(LPTSTR pchData)
{
    CStringData* pData = reinterpret_cast<CStringData*>(pchData) - 1;
    if (::InterlockedDecrement(&pData->nRefs) <= 0) std::free(pData);
}

// Takes a buffer of NewBuffer's in place of the old one; a lock stays.
void CString::Adopt(LPTSTR pchData, int nLength)
{
    const bool bLocked = IsLocked();
    if (!IsNil()) Release(m_pchData);
    m_pchData = pchData;
    SetLength(nLength);
    if (bLocked) GetData()->nRefs = -1;
}

// Makes the record private with room for nAllocLength characters at least; keeps the text.
void CString::Reserve(int nAllocLength)
{
    const int nLength = GetLength();
    if (IsPrivate() && nAllocLength <= GetAllocLength()) return;
    if (nAllocLength < nLength) nAllocLength = nLength;
    if (IsPrivate()) {
        if (nAllocLength > kMaxLength) AfxThrowMemoryException();
        CStringData* pData = static_cast<CStringData*>(std::realloc(GetData(), RecordSize(nAllocLength)));
        if (!pData) AfxThrowMemoryException();
        pData->nAllocLength = nAllocLength;
        m_pchData = pData->data();
    } else {
        LPTSTR pchNew = NewBuffer(nAllocLength);
        std::memcpy(pchNew, m_pchData, nLength * sizeof(TCHAR));
        Adopt(pchNew, nLength);
    }
}

// pch may point into this string.
void CString::Assign(LPCTSTR pch, int nLength)
{
    if (nLength == 0) {
        Empty();
    } else if (IsPrivate() && nLength <= GetAllocLength()) {
        std::memmove(m_pchData, pch, nLength * sizeof(TCHAR));
        SetLength(nLength);
    } else {
        LPTSTR pchNew = NewBuffer(nLength);
        std::memcpy(pchNew, pch, nLength * sizeof(TCHAR));
        Adopt(pchNew, nLength);
    }
}

int CString::SumOfLengths(int nLength1, int nLength2)
{
    if (nLength2 > kMaxLength - nLength1) AfxThrowMemoryException();
    return nLength1 + nLength2;
}

// pch may point into this string.
void CString::Append(LPCTSTR pch, int nLength)
{
    if (nLength == 0) return;
    const int nOldLength = GetLength();
    const int nNewLength = SumOfLengths(nOldLength, nLength);
    if (!IsPrivate() || nNewLength > GetAllocLength()) {
        const bool bFromHere = pch >= m_pchData && pch <= m_pchData + nOldLength;
        const ptrdiff_t nOffset = bFromHere ? pch - m_pchData : 0;
        // Half as much again: the copying of many appends stays in proportion to the text. The first one fits exactly.
        const int nSpare = nOldLength > 0 ? nOldLength / 2 + 8 : 0;
        Reserve(nNewLength <= kMaxLength - nSpare ? nNewLength + nSpare : nNewLength);
        if (bFromHere) pch = m_pchData + nOffset;
    }
    std::memmove(m_pchData + nOldLength, pch, nLength * sizeof(TCHAR));
    SetLength(nNewLength);
}

// Direct writing.

void CString::SetAt(int nIndex, TCHAR ch)
{
    ASSERT(nIndex >= 0 && nIndex < GetLength());
    if (static_cast<UINT>(nIndex) >= static_cast<UINT>(GetLength())) return;
    CopyBeforeWrite();
    m_pchData[nIndex] = ch;
}

LPTSTR CString::GetBuffer(int nMinLength)
{
    Reserve(nMinLength);
    return m_pchData;
}

void CString::ReleaseBuffer(int nNewLength)
{
    if (nNewLength < 0) nNewLength = static_cast<int>(::wcsnlen(m_pchData, GetAllocLength()));
    ASSERT(nNewLength <= GetAllocLength());
    if (nNewLength > GetAllocLength()) nNewLength = GetAllocLength();
    if (IsNil()) return;
    CopyBeforeWrite();
    SetLength(nNewLength);
}

void CString::FreeExtra()
{
    const int nLength = GetLength();
    if (nLength == GetAllocLength()) return;
    if (nLength == 0 && !IsLocked()) {
        Empty();
        return;
    }
    LPTSTR pchNew = NewBuffer(nLength);
    std::memcpy(pchNew, m_pchData, nLength * sizeof(TCHAR));
    Adopt(pchNew, nLength);
}

LPTSTR CString::LockBuffer()
{
    Reserve(0);
    GetData()->nRefs = -1;
    return m_pchData;
}

void CString::UnlockBuffer()
{
    if (IsLocked()) GetData()->nRefs = 1;
}
