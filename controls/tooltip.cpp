#include "controls/tooltip.h"

BEGIN_MESSAGE_MAP(CToolTip, CWnd)
ON_WM_ERASEBKGND()
ON_WM_PAINT()
END_MESSAGE_MAP()

int CToolTip::Create(const TCHAR* text, CWnd* parent, unsigned int top, unsigned int availableWidth, unsigned int id)
{
    if (!parent) return 0;
    const CString shown(text);
    CDC dc;
    SIZE extent = {};
    // A window that is as tall as a text which could not be measured would be nothing but its border.
    if (!dc.CreateCompatibleDC(nullptr) ||
        !::GetTextExtentExPointW(dc, shown, shown.GetLength(), 0, nullptr, nullptr, &extent))
        return 0;

    const unsigned int width = static_cast<unsigned int>(extent.cx) + m_nMargin;
    const unsigned int left = width > availableWidth ? 0 : (availableWidth - width) / 2;
    const unsigned int right = width > availableWidth ? availableWidth : left + width;
    const CRect rect(static_cast<int>(left), static_cast<int>(top), static_cast<int>(right),
                     static_cast<int>(top + static_cast<unsigned int>(extent.cy)));
    return CWnd::Create(nullptr, shown, WS_CHILD | WS_VISIBLE | WS_BORDER | 0x1, rect, parent, id);
}

BOOL CToolTip::OnEraseBkgnd(CDC* dc)
{
    CRect client;
    GetClientRect(&client);
    dc->FillSolidRect(&client, m_crBackground);
    return TRUE;
}

void CToolTip::OnPaint()
{
    CPaintDC dc(this);
    CString text;
    GetWindowText(text);
    CRect client;
    GetClientRect(&client);
    dc.SetTextColor(m_crText);
    dc.SetBkMode(TRANSPARENT);
    dc.DrawText(text, &client, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
}
