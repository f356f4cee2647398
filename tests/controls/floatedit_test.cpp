// CFloatEdit on a dialog: which texts pass, and what can be typed, pasted and dropped.
#include "floatedit_fixture.h"
#include "leak_support.h"

#include <cmath>
#include <limits>

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
        {L"999999", std::wstring(291, L' ') + L"10.000000"},
        {L".999999", L"10." + std::wstring(300, L'0')},
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
    Type(L"1a.B+ -x9,e\x0661\x06F1\x0967\xFF11\xD800\xDC00\x1F\x7F%");
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

namespace {

// What nobody can type: too much, no characters at all, halves of characters, and digits of other scripts.
const std::wstring kForeignTexts[] = {
    std::wstring(60000, L'7') + L"x",
    std::wstring(1000, L'\xD800'),
    L"\x01\x02",
    L"1\x7F"
    L"2",
    L"1\t2",
    L"1\r\n2",
    L"\xD800\xDC00\xDFFF",
    L"1\xDC00",
    L"\x0661\x0662", // Arabic
    L"\x0967",       // Devanagari
    L"\x0E51",       // Thai
    L"\xFF11",       // full width
    L"%n%s",
};

} // namespace

TEST_F(FloatEditTest, WhatIsDroppedIsNotFilteredButChecked)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    ::SendMessageW(m_edit, EM_SETLIMITTEXT, 70000, 0);
    for (const std::wstring& text : kForeignTexts) {
        SCOPED_TRACE(testing::PrintToString(text.substr(0, 10)));
        SetText(L"5");
        Select(0, -1);
        ::SendMessageW(m_edit, EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.c_str()));
        EXPECT_EQ(text, TextOf(IDC_NUMBER));
        CBeeps::Types().clear();
        EXPECT_FALSE(m_edit.Validate(false));
        EXPECT_EQ(1u, CBeeps::Types().size());
    }
}

TEST_F(FloatEditTest, WhatIsPastedIsNotFilteredButChecked)
{
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    ::SendMessageW(m_edit, EM_SETLIMITTEXT, 70000, 0);
    for (const std::wstring& text : kForeignTexts) {
        SCOPED_TRACE(testing::PrintToString(text.substr(0, 10)));
        // A field of one line takes no more than a line.
        const std::wstring line = text.substr(0, text.find_first_of(L"\r\n"));
        const CClipboardText clipboard(text);
        SetText(L"5");
        Focus(m_edit);
        Select(0, -1);
        CBeeps::Types().clear();
        ::SendMessageW(m_edit, WM_PASTE, 0, 0);
        EXPECT_EQ(line, TextOf(IDC_NUMBER));
        KeyUp(VK_INSERT);
        EXPECT_EQ(text == line ? 1u : 0u, CBeeps::Types().size());
    }
}

TEST_F(FloatEditTest, ThePastingKeysPasteUnlessTheyAreCharacters)
{
    const CClipboardText clipboard(L"12");
    Focus(m_edit);
    ShiftKey(VK_INSERT);
    EXPECT_EQ(L"12", TextOf(IDC_NUMBER));
    ControlKey('V'); // a control character, and swallowed as such
    EXPECT_EQ(L"12", TextOf(IDC_NUMBER));
}

TEST_F(FloatEditTest, APastedNumberPasses)
{
    const CClipboardText clipboard(L"7.5");
    const CBeeps beeps;
    CheckBounds();
    Focus(m_edit);
    ShiftKey(VK_INSERT);
    EXPECT_TRUE(CBeeps::Types().empty());
    Key(VK_TAB);
    EXPECT_EQ(Item(IDC_OTHER), ::GetFocus());
}

TEST_F(FloatEditTest, APasteEndsAtTheFieldsLimit)
{
    const CClipboardText clipboard(std::wstring(60000, L'7'));
    Focus(m_edit);
    ::SendMessageW(m_edit, EM_SETLIMITTEXT, 100, 0);
    ::SendMessageW(m_edit, WM_PASTE, 0, 0);
    EXPECT_EQ(std::wstring(100, L'7'), TextOf(IDC_NUMBER));
    Type(L"8");
    EXPECT_EQ(std::wstring(100, L'7'), TextOf(IDC_NUMBER));
}

TEST_F(FloatEditTest, SixtyThousandCharactersCanBeTypedAndAreTooLargeANumber)
{
    const CBeeps beeps;
    ::SendMessageW(m_edit, EM_SETLIMITTEXT, 70000, 0);
    SetText(std::wstring(59999, L'7').c_str());
    ::SendMessageW(m_edit, WM_CHAR, L'x', 1);
    ::SendMessageW(m_edit, WM_CHAR, L'8', 1);
    EXPECT_TRUE(L"8" + std::wstring(59999, L'7') == TextOf(IDC_NUMBER));
    m_edit.SetValidateMode(true);
    EXPECT_FALSE(m_edit.Validate(false));
    EXPECT_EQ(1u, CBeeps::Types().size());
}

TEST_F(FloatEditTest, EachKeyHasItsMessages)
{
    static constexpr struct
    {
        const wchar_t* key;
        const char* messages;
    } kKeys[] = {
        {L"1", "key-down GETSEL char key-up GETSEL"},
        {L".", "key-down GETSEL char key-up GETSEL"},
        {L"x", "key-down GETSEL char key-up GETSEL"},
        {L".", "key-down GETSEL char key-up SETSEL SCROLLCARET"},
    };
    const CBeeps beeps;
    m_edit.SetValidateMode(true);
    Focus(m_edit);
    m_edit.Watch({{WM_KEYDOWN, "key-down"},
                  {WM_CHAR, "char"},
                  {WM_KEYUP, "key-up"},
                  {EM_GETSEL, "GETSEL"},
                  {EM_SETSEL, "SETSEL"},
                  {EM_SCROLLCARET, "SCROLLCARET"}});
    for (const auto& key : kKeys) {
        Type(key.key);
        EXPECT_EQ(key.messages, m_edit.Noted()) << key.key;
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

TEST_F(FloatEditTest, IsShownInEachState)
{
    CFloatEdit other;
    ASSERT_TRUE(other.Subclass(IDC_OTHER, &m_dialog));
    TakePicture(L"floatedit-empty");
    SetText(L"-273.15");
    ::SetWindowTextW(other, L"disabled");
    other.EnableWindow(FALSE);
    Focus(m_edit);
    TakePicture(L"floatedit-number-focused-and-disabled");
    CheckBounds();
    SetText(L"12");
    CMessageBoxes boxes;
    boxes.TakePicture(L"floatedit-bound-violated");
    Focus(Item(IDOK));
    EXPECT_EQ(1u, boxes.Met().size());
}

TEST_F(FloatEditTest, FiveHundredOpeningsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([] {
        CControlsDialog dialog;
        CFloatEdit edit;
        ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
        ASSERT_TRUE(edit.Subclass(IDC_NUMBER, &dialog));
        edit.SetWindowText(L"5");
        edit.SetBounds(0, 10);
        edit.SetValidateMode(true);
        EXPECT_TRUE(edit.Validate(true));
        dialog.DestroyWindow();
        ASSERT_EQ(nullptr, edit.m_hWnd);
    });
}
