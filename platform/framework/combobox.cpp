#include "afxwin.h"

IMPLEMENT_DYNAMIC(CComboBox, CWnd)

BOOL CComboBox::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID)
{
    return CWnd::Create(L"COMBOBOX", NULL, dwStyle, rect, pParentWnd, nID);
}

int CComboBox::AddString(LPCTSTR pszItem)
{
    return static_cast<int>(SendMessage(CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(pszItem)));
}

int CComboBox::InsertString(int nIndex, LPCTSTR pszItem)
{
    return static_cast<int>(
        SendMessage(CB_INSERTSTRING, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(pszItem)));
}

int CComboBox::DeleteString(UINT nIndex)
{
    return static_cast<int>(SendMessage(CB_DELETESTRING, nIndex));
}

void CComboBox::ResetContent()
{
    SendMessage(CB_RESETCONTENT);
}

int CComboBox::FindString(int nStartAfter, LPCTSTR pszItem) const
{
    return static_cast<int>(
        SendMessage(CB_FINDSTRING, static_cast<WPARAM>(nStartAfter), reinterpret_cast<LPARAM>(pszItem)));
}

int CComboBox::FindStringExact(int nIndexStart, LPCTSTR pszFind) const
{
    return static_cast<int>(
        SendMessage(CB_FINDSTRINGEXACT, static_cast<WPARAM>(nIndexStart), reinterpret_cast<LPARAM>(pszFind)));
}

int CComboBox::SelectString(int nStartAfter, LPCTSTR pszItem)
{
    return static_cast<int>(
        SendMessage(CB_SELECTSTRING, static_cast<WPARAM>(nStartAfter), reinterpret_cast<LPARAM>(pszItem)));
}

int CComboBox::GetCount() const
{
    return static_cast<int>(SendMessage(CB_GETCOUNT));
}

int CComboBox::GetLBText(int nIndex, LPTSTR pszBuffer) const
{
    return static_cast<int>(
        SendMessage(CB_GETLBTEXT, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(pszBuffer)));
}

void CComboBox::GetLBText(int nIndex, CString& rString) const
{
    rString.Empty();
    const int cch = GetLBTextLen(nIndex);
    if (cch < 1) return;
    // In a list without strings the "text" is an item's data, 4 bytes.
    GetLBText(nIndex, rString.GetBuffer(cch < 2 ? 2 : cch));
    rString.ReleaseBuffer(cch);
}

int CComboBox::GetLBTextLen(int nIndex) const
{
    return static_cast<int>(SendMessage(CB_GETLBTEXTLEN, static_cast<WPARAM>(nIndex)));
}

int CComboBox::GetCurSel() const
{
    return static_cast<int>(SendMessage(CB_GETCURSEL));
}

int CComboBox::SetCurSel(int nSelect)
{
    return static_cast<int>(SendMessage(CB_SETCURSEL, static_cast<WPARAM>(nSelect)));
}

int CComboBox::GetTopIndex() const
{
    return static_cast<int>(SendMessage(CB_GETTOPINDEX));
}

int CComboBox::SetTopIndex(int nIndex)
{
    return static_cast<int>(SendMessage(CB_SETTOPINDEX, static_cast<WPARAM>(nIndex)));
}

DWORD CComboBox::GetItemData(int nIndex) const
{
    return static_cast<DWORD>(SendMessage(CB_GETITEMDATA, static_cast<WPARAM>(nIndex)));
}

int CComboBox::SetItemData(int nIndex, DWORD dwItemData)
{
    return static_cast<int>(SendMessage(CB_SETITEMDATA, static_cast<WPARAM>(nIndex), static_cast<LPARAM>(dwItemData)));
}

void* CComboBox::GetItemDataPtr(int nIndex) const
{
    return reinterpret_cast<void*>(GetItemData(nIndex));
}

int CComboBox::SetItemDataPtr(int nIndex, void* pData)
{
    return SetItemData(nIndex, reinterpret_cast<DWORD>(pData));
}

