#include "attachnew.h"
#include "threadstate.h"

#include "gdidc_both.h"

IMPLEMENT_DYNCREATE(CDC, CObject)

CDC::~CDC()
{
    DeleteDC();
}

CDC* PASCAL CDC::FromHandle(HDC hDC)
{
    return hDC ? CThreadState::Get().m_contexts.FromHandle(hDC, RUNTIME_CLASS(CDC)) : NULL;
}

void PASCAL CDC::DeleteTempMap()
{
    if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_contexts.DeleteTemporaries();
}

BOOL CDC::Attach(HDC hDC)
{
    ASSERT(m_hDC == NULL);
    if (!hDC) return FALSE;
    Detach();
    CThreadState::Get().m_contexts.SetPermanent(hDC, this);
    m_hDC = hDC;
    SetAttribDC(hDC);
    return TRUE;
}

HDC CDC::Detach()
{
    const HDC hDC = m_hDC;
    if (hDC) {
        if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_contexts.RemovePermanent(hDC, this);
    }
    ReleaseAttribDC();
    m_hDC = NULL;
    return hDC;
}

BOOL CDC::CreateDC(LPCTSTR pszDriverName, LPCTSTR pszDeviceName, LPCTSTR pszOutput, const void* pInitData)
{
    return AttachNew(*this,
                     ::CreateDCW(pszDriverName, pszDeviceName, pszOutput, static_cast<const DEVMODEW*>(pInitData)),
                     ::DeleteDC);
}

BOOL CDC::CreateCompatibleDC(CDC* pDC)
{
    return AttachNew(*this, ::CreateCompatibleDC(pDC->GetSafeHdc()), ::DeleteDC);
}

BOOL CDC::DeleteDC()
{
    const HDC hDC = Detach();
    return hDC ? ::DeleteDC(hDC) : FALSE;
}

void CDC::SetAttribDC(HDC hDC)
{
    m_hAttribDC = hDC;
}

void CDC::ReleaseAttribDC()
{
    m_hAttribDC = NULL;
}

HDC CDC::GetSafeHdc() const
{
    return this ? m_hDC : NULL;
}

int CDC::GetDeviceCaps(int nIndex) const
{
    return ::GetDeviceCaps(m_hAttribDC, nIndex);
}

int CDC::SaveDC()
{
    return OnBoth(::SaveDC);
}

BOOL CDC::RestoreDC(int nSavedDC)
{
    return OnBoth([=](HDC hDC) { return ::RestoreDC(hDC, nSavedDC); });
}

// Selects an object for both contexts, and finds the object of what was selected before. When one of them does not take
// it, or there is no memory to find the one before, all is as it was: else nobody would know what to put back.
template <class Find> auto CDC::Exchange(HGDIOBJ hObject, Find find) -> decltype(find(hObject))
{
    const bool bTwo = m_hAttribDC && m_hAttribDC != m_hDC;
    const HGDIOBJ hDrawn = ::SelectObject(m_hDC, hObject);
    if (!hDrawn) return NULL;
    const HGDIOBJ hAsked = bTwo ? ::SelectObject(m_hAttribDC, hObject) : hDrawn;
    const auto putBack = [&] {
        ::SelectObject(m_hDC, hDrawn);
        if (bTwo) ::SelectObject(m_hAttribDC, hAsked);
    };
    if (!hAsked) {
        putBack();
        return NULL;
    }
    try {
        return find(hAsked);
    } catch (...) {
        putBack();
        throw;
    }
}

CGdiObject* CDC::SelectStockObject(int nIndex)
{
    return Exchange(::GetStockObject(nIndex), [](HGDIOBJ hOld) { return CGdiObject::FromHandle(hOld); });
}

CPen* CDC::SelectObject(CPen* pPen)
{
    return Exchange(pPen->GetSafeHandle(), [](HGDIOBJ hOld) { return CPen::FromHandle(static_cast<HPEN>(hOld)); });
}

CBrush* CDC::SelectObject(CBrush* pBrush)
{
    return Exchange(pBrush->GetSafeHandle(),
                    [](HGDIOBJ hOld) { return CBrush::FromHandle(static_cast<HBRUSH>(hOld)); });
}

CFont* CDC::SelectObject(CFont* pFont)
{
    return Exchange(pFont->GetSafeHandle(), [](HGDIOBJ hOld) { return CFont::FromHandle(static_cast<HFONT>(hOld)); });
}

CBitmap* CDC::SelectObject(CBitmap* pBitmap)
{
    // A bitmap fits into one context only.
    const HGDIOBJ hOld = ::SelectObject(m_hDC, pBitmap->GetSafeHandle());
    try {
        return CBitmap::FromHandle(static_cast<HBITMAP>(hOld));
    } catch (...) {
        ::SelectObject(m_hDC, hOld);
        throw;
    }
}

