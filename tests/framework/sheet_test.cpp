// CPropertySheet and CPropertyPage: tabs, wizards, what pages are told and what they may refuse.
#include "afx_print.h"
#include "dialogs.h"
#include "window_support.h"

#include <gtest/gtest.h>

namespace {

std::string g_calls;

class CTestPage : public CPropertyPage
{
public:
    CTestPage(UINT nID, const char* pszName, UINT nCaption = 0) : CPropertyPage(nID, nCaption), m_pszName(pszName) {}

    BOOL m_bLeave = TRUE, m_bApply = TRUE, m_bMayCancel = TRUE;
    LRESULT m_lNext = 0;
    BOOL m_bFinish = TRUE;
    LRESULT m_lAnswer = 0; // to siblings
    std::function<void()> m_onInit;
    const char* m_pszName;
    int m_nValue = 3;

    void Log(const char* psz) { g_calls += std::string(m_pszName) + psz + ' '; }
    BOOL OnInitDialog() override
    {
        Log("init");
        const BOOL bFocus = CPropertyPage::OnInitDialog();
        if (m_onInit) m_onInit();
        return bFocus;
    }
    BOOL OnSetActive() override
    {
        Log("set");
        return CPropertyPage::OnSetActive();
    }
    BOOL OnKillActive() override
    {
        Log("kill");
        return CPropertyPage::OnKillActive() && m_bLeave;
    }
    BOOL OnApply() override
    {
        Log("apply");
        return CPropertyPage::OnApply() && m_bApply;
    }
    void OnReset() override
    {
        Log("reset");
        CPropertyPage::OnReset();
    }
    BOOL OnQueryCancel() override
    {
        Log("query");
        return m_bMayCancel;
    }
    LRESULT OnWizardBack() override
    {
        Log("back");
        return CPropertyPage::OnWizardBack();
    }
    LRESULT OnWizardNext() override
    {
        Log("next");
        return m_lNext;
    }
    BOOL OnWizardFinish() override
    {
        Log("finish");
        return CPropertyPage::OnWizardFinish() && m_bFinish;
    }
    void OnOK() override
    {
        Log("ok");
        CPropertyPage::OnOK();
    }
    void DoDataExchange(CDataExchange* pDX) override
    {
        if (GetDlgItem(IDC_NUMBER)) DDX_Text(pDX, IDC_NUMBER, m_nValue);
    }

protected:
    afx_msg LRESULT OnQuerySiblings(WPARAM wParam, LPARAM lParam)
    {
        Log("asked");
        return m_lAnswer ? m_lAnswer + static_cast<LRESULT>(wParam) + lParam : 0;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CTestPage, CPropertyPage)
ON_MESSAGE(PSM_QUERYSIBLINGS, OnQuerySiblings)
END_MESSAGE_MAP()

class CTestSheet : public CPropertySheet
{
public:
    CTestSheet() : CPropertySheet(L"Sheet") { g_calls.clear(); }
    std::vector<std::function<void()>> m_steps;

protected:
    afx_msg LRESULT OnKickIdle(WPARAM, LPARAM)
    {
        if (m_steps.empty()) return 0;
        const auto step = m_steps.front();
        m_steps.erase(m_steps.begin());
        step();
        return !m_steps.empty();
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CTestSheet, CPropertySheet)
ON_MESSAGE(WM_KICKIDLE, OnKickIdle)
END_MESSAGE_MAP()

} // namespace

TEST(PropertySheetTest, PagesAreShownLeftAndApplied)
{
    CTestPage one(IDD_PAGE_ONE, "1"), two(IDD_PAGE_TWO, "2", IDS_PAGE_TITLE);
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.AddPage(&two);
    EXPECT_EQ(2, sheet.GetPageCount());
    EXPECT_EQ(1, sheet.GetPageIndex(&two));
    sheet.m_steps = {[&] {
                         EXPECT_EQ(&one, sheet.GetActivePage());
                         EXPECT_EQ(static_cast<CWnd*>(&one), CWnd::FromHandlePermanent(one.m_hWnd));
                         one.SetDlgItemInt(IDC_NUMBER, 8);
                         EXPECT_TRUE(sheet.SetActivePage(1));
                         EXPECT_EQ(8, one.m_nValue);
                         EXPECT_EQ(1, sheet.GetActiveIndex());
                         one.m_nValue = 9;
                         EXPECT_TRUE(sheet.SetActivePage(&one));
                         EXPECT_EQ(9u, one.GetDlgItemInt(IDC_NUMBER));
                     },
                     [&] { sheet.PressButton(PSBTN_OK); }};
    EXPECT_EQ(IDOK, sheet.DoModal());
    EXPECT_EQ("1init 1set 1kill 2init 2set 2kill 1set 1kill 1apply 1ok 2apply 2ok ", g_calls);
    EXPECT_EQ(nullptr, sheet.m_hWnd);
    EXPECT_EQ(nullptr, one.m_hWnd);
}

TEST(PropertySheetTest, CancelResetsThePages)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.m_steps = {[&] { sheet.PressButton(PSBTN_CANCEL); }};
    EXPECT_EQ(IDCANCEL, sheet.DoModal());
    EXPECT_EQ("1init 1set 1query 1reset ", g_calls);
    // And again with the same objects.
    sheet.m_steps = {[&] { sheet.EndDialog(77); }};
    EXPECT_EQ(77, sheet.DoModal());
}

TEST(PropertySheetTest, APageMayRefuseToBeLeft)
{
    CTestPage one(IDD_PAGE_ONE, "1"), two(IDD_PAGE_TWO, "2");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.AddPage(&two);
    one.m_bLeave = FALSE;
    sheet.m_steps = {[&] {
                         sheet.SetActivePage(1);
                         EXPECT_EQ(&one, sheet.GetActivePage());
                         sheet.PressButton(PSBTN_OK);
                     },
                     [&] {
                         EXPECT_NE(nullptr, one.m_hWnd);
                         sheet.EndDialog(5);
                     }};
    EXPECT_EQ(5, sheet.DoModal());
}

TEST(PropertySheetTest, APageWithoutATemplateFailsTheSheet)
{
    CTestPage none(IDD_ABSENT, "0");
    CTestSheet sheet;
    EXPECT_EQ(-1, sheet.DoModal());
    sheet.AddPage(&none);
    EXPECT_EQ(-1, sheet.DoModal());
}

TEST(PropertySheetTest, AModelessSheetAndItsPages)
{
    CTestPage one(IDD_PAGE_ONE, "1"), two(IDD_PAGE_TWO, "2");
    CTestSheet sheet;
    sheet.AddPage(&one);
    ASSERT_TRUE(sheet.Create(NULL));
    sheet.AddPage(&two);
    EXPECT_TRUE(sheet.SetActivePage(&two));
    EXPECT_NE(nullptr, two.m_hWnd);
    sheet.RemovePage(&two);
    EXPECT_EQ(1, sheet.GetPageCount());
    EXPECT_TRUE(sheet.DestroyWindow());
}

TEST(PropertySheetTest, ATemplateOfAnyStyleBecomesAChild)
{
    CTestPage one(IDD_EXCHANGE, "1"); // a popup with a caption and a system menu
    CTestSheet sheet;
    sheet.AddPage(&one);
    DWORD dwStyle = 0;
    sheet.m_steps = {[&] {
        dwStyle = one.GetStyle();
        sheet.EndDialog(1);
    }};
    EXPECT_EQ(1, sheet.DoModal());
    EXPECT_TRUE(dwStyle & WS_CHILD);
    EXPECT_FALSE(dwStyle & (WS_POPUP | WS_SYSMENU));
}

TEST(PropertySheetTest, AChangedPageCanBeAppliedWithoutClosing)
{
    constexpr int kApplyNow = 0x3021; // the sheet's own button
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.m_steps = {[&] {
                         const CWnd* const pApply = sheet.GetDlgItem(kApplyNow);
                         EXPECT_FALSE(pApply->IsWindowEnabled());
                         one.SetModified();
                         EXPECT_TRUE(pApply->IsWindowEnabled());
                         one.SetModified(FALSE);
                         EXPECT_FALSE(pApply->IsWindowEnabled());
                         one.SetModified();
                         sheet.PressButton(PSBTN_APPLYNOW);
                     },
                     [&] {
                         EXPECT_EQ("1init 1set 1kill 1apply 1ok 1set ", g_calls);
                         sheet.PressButton(PSBTN_CANCEL);
                     }};
    EXPECT_EQ(IDCANCEL, sheet.DoModal());
}

TEST(PropertySheetTest, PagesMayRefuseOkAndCancel)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    one.m_bApply = one.m_bMayCancel = FALSE;
    sheet.m_steps = {[&] { sheet.PressButton(PSBTN_OK); },
                     [&] {
                         EXPECT_TRUE(::IsWindow(one.m_hWnd));
                         sheet.PressButton(PSBTN_CANCEL);
                     },
                     [&] {
                         EXPECT_TRUE(::IsWindow(one.m_hWnd));
                         one.m_bApply = TRUE;
                         sheet.PressButton(PSBTN_OK);
                     }};
    EXPECT_EQ(IDOK, sheet.DoModal());
    EXPECT_NE(std::string::npos, g_calls.find("1query"));
    EXPECT_EQ(std::string::npos, g_calls.find("1reset"));
}

