#include "attachnew.h"

#include "afxwin.h"

IMPLEMENT_DYNCREATE(CRgn, CGdiObject)

namespace {

// The handle of a region that may be NULL.
HRGN HandleOf(const CRgn* pRgn)
{
    return static_cast<HRGN>(pRgn->GetSafeHandle());
}

} // namespace

CRgn* PASCAL CRgn::FromHandle(HRGN hRgn)
{
    return static_cast<CRgn*>(CGdiObject::FromHandle(hRgn, RUNTIME_CLASS(CRgn)));
}

BOOL CRgn::CreateRectRgn(int x1, int y1, int x2, int y2)
{
    return AttachNew(*this, ::CreateRectRgn(x1, y1, x2, y2), ::DeleteObject);
}

BOOL CRgn::CreateRectRgnIndirect(LPCRECT pRect)
{
    return AttachNew(*this, ::CreateRectRgnIndirect(pRect), ::DeleteObject);
}

BOOL CRgn::CreateFromData(const XFORM* pXForm, int nCount, const RGNDATA* pRgnData)
{
    return AttachNew(*this, ::ExtCreateRegion(pXForm, nCount, pRgnData), ::DeleteObject);
}

int CRgn::CombineRgn(CRgn* pRgn1, CRgn* pRgn2, int nCombineMode)
{
    return ::CombineRgn(*this, HandleOf(pRgn1), HandleOf(pRgn2), nCombineMode);
}

int CRgn::CopyRgn(CRgn* pRgnSource)
{
    return ::CombineRgn(*this, HandleOf(pRgnSource), NULL, RGN_COPY);
}

int CRgn::OffsetRgn(int x, int y)
{
    return ::OffsetRgn(*this, x, y);
}

int CRgn::OffsetRgn(POINT point)
{
    return ::OffsetRgn(*this, point.x, point.y);
}

int CRgn::GetRgnBox(LPRECT pRect) const
{
    return ::GetRgnBox(*this, pRect);
}

void CRgn::SetRectRgn(int x1, int y1, int x2, int y2)
{
    ::SetRectRgn(*this, x1, y1, x2, y2);
}

void CRgn::SetRectRgn(LPCRECT pRect)
{
    ::SetRectRgn(*this, pRect->left, pRect->top, pRect->right, pRect->bottom);
}

BOOL CRgn::EqualRgn(CRgn* pRgn) const
{
    return ::EqualRgn(*this, HandleOf(pRgn));
}

BOOL CRgn::PtInRegion(int x, int y) const
{
    return ::PtInRegion(*this, x, y);
}

BOOL CRgn::PtInRegion(POINT point) const
{
    return ::PtInRegion(*this, point.x, point.y);
}

BOOL CRgn::RectInRegion(LPCRECT pRect) const
{
    return ::RectInRegion(*this, pRect);
}

int CRgn::GetRegionData(LPRGNDATA pRgnData, int nDataSize) const
{
    return static_cast<int>(::GetRegionData(*this, nDataSize, pRgnData));
}
