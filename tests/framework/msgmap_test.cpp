// Message maps: which handler gets which message, routing of commands, reflection to the control.
#include "afx_print.h"
#include "window_support.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

UINT g_nRegistered; // set before the first window is made
std::string g_log;

class CBase : public CWnd
{
public:
    ~CBase() override { DestroyWindow(); }

protected:
    afx_msg LRESULT OnBoth(WPARAM, LPARAM)
    {
        g_log += "base ";
        return 1;
    }
    afx_msg LRESULT OnOnlyBase(WPARAM wParam, LPARAM lParam) { return static_cast<LRESULT>(wParam) + lParam; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CBase, CWnd)
ON_MESSAGE(WM_APP, OnBoth)
ON_MESSAGE(WM_APP + 1, &CBase::OnOnlyBase)
END_MESSAGE_MAP()

class CMapped : public CBase
{
public:
    CPoint m_point;
    CSize m_size;
    UINT m_nTimer = 0, m_nCode = 0, m_nPos = 0;
    CWnd* m_pWnd = NULL;
    CString m_strSection;
    LRESULT m_lNotifyResult = 0;
    BOOL m_bPassOn = FALSE;
    bool m_bEnable = true;
    HBRUSH m_hBrush = NULL;
    UINT m_nColour = 0;

protected:
    afx_msg LRESULT OnDerived(WPARAM, LPARAM)
    {
        g_log += "derived ";
        return 2;
    }
    afx_msg LRESULT OnSecond(WPARAM, LPARAM)
    {
        g_log += "second ";
        return 3;
    }
    afx_msg LRESULT OnRegistered(WPARAM, LPARAM) { return 77; }
    afx_msg LRESULT OnThrow(WPARAM wParam, LPARAM)
    {
        if (wParam == 1) AfxThrowMemoryException();
        if (wParam == 2) throw std::runtime_error("two");
        throw 3;
    }
    afx_msg void OnPaint()
    {
        g_log += "paint ";
        throw 1;
    }
    afx_msg void OnSize(UINT nType, int cx, int cy)
    {
        CBase::OnSize(nType, cx, cy);
        m_size = CSize(cx, cy);
    }
    afx_msg void OnLButtonDown(UINT, CPoint point) { m_point = point; }
    afx_msg void OnTimer(UINT nID) { m_nTimer = nID; }
    afx_msg BOOL OnEraseBkgnd(CDC* pDC) { return pDC->m_hDC != NULL; }
    afx_msg void OnVScroll(UINT nCode, UINT nPos, CScrollBar* pBar)
    {
        m_nCode = nCode;
        m_nPos = nPos;
        m_pWnd = pBar;
    }
    afx_msg void OnSetFocus(CWnd* pOld)
    {
        m_pWnd = pOld;
        CBase::OnSetFocus(pOld);
    }
    afx_msg void OnChar(UINT nChar, UINT nRepeat, UINT nFlags)
    {
        m_nCode = nChar;
        m_nPos = nRepeat << 16 | nFlags;
    }
    afx_msg HBRUSH OnCtlColor(CDC* pDC, CWnd* pWnd, UINT nType)
    {
        m_nColour = nType;
        return m_hBrush ? m_hBrush : CBase::OnCtlColor(pDC, pWnd, nType);
    }
    afx_msg void OnWinIniChange(LPCTSTR pszSection) { m_strSection = pszSection; }
    void OnGo() { g_log += "go "; }
    void OnDoubled() { g_log += "doubled "; }
    BOOL OnEx(UINT nID)
    {
        g_log += nID == 21 ? "ex21 " : "ex? ";
        return !m_bPassOn;
    }
    void OnRange(UINT nID) { m_nCode = nID; }
    void OnUpdateGo(CCmdUI* pUI)
    {
        pUI->Enable(m_bEnable);
        pUI->SetText(L"updated");
    }
    void OnNotified(NMHDR* pHeader, LRESULT* pResult)
    {
        m_nCode = pHeader->idFrom;
        *pResult = 99;
    }
    BOOL OnNotifiedEx(UINT nID, NMHDR*, LRESULT* pResult)
    {
        m_nCode = nID;
        *pResult = 98;
        return TRUE;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CMapped, CBase)
ON_MESSAGE(WM_APP, OnDerived)
ON_MESSAGE(WM_APP, OnSecond)
ON_MESSAGE(WM_APP + 2, OnThrow)
ON_REGISTERED_MESSAGE(g_nRegistered, OnRegistered)
ON_WM_PAINT()
ON_WM_SIZE()
ON_WM_LBUTTONDOWN()
ON_WM_TIMER()
ON_WM_ERASEBKGND()
ON_WM_VSCROLL()
ON_WM_SETFOCUS()
ON_WM_CHAR()
ON_WM_CTLCOLOR()
ON_WM_WININICHANGE()
ON_COMMAND(20, OnGo)
ON_UPDATE_COMMAND_UI(20, OnUpdateGo)
ON_BN_DOUBLECLICKED(20, &CMapped::OnDoubled)
ON_COMMAND_EX(21, OnEx)
ON_COMMAND_RANGE(30, 35, OnRange)
ON_CONTROL_RANGE(EN_CHANGE, 40, 42, OnRange)
ON_NOTIFY(NM_CLICK, 50, OnNotified)
ON_NOTIFY_EX(NM_DBLCLK, 50, OnNotifiedEx)
END_MESSAGE_MAP()

class CMappedWindow : public CMapped
{
public:
    CMappedWindow()
    {
        CreateEx(0, NULL, L"", WS_POPUP, 0, 0, 100, 80, NULL, NULL);
        g_log.clear();
    }
};

// A control that handles its own notifications, or not.
class CReflecting : public CButton
{
public:
    BOOL m_bKeep = TRUE;
    HBRUSH m_hBrush = NULL;
    UINT m_nType = 99, m_nCode = 0;

protected:
    BOOL OnClicked()
    {
        g_log += "child ";
        return m_bKeep;
    }
    HBRUSH CtlColor(CDC* pDC, UINT nType)
    {
        m_nType = pDC ? nType : 98;
        return m_hBrush;
    }
    void VScroll(UINT nCode, UINT) { m_nCode = nCode; }
    void OnNotified(NMHDR*, LRESULT* pResult) { *pResult = 55; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CReflecting, CButton)
ON_CONTROL_REFLECT_EX(BN_CLICKED, OnClicked)
ON_WM_CTLCOLOR_REFLECT()
ON_WM_VSCROLL_REFLECT()
ON_NOTIFY_REFLECT(NM_CLICK, OnNotified)
END_MESSAGE_MAP()

// A control that knows itself what it should look like.
class CSelfUpdating : public CButton
{
public:
    BOOL m_bPassOn = FALSE;
    int m_nAsked = 0;

protected:
    void OnUpdateSelf(CCmdUI* pUI)
    {
        ++m_nAsked;
        pUI->SetText(L"own");
        if (m_bPassOn) pUI->ContinueRouting();
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CSelfUpdating, CButton)
ON_UPDATE_COMMAND_UI_REFLECT(OnUpdateSelf)
END_MESSAGE_MAP()

} // namespace

TEST(MessageMapTest, TheFirstEntryOfTheMostDerivedClassCounts)
{
    CMappedWindow wnd;
    EXPECT_EQ(2, wnd.SendMessage(WM_APP));
    EXPECT_EQ("derived ", g_log);
    EXPECT_EQ(7, wnd.SendMessage(WM_APP + 1, 3, 4));
}

TEST(MessageMapTest, ARegisteredMessageIsFoundByItsVariable)
{
    g_nRegistered = ::RegisterWindowMessageW(L"KorvaneMessageMapTest");
    CMappedWindow wnd;
    EXPECT_EQ(77, wnd.SendMessage(g_nRegistered));
    EXPECT_EQ(0, wnd.SendMessage(g_nRegistered + 1));
}

TEST(MessageMapTest, NoExceptionLeavesTheWindowProcedure)
{
    CMappedWindow wnd;
    for (WPARAM nKind : {1, 2, 3}) EXPECT_EQ(0, wnd.SendMessage(WM_APP + 2, nKind));
    EXPECT_EQ(2, wnd.SendMessage(WM_APP));
}

TEST(MessageMapTest, AThrowingPaintHandlerIsNotAskedForEver)
{
    CMappedWindow wnd;
    wnd.ShowWindow(SW_SHOWNA);
    PumpAll();
    g_log.clear();
    wnd.Invalidate();
    wnd.UpdateWindow();
    PumpAll();
    EXPECT_EQ("paint ", g_log);
}

TEST(MessageMapTest, ParametersArriveUnpacked)
{
    CMappedWindow wnd;
    wnd.SendMessage(WM_SIZE, SIZE_RESTORED, MAKELPARAM(30000, 400));
    EXPECT_TRUE(wnd.m_size == CSize(30000, 400));
    wnd.SendMessage(WM_LBUTTONDOWN, 0, MAKELPARAM(-5, -6));
    EXPECT_TRUE(wnd.m_point == CPoint(-5, -6));
    wnd.SendMessage(WM_TIMER, 12);
    EXPECT_EQ(12u, wnd.m_nTimer);
    wnd.SendMessage(WM_CHAR, L'x', MAKELPARAM(3, 4));
    EXPECT_EQ(static_cast<UINT>(L'x'), wnd.m_nCode);
    EXPECT_EQ(0x30004u, wnd.m_nPos);
    wnd.SendMessage(WM_VSCROLL, MAKEWPARAM(SB_THUMBTRACK, 321), 0);
    EXPECT_EQ(static_cast<UINT>(SB_THUMBTRACK), wnd.m_nCode);
    EXPECT_EQ(321u, wnd.m_nPos);
    EXPECT_EQ(nullptr, wnd.m_pWnd);
    wnd.SendMessage(WM_WININICHANGE, 0, reinterpret_cast<LPARAM>(L"colours"));
    EXPECT_EQ(CString(L"colours"), wnd.m_strSection);
    CClientDC dc(&wnd);
    EXPECT_EQ(1, wnd.SendMessage(WM_ERASEBKGND, reinterpret_cast<WPARAM>(dc.m_hDC)));
    CPlainWindow other;
    wnd.SendMessage(WM_SETFOCUS, reinterpret_cast<WPARAM>(other.m_hWnd));
    EXPECT_EQ(&other, wnd.m_pWnd);
}

TEST(MessageMapTest, CommandsAndNotificationCodes)
{
    CMappedWindow wnd;
    CButton button;
    ASSERT_TRUE(button.Create(L"", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 20));
    const LPARAM lButton = reinterpret_cast<LPARAM>(button.m_hWnd);
    EXPECT_EQ(1, wnd.SendMessage(WM_COMMAND, MAKEWPARAM(20, BN_CLICKED), lButton));
    EXPECT_EQ(1, wnd.SendMessage(WM_COMMAND, MAKEWPARAM(20, BN_DOUBLECLICKED), lButton));
    EXPECT_EQ(0, wnd.SendMessage(WM_COMMAND, MAKEWPARAM(20, BN_SETFOCUS), lButton));
    EXPECT_EQ("go doubled ", g_log);
    wnd.SendMessage(WM_COMMAND, 34, 0);
    EXPECT_EQ(34u, wnd.m_nCode);
    EXPECT_EQ(0, wnd.SendMessage(WM_COMMAND, 36, 0));
    EXPECT_EQ(1, wnd.SendMessage(WM_COMMAND, MAKEWPARAM(41, EN_CHANGE), lButton));
    EXPECT_EQ(41u, wnd.m_nCode);
    EXPECT_EQ(1, wnd.SendMessage(WM_COMMAND, 21, 0));
    wnd.m_bPassOn = TRUE;
    EXPECT_EQ(0, wnd.SendMessage(WM_COMMAND, 21, 0));
}

TEST(MessageMapTest, AMenuCommandThatIsSwitchedOffDoesNothing)
{
    CMappedWindow wnd;
    wnd.m_bEnable = false;
    wnd.SendMessage(WM_COMMAND, 20, 0);
    EXPECT_EQ("", g_log);
    wnd.m_bEnable = true;
    wnd.SendMessage(WM_COMMAND, 20, 0);
    EXPECT_EQ("go ", g_log);
}

TEST(MessageMapTest, ControlsAreUpdatedThroughTheirCommands)
{
    CMappedWindow wnd;
    CButton known, unknown;
    ASSERT_TRUE(known.Create(L"k", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 20));
    ASSERT_TRUE(unknown.Create(L"u", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 29));
    wnd.m_bEnable = false;
    wnd.UpdateDialogControls(&wnd, TRUE);
    EXPECT_FALSE(known.IsWindowEnabled());
    EXPECT_FALSE(unknown.IsWindowEnabled());
    CString str;
    known.GetWindowText(str);
    EXPECT_EQ(CString(L"updated"), str);
    wnd.m_bEnable = true;
    wnd.UpdateDialogControls(&wnd, FALSE);
    EXPECT_TRUE(known.IsWindowEnabled());
}

TEST(MessageMapTest, AControlMayUpdateItself)
{
    CMappedWindow wnd;
    CSelfUpdating button;
    ASSERT_TRUE(button.Create(L"k", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 20));
    wnd.m_bEnable = false;
    wnd.UpdateDialogControls(&wnd, TRUE);
    EXPECT_EQ(1, button.m_nAsked);
    EXPECT_TRUE(button.IsWindowEnabled()) << "the window was not asked, and its own handler counts as one";
    CString str;
    button.GetWindowText(str);
    EXPECT_EQ(CString(L"own"), str);
    button.m_bPassOn = TRUE;
    wnd.UpdateDialogControls(&wnd, TRUE);
    EXPECT_EQ(2, button.m_nAsked);
    EXPECT_FALSE(button.IsWindowEnabled());
    button.GetWindowText(str);
    EXPECT_EQ(CString(L"updated"), str);
}

TEST(MessageMapTest, NoNotificationIsTakenForAControlsUpdate)
{
    CMappedWindow wnd;
    CSelfUpdating button;
    ASSERT_TRUE(button.Create(L"k", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 20));
    EXPECT_EQ(0, wnd.SendMessage(WM_COMMAND, MAKEWPARAM(20, 0xFFFF), reinterpret_cast<LPARAM>(button.m_hWnd)));
    EXPECT_EQ(0, button.m_nAsked);
}

TEST(MessageMapTest, WhoWouldHandleIsToldWithoutHandling)
{
    CMappedWindow wnd;
    AFX_CMDHANDLERINFO info = {};
    EXPECT_TRUE(wnd.OnCmdMsg(20, CN_COMMAND, NULL, &info));
    EXPECT_EQ(&wnd, info.pTarget);
    EXPECT_EQ("", g_log);
    EXPECT_FALSE(wnd.OnCmdMsg(29, CN_COMMAND, NULL, &info));
}

TEST(MessageMapTest, NotifyGoesByTheSendersIdentifierAndGivesItsResult)
{
    CMappedWindow wnd;
    CStatic from;
    ASSERT_TRUE(from.Create(L"", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 50));
    NMHDR header = {from.m_hWnd, 50, static_cast<UINT>(NM_CLICK)};
    EXPECT_EQ(99, wnd.SendMessage(WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&header)));
    header.code = static_cast<UINT>(NM_DBLCLK);
    EXPECT_EQ(98, wnd.SendMessage(WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&header)));
    EXPECT_EQ(50u, wnd.m_nCode);
    header.code = static_cast<UINT>(NM_KILLFOCUS);
    EXPECT_EQ(0, wnd.SendMessage(WM_NOTIFY, 50, reinterpret_cast<LPARAM>(&header)));
    EXPECT_EQ(0, wnd.SendMessage(WM_NOTIFY, 50, 0));
}

TEST(MessageMapTest, TheControlIsAskedBeforeItsParent)
{
    CMappedWindow wnd;
    CReflecting button;
    ASSERT_TRUE(button.Create(L"", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 20));
    button.SendMessage(BM_CLICK);
    EXPECT_EQ("child ", g_log);
    g_log.clear();
    button.m_bKeep = FALSE;
    button.SendMessage(BM_CLICK);
    EXPECT_EQ("child go ", g_log);
    NMHDR header = {button.m_hWnd, 20, static_cast<UINT>(NM_CLICK)};
    EXPECT_EQ(55, wnd.SendMessage(WM_NOTIFY, 20, reinterpret_cast<LPARAM>(&header)));
}

TEST(MessageMapTest, ColoursComeFromTheParentElseFromTheControlElseFromTheSystem)
{
    CMappedWindow wnd;
    CReflecting button;
    ASSERT_TRUE(button.Create(L"", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 20));
    CClientDC dc(&button);
    const auto ask = [&](UINT nMessage) {
        return reinterpret_cast<HBRUSH>(
            wnd.SendMessage(nMessage, reinterpret_cast<WPARAM>(dc.m_hDC), reinterpret_cast<LPARAM>(button.m_hWnd)));
    };
    const HBRUSH hSystem =
        reinterpret_cast<HBRUSH>(::DefWindowProcW(wnd, WM_CTLCOLORSTATIC, reinterpret_cast<WPARAM>(dc.m_hDC), 0));
    EXPECT_EQ(hSystem, ask(WM_CTLCOLORSTATIC));
    EXPECT_EQ(static_cast<UINT>(CTLCOLOR_STATIC), button.m_nType);
    EXPECT_EQ(static_cast<UINT>(CTLCOLOR_STATIC), wnd.m_nColour);
    CBrush own(RGB(1, 2, 3)), parents(RGB(4, 5, 6));
    button.m_hBrush = own;
    EXPECT_EQ(static_cast<HBRUSH>(own), ask(WM_CTLCOLORBTN));
    EXPECT_EQ(static_cast<UINT>(CTLCOLOR_BTN), button.m_nType);
    wnd.m_hBrush = parents;
    EXPECT_EQ(static_cast<HBRUSH>(parents), ask(WM_CTLCOLOREDIT));
    EXPECT_EQ(static_cast<UINT>(CTLCOLOR_BTN), button.m_nType);
}

TEST(MessageMapTest, ScrollingIsReflectedByTheBaseHandlerOnly)
{
    CPlainWindow plain;
    CMappedWindow mapped;
    CReflecting one, two;
    ASSERT_TRUE(one.Create(L"", WS_CHILD, CRect(0, 0, 9, 9), &plain, 1));
    ASSERT_TRUE(two.Create(L"", WS_CHILD, CRect(0, 0, 9, 9), &mapped, 1));
    plain.SendMessage(WM_VSCROLL, SB_BOTTOM, reinterpret_cast<LPARAM>(one.m_hWnd));
    mapped.SendMessage(WM_VSCROLL, SB_BOTTOM, reinterpret_cast<LPARAM>(two.m_hWnd));
    EXPECT_EQ(static_cast<UINT>(SB_BOTTOM), one.m_nCode);
    EXPECT_EQ(0u, two.m_nCode);
    EXPECT_EQ(static_cast<CWnd*>(&two), mapped.m_pWnd);
}

TEST(MessageMapTest, TheCurrentMessageIsTheInnermostOne)
{
    struct CCurious : CWnd
    {
        UINT m_nOuter = 0, m_nInner = 0;
        LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
        {
            if (nMessage == WM_APP) {
                SendMessage(WM_APP + 1);
                m_nOuter = GetCurrentMessage()->message;
            }
            if (nMessage == WM_APP + 1) m_nInner = GetCurrentMessage()->message;
            return CWnd::WindowProc(nMessage, wParam, lParam);
        }
    } wnd;
    ASSERT_TRUE(wnd.CreateEx(0, NULL, L"", WS_POPUP, 0, 0, 9, 9, NULL, NULL));
    wnd.SendMessage(WM_APP);
    EXPECT_EQ(static_cast<UINT>(WM_APP), wnd.m_nOuter);
    EXPECT_EQ(static_cast<UINT>(WM_APP + 1), wnd.m_nInner);
}

TEST(MessageMapTest, AWindowMayGoInItsOwnHandler)
{
    struct CGoing : CWnd
    {
        LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
        {
            if (nMessage == WM_TIMER) {
                DestroyWindow();
                return Default();
            }
            return CWnd::WindowProc(nMessage, wParam, lParam);
        }
    } wnd;
    ASSERT_TRUE(wnd.CreateEx(0, NULL, L"", WS_POPUP, 0, 0, 9, 9, NULL, NULL));
    wnd.SendMessage(WM_TIMER, 1);
    EXPECT_EQ(nullptr, wnd.m_hWnd);
}
