#include "controls/floatedit.h"

#include "base/errorutil.h"
#include "base/numparse.h"

#include <algorithm>

namespace {

constexpr TCHAR kDefaultPrecision[] = L"6.2";
constexpr UINT kBackspace = 8;
constexpr int kMaxField = 300; // characters of a width or a precision: more than any float has

bool IsDigit(UINT nChar)
{
    return nChar >= L'0' && nChar <= L'9';
}

// Appends the number at `psz` to `strFormat`, at most kMaxField, and goes behind it.
void TakeField(LPCTSTR& psz, CString& strFormat)
{
    if (!IsDigit(*psz)) return;
    int nField = 0;
    for (; IsDigit(*psz); ++psz) nField = std::min(nField * 10 + static_cast<int>(*psz - L'0'), kMaxField);
    CString strField;
    strField.Format(L"%d", nField);
    strFormat += strField;
}

// The format "%...f" of a precision string. The string is the host's and must not become any other conversion: the
// argument is one double. Empty when it is not flags, width and precision.
CString FormatOf(LPCTSTR pszPrecision)
{
    CString strFormat(L"%");
    while (*pszPrecision && ::wcschr(L"-+ #0", *pszPrecision)) {
        if (strFormat.Find(*pszPrecision) < 0) strFormat += *pszPrecision;
        ++pszPrecision;
    }
    TakeField(pszPrecision, strFormat);
    if (*pszPrecision == L'.') {
        strFormat += *pszPrecision++;
        TakeField(pszPrecision, strFormat);
    }
    if (*pszPrecision == L'l') ++pszPrecision;
    return *pszPrecision ? CString() : strFormat + L"f";
}

} // namespace

BEGIN_MESSAGE_MAP(CFloatEdit, CEdit)
ON_WM_CHAR()
ON_WM_KEYDOWN()
ON_WM_KEYUP()
ON_WM_SETFOCUS()
ON_WM_KILLFOCUS()
END_MESSAGE_MAP()

CFloatEdit::CFloatEdit() : m_strPrecision(kDefaultPrecision) {}

CFloatEdit::~CFloatEdit() = default;

int CFloatEdit::Subclass(unsigned int id, CWnd* parent)
{
    const HWND hItem = ::GetDlgItem(parent->GetSafeHwnd(), static_cast<int>(id));
    return SubclassWindow(hItem);
}

void CFloatEdit::SetBounds(float lower, float upper)
{
    m_fLower = lower;
    m_fUpper = upper;
    m_bHasBounds = true;
    m_bBoundsEnabled = true;
}

void CFloatEdit::SetAcceptNegative(bool accept)
{
    m_bAcceptNegative = accept;
}

void CFloatEdit::SetPrecisionString(CString precision)
{
    m_strPrecision = precision;
}

void CFloatEdit::SetValidateTime(bool onlyAtFocusLoss)
{
    m_bOnlyAtFocusLoss = onlyAtFocusLoss;
}

bool CFloatEdit::SetValidateMode(bool validate)
{
    const bool bBefore = m_bValidate;
    m_bValidate = validate;
    return bBefore;
}

bool CFloatEdit::SetSilentMode(bool silent)
{
    const bool bBefore = m_bSilent;
    m_bSilent = silent;
    return bBefore;
}

void CFloatEdit::ShowBound(LPCTSTR pszMessage, float bound) const
{
    CString strFormat = FormatOf(m_strPrecision);
    if (strFormat.IsEmpty()) strFormat = FormatOf(kDefaultPrecision);
    CString strBound;
    strBound.Format(strFormat, static_cast<double>(bound));
    AfxMessageBox(pszMessage + strBound);
}

bool CFloatEdit::Validate(bool checkBounds)
{
    if (!m_bValidate) return true;

    CString strText;
    GetWindowText(strText);
    float value = 0;
    const CONVERTION_ERRORS error = _ttof(strText, value);
    if (error == CONV_EMPTY) return false;
    if (error != CONV_OK) {
        ::MessageBeep(0xFFFFFFFF);
        return false;
    }
    // The object may be gone after a box: nothing of it is used any more.
    if (checkBounds && value > m_fUpper) {
        if (!m_bSilent) ShowBound(L"The number must be smaller than ", m_fUpper);
        return false;
    }
    if (checkBounds && value < m_fLower) {
        if (!m_bSilent) ShowBound(L"The number must be greater than ", m_fLower);
        return false;
    }
    return true;
}

void CFloatEdit::SaveTextAndSelection()
{
    GetWindowText(m_strLastValid);
    const DWORD dwSelection = GetSel();
    m_nLastValidStart = LOWORD(dwSelection);
    m_nLastValidEnd = HIWORD(dwSelection);
}

void CFloatEdit::OnChar(UINT nChar, UINT nRepCnt, UINT nFlags)
{
    if (IsDigit(nChar) || nChar == L'.' || nChar == L'+' || nChar == L'-' || nChar == kBackspace) {
        CEdit::OnChar(nChar, nRepCnt, nFlags);
    }
}

void CFloatEdit::OnKeyDown(UINT nChar, UINT nRepCnt, UINT nFlags)
{
    SaveTextAndSelection();
    CEdit::OnKeyDown(nChar, nRepCnt, nFlags);
}

void CFloatEdit::OnKeyUp(UINT nChar, UINT nRepCnt, UINT nFlags)
{
    const CLifelineGuard guard(m_lifeline);
    CEdit::OnKeyUp(nChar, nRepCnt, nFlags);
    if (guard.IsGone() || !m_hWnd) return;

    const bool bValid = Validate(!m_bOnlyAtFocusLoss && AreBoundsOn());
    if (guard.IsGone() || !m_hWnd) return;
    if (bValid) {
        SaveTextAndSelection();
        return;
    }
    SetSel(m_nLastValidStart, m_nLastValidEnd, TRUE);
    SendMessage(EM_SCROLLCARET);
}

void CFloatEdit::OnSetFocus(CWnd* pOldWnd)
{
    const CLifelineGuard guard(m_lifeline);
    CEdit::OnSetFocus(pOldWnd);
    if (guard.IsGone() || !m_hWnd) return;
    if (!m_nKillFocusGuard) SaveTextAndSelection();
}

void CFloatEdit::OnKillFocus(CWnd* pNewWnd)
{
    CString strText;
    GetWindowText(strText);
    // The temporary object may not live through the default handling, in which the parent is told.
    const HWND hNew = pNewWnd->GetSafeHwnd();

    const CLifelineGuard guard(m_lifeline);
    CEdit::OnKillFocus(pNewWnd);
    if (guard.IsGone() || !m_hWnd) return;
    if (hNew && ::GetDlgCtrlID(hNew) == IDCANCEL) return;
    if (m_nKillFocusGuard) return;

    m_nKillFocusGuard = 1;
    if (m_bValidate && !Validate(m_bOnlyAtFocusLoss && AreBoundsOn())) {
        TraceError(L"Kill focus  not valid : %s", static_cast<LPCTSTR>(strText));
        if (guard.IsGone()) return;
        if (m_hWnd) SetFocus();
    }
    if (!guard.IsGone()) --m_nKillFocusGuard;
}
