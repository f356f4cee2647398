#include "dialogcommands.h"
#include "disabledowner.h"
#include "guarded.h"
#include "modalflag.h"
#include "wndhook.h"

#include "afxdlgs.h"

#include <algorithm>

IMPLEMENT_DYNAMIC(CPropertySheet, CWnd)

#ifndef ID_WIZFINISH
#define ID_WIZFINISH 0x3025 // the sheet's own button
#endif

BEGIN_MESSAGE_MAP(CPropertySheet, CWnd)
ON_MESSAGE(WM_INITDIALOG, &CPropertySheet::HandleInitDialog)
ON_MESSAGE(PSM_PRESSBUTTON, &CPropertySheet::HandlePressButton)
ON_WM_CLOSE()
END_MESSAGE_MAP()

CPropertySheet::CPropertySheet() : m_psh(), m_pParentWnd(NULL), m_bModeless(FALSE)
{
    m_psh.dwSize = sizeof(m_psh);
    m_psh.dwFlags = PSH_PROPSHEETPAGE;
}

CPropertySheet::CPropertySheet(UINT nIDCaption, CWnd* pParentWnd, UINT iSelectPage) : CPropertySheet()
{
    Construct(nIDCaption, pParentWnd, iSelectPage);
}

CPropertySheet::CPropertySheet(LPCTSTR pszCaption, CWnd* pParentWnd, UINT iSelectPage) : CPropertySheet()
{
    Construct(pszCaption, pParentWnd, iSelectPage);
}

CPropertySheet::~CPropertySheet()
{
    if (m_hWnd && FromHandlePermanent(m_hWnd) == this) DestroyWindow();
}

void CPropertySheet::Construct(UINT nIDCaption, CWnd* pParentWnd, UINT iSelectPage)
{
    CString strCaption;
    strCaption.LoadString(nIDCaption);
    Construct(strCaption, pParentWnd, iSelectPage);
}

void CPropertySheet::Construct(LPCTSTR pszCaption, CWnd* pParentWnd, UINT iSelectPage)
{
    m_strCaption = pszCaption;
    m_psh.pszCaption = m_strCaption;
    m_psh.nStartPage = iSelectPage;
    m_pParentWnd = pParentWnd;
}

void CPropertySheet::AddPage(CPropertyPage* pPage)
{
    ASSERT(pPage != NULL);
    if (!pPage || GetPageIndex(pPage) >= 0) return;
    Guarded([&] { m_pages.reserve(m_pages.size() + 1); });
    if (!m_hWnd) {
        m_pages.push_back(pPage);
        return;
    }
    if (!pPage->Prepare()) return;
    const HPROPSHEETPAGE hPage = ::CreatePropertySheetPageW(&pPage->m_psp);
    if (!hPage) AfxThrowMemoryException();
    m_pages.push_back(pPage);
    if (!SendMessage(PSM_ADDPAGE, 0, reinterpret_cast<LPARAM>(hPage))) {
        m_pages.pop_back();
        ::DestroyPropertySheetPage(hPage);
    }
}

void CPropertySheet::RemovePage(CPropertyPage* pPage)
{
    RemovePage(GetPageIndex(pPage));
}

void CPropertySheet::RemovePage(int nPage)
{
    if (nPage < 0 || nPage >= GetPageCount()) return;
    if (m_hWnd) SendMessage(PSM_REMOVEPAGE, static_cast<WPARAM>(nPage));
    m_pages.erase(m_pages.begin() + nPage);
}

CPropertyPage* CPropertySheet::GetPage(int nPage) const
{
    return nPage >= 0 && nPage < GetPageCount() ? m_pages[static_cast<size_t>(nPage)] : NULL;
}

int CPropertySheet::GetPageIndex(CPropertyPage* pPage) const
{
    const auto found = std::find(m_pages.begin(), m_pages.end(), pPage);
    return found == m_pages.end() ? -1 : static_cast<int>(found - m_pages.begin());
}

