#include "wndhook.h"

#include "afx_app.h"
#include "afx_msg.h"

#include <cstdio>

LRESULT ResultOfFailure(const MSG& message)
{
    // Or the system would ask for the same failing painting for ever.
    if (message.message == WM_PAINT) ::ValidateRect(message.hwnd, NULL);
    return message.message == WM_CREATE ? -1 : 0;
}

void LogException(LPCTSTR pszWhere, CException* e)
{
    TCHAR szWhat[256];
    LogException(pszWhere, e->GetErrorMessage(szWhat, ARRAYSIZE(szWhat)) ? szWhat : L"a framework exception");
}

void LogException(LPCTSTR pszWhere, const std::exception& e)
{
    TCHAR szWhat[256] = L"";
    ::MultiByteToWideChar(CP_ACP, 0, e.what(), -1, szWhat, ARRAYSIZE(szWhat) - 1);
    LogException(pszWhere, szWhat);
}

void LogException(LPCTSTR pszWhere, LPCTSTR pszWhat)
{
    // Without a text of its own: memory may be what is out, and nothing may be thrown here.
    TCHAR szLine[512];
    ::_snwprintf(szLine, ARRAYSIZE(szLine), L"korvaneafx: %s: exception ended: %s\n", pszWhere, pszWhat);
    szLine[ARRAYSIZE(szLine) - 1] = 0;
    ::OutputDebugStringW(szLine);
}

LRESULT CWndAccess::Call(CWnd& wnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    CThreadState& state = CThreadState::Get();
    const MSG before = state.m_message;
    const HWND hWnd = wnd.m_hWnd;
    state.m_message = {};
    state.m_message.hwnd = hWnd;
    state.m_message.message = nMessage;
    state.m_message.wParam = wParam;
    state.m_message.lParam = lParam;
    const MSG message = state.m_message;
    LRESULT lResult = 0;
    const bool bDone = Contained(L"window procedure", [&] {
        try {
            lResult = wnd.WindowProc(nMessage, wParam, lParam);
        } catch (CException* e) {
            CWinThread* const pThread = AfxGetThread();
            if (!pThread) throw;
            LogException(L"window procedure", e);
            lResult = pThread->ProcessWndProcException(e, &message);
            e->Delete(); // not when it was thrown on
        }
    });
    if (!bDone) lResult = ResultOfFailure(message);
    state.m_message = before;
    return lResult;
}

LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    CWnd* const pWnd = CWnd::FromHandlePermanent(hWnd);
    return pWnd ? CWndAccess::Call(*pWnd, nMessage, wParam, lParam) : ::DefWindowProcW(hWnd, nMessage, wParam, lParam);
}

LRESULT CWnd::WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    LRESULT lResult = 0;
    return OnWndMsg(nMessage, wParam, lParam, &lResult) ? lResult : DefWindowProc(nMessage, wParam, lParam);
}

const AFX_MSGMAP_ENTRY* FindMessageEntry(const AFX_MSGMAP* pMap, UINT nMessage)
{
    for (; pMap; pMap = pMap->pfnGetBaseMap ? pMap->pfnGetBaseMap() : NULL) {
        for (const AFX_MSGMAP_ENTRY* pEntry = pMap->pEntries; pEntry->nMessage; ++pEntry) {
            if (pEntry->pRegistered ? *pEntry->pRegistered == nMessage && nMessage >= 0xC000
                                    : pEntry->nMessage == nMessage && pEntry->nCode == 0 && pEntry->nID == 0)
                return pEntry;
        }
    }
    return NULL;
}

namespace {

bool IsControlColour(UINT nMessage)
{
    return nMessage >= WM_CTLCOLORMSGBOX && nMessage <= WM_CTLCOLORSTATIC;
}

AFX_CTLCOLOR ControlColour(UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    return {reinterpret_cast<HWND>(lParam), reinterpret_cast<HDC>(wParam), nMessage - WM_CTLCOLORMSGBOX};
}

bool IsExchanging(HWND hWnd)
{
    return CThreadState::Get().m_hExchanging == hWnd && hWnd;
}

} // namespace

BOOL CWnd::OnWndMsg(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    LRESULT lIgnored = 0;
    LRESULT& lResult = pResult ? *pResult : lIgnored;
    if (nMessage == WM_COMMAND) {
        if (!OnCommand(wParam, lParam)) return FALSE;
        lResult = 1;
        return TRUE;
    }
    if (nMessage == WM_NOTIFY) {
        const NMHDR* const pHeader = reinterpret_cast<NMHDR*>(lParam);
        return pHeader && pHeader->hwndFrom && OnNotify(wParam, lParam, &lResult);
    }
    AFX_MSGCALL call = {nMessage, wParam, lParam, 0, 0, NULL};
    const AFX_MSGMAP_ENTRY* pEntry = FindMessageEntry(GetMessageMap(), nMessage);
    AFX_CTLCOLOR colour;
    if (!pEntry && IsControlColour(nMessage)) {
        colour = ControlColour(nMessage, wParam, lParam);
        call.nMessage = WM_CTLCOLOR;
        call.wParam = 0;
        call.lParam = reinterpret_cast<LPARAM>(&colour);
        pEntry = FindMessageEntry(GetMessageMap(), WM_CTLCOLOR);
    }
    if (!pEntry || !pEntry->pfnCall(this, call)) return FALSE;
    lResult = call.lResult;
    return TRUE;
}

