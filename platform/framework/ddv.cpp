#include "ddxfail.h"

#include <cfloat>

namespace {

LRESULT Send(HWND hWnd, UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0)
{
    return ::SendMessageW(hWnd, nMessage, wParam, lParam);
}

LPARAM Text(const CString& str)
{
    return reinterpret_cast<LPARAM>(static_cast<LPCTSTR>(str));
}

void ExchangeListText(CDataExchange* pDX, int nIDC, CString& value, bool bExact)
{
    const HWND hCtrl = pDX->PrepareCtrl(nIDC);
    const WPARAM kFromStart = static_cast<WPARAM>(-1);
    if (pDX->m_bSaveAndValidate) {
        const int nSelected = static_cast<int>(Send(hCtrl, LB_GETCURSEL));
        value.Empty();
        if (nSelected < 0) return;
        const int cch = static_cast<int>(Send(hCtrl, LB_GETTEXTLEN, static_cast<WPARAM>(nSelected)));
        if (cch <= 0) return;
        LPTSTR pszText = value.GetBuffer(cch);
        Send(hCtrl, LB_GETTEXT, static_cast<WPARAM>(nSelected), reinterpret_cast<LPARAM>(pszText));
        value.ReleaseBuffer(cch);
    } else if (bExact) {
        const LRESULT lFound = Send(hCtrl, LB_FINDSTRINGEXACT, kFromStart, Text(value));
        Send(hCtrl, LB_SETCURSEL, static_cast<WPARAM>(lFound));
    } else {
        Send(hCtrl, LB_SELECTSTRING, kFromStart, Text(value));
    }
}

void ExchangeComboText(CDataExchange* pDX, int nIDC, CString& value, bool bExact)
{
    const HWND hCtrl = pDX->PrepareCtrl(nIDC);
    const WPARAM kFromStart = static_cast<WPARAM>(-1);
    if (pDX->m_bSaveAndValidate) {
        CWnd::FromHandle(hCtrl)->GetWindowText(value);
        return;
    }
    LRESULT lFound;
    if (bExact) {
        lFound = Send(hCtrl, CB_FINDSTRINGEXACT, kFromStart, Text(value));
        if (lFound >= 0) Send(hCtrl, CB_SETCURSEL, static_cast<WPARAM>(lFound));
    } else {
        lFound = Send(hCtrl, CB_SELECTSTRING, kFromStart, Text(value));
    }
    if (lFound < 0) ::SetWindowTextW(hCtrl, value);
}

void ExchangeIndex(CDataExchange* pDX, int nIDC, int& index, UINT nGet, UINT nSet)
{
    const HWND hCtrl = pDX->PrepareCtrl(nIDC);
    if (pDX->m_bSaveAndValidate) {
        index = static_cast<int>(Send(hCtrl, nGet));
    } else {
        Send(hCtrl, nSet, static_cast<WPARAM>(index));
    }
}

// %1 and %2 in the host's prompts.
CString WithNumbers(CString strPrompt, const CString& str1, const CString& str2)
{
    strPrompt.Replace(L"%1", str1);
    strPrompt.Replace(L"%2", str2);
    return strPrompt;
}

template <class Value> void CheckInteger(CDataExchange* pDX, Value value, Value minVal, Value maxVal, LPCTSTR pszFormat)
{
    ASSERT(minVal <= maxVal);
    if (!pDX->m_bSaveAndValidate || (value >= minVal && value <= maxVal)) return;
    CString strMin, strMax;
    strMin.Format(pszFormat, minVal);
    strMax.Format(pszFormat, maxVal);
    DdxFail(pDX, WithNumbers(DdxPrompt(AFX_IDP_PARSE_INT_RANGE, L"Please enter an integer between %1 and %2."), strMin,
                             strMax));
}

void CheckReal(CDataExchange* pDX, double value, double minVal, double maxVal, int nDigits)
{
    ASSERT(minVal <= maxVal);
    if (!pDX->m_bSaveAndValidate || (value >= minVal && value <= maxVal)) return;
    CString strMin, strMax;
    strMin.Format(L"%.*g", nDigits, minVal);
    strMax.Format(L"%.*g", nDigits, maxVal);
    DdxFail(pDX, WithNumbers(DdxPrompt(AFX_IDP_PARSE_REAL_RANGE, L"Please enter a number between %1 and %2."), strMin,
                             strMax));
}

} // namespace

