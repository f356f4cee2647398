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

void TraceError(const wchar_t* format, ...)
{
    if (!theLogStream || !format) return;
    va_list args;
    va_start(args, format);
    va_list argsToMeasure;
    va_copy(argsToMeasure, args);
    try {
        // The system's functions: the compiler's own wide formats take %s as an 8-bit string.
        const int cch = ::_vscwprintf(format, argsToMeasure);
        std::wstring message = format;
        if (cch >= 0) {
            message.resize(cch);
            ::_vsnwprintf(&message[0], cch, format, args);
        }
        *theLogStream << (L"Error: " + message + L"\n").c_str();
    } catch (const std::exception&) {
        // Memory is out: the message is lost.
    }
    va_end(argsToMeasure);
    va_end(args);
}
