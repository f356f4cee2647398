// Calls that only draw, measure, select or ask: each call of the system fails in turn, and each allocation. The result is
// the header's, what was selected stays selected, and the same is drawn the next time.
#include "window_fixture.h"

#include <iterator>
#include <vector>

namespace {

constexpr int kSide = 32; // pixels

// A bitmap whose pixels can be looked at, in a context of its own.
class CCanvas : public CDC
{
public:
    CCanvas()
    {
        BITMAPINFO info = {};
        info.bmiHeader = {sizeof(info.bmiHeader), kSide, -kSide, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        CreateCompatibleDC(nullptr);
        m_hBitmap = ::CreateDIBSection(m_hDC, &info, DIB_RGB_COLORS, &m_pvBits, nullptr, 0);
        m_hOld = ::SelectObject(m_hDC, m_hBitmap);
    }
    ~CCanvas() override
    {
        ::SelectObject(m_hDC, m_hOld);
        ::DeleteObject(m_hBitmap);
    }
    std::vector<BYTE> Pixels() const
    {
        ::GdiFlush();
        const auto* const p = static_cast<const BYTE*>(m_pvBits);
        return std::vector<BYTE>(p, p + kSide * kSide * 4);
    }

private:
    void* m_pvBits = nullptr;
    HBITMAP m_hBitmap;
    HGDIOBJ m_hOld;
};

// What the calls are given.
struct Things
{
    CCanvas target, source;
    CBrush brush{RGB(1, 2, 3)};
    CPen pen{PS_SOLID, 1, RGB(4, 5, 6)};
    CFont font;
    CRgn region;
    CBitmap bitmap, mask;
    HICON hIcon = ::LoadIconW(nullptr, IDI_APPLICATION);

