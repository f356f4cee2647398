// CCJFlatComboBox on a dialog: its frame in each state, and the completion of what is typed.
#include "controls/flatcombobox.h"

#include "controls_fixture.h"
#include "leak_support.h"

#include <memory>

namespace {

class CTestCombo : public CCJFlatComboBox
{
public:
    using CCJFlatComboBox::DrawCombo;
};

class FlatComboBoxTest : public CControlsFixture
{
protected:
    void SetUp() override
    {
        CControlsFixture::SetUp();
        ASSERT_TRUE(m_combo.SubclassDlgItem(IDC_COMBO, &m_dialog));
        ASSERT_TRUE(m_list.SubclassDlgItem(IDC_LIST, &m_dialog));
        for (const wchar_t* item : {L"abc", L"abd", L"xyz"}) {
            m_combo.AddString(item);
            m_list.AddString(item);
        }
        m_combo.Invalidate();
        m_list.Invalidate();
        Pump();
    }
    // The edit field gets the focus, and is empty.
    void FocusField()
    {
        Focus(m_combo);
        ASSERT_TRUE(::IsChild(m_combo, ::GetFocus()));
    }
    std::wstring Field() const { return TextOf(IDC_COMBO); }
    int Start() const { return LOWORD(m_combo.GetEditSel()); }
    int End() const { return HIWORD(m_combo.GetEditSel()); }

    CTestCombo m_combo, m_list;
};

// The frame of a combo box as it is on the screen: the outer corners, the ring inside, and the arrow button's edges.
struct Frame
{
    explicit Frame(CWnd& combo)
    {
        combo.UpdateWindow();
        const CPixels pixels(combo);
        const CRect all = pixels.All();
        const int middle = all.bottom / 2;
        // Where the button's edges are drawn: two rings inside the frame, grown by one above and below.
        CRect button(all.right - 2 - ::GetSystemMetrics(SM_CXVSCROLL) + 1, 2, all.right - 3, all.bottom - 2);
        topLeft = pixels.At(0, middle);
        bottomRight = pixels.At(all.right - 1, middle);
        inner = pixels.At(1, middle);
        buttonLeft = pixels.At(button.left, middle);
        buttonRight = pixels.At(button.right - 1, middle);
        buttonBefore = pixels.At(button.left - 1, middle);
        buttonPressedLeft = pixels.At(button.left + 1, middle);
        buttonPressedRight = pixels.At(button.right, middle);
    }
    COLORREF topLeft, bottomRight, inner, buttonLeft, buttonRight, buttonBefore, buttonPressedLeft, buttonPressedRight;
};

const COLORREF kFace = ::GetSysColor(COLOR_BTNFACE), kShadow = ::GetSysColor(COLOR_BTNSHADOW),
               kDark = ::GetSysColor(COLOR_3DDKSHADOW);

bool IsFlat(CWnd& combo)
{
    const Frame frame(combo);
    return frame.topLeft == kFace && frame.bottomRight == kFace;
}

bool IsRaised(CWnd& combo)
{
    const Frame frame(combo);
    return frame.topLeft == kShadow && frame.bottomRight == kDark && frame.buttonLeft == kDark &&
           frame.buttonRight == kShadow;
}

bool IsPressed(CWnd& combo)
{
    const Frame frame(combo);
    return frame.topLeft == kShadow && frame.bottomRight == kDark && frame.buttonPressedLeft == kShadow &&
           frame.buttonPressedRight == kDark;
}

} // namespace

TEST_F(FlatComboBoxTest, KnowsItsClass)
{
    EXPECT_STREQ("CCJFlatComboBox", CCJFlatComboBox::classCCJFlatComboBox.m_lpszClassName);
    EXPECT_TRUE(m_combo.IsKindOf(RUNTIME_CLASS(CCJFlatComboBox)));
    EXPECT_TRUE(m_combo.IsKindOf(RUNTIME_CLASS(CComboBox)));
    EXPECT_EQ(1, CCJFlatComboBox::STATE_NORMAL);
    EXPECT_EQ(2, CCJFlatComboBox::STATE_RAISED);
    EXPECT_EQ(3, CCJFlatComboBox::STATE_PRESSED);
}

