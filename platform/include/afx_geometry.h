// afx_geometry.h - CSize, CPoint and CRect: SIZE, POINT and RECT with operators, and nothing added in memory.
//
// Threads    values: any thread.
// Errors     none. The default constructors leave the members uninitialized, as the device's do.
#ifndef AFX_GEOMETRY_H
#define AFX_GEOMETRY_H

#include "afx_api.h"

class CPoint;
class CRect;

class CSize : public tagSIZE
{
public:
    CSize() {}
    CSize(int nCX, int nCY) : tagSIZE{nCX, nCY} {}
    CSize(SIZE size) : tagSIZE(size) {}
    CSize(POINT point) : tagSIZE{point.x, point.y} {}
    CSize(DWORD dwSize) : tagSIZE{static_cast<short>(LOWORD(dwSize)), static_cast<short>(HIWORD(dwSize))} {}

    BOOL operator==(SIZE size) const { return cx == size.cx && cy == size.cy; }
    BOOL operator!=(SIZE size) const { return !(*this == size); }
    void operator+=(SIZE size) { *this = *this + size; }
    void operator-=(SIZE size) { *this = *this - size; }
    CSize operator+(SIZE size) const { return CSize(cx + size.cx, cy + size.cy); }
    CSize operator-(SIZE size) const { return CSize(cx - size.cx, cy - size.cy); }
    CSize operator-() const { return CSize(-cx, -cy); }
    inline CPoint operator+(POINT point) const;
    inline CPoint operator-(POINT point) const;
    inline CRect operator+(LPCRECT pRect) const;
    inline CRect operator-(LPCRECT pRect) const;
};

class CPoint : public tagPOINT
{
public:
    CPoint() {}
    CPoint(int nX, int nY) : tagPOINT{nX, nY} {}
    CPoint(POINT point) : tagPOINT(point) {}
    CPoint(SIZE size) : tagPOINT{size.cx, size.cy} {}
    // Signed halves, x in the lower one: the lParam of a mouse message.
    CPoint(DWORD dwPoint) : tagPOINT{static_cast<short>(LOWORD(dwPoint)), static_cast<short>(HIWORD(dwPoint))} {}

    void Offset(int nX, int nY) { *this = CPoint(x + nX, y + nY); }
    void Offset(POINT point) { Offset(point.x, point.y); }
    void Offset(SIZE size) { Offset(size.cx, size.cy); }
    BOOL operator==(POINT point) const { return x == point.x && y == point.y; }
    BOOL operator!=(POINT point) const { return !(*this == point); }
    void operator+=(SIZE size) { Offset(size); }
    void operator-=(SIZE size) { *this = *this - size; }
    void operator+=(POINT point) { Offset(point); }
    void operator-=(POINT point) { *this = CPoint(x - point.x, y - point.y); }
    CPoint operator+(SIZE size) const { return CPoint(x + size.cx, y + size.cy); }
    CPoint operator-(SIZE size) const { return CPoint(x - size.cx, y - size.cy); }
    CPoint operator+(POINT point) const { return CPoint(x + point.x, y + point.y); }
    CSize operator-(POINT point) const { return CSize(x - point.x, y - point.y); }
    CPoint operator-() const { return CPoint(-x, -y); }
    inline CRect operator+(LPCRECT pRect) const;
    inline CRect operator-(LPCRECT pRect) const;
};

// left and top belong to the rectangle, right and bottom do not. Width and height are differences and may be negative:
// NormalizeRect first, where the operation needs them not to be.
class CRect : public tagRECT
{
public:
    CRect() {}
    CRect(int nLeft, int nTop, int nRight, int nBottom) : tagRECT{nLeft, nTop, nRight, nBottom} {}
    CRect(const RECT& rect) : tagRECT(rect) {}
    CRect(LPCRECT pRect) : tagRECT(*pRect) {}
    CRect(POINT point, SIZE size) : tagRECT{point.x, point.y, point.x + size.cx, point.y + size.cy} {}
    CRect(POINT topLeft, POINT bottomRight) : tagRECT{topLeft.x, topLeft.y, bottomRight.x, bottomRight.y} {}

    int Width() const { return right - left; }
    int Height() const { return bottom - top; }
    CSize Size() const { return CSize(Width(), Height()); }
    CPoint& TopLeft() { return *reinterpret_cast<CPoint*>(&left); }
    CPoint& BottomRight() { return *reinterpret_cast<CPoint*>(&right); }
    const CPoint& TopLeft() const { return *reinterpret_cast<const CPoint*>(&left); }
    const CPoint& BottomRight() const { return *reinterpret_cast<const CPoint*>(&right); }
    CPoint CenterPoint() const { return CPoint((left + right) / 2, (top + bottom) / 2); }
    operator LPRECT() { return this; }
    operator LPCRECT() const { return this; }

    BOOL IsRectEmpty() const { return Width() <= 0 || Height() <= 0; }
    BOOL IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    BOOL PtInRect(POINT point) const { return ::PtInRect(this, point); }
    BOOL EqualRect(LPCRECT pRect) const { return *this == *pRect; }

