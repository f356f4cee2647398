#include "afx.h"
#include "afx_msgbox.h"

namespace {

CString ProgramName()
{
    CString strPath;
    const DWORD cchGot = ::GetModuleFileNameW(AfxGetInstanceHandle(), strPath.GetBuffer(MAX_PATH), MAX_PATH);
    strPath.ReleaseBuffer(cchGot);
    CString strName = strPath.Mid(strPath.ReverseFind(L'\\') + 1);
    const int nDot = strName.ReverseFind(L'.');
    return nDot > 0 ? strName.Left(nDot) : strName;
}

UINT WithIcon(UINT nType)
{
    if (nType & MB_ICONMASK) return nType;
    const UINT nButtons = nType & MB_TYPEMASK;
    const bool bQuestion = nButtons == MB_YESNO || nButtons == MB_YESNOCANCEL;
    return nType | (bQuestion ? MB_ICONQUESTION : MB_ICONEXCLAMATION);
}

} // namespace

int AFXAPI AfxMessageBox(LPCTSTR pszText, UINT nType, UINT)
{
    const HWND hActive = ::GetActiveWindow();
    const HWND hOwner = hActive ? ::GetAncestor(hActive, GA_ROOT) : NULL;
    return ::MessageBoxW(hOwner, pszText ? pszText : L"", ProgramName(), WithIcon(nType));
}

int AFXAPI AfxMessageBox(UINT nIDPrompt, UINT nType, UINT nIDHelp)
{
    CString strText;
    strText.LoadString(nIDPrompt);
    return AfxMessageBox(static_cast<LPCTSTR>(strText), nType, nIDHelp);
}