TEST_F(FlatComboBoxTest, TheColoursOfTheTestCanBeToldApart)
{
    EXPECT_NE(kFace, kShadow);
    EXPECT_NE(kFace, kDark);
    EXPECT_NE(kShadow, kDark);
}

TEST_F(FlatComboBoxTest, IsFlatAtRest)
{
    EXPECT_TRUE(IsFlat(m_combo));
    EXPECT_TRUE(IsFlat(m_list));
    TakePicture(L"flatcombobox-flat");
    const Frame frame(m_list);
    EXPECT_EQ(kFace, frame.inner);
    EXPECT_EQ(kDark, frame.buttonLeft);
    EXPECT_EQ(kDark, frame.buttonBefore);
    EXPECT_EQ(kDark, frame.buttonRight);
}

TEST_F(FlatComboBoxTest, PaintingTakesTheSunkenEdgesAway)
{
    const DWORD dwEdges = WS_EX_DLGMODALFRAME | WS_EX_CLIENTEDGE | WS_EX_STATICEDGE;
    m_list.ModifyStyleEx(0, dwEdges, SWP_FRAMECHANGED);
    m_list.Invalidate();
    m_list.UpdateWindow();
    EXPECT_EQ(0u, m_list.GetExStyle() & dwEdges);
    CRect window, client;
    m_list.GetWindowRect(window);
    m_list.GetClientRect(client);
    EXPECT_TRUE(window.Size() == client.Size());
}

TEST_F(FlatComboBoxTest, EachStateIsDrawnInItsColours)
{
    constexpr COLORREF kOne = RGB(1, 200, 3), kTwo = RGB(200, 5, 6);
    m_list.DrawCombo(CCJFlatComboBox::STATE_NORMAL, kOne, kTwo);
    const CPixels normal(m_list);
    const CRect all = normal.All();
    const CRect button(all.right - 1 - ::GetSystemMetrics(SM_CXVSCROLL), 2, all.right - 3, all.bottom - 2);
    EXPECT_EQ(kOne, normal.At(0, 0));
    EXPECT_EQ(kOne, normal.At(all.right - 2, 0));
    EXPECT_EQ(kTwo, normal.At(all.right - 1, all.bottom - 1));
    EXPECT_EQ(kFace, normal.At(1, 1));
    EXPECT_EQ(kDark, normal.At(button.left, button.top));
    EXPECT_EQ(kDark, normal.At(button.left - 1, button.top));
    EXPECT_EQ(kDark, normal.At(button.right - 1, button.bottom - 1));

    m_list.DrawCombo(CCJFlatComboBox::STATE_RAISED, kOne, kTwo);
    const CPixels raised(m_list);
    EXPECT_EQ(kDark, raised.At(button.left, button.top));
    EXPECT_EQ(kDark, raised.At(button.right - 2, button.top));
    EXPECT_EQ(kShadow, raised.At(button.right - 1, button.bottom - 1));
    EXPECT_EQ(kShadow, raised.At(button.left + 1, button.bottom - 1));

    m_list.DrawCombo(CCJFlatComboBox::STATE_PRESSED, kOne, kTwo);
    const CPixels pressed(m_list);
    EXPECT_EQ(kShadow, pressed.At(button.left + 1, button.top + 1));
    EXPECT_EQ(kDark, pressed.At(button.right, button.bottom));
    EXPECT_EQ(kDark, pressed.At(button.left + 2, button.bottom));
}

TEST_F(FlatComboBoxTest, ADisabledBoxHasADarkRingAndNoButtonStates)
{
    m_list.EnableWindow(FALSE);
    m_list.Invalidate();
    m_list.UpdateWindow();
    EXPECT_EQ(kDark, Frame(m_list).inner);
    TakePicture(L"flatcombobox-disabled");
    const Frame normal(m_list);
    m_list.DrawCombo(CCJFlatComboBox::STATE_PRESSED, kFace, kFace);
    const Frame pressed(m_list);
    EXPECT_EQ(normal.buttonLeft, pressed.buttonLeft);
    EXPECT_EQ(normal.buttonPressedLeft, pressed.buttonPressedLeft);
    EXPECT_EQ(kFace, pressed.buttonLeft);
    m_list.EnableWindow(TRUE);
    m_list.UpdateWindow();
    EXPECT_EQ(kFace, Frame(m_list).inner);
}