    Things()
    {
        font.CreateFont(12, 0, 0, 0, FW_NORMAL, 0, 0, 0, 0, 0, 0, 0, 0, L"Tahoma");
        region.CreateRectRgn(2, 2, 20, 20);
        bitmap.CreateBitmap(8, 8, 1, 32, nullptr);
        mask.CreateBitmap(8, 8, 1, 1, nullptr);
        source.FillSolidRect(0, 0, kSide, kSide, RGB(7, 8, 9));
    }
};

enum class ESays
{
    kFailure, // its result tells
    kNothing  // it has none, or does without what failed
};

struct Drawing
{
    const char* pszName;
    bool (*draw)(CDC& dc, Things& things); // true: done
    ESays says = ESays::kFailure;
};

CRect Area()
{
    return CRect(1, 1, 20, 20);
}

constexpr POINT kPoints[] = {{1, 1}, {20, 3}, {8, 25}};

const Drawing kDrawings[] = {
    {"LineTo", [](CDC& dc, Things&) { return dc.LineTo(10, 10) != FALSE; }},
    {"Polyline", [](CDC& dc, Things&) { return dc.Polyline(kPoints, 3) != FALSE; }},
    {"Polygon", [](CDC& dc, Things&) { return dc.Polygon(kPoints, 3) != FALSE; }},
    {"Rectangle", [](CDC& dc, Things&) { return dc.Rectangle(Area()) != FALSE; }},
    {"RoundRect", [](CDC& dc, Things&) { return dc.RoundRect(Area(), CPoint(4, 4)) != FALSE; }},
    {"Ellipse", [](CDC& dc, Things&) { return dc.Ellipse(Area()) != FALSE; }},
    {"FillRgn", [](CDC& dc, Things& a) { return dc.FillRgn(&a.region, &a.brush) != FALSE; }},
    {"DrawEdge",
     [](CDC& dc, Things&) {
         CRect rect = Area();
         return dc.DrawEdge(&rect, EDGE_RAISED, BF_RECT) != FALSE;
     }},
    {"DrawFrameControl",
     [](CDC& dc, Things&) {
         CRect rect = Area();
         return dc.DrawFrameControl(&rect, DFC_BUTTON, DFCS_BUTTONPUSH) != FALSE;
     }},
    {"DrawIcon", [](CDC& dc, Things& a) { return dc.DrawIcon(1, 1, a.hIcon) != FALSE; }},
    {"GetPixel", [](CDC& dc, Things&) { return dc.GetPixel(3, 3) != CLR_INVALID; }},
    {"SetPixel", [](CDC& dc, Things&) { return dc.SetPixel(3, 3, RGB(9, 9, 9)) != CLR_INVALID; }},
    {"PatBlt", [](CDC& dc, Things&) { return dc.PatBlt(2, 2, 5, 5, DSTINVERT) != FALSE; }},
    {"BitBlt", [](CDC& dc, Things& a) { return dc.BitBlt(2, 2, 5, 5, &a.source, 0, 0, SRCCOPY) != FALSE; }},
    {"StretchBlt",
     [](CDC& dc, Things& a) { return dc.StretchBlt(2, 2, 9, 9, &a.source, 0, 0, 5, 5, SRCCOPY) != FALSE; }},
    {"MaskBlt",
     [](CDC& dc, Things& a) {
         return dc.MaskBlt(2, 2, 5, 5, &a.source, 0, 0, a.mask, 0, 0, MAKEROP4(SRCCOPY, DSTINVERT)) != FALSE;
     }},
    {"ScrollDC", [](CDC& dc, Things&) { return dc.ScrollDC(1, 1, Area(), Area(), nullptr, nullptr) != FALSE; }},
    {"TextOut", [](CDC& dc, Things&) { return dc.TextOut(1, 1, L"a text") != FALSE; }},
    {"ExtTextOut",
     [](CDC& dc, Things&) { return dc.ExtTextOut(1, 1, ETO_OPAQUE, Area(), CString(L"a text"), nullptr) != FALSE; }},
    {"DrawText",
     [](CDC& dc, Things&) {
         CRect rect = Area();
         return dc.DrawText(L"a text", &rect, DT_LEFT) != 0;
     }},
    {"GetTextExtent", [](CDC& dc, Things&) -> bool { return dc.GetTextExtent(L"a text", 6) != CSize(0, 0); }},
    {"GetTextMetrics",
     [](CDC& dc, Things&) {
         TEXTMETRIC metrics;
         return dc.GetTextMetrics(&metrics) != FALSE;
     }},
    {"GetTextFace",
     [](CDC& dc, Things&) {
         TCHAR szFace[LF_FACESIZE] = L"";
         return dc.GetTextFace(LF_FACESIZE, szFace) != 0;
     }},
    {"GetTextFace into a text",
     [](CDC& dc, Things&) {
         CString face(L"what was there before, longer than any face");
         const int nLength = dc.GetTextFace(face);
         EXPECT_EQ(nLength, face.GetLength());
         EXPECT_EQ(nLength, static_cast<int>(::wcslen(face)));
         return nLength != 0;
     }},
    {"GetCharWidth",
     [](CDC& dc, Things&) {
         int n[1] = {};
         return dc.GetCharWidth('a', 'a', n) != FALSE;
     }},
    {"SaveDC",
     [](CDC& dc, Things&) {
         const int nSaved = dc.SaveDC();
         if (nSaved) ::RestoreDC(dc, nSaved);
         return nSaved != 0;
     }},
    {"RestoreDC",
     [](CDC& dc, Things&) {
         ::SaveDC(dc);
         const bool bDone = dc.RestoreDC(-1) != FALSE;
         if (!bDone) ::RestoreDC(dc, -1);
         return bDone;
     }},
    {"SetBkColor",
     [](CDC& dc, Things&) {
         const COLORREF crBefore = ::GetBkColor(dc);
         const COLORREF cr = dc.SetBkColor(RGB(1, 1, 1));
         ::SetBkColor(dc, crBefore);
         return cr != CLR_INVALID;
     }},
    {"SetTextColor",
     [](CDC& dc, Things&) {
         const COLORREF crBefore = ::GetTextColor(dc);
         const COLORREF cr = dc.SetTextColor(RGB(1, 1, 1));
         ::SetTextColor(dc, crBefore);
         return cr != CLR_INVALID;
     }},
    {"SetBkMode", [](CDC& dc, Things&) { return dc.SetBkMode(TRANSPARENT) != 0; }},
    {"SetTextAlign", [](CDC& dc, Things&) { return dc.SetTextAlign(TA_LEFT) != GDI_ERROR; }},
    {"SetROP2", [](CDC& dc, Things&) { return dc.SetROP2(R2_COPYPEN) != 0; }},
    {"GetBkColor", [](CDC& dc, Things&) { return dc.GetBkColor() != CLR_INVALID; }},
    {"GetTextColor", [](CDC& dc, Things&) { return dc.GetTextColor() != CLR_INVALID; }},
    {"GetBkMode", [](CDC& dc, Things&) { return dc.GetBkMode() != 0; }},
    {"GetTextAlign", [](CDC& dc, Things&) { return dc.GetTextAlign() != GDI_ERROR; }},
    {"GetNearestColor", [](CDC& dc, Things&) { return dc.GetNearestColor(RGB(1, 2, 3)) != CLR_INVALID; }},
    {"GetClipBox",
     [](CDC& dc, Things&) {
         CRect rect;
         return dc.GetClipBox(&rect) != ERROR;
     }},
    {"SelectClipRgn",
     [](CDC& dc, Things& a) {
         const bool bDone = dc.SelectClipRgn(&a.region) != ERROR;
         ::SelectClipRgn(dc, nullptr);
         return bDone;
     }},
    {"ExcludeClipRect",
     [](CDC& dc, Things&) {
         const bool bDone = dc.ExcludeClipRect(0, 0, 5, 5) != ERROR;
         ::SelectClipRgn(dc, nullptr);
         return bDone;
     }},
    {"IntersectClipRect",
     [](CDC& dc, Things&) {
         const bool bDone = dc.IntersectClipRect(Area()) != ERROR;
         ::SelectClipRgn(dc, nullptr);
         return bDone;
     }},
    {"RectVisible", [](CDC& dc, Things&) { return dc.RectVisible(Area()) != FALSE; }},
    {"MoveTo",
     [](CDC& dc, Things&) -> bool {
         ::MoveToEx(dc, 3, 4, nullptr);
         return dc.MoveTo(5, 6) == CPoint(3, 4);
     }},
    {"SetBrushOrg",
     [](CDC& dc, Things&) {
         ::SetBrushOrgEx(dc, 3, 4, nullptr);
         const bool bDone = dc.SetBrushOrg(0, 0) == CPoint(3, 4);
         ::SetBrushOrgEx(dc, 0, 0, nullptr);
         return bDone;
     }},
    {"SetViewportOrg",
     [](CDC& dc, Things&) {
         ::SetViewportOrgEx(dc, 3, 4, nullptr);
         const bool bDone = dc.SetViewportOrg(0, 0) == CPoint(3, 4);
         ::SetViewportOrgEx(dc, 0, 0, nullptr);
         return bDone;
     }},
    {"FillRect",
     [](CDC& dc, Things& a) {
         dc.FillRect(Area(), &a.brush);
         return true;
     },
     ESays::kNothing},
    {"FrameRect",
     [](CDC& dc, Things& a) {
         dc.FrameRect(Area(), &a.brush);
         return true;
     },
     ESays::kNothing},
    {"InvertRect",
     [](CDC& dc, Things&) {
         dc.InvertRect(Area());
         return true;
     },
     ESays::kNothing},
    {"DrawFocusRect",
     [](CDC& dc, Things&) {
         dc.DrawFocusRect(Area());
         return true;
     },
     ESays::kNothing},
    {"FillSolidRect",
     [](CDC& dc, Things&) {
         dc.FillSolidRect(Area(), RGB(1, 2, 3));
         ::SetBkColor(dc, RGB(255, 255, 255));
         return true;
     },
     ESays::kNothing},
    {"Draw3dRect",
     [](CDC& dc, Things&) {
         dc.Draw3dRect(Area(), RGB(1, 2, 3), RGB(4, 5, 6));
         ::SetBkColor(dc, RGB(255, 255, 255));
         return true;
     },
     ESays::kNothing},
};

class DrawingFaultTest : public WindowFaultTest
{
protected:
    // All of them on an empty canvas.
    std::vector<BYTE> DrawAll()
    {
        ::PatBlt(m_things.target, 0, 0, kSide, kSide, WHITENESS);
        ::MoveToEx(m_things.target, 0, 0, nullptr);
        ::SetBkMode(m_things.target, OPAQUE);
        for (const Drawing& drawing : kDrawings)
            EXPECT_TRUE(drawing.draw(m_things.target, m_things)) << drawing.pszName;
        return m_things.target.Pixels();
    }
    // Selects something and puts the old one back. `nType`: OBJ_PEN and the like.
    template <class Select> void FailSelection(const char* pszName, UINT nType, Select select)
    {
        CDC& dc = m_things.target;
        const HGDIOBJ hBefore = ::GetCurrentObject(dc, nType);
        const auto use = [&]() -> long {
            CGdiObject* const pOld = select(dc);
            if (!pOld) return kNotMade;
            EXPECT_EQ(hBefore, pOld->m_hObject);
            ::SelectObject(dc, hBefore);
            return 0;
        };
        const auto whole = [&](EOutcome outcome, long) {
            EXPECT_EQ(EOutcome::kMemory, outcome);
            EXPECT_EQ(hBefore, ::GetCurrentObject(dc, nType)) << "nobody knows any more what is to be put back";
        };
        FailEachAllocation(
            pszName, [&] { return Do(use); }, EAfterwards::kNothingLeft, whole);
        const CFailingDrawing calls(ERROR_NOT_ENOUGH_MEMORY);
        FailEachCall(
            pszName, [&] { return Do(use); },
            [&](const char*, int, long lResult) {
                EXPECT_EQ(kNotMade, lResult);
                EXPECT_EQ(hBefore, ::GetCurrentObject(dc, nType));
            });
    }

