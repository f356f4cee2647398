#include "wndhook.h"

#include "afx_app.h"

#include <process.h>

#include <utility>

IMPLEMENT_DYNAMIC(CWinThread, CCmdTarget)

CWinThread::CWinThread() : CWinThread(NULL, NULL) {}

CWinThread::CWinThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam)
    : m_pMainWnd(NULL), m_pActiveWnd(NULL), m_bAutoDelete(TRUE), m_hThread(NULL), m_nThreadID(0), m_msgCur(),
      m_pfnThreadProc(pfnThreadProc), m_pThreadParam(pParam), m_pModuleState(NULL), m_ptLastMouse(-1, -1),
      m_nLastMouse(0)
{
}

CWinThread::~CWinThread()
{
    CThreadState* const pState = CThreadState::GetIfAny();
    if (pState && pState->m_pThread == this) pState->m_pThread = NULL;
    // Of a CWinApp it is a pseudo-handle, which the system knows not to close.
    if (m_hThread) ::CloseHandle(m_hThread);
}

void CWinThread::Delete()
{
    if (m_bAutoDelete) delete this;
}

LRESULT CWinThread::ProcessWndProcException(CException*, const MSG* pMsg)
{
    return ResultOfFailure(*pMsg);
}

struct CThreadRun
{
    static int Execute(CWinThread& thread)
    {
        if (thread.m_pfnThreadProc) return static_cast<int>(thread.m_pfnThreadProc(thread.m_pThreadParam));
        return thread.InitInstance() ? thread.Run() : thread.ExitInstance();
    }
    static unsigned __stdcall Entry(void* p)
    {
        CWinThread* const pThread = static_cast<CWinThread*>(p);
        int nExitCode = -1;
        CWnd programs;
        Contained(L"thread", [&] {
            CThreadState& state = CThreadState::Get();
            state.m_pThread = pThread;
            state.m_pModuleState = pThread->m_pModuleState;
            // Until the thread has a main window of its own: the program's, as an object of this thread.
            CWinApp* const pApp = AfxGetApp();
            if (!pThread->m_pMainWnd && pApp && pApp->m_pMainWnd->GetSafeHwnd()) {
                programs.Attach(pApp->m_pMainWnd->m_hWnd);
                pThread->m_pMainWnd = state.m_pProgramsMainWnd = &programs;
            }
            nExitCode = Execute(*pThread);
        });
        Leave(TRUE);
        return static_cast<unsigned>(nExitCode);
    }
    // The thread is about to end. Its object may live on, and must not keep what lies on the thread's stack.
    static void Leave(BOOL bDelete)
    {
        CThreadState* const pState = CThreadState::GetIfAny();
        if (!pState) return;
        CWnd* const pPrograms = std::exchange(pState->m_pProgramsMainWnd, nullptr);
        if (pPrograms) pPrograms->Detach();
        CWinThread* const pThread = std::exchange(pState->m_pThread, nullptr);
        if (!pThread) return;
        if (pPrograms && pThread->m_pMainWnd == pPrograms) pThread->m_pMainWnd = NULL;
        if (bDelete) pThread->Delete();
    }
    static CWinThread* Begin(CWinThread* pThread, int nPriority, UINT nStackSize, DWORD dwCreateFlags,
                             LPSECURITY_ATTRIBUTES pSecurityAttrs)
    {
        // Suspended at first: a thread that runs may have deleted the object already.
        if (!pThread->CreateThread(dwCreateFlags | CREATE_SUSPENDED, nStackSize, pSecurityAttrs)) {
            pThread->Delete();
            return NULL;
        }
        pThread->SetThreadPriority(nPriority);
        if (!(dwCreateFlags & CREATE_SUSPENDED)) pThread->ResumeThread();
        return pThread;
    }
};

BOOL CWinThread::CreateThread(DWORD dwCreateFlags, UINT nStackSize, LPSECURITY_ATTRIBUTES pSecurityAttrs)
{
    ASSERT(m_hThread == NULL);
    if (m_hThread) return FALSE;
    m_pModuleState = AfxGetModuleState();
    unsigned nThreadID = 0;
    // The members have to be there before the thread reads them.
    m_hThread = reinterpret_cast<HANDLE>(::_beginthreadex(pSecurityAttrs, nStackSize, CThreadRun::Entry, this,
                                                          dwCreateFlags | CREATE_SUSPENDED, &nThreadID));
    m_nThreadID = nThreadID;
    if (!m_hThread) return FALSE;
    if (!(dwCreateFlags & CREATE_SUSPENDED)) ResumeThread();
    return TRUE;
}

CWinThread* AFXAPI AfxBeginThread(AFX_THREADPROC pfnThreadProc, LPVOID pParam, int nPriority, UINT nStackSize,
                                  DWORD dwCreateFlags, LPSECURITY_ATTRIBUTES pSecurityAttrs)
{
    return CThreadRun::Begin(new CWinThread(pfnThreadProc, pParam), nPriority, nStackSize, dwCreateFlags,
                             pSecurityAttrs);
}

CWinThread* AFXAPI AfxBeginThread(CRuntimeClass* pThreadClass, int nPriority, UINT nStackSize, DWORD dwCreateFlags,
                                  LPSECURITY_ATTRIBUTES pSecurityAttrs)
{
    CObject* const pObject = pThreadClass->CreateObject();
    CWinThread* const pThread = DYNAMIC_DOWNCAST(CWinThread, pObject);
    if (!pThread) {
        delete pObject;
        return NULL;
    }
    return CThreadRun::Begin(pThread, nPriority, nStackSize, dwCreateFlags, pSecurityAttrs);
}

void AFXAPI AfxEndThread(UINT nExitCode, BOOL bDelete)
{
    CThreadRun::Leave(bDelete);
    ::_endthreadex(nExitCode);
    __builtin_unreachable();
}
