#include "threadstate.h"

#include "afx_cmd.h"
#include "afx_menu.h"

IMPLEMENT_DYNAMIC(CCmdTarget, CObject)

const AFX_MSGMAP* CCmdTarget::GetMessageMap() const
{
    return GetThisMessageMap();
}

const AFX_MSGMAP* PASCAL CCmdTarget::GetThisMessageMap()
{
    static const AFX_MSGMAP_ENTRY entries[] = {{0, 0, 0, 0, NULL, NULL}};
    static const AFX_MSGMAP map = {NULL, entries};
    return &map;
}

BOOL CCmdTarget::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    UINT nMessage = WM_COMMAND;
    UINT nWanted = static_cast<UINT>(nCode);
    if (nWanted != CN_UPDATE_COMMAND_UI) {
        if (HIWORD(nWanted)) nMessage = HIWORD(nWanted);
        nWanted = LOWORD(nWanted);
    } else if (nID == 0) {
        // No command's identifier: a control is asked about itself.
        nMessage = WM_REFLECT_BASE + WM_COMMAND;
    }
    for (const AFX_MSGMAP* pMap = GetMessageMap(); pMap; pMap = pMap->pfnGetBaseMap ? pMap->pfnGetBaseMap() : NULL) {
        for (const AFX_MSGMAP_ENTRY* pEntry = pMap->pEntries; pEntry->nMessage; ++pEntry) {
            if (pEntry->nMessage != nMessage || pEntry->nCode != nWanted || nID < pEntry->nID || nID > pEntry->nLastID)
                continue;
            if (pHandlerInfo) {
                *pHandlerInfo = {this, pEntry};
                return TRUE;
            }
            AFX_MSGCALL call = {nMessage, 0, 0, 0, nID, pExtra};
            return pEntry->pfnCall(this, call);
        }
    }
    return FALSE;
}

namespace {

void CountWaiting(int nChange)
{
    int& nWaiting = CThreadState::Get().m_nWaiting;
    nWaiting += nChange;
    if (nWaiting < 0) nWaiting = 0;
    ::SetCursor(::LoadCursorW(NULL, nWaiting ? IDC_WAIT : IDC_ARROW));
}

} // namespace

void CCmdTarget::BeginWaitCursor()
{
    CountWaiting(1);
}

void CCmdTarget::EndWaitCursor()
{
    CountWaiting(-1);
}

void CCmdTarget::RestoreWaitCursor()
{
    CountWaiting(0);
}

CCmdUI::CCmdUI()
    : m_nID(0), m_nIndex(0), m_pMenu(NULL), m_pOther(NULL), m_bEnableChanged(FALSE), m_bContinueRouting(FALSE),
      m_nIndexMax(0)
{
}

void CCmdUI::Enable(BOOL bOn)
{
    m_bEnableChanged = TRUE;
    if (m_pMenu) m_pMenu->EnableMenuItem(m_nIndex, MF_BYPOSITION | (bOn ? MF_ENABLED : MF_GRAYED));
    if (!m_pOther) return;
    // The focus must not stay on a control that is switched off.
    if (!bOn && ::GetFocus() == m_pOther->m_hWnd)
        ::SendMessageW(::GetParent(m_pOther->m_hWnd), WM_NEXTDLGCTL, 0, FALSE);
    m_pOther->EnableWindow(bOn);
}

void CCmdUI::SetCheck(int nCheck)
{
    if (m_pMenu) m_pMenu->CheckMenuItem(m_nIndex, MF_BYPOSITION | (nCheck ? MF_CHECKED : MF_UNCHECKED));
    // Of controls, nothing but a button has a check.
    if (m_pOther && (m_pOther->SendMessage(WM_GETDLGCODE) & DLGC_BUTTON))
        m_pOther->SendMessage(BM_SETCHECK, static_cast<WPARAM>(nCheck));
}

void CCmdUI::SetRadio(BOOL bOn)
{
    if (m_pMenu && bOn) {
        m_pMenu->CheckMenuRadioItem(m_nIndex, m_nIndex, m_nIndex, MF_BYPOSITION);
        return;
    }
    SetCheck(bOn ? 1 : 0);
}

void CCmdUI::SetText(LPCTSTR pszText)
{
    if (m_pMenu) {
        MENUITEMINFO info = {};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_STRING;
        info.dwTypeData = const_cast<LPTSTR>(pszText);
        ::SetMenuItemInfoW(m_pMenu->m_hMenu, m_nIndex, TRUE, &info);
    }
    if (!m_pOther) return;
    CString strOld;
    m_pOther->GetWindowText(strOld);
    if (strOld != pszText) m_pOther->SetWindowText(pszText);
}

BOOL CCmdUI::DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler)
{
    if (m_nID == 0 || LOWORD(m_nID) == 0xFFFF) return TRUE;
    m_bEnableChanged = FALSE;
    const BOOL bHandled = pTarget->OnCmdMsg(m_nID, static_cast<int>(CN_UPDATE_COMMAND_UI), this, NULL);
    if (bDisableIfNoHndler && !m_bEnableChanged) {
        AFX_CMDHANDLERINFO info;
        Enable(pTarget->OnCmdMsg(m_nID, CN_COMMAND, this, &info));
    }
    return bHandled;
}
