#include "wndhook.h"

namespace {

bool IsInputMethodWindow(HWND hWnd)
{
    // The system makes one for the thread on its own account, possibly before the window that was asked for.
    TCHAR szClass[8] = L"";
    ::GetClassNameW(hWnd, szClass, ARRAYSIZE(szClass));
    return ::lstrcmpiW(szClass, L"IME") == 0;
}

// A rectangle may be from anywhere: one that is larger than its size can say has the size that the system would make of it.
int Extent(LONG nFirst, LONG nBehind)
{
    return static_cast<int>(static_cast<DWORD>(nBehind) - static_cast<DWORD>(nFirst));
}

void EndHook(CThreadState& state)
{
    if (state.m_hCreateHook) ::UnhookWindowsHookEx(state.m_hCreateHook);
    state.m_hCreateHook = NULL;
    state.m_pCreating = NULL;
}

LRESULT CALLBACK CreationHook(int nCode, WPARAM wParam, LPARAM lParam)
{
    CThreadState* const pState = CThreadState::GetIfAny();
    if (nCode != HCBT_CREATEWND || !pState || !pState->m_pCreating)
        return ::CallNextHookEx(NULL, nCode, wParam, lParam);
    const HWND hWnd = reinterpret_cast<HWND>(wParam);
    if (IsInputMethodWindow(hWnd)) return ::CallNextHookEx(pState->m_hCreateHook, nCode, wParam, lParam);
    const LRESULT lNext = ::CallNextHookEx(pState->m_hCreateHook, nCode, wParam, lParam);
    if (lNext) return lNext; // another hook refuses the window
    CWnd* const pWnd = pState->m_pCreating;
    EndHook(*pState);
    pState->m_hCreated = hWnd;
    BOOL bAdopted = FALSE;
    Contained(L"PreSubclassWindow", [&] { bAdopted = CWndAccess::Adopt(*pWnd, hWnd); });
    return bAdopted ? 0 : 1;
}

} // namespace

void HookCreation(CWnd* pWnd)
{
    CThreadState& state = CThreadState::Get();
    state.m_pCreating = pWnd;
    if (!state.m_hCreateHook)
        state.m_hCreateHook = ::SetWindowsHookExW(WH_CBT, CreationHook, NULL, ::GetCurrentThreadId());
    if (state.m_hCreateHook) return;
    state.m_pCreating = NULL;
    AfxThrowMemoryException();
}

BOOL IsWaitingForWindow(const CWnd* pWnd)
{
    const CThreadState* const pState = CThreadState::GetIfAny();
    return pState && pState->m_pCreating == pWnd;
}

BOOL UnhookCreation()
{
    CThreadState& state = CThreadState::Get();
    const BOOL bTaken = state.m_pCreating == NULL;
    EndHook(state);
    return bTaken;
}

BOOL CWnd::PreCreateWindow(CREATESTRUCT& cs)
{
    if (!cs.lpszClass)
        cs.lpszClass = AfxRegisterWndClass(CS_DBLCLKS | CS_HREDRAW | CS_VREDRAW, ::LoadCursorW(NULL, IDC_ARROW));
    return TRUE;
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCTSTR pszClassName, LPCTSTR pszWindowName, DWORD dwStyle, int x, int y,
                    int nWidth, int nHeight, HWND hWndParent, HMENU nIDorHMenu, LPVOID pParam)
{
    ASSERT(m_hWnd == NULL);
    if (m_hWnd) return FALSE;
    CREATESTRUCT cs = {};
    cs.dwExStyle = dwExStyle;
    cs.lpszClass = pszClassName;
    cs.lpszName = pszWindowName;
    cs.style = static_cast<LONG>(dwStyle);
    cs.x = x;
    cs.y = y;
    cs.cx = nWidth;
    cs.cy = nHeight;
    cs.hwndParent = hWndParent;
    cs.hMenu = nIDorHMenu;
    cs.hInstance = AfxGetInstanceHandle();
    cs.lpCreateParams = pParam;
    if (!PreCreateWindow(cs)) {
        PostNcDestroy();
        return FALSE;
    }
    HookCreation(this);
    const HWND hWnd = ::CreateWindowExW(cs.dwExStyle, cs.lpszClass, cs.lpszName, static_cast<DWORD>(cs.style), cs.x,
                                        cs.y, cs.cx, cs.cy, cs.hwndParent, cs.hMenu, cs.hInstance, cs.lpCreateParams);
    // A window that failed later went the way of all windows, and PostNcDestroy may have deleted this object.
    if (!UnhookCreation()) {
        PostNcDestroy();
        return FALSE;
    }
    if (hWnd) return TRUE;
    const HWND hFailed = CThreadState::Get().m_hCreated;
    if (!::IsWindow(hFailed) && FromHandlePermanent(hFailed) == this) {
        CWndAccess::LetGo(*this);
        PostNcDestroy();
    }
    return FALSE;
}

BOOL CWnd::CreateEx(DWORD dwExStyle, LPCTSTR pszClassName, LPCTSTR pszWindowName, DWORD dwStyle, const RECT& rect,
                    CWnd* pParentWnd, UINT nID, LPVOID pParam)
{
    return CreateEx(dwExStyle, pszClassName, pszWindowName, dwStyle, rect.left, rect.top, Extent(rect.left, rect.right),
                    Extent(rect.top, rect.bottom), pParentWnd->GetSafeHwnd(), reinterpret_cast<HMENU>(nID), pParam);
}

BOOL CWnd::Create(LPCTSTR pszClassName, LPCTSTR pszWindowName, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd,
                  UINT nID, void* pContext)
{
    ASSERT(pParentWnd != NULL && !(dwStyle & WS_POPUP));
    return CreateEx(0, pszClassName, pszWindowName, dwStyle | WS_CHILD, rect, pParentWnd, nID, pContext);
}

BOOL CWnd::DestroyWindow()
{
    return m_hWnd ? ::DestroyWindow(m_hWnd) : FALSE;
}

BOOL AFXAPI AfxRegisterClass(WNDCLASS* pWndClass)
{
    WNDCLASS existing;
    return ::GetClassInfoW(pWndClass->hInstance, pWndClass->lpszClassName, &existing) || ::RegisterClassW(pWndClass);
}

LPCTSTR AFXAPI AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor, HBRUSH hbrBackground, HICON hIcon)
{
    WNDCLASS window = {};
    window.style = nClassStyle;
    window.lpfnWndProc = ::DefWindowProcW;
    window.hInstance = AfxGetInstanceHandle();
    window.hCursor = hCursor;
    window.hbrBackground = hbrBackground;
    window.hIcon = hIcon;
    CString& strName = CThreadState::Get().m_strClassName;
    strName.Format(L"Afx:%x:%x:%x:%x:%x", reinterpret_cast<UINT>(window.hInstance), nClassStyle,
                   reinterpret_cast<UINT>(hCursor), reinterpret_cast<UINT>(hbrBackground),
                   reinterpret_cast<UINT>(hIcon));
    window.lpszClassName = strName;
    if (!AfxRegisterClass(&window)) AfxThrowResourceException();
    return strName;
}