BOOL CWnd::OnCommand(WPARAM wParam, LPARAM lParam)
{
    const UINT nID = LOWORD(wParam);
    const HWND hWndCtrl = reinterpret_cast<HWND>(lParam);
    if (!hWndCtrl) {
        // A menu or an accelerator: one that is switched off does nothing.
        if (nID == 0) return FALSE;
        struct CProbe : CCmdUI
        {
            BOOL m_bEnabled = TRUE;
            void Enable(BOOL bOn) override
            {
                m_bEnabled = bOn;
                m_bEnableChanged = TRUE;
            }
            void SetCheck(int) override {}
            void SetRadio(BOOL) override {}
            void SetText(LPCTSTR) override {}
        } probe;
        probe.m_nID = nID;
        OnCmdMsg(nID, static_cast<int>(CN_UPDATE_COMMAND_UI), &probe, NULL);
        return !probe.m_bEnabled || OnCmdMsg(nID, CN_COMMAND, NULL, NULL);
    }
    if (IsExchanging(m_hWnd)) return TRUE;
    if (ReflectLastMsg(hWndCtrl)) return TRUE;
    return nID != 0 && OnCmdMsg(nID, HIWORD(wParam), NULL, NULL);
}

BOOL CWnd::OnNotify(WPARAM, LPARAM lParam, LRESULT* pResult)
{
    NMHDR* const pHeader = reinterpret_cast<NMHDR*>(lParam);
    const HWND hWndCtrl = pHeader->hwndFrom;
    // The first parameter is not always the identifier.
    const UINT nID = static_cast<UINT>(::GetDlgCtrlID(hWndCtrl));
    if (IsExchanging(m_hWnd)) return TRUE;
    if (ReflectLastMsg(hWndCtrl, pResult)) return TRUE;
    AFX_NOTIFY notify = {pResult, pHeader};
    return OnCmdMsg(nID, MAKELONG(pHeader->code, WM_NOTIFY), &notify, NULL);
}

BOOL PASCAL CWnd::ReflectLastMsg(HWND hWndChild, LRESULT* pResult)
{
    CWnd* const pChild = FromHandlePermanent(hWndChild);
    return pChild && pChild->SendChildNotifyLastMsg(pResult);
}

BOOL CWnd::SendChildNotifyLastMsg(LRESULT* pResult)
{
    const MSG message = CThreadState::Get().m_message;
    return OnChildNotify(message.message, message.wParam, message.lParam, pResult);
}

BOOL CWnd::OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    return ReflectChildNotify(nMessage, wParam, lParam, pResult);
}

BOOL CWnd::ReflectChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    LRESULT lIgnored = 0;
    LRESULT* const pAnswer = pResult ? pResult : &lIgnored;
    switch (nMessage) {
    case WM_HSCROLL:
    case WM_VSCROLL:
    case WM_PARENTNOTIFY:
    case WM_DRAWITEM:
    case WM_MEASUREITEM:
    case WM_DELETEITEM:
    case WM_COMPAREITEM:
    case WM_CHARTOITEM:
    case WM_VKEYTOITEM:
        return OnWndMsg(WM_REFLECT_BASE + nMessage, wParam, lParam, pAnswer);
    case WM_COMMAND: {
        if (!OnCmdMsg(0, MAKELONG(HIWORD(wParam), WM_REFLECT_BASE + WM_COMMAND), NULL, NULL)) return FALSE;
        *pAnswer = 1;
        return TRUE;
    }
    case WM_NOTIFY: {
        NMHDR* const pHeader = reinterpret_cast<NMHDR*>(lParam);
        AFX_NOTIFY notify = {pAnswer, pHeader};
        return OnCmdMsg(0, MAKELONG(pHeader->code, WM_REFLECT_BASE + WM_NOTIFY), &notify, NULL);
    }
    }
    if (!IsControlColour(nMessage)) return FALSE;
    AFX_CTLCOLOR colour = ControlColour(nMessage, wParam, lParam);
    // No brush: the parent decides.
    return OnWndMsg(WM_REFLECT_BASE + WM_CTLCOLOR, 0, reinterpret_cast<LPARAM>(&colour), pAnswer) && *pAnswer != 0;
}
