#include "wndhook.h"

#include "afx_ddx.h"
#include "afx_dialog.h"

#include <climits>
#include <cstring>

void CWnd::DoDataExchange(CDataExchange*) {}

BOOL CWnd::UpdateData(BOOL bSaveAndValidate)
{
    HWND& hExchanging = CThreadState::Get().m_hExchanging;
    ASSERT(::IsWindow(m_hWnd) && hExchanging != m_hWnd);
    if (!::IsWindow(m_hWnd) || hExchanging == m_hWnd) return FALSE;
    struct CExchanging
    {
        HWND& m_hNow;
        const HWND m_hBefore;
        CExchanging(HWND& hNow, HWND hWnd) : m_hNow(hNow), m_hBefore(hNow) { hNow = hWnd; }
        ~CExchanging() { m_hNow = m_hBefore; }
    } exchanging(hExchanging, m_hWnd);
    CDataExchange dx(this, bSaveAndValidate);
    try {
        DoDataExchange(&dx);
        return TRUE;
    } catch (CUserException* e) {
        e->Delete(); // the person was told already
    } catch (CException* e) {
        e->ReportError(MB_ICONEXCLAMATION);
        e->Delete();
    }
    return FALSE;
}

namespace {

constexpr WORD kDlgInitType = 240; // RT_DLGINIT

// The resource is a row of {control, message, size, data}, ended by a control 0. The resource compiler's message
// numbers are those of 16-bit Windows.
BOOL ExecuteItems(HWND hWnd, const BYTE* p, DWORD cb)
{
    struct CHeader
    {
        WORD nID, nMessage, cbLow, cbHigh;
    } header;
    for (;;) {
        if (cb < sizeof(WORD)) return FALSE;
        std::memset(&header, 0, sizeof(header));
        std::memcpy(&header, p, cb < sizeof(header) ? cb : sizeof(header));
        if (header.nID == 0) return TRUE;
        if (cb < sizeof(header)) return FALSE;
        const DWORD cbData = MAKELONG(header.cbLow, header.cbHigh);
        p += sizeof(header);
        cb -= sizeof(header);
        if (cbData > cb) return FALSE;
        const UINT nMessage = header.nMessage == WM_USER + 1   ? LB_ADDSTRING
                              : header.nMessage == WM_USER + 3 ? CB_ADDSTRING
                                                               : header.nMessage;
        if (nMessage == LB_ADDSTRING || nMessage == CB_ADDSTRING) {
            // The texts are 8-bit, with a terminator that is not relied upon.
            const CString strItem(CString(reinterpret_cast<LPCSTR>(p), static_cast<int>(cbData)));
            const LPCTSTR pszItem = strItem;
            // LB_ERR and LB_ERRSPACE are CB_ERR and CB_ERRSPACE.
            if (::SendDlgItemMessageW(hWnd, header.nID, nMessage, 0, reinterpret_cast<LPARAM>(pszItem)) < 0)
                return FALSE;
        }
        p += cbData;
        cb -= cbData;
    }
}

} // namespace

BOOL CWnd::ExecuteDlgInit(LPCTSTR pszResourceName)
{
    const LPCTSTR pszType = MAKEINTRESOURCE(kDlgInitType);
    const HINSTANCE hInst = AfxFindResourceHandle(pszResourceName, pszType);
    const HRSRC hResource = ::FindResourceW(hInst, pszResourceName, pszType);
    if (!hResource) return TRUE;
    const HGLOBAL hData = ::LoadResource(hInst, hResource);
    const void* const pData = hData ? ::LockResource(hData) : NULL;
    return pData && ExecuteItems(m_hWnd, static_cast<const BYTE*>(pData), ::SizeofResource(hInst, hResource));
}

BOOL CDialog::OnInitDialog()
{
    BOOL bFilled = TRUE;
    if (m_lpDialogInit) {
        bFilled = ExecuteItems(m_hWnd, static_cast<const BYTE*>(m_lpDialogInit), INT_MAX);
    } else if (m_lpszTemplateName) {
        bFilled = ExecuteDlgInit(m_lpszTemplateName);
    }
    if (!bFilled || !UpdateData(FALSE)) {
        EndDialog(-1);
        return FALSE;
    }
    return TRUE;
}
