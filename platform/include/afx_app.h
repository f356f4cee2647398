// afx_app.h - CWinThread and CWinApp, the program, its threads and their message loops, and what is kept for a module.
//
// Ownership  one CWinApp a program, a static object of the host's. A CWinThread deletes itself when its thread ends,
//            unless m_bAutoDelete is FALSE; it is then the host's, to be deleted after the thread ended. m_pMainWnd is
//            borrowed.
// Threads    CWinApp is made and run on the first thread. A CWinThread's members are called on its own thread, except
//            the thread's handle functions and PostThreadMessage.
// Errors     InitInstance FALSE ends the program with ExitInstance's result. AfxBeginThread NULL if there is no thread.
//            An exception that leaves a thread's function is logged and ends the thread with the exit code -1.
//
// A host links the library korvaneafx_main, which is WinMain and calls AfxWinMain.
#ifndef AFX_APP_H
#define AFX_APP_H

#include "afx_resource.h"
#include "afx_wnd.h"

class CWinApp;
struct AFX_MODULE_STATE;

typedef UINT(__cdecl* AFX_THREADPROC)(LPVOID pParam);

class AFX_API CWinThread : public CCmdTarget
{
    DECLARE_DYNAMIC(CWinThread)

public:
    // For a thread with a message loop: the class overrides InitInstance, and AfxBeginThread or CreateThread starts it.
    CWinThread();
    // For a thread that is one function.
    CWinThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam);
    ~CWinThread() override; // closes m_hThread

    CWnd* m_pMainWnd;   // the loop ends when its window is destroyed; in a thread without one, the program's
    CWnd* m_pActiveWnd; // set by the host, for in-place use
    BOOL m_bAutoDelete; // TRUE
    HANDLE m_hThread;   // NULL before CreateThread
    DWORD m_nThreadID;

    // Starts the thread; CREATE_SUSPENDED: ResumeThread does. FALSE if the system has none. REQUIRES: not started yet.
    BOOL CreateThread(DWORD dwCreateFlags = 0, UINT nStackSize = 0, LPSECURITY_ATTRIBUTES pSecurityAttrs = NULL);
    int GetThreadPriority() const { return ::GetThreadPriority(m_hThread); }
    BOOL SetThreadPriority(int nPriority) { return ::SetThreadPriority(m_hThread, nPriority); }
    DWORD SuspendThread() { return ::SuspendThread(m_hThread); } // how often it was suspended before; -1 on failure
    DWORD ResumeThread() { return ::ResumeThread(m_hThread); }
    // Handled by ON_THREAD_MESSAGE. FALSE while the thread has no message queue yet.
    BOOL PostThreadMessage(UINT nMessage, WPARAM wParam, LPARAM lParam)
    {
        return ::PostThreadMessageW(m_nThreadID, nMessage, wParam, lParam);
    }
    virtual void Delete(); // when the thread ends: deletes the object if m_bAutoDelete

    virtual BOOL InitInstance();
    // Handles messages until WM_QUIT, and calls OnIdle(0), OnIdle(1), ... whenever there are none, until it says FALSE.
    virtual int Run();
    virtual int ExitInstance(); // the exit code: WM_QUIT's
    // Before a posted message is dispatched: the windows from the message's up to the main one; TRUE: drop it.
    virtual BOOL PreTranslateMessage(MSG* pMsg);
    virtual BOOL PumpMessage(); // waits for one message and dispatches it; FALSE for WM_QUIT
    // 0: updates the main window's commands. 1: frees temporary objects. TRUE: call again.
    virtual BOOL OnIdle(LONG lCount);
    virtual BOOL IsIdleMessage(MSG* pMsg); // FALSE for those that leave nothing to do: mouse rests, painting, caret
    virtual CWnd* GetMainWnd() { return m_pMainWnd; }
    // A framework exception left the handler of *pMsg; the message's result. The base says nothing: -1 for WM_CREATE,
    // which means "no window", and a window that cannot paint is not asked again.
    virtual LRESULT ProcessWndProcException(CException* e, const MSG* pMsg);

    MSG m_msgCur; // the last one that the pump took

private:
    friend struct CThreadRun;

    AFX_THREADPROC m_pfnThreadProc; // NULL: InitInstance and Run
    LPVOID m_pThreadParam;
    AFX_MODULE_STATE* m_pModuleState; // the starter's, borrowed
    CPoint m_ptLastMouse;             // of the last mouse move, and which it was
    UINT m_nLastMouse;
};

