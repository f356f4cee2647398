#include "dialogcommands.h"
#include "dialogtemplate.h"
#include "disabledowner.h"
#include "modalflag.h"
#include "wndhook.h"

#include "afx_app.h"
#include "afx_dialog.h"
#include "afx_msg.h"

namespace {

// A template in a movable block, in its place while this lives.
class CLockedTemplate
{
public:
    explicit CLockedTemplate(HGLOBAL hTemplate) : m_hTemplate(hTemplate) {}
    ~CLockedTemplate()
    {
        if (m_bLocked) ::GlobalUnlock(m_hTemplate);
    }
    CLockedTemplate(const CLockedTemplate&) = delete;
    CLockedTemplate& operator=(const CLockedTemplate&) = delete;

    // NULL if it is not sound.
    LPCDLGTEMPLATE Lock()
    {
        const void* const pTemplate = ::GlobalLock(m_hTemplate);
        m_bLocked = pTemplate != NULL;
        return IsDialogTemplateSound(pTemplate, ::GlobalSize(m_hTemplate)) ? static_cast<LPCDLGTEMPLATE>(pTemplate)
                                                                           : NULL;
    }

private:
    const HGLOBAL m_hTemplate;
    bool m_bLocked = false;
};

} // namespace

IMPLEMENT_DYNAMIC(CDialog, CWnd)

BEGIN_MESSAGE_MAP(CDialog, CWnd)
ON_COMMAND(IDOK, &CDialog::OnOK)
ON_COMMAND(IDCANCEL, &CDialog::OnCancel)
ON_MESSAGE(WM_SETFONT, &CDialog::HandleSetFont)
END_MESSAGE_MAP()

CDialog::CDialog()
    : m_nIDHelp(0), m_lpszTemplateName(NULL), m_hDialogTemplate(NULL), m_lpDialogTemplate(NULL), m_lpDialogInit(NULL),
      m_pParentWnd(NULL)
{
}

CDialog::CDialog(UINT nIDTemplate, CWnd* pParentWnd) : CDialog(MAKEINTRESOURCE(nIDTemplate), pParentWnd)
{
    m_nIDHelp = nIDTemplate;
}

CDialog::CDialog(LPCTSTR pszTemplateName, CWnd* pParentWnd) : CDialog()
{
    SetTemplateName(pszTemplateName);
    m_pParentWnd = pParentWnd;
}

CDialog::~CDialog()
{
    // While this is still a dialog: the base's destructor would be too late for OnCmdMsg and the like.
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this) DestroyWindow();
}

void CDialog::SetTemplateName(LPCTSTR pszName)
{
    m_lpszTemplateName = pszName;
    if (IS_INTRESOURCE(pszName)) return;
    m_strTemplateName = pszName;
    m_lpszTemplateName = m_strTemplateName;
}

INT_PTR CALLBACK AfxDlgProc(HWND hWnd, UINT nMessage, WPARAM, LPARAM)
{
    if (nMessage != WM_INITDIALOG) return FALSE;
    CDialog* const pDialog = DYNAMIC_DOWNCAST(CDialog, CWnd::FromHandlePermanent(hWnd));
    if (!pDialog) return TRUE;
    BOOL bDefaultFocus = FALSE;
    // The system's own frames lie between here and the window procedure: no exception may pass them.
    const bool bDone = Contained(L"OnInitDialog", [&] {
        pDialog->ModifyStyleEx(0, WS_EX_CONTROLPARENT);
        CWndAccess::PrepareInit(*pDialog);
        bDefaultFocus = pDialog->OnInitDialog();
    });
    if (bDone || CWnd::FromHandlePermanent(hWnd) != pDialog) return bDefaultFocus;
    if (pDialog->ContinueModal()) {
        pDialog->EndModalLoop(IDABORT);
    } else if (!(pDialog->GetStyle() & WS_CHILD)) {
        pDialog->DestroyWindow();
    }
    return FALSE;
}

