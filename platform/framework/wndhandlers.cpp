#include "wndhook.h"

#include "afx_msg.h"

// Every window's map: the messages that the base class does something about.
BEGIN_MESSAGE_MAP(CWnd, CCmdTarget)
ON_WM_NCDESTROY()
ON_WM_CTLCOLOR()
ON_WM_DRAWITEM()
ON_WM_MEASUREITEM()
ON_WM_DELETEITEM()
ON_WM_COMPAREITEM()
ON_WM_CHARTOITEM()
ON_WM_VKEYTOITEM()
ON_WM_HSCROLL()
ON_WM_VSCROLL()
ON_WM_PARENTNOTIFY()
END_MESSAGE_MAP()

// Notifications: the child's handler, else the default one.

HBRUSH CWnd::OnCtlColor(CDC*, CWnd* pWnd, UINT)
{
    LRESULT lResult = 0;
    if (pWnd && ReflectLastMsg(pWnd->m_hWnd, &lResult)) return reinterpret_cast<HBRUSH>(lResult);
    return reinterpret_cast<HBRUSH>(Default());
}

void CWnd::OnDrawItem(int, LPDRAWITEMSTRUCT pDrawItem)
{
    if (!ReflectLastMsg(pDrawItem->hwndItem)) Default();
}

void CWnd::OnMeasureItem(int nIDCtl, LPMEASUREITEMSTRUCT)
{
    if (!ReflectLastMsg(::GetDlgItem(m_hWnd, nIDCtl))) Default();
}

void CWnd::OnDeleteItem(int, LPDELETEITEMSTRUCT pDeleteItem)
{
    if (!ReflectLastMsg(pDeleteItem->hwndItem)) Default();
}

int CWnd::OnCompareItem(int, LPCOMPAREITEMSTRUCT pCompareItem)
{
    LRESULT lResult = 0;
    return static_cast<int>(ReflectLastMsg(pCompareItem->hwndItem, &lResult) ? lResult : Default());
}

int CWnd::OnCharToItem(UINT, CListBox* pListBox, UINT)
{
    LRESULT lResult = 0;
    const HWND hWnd = pListBox->GetSafeHwnd();
    return static_cast<int>(ReflectLastMsg(hWnd, &lResult) ? lResult : Default());
}

int CWnd::OnVKeyToItem(UINT, CListBox* pListBox, UINT)
{
    LRESULT lResult = 0;
    const HWND hWnd = pListBox->GetSafeHwnd();
    return static_cast<int>(ReflectLastMsg(hWnd, &lResult) ? lResult : Default());
}

void CWnd::OnHScroll(UINT, UINT, CScrollBar* pScrollBar)
{
    if (!ReflectLastMsg(pScrollBar->GetSafeHwnd())) Default();
}

void CWnd::OnVScroll(UINT, UINT, CScrollBar* pScrollBar)
{
    if (!ReflectLastMsg(pScrollBar->GetSafeHwnd())) Default();
}

void CWnd::OnParentNotify(UINT nMessage, LPARAM lParam)
{
    const UINT nEvent = LOWORD(nMessage);
    const bool bOfChild = nEvent == WM_CREATE || nEvent == WM_DESTROY;
    if (!bOfChild || !ReflectLastMsg(reinterpret_cast<HWND>(lParam))) Default();
}

// All others: the default handling of the message that is being handled.

void CWnd::OnActivate(UINT, CWnd*, BOOL)
{
    Default();
}

void CWnd::OnCancelMode()
{
    Default();
}

void CWnd::OnCaptureChanged(CWnd*)
{
    Default();
}

void CWnd::OnChar(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnClose()
{
    Default();
}

void CWnd::OnContextMenu(CWnd*, CPoint)
{
    Default();
}

int CWnd::OnCreate(LPCREATESTRUCT)
{
    return static_cast<int>(Default());
}

void CWnd::OnDeadChar(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnDestroy()
{
    Default();
}

void CWnd::OnEnable(BOOL)
{
    Default();
}

void CWnd::OnEnterIdle(UINT, CWnd*)
{
    Default();
}

BOOL CWnd::OnEraseBkgnd(CDC*)
{
    return static_cast<BOOL>(Default());
}

UINT CWnd::OnGetDlgCode()
{
    return static_cast<UINT>(Default());
}

void CWnd::OnGetMinMaxInfo(MINMAXINFO*)
{
    Default();
}

void CWnd::OnInitMenuPopup(CMenu*, UINT, BOOL)
{
    Default();
}

void CWnd::OnKeyDown(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnKeyUp(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnKillFocus(CWnd*)
{
    Default();
}

void CWnd::OnLButtonDblClk(UINT, CPoint)
{
    Default();
}

void CWnd::OnLButtonDown(UINT, CPoint)
{
    Default();
}

void CWnd::OnLButtonUp(UINT, CPoint)
{
    Default();
}

LRESULT CWnd::OnMenuChar(UINT, UINT, CMenu*)
{
    return Default();
}

void CWnd::OnMenuSelect(UINT, UINT, HMENU)
{
    Default();
}

void CWnd::OnMouseMove(UINT, CPoint)
{
    Default();
}

BOOL CWnd::OnMouseWheel(UINT, short, CPoint)
{
    return static_cast<BOOL>(Default());
}

void CWnd::OnMove(int, int)
{
    Default();
}

void CWnd::OnNcPaint()
{
    Default();
}

void CWnd::OnPaint()
{
    Default();
}

void CWnd::OnRButtonDblClk(UINT, CPoint)
{
    Default();
}

void CWnd::OnRButtonDown(UINT, CPoint)
{
    Default();
}

void CWnd::OnRButtonUp(UINT, CPoint)
{
    Default();
}

BOOL CWnd::OnSetCursor(CWnd*, UINT, UINT)
{
    return static_cast<BOOL>(Default());
}

void CWnd::OnSetFocus(CWnd*)
{
    Default();
}

void CWnd::OnShowWindow(BOOL, UINT)
{
    Default();
}

void CWnd::OnSize(UINT, int, int)
{
    Default();
}

void CWnd::OnSysChar(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnSysColorChange()
{
    Default();
}

void CWnd::OnSysCommand(UINT, LPARAM)
{
    Default();
}

void CWnd::OnSysKeyDown(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnSysKeyUp(UINT, UINT, UINT)
{
    Default();
}

void CWnd::OnTimer(UINT)
{
    Default();
}

void CWnd::OnWindowPosChanged(WINDOWPOS*)
{
    Default();
}

void CWnd::OnWindowPosChanging(WINDOWPOS*)
{
    Default();
}

void CWnd::OnWinIniChange(LPCTSTR)
{
    Default();
}
