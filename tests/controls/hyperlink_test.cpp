// CHyperLink on a dialog: its looks under the pointer, its size, and what a click starts.
#include "controls/hyperlink.h"

#include "controls_fixture.h"
#include "leak_support.h"
#include "start_support.h"
#include "support/handle_count.h"
#include "support/start_recorder.h"

#include <memory>

namespace {

constexpr COLORREF kLink = RGB(0, 0, 238), kVisited = RGB(85, 26, 139), kHover = RGB(255, 0, 0);
constexpr wchar_t kOutOfMemory[] = L"Unable to open hyperlink:\n\nThe operating system is out\nof memory or resources.";

// A key of the test's own.
class COwnKey
{
public:
    COwnKey() : m_name(L"Software\\korvane-link-" + std::to_wstring(::GetCurrentProcessId()))
    {
        ::RegCreateKeyExW(HKEY_CURRENT_USER, m_name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hKey, nullptr);
    }
    ~COwnKey()
    {
        ::RegCloseKey(m_hKey);
        ::RegDeleteKeyW(HKEY_CURRENT_USER, m_name.c_str());
    }
    COwnKey(const COwnKey&) = delete;
    COwnKey& operator=(const COwnKey&) = delete;

    const wchar_t* Name() const { return m_name.c_str(); }
    void SetDefault(DWORD type, const void* data, size_t size)
    {
        ::RegSetValueExW(m_hKey, nullptr, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    }

private:
    const std::wstring m_name;
    HKEY m_hKey = nullptr;
};

// Starts nothing unless told to.
class CTestLink : public CHyperLink
{
public:
    using CHyperLink::GetRegKey;
    using CHyperLink::PositionWindow;
    using CHyperLink::ReportError;

    bool GotoURL(const TCHAR* url) override
    {
        if (m_bReal) return CHyperLink::GotoURL(url);
        m_started.emplace_back(url);
        const bool bStarts = m_bStarts;
        // It may delete this object.
        const auto during = m_during;
        if (during) during();
        return bStarts;
    }

    bool m_bReal = false;
    bool m_bStarts = true;
    std::vector<std::wstring> m_started;
    std::function<void()> m_during;
};

class HyperLinkTest : public CControlsFixture
{
protected:
    void Subclass(int nID = IDC_LINK)
    {
        ASSERT_TRUE(m_link.SubclassDlgItem(nID, &m_dialog));
        m_link.Invalidate();
    }
    bool IsUnderlined(HWND window) const
    {
        LOGFONTW font = {};
        const auto hFont = reinterpret_cast<HGDIOBJ>(::SendMessageW(window, WM_GETFONT, 0, 0));
        ::GetObjectW(hFont, sizeof(font), &font);
        return font.lfUnderline != 0;
    }
    // What the link's text would need, in its own font.
    CSize Extent(const std::wstring& text) const
    {
        const HDC dc = ::GetDC(m_link);
        const HGDIOBJ old = ::SelectObject(dc, reinterpret_cast<HGDIOBJ>(::SendMessageW(m_link, WM_GETFONT, 0, 0)));
        SIZE extent;
        ::GetTextExtentPoint32W(dc, text.c_str(), static_cast<int>(text.size()), &extent);
        ::SelectObject(dc, old);
        ::ReleaseDC(m_link, dc);
        return extent;
    }
    // How many of the link's pixels have the colour.
    int Count(COLORREF colour) const
    {
        ::UpdateWindow(m_link);
        const CPixels pixels(m_link);
        return pixels.Count(colour, pixels.All());
    }

