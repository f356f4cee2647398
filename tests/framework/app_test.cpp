// CWinApp and its loop, message boxes, resources and module state.
#include "afx_print.h"
#include "dialogs.h"
#include "window_support.h"

#include <gtest/gtest.h>

namespace {

// The application of one test. The program of the tests itself has none.
class CTestApp : public CWinApp
{
public:
    explicit CTestApp(LPCTSTR pszName = L"Test application") : CWinApp(pszName) {}
    ~CTestApp() override
    {
        // The quit message of a main window that went is for this application only.
        MSG message;
        while (::PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) ::DispatchMessageW(&message);
    }

    std::function<BOOL()> m_init;
    std::function<BOOL(LONG)> m_idle;
    std::function<BOOL(MSG*)> m_translate;
    int m_nExits = 0;

    BOOL InitInstance() override { return m_init ? m_init() : FALSE; }
    int ExitInstance() override
    {
        ++m_nExits;
        return CWinApp::ExitInstance();
    }
    BOOL OnIdle(LONG lCount) override
    {
        const BOOL bMore = CWinApp::OnIdle(lCount);
        return m_idle ? m_idle(lCount) : bMore;
    }
    BOOL PreTranslateMessage(MSG* pMsg) override
    {
        return (m_translate && m_translate(pMsg)) || CWinApp::PreTranslateMessage(pMsg);
    }
};

int RunApp(LPCTSTR pszArguments = L"")
{
    CString strArguments(pszArguments);
    const int nResult = AfxWinMain(::GetModuleHandleW(NULL), NULL, strArguments.GetBuffer(0), SW_SHOW);
    strArguments.ReleaseBuffer();
    return nResult;
}

} // namespace

TEST(AppTest, WithoutAnApplicationThereIsNone)
{
    EXPECT_EQ(nullptr, AfxGetApp());
    EXPECT_EQ(nullptr, AfxGetMainWnd());
    EXPECT_EQ(-1, RunApp());
}

TEST(AppTest, TheApplicationIsFoundAndToldHowItWasStarted)
{
    CTestApp app;
    EXPECT_EQ(&app, AfxGetApp());
    EXPECT_EQ(&app, AfxGetThread());
    EXPECT_EQ(CString(L"Test application"), CString(AfxGetAppName()));
    EXPECT_EQ(CString(L"Test application"), CString(app.m_pszAppName));
    app.m_init = [&] {
        EXPECT_EQ(CString(L"a \"b c\""), CString(app.m_lpCmdLine));
        EXPECT_EQ(::GetModuleHandleW(NULL), app.m_hInstance);
        EXPECT_EQ(SW_SHOW, app.m_nCmdShow);
        return FALSE;
    };
    EXPECT_EQ(0, RunApp(L"a \"b c\""));
    EXPECT_EQ(1, app.m_nExits);
}

TEST(AppTest, WithoutANameItHasTheFilesName)
{
    CTestApp app(NULL);
    EXPECT_TRUE(CString(app.m_pszAppName).Find(L'.') < 0);
    EXPECT_FALSE(CString(app.m_pszAppName).IsEmpty());
    EXPECT_EQ(CString(app.m_pszExeName), CString(app.m_pszAppName));
}

TEST(AppTest, TheLoopRunsUntilTheMainWindowIsGone)
{
    CTestApp app;
    CPlainWindow main;
    std::vector<LONG> idles;
    app.m_init = [&] {
        app.m_pMainWnd = &main;
        return TRUE;
    };
    app.m_idle = [&](LONG lCount) {
        idles.push_back(lCount);
        if (lCount < 2) return TRUE;
        if (idles.size() > 3) {
            main.DestroyWindow();
        } else {
            // Ends the idleness, so that the count starts again.
            ::PostThreadMessageW(::GetCurrentThreadId(), WM_APP, 0, 0);
        }
        return FALSE;
    };
    EXPECT_EQ(0, RunApp());
    EXPECT_EQ(nullptr, app.m_pMainWnd);
    EXPECT_EQ(1, app.m_nExits);
    ASSERT_GE(idles.size(), 6u);
    EXPECT_EQ((std::vector<LONG>{0, 1, 2, 0, 1, 2}), std::vector<LONG>(idles.end() - 6, idles.end()));
}

