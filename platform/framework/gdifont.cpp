#include "attachnew.h"

#include "afxwin.h"

IMPLEMENT_DYNCREATE(CFont, CGdiObject)

CFont* PASCAL CFont::FromHandle(HFONT hFont)
{
    return static_cast<CFont*>(CGdiObject::FromHandle(hFont, RUNTIME_CLASS(CFont)));
}

BOOL CFont::CreateFontIndirect(const LOGFONT* pLogFont)
{
    return AttachNew(*this, ::CreateFontIndirectW(pLogFont), ::DeleteObject);
}

BOOL CFont::CreateFont(int nHeight, int nWidth, int nEscapement, int nOrientation, int nWeight, BYTE bItalic,
                       BYTE bUnderline, BYTE cStrikeOut, BYTE nCharSet, BYTE nOutPrecision, BYTE nClipPrecision,
                       BYTE nQuality, BYTE nPitchAndFamily, LPCTSTR pszFacename)
{
    LOGFONT font = {nHeight,    nWidth,   nEscapement,   nOrientation,   nWeight,  bItalic,         bUnderline,
                    cStrikeOut, nCharSet, nOutPrecision, nClipPrecision, nQuality, nPitchAndFamily, {}};
    if (pszFacename) ::lstrcpynW(font.lfFaceName, pszFacename, LF_FACESIZE);
    return CreateFontIndirect(&font);
}

BOOL CFont::CreatePointFont(int nPointSize, LPCTSTR pszFaceName, CDC* pDC)
{
    LOGFONT font = {};
    font.lfHeight = nPointSize;
    font.lfCharSet = DEFAULT_CHARSET;
    if (pszFaceName) ::lstrcpynW(font.lfFaceName, pszFaceName, LF_FACESIZE);
    return CreatePointFontIndirect(&font, pDC);
}

BOOL CFont::CreatePointFontIndirect(const LOGFONT* pLogFont, CDC* pDC)
{
    const HDC hScreen = pDC ? NULL : ::GetDC(NULL);
    const int nPixelsPerInch = ::GetDeviceCaps(pDC ? pDC->m_hAttribDC : hScreen, LOGPIXELSY);
    if (hScreen) ::ReleaseDC(NULL, hScreen);
    // 720 tenths of a point to the inch. A negative height is that of the characters without the space above them,
    // which is what a point size means.
    LOGFONT font = *pLogFont;
    const LONGLONG llPixels = static_cast<LONGLONG>(font.lfHeight) * nPixelsPerInch / 720;
    font.lfHeight = static_cast<LONG>(llPixels < 0 ? llPixels : -llPixels);
    return CreateFontIndirect(&font);
}

int CFont::GetLogFont(LOGFONT* pLogFont) const
{
    return GetObject(sizeof(LOGFONT), pLogFont);
}
