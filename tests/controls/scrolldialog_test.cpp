#include "controls/scrolldialog.h"
#include "scroll_ids.h"
#include "leak_support.h"
#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>

namespace {

constexpr int kLimit = 32767; // the largest size of a window

// Both classes, with their window made from the same template and without a sheet around it.
template <class Base> class CTested : public Base
{
public:
    CTested() : Base(IDD_SCROLL) {}
    BOOL Make() { return this->Create(IDD_SCROLL); }

    std::vector<CSize> m_sizes; // of every WM_SIZE, in order of arrival

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_SIZE) m_sizes.emplace_back(LOWORD(lParam), HIWORD(lParam));
        return Base::WindowProc(message, wParam, lParam);
    }
};

template <class Base> class ScrollingTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dialog.Make());
        m_dialog.ShowWindow(SW_SHOWNA);
        CRect client;
        m_dialog.GetClientRect(&client);
        m_width = client.Width();
        m_height = client.Height();
        m_bar = ::GetSystemMetrics(SM_CXVSCROLL);
        m_home = Child();
        ASSERT_GT(m_width, 3 * m_bar);
        ASSERT_GT(m_height, 3 * m_bar);
    }
    void TearDown() override
    {
        m_dialog.DestroyWindow();
        PumpQueue();
    }

    void Resize(int width, int height)
    {
        m_dialog.SetWindowPos(nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    // Room for a bar beside it: only the other direction is too small.
    void MakeLower(int by)
    {
        Resize(m_width + m_bar, m_height);
        Resize(m_width + m_bar, m_height - by);
    }
    void MakeNarrower(int by)
    {
        Resize(m_width, m_height + m_bar);
        Resize(m_width - by, m_height + m_bar);
    }
    CPoint Child() { return PlaceInParent(::GetDlgItem(m_dialog, IDC_SCROLL_FIRST)).TopLeft(); }
    // How far the content has been moved.
    CPoint Shift() { return CPoint(Child().x - m_home.x, Child().y - m_home.y); }
    CSize Client()
    {
        CRect client;
        m_dialog.GetClientRect(&client);
        return client.Size();
    }
    SCROLLINFO Bar(int bar)
    {
        SCROLLINFO info = {};
        info.cbSize = sizeof(info);
        info.fMask = SIF_ALL;
        ::GetScrollInfo(m_dialog, bar, &info);
        return info;
    }
    bool HasBar(DWORD style) { return (m_dialog.GetStyle() & style) != 0; }
    void Vertical(UINT code, UINT position = 0) { m_dialog.SendMessage(WM_VSCROLL, MAKEWPARAM(code, position)); }
    void Horizontal(UINT code, UINT position = 0) { m_dialog.SendMessage(WM_HSCROLL, MAKEWPARAM(code, position)); }

    CTested<Base> m_dialog;
    int m_width = 0, m_height = 0; // as designed
    int m_bar = 0;                 // what a bar takes
    CPoint m_home;
};

using BothClasses = testing::Types<CScrollDialog, CScrollPropertyPage>;
TYPED_TEST_SUITE(ScrollingTest, BothClasses);

} // namespace

TYPED_TEST(ScrollingTest, HasNoBarsAtItsDesignSizeAndAbove)
{
    EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
    this->Resize(this->m_width + 50, this->m_height + 50);
    EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
    this->Resize(this->m_width, this->m_height);
    EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
}

TYPED_TEST(ScrollingTest, ALowerWindowGetsAVerticalBarWhosePageIsItsHeight)
{
    this->MakeLower(40);
    EXPECT_TRUE(this->HasBar(WS_VSCROLL));
    EXPECT_FALSE(this->HasBar(WS_HSCROLL));
    const SCROLLINFO bar = this->Bar(SB_VERT);
    EXPECT_EQ(0, bar.nMin);
    EXPECT_EQ(this->m_height - 1, bar.nMax);
    EXPECT_EQ(static_cast<UINT>(this->m_height - 40), bar.nPage);
    EXPECT_EQ(0, bar.nPos);
}