TEST(AppTest, TheQuitMessagesNumberIsTheExitCode)
{
    CTestApp app;
    app.m_init = [] {
        AfxPostQuitMessage(23);
        return TRUE;
    };
    EXPECT_EQ(23, RunApp());
}

TEST(AppTest, PostedMessagesAreTranslatedFirstFromTheWindowUpwards)
{
    static std::string log;
    log.clear();
    struct CWatching : CWnd
    {
        char m_ch;
        BOOL m_bDrop = FALSE;
        explicit CWatching(char ch) : m_ch(ch) {}
        BOOL PreTranslateMessage(MSG* pMsg) override
        {
            if (pMsg->message == WM_APP) log += m_ch;
            return pMsg->message == WM_APP && m_bDrop;
        }
        LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override
        {
            if (nMessage == WM_APP) log += '!';
            return CWnd::WindowProc(nMessage, wParam, lParam);
        }
    };
    CTestApp app;
    CWatching main('m'), child('c');
    ASSERT_TRUE(main.CreateEx(0, NULL, L"", WS_POPUP, 0, 0, 9, 9, NULL, NULL));
    ASSERT_TRUE(child.Create(NULL, L"", WS_CHILD, CRect(0, 0, 3, 3), &main, 1));
    app.m_pMainWnd = &main;
    const auto post = [&] {
        log.clear();
        child.PostMessage(WM_APP);
        MSG message;
        while (::PeekMessageW(&message, NULL, 0, 0, PM_NOREMOVE)) EXPECT_TRUE(app.PumpMessage());
    };
    post();
    EXPECT_EQ("cm!", log);
    main.m_bDrop = TRUE;
    post();
    EXPECT_EQ("cm", log);
    child.SendMessage(WM_APP);
    EXPECT_EQ("cm!", log);
    main.m_bDrop = FALSE;
    app.m_translate = [](MSG* pMsg) -> BOOL {
        if (pMsg->message == WM_APP) throw 1;
        return FALSE;
    };
    post();
    EXPECT_EQ("", log);
}

TEST(AppTest, SomeMessagesLeaveNothingToDo)
{
    CTestApp app;
    MSG message = {};
    message.message = WM_PAINT;
    EXPECT_FALSE(app.IsIdleMessage(&message));
    message.message = 0x118;
    EXPECT_FALSE(app.IsIdleMessage(&message));
    message.message = WM_TIMER;
    EXPECT_TRUE(app.IsIdleMessage(&message));
    message.message = WM_MOUSEMOVE;
    message.pt.x = 5;
    EXPECT_TRUE(app.IsIdleMessage(&message));
    EXPECT_FALSE(app.IsIdleMessage(&message));
    message.pt.x = 6;
    EXPECT_TRUE(app.IsIdleMessage(&message));
}

TEST(AppTest, IdlenessFreesTemporaryObjects)
{
    CTestApp app;
    CWnd::FromHandle(::GetDesktopWindow());
    EXPECT_TRUE(app.OnIdle(0));
    EXPECT_FALSE(app.OnIdle(1));
}

TEST(AppTest, ADialogIsTheApplicationsWholeLife)
{
    CTestApp app;
    struct CMain : CDialog
    {
        CMain() : CDialog(IDD_EMPTY) {}
        BOOL OnInitDialog() override
        {
            CDialog::OnInitDialog();
            PostMessage(WM_COMMAND, IDCANCEL);
            return TRUE;
        }
    };
    int nResult = 0;
    app.m_init = [&] {
        CMain dialog;
        app.m_pMainWnd = &dialog;
        nResult = dialog.DoModal();
        return FALSE;
    };
    EXPECT_EQ(0, RunApp());
    EXPECT_EQ(IDCANCEL, nResult);
    EXPECT_EQ(nullptr, app.m_pMainWnd);
}

TEST(AppTest, CommandsOfTheProgramGoFromTheDialogToItsParentAndTheApplication)
{
    static std::string log;
    log.clear();
    struct CAsked : CTestApp
    {
        BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pInfo) override
        {
            if (nCode == CN_COMMAND) log += "app ";
            return CTestApp::OnCmdMsg(nID, nCode, pExtra, pInfo);
        }
    } app;
    struct CAskedParent : CPlainWindow
    {
        BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pInfo) override
        {
            if (nCode == CN_COMMAND) log += "parent ";
            return CPlainWindow::OnCmdMsg(nID, nCode, pExtra, pInfo);
        }
    } parent;
    CDialog dialog;
    ASSERT_TRUE(dialog.Create(IDD_EMPTY, &parent));
    dialog.SendMessage(WM_COMMAND, 0x8001);
    EXPECT_EQ("parent app ", log);
    dialog.SendMessage(WM_COMMAND, 0x7001);
    EXPECT_EQ("parent app ", log);
    dialog.DestroyWindow();
}