BOOL CDialog::CreateFrom(LPCDLGTEMPLATE pDialogTemplate, HWND hWndParent, HINSTANCE hInst)
{
    ASSERT(m_hWnd == NULL);
    if (m_hWnd) return FALSE;
    HookCreation(this);
    const HWND hWnd = ::CreateDialogIndirectParamW(hInst, pDialogTemplate, hWndParent, AfxDlgProc, 0);
    if (!UnhookCreation()) {
        PostNcDestroy();
        return FALSE;
    }
    if (hWnd && ::IsWindow(hWnd)) return TRUE;
    const HWND hFailed = CThreadState::Get().m_hCreated;
    if (!::IsWindow(hFailed) && FromHandlePermanent(hFailed) == this) {
        CWndAccess::LetGo(*this);
        PostNcDestroy();
    }
    return FALSE;
}

BOOL CDialog::CreateDlgIndirect(LPCDLGTEMPLATE pDialogTemplate, CWnd* pParentWnd, HINSTANCE hInst)
{
    return pDialogTemplate && CreateFrom(pDialogTemplate, pParentWnd->GetSafeHwnd(), hInst);
}

BOOL CDialog::Create(UINT nIDTemplate, CWnd* pParentWnd)
{
    if (!m_nIDHelp) m_nIDHelp = nIDTemplate;
    return Create(MAKEINTRESOURCE(nIDTemplate), pParentWnd);
}

BOOL CDialog::Create(LPCTSTR pszTemplateName, CWnd* pParentWnd)
{
    SetTemplateName(pszTemplateName);
    HINSTANCE hInst;
    const LPCDLGTEMPLATE pTemplate = LoadDialogTemplate(m_lpszTemplateName, &hInst);
    return CreateDlgIndirect(pTemplate, pParentWnd ? pParentWnd : AfxGetMainWnd(), hInst);
}

BOOL CDialog::CreateIndirect(LPCDLGTEMPLATE pDialogTemplate, CWnd* pParentWnd, void* pDialogInit)
{
    m_lpDialogInit = pDialogInit;
    return CreateDlgIndirect(pDialogTemplate, pParentWnd ? pParentWnd : AfxGetMainWnd(), AfxGetInstanceHandle());
}

BOOL CDialog::CreateIndirect(HGLOBAL hDialogTemplate, CWnd* pParentWnd)
{
    CLockedTemplate locked(hDialogTemplate);
    const LPCDLGTEMPLATE pTemplate = locked.Lock();
    return pTemplate && CreateIndirect(pTemplate, pParentWnd);
}

BOOL CDialog::InitModalIndirect(LPCDLGTEMPLATE pDialogTemplate, CWnd* pParentWnd, void* pDialogInit)
{
    m_lpDialogTemplate = pDialogTemplate;
    m_lpDialogInit = pDialogInit;
    m_pParentWnd = pParentWnd;
    return TRUE;
}

BOOL CDialog::InitModalIndirect(HGLOBAL hDialogTemplate, CWnd* pParentWnd)
{
    m_hDialogTemplate = hDialogTemplate;
    m_pParentWnd = pParentWnd;
    return TRUE;
}

int CDialog::DoModal()
{
    HINSTANCE hInst = AfxGetInstanceHandle();
    LPCDLGTEMPLATE pTemplate = m_lpDialogTemplate;
    CLockedTemplate locked(m_hDialogTemplate);
    if (m_lpszTemplateName) {
        pTemplate = LoadDialogTemplate(m_lpszTemplateName, &hInst);
    } else if (m_hDialogTemplate) {
        pTemplate = locked.Lock();
    }
    m_nModalResult = -1;
    if (pTemplate && !m_hWnd) {
        CDisabledOwner owner(m_pParentWnd, AfxGetMainWnd());
        {
            const CModalFlag modal(m_nFlags);
            if (CreateFrom(pTemplate, owner.m_hWnd, hInst)) {
                if (m_nFlags & kContinueModal)
                    RunModalLoop(MLF_SHOWONIDLE | ((GetStyle() & DS_NOIDLEMSG) ? MLF_NOIDLEMSG : 0));
                if (m_hWnd) {
                    SetWindowPos(NULL, 0, 0, 0, 0,
                                 SWP_HIDEWINDOW | SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE | SWP_NOZORDER);
                }
            }
        }
        owner.Enable();
        if (owner.m_hWnd && m_hWnd && ::GetActiveWindow() == m_hWnd) ::SetActiveWindow(owner.m_hWnd);
        DestroyWindow();
    }
    return m_nModalResult;
}

