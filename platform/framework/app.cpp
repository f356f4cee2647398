#include "programname.h"
#include "wndhook.h"

#include "afx_app.h"
#include "afx_menu.h"
#include "afx_msgbox.h"

IMPLEMENT_DYNAMIC(CWinApp, CWinThread)

BOOL CWinThread::InitInstance()
{
    return FALSE;
}

int CWinThread::ExitInstance()
{
    return m_msgCur.message == WM_QUIT ? static_cast<int>(m_msgCur.wParam) : 0;
}

BOOL CWinThread::PreTranslateMessage(MSG* pMsg)
{
    if (!pMsg->hwnd) {
        const AFX_MSGMAP_ENTRY* const pEntry = FindMessageEntry(GetMessageMap(), pMsg->message);
        if (!pEntry) return FALSE;
        AFX_MSGCALL call = {pMsg->message, pMsg->wParam, pMsg->lParam, 0, 0, NULL};
        return pEntry->pfnCall(this, call);
    }
    CWnd* const pMainWnd = AfxGetMainWnd();
    const HWND hMain = pMainWnd->GetSafeHwnd();
    if (CWnd::WalkPreTranslateTree(hMain, pMsg)) return TRUE;
    // The main window sees the messages of windows that are not below it as well.
    return hMain && !::IsChild(hMain, pMsg->hwnd) && pMsg->hwnd != hMain &&
           CWnd::FromHandlePermanent(hMain) == pMainWnd && pMainWnd->PreTranslateMessage(pMsg);
}

namespace {

// bTranslated is set by the caller's pre-translation.
void Dispatch(const MSG& message, BOOL bTranslated)
{
    if (bTranslated) return;
    ::TranslateMessage(&message);
    ::DispatchMessageW(&message);
}

// Painting, the caret's timer and the mouse moving within a window or resting leave nothing to do.
bool IsRestless(const MSG& message)
{
    return message.message != WM_PAINT && message.message != 0x118;
}

} // namespace

BOOL CWinThread::PumpMessage()
{
    if (::GetMessageW(&m_msgCur, NULL, 0, 0) <= 0) return FALSE;
    // A copy: what follows may pump too.
    MSG message = m_msgCur;
    BOOL bTranslated = TRUE;
    if (message.message == WM_KICKIDLE) return TRUE;
    if (Contained(L"PreTranslateMessage", [&] { bTranslated = PreTranslateMessage(&message); }))
        Dispatch(message, bTranslated);
    m_msgCur = message;
    return TRUE;
}

BOOL CWinThread::IsIdleMessage(MSG* pMsg)
{
    if (pMsg->message == WM_MOUSEMOVE || pMsg->message == WM_NCMOUSEMOVE) {
        if (pMsg->message == m_nLastMouse && m_ptLastMouse == pMsg->pt) return FALSE;
        m_ptLastMouse = pMsg->pt;
        m_nLastMouse = pMsg->message;
        return TRUE;
    }
    return IsRestless(*pMsg);
}

namespace {

bool IsOwn(HWND hWnd)
{
    return hWnd && ::GetWindowThreadProcessId(hWnd, NULL) == ::GetCurrentThreadId();
}

} // namespace

BOOL CWinThread::OnIdle(LONG lCount)
{
    if (lCount == 0) {
        CWnd* const pMainWnd = m_pMainWnd;
        // A thread without a window of its own has the program's: that one's thread looks after it.
        if (IsOwn(pMainWnd->GetSafeHwnd()) && pMainWnd->IsWindowVisible()) {
            pMainWnd->SendMessage(WM_IDLEUPDATECMDUI, TRUE);
            if (pMainWnd->GetSafeHwnd()) pMainWnd->SendMessageToDescendants(WM_IDLEUPDATECMDUI, TRUE);
        }
        return TRUE;
    }
    CWnd::DeleteTempMap();
    CDC::DeleteTempMap();
    CGdiObject::DeleteTempMap();
    CMenu::DeleteTempMap();
    return FALSE;
}

int CWinThread::Run()
{
    bool bIdle = true;
    LONG lIdleCount = 0;
    for (;;) {
        MSG message;
        while (bIdle && !::PeekMessageW(&message, NULL, 0, 0, PM_NOREMOVE)) bIdle = OnIdle(lIdleCount++);
        do {
            if (!PumpMessage()) return ExitInstance();
            if (IsIdleMessage(&m_msgCur)) {
                bIdle = true;
                lIdleCount = 0;
            }
        } while (::PeekMessageW(&message, NULL, 0, 0, PM_NOREMOVE));
    }
}

BOOL PumpThreadMessage(MSG* pMessage)
{
    if (CWinThread* const pThread = AfxGetThread()) {
        const BOOL bGoOn = pThread->PumpMessage();
        *pMessage = pThread->m_msgCur;
        return bGoOn;
    }
    if (::GetMessageW(pMessage, NULL, 0, 0) <= 0) return FALSE;
    BOOL bTranslated = TRUE;
    if (Contained(L"PreTranslateMessage", [&] { bTranslated = CWnd::WalkPreTranslateTree(NULL, pMessage); }))
        Dispatch(*pMessage, bTranslated);
    return TRUE;
}

