// afx_app.h - CWinThread and CWinApp, the program and its message loop, and what is kept for a module.
//
// Ownership  one CWinApp a program, a static object of the host's. m_pMainWnd is borrowed.
// Threads    CWinApp is made and run on the first thread.
// Errors     InitInstance FALSE ends the program with ExitInstance's result.
//
// A host links the library korvaneafx_main, which is WinMain and calls AfxWinMain.
#ifndef AFX_APP_H
#define AFX_APP_H

#include "afx_resource.h"
#include "afx_wnd.h"

class CWinApp;

class AFX_API CWinThread : public CCmdTarget
{
    DECLARE_DYNAMIC(CWinThread)

public:
    CWinThread();
    ~CWinThread() override;

    CWnd* m_pMainWnd;   // the program ends when its window is destroyed
    CWnd* m_pActiveWnd; // set by the host, for in-place use
    HANDLE m_hThread;   // not the object's to close
    DWORD m_nThreadID;

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

    MSG m_msgCur; // the last one that the pump took

private:
    CPoint m_ptLastMouse; // of the last mouse move, and which it was
    UINT m_nLastMouse;
};

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
