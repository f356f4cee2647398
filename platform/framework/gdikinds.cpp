#include "afxwin.h"

IMPLEMENT_DYNCREATE(CPen, CGdiObject)
IMPLEMENT_DYNCREATE(CBrush, CGdiObject)
IMPLEMENT_DYNCREATE(CBitmap, CGdiObject)

CPen::CPen(int nPenStyle, int nWidth, COLORREF crColor)
{
    if (!CreatePen(nPenStyle, nWidth, crColor)) AfxThrowResourceException();
}

CPen* PASCAL CPen::FromHandle(HPEN hPen)
{
    return static_cast<CPen*>(CGdiObject::FromHandle(hPen, RUNTIME_CLASS(CPen)));
}

BOOL CPen::CreatePen(int nPenStyle, int nWidth, COLORREF crColor)
{
    return Attach(::CreatePen(nPenStyle, nWidth, crColor));
}

BOOL CPen::CreatePenIndirect(LPLOGPEN pLogPen)
{
    return Attach(::CreatePenIndirect(pLogPen));
}

int CPen::GetLogPen(LOGPEN* pLogPen) const
{
    return GetObject(sizeof(LOGPEN), pLogPen);
}

CBrush::CBrush(COLORREF crColor)
{
    if (!CreateSolidBrush(crColor)) AfxThrowResourceException();
}

CBrush::CBrush(CBitmap* pBitmap)
{
    if (!CreatePatternBrush(pBitmap)) AfxThrowResourceException();
}

CBrush* PASCAL CBrush::FromHandle(HBRUSH hBrush)
{
    return static_cast<CBrush*>(CGdiObject::FromHandle(hBrush, RUNTIME_CLASS(CBrush)));
}

BOOL CBrush::CreateSolidBrush(COLORREF crColor)
{
    return Attach(::CreateSolidBrush(crColor));
}

BOOL CBrush::CreatePatternBrush(CBitmap* pBitmap)
{
    return Attach(::CreatePatternBrush(static_cast<HBITMAP>(pBitmap->GetSafeHandle())));
}

BOOL CBrush::CreateDIBPatternBrush(const void* pPackedDIB, UINT nUsage)
{
    return Attach(::CreateDIBPatternBrushPt(pPackedDIB, nUsage));
}

BOOL CBrush::CreateSysColorBrush(int nIndex)
{
    return Attach(::GetSysColorBrush(nIndex));
}

int CBrush::GetLogBrush(LOGBRUSH* pLogBrush) const
{
    return GetObject(sizeof(LOGBRUSH), pLogBrush);
}

CBitmap* PASCAL CBitmap::FromHandle(HBITMAP hBitmap)
{
    return static_cast<CBitmap*>(CGdiObject::FromHandle(hBitmap, RUNTIME_CLASS(CBitmap)));
}

BOOL CBitmap::LoadBitmap(LPCTSTR pszResourceName)
{
    return Attach(::LoadBitmapW(AfxFindResourceHandle(pszResourceName, RT_BITMAP), pszResourceName));
}

BOOL CBitmap::LoadBitmap(UINT nIDResource)
{
    return LoadBitmap(MAKEINTRESOURCE(nIDResource));
}

BOOL CBitmap::CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitcount, const void* pBits)
{
    return Attach(::CreateBitmap(nWidth, nHeight, nPlanes, nBitcount, pBits));
}

BOOL CBitmap::CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight)
{
    return Attach(::CreateCompatibleBitmap(pDC->GetSafeHdc(), nWidth, nHeight));
}

int CBitmap::GetBitmap(BITMAP* pBitMap) const
{
    return GetObject(sizeof(BITMAP), pBitMap);
}

DWORD CBitmap::SetBitmapBits(DWORD dwCount, const void* pBits)
{
    return ::SetBitmapBits(*this, dwCount, pBits);
}
