// Property sheets and their pages, the library's scrolling page and the About box: each allocation and each call that
// makes something of the system's fails in turn while they are made, shown, used and closed.
#include "controls/aboutdialog.h"
#include "controls/scrolldialog.h"
#include "controls_ids.h"
#include "window_fixture.h"

#include <afxdlgs.h>

namespace {

constexpr wchar_t kControls[] = L"comctl32.dll"; // the system's part of a sheet
constexpr UINT kClose = WM_APP + 20;
constexpr int kMost = 20; // each takes some 20 milliseconds

// What a sheet calls besides CFailingSystem, and what the system calls for it.
class CFailingSheet
{
private:
    static constexpr DWORD kError = ERROR_NOT_ENOUGH_MEMORY;
    const CFailingSystem m_system{kError};
    const CFailingDrawing m_drawing{kError};
    const CFailing<&::PropertySheetW> m_sheet{kFramework, "PropertySheetW", -1, kError};
    const CFailing<&::CreatePropertySheetPageW> m_page{kFramework, "CreatePropertySheetPageW", nullptr, kError};
    const CFailing<&::CreateDialogIndirectParamW, 1> m_dialog{kControls, "CreateDialogIndirectParamW", nullptr, kError};
    const CFailing<&::PostMessageW> m_post{kFramework, "PostMessageW", FALSE, kError};
};

// What the About box calls in the library besides.
class CFailingAbout
{
private:
    static constexpr DWORD kError = ERROR_NOT_ENOUGH_MEMORY;
    const CFailingSystem m_system{kError};
    const CFailingDrawing m_drawing{kError};
    const CFailingControl m_control;
    const CFailing<&::LoadStringW> m_string{kLibrary, "LoadStringW", 0, kError};
    const CFailing<&::SetWindowTextW> m_title{kFramework, "SetWindowTextW", FALSE, kError};
    const CFailing<&::MoveWindow> m_move{kFramework, "MoveWindow", FALSE, kError};
    const CFailing<&::SetWindowPos> m_place{kFramework, "SetWindowPos", FALSE, kError};
};

class CNumberPage : public CPropertyPage
{
public:
    CNumberPage() : CPropertyPage(IDD_CONTROLS_PAGE) {}
    int m_nValue = 7;

protected:
    void DoDataExchange(CDataExchange* pExchange) override { DDX_Text(pExchange, IDC_NUMBER, m_nValue); }
};

class CScrolledPage : public CScrollPropertyPage
{
public:
    CScrolledPage() : CScrollPropertyPage(IDD_CONTROLS_PAGE) {}
};

// Presses a button as soon as it waits, and ends itself if that does nothing.
class CShortSheet : public CPropertySheet
{
public:
    CShortSheet() : CPropertySheet(L"a sheet") {}

protected:
    afx_msg LRESULT OnKickIdle(WPARAM, LPARAM)
    {
        if (m_nIdle++ == 0) {
            PressButton(PSBTN_OK);
        } else {
            EndDialog(IDABORT);
        }
        return TRUE;
    }
    DECLARE_MESSAGE_MAP()

private:
    int m_nIdle = 0;
};

BEGIN_MESSAGE_MAP(CShortSheet, CPropertySheet)
ON_MESSAGE(WM_KICKIDLE, OnKickIdle)
END_MESSAGE_MAP()

// Is drawn, clicked beside its link, and closed.
class CShortAbout : public CAppAboutDlg
{
public:
    using CAppAboutDlg::CAppAboutDlg;

protected:
    BOOL OnInitDialog() override
    {
        const BOOL bResult = CAppAboutDlg::OnInitDialog();
        ::PostMessageW(m_hWnd, kClose, 0, 0);
        return bResult;
    }
    LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
    {
        if (nMessage != kClose) return CAppAboutDlg::WindowProc(nMessage, wParam, lParam);
        ::SendMessageW(m_hWnd, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(2, 2));
        ::ShowWindow(m_hWnd, SW_SHOWNA);
        ::RedrawWindow(m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
        EndDialog(IDOK);
        return 0;
    }
};

// The framework tells the user in a box why the data of a page could not be exchanged.
int WINAPI AnswerBox(HWND, LPCWSTR, LPCWSTR, UINT)
{
    return IDOK;
}

class SheetFaultTest : public WindowFaultTest
{
protected:
    const CImportPatch m_box{kFramework, "MessageBoxW", &AnswerBox};

