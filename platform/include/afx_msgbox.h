// afx_msgbox.h - the framework's message box.
#ifndef AFX_MSGBOX_H
#define AFX_MSGBOX_H

#include "afx_api.h"

// Shows a message box over the thread's active top-level window, titled with the application's name (of a program
// without a CWinApp its file name without folder and extension), and returns the button's identifier, or 0 when it could not be shown. A type without an icon
// gets the exclamation mark, or the question mark when it has Yes and No buttons. The message loop of the box runs in
// here: windows and objects may be gone afterwards. A null text is an empty one. A CWinApp
// shows it through its DoMessageBox, which is given nIDHelp.
AFX_API int AFXAPI AfxMessageBox(LPCTSTR pszText, UINT nType = MB_OK, UINT nIDHelp = 0);
// The same with a string resource; an empty text when there is none.
AFX_API int AFXAPI AfxMessageBox(UINT nIDPrompt, UINT nType = MB_OK, UINT nIDHelp = static_cast<UINT>(-1));

#endif
