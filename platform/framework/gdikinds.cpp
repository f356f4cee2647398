#include "attachnew.h"

#include "afxwin.h"

#include <cstring>

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
    return AttachNew(*this, ::CreatePen(nPenStyle, nWidth, crColor), ::DeleteObject);
}

BOOL CPen::CreatePenIndirect(LPLOGPEN pLogPen)
{
    return AttachNew(*this, ::CreatePenIndirect(pLogPen), ::DeleteObject);
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
    return AttachNew(*this, ::CreateSolidBrush(crColor), ::DeleteObject);
}

BOOL CBrush::CreatePatternBrush(CBitmap* pBitmap)
{
    return AttachNew(*this, ::CreatePatternBrush(static_cast<HBITMAP>(pBitmap->GetSafeHandle())), ::DeleteObject);
}

BOOL CBrush::CreateDIBPatternBrush(const void* pPackedDIB, UINT nUsage)
{
    return AttachNew(*this, ::CreateDIBPatternBrushPt(pPackedDIB, nUsage), ::DeleteObject);
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

namespace {

// FALSE if the bitmap, a header, masks, colours and rows, does not lie within its cb bytes: the system reads what is
// there and beyond.
bool IsBitmapSound(const void* pBitmap, DWORD cb)
{
    BITMAPINFOHEADER header = {};
    if (!pBitmap || cb < sizeof(BITMAPCOREHEADER)) return false;
    std::memcpy(&header, pBitmap, cb < sizeof(header) ? cb : sizeof(header));
    const bool bCore = header.biSize == sizeof(BITMAPCOREHEADER); // the oldest one, of 16-bit members
    if (bCore) {
        const BITMAPCOREHEADER& core = *static_cast<const BITMAPCOREHEADER*>(pBitmap);
        header = {core.bcSize, core.bcWidth, core.bcHeight, core.bcPlanes, core.bcBitCount, BI_RGB, 0, 0, 0, 0, 0};
    } else if (header.biSize < sizeof(header) || header.biSize > cb) {
        return false;
    }
    if (header.biWidth <= 0 || header.biBitCount > 32) return false;
    const ULONGLONG cy = header.biHeight < 0 ? 0u - static_cast<DWORD>(header.biHeight) : header.biHeight;
    const bool bMasks = header.biCompression == BI_BITFIELDS && header.biSize == sizeof(header);
    const bool bRuns = header.biCompression == BI_RLE4 || header.biCompression == BI_RLE8;
    const ULONGLONG nBits = static_cast<ULONGLONG>(header.biWidth) * header.biBitCount;
    const ULONGLONG cbRows = bRuns ? header.biSizeImage : (nBits + 31) / 32 * sizeof(DWORD) * cy;
    ULONGLONG nColours = header.biClrUsed;
    if (nColours == 0 && header.biBitCount <= 8) nColours = 1u << header.biBitCount;
    const ULONGLONG cbFront =
        header.biSize + (bMasks ? 3 * sizeof(DWORD) : 0) + nColours * (bCore ? sizeof(RGBTRIPLE) : sizeof(RGBQUAD));
    return cbFront <= cb && cbRows <= cb - cbFront;
}

} // namespace

BOOL CBitmap::LoadBitmap(LPCTSTR pszResourceName)
{
    const HINSTANCE hModule = AfxFindResourceHandle(pszResourceName, RT_BITMAP);
    const HRSRC hResource = ::FindResourceW(hModule, pszResourceName, RT_BITMAP);
    const HGLOBAL hBitmap = hResource ? ::LoadResource(hModule, hResource) : NULL;
    if (!hBitmap || !IsBitmapSound(::LockResource(hBitmap), ::SizeofResource(hModule, hResource))) return FALSE;
    return AttachNew(*this, ::LoadBitmapW(hModule, pszResourceName), ::DeleteObject);
}

BOOL CBitmap::LoadBitmap(UINT nIDResource)
{
    return LoadBitmap(MAKEINTRESOURCE(nIDResource));
}

BOOL CBitmap::CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitcount, const void* pBits)
{
    return AttachNew(*this, ::CreateBitmap(nWidth, nHeight, nPlanes, nBitcount, pBits), ::DeleteObject);
}

BOOL CBitmap::CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight)
{
    return AttachNew(*this, ::CreateCompatibleBitmap(pDC->GetSafeHdc(), nWidth, nHeight), ::DeleteObject);
}

int CBitmap::GetBitmap(BITMAP* pBitMap) const
{
    return GetObject(sizeof(BITMAP), pBitMap);
}

DWORD CBitmap::SetBitmapBits(DWORD dwCount, const void* pBits)
{
    return ::SetBitmapBits(*this, dwCount, pBits);
}