    CTestLink m_link;
};

} // namespace

TEST_F(HyperLinkTest, BeginsAsDescribed)
{
    EXPECT_EQ(kLink, m_link.GetLinkColour());
    EXPECT_EQ(kVisited, m_link.GetVisitedColour());
    EXPECT_EQ(kHover, m_link.GetHoverColour());
    EXPECT_FALSE(m_link.GetVisited());
    EXPECT_EQ(-1, m_link.GetUnderline());
    EXPECT_TRUE(m_link.GetAutoSize());
    EXPECT_EQ(L"", m_link.GetURL());
    EXPECT_EQ(nullptr, m_link.GetLinkCursor());
    EXPECT_EQ(0, HYPERLINK_WEB);
    EXPECT_EQ(1, HYPERLINK_MAIL);
}

TEST_F(HyperLinkTest, TheTextIsTheUrlWhenThereIsNone)
{
    Subclass();
    EXPECT_EQ(L"Link", m_link.GetURL());
    EXPECT_EQ(L"Link", TextOf(IDC_LINK));
}

TEST_F(HyperLinkTest, TheUrlIsTheTextWhenThereIsNone)
{
    m_link.SetURL(L"http://www.example.com");
    Subclass(IDC_LINK_EMPTY);
    EXPECT_EQ(L"http://www.example.com", TextOf(IDC_LINK_EMPTY));
}

TEST_F(HyperLinkTest, AUrlAndATextBothStay)
{
    m_link.SetURL(L"http://www.example.com");
    Subclass();
    EXPECT_EQ(L"http://www.example.com", m_link.GetURL());
    EXPECT_EQ(L"Link", TextOf(IDC_LINK));
}

TEST_F(HyperLinkTest, NeitherUrlNorTextIsALinkToNothing)
{
    Subclass(IDC_LINK_EMPTY);
    EXPECT_EQ(L"", m_link.GetURL());
    EXPECT_EQ(0, PlaceInParent(m_link).Width());
}

TEST_F(HyperLinkTest, TheControlTellsOfClicks)
{
    EXPECT_FALSE(::GetWindowLongW(Item(IDC_LINK), GWL_STYLE) & SS_NOTIFY);
    Subclass();
    EXPECT_TRUE(m_link.GetStyle() & SS_NOTIFY);
}

TEST_F(HyperLinkTest, TheWindowFitsItsTextByItsAlignment)
{
    static constexpr struct
    {
        int nID;
        const wchar_t* text;
    } kCases[] = {
        {IDC_LINK, L"Link"},          {IDC_LINK_CENTRED, L"Centred"}, {IDC_LINK_RIGHT, L"Right"},
        {IDC_LINK_MIDDLE, L"Middle"}, {IDC_LINK_FRAMED, L"Framed"},
    };
    for (const auto& c : kCases) {
        const CRect before = PlaceInParent(Item(c.nID));
        CRect client;
        ::GetClientRect(Item(c.nID), client);
        EXPECT_EQ(c.nID == IDC_LINK_FRAMED, before.Size() != client.Size());
        CTestLink link;
        ASSERT_TRUE(link.SubclassDlgItem(c.nID, &m_dialog));
        const CRect after = PlaceInParent(link);
        const HWND keep = m_link.m_hWnd;
        m_link.m_hWnd = link;
        CSize fit = Extent(c.text);
        m_link.m_hWnd = keep;
        fit.cx += before.Width() - client.Width();
        fit.cy += before.Height() - client.Height();

        CRect expected(before);
        expected.right = expected.left + fit.cx;
        expected.bottom = expected.top + fit.cy;
        if (c.nID == IDC_LINK_CENTRED) {
            expected.left = before.left + (before.Width() - fit.cx) / 2;
            expected.right = before.right - (before.Width() - fit.cx) / 2;
        } else if (c.nID == IDC_LINK_RIGHT) {
            expected.right = before.right;
            expected.left = before.right - fit.cx;
        } else if (c.nID == IDC_LINK_MIDDLE) {
            expected.top = before.top + (before.Height() - fit.cy) / 2;
            expected.bottom = before.bottom - (before.Height() - fit.cy) / 2;
        }
        EXPECT_TRUE(expected == after) << c.nID << ": " << after.left << ',' << after.top << ',' << after.right << ','
                                       << after.bottom << " for " << expected.left << ',' << expected.top << ','
                                       << expected.right << ',' << expected.bottom;
    }
}

TEST_F(HyperLinkTest, WithAutoSizeOffTheControlKeepsItsSize)
{
    const CRect before = PlaceInParent(Item(IDC_LINK));
    m_link.SetAutoSize(FALSE);
    Subclass();
    m_link.SetURL(L"http://www.example.com/a/much/longer/address");
    EXPECT_TRUE(before == PlaceInParent(m_link));
    m_link.SetAutoSize(TRUE);
    EXPECT_EQ(Extent(L"http://www.example.com/a/much/longer/address").cx, PlaceInParent(m_link).Width());
}

TEST_F(HyperLinkTest, SetUrlFitsTheTextBefore)
{
    Subclass();
    m_link.SetURL(L"http://www.example.com");
    EXPECT_EQ(L"http://www.example.com", TextOf(IDC_LINK));
    EXPECT_EQ(Extent(L"Link").cx, PlaceInParent(m_link).Width());
    m_link.SetURL(L"x");
    EXPECT_EQ(Extent(L"http://www.example.com").cx, PlaceInParent(m_link).Width());
}

TEST_F(HyperLinkTest, ALongTextIsALongWindow)
{
    const std::wstring text(5000, L'w');
    m_link.SetURL(text.c_str());
    Subclass(IDC_LINK_EMPTY);
    EXPECT_EQ(text, TextOf(IDC_LINK_EMPTY));
    EXPECT_GT(PlaceInParent(m_link).Width(), 5000);
}

TEST_F(HyperLinkTest, SubclassingSetsTheUnderlineModeBack)
{
    m_link.SetUnderline(1);
    EXPECT_EQ(1, m_link.GetUnderline());
    Subclass();
    EXPECT_EQ(-1, m_link.GetUnderline());
    EXPECT_FALSE(IsUnderlined(m_link));
}

TEST_F(HyperLinkTest, TheControlKeepsItsOwnFontUntilItIsHovered)
{
    const LRESULT font = ::SendMessageW(Item(IDC_LINK), WM_GETFONT, 0, 0);
    Subclass();
    EXPECT_EQ(font, m_link.SendMessage(WM_GETFONT));
    m_link.SetUnderline(-1);
    EXPECT_EQ(font, m_link.SendMessage(WM_GETFONT));
}

TEST_F(HyperLinkTest, TheUnderlineFollowsItsMode)
{
    static constexpr struct
    {
        int mode;
        bool away, hovered;
    } kCases[] = {{1, true, true}, {-1, false, true}, {0, false, false}, {7, false, false}};
    Subclass();
    for (const auto& c : kCases) {
        m_link.SetUnderline(c.mode);
        EXPECT_EQ(c.mode, m_link.GetUnderline());
        EXPECT_EQ(c.away, IsUnderlined(m_link)) << c.mode;
        MovePointer(m_link, 2, 2);
        EXPECT_EQ(c.hovered, IsUnderlined(m_link)) << c.mode;
        EXPECT_GT(Count(kHover), 0) << c.mode;
        ParkPointer();
        EXPECT_TRUE(WaitFor([&] { return Count(kHover) == 0; })) << c.mode;
        EXPECT_EQ(c.away, IsUnderlined(m_link)) << c.mode;
    }
}

TEST_F(HyperLinkTest, TheUnderlineIsALineOfTheLinksColour)
{
    Subclass();
    Pump();
    const int nPlain = Count(kLink);
    m_link.SetUnderline(1);
    EXPECT_GE(Count(kLink) - nPlain, PlaceInParent(m_link).Width() / 2);
    TakePicture(L"hyperlink-underlined");
}

TEST_F(HyperLinkTest, ColoursTellTheState)
{
    Subclass();
    Pump();
    EXPECT_GT(Count(kLink), 0);
    EXPECT_GT(Count(RGB(255, 255, 255)), 0); // the background
    EXPECT_EQ(0, Count(kVisited) + Count(kHover));
    TakePicture(L"hyperlink-link");
    m_link.SetVisited(TRUE);
    EXPECT_TRUE(m_link.GetVisited());
    EXPECT_GT(Count(kVisited), 0);
    EXPECT_EQ(0, Count(kLink));
    TakePicture(L"hyperlink-visited");
    MovePointer(m_link, 2, 2);
    EXPECT_GT(Count(kHover), 0);
    TakePicture(L"hyperlink-hovered");
    EXPECT_EQ(0, Count(kVisited));
    m_link.SetVisited(FALSE);
    EXPECT_FALSE(m_link.GetVisited());
    ParkPointer();
    EXPECT_TRUE(WaitFor([&] { return Count(kLink) > 0; }));
}

TEST_F(HyperLinkTest, ColoursCanBeSet)
{
    Subclass();
    m_link.SetColours(RGB(1, 2, 3), RGB(4, 5, 6), RGB(7, 8, 9));
    EXPECT_EQ(RGB(1, 2, 3), m_link.GetLinkColour());
    EXPECT_EQ(RGB(4, 5, 6), m_link.GetVisitedColour());
    EXPECT_EQ(RGB(7, 8, 9), m_link.GetHoverColour());
    EXPECT_GT(Count(RGB(1, 2, 3)), 0);
    m_link.SetColours(0, 0, 0xFFFFFFFF);
    EXPECT_EQ(::GetSysColor(COLOR_HIGHLIGHT), m_link.GetHoverColour());
}

TEST_F(HyperLinkTest, TheParentIsAnsweredWithColoursAndAWhiteBrush)
{
    Subclass();
    m_link.SetBgColour(RGB(10, 20, 30));
    const HDC dc = ::CreateCompatibleDC(nullptr);
    EXPECT_EQ(reinterpret_cast<LRESULT>(::GetStockObject(WHITE_BRUSH)),
              ::SendMessageW(m_dialog, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc),
                             reinterpret_cast<LPARAM>(m_link.m_hWnd)));
    EXPECT_EQ(kLink, ::GetTextColor(dc));
    EXPECT_EQ(RGB(10, 20, 30), ::GetBkColor(dc));
    EXPECT_EQ(TRANSPARENT, ::GetBkMode(dc));
    EXPECT_EQ(::GetStockObject(NULL_BRUSH), ::GetCurrentObject(dc, OBJ_BRUSH));
    ::DeleteDC(dc);
}

