// How the framework's types look in a failed expectation, and what several of these tests ask for.
#ifndef KORVANE_TESTS_FRAMEWORK_AFX_PRINT_H
#define KORVANE_TESTS_FRAMEWORK_AFX_PRINT_H

#include <afxwin.h>

#include <ostream>

inline void PrintTo(const CString& str, std::ostream* pOut)
{
    *pOut << '"';
    for (int i = 0; i < str.GetLength(); ++i) {
        const unsigned ch = str[i];
        if (ch >= 0x20 && ch < 0x7F) {
            *pOut << static_cast<char>(ch);
        } else {
            *pOut << "\\x" << std::hex << ch << std::dec << ' ';
        }
    }
    *pOut << '"';
}

inline void PrintTo(const RECT& rect, std::ostream* pOut)
{
    *pOut << '(' << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << ')';
}

// The record in front of a string's characters.
inline const CStringData& RecordOf(const CString& str)
{
    return *(reinterpret_cast<const CStringData*>(static_cast<LPCTSTR>(str)) - 1);
}

// Equal with the zeros in it: the operators end at the first one.
inline bool Same(const CString& str, LPCTSTR pch, int nLength)
{
    return str.GetLength() == nLength && std::wmemcmp(str, pch, nLength) == 0 &&
           static_cast<LPCTSTR>(str)[nLength] == 0;
}

template <class Exception, class Action> bool Throws(Action action)
{
    try {
        action();
    } catch (Exception* e) {
        e->Delete();
        return true;
    }
    return false;
}

// An assertion in builds that have them; in the others the statement must have the outcome that is written for it.
#ifdef NDEBUG
#define EXPECT_ASSERTION_OR(outcome, statement) outcome
#else
#define EXPECT_ASSERTION_OR(outcome, statement) EXPECT_DEATH((void)(statement), "assertion failed")
#endif

#endif
