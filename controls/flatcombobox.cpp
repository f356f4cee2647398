#include "controls/flatcombobox.h"

namespace {

constexpr UINT kTimer = 1;
constexpr UINT kTimerPeriod = 10; // milliseconds

} // namespace

IMPLEMENT_DYNAMIC(CCJFlatComboBox, CComboBox)

BEGIN_MESSAGE_MAP(CCJFlatComboBox, CComboBox)
ON_WM_MOUSEMOVE()
ON_WM_LBUTTONDOWN()
ON_WM_LBUTTONUP()
ON_WM_TIMER()
ON_WM_PAINT()
ON_WM_SETFOCUS()
ON_WM_KILLFOCUS()
ON_WM_SYSCOLORCHANGE()
ON_CONTROL_REFLECT(CBN_EDITUPDATE, OnEditUpdate)
END_MESSAGE_MAP()

CCJFlatComboBox::CCJFlatComboBox()
    : m_nArrowWidth(::GetSystemMetrics(SM_CXVSCROLL)), m_crHighlight(::GetSysColor(COLOR_3DDKSHADOW)),
      m_crShadow(::GetSysColor(COLOR_BTNSHADOW)), m_crNormal(::GetSysColor(COLOR_BTNFACE))
{
}

CCJFlatComboBox::~CCJFlatComboBox() = default;

void CCJFlatComboBox::EnableAutoCompletion(bool enable)
{
    m_bAutoCompletion = enable;
}

BOOL CCJFlatComboBox::PreTranslateMessage(MSG* message)
{
    if (message->message == WM_SYSCHAR) return TRUE;
    return CComboBox::PreTranslateMessage(message);
}

void CCJFlatComboBox::DrawCombo(STATE state, COLORREF topLeft, COLORREF bottomRight)
{
    if (!m_hWnd) return;
    CRect rect;
    GetClientRect(rect);
    const bool bEnabled = IsWindowEnabled() != FALSE;
    CWindowDC dc(this);

    dc.Draw3dRect(rect, topLeft, bottomRight);
    rect.DeflateRect(1, 1);
    const COLORREF crInner = bEnabled ? m_crNormal : m_crHighlight;
    dc.Draw3dRect(rect, crInner, crInner);
    rect.DeflateRect(1, 1);

    rect.left = rect.right - m_nArrowWidth;
    dc.Draw3dRect(rect, m_crNormal, m_crNormal);
    rect.DeflateRect(1, 1);
    dc.Draw3dRect(rect, m_crNormal, m_crNormal);
    if (!bEnabled) return;

    rect.InflateRect(0, 1);
    switch (state) {
    case STATE_NORMAL:
        dc.Draw3dRect(rect, m_crHighlight, m_crHighlight);
        --rect.left;
        dc.Draw3dRect(rect, m_crHighlight, m_crHighlight);
        break;
    case STATE_RAISED:
        dc.Draw3dRect(rect, m_crHighlight, m_crShadow);
        break;
    case STATE_PRESSED:
        rect.OffsetRect(1, 1);
        dc.Draw3dRect(rect, m_crShadow, m_crHighlight);
        break;
    }
}

void CCJFlatComboBox::DrawFlat()
{
    DrawCombo(STATE_NORMAL, m_crNormal, m_crNormal);
}

void CCJFlatComboBox::DrawRaised()
{
    DrawCombo(STATE_RAISED, m_crShadow, m_crHighlight);
}

bool CCJFlatComboBox::IsPointerOutside() const
{
    CPoint point;
    ::GetCursorPos(&point);
    CRect rect;
    GetWindowRect(rect);
    return !rect.PtInRect(point);
}

void CCJFlatComboBox::OnMouseMove(UINT nFlags, CPoint point)
{
    SetTimer(kTimer, kTimerPeriod, nullptr);
    OnTimer(kTimer);
    CComboBox::OnMouseMove(nFlags, point);
}

void CCJFlatComboBox::OnTimer(UINT nIDEvent)
{
    if (m_bButtonDown) {
        KillTimer(kTimer);
        if (m_bRaised) {
            DrawCombo(STATE_PRESSED, m_crShadow, m_crHighlight);
            m_bRaised = false;
        }
    } else if (IsPointerOutside() && !m_bFocus) {
        KillTimer(kTimer);
        if (m_bRaised) {
            DrawFlat();
            m_bRaised = false;
        }
    } else if (!m_bRaised) {
        m_bRaised = true;
        DrawRaised();
        CComboBox::OnTimer(nIDEvent);
    }
}

void CCJFlatComboBox::OnLButtonDown(UINT nFlags, CPoint point)
{
    m_bButtonDown = true;
    CComboBox::OnLButtonDown(nFlags, point);
}

void CCJFlatComboBox::OnLButtonUp(UINT nFlags, CPoint point)
{
    m_bButtonDown = false;
    Invalidate();
    CComboBox::OnLButtonUp(nFlags, point);
}

void CCJFlatComboBox::OnPaint()
{
    const CLifelineGuard guard(m_lifeline);
    ModifyStyleEx(WS_EX_DLGMODALFRAME | WS_EX_CLIENTEDGE | WS_EX_STATICEDGE, 0, SWP_FRAMECHANGED);
    if (guard.IsGone() || !m_hWnd) return;
    Default(); // an owner-drawn box asks the host to draw
    if (guard.IsGone() || !m_hWnd) return;
    if (IsPointerOutside() && !m_bFocus) {
        DrawFlat();
    } else {
        DrawRaised();
    }
}

// The host is told of the focus by the default handling, and may destroy what it likes.
void CCJFlatComboBox::OnSetFocus(CWnd* pOldWnd)
{
    m_bFocus = true;
    const CLifelineGuard guard(m_lifeline);
    CComboBox::OnSetFocus(pOldWnd);
    if (guard.IsGone() || !m_hWnd) return;
    DrawRaised();
}

void CCJFlatComboBox::OnKillFocus(CWnd* pNewWnd)
{
    m_bFocus = false;
    const CLifelineGuard guard(m_lifeline);
    CComboBox::OnKillFocus(pNewWnd);
    if (guard.IsGone() || !m_hWnd) return;
    DrawFlat();
}

void CCJFlatComboBox::OnSysColorChange()
{
    CComboBox::OnSysColorChange();
    m_crHighlight = ::GetSysColor(COLOR_BTNFACE);
    m_crShadow = ::GetSysColor(COLOR_BTNSHADOW);
    m_crNormal = ::GetSysColor(COLOR_BTNFACE);
}

void CCJFlatComboBox::OnEditUpdate()
{
    if (!m_bAutoCompletion) return;

    CString strTyped;
    GetWindowText(strTyped);
    const int nLength = strTyped.GetLength();
    const DWORD dwSelection = GetEditSel();
    const bool bSelectionValid = dwSelection != static_cast<DWORD>(CB_ERR);
    const int nStart = LOWORD(dwSelection);
    const int nEnd = HIWORD(dwSelection);

    const CLifelineGuard guard(m_lifeline);
    const int nFound = SelectString(-1, strTyped);
    if (guard.IsGone() || !m_hWnd) return;
    if (nFound == CB_ERR) {
        SetWindowText(strTyped); // which may be told to the host
        if (guard.IsGone() || !m_hWnd) return;
        if (bSelectionValid) SetEditSel(nStart, nEnd);
    }
    if (bSelectionValid && nEnd < nLength) {
        SetEditSel(nStart, nEnd);
    } else {
        SetEditSel(nLength, -1);
    }
}
