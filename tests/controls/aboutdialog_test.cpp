#include "controls/aboutdialog.h"
#include "scroll_ids.h"
#include "leak_support.h"
#include "start_support.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

constexpr COLORREF kLinkColour = RGB(0, 0, 255);
constexpr COLORREF kVisitedColour = RGB(128, 0, 128);
constexpr COLORREF kBlack = RGB(0, 0, 0);
constexpr COLORREF kPicture = RGB(0, 255, 0);
const CRect kLink(3, 175, 235, 200);
const CRect kRights(5, 196, 235, 240);
const CRect kVersion(182, 117, 230, 137);

// Runs what a test does with the box once it is on the screen, and closes it.
class CDrivenAbout : public CAppAboutDlg
{
public:
    using CAppAboutDlg::CAppAboutDlg;

    int Run(std::function<void()> action)
    {
        m_action = std::move(action);
        return DoModal();
    }
    void Show()
    {
        ShowWindow(SW_SHOWNA);
        UpdateWindow();
    }
    void Repaint()
    {
        Invalidate();
        UpdateWindow();
    }
    void Click(int x, int y)
    {
        PostMessage(WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
        PostMessage(WM_LBUTTONUP, 0, MAKELPARAM(x, y));
        PumpQueue();
    }
    CString Caption() const
    {
        CString text;
        GetWindowText(text);
        return text;
    }
    LOGFONTW FontOf(int id)
    {
        LOGFONTW font = {};
        const auto handle = reinterpret_cast<HFONT>(SendDlgItemMessage(id, WM_GETFONT));
        ::GetObjectW(handle, sizeof(font), &font);
        return font;
    }

    int m_fontsMade = 0;
    bool m_closeByItself = true;

protected:
    BOOL OnInitDialog() override
    {
        const BOOL result = CAppAboutDlg::OnInitDialog();
        EXPECT_TRUE(result);
        PostMessage(kAct);
        return result;
    }
    void InitFonts() override
    {
        ++m_fontsMade;
        CAppAboutDlg::InitFonts();
    }
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message != kAct) return CAppAboutDlg::WindowProc(message, wParam, lParam);
        m_action();
        if (m_closeByItself) EndDialog(IDOK);
        return 0;
    }

private:
    static constexpr UINT kAct = WM_APP + 17;
    std::function<void()> m_action;
};

class AboutDialogTest : public testing::Test
{
protected:
    void SetUp() override { m_picture = MakePicture(240, 284); }
    void TearDown() override
    {
        ::DeleteObject(m_picture);
        PumpQueue();
    }
    static HBITMAP MakePicture(int width, int height)
    {
        const HDC screen = ::GetDC(nullptr);
        const HDC memory = ::CreateCompatibleDC(screen);
        const HBITMAP picture = ::CreateCompatibleBitmap(screen, width, height);
        const HGDIOBJ old = ::SelectObject(memory, picture);
        const RECT all = {0, 0, width, height};
        const HBRUSH brush = ::CreateSolidBrush(kPicture);
        ::FillRect(memory, &all, brush);
        ::DeleteObject(brush);
        ::SelectObject(memory, old);
        ::DeleteDC(memory);
        ::ReleaseDC(nullptr, screen);
        return picture;
    }

    HBITMAP m_picture = nullptr;
    const CNotedStarts m_starts;
};

constexpr wchar_t kUrl[] = L"http://www.example.com/";
constexpr wchar_t kVersionText[] = L"1.2";

} // namespace

TEST_F(AboutDialogTest, HasItsSizeAndPlacesTheButton)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    EXPECT_EQ(IDOK, box.Run([&] {
        CRect window;
        box.GetWindowRect(&window);
        EXPECT_EQ(CSize(240, 284), window.Size());
        EXPECT_EQ(CRect(90, 227, 150, 247), PlaceInParent(::GetDlgItem(box, IDOK)));
        EXPECT_EQ(1, box.m_fontsMade);
    }));
}