TEST_F(FlatComboBoxTest, AChangeOfTheSystemsColoursMakesTheHighlightTheFace)
{
    ::SendMessageW(m_list, WM_SYSCOLORCHANGE, 0, 0);
    m_list.EnableWindow(FALSE);
    m_list.Invalidate();
    m_list.UpdateWindow();
    EXPECT_EQ(kFace, Frame(m_list).inner);
    m_list.DrawCombo(CCJFlatComboBox::STATE_NORMAL, kDark, kDark);
    EXPECT_EQ(kFace, Frame(m_list).inner);
    m_list.EnableWindow(TRUE);
    m_list.UpdateWindow();
    m_list.DrawCombo(CCJFlatComboBox::STATE_RAISED, kDark, kDark);
    EXPECT_EQ(kFace, Frame(m_list).buttonLeft);
    EXPECT_EQ(kShadow, Frame(m_list).buttonRight);
}

TEST_F(FlatComboBoxTest, RisesUnderThePointerAndFallsWhenItLeaves)
{
    MovePointer(m_list, 5, 5);
    EXPECT_TRUE(WaitFor([&] { return IsRaised(m_list); }));
    EXPECT_TRUE(IsFlat(m_combo));
    TakePicture(L"flatcombobox-raised");
    ParkPointer();
    EXPECT_TRUE(WaitFor([&] { return IsFlat(m_list); }));
    EXPECT_FALSE(m_list.KillTimer(1)); // it has stopped itself
}

TEST_F(FlatComboBoxTest, RisesWithTheMoveAndNotWithTheFirstTick)
{
    const CTimers timers(CTimers::WITHOUT_TICKS);
    MovePointer(m_list, 5, 5);
    EXPECT_FALSE(CTimers::List().empty());
    EXPECT_TRUE(IsRaised(m_list));
}

// As a tick would do it: the message of a move may come when the pointer has left already.
TEST_F(FlatComboBoxTest, AMoveWithThePointerOutsideEndsItsOwnTimer)
{
    const CTimers timers;
    m_list.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(5, 5));
    EXPECT_EQ(1u, CTimers::List().size());
    EXPECT_FALSE(m_list.KillTimer(1));
}

TEST_F(FlatComboBoxTest, TheTimerHasNumber1AndTicksEach10Milliseconds)
{
    const CTimers timers;
    m_list.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(5, 5));
    ASSERT_EQ(1u, CTimers::List().size());
    EXPECT_EQ(m_list.m_hWnd, CTimers::List()[0].window);
    EXPECT_EQ(1u, CTimers::List()[0].nID);
    EXPECT_EQ(10u, CTimers::List()[0].nPeriod);
    EXPECT_EQ(nullptr, CTimers::List()[0].pfnCall);
}

TEST_F(FlatComboBoxTest, TheTimerRunsWhileThePointerIsOver)
{
    EXPECT_FALSE(m_list.KillTimer(1));
    MovePointer(m_list, 5, 5);
    EXPECT_TRUE(m_list.KillTimer(1));
}

