// CDialog: templates, the modal loop, keys, data exchange.
#include "afx_print.h"
#include "dialogs.h"
#include "window_support.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// What a test's person does once the dialog waits for messages.
class CDriven : public CDialog
{
public:
    explicit CDriven(UINT nID = IDD_EXCHANGE, CWnd* pParent = NULL) : CDialog(nID, pParent) {}

    std::function<void()> m_onIdle, m_onInit;
    std::function<void(CDataExchange*)> m_exchange;
    BOOL m_bOwnFocus = FALSE;
    int m_nInits = 0;

    BOOL OnInitDialog() override
    {
        const BOOL bDefault = CDialog::OnInitDialog();
        ++m_nInits;
        if (m_onInit) m_onInit();
        return bDefault && !m_bOwnFocus;
    }
    void Key(UINT nKey)
    {
        const HWND hFocus = ::GetFocus();
        ::PostMessageW(hFocus, WM_KEYDOWN, nKey, 1);
    }

protected:
    void DoDataExchange(CDataExchange* pDX) override
    {
        if (m_exchange) m_exchange(pDX);
    }
    afx_msg LRESULT OnKickIdle(WPARAM, LPARAM)
    {
        if (m_onIdle) {
            const auto once = m_onIdle;
            m_onIdle = nullptr;
            once();
        }
        return 0;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CDriven, CDialog)
ON_MESSAGE(WM_KICKIDLE, OnKickIdle)
END_MESSAGE_MAP()

// A modeless one, gone with its object.
class CModeless : public CDriven
{
public:
    explicit CModeless(UINT nID = IDD_EXCHANGE) { m_bCreated = Create(nID); }
    ~CModeless() override { DestroyWindow(); }
    void SetText(int nID, LPCTSTR psz) { ::SetDlgItemTextW(m_hWnd, nID, psz); }
    CString Text(int nID)
    {
        CString str;
        GetDlgItemText(nID, str);
        return str;
    }
    BOOL Exchange(BOOL bSave, std::function<void(CDataExchange*)> exchange)
    {
        m_exchange = exchange;
        return UpdateData(bSave);
    }
    BOOL m_bCreated;
};

} // namespace

TEST(DialogTest, DoModalGivesWhatEndDialogWasGiven)
{
    CDriven dialog;
    bool bVisible = false;
    dialog.m_onIdle = [&] {
        bVisible = dialog.IsWindowVisible();
        dialog.EndDialog(42);
    };
    EXPECT_EQ(42, dialog.DoModal());
    EXPECT_TRUE(bVisible);
    EXPECT_EQ(nullptr, dialog.m_hWnd);
    dialog.m_onIdle = [&] { dialog.EndDialog(43); };
    EXPECT_EQ(43, dialog.DoModal());
    EXPECT_EQ(2, dialog.m_nInits);
}

TEST(DialogTest, EndDialogInOnInitDialogIsEnough)
{
    CDriven dialog;
    dialog.m_onInit = [&] { dialog.EndDialog(7); };
    EXPECT_EQ(7, dialog.DoModal());
}

TEST(DialogTest, WithoutATemplateThereIsNoDialog)
{
    for (UINT nID : {IDD_ABSENT, IDD_DAMAGED}) {
        CDriven modal(nID), modeless;
        EXPECT_EQ(-1, modal.DoModal());
        EXPECT_FALSE(modeless.Create(nID));
    }
    CDialog none;
    EXPECT_EQ(-1, none.DoModal());
}

TEST(DialogTest, AnExceptionInOnInitDialogEndsIt)
{
    CDriven modal, modeless;
    modal.m_onInit = modeless.m_onInit = [] { AfxThrowResourceException(); };
    EXPECT_EQ(IDABORT, modal.DoModal());
    EXPECT_FALSE(modeless.Create(IDD_EXCHANGE));
    EXPECT_EQ(nullptr, modeless.m_hWnd);
}

