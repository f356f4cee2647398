// The error convention: raise, record, and the checkpoint that every function returning a code stands on.
//
// An operation that can fail returns a signed 32-bit HRESULT: 0 is success, negative is failure. A failure that cannot
// be returned where it arises (a destructor, a copy) is parked in the last-error record; the next checkpoint of
// whichever function runs next picks it up, and clears it. A host does the same after each call: first the record, then
// the result.
//
//     long hr = row->MoveNext();
//     if (gErrHRESULT < 0) {
//         hr = gErrHRESULT;
//         gErrHRESULT = 0;
//     }
//     if (hr < 0) ...
//
// KorvaneCheckpoint does the same: `const long hr = KorvaneCheckpoint(row->MoveNext());`.
//
// Threads    the record is one for the process and unlocked: the library is used from one thread at a time.
// Errors     nothing here throws, and nothing here fails.
#ifndef KORVANE_BASE_ERRORUTIL_H
#define KORVANE_BASE_ERRORUTIL_H

#include "base/api.h"
#include "base/logutil.h"

// The last-error record. Only the code is read back by the library; file and line say where it was recorded.
extern KORVANE_API long gErrHRESULT;            // 0: nothing is pending
extern KORVANE_API const wchar_t* gErrFilename; // null, or a text that lives as long as the process
extern KORVANE_API int gErrLinenumber;

// The raise: returns hr unchanged and does nothing else.
//
// In a build with KORVANE_DIAGNOSTIC it also writes one line to theLogStream, when there is one, with the texts
//     "\n" file "(" line ") : raised 0x80004005 \"" message "\""
// (the code in eight upper-case hexadecimal digits; each "\n" is on disk as CR LF CR LF CR). The result, the record and
// GetLastError() are the same in both builds.
KORVANE_API long __iThrowErr(const wchar_t* file, unsigned long line, long hr, const wchar_t* message);

// Does nothing.
KORVANE_API void __iReportError(const wchar_t* file, unsigned long line, long hr, int reserved);

// Parks a negative hr in the record, with the file base/errorutil and line 61. Other codes leave the record alone.
KORVANE_API void __iRecordErr(long hr);

// Writes "Error: ", the message formatted as vswprintf does on the platform (%s is a UTF-16 string), and "\n" to
// theLogStream with its UTF-16 operator. A message is as long as it needs to be; a format that cannot be carried out is
// written as it stands. Without a writer nothing is written.
KORVANE_API void TraceError(const wchar_t* format, ...);

// What a checkpoint has to return: a pending record (which it clears) before hr, 0 when neither is negative.
inline long KorvaneCheckpoint(long hr)
{
    const long lPending = gErrHRESULT;
    if (lPending < 0) {
        gErrHRESULT = 0;
        return lPending;
    }
    return hr < 0 ? hr : 0;
}

// Writes a trace line: "\n" source "(" line ")" text value. The value has been worked out before anything is written.
template <class T> void KorvaneTrace(const wchar_t* source, unsigned long line, const char* text, const T& value)
{
    if (!theLogStream) return;
    *theLogStream << "\n" << source << "(" << static_cast<long>(line) << ")" << text << value;
}

// Behind a call to a function that returns a code: returns from the caller with the pending or the called one's
// failure.
#define KORVANE_CHECK(expression)                                                                                      \
    do {                                                                                                               \
        const long korvaneFound_ = ::KorvaneCheckpoint(expression);                                                    \
        if (korvaneFound_ < 0) return korvaneFound_;                                                                   \
    } while (false)

// Raises, then returns from the caller with the pending or the raised failure. source and message are UTF-16 literals;
// source is the fixed name of the raising source, such as L"korvanedb/connection".
#define KORVANE_RAISE(source, line, code, message) KORVANE_CHECK(::__iThrowErr((source), (line), (code), (message)))

// KORVANE_TRACE(L"korvanedb/row", 143, "dt.st", dt.st): a trace line with the text " : 'dt.st'" and the value.
#define KORVANE_TRACE(source, line, expression, value) ::KorvaneTrace((source), (line), " : '" expression "'", (value))

#endif
