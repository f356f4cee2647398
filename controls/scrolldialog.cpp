#include "controls/scrolldialog.h"

#include <algorithm>

namespace {

constexpr int kLine = 20; // pixels

// How many sizes in a row are dealt with at once. Each bar that appears or goes brings another size, and in a window of
// exactly the design size this need not end: one bar makes the other necessary, and without it the other is not.
constexpr int kMostSizes = 8;

int ApplyScrollInfo(CWnd& window, int bar, int min, int max, int page)
{
    SCROLLINFO info = {};
    static_assert(sizeof(info) == 28, "the system's record");
    info.cbSize = sizeof(info);
    info.fMask = SIF_RANGE | SIF_PAGE;
    info.nMin = min;
    info.nMax = max;
    info.nPage = static_cast<UINT>(page);
    return ::SetScrollInfo(window.m_hWnd, bar, &info, TRUE);
}

int MoveContent(CWnd& window, int dx, int dy, unsigned int flags)
{
    return ::ScrollWindowEx(window.m_hWnd, dx, dy, nullptr, nullptr, nullptr, nullptr, flags);
}

void Scroll(CWnd& window, int bar, int distance)
{
    MoveContent(window, bar == SB_HORZ ? distance : 0, bar == SB_VERT ? distance : 0,
                SW_SCROLLCHILDREN | SW_INVALIDATE | SW_ERASE);
}

CRect ClientArea(CWnd& window)
{
    CRect client(0, 0, 0, 0);
    ::GetClientRect(window.m_hWnd, &client);
    return client;
}

} // namespace

void CContentScroller::Start(CWnd& window)
{
    const CRect client = ClientArea(window);
    m_nDesignWidth = client.Width();
    m_nDesignHeight = client.Height();
    m_bInitialised = true;
    m_bVertical = false;
    m_bHorizontal = false;
}

void CContentScroller::Resize(CWnd& window, unsigned int type, int cx, int cy)
{
    if (!m_bInitialised || type != SIZE_RESTORED) return;
    CSize size(cx, cy);
    if (m_bResizing) {
        // From within: what is going on would be done twice, by its old flags and with positions half set.
        m_next = size;
        m_bAgain = true;
        return;
    }
    // A host may destroy the dialog and its object in the WM_SIZE of a bar, or when a child is moved.
    const CLifelineGuard guard(m_lifeline);
    m_bResizing = true;
    for (int i = 0; i < kMostSizes; ++i) {
        m_bAgain = false;
        ResizeVertically(window, size.cy);
        if (guard.IsGone()) return;
        ResizeHorizontally(window, size.cx);
        if (guard.IsGone()) return;
        if (!m_bAgain) break;
        size = m_next;
    }
    m_bResizing = false;
}

// The window is smaller than designed along this bar.
void CContentScroller::FitSmaller(CWnd& window, int bar, int design, int size)
{
    const CLifelineGuard guard(m_lifeline);
    int position = window.GetScrollPos(bar);
    // A host may have set any position: the sum is formed wide enough.
    const long long beyond = static_cast<long long>(position) - design + size;
    if (beyond > 0) {
        Scroll(window, bar, static_cast<int>(beyond));
        if (guard.IsGone()) return;
        position = design - size;
    }
    ApplyScrollInfo(window, bar, 0, design - 1, size);
    if (!guard.IsGone()) window.SetScrollPos(bar, position);
}

void CContentScroller::ResizeVertically(CWnd& window, int cy)
{
    if (cy < m_nDesignHeight) {
        m_bVertical = true;
        FitSmaller(window, SB_VERT, m_nDesignHeight, cy);
        return;
    }
    if (m_bVertical) {
        const CLifelineGuard guard(m_lifeline);
        if (const int position = window.GetScrollPos(SB_VERT)) Scroll(window, SB_VERT, position);
        if (guard.IsGone()) return;
        ApplyScrollInfo(window, SB_VERT, 0, m_nDesignHeight - 1, cy);
        if (guard.IsGone()) return;
    }
    m_bVertical = false;
}

void CContentScroller::ResizeHorizontally(CWnd& window, int cx)
{
    if (!m_bNoHorizontal && cx < m_nDesignWidth) {
        m_bHorizontal = true;
        FitSmaller(window, SB_HORZ, m_nDesignWidth, cx);
        return;
    }
    if (!m_bHorizontal) return;
    const CLifelineGuard guard(m_lifeline);
    // The vertical position, not the horizontal one: hosts know it so.
    if (const int position = window.GetScrollPos(SB_VERT)) Scroll(window, SB_HORZ, position);
    if (guard.IsGone()) return;
    ApplyScrollInfo(window, SB_HORZ, 0, m_nDesignWidth - 1, cx);
    if (!guard.IsGone()) m_bHorizontal = false;
}

