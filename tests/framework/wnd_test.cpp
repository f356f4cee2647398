// CWnd: handles and objects, creation, subclassing, destruction, the members that wrap the system's calls.
#include "afx_print.h"
#include "window_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

namespace {

// Writes down the messages that reach the object, and what happens at the end.
class CRecorder : public CWnd
{
public:
    std::vector<UINT> m_messages;
    int m_nPreSubclassed = 0, m_nPostNcDestroyed = 0;
    std::function<LRESULT(UINT)> m_onCreate;

    bool Saw(UINT nMessage) const { return std::count(m_messages.begin(), m_messages.end(), nMessage) > 0; }
    void PreSubclassWindow() override { ++m_nPreSubclassed; }

protected:
    LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
    {
        m_messages.push_back(nMessage);
        if (nMessage == WM_CREATE && m_onCreate) return m_onCreate(nMessage);
        return CWnd::WindowProc(nMessage, wParam, lParam);
    }
    void PostNcDestroy() override { ++m_nPostNcDestroyed; }
};

BOOL CreatePopup(CWnd& wnd)
{
    return wnd.CreateEx(0, NULL, L"text", WS_POPUP, 10, 20, 100, 80, NULL, NULL);
}

CWnd* NoWindow()
{
    CWnd* volatile pNone = NULL;
    return pNone;
}

} // namespace

TEST(WndTest, TheObjectSeesTheFirstMessagesOfItsWindow)
{
    CRecorder wnd;
    ASSERT_TRUE(CreatePopup(wnd));
    EXPECT_TRUE(wnd.Saw(WM_NCCREATE));
    EXPECT_TRUE(wnd.Saw(WM_CREATE));
    EXPECT_EQ(1, wnd.m_nPreSubclassed);
    EXPECT_TRUE(wnd.DestroyWindow());
    EXPECT_TRUE(wnd.Saw(WM_DESTROY));
    EXPECT_EQ(static_cast<UINT>(WM_NCDESTROY), wnd.m_messages.back());
    EXPECT_EQ(1, wnd.m_nPostNcDestroyed);
    EXPECT_EQ(nullptr, wnd.m_hWnd);
    EXPECT_FALSE(wnd.DestroyWindow());
}

TEST(WndTest, ASystemControlIsTheObjectsFromItsFirstMessageToo)
{
    CPlainWindow parent;
    CRecorder edit;
    ASSERT_TRUE(edit.Create(L"EDIT", L"abc", WS_CHILD, CRect(0, 0, 50, 20), &parent, 7));
    EXPECT_TRUE(edit.Saw(WM_NCCREATE));
    EXPECT_EQ(7, edit.GetDlgCtrlID());
    CString str;
    edit.GetWindowText(str);
    EXPECT_EQ(CString(L"abc"), str);
    edit.SendMessage(EM_SETSEL, 1, 2);
    EXPECT_EQ(MAKELONG(1, 2), edit.SendMessage(EM_GETSEL));
}

TEST(WndTest, AWindowThatRefusesToBeCreatedLeavesTheObjectEmpty)
{
    CRecorder wnd;
    wnd.m_onCreate = [](UINT) { return -1; };
    EXPECT_FALSE(CreatePopup(wnd));
    EXPECT_EQ(nullptr, wnd.m_hWnd);
    EXPECT_EQ(1, wnd.m_nPostNcDestroyed);
    EXPECT_FALSE(wnd.CreateEx(0, L"no such class", L"", WS_POPUP, 0, 0, 1, 1, NULL, NULL));
    EXPECT_EQ(2, wnd.m_nPostNcDestroyed);
    wnd.m_onCreate = nullptr;
    EXPECT_TRUE(CreatePopup(wnd));
    wnd.DestroyWindow();
}

TEST(WndTest, AnExceptionInOnCreateMeansNoWindow)
{
    CRecorder wnd;
    wnd.m_onCreate = [](UINT) -> LRESULT { throw 5; };
    EXPECT_FALSE(CreatePopup(wnd));
    EXPECT_EQ(nullptr, wnd.m_hWnd);
}

