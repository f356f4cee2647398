// CWinThread beside the program's first thread: one function, or windows and a loop of its own.
#include "afx_print.h"
#include "window_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace {

struct CEvent
{
    const HANDLE m_h = ::CreateEventW(NULL, TRUE, FALSE, NULL);
    ~CEvent() { ::CloseHandle(m_h); }
    void Set() { ::SetEvent(m_h); }
    bool Wait() const { return ::WaitForSingleObject(m_h, 10000) == WAIT_OBJECT_0; }
};

// Waits for the thread's end, with its handle held, and gives its exit code.
DWORD Ended(HANDLE hThread)
{
    EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), ::WaitForSingleObject(hThread, 10000));
    DWORD dwCode = 0;
    ::GetExitCodeThread(hThread, &dwCode);
    return dwCode;
}

struct CSeen
{
    DWORD dwThread;
    CWinThread* pThread;
    CWnd* pMainWnd;
    HWND hMainWnd;
};

UINT Look(LPVOID p)
{
    CSeen& seen = *static_cast<CSeen*>(p);
    seen = {::GetCurrentThreadId(), AfxGetThread(), AfxGetMainWnd(), AfxGetMainWnd()->GetSafeHwnd()};
    return 77;
}

// What a test asks of a thread with a loop.
struct CPlan
{
    std::atomic<int> nPosted{0}, nDeleted{0}, nExits{0};
    BOOL bInit = TRUE;
    CEvent ready;
    HWND hWnd = NULL;
};
CPlan* g_pPlan;

class CLoopThread : public CWinThread
{
    DECLARE_DYNCREATE(CLoopThread)

public:
    ~CLoopThread() override { ++g_pPlan->nDeleted; }
    BOOL InitInstance() override
    {
        m_window.CreateEx(0, NULL, L"", WS_POPUP, 0, 0, 9, 9, NULL, NULL);
        m_pMainWnd = &m_window;
        g_pPlan->hWnd = m_window.m_hWnd;
        g_pPlan->ready.Set();
        return g_pPlan->bInit;
    }
    int ExitInstance() override
    {
        ++g_pPlan->nExits;
        m_window.DestroyWindow();
        return CWinThread::ExitInstance();
    }

protected:
    afx_msg void OnPosted(WPARAM wParam, LPARAM lParam) { g_pPlan->nPosted += static_cast<int>(wParam * 10 + lParam); }
    DECLARE_MESSAGE_MAP()

private:
    CWnd m_window;
};

IMPLEMENT_DYNCREATE(CLoopThread, CWinThread)

BEGIN_MESSAGE_MAP(CLoopThread, CWinThread)
ON_THREAD_MESSAGE(WM_APP, OnPosted)
END_MESSAGE_MAP()

// A program whose main window outlives it.
struct CQuietApp : CWinApp
{
    ~CQuietApp() override { m_pMainWnd = NULL; }
};

// Not deleted by its end.
class CKeptThread : public CWinThread
{
public:
    explicit CKeptThread(AFX_THREADPROC pfn, LPVOID p = NULL) : CWinThread(pfn, p) { m_bAutoDelete = FALSE; }
};

} // namespace

TEST(ThreadTest, AFunctionRunsOnAThreadOfItsOwn)
{
    CSeen seen = {};
    CWinThread* const pThread = AfxBeginThread(Look, &seen, THREAD_PRIORITY_BELOW_NORMAL, 0, CREATE_SUSPENDED);
    ASSERT_NE(nullptr, pThread);
    EXPECT_EQ(THREAD_PRIORITY_BELOW_NORMAL, pThread->GetThreadPriority());
    pThread->m_bAutoDelete = FALSE;
    EXPECT_EQ(1u, pThread->ResumeThread());
    EXPECT_EQ(77u, Ended(pThread->m_hThread));
    EXPECT_EQ(pThread->m_nThreadID, seen.dwThread);
    EXPECT_EQ(pThread, seen.pThread);
    EXPECT_EQ(nullptr, seen.pMainWnd);
    EXPECT_NE(pThread, AfxGetThread());
    delete pThread;
}

TEST(ThreadTest, TheProgramsMainWindowIsKnownAsAnObjectOfTheThread)
{
    CQuietApp app;
    CPlainWindow main;
    app.m_pMainWnd = &main;
    CSeen seen = {};
    CKeptThread thread(Look, &seen);
    ASSERT_TRUE(thread.CreateThread());
    EXPECT_EQ(77u, Ended(thread.m_hThread));
    EXPECT_EQ(main.m_hWnd, seen.hMainWnd);
    EXPECT_NE(static_cast<CWnd*>(&main), seen.pMainWnd);
    EXPECT_EQ(nullptr, thread.m_pMainWnd);
    EXPECT_TRUE(::IsWindow(main.m_hWnd));
    EXPECT_EQ(&app, AfxGetThread());
    app.m_pMainWnd = NULL;
}

TEST(ThreadTest, AnExceptionEndsTheThreadOnly)
{
    CKeptThread framework([](LPVOID) -> UINT { AfxThrowMemoryException(); }), other([](LPVOID) -> UINT { throw 3; });
    for (CKeptThread* const pThread : {&framework, &other}) {
        ASSERT_TRUE(pThread->CreateThread());
        EXPECT_EQ(static_cast<DWORD>(-1), Ended(pThread->m_hThread));
    }
}

