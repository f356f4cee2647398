#include "base/logutil.h"

#include "base/refcount.h"

#include <windows.h>
#include <stdlib.h>

#include <cstddef>
#include <cstdio>
#include <exception>
#include <new>
#include <string>

CStreamWriter* theLogStream = nullptr;

namespace {

constexpr std::size_t kBlanksPerTab = 4;

// Logging happens between a failing call and the reading of its last error.
class CKeepLastError
{
public:
    CKeepLastError() = default;
    CKeepLastError(const CKeepLastError&) = delete;
    CKeepLastError& operator=(const CKeepLastError&) = delete;
    ~CKeepLastError() { ::SetLastError(m_dwError); }

private:
    const DWORD m_dwError = ::GetLastError();
};

std::string ToAnsi(const std::wstring& text)
{
    // UTF-8 as the ANSI code page has room for everything and admits neither of the two arguments.
    const bool bUtf8 = ::GetACP() == CP_UTF8;
    const DWORD dwFlags = bUtf8 ? 0 : WC_NO_BEST_FIT_CHARS;
    const char* const pszDefault = bUtf8 ? nullptr : "?";
    const int cch = static_cast<int>(text.size());
    const int cb = ::WideCharToMultiByte(CP_ACP, dwFlags, text.data(), cch, nullptr, 0, pszDefault, nullptr);
    std::string bytes(cb, '\0');
    // What the system cannot convert is lost.
    if (!cb || ::WideCharToMultiByte(CP_ACP, dwFlags, text.data(), cch, &bytes[0], cb, pszDefault, nullptr) != cb)
        return {};
    return bytes;
}

// Widens with the sign of the character type and spreads tabs and line feeds.
template <class Char> std::wstring Expand(const Char* text, std::size_t cchTab)
{
    std::wstring expanded;
    for (; text && *text; ++text) {
        expanded += static_cast<wchar_t>(*text);
        if (*text == '\t') expanded.append(cchTab, L' ');
        if (*text == '\n') expanded += L"\n\r";
    }
    return expanded;
}

} // namespace

// The open file that a writer and its copies share, so that a reopening by one of them is seen by all.
class CLogFile : public CRefCntBase
{
public:
    explicit CLogFile(FILE* pStream) : m_pStream(pStream) {}
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;
    ~CLogFile() override { Close(); }

    bool IsOpen() const { return m_pStream != nullptr; }
    void Write(const std::string& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), m_pStream); }
    void Flush()
    {
        if (m_pStream) std::fflush(m_pStream);
    }
    // A file that had to be given up is not tried again.
    void Reopen(const wchar_t* name)
    {
        if (!m_pStream) return;
        Close();
        m_pStream = ::_wfopen(name, L"at");
    }

private:
    void Close()
    {
        const CKeepLastError keep;
        if (m_pStream) std::fclose(m_pStream);
        m_pStream = nullptr;
    }

    FILE* m_pStream; // owned; null: debugger output
};

namespace {

void Put(CLogFile* pFile, const std::wstring& text)
{
    if (pFile && pFile->IsOpen()) {
        pFile->Write(ToAnsi(text));
    } else {
        ::OutputDebugStringW(text.c_str());
    }
}

// Puts out the text that `make` returns. Memory that is out costs the text, not the caller's work: nothing is thrown.
template <class Make> void PutMade(CLogFile* pFile, Make make)
{
    try {
        Put(pFile, make());
    } catch (const std::exception&) {
    }
}

} // namespace

CStreamWriter::CStreamWriter(const char* fileName)
{
    const CKeepLastError keep;
    try {
        m_strName = fileName;
        m_strName.TrimLeft();
        m_strName.TrimRight();
    } catch (CMemoryException* pException) {
        // Without its name a file cannot be reopened.
        pException->Delete();
        m_strName.Empty();
    }
    if (m_strName.IsEmpty()) return;
    FILE* const pStream = std::fopen(fileName, "wt");
    if (!pStream) return;
    m_pFile = new (std::nothrow) CLogFile(pStream);
    if (!m_pFile) std::fclose(pStream);
}

CStreamWriter::CStreamWriter(const CStreamWriter& rOther) = default;
CStreamWriter& CStreamWriter::operator=(const CStreamWriter& rOther) = default;
CStreamWriter::~CStreamWriter() = default;

CStreamWriter& CStreamWriter::operator<<(const char* text)
{
    const CKeepLastError keep;
    PutMade(m_pFile, [=] { return Expand(text, kBlanksPerTab); });
    if (m_pFile) m_pFile->Flush();
    return *this;
}

CStreamWriter& CStreamWriter::operator<<(const wchar_t* text)
{
    const CKeepLastError keep;
    PutMade(m_pFile, [=] { return Expand(text, TabBlanks()); });
    if (m_pFile) m_pFile->Reopen(m_strName);
    return *this;
}

CStreamWriter& CStreamWriter::operator<<(long value)
{
    wchar_t digits[33];
    return *this << ::_itow(value, digits, 10);
}

CStreamWriter& CStreamWriter::operator<<(int value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(unsigned int value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(unsigned long value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(short value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(unsigned short value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(char value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(unsigned char value)
{
    return *this << static_cast<long>(value);
}

CStreamWriter& CStreamWriter::operator<<(wchar_t value)
{
    return *this << static_cast<unsigned short>(value);
}

void CStreamWriter::IncTabs()
{
    ++m_nTabs;
}

void CStreamWriter::DecTabs()
{
    --m_nTabs;
}

void CStreamWriter::WriteTabPrefix()
{
    const CKeepLastError keep;
    PutMade(m_pFile, [=] { return std::wstring(TabBlanks(), L' '); });
    if (m_pFile) m_pFile->Flush();
}

std::size_t CStreamWriter::TabBlanks() const
{
    return m_nTabs > 0 ? kBlanksPerTab * m_nTabs : 0;
}
