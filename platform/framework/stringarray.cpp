#include "afxcoll.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

// A CString is one pointer that nothing else points at, so elements are moved as bytes.

IMPLEMENT_DYNAMIC(CStringArray, CObject)

namespace {

constexpr int kMaxSize = INT_MAX / sizeof(CString);

void Construct(CString* pFirst, int nCount)
{
    for (int i = 0; i < nCount; ++i) new (pFirst + i) CString;
}

void Destroy(CString* pFirst, int nCount)
{
    for (int i = 0; i < nCount; ++i) pFirst[i].~CString();
}

void Move(CString* pTo, const CString* pFrom, int nCount)
{
    std::memmove(static_cast<void*>(pTo), static_cast<const void*>(pFrom), nCount * sizeof(CString));
}

} // namespace

CStringArray::CStringArray() : m_pData(NULL), m_nSize(0), m_nMaxSize(0), m_nGrowBy(0) {}

CStringArray::~CStringArray()
{
    RemoveAll();
}

void CStringArray::Require(bool bValid) const
{
    ASSERT(bValid);
    if (!bValid) AfxThrowInvalidArgException();
}

// Makes room for nNewSize elements.
void CStringArray::Reserve(int nNewSize)
{
    if (nNewSize <= m_nMaxSize) return;
    if (nNewSize > kMaxSize) AfxThrowMemoryException();
    int nMaxSize = nNewSize;
    if (m_nMaxSize > 0) {
        const int nGrowBy = m_nGrowBy > 0 ? m_nGrowBy : std::max(4, m_nSize / 2);
        nMaxSize = std::max(nNewSize, m_nMaxSize > kMaxSize - nGrowBy ? kMaxSize : m_nMaxSize + nGrowBy);
    }
    void* pNew = std::realloc(static_cast<void*>(m_pData), nMaxSize * sizeof(CString));
    if (!pNew) AfxThrowMemoryException();
    m_pData = static_cast<CString*>(pNew);
    m_nMaxSize = nMaxSize;
}

// Makes room for nCount elements at nIndex, empty ones, and empty ones up to there.
void CStringArray::OpenGap(int nIndex, int nCount)
{
    const int nOldSize = m_nSize;
    const int nStart = std::max(nIndex, nOldSize);
    if (nCount > kMaxSize - nStart) AfxThrowMemoryException();
    Reserve(nStart + nCount);
    if (nIndex < nOldSize) {
        Move(m_pData + nIndex + nCount, m_pData + nIndex, nOldSize - nIndex);
        Construct(m_pData + nIndex, nCount);
    } else {
        Construct(m_pData + nOldSize, nIndex + nCount - nOldSize);
    }
    m_nSize = nStart + nCount;
}

void CStringArray::SetSize(int nNewSize, int nGrowBy)
{
    Require(nNewSize >= 0);
    if (nGrowBy >= 0) m_nGrowBy = nGrowBy;
    if (nNewSize == 0) {
        RemoveAll();
    } else if (nNewSize > m_nSize) {
        Reserve(nNewSize);
        Construct(m_pData + m_nSize, nNewSize - m_nSize);
    } else {
        Destroy(m_pData + nNewSize, m_nSize - nNewSize);
    }
    m_nSize = nNewSize;
}

void CStringArray::FreeExtra()
{
    if (m_nSize == 0) {
        RemoveAll();
    } else if (m_nSize < m_nMaxSize) {
        void* pNew = std::realloc(static_cast<void*>(m_pData), m_nSize * sizeof(CString));
        if (!pNew) AfxThrowMemoryException();
        m_pData = static_cast<CString*>(pNew);
        m_nMaxSize = m_nSize;
    }
}

void CStringArray::RemoveAll()
{
    Destroy(m_pData, m_nSize);
    std::free(static_cast<void*>(m_pData));
    m_pData = NULL;
    m_nSize = m_nMaxSize = 0;
}

CString CStringArray::GetAt(int nIndex) const
{
    Require(nIndex >= 0 && nIndex < m_nSize);
    return m_pData[nIndex];
}

CString& CStringArray::ElementAt(int nIndex)
{
    Require(nIndex >= 0 && nIndex < m_nSize);
    return m_pData[nIndex];
}

void CStringArray::SetAt(int nIndex, LPCTSTR pszNew)
{
    ElementAt(nIndex) = pszNew;
}

void CStringArray::SetAt(int nIndex, const CString& strNew)
{
    ElementAt(nIndex) = strNew;
}

// The arguments below may be elements of this array, which move when it grows: each is copied, or shared, first.

void CStringArray::SetAtGrow(int nIndex, LPCTSTR pszNew)
{
    CString strNew;
    strNew = pszNew;
    SetAtGrow(nIndex, strNew);
}

void CStringArray::SetAtGrow(int nIndex, const CString& strNew)
{
    Require(nIndex >= 0);
    CString strKept(strNew);
    if (nIndex >= m_nSize) OpenGap(nIndex, 1);
    m_pData[nIndex] = std::move(strKept);
}

int CStringArray::Add(LPCTSTR pszNew)
{
    const int nIndex = m_nSize;
    SetAtGrow(nIndex, pszNew);
    return nIndex;
}

int CStringArray::Add(const CString& strNew)
{
    const int nIndex = m_nSize;
    SetAtGrow(nIndex, strNew);
    return nIndex;
}

int CStringArray::Append(const CStringArray& src)
{
    const int nOldSize = m_nSize;
    InsertAt(nOldSize, const_cast<CStringArray*>(&src));
    return nOldSize;
}

void CStringArray::Copy(const CStringArray& src)
{
    CStringArray copy;
    copy.SetSize(src.m_nSize);
    for (int i = 0; i < src.m_nSize; ++i) copy.m_pData[i] = src.m_pData[i];
    std::swap(m_pData, copy.m_pData);
    std::swap(m_nSize, copy.m_nSize);
    std::swap(m_nMaxSize, copy.m_nMaxSize);
}

void CStringArray::InsertAt(int nIndex, LPCTSTR pszNew, int nCount)
{
    CString strNew;
    strNew = pszNew;
    InsertAt(nIndex, strNew, nCount);
}

void CStringArray::InsertAt(int nIndex, const CString& strNew, int nCount)
{
    Require(nIndex >= 0 && nCount > 0);
    const CString strKept(strNew);
    OpenGap(nIndex, nCount);
    for (int i = 0; i < nCount; ++i) m_pData[nIndex + i] = strKept;
}

void CStringArray::InsertAt(int nStartIndex, CStringArray* pNewArray)
{
    Require(nStartIndex >= 0 && pNewArray);
    if (pNewArray->m_nSize == 0) return;
    CStringArray copy;
    copy.Copy(*pNewArray);
    OpenGap(nStartIndex, copy.m_nSize);
    for (int i = 0; i < copy.m_nSize; ++i) m_pData[nStartIndex + i] = std::move(copy.m_pData[i]);
}

void CStringArray::RemoveAt(int nIndex, int nCount)
{
    Require(nIndex >= 0 && nCount >= 0 && nIndex <= m_nSize && nCount <= m_nSize - nIndex);
    Destroy(m_pData + nIndex, nCount);
    Move(m_pData + nIndex, m_pData + nIndex + nCount, m_nSize - nIndex - nCount);
    m_nSize -= nCount;
}