TYPED_TEST(ScrollingTest, ANarrowerWindowGetsAHorizontalBarWhosePageIsItsWidth)
{
    this->MakeNarrower(40);
    EXPECT_TRUE(this->HasBar(WS_HSCROLL));
    EXPECT_FALSE(this->HasBar(WS_VSCROLL));
    const SCROLLINFO bar = this->Bar(SB_HORZ);
    EXPECT_EQ(0, bar.nMin);
    EXPECT_EQ(this->m_width - 1, bar.nMax);
    EXPECT_EQ(static_cast<UINT>(this->m_width - 40), bar.nPage);
    EXPECT_EQ(0, bar.nPos);
}

TYPED_TEST(ScrollingTest, OnePixelLowerOrNarrowerIsEnough)
{
    this->MakeLower(1);
    EXPECT_TRUE(this->HasBar(WS_VSCROLL));
    this->Resize(this->m_width + 50, this->m_height + 50);
    EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
    this->MakeNarrower(1);
    EXPECT_TRUE(this->HasBar(WS_HSCROLL));
}

TYPED_TEST(ScrollingTest, VerticalCodesMoveTheContent)
{
    this->MakeLower(60);
    const int page = this->m_height - 60;
    struct Step
    {
        UINT code, position;
        int from, to;
    };
    const Step kSteps[] = {
        {SB_LINEDOWN, 0, 0, 20},
        {SB_LINEDOWN, 0, 45, 60},
        {SB_LINEDOWN, 0, 60, 60},
        {SB_LINEUP, 0, 60, 40},
        {SB_LINEUP, 0, 7, 0},
        {SB_LINEUP, 0, 0, 0},
        {SB_PAGEDOWN, 0, 3, std::min(3 + page, 60)},
        {SB_PAGEUP, 0, 60, std::max(60 - page, 0)},
        {SB_THUMBTRACK, 33, 0, 33},
        {SB_THUMBTRACK, 61, 0, 60},
        {SB_THUMBTRACK, 0xFFFF, 5, 60},
        {SB_THUMBTRACK, 0, 33, 0},
        {SB_THUMBPOSITION, 33, 10, 10},
        {SB_BOTTOM, 0, 0, 60},
        {SB_TOP, 0, 60, 0},
        {SB_ENDSCROLL, 0, 12, 12},
        {99, 50, 12, 12},
    };
    for (const Step& step : kSteps) {
        SCOPED_TRACE(testing::Message() << "code " << step.code << " at " << step.from);
        this->Vertical(SB_THUMBTRACK, static_cast<UINT>(step.from));
        ASSERT_EQ(-step.from, this->Shift().y);
        this->Vertical(step.code, step.position);
        EXPECT_EQ(step.to, this->Bar(SB_VERT).nPos);
        EXPECT_EQ(CPoint(0, -step.to), this->Shift());
    }
}

TYPED_TEST(ScrollingTest, HorizontalCodesMoveTheContentTwoPixelsLess)
{
    this->MakeNarrower(60);
    const int page = this->m_width - 60;
    struct Step
    {
        UINT code, position;
        int from, to;
    };
    const Step kSteps[] = {
        {SB_LINERIGHT, 0, 0, 20},
        {SB_LINERIGHT, 0, 45, 58},
        {SB_LINERIGHT, 0, 58, 58},
        {SB_LINELEFT, 0, 58, 38},
        {SB_LINELEFT, 0, 7, 0},
        {SB_PAGERIGHT, 0, 3, std::min(3 + page, 58)},
        {SB_PAGELEFT, 0, 58, std::max(58 - page, 0)},
        {SB_THUMBTRACK, 33, 0, 33},
        {SB_THUMBTRACK, 59, 0, 58},
        {SB_THUMBTRACK, 0xFFFF, 5, 58},
        {SB_THUMBPOSITION, 33, 10, 10},
        {SB_RIGHT, 0, 0, 58},
        {SB_LEFT, 0, 58, 0},
        {SB_ENDSCROLL, 0, 12, 12},
    };
    for (const Step& step : kSteps) {
        SCOPED_TRACE(testing::Message() << "code " << step.code << " at " << step.from);
        this->Horizontal(SB_THUMBTRACK, static_cast<UINT>(step.from));
        ASSERT_EQ(-step.from, this->Shift().x);
        this->Horizontal(step.code, step.position);
        EXPECT_EQ(step.to, this->Bar(SB_HORZ).nPos);
        EXPECT_EQ(CPoint(-step.to, 0), this->Shift());
    }
}

