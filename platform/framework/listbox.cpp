#include "afxwin.h"

IMPLEMENT_DYNAMIC(CListBox, CWnd)

BOOL CListBox::Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID)
{
    return CWnd::Create(L"LISTBOX", NULL, dwStyle, rect, pParentWnd, nID);
}

int CListBox::AddString(LPCTSTR pszItem)
{
    return static_cast<int>(SendMessage(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(pszItem)));
}

int CListBox::InsertString(int nIndex, LPCTSTR pszItem)
{
    return static_cast<int>(
        SendMessage(LB_INSERTSTRING, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(pszItem)));
}

int CListBox::DeleteString(UINT nIndex)
{
    return static_cast<int>(SendMessage(LB_DELETESTRING, nIndex));
}

void CListBox::ResetContent()
{
    SendMessage(LB_RESETCONTENT);
}

int CListBox::FindString(int nStartAfter, LPCTSTR pszItem) const
{
    return static_cast<int>(
        SendMessage(LB_FINDSTRING, static_cast<WPARAM>(nStartAfter), reinterpret_cast<LPARAM>(pszItem)));
}

int CListBox::FindStringExact(int nIndexStart, LPCTSTR pszFind) const
{
    return static_cast<int>(
        SendMessage(LB_FINDSTRINGEXACT, static_cast<WPARAM>(nIndexStart), reinterpret_cast<LPARAM>(pszFind)));
}

int CListBox::SelectString(int nStartAfter, LPCTSTR pszItem)
{
    return static_cast<int>(
        SendMessage(LB_SELECTSTRING, static_cast<WPARAM>(nStartAfter), reinterpret_cast<LPARAM>(pszItem)));
}

int CListBox::GetCount() const
{
    return static_cast<int>(SendMessage(LB_GETCOUNT));
}

int CListBox::GetText(int nIndex, LPTSTR pszBuffer) const
{
    return static_cast<int>(SendMessage(LB_GETTEXT, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(pszBuffer)));
}

void CListBox::GetText(int nIndex, CString& rString) const
{
    rString.Empty();
    const int cch = GetTextLen(nIndex);
    if (cch < 1) return;
    // In a list without strings the "text" is an item's data, 4 bytes.
    GetText(nIndex, rString.GetBuffer(cch < 2 ? 2 : cch));
    rString.ReleaseBuffer(cch);
}

int CListBox::GetTextLen(int nIndex) const
{
    return static_cast<int>(SendMessage(LB_GETTEXTLEN, static_cast<WPARAM>(nIndex)));
}

int CListBox::GetCurSel() const
{
    return static_cast<int>(SendMessage(LB_GETCURSEL));
}

int CListBox::SetCurSel(int nSelect)
{
    return static_cast<int>(SendMessage(LB_SETCURSEL, static_cast<WPARAM>(nSelect)));
}

int CListBox::GetTopIndex() const
{
    return static_cast<int>(SendMessage(LB_GETTOPINDEX));
}

int CListBox::SetTopIndex(int nIndex)
{
    return static_cast<int>(SendMessage(LB_SETTOPINDEX, static_cast<WPARAM>(nIndex)));
}

DWORD CListBox::GetItemData(int nIndex) const
{
    return static_cast<DWORD>(SendMessage(LB_GETITEMDATA, static_cast<WPARAM>(nIndex)));
}

int CListBox::SetItemData(int nIndex, DWORD dwItemData)
{
    return static_cast<int>(SendMessage(LB_SETITEMDATA, static_cast<WPARAM>(nIndex), static_cast<LPARAM>(dwItemData)));
}

void* CListBox::GetItemDataPtr(int nIndex) const
{
    return reinterpret_cast<void*>(GetItemData(nIndex));
}

int CListBox::SetItemDataPtr(int nIndex, void* pData)
{
    return SetItemData(nIndex, reinterpret_cast<DWORD>(pData));
}

int CListBox::GetItemHeight(int nIndex) const
{
    return static_cast<int>(SendMessage(LB_GETITEMHEIGHT, static_cast<WPARAM>(nIndex)));
}

