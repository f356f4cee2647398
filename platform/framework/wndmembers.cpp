#include "wndhook.h"

#include "afx_controls.h"

void CWnd::SendMessageToDescendants(UINT nMessage, WPARAM wParam, LPARAM lParam, BOOL bDeep)
{
    HWND hNext;
    for (HWND hChild = ::GetTopWindow(m_hWnd); hChild; hChild = hNext) {
        // The message may destroy the child.
        hNext = ::GetWindow(hChild, GW_HWNDNEXT);
        ::SendMessageW(hChild, nMessage, wParam, lParam);
        if (bDeep && ::IsWindow(hChild) && ::GetTopWindow(hChild))
            FromHandle(hChild)->SendMessageToDescendants(nMessage, wParam, lParam, TRUE);
    }
}

void CWnd::SetWindowText(LPCTSTR pszString)
{
    ::SetWindowTextW(m_hWnd, pszString);
}

int CWnd::GetWindowText(LPTSTR pszBuffer, int nMaxCount) const
{
    return ::GetWindowTextW(m_hWnd, pszBuffer, nMaxCount);
}

void CWnd::GetWindowText(CString& rString) const
{
    const int cchText = GetWindowTextLength();
    const int cchGot = ::GetWindowTextW(m_hWnd, rString.GetBuffer(cchText), cchText + 1);
    rString.ReleaseBuffer(cchGot);
}

void CWnd::SetFont(CFont* pFont, BOOL bRedraw)
{
    SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(pFont->GetSafeHandle()), MAKELPARAM(bRedraw, 0));
}

CFont* CWnd::GetFont() const
{
    return CFont::FromHandle(reinterpret_cast<HFONT>(SendMessage(WM_GETFONT)));
}

namespace {

BOOL Modify(HWND hWnd, int nIndex, DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    const DWORD dwOld = static_cast<DWORD>(::GetWindowLongW(hWnd, nIndex));
    const DWORD dwNew = (dwOld & ~dwRemove) | dwAdd;
    if (dwOld == dwNew) return FALSE;
    ::SetWindowLongW(hWnd, nIndex, static_cast<LONG>(dwNew));
    if (nFlags)
        ::SetWindowPos(hWnd, NULL, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | nFlags);
    return TRUE;
}

} // namespace

BOOL CWnd::ModifyStyle(DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    return Modify(m_hWnd, GWL_STYLE, dwRemove, dwAdd, nFlags);
}

BOOL CWnd::ModifyStyleEx(DWORD dwRemove, DWORD dwAdd, UINT nFlags)
{
    return Modify(m_hWnd, GWL_EXSTYLE, dwRemove, dwAdd, nFlags);
}

CWnd* CWnd::GetOwner() const
{
    return m_hWndOwner ? FromHandle(m_hWndOwner) : GetParent();
}

void CWnd::SetOwner(CWnd* pOwnerWnd)
{
    m_hWndOwner = pOwnerWnd->GetSafeHwnd();
}

CWnd* CWnd::SetParent(CWnd* pWndNewParent)
{
    return FromHandle(::SetParent(m_hWnd, pWndNewParent->GetSafeHwnd()));
}

BOOL CWnd::IsChild(const CWnd* pWnd) const
{
    return ::IsChild(m_hWnd, pWnd->GetSafeHwnd());
}

void CWnd::MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint)
{
    ::MoveWindow(m_hWnd, x, y, nWidth, nHeight, bRepaint);
}

void CWnd::MoveWindow(LPCRECT pRect, BOOL bRepaint)
{
    MoveWindow(pRect->left, pRect->top, pRect->right - pRect->left, pRect->bottom - pRect->top, bRepaint);
}

BOOL CWnd::SetWindowPos(const CWnd* pWndInsertAfter, int x, int y, int cx, int cy, UINT nFlags)
{
    return ::SetWindowPos(m_hWnd, pWndInsertAfter->GetSafeHwnd(), x, y, cx, cy, nFlags);
}