TEST(PropertySheetTest, SiblingsAreAskedUntilOneAnswers)
{
    CTestPage one(IDD_PAGE_ONE, "1"), two(IDD_PAGE_TWO, "2"), three(IDD_PAGE_TWO, "3");
    CTestSheet sheet;
    for (CTestPage* const pPage : {&one, &two, &three}) sheet.AddPage(pPage);
    two.m_lAnswer = 100;
    LRESULT lAnswer = 0;
    sheet.m_steps = {[&] {
        // A page that was never shown has no window that could be asked.
        sheet.SetActivePage(2);
        sheet.SetActivePage(1);
        g_calls.clear();
        lAnswer = one.QuerySiblings(20, 3);
        sheet.EndDialog(1);
    }};
    EXPECT_EQ(1, sheet.DoModal());
    EXPECT_EQ(123, lAnswer);
    EXPECT_EQ("1asked 2asked ", g_calls.substr(0, 14));
    EXPECT_EQ(std::string::npos, g_calls.find("3asked"));
    EXPECT_EQ(0, one.QuerySiblings(1, 1)); // without a window
}

TEST(PropertySheetTest, ItsTitleAndTabs)
{
    CTestPage one(IDD_PAGE_ONE, "1"), two(IDD_PAGE_TWO, "2", IDS_PAGE_TITLE);
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.AddPage(&two);
    sheet.AddPage(&two); // once is enough
    sheet.SetTitle(L"Before");
    EXPECT_TRUE(sheet.SetActivePage(1));
    EXPECT_FALSE(sheet.SetActivePage(2));
    EXPECT_FALSE(sheet.SetActivePage(-1));
    EXPECT_EQ(nullptr, sheet.GetPage(2));
    ASSERT_TRUE(sheet.Create(NULL));
    CString str;
    sheet.GetWindowText(str);
    EXPECT_EQ(CString(L"Before"), str);
    sheet.SetTitle(L"After");
    sheet.GetWindowText(str);
    EXPECT_EQ(CString(L"After"), str);
    EXPECT_EQ(&two, sheet.GetActivePage());
    const auto tab = [&](WPARAM nTab) {
        TCHAR szTab[40] = L"";
        TCITEM item = {};
        item.mask = TCIF_TEXT;
        item.pszText = szTab;
        item.cchTextMax = 40;
        sheet.GetTabControl()->SendMessage(TCM_GETITEM, nTab, reinterpret_cast<LPARAM>(&item));
        return CString(szTab);
    };
    EXPECT_EQ(CString(L"First"), tab(0)); // the template's
    EXPECT_EQ(CString(L"Titled"), tab(1));
    sheet.DestroyWindow();
    EXPECT_EQ(nullptr, two.m_hWnd);
}