void AFXAPI DDX_LBString(CDataExchange* pDX, int nIDC, CString& value)
{
    ExchangeListText(pDX, nIDC, value, false);
}

void AFXAPI DDX_LBStringExact(CDataExchange* pDX, int nIDC, CString& value)
{
    ExchangeListText(pDX, nIDC, value, true);
}

void AFXAPI DDX_CBString(CDataExchange* pDX, int nIDC, CString& value)
{
    ExchangeComboText(pDX, nIDC, value, false);
}

void AFXAPI DDX_CBStringExact(CDataExchange* pDX, int nIDC, CString& value)
{
    ExchangeComboText(pDX, nIDC, value, true);
}

void AFXAPI DDX_LBIndex(CDataExchange* pDX, int nIDC, int& index)
{
    ExchangeIndex(pDX, nIDC, index, LB_GETCURSEL, LB_SETCURSEL);
}

void AFXAPI DDX_CBIndex(CDataExchange* pDX, int nIDC, int& index)
{
    ExchangeIndex(pDX, nIDC, index, CB_GETCURSEL, CB_SETCURSEL);
}

void AFXAPI DDX_Scroll(CDataExchange* pDX, int nIDC, int& value)
{
    CWnd* const pBar = CWnd::FromHandle(pDX->PrepareCtrl(nIDC));
    if (pDX->m_bSaveAndValidate) {
        value = pBar->GetScrollPos(SB_CTL);
    } else {
        pBar->SetScrollPos(SB_CTL, value);
    }
}

void AFXAPI DDV_MinMaxByte(CDataExchange* pDX, BYTE value, BYTE minVal, BYTE maxVal)
{
    CheckInteger<UINT>(pDX, value, minVal, maxVal, L"%u");
}

void AFXAPI DDV_MinMaxShort(CDataExchange* pDX, short value, short minVal, short maxVal)
{
    CheckInteger<int>(pDX, value, minVal, maxVal, L"%d");
}

void AFXAPI DDV_MinMaxInt(CDataExchange* pDX, int value, int minVal, int maxVal)
{
    CheckInteger<int>(pDX, value, minVal, maxVal, L"%d");
}

void AFXAPI DDV_MinMaxLong(CDataExchange* pDX, long value, long minVal, long maxVal)
{
    CheckInteger<int>(pDX, value, minVal, maxVal, L"%d");
}

void AFXAPI DDV_MinMaxUInt(CDataExchange* pDX, UINT value, UINT minVal, UINT maxVal)
{
    CheckInteger<UINT>(pDX, value, minVal, maxVal, L"%u");
}

void AFXAPI DDV_MinMaxDWord(CDataExchange* pDX, DWORD value, DWORD minVal, DWORD maxVal)
{
    CheckInteger<UINT>(pDX, value, minVal, maxVal, L"%u");
}

void AFXAPI DDV_MinMaxFloat(CDataExchange* pDX, const float& value, float minVal, float maxVal)
{
    CheckReal(pDX, value, minVal, maxVal, FLT_DIG);
}

void AFXAPI DDV_MinMaxDouble(CDataExchange* pDX, const double& value, double minVal, double maxVal)
{
    CheckReal(pDX, value, minVal, maxVal, DBL_DIG);
}

void AFXAPI DDV_MaxChars(CDataExchange* pDX, const CString& value, int nChars)
{
    ASSERT(nChars >= 1);
    if (pDX->m_bSaveAndValidate) {
        if (value.GetLength() <= nChars) return;
        CString strCount;
        strCount.Format(L"%d", nChars);
        DdxFail(pDX, WithNumbers(DdxPrompt(AFX_IDP_PARSE_STRING_SIZE, L"Please enter no more than %1 characters."),
                                 strCount, L""));
    } else if (pDX->m_hWndLastControl && pDX->m_bEditLastControl) {
        // The person cannot enter more in the first place; a drop-down combo box has a message of its own for it.
        if (!Send(pDX->m_hWndLastControl, CB_LIMITTEXT, static_cast<WPARAM>(nChars)))
            Send(pDX->m_hWndLastControl, EM_LIMITTEXT, static_cast<WPARAM>(nChars));
    }
}