    void SetRect(int nLeft, int nTop, int nRight, int nBottom) { *this = CRect(nLeft, nTop, nRight, nBottom); }
    void SetRect(POINT topLeft, POINT bottomRight) { *this = CRect(topLeft, bottomRight); }
    void SetRectEmpty() { *this = CRect(0, 0, 0, 0); }
    void CopyRect(LPCRECT pSource) { *this = CRect(pSource); }
    // Outwards and inwards on all sides; of a RECT each member is that side's distance.
    void InflateRect(int nX, int nY) { InflateRect(nX, nY, nX, nY); }
    void InflateRect(SIZE size) { InflateRect(size.cx, size.cy); }
    void InflateRect(LPCRECT pRect) { InflateRect(pRect->left, pRect->top, pRect->right, pRect->bottom); }
    void InflateRect(int nLeft, int nTop, int nRight, int nBottom)
    {
        SetRect(left - nLeft, top - nTop, right + nRight, bottom + nBottom);
    }
    void DeflateRect(int nX, int nY) { DeflateRect(nX, nY, nX, nY); }
    void DeflateRect(SIZE size) { DeflateRect(size.cx, size.cy); }
    void DeflateRect(LPCRECT pRect) { DeflateRect(pRect->left, pRect->top, pRect->right, pRect->bottom); }
    void DeflateRect(int nLeft, int nTop, int nRight, int nBottom)
    {
        SetRect(left + nLeft, top + nTop, right - nRight, bottom - nBottom);
    }
    void OffsetRect(int nX, int nY) { SetRect(left + nX, top + nY, right + nX, bottom + nY); }
    void OffsetRect(SIZE size) { OffsetRect(size.cx, size.cy); }
    void OffsetRect(POINT point) { OffsetRect(point.x, point.y); }
    void NormalizeRect()
    {
        if (left > right) SwapLeftRight();
        if (top > bottom) SetRect(left, bottom, right, top);
    }
    void SwapLeftRight() { SetRect(right, top, left, bottom); }
    // FALSE, and this rectangle all zero, if the result is empty.
    BOOL IntersectRect(LPCRECT pRect1, LPCRECT pRect2) { return ::IntersectRect(this, pRect1, pRect2); }
    BOOL UnionRect(LPCRECT pRect1, LPCRECT pRect2) { return ::UnionRect(this, pRect1, pRect2); }
    // *pRect1 without *pRect2, as far as that is a rectangle again; else *pRect1.
    BOOL SubtractRect(LPCRECT pRect1, LPCRECT pRect2) { return ::SubtractRect(this, pRect1, pRect2); }
    CRect MulDiv(int nMultiplier, int nDivisor) const
    {
        return CRect(::MulDiv(left, nMultiplier, nDivisor), ::MulDiv(top, nMultiplier, nDivisor),
                     ::MulDiv(right, nMultiplier, nDivisor), ::MulDiv(bottom, nMultiplier, nDivisor));
    }

    BOOL operator==(const RECT& rect) const
    {
        return left == rect.left && top == rect.top && right == rect.right && bottom == rect.bottom;
    }
    BOOL operator!=(const RECT& rect) const { return !(*this == rect); }
    void operator+=(POINT point) { OffsetRect(point); }
    void operator+=(SIZE size) { OffsetRect(size); }
    void operator+=(LPCRECT pRect) { InflateRect(pRect); }
    void operator-=(POINT point) { OffsetRect(-point.x, -point.y); }
    void operator-=(SIZE size) { OffsetRect(-size.cx, -size.cy); }
    void operator-=(LPCRECT pRect) { DeflateRect(pRect); }
    void operator&=(const RECT& rect) { IntersectRect(this, &rect); }
    void operator|=(const RECT& rect) { UnionRect(this, &rect); }
    CRect operator+(POINT point) const
    {
        return Changed([&](CRect& r) { r += point; });
    }
    CRect operator+(SIZE size) const
    {
        return Changed([&](CRect& r) { r += size; });
    }
    CRect operator+(LPCRECT pRect) const
    {
        return Changed([&](CRect& r) { r += pRect; });
    }
    CRect operator-(POINT point) const
    {
        return Changed([&](CRect& r) { r -= point; });
    }
    CRect operator-(SIZE size) const
    {
        return Changed([&](CRect& r) { r -= size; });
    }
    CRect operator-(LPCRECT pRect) const
    {
        return Changed([&](CRect& r) { r -= pRect; });
    }
    CRect operator&(const RECT& rect) const
    {
        return Changed([&](CRect& r) { r &= rect; });
    }
    CRect operator|(const RECT& rect) const
    {
        return Changed([&](CRect& r) { r |= rect; });
    }

private:
    template <class Change> CRect Changed(Change change) const
    {
        CRect result(*this);
        change(result);
        return result;
    }
};

inline CPoint CSize::operator+(POINT point) const
{
    return CPoint(cx + point.x, cy + point.y);
}
inline CPoint CSize::operator-(POINT point) const
{
    return CPoint(cx - point.x, cy - point.y);
}
inline CRect CSize::operator+(LPCRECT pRect) const
{
    return CRect(pRect) + *this;
}
inline CRect CSize::operator-(LPCRECT pRect) const
{
    return CRect(pRect) - *this;
}
inline CRect CPoint::operator+(LPCRECT pRect) const
{
    return CRect(pRect) + *this;
}
inline CRect CPoint::operator-(LPCRECT pRect) const
{
    return CRect(pRect) - *this;
}

static_assert(sizeof(CSize) == sizeof(SIZE) && sizeof(CPoint) == sizeof(POINT) && sizeof(CRect) == sizeof(RECT),
              "nothing added");

#endif
