// afx_dc.h - CDC, a device context, and its forms for a window: CClientDC, CWindowDC, CPaintDC.
//
// Ownership  a CDC owns the context that it created or was given by Attach: its destructor deletes it. The forms give
//            theirs back to the window. FromHandle gives the owner of a handle, if this thread has one, else a
//            temporary object, which never deletes it; see afx_gdi.h.
// Threads    a context belongs to the thread that made it.
// Errors     FALSE, NULL, CLR_INVALID or 0, as the system's calls; a context without a handle fails every call. The
//            constructors of the forms throw CResourceException*.
//
// Positions and sizes are pixels: the device's system has no mapping modes. What it does not have as a call of its own
// (TextOut, text extents, frames, icons in their own size) stands here on what it has.
#ifndef AFX_DC_H
#define AFX_DC_H

#include "afx_gdi.h"
#include "afx_wnd.h"

class AFX_API CDC : public CObject
{
    DECLARE_DYNCREATE(CDC)

public:
    HDC m_hDC;       // what is drawn on; NULL: nothing
    HDC m_hAttribDC; // what is asked; the same as m_hDC unless set otherwise. Settings are made on both.

    CDC() : m_hDC(NULL), m_hAttribDC(NULL) {}
    ~CDC() override;

    static CDC* PASCAL FromHandle(HDC hDC);
    // Deletes the calling thread's temporary objects.
    static void PASCAL DeleteTempMap();

    // FALSE for NULL. REQUIRES: no handle yet, or it asserts; without assertions that one is let go of.
    BOOL Attach(HDC hDC);
    HDC Detach();
    BOOL CreateDC(LPCTSTR pszDriverName, LPCTSTR pszDeviceName, LPCTSTR pszOutput, const void* pInitData);
    BOOL CreateCompatibleDC(CDC* pDC); // a memory context; NULL: compatible with the screen
    BOOL DeleteDC();
    virtual void SetAttribDC(HDC hDC);
    virtual void ReleaseAttribDC();

    HDC GetSafeHdc() const; // NULL for a NULL object too
    operator HDC() const { return m_hDC; }
    int GetDeviceCaps(int nIndex) const;
    virtual int SaveDC();                 // 0 on failure
    virtual BOOL RestoreDC(int nSavedDC); // -1: the last one saved

    // Objects. The results are the ones selected before, mostly temporary objects; NULL on failure, and CMemoryException*
    // when memory for a temporary object is out: what was selected before is then selected still. What is selected must
    // not be deleted, so put the old one back.
    virtual CGdiObject* SelectStockObject(int nIndex);
    CPen* SelectObject(CPen* pPen);
    CBrush* SelectObject(CBrush* pBrush);
    virtual CFont* SelectObject(CFont* pFont);
    CBitmap* SelectObject(CBitmap* pBitmap); // of a memory context, and of one at a time
    int SelectObject(CRgn* pRgn);            // the clipping region, copied; its complexity
    CGdiObject* SelectObject(CGdiObject* pObject);
    CPen* GetCurrentPen() const;
    CBrush* GetCurrentBrush() const;
    CFont* GetCurrentFont() const;
    CBitmap* GetCurrentBitmap() const;

    // Settings: the setters give what was set before.
    COLORREF GetNearestColor(COLORREF crColor) const;
    COLORREF GetBkColor() const;
    int GetBkMode() const;
    COLORREF GetTextColor() const;
    UINT GetTextAlign() const;
    virtual COLORREF SetBkColor(COLORREF crColor);
    int SetBkMode(int nBkMode); // OPAQUE, TRANSPARENT
    virtual COLORREF SetTextColor(COLORREF crColor);
    UINT SetTextAlign(UINT nFlags);
    int SetROP2(int nDrawMode);
    CPoint SetBrushOrg(int x, int y);
    CPoint SetBrushOrg(POINT point);
    virtual CPoint SetViewportOrg(int x, int y);
    CPoint SetViewportOrg(POINT point);

    // Clipping: the complexity of the new region, or ERROR.
    virtual int GetClipBox(LPRECT pRect) const;
    int SelectClipRgn(CRgn* pRgn); // NULL: no clipping
    int ExcludeClipRect(int x1, int y1, int x2, int y2);
    int ExcludeClipRect(LPCRECT pRect);
    int IntersectClipRect(int x1, int y1, int x2, int y2);
    int IntersectClipRect(LPCRECT pRect);
    BOOL RectVisible(LPCRECT pRect) const;

    // Lines and shapes, drawn with the pen and filled with the brush.
    CPoint MoveTo(int x, int y); // the position before
    CPoint MoveTo(POINT point);
    BOOL LineTo(int x, int y); // without the last point
    BOOL LineTo(POINT point);
    BOOL Polyline(const POINT* pPoints, int nCount);
    BOOL Polygon(const POINT* pPoints, int nCount);
    BOOL Rectangle(int x1, int y1, int x2, int y2);
    BOOL Rectangle(LPCRECT pRect);
    BOOL RoundRect(int x1, int y1, int x2, int y2, int x3, int y3);
    BOOL RoundRect(LPCRECT pRect, POINT point);
    BOOL Ellipse(int x1, int y1, int x2, int y2);
    BOOL Ellipse(LPCRECT pRect);

