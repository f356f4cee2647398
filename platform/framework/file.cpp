#include "afx.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

IMPLEMENT_DYNAMIC(CFileException, CException)
IMPLEMENT_DYNAMIC(CFile, CObject)
IMPLEMENT_DYNAMIC(CMemFile, CFile)

CFileException::CFileException(int cause, LONG lOsError, LPCTSTR pszFileName) : m_cause(cause), m_lOsError(lOsError)
{
    m_strFileName = pszFileName;
}

int PASCAL CFileException::OsErrorToException(LONG lOsError)
{
    switch (lOsError) {
    case NO_ERROR:
        return none;
    case ERROR_FILE_NOT_FOUND:
        return fileNotFound;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_DRIVE:
        return badPath;
    case ERROR_TOO_MANY_OPEN_FILES:
        return tooManyOpenFiles;
    case ERROR_ACCESS_DENIED:
    case ERROR_FILE_EXISTS:
        return accessDenied;
    case ERROR_INVALID_HANDLE:
        return invalidFile;
    case ERROR_SEEK:
    case ERROR_NEGATIVE_SEEK:
        return badSeek;
    case ERROR_CRC:
    case ERROR_WRITE_FAULT:
    case ERROR_READ_FAULT:
        return hardIO;
    case ERROR_SHARING_VIOLATION:
        return sharingViolation;
    case ERROR_LOCK_VIOLATION:
        return lockViolation;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
        return diskFull;
    case ERROR_HANDLE_EOF:
        return endOfFile;
    default:
        return generic;
    }
}

BOOL CFileException::GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext)
{
    CException::GetErrorMessage(pszError, nMaxError, pnHelpContext);
    if (m_lOsError == -1 || !pszError || nMaxError == 0) return FALSE;
    LPTSTR pszText = NULL;
    if (!::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                              FORMAT_MESSAGE_MAX_WIDTH_MASK,
                          NULL, m_lOsError, 0, reinterpret_cast<LPTSTR>(&pszText), 0, NULL)) {
        return FALSE;
    }
    ::lstrcpynW(pszError, pszText, static_cast<int>(std::min<UINT>(nMaxError, INT_MAX)));
    ::LocalFree(pszText);
    return TRUE;
}

void AFXAPI AfxThrowFileException(int cause, LONG lOsError, LPCTSTR pszFileName)
{
    throw new CFileException(cause, lOsError, pszFileName);
}

// CFile

CFile::CFile() : m_hFile(INVALID_HANDLE_VALUE), m_bCloseOnDelete(FALSE) {}

CFile::CFile(HANDLE hFile) : m_hFile(hFile), m_bCloseOnDelete(FALSE) {}

CFile::CFile(LPCTSTR pszFileName, UINT nOpenFlags) : CFile()
{
    CFileException error;
    if (!CFile::Open(pszFileName, nOpenFlags, &error)) {
        AfxThrowFileException(error.m_cause, error.m_lOsError, error.m_strFileName);
    }
}

CFile::~CFile()
{
    if (m_bCloseOnDelete && m_hFile != INVALID_HANDLE_VALUE) ::CloseHandle(m_hFile);
}

void CFile::ThrowLastError() const
{
    const LONG lOsError = static_cast<LONG>(::GetLastError());
    AfxThrowFileException(CFileException::OsErrorToException(lOsError), lOsError, m_strFileName);
}

BOOL CFile::Open(LPCTSTR pszFileName, UINT nOpenFlags, CFileException* pError)
{
    ASSERT(m_hFile == INVALID_HANDLE_VALUE);
    static constexpr DWORD kAccess[] = {GENERIC_READ, GENERIC_WRITE, GENERIC_READ | GENERIC_WRITE, GENERIC_READ};
    DWORD dwShare = 0;
    switch (nOpenFlags & 0x70) {
    case shareDenyWrite:
        dwShare = FILE_SHARE_READ;
        break;
    case shareDenyRead:
        dwShare = FILE_SHARE_WRITE;
        break;
    case shareDenyNone:
        dwShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
        break;
    }
    const CString strFileName(pszFileName); // first: when memory is out, nothing is open
    DWORD dwCreate = OPEN_EXISTING;
    if (nOpenFlags & modeCreate) dwCreate = nOpenFlags & modeNoTruncate ? OPEN_ALWAYS : CREATE_ALWAYS;
    const HANDLE hFile =
        ::CreateFileW(pszFileName, kAccess[nOpenFlags & 3], dwShare, NULL, dwCreate, FILE_ATTRIBUTE_NORMAL, NULL);
    if (hFile == INVALID_HANDLE_VALUE) {
        const LONG lOsError = static_cast<LONG>(::GetLastError());
        if (pError) {
            pError->m_cause = CFileException::OsErrorToException(lOsError);
            pError->m_lOsError = lOsError;
            pError->m_strFileName = strFileName;
        }
        return FALSE;
    }
    m_hFile = hFile;
    m_bCloseOnDelete = TRUE;
    m_strFileName = strFileName;
    return TRUE;
}

