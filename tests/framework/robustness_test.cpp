// What a host or its resources do wrong: damaged resources, windows that go in the middle of things, loops within
// loops, handles of nobody, and the same thing over and over.
#include "afx_print.h"
#include "dialogs.h"
#include "window_support.h"

#include "support/gdi_objects.h"
#include "support/heap_blocks.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

std::vector<BYTE> TemplateOf(UINT nID)
{
    const HRSRC hResource = ::FindResourceW(NULL, MAKEINTRESOURCEW(nID), RT_DIALOG);
    const BYTE* const p = static_cast<const BYTE*>(::LockResource(::LoadResource(NULL, hResource)));
    return std::vector<BYTE>(p, p + ::SizeofResource(NULL, hResource));
}

// The test does something once the dialog waits for messages.
class CSteered : public CDialog
{
public:
    explicit CSteered(UINT nID = IDD_EMPTY, CWnd* pParent = NULL) : CDialog(nID, pParent) {}
    std::function<void()> m_onIdle, m_onInit;
    std::function<void(UINT)> m_onMessage;

    BOOL OnInitDialog() override
    {
        CDialog::OnInitDialog();
        if (m_onInit) m_onInit();
        return TRUE;
    }

protected:
    LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
    {
        if (m_onMessage) m_onMessage(nMessage);
        return CDialog::WindowProc(nMessage, wParam, lParam);
    }
    afx_msg LRESULT OnKickIdle(WPARAM, LPARAM)
    {
        std::function<void()> once;
        once.swap(m_onIdle);
        if (once) once();
        return 0;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CSteered, CDialog)
ON_MESSAGE(WM_KICKIDLE, OnKickIdle)
END_MESSAGE_MAP()

// Takes the quit message away that a test has caused: its number, or -1.
int TakeQuit()
{
    MSG message = {};
    return ::PeekMessageW(&message, NULL, WM_QUIT, WM_QUIT, PM_REMOVE) ? static_cast<int>(message.wParam) : -1;
}

void DeleteTemporaries()
{
    CWnd::DeleteTempMap();
    CDC::DeleteTempMap();
    CGdiObject::DeleteTempMap();
    CMenu::DeleteTempMap();
}

// The system fills caches of its own at some time; what is lost each time would be 500.
template <class Action> void ExpectLevelOver500(Action action)
{
    const auto settle = [] {
        PumpAll();
        DeleteTemporaries();
    };
    for (int i = 0; i < 10; ++i) action();
    settle();
    const int nObjects = CountGdiObjects(), nBlocks = CountHeapBlocks();
    for (int i = 0; i < 500; ++i) action();
    settle();
    EXPECT_GT(nBlocks, 0);
    EXPECT_LT(CountGdiObjects(), nObjects + 50);
    EXPECT_LT(CountHeapBlocks(), nBlocks + 250);
}

} // namespace

TEST(DamagedResourceTest, ATemplateIsRefusedWhereverItIsCut)
{
    for (UINT nID : {IDD_EXCHANGE, IDD_EMPTY}) {
        const std::vector<BYTE> whole = TemplateOf(nID);
        // The resource compiler may have filled up the end.
        for (size_t cb = 0; cb + 4 < whole.size(); ++cb) {
            const HGLOBAL hCut = ::GlobalAlloc(GMEM_FIXED, cb);
            std::memcpy(hCut, whole.data(), cb);
            CDialog dialog;
            EXPECT_FALSE(dialog.CreateIndirect(hCut)) << cb << " of " << whole.size();
            ::GlobalFree(hCut);
        }
    }
    CDialog none;
    EXPECT_FALSE(none.CreateIndirect(static_cast<HGLOBAL>(NULL)));
}