    // No object waits for a window that was never made: the next one that anybody makes would become its.
    static void ExpectNobodyWaits()
    {
        const HWND hWnd =
            ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
        EXPECT_NE(nullptr, hWnd);
        EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(hWnd));
        ::DestroyWindow(hWnd);
    }
    // A sheet of one page that gets another, which is shown, left and taken away.
    template <class Page> static long UseModeless()
    {
        Page one, two;
        CPropertySheet sheet(L"a sheet");
        sheet.AddPage(&one);
        if (!sheet.Create(nullptr)) {
            EXPECT_EQ(nullptr, sheet.m_hWnd);
            EXPECT_EQ(nullptr, one.m_hWnd);
            ExpectNobodyWaits();
            return kNotMade;
        }
        long lResult = one.m_hWnd ? 0 : kNotMade;
        sheet.AddPage(&two);
        if (sheet.GetPageCount() != 2) {
            lResult = kNotMade;
        } else {
            if (!sheet.SetActivePage(1) || !two.m_hWnd) lResult = kNotMade;
            ExpectNobodyWaits();
            ::RedrawWindow(sheet, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_ALLCHILDREN);
            sheet.SetActivePage(0);
            sheet.RemovePage(1);
            EXPECT_EQ(1, sheet.GetPageCount());
        }
        sheet.DestroyWindow();
        EXPECT_EQ(nullptr, sheet.m_hWnd);
        EXPECT_EQ(nullptr, one.m_hWnd);
        EXPECT_EQ(nullptr, two.m_hWnd);
        return lResult;
    }
    static long UseModal()
    {
        CNumberPage one, two;
        CShortSheet sheet;
        sheet.AddPage(&one);
        sheet.AddPage(&two);
        sheet.SetActivePage(1);
        const int nResult = static_cast<int>(sheet.DoModal());
        EXPECT_TRUE(nResult == IDOK || nResult == -1 || nResult == IDABORT) << nResult;
        EXPECT_EQ(nullptr, sheet.m_hWnd);
        EXPECT_EQ(nullptr, one.m_hWnd);
        EXPECT_EQ(nullptr, two.m_hWnd);
        ExpectNobodyWaits();
        EXPECT_EQ(7, two.m_nValue);
        return nResult == IDOK ? 0 : kNotMade;
    }
    // Memory that is out is the framework's exception, or the sheet or the page is not there.
    template <class Call> static void FailSheet(const char* pszName, Call call)
    {
        const CSampled some(kMost);
        FailEachAllocation(
            pszName, [&] { return Do(call); }, EAfterwards::kNothingLeft,
            [](EOutcome outcome, long) { EXPECT_NE(EOutcome::kBadAlloc, outcome); });
        const CFailingSheet system;
        FailEachCall(
            pszName,
            [&] {
                try {
                    return Do(call);
                } catch (CMemoryException*) {
                    return kNoMemory;
                }
            },
            [](const char* pszFunction, int, long lResult) {
                if (IsOneOf(pszFunction, {"PropertySheetW", "CreatePropertySheetPageW", "LoadResource", "LockResource",
                                          "SizeofResource"})) {
                    EXPECT_LT(lResult, 0);
                }
            });
    }
};

} // namespace

TEST_F(SheetFaultTest, ASheetThatCannotBeMadeLeavesNothing)
{
    FailSheet("a property sheet", UseModeless<CNumberPage>);
    FailSheet("a modal property sheet", UseModal);
}

TEST_F(SheetFaultTest, AScrollingPageThatCannotBeMadeLeavesNothing)
{
    FailSheet("a scrolling page", UseModeless<CScrolledPage>);
}

TEST_F(SheetFaultTest, AnAboutBoxThatCannotBeMadeOrDrawnLeavesNothing)
{
    const HBITMAP hPicture = ::CreateBitmap(20, 20, 1, 32, nullptr);
    const HINSTANCE hResources = AfxGetResourceHandle();
    const CSampled some(kMost);
    const auto show = [=] {
        CShortAbout box(hPicture, L"http://a.b/c", L"1.2", KORVANE_IDD_ABOUT);
        const int nResult = box.DoModal();
        EXPECT_TRUE(nResult == IDOK || nResult == -1 || nResult == IDABORT) << nResult;
        EXPECT_EQ(nullptr, box.m_hWnd);
        return nResult == IDOK ? 0 : kNotMade;
    };
    FailEachAllocation(
        "the About box", [&] { return Do(show); }, EAfterwards::kNothingLeft,
        [=](EOutcome, long) { EXPECT_EQ(hResources, AfxGetResourceHandle()); });
    {
        const CFailingAbout system;
        FailEachCall(
            "the About box",
            [&] {
                try {
                    return Do(show);
                } catch (CMemoryException*) {
                    return kNoMemory;
                }
            },
            [=](const char* pszFunction, int, long lResult) {
                EXPECT_EQ(hResources, AfxGetResourceHandle());
                // Without the window there is no box; without a font, a text or the picture it is shown without.
                const bool bNeeded = IsOneOf(pszFunction, {"CreateDialogIndirectParamW", "SetWindowsHookExW",
                                                           "LoadResource", "LockResource", "SizeofResource"});
                EXPECT_EQ(bNeeded, lResult < 0 && !IsOneOf(pszFunction, {"FindResourceW"}));
            });
    }
    EXPECT_TRUE(::DeleteObject(hPicture));
}