TEST_F(HyperLinkTest, ErasingFillsWithTheFaceOfButtons)
{
    Subclass();
    const HDC screen = ::GetDC(m_link);
    const HDC dc = ::CreateCompatibleDC(screen);
    const HBITMAP bitmap = ::CreateCompatibleBitmap(screen, 20, 20);
    const HGDIOBJ old = ::SelectObject(dc, bitmap);
    ::PatBlt(dc, 0, 0, 20, 20, BLACKNESS);
    EXPECT_EQ(TRUE, m_link.SendMessage(WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc)));
    EXPECT_EQ(::GetSysColor(COLOR_BTNFACE), ::GetPixel(dc, 0, 0));
    EXPECT_EQ(::GetSysColor(COLOR_BTNFACE), ::GetPixel(dc, 5, 5));
    ::SelectObject(dc, old);
    ::DeleteObject(bitmap);
    ::DeleteDC(dc);
    ::ReleaseDC(m_link, screen);
}

TEST_F(HyperLinkTest, TheHandComesFromTheLibrary)
{
    Subclass();
    const HCURSOR hand = ::LoadCursorW(::GetModuleHandleW(L"korvaneLib.dll"), MAKEINTRESOURCEW(32649));
    ASSERT_NE(nullptr, hand);
    EXPECT_EQ(hand, m_link.GetLinkCursor());
    MovePointer(m_link, 2, 2);
    EXPECT_EQ(hand, ::GetCursor());
    ParkPointer();
    EXPECT_NE(hand, ::GetCursor());
}