int CDC::SelectObject(CRgn* pRgn)
{
    const HGDIOBJ hRgn = pRgn->GetSafeHandle();
    // Not a handle, but the region's complexity.
    const HGDIOBJ hResult = OnBoth([=](HDC hDC) { return ::SelectObject(hDC, hRgn); });
    return hResult == HGDI_ERROR ? ERROR : static_cast<int>(reinterpret_cast<INT_PTR>(hResult));
}

CGdiObject* CDC::SelectObject(CGdiObject* pObject)
{
    return Exchange(pObject->GetSafeHandle(), [](HGDIOBJ hOld) { return CGdiObject::FromHandle(hOld); });
}

CPen* CDC::GetCurrentPen() const
{
    return CPen::FromHandle(static_cast<HPEN>(::GetCurrentObject(m_hAttribDC, OBJ_PEN)));
}

CBrush* CDC::GetCurrentBrush() const
{
    return CBrush::FromHandle(static_cast<HBRUSH>(::GetCurrentObject(m_hAttribDC, OBJ_BRUSH)));
}

CFont* CDC::GetCurrentFont() const
{
    return CFont::FromHandle(static_cast<HFONT>(::GetCurrentObject(m_hAttribDC, OBJ_FONT)));
}

CBitmap* CDC::GetCurrentBitmap() const
{
    return CBitmap::FromHandle(static_cast<HBITMAP>(::GetCurrentObject(m_hAttribDC, OBJ_BITMAP)));
}

COLORREF CDC::GetNearestColor(COLORREF crColor) const
{
    return ::GetNearestColor(m_hAttribDC, crColor);
}

COLORREF CDC::GetBkColor() const
{
    return ::GetBkColor(m_hAttribDC);
}

int CDC::GetBkMode() const
{
    return ::GetBkMode(m_hAttribDC);
}

COLORREF CDC::GetTextColor() const
{
    return ::GetTextColor(m_hAttribDC);
}

UINT CDC::GetTextAlign() const
{
    return ::GetTextAlign(m_hAttribDC);
}

COLORREF CDC::SetBkColor(COLORREF crColor)
{
    return OnBoth([=](HDC hDC) { return ::SetBkColor(hDC, crColor); });
}

int CDC::SetBkMode(int nBkMode)
{
    return OnBoth([=](HDC hDC) { return ::SetBkMode(hDC, nBkMode); });
}

COLORREF CDC::SetTextColor(COLORREF crColor)
{
    return OnBoth([=](HDC hDC) { return ::SetTextColor(hDC, crColor); });
}

UINT CDC::SetTextAlign(UINT nFlags)
{
    return OnBoth([=](HDC hDC) { return ::SetTextAlign(hDC, nFlags); });
}

int CDC::SetROP2(int nDrawMode)
{
    return OnBoth([=](HDC hDC) { return ::SetROP2(hDC, nDrawMode); });
}

CPoint CDC::SetBrushOrg(int x, int y)
{
    CPoint before(0, 0);
    ::SetBrushOrgEx(m_hDC, x, y, &before);
    return before;
}

CPoint CDC::SetBrushOrg(POINT point)
{
    return SetBrushOrg(point.x, point.y);
}

CPoint CDC::SetViewportOrg(int x, int y)
{
    CPoint before(0, 0);
    OnBoth([&](HDC hDC) { return ::SetViewportOrgEx(hDC, x, y, &before); });
    return before;
}

CPoint CDC::SetViewportOrg(POINT point)
{
    return SetViewportOrg(point.x, point.y);
}

int CDC::GetClipBox(LPRECT pRect) const
{
    return ::GetClipBox(m_hAttribDC, pRect);
}

int CDC::SelectClipRgn(CRgn* pRgn)
{
    const HRGN hRgn = static_cast<HRGN>(pRgn->GetSafeHandle());
    return OnBoth([=](HDC hDC) { return ::SelectClipRgn(hDC, hRgn); });
}

int CDC::ExcludeClipRect(int x1, int y1, int x2, int y2)
{
    return OnBoth([=](HDC hDC) { return ::ExcludeClipRect(hDC, x1, y1, x2, y2); });
}

int CDC::ExcludeClipRect(LPCRECT pRect)
{
    return ExcludeClipRect(pRect->left, pRect->top, pRect->right, pRect->bottom);
}

int CDC::IntersectClipRect(int x1, int y1, int x2, int y2)
{
    return OnBoth([=](HDC hDC) { return ::IntersectClipRect(hDC, x1, y1, x2, y2); });
}

int CDC::IntersectClipRect(LPCRECT pRect)
{
    return IntersectClipRect(pRect->left, pRect->top, pRect->right, pRect->bottom);
}

BOOL CDC::RectVisible(LPCRECT pRect) const
{
    return ::RectVisible(m_hDC, pRect);
}