void CFile::Close()
{
    const HANDLE hFile = m_hFile;
    m_hFile = INVALID_HANDLE_VALUE;
    m_bCloseOnDelete = FALSE;
    if (hFile != INVALID_HANDLE_VALUE && !::CloseHandle(hFile)) ThrowLastError();
    m_strFileName.Empty();
}

UINT CFile::Read(void* pBuffer, UINT nCount)
{
    DWORD dwRead = 0;
    if (!::ReadFile(m_hFile, pBuffer, nCount, &dwRead, NULL)) ThrowLastError();
    return dwRead;
}

void CFile::Write(const void* pBuffer, UINT nCount)
{
    DWORD dwWritten = 0;
    if (!::WriteFile(m_hFile, pBuffer, nCount, &dwWritten, NULL)) ThrowLastError();
    if (dwWritten != nCount) AfxThrowFileException(CFileException::diskFull, -1, m_strFileName);
}

LONG CFile::Seek(LONG lOffset, UINT nFrom)
{
    static_assert(begin == FILE_BEGIN && current == FILE_CURRENT && end == FILE_END, "handed on as they are");
    const DWORD dwPosition = ::SetFilePointer(m_hFile, lOffset, NULL, nFrom);
    if (dwPosition == INVALID_SET_FILE_POINTER) ThrowLastError();
    return static_cast<LONG>(dwPosition);
}

DWORD CFile::GetPosition() const
{
    const DWORD dwPosition = ::SetFilePointer(m_hFile, 0, NULL, FILE_CURRENT);
    if (dwPosition == INVALID_SET_FILE_POINTER) ThrowLastError();
    return dwPosition;
}

DWORD CFile::GetLength() const
{
    const DWORD dwLength = ::GetFileSize(m_hFile, NULL);
    if (dwLength == INVALID_FILE_SIZE) ThrowLastError();
    return dwLength;
}

void CFile::SetLength(DWORD dwNewLength)
{
    Seek(static_cast<LONG>(dwNewLength), begin);
    if (!::SetEndOfFile(m_hFile)) ThrowLastError();
}

void CFile::Flush()
{
    if (m_hFile != INVALID_HANDLE_VALUE && !::FlushFileBuffers(m_hFile)) ThrowLastError();
}

// CMemFile

CMemFile::CMemFile() : m_pBytes(NULL), m_dwRoom(0), m_dwLength(0), m_dwPosition(0) {}

CMemFile::~CMemFile()
{
    std::free(m_pBytes);
}

BOOL CMemFile::Open(LPCTSTR, UINT, CFileException*)
{
    return FALSE;
}

void CMemFile::Close()
{
    std::free(m_pBytes);
    m_pBytes = NULL;
    m_dwRoom = m_dwLength = m_dwPosition = 0;
}

UINT CMemFile::Read(void* pBuffer, UINT nCount)
{
    const DWORD dwLeft = m_dwPosition < m_dwLength ? m_dwLength - m_dwPosition : 0;
    const UINT nRead = std::min<UINT>(nCount, dwLeft);
    if (nRead > 0) std::memcpy(pBuffer, m_pBytes + m_dwPosition, nRead);
    m_dwPosition += nRead;
    return nRead;
}

void CMemFile::Write(const void* pBuffer, UINT nCount)
{
    if (nCount == 0) return;
    if (nCount > MAXLONG - m_dwPosition) AfxThrowMemoryException();
    const DWORD dwEnd = m_dwPosition + nCount;
    if (dwEnd > m_dwLength) SetLength(dwEnd);
    std::memcpy(m_pBytes + m_dwPosition, pBuffer, nCount);
    m_dwPosition = dwEnd;
}

LONG CMemFile::Seek(LONG lOffset, UINT nFrom)
{
    const INT64 nBase = nFrom == begin ? 0 : nFrom == current ? m_dwPosition : m_dwLength;
    const INT64 nPosition = nBase + lOffset;
    if (nPosition < 0 || nPosition > MAXLONG) AfxThrowFileException(CFileException::badSeek);
    m_dwPosition = static_cast<DWORD>(nPosition);
    return static_cast<LONG>(nPosition);
}

void CMemFile::SetLength(DWORD dwNewLength)
{
    if (dwNewLength > m_dwRoom) {
        if (dwNewLength > MAXLONG) AfxThrowMemoryException();
        const DWORD dwRoom = std::min<DWORD>(std::max<DWORD>(dwNewLength, m_dwRoom + m_dwRoom / 2), MAXLONG);
        BYTE* pBytes = static_cast<BYTE*>(std::realloc(m_pBytes, dwRoom));
        if (!pBytes) AfxThrowMemoryException();
        m_pBytes = pBytes;
        m_dwRoom = dwRoom;
    }
    if (dwNewLength > m_dwLength) std::memset(m_pBytes + m_dwLength, 0, dwNewLength - m_dwLength);
    m_dwLength = dwNewLength;
}
