#include "guarded.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

IMPLEMENT_DYNAMIC(CArchiveException, CException)

namespace {

constexpr BYTE kLongLength = 0xFF;       // a WORD follows
constexpr WORD kUtf16 = 0xFFFE;          // in its place: the text is UTF-16, and its length follows
constexpr WORD kVeryLongLength = 0xFFFF; // a DWORD follows

struct StoredLength
{
    DWORD dwLength; // characters
    bool bUtf16;
};

StoredLength ReadLength(CArchive& ar)
{
    StoredLength length = {0, false};
    for (;;) {
        BYTE byLength;
        WORD wLength;
        ar >> byLength;
        length.dwLength = byLength;
        if (byLength != kLongLength) return length;
        ar >> wLength;
        length.dwLength = wLength;
        if (wLength == kUtf16 && !length.bUtf16) {
            length.bUtf16 = true;
            continue;
        }
        if (wLength == kVeryLongLength) ar >> length.dwLength;
        return length;
    }
}

void WriteLength(CArchive& ar, DWORD dwLength)
{
    if (dwLength < kLongLength) {
        ar << static_cast<BYTE>(dwLength);
        return;
    }
    ar << kLongLength;
    if (dwLength < kUtf16) {
        ar << static_cast<WORD>(dwLength);
    } else {
        ar << kVeryLongLength << dwLength;
    }
}

// Hands dwLength characters to `take(pch, nCount)`, piece by piece, so that a wrong length costs no more than the data
// there is.
template <class Char, class Take> void ReadPieces(CArchive& ar, DWORD dwLength, Take take)
{
    Char rgPiece[1024];
    while (dwLength > 0) {
        const DWORD dwPiece = std::min<DWORD>(dwLength, ARRAYSIZE(rgPiece));
        const UINT cbPiece = dwPiece * sizeof(Char);
        if (ar.Read(rgPiece, cbPiece) < cbPiece) AfxThrowArchiveException(CArchiveException::endOfFile);
        take(rgPiece, static_cast<int>(dwPiece));
        dwLength -= dwPiece;
    }
}

CString ReadWideText(CArchive& ar, DWORD dwLength)
{
    CString strText;
    ReadPieces<wchar_t>(ar, dwLength, [&](LPCWSTR pch, int nCount) { strText += CString(pch, nCount); });
    return strText;
}

CString ReadNarrowText(CArchive& ar, DWORD dwLength)
{
    // Converted as a whole: a character of several bytes may lie across the end of a piece.
    std::vector<char> text;
    ReadPieces<char>(ar, dwLength,
                     [&](LPCSTR pch, int nCount) { Guarded([&] { text.insert(text.end(), pch, pch + nCount); }); });
    return CString(text.data(), static_cast<int>(text.size()));
}

} // namespace

BOOL CArchiveException::GetErrorMessage(LPTSTR pszError, UINT nMaxError, UINT* pnHelpContext)
{
    CException::GetErrorMessage(pszError, nMaxError, pnHelpContext);
    if (!pszError || nMaxError == 0) return FALSE;
    const LPCTSTR pszMessage =
        m_cause == endOfFile ? L"Unexpected end of the file." : L"The archive could not be used.";
    ::lstrcpynW(pszError, pszMessage, static_cast<int>(std::min<UINT>(nMaxError, INT_MAX)));
    return TRUE;
}

void AFXAPI AfxThrowArchiveException(int cause)
{
    throw new CArchiveException(cause);
}

CArchive::CArchive(CFile* pFile, UINT nMode, int nBufferSize)
    : m_pFile(pFile), m_nMode(nMode), m_nBufferSize(static_cast<UINT>(std::max(nBufferSize, 128))), m_nNext(0)
{
    m_buffer.reserve(m_nBufferSize);
}

CArchive::~CArchive()
{
    if (m_nMode & bNoFlushOnDelete) return;
    try {
        Close();
    } catch (CException* e) {
        e->Delete();
    }
}

UINT CArchive::Read(void* pBuffer, UINT nCount)
{
    if (!m_pFile || IsStoring()) AfxThrowArchiveException(CArchiveException::writeOnly);
    BYTE* pTo = static_cast<BYTE*>(pBuffer);
    UINT nRead = 0;
    while (nRead < nCount) {
        if (m_nNext == m_buffer.size()) {
            m_buffer.resize(m_nBufferSize);
            // All of it counts as taken for as long as the file may throw.
            m_nNext = m_buffer.size();
            m_buffer.resize(m_pFile->Read(m_buffer.data(), m_nBufferSize));
            m_nNext = 0;
            if (m_buffer.empty()) break;
        }
        const size_t nPiece = std::min<size_t>(nCount - nRead, m_buffer.size() - m_nNext);
        std::memcpy(pTo + nRead, m_buffer.data() + m_nNext, nPiece);
        m_nNext += nPiece;
        nRead += static_cast<UINT>(nPiece);
    }
    return nRead;
}

void CArchive::Write(const void* pBuffer, UINT nCount)
{
    if (!m_pFile || IsLoading()) AfxThrowArchiveException(CArchiveException::readOnly);
    if (nCount > m_nBufferSize - m_buffer.size()) Flush();
    if (nCount > m_nBufferSize) {
        m_pFile->Write(pBuffer, nCount);
    } else {
        const BYTE* pFrom = static_cast<const BYTE*>(pBuffer);
        m_buffer.insert(m_buffer.end(), pFrom, pFrom + nCount);
    }
}

void CArchive::Flush()
{
    if (!m_pFile) return;
    if (IsLoading()) {
        if (m_nNext < m_buffer.size()) m_pFile->Seek(-static_cast<LONG>(m_buffer.size() - m_nNext), CFile::current);
    } else if (!m_buffer.empty()) {
        m_pFile->Write(m_buffer.data(), static_cast<UINT>(m_buffer.size()));
    }
    m_buffer.clear();
    m_nNext = 0;
}

void CArchive::Close()
{
    Flush();
    m_pFile = NULL;
}

void CArchive::Abort()
{
    m_buffer.clear();
    m_nNext = 0;
    m_pFile = NULL;
}

CArchive& AFXAPI operator<<(CArchive& ar, const CString& str)
{
    ar << kLongLength << kUtf16;
    WriteLength(ar, str.GetLength());
    ar.Write(static_cast<LPCTSTR>(str), str.GetLength() * sizeof(TCHAR));
    return ar;
}

CArchive& AFXAPI operator>>(CArchive& ar, CString& str)
{
    const StoredLength length = ReadLength(ar);
    str = length.bUtf16 ? ReadWideText(ar, length.dwLength) : ReadNarrowText(ar, length.dwLength);
    return ar;
}

CArchive& AFXAPI operator<<(CArchive& ar, CTime time)
{
    return ar << static_cast<LONG>(time.GetTime());
}

CArchive& AFXAPI operator>>(CArchive& ar, CTime& time)
{
    LONG lTime;
    ar >> lTime;
    time = CTime(lTime);
    return ar;
}

CArchive& AFXAPI operator<<(CArchive& ar, CTimeSpan span)
{
    return ar << span.GetTotalSeconds();
}

CArchive& AFXAPI operator>>(CArchive& ar, CTimeSpan& span)
{
    LONG lSeconds;
    ar >> lSeconds;
    span = CTimeSpan(lSeconds);
    return ar;
}
