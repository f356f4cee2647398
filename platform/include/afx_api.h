// afx_api.h - what every header of the framework stands on: the system's types, export marks and diagnostics.
//
// Included by afx.h; a host includes the SDK's names (afx.h, afxcoll.h, afxwin.h).
// Errors     ASSERT and TRACE are there in builds without NDEBUG only; VERIFY always evaluates its condition.
#ifndef AFX_API_H
#define AFX_API_H

#if !defined(UNICODE) || !defined(_UNICODE)
#error The application framework is UTF-16 throughout, as the device is: define UNICODE and _UNICODE.
#endif

#include <windows.h>
#include <tchar.h>

#ifdef KORVANEAFX_BUILDING
#define AFX_API __declspec(dllexport)
#else
#define AFX_API __declspec(dllimport)
#endif
#define AFXAPI __stdcall

// An old alias of GetTickCount, which would rename CTime::GetCurrentTime.
#undef GetCurrentTime

// A CString handed to a function with "..." goes there as a hidden address, so that %s would print nonsense. The
// compiler can tell, and from here on must refuse it.
#pragma GCC diagnostic error "-Wconditionally-supported"

// A failed assertion: tells the debugger and the standard error stream where, then stops in the debugger or ends the
// process. Never returns to the code that asserted.
[[noreturn]] AFX_API void AFXAPI AfxAssertFailedLine(LPCSTR pszFileName, int nLine);

#ifdef NDEBUG
#define ASSERT(condition) ((void)0)
#define VERIFY(condition) ((void)(condition))
#define TRACE(...) ((void)0)
#else
#define ASSERT(condition) ((condition) ? (void)0 : ::AfxAssertFailedLine(__FILE__, __LINE__))
#define VERIFY(condition) ASSERT(condition)
#define TRACE(...) ::AfxTrace(__VA_ARGS__)
#endif
#define TRACE0(text) TRACE(_T("%s"), _T(text))
#define TRACE1(format, p1) TRACE(_T(format), p1)
#define TRACE2(format, p1, p2) TRACE(_T(format), p1, p2)
#define TRACE3(format, p1, p2, p3) TRACE(_T(format), p1, p2, p3)
#define ASSERT_VALID(object) ASSERT((object) != NULL)
#define ASSERT_KINDOF(class_name, object) ASSERT((object)->IsKindOf(RUNTIME_CLASS(class_name)))
#define DEBUG_NEW new

#endif