TYPED_TEST(ScrollingTest, OnePixelNarrowerHasAnEndOfMinusOne)
{
    this->MakeNarrower(1);
    this->Horizontal(SB_LINERIGHT);
    EXPECT_EQ(1, this->Shift().x);
    EXPECT_EQ(0, this->Bar(SB_HORZ).nPos);
    this->Horizontal(SB_LEFT);
    EXPECT_EQ(2, this->Shift().x);
}

TYPED_TEST(ScrollingTest, ScrollingDoesNothingWithoutTheBar)
{
    this->Vertical(SB_LINEDOWN);
    this->Horizontal(SB_LINERIGHT);
    EXPECT_EQ(CPoint(0, 0), this->Shift());
    this->MakeLower(40);
    this->Horizontal(SB_LINERIGHT);
    EXPECT_EQ(CPoint(0, 0), this->Shift());
}

TYPED_TEST(ScrollingTest, AGrowingWindowKeepsItsContentAtTheEnd)
{
    this->MakeLower(60);
    this->Vertical(SB_BOTTOM);
    ASSERT_EQ(-60, this->Shift().y);
    this->Resize(this->m_width + this->m_bar, this->m_height - 25);
    EXPECT_EQ(-25, this->Shift().y);
    EXPECT_EQ(25, this->Bar(SB_VERT).nPos);
    EXPECT_EQ(static_cast<UINT>(this->m_height - 25), this->Bar(SB_VERT).nPage);
}

TYPED_TEST(ScrollingTest, AGrowingWindowLeavesAContentThatFits)
{
    this->MakeLower(60);
    this->Vertical(SB_LINEDOWN);
    this->Resize(this->m_width + this->m_bar, this->m_height - 25);
    EXPECT_EQ(-20, this->Shift().y);
    EXPECT_EQ(20, this->Bar(SB_VERT).nPos);
}

TYPED_TEST(ScrollingTest, GrowingWiderKeepsTheContentAtTheEndToo)
{
    this->MakeNarrower(60);
    this->Horizontal(SB_RIGHT);
    ASSERT_EQ(-58, this->Shift().x);
    this->Resize(this->m_width - 25, this->m_height + this->m_bar);
    EXPECT_EQ(-25, this->Shift().x);
    EXPECT_EQ(25, this->Bar(SB_HORZ).nPos);
}

TYPED_TEST(ScrollingTest, TheDesignHeightBringsTheContentHomeAndEndsScrolling)
{
    this->MakeLower(60);
    this->Vertical(SB_BOTTOM);
    this->Resize(this->m_width + this->m_bar, this->m_height);
    EXPECT_EQ(CPoint(0, 0), this->Shift());
    EXPECT_FALSE(this->HasBar(WS_VSCROLL));
    EXPECT_EQ(0, this->Bar(SB_VERT).nPos);
    this->Vertical(SB_LINEDOWN);
    EXPECT_EQ(CPoint(0, 0), this->Shift());
}

TYPED_TEST(ScrollingTest, TheDesignWidthDoesNotBringAHorizontallyScrolledContentHome)
{
    this->MakeNarrower(60);
    this->Horizontal(SB_LINERIGHT);
    this->Resize(this->m_width, this->m_height + this->m_bar);
    EXPECT_FALSE(this->HasBar(WS_HSCROLL));
    EXPECT_EQ(CPoint(-20, 0), this->Shift());
}

