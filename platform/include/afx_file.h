// afx_file.h - CFile, an open file, and CMemFile, the same in memory: what a CArchive writes to and reads from.
//
// Ownership  a CFile owns the handle it opened and closes it; a handle handed in stays open. A CMemFile owns its
//            memory.
// Threads    one thread at a time.
// Errors     what the system refuses throws CFileException*; Open reports it instead. Reading past the end gives
//            fewer bytes.
#ifndef AFX_FILE_H
#define AFX_FILE_H

#include "afx_string.h"

class AFX_API CFileException : public CException
{
    DECLARE_DYNAMIC(CFileException)

public:
    enum
    {
        none,
        generic,
        fileNotFound,
        badPath,
        tooManyOpenFiles,
        accessDenied,
        invalidFile,
        removeCurrentDir,
        directoryFull,
        badSeek,
        hardIO,
        sharingViolation,
        lockViolation,
        diskFull,
        endOfFile
    };
    explicit CFileException(int cause = none, LONG lOsError = -1, LPCTSTR pszFileName = NULL);

    // The cause that stands for a system error.
    static int PASCAL OsErrorToException(LONG lOsError);
    // The system's words for m_lOsError.
    BOOL GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext = NULL) override;

    int m_cause;
    LONG m_lOsError; // -1: none
    CString m_strFileName;
};

[[noreturn]] AFX_API void AFXAPI AfxThrowFileException(int cause, LONG lOsError = -1, LPCTSTR pszFileName = NULL);

class AFX_API CFile : public CObject
{
    DECLARE_DYNAMIC(CFile)

public:
    enum OpenFlags
    {
        modeRead = 0x0000,
        modeWrite = 0x0001,
        modeReadWrite = 0x0002,
        shareExclusive = 0x0010,
        shareDenyWrite = 0x0020,
        shareDenyRead = 0x0030,
        shareDenyNone = 0x0040,
        modeCreate = 0x1000,     // made anew, or emptied
        modeNoTruncate = 0x2000, // with modeCreate: not emptied
        typeText = 0x4000,       // without effect
        typeBinary = 0x8000
    };
    enum SeekPosition
    {
        begin,
        current,
        end
    };

    CFile();
    explicit CFile(HANDLE hFile);
    CFile(LPCTSTR pszFileName, UINT nOpenFlags);
    virtual ~CFile();

    // FALSE, with the reason in *pError if given, when the file could not be opened.
    virtual BOOL Open(LPCTSTR pszFileName, UINT nOpenFlags, CFileException* pError = NULL);
    virtual void Close();
    virtual UINT Read(void* pBuffer, UINT nCount); // the number of bytes read; below nCount at the end of the file
    virtual void Write(const void* pBuffer, UINT nCount);
    virtual LONG Seek(LONG lOffset, UINT nFrom); // the new position
    virtual DWORD GetPosition() const;
    virtual DWORD GetLength() const;
    virtual void SetLength(DWORD dwNewLength);
    virtual void Flush();
    void SeekToBegin() { Seek(0, begin); }
    DWORD SeekToEnd() { return Seek(0, end); }

    HANDLE m_hFile; // INVALID_HANDLE_VALUE: not open

private:
    [[noreturn]] void ThrowLastError() const;

    BOOL m_bCloseOnDelete; // the handle was opened here
    CString m_strFileName;
};

class AFX_API CMemFile : public CFile
{
    DECLARE_DYNAMIC(CMemFile)

public:
    CMemFile();
    virtual ~CMemFile();

    BOOL Open(LPCTSTR pszFileName, UINT nOpenFlags, CFileException* pError = NULL) override; // always FALSE
    void Close() override;
    UINT Read(void* pBuffer, UINT nCount) override;
    void Write(const void* pBuffer, UINT nCount) override;
    LONG Seek(LONG lOffset, UINT nFrom) override;
    DWORD GetPosition() const override { return m_dwPosition; }
    DWORD GetLength() const override { return m_dwLength; }
    void SetLength(DWORD dwNewLength) override; // bytes that are added are zero
    void Flush() override {}

private:
    BYTE* m_pBytes; // owned; m_dwRoom bytes
    DWORD m_dwRoom;
    DWORD m_dwLength;
    DWORD m_dwPosition;
};

#endif
