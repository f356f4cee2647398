// programname.h - what the program is called, and the message box that says so.
#ifndef KORVANEAFX_PROGRAMNAME_H
#define KORVANEAFX_PROGRAMNAME_H

#include "afx.h"

// The program's file name without folder and extension.
CString AfxProgramName();
// The box behind AfxMessageBox: over the thread's active top-level window, with the icon that goes with its buttons.
int AfxShowMessageBox(LPCTSTR pszText, UINT nType, LPCTSTR pszTitle);

#endif