void CDialog::EndDialog(int nResult)
{
    if (m_nFlags & (kModalLoop | kContinueModal)) {
        EndModalLoop(nResult);
    } else {
        ::EndDialog(m_hWnd, nResult);
    }
}

void CDialog::OnOK()
{
    if (UpdateData(TRUE)) EndDialog(IDOK);
}

void CDialog::OnCancel()
{
    EndDialog(IDCANCEL);
}

LRESULT CDialog::HandleSetFont(WPARAM wParam, LPARAM)
{
    const LRESULT lResult = Default();
    OnSetFont(CFont::FromHandle(reinterpret_cast<HFONT>(wParam)));
    return lResult;
}

void CDialog::OnSetFont(CFont*) {}

BOOL CDialog::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    return CWnd::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo) || PassCommandOn(*this, nID, nCode, pExtra, pHandlerInfo);
}

BOOL CDialog::PreTranslateMessage(MSG* pMsg)
{
    if (CWnd::PreTranslateMessage(pMsg)) return TRUE;
    // The device's key for help: it has none of its own. Sent, because here the system posts no WM_HELP.
    if (pMsg->message == WM_SYSKEYDOWN && pMsg->wParam == L'H') {
        SendMessage(WM_HELP);
        return TRUE;
    }
    // An edit control of several lines would keep Escape to itself.
    if (pMsg->message == WM_KEYDOWN && pMsg->wParam == VK_ESCAPE &&
        (::GetWindowLongW(pMsg->hwnd, GWL_STYLE) & ES_MULTILINE)) {
        TCHAR szClass[8] = L"";
        ::GetClassNameW(pMsg->hwnd, szClass, ARRAYSIZE(szClass));
        const HWND hCancel = ::GetDlgItem(m_hWnd, IDCANCEL);
        if (::lstrcmpiW(szClass, L"EDIT") == 0 && (!hCancel || ::IsWindowEnabled(hCancel))) {
            SendMessage(WM_COMMAND, IDCANCEL);
            return TRUE;
        }
    }
    return PreTranslateInput(pMsg);
}

BOOL CDialog::PreTranslateInput(MSG* pMsg)
{
    const UINT nMessage = pMsg->message;
    const bool bKey = nMessage >= WM_KEYFIRST && nMessage <= WM_KEYLAST;
    const bool bMouse = nMessage >= WM_MOUSEFIRST && nMessage <= WM_MOUSELAST;
    return (bKey || bMouse) && ::IsDialogMessageW(m_hWnd, pMsg);
}

void CDialog::MapDialogRect(LPRECT pRect) const
{
    ::MapDialogRect(m_hWnd, pRect);
}

void CDialog::NextDlgCtrl() const
{
    SendMessage(WM_NEXTDLGCTL, 0, FALSE);
}

void CDialog::PrevDlgCtrl() const
{
    SendMessage(WM_NEXTDLGCTL, 1, FALSE);
}

void CDialog::GotoDlgCtrl(CWnd* pWndCtrl)
{
    SendMessage(WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(pWndCtrl->GetSafeHwnd()), TRUE);
}

DWORD CDialog::GetDefID() const
{
    return static_cast<DWORD>(SendMessage(DM_GETDEFID));
}

void CDialog::SetDefID(UINT nID)
{
    SendMessage(DM_SETDEFID, nID);
}