void CWnd::CenterWindow(CWnd* pAlternateOwner)
{
    HWND hOwner = pAlternateOwner->GetSafeHwnd();
    CRect within, owner, own;
    if (GetStyle() & WS_CHILD) {
        const HWND hParent = ::GetParent(m_hWnd);
        if (!hOwner) hOwner = hParent;
        ::GetClientRect(hParent, within);
        ::GetClientRect(hOwner, owner);
        ::MapWindowPoints(hOwner, hParent, reinterpret_cast<POINT*>(&owner), 2);
    } else {
        if (!hOwner) hOwner = ::GetWindow(m_hWnd, GW_OWNER);
        ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &within, 0);
        owner = within;
        if (hOwner && ::IsWindowVisible(hOwner)) ::GetWindowRect(hOwner, owner);
    }
    GetWindowRect(own);
    const CSize size = own.Size();
    int x = (owner.left + owner.right - size.cx) / 2;
    int y = (owner.top + owner.bottom - size.cy) / 2;
    // The left and the upper edge win when it does not fit.
    if (x + size.cx > within.right) x = within.right - size.cx;
    if (y + size.cy > within.bottom) y = within.bottom - size.cy;
    if (x < within.left) x = within.left;
    if (y < within.top) y = within.top;
    ::SetWindowPos(m_hWnd, NULL, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void CWnd::MapWindowPoints(CWnd* pWndTo, LPPOINT pPoint, UINT nCount) const
{
    ::MapWindowPoints(m_hWnd, pWndTo->GetSafeHwnd(), pPoint, nCount);
}

void CWnd::MapWindowPoints(CWnd* pWndTo, LPRECT pRect) const
{
    MapWindowPoints(pWndTo, reinterpret_cast<POINT*>(pRect), 2);
}

CWnd* CWnd::GetTopLevelParent() const
{
    return FromHandle(::GetAncestor(m_hWnd, GA_ROOT));
}

CWnd* PASCAL CWnd::FindWindow(LPCTSTR pszClassName, LPCTSTR pszWindowName)
{
    return FromHandle(::FindWindowW(pszClassName, pszWindowName));
}

CWnd* CWnd::GetNextDlgTabItem(CWnd* pWndCtl, BOOL bPrevious) const
{
    return FromHandle(::GetNextDlgTabItem(m_hWnd, pWndCtl->GetSafeHwnd(), bPrevious));
}

CWnd* CWnd::GetNextDlgGroupItem(CWnd* pWndCtl, BOOL bPrevious) const
{
    return FromHandle(::GetNextDlgGroupItem(m_hWnd, pWndCtl->GetSafeHwnd(), bPrevious));
}

void CWnd::SetDlgItemText(int nID, LPCTSTR pszString)
{
    ::SetDlgItemTextW(m_hWnd, nID, pszString);
}

int CWnd::GetDlgItemText(int nID, LPTSTR pszBuffer, int nMaxCount) const
{
    return static_cast<int>(::GetDlgItemTextW(m_hWnd, nID, pszBuffer, nMaxCount));
}

int CWnd::GetDlgItemText(int nID, CString& rString) const
{
    rString.Empty();
    if (const HWND hItem = ::GetDlgItem(m_hWnd, nID)) FromHandle(hItem)->GetWindowText(rString);
    return rString.GetLength();
}

UINT CWnd::GetDlgItemInt(int nID, BOOL* pTrans, BOOL bSigned) const
{
    return ::GetDlgItemInt(m_hWnd, nID, pTrans, bSigned);
}

void CWnd::CheckRadioButton(int nIDFirst, int nIDLast, int nIDCheck)
{
    ::CheckRadioButton(m_hWnd, nIDFirst, nIDLast, nIDCheck);
}

int CWnd::GetCheckedRadioButton(int nIDFirst, int nIDLast) const
{
    for (int nID = nIDFirst; nID <= nIDLast; ++nID) {
        if (IsDlgButtonChecked(nID)) return nID;
    }
    return 0;
}

CDC* CWnd::GetDC()
{
    return CDC::FromHandle(::GetDC(m_hWnd));
}

CDC* CWnd::GetWindowDC()
{
    return CDC::FromHandle(::GetWindowDC(m_hWnd));
}

int CWnd::ReleaseDC(CDC* pDC)
{
    return ::ReleaseDC(m_hWnd, pDC->GetSafeHdc());
}

CDC* CWnd::BeginPaint(LPPAINTSTRUCT pPaint)
{
    return CDC::FromHandle(::BeginPaint(m_hWnd, pPaint));
}

BOOL CWnd::RedrawWindow(LPCRECT pRect, CRgn* pRgn, UINT nFlags)
{
    return ::RedrawWindow(m_hWnd, pRect, static_cast<HRGN>(pRgn->GetSafeHandle()), nFlags);
}

UINT CWnd::SetTimer(UINT nIDEvent, UINT nElapse, TIMERPROC pfnTimer)
{
    return ::SetTimer(m_hWnd, nIDEvent, nElapse, pfnTimer);
}