TEST_F(HyperLinkTest, TheCursorCanBeSet)
{
    const HCURSOR cross = ::LoadCursorW(nullptr, IDC_CROSS);
    m_link.SetLinkCursor(cross);
    Subclass();
    EXPECT_EQ(cross, m_link.GetLinkCursor());
    ::SetCursor(nullptr);
    EXPECT_EQ(TRUE, m_link.SendMessage(WM_SETCURSOR, reinterpret_cast<WPARAM>(m_link.m_hWnd),
                                       MAKELPARAM(HTCLIENT, WM_MOUSEMOVE)));
    EXPECT_EQ(cross, ::GetCursor());
    m_link.SetLinkCursor(nullptr);
    EXPECT_NE(nullptr, m_link.GetLinkCursor());
    EXPECT_NE(cross, m_link.GetLinkCursor());
}

TEST_F(HyperLinkTest, AClickVisitsTheUrl)
{
    m_link.SetURL(L"http://www.example.com");
    Subclass();
    Click(m_link);
    EXPECT_EQ(std::vector<std::wstring>(1, L"http://www.example.com"), m_link.m_started);
    EXPECT_TRUE(m_link.GetVisited());
    // No longer hovered, until the pointer moves.
    EXPECT_GT(Count(kVisited), 0);
    EXPECT_EQ(0, Count(kHover));
}

TEST_F(HyperLinkTest, AFailedStartIsReportedAsCode0AndTakesVisitedBack)
{
    Subclass();
    m_link.SetVisited();
    m_link.m_bStarts = false;
    const CBeeps beeps;
    const CMessageBoxes boxes;
    Click(m_link);
    EXPECT_FALSE(m_link.GetVisited());
    EXPECT_EQ(kOutOfMemory, boxes.Texts());
    EXPECT_EQ(std::vector<UINT>(1, MB_ICONEXCLAMATION), CBeeps::Types());
}