TYPED_TEST(ScrollingTest, TheDesignWidthMovesTheContentByTheVerticalPosition)
{
    this->Resize(this->m_width - 60, this->m_height - 60);
    this->Vertical(SB_THUMBTRACK, 15);
    ASSERT_EQ(CPoint(0, -15), this->Shift());
    this->Resize(this->m_width + this->m_bar, this->m_height - 60);
    EXPECT_EQ(CPoint(15, -15), this->Shift());
    EXPECT_FALSE(this->HasBar(WS_HSCROLL));
    EXPECT_EQ(15, this->Bar(SB_VERT).nPos);
}

TYPED_TEST(ScrollingTest, OnlyARestoredWindowCounts)
{
    for (const WPARAM type : {SIZE_MINIMIZED, SIZE_MAXIMIZED, SIZE_MAXSHOW, SIZE_MAXHIDE}) {
        SCOPED_TRACE(type);
        this->m_dialog.SendMessage(WM_SIZE, type, MAKELPARAM(10, 10));
        EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
    }
    this->m_dialog.SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(10, 10));
    EXPECT_TRUE(this->HasBar(WS_VSCROLL));
}

TYPED_TEST(ScrollingTest, ABarThatAppearsSendsWmSizeFromWithinWmSize)
{
    this->Resize(this->m_width + this->m_bar, this->m_height);
    this->m_dialog.m_sizes.clear();
    this->Resize(this->m_width + this->m_bar, this->m_height - 40);
    const std::vector<CSize> expected = {
        CSize(this->m_width + this->m_bar, this->m_height - 40),
        CSize(this->m_width, this->m_height - 40),
    };
    EXPECT_EQ(expected, this->m_dialog.m_sizes);
}

TYPED_TEST(ScrollingTest, ABarThatBringsTheOtherOneLeavesBothAtWork)
{
    this->Resize(this->m_width, this->m_height - 40);
    ASSERT_TRUE(this->HasBar(WS_VSCROLL));
    ASSERT_TRUE(this->HasBar(WS_HSCROLL));
    EXPECT_EQ(static_cast<UINT>(this->Client().cy), this->Bar(SB_VERT).nPage);
    EXPECT_EQ(static_cast<UINT>(this->Client().cx), this->Bar(SB_HORZ).nPage);
    this->Vertical(SB_BOTTOM);
    this->Horizontal(SB_RIGHT);
    EXPECT_EQ(CPoint(2 - this->m_bar, -40 - this->m_bar), this->Shift());
}

// Each bar makes the other one necessary here, and without it the other one is not.
TYPED_TEST(ScrollingTest, ExactlyTheDesignSizeWithABarStillThereComesToAnEnd)
{
    this->MakeNarrower(40);
    ASSERT_TRUE(this->HasBar(WS_HSCROLL));
    ASSERT_FALSE(this->HasBar(WS_VSCROLL));
    this->m_dialog.m_sizes.clear();
    this->Resize(this->m_width, this->m_height);
    EXPECT_LE(this->m_dialog.m_sizes.size(), 20u);
    this->Resize(this->m_width + 100, this->m_height + 100);
    EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
}

TYPED_TEST(ScrollingTest, EverySizeIsTaken)
{
    static constexpr struct
    {
        int width, height;
    } kSizes[] = {{0, 0}, {kLimit, kLimit}, {0, kLimit}, {kLimit, 0}, {1, 1}, {kLimit, 1}};
    for (const auto& size : kSizes) {
        SCOPED_TRACE(testing::Message() << size.width << " x " << size.height);
        this->Resize(size.width, size.height);
        for (UINT code = SB_LINEUP; code <= SB_ENDSCROLL; ++code) {
            this->Vertical(code, 0xFFFF);
            this->Horizontal(code, 0xFFFF);
        }
        PumpQueue();
    }
    this->Resize(kLimit, kLimit);
    EXPECT_FALSE(this->HasBar(WS_VSCROLL | WS_HSCROLL));
}

