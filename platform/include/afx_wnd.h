// afx_wnd.h - CWnd: an object for a window.
//
// Threads    a window and its object belong to the thread that created the window.
#ifndef AFX_WND_H
#define AFX_WND_H

#include "afx_object.h"

class AFX_API CWnd : public CObject
{
    DECLARE_DYNCREATE(CWnd)

public:
    HWND m_hWnd; // NULL: none

    CWnd() : m_hWnd(NULL) {}

    // NULL for a NULL object too.
    HWND GetSafeHwnd() const;
};

#endif