TEST_F(HyperLinkTest, TheReportHasNoCaptionAndTheInformationIcon)
{
    Subclass();
    const CMessageBoxes boxes;
    m_link.ReportError(2);
    ASSERT_EQ(1u, boxes.Met().size());
    EXPECT_EQ(L"", boxes.Met()[0].caption);
    EXPECT_EQ(::LoadIconW(nullptr, IDI_INFORMATION), boxes.Met()[0].icon);
    EXPECT_EQ(m_dialog.m_hWnd, boxes.Met()[0].owner); // the control's top window
}

TEST_F(HyperLinkTest, EachCodeHasItsText)
{
    static constexpr struct
    {
        int nCode;
        const wchar_t* text;
    } kCases[] = {
        {0, L"The operating system is out\nof memory or resources."},
        {2, L"The specified file was not found."},
        {3, L"The specified path was not found."},
        {5, L"The operating system denied\naccess to the specified file."},
        {8, L"There was not enough memory to complete the operation."},
        {11, L"The .EXE file is invalid\n(non-Win32 .EXE or error in .EXE image)."},
        {26, L"Unknown Error (26) occurred."},
        {27, L"The filename association is\nincomplete or invalid."},
        {28, L"The DDE transaction could not\nbe completed because the request timed out."},
        {29, L"The DDE transaction failed."},
        {30, L"The DDE transaction could not\nbe completed because other DDE transactions\nwere being processed."},
        {31, L"There is no application associated\nwith the given filename extension."},
        {32, L"The specified dynamic-link library was not found."},
        {1, L"Unknown Error (1) occurred."},
        {-7, L"Unknown Error (-7) occurred."},
        {33, L"Unknown Error (33) occurred."},
    };
    Subclass();
    for (const auto& c : kCases) {
        const CMessageBoxes boxes;
        m_link.ReportError(c.nCode);
        EXPECT_EQ(std::wstring(L"Unable to open hyperlink:\n\n") + c.text, boxes.Texts());
    }
}

TEST_F(HyperLinkTest, TheBrowserGetsTheUrlAsItsCommandLine)
{
    static constexpr struct
    {
        int nType;
        const wchar_t *url, *arguments;
    } kCases[] = {
        {HYPERLINK_WEB, L"http://www.example.com/?a=1&b=\"2\"", L"http://www.example.com/?a=1&b=\"2\""},
        {HYPERLINK_MAIL, L"somebody@example.com", L"mailto:somebody@example.com"},
        {2, L"www.example.com", L"www.example.com"},
    };
    const CProgramInTheWay browser(L"iexplore.exe");
    Subclass();
    m_link.m_bReal = true;
    for (const auto& c : kCases) {
        m_link.SetType(static_cast<HYPERLINK_TYPE>(c.nType));
        m_link.SetURL(c.url);
        m_link.SetVisited(FALSE);
        Click(m_link);
        EXPECT_EQ(browser.CommandLine(c.arguments), browser.WaitForStart());
        EXPECT_TRUE(m_link.GetVisited());
    }
    EXPECT_TRUE(m_link.GotoURL(nullptr));
    EXPECT_EQ(browser.CommandLine(L""), browser.WaitForStart());
}

TEST_F(HyperLinkTest, TheBrowserIsStartedWithDefaultsAndOnlyAnAnswerOf1IsAStart)
{
    static constexpr struct
    {
        BOOL result;
        bool started;
    } kCases[] = {{1, true}, {0, false}, {2, false}};
    const CNotedStarts starts;
    CHyperLink link;
    for (const auto& c : kCases) {
        CNotedStarts::SetResult(c.result);
        EXPECT_EQ(c.started, link.GotoURL(L"http://www.example.com")) << c.result;
    }
    ASSERT_EQ(3u, CNotedStarts::List().size());
    for (const CNotedStarts::Start& start : CNotedStarts::List()) {
        EXPECT_EQ(L"iexplore.exe", start.program);
        EXPECT_EQ(L"http://www.example.com", start.commandLine);
        EXPECT_TRUE(start.onlyDefaults);
    }
}

TEST_F(HyperLinkTest, ABrowserThatCannotBeStartedIsReported)
{
    const CProgramInTheWay browser(L"iexplore.exe", CProgramInTheWay::NO_PROGRAM);
    Subclass();
    m_link.m_bReal = true;
    const CBeeps beeps;
    const CMessageBoxes boxes;
    Click(m_link);
    EXPECT_EQ(kOutOfMemory, boxes.Texts());
    EXPECT_FALSE(m_link.GetVisited());
}