TEST(PropertySheetTest, AWizardGoesForwardsAndBackwards)
{
    constexpr int kNext = 0x3024, kFinish = 0x3025; // the wizard's own buttons
    CTestPage one(IDD_PAGE_ONE, "1"), two(IDD_PAGE_TWO, "2");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.AddPage(&two);
    sheet.SetWizardMode();
    one.m_lNext = -1;
    two.m_bFinish = FALSE;
    // One step a state: what is pressed is posted.
    sheet.m_steps = {[&] {
                         EXPECT_EQ(0, sheet.GetActiveIndex());
                         sheet.SetWizardButtons(PSWIZB_NEXT);
                         sheet.PressButton(PSBTN_NEXT);
                     },
                     [&] {
                         EXPECT_TRUE(sheet.GetDlgItem(kNext)->IsWindowEnabled());
                         EXPECT_EQ(&one, sheet.GetActivePage()); // it refused
                         one.m_lNext = 0;
                         sheet.PressButton(PSBTN_NEXT);
                     },
                     [&] {
                         EXPECT_EQ(&two, sheet.GetActivePage());
                         sheet.PressButton(PSBTN_BACK);
                     },
                     [&] {
                         EXPECT_EQ(&one, sheet.GetActivePage());
                         sheet.PressButton(PSBTN_NEXT);
                     },
                     [&] {
                         sheet.SetWizardButtons(PSWIZB_BACK | PSWIZB_FINISH);
                         sheet.PressButton(PSBTN_FINISH);
                     },
                     [&] {
                         EXPECT_TRUE(::IsWindow(two.m_hWnd)); // it refused
                         two.m_bFinish = TRUE;
                         sheet.SetFinishText(L"Done");
                         CString str;
                         sheet.GetDlgItem(kFinish)->GetWindowText(str);
                         EXPECT_EQ(CString(L"Done"), str);
                         sheet.PressButton(PSBTN_FINISH);
                     }};
    EXPECT_EQ(kFinish, sheet.DoModal());
    EXPECT_EQ("1init 1set 1next 1next 1kill 2init 2set 2back 2kill 1set 1next 1kill 2set 2finish 2finish ", g_calls);
}