int CPropertySheet::GetActiveIndex() const
{
    return m_hWnd ? static_cast<int>(GetTabControl()->SendMessage(TCM_GETCURSEL)) : static_cast<int>(m_psh.nStartPage);
}

CPropertyPage* CPropertySheet::GetActivePage() const
{
    return GetPage(GetActiveIndex());
}

BOOL CPropertySheet::SetActivePage(int nPage)
{
    if (!GetPage(nPage)) return FALSE;
    if (m_hWnd) return static_cast<BOOL>(SendMessage(PSM_SETCURSEL, static_cast<WPARAM>(nPage)));
    m_psh.nStartPage = static_cast<UINT>(nPage);
    return TRUE;
}

BOOL CPropertySheet::SetActivePage(CPropertyPage* pPage)
{
    return SetActivePage(GetPageIndex(pPage));
}

void CPropertySheet::SetTitle(LPCTSTR pszText, UINT nStyle)
{
    m_strCaption = pszText;
    m_psh.pszCaption = m_strCaption;
    m_psh.dwFlags = (m_psh.dwFlags & ~static_cast<DWORD>(PSH_PROPTITLE)) | nStyle;
    if (m_hWnd) SendMessage(PSM_SETTITLE, nStyle, reinterpret_cast<LPARAM>(pszText));
}

CWnd* CPropertySheet::GetTabControl() const
{
    return FromHandle(reinterpret_cast<HWND>(SendMessage(PSM_GETTABCONTROL)));
}

BOOL CPropertySheet::PressButton(int nButton)
{
    return PostMessage(PSM_PRESSBUTTON, static_cast<WPARAM>(nButton));
}

void CPropertySheet::SetFinishText(LPCTSTR pszText)
{
    SendMessage(PSM_SETFINISHTEXT, 0, reinterpret_cast<LPARAM>(pszText));
}

void CPropertySheet::SetWizardButtons(DWORD dwFlags)
{
    PostMessage(PSM_SETWIZBUTTONS, 0, static_cast<LPARAM>(dwFlags));
}

// Always made as a modeless window, so that a modal sheet's messages go through the thread's pump.
HWND CPropertySheet::CreateSheet(HWND hWndParent)
{
    ASSERT(m_hWnd == NULL);
    if (m_hWnd || m_pages.empty()) return NULL;
    std::vector<PROPSHEETPAGE> pages;
    Guarded([&] { pages.reserve(m_pages.size()); });
    for (CPropertyPage* const pPage : m_pages) {
        if (!pPage->Prepare()) return NULL;
        pages.push_back(pPage->m_psp);
    }
    m_psh.hwndParent = hWndParent;
    m_psh.hInstance = AfxGetInstanceHandle();
    PROPSHEETHEADER header = m_psh;
    header.dwFlags |= PSH_MODELESS | PSH_PROPSHEETPAGE;
    header.ppsp = pages.data();
    header.nPages = static_cast<UINT>(pages.size());
    HookCreation(this);
    const INT_PTR nResult = ::PropertySheetW(&header);
    UnhookCreation();
    return nResult > 0 ? reinterpret_cast<HWND>(nResult) : NULL;
}

int CPropertySheet::DoModal()
{
    m_nModalResult = -1;
    CDisabledOwner owner(m_pParentWnd, AfxGetMainWnd());
    m_bModeless = FALSE;
    {
        const CModalFlag modal(m_nFlags);
        const HWND hWnd = CreateSheet(owner.m_hWnd);
        if (hWnd && m_hWnd && CWnd::ContinueModal()) {
            RunModalLoop(MLF_SHOWONIDLE);
            if (m_hWnd)
                SetWindowPos(NULL, 0, 0, 0, 0,
                             SWP_HIDEWINDOW | SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE | SWP_NOZORDER);
        }
    }
    owner.Enable();
    if (owner.m_hWnd && m_hWnd && ::GetActiveWindow() == m_hWnd) ::SetActiveWindow(owner.m_hWnd);
    DestroyWindow();
    return m_nModalResult;
}

