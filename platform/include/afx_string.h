// afx_string.h - CString, the framework's UTF-16 text: one pointer to its characters, shared until somebody writes.
//
// Ownership  the characters belong to a counted record in front of them; copies share it, a writer first makes it its
//            own.
// Threads    different CStrings on different threads may share a record; one CString is for one thread at a time.
// Errors     memory that is out and sizes that cannot be allocated throw CMemoryException*; the string is then
//            unchanged. A pointer that is NULL counts as an empty text everywhere.
#ifndef AFX_STRING_H
#define AFX_STRING_H

#include "afx_except.h"

#include <wtypes.h>
#include <cstdarg>
#include <cwchar>
#include <type_traits>

// What stands in memory before the characters of a CString. The characters and a terminator follow.
struct CStringData
{
    long nRefs;       // how many CStrings point here; -1: locked (or the empty record), shared with nobody
    int nDataLength;  // characters, without the terminator
    int nAllocLength; // characters there is room for, without the terminator

    TCHAR* data() { return reinterpret_cast<TCHAR*>(this + 1); }
};
static_assert(sizeof(CStringData) == 12, "the device's record");

// The characters of the empty record, the one that every empty string of the process points at. Read-only.
extern AFX_API LPCTSTR const _afxPchNil;

class AFX_API CString
{
public:
    CString() : m_pchData(const_cast<LPTSTR>(_afxPchNil)) {}
    CString(const CString& strSource);
    // The record goes over, with its lock if it has one; the source is empty afterwards.
    CString(CString&& strSource) noexcept : m_pchData(strSource.m_pchData)
    {
        strSource.m_pchData = const_cast<LPTSTR>(_afxPchNil);
    }
    CString(TCHAR ch, int nRepeat = 1); // nRepeat < 1: empty
    // Text up to its terminator. A "pointer" below 0x10000 is the id of a string resource (empty when there is none).
    // 8-bit text is converted from the ANSI code page.
    CString(LPCSTR psz);
    CString(LPCWSTR psz);
    CString(const unsigned char* psz) : CString(reinterpret_cast<LPCSTR>(psz)) {}
    // Exactly nLength characters (bytes), zeros included; nLength < 1: empty.
    CString(LPCSTR pch, int nLength);
    CString(LPCWSTR pch, int nLength);
    ~CString()
    {
        if (m_pchData != _afxPchNil) Release(m_pchData);
    }

    int GetLength() const { return GetData()->nDataLength; }
    BOOL IsEmpty() const { return GetLength() == 0; }
    void Empty();
    // REQUIRES: 0 <= nIndex < GetLength(). Otherwise an assertion; without assertions 0, and SetAt does nothing.
    TCHAR GetAt(int nIndex) const
    {
        ASSERT(nIndex >= 0 && nIndex < GetLength());
        return static_cast<UINT>(nIndex) < static_cast<UINT>(GetLength()) ? m_pchData[nIndex] : TCHAR(0);
    }
    TCHAR operator[](int nIndex) const { return GetAt(nIndex); }
    void SetAt(int nIndex, TCHAR ch);
    // The characters with a terminator: never NULL, valid until the string is changed or destroyed.
    operator LPCTSTR() const { return m_pchData; }

    const CString& operator=(const CString& strSource);
    const CString& operator=(CString&& strSource);
    const CString& operator=(TCHAR ch);
    const CString& operator=(char ch);
    const CString& operator=(LPCSTR psz);
    const CString& operator=(LPCWSTR psz);
    const CString& operator=(const unsigned char* psz) { return *this = reinterpret_cast<LPCSTR>(psz); }
    // A character 0 is appended like any other. Appending grows in proportion: many short appends are not quadratic.
    const CString& operator+=(const CString& str);
    const CString& operator+=(TCHAR ch)
    {
        // The empty record has no room, a locked one is as private as one that is counted once.
        CStringData* pData = GetData();
        if (pData->nRefs <= 1 && pData->nDataLength < pData->nAllocLength) {
            m_pchData[pData->nDataLength] = ch;
            m_pchData[++pData->nDataLength] = 0;
        } else {
            Append(&ch, 1);
        }
        return *this;
    }
    const CString& operator+=(char ch);
    const CString& operator+=(LPCTSTR psz);