TEST_F(FlatComboBoxTest, LooksPressedWhileItIsHeldDown)
{
    MovePointer(m_list, 5, 5);
    ASSERT_TRUE(WaitFor([&] { return IsRaised(m_list); }));
    m_list.UpdateWindow();
    // The system's own handling of the button opens the list and repaints: the tick is what draws the state.
    ::SendMessageW(m_list, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    m_list.UpdateWindow();
    m_list.SendMessage(WM_TIMER, 1);
    EXPECT_TRUE(IsPressed(m_list));
    TakePicture(L"flatcombobox-pressed");
    EXPECT_FALSE(m_list.KillTimer(1));
    ::SendMessageW(m_list, WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
    m_list.ShowDropDown(FALSE);
    EXPECT_TRUE(WaitFor([&] { return IsRaised(m_list); }));
}

TEST_F(FlatComboBoxTest, AListThatHasTheFocusStaysRaisedWithoutThePointer)
{
    Focus(m_list);
    EXPECT_TRUE(IsRaised(m_list));
    m_list.Invalidate();
    EXPECT_TRUE(IsRaised(m_list));
    MovePointer(m_list, 5, 5);
    ParkPointer();
    for (int i = 0; i < 5; ++i) m_list.SendMessage(WM_TIMER, 1);
    EXPECT_TRUE(IsRaised(m_list));
    Focus(Item(IDOK));
    EXPECT_TRUE(IsFlat(m_list));
}

// Until it is painted again: that looks at the pointer.
TEST_F(FlatComboBoxTest, LosingTheFocusDrawsTheBoxFlatEvenUnderThePointer)
{
    MovePointer(m_list, 5, 5);
    Focus(m_list);
    ASSERT_TRUE(IsRaised(m_list));
    m_list.SendMessage(WM_KILLFOCUS);
    m_list.ValidateRect(nullptr);
    EXPECT_TRUE(IsFlat(m_list));
    m_list.Invalidate();
    EXPECT_TRUE(IsRaised(m_list));
}

TEST_F(FlatComboBoxTest, TheFocusGetsItsDefaultHandlingToo)
{
    FocusField(); // the box hands it on
    EXPECT_NE(m_combo.m_hWnd, ::GetFocus());
    Focus(m_list);
    Key(VK_DOWN);
    EXPECT_EQ(0, m_list.GetCurSel());
}

TEST_F(FlatComboBoxTest, TypedTextIsCompletedAndTheRemainderSelected)
{
    FocusField();
    Type(L"ab");
    EXPECT_EQ(L"abc", Field());
    EXPECT_EQ(2, Start());
    EXPECT_EQ(3, End());
    TakePicture(L"flatcombobox-completed");
    Type(L"d");
    EXPECT_EQ(L"abd", Field());
    EXPECT_EQ(3, Start());
    EXPECT_EQ(3, End());
}

TEST_F(FlatComboBoxTest, CompletionTakesTheItemsOwnCase)
{
    FocusField();
    Type(L"X");
    EXPECT_EQ(L"xyz", Field());
    EXPECT_EQ(1, Start());
    EXPECT_EQ(3, End());
}

TEST_F(FlatComboBoxTest, ATextThatMatchesNothingStaysWithItsCaret)
{
    FocusField();
    Type(L"qq");
    EXPECT_EQ(L"qq", Field());
    EXPECT_EQ(2, Start());
    EXPECT_EQ(2, End());
    EXPECT_EQ(CB_ERR, m_combo.GetCurSel());
    m_combo.SetEditSel(1, 1);
    Type(L"r");
    EXPECT_EQ(L"qrq", Field());
    EXPECT_EQ(2, Start());
    EXPECT_EQ(2, End());
}

TEST_F(FlatComboBoxTest, EditingInsideTheTextKeepsTheCaret)
{
    FocusField();
    m_combo.EnableAutoCompletion(false);
    Type(L"bc");
    m_combo.EnableAutoCompletion(true);
    m_combo.SetEditSel(0, 0);
    Type(L"a");
    EXPECT_EQ(L"abc", Field());
    EXPECT_EQ(1, Start());
    EXPECT_EQ(1, End());
}

TEST_F(FlatComboBoxTest, ADeletedRemainderComesBack)
{
    FocusField();
    Type(L"ab");
    Key(VK_BACK);
    EXPECT_EQ(L"abc", Field());
    EXPECT_EQ(2, Start());
}

TEST_F(FlatComboBoxTest, CompletionCanBeSwitchedOff)
{
    m_combo.EnableAutoCompletion(false);
    FocusField();
    Type(L"ab");
    EXPECT_EQ(L"ab", Field());
    EXPECT_EQ(2, Start());
    m_combo.EnableAutoCompletion();
    Type(L"d");
    EXPECT_EQ(L"abd", Field());
}

TEST_F(FlatComboBoxTest, AnEmptyListCompletesNothing)
{
    m_combo.ResetContent();
    FocusField();
    Type(L"abc");
    EXPECT_EQ(L"abc", Field());
    EXPECT_EQ(3, Start());
}

TEST_F(FlatComboBoxTest, ALongListIsCompletedFromItsFirstMatch)
{
    m_combo.ResetContent();
    for (int i = 0; i < 10000; ++i) m_combo.AddString((L"item " + std::to_wstring(i)).c_str());
    ASSERT_EQ(10000, m_combo.GetCount());
    FocusField();
    Type(L"item 99");
    EXPECT_EQ(L"item 99", Field());
    Type(L"999");
    EXPECT_EQ(L"item 99999", Field());
    EXPECT_EQ(CB_ERR, m_combo.SendMessage(CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1),
                                          reinterpret_cast<LPARAM>(L"item 99999")));
}

TEST_F(FlatComboBoxTest, AnItemEndsAtItsFirstZero)
{
    m_combo.AddString(L"nul\0behind");
    FocusField();
    Type(L"n");
    EXPECT_EQ(L"nul", Field());
}

TEST_F(FlatComboBoxTest, TheListMayChangeWhileTyping)
{
    FocusField();
    Type(L"a");
    EXPECT_EQ(L"abc", Field());
    m_combo.ResetContent();
    m_combo.AddString(L"apple");
    ::SetWindowTextW(m_combo, L"");
    Type(L"ap");
    EXPECT_EQ(L"apple", Field());
    EXPECT_EQ(2, Start());
    m_combo.DeleteString(0);
    Type(L"p");
    EXPECT_EQ(L"app", Field());
}

TEST_F(FlatComboBoxTest, ALongTextIsLeftAlone)
{
    const std::wstring text(20000, L'a');
    FocusField();
    ::SendMessageW(::GetFocus(), EM_SETLIMITTEXT, 70000, 0);
    ::SendMessageW(::GetFocus(), EM_REPLACESEL, TRUE, reinterpret_cast<LPARAM>(text.c_str()));
    EXPECT_EQ(text, Field());
    EXPECT_EQ(20000, Start());
}

TEST_F(FlatComboBoxTest, CharactersWithAltAreDropped)
{
    MSG message = {};
    message.hwnd = m_combo;
    message.message = WM_SYSCHAR;
    message.wParam = L'a';
    EXPECT_TRUE(m_combo.PreTranslateMessage(&message));
    message.message = WM_CHAR;
    EXPECT_FALSE(m_combo.PreTranslateMessage(&message));
}

TEST_F(FlatComboBoxTest, DrawingGivesEveryContextBack)
{
    for (const BOOL bEnabled : {TRUE, FALSE}) {
        m_list.EnableWindow(bEnabled);
        const int nBefore = CountGdiObjects();
        for (int i = 0; i < 1000; ++i) m_list.DrawCombo(CCJFlatComboBox::STATE_RAISED, kFace, kDark);
        EXPECT_EQ(nBefore, CountGdiObjects());
    }
}

TEST_F(FlatComboBoxTest, TheListMayChangeInTheHostsOwnHandler)
{
    FocusField();
    int nChanges = 0;
    m_dialog.m_onNotice = [&](UINT code) {
        if (code != CBN_EDITCHANGE) return;
        m_combo.ResetContent(); // takes the text, too
        m_combo.AddString((L"q" + std::to_wstring(++nChanges)).c_str());
    };
    Type(L"q");
    Type(L"q");
    m_dialog.m_onNotice = nullptr;
    EXPECT_EQ(2, nChanges);
    EXPECT_EQ(L"", Field());
    EXPECT_EQ(1, m_combo.GetCount());
    Type(L"q");
    EXPECT_EQ(L"q2", Field());
}

TEST_F(FlatComboBoxTest, CompletingHasItsMessages)
{
    static constexpr struct
    {
        const wchar_t* typed;
        int caret; // before it is typed
        const char* messages;
    } kCases[] = {
        {L"a", 0, "GETEDITSEL SELECTSTRING SETEDITSEL"},
        {L"q", 0, "GETEDITSEL SELECTSTRING SETTEXT SETEDITSEL SETEDITSEL"},
        {L"b", 1, "GETEDITSEL SELECTSTRING SETEDITSEL"},
    };
    CControlsDialog dialog;
    CNoting<CCJFlatComboBox> combo;
    ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
    dialog.ShowWindow(SW_SHOW);
    ASSERT_TRUE(combo.SubclassDlgItem(IDC_COMBO, &dialog));
    combo.AddString(L"abc");
    Focus(combo);
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.typed);
        ::SetWindowTextW(combo, c.caret ? L"ac" : L"");
        combo.SetEditSel(c.caret, c.caret);
        combo.Watch({{CB_GETEDITSEL, "GETEDITSEL"},
                     {CB_SELECTSTRING, "SELECTSTRING"},
                     {WM_SETTEXT, "SETTEXT"},
                     {CB_SETEDITSEL, "SETEDITSEL"}});
        Type(c.typed);
        EXPECT_EQ(c.messages, combo.Noted());
        combo.Watch({});
    }
    dialog.DestroyWindow();
}

