#include "gdidc_both.h"

CPoint CDC::MoveTo(int x, int y)
{
    CPoint before(0, 0);
    OnBoth([&](HDC hDC) { return ::MoveToEx(hDC, x, y, &before); });
    return before;
}

CPoint CDC::MoveTo(POINT point)
{
    return MoveTo(point.x, point.y);
}

BOOL CDC::LineTo(int x, int y)
{
    const BOOL bDrawn = ::LineTo(m_hDC, x, y);
    if (bDrawn && m_hAttribDC && m_hAttribDC != m_hDC) ::MoveToEx(m_hAttribDC, x, y, NULL);
    return bDrawn;
}

BOOL CDC::LineTo(POINT point)
{
    return LineTo(point.x, point.y);
}

BOOL CDC::Polyline(const POINT* pPoints, int nCount)
{
    return ::Polyline(m_hDC, pPoints, nCount);
}

BOOL CDC::Polygon(const POINT* pPoints, int nCount)
{
    return ::Polygon(m_hDC, pPoints, nCount);
}

BOOL CDC::Rectangle(int x1, int y1, int x2, int y2)
{
    return ::Rectangle(m_hDC, x1, y1, x2, y2);
}

BOOL CDC::Rectangle(LPCRECT pRect)
{
    return Rectangle(pRect->left, pRect->top, pRect->right, pRect->bottom);
}

BOOL CDC::RoundRect(int x1, int y1, int x2, int y2, int x3, int y3)
{
    return ::RoundRect(m_hDC, x1, y1, x2, y2, x3, y3);
}

BOOL CDC::RoundRect(LPCRECT pRect, POINT point)
{
    return RoundRect(pRect->left, pRect->top, pRect->right, pRect->bottom, point.x, point.y);
}

BOOL CDC::Ellipse(int x1, int y1, int x2, int y2)
{
    return ::Ellipse(m_hDC, x1, y1, x2, y2);
}

BOOL CDC::Ellipse(LPCRECT pRect)
{
    return Ellipse(pRect->left, pRect->top, pRect->right, pRect->bottom);
}

void CDC::FillRect(LPCRECT pRect, CBrush* pBrush)
{
    ::FillRect(m_hDC, pRect, static_cast<HBRUSH>(pBrush->GetSafeHandle()));
}

void CDC::FrameRect(LPCRECT pRect, CBrush* pBrush)
{
    const CRect rect(pRect);
    if (rect.IsRectEmpty()) return;
    const CRect sides[] = {
        CRect(rect.left, rect.top, rect.right, rect.top + 1),
        CRect(rect.left, rect.top, rect.left + 1, rect.bottom),
        CRect(rect.right - 1, rect.top, rect.right, rect.bottom),
        CRect(rect.left, rect.bottom - 1, rect.right, rect.bottom),
    };
    for (const CRect& side : sides) FillRect(&side, pBrush);
}

void CDC::InvertRect(LPCRECT pRect)
{
    ::InvertRect(m_hDC, pRect);
}

BOOL CDC::FillRgn(CRgn* pRgn, CBrush* pBrush)
{
    return ::FillRgn(m_hDC, static_cast<HRGN>(pRgn->GetSafeHandle()), static_cast<HBRUSH>(pBrush->GetSafeHandle()));
}

void CDC::FillSolidRect(LPCRECT pRect, COLORREF crColor)
{
    SetBkColor(crColor);
    ::ExtTextOutW(m_hDC, 0, 0, ETO_OPAQUE, pRect, NULL, 0, NULL);
}

void CDC::FillSolidRect(int x, int y, int cx, int cy, COLORREF crColor)
{
    FillSolidRect(CRect(CPoint(x, y), CSize(cx, cy)), crColor);
}

void CDC::Draw3dRect(LPCRECT pRect, COLORREF crTopLeft, COLORREF crBottomRight)
{
    const CRect rect(pRect);
    Draw3dRect(rect.left, rect.top, rect.Width(), rect.Height(), crTopLeft, crBottomRight);
}

void CDC::Draw3dRect(int x, int y, int cx, int cy, COLORREF crTopLeft, COLORREF crBottomRight)
{
    FillSolidRect(x, y, cx - 1, 1, crTopLeft);
    FillSolidRect(x, y, 1, cy - 1, crTopLeft);
    FillSolidRect(x + cx - 1, y, 1, cy, crBottomRight);
    FillSolidRect(x, y + cy - 1, cx, 1, crBottomRight);
}

BOOL CDC::DrawEdge(LPRECT pRect, UINT nEdge, UINT nFlags)
{
    return ::DrawEdge(m_hDC, pRect, nEdge, nFlags);
}

BOOL CDC::DrawFrameControl(LPRECT pRect, UINT nType, UINT nState)
{
    return ::DrawFrameControl(m_hDC, pRect, nType, nState);
}

void CDC::DrawFocusRect(LPCRECT pRect)
{
    ::DrawFocusRect(m_hDC, pRect);
}

BOOL CDC::DrawIcon(int x, int y, HICON hIcon)
{
    return ::DrawIconEx(m_hDC, x, y, hIcon, 0, 0, 0, NULL, DI_NORMAL | DI_DEFAULTSIZE);
}

BOOL CDC::DrawIcon(POINT point, HICON hIcon)
{
    return DrawIcon(point.x, point.y, hIcon);
}

COLORREF CDC::GetPixel(int x, int y) const
{
    return ::GetPixel(m_hDC, x, y);
}

COLORREF CDC::GetPixel(POINT point) const
{
    return GetPixel(point.x, point.y);
}

COLORREF CDC::SetPixel(int x, int y, COLORREF crColor)
{
    return ::SetPixel(m_hDC, x, y, crColor);
}

COLORREF CDC::SetPixel(POINT point, COLORREF crColor)
{
    return SetPixel(point.x, point.y, crColor);
}

BOOL CDC::PatBlt(int x, int y, int nWidth, int nHeight, DWORD dwRop)
{
    return ::PatBlt(m_hDC, x, y, nWidth, nHeight, dwRop);
}

BOOL CDC::BitBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, DWORD dwRop)
{
    return ::BitBlt(m_hDC, x, y, nWidth, nHeight, pSrcDC->GetSafeHdc(), xSrc, ySrc, dwRop);
}

BOOL CDC::StretchBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, int nSrcWidth,
                     int nSrcHeight, DWORD dwRop)
{
    return ::StretchBlt(m_hDC, x, y, nWidth, nHeight, pSrcDC->GetSafeHdc(), xSrc, ySrc, nSrcWidth, nSrcHeight, dwRop);
}

BOOL CDC::MaskBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, CBitmap& maskBitmap,
                  int xMask, int yMask, DWORD dwRop)
{
    return ::MaskBlt(m_hDC, x, y, nWidth, nHeight, pSrcDC->GetSafeHdc(), xSrc, ySrc, maskBitmap, xMask, yMask, dwRop);
}

BOOL CDC::ScrollDC(int dx, int dy, LPCRECT pRectScroll, LPCRECT pRectClip, CRgn* pRgnUpdate, LPRECT pRectUpdate)
{
    return ::ScrollDC(m_hDC, dx, dy, pRectScroll, pRectClip, static_cast<HRGN>(pRgnUpdate->GetSafeHandle()),
                      pRectUpdate);
}