void CContentScroller::MoveBar(CWnd& window, int bar, unsigned int code, unsigned int position, int size, int beyond)
{
    const int from = window.GetScrollPos(bar);
    int min, max;
    window.GetScrollRange(bar, &min, &max);
    // A host may have set any range: wide enough for it.
    const long long last = static_cast<long long>(max) - size + beyond;
    long long to = from;
    switch (code) {
    case SB_LINEUP:
        to -= kLine;
        break;
    case SB_LINEDOWN:
        to += kLine;
        break;
    case SB_PAGEUP:
        to -= size;
        break;
    case SB_PAGEDOWN:
        to += size;
        break;
    case SB_THUMBTRACK:
        to = static_cast<int>(position);
        break;
    case SB_BOTTOM:
        to = max;
        break;
    default:
        break;
    }
    if (code == SB_TOP) {
        to = std::min(last, 0LL);
    } else {
        to = to < 0 ? 0 : std::min(to, last);
    }
    if (to == from) return;
    const CLifelineGuard guard(m_lifeline); // a child that is moved may tell the host
    Scroll(window, bar, static_cast<int>(from - to));
    if (!guard.IsGone()) window.SetScrollPos(bar, static_cast<int>(to));
}

void CContentScroller::ScrollVertically(CWnd& window, unsigned int code, unsigned int position)
{
    if (m_bVertical) MoveBar(window, SB_VERT, code, position, ClientArea(window).Height(), 1);
}

void CContentScroller::ScrollHorizontally(CWnd& window, unsigned int code, unsigned int position)
{
    // One less where the vertical bar has one more: hosts know it so.
    if (m_bHorizontal) MoveBar(window, SB_HORZ, code, position, ClientArea(window).Width(), -1);
}

IMPLEMENT_DYNCREATE(CScrollDialog, CDialog)

BEGIN_MESSAGE_MAP(CScrollDialog, CDialog)
ON_WM_SIZE()
ON_WM_VSCROLL()
ON_WM_HSCROLL()
END_MESSAGE_MAP()

CScrollDialog::CScrollDialog(unsigned int templateId, CWnd* parent) : CDialog(templateId, parent) {}

int CScrollDialog::SetScrollInfo(int bar, int min, int max, int page)
{
    return ApplyScrollInfo(*this, bar, min, max, page);
}

int CScrollDialog::ScrollWindowEx(int dx, int dy, unsigned int flags)
{
    return MoveContent(*this, dx, dy, flags);
}

BOOL CScrollDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    m_scroller.Start(*this);
    return TRUE;
}

void CScrollDialog::DoDataExchange(CDataExchange*) {}

void CScrollDialog::OnSize(UINT type, int cx, int cy)
{
    CDialog::OnSize(type, cx, cy);
    m_scroller.Resize(*this, type, cx, cy);
}

void CScrollDialog::OnVScroll(UINT code, UINT position, CScrollBar*)
{
    m_scroller.ScrollVertically(*this, code, position);
}

void CScrollDialog::OnHScroll(UINT code, UINT position, CScrollBar*)
{
    m_scroller.ScrollHorizontally(*this, code, position);
}

IMPLEMENT_DYNCREATE(CScrollPropertyPage, CPropertyPage)

BEGIN_MESSAGE_MAP(CScrollPropertyPage, CPropertyPage)
ON_WM_SIZE()
ON_WM_VSCROLL()
ON_WM_HSCROLL()
END_MESSAGE_MAP()

CScrollPropertyPage::CScrollPropertyPage(unsigned int templateId, CWnd*) : CPropertyPage(templateId) {}

int CScrollPropertyPage::SetScrollInfo(int bar, int min, int max, int page)
{
    return ApplyScrollInfo(*this, bar, min, max, page);
}

int CScrollPropertyPage::ScrollWindowEx(int dx, int dy, unsigned int flags)
{
    return MoveContent(*this, dx, dy, flags);
}

BOOL CScrollPropertyPage::OnInitDialog()
{
    CPropertyPage::OnInitDialog();
    m_scroller.Start(*this);
    return TRUE;
}

void CScrollPropertyPage::DoDataExchange(CDataExchange*) {}

void CScrollPropertyPage::OnSize(UINT type, int cx, int cy)
{
    CPropertyPage::OnSize(type, cx, cy);
    m_scroller.Resize(*this, type, cx, cy);
}

void CScrollPropertyPage::OnVScroll(UINT code, UINT position, CScrollBar*)
{
    m_scroller.ScrollVertically(*this, code, position);
}

void CScrollPropertyPage::OnHScroll(UINT code, UINT position, CScrollBar*)
{
    m_scroller.ScrollHorizontally(*this, code, position);
}