TEST_F(AboutDialogTest, KeepsTheWindowsPosition)
{
    class CMoved : public CDrivenAbout
    {
    public:
        using CDrivenAbout::CDrivenAbout;
        void PreInitDialog() override { SetWindowPos(nullptr, 33, 44, 0, 0, SWP_NOSIZE | SWP_NOZORDER); }
    };
    CMoved box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        CRect window;
        box.GetWindowRect(&window);
        EXPECT_EQ(CPoint(33, 44), window.TopLeft());
    });
}

TEST_F(AboutDialogTest, GivesTheStaticsItsFonts)
{
    static constexpr struct
    {
        int id;
        LONG height, weight;
        BYTE underline;
    } kFonts[] = {{30000, 16, 400, TRUE}, {30001, 13, 300, FALSE}};
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        for (const auto& expected : kFonts) {
            SCOPED_TRACE(expected.id);
            const LOGFONTW font = box.FontOf(expected.id);
            EXPECT_EQ(expected.height, font.lfHeight);
            EXPECT_EQ(expected.weight, font.lfWeight);
            EXPECT_EQ(expected.underline, font.lfUnderline);
            EXPECT_EQ(32, font.lfPitchAndFamily);
            EXPECT_STREQ(L"Areal", font.lfFaceName);
            EXPECT_EQ(0, font.lfWidth);
            EXPECT_EQ(0, font.lfItalic);
            EXPECT_EQ(0, font.lfCharSet);
        }
    });
}

TEST_F(AboutDialogTest, TheCaptionIsTheBuildsUnlessTheHostHasOne)
{
    CDrivenAbout plain(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    plain.Run([&] { EXPECT_STREQ(L"About", plain.Caption()); });

    const HMODULE host = ::LoadLibraryW(L"controls_host.dll");
    ASSERT_TRUE(host);
    AfxSetResourceHandle(host);
    CDrivenAbout own(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    own.Run([&] { EXPECT_STREQ(L"About Atlas", own.Caption()); });
    EXPECT_EQ(host, AfxGetResourceHandle());
    AfxSetResourceHandle(nullptr);
    ::FreeLibrary(host);
}

TEST_F(AboutDialogTest, TheHostsTemplateCounts)
{
    const HMODULE host = ::LoadLibraryW(L"controls_host.dll");
    ASSERT_TRUE(host);
    CDynLinkLibrary* listed = new CDynLinkLibrary(host);
    CDrivenAbout box(m_picture, kUrl, kVersionText, IDD_ABOUT_HOST);
    EXPECT_EQ(IDOK, box.Run([&] {
        EXPECT_EQ(CRect(90, 227, 150, 247), PlaceInParent(::GetDlgItem(box, IDOK)));
        EXPECT_EQ(nullptr, ::GetDlgItem(box, KORVANE_IDC_ABOUT_LINK));
    }));
    delete listed;
    ::FreeLibrary(host);
}

TEST_F(AboutDialogTest, WorksWithoutAnyOfItsControls)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, IDD_ABOUT_BARE);
    EXPECT_EQ(IDOK, box.Run([&] {
        box.Show();
        box.Click(10, 180);
    }));
    EXPECT_EQ(1u, CNotedStarts::List().size());
}

TEST_F(AboutDialogTest, PaintsPictureLinkNoticeAndVersion)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        box.Show();
        const CPixels pixels(box);
        EXPECT_TRUE(pixels.Save(L"about"));
        EXPECT_EQ(kPicture, pixels.At(0, 0));
        EXPECT_EQ(kPicture, pixels.At(pixels.All().right - 1, 150));
        EXPECT_EQ(0, pixels.Count(kVisitedColour, pixels.All()));

        const CRect link = pixels.Bounds(kLinkColour, pixels.All());
        ASSERT_FALSE(link.IsRectEmpty());
        EXPECT_TRUE(CRect(kLink).PtInRect(link.TopLeft()));
        EXPECT_NEAR(kLink.CenterPoint().x, link.CenterPoint().x, 2);

        const CRect rights = pixels.Bounds(kBlack, kRights);
        ASSERT_FALSE(rights.IsRectEmpty());
        EXPECT_NEAR(kRights.CenterPoint().x, rights.CenterPoint().x, 6);
        EXPECT_GT(rights.Height(), 15) << "two lines";

        const CRect version = pixels.Bounds(kBlack, kVersion);
        ASSERT_FALSE(version.IsRectEmpty());
        EXPECT_NEAR(kVersion.right, version.right, 3);
    });
}