TYPED_TEST(ScrollingTest, RandomResizingAndScrollingKeepsContentAndPositionTogether)
{
    unsigned int state = 12345;
    const auto next = [&state](int below) {
        state = state * 1103515245u + 12345u;
        return static_cast<int>((state >> 16) % static_cast<unsigned int>(below));
    };
    for (int i = 0; i < 300; ++i) {
        SCOPED_TRACE(i);
        if (next(3) == 0) {
            this->Resize(this->m_width + this->m_bar, next(2 * this->m_height));
        } else {
            this->Vertical(static_cast<UINT>(next(9)), static_cast<UINT>(next(200)));
        }
        ASSERT_EQ(-this->Bar(SB_VERT).nPos, this->Shift().y);
        ASSERT_LE(this->Bar(SB_VERT).nPos, std::max(0, this->m_height - static_cast<int>(this->Client().cy)));
    }
}

TYPED_TEST(ScrollingTest, APositionOfTheHostsIsNoMatterHowLarge)
{
    this->MakeLower(40);
    ASSERT_EQ(0, this->m_dialog.SetScrollInfo(SB_VERT, 0, INT_MAX, 0));
    this->m_dialog.SetScrollPos(SB_VERT, INT_MAX);
    this->Vertical(SB_LINEDOWN);
    this->Vertical(SB_PAGEDOWN);
    this->Resize(this->m_width + this->m_bar, this->m_height - 41);
    EXPECT_EQ(41, this->Bar(SB_VERT).nPos);
}

TYPED_TEST(ScrollingTest, SetScrollInfoSetsRangeAndPageAndTellsThePosition)
{
    this->MakeLower(40);
    this->Vertical(SB_LINEDOWN);
    EXPECT_EQ(20, this->m_dialog.SetScrollInfo(SB_VERT, 5, 500, 30));
    EXPECT_EQ(5, this->Bar(SB_VERT).nMin);
    EXPECT_EQ(500, this->Bar(SB_VERT).nMax);
    EXPECT_EQ(30u, this->Bar(SB_VERT).nPage);
}

TYPED_TEST(ScrollingTest, ScrollWindowExMovesTheChildrenWhenTold)
{
    EXPECT_NE(ERROR, this->m_dialog.ScrollWindowEx(3, 4, SW_SCROLLCHILDREN | SW_INVALIDATE | SW_ERASE));
    EXPECT_EQ(CPoint(3, 4), this->Shift());
    this->m_dialog.ScrollWindowEx(3, 4, SW_INVALIDATE);
    EXPECT_EQ(CPoint(3, 4), this->Shift());
}

namespace {

// While it lives, what the library scrolls is noted, and is scrolled.
class CScrolls
{
public:
    struct Scroll
    {
        HWND window;
        CPoint by;
        bool whole; // no part of the window, and nothing is asked back
        UINT flags;
    };

    CScrolls() { List().clear(); }
    static std::vector<Scroll>& List()
    {
        static std::vector<Scroll> list;
        return list;
    }

private:
    static int WINAPI Note(HWND window, int dx, int dy, const RECT* part, const RECT* clip, HRGN region, LPRECT update,
                           UINT flags)
    {
        List().push_back({window, CPoint(dx, dy), !part && !clip && !region && !update, flags});
        return ::ScrollWindowEx(window, dx, dy, part, clip, region, update, flags);
    }
    CImportPatch m_patch{L"korvaneLib.dll", "ScrollWindowEx", &CScrolls::Note};
};

} // namespace

