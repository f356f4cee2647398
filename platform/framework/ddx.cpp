#include "ddxfail.h"

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cwchar>

CDataExchange::CDataExchange(CWnd* pDlgWnd, BOOL bSaveAndValidate)
    : m_bSaveAndValidate(bSaveAndValidate), m_pDlgWnd(pDlgWnd), m_hWndLastControl(NULL), m_bEditLastControl(FALSE)
{
}

HWND CDataExchange::PrepareCtrl(int nIDC)
{
    const HWND hCtrl = ::GetDlgItem(m_pDlgWnd->GetSafeHwnd(), nIDC);
    if (!hCtrl) {
        TRACE(L"No data exchange with control %d: there is none.\n", nIDC);
        AfxThrowNotSupportedException();
    }
    m_hWndLastControl = hCtrl;
    m_bEditLastControl = FALSE;
    return hCtrl;
}

HWND CDataExchange::PrepareEditCtrl(int nIDC)
{
    const HWND hCtrl = PrepareCtrl(nIDC);
    m_bEditLastControl = TRUE;
    return hCtrl;
}

void CDataExchange::Fail()
{
    if (m_bSaveAndValidate && m_hWndLastControl) {
        ::SetFocus(m_hWndLastControl);
        if (m_bEditLastControl) ::SendMessageW(m_hWndLastControl, EM_SETSEL, 0, -1);
    }
    AfxThrowUserException();
}

CString DdxPrompt(UINT nID, LPCTSTR pszDefault)
{
    CString str;
    return str.LoadString(nID) ? str : CString(pszDefault);
}

void DdxFail(CDataExchange* pDX, const CString& strPrompt)
{
    AfxMessageBox(strPrompt, MB_ICONEXCLAMATION);
    pDX->Fail();
}

void AFXAPI DDX_Control(CDataExchange* pDX, int nIDC, CWnd& rControl)
{
    if (rControl.m_hWnd) return;
    const HWND hCtrl = pDX->PrepareCtrl(nIDC);
    if (!rControl.SubclassWindow(hCtrl)) AfxThrowNotSupportedException();
}