// The line at the foot of the letters is one of the link's colour from its first letter to its last.
TEST_F(AboutDialogTest, TheLinkIsUnderlined)
{
    CDrivenAbout box(m_picture, L"lllllllllll", kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        box.Show();
        const CPixels pixels(box);
        const CRect link = pixels.Bounds(kLinkColour, pixels.All());
        bool line = false;
        for (int y = link.top; y < link.bottom; ++y) {
            line |= pixels.Count(kLinkColour, CRect(link.left, y, link.right, y + 1)) == link.Width();
        }
        EXPECT_TRUE(line);
    });
}

// The same texts drawn over them in a font made here leave every pixel as it is.
TEST_F(AboutDialogTest, NoticeAndVersionAreInTheSmallFont)
{
    wchar_t rights[200];
    ASSERT_GT(::LoadStringW(::GetModuleHandleW(L"korvaneLib.dll"), KORVANE_IDS_ABOUT_RIGHTS, rights, 200), 0);
    const struct
    {
        const wchar_t* text;
        CRect rect;
        UINT format;
    } kTexts[] = {{rights, kRights, DT_CENTER}, {kVersionText, kVersion, DT_RIGHT}};
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        box.Show();
        ::ShowWindow(::GetDlgItem(box, IDOK), SW_HIDE); // it covers the end of the notice's rectangle
        box.Repaint();
        const CPixels painted(box);
        {
            CFont font;
            font.CreateFont(13, 0, 0, 0, FW_LIGHT, FALSE, FALSE, FALSE, 0, 0, 0, 0, FF_SWISS, L"Areal");
            CClientDC dc(&box);
            CFont* const before = dc.SelectObject(&font);
            dc.SetBkMode(TRANSPARENT);
            dc.SetTextColor(kBlack);
            for (const auto& c : kTexts) {
                CRect rect(c.rect);
                ::FillRect(dc, &rect, CBrush(kPicture));
                dc.DrawText(c.text, &rect, c.format);
            }
            dc.SelectObject(before);
        }
        const CPixels expected(box);
        for (const auto& c : kTexts) {
            EXPECT_GT(expected.Count(kBlack, c.rect), 0);
            int different = 0;
            for (int y = c.rect.top; y < c.rect.bottom; ++y) {
                for (int x = c.rect.left; x < c.rect.right; ++x) different += expected.At(x, y) != painted.At(x, y);
            }
            EXPECT_EQ(0, different) << c.rect.top;
        }
    });
}

TEST_F(AboutDialogTest, ASmallPictureCoversItsOwnSizeOnly)
{
    const HBITMAP small = MakePicture(30, 20);
    CDrivenAbout box(small, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        box.Show();
        const CPixels pixels(box);
        EXPECT_EQ(CRect(0, 0, 30, 20), pixels.Bounds(kPicture, CRect(0, 0, 100, 100)));
    });
    ::DeleteObject(small);
}

TEST_F(AboutDialogTest, WithoutAPictureTheBackgroundStaysAndTheTextsAreDrawn)
{
    constexpr COLORREF before = RGB(255, 0, 255);
    // Something that is no bitmap is no picture either.
    const HBITMAP deleted = MakePicture(30, 20);
    ::DeleteObject(deleted);
    for (const HBITMAP none :
         {static_cast<HBITMAP>(nullptr), static_cast<HBITMAP>(::GetStockObject(WHITE_BRUSH)), deleted}) {
        CDrivenAbout box(none, kUrl, kVersionText, KORVANE_IDD_ABOUT);
        box.Run([&] {
            box.Show();
            {
                CClientDC dc(&box);
                CRect client;
                box.GetClientRect(&client);
                dc.FillSolidRect(&client, before);
            }
            box.Repaint();
            const CPixels pixels(box);
            EXPECT_TRUE(pixels.Save(L"about-without-picture"));
            EXPECT_EQ(before, pixels.At(2, 2));
            EXPECT_EQ(before, pixels.At(120, 100));
            EXPECT_GT(pixels.Count(kLinkColour, kLink), 0);
            EXPECT_GT(pixels.Count(kBlack, kRights), 0);
            EXPECT_GT(pixels.Count(kBlack, kVersion), 0);
        });
    }
}