BOOL IsThreadIdleMessage(MSG* pMessage)
{
    CWinThread* const pThread = AfxGetThread();
    return pThread ? pThread->IsIdleMessage(pMessage) : IsRestless(*pMessage);
}

CWinApp::CWinApp(LPCTSTR pszAppName)
    : m_hInstance(AfxGetInstanceHandle()), m_hPrevInstance(NULL), m_lpCmdLine(NULL), m_nCmdShow(SW_SHOWNORMAL),
      m_strAppName(pszAppName ? CString(pszAppName) : AfxProgramName()), m_strExeName(AfxProgramName())
{
    m_pszAppName = m_strAppName;
    m_pszExeName = m_strExeName;
    CThreadState::Get().m_pThread = this;
    m_hThread = ::GetCurrentThread();
    m_nThreadID = ::GetCurrentThreadId();
    AFX_MODULE_STATE* const pState = AfxGetModuleState();
    ASSERT(pState->m_pCurrentWinApp == NULL);
    pState->m_pCurrentWinApp = this;
    pState->m_lpszCurrentAppName = m_pszAppName;
}

CWinApp::~CWinApp()
{
    AFX_MODULE_STATE* const pState = AfxGetModuleState();
    if (pState->m_pCurrentWinApp != this) return;
    pState->m_pCurrentWinApp = NULL;
    pState->m_lpszCurrentAppName = NULL;
}

int CWinApp::DoMessageBox(LPCTSTR pszPrompt, UINT nType, UINT)
{
    return AfxShowMessageBox(pszPrompt, nType, m_pszAppName);
}

LRESULT CWinApp::ProcessWndProcException(CException* e, const MSG* pMsg)
{
    if (pMsg->message == WM_CREATE || pMsg->message == WM_PAINT) return CWinThread::ProcessWndProcException(e, pMsg);
    if (!e->IsKindOf(RUNTIME_CLASS(CUserException))) e->ReportError(MB_ICONSTOP);
    return pMsg->message == WM_COMMAND;
}

HCURSOR CWinApp::LoadCursor(LPCTSTR pszResourceName) const
{
    return ::LoadCursorW(AfxFindResourceHandle(pszResourceName, RT_GROUP_CURSOR), pszResourceName);
}

HCURSOR CWinApp::LoadCursor(UINT nIDResource) const
{
    return LoadCursor(MAKEINTRESOURCE(nIDResource));
}

HCURSOR CWinApp::LoadStandardCursor(LPCTSTR pszCursorName) const
{
    return ::LoadCursorW(NULL, pszCursorName);
}

HICON CWinApp::LoadIcon(LPCTSTR pszResourceName) const
{
    return ::LoadIconW(AfxFindResourceHandle(pszResourceName, RT_GROUP_ICON), pszResourceName);
}

HICON CWinApp::LoadIcon(UINT nIDResource) const
{
    return LoadIcon(MAKEINTRESOURCE(nIDResource));
}

HICON CWinApp::LoadStandardIcon(LPCTSTR pszIconName) const
{
    return ::LoadIconW(NULL, pszIconName);
}

CWinApp* AFXAPI AfxGetApp()
{
    return AfxGetModuleState()->m_pCurrentWinApp;
}

CWinThread* AFXAPI AfxGetThread()
{
    CThreadState* const pState = CThreadState::GetIfAny();
    return pState ? pState->m_pThread : NULL;
}

CWnd* AFXAPI AfxGetMainWnd()
{
    CWinThread* const pThread = AfxGetThread();
    return pThread ? pThread->GetMainWnd() : NULL;
}

LPCTSTR AFXAPI AfxGetAppName()
{
    const LPCTSTR pszName = AfxGetModuleState()->m_lpszCurrentAppName;
    return pszName ? pszName : L"";
}

void AFXAPI AfxPostQuitMessage(int nExitCode)
{
    ::PostQuitMessage(nExitCode);
}

int AFXAPI AfxWinMain(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPTSTR pszCmdLine, int nCmdShow)
{
    CWinApp* const pApp = AfxGetApp();
    if (!pApp) return -1;
    pApp->m_hInstance = hInstance;
    pApp->m_hPrevInstance = hPrevInstance;
    pApp->m_strCmdLine = pszCmdLine;
    pApp->m_lpCmdLine = pApp->m_strCmdLine.LockBuffer();
    pApp->m_nCmdShow = nCmdShow;
    if (!pApp->InitApplication()) return -1;
    if (pApp->InitInstance()) return pApp->Run();
    if (pApp->m_pMainWnd) pApp->m_pMainWnd->DestroyWindow();
    return pApp->ExitInstance();
}