    friend AFX_API CString AFXAPI operator+(const CString& str1, const CString& str2);
    friend AFX_API CString AFXAPI operator+(const CString& str, TCHAR ch);
    friend AFX_API CString AFXAPI operator+(TCHAR ch, const CString& str);
    friend AFX_API CString AFXAPI operator+(const CString& str, char ch);
    friend AFX_API CString AFXAPI operator+(char ch, const CString& str);
    friend AFX_API CString AFXAPI operator+(const CString& str, LPCTSTR psz);
    friend AFX_API CString AFXAPI operator+(LPCTSTR psz, const CString& str);

    // Below 0, 0, above 0. All comparisons, the operators too, end at the first zero of either text.
    int Compare(LPCTSTR psz) const;       // by code units
    int CompareNoCase(LPCTSTR psz) const; // by code units made lower case, one by one
    int Collate(LPCTSTR psz) const;       // in the order of the user's language
    int CollateNoCase(LPCTSTR psz) const;

    // Parts. Positions and counts outside the text are cut to it; a part that is the whole shares its record.
    CString Mid(int nFirst, int nCount) const;
    CString Mid(int nFirst) const;
    CString Left(int nCount) const;
    CString Right(int nCount) const;
    CString SpanIncluding(LPCTSTR pszSet) const; // the leading run of characters in the set
    CString SpanExcluding(LPCTSTR pszSet) const; // the leading run of characters not in the set

    void MakeUpper();
    void MakeLower();
    void MakeReverse();
    // Without argument: space, tab, newline and carriage return. An empty set trims nothing.
    void TrimLeft();
    void TrimLeft(TCHAR ch);
    void TrimLeft(LPCTSTR pszSet);
    void TrimRight();
    void TrimRight(TCHAR ch);
    void TrimRight(LPCTSTR pszSet);

    // How many were replaced or removed. What was put in is not looked at again; an empty pszOld replaces nothing.
    int Replace(TCHAR chOld, TCHAR chNew);
    int Replace(LPCTSTR pszOld, LPCTSTR pszNew);
    int Remove(TCHAR ch);
    // The new length. nIndex is cut to the text.
    int Insert(int nIndex, TCHAR ch);
    int Insert(int nIndex, LPCTSTR psz);
    int Delete(int nIndex, int nCount = 1);

    // The position, -1 when absent. The whole length is searched, zeros or not; an empty pszSub is found at nStart.
    int Find(TCHAR ch, int nStart = 0) const;
    int Find(LPCTSTR pszSub, int nStart = 0) const;
    int ReverseFind(TCHAR ch) const;
    int FindOneOf(LPCTSTR pszSet) const;

    // The system's wide formats: %s is a TCHAR text, %S an 8-bit one. A CString goes where %s is, this string too.
    // Any length. A text that cannot be formatted, or no format, gives an empty string. The id names a string resource.
    template <class... Args> void Format(LPCTSTR pszFormat, Args... args);
    template <class... Args> void Format(UINT nFormatID, Args... args);
    void FormatV(LPCTSTR pszFormat, va_list args);
    // The system's message formats: %1 to %99, %1!d!.
    template <class... Args> void FormatMessage(LPCTSTR pszFormat, Args... args);
    template <class... Args> void FormatMessage(UINT nFormatID, Args... args);

    // The string resource nID; FALSE, and the string empty, when there is none (or an empty one).
    BOOL LoadString(UINT nID);
    // A new BSTR of GetLength() characters, the caller's to free.
    BSTR AllocSysString() const;
    // The same in place of *pbstr, which is freed. Returns the new *pbstr; on failure the old one stays.
    BSTR SetSysString(BSTR* pbstr) const;