BOOL CPropertySheet::Create(CWnd* pParentWnd, DWORD dwStyle, DWORD dwExStyle)
{
    m_bModeless = TRUE;
    if (!CreateSheet(pParentWnd->GetSafeHwnd()) || !m_hWnd) return FALSE;
    if (dwStyle != static_cast<DWORD>(-1)) {
        ModifyStyle(~dwStyle & ~static_cast<DWORD>(WS_CHILD | WS_VISIBLE), dwStyle, SWP_FRAMECHANGED);
        ModifyStyleEx(0, dwExStyle, SWP_FRAMECHANGED);
    }
    ShowWindow(SW_SHOWNORMAL);
    return TRUE;
}

void CPropertySheet::EndDialog(int nEndID)
{
    if (m_nFlags & (kModalLoop | kContinueModal)) {
        EndModalLoop(nEndID);
    } else {
        DestroyWindow();
    }
}

BOOL CPropertySheet::OnInitDialog()
{
    return static_cast<BOOL>(Default());
}

LRESULT CPropertySheet::HandleInitDialog(WPARAM, LPARAM)
{
    return OnInitDialog();
}

// Not every system presses the button by a command of the button's.
LRESULT CPropertySheet::HandlePressButton(WPARAM wParam, LPARAM)
{
    switch (wParam) {
    case PSBTN_OK:
        m_nModalResult = IDOK;
        break;
    case PSBTN_CANCEL:
        m_nModalResult = IDCANCEL;
        break;
    case PSBTN_FINISH:
        m_nModalResult = ID_WIZFINISH;
        break;
    }
    return Default();
}

BOOL CPropertySheet::ContinueModal()
{
    // Once OK or Cancel was accepted there is no current page.
    return CWnd::ContinueModal() && m_hWnd && SendMessage(PSM_GETCURRENTPAGEHWND);
}

// The system makes a page's window when the page is first shown, in the middle of any of the sheet's messages. When it
// could not, the page is not to get the next window that anybody makes.
LRESULT CPropertySheet::DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    const HWND hWnd = m_hWnd;
    const LRESULT lResult = CWnd::DefWindowProc(nMessage, wParam, lParam);
    if (FromHandlePermanent(hWnd) != this) return lResult; // and may be gone
    for (const CPropertyPage* const pPage : m_pages) {
        if (IsWaitingForWindow(pPage)) UnhookCreation();
    }
    return lResult;
}

BOOL CPropertySheet::PreTranslateMessage(MSG* pMsg)
{
    if (CWnd::PreTranslateMessage(pMsg)) return TRUE;
    const UINT nMessage = pMsg->message;
    const bool bKey = nMessage >= WM_KEYFIRST && nMessage <= WM_KEYLAST;
    const bool bMouse = nMessage >= WM_MOUSEFIRST && nMessage <= WM_MOUSELAST;
    return (bKey || bMouse) && SendMessage(PSM_ISDIALOGMESSAGE, 0, reinterpret_cast<LPARAM>(pMsg));
}

BOOL CPropertySheet::OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    return CWnd::OnCmdMsg(nID, nCode, pExtra, pHandlerInfo) || PassCommandOn(*this, nID, nCode, pExtra, pHandlerInfo);
}

BOOL CPropertySheet::OnCommand(WPARAM wParam, LPARAM lParam)
{
    if (CWnd::OnCommand(wParam, lParam)) return TRUE;
    // The button that was pressed last is what DoModal gives.
    const HWND hButton = reinterpret_cast<HWND>(lParam);
    if (hButton && HIWORD(wParam) == BN_CLICKED &&
        (::SendMessageW(hButton, WM_GETDLGCODE, 0, 0) & (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON)))
        m_nModalResult = LOWORD(wParam);
    return FALSE;
}

void CPropertySheet::OnClose()
{
    m_nModalResult = IDCANCEL;
    if (m_bModeless) {
        DestroyWindow();
    } else {
        Default();
    }
}
