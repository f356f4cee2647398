// CFloatEdit on a dialog: where the focus goes, and who may end meanwhile.
#include "floatedit_fixture.h"
#include "support/log_capture.h"

#include <afxdlgs.h>

#include <memory>

TEST_F(FloatEditTest, AGoodNumberLetsTheFocusGo)
{
    CheckBounds();
    SetText(L"7.5");
    const CMessageBoxes boxes;
    Focus(m_edit);
    Key(VK_TAB);
    EXPECT_EQ(Item(IDC_OTHER), ::GetFocus());
    ShiftKey(VK_TAB);
    EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
    Click(Item(IDC_OTHER));
    EXPECT_EQ(Item(IDC_OTHER), ::GetFocus());
    EXPECT_EQ(L"", boxes.Texts());
}

TEST_F(FloatEditTest, AViolatedBoundShowsOneBoxAndTheFocusComesBack)
{
    CheckBounds();
    SetText(L"12");
    Focus(m_edit);
    const std::function<void()> ways[] = {[&] { Key(VK_TAB); }, [&] { Click(Item(IDC_OTHER)); },
                                          [&] { Click(Item(IDOK)); }, [&] { Focus(m_dialog); }};
    for (const auto& leave : ways) {
        const CMessageBoxes boxes;
        leave();
        EXPECT_EQ(L"The number must be smaller than  10.00", boxes.Texts());
        EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
    }
}

TEST_F(FloatEditTest, ABadOrEmptyTextPullsTheFocusBackWithoutABox)
{
    const CBeeps beeps;
    const CMessageBoxes boxes;
    m_edit.SetValidateMode(true);
    for (const wchar_t* text : {L"", L"x", L"1.2.3"}) {
        SetText(text);
        Focus(m_edit);
        Focus(Item(IDC_OTHER));
        EXPECT_EQ(m_edit.m_hWnd, ::GetFocus()) << text;
    }
    EXPECT_EQ(2u, CBeeps::Types().size());
    EXPECT_EQ(L"", boxes.Texts());
}

TEST_F(FloatEditTest, TheCancelButtonIsNeverRefused)
{
    CheckBounds();
    const CMessageBoxes boxes;
    for (const wchar_t* text : {L"", L"12", L"x"}) {
        SetText(text);
        Focus(m_edit);
        Click(Item(IDCANCEL));
        EXPECT_EQ(Item(IDCANCEL), ::GetFocus()) << text;
    }
    EXPECT_EQ(3, m_dialog.m_nCancelled);
    EXPECT_EQ(L"", boxes.Texts());
}

// The first field and the Cancel button are the two ends of the order of the tabulator.
TEST_F(FloatEditTest, TheTabulatorLeadsToTheCancelButtonButNotPastTheNextField)
{
    CheckBounds();
    const CMessageBoxes boxes;
    const CBeeps beeps;
    for (const wchar_t* text : {L"", L"12", L"x"}) {
        SCOPED_TRACE(text);
        SetText(text);
        Focus(m_edit);
        ShiftKey(VK_TAB);
        EXPECT_EQ(Item(IDCANCEL), ::GetFocus());
        Key(VK_TAB);
        EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
        EXPECT_EQ(0u, boxes.Met().size());
    }
    Key(VK_TAB);
    EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
    Key(VK_ESCAPE);
    EXPECT_EQ(1, m_dialog.m_nCancelled);
    EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
}

TEST_F(FloatEditTest, ARefusedLossOfTheFocusHasItsMessages)
{
    static constexpr struct
    {
        const wchar_t* text;
        const char* messages;
    } kCases[] = {
        {L"5", "set-focus GETSEL kill-focus"},
        {L"", "set-focus GETSEL kill-focus set-focus"},
        // The box takes the focus and gives it back, before the field takes it.
        {L"12", "set-focus GETSEL kill-focus set-focus"},
    };
    CheckBounds();
    m_edit.SetSilentMode(true);
    m_edit.Watch({{WM_SETFOCUS, "set-focus"}, {WM_KILLFOCUS, "kill-focus"}, {EM_GETSEL, "GETSEL"}});
    for (const auto& c : kCases) {
        m_edit.SetValidateMode(false);
        Focus(Item(IDOK));
        m_edit.SetValidateMode(true);
        m_edit.Noted();
        SetText(c.text);
        ::SetFocus(m_edit);
        ::SetFocus(Item(IDC_OTHER));
        EXPECT_EQ(c.messages, m_edit.Noted()) << c.text;
    }
}

