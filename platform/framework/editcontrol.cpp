#include "afxwin.h"

IMPLEMENT_DYNAMIC(CEdit, CWnd)

BOOL CEdit::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID)
{
    return CWnd::Create(L"EDIT", NULL, dwStyle, rect, pParentWnd, nID);
}

void CEdit::GetSel(int& nStartChar, int& nEndChar) const
{
    DWORD dwStart = 0, dwEnd = 0;
    SendMessage(EM_GETSEL, reinterpret_cast<WPARAM>(&dwStart), reinterpret_cast<LPARAM>(&dwEnd));
    nStartChar = static_cast<int>(dwStart);
    nEndChar = static_cast<int>(dwEnd);
}

DWORD CEdit::GetSel() const
{
    return static_cast<DWORD>(SendMessage(EM_GETSEL));
}

void CEdit::SetSel(int nStartChar, int nEndChar, BOOL bNoScroll)
{
    SendMessage(EM_SETSEL, static_cast<WPARAM>(nStartChar), nEndChar);
    if (!bNoScroll) SendMessage(EM_SCROLLCARET);
}

void CEdit::SetSel(DWORD dwSelection, BOOL bNoScroll)
{
    const auto Position = [](WORD wHalf) { return wHalf == 0xFFFF ? -1 : static_cast<int>(wHalf); };
    SetSel(Position(LOWORD(dwSelection)), Position(HIWORD(dwSelection)), bNoScroll);
}

void CEdit::ReplaceSel(LPCTSTR pszNewText, BOOL bCanUndo)
{
    SendMessage(EM_REPLACESEL, static_cast<WPARAM>(bCanUndo), reinterpret_cast<LPARAM>(pszNewText));
}

int CEdit::LineFromChar(int nIndex) const
{
    return static_cast<int>(SendMessage(EM_LINEFROMCHAR, static_cast<WPARAM>(nIndex)));
}

int CEdit::LineIndex(int nLine) const
{
    return static_cast<int>(SendMessage(EM_LINEINDEX, static_cast<WPARAM>(nLine)));
}

int CEdit::LineLength(int nLine) const
{
    return static_cast<int>(SendMessage(EM_LINELENGTH, static_cast<WPARAM>(nLine)));
}

void CEdit::LineScroll(int nLines, int nChars)
{
    SendMessage(EM_LINESCROLL, static_cast<WPARAM>(nChars), nLines);
}

int CEdit::GetLineCount() const
{
    return static_cast<int>(SendMessage(EM_GETLINECOUNT));
}

int CEdit::GetLine(int nIndex, LPTSTR pszBuffer) const
{
    return static_cast<int>(SendMessage(EM_GETLINE, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(pszBuffer)));
}

int CEdit::GetLine(int nIndex, LPTSTR pszBuffer, int nMaxLength) const
{
    if (nMaxLength < 1) return 0;
    // The message has room for 16 bits of size.
    *pszBuffer = static_cast<TCHAR>(nMaxLength < 0xFFFF ? nMaxLength : 0xFFFF);
    return GetLine(nIndex, pszBuffer);
}

int CEdit::GetFirstVisibleLine() const
{
    return static_cast<int>(SendMessage(EM_GETFIRSTVISIBLELINE));
}

BOOL CEdit::SetReadOnly(BOOL bReadOnly)
{
    return static_cast<BOOL>(SendMessage(EM_SETREADONLY, static_cast<WPARAM>(bReadOnly)));
}

void CEdit::LimitText(int nChars)
{
    SendMessage(EM_LIMITTEXT, static_cast<WPARAM>(nChars));
}

void CEdit::SetLimitText(UINT nMax)
{
    SendMessage(EM_LIMITTEXT, nMax);
}

UINT CEdit::GetLimitText() const
{
    return static_cast<UINT>(SendMessage(EM_GETLIMITTEXT));
}

BOOL CEdit::CanUndo() const
{
    return static_cast<BOOL>(SendMessage(EM_CANUNDO));
}

BOOL CEdit::Undo()
{
    return static_cast<BOOL>(SendMessage(EM_UNDO));
}

void CEdit::EmptyUndoBuffer()
{
    SendMessage(EM_EMPTYUNDOBUFFER);
}

void CEdit::Cut()
{
    SendMessage(WM_CUT);
}

void CEdit::Copy()
{
    SendMessage(WM_COPY);
}

void CEdit::Paste()
{
    SendMessage(WM_PASTE);
}

void CEdit::Clear()
{
    SendMessage(WM_CLEAR);
}

void CEdit::SetPasswordChar(TCHAR ch)
{
    SendMessage(EM_SETPASSWORDCHAR, ch);
}

TCHAR CEdit::GetPasswordChar() const
{
    return static_cast<TCHAR>(SendMessage(EM_GETPASSWORDCHAR));
}

BOOL CEdit::GetModify() const
{
    return static_cast<BOOL>(SendMessage(EM_GETMODIFY));
}

void CEdit::SetModify(BOOL bModified)
{
    SendMessage(EM_SETMODIFY, static_cast<WPARAM>(bModified));
}

void CEdit::GetRect(LPRECT pRect) const
{
    SendMessage(EM_GETRECT, 0, reinterpret_cast<LPARAM>(pRect));
}

void CEdit::SetRect(LPCRECT pRect)
{
    SendMessage(EM_SETRECT, 0, reinterpret_cast<LPARAM>(pRect));
}

void CEdit::SetRectNP(LPCRECT pRect)
{
    SendMessage(EM_SETRECTNP, 0, reinterpret_cast<LPARAM>(pRect));
}

void CEdit::SetMargins(UINT nLeft, UINT nRight)
{
    SendMessage(EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, MAKELPARAM(nLeft, nRight));
}

DWORD CEdit::GetMargins() const
{
    return static_cast<DWORD>(SendMessage(EM_GETMARGINS));
}

BOOL CEdit::SetTabStops(int nTabStops, LPINT pTabStops)
{
    return static_cast<BOOL>(
        SendMessage(EM_SETTABSTOPS, static_cast<WPARAM>(nTabStops), reinterpret_cast<LPARAM>(pTabStops)));
}

BOOL CEdit::SetTabStops(const int& cxEachStop)
{
    return static_cast<BOOL>(SendMessage(EM_SETTABSTOPS, 1, reinterpret_cast<LPARAM>(&cxEachStop)));
}

void CEdit::SetTabStops()
{
    SendMessage(EM_SETTABSTOPS);
}

BOOL CEdit::FmtLines(BOOL bAddEOL)
{
    return static_cast<BOOL>(SendMessage(EM_FMTLINES, static_cast<WPARAM>(bAddEOL)));
}
