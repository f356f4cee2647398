#include "wndhook.h"

#include "afx_controls.h"

// The device's system knows positions and ranges through GetScrollInfo and SetScrollInfo only. A control that stands in
// for a bar of the frame answers in its place.

CScrollBar* CWnd::GetScrollBarCtrl(int) const
{
    return NULL;
}

namespace {

// The window and the bar to ask.
struct CBar
{
    CBar(const CWnd& wnd, int nBar) : m_hWnd(wnd.m_hWnd), m_nBar(nBar)
    {
        if (nBar == SB_CTL) return;
        if (CScrollBar* const pControl = wnd.GetScrollBarCtrl(nBar)) {
            m_hWnd = pControl->m_hWnd;
            m_nBar = SB_CTL;
        }
    }
    SCROLLINFO Get(UINT nMask) const
    {
        SCROLLINFO info = {sizeof(SCROLLINFO), nMask, 0, 0, 0, 0, 0};
        ::GetScrollInfo(m_hWnd, m_nBar, &info);
        return info;
    }

    HWND m_hWnd;
    int m_nBar;
};

} // namespace

int CWnd::GetScrollPos(int nBar) const
{
    return CBar(*this, nBar).Get(SIF_POS).nPos;
}

int CWnd::SetScrollPos(int nBar, int nPos, BOOL bRedraw)
{
    const CBar bar(*this, nBar);
    const int nBefore = bar.Get(SIF_POS).nPos;
    const SCROLLINFO info = {sizeof(SCROLLINFO), SIF_POS, 0, 0, 0, nPos, 0};
    ::SetScrollInfo(bar.m_hWnd, bar.m_nBar, &info, bRedraw);
    return nBefore;
}

void CWnd::GetScrollRange(int nBar, LPINT pMinPos, LPINT pMaxPos) const
{
    const SCROLLINFO info = CBar(*this, nBar).Get(SIF_RANGE);
    *pMinPos = info.nMin;
    *pMaxPos = info.nMax;
}

void CWnd::SetScrollRange(int nBar, int nMinPos, int nMaxPos, BOOL bRedraw)
{
    const CBar bar(*this, nBar);
    const SCROLLINFO info = {sizeof(SCROLLINFO), SIF_RANGE, nMinPos, nMaxPos, 0, 0, 0};
    ::SetScrollInfo(bar.m_hWnd, bar.m_nBar, &info, bRedraw);
}

BOOL CWnd::GetScrollInfo(int nBar, LPSCROLLINFO pScrollInfo, UINT nMask)
{
    const CBar bar(*this, nBar);
    pScrollInfo->cbSize = sizeof(*pScrollInfo);
    pScrollInfo->fMask = nMask;
    return ::GetScrollInfo(bar.m_hWnd, bar.m_nBar, pScrollInfo);
}

BOOL CWnd::SetScrollInfo(int nBar, LPSCROLLINFO pScrollInfo, BOOL bRedraw)
{
    const CBar bar(*this, nBar);
    pScrollInfo->cbSize = sizeof(*pScrollInfo);
    ::SetScrollInfo(bar.m_hWnd, bar.m_nBar, pScrollInfo, bRedraw);
    return TRUE;
}

int CWnd::GetScrollLimit(int nBar)
{
    const SCROLLINFO info = CBar(*this, nBar).Get(SIF_RANGE | SIF_PAGE);
    return info.nMax - (info.nPage > 1 ? static_cast<int>(info.nPage) - 1 : 0);
}

void CWnd::ScrollWindow(int xAmount, int yAmount, LPCRECT pRect, LPCRECT pClipRect)
{
    // Without a rectangle the children move too.
    const UINT nChildren = pRect ? 0 : SW_SCROLLCHILDREN;
    ::ScrollWindowEx(m_hWnd, xAmount, yAmount, pRect, pClipRect, NULL, NULL, SW_INVALIDATE | SW_ERASE | nChildren);
}

int CWnd::ScrollWindowEx(int dx, int dy, LPCRECT pRectScroll, LPCRECT pRectClip, CRgn* pRgnUpdate, LPRECT pRectUpdate,
                         UINT nFlags)
{
    return ::ScrollWindowEx(m_hWnd, dx, dy, pRectScroll, pRectClip, static_cast<HRGN>(pRgnUpdate->GetSafeHandle()),
                            pRectUpdate, nFlags);
}
