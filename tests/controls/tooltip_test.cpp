#include "controls/tooltip.h"
#include "leak_support.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

constexpr COLORREF kPaleYellow = RGB(255, 255, 128);
constexpr unsigned int kMargin = 6;

SIZE ExtentInDefaultFont(const std::wstring& text)
{
    SIZE size = {};
    const HDC dc = ::CreateCompatibleDC(nullptr);
    ::GetTextExtentExPointW(dc, text.c_str(), static_cast<int>(text.size()), 0, nullptr, nullptr, &size);
    ::DeleteDC(dc);
    return size;
}

class ToolTipTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_host.CreateEx(0, nullptr, L"host", WS_POPUP | WS_VISIBLE, 0, 0, 240, 200, nullptr, nullptr));
    }
    void TearDown() override
    {
        m_host.DestroyWindow();
        PumpQueue();
    }

    CWnd m_host;
    CToolTip m_tip;
};

} // namespace

TEST_F(ToolTipTest, IsAsWideAsTextAndMarginAndCentred)
{
    static constexpr struct
    {
        const char* why;
        unsigned int beyond; // available width less text and margin
    } kCases[] = {
        {"even rest", 40},
        {"odd rest: the smaller half is on the left", 41},
        {"one pixel of rest", 1},
        {"exactly as wide as available", 0},
    };
    const SIZE text = ExtentInDefaultFont(L"Hello");
    const unsigned int width = text.cx + kMargin;
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.why);
        CToolTip tip;
        ASSERT_TRUE(tip.Create(L"Hello", &m_host, 30, width + c.beyond, 7));
        const int left = static_cast<int>(c.beyond / 2);
        EXPECT_EQ(CRect(left, 30, left + static_cast<int>(width), 30 + text.cy), PlaceInParent(tip));
    }
}

TEST_F(ToolTipTest, ATextWiderThanTheAvailableWidthGetsAllOfIt)
{
    const SIZE text = ExtentInDefaultFont(L"Hello");
    for (const unsigned int available : {text.cx + kMargin - 1u, text.cx + 0ul, 10ul, 1ul}) {
        SCOPED_TRACE(available);
        CToolTip tip;
        ASSERT_TRUE(tip.Create(L"Hello", &m_host, 30, available, 7));
        EXPECT_EQ(CRect(0, 30, static_cast<int>(available), 30 + text.cy), PlaceInParent(tip));
    }
}

TEST_F(ToolTipTest, TheFontOfTheParentDoesNotCount)
{
    CFont large;
    large.CreateFont(40, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, 0, 0, 0, 0, 0, L"Tahoma");
    m_host.SetFont(&large);
    ASSERT_TRUE(m_tip.Create(L"Hello", &m_host, 0, 240, 7));
    EXPECT_EQ(ExtentInDefaultFont(L"Hello").cy, PlaceInParent(m_tip).Height());
}

TEST_F(ToolTipTest, HasTheTextAsTitleTheStyleTheParentAndTheIdentifier)
{
    ASSERT_TRUE(m_tip.Create(L"Hello", &m_host, 5, 240, 1234));
    CString title;
    m_tip.GetWindowText(title);
    EXPECT_STREQ(L"Hello", title);
    EXPECT_EQ(0x50800001u, m_tip.GetStyle() & ~static_cast<DWORD>(WS_CLIPSIBLINGS));
    EXPECT_EQ(m_host.m_hWnd, ::GetParent(m_tip));
    EXPECT_EQ(1234, m_tip.GetDlgCtrlID());
    EXPECT_TRUE(m_tip.IsWindowVisible());
}

TEST_F(ToolTipTest, TheBorderIsInsideTheHeightOfTheText)
{
    ASSERT_TRUE(m_tip.Create(L"Hello", &m_host, 5, 240, 7));
    CRect client;
    m_tip.GetClientRect(&client);
    EXPECT_EQ(ExtentInDefaultFont(L"Hello").cy - 2, client.Height());
}

TEST_F(ToolTipTest, PaintsBlackTextInTheMiddleOfPaleYellow)
{
    ASSERT_TRUE(m_tip.Create(L"HHH", &m_host, 5, 240, 7));
    m_host.UpdateWindow();
    m_tip.UpdateWindow();
    const CPixels pixels(m_tip);
    EXPECT_TRUE(pixels.Save(L"tooltip"));
    const CRect all = pixels.All();
    EXPECT_EQ(kPaleYellow, pixels.At(0, 0));
    EXPECT_EQ(kPaleYellow, pixels.At(all.right - 1, all.bottom - 1));
    const CRect ink = pixels.Bounds(RGB(0, 0, 0), all);
    ASSERT_FALSE(ink.IsRectEmpty());
    EXPECT_NEAR(all.CenterPoint().x, ink.CenterPoint().x, 2);
    EXPECT_NEAR(all.CenterPoint().y, ink.CenterPoint().y, 2);
}

