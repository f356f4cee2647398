// afx_archive.h - CArchive, values one after the other in a CFile, in the bytes they have in memory.
//
// Ownership  the file is borrowed and must outlive the archive, whose buffer goes to it in Close or the destructor.
// Threads    one thread at a time.
// Errors     a value that is not there whole throws CArchiveException*, as does storing while loading and the reverse;
//            what the file refuses throws CFileException*. A string's length is believed only as far as there is data.
#ifndef AFX_ARCHIVE_H
#define AFX_ARCHIVE_H

#include "afx_file.h"
#include "afx_time.h"

#include <vector>

class AFX_API CArchiveException : public CException
{
    DECLARE_DYNAMIC(CArchiveException)

public:
    enum
    {
        none,
        generic,
        readOnly,
        endOfFile,
        writeOnly,
        badIndex,
        badClass,
        badSchema
    };
    explicit CArchiveException(int cause = none) : m_cause(cause) {}
    BOOL GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext = NULL) override;

    int m_cause;
};

[[noreturn]] AFX_API void AFXAPI AfxThrowArchiveException(int cause);

class AFX_API CArchive
{
public:
    enum Mode
    {
        store = 0,
        load = 1,
        bNoFlushOnDelete = 2 // the destructor drops what Close did not write
    };
    CArchive(CFile* pFile, UINT nMode, int nBufferSize = 4096);
    ~CArchive(); // closes; what cannot be written then is lost, so Close first
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    BOOL IsLoading() const { return (m_nMode & load) != 0; }
    BOOL IsStoring() const { return !IsLoading(); }
    CFile* GetFile() const { return m_pFile; }
    UINT Read(void* pBuffer, UINT nCount); // the number of bytes read; below nCount at the end of the file
    void Write(const void* pBuffer, UINT nCount);
    // Storing: writes the buffer. Loading: puts the file's position behind the last value read.
    void Flush();
    void Close(); // flushes; the archive is done with the file
    void Abort(); // done with the file, without flushing

    CArchive& operator<<(BYTE by) { return Store(by); }
    CArchive& operator<<(char ch) { return Store(ch); }
    CArchive& operator<<(WORD w) { return Store(w); }
    CArchive& operator<<(short n) { return Store(n); }
    CArchive& operator<<(int n) { return Store(n); }
    CArchive& operator<<(UINT n) { return Store(n); }
    CArchive& operator<<(LONG l) { return Store(l); }
    CArchive& operator<<(DWORD dw) { return Store(dw); }
    CArchive& operator<<(float f) { return Store(f); }
    CArchive& operator<<(double d) { return Store(d); }
    CArchive& operator>>(BYTE& by) { return Load(by); }
    CArchive& operator>>(char& ch) { return Load(ch); }
    CArchive& operator>>(WORD& w) { return Load(w); }
    CArchive& operator>>(short& n) { return Load(n); }
    CArchive& operator>>(int& n) { return Load(n); }
    CArchive& operator>>(UINT& n) { return Load(n); }
    CArchive& operator>>(LONG& l) { return Load(l); }
    CArchive& operator>>(DWORD& dw) { return Load(dw); }
    CArchive& operator>>(float& f) { return Load(f); }
    CArchive& operator>>(double& d) { return Load(d); }

private:
    template <class T> CArchive& Store(T value)
    {
        Write(&value, sizeof value);
        return *this;
    }
    template <class T> CArchive& Load(T& value)
    {
        T read;
        if (Read(&read, sizeof read) < sizeof read) AfxThrowArchiveException(CArchiveException::endOfFile);
        value = read;
        return *this;
    }

    CFile* m_pFile; // borrowed; NULL once closed
    UINT m_nMode;
    UINT m_nBufferSize;
    std::vector<BYTE> m_buffer; // storing: not yet written; loading: read ahead
    size_t m_nNext;             // loading: the next byte to hand out
};

// A marker (FF FE FF) says that UTF-16 follows; then the number of characters (one byte; from 255 on FF and two bytes;
// from 65534 on FF FF FF and four bytes), then the characters. Without the marker the text is 8-bit, and is converted.
AFX_API CArchive& AFXAPI operator<<(CArchive& ar, const CString& str);
AFX_API CArchive& AFXAPI operator>>(CArchive& ar, CString& str);
AFX_API CArchive& AFXAPI operator<<(CArchive& ar, CTime time);
AFX_API CArchive& AFXAPI operator>>(CArchive& ar, CTime& time);
AFX_API CArchive& AFXAPI operator<<(CArchive& ar, CTimeSpan span);
AFX_API CArchive& AFXAPI operator>>(CArchive& ar, CTimeSpan& span);

#endif