TEST(DialogTest, TheParentIsDisabledMeanwhile)
{
    CPlainWindow parent;
    CDriven dialog(IDD_EXCHANGE, &parent);
    BOOL bEnabled = TRUE;
    dialog.m_onIdle = [&] {
        bEnabled = parent.IsWindowEnabled();
        EXPECT_EQ(&parent, dialog.GetParent());
        dialog.EndDialog(1);
    };
    EXPECT_EQ(1, dialog.DoModal());
    EXPECT_FALSE(bEnabled);
    EXPECT_TRUE(parent.IsWindowEnabled());
}

TEST(DialogTest, EnterAndEscapeAreOkAndCancel)
{
    CDriven dialog;
    dialog.m_onIdle = [&] { dialog.Key(VK_RETURN); };
    EXPECT_EQ(IDOK, dialog.DoModal());
    dialog.m_onIdle = [&] { dialog.Key(VK_ESCAPE); };
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
    dialog.m_onIdle = [&] {
        dialog.GetDlgItem(IDC_MANY_LINES)->SetFocus();
        dialog.Key(VK_ESCAPE);
    };
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
    dialog.m_onIdle = [&] { dialog.PostMessage(WM_CLOSE); };
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
}

TEST(DialogTest, AltAndHAskForHelp)
{
    static int nHelp;
    nHelp = 0;
    struct CHelpful : CDriven
    {
        LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
        {
            if (nMessage == WM_HELP) EndDialog(++nHelp);
            return CDriven::WindowProc(nMessage, wParam, lParam);
        }
    } dialog;
    dialog.m_onIdle = [&] { ::PostMessageW(::GetFocus(), WM_SYSKEYDOWN, L'H', 1 << 29 | 1); };
    EXPECT_EQ(1, dialog.DoModal());
}

TEST(DialogTest, TabMovesTheFocus)
{
    CDriven dialog;
    int nBefore = 0, nAfter = 0;
    dialog.m_onIdle = [&] {
        nBefore = ::GetDlgCtrlID(::GetFocus());
        dialog.Key(VK_TAB);
        dialog.m_onIdle = [&] {
            nAfter = ::GetDlgCtrlID(::GetFocus());
            dialog.EndDialog(1);
        };
    };
    dialog.DoModal();
    EXPECT_EQ(IDC_TEXT, nBefore);
    EXPECT_EQ(IDC_NUMBER, nAfter);
}

TEST(DialogTest, OnInitDialogMaySetTheFocusItself)
{
    CDriven dialog;
    dialog.m_bOwnFocus = TRUE;
    dialog.m_onInit = [&] { dialog.GotoDlgCtrl(dialog.GetDlgItem(IDC_REAL)); };
    int nFocus = 0;
    dialog.m_onIdle = [&] {
        nFocus = ::GetDlgCtrlID(::GetFocus());
        dialog.EndDialog(1);
    };
    dialog.DoModal();
    EXPECT_EQ(IDC_REAL, nFocus);
}

TEST(DialogTest, AModalDialogThatIsDestroyedEnds)
{
    CDriven dialog;
    dialog.m_onIdle = [&] { dialog.DestroyWindow(); };
    EXPECT_EQ(-1, dialog.DoModal());
    EXPECT_EQ(nullptr, dialog.m_hWnd);
}

