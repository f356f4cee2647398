// What the tests of the framework's drawing classes share: a memory context with its bitmap, and a look at its pixels.
#ifndef KORVANE_TESTS_FRAMEWORK_GDI_SUPPORT_H
#define KORVANE_TESTS_FRAMEWORK_GDI_SUPPORT_H

#include <afxwin.h>

#include <string>

constexpr COLORREF kRed = RGB(255, 0, 0);
constexpr COLORREF kGreen = RGB(0, 255, 0);
constexpr COLORREF kBlue = RGB(0, 0, 255);
constexpr COLORREF kWhite = RGB(255, 255, 255);
constexpr COLORREF kBlack = RGB(0, 0, 0);

// A memory context with a white bitmap of 24 bits a pixel.
class CCanvas : public CDC
{
public:
    CCanvas(int nWidth, int nHeight) : m_nWidth(nWidth), m_nHeight(nHeight)
    {
        CreateCompatibleDC(NULL);
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = nWidth;
        info.bmiHeader.biHeight = -nHeight;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 24;
        void* pBits = NULL;
        m_bitmap.Attach(::CreateDIBSection(m_hDC, &info, DIB_RGB_COLORS, &pBits, NULL, 0));
        m_hOld = ::SelectObject(m_hDC, m_bitmap);
        PatBlt(0, 0, nWidth, nHeight, WHITENESS);
    }
    ~CCanvas() override { ::SelectObject(m_hDC, m_hOld); }

    // One letter a pixel, one line a row.
    std::string Look() const
    {
        std::string look;
        for (int y = 0; y < m_nHeight; ++y) {
            for (int x = 0; x < m_nWidth; ++x) look += Letter(GetPixel(x, y));
            look += '\n';
        }
        return look;
    }

    CBitmap m_bitmap;

private:
    static char Letter(COLORREF crColor)
    {
        switch (crColor) {
        case kRed:
            return 'r';
        case kGreen:
            return 'g';
        case kBlue:
            return 'b';
        case kWhite:
            return '.';
        case kBlack:
            return '#';
        }
        return '?';
    }

    const int m_nWidth, m_nHeight;
    HGDIOBJ m_hOld;
};

#endif
