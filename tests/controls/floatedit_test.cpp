// CFloatEdit on a dialog: what can be typed, what passes, and where the focus goes.
#include "controls/floatedit.h"

#include "controls_fixture.h"
#include "support/gdi_objects.h"
#include "support/log_capture.h"

#include <afxdlgs.h>

#include <cmath>
#include <limits>
#include <memory>

namespace {

class CSelection
{
public:
    explicit CSelection(HWND edit)
    {
        ::SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
    }
    DWORD start = 0, end = 0;
};

class FloatEditTest : public CControlsFixture
{
protected:
    void SetUp() override
    {
        CControlsFixture::SetUp();
        ASSERT_TRUE(m_edit.Subclass(IDC_NUMBER, &m_dialog));
    }
    // A dialog that goes with a bad number in its focused field would ask once more.
    void TearDown() override
    {
        if (m_edit.m_hWnd) m_edit.SetValidateMode(false);
        CControlsFixture::TearDown();
    }
    // Between 0 and 10, checked.
    void CheckBounds()
    {
        m_edit.SetBounds(0, 10);
        m_edit.SetValidateMode(true);
    }
    void SetText(const wchar_t* text) { ::SetWindowTextW(m_edit, text); }
    void Select(int start, int end) { ::SendMessageW(m_edit, EM_SETSEL, start, end); }

    CFloatEdit m_edit;
};

} // namespace

TEST_F(FloatEditTest, SubclassOfAMissingItemFails)
{
    CFloatEdit edit;
    EXPECT_EQ(0, edit.Subclass(4711, &m_dialog));
    EXPECT_EQ(0, edit.Subclass(IDC_OTHER, nullptr));
    EXPECT_EQ(nullptr, edit.m_hWnd);
    EXPECT_NE(0, edit.Subclass(IDC_OTHER, &m_dialog));
    EXPECT_EQ(Item(IDC_OTHER), edit.m_hWnd);
}

TEST_F(FloatEditTest, TheModesAnswerWhatTheyWere)
{
    EXPECT_FALSE(m_edit.SetValidateMode(true));
    EXPECT_TRUE(m_edit.SetValidateMode(true));
    EXPECT_TRUE(m_edit.SetValidateMode(false));
    EXPECT_FALSE(m_edit.SetSilentMode(true));
    EXPECT_TRUE(m_edit.SetSilentMode(false));
    EXPECT_FALSE(m_edit.SetSilentMode(false));
}

TEST_F(FloatEditTest, WithTheCheckOffEveryTextPassesAndTheFocusLeaves)
{
    m_edit.SetBounds(0, 10);
    for (const wchar_t* text : {L"", L"12", L"abc", L"1.2.3"}) {
        SetText(text);
        EXPECT_TRUE(m_edit.Validate(true)) << text;
        Focus(m_edit);
        Key(VK_TAB);
        EXPECT_EQ(Item(IDC_OTHER), ::GetFocus()) << text;
    }
}

TEST_F(FloatEditTest, TextsAreCheckedAsNumbers)
{
    const std::wstring large = L"9" + std::wstring(60, L'9');
    const std::wstring precise = L"1." + std::wstring(40, L'1');
    const struct
    {
        std::wstring text;
        bool passes;
        size_t beeps;
    } kCases[] = {
        {L"12", true, 0},     {L"12.5", true, 0},
        {L"-5", true, 0},     {L"+5", true, 0},
        {L".", true, 0},      {L"5.", true, 0},
        {L"  7", true, 0},    {L"12a", false, 1},
        {L"1.2.3", false, 1}, {L"1-2", false, 1},
        {L"--1", false, 1},   {L"1e5", false, 1},
        {large, false, 1},    {precise, false, 1},
        {L"", false, 0},      {L"   ", false, 0},
        {L"-", false, 0},     {L"\x0661\x0662", false, 1},
        {L"1 ", false, 1},    {std::wstring(60000, L'x'), false, 1},
    };
    const CBeeps beeps;
    const CMessageBoxes boxes;
    m_edit.SetValidateMode(true);
    for (const auto& c : kCases) {
        SetText(c.text.c_str());
        CBeeps::Types().clear();
        EXPECT_EQ(c.passes, m_edit.Validate(false)) << c.text.substr(0, 70);
        EXPECT_EQ(std::vector<UINT>(c.beeps, 0xFFFFFFFF), CBeeps::Types()) << c.text.substr(0, 70);
    }
    EXPECT_EQ(L"", boxes.Texts());
}

