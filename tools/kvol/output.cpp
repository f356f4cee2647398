#include "output.h"

#include "failure.h"
#include "text.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstdio>
#include <new>

namespace kvol {

namespace {

bool IsConsole(DWORD dwStandardHandle)
{
    // _isatty takes every character device for a terminal, NUL included.
    DWORD dwMode;
    return ::GetConsoleMode(::GetStdHandle(dwStandardHandle), &dwMode) != FALSE;
}

} // namespace

CUtf8Streams::CUtf8Streams()
{
    ::_setmode(::_fileno(stdout), _O_BINARY);
    ::_setmode(::_fileno(stderr), _O_BINARY);
    std::setvbuf(stdout, nullptr, _IOFBF, 1 << 16);
    if (IsConsole(STD_OUTPUT_HANDLE) || IsConsole(STD_ERROR_HANDLE)) {
        m_nOldCodePage = ::GetConsoleOutputCP();
        ::SetConsoleOutputCP(CP_UTF8);
    }
}

CUtf8Streams::~CUtf8Streams()
{
    std::fflush(stdout);
    if (m_nOldCodePage) ::SetConsoleOutputCP(m_nOldCodePage);
}

void Out(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void Err(std::string_view text)
{
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

void FlushOut()
{
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        throw CFailure("the output could not be written: is the disk full, or the reader of the pipe gone?");
    }
}

std::string ProgressLine(const std::string& what, size_t done, size_t total)
{
    constexpr size_t kWidth = 40;
    total = std::max(total, done);
    const size_t filled = total ? static_cast<size_t>(ULONGLONG{kWidth} * done / total) : 0;
    return what + " [" + std::string(filled, '#') + std::string(kWidth - filled, '.') + "] " + Counted(done) + " of " +
           Counted(total);
}

CProgress::CProgress(const char* pszWhat, size_t total)
    : m_what(pszWhat), m_total(total), m_bConsole(IsConsole(STD_ERROR_HANDLE))
{
}

CProgress::~CProgress()
{
    if (!m_cchDrawn) return;
    // Blanks, not an escape sequence: not every console obeys those. One by one: a destructor asks for no memory.
    Err("\r");
    for (size_t i = 0; i < m_cchDrawn; ++i) Err(" ");
    Err("\r");
}

void CProgress::Show(size_t done) noexcept
{
    constexpr DWORD kMilliseconds = 100;
    if (!m_bConsole) return;
    const DWORD dwNow = ::GetTickCount();
    if (m_cchDrawn && static_cast<LONG>(dwNow - m_dwNext) < 0) return;
    m_dwNext = dwNow + kMilliseconds;
    try {
        const std::string line = "\r" + ProgressLine(m_what, done, m_total);
        m_cchDrawn = CharacterCount(line) - 1; // counts only grow, so the new line covers the old one
        Err(line);
    } catch (const std::bad_alloc&) {
        // The job may do without the memory that the bar does not get.
    }
}

} // namespace kvol