TEST_F(HyperLinkTest, StartsLeaveNoHandlesBehind)
{
    const CProgramInTheWay browser(L"iexplore.exe");
    CHyperLink link;
    const auto round = [&] {
        ASSERT_TRUE(link.GotoURL(L"x"));
        ASSERT_NE(L"", browser.WaitForStart());
    };
    round();
    const int nBefore = CountHandles();
    ASSERT_GT(nBefore, 0);
    for (int i = 0; i < 5; ++i) round();
    EXPECT_EQ(nBefore, CountHandles());
}

TEST_F(HyperLinkTest, TheTimerHasNumber100AndTicksEach100Milliseconds)
{
    Subclass();
    const CTimers timers;
    MovePointer(m_link, 2, 2);
    MovePointer(m_link, 3, 2); // it runs already
    ASSERT_EQ(1u, CTimers::List().size());
    EXPECT_EQ(m_link.m_hWnd, CTimers::List()[0].window);
    EXPECT_EQ(100u, CTimers::List()[0].nID);
    EXPECT_EQ(100u, CTimers::List()[0].nPeriod);
    EXPECT_EQ(nullptr, CTimers::List()[0].pfnCall);
}

TEST_F(HyperLinkTest, TheTimerRunsOnlyWhileHovered)
{
    Subclass();
    EXPECT_FALSE(m_link.KillTimer(100));
    MovePointer(m_link, 2, 2);
    EXPECT_TRUE(m_link.KillTimer(100));
    // Without it nobody sees the pointer leave; a tick is what ends it.
    ParkPointer();
    EXPECT_GT(Count(kHover), 0);
    m_link.SendMessage(WM_TIMER, 100);
    EXPECT_EQ(0, Count(kHover));
}

namespace {

// While it lives, what the library wants repainted is noted, and is repainted.
class CRepaints
{
public:
    CRepaints() { List().clear(); }
    static std::vector<std::pair<HWND, CRect>>& List()
    {
        static std::vector<std::pair<HWND, CRect>> list;
        return list;
    }

private:
    static BOOL WINAPI Note(HWND window, const RECT* rect, BOOL erase)
    {
        List().emplace_back(window, rect ? CRect(*rect) : CRect(0, 0, 0, 0));
        return ::InvalidateRect(window, rect, erase);
    }
    CImportPatch m_patch{L"korvaneLib.dll", "InvalidateRect", &CRepaints::Note};
};

} // namespace

// The ten pixels below are asked for, but a window's own edge cuts off what is repainted of it: the dialog keeps what
// it has there.
TEST_F(HyperLinkTest, TheEndOfHoveringRepaintsTenPixelsMoreOfTheLinkAndNothingOfTheDialog)
{
    constexpr COLORREF kMark = RGB(12, 200, 34);
    Subclass();
    MovePointer(m_link, 2, 2);
    ParkPointer();
    m_link.KillTimer(100);
    ::UpdateWindow(m_link);
    CRect below = PlaceInParent(m_link);
    below.top = below.bottom;
    below.bottom += 10;
    {
        CClientDC dc(&m_dialog);
        dc.FillSolidRect(below, kMark);
    }
    CRect client;
    m_link.GetClientRect(client);
    const CRepaints repaints;
    m_link.SendMessage(WM_TIMER, 100);
    CRect enlarged(client);
    enlarged.bottom += 10;
    ASSERT_EQ(1u, CRepaints::List().size());
    EXPECT_EQ(m_link.m_hWnd, CRepaints::List()[0].first);
    EXPECT_TRUE(enlarged == CRepaints::List()[0].second);

    CRect update;
    EXPECT_TRUE(::GetUpdateRect(m_link, update, FALSE));
    EXPECT_TRUE(client == update);
    EXPECT_FALSE(::GetUpdateRect(m_dialog, update, FALSE));
    EXPECT_EQ(0, Count(kHover));
    Pump();
    const CPixels dialog(m_dialog);
    EXPECT_EQ(below.Width() * 10, dialog.Count(kMark, below));
}