TEST(WndTest, PreCreateWindowMayChangeOrRefuse)
{
    struct CChanging : CRecorder
    {
        BOOL m_bGoOn = TRUE;
        BOOL PreCreateWindow(CREATESTRUCT& cs) override
        {
            cs.cx = 33;
            return m_bGoOn && CWnd::PreCreateWindow(cs);
        }
    } wnd;
    ASSERT_TRUE(CreatePopup(wnd));
    CRect rect;
    wnd.GetWindowRect(rect);
    EXPECT_EQ(33, rect.Width());
    wnd.DestroyWindow();
    wnd.m_bGoOn = FALSE;
    EXPECT_FALSE(CreatePopup(wnd));
    EXPECT_EQ(2, wnd.m_nPostNcDestroyed);
}

TEST(WndTest, HandlesFindTheirObjects)
{
    CPlainWindow wnd;
    EXPECT_EQ(&wnd, CWnd::FromHandle(wnd));
    EXPECT_EQ(&wnd, CWnd::FromHandlePermanent(wnd));
    EXPECT_EQ(nullptr, CWnd::FromHandle(NULL));
    const HWND hDesktop = ::GetDesktopWindow();
    EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(hDesktop));
    CWnd* const pTemporary = CWnd::FromHandle(hDesktop);
    EXPECT_EQ(hDesktop, pTemporary->m_hWnd);
    EXPECT_EQ(pTemporary, CWnd::FromHandle(hDesktop));
    CWnd::DeleteTempMap();
    EXPECT_TRUE(::IsWindow(hDesktop));
    EXPECT_EQ(nullptr, NoWindow()->GetSafeHwnd());
}

TEST(WndTest, ATemporaryObjectThatWasDetachedIsFoundWithItsHandleAgain)
{
    CPlainWindow parent;
    const HWND hChild =
        ::CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 9, 9, parent, reinterpret_cast<HMENU>(5), NULL, NULL);
    EXPECT_EQ(hChild, parent.GetDlgItem(5)->Detach());
    ASSERT_EQ(hChild, parent.GetDlgItem(5)->m_hWnd);
    parent.GetDlgItem(5)->SetWindowText(L"x");
    TCHAR szText[4] = L"";
    EXPECT_EQ(1, ::GetWindowTextW(hChild, szText, ARRAYSIZE(szText)));
    CWnd::DeleteTempMap();
    EXPECT_TRUE(::IsWindow(hChild));
}

TEST(WndTest, AnotherThreadHasObjectsOfItsOwn)
{
    CPlainWindow wnd;
    std::thread([&] {
        EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(wnd.m_hWnd));
        EXPECT_NE(static_cast<CWnd*>(&wnd), CWnd::FromHandle(wnd.m_hWnd));
    }).join();
}

TEST(WndTest, AttachAndDetach)
{
    CPlainWindow wnd;
    const HWND hWnd = wnd.Detach();
    EXPECT_EQ(nullptr, wnd.m_hWnd);
    EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(hWnd));
    EXPECT_FALSE(wnd.Attach(NULL));
    EXPECT_TRUE(wnd.Attach(hWnd));
    CWnd other;
    EXPECT_ASSERTION_OR(EXPECT_FALSE(other.Attach(hWnd)), other.Attach(hWnd));
}

TEST(WndTest, TheDestructorDestroysTheWindow)
{
    HWND hWnd;
    {
        CWnd wnd;
        ASSERT_TRUE(CreatePopup(wnd));
        hWnd = wnd.m_hWnd;
    }
    EXPECT_FALSE(::IsWindow(hWnd));
    EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(hWnd));
}