int CComboBox::GetItemHeight(int nIndex) const
{
    return static_cast<int>(SendMessage(CB_GETITEMHEIGHT, static_cast<WPARAM>(nIndex)));
}

int CComboBox::SetItemHeight(int nIndex, UINT cyItemHeight)
{
    return static_cast<int>(
        SendMessage(CB_SETITEMHEIGHT, static_cast<WPARAM>(nIndex), static_cast<LPARAM>(cyItemHeight)));
}

int CComboBox::GetHorizontalExtent() const
{
    return static_cast<int>(SendMessage(CB_GETHORIZONTALEXTENT));
}

DWORD CComboBox::GetEditSel() const
{
    return static_cast<DWORD>(SendMessage(CB_GETEDITSEL));
}

BOOL CComboBox::SetEditSel(int nStartChar, int nEndChar)
{
    return static_cast<BOOL>(SendMessage(CB_SETEDITSEL, 0, MAKELPARAM(nStartChar, nEndChar)));
}

BOOL CComboBox::LimitText(int nMaxChars)
{
    return static_cast<BOOL>(SendMessage(CB_LIMITTEXT, static_cast<WPARAM>(nMaxChars)));
}

void CComboBox::Clear()
{
    SendMessage(WM_CLEAR);
}

void CComboBox::Copy()
{
    SendMessage(WM_COPY);
}

void CComboBox::Cut()
{
    SendMessage(WM_CUT);
}

void CComboBox::Paste()
{
    SendMessage(WM_PASTE);
}

void CComboBox::ShowDropDown(BOOL bShowIt)
{
    SendMessage(CB_SHOWDROPDOWN, static_cast<WPARAM>(bShowIt));
}

BOOL CComboBox::GetDroppedState() const
{
    return static_cast<BOOL>(SendMessage(CB_GETDROPPEDSTATE));
}

void CComboBox::GetDroppedControlRect(LPRECT pRect) const
{
    SendMessage(CB_GETDROPPEDCONTROLRECT, 0, reinterpret_cast<LPARAM>(pRect));
}

int CComboBox::GetDroppedWidth() const
{
    return static_cast<int>(SendMessage(CB_GETDROPPEDWIDTH));
}

int CComboBox::SetDroppedWidth(UINT nWidth)
{
    return static_cast<int>(SendMessage(CB_SETDROPPEDWIDTH, nWidth));
}

BOOL CComboBox::GetExtendedUI() const
{
    return static_cast<BOOL>(SendMessage(CB_GETEXTENDEDUI));
}

int CComboBox::SetExtendedUI(BOOL bExtended)
{
    return static_cast<int>(SendMessage(CB_SETEXTENDEDUI, static_cast<WPARAM>(bExtended)));
}

void CComboBox::SetHorizontalExtent(UINT nExtent)
{
    SendMessage(CB_SETHORIZONTALEXTENT, nExtent);
}

void CComboBox::DrawItem(LPDRAWITEMSTRUCT)
{
    ASSERT(FALSE);
}

void CComboBox::MeasureItem(LPMEASUREITEMSTRUCT)
{
    ASSERT(FALSE);
}

int CComboBox::CompareItem(LPCOMPAREITEMSTRUCT)
{
    ASSERT(FALSE);
    return 0;
}

void CComboBox::DeleteItem(LPDELETEITEMSTRUCT) {}

BOOL CComboBox::OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
{
    switch (nMessage) {
    case WM_DRAWITEM:
        DrawItem(reinterpret_cast<LPDRAWITEMSTRUCT>(lParam));
        return TRUE;
    case WM_MEASUREITEM:
        MeasureItem(reinterpret_cast<LPMEASUREITEMSTRUCT>(lParam));
        return TRUE;
    case WM_COMPAREITEM:
        *pResult = CompareItem(reinterpret_cast<LPCOMPAREITEMSTRUCT>(lParam));
        return TRUE;
    case WM_DELETEITEM:
        DeleteItem(reinterpret_cast<LPDELETEITEMSTRUCT>(lParam));
        return TRUE;
    }
    return CWnd::OnChildNotify(nMessage, wParam, lParam, pResult);
}
