// afx_gdi.h - CGdiObject and its kinds: CPen, CBrush, CFont, CBitmap, CRgn.
//
// Ownership  an object owns the handle that it created or was given by Attach: its destructor deletes it. FromHandle
//            gives the owner of a handle, if this thread has one, else a temporary object, which never deletes the
//            handle.
// Temporary  objects are the thread's. They go when it calls DeleteTempMap or ends: use them, do not keep them.
// Threads    an object belongs to the thread that attached its handle.
// Errors     FALSE or NULL, and the last error as the system sets it. The constructors that create throw
//            CResourceException*. An object is created once: creating or attaching while it has a handle asserts;
//            without assertions the handle it had is let go of, not deleted.
//
// The calls are the ones that the device's system has: no hatched brushes, no regions but those made of rectangles.
#ifndef AFX_GDI_H
#define AFX_GDI_H

#include "afx_geometry.h"
#include "afx_string.h"

class CBitmap;
class CDC;

class AFX_API CGdiObject : public CObject
{
    DECLARE_DYNCREATE(CGdiObject)

public:
    HGDIOBJ m_hObject; // NULL: none

    CGdiObject() : m_hObject(NULL) {}
    ~CGdiObject() override;

    // The owner of hObject, else a temporary object of the kind that hObject is. NULL for NULL.
    static CGdiObject* PASCAL FromHandle(HGDIOBJ hObject);
    // Deletes the calling thread's temporary objects.
    static void PASCAL DeleteTempMap();

    // FALSE for NULL.
    BOOL Attach(HGDIOBJ hObject);
    // The handle, the caller's from now on; NULL if there is none.
    HGDIOBJ Detach();
    // FALSE without a handle, or if the system refuses. The object has none afterwards, either way.
    BOOL DeleteObject();
    BOOL CreateStockObject(int nIndex);

    // NULL for a NULL object too.
    HGDIOBJ GetSafeHandle() const;
    operator HGDIOBJ() const { return GetSafeHandle(); }
    // The bytes stored at pObject, at most nCount; with pObject NULL the bytes that there are. 0 on failure.
    int GetObject(int nCount, LPVOID pObject) const;
    UINT GetObjectType() const; // OBJ_PEN ...; 0 without a handle
    BOOL operator==(const CGdiObject& object) const { return m_hObject == object.m_hObject; }
    BOOL operator!=(const CGdiObject& object) const { return m_hObject != object.m_hObject; }

protected:
    // FromHandle for one kind: an owner that is not of the class is passed over.
    static CGdiObject* PASCAL FromHandle(HGDIOBJ hObject, CRuntimeClass* pClass);
};

class AFX_API CPen : public CGdiObject
{
    DECLARE_DYNCREATE(CPen)

public:
    CPen() {}
    CPen(int nPenStyle, int nWidth, COLORREF crColor);
    static CPen* PASCAL FromHandle(HPEN hPen);

    BOOL CreatePen(int nPenStyle, int nWidth, COLORREF crColor); // PS_SOLID, PS_DASH, PS_NULL; width in pixels
    BOOL CreatePenIndirect(LPLOGPEN pLogPen);

    operator HPEN() const { return static_cast<HPEN>(GetSafeHandle()); }
    int GetLogPen(LOGPEN* pLogPen) const; // 0 on failure
};

class AFX_API CBrush : public CGdiObject
{
    DECLARE_DYNCREATE(CBrush)

public:
    CBrush() {}
    explicit CBrush(COLORREF crColor);
    explicit CBrush(CBitmap* pBitmap);
    static CBrush* PASCAL FromHandle(HBRUSH hBrush);

    BOOL CreateSolidBrush(COLORREF crColor);
    BOOL CreatePatternBrush(CBitmap* pBitmap); // the bitmap may be deleted afterwards
    // A BITMAPINFO with its colours and, right behind them, its bits. nUsage: DIB_RGB_COLORS.
    BOOL CreateDIBPatternBrush(const void* pPackedDIB, UINT nUsage);
    // The system's own brush of a COLOR_ index, which is never really deleted.
    BOOL CreateSysColorBrush(int nIndex);