TEST(WndTest, SubclassingGoesThroughTheObjectAndBackAgain)
{
    CPlainWindow parent;
    const HWND hEdit =
        ::CreateWindowExW(0, L"EDIT", L"abc", WS_CHILD, 0, 0, 50, 20, parent, reinterpret_cast<HMENU>(9), NULL, NULL);
    const LONG lBefore = ::GetWindowLongW(hEdit, GWL_WNDPROC);
    CRecorder edit;
    EXPECT_FALSE(edit.SubclassWindow(NULL));
    EXPECT_FALSE(edit.SubclassDlgItem(8, &parent));
    ASSERT_TRUE(edit.SubclassDlgItem(9, &parent));
    EXPECT_EQ(1, edit.m_nPreSubclassed);
    EXPECT_EQ(3, ::SendMessageW(hEdit, WM_GETTEXTLENGTH, 0, 0));
    EXPECT_TRUE(edit.Saw(WM_GETTEXTLENGTH));
    EXPECT_EQ(hEdit, edit.UnsubclassWindow());
    EXPECT_EQ(lBefore, ::GetWindowLongW(hEdit, GWL_WNDPROC));
    edit.m_messages.clear();
    EXPECT_EQ(3, ::SendMessageW(hEdit, WM_GETTEXTLENGTH, 0, 0));
    EXPECT_TRUE(edit.m_messages.empty());
}

TEST(WndTest, ASubclassedWindowThatIsDestroyedDetaches)
{
    CPlainWindow parent;
    CRecorder edit;
    ASSERT_TRUE(
        edit.SubclassWindow(::CreateWindowExW(0, L"EDIT", L"", WS_CHILD, 0, 0, 5, 5, parent, NULL, NULL, NULL)));
    parent.DestroyWindow();
    EXPECT_EQ(nullptr, edit.m_hWnd);
    EXPECT_EQ(1, edit.m_nPostNcDestroyed);
}

TEST(WndTest, AnObjectMayDeleteItselfAtTheEnd)
{
    static bool bGone;
    bGone = false;
    struct CSelfish : CWnd
    {
        ~CSelfish() override { bGone = true; }
        void PostNcDestroy() override { delete this; }
    };
    CSelfish* const pWnd = new CSelfish;
    ASSERT_TRUE(CreatePopup(*pWnd));
    ::DestroyWindow(pWnd->m_hWnd);
    EXPECT_TRUE(bGone);
}

TEST(WndTest, ModifyStyleSaysWhetherItChanged)
{
    CPlainWindow wnd;
    EXPECT_FALSE(wnd.ModifyStyle(0, WS_POPUP));
    EXPECT_TRUE(wnd.ModifyStyle(0, WS_BORDER, SWP_FRAMECHANGED));
    EXPECT_TRUE(wnd.GetStyle() & WS_BORDER);
    EXPECT_TRUE(wnd.ModifyStyle(WS_BORDER, 0));
    EXPECT_TRUE(wnd.ModifyStyleEx(0, WS_EX_CLIENTEDGE));
    EXPECT_FALSE(wnd.ModifyStyleEx(0, WS_EX_CLIENTEDGE));
}

TEST(WndTest, PlacesAndSizes)
{
    CPlainWindow wnd;
    wnd.MoveWindow(CRect(30, 40, 130, 100));
    CRect rect, client;
    wnd.GetWindowRect(rect);
    EXPECT_EQ(CRect(30, 40, 130, 100), rect);
    wnd.GetClientRect(client);
    EXPECT_EQ(CRect(0, 0, 100, 60), client);
    wnd.ScreenToClient(rect);
    EXPECT_EQ(client, rect);
    CPoint point(1, 2);
    wnd.ClientToScreen(&point);
    EXPECT_TRUE(point == CPoint(31, 42));
    CWnd child;
    ASSERT_TRUE(child.Create(NULL, L"", WS_CHILD, CRect(0, 0, 10, 20), &wnd, 1));
    child.CenterWindow();
    child.GetWindowRect(rect);
    wnd.ScreenToClient(rect);
    EXPECT_EQ(CRect(45, 20, 55, 40), rect);
    EXPECT_TRUE(wnd.SetWindowPos(&CWnd::wndTopMost, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE));
    EXPECT_EQ(&wnd, child.GetParent());
    EXPECT_TRUE(wnd.IsChild(&child));
    EXPECT_EQ(&wnd, child.GetTopLevelParent());
    EXPECT_EQ(&child, wnd.GetTopWindow());
    EXPECT_EQ(&wnd, child.GetOwner());
    child.SetOwner(&child);
    EXPECT_EQ(&child, child.GetOwner());
}