TEST_F(FloatEditTest, BoundsAreNamedInAMessageBox)
{
    static constexpr struct
    {
        const wchar_t* text;
        bool passes;
        const wchar_t* box;
    } kCases[] = {
        {L"5", false, L"The number must be greater than   6.25"},     {L"6.25", true, L""}, {L"10", true, L""},
        {L"10.01", false, L"The number must be smaller than  10.00"}, {L"-7", true, L""}, // 7
        {L"-12", false, L"The number must be smaller than  10.00"},
    };
    m_edit.SetBounds(6.25f, 10);
    m_edit.SetValidateMode(true);
    for (const auto& c : kCases) {
        SetText(c.text);
        const CMessageBoxes boxes;
        EXPECT_EQ(c.passes, m_edit.Validate(true)) << c.text;
        EXPECT_EQ(c.box, boxes.Texts()) << c.text;
        EXPECT_TRUE(m_edit.Validate(false)) << c.text;
    }
}

TEST_F(FloatEditTest, TheBoxIsTheFrameworksOverTheDialog)
{
    CheckBounds();
    SetText(L"12");
    const CMessageBoxes boxes;
    EXPECT_FALSE(m_edit.Validate(true));
    ASSERT_EQ(1u, boxes.Met().size());
    EXPECT_EQ(L"test_controls", boxes.Met()[0].caption);
    EXPECT_EQ(m_dialog.m_hWnd, boxes.Met()[0].owner);
    EXPECT_EQ(::LoadIconW(nullptr, IDI_EXCLAMATION), boxes.Met()[0].icon);
}

TEST_F(FloatEditTest, InSilentModeABoundFailsWithoutABox)
{
    CheckBounds();
    m_edit.SetSilentMode(true);
    SetText(L"12");
    const CMessageBoxes boxes;
    const CBeeps beeps;
    EXPECT_FALSE(m_edit.Validate(true));
    EXPECT_EQ(L"", boxes.Texts());
    EXPECT_TRUE(CBeeps::Types().empty());
}

TEST_F(FloatEditTest, BoundsMayBeAnything)
{
    const float fNone = std::numeric_limits<float>::quiet_NaN();
    const float fEndless = std::numeric_limits<float>::infinity();
    const struct
    {
        float lower, upper;
        bool passes;
    } kCases[] = {
        {10, 0, false},           {fNone, fNone, true}, {-fEndless, fEndless, true}, {fEndless, -fEndless, false},
        {fEndless, fNone, false}, {5, 5, true},         {fNone, 4, false},           {-10, -1, false},
    };
    m_edit.SetValidateMode(true);
    SetText(L"5");
    for (const auto& c : kCases) {
        const CMessageBoxes boxes;
        m_edit.SetBounds(c.lower, c.upper);
        EXPECT_EQ(c.passes, m_edit.Validate(true)) << c.lower << ' ' << c.upper;
        EXPECT_EQ(c.passes ? 0u : 1u, boxes.Met().size()) << c.lower << ' ' << c.upper;
    }
}