namespace {

// Ends its window or itself when the message has been dealt with.
class CVanishingCombo : public CCJFlatComboBox
{
public:
    struct CTrap
    {
        UINT message = 0;
        std::function<void()> vanish;
    };
    const std::shared_ptr<CTrap> m_trap = std::make_shared<CTrap>();

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        const auto trap = m_trap; // a message within this one may end this object
        const LRESULT result = CCJFlatComboBox::WindowProc(message, wParam, lParam);
        if (message == trap->message && trap->vanish) std::exchange(trap->vanish, nullptr)();
        return result;
    }
};

} // namespace

TEST_F(FlatComboBoxTest, MayEndWithinItsOwnCompletingAndPainting)
{
    static constexpr struct
    {
        UINT message, sent;
    } kCases[] = {
        {CB_SELECTSTRING, WM_COMMAND},
        {WM_SETTEXT, WM_COMMAND},
        {WM_STYLECHANGED, WM_PAINT},
    };
    for (const auto& c : kCases) {
        for (const bool deleted : {false, true}) {
            SCOPED_TRACE(testing::Message() << c.message << deleted);
            CControlsDialog dialog;
            ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
            dialog.ShowWindow(SW_SHOW);
            auto combo = std::make_unique<CVanishingCombo>();
            ASSERT_TRUE(combo->SubclassDlgItem(IDC_COMBO, &dialog));
            const HWND window = combo->m_hWnd;
            combo->ModifyStyleEx(0, WS_EX_CLIENTEDGE);
            ::SetWindowTextW(window, L"no item");
            combo->m_trap->message = c.message;
            combo->m_trap->vanish = [&] { deleted ? combo.reset() : static_cast<void>(combo->DestroyWindow()); };
            if (c.sent == WM_COMMAND) {
                ::SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDC_COMBO, CBN_EDITUPDATE),
                               reinterpret_cast<LPARAM>(window));
            } else {
                ::SendMessageW(window, c.sent, 0, 0);
            }
            EXPECT_FALSE(::IsWindow(window));
            dialog.DestroyWindow();
            Pump();
        }
    }
}