TYPED_TEST(ScrollingTest, EveryScrollMovesTheChildrenAndErasesWhatComesFree)
{
    const CScrolls scrolls;
    this->Resize(this->m_width - 60, this->m_height - 60);
    this->Horizontal(SB_THUMBTRACK, 12);
    this->Vertical(SB_BOTTOM);
    const int end = this->Bar(SB_VERT).nPos;
    // Higher by 20, so that the end is nearer; wider than designed; higher than designed.
    this->Resize(this->m_width - 60, this->m_height - 40);
    this->Resize(this->m_width + 100, this->m_height - 40);
    this->Resize(this->m_width + 100, this->m_height + 100);
    std::vector<CPoint> moves;
    for (const CScrolls::Scroll& scroll : CScrolls::List()) {
        SCOPED_TRACE(testing::Message() << scroll.by.x << ',' << scroll.by.y);
        EXPECT_EQ(this->m_dialog.m_hWnd, scroll.window);
        EXPECT_TRUE(scroll.whole);
        EXPECT_EQ(7u, scroll.flags);
        moves.push_back(scroll.by);
    }
    // The content goes home horizontally by the vertical position; without that bar the other end is nearer again.
    const std::vector<CPoint> expected = {CPoint(-12, 0),      CPoint(0, -end),        CPoint(0, 20),
                                          CPoint(end - 20, 0), CPoint(0, this->m_bar), CPoint(0, 40)};
    EXPECT_EQ(expected, moves);
}

TYPED_TEST(ScrollingTest, EveryChildIsScrolled)
{
    const CRect last = PlaceInParent(::GetDlgItem(this->m_dialog, IDC_SCROLL_LAST));
    this->MakeLower(60);
    this->Vertical(SB_LINEDOWN);
    EXPECT_EQ(last.top - 20, PlaceInParent(::GetDlgItem(this->m_dialog, IDC_SCROLL_LAST)).top);
    EXPECT_EQ(-20, this->Shift().y);
}

TYPED_TEST(ScrollingTest, FiveHundredOpeningsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([this] {
        CTested<TypeParam> dialog;
        dialog.Make();
        dialog.SetWindowPos(nullptr, 0, 0, this->m_width, this->m_height - 30, SWP_NOMOVE | SWP_NOZORDER);
        dialog.SendMessage(WM_VSCROLL, SB_LINEDOWN);
        dialog.DestroyWindow();
    });
}

TEST(ScrollDialogTest, IsCreatableByItsClass)
{
    const CRuntimeClass* dialog = RUNTIME_CLASS(CScrollDialog);
    EXPECT_STREQ("CScrollDialog", dialog->m_lpszClassName);
    EXPECT_EQ(static_cast<int>(sizeof(CScrollDialog)), dialog->m_nObjectSize);
    const std::unique_ptr<CObject> made(RUNTIME_CLASS(CScrollDialog)->CreateObject());
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CScrollDialog)));
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CDialog)));
}

TEST(ScrollDialogTest, ThePageIsCreatableByItsClass)
{
    EXPECT_STREQ("CScrollPropertyPage", RUNTIME_CLASS(CScrollPropertyPage)->m_lpszClassName);
    const std::unique_ptr<CObject> made(RUNTIME_CLASS(CScrollPropertyPage)->CreateObject());
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CScrollPropertyPage)));
    EXPECT_TRUE(made->IsKindOf(RUNTIME_CLASS(CPropertyPage)));
    EXPECT_FALSE(made->IsKindOf(RUNTIME_CLASS(CScrollDialog)));
}

TEST(ScrollDialogTest, ATemplateThatIsMissingOrDamagedGivesNoDialog)
{
    for (const UINT id : {IDD_SCROLL_ABSENT, IDD_SCROLL_DAMAGED, IDD_SCROLL_WITHOUT_CONTROLS, IDD_SCROLL_ENDLESS,
                          IDD_SCROLL_EMPTY, 0}) {
        SCOPED_TRACE(id);
        CScrollDialog modal(id, nullptr);
        EXPECT_EQ(-1, modal.DoModal());
        CScrollDialog modeless;
        EXPECT_FALSE(modeless.Create(id));
        EXPECT_EQ(nullptr, modeless.m_hWnd);
    }
}

namespace {

// Destroys its window and itself in the WM_SIZE that a bar sends.
class CVanishing : public CScrollDialog
{
public:
    explicit CVanishing(bool& gone) : m_gone(gone) {}
    ~CVanishing() override { m_gone = true; }
    void PostNcDestroy() override { delete this; }

    bool m_armed = false;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_SIZE && m_armed && ++m_count == 2) {
            DestroyWindow();
            return 0;
        }
        return CScrollDialog::WindowProc(message, wParam, lParam);
    }