TEST_F(FloatEditTest, ThePrecisionStringCanOnlyShapeTheBound)
{
    const std::wstring blanks(295, L' ');
    const struct
    {
        const wchar_t* precision;
        std::wstring bound;
    } kCases[] = {
        {L"6.2", L" 10.00"},
        {L"", L"10.000000"},
        {L".0", L"10"},
        {L".", L"10"},
        {L"-8.1", L"10.0    "},
        {L"+08.1", L"+00010.0"},
        {L"6.2l", L" 10.00"},
        {L"999999.2", blanks + L"10.00"},
        {L"99999999999999999999.2", blanks + L"10.00"},
        // None of them is a shape: as "6.2".
        {L"%n", L" 10.00"},
        {L"n", L" 10.00"},
        {L"s%s%s%s", L" 10.00"},
        {L"*.*", L" 10.00"},
        {L"6.2f%n", L" 10.00"},
        {L"6.2ll", L" 10.00"},
        {L"6,2", L" 10.00"},
        {L"\xD800", L" 10.00"},
    };
    CheckBounds();
    SetText(L"12");
    for (const auto& c : kCases) {
        m_edit.SetPrecisionString(c.precision);
        const CMessageBoxes boxes;
        EXPECT_FALSE(m_edit.Validate(true));
        EXPECT_EQ(L"The number must be smaller than " + c.bound, boxes.Texts()) << c.precision;
    }
}

TEST_F(FloatEditTest, AcceptingNegativesChangesNoCheck)
{
    CheckBounds();
    for (const bool accept : {true, false}) {
        m_edit.SetAcceptNegative(accept);
        SetText(L"-5");
        EXPECT_TRUE(m_edit.Validate(true));
    }
}

TEST_F(FloatEditTest, OnlyNumbersCanBeTyped)
{
    Focus(m_edit);
    Type(L"1a.B+ -x9,e\x0661\xFF11%");
    EXPECT_EQ(L"1.+-9", TextOf(IDC_NUMBER));
    Key(VK_BACK);
    EXPECT_EQ(L"1.+-", TextOf(IDC_NUMBER));
}

TEST_F(FloatEditTest, EveryOtherCharacterIsSwallowed)
{
    std::wstring expected;
    Focus(m_edit);
    for (UINT ch = 9; ch < 0x10000; ++ch) {
        if ((ch >= L'0' && ch <= L'9') || ch == L'.' || ch == L'+' || ch == L'-') expected += static_cast<wchar_t>(ch);
        ::SendMessageW(m_edit, WM_CHAR, ch, 1);
    }
    for (UINT ch = 0; ch < 8; ++ch) ::SendMessageW(m_edit, WM_CHAR, ch, 1);
    EXPECT_EQ(expected, TextOf(IDC_NUMBER));
    EXPECT_EQ(L"+-.0123456789", expected);
}

TEST_F(FloatEditTest, WhatIsPastedIsNotFilteredButChecked)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    const std::wstring texts[] = {std::wstring(60000, L'7') + L"x", L"\x01\x02", L"\xD800\xDC00\xDFFF", L"\x0967"};
    for (const std::wstring& text : texts) {
        ::SendMessageW(m_edit, EM_SETLIMITTEXT, 70000, 0);
        Select(0, -1);
        ::SendMessageW(m_edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.c_str()));
        CBeeps::Types().clear();
        Focus(m_edit);
        Key(VK_LEFT);
        EXPECT_EQ(1u, CBeeps::Types().size());
        EXPECT_EQ(text, TextOf(IDC_NUMBER));
    }
}

TEST_F(FloatEditTest, ASecondPointIsTypedButBeepsAndTheCaretGoesBack)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    Focus(m_edit);
    Type(L"1.2");
    EXPECT_TRUE(CBeeps::Types().empty());
    Type(L".");
    EXPECT_EQ(L"1.2.", TextOf(IDC_NUMBER));
    EXPECT_EQ(std::vector<UINT>(1, 0xFFFFFFFF), CBeeps::Types());
    EXPECT_EQ(3u, CSelection(m_edit).start);
    EXPECT_EQ(3u, CSelection(m_edit).end);
    TakePicture(L"floatedit-refused");
}