TEST_F(AboutDialogTest, AClickAnywhereTurnsTheLinkButOnlyOnTheLinkStartsTheBrowser)
{
    static constexpr struct
    {
        const char* why;
        int x, y;
        bool starts;
    } kClicks[] = {
        {"above", 100, 174, false},        {"top left corner", 3, 175, true},
        {"left of it", 2, 180, false},     {"bottom right corner", 234, 199, true},
        {"right of it", 235, 180, false},  {"below", 100, 200, false},
        {"in the middle", 120, 188, true},
    };
    for (const auto& click : kClicks) {
        SCOPED_TRACE(click.why);
        CNotedStarts::List().clear();
        CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
        box.Run([&] {
            box.Show();
            box.Click(click.x, click.y);
            EXPECT_EQ(click.starts ? 1u : 0u, CNotedStarts::List().size());
            // Nothing is repainted for it.
            EXPECT_GT(CPixels(box).Count(kLinkColour, kLink), 0);
            box.Repaint();
            const CPixels pixels(box);
            EXPECT_TRUE(pixels.Save(L"about-visited"));
            EXPECT_EQ(0, pixels.Count(kLinkColour, kLink));
            EXPECT_GT(pixels.Count(kVisitedColour, kLink), 0);
        });
    }
}

TEST_F(AboutDialogTest, TheBrowserGetsTheAddressAsItsCommandLine)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] { box.Click(120, 188); });
    ASSERT_EQ(1u, CNotedStarts::List().size());
    EXPECT_EQ(L"iexplore.exe", CNotedStarts::List()[0].program);
    EXPECT_EQ(kUrl, CNotedStarts::List()[0].commandLine);
    EXPECT_TRUE(CNotedStarts::List()[0].onlyDefaults);
}

TEST_F(AboutDialogTest, AFailedStartIsSilent)
{
    CNotedStarts::SetResult(FALSE);
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    EXPECT_EQ(IDOK, box.Run([&] {
        box.Click(120, 188);
        EXPECT_TRUE(::IsWindowEnabled(box));
        EXPECT_EQ(box.m_hWnd, ::GetLastActivePopup(box)) << "no message box";
    }));
    EXPECT_EQ(1u, CNotedStarts::List().size());
}

TEST_F(AboutDialogTest, EveryControlIsTransparentAndTheLinkHasItsColour)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        CDC dc;
        dc.CreateCompatibleDC(nullptr);
        const auto ask = [&](UINT message, HWND control) {
            dc.SetBkMode(OPAQUE);
            dc.SetTextColor(RGB(9, 9, 9));
            return reinterpret_cast<HBRUSH>(
                box.SendMessage(message, reinterpret_cast<WPARAM>(dc.m_hDC), reinterpret_cast<LPARAM>(control)));
        };
        const auto null = static_cast<HBRUSH>(::GetStockObject(NULL_BRUSH));
        for (const int id : {30000, 30001, IDOK}) {
            SCOPED_TRACE(id);
            EXPECT_EQ(null, ask(WM_CTLCOLORSTATIC, ::GetDlgItem(box, id)));
            EXPECT_EQ(TRANSPARENT, dc.GetBkMode());
            EXPECT_EQ(id == 30000 ? kLinkColour : RGB(9, 9, 9), dc.GetTextColor());
        }
        EXPECT_EQ(null, ask(WM_CTLCOLORBTN, ::GetDlgItem(box, IDOK)));
        EXPECT_EQ(null, ask(WM_CTLCOLORDLG, box));
        box.Click(1, 1);
        ask(WM_CTLCOLORSTATIC, ::GetDlgItem(box, 30000));
        EXPECT_EQ(kVisitedColour, dc.GetTextColor());
    });
}