TEST(DamagedResourceTest, ATemplatesBytesMayBeAnything)
{
    const std::vector<BYTE> whole = TemplateOf(IDD_EXCHANGE);
    for (size_t n = 0; n < whole.size(); n += 3) {
        for (BYTE by : {0x00, 0x7F, 0xFF}) {
            std::vector<BYTE> changed = whole;
            changed[n] = by;
            const HGLOBAL hTemplate = ::GlobalAlloc(GMEM_FIXED, changed.size());
            std::memcpy(hTemplate, changed.data(), changed.size());
            // A dialog or none, but no damage; a popup of any style, never in anybody's way.
            CDialog dialog;
            if (dialog.CreateIndirect(hTemplate)) {
                EXPECT_TRUE(::IsWindow(dialog.m_hWnd));
                dialog.DestroyWindow();
            }
            EXPECT_EQ(nullptr, dialog.m_hWnd) << n;
            ::GlobalFree(hTemplate);
        }
    }
    TakeQuit();
}

TEST(DamagedResourceTest, AStringEndsWithItsResource)
{
    CString str;
    EXPECT_TRUE(str.LoadString(IDS_DAMAGED_FIRST));
    EXPECT_EQ(CString(L"ab"), str);
    for (UINT nID : {IDS_DAMAGED_EMPTY, IDS_DAMAGED_CUT, IDS_DAMAGED_GONE}) {
        EXPECT_FALSE(str.LoadString(nID)) << nID;
        EXPECT_TRUE(str.IsEmpty());
    }
}

TEST(DamagedResourceTest, ABitmapThatDoesNotLieInItsResourceIsNone)
{
    for (UINT nID : {IDB_CUT_HEADER, IDB_CUT_ROWS, IDB_CUT_COLOURS, IDD_ABSENT}) {
        CBitmap bitmap;
        EXPECT_FALSE(bitmap.LoadBitmap(nID)) << nID;
        EXPECT_EQ(nullptr, bitmap.GetSafeHandle());
    }
    for (UINT nID : {IDB_WHOLE, IDB_OLDEST}) {
        CBitmap bitmap;
        ASSERT_TRUE(bitmap.LoadBitmap(nID)) << nID;
        CDC dc;
        dc.CreateCompatibleDC(NULL);
        CBitmap* const pOld = dc.SelectObject(&bitmap);
        EXPECT_EQ(RGB(0xFF, 0x80, 0x00), dc.GetPixel(0, 0)) << nID;
        dc.SelectObject(pOld);
    }
}

TEST(GoingTest, AModalDialogMayDestroyItsWindowInAnyMessage)
{
    for (UINT nMessage : {WM_NCCREATE, WM_CREATE, WM_SETFONT, WM_INITDIALOG, WM_SHOWWINDOW, WM_SIZE, WM_MOVE,
                          WM_ACTIVATE, WM_SETFOCUS, WM_ERASEBKGND, WM_CTLCOLORDLG, WM_PAINT, WM_KICKIDLE, WM_COMMAND}) {
        SCOPED_TRACE(nMessage);
        CSteered dialog(IDD_EXCHANGE);
        bool bDone = false;
        dialog.m_onMessage = [&](UINT nCame) {
            if (nCame == nMessage && !bDone) {
                bDone = true;
                ::DestroyWindow(dialog.m_hWnd);
            }
        };
        // Some do not come in every dialog: then it ends in the usual way.
        dialog.m_onIdle = [&] { dialog.PostMessage(WM_COMMAND, IDCANCEL); };
        const int nResult = dialog.DoModal();
        EXPECT_TRUE(nResult == -1 || nResult == IDCANCEL) << nResult;
        EXPECT_EQ(nullptr, dialog.m_hWnd);
    }
}

