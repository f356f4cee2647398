#include "afxwin.h"

IMPLEMENT_DYNAMIC(CStatic, CWnd)
IMPLEMENT_DYNAMIC(CButton, CWnd)
IMPLEMENT_DYNAMIC(CScrollBar, CWnd)

BOOL CStatic::Create(LPCTSTR pszText, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID)
{
    return CWnd::Create(L"STATIC", pszText, dwStyle, rect, pParentWnd, nID);
}

HICON CStatic::SetIcon(HICON hIcon)
{
    return reinterpret_cast<HICON>(SendMessage(STM_SETIMAGE, IMAGE_ICON, reinterpret_cast<LPARAM>(hIcon)));
}

HICON CStatic::GetIcon() const
{
    return reinterpret_cast<HICON>(SendMessage(STM_GETIMAGE, IMAGE_ICON));
}

HBITMAP CStatic::SetBitmap(HBITMAP hBitmap)
{
    return reinterpret_cast<HBITMAP>(SendMessage(STM_SETIMAGE, IMAGE_BITMAP, reinterpret_cast<LPARAM>(hBitmap)));
}

HBITMAP CStatic::GetBitmap() const
{
    return reinterpret_cast<HBITMAP>(SendMessage(STM_GETIMAGE, IMAGE_BITMAP));
}

BOOL CButton::Create(LPCTSTR pszCaption, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID)
{
    return CWnd::Create(L"BUTTON", pszCaption, dwStyle, rect, pParentWnd, nID);
}

UINT CButton::GetState() const
{
    return static_cast<UINT>(SendMessage(BM_GETSTATE));
}

void CButton::SetState(BOOL bHighlight)
{
    SendMessage(BM_SETSTATE, static_cast<WPARAM>(bHighlight));
}

int CButton::GetCheck() const
{
    return static_cast<int>(SendMessage(BM_GETCHECK));
}

void CButton::SetCheck(int nCheck)
{
    SendMessage(BM_SETCHECK, static_cast<WPARAM>(nCheck));
}

UINT CButton::GetButtonStyle() const
{
    return GetStyle() & 0xFF;
}

void CButton::SetButtonStyle(UINT nStyle, BOOL bRedraw)
{
    SendMessage(BM_SETSTYLE, nStyle, bRedraw);
}

void CButton::DrawItem(LPDRAWITEMSTRUCT)
{
    ASSERT(FALSE);
}

BOOL CButton::OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    if (nMessage != WM_DRAWITEM) return CWnd::OnChildNotify(nMessage, wParam, lParam, pResult);
    DrawItem(reinterpret_cast<LPDRAWITEMSTRUCT>(lParam));
    return TRUE;
}

BOOL CScrollBar::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID)
{
    return CWnd::Create(L"SCROLLBAR", NULL, dwStyle, rect, pParentWnd, nID);
}

int CScrollBar::GetScrollPos() const
{
    return CWnd::GetScrollPos(SB_CTL);
}

int CScrollBar::SetScrollPos(int nPos, BOOL bRedraw)
{
    return CWnd::SetScrollPos(SB_CTL, nPos, bRedraw);
}

void CScrollBar::GetScrollRange(LPINT pMinPos, LPINT pMaxPos) const
{
    CWnd::GetScrollRange(SB_CTL, pMinPos, pMaxPos);
}

void CScrollBar::SetScrollRange(int nMinPos, int nMaxPos, BOOL bRedraw)
{
    CWnd::SetScrollRange(SB_CTL, nMinPos, nMaxPos, bRedraw);
}

BOOL CScrollBar::GetScrollInfo(LPSCROLLINFO pScrollInfo, UINT nMask)
{
    return CWnd::GetScrollInfo(SB_CTL, pScrollInfo, nMask);
}

BOOL CScrollBar::SetScrollInfo(LPSCROLLINFO pScrollInfo, BOOL bRedraw)
{
    return CWnd::SetScrollInfo(SB_CTL, pScrollInfo, bRedraw);
}

int CScrollBar::GetScrollLimit()
{
    return CWnd::GetScrollLimit(SB_CTL);
}

void CScrollBar::ShowScrollBar(BOOL bShow)
{
    CWnd::ShowScrollBar(SB_CTL, bShow);
}

BOOL CScrollBar::EnableScrollBar(UINT nArrowFlags)
{
    return ::EnableScrollBar(m_hWnd, SB_CTL, nArrowFlags);
}