TEST_F(FloatEditTest, TheFocusMayGoToNoWindow)
{
    CheckBounds();
    SetText(L"12");
    Focus(m_edit);
    const CMessageBoxes boxes;
    Focus(nullptr);
    EXPECT_EQ(L"The number must be smaller than  10.00", boxes.Texts());
    EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
}

TEST_F(FloatEditTest, ARefusalIsTraced)
{
    const CMessageBoxes boxes;
    CheckBounds();
    SetText(L"12");
    Focus(m_edit);
    const CLogToFile log;
    Focus(Item(IDC_OTHER));
    EXPECT_EQ(OnDisk("Error: Kill focus  not valid : 12\n"), log.Bytes());
    SetText(L"5");
    Focus(Item(IDC_OTHER));
    EXPECT_EQ(OnDisk("Error: Kill focus  not valid : 12\n"), log.Bytes());
    // The text is no format.
    const CBeeps beeps;
    SetText(L"%n%s");
    Focus(m_edit);
    Focus(Item(IDC_OTHER));
    EXPECT_EQ(OnDisk("Error: Kill focus  not valid : 12\nError: Kill focus  not valid : %n%s\n"), log.Bytes());
}

TEST_F(FloatEditTest, TwoFieldsDoNotAnswerEachOther)
{
    CFloatEdit other;
    ASSERT_TRUE(other.Subclass(IDC_OTHER, &m_dialog));
    other.SetBounds(0, 10);
    other.SetValidateMode(true);
    CheckBounds();
    SetText(L"12");
    ::SetWindowTextW(other, L"1");
    Focus(m_edit);
    const CMessageBoxes boxes;
    Key(VK_TAB);
    EXPECT_EQ(L"The number must be smaller than  10.00", boxes.Texts());
    EXPECT_EQ(m_edit.m_hWnd, ::GetFocus());
    SetText(L"5");
    Key(VK_TAB);
    EXPECT_EQ(other.m_hWnd, ::GetFocus());
    ::SetWindowTextW(other, L"");
    Key(VK_TAB);
    EXPECT_EQ(other.m_hWnd, ::GetFocus());
    ShiftKey(VK_TAB);
    EXPECT_EQ(other.m_hWnd, ::GetFocus());
    other.SetValidateMode(false);
}

TEST_F(FloatEditTest, TheWindowMayBeDestroyedDuringTheBox)
{
    CheckBounds();
    SetText(L"12");
    Focus(m_edit);
    CMessageBoxes boxes([&] { m_dialog.DestroyWindow(); });
    ::SetFocus(Item(IDC_OTHER));
    Pump();
    EXPECT_EQ(1u, boxes.Met().size());
    EXPECT_EQ(nullptr, m_edit.m_hWnd);
    EXPECT_EQ(nullptr, m_dialog.m_hWnd);
}

TEST_F(FloatEditTest, TheWindowMayBeDestroyedDuringTheBoxOfAKey)
{
    CheckBounds();
    m_edit.SetValidateTime(false);
    SetText(L"12");
    Focus(m_edit);
    CMessageBoxes boxes([&] { m_dialog.DestroyWindow(); });
    KeyUp(VK_LEFT);
    EXPECT_EQ(1u, boxes.Met().size());
    EXPECT_EQ(nullptr, m_edit.m_hWnd);
}

TEST_F(FloatEditTest, TheObjectMayBeDeletedDuringTheBox)
{
    auto other = std::make_unique<CFloatEdit>();
    ASSERT_TRUE(other->Subclass(IDC_OTHER, &m_dialog));
    ::SetDlgItemTextW(m_dialog, IDC_OTHER, L"12");
    other->SetBounds(0, 10);
    other->SetValidateMode(true);
    Focus(Item(IDC_OTHER));
    CMessageBoxes boxes([&] { other.reset(); });
    ::SetFocus(Item(IDOK));
    Pump();
    EXPECT_EQ(1u, boxes.Met().size());
    EXPECT_FALSE(::IsWindow(Item(IDC_OTHER)));
}

