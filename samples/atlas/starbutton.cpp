#include "starbutton.h"

#include <cmath>

void CStarButton::Light(bool bLit)
{
    m_bLit = bLit;
    Invalidate();
}

void CStarButton::DrawItem(LPDRAWITEMSTRUCT item)
{
    CDC* const dc = CDC::FromHandle(item->hDC);
    CRect area(item->rcItem);
    dc->FillSolidRect(&area, RGB(255, 255, 255));

    // Five points out and five in, beginning at the top.
    const double radius = (area.Height() < area.Width() ? area.Height() : area.Width()) / 2.0 - 2;
    POINT points[10];
    for (int i = 0; i < 10; ++i) {
        const double angle = i * 3.14159265358979 / 5, length = i % 2 ? radius * 0.42 : radius;
        points[i].x = std::lround((area.left + area.right - 1) / 2.0 + length * std::sin(angle));
        points[i].y = std::lround((area.top + area.bottom) / 2.0 - length * std::cos(angle));
    }
    CPen pen(PS_SOLID, 1, m_bLit ? RGB(184, 128, 0) : RGB(128, 128, 128));
    CBrush brush(m_bLit ? RGB(255, 200, 0) : RGB(255, 255, 255));
    CPen* const oldPen = dc->SelectObject(&pen);
    CBrush* const oldBrush = dc->SelectObject(&brush);
    dc->Polygon(points, 10);
    dc->SelectObject(oldBrush);
    dc->SelectObject(oldPen);
    if (item->itemState & ODS_FOCUS) dc->DrawFocusRect(&area);
}