TEST_F(FloatEditTest, AfterABadKeyTheSelectionOfTheKeyDownIsBack)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    SetText(L"12345");
    Focus(m_edit);
    Select(1, 3);
    Type(L"-");
    EXPECT_EQ(L"1-45", TextOf(IDC_NUMBER));
    EXPECT_EQ(1u, CSelection(m_edit).start);
    EXPECT_EQ(3u, CSelection(m_edit).end);
}

TEST_F(FloatEditTest, AKeyThatComesUpWithoutGoingDownRestoresTheSelectionOfTheFocus)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    SetText(L"1x5");
    Select(1, 2);
    ::SetFocus(m_edit);
    const CSelection atFocus(m_edit);
    Select(3, 3);
    KeyUp(VK_LEFT);
    EXPECT_EQ(atFocus.start, CSelection(m_edit).start);
    EXPECT_EQ(atFocus.end, CSelection(m_edit).end);
}

TEST_F(FloatEditTest, AnEmptyFieldIsSilent)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    SetText(L"1");
    Focus(m_edit);
    Select(1, 1);
    Key(VK_BACK);
    EXPECT_EQ(L"", TextOf(IDC_NUMBER));
    EXPECT_TRUE(CBeeps::Types().empty());
    Type(L"2");
    EXPECT_EQ(L"2", TextOf(IDC_NUMBER));
}

TEST_F(FloatEditTest, BoundsAreCheckedWithEachKeyOnlyWhenAskedFor)
{
    CheckBounds();
    Focus(m_edit);
    {
        const CMessageBoxes boxes;
        Type(L"12");
        EXPECT_EQ(L"", boxes.Texts());
        SetText(L"");
        m_edit.SetValidateTime(false);
        Type(L"12");
        EXPECT_EQ(L"The number must be smaller than  10.00", boxes.Texts());
    }
    EXPECT_EQ(L"12", TextOf(IDC_NUMBER));
    EXPECT_EQ(2u, CSelection(m_edit).start); // the focus that came back from the box has saved it
    // And then not when the focus leaves.
    const CMessageBoxes boxes;
    Focus(Item(IDC_OTHER));
    EXPECT_EQ(Item(IDC_OTHER), ::GetFocus());
    EXPECT_EQ(L"", boxes.Texts());
}

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
    CheckBounds();
    SetText(L"12");
    Focus(m_edit);
    m_edit.SetValidateMode(false);
    const CMessageBoxes boxes;
    m_dialog.DestroyWindow();
    EXPECT_EQ(L"", boxes.Texts());
}

TEST_F(FloatEditTest, OpeningAndClosingLeavesNothingBehind)
{
    const auto round = [] {
        CControlsDialog dialog;
        CFloatEdit edit;
        ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
        ASSERT_TRUE(edit.Subclass(IDC_NUMBER, &dialog));
        dialog.DestroyWindow();
        ASSERT_EQ(nullptr, edit.m_hWnd);
        CWnd::DeleteTempMap();
        CGdiObject::DeleteTempMap();
    };
    round();
    const int nBefore = CountGdiObjects();
    for (int i = 0; i < 500; ++i) round();
    EXPECT_EQ(nBefore, CountGdiObjects());
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

} // namespace

TEST_F(FloatEditTest, OnAPropertyPageTheFocusStaysToo)
{
    CNumberPage page;
    CPropertySheet sheet(L"Sheet");
    sheet.AddPage(&page);
    ASSERT_TRUE(sheet.Create(&m_dialog));
    Pump();
    ASSERT_NE(nullptr, page.m_edit.m_hWnd);
    ::SetWindowTextW(page.m_edit, L"12");
    Focus(page.m_edit);
    {
        const CMessageBoxes boxes;
        Focus(::GetDlgItem(page, IDC_OTHER));
        EXPECT_EQ(L"The number must be smaller than  10.00", boxes.Texts());
        EXPECT_EQ(page.m_edit.m_hWnd, ::GetFocus());
    }
    page.m_edit.SetValidateMode(false);
    sheet.DestroyWindow();
}