TEST_F(FloatEditTest, DestroyingAnInvalidFocusedFieldAsksUnlessTheCheckIsSwitchedOff)
{
    for (const bool bChecked : {true, false}) {
        CControlsDialog dialog;
        CFloatEdit edit;
        ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
        dialog.ShowWindow(SW_SHOW);
        ASSERT_TRUE(edit.Subclass(IDC_NUMBER, &dialog));
        edit.SetBounds(0, 10);
        edit.SetValidateMode(bChecked);
        edit.SetWindowText(L"12");
        Focus(edit);
        const CMessageBoxes boxes;
        dialog.DestroyWindow();
        Pump();
        EXPECT_EQ(bChecked ? L"The number must be smaller than  10.00" : L"", boxes.Texts());
        EXPECT_EQ(nullptr, edit.m_hWnd);
    }
}

namespace {

class CNumberPage : public CPropertyPage
{
public:
    CNumberPage() : CPropertyPage(IDD_CONTROLS_PAGE) {}

    CFloatEdit m_edit;

protected:
    BOOL OnInitDialog() override
    {
        CPropertyPage::OnInitDialog();
        m_edit.Subclass(IDC_NUMBER, this);
        m_edit.SetBounds(0, 10);
        m_edit.SetValidateMode(true);
        return TRUE;
    }
};

class FloatEditSheetTest : public CControlsFixture
{
protected:
    void SetUp() override
    {
        CControlsFixture::SetUp();
        m_sheet.AddPage(&m_page);
        m_sheet.AddPage(&m_second);
        ASSERT_TRUE(m_sheet.Create(&m_dialog));
        ::SetForegroundWindow(m_sheet);
        Pump();
        ASSERT_NE(nullptr, m_page.m_edit.m_hWnd);
        ::SetWindowTextW(m_page.m_edit, L"12");
        Focus(m_page.m_edit);
        ASSERT_EQ(m_page.m_edit.m_hWnd, ::GetFocus());
    }
    void TearDown() override
    {
        if (m_page.m_edit.m_hWnd) m_page.m_edit.SetValidateMode(false);
        m_sheet.DestroyWindow();
        CControlsFixture::TearDown();
    }

    CNumberPage m_page, m_second;
    CPropertySheet m_sheet{L"Sheet"};
};

} // namespace

TEST_F(FloatEditSheetTest, ABadNumberKeepsTheFocusOnItsPage)
{
    const HWND other = ::GetDlgItem(m_page, IDC_OTHER);
    const std::function<void()> ways[] = {[&] { Focus(other); }, [&] { Click(other); }, [&] { Key(VK_TAB); },
                                          [&] { Click(::GetDlgItem(m_sheet, IDOK)); }};
    for (const auto& leave : ways) {
        const CMessageBoxes boxes;
        leave();
        EXPECT_EQ(L"The number must be smaller than  10.00", boxes.Texts());
        EXPECT_EQ(m_page.m_edit.m_hWnd, ::GetFocus());
    }
    CMessageBoxes boxes;
    boxes.TakePicture(L"floatedit-on-a-page");
    Focus(other);
    EXPECT_EQ(1u, boxes.Met().size());
}

TEST_F(FloatEditSheetTest, AGoodNumberLetsTheFocusGo)
{
    const CMessageBoxes boxes;
    ::SetWindowTextW(m_page.m_edit, L"7.5");
    Key(VK_TAB);
    EXPECT_EQ(::GetDlgItem(m_page, IDC_OTHER), ::GetFocus());
    ShiftKey(VK_TAB);
    EXPECT_EQ(m_page.m_edit.m_hWnd, ::GetFocus());
    EXPECT_EQ(L"", boxes.Texts());
}

TEST_F(FloatEditSheetTest, TheSheetsCancelButtonIsNeverRefused)
{
    const CMessageBoxes boxes;
    const HWND cancel = ::GetDlgItem(m_sheet, IDCANCEL);
    ASSERT_TRUE(cancel);
    Focus(cancel);
    EXPECT_EQ(cancel, ::GetFocus());
    EXPECT_EQ(L"", boxes.Texts());
}