    // Areas, without the pen. FillSolidRect and Draw3dRect leave their (last) colour as the background colour.
    void FillRect(LPCRECT pRect, CBrush* pBrush);
    void FrameRect(LPCRECT pRect, CBrush* pBrush); // one pixel wide, inside
    void InvertRect(LPCRECT pRect);
    BOOL FillRgn(CRgn* pRgn, CBrush* pBrush);
    void FillSolidRect(LPCRECT pRect, COLORREF crColor);
    void FillSolidRect(int x, int y, int cx, int cy, COLORREF crColor);
    // One pixel wide, inside; the ends of both lines that meet at the top right and bottom left are of the second
    // colour.
    void Draw3dRect(LPCRECT pRect, COLORREF crTopLeft, COLORREF crBottomRight);
    void Draw3dRect(int x, int y, int cx, int cy, COLORREF crTopLeft, COLORREF crBottomRight);
    BOOL DrawEdge(LPRECT pRect, UINT nEdge, UINT nFlags); // BF_ADJUST: *pRect becomes what is left inside
    BOOL DrawFrameControl(LPRECT pRect, UINT nType, UINT nState);
    void DrawFocusRect(LPCRECT pRect);        // twice: as it was
    BOOL DrawIcon(int x, int y, HICON hIcon); // in the system's icon size
    BOOL DrawIcon(POINT point, HICON hIcon);

    // Pixels and bitmaps.
    COLORREF GetPixel(int x, int y) const;
    COLORREF GetPixel(POINT point) const;
    COLORREF SetPixel(int x, int y, COLORREF crColor); // the colour that it became
    COLORREF SetPixel(POINT point, COLORREF crColor);
    BOOL PatBlt(int x, int y, int nWidth, int nHeight, DWORD dwRop);
    BOOL BitBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, DWORD dwRop);
    BOOL StretchBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, int nSrcWidth,
                    int nSrcHeight, DWORD dwRop);
    BOOL MaskBlt(int x, int y, int nWidth, int nHeight, CDC* pSrcDC, int xSrc, int ySrc, CBitmap& maskBitmap, int xMask,
                 int yMask, DWORD dwRop);
    // What comes into view is added to pRgnUpdate and *pRectUpdate, either of which may be NULL.
    BOOL ScrollDC(int dx, int dy, LPCRECT pRectScroll, LPCRECT pRectClip, CRgn* pRgnUpdate, LPRECT pRectUpdate);

    // Text, in the font, text colour, background colour and mode.
    virtual BOOL TextOut(int x, int y, LPCTSTR pszText, int nCount);
    BOOL TextOut(int x, int y, const CString& str);
    virtual BOOL ExtTextOut(int x, int y, UINT nOptions, LPCRECT pRect, LPCTSTR pszText, UINT nCount, LPINT pDxWidths);
    BOOL ExtTextOut(int x, int y, UINT nOptions, LPCRECT pRect, const CString& str, LPINT pDxWidths);
    // The height of the text. nCount -1: up to its terminator. DT_CALCRECT: draws nothing, *pRect becomes what it
    // needs.
    virtual int DrawText(LPCTSTR pszText, int nCount, LPRECT pRect, UINT nFormat);
    int DrawText(const CString& str, LPRECT pRect, UINT nFormat);
    CSize GetTextExtent(LPCTSTR pszText, int nCount) const; // (0, 0) on failure
    CSize GetTextExtent(const CString& str) const;
    BOOL GetTextMetrics(LPTEXTMETRIC pMetrics) const;
    int GetTextFace(int nCount, LPTSTR pszFacename) const; // characters stored
    int GetTextFace(CString& rString) const;               // its length
    BOOL GetCharWidth(UINT nFirstChar, UINT nLastChar, LPINT pBuffer) const;

private:
    template <class Function> auto OnBoth(Function function);
    template <class Find> auto Exchange(HGDIOBJ hObject, Find find) -> decltype(find(hObject));
};

// A window's client area; of no window, the screen.
class AFX_API CClientDC : public CDC
{
    DECLARE_DYNAMIC(CClientDC)

public:
    explicit CClientDC(CWnd* pWnd);
    ~CClientDC() override;

protected:
    HWND m_hWnd; // NULL: the screen
};

// A whole window with its frame; of no window, the screen.
class AFX_API CWindowDC : public CDC
{
    DECLARE_DYNAMIC(CWindowDC)

public:
    explicit CWindowDC(CWnd* pWnd);
    ~CWindowDC() override;

protected:
    HWND m_hWnd; // NULL: the screen
};

// What is to be painted of a window, while it handles WM_PAINT.
class AFX_API CPaintDC : public CDC
{
    DECLARE_DYNAMIC(CPaintDC)

public:
    explicit CPaintDC(CWnd* pWnd);
    ~CPaintDC() override;

    PAINTSTRUCT m_ps; // as BeginPaint filled it

protected:
    HWND m_hWnd;
};

#endif