namespace {

CString TextOf(HWND hWnd)
{
    CString str;
    CWnd::FromHandle(hWnd)->GetWindowText(str);
    return str;
}

// Only what is different, so that nothing flickers and no notification comes for nothing.
void SetTextOf(HWND hWnd, LPCTSTR pszText)
{
    if (TextOf(hWnd) != pszText) ::SetWindowTextW(hWnd, pszText);
}

CString Trimmed(HWND hWnd)
{
    CString str = TextOf(hWnd);
    str.TrimLeft();
    str.TrimRight();
    return str;
}

// The digits, with a sign in front if it may have one, between the bounds; FALSE for anything else.
bool ReadInteger(const CString& str, bool bSigned, long long nMin, long long nMax, long long& nValue)
{
    int i = 0;
    const bool bMinus = bSigned && str.GetLength() > 0 && str[0] == L'-';
    if (bMinus || (str.GetLength() > 0 && str[0] == L'+')) i = 1;
    if (i == str.GetLength()) return false;
    long long n = 0;
    for (; i < str.GetLength(); ++i) {
        if (str[i] < L'0' || str[i] > L'9') return false;
        n = n * 10 + (str[i] - L'0');
        if (n > UINT_MAX + 1LL) return false;
    }
    nValue = bMinus ? -n : n;
    return nValue >= nMin && nValue <= nMax;
}

template <class Integer>
void ExchangeInteger(CDataExchange* pDX, int nIDC, Integer& value, long long nMin, long long nMax, UINT nPrompt,
                     LPCTSTR pszPrompt)
{
    const HWND hCtrl = pDX->PrepareEditCtrl(nIDC);
    if (pDX->m_bSaveAndValidate) {
        long long nRead = 0;
        if (!ReadInteger(Trimmed(hCtrl), nMin < 0, nMin, nMax, nRead)) DdxFail(pDX, DdxPrompt(nPrompt, pszPrompt));
        value = static_cast<Integer>(nRead);
        return;
    }
    CString str;
    if (nMin < 0) {
        str.Format(L"%d", static_cast<int>(value));
    } else {
        str.Format(L"%u", static_cast<UINT>(value));
    }
    SetTextOf(hCtrl, str);
}

constexpr LPCTSTR kInteger = L"Please enter an integer.";
constexpr LPCTSTR kPositive = L"Please enter a positive integer.";

// A real number and nothing else: no infinities, hexadecimal digits or words, which wcstod would take too.
bool ReadReal(const CString& str, double& rValue)
{
    if (str.IsEmpty() || str.SpanIncluding(L"0123456789+-.eE").GetLength() != str.GetLength()) return false;
    wchar_t* pEnd = NULL;
    errno = 0;
    rValue = std::wcstod(str, &pEnd);
    return *pEnd == 0 && std::isfinite(rValue);
}

template <class Real> void ExchangeReal(CDataExchange* pDX, int nIDC, Real& value, int nDigits, double rLargest)
{
    const HWND hCtrl = pDX->PrepareEditCtrl(nIDC);
    if (pDX->m_bSaveAndValidate) {
        double rRead = 0;
        if (!ReadReal(Trimmed(hCtrl), rRead) || std::fabs(rRead) > rLargest)
            DdxFail(pDX, DdxPrompt(AFX_IDP_PARSE_REAL, L"Please enter a number."));
        value = static_cast<Real>(rRead);
        return;
    }
    CString str;
    str.Format(L"%.*g", nDigits, static_cast<double>(value));
    SetTextOf(hCtrl, str);
}

} // namespace

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, BYTE& value)
{
    ExchangeInteger(pDX, nIDC, value, 0, UCHAR_MAX, AFX_IDP_PARSE_BYTE, L"Please enter an integer between 0 and 255.");
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, short& value)
{
    ExchangeInteger(pDX, nIDC, value, SHRT_MIN, SHRT_MAX, AFX_IDP_PARSE_INT, kInteger);
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, int& value)
{
    ExchangeInteger(pDX, nIDC, value, INT_MIN, INT_MAX, AFX_IDP_PARSE_INT, kInteger);
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, UINT& value)
{
    ExchangeInteger(pDX, nIDC, value, 0, UINT_MAX, AFX_IDP_PARSE_UINT, kPositive);
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, long& value)
{
    ExchangeInteger(pDX, nIDC, value, LONG_MIN, LONG_MAX, AFX_IDP_PARSE_INT, kInteger);
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, DWORD& value)
{
    ExchangeInteger(pDX, nIDC, value, 0, ULONG_MAX, AFX_IDP_PARSE_UINT, kPositive);
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, CString& value)
{
    const HWND hCtrl = pDX->PrepareEditCtrl(nIDC);
    if (pDX->m_bSaveAndValidate) {
        value = TextOf(hCtrl);
    } else {
        SetTextOf(hCtrl, value);
    }
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, LPTSTR pszValue, int nMaxLen)
{
    const HWND hCtrl = pDX->PrepareEditCtrl(nIDC);
    if (!pDX->m_bSaveAndValidate) {
        SetTextOf(hCtrl, pszValue);
    } else if (nMaxLen > 0) {
        *pszValue = 0;
        ::GetWindowTextW(hCtrl, pszValue, nMaxLen);
    }
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, float& value)
{
    ExchangeReal(pDX, nIDC, value, FLT_DIG, FLT_MAX);
}

void AFXAPI DDX_Text(CDataExchange* pDX, int nIDC, double& value)
{
    ExchangeReal(pDX, nIDC, value, DBL_DIG, DBL_MAX);
}

void AFXAPI DDX_Check(CDataExchange* pDX, int nIDC, int& value)
{
    const HWND hCtrl = pDX->PrepareCtrl(nIDC);
    if (pDX->m_bSaveAndValidate) {
        value = static_cast<int>(::SendMessageW(hCtrl, BM_GETCHECK, 0, 0));
        return;
    }
    if (value < 0 || value > 2) value = 0;
    ::SendMessageW(hCtrl, BM_SETCHECK, static_cast<WPARAM>(value), 0);
}

void AFXAPI DDX_Radio(CDataExchange* pDX, int nIDC, int& value)
{
    HWND hCtrl = pDX->PrepareCtrl(nIDC);
    ASSERT(::GetWindowLongW(hCtrl, GWL_STYLE) & WS_GROUP);
    if (pDX->m_bSaveAndValidate) value = -1;
    int nButton = 0;
    do {
        // Other controls may stand between the buttons.
        if (::SendMessageW(hCtrl, WM_GETDLGCODE, 0, 0) & DLGC_RADIOBUTTON) {
            if (!pDX->m_bSaveAndValidate) {
                ::SendMessageW(hCtrl, BM_SETCHECK, nButton == value, 0);
            } else if (::SendMessageW(hCtrl, BM_GETCHECK, 0, 0)) {
                value = nButton;
            }
            ++nButton;
        }
        hCtrl = ::GetWindow(hCtrl, GW_HWNDNEXT);
    } while (hCtrl && !(::GetWindowLongW(hCtrl, GWL_STYLE) & WS_GROUP));
}