TEST(PropertySheetTest, AWizardCanBeCancelled)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.SetWizardMode();
    sheet.m_steps = {[&] { sheet.PressButton(PSBTN_CANCEL); }};
    EXPECT_EQ(IDCANCEL, sheet.DoModal());
}

TEST(PropertySheetTest, CancelBecomesClose)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    BOOL bEnabled = TRUE;
    sheet.m_steps = {[&] {
        one.CancelToClose();
        bEnabled = sheet.GetDlgItem(IDCANCEL)->IsWindowEnabled();
        sheet.EndDialog(1);
    }};
    EXPECT_EQ(1, sheet.DoModal());
    EXPECT_FALSE(bEnabled);
}

TEST(PropertySheetTest, KeysAreThePagesAndTheSheets)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.m_steps = {[&] {
        one.GetDlgItem(IDC_NUMBER)->SetFocus();
        ::PostMessageW(::GetFocus(), WM_KEYDOWN, VK_ESCAPE, 1);
    }};
    EXPECT_EQ(IDCANCEL, sheet.DoModal());
    sheet.m_steps = {[&] {
        one.SetDlgItemText(IDC_NUMBER, L"77");
        one.GetDlgItem(IDC_NUMBER)->SetFocus();
        ::PostMessageW(::GetFocus(), WM_KEYDOWN, VK_RETURN, 1);
    }};
    EXPECT_EQ(IDOK, sheet.DoModal());
    EXPECT_EQ(77, one.m_nValue);
}

TEST(PropertySheetTest, QuittingTheProgramOrLosingTheWindowEndsIt)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    sheet.m_steps = {[] { ::PostQuitMessage(6); }};
    EXPECT_EQ(-1, sheet.DoModal());
    MSG message = {};
    ASSERT_TRUE(::PeekMessageW(&message, NULL, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(6u, message.wParam);
    sheet.m_steps = {[&] { sheet.DestroyWindow(); }};
    EXPECT_EQ(-1, sheet.DoModal());
    EXPECT_EQ(nullptr, one.m_hWnd);
}

TEST(PropertySheetTest, AnExceptionWhileAPageIsMadeStaysInside)
{
    CTestPage one(IDD_PAGE_ONE, "1");
    CTestSheet sheet;
    sheet.AddPage(&one);
    one.m_onInit = [] { AfxThrowResourceException(); };
    sheet.m_steps = {[&] { sheet.EndDialog(3); }};
    const int nResult = sheet.DoModal();
    EXPECT_TRUE(nResult == 3 || nResult == -1) << nResult;
    EXPECT_EQ(nullptr, sheet.m_hWnd);
    EXPECT_EQ(nullptr, one.m_hWnd);
}