TEST(DialogTest, QuittingTheProgramEndsItAndIsPassedOn)
{
    CDriven dialog;
    dialog.m_onIdle = [] { ::PostQuitMessage(5); };
    EXPECT_EQ(-1, dialog.DoModal());
    MSG message = {};
    ASSERT_TRUE(::PeekMessageW(&message, NULL, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(5u, message.wParam);
}

TEST(DialogTest, TemplatesInMemory)
{
    const HRSRC hResource = ::FindResourceW(NULL, MAKEINTRESOURCEW(IDD_EXCHANGE), RT_DIALOG);
    const DWORD cb = ::SizeofResource(NULL, hResource);
    const void* const pTemplate = ::LockResource(::LoadResource(NULL, hResource));
    struct CMemory : CDialog
    {
        BOOL OnInitDialog() override
        {
            EndDialog(GetDlgItem(IDC_TEXT) ? 11 : 12);
            return TRUE;
        }
    } dialog;
    ASSERT_TRUE(dialog.InitModalIndirect(static_cast<LPCDLGTEMPLATE>(pTemplate)));
    EXPECT_EQ(11, dialog.DoModal());
    const HGLOBAL hTemplate = ::GlobalAlloc(GMEM_MOVEABLE, cb);
    std::memcpy(::GlobalLock(hTemplate), pTemplate, cb);
    ::GlobalUnlock(hTemplate);
    CMemory global, cut;
    global.InitModalIndirect(hTemplate);
    EXPECT_EQ(11, global.DoModal());
    CDialog modeless;
    EXPECT_TRUE(modeless.CreateIndirect(static_cast<LPCDLGTEMPLATE>(pTemplate)));
    modeless.DestroyWindow();
    ::GlobalFree(hTemplate);
    const HGLOBAL hCut = ::GlobalAlloc(GMEM_MOVEABLE, cb / 2);
    std::memcpy(::GlobalLock(hCut), pTemplate, cb / 2);
    ::GlobalUnlock(hCut);
    cut.InitModalIndirect(hCut);
    EXPECT_EQ(-1, cut.DoModal());
    ::GlobalFree(hCut);
}

TEST(DialogTest, ListsAreFilledFromTheirResource)
{
    CModeless dialog(IDD_LISTS);
    ASSERT_TRUE(dialog.m_bCreated);
    EXPECT_EQ(2, dialog.SendDlgItemMessage(IDC_COMBO, CB_GETCOUNT));
    EXPECT_EQ(1, dialog.SendDlgItemMessage(IDC_COMBO, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                                           reinterpret_cast<LPARAM>(L"green")));
    EXPECT_EQ(1, dialog.SendDlgItemMessage(IDC_LIST, LB_GETCOUNT));
}

TEST(DialogTest, DefaultButtonAndUnits)
{
    CModeless dialog;
    EXPECT_EQ(static_cast<DWORD>(IDOK), LOWORD(dialog.GetDefID()));
    dialog.SetDefID(IDC_PUSH);
    EXPECT_EQ(static_cast<DWORD>(IDC_PUSH), LOWORD(dialog.GetDefID()));
    CRect rect(0, 0, 4, 8);
    dialog.MapDialogRect(rect);
    EXPECT_GT(rect.right, 4);
    EXPECT_TRUE(dialog.GetExStyle() & WS_EX_CONTROLPARENT);
}

TEST(DataExchangeTest, TextAndNumbersGoBothWays)
{
    CModeless dialog;
    CString str = L"hello";
    int n = -12;
    double r = 2.5;
    const auto exchange = [&](CDataExchange* pDX) {
        DDX_Text(pDX, IDC_TEXT, str);
        DDX_Text(pDX, IDC_NUMBER, n);
        DDX_Text(pDX, IDC_REAL, r);
    };
    EXPECT_TRUE(dialog.Exchange(FALSE, exchange));
    EXPECT_EQ(CString(L"hello"), dialog.Text(IDC_TEXT));
    EXPECT_EQ(CString(L"-12"), dialog.Text(IDC_NUMBER));
    EXPECT_EQ(CString(L"2.5"), dialog.Text(IDC_REAL));
    dialog.SetText(IDC_TEXT, L"new");
    dialog.SetText(IDC_NUMBER, L" 2147483647 ");
    dialog.SetText(IDC_REAL, L"-1e3");
    EXPECT_TRUE(dialog.Exchange(TRUE, exchange));
    EXPECT_EQ(CString(L"new"), str);
    EXPECT_EQ(2147483647, n);
    EXPECT_EQ(-1000.0, r);
}

TEST(DataExchangeTest, WhatIsNotANumberIsSaidAndRefused)
{
    CModeless dialog;
    int n = 5;
    UINT u = 5;
    BYTE b = 5;
    short s = 5;
    float f = 5;
    struct
    {
        LPCTSTR pszText;
        std::function<void(CDataExchange*)> exchange;
        LPCTSTR pszSaid;
    } rows[] = {
        {L"", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, n); }, L"Please enter an integer."},
        {L"12x", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, n); }, L"Please enter an integer."},
        {L"-", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, n); }, L"Please enter an integer."},
        {L"2147483648", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, n); }, L"Please enter an integer."},
        {L"99999999999999999999999", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, n); },
         L"Please enter an integer."},
        {L"32768", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, s); }, L"Please enter an integer."},
        {L"-1", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, u); }, L"Please enter a positive integer."},
        {L"256", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, b); }, L"Please enter an integer between 0 and 255."},
        {L"nan", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, f); }, L"Please enter a number."},
        {L"1e39", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, f); }, L"Please enter a number."},
        {L"0x10", [&](CDataExchange* p) { DDX_Text(p, IDC_NUMBER, f); }, L"Please enter a number."},
    };
    dialog.ShowWindow(SW_SHOW);
    for (const auto& row : rows) {
        dialog.SetText(IDC_NUMBER, row.pszText);
        dialog.GetDlgItem(IDC_TEXT)->SetFocus();
        CBoxAnswer answer;
        EXPECT_FALSE(dialog.Exchange(TRUE, row.exchange));
        ASSERT_EQ(1u, answer.m_texts.size()) << row.pszText;
        EXPECT_EQ(CString(row.pszSaid), answer.m_texts[0]);
        EXPECT_EQ(IDC_NUMBER, ::GetDlgCtrlID(::GetFocus()));
    }
    EXPECT_EQ(5, n);
    EXPECT_EQ(5u, u);
    EXPECT_EQ(5, b);
    EXPECT_EQ(5, s);
    EXPECT_EQ(5.0f, f);
}