    // Direct writing: a private buffer of at least nMinLength characters and a terminator that starts with the text.
    // Valid until ReleaseBuffer or any other call. ReleaseBuffer sets the length: -1 for "up to the terminator", which
    // is looked for only inside the buffer; more than the buffer holds is cut.
    LPTSTR GetBuffer(int nMinLength);
    void ReleaseBuffer(int nNewLength = -1);
    // The length is nNewLength at once; what is behind the text is undefined.
    LPTSTR GetBufferSetLength(int nNewLength)
    {
        // Below 0 is beyond any length.
        if (!IsPrivate() || static_cast<UINT>(nNewLength) > static_cast<UINT>(GetAllocLength())) {
            if (nNewLength < 0) nNewLength = 0;
            Reserve(nNewLength);
        }
        SetLength(nNewLength);
        return m_pchData;
    }
    void FreeExtra(); // reallocates to exactly the length
    // While locked the string shares with nobody: it is copied out of, and assignments copy into it.
    LPTSTR LockBuffer();
    void UnlockBuffer();
    int GetAllocLength() const { return GetData()->nAllocLength; }

private:
    CStringData* GetData() const { return reinterpret_cast<CStringData*>(m_pchData) - 1; }
    bool IsNil() const { return m_pchData == _afxPchNil; }
    bool IsLocked() const { return GetData()->nRefs < 0 && !IsNil(); }
    bool IsPrivate() const { return !IsNil() && GetData()->nRefs <= 1; }
    static int TextLength(LPCTSTR psz) { return psz ? static_cast<int>(std::wcslen(psz)) : 0; }
    static void Release(LPTSTR pchData);
    static LPTSTR NewBuffer(int nAllocLength);
    static int SumOfLengths(int nLength1, int nLength2);
    void Adopt(LPTSTR pchData, int nLength);
    void Reserve(int nAllocLength);
    void CopyBeforeWrite()
    {
        if (!IsEmpty()) Reserve(GetLength());
    }
    // REQUIRES: the record is private and has the room.
    void SetLength(int nLength)
    {
        GetData()->nDataLength = nLength;
        m_pchData[nLength] = 0;
    }
    void Assign(LPCTSTR pch, int nLength);
    void AssignNarrow(LPCSTR pch, int nLength);
    void Append(LPCTSTR pch, int nLength);
    void InsertText(int nIndex, LPCTSTR pch, int nLength);
    static CString Join(LPCTSTR pch1, int nLength1, LPCTSTR pch2, int nLength2);
    void FormatText(LPCTSTR pszFormat, ...);
    void FormatMessageText(LPCTSTR pszFormat, ...);

    LPTSTR m_pchData; // owned share of the record in front of it; never NULL
};
static_assert(sizeof(CString) == sizeof(LPTSTR), "one pointer wide");

// What of an argument goes through "...": of a CString its text, of anything else the value.
template <class T> auto AfxVarArg(const T& value)
{
    if constexpr (std::is_base_of_v<CString, T>) {
        return static_cast<LPCTSTR>(value);
    } else {
        static_assert(!std::is_class_v<T>, "only numbers, pointers and CStrings can be formatted");
        return value;
    }
}

template <class... Args> void CString::Format(LPCTSTR pszFormat, Args... args)
{
    FormatText(pszFormat, AfxVarArg(args)...);
}

template <class... Args> void CString::Format(UINT nFormatID, Args... args)
{
    CString strFormat;
    strFormat.LoadString(nFormatID);
    FormatText(strFormat.m_pchData, AfxVarArg(args)...);
}

template <class... Args> void CString::FormatMessage(LPCTSTR pszFormat, Args... args)
{
    FormatMessageText(pszFormat, AfxVarArg(args)...);
}

template <class... Args> void CString::FormatMessage(UINT nFormatID, Args... args)
{
    CString strFormat;
    strFormat.LoadString(nFormatID);
    FormatMessageText(strFormat.m_pchData, AfxVarArg(args)...);
}

// Comparisons in both orders, by Compare.
#define AFX_STRING_COMPARISON(op)                                                                                      \
    inline bool operator op(const CString& s1, const CString& s2)                                                      \
    {                                                                                                                  \
        return s1.Compare(s2) op 0;                                                                                    \
    }                                                                                                                  \
    inline bool operator op(const CString& s1, LPCTSTR s2)                                                             \
    {                                                                                                                  \
        return s1.Compare(s2) op 0;                                                                                    \
    }                                                                                                                  \
    inline bool operator op(LPCTSTR s1, const CString& s2)                                                             \
    {                                                                                                                  \
        return 0 op s2.Compare(s1);                                                                                    \
    }
AFX_STRING_COMPARISON(==)
AFX_STRING_COMPARISON(!=)
AFX_STRING_COMPARISON(<)
AFX_STRING_COMPARISON(>)
AFX_STRING_COMPARISON(<=)
AFX_STRING_COMPARISON(>=)
#undef AFX_STRING_COMPARISON

// One line of text to the debugger, formatted as CString::Format does.
AFX_API void AFXAPI AfxTraceText(LPCTSTR pszText);

template <class... Args> void AfxTrace(LPCTSTR pszFormat, Args... args)
{
    CString strText;
    strText.Format(pszFormat, args...);
    AfxTraceText(strText);
}

#endif
