// disabledowner.h - the window behind a modal dialog.
#ifndef KORVANEAFX_DISABLEDOWNER_H
#define KORVANEAFX_DISABLEDOWNER_H

#include "afx_wnd.h"

// The window that a modal dialog is in front of, disabled while this lives. The dialog has to be gone before it is
// enabled, or another program's window would be activated: so the dialog is hidden first.
class CDisabledOwner
{
public:
    CDisabledOwner(const CWnd* pGiven, const CWnd* pMain)
    {
        m_hWnd = pGiven ? pGiven->GetSafeHwnd() : pMain->GetSafeHwnd();
        while (m_hWnd && (::GetWindowLongW(m_hWnd, GWL_STYLE) & WS_CHILD)) m_hWnd = ::GetParent(m_hWnd);
        if (m_hWnd && !pGiven) m_hWnd = ::GetLastActivePopup(m_hWnd);
        m_bWasEnabled = m_hWnd && ::IsWindowEnabled(m_hWnd);
        if (m_bWasEnabled) ::EnableWindow(m_hWnd, FALSE);
    }
    ~CDisabledOwner() { Enable(); }
    void Enable()
    {
        if (m_bWasEnabled) ::EnableWindow(m_hWnd, TRUE);
        m_bWasEnabled = false;
    }

    HWND m_hWnd;

private:
    bool m_bWasEnabled;
};

#endif
