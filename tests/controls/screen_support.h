// What the tests that look at windows share: their pixels, their places, and their queue.
#ifndef KORVANE_TESTS_CONTROLS_SCREEN_SUPPORT_H
#define KORVANE_TESTS_CONTROLS_SCREEN_SUPPORT_H

#include "support/png_file.h"

#include <afxwin.h>

#include <string>
#include <vector>

// Dispatches what is in the thread's queue.
inline void PumpQueue()
{
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
}

// A window's rectangle in its parent's client area.
inline CRect PlaceInParent(HWND window)
{
    CRect rect;
    ::GetWindowRect(window, &rect);
    ::MapWindowPoints(nullptr, ::GetParent(window), reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

// The client area of a window as it is on the screen; of no window: the screen itself.
class CPixels
{
public:
    explicit CPixels(HWND window)
    {
        CRect client(0, 0, ::GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CYSCREEN));
        if (window) ::GetClientRect(window, &client);
        m_width = client.Width();
        m_height = client.Height();
        const HDC from = ::GetDC(window);
        const HDC memory = ::CreateCompatibleDC(from);
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof(info.bmiHeader), m_width, -m_height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        const HBITMAP bitmap = ::CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        if (bitmap) {
            const HGDIOBJ old = ::SelectObject(memory, bitmap);
            ::BitBlt(memory, 0, 0, m_width, m_height, from, 0, 0, SRCCOPY);
            ::GdiFlush();
            const auto* first = static_cast<const DWORD*>(bits);
            m_pixels.assign(first, first + m_width * m_height);
            ::SelectObject(memory, old);
            ::DeleteObject(bitmap);
        }
        ::DeleteDC(memory);
        ::ReleaseDC(window, from);
    }

    COLORREF At(int x, int y) const
    {
        const DWORD pixel = m_pixels.at(static_cast<size_t>(y) * m_width + x);
        return RGB((pixel >> 16) & 0xFF, (pixel >> 8) & 0xFF, pixel & 0xFF);
    }
    int Count(COLORREF colour, CRect area) const
    {
        int count = 0;
        ForEach(colour, area, [&](int, int) { ++count; });
        return count;
    }
    // The smallest rectangle around the pixels of that colour; empty if there are none.
    CRect Bounds(COLORREF colour, CRect area) const
    {
        CRect bounds(0, 0, 0, 0);
        ForEach(colour, area, [&](int x, int y) {
            const CRect pixel(x, y, x + 1, y + 1);
            ::UnionRect(&bounds, &bounds, &pixel);
        });
        return bounds;
    }
    // For people: a picture in the folder of the screens; false if it could not be written.
    bool Save(const std::wstring& name) const
    {
        ::CreateDirectoryW(KORVANE_SCREENS, nullptr);
        return WritePng(std::wstring(KORVANE_SCREENS) + L"/" + name + L".png", m_width, m_height, m_pixels);
    }
    CRect All() const { return CRect(0, 0, m_width, m_height); }

private:
    template <class Function> void ForEach(COLORREF colour, CRect area, Function function) const
    {
        ::IntersectRect(&area, &area, All());
        for (int y = area.top; y < area.bottom; ++y) {
            for (int x = area.left; x < area.right; ++x) {
                if (At(x, y) == colour) function(x, y);
            }
        }
    }

    int m_width = 0;
    int m_height = 0;
    std::vector<DWORD> m_pixels;
};

#endif
