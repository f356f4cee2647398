#include "programname.h"

#include "afx_app.h"
#include "afx_msgbox.h"

CString AfxProgramName()
{
    CString strPath;
    const DWORD cchGot = ::GetModuleFileNameW(AfxGetInstanceHandle(), strPath.GetBuffer(MAX_PATH), MAX_PATH);
    strPath.ReleaseBuffer(cchGot);
    CString strName = strPath.Mid(strPath.ReverseFind(L'\\') + 1);
    const int nDot = strName.ReverseFind(L'.');
    return nDot > 0 ? strName.Left(nDot) : strName;
}

namespace {

UINT WithIcon(UINT nType)
{
    if (nType & MB_ICONMASK) return nType;
    const UINT nButtons = nType & MB_TYPEMASK;
    const bool bQuestion = nButtons == MB_YESNO || nButtons == MB_YESNOCANCEL;
    return nType | (bQuestion ? MB_ICONQUESTION : MB_ICONEXCLAMATION);
}

} // namespace

int AfxShowMessageBox(LPCTSTR pszText, UINT nType, LPCTSTR pszTitle)
{
    const HWND hActive = ::GetActiveWindow();
    const HWND hOwner = hActive ? ::GetAncestor(hActive, GA_ROOT) : NULL;
    return ::MessageBoxW(hOwner, pszText ? pszText : L"", pszTitle, WithIcon(nType));
}

int AFXAPI AfxMessageBox(LPCTSTR pszText, UINT nType, UINT nIDHelp)
{
    if (CWinApp* const pApp = AfxGetApp()) return pApp->DoMessageBox(pszText, nType, nIDHelp);
    return AfxShowMessageBox(pszText, nType, AfxProgramName());
}

int AFXAPI AfxMessageBox(UINT nIDPrompt, UINT nType, UINT nIDHelp)
{
    CString strText;
    strText.LoadString(nIDPrompt);
    return AfxMessageBox(static_cast<LPCTSTR>(strText), nType, nIDHelp == static_cast<UINT>(-1) ? nIDPrompt : nIDHelp);
}