TEST_F(ToolTipTest, AClippedTextReachesBothEdges)
{
    ASSERT_TRUE(m_tip.Create(L"HHHHHHHHHHHHHHHHHHHHHHHH", &m_host, 5, 60, 7));
    m_tip.UpdateWindow();
    const CPixels pixels(m_tip);
    EXPECT_TRUE(pixels.Save(L"tooltip-clipped"));
    const CRect ink = pixels.Bounds(RGB(0, 0, 0), pixels.All());
    const int letter = ExtentInDefaultFont(L"H").cx;
    EXPECT_LT(ink.left, letter);
    EXPECT_GT(ink.right, pixels.All().right - letter);
}

TEST_F(ToolTipTest, IsShownInEachState)
{
    CToolTip sentence, wide, empty;
    const std::wstring text(10000, L'W');
    ASSERT_TRUE(m_tip.Create(L"Hello", &m_host, 20, 240, 7));
    ASSERT_TRUE(sentence.Create(L"The battery is nearly empty.", &m_host, 60, 240, 8));
    ASSERT_TRUE(wide.Create(text.c_str(), &m_host, 100, 240, 9));
    ASSERT_TRUE(empty.Create(L"", &m_host, 140, 240, 10));
    CClientDC dc(&m_host);
    dc.FillSolidRect(CRect(0, 0, 240, 200), ::GetSysColor(COLOR_BTNFACE));
    m_host.RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME | RDW_NOERASE);
    EXPECT_TRUE(CPixels(m_host).Save(L"tooltip-short-sentence-clipped-empty"));
}

TEST_F(ToolTipTest, ErasingFillsAndSaysSo)
{
    ASSERT_TRUE(m_tip.Create(L"x", &m_host, 5, 240, 7));
    CClientDC dc(&m_tip);
    CRect client;
    m_tip.GetClientRect(&client);
    dc.FillSolidRect(&client, RGB(1, 2, 3));
    EXPECT_EQ(TRUE, m_tip.SendMessage(WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc.m_hDC)));
    const CPixels pixels(m_tip);
    EXPECT_EQ(client.Width() * client.Height(), pixels.Count(kPaleYellow, pixels.All()));
}

TEST_F(ToolTipTest, ShowsATextThatChanged)
{
    ASSERT_TRUE(m_tip.Create(L"        ", &m_host, 5, 240, 7));
    m_tip.UpdateWindow();
    EXPECT_EQ(0, CPixels(m_tip).Count(RGB(0, 0, 0), CRect(0, 0, 240, 200)));
    m_tip.SetWindowText(L"HH");
    m_tip.Invalidate();
    m_tip.UpdateWindow();
    EXPECT_GT(CPixels(m_tip).Count(RGB(0, 0, 0), CRect(0, 0, 240, 200)), 0);
}

TEST_F(ToolTipTest, NoTextIsAnEmptyOne)
{
    const SIZE empty = ExtentInDefaultFont(L"");
    for (const wchar_t* text : {static_cast<const wchar_t*>(nullptr), L""}) {
        CToolTip tip;
        ASSERT_TRUE(tip.Create(text, &m_host, 5, 100, 7));
        EXPECT_EQ(0, tip.GetWindowTextLength());
        EXPECT_EQ(CRect(47, 5, 53, 5 + empty.cy), PlaceInParent(tip));
        tip.UpdateWindow();
    }
}

TEST_F(ToolTipTest, TenThousandCharactersFillTheAvailableWidth)
{
    const std::wstring text(10000, L'W');
    ASSERT_TRUE(m_tip.Create(text.c_str(), &m_host, 5, 240, 7));
    EXPECT_EQ(240, PlaceInParent(m_tip).Width());
    EXPECT_EQ(10000, m_tip.GetWindowTextLength());
    m_tip.UpdateWindow();
    const CPixels pixels(m_tip);
    EXPECT_GT(pixels.Count(RGB(0, 0, 0), pixels.All()), 0);
}

TEST_F(ToolTipTest, UnreasonablePlacesAreTaken)
{
    for (const unsigned int place : {0u, static_cast<unsigned int>(INT_MAX), UINT_MAX}) {
        SCOPED_TRACE(place);
        CToolTip high, wide;
        high.Create(L"Hello", &m_host, place, 100, 7);
        wide.Create(L"Hello", &m_host, 0, place, 8);
        PumpQueue();
        EXPECT_EQ(high.m_hWnd != nullptr, ::IsWindow(high.m_hWnd) != FALSE);
        EXPECT_EQ(wide.m_hWnd != nullptr, ::IsWindow(wide.m_hWnd) != FALSE);
    }
}

TEST_F(ToolTipTest, WithoutAParentThereIsNoWindow)
{
    EXPECT_EQ(0, m_tip.Create(L"Hello", nullptr, 0, 100, 7));
    EXPECT_EQ(nullptr, m_tip.m_hWnd);
}

TEST_F(ToolTipTest, FiveHundredOpeningsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([this] {
        CToolTip tip;
        tip.Create(L"Hello", &m_host, 5, 240, 7);
        tip.UpdateWindow();
        tip.DestroyWindow();
    });
}