    operator HBRUSH() const { return static_cast<HBRUSH>(GetSafeHandle()); }
    int GetLogBrush(LOGBRUSH* pLogBrush) const; // 0 on failure
};

class AFX_API CFont : public CGdiObject
{
    DECLARE_DYNCREATE(CFont)

public:
    CFont() {}
    static CFont* PASCAL FromHandle(HFONT hFont);

    BOOL CreateFontIndirect(const LOGFONT* pLogFont);
    // A face name is cut to 31 characters; NULL is an empty one.
    BOOL CreateFont(int nHeight, int nWidth, int nEscapement, int nOrientation, int nWeight, BYTE bItalic,
                    BYTE bUnderline, BYTE cStrikeOut, BYTE nCharSet, BYTE nOutPrecision, BYTE nClipPrecision,
                    BYTE nQuality, BYTE nPitchAndFamily, LPCTSTR pszFacename);
    // Heights in tenths of a point, at the resolution of pDC; NULL: of the screen.
    BOOL CreatePointFont(int nPointSize, LPCTSTR pszFaceName, CDC* pDC = NULL);
    BOOL CreatePointFontIndirect(const LOGFONT* pLogFont, CDC* pDC = NULL);

    operator HFONT() const { return static_cast<HFONT>(GetSafeHandle()); }
    int GetLogFont(LOGFONT* pLogFont) const; // 0 on failure
};

class AFX_API CBitmap : public CGdiObject
{
    DECLARE_DYNCREATE(CBitmap)

public:
    CBitmap() {}
    static CBitmap* PASCAL FromHandle(HBITMAP hBitmap);

    // From the first module that has it: see AfxFindResourceHandle.
    BOOL LoadBitmap(LPCTSTR pszResourceName);
    BOOL LoadBitmap(UINT nIDResource);
    BOOL CreateBitmap(int nWidth, int nHeight, UINT nPlanes, UINT nBitcount, const void* pBits);
    BOOL CreateCompatibleBitmap(CDC* pDC, int nWidth, int nHeight);

    operator HBITMAP() const { return static_cast<HBITMAP>(GetSafeHandle()); }
    int GetBitmap(BITMAP* pBitMap) const;                  // 0 on failure
    DWORD SetBitmapBits(DWORD dwCount, const void* pBits); // bytes used; rows of a multiple of 2 bytes, topmost first
};

class AFX_API CRgn : public CGdiObject
{
    DECLARE_DYNCREATE(CRgn)

public:
    CRgn() {}
    static CRgn* PASCAL FromHandle(HRGN hRgn);

    BOOL CreateRectRgn(int x1, int y1, int x2, int y2);
    BOOL CreateRectRgnIndirect(LPCRECT pRect);
    BOOL CreateFromData(const XFORM* pXForm, int nCount, const RGNDATA* pRgnData); // pXForm: NULL

    operator HRGN() const { return static_cast<HRGN>(GetSafeHandle()); }
    // NULLREGION, SIMPLEREGION, COMPLEXREGION, or ERROR. This region must exist already. nCombineMode: RGN_AND ...
    int CombineRgn(CRgn* pRgn1, CRgn* pRgn2, int nCombineMode);
    int CopyRgn(CRgn* pRgnSource);
    int OffsetRgn(int x, int y);
    int OffsetRgn(POINT point);
    int GetRgnBox(LPRECT pRect) const;
    void SetRectRgn(int x1, int y1, int x2, int y2);
    void SetRectRgn(LPCRECT pRect);
    BOOL EqualRgn(CRgn* pRgn) const;
    BOOL PtInRegion(int x, int y) const;
    BOOL PtInRegion(POINT point) const;
    BOOL RectInRegion(LPCRECT pRect) const;                     // any part of it
    int GetRegionData(LPRGNDATA pRgnData, int nDataSize) const; // bytes; 0 on failure
};

#endif
