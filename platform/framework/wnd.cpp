#include "afx_wnd.h"

IMPLEMENT_DYNCREATE(CWnd, CObject)

HWND CWnd::GetSafeHwnd() const
{
    return this ? m_hWnd : NULL;
}