TEST(AppTest, TheMessageBoxIsTheApplicationsOrTheProgramsOwn)
{
    CBoxAnswer answer(IDYES);
    EXPECT_EQ(IDYES, AfxMessageBox(L"without", MB_YESNO));
    {
        CTestApp app;
        EXPECT_EQ(IDYES, AfxMessageBox(L"with", MB_YESNO));
        EXPECT_EQ(IDYES, AfxMessageBox(IDS_PAGE_TITLE, MB_YESNO));
    }
    ASSERT_EQ(3u, answer.m_texts.size());
    EXPECT_EQ(CString(L"without"), answer.m_texts[0]);
    EXPECT_EQ(CString(L"Test application"), answer.m_titles[1]);
    EXPECT_EQ(CString(L"Titled"), answer.m_texts[2]);
    EXPECT_TRUE(answer.m_titles[0] != answer.m_titles[1]);
}

namespace {

class CFailing : public CPlainWindow
{
protected:
    void OnMemory() { AfxThrowMemoryException(); }
    void OnUser() { AfxThrowUserException(); }
    afx_msg LRESULT OnMessage(WPARAM, LPARAM) { AfxThrowResourceException(); }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CFailing, CPlainWindow)
ON_COMMAND(1, OnMemory)
ON_COMMAND(2, OnUser)
ON_MESSAGE(WM_APP, OnMessage)
END_MESSAGE_MAP()

} // namespace

TEST(AppTest, AnExceptionThatLeavesAHandlerIsSaidUnlessThePersonKnows)
{
    CTestApp app;
    CFailing wnd;
    CBoxAnswer answer;
    EXPECT_EQ(1, wnd.SendMessage(WM_COMMAND, 1)); // counts as handled
    EXPECT_EQ(1, wnd.SendMessage(WM_COMMAND, 2));
    EXPECT_EQ(0, wnd.SendMessage(WM_APP));
    ASSERT_EQ(2u, answer.m_texts.size());
    EXPECT_EQ(CString(L"Out of memory."), answer.m_texts[0]);
    EXPECT_EQ(CString(L"A required resource was unavailable."), answer.m_texts[1]);
}

TEST(AppTest, TheApplicationMayDecideWhatAFailedHandlerResultsIn)
{
    struct CDecidingApp : CTestApp
    {
        UINT m_nMessage = 0;
        HWND m_hWnd = NULL;
        LRESULT ProcessWndProcException(CException* e, const MSG* pMsg) override
        {
            m_nMessage = pMsg->message;
            m_hWnd = pMsg->hwnd;
            if (pMsg->wParam == 9) THROW(e); // fails in its turn
            return e->IsKindOf(RUNTIME_CLASS(CResourceException)) ? 88 : 0;
        }
    } app;
    CFailing wnd;
    EXPECT_EQ(88, wnd.SendMessage(WM_APP));
    EXPECT_EQ(static_cast<UINT>(WM_APP), app.m_nMessage);
    EXPECT_EQ(wnd.m_hWnd, app.m_hWnd);
    EXPECT_EQ(0, wnd.SendMessage(WM_APP, 9));
}

TEST(AppTest, AModuleStateHoldsForItsBlock)
{
    const HINSTANCE hBefore = AfxGetResourceHandle();
    const HINSTANCE hOther = ::GetModuleHandleW(L"user32.dll");
    AFX_MODULE_STATE own = {};
    own.m_hCurrentResourceHandle = hOther;
    {
        AFX_MANAGE_STATE(&own)
        EXPECT_EQ(&own, AfxGetModuleState());
        EXPECT_EQ(hOther, AfxGetResourceHandle());
        {
            AFX_MANAGE_STATE(AfxGetStaticModuleState())
            EXPECT_EQ(hBefore, AfxGetResourceHandle());
        }
        EXPECT_EQ(hOther, AfxGetResourceHandle());
    }
    EXPECT_EQ(AfxGetStaticModuleState(), AfxGetModuleState());
    EXPECT_EQ(hBefore, AfxGetResourceHandle());
}