    Things m_things;
};

} // namespace

TEST_F(DrawingFaultTest, ACallThatFailsSaysSoAndDrawsTheNextTime)
{
    const std::vector<BYTE> before = DrawAll();
    EXPECT_EQ(before, DrawAll());
    const CFailingDrawing calls(ERROR_NOT_ENOUGH_MEMORY);
    for (const Drawing& drawing : kDrawings) {
        FailEachCall(
            drawing.pszName,
            [&] { return Do([&] { return drawing.draw(m_things.target, m_things) ? 0L : kNotMade; }); },
            [&](const char*, int, long lResult) { EXPECT_EQ(drawing.says == ESays::kFailure, lResult < 0); });
    }
    EXPECT_EQ(before, DrawAll());
}

TEST_F(DrawingFaultTest, TextsThatMemoryIsOutForAreNotDrawn)
{
    const auto memory = [](EOutcome outcome, long) { EXPECT_EQ(EOutcome::kMemory, outcome); };
    for (const Drawing& drawing : kDrawings) {
        if (!IsOneOf(drawing.pszName, {"TextOut", "ExtTextOut", "DrawText", "GetTextFace into a text"})) continue;
        FailEachAllocation(
            drawing.pszName,
            [&] { return Do([&] { return drawing.draw(m_things.target, m_things) ? 0L : kNotMade; }); },
            EAfterwards::kNothingLeft, memory);
    }
}

TEST_F(DrawingFaultTest, WhatCannotBeSelectedLeavesWhatIs)
{
    FailSelection("select a pen", OBJ_PEN, [this](CDC& dc) { return dc.SelectObject(&m_things.pen); });
    FailSelection("select a brush", OBJ_BRUSH, [this](CDC& dc) { return dc.SelectObject(&m_things.brush); });
    FailSelection("select a font", OBJ_FONT, [this](CDC& dc) { return dc.SelectObject(&m_things.font); });
    FailSelection("select a bitmap", OBJ_BITMAP, [this](CDC& dc) { return dc.SelectObject(&m_things.bitmap); });
    FailSelection("select an object", OBJ_PEN, [this](CDC& dc) {
        CGdiObject* const pObject = &m_things.pen;
        return dc.SelectObject(pObject);
    });
    FailSelection("select a stock object", OBJ_BRUSH, [](CDC& dc) { return dc.SelectStockObject(NULL_BRUSH); });
}

TEST_F(DrawingFaultTest, ASecondContextThatIsAskedKeepsItsSelectionToo)
{
    CCanvas asked;
    const HGDIOBJ hBefore = ::GetCurrentObject(asked, OBJ_PEN);
    m_things.target.SetAttribDC(asked);
    FailSelection("select a pen for two contexts", OBJ_PEN, [&](CDC& dc) {
        try {
            CPen* const pOld = dc.SelectObject(&m_things.pen);
            ::SelectObject(asked, hBefore);
            return pOld;
        } catch (CMemoryException*) {
            EXPECT_EQ(hBefore, ::GetCurrentObject(asked, OBJ_PEN));
            throw;
        }
    });
    m_things.target.SetAttribDC(m_things.target);
}

TEST_F(DrawingFaultTest, WhatIsSelectedNowIsNullOrKnown)
{
    CDC& dc = m_things.target;
    const auto ask = [&] {
        const bool bAll = dc.GetCurrentPen() && dc.GetCurrentBrush() && dc.GetCurrentFont() && dc.GetCurrentBitmap();
        return bAll ? 0L : kNotMade;
    };
    FailEachAllocation(
        "what is selected", [&] { return Do(ask); }, EAfterwards::kNothingLeft,
        [](EOutcome outcome, long) { EXPECT_EQ(EOutcome::kMemory, outcome); });
    const CFailingDrawing calls(ERROR_NOT_ENOUGH_MEMORY);
    FailEachCall(
        "what is selected", [&] { return Do(ask); },
        [](const char*, int, long lResult) { EXPECT_EQ(kNotMade, lResult); });
}