// pClass is a CWinThread with DECLARE_DYNCREATE. The object may be gone already when these return, unless the thread was
// started suspended.
AFX_API CWinThread* AFXAPI AfxBeginThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam,
                                          int nPriority = THREAD_PRIORITY_NORMAL, UINT nStackSize = 0,
                                          DWORD dwCreateFlags = 0, LPSECURITY_ATTRIBUTES pSecurityAttrs = NULL);
AFX_API CWinThread* AFXAPI AfxBeginThread(CRuntimeClass* pThreadClass, int nPriority = THREAD_PRIORITY_NORMAL,
                                          UINT nStackSize = 0, DWORD dwCreateFlags = 0,
                                          LPSECURITY_ATTRIBUTES pSecurityAttrs = NULL);
// Ends the calling thread at once: what lies on its stack is not destroyed. Not for the first thread.
[[noreturn]] AFX_API void AFXAPI AfxEndThread(UINT nExitCode, BOOL bDelete = TRUE);

class AFX_API CWinApp : public CWinThread
{
    DECLARE_DYNAMIC(CWinApp)

public:
    explicit CWinApp(LPCTSTR pszAppName = NULL); // NULL: the program's file name without extension
    ~CWinApp() override;

    HINSTANCE m_hInstance;
    HINSTANCE m_hPrevInstance; // NULL
    LPTSTR m_lpCmdLine;        // without the program's name
    int m_nCmdShow;            // for the main window's ShowWindow
    LPCTSTR m_pszAppName;
    LPCTSTR m_pszExeName;

    virtual BOOL InitApplication() { return TRUE; }                          // before InitInstance
    virtual int DoMessageBox(LPCTSTR pszPrompt, UINT nType, UINT nIDPrompt); // all of AfxMessageBox goes through it
    // Says what went wrong in a message box, unless the person was told already (CUserException). A command counts as
    // handled.
    LRESULT ProcessWndProcException(CException* e, const MSG* pMsg) override;

    HCURSOR LoadCursor(LPCTSTR pszResourceName) const;
    HCURSOR LoadCursor(UINT nIDResource) const;
    HCURSOR LoadStandardCursor(LPCTSTR pszCursorName) const; // IDC_...
    HICON LoadIcon(LPCTSTR pszResourceName) const;
    HICON LoadIcon(UINT nIDResource) const;
    HICON LoadStandardIcon(LPCTSTR pszIconName) const; // IDI_...

private:
    friend AFX_API int AFXAPI AfxWinMain(HINSTANCE, HINSTANCE, LPTSTR, int);
    CString m_strAppName, m_strExeName, m_strCmdLine;
};

// What belongs to a module: the program's, unless AFX_MANAGE_STATE put another one in place for the thread.
struct AFX_MODULE_STATE
{
    CWinApp* m_pCurrentWinApp;
    HINSTANCE m_hCurrentInstanceHandle; // NULL: the program's
    HINSTANCE m_hCurrentResourceHandle; // NULL: the instance's
    LPCTSTR m_lpszCurrentAppName;
};

AFX_API AFX_MODULE_STATE* AFXAPI AfxGetModuleState();                            // the one in place
AFX_API AFX_MODULE_STATE* AFXAPI AfxGetStaticModuleState();                      // the program's
AFX_API AFX_MODULE_STATE* AFXAPI AfxSetModuleState(AFX_MODULE_STATE* pNewState); // the one before

class AFX_MAINTAIN_STATE
{
public:
    explicit AFX_MAINTAIN_STATE(AFX_MODULE_STATE* pNewState) : m_pBefore(AfxSetModuleState(pNewState)) {}
    ~AFX_MAINTAIN_STATE() { AfxSetModuleState(m_pBefore); }
    AFX_MAINTAIN_STATE(const AFX_MAINTAIN_STATE&) = delete;
    AFX_MAINTAIN_STATE& operator=(const AFX_MAINTAIN_STATE&) = delete;

private:
    AFX_MODULE_STATE* const m_pBefore;
};

// To the end of the block, for the calling thread.
#define AFX_MANAGE_STATE(state) AFX_MAINTAIN_STATE afxMaintainState(state);

AFX_API CWinApp* AFXAPI AfxGetApp();       // NULL in a host without one
AFX_API CWinThread* AFXAPI AfxGetThread(); // the calling thread's; the program's on its first thread
AFX_API CWnd* AFXAPI AfxGetMainWnd();      // NULL if there is none
AFX_API LPCTSTR AFXAPI AfxGetAppName();
AFX_API void AFXAPI AfxPostQuitMessage(int nExitCode);
AFX_API int AFXAPI AfxWinMain(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPTSTR pszCmdLine, int nCmdShow);

#endif