TEST(DataExchangeTest, BoundsAndLengths)
{
    CModeless dialog;
    int n = 0;
    CString str;
    double r = 0;
    struct
    {
        LPCTSTR pszText;
        std::function<void(CDataExchange*)> exchange;
        LPCTSTR pszSaid;
    } rows[] = {
        {L"11",
         [&](CDataExchange* p) {
             DDX_Text(p, IDC_TEXT, n);
             DDV_MinMaxInt(p, n, -3, 10);
         },
         L"Please enter an integer between -3 and 10."},
        {L"0.4",
         [&](CDataExchange* p) {
             DDX_Text(p, IDC_TEXT, r);
             DDV_MinMaxDouble(p, r, 0.5, 2);
         },
         L"Please enter a number between 0.5 and 2."},
        {L"four",
         [&](CDataExchange* p) {
             DDX_Text(p, IDC_TEXT, str);
             DDV_MaxChars(p, str, 3);
         },
         L"Please enter no more than 3 characters."},
    };
    for (const auto& row : rows) {
        dialog.SetText(IDC_TEXT, row.pszText);
        CBoxAnswer answer;
        EXPECT_FALSE(dialog.Exchange(TRUE, row.exchange));
        ASSERT_EQ(1u, answer.m_texts.size()) << row.pszText;
        EXPECT_EQ(CString(row.pszSaid), answer.m_texts[0]);
    }
    EXPECT_TRUE(dialog.Exchange(FALSE, rows[2].exchange));
    EXPECT_EQ(3, dialog.SendDlgItemMessage(IDC_TEXT, EM_GETLIMITTEXT));
}