private:
    bool& m_gone;
    int m_count = 0;
};

} // namespace

TEST(ScrollDialogTest, MayBeDestroyedWhileABarAppears)
{
    for (const bool vertical : {true, false}) {
        SCOPED_TRACE(vertical);
        bool gone = false;
        auto* dialog = new CVanishing(gone);
        ASSERT_TRUE(dialog->Create(IDD_SCROLL));
        CRect client;
        dialog->GetClientRect(&client);
        dialog->m_armed = true;
        const HWND window = dialog->m_hWnd;
        ::SetWindowPos(window, nullptr, 0, 0, client.Width() - (vertical ? 0 : 20),
                       client.Height() - (vertical ? 20 : 0), SWP_NOMOVE | SWP_NOZORDER);
        EXPECT_TRUE(gone);
        EXPECT_FALSE(::IsWindow(window));
        PumpQueue();
    }
}

namespace {

// A child whose move ends the dialog and its object.
class CFuse : public CWnd
{
public:
    std::function<void()> m_moved;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        const LRESULT result = CWnd::WindowProc(message, wParam, lParam);
        if (message == WM_MOVE && m_moved) std::exchange(m_moved, nullptr)();
        return result;
    }
};

} // namespace

TEST(ScrollDialogTest, MayBeDestroyedWhileItsChildrenMove)
{
    const std::function<void(CScrollDialog&)> ways[] = {
        [](CScrollDialog& dialog) { dialog.SendMessage(WM_VSCROLL, SB_LINEDOWN); },
        [](CScrollDialog& dialog) { dialog.SendMessage(WM_HSCROLL, SB_LINERIGHT); },
        [](CScrollDialog& dialog) { dialog.SetWindowPos(nullptr, 0, 0, 800, 800, SWP_NOMOVE | SWP_NOZORDER); },
        [](CScrollDialog& dialog) { dialog.SetWindowPos(nullptr, 0, 0, 800, 90, SWP_NOMOVE | SWP_NOZORDER); },
        [](CScrollDialog& dialog) { dialog.SetWindowPos(nullptr, 0, 0, 120, 800, SWP_NOMOVE | SWP_NOZORDER); },
    };
    for (size_t i = 0; i < std::size(ways); ++i) {
        SCOPED_TRACE(i);
        bool gone = false;
        auto* dialog = new CVanishing(gone);
        ASSERT_TRUE(dialog->Create(IDD_SCROLL));
        CFuse fuse;
        ASSERT_TRUE(fuse.SubclassDlgItem(IDC_SCROLL_FIRST, dialog));
        dialog->SetWindowPos(nullptr, 0, 0, 100, 80, SWP_NOMOVE | SWP_NOZORDER | SWP_SHOWWINDOW);
        dialog->SendMessage(WM_VSCROLL, SB_BOTTOM);
        dialog->SendMessage(WM_HSCROLL, SB_RIGHT);
        dialog->SendMessage(WM_VSCROLL, SB_LINEUP);
        dialog->SendMessage(WM_HSCROLL, SB_LINELEFT);
        fuse.m_moved = [&] { dialog->DestroyWindow(); };
        ways[i](*dialog);
        EXPECT_TRUE(gone);
        if (!gone) dialog->DestroyWindow();
        PumpQueue();
    }
}

namespace {

class CModal : public CScrollDialog
{
public:
    CModal() : CScrollDialog(IDD_SCROLL) {}

protected:
    BOOL OnInitDialog() override
    {
        CScrollDialog::OnInitDialog();
        PostMessage(WM_COMMAND, IDOK);
        return TRUE;
    }
};

} // namespace

TEST(ScrollDialogTest, FiveHundredModalOnesLeaveNothingBehind)
{
    ExpectNothingLeftBehind([] {
        CModal dialog;
        EXPECT_EQ(IDOK, dialog.DoModal());
    });
}