TEST_F(HyperLinkTest, HoveringHasItsMessages)
{
    static constexpr struct
    {
        int mode;
        const char *over, *away;
    } kCases[] = {
        {-1, "move SETFONT", "timer SETFONT"},
        {0, "move", "timer SETFONT"},
        {1, "move", "timer"},
    };
    CNoting<CHyperLink> link;
    ASSERT_TRUE(link.SubclassDlgItem(IDC_LINK, &m_dialog));
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.mode);
        link.SetUnderline(c.mode);
        link.Watch({{WM_MOUSEMOVE, "move"}, {WM_TIMER, "timer"}, {WM_SETFONT, "SETFONT"}});
        link.Noted();
        link.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
        EXPECT_EQ(c.over, link.Noted());
        link.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(3, 2)); // is over already
        EXPECT_EQ("move", link.Noted());
        EXPECT_TRUE(link.KillTimer(100));
        link.SendMessage(WM_TIMER, 100);
        EXPECT_EQ(c.away, link.Noted());
    }
}

namespace {

// Does what a host may do when its colours are asked for: ends its window, and itself.
class CVanishingLink : public CHyperLink
{
public:
    std::function<void()> m_vanish;

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        const LRESULT result = CHyperLink::WindowProc(message, wParam, lParam);
        if (message == WM_SETFONT && m_vanish) std::exchange(m_vanish, nullptr)();
        return result;
    }
};

} // namespace

TEST_F(HyperLinkTest, MayEndWithinItsOwnTimerAndMouse)
{
    for (const bool timer : {false, true}) {
        for (const bool deleted : {false, true}) {
            SCOPED_TRACE(testing::Message() << timer << deleted);
            CControlsDialog dialog;
            ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
            auto link = std::make_unique<CVanishingLink>();
            ASSERT_TRUE(link->SubclassDlgItem(IDC_LINK, &dialog));
            const HWND window = link->m_hWnd;
            if (timer) ::SendMessageW(window, WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
            link->m_vanish = [&] { deleted ? link.reset() : static_cast<void>(link->DestroyWindow()); };
            ::ValidateRect(m_dialog, nullptr);
            const CRepaints repaints;
            ::SendMessageW(window, timer ? WM_TIMER : WM_MOUSEMOVE, 100, 0);
            EXPECT_FALSE(::IsWindow(window));
            EXPECT_TRUE(CRepaints::List().empty()); // without a window it would be every window's
            dialog.DestroyWindow();
            Pump();
        }
    }
}

TEST_F(HyperLinkTest, AControlWithoutAFontGetsTheSystems)
{
    const HWND window = ::CreateWindowExW(0, L"STATIC", L"No font", WS_CHILD | WS_VISIBLE, 0, 0, 50, 20, m_dialog,
                                          nullptr, nullptr, nullptr);
    ASSERT_EQ(0, ::SendMessageW(window, WM_GETFONT, 0, 0));
    ASSERT_TRUE(m_link.SubclassWindow(window));
    LOGFONTW system = {}, used = {};
    ::GetObjectW(::GetStockObject(SYSTEM_FONT), sizeof(system), &system);
    m_link.SetUnderline(1);
    ::GetObjectW(reinterpret_cast<HGDIOBJ>(m_link.SendMessage(WM_GETFONT)), sizeof(used), &used);
    EXPECT_STREQ(system.lfFaceName, used.lfFaceName);
    EXPECT_EQ(system.lfHeight, used.lfHeight);
    EXPECT_EQ(system.lfWeight, used.lfWeight);
    EXPECT_TRUE(used.lfUnderline);
}

// Its text comes after it has been looked at.
TEST_F(HyperLinkTest, MayBeCreatedInsteadOfSubclassed)
{
    ASSERT_TRUE(m_link.Create(L"Created", WS_CHILD | WS_VISIBLE, CRect(5, 5, 100, 25), &m_dialog, 78));
    EXPECT_TRUE(m_link.GetStyle() & SS_NOTIFY);
    m_link.SetURL(L"http://www.example.com");
    m_link.SetAutoSize();
    EXPECT_EQ(Extent(L"http://www.example.com").cx, PlaceInParent(m_link).Width());
    m_link.BringWindowToTop();
    Click(m_link);
    EXPECT_EQ(std::vector<std::wstring>(1, L"http://www.example.com"), m_link.m_started);
}

TEST_F(HyperLinkTest, DestroyWindowStopsTheTimer)
{
    Subclass();
    MovePointer(m_link, 2, 2);
    EXPECT_TRUE(m_link.DestroyWindow());
    EXPECT_EQ(nullptr, m_link.m_hWnd);
    Pump();
    m_link.SetVisited();
    m_link.SetURL(L"http://www.example.com");
    m_link.SetUnderline(1);
    m_link.SetAutoSize();
    m_link.SetColours(1, 2, 3);
    EXPECT_EQ(L"http://www.example.com", m_link.GetURL());
}

TEST_F(HyperLinkTest, TheObjectMayBeDeletedByItsClick)
{
    auto link = std::make_unique<CTestLink>();
    ASSERT_TRUE(link->SubclassDlgItem(IDC_LINK_FRAMED, &m_dialog));
    const HWND window = link->m_hWnd;
    link->m_during = [&link] { link.reset(); };
    ::SendMessageW(m_dialog, WM_COMMAND, MAKEWPARAM(IDC_LINK_FRAMED, STN_CLICKED), reinterpret_cast<LPARAM>(window));
    EXPECT_EQ(nullptr, link.get());
    EXPECT_FALSE(::IsWindow(window));
}

TEST_F(HyperLinkTest, TheObjectMayBeDeletedDuringTheReport)
{
    auto link = std::make_unique<CTestLink>();
    ASSERT_TRUE(link->SubclassDlgItem(IDC_LINK_FRAMED, &m_dialog));
    link->m_bStarts = false;
    const CBeeps beeps;
    CMessageBoxes boxes([&] { link.reset(); });
    ::SendMessageW(m_dialog, WM_COMMAND, MAKEWPARAM(IDC_LINK_FRAMED, STN_CLICKED),
                   reinterpret_cast<LPARAM>(link->m_hWnd));
    EXPECT_EQ(1u, boxes.Met().size());
}

TEST_F(HyperLinkTest, ARegistryTextIsRead)
{
    COwnKey key;
    TCHAR text[131] = L"before";
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_link.GetRegKey(HKEY_CURRENT_USER, L"Software\\korvane-absent", text));
    EXPECT_STREQ(L"before", text);
    EXPECT_EQ(ERROR_SUCCESS, m_link.GetRegKey(HKEY_CURRENT_USER, key.Name(), text));
    EXPECT_STREQ(L"", text);
    key.SetDefault(REG_SZ, L"iexplore %1", 12 * sizeof(TCHAR));
    EXPECT_EQ(ERROR_SUCCESS, m_link.GetRegKey(HKEY_CURRENT_USER, key.Name(), text));
    EXPECT_STREQ(L"iexplore %1", text);
}