TEST(WndTest, TextOfAnyLength)
{
    CPlainWindow wnd;
    const CString strLong(L'x', 70000);
    CWnd child;
    ASSERT_TRUE(child.Create(NULL, L"", WS_CHILD, CRect(0, 0, 9, 9), &wnd, 1));
    child.SetWindowText(strLong);
    CString str;
    child.GetWindowText(str);
    EXPECT_EQ(strLong, str);
    EXPECT_EQ(70000, wnd.GetDlgItemText(1, str));
    EXPECT_EQ(0, wnd.GetDlgItemText(2, str));
    EXPECT_TRUE(str.IsEmpty());
    wnd.SetDlgItemInt(1, 42);
    EXPECT_EQ(42u, wnd.GetDlgItemInt(1));
    CFont font;
    font.CreatePointFont(90, L"Tahoma");
    CEdit edit;
    ASSERT_TRUE(edit.Create(WS_CHILD, CRect(0, 0, 9, 9), &wnd, 2));
    edit.SetFont(&font);
    EXPECT_EQ(&font, edit.GetFont());
}

TEST(WndTest, ScrollBarsOfTheFrame)
{
    CPlainWindow wnd(WS_POPUP | WS_VSCROLL | WS_VISIBLE);
    wnd.SetScrollRange(SB_VERT, 2, 50);
    int nMin = 0, nMax = 0;
    wnd.GetScrollRange(SB_VERT, &nMin, &nMax);
    EXPECT_EQ(2, nMin);
    EXPECT_EQ(50, nMax);
    EXPECT_EQ(2, wnd.SetScrollPos(SB_VERT, 20));
    EXPECT_EQ(20, wnd.GetScrollPos(SB_VERT));
    SCROLLINFO info = {};
    info.fMask = SIF_PAGE;
    info.nPage = 10;
    EXPECT_TRUE(wnd.SetScrollInfo(SB_VERT, &info));
    EXPECT_EQ(41, wnd.GetScrollLimit(SB_VERT));
    EXPECT_TRUE(wnd.GetScrollInfo(SB_VERT, &info));
    EXPECT_EQ(20, info.nPos);
    EXPECT_EQ(10u, info.nPage);
}

TEST(WndTest, ScrollingMovesTheChildren)
{
    CPlainWindow wnd;
    CWnd child;
    ASSERT_TRUE(child.Create(NULL, L"", WS_CHILD | WS_VISIBLE, CRect(10, 20, 30, 40), &wnd, 1));
    wnd.ScrollWindowEx(-3, -5, NULL, NULL, NULL, NULL, SW_SCROLLCHILDREN | SW_INVALIDATE);
    CRect rect;
    child.GetWindowRect(rect);
    wnd.ScreenToClient(rect);
    EXPECT_EQ(CRect(7, 15, 27, 35), rect);
}

TEST(WndTest, FocusGivesTheWindowBefore)
{
    CPlainWindow wnd;
    CEdit one, two;
    ASSERT_TRUE(one.Create(WS_CHILD | WS_VISIBLE, CRect(0, 0, 9, 9), &wnd, 1));
    ASSERT_TRUE(two.Create(WS_CHILD | WS_VISIBLE, CRect(10, 0, 19, 9), &wnd, 2));
    wnd.SetActiveWindow();
    one.SetFocus();
    EXPECT_EQ(&one, CWnd::GetFocus());
    EXPECT_EQ(&one, two.SetFocus());
    EXPECT_FALSE(two.EnableWindow(FALSE));
    EXPECT_FALSE(two.IsWindowEnabled());
}

TEST(WndTest, RegisteredClassesAreFoundAgain)
{
    const CString strOne = AfxRegisterWndClass(CS_DBLCLKS), strTwo = AfxRegisterWndClass(CS_DBLCLKS),
                  strOther = AfxRegisterWndClass(0);
    EXPECT_EQ(strOne, strTwo);
    EXPECT_TRUE(strOne != strOther);
    CWnd wnd;
    EXPECT_TRUE(wnd.CreateEx(0, strOne, L"", WS_POPUP, 0, 0, 5, 5, NULL, NULL));
}
