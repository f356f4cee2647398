#include "wndhook.h"

#include "afx_app.h"

IMPLEMENT_DYNCREATE(CWnd, CCmdTarget)

const CWnd CWnd::wndTop(HWND_TOP);
const CWnd CWnd::wndBottom(HWND_BOTTOM);
const CWnd CWnd::wndTopMost(HWND_TOPMOST);
const CWnd CWnd::wndNoTopMost(HWND_NOTOPMOST);

CWnd::CWnd() : CWnd(HWND(NULL)) {}

CWnd::CWnd(HWND hWnd) : m_hWnd(hWnd), m_hWndOwner(NULL), m_nFlags(0), m_nModalResult(-1), m_pfnSuper(NULL) {}

CWnd::~CWnd()
{
    if (!m_hWnd || FromHandlePermanent(m_hWnd) != this) return;
    TRACE(L"A window is destroyed by its object's destructor: handlers of derived classes do not see it go.\n");
    CWnd::DestroyWindow();
    // Still there if the window is another thread's: it goes on without the object.
    if (m_hWnd) UnsubclassWindow();
}

CWnd* PASCAL CWnd::FromHandle(HWND hWnd)
{
    return hWnd ? CThreadState::Get().m_windows.FromHandle(hWnd, RUNTIME_CLASS(CWnd)) : NULL;
}

CWnd* PASCAL CWnd::FromHandlePermanent(HWND hWnd)
{
    const CThreadState* const pState = CThreadState::GetIfAny();
    return pState && hWnd ? pState->m_windows.FindPermanent(hWnd) : NULL;
}

void PASCAL CWnd::DeleteTempMap()
{
    if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_windows.DeleteTemporaries();
}

BOOL CWnd::Attach(HWND hWnd)
{
    ASSERT(m_hWnd == NULL && FromHandlePermanent(hWnd) == NULL);
    if (!hWnd || m_hWnd || FromHandlePermanent(hWnd)) return FALSE;
    CThreadState::Get().m_windows.SetPermanent(hWnd, this);
    m_hWnd = hWnd;
    return TRUE;
}

HWND CWnd::Detach()
{
    const HWND hWnd = m_hWnd;
    if (hWnd) {
        if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_windows.RemovePermanent(hWnd, this);
    }
    m_hWnd = NULL;
    return hWnd;
}

HWND CWnd::GetSafeHwnd() const
{
    return this ? m_hWnd : NULL;
}

BOOL CWndAccess::Adopt(CWnd& wnd, HWND hWnd)
{
    if (!wnd.Attach(hWnd)) return FALSE;
    wnd.PreSubclassWindow();
    // PreSubclassWindow is the host's: it may have detached or destroyed the window.
    if (wnd.m_hWnd != hWnd) return FALSE;
    const auto pfnOld = reinterpret_cast<WNDPROC>(
        ::SetWindowLongW(hWnd, GWL_WNDPROC, reinterpret_cast<LONG>(static_cast<WNDPROC>(AfxWndProc))));
    if (pfnOld && pfnOld != AfxWndProc) *wnd.GetSuperWndProcAddr() = pfnOld;
    return TRUE;
}

void CWndAccess::LetGo(CWnd& wnd)
{
    WNDPROC& pfnSuper = *wnd.GetSuperWndProcAddr();
    if (pfnSuper && reinterpret_cast<WNDPROC>(::GetWindowLongW(wnd.m_hWnd, GWL_WNDPROC)) == AfxWndProc)
        ::SetWindowLongW(wnd.m_hWnd, GWL_WNDPROC, reinterpret_cast<LONG>(pfnSuper));
    pfnSuper = NULL;
    wnd.Detach();
}

BOOL CWnd::SubclassWindow(HWND hWnd)
{
    // Another thread's messages would look for this object in that thread's map, and another process's window procedure
    // cannot be exchanged.
    return ::GetWindowThreadProcessId(hWnd, NULL) == ::GetCurrentThreadId() && CWndAccess::Adopt(*this, hWnd);
}

BOOL CWnd::SubclassDlgItem(UINT nID, CWnd* pParent)
{
    return SubclassWindow(::GetDlgItem(pParent->GetSafeHwnd(), static_cast<int>(nID)));
}

HWND CWnd::UnsubclassWindow()
{
    const HWND hWnd = m_hWnd;
    CWndAccess::LetGo(*this);
    return hWnd;
}

const MSG* PASCAL CWnd::GetCurrentMessage()
{
    MSG& message = CThreadState::Get().m_message;
    const DWORD dwPosition = ::GetMessagePos();
    message.time = static_cast<DWORD>(::GetMessageTime());
    message.pt = CPoint(dwPosition);
    return &message;
}

LRESULT CWnd::Default()
{
    const MSG& message = CThreadState::Get().m_message;
    return DefWindowProc(message.message, message.wParam, message.lParam);
}

LRESULT CWnd::DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    const WNDPROC pfnSuper = *GetSuperWndProcAddr();
    return pfnSuper ? ::CallWindowProcW(pfnSuper, m_hWnd, nMessage, wParam, lParam)
                    : ::DefWindowProcW(m_hWnd, nMessage, wParam, lParam);
}

void CWnd::OnNcDestroy()
{
    CWinThread* const pThread = AfxGetThread();
    if (pThread && pThread->m_pMainWnd == this) {
        pThread->m_pMainWnd = NULL;
        AfxPostQuitMessage(0);
    }
    if (pThread && pThread->m_pActiveWnd == this) pThread->m_pActiveWnd = NULL;
    if (m_nFlags & kContinueModal) {
        // Its modal loop has nothing to wait for any more, and may be waiting in this very moment.
        m_nFlags &= ~kContinueModal;
        ::PostThreadMessageW(::GetCurrentThreadId(), WM_NULL, 0, 0);
    }
    Default();
    CWndAccess::LetGo(*this);
    PostNcDestroy();
}