int CListBox::SetItemHeight(int nIndex, UINT cyItemHeight)
{
    return static_cast<int>(
        SendMessage(LB_SETITEMHEIGHT, static_cast<WPARAM>(nIndex), static_cast<LPARAM>(cyItemHeight)));
}

int CListBox::GetHorizontalExtent() const
{
    return static_cast<int>(SendMessage(LB_GETHORIZONTALEXTENT));
}

int CListBox::GetSel(int nIndex) const
{
    return static_cast<int>(SendMessage(LB_GETSEL, static_cast<WPARAM>(nIndex)));
}

int CListBox::SetSel(int nIndex, BOOL bSelect)
{
    return static_cast<int>(SendMessage(LB_SETSEL, static_cast<WPARAM>(bSelect), nIndex));
}

int CListBox::GetSelCount() const
{
    return static_cast<int>(SendMessage(LB_GETSELCOUNT));
}

int CListBox::GetSelItems(int nMaxItems, LPINT pIndex) const
{
    return static_cast<int>(
        SendMessage(LB_GETSELITEMS, static_cast<WPARAM>(nMaxItems), reinterpret_cast<LPARAM>(pIndex)));
}

int CListBox::SelItemRange(BOOL bSelect, int nFirstItem, int nLastItem)
{
    // The message deselects when its first item is the greater one, and so cannot deselect a single one. The message
    // for that one takes -1 for all of them.
    if (!bSelect && nFirstItem == nLastItem) return nFirstItem < 0 ? LB_ERR : SetSel(nFirstItem, FALSE);
    const int nFirst = bSelect ? nFirstItem : nLastItem, nLast = bSelect ? nLastItem : nFirstItem;
    return static_cast<int>(SendMessage(LB_SELITEMRANGEEX, static_cast<WPARAM>(nFirst), nLast));
}

int CListBox::GetCaretIndex() const
{
    return static_cast<int>(SendMessage(LB_GETCARETINDEX));
}

int CListBox::SetCaretIndex(int nIndex, BOOL bScroll)
{
    return static_cast<int>(SendMessage(LB_SETCARETINDEX, static_cast<WPARAM>(nIndex), MAKELPARAM(!bScroll, 0)));
}

int CListBox::GetItemRect(int nIndex, LPRECT pRect) const
{
    return static_cast<int>(SendMessage(LB_GETITEMRECT, static_cast<WPARAM>(nIndex), reinterpret_cast<LPARAM>(pRect)));
}

void CListBox::SetHorizontalExtent(int cxExtent)
{
    SendMessage(LB_SETHORIZONTALEXTENT, static_cast<WPARAM>(cxExtent));
}

void CListBox::SetColumnWidth(int cxWidth)
{
    SendMessage(LB_SETCOLUMNWIDTH, static_cast<WPARAM>(cxWidth));
}

BOOL CListBox::SetTabStops(int nTabStops, LPINT pTabStops)
{
    return static_cast<BOOL>(
        SendMessage(LB_SETTABSTOPS, static_cast<WPARAM>(nTabStops), reinterpret_cast<LPARAM>(pTabStops)));
}

void CListBox::DrawItem(LPDRAWITEMSTRUCT)
{
    ASSERT(FALSE);
}

void CListBox::MeasureItem(LPMEASUREITEMSTRUCT)
{
    ASSERT(FALSE);
}

int CListBox::CompareItem(LPCOMPAREITEMSTRUCT)
{
    ASSERT(FALSE);
    return 0;
}

void CListBox::DeleteItem(LPDELETEITEMSTRUCT) {}

int CListBox::VKeyToItem(UINT, UINT)
{
    return -1; // the default handling
}

int CListBox::CharToItem(UINT, UINT)
{
    return -1;
}

BOOL CListBox::OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult)
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
    case WM_VKEYTOITEM:
        *pResult = VKeyToItem(LOWORD(wParam), HIWORD(wParam));
        return TRUE;
    case WM_CHARTOITEM:
        *pResult = CharToItem(LOWORD(wParam), HIWORD(wParam));
        return TRUE;
    }
    return CWnd::OnChildNotify(nMessage, wParam, lParam, pResult);
}