TEST(ScrollDialogTest, FiveHundredSheetsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([] {
        CScrollPropertyPage page(IDD_SCROLL, nullptr);
        CPropertySheet sheet(L"sheet");
        sheet.AddPage(&page);
        EXPECT_TRUE(sheet.Create()) << ::GetLastError();
        sheet.DestroyWindow();
    });
}

TEST(ScrollDialogTest, IsShownInEachState)
{
    CScrollDialog dialog;
    ASSERT_TRUE(dialog.Create(IDD_SCROLL));
    CRect client;
    dialog.GetClientRect(&client);
    const int bar = ::GetSystemMetrics(SM_CXVSCROLL);
    const struct
    {
        const wchar_t* name;
        int cx, cy;
        UINT vertical, horizontal;
    } kCases[] = {
        {L"scrolldialog-as-designed", client.right, client.bottom, SB_ENDSCROLL, SB_ENDSCROLL},
        {L"scrolldialog-lower", client.right + bar, client.bottom - 60, SB_ENDSCROLL, SB_ENDSCROLL},
        {L"scrolldialog-lower-a-line-down", client.right + bar, client.bottom - 60, SB_LINEDOWN, SB_ENDSCROLL},
        {L"scrolldialog-narrower-at-its-end", client.right - 80, client.bottom + bar, SB_ENDSCROLL, SB_RIGHT},
        {L"scrolldialog-both-at-their-ends", client.right - 80, client.bottom - 60, SB_BOTTOM, SB_RIGHT},
        {L"scrolldialog-wide-again", client.right + bar, client.bottom + bar, SB_ENDSCROLL, SB_ENDSCROLL},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.name);
        dialog.SetWindowPos(nullptr, 0, 0, c.cx, c.cy, SWP_NOZORDER | SWP_SHOWWINDOW);
        dialog.SendMessage(WM_VSCROLL, c.vertical);
        dialog.SendMessage(WM_HSCROLL, c.horizontal);
        dialog.RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_FRAME);
        PumpQueue();
        EXPECT_TRUE(CPixels(nullptr).Save(c.name));
    }
    dialog.DestroyWindow();
    PumpQueue();
}

namespace {

class CNotedPage : public CScrollPropertyPage
{
public:
    CNotedPage() : CScrollPropertyPage(IDD_SCROLL, nullptr) {}
    bool m_initialised = false;

protected:
    BOOL OnInitDialog() override
    {
        m_initialised = CScrollPropertyPage::OnInitDialog() != FALSE;
        return TRUE;
    }
};

} // namespace

TEST(ScrollDialogTest, ThePageScrollsInASheet)
{
    CNotedPage page;
    CPropertySheet sheet(L"sheet");
    sheet.AddPage(&page);
    ASSERT_TRUE(sheet.Create());
    sheet.ShowWindow(SW_SHOWNA);
    PumpQueue();
    ASSERT_TRUE(page.m_initialised);
    const CRect home = PlaceInParent(::GetDlgItem(page, IDC_SCROLL_FIRST));
    page.SetWindowPos(nullptr, 0, 0, 600, 40, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_TRUE(page.GetStyle() & WS_VSCROLL);
    page.SendMessage(WM_VSCROLL, SB_LINEDOWN);
    sheet.SetWindowPos(nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
    page.SetWindowPos(nullptr, 0, 0, 150, 60, SWP_NOMOVE | SWP_NOZORDER);
    sheet.RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_UPDATENOW | RDW_ALLCHILDREN);
    EXPECT_TRUE(CPixels(nullptr).Save(L"scrollpropertypage"));
    page.SetWindowPos(nullptr, 0, 0, 600, 40, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_EQ(home.top - 20, PlaceInParent(::GetDlgItem(page, IDC_SCROLL_FIRST)).top);
    page.SetWindowPos(nullptr, 0, 0, 600, 600, SWP_NOMOVE | SWP_NOZORDER);
    EXPECT_FALSE(page.GetStyle() & WS_VSCROLL);
    EXPECT_EQ(home.top, PlaceInParent(::GetDlgItem(page, IDC_SCROLL_FIRST)).top);
    sheet.DestroyWindow();
    PumpQueue();
}
