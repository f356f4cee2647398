#include "wndhook.h"

#include "afx_app.h"

BOOL CWnd::PreTranslateMessage(MSG*)
{
    return FALSE;
}

BOOL PASCAL CWnd::WalkPreTranslateTree(HWND hWndStop, MSG* pMsg)
{
    for (HWND hWnd = pMsg->hwnd; hWnd; hWnd = ::GetParent(hWnd)) {
        CWnd* const pWnd = FromHandlePermanent(hWnd);
        if (pWnd && pWnd->PreTranslateMessage(pMsg)) return TRUE;
        if (hWnd == hWndStop) break;
    }
    return FALSE;
}

int CWnd::RunModalLoop(DWORD dwFlags)
{
    // Nothing is known of this object once its window is gone, so the loop holds what it needs.
    const HWND hWnd = m_hWnd, hWndParent = ::GetParent(m_hWnd);
    bool bToShow = (dwFlags & MLF_SHOWONIDLE) && !(GetStyle() & WS_VISIBLE);
    const auto Show = [&] {
        if (bToShow) {
            ::ShowWindow(hWnd, SW_SHOWNORMAL);
            ::UpdateWindow(hWnd);
            bToShow = false;
        }
    };
    m_nFlags |= kModalLoop | kContinueModal;
    bool bIdle = true;
    LONG lIdleCount = 0;
    MSG message;
    for (;;) {
        while (bIdle && ContinueModal() && !::PeekMessageW(&message, NULL, 0, 0, PM_NOREMOVE)) {
            Show();
            if (!(dwFlags & MLF_NOIDLEMSG) && hWndParent && lIdleCount == 0)
                ::SendMessageW(hWndParent, WM_ENTERIDLE, MSGF_DIALOGBOX, reinterpret_cast<LPARAM>(hWnd));
            if ((dwFlags & MLF_NOKICKIDLE) || !::SendMessageW(hWnd, WM_KICKIDLE, MSGF_DIALOGBOX, lIdleCount++))
                bIdle = false;
        }
        if (!ContinueModal()) break;
        if (!PumpThreadMessage(&message)) {
            // For the loops around this one too.
            AfxPostQuitMessage(static_cast<int>(message.wParam));
            m_nModalResult = -1;
            break;
        }
        // 0x118: the blinking of a text caret, which means that messages do come.
        if (message.message == 0x118 || message.message == WM_SYSKEYDOWN) Show();
        if (IsThreadIdleMessage(&message)) {
            bIdle = true;
            lIdleCount = 0;
        }
    }
    m_nFlags &= ~(kModalLoop | kContinueModal);
    return m_nModalResult;
}

BOOL CWnd::ContinueModal()
{
    return (m_nFlags & kContinueModal) != 0;
}

void CWnd::EndModalLoop(int nResult)
{
    m_nModalResult = nResult;
    if (m_nFlags & kContinueModal) {
        m_nFlags &= ~kContinueModal;
        // The loop may be waiting for a message.
        PostMessage(WM_NULL);
    }
}

void CWnd::UpdateDialogControls(CCmdTarget* pTarget, BOOL bDisableIfNoHndler)
{
    HWND hNext;
    for (HWND hChild = ::GetTopWindow(m_hWnd); hChild; hChild = hNext) {
        hNext = ::GetWindow(hChild, GW_HWNDNEXT);
        CCmdUI state;
        state.m_nID = static_cast<UINT>(::GetDlgCtrlID(hChild));
        state.m_pOther = FromHandle(hChild);
        if (CWnd* const pOwn = FromHandlePermanent(hChild)) {
            if (pOwn->OnCmdMsg(0, static_cast<int>(CN_UPDATE_COMMAND_UI), &state, NULL)) continue;
        }
        // Only what a person presses is disabled for want of a handler.
        const bool bPushed =
            (::SendMessageW(hChild, WM_GETDLGCODE, 0, 0) & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON));
        state.DoUpdate(pTarget, bDisableIfNoHndler && bPushed);
    }
}
