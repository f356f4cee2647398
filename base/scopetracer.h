// ___iCAutoWriter: traces entering and leaving a scope to theLogStream, indents what is logged in between.
//
//     void Refresh()
//     {
//         ___iCAutoWriter tracer(L"app/view", L"Refresh", __LINE__);
//         ...
//     }
//
// writes, each line with the indentation of the scopes around it,
//     app/view (12 )  : Entering Refresh
//     app/view( 12 )  : Leaving Refresh, elapsed time 0:35
//
// Threads    one thread at a time; tracers must go in the reverse order of their making, as locals do.
// Errors     none. Without a log writer nothing is written.
//
// The elapsed time is the difference of the clock's seconds and, on its own, of its milliseconds: without a borrow and
// without minutes, so either part can be negative.
// A copy writes no entering line, but a leaving line of its own.
#ifndef KORVANE_BASE_SCOPETRACER_H
#define KORVANE_BASE_SCOPETRACER_H

#include "base/api.h"

#include <afx.h>

class KORVANE_API ___iCAutoWriter
{
public:
    // Writes the entering line and indents the log by one level; then the time starts.
    ___iCAutoWriter(CString file, CString function, unsigned long line);
    ___iCAutoWriter(const ___iCAutoWriter&) = default;
    ___iCAutoWriter& operator=(const ___iCAutoWriter&) = default;
    // Takes the level back and writes the leaving line.
    ~___iCAutoWriter();

private:
    CString m_strFunction;
    CString m_strFile;
    unsigned long m_dwLine;
    SYSTEMTIME m_stStart; // local time
};

#endif