TEST_F(HyperLinkTest, ARegistryTextAlwaysEnds)
{
    COwnKey key;
    TCHAR text[132];
    std::fill(text, text + 132, L'?');
    const std::wstring longest(130, L'x');
    key.SetDefault(REG_BINARY, longest.data(), 260); // without a terminator
    EXPECT_EQ(ERROR_SUCCESS, m_link.GetRegKey(HKEY_CURRENT_USER, key.Name(), text));
    EXPECT_EQ(longest, text);
    EXPECT_EQ(L'?', text[131]);
    key.SetDefault(REG_BINARY, (longest + L"yz").data(), 264);
    EXPECT_EQ(ERROR_SUCCESS, m_link.GetRegKey(HKEY_CURRENT_USER, key.Name(), text));
    EXPECT_STREQ(L"", text);
}

TEST_F(HyperLinkTest, IsShownInEachState)
{
    static constexpr int kItems[] = {IDC_LINK,       IDC_LINK_EMPTY,  IDC_LINK_CENTRED,
                                     IDC_LINK_RIGHT, IDC_LINK_MIDDLE, IDC_LINK_FRAMED};
    CTestLink links[6];
    links[1].SetURL(L"http://www.example.com");
    for (int i = 0; i < 6; ++i) ASSERT_TRUE(links[i].SubclassDlgItem(kItems[i], &m_dialog));
    m_dialog.RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    TakePicture(L"hyperlink-alignments");
    links[0].SetUnderline(1);
    links[1].SetVisited();
    links[2].SetUnderline(0);
    links[3].SetColours(RGB(0, 128, 0), RGB(128, 128, 128), 0xFFFFFFFF);
    links[4].EnableWindow(FALSE);
    MovePointer(links[5], 2, 2);
    TakePicture(L"hyperlink-underlined-visited-plain-coloured-disabled-hovered");
    CMessageBoxes boxes;
    boxes.TakePicture(L"hyperlink-failed");
    links[0].ReportError(0);
}

TEST_F(HyperLinkTest, FiveHundredOpeningsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([] {
        CControlsDialog dialog;
        CHyperLink link;
        ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
        ASSERT_TRUE(link.SubclassDlgItem(IDC_LINK, &dialog));
        link.SetUnderline(1);
        link.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
        dialog.DestroyWindow();
    });
}