TEST(ThreadTest, AThreadMayEndItselfInTheMiddle)
{
    CKeptThread thread([](LPVOID) -> UINT { AfxEndThread(9); });
    ASSERT_TRUE(thread.CreateThread());
    EXPECT_EQ(9u, Ended(thread.m_hThread));
}

TEST(ThreadTest, AThreadThatEndedItselfHasNoMainWindowLeft)
{
    CQuietApp app;
    CPlainWindow main;
    app.m_pMainWnd = &main;
    CSeen seen = {};
    CKeptThread thread(
        [](LPVOID p) -> UINT {
            Look(p);
            AfxEndThread(9, FALSE);
        },
        &seen);
    ASSERT_TRUE(thread.CreateThread());
    EXPECT_EQ(9u, Ended(thread.m_hThread));
    EXPECT_EQ(main.m_hWnd, seen.hMainWnd);
    EXPECT_EQ(nullptr, thread.m_pMainWnd);
    EXPECT_TRUE(::IsWindow(main.m_hWnd));
    app.m_pMainWnd = NULL;
}

TEST(ThreadTest, ALoopRunsUntilItsMainWindowIsGone)
{
    CPlan plan;
    g_pPlan = &plan;
    CWinThread* const pThread = AfxBeginThread(RUNTIME_CLASS(CLoopThread));
    ASSERT_NE(nullptr, pThread);
    const DWORD dwThread = pThread->m_nThreadID;
    const HANDLE hThread = ::OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, FALSE, dwThread);
    ASSERT_TRUE(plan.ready.Wait());
    EXPECT_EQ(dwThread, ::GetWindowThreadProcessId(plan.hWnd, NULL));
    EXPECT_TRUE(pThread->PostThreadMessage(WM_APP, 4, 2));
    EXPECT_TRUE(pThread->PostThreadMessage(WM_APP + 1, 9, 9)); // nobody's
    // Closes behind what was posted.
    ::PostMessageW(plan.hWnd, WM_CLOSE, 0, 0);
    EXPECT_EQ(0u, Ended(hThread));
    ::CloseHandle(hThread);
    EXPECT_EQ(42, plan.nPosted);
    EXPECT_EQ(1, plan.nExits);
    EXPECT_EQ(1, plan.nDeleted);
    EXPECT_FALSE(::IsWindow(plan.hWnd));
}

TEST(ThreadTest, InitInstanceMayRefuseToRun)
{
    CPlan plan;
    g_pPlan = &plan;
    plan.bInit = FALSE;
    CWinThread* const pThread = AfxBeginThread(RUNTIME_CLASS(CLoopThread), THREAD_PRIORITY_NORMAL, 0, CREATE_SUSPENDED);
    ASSERT_NE(nullptr, pThread);
    const HANDLE hThread = ::OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, FALSE, pThread->m_nThreadID);
    pThread->ResumeThread();
    EXPECT_EQ(0u, Ended(hThread));
    ::CloseHandle(hThread);
    EXPECT_EQ(1, plan.nExits);
    EXPECT_EQ(1, plan.nDeleted);
}

TEST(ThreadTest, AClassThatIsNoThreadStartsNone)
{
    EXPECT_EQ(nullptr, AfxBeginThread(RUNTIME_CLASS(CWnd)));
    EXPECT_EQ(nullptr, AfxBeginThread(RUNTIME_CLASS(CWinThread))); // cannot be created by its class
}

TEST(ThreadTest, AnotherThreadsWindowIsNotSubclassed)
{
    CPlan plan;
    g_pPlan = &plan;
    CWinThread* const pThread = AfxBeginThread(RUNTIME_CLASS(CLoopThread), THREAD_PRIORITY_NORMAL, 0, CREATE_SUSPENDED);
    ASSERT_NE(nullptr, pThread);
    pThread->m_bAutoDelete = FALSE;
    pThread->ResumeThread();
    ASSERT_TRUE(plan.ready.Wait());
    CWnd wnd;
    EXPECT_FALSE(wnd.SubclassWindow(plan.hWnd));
    EXPECT_FALSE(wnd.SubclassWindow(::GetDesktopWindow()));
    EXPECT_EQ(nullptr, wnd.m_hWnd);
    EXPECT_EQ(0, ::SendMessageW(plan.hWnd, WM_CLOSE, 0, 0)); // still answers
    EXPECT_EQ(0u, Ended(pThread->m_hThread));
    delete pThread;
}

TEST(ThreadTest, EachThreadHasItsOwnModalLoops)
{
    struct CAsking : CWinThread
    {
        DLGTEMPLATE m_template[2] = {};
        int m_nResult = 0;
        CAsking() { m_bAutoDelete = FALSE; }
        BOOL InitInstance() override
        {
            struct CShort : CDialog
            {
                BOOL OnInitDialog() override
                {
                    PostMessage(WM_COMMAND, IDCANCEL);
                    return TRUE;
                }
            } dialog;
            m_template[0].style = WS_POPUP;
            dialog.InitModalIndirect(m_template);
            m_nResult = dialog.DoModal();
            return FALSE;
        }
    } thread;
    ASSERT_TRUE(thread.CreateThread());
    Ended(thread.m_hThread);
    EXPECT_EQ(IDCANCEL, thread.m_nResult);
}