TEST_F(FlatComboBoxTest, TypedControlCharactersCompleteNothing)
{
    FocusField();
    for (const WPARAM ch : {0, 1, 7, 9, 0x1F, 0xD800, 0xDC00}) ::SendMessageW(::GetFocus(), WM_CHAR, ch, 1);
    EXPECT_EQ(std::wstring::npos, Field().find(L"abc"));
    EXPECT_EQ(CB_ERR, m_combo.GetCurSel());
}

TEST_F(FlatComboBoxTest, IsShownInEachState)
{
    m_list.SetCurSel(0);
    Focus(m_list);
    TakePicture(L"flatcombobox-focused-list");
    FocusField();
    TakePicture(L"flatcombobox-focused-field");
    m_list.ShowDropDown(TRUE);
    Pump();
    TakeScreen(L"flatcombobox-dropped");
    m_list.ShowDropDown(FALSE);
    ::SendMessageW(m_list, WM_SYSCOLORCHANGE, 0, 0);
    ::SendMessageW(m_combo, WM_SYSCOLORCHANGE, 0, 0);
    m_list.Invalidate();
    m_combo.Invalidate();
    TakePicture(L"flatcombobox-after-a-change-of-colours");
}

TEST_F(FlatComboBoxTest, FiveHundredOpeningsLeaveNothingBehind)
{
    ExpectNothingLeftBehind([] {
        CControlsDialog dialog;
        CCJFlatComboBox combo;
        ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
        ASSERT_TRUE(combo.SubclassDlgItem(IDC_COMBO, &dialog));
        combo.AddString(L"item");
        combo.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
        dialog.DestroyWindow();
    });
}