TEST(GoingTest, AModelessDialogMayDeleteItselfInItsOwnHandler)
{
    static int nGone;
    nGone = 0;
    struct CSelfish : CSteered
    {
        ~CSelfish() override { ++nGone; }
        void OnCancel() override { DestroyWindow(); }
        void PostNcDestroy() override { delete this; }
    };
    CSelfish* const pCommand = new CSelfish;
    ASSERT_TRUE(pCommand->Create(IDD_EXCHANGE));
    ::SendMessageW(pCommand->GetDlgItem(IDCANCEL)->m_hWnd, BM_CLICK, 0, 0);
    EXPECT_EQ(1, nGone);
    CSelfish* const pInit = new CSelfish;
    pInit->m_onInit = [=] { pInit->DestroyWindow(); };
    EXPECT_FALSE(pInit->Create(IDD_EMPTY));
    EXPECT_EQ(2, nGone);
    CSelfish* const pNone = new CSelfish;
    EXPECT_FALSE(pNone->Create(IDD_ABSENT)); // nothing was made, so nothing goes
    EXPECT_EQ(2, nGone);
    delete pNone;
}

TEST(GoingTest, AParentMayGoInAControlsNotification)
{
    struct CGoing : CPlainWindow
    {
        BOOL OnCommand(WPARAM, LPARAM) override { return DestroyWindow(); }
    } parent;
    CButton button;
    ASSERT_TRUE(button.Create(L"", WS_CHILD | WS_VISIBLE, CRect(0, 0, 20, 20), &parent, 1));
    button.SendMessage(BM_CLICK);
    EXPECT_EQ(nullptr, parent.m_hWnd);
    EXPECT_EQ(nullptr, button.m_hWnd);
}

TEST(GoingTest, AControlMayGoInItsOwnNotification)
{
    struct CGoing : CButton
    {
        BOOL OnChildNotify(UINT nMessage, WPARAM, LPARAM, LRESULT*) override
        {
            return nMessage == WM_COMMAND && DestroyWindow();
        }
    } button;
    CPlainWindow parent;
    ASSERT_TRUE(button.Create(L"", WS_CHILD | WS_VISIBLE, CRect(0, 0, 20, 20), &parent, 1));
    button.SendMessage(BM_CLICK);
    EXPECT_EQ(nullptr, button.m_hWnd);
    EXPECT_TRUE(::IsWindow(parent.m_hWnd));
}

TEST(GoingTest, ADialogMayGoDuringItsDataExchange)
{
    struct CExchanging : CSteered
    {
        void DoDataExchange(CDataExchange* pDX) override
        {
            int n = 1;
            if (pDX->m_bSaveAndValidate) DestroyWindow();
            DDX_Text(pDX, IDC_NUMBER, n);
        }
    } dialog;
    CBoxAnswer answer; // the control is not there any more
    ASSERT_TRUE(dialog.Create(IDD_EXCHANGE));
    EXPECT_FALSE(dialog.UpdateData(TRUE));
    EXPECT_EQ(nullptr, dialog.m_hWnd);
    EXPECT_FALSE(dialog.UpdateData(FALSE) && false);
}

TEST(NestedLoopTest, QuittingEndsAllOfThem)
{
    CSteered outer, middle, inner;
    std::vector<int> results;
    outer.m_onIdle = [&] {
        results.push_back(middle.DoModal());
        EXPECT_TRUE(::IsWindow(outer.m_hWnd));
    };
    middle.m_onIdle = [&] { results.push_back(inner.DoModal()); };
    inner.m_onIdle = [] { ::PostQuitMessage(8); };
    results.push_back(outer.DoModal());
    EXPECT_EQ((std::vector<int>{-1, -1, -1}), results);
    EXPECT_EQ(8, TakeQuit());
}

TEST(NestedLoopTest, DestroyingTheParentEndsTheDialogInFrontOfIt)
{
    CSteered outer, inner(IDD_EMPTY, &outer);
    int nInner = 0;
    outer.m_onIdle = [&] { nInner = inner.DoModal(); };
    inner.m_onIdle = [&] {
        EXPECT_FALSE(outer.IsWindowEnabled());
        outer.DestroyWindow();
    };
    EXPECT_EQ(-1, outer.DoModal());
    EXPECT_EQ(-1, nInner);
    EXPECT_EQ(nullptr, inner.m_hWnd);
}

