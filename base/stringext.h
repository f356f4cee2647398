// CStringExt: a CString that can read itself as a number.
//
// Ownership  as CString: the text is shared between copies and freed with the last.
// Threads    as CString: one object on one thread at a time.
// Errors     GetFloat answers false; nothing is raised. Memory that runs out is CString's matter.
//
//     float height = 0;
//     CStringExt text(L"12.25");
//     if (!text.GetFloat(height)) height = 0;
//     unsigned int pages = CStringExt(L" 48 pages").GetUnsigned();
#ifndef KORVANE_BASE_STRINGEXT_H
#define KORVANE_BASE_STRINGEXT_H

#include "base/api.h"

#include <afx.h>

class KORVANE_API CStringExt : public CString
{
public:
    CStringExt() = default;
    CStringExt(const CStringExt& other) = default;
    CStringExt(const CString& text);
    // `ch`, `nRepeat` times; empty when that is below 1.
    CStringExt(TCHAR ch, int nRepeat);
    // 8-bit text, widened by the process's ANSI code page.
    CStringExt(const char* text);
    CStringExt(const unsigned char* text);
    CStringExt(const TCHAR* text);
    // The first `nLength` characters of `text`, zeros included.
    CStringExt(const TCHAR* text, int nLength);
    ~CStringExt() = default;

    CStringExt& operator=(const CStringExt& other) = default;

    // The value of the C library's _wtol, as unsigned: blanks in front are skipped, a sign is read ("-1" is
    // 4294967295), the first character that is no digit ends the number, and a text without digits is 0. Failure is not
    // told.
    unsigned int GetUnsigned();

    // Reads digits and signs, then optionally "." and digits. False, with `result` as it was, for anything else: a
    // blank, a second point, a second sign, a sign behind the point. No digits at all are 0.
    //
    // The sign counts twice for the part before the point, once when that part is read and once for the whole: "-3" is
    // 3.0, "-2.5" is 1.5, and "2-", whose sign only the second reading sees, is -2.0. Callers know and rely on it. The
    // part before the point is limited to that of a 32-bit long, beyond which it stays at the limit.
    bool GetFloat(float& result);
};

#endif
