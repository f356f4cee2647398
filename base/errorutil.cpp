#include "base/errorutil.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>

long gErrHRESULT = 0;
const wchar_t* gErrFilename = nullptr;
int gErrLinenumber = 0;

#ifdef KORVANE_DIAGNOSTIC

long __iThrowErr(const wchar_t* file, unsigned long line, long hr, const wchar_t* message)
{
    if (theLogStream) {
        wchar_t code[16];
        ::_snwprintf(code, 16, L"0x%08X", static_cast<unsigned>(hr));
        *theLogStream << "\n"
                      << file << "(" << static_cast<long>(line) << ") : raised " << code << " \"" << message << "\"";
    }
    return hr;
}

#else

long __iThrowErr(const wchar_t*, unsigned long, long hr, const wchar_t*)
{
    return hr;
}

#endif

void __iReportError(const wchar_t*, unsigned long, long, int) {}

void __iRecordErr(long hr)
{
    if (hr >= 0) return;
    gErrHRESULT = hr;
    gErrFilename = L"base/errorutil";
    gErrLinenumber = 61;
}

namespace {

// The device has no call that measures a formatted text, so the buffer doubles until the text fits. What a format
// cannot print never fits, and ends at this length.
const size_t kcchLongestMessage = 1 << 24;

// The format's text, up to a zero that an argument puts into it; the format itself when it cannot be printed.
std::wstring Formatted(const wchar_t* format, va_list args)
{
    std::wstring text(256, L'\0');
    for (;;) {
        va_list argsOfTry;
        va_copy(argsOfTry, args);
        // The system's function: the compiler's own wide formats take %s as an 8-bit string.
        const int cch = ::_vsnwprintf(&text[0], text.size(), format, argsOfTry);
        va_end(argsOfTry);
        if (cch >= 0) return text.c_str();
        if (text.size() >= kcchLongestMessage) return format;
        text.resize(text.size() * 2);
    }
}

} // namespace

void TraceError(const wchar_t* format, ...)
{
    if (!theLogStream || !format) return;
    va_list args;
    va_start(args, format);
    try {
        *theLogStream << (L"Error: " + Formatted(format, args) + L"\n").c_str();
    } catch (const std::exception&) {
        // Memory is out: the message is lost.
    }
    va_end(args);
}
