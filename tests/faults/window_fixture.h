// What the tests of the framework's and the controls' faults share: the system's calls that make things, and windows.
#ifndef KORVANE_TESTS_FAULTS_WINDOW_FIXTURE_H
#define KORVANE_TESTS_FAULTS_WINDOW_FIXTURE_H

#include "faults.h"
#include "support/user_objects.h"

#include <afxext.h>
#include <afxwin.h>

constexpr long kNotMade = -1;
constexpr long kNoResource = -2; // CResourceException
constexpr long kNoMemory = -3;   // CMemoryException

// The calls by which the framework makes objects of the system's, and loads resources.
class CFailingSystem
{
public:
    explicit CFailingSystem(DWORD dwError)
        : m_pen(kFramework, "CreatePen", nullptr, dwError), m_brush(kFramework, "CreateSolidBrush", nullptr, dwError),
          m_font(kFramework, "CreateFontIndirectW", nullptr, dwError),
          m_bitmap(kFramework, "CreateBitmap", nullptr, dwError),
          m_compatible(kFramework, "CreateCompatibleBitmap", nullptr, dwError),
          m_context(kFramework, "CreateCompatibleDC", nullptr, dwError),
          m_region(kFramework, "CreateRectRgn", nullptr, dwError), m_getDc(kFramework, "GetDC", nullptr, dwError),
          m_windowDc(kFramework, "GetWindowDC", nullptr, dwError), m_paint(kFramework, "BeginPaint", nullptr, dwError),
          m_window(kFramework, "CreateWindowExW", nullptr, dwError),
          m_dialog(kFramework, "CreateDialogIndirectParamW", nullptr, dwError),
          m_hook(kFramework, "SetWindowsHookExW", nullptr, dwError), m_class(kFramework, "RegisterClassW", 0, dwError),
          m_find(kFramework, "FindResourceW", nullptr, dwError), m_load(kFramework, "LoadResource", nullptr, dwError),
          m_lock(kFramework, "LockResource", nullptr, dwError), m_sizeOf(kFramework, "SizeofResource", 0, dwError),
          m_timer(kFramework, "SetTimer", 0, dwError), m_cursor(kFramework, "LoadCursorW", nullptr, dwError),
          m_text(kFramework, "GetWindowTextW", 0, dwError), m_object(kFramework, "GetObjectW", 0, dwError),
          m_menu(kFramework, "LoadMenuW", nullptr, dwError)
    {
    }

private:
    const CFailing<&::CreatePen> m_pen;
    const CFailing<&::CreateSolidBrush> m_brush;
    const CFailing<&::CreateFontIndirectW> m_font;
    const CFailing<&::CreateBitmap> m_bitmap;
    const CFailing<&::CreateCompatibleBitmap> m_compatible;
    const CFailing<&::CreateCompatibleDC> m_context;
    const CFailing<&::CreateRectRgn> m_region;
    const CFailing<&::GetDC> m_getDc;
    const CFailing<&::GetWindowDC> m_windowDc;
    const CFailing<&::BeginPaint> m_paint;
    const CFailing<&::CreateWindowExW> m_window;
    const CFailing<&::CreateDialogIndirectParamW> m_dialog;
    const CFailing<&::SetWindowsHookExW> m_hook;
    const CFailing<&::RegisterClassW> m_class;
    const CFailing<&::FindResourceW> m_find;
    const CFailing<&::LoadResource> m_load;
    const CFailing<&::LockResource> m_lock;
    const CFailing<&::SizeofResource> m_sizeOf;
    const CFailing<&::SetTimer> m_timer;
    const CFailing<&::LoadCursorW> m_cursor;
    const CFailing<&::GetWindowTextW> m_text;
    const CFailing<&::GetObjectW> m_object;
    const CFailing<&::LoadMenuW> m_menu;
};