TEST(NestedLoopTest, TheOuterOneMayBeEndedFirst)
{
    CSteered outer, inner(IDD_EMPTY, &outer);
    int nInner = 0;
    outer.m_onIdle = [&] {
        nInner = inner.DoModal();
        EXPECT_TRUE(outer.IsWindowEnabled());
    };
    inner.m_onIdle = [&] {
        outer.EndDialog(5);
        inner.EndDialog(6);
    };
    EXPECT_EQ(5, outer.DoModal());
    EXPECT_EQ(6, nInner);
}

TEST(NestedLoopTest, AMessageBoxInsideADialogQuitsWithIt)
{
    CSteered dialog;
    CBoxAnswer answer;
    dialog.m_onIdle = [&] {
        ::PostQuitMessage(4);
        AfxMessageBox(L"at the end");
    };
    EXPECT_EQ(-1, dialog.DoModal());
    EXPECT_EQ(4, TakeQuit());
}

TEST(NestedLoopTest, TheSameDialogIsNotOpenedWithinItself)
{
    CSteered dialog;
    int nInner = 0;
    dialog.m_onIdle = [&] {
        nInner = dialog.DoModal();
        dialog.EndDialog(2);
    };
    dialog.DoModal();
    EXPECT_EQ(-1, nInner);
    EXPECT_EQ(nullptr, dialog.m_hWnd);
}

TEST(HandleMapTest, IdlenessFreesTemporaryObjectsButADialogsLoopDoesNot)
{
    struct CIdleApp : CWinApp
    {
    } app;
    CPlainWindow owner;
    const HWND hDesktop = ::GetDesktopWindow();
    CWnd* const pDesktop = CWnd::FromHandle(hDesktop);
    pDesktop->SetOwner(&owner); // to know it by
    CSteered dialog;
    dialog.m_onIdle = [&] { dialog.PostMessage(WM_COMMAND, IDCANCEL); };
    EXPECT_EQ(IDCANCEL, dialog.DoModal());
    EXPECT_EQ(pDesktop, CWnd::FromHandle(hDesktop));
    EXPECT_EQ(&owner, CWnd::FromHandle(hDesktop)->GetOwner());
    DeleteTemporaries();
    const int nBefore = CountHeapBlocks();
    for (UINT n = 1; n <= 1000; ++n) CWnd::FromHandle(reinterpret_cast<HWND>(0x40000000 + n));
    EXPECT_GE(CountHeapBlocks(), nBefore + 1000);
    app.OnIdle(0);
    EXPECT_GE(CountHeapBlocks(), nBefore + 1000);
    app.OnIdle(1);
    EXPECT_LT(CountHeapBlocks(), nBefore + 100);
}

TEST(HandleMapTest, HandlesOfNobodyGiveObjectsThatFail)
{
    const HWND hNobody = reinterpret_cast<HWND>(0x7FFFFFF1);
    CWnd* const pWnd = CWnd::FromHandle(hNobody);
    ASSERT_NE(nullptr, pWnd);
    EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(hNobody));
    EXPECT_EQ(0, pWnd->SendMessage(WM_GETTEXTLENGTH));
    EXPECT_FALSE(pWnd->ShowWindow(SW_SHOW));
    EXPECT_EQ(nullptr, pWnd->GetParent());
    EXPECT_EQ(nullptr, pWnd->GetDlgItem(1));
    CString str = L"before";
    pWnd->GetWindowText(str);
    EXPECT_TRUE(str.IsEmpty());
    CWnd wnd;
    EXPECT_FALSE(wnd.SubclassWindow(hNobody));
    EXPECT_FALSE(wnd.SubclassDlgItem(1, pWnd));
    EXPECT_FALSE(wnd.SubclassDlgItem(1, NULL));
    EXPECT_EQ(nullptr, wnd.Detach());
    EXPECT_EQ(nullptr, CGdiObject::FromHandle(NULL));
    EXPECT_EQ(nullptr, CDC::FromHandle(NULL));
    CPlainWindow parent;
    EXPECT_EQ(0, parent.SendMessage(WM_COMMAND, MAKEWPARAM(7, BN_CLICKED), reinterpret_cast<LPARAM>(hNobody)));
    NMHDR header = {hNobody, 7, 0};
    EXPECT_EQ(0, parent.SendMessage(WM_NOTIFY, 7, reinterpret_cast<LPARAM>(&header)));
    parent.SendMessage(WM_CTLCOLOREDIT, 0x7FFFFFF1, reinterpret_cast<LPARAM>(hNobody));
    parent.SendMessage(WM_VSCROLL, SB_BOTTOM, reinterpret_cast<LPARAM>(hNobody));
}

