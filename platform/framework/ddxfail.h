// ddxfail.h - telling a person that what was entered is not valid.
#ifndef KORVANEAFX_DDXFAIL_H
#define KORVANEAFX_DDXFAIL_H

#include "afxwin.h"

// The host's string resource, else the default.
CString DdxPrompt(UINT nID, LPCTSTR pszDefault);
// Shows it and throws CUserException*.
[[noreturn]] void DdxFail(CDataExchange* pDX, const CString& strPrompt);

#endif