// The calls by which the framework draws, measures, selects and asks.
class CFailingDrawing
{
public:
    explicit CFailingDrawing(DWORD dwError)
        : m_lineTo(kFramework, "LineTo", FALSE, dwError), m_moveToEx(kFramework, "MoveToEx", FALSE, dwError),
          m_polyline(kFramework, "Polyline", FALSE, dwError), m_polygon(kFramework, "Polygon", FALSE, dwError),
          m_rectangle(kFramework, "Rectangle", FALSE, dwError), m_roundRect(kFramework, "RoundRect", FALSE, dwError),
          m_ellipse(kFramework, "Ellipse", FALSE, dwError), m_fillRect(kFramework, "FillRect", 0, dwError),
          m_invertRect(kFramework, "InvertRect", FALSE, dwError), m_fillRgn(kFramework, "FillRgn", FALSE, dwError),
          m_setBkColor(kFramework, "SetBkColor", CLR_INVALID, dwError),
          m_extTextOut(kFramework, "ExtTextOutW", FALSE, dwError), m_drawEdge(kFramework, "DrawEdge", FALSE, dwError),
          m_drawFrameControl(kFramework, "DrawFrameControl", FALSE, dwError),
          m_drawFocusRect(kFramework, "DrawFocusRect", FALSE, dwError),
          m_drawIconEx(kFramework, "DrawIconEx", FALSE, dwError),
          m_getPixel(kFramework, "GetPixel", CLR_INVALID, dwError),
          m_setPixel(kFramework, "SetPixel", CLR_INVALID, dwError), m_patBlt(kFramework, "PatBlt", FALSE, dwError),
          m_bitBlt(kFramework, "BitBlt", FALSE, dwError), m_stretchBlt(kFramework, "StretchBlt", FALSE, dwError),
          m_maskBlt(kFramework, "MaskBlt", FALSE, dwError), m_scrollDC(kFramework, "ScrollDC", FALSE, dwError),
          m_drawText(kFramework, "DrawTextW", 0, dwError),
          m_getTextExtentExPoint(kFramework, "GetTextExtentExPointW", FALSE, dwError),
          m_getTextMetrics(kFramework, "GetTextMetricsW", FALSE, dwError),
          m_getTextFace(kFramework, "GetTextFaceW", 0, dwError),
          m_getCharWidth32(kFramework, "GetCharWidth32W", FALSE, dwError), m_saveDC(kFramework, "SaveDC", 0, dwError),
          m_restoreDC(kFramework, "RestoreDC", FALSE, dwError),
          m_getCurrentObject(kFramework, "GetCurrentObject", nullptr, dwError),
          m_getNearestColor(kFramework, "GetNearestColor", CLR_INVALID, dwError),
          m_getBkColor(kFramework, "GetBkColor", CLR_INVALID, dwError),
          m_getBkMode(kFramework, "GetBkMode", 0, dwError),
          m_getTextColor(kFramework, "GetTextColor", CLR_INVALID, dwError),
          m_getTextAlign(kFramework, "GetTextAlign", GDI_ERROR, dwError),
          m_setBkMode(kFramework, "SetBkMode", 0, dwError),
          m_setTextColor(kFramework, "SetTextColor", CLR_INVALID, dwError),
          m_setTextAlign(kFramework, "SetTextAlign", GDI_ERROR, dwError), m_setROP2(kFramework, "SetROP2", 0, dwError),
          m_setBrushOrgEx(kFramework, "SetBrushOrgEx", FALSE, dwError),
          m_setViewportOrgEx(kFramework, "SetViewportOrgEx", FALSE, dwError),
          m_getClipBox(kFramework, "GetClipBox", ERROR, dwError),
          m_selectClipRgn(kFramework, "SelectClipRgn", ERROR, dwError),
          m_excludeClipRect(kFramework, "ExcludeClipRect", ERROR, dwError),
          m_intersectClipRect(kFramework, "IntersectClipRect", ERROR, dwError),
          m_rectVisible(kFramework, "RectVisible", FALSE, dwError),
          m_getStockObject(kFramework, "GetStockObject", nullptr, dwError),
          m_selectObject(kFramework, "SelectObject", nullptr, dwError)
    {
    }

private:
    const CFailing<&::LineTo, 2> m_lineTo;
    const CFailing<&::MoveToEx, 2> m_moveToEx;
    const CFailing<&::Polyline, 2> m_polyline;
    const CFailing<&::Polygon, 2> m_polygon;
    const CFailing<&::Rectangle, 2> m_rectangle;
    const CFailing<&::RoundRect, 2> m_roundRect;
    const CFailing<&::Ellipse, 2> m_ellipse;
    const CFailing<&::FillRect, 2> m_fillRect;
    const CFailing<&::InvertRect, 2> m_invertRect;
    const CFailing<&::FillRgn, 2> m_fillRgn;
    const CFailing<&::SetBkColor, 2> m_setBkColor;
    const CFailing<&::ExtTextOutW, 2> m_extTextOut;
    const CFailing<&::DrawEdge, 2> m_drawEdge;
    const CFailing<&::DrawFrameControl, 2> m_drawFrameControl;
    const CFailing<&::DrawFocusRect, 2> m_drawFocusRect;
    const CFailing<&::DrawIconEx, 2> m_drawIconEx;
    const CFailing<&::GetPixel, 2> m_getPixel;
    const CFailing<&::SetPixel, 2> m_setPixel;
    const CFailing<&::PatBlt, 2> m_patBlt;
    const CFailing<&::BitBlt, 2> m_bitBlt;
    const CFailing<&::StretchBlt, 2> m_stretchBlt;
    const CFailing<&::MaskBlt, 2> m_maskBlt;
    const CFailing<&::ScrollDC, 2> m_scrollDC;
    const CFailing<&::DrawTextW, 2> m_drawText;
    const CFailing<&::GetTextExtentExPointW, 2> m_getTextExtentExPoint;
    const CFailing<&::GetTextMetricsW, 2> m_getTextMetrics;
    const CFailing<&::GetTextFaceW, 2> m_getTextFace;
    const CFailing<&::GetCharWidth32W, 2> m_getCharWidth32;
    const CFailing<&::SaveDC, 2> m_saveDC;
    const CFailing<&::RestoreDC, 2> m_restoreDC;
    const CFailing<&::GetCurrentObject, 2> m_getCurrentObject;
    const CFailing<&::GetNearestColor, 2> m_getNearestColor;
    const CFailing<&::GetBkColor, 2> m_getBkColor;
    const CFailing<&::GetBkMode, 2> m_getBkMode;
    const CFailing<&::GetTextColor, 2> m_getTextColor;
    const CFailing<&::GetTextAlign, 2> m_getTextAlign;
    const CFailing<&::SetBkMode, 2> m_setBkMode;
    const CFailing<&::SetTextColor, 2> m_setTextColor;
    const CFailing<&::SetTextAlign, 2> m_setTextAlign;
    const CFailing<&::SetROP2, 2> m_setROP2;
    const CFailing<&::SetBrushOrgEx, 2> m_setBrushOrgEx;
    const CFailing<&::SetViewportOrgEx, 2> m_setViewportOrgEx;
    const CFailing<&::GetClipBox, 2> m_getClipBox;
    const CFailing<&::SelectClipRgn, 2> m_selectClipRgn;
    const CFailing<&::ExcludeClipRect, 2> m_excludeClipRect;
    const CFailing<&::IntersectClipRect, 2> m_intersectClipRect;
    const CFailing<&::RectVisible, 2> m_rectVisible;
    const CFailing<&::GetStockObject, 2> m_getStockObject;
    const CFailing<&::SelectObject, 2> m_selectObject;
};