TEST(DataExchangeTest, ButtonsListsAndBars)
{
    CModeless dialog;
    CEdit edit;
    int nCheck = 1, nRadio = 2, nCombo = 1, nList = 0, nBar = 7;
    CString strCombo = L"be", strList = L"on";
    const auto exchange = [&](CDataExchange* pDX) {
        DDX_Control(pDX, IDC_TEXT, edit);
        DDX_Check(pDX, IDC_CHECK, nCheck);
        DDX_Radio(pDX, IDC_RADIO1, nRadio);
        DDX_Scroll(pDX, IDC_BAR, nBar);
    };
    ::SetScrollRange(*dialog.GetDlgItem(IDC_BAR), SB_CTL, 0, 20, FALSE);
    for (LPCTSTR psz : {L"alpha", L"beta"})
        dialog.SendDlgItemMessage(IDC_COMBO, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(psz));
    for (LPCTSTR psz : {L"one", L"two"})
        dialog.SendDlgItemMessage(IDC_LIST, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(psz));
    EXPECT_TRUE(dialog.Exchange(FALSE, exchange));
    EXPECT_EQ(&edit, dialog.GetDlgItem(IDC_TEXT));
    EXPECT_EQ(1u, dialog.IsDlgButtonChecked(IDC_CHECK));
    EXPECT_EQ(IDC_RADIO3, dialog.GetCheckedRadioButton(IDC_RADIO1, IDC_RADIO3));
    dialog.CheckRadioButton(IDC_RADIO1, IDC_RADIO3, IDC_RADIO2);
    dialog.CheckDlgButton(IDC_CHECK, 0);
    EXPECT_TRUE(dialog.Exchange(TRUE, exchange));
    EXPECT_EQ(0, nCheck);
    EXPECT_EQ(1, nRadio);
    EXPECT_EQ(7, nBar);
    dialog.CheckDlgButton(IDC_RADIO2, 0);
    EXPECT_TRUE(dialog.Exchange(TRUE, exchange));
    EXPECT_EQ(-1, nRadio);

    EXPECT_TRUE(dialog.Exchange(FALSE, [&](CDataExchange* p) { DDX_CBString(p, IDC_COMBO, strCombo); }));
    EXPECT_TRUE(dialog.Exchange(TRUE, [&](CDataExchange* p) { DDX_CBString(p, IDC_COMBO, strCombo); }));
    EXPECT_EQ(CString(L"beta"), strCombo);
    strCombo = L"be";
    EXPECT_TRUE(dialog.Exchange(FALSE, [&](CDataExchange* p) { DDX_CBStringExact(p, IDC_COMBO, strCombo); }));
    EXPECT_EQ(CString(L"be"), dialog.Text(IDC_COMBO));
    EXPECT_TRUE(dialog.Exchange(FALSE, [&](CDataExchange* p) { DDX_CBIndex(p, IDC_COMBO, nCombo); }));
    EXPECT_EQ(CString(L"beta"), dialog.Text(IDC_COMBO));
    EXPECT_TRUE(dialog.Exchange(FALSE, [&](CDataExchange* p) { DDX_LBString(p, IDC_LIST, strList); }));
    EXPECT_TRUE(dialog.Exchange(TRUE, [&](CDataExchange* p) { DDX_LBString(p, IDC_LIST, strList); }));
    EXPECT_EQ(CString(L"one"), strList);
    strList = L"tw";
    EXPECT_TRUE(dialog.Exchange(FALSE, [&](CDataExchange* p) { DDX_LBStringExact(p, IDC_LIST, strList); }));
    EXPECT_TRUE(dialog.Exchange(TRUE, [&](CDataExchange* p) { DDX_LBIndex(p, IDC_LIST, nList); }));
    EXPECT_EQ(-1, nList);
}

TEST(DataExchangeTest, AControlThatIsNotThereAndARecursionFail)
{
    CModeless dialog;
    int n = 0;
    CBoxAnswer answer;
    EXPECT_FALSE(dialog.Exchange(TRUE, [&](CDataExchange* p) { DDX_Text(p, 4711, n); }));
    EXPECT_EQ(1u, answer.m_texts.size());
#ifdef NDEBUG
    BOOL bInner = TRUE;
    EXPECT_TRUE(dialog.Exchange(TRUE, [&](CDataExchange*) { bInner = dialog.UpdateData(TRUE); }));
    EXPECT_FALSE(bInner);
#endif
}
