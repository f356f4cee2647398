// afxcoll.h - CStringArray, an array of CStrings that grows.
//
// Ownership  the array owns its elements; references and GetData's pointer are valid until the size changes.
// Threads    one thread at a time.
// Errors     an index or a size out of range is an assertion, without assertions a CInvalidArgException*; memory that
//            is out is a CMemoryException*. The array is unchanged after either.
#ifndef AFXCOLL_H
#define AFXCOLL_H

#include "afx.h"

class AFX_API CStringArray : public CObject
{
    DECLARE_DYNAMIC(CStringArray)

public:
    CStringArray();
    virtual ~CStringArray();

    int GetSize() const { return m_nSize; }
    int GetUpperBound() const { return m_nSize - 1; } // -1: empty
    // New elements are empty; elements behind nNewSize are destroyed. nGrowBy: how many elements to make room for when
    // the array has to grow (0: in proportion to the size, -1: as it was).
    void SetSize(int nNewSize, int nGrowBy = -1);
    void FreeExtra(); // gives back the room that is not used
    void RemoveAll(); // gives back all of it

    CString GetAt(int nIndex) const;
    void SetAt(int nIndex, LPCTSTR pszNew);
    void SetAt(int nIndex, const CString& strNew);
    CString& ElementAt(int nIndex);
    CString operator[](int nIndex) const { return GetAt(nIndex); }
    CString& operator[](int nIndex) { return ElementAt(nIndex); }
    const CString* GetData() const { return m_pData; } // NULL while there is no room
    CString* GetData() { return m_pData; }

    // An index behind the end first extends the array with empty elements.
    void SetAtGrow(int nIndex, LPCTSTR pszNew);
    void SetAtGrow(int nIndex, const CString& strNew);
    int Add(LPCTSTR pszNew); // the new element's index
    int Add(const CString& strNew);
    int Append(const CStringArray& src); // the index of the first one appended: the old size
    void Copy(const CStringArray& src);

    // nCount elements alike before nIndex; an index behind the end first extends the array with empty elements.
    void InsertAt(int nIndex, LPCTSTR pszNew, int nCount = 1);
    void InsertAt(int nIndex, const CString& strNew, int nCount = 1);
    void InsertAt(int nStartIndex, CStringArray* pNewArray);
    void RemoveAt(int nIndex, int nCount = 1); // gives no memory back

protected:
    CString* m_pData; // owned: m_nMaxSize places, of which the first m_nSize hold a CString
    int m_nSize;
    int m_nMaxSize;
    int m_nGrowBy;

private:
    void Require(bool bValid) const;
    void Reserve(int nNewSize);
    void OpenGap(int nIndex, int nCount);
};

#endif