TEST(HandleMapTest, AnAttachedWindowThatGoesByItselfLeavesTheObjectToDetach)
{
    const HWND hWnd = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, NULL, NULL, NULL, NULL);
    CWnd wnd;
    ASSERT_TRUE(wnd.Attach(hWnd)); // not subclassed: it hears nothing
    ::DestroyWindow(hWnd);
    EXPECT_EQ(hWnd, wnd.m_hWnd);
    EXPECT_FALSE(wnd.DestroyWindow());
    EXPECT_EQ(hWnd, wnd.Detach());
    EXPECT_EQ(nullptr, CWnd::FromHandlePermanent(hWnd));
}

TEST(ManyTimesTest, WindowsAndTheirControls)
{
    ExpectLevelOver500([] {
        CPlainWindow wnd;
        CEdit edit;
        edit.Create(WS_CHILD | WS_VISIBLE, CRect(0, 0, 90, 20), &wnd, 1);
        wnd.GetDlgItem(2);
        CClientDC dc(&edit);
        dc.SelectStockObject(WHITE_BRUSH);
        wnd.ReleaseDC(wnd.GetDC());
    });
}

TEST(ManyTimesTest, ModalDialogs)
{
    ExpectLevelOver500([] {
        CSteered dialog(IDD_EXCHANGE);
        dialog.m_onIdle = [&] { dialog.EndDialog(1); };
        EXPECT_EQ(1, dialog.DoModal());
    });
}

TEST(ManyTimesTest, DialogsThatFail)
{
    ExpectLevelOver500([] {
        CSteered none(IDD_ABSENT), damaged(IDD_DAMAGED), throwing;
        throwing.m_onInit = [] { AfxThrowResourceException(); };
        EXPECT_EQ(-1, none.DoModal());
        EXPECT_EQ(-1, damaged.DoModal());
        EXPECT_EQ(IDABORT, throwing.DoModal());
    });
}

TEST(ManyTimesTest, PropertySheets)
{
    struct CShortSheet : CPropertySheet
    {
        BOOL OnInitDialog() override
        {
            const BOOL bFocus = CPropertySheet::OnInitDialog();
            PostMessage(PSM_PRESSBUTTON, PSBTN_OK);
            return bFocus;
        }
    };
    ExpectLevelOver500([] {
        CPropertyPage one(IDD_PAGE_ONE), two(IDD_PAGE_TWO, IDS_PAGE_TITLE);
        CShortSheet sheet;
        sheet.AddPage(&one);
        sheet.AddPage(&two);
        EXPECT_EQ(IDOK, sheet.DoModal());
    });
}

TEST(ManyTimesTest, Menus)
{
    ExpectLevelOver500([] {
        CMenu menu;
        EXPECT_TRUE(menu.LoadMenu(IDR_MENU));
        menu.GetSubMenu(0);
    });
}

TEST(ManyTimesTest, Threads)
{
    ExpectLevelOver500([] {
        CWinThread thread([](LPVOID) -> UINT { return CWnd::FromHandle(::GetDesktopWindow()) != NULL; }, NULL);
        thread.m_bAutoDelete = FALSE;
        ASSERT_TRUE(thread.CreateThread());
        ::WaitForSingleObject(thread.m_hThread, INFINITE);
    });
}
