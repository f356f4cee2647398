#include "afx_dc.h"

BOOL CDC::TextOut(int x, int y, LPCTSTR pszText, int nCount)
{
    return nCount >= 0 && ::ExtTextOutW(m_hDC, x, y, 0, NULL, pszText, nCount, NULL);
}

BOOL CDC::TextOut(int x, int y, const CString& str)
{
    return TextOut(x, y, str, str.GetLength());
}

BOOL CDC::ExtTextOut(int x, int y, UINT nOptions, LPCRECT pRect, LPCTSTR pszText, UINT nCount, LPINT pDxWidths)
{
    return ::ExtTextOutW(m_hDC, x, y, nOptions, pRect, pszText, nCount, pDxWidths);
}

BOOL CDC::ExtTextOut(int x, int y, UINT nOptions, LPCRECT pRect, const CString& str, LPINT pDxWidths)
{
    return ExtTextOut(x, y, nOptions, pRect, str, str.GetLength(), pDxWidths);
}

int CDC::DrawText(LPCTSTR pszText, int nCount, LPRECT pRect, UINT nFormat)
{
    // DT_MODIFYSTRING would write into a text that is promised to stay as it is.
    ASSERT(!(nFormat & DT_MODIFYSTRING));
    return ::DrawTextW(m_hDC, pszText, nCount, pRect, nFormat & ~DT_MODIFYSTRING);
}

int CDC::DrawText(const CString& str, LPRECT pRect, UINT nFormat)
{
    return DrawText(str, str.GetLength(), pRect, nFormat);
}

CSize CDC::GetTextExtent(LPCTSTR pszText, int nCount) const
{
    CSize size(0, 0);
    ::GetTextExtentExPointW(m_hAttribDC, pszText, nCount, 0, NULL, NULL, &size);
    return size;
}

CSize CDC::GetTextExtent(const CString& str) const
{
    return GetTextExtent(str, str.GetLength());
}

BOOL CDC::GetTextMetrics(LPTEXTMETRIC pMetrics) const
{
    return ::GetTextMetricsW(m_hAttribDC, pMetrics);
}

int CDC::GetTextFace(int nCount, LPTSTR pszFacename) const
{
    return ::GetTextFaceW(m_hAttribDC, nCount, pszFacename);
}

int CDC::GetTextFace(CString& rString) const
{
    rString.Empty();
    const int nRoom = ::GetTextFaceW(m_hAttribDC, 0, NULL); // with the terminator
    if (nRoom <= 0) return 0;
    ::GetTextFaceW(m_hAttribDC, nRoom, rString.GetBuffer(nRoom));
    rString.ReleaseBuffer();
    return rString.GetLength();
}

BOOL CDC::GetCharWidth(UINT nFirstChar, UINT nLastChar, LPINT pBuffer) const
{
    return ::GetCharWidth32W(m_hAttribDC, nFirstChar, nLastChar, pBuffer);
}
