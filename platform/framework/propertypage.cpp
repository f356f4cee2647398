#include "dialogtemplate.h"
#include "wndhook.h"

#include "afxdlgs.h"

IMPLEMENT_DYNAMIC(CPropertyPage, CDialog)

BEGIN_MESSAGE_MAP(CPropertyPage, CDialog)
END_MESSAGE_MAP()

CPropertyPage::CPropertyPage() : m_psp(), m_bFirstSetActive(TRUE)
{
    m_psp.dwSize = sizeof(m_psp);
    m_psp.dwFlags = PSP_USECALLBACK;
    m_psp.pfnDlgProc = AfxDlgProc;
    m_psp.pfnCallback = PageCallback;
    m_psp.lParam = reinterpret_cast<LPARAM>(this);
}

CPropertyPage::CPropertyPage(UINT nIDTemplate, UINT nIDCaption) : CPropertyPage()
{
    Construct(nIDTemplate, nIDCaption);
}

CPropertyPage::CPropertyPage(LPCTSTR pszTemplateName, UINT nIDCaption) : CPropertyPage()
{
    Construct(pszTemplateName, nIDCaption);
}

CPropertyPage::~CPropertyPage()
{
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this) DestroyWindow();
}

void CPropertyPage::Construct(UINT nIDTemplate, UINT nIDCaption)
{
    m_nIDHelp = nIDTemplate;
    Construct(MAKEINTRESOURCE(nIDTemplate), nIDCaption);
}

void CPropertyPage::Construct(LPCTSTR pszTemplateName, UINT nIDCaption)
{
    SetTemplateName(pszTemplateName);
    m_psp.pszTemplate = m_lpszTemplateName;
    if (nIDCaption && m_strCaption.LoadString(nIDCaption)) {
        m_psp.pszTitle = m_strCaption;
        m_psp.dwFlags |= PSP_USETITLE;
    }
}

BOOL CPropertyPage::Prepare()
{
    m_bFirstSetActive = TRUE;
    if (m_psp.dwFlags & PSP_DLGINDIRECT) return m_psp.pResource != NULL;
    HINSTANCE hInst;
    if (!m_psp.pszTemplate || !LoadDialogTemplate(m_psp.pszTemplate, &hInst)) return FALSE;
    m_psp.hInstance = hInst;
    return TRUE;
}

// The sheet makes the page's window when it is first shown, right after it said so here.
UINT CALLBACK CPropertyPage::PageCallback(HWND, UINT nMessage, PROPSHEETPAGE* pPage)
{
    CPropertyPage* const pOwn = reinterpret_cast<CPropertyPage*>(pPage->lParam);
    if (nMessage != PSPCB_CREATE) return 1;
    return Contained(L"property page", [&] { HookCreation(pOwn); });
}

void CPropertyPage::PreInitDialog()
{
    UnhookCreation();
    CDialog::PreInitDialog();
}

void CPropertyPage::SetModified(BOOL bChanged)
{
    if (m_hWnd)
        ::SendMessageW(::GetParent(m_hWnd), bChanged ? PSM_CHANGED : PSM_UNCHANGED, reinterpret_cast<WPARAM>(m_hWnd),
                       0);
}

void CPropertyPage::CancelToClose()
{
    if (m_hWnd) ::SendMessageW(::GetParent(m_hWnd), PSM_CANCELTOCLOSE, 0, 0);
}

LRESULT CPropertyPage::QuerySiblings(WPARAM wParam, LPARAM lParam)
{
    return m_hWnd ? ::SendMessageW(::GetParent(m_hWnd), PSM_QUERYSIBLINGS, wParam, lParam) : 0;
}

BOOL CPropertyPage::OnSetActive()
{
    // The first time the members were put into the controls when the window was made.
    if (m_bFirstSetActive) {
        m_bFirstSetActive = FALSE;
        return TRUE;
    }
    return UpdateData(FALSE);
}

BOOL CPropertyPage::OnKillActive()
{
    return UpdateData(TRUE);
}

BOOL CPropertyPage::OnApply()
{
    OnOK();
    return TRUE;
}

BOOL CPropertyPage::OnQueryCancel()
{
    return TRUE;
}

void CPropertyPage::OnReset()
{
    OnCancel();
}

// The data were taken when the page stopped being the active one; the sheet ends itself.
void CPropertyPage::OnOK() {}

void CPropertyPage::OnCancel() {}

BOOL CPropertyPage::OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    if (CDialog::OnNotify(wParam, lParam, pResult)) return TRUE;
    const NMHDR* const pHeader = reinterpret_cast<NMHDR*>(lParam);
    const HWND hSheet = ::GetParent(m_hWnd);
    if (pHeader->hwndFrom != hSheet && pHeader->hwndFrom != ::GetParent(hSheet)) return FALSE;
    switch (pHeader->code) {
    case PSN_SETACTIVE:
        *pResult = OnSetActive() ? 0 : -1;
        return TRUE;
    case PSN_KILLACTIVE:
        *pResult = !OnKillActive();
        return TRUE;
    case PSN_APPLY:
        *pResult = OnApply() ? PSNRET_NOERROR : PSNRET_INVALID_NOCHANGEPAGE;
        return TRUE;
    case PSN_RESET:
        OnReset();
        *pResult = 0;
        return TRUE;
    case PSN_QUERYCANCEL:
        *pResult = !OnQueryCancel();
        return TRUE;
    case PSN_WIZBACK:
        *pResult = OnWizardBack();
        return TRUE;
    case PSN_WIZNEXT:
        *pResult = OnWizardNext();
        return TRUE;
    case PSN_WIZFINISH:
        *pResult = !OnWizardFinish();
        return TRUE;
    }
    return FALSE;
}

BOOL CPropertyPage::PreTranslateMessage(MSG* pMsg)
{
    // In a sheet, keys such as Tab and Enter are for page and sheet together.
    if (DYNAMIC_DOWNCAST(CPropertySheet, FromHandlePermanent(::GetParent(m_hWnd))))
        return CWnd::PreTranslateMessage(pMsg);
    return CDialog::PreTranslateMessage(pMsg);
}