// What the library's controls call for themselves when they are placed and drawn.
class CFailingControl
{
private:
    static constexpr DWORD kError = ERROR_NOT_ENOUGH_MEMORY;
    const CFailing<&::GetObjectW, 3> m_object{kLibrary, "GetObjectW", 0, kError};
    const CFailing<&::SelectObject, 3> m_select{kLibrary, "SelectObject", nullptr, kError};
    const CFailing<&::GetStockObject, 3> m_stock{kLibrary, "GetStockObject", nullptr, kError};
    const CFailing<&::GetTextExtentExPointW, 3> m_extent{kLibrary, "GetTextExtentExPointW", FALSE, kError};
    const CFailing<&::LoadCursorW, 3> m_cursor{kLibrary, "LoadCursorW", nullptr, kError};
    const CFailing<&::SetWindowPos, 3> m_place{kLibrary, "SetWindowPos", FALSE, kError};
};

class WindowFaultTest : public CFaultTest
{
protected:
    // Does it, and what a program does when it is idle. No window may be left.
    template <class Call> static long Do(Call call)
    {
        const int nBefore = CountThreadWindows();
        long lResult;
        try {
            lResult = call();
        } catch (CResourceException* pException) {
            pException->Delete();
            lResult = kNoResource;
        } catch (CMemoryException*) {
            Idle();
            EXPECT_EQ(nBefore, CountThreadWindows());
            throw;
        }
        Idle();
        EXPECT_EQ(nBefore, CountThreadWindows());
        return lResult;
    }
    static void Idle()
    {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) ::DispatchMessageW(&message);
        CWnd::DeleteTempMap();
        CDC::DeleteTempMap();
        CGdiObject::DeleteTempMap();
    }
    // Both kinds of faults, one after the other. What is reported is a negative result or an exception of memory.
    template <class Call> static void FailBoth(const char* pszName, Call call)
    {
        FailEachAllocation(pszName, [&] { return Do(call); });
        const CFailingSystem system(ERROR_NOT_ENOUGH_MEMORY);
        const CFailingDrawing drawing(ERROR_NOT_ENOUGH_MEMORY);
        const CFailingControl control;
        FailEachCall(
            pszName,
            [&] {
                try {
                    return Do(call);
                } catch (CMemoryException*) {
                    return kNoMemory; // the hook by which a window gets its object
                }
            },
            [](const char* pszFunction, int, long lResult) {
                EXPECT_EQ(lResult == kNoMemory, IsOneOf(pszFunction, {"SetWindowsHookExW"}));
                // Without what is to be made there is nothing to go on with.
                if (IsOneOf(pszFunction, {"CreateWindowExW", "CreateDialogIndirectParamW", "LoadResource",
                                          "LockResource", "SizeofResource"})) {
                    EXPECT_LT(lResult, 0);
                }
            });
    }
};

#endif