TEST_F(AboutDialogTest, EndsWithTheButtonThatCloses)
{
    for (const int button : {IDOK, IDCANCEL}) {
        CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
        box.m_closeByItself = false;
        EXPECT_EQ(button, box.Run([&] { box.PostMessage(WM_COMMAND, static_cast<WPARAM>(button)); }));
    }
}

TEST_F(AboutDialogTest, ReturnAndEscapeClose)
{
    static constexpr struct
    {
        WPARAM key;
        int result;
    } kKeys[] = {{VK_RETURN, IDOK}, {VK_ESCAPE, IDCANCEL}};
    for (const auto& c : kKeys) {
        CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
        box.m_closeByItself = false;
        EXPECT_EQ(c.result, box.Run([&] { box.PostMessage(WM_KEYDOWN, c.key, 1); }));
    }
}

TEST_F(AboutDialogTest, TheHostsResourceHandleIsRestored)
{
    const HINSTANCE before = AfxGetResourceHandle();
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] { EXPECT_EQ(::GetModuleHandleW(L"korvaneLib.dll"), AfxGetResourceHandle()); });
    EXPECT_EQ(before, AfxGetResourceHandle());
}

TEST_F(AboutDialogTest, ATemplateThatIsMissingOrDamagedEndsWithMinusOne)
{
    const HINSTANCE before = AfxGetResourceHandle();
    for (const UINT id : {IDD_SCROLL_ABSENT, IDD_SCROLL_DAMAGED, IDD_SCROLL_WITHOUT_CONTROLS, IDD_SCROLL_ENDLESS,
                          IDD_SCROLL_EMPTY, 0}) {
        SCOPED_TRACE(id);
        CAppAboutDlg box(m_picture, kUrl, kVersionText, id);
        EXPECT_EQ(-1, box.DoModal());
        EXPECT_EQ(before, AfxGetResourceHandle());
    }
}

TEST_F(AboutDialogTest, CanBeShownAgainAndRemembersTheClick)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] { box.Click(1, 1); });
    EXPECT_EQ(IDOK, box.Run([&] {
        box.Show();
        EXPECT_GT(CPixels(box).Count(kVisitedColour, kLink), 0);
    }));
    EXPECT_EQ(2, box.m_fontsMade);
}

TEST_F(AboutDialogTest, ThePictureStaysTheHosts)
{
    {
        CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
        box.Run([&] { box.Show(); });
    }
    BITMAP size;
    EXPECT_EQ(static_cast<int>(sizeof(size)), ::GetObjectW(m_picture, sizeof(size), &size));
}

TEST_F(AboutDialogTest, TextsMayBeMissingOrLong)
{
    const std::wstring longText(10000, L'&');
    for (const wchar_t* text : {static_cast<const wchar_t*>(nullptr), L"", longText.c_str()}) {
        CNotedStarts::List().clear();
        CDrivenAbout box(m_picture, text, text, KORVANE_IDD_ABOUT);
        EXPECT_EQ(IDOK, box.Run([&] {
            box.Show();
            box.Click(120, 188);
        }));
        ASSERT_EQ(1u, CNotedStarts::List().size());
        EXPECT_EQ(text ? text : L"", CNotedStarts::List()[0].commandLine);
    }
}

TEST_F(AboutDialogTest, EverySizeIsTaken)
{
    CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
    box.Run([&] {
        box.Show();
        for (const int size : {0, 32767}) {
            box.SetWindowPos(nullptr, 0, 0, size, size, SWP_NOMOVE | SWP_NOZORDER);
            box.Repaint();
        }
    });
}

TEST_F(AboutDialogTest, FiveHundredOpeningsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([this] {
        CDrivenAbout box(m_picture, kUrl, kVersionText, KORVANE_IDD_ABOUT);
        box.Run([&] { box.Show(); });
    });
}
