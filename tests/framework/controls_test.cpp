// CStatic, CButton, CEdit, CListBox, CComboBox, CScrollBar on real controls.
#include "afx_print.h"
#include "window_support.h"

#include <gtest/gtest.h>

namespace {

const CRect kPlace(0, 0, 80, 60);

struct CParent : CPlainWindow
{
    CParent() : CPlainWindow(WS_POPUP) {}
};

} // namespace

TEST(ControlTest, StaticsShowTextIconsAndBitmaps)
{
    CParent parent;
    CStatic text, icon, bitmap;
    ASSERT_TRUE(text.Create(L"words", WS_CHILD, kPlace, &parent));
    EXPECT_EQ(0xFFFF, static_cast<WORD>(text.GetDlgCtrlID()));
    CString str;
    text.GetWindowText(str);
    EXPECT_EQ(CString(L"words"), str);
    ASSERT_TRUE(icon.Create(L"", WS_CHILD | SS_ICON, kPlace, &parent, 1));
    const HICON hIcon = ::LoadIconW(NULL, IDI_WARNING);
    EXPECT_EQ(nullptr, icon.SetIcon(hIcon));
    EXPECT_EQ(hIcon, icon.GetIcon());
    EXPECT_EQ(hIcon, icon.SetIcon(NULL));
    ASSERT_TRUE(bitmap.Create(L"", WS_CHILD | SS_BITMAP, kPlace, &parent, 2));
    CBitmap picture;
    picture.CreateBitmap(4, 4, 1, 1, NULL);
    bitmap.SetBitmap(picture);
    EXPECT_EQ(static_cast<HBITMAP>(picture), bitmap.GetBitmap());
}

TEST(ControlTest, ButtonsHaveAStateACheckAndAStyle)
{
    CParent parent;
    CButton box;
    ASSERT_TRUE(box.Create(L"box", WS_CHILD | BS_AUTO3STATE, kPlace, &parent, 1));
    EXPECT_EQ(0, box.GetCheck());
    box.SetCheck(2);
    EXPECT_EQ(2, box.GetCheck());
    EXPECT_EQ(2u, box.GetState() & 3);
    box.SetState(TRUE);
    EXPECT_TRUE(box.GetState() & BST_PUSHED);
    EXPECT_EQ(static_cast<UINT>(BS_AUTO3STATE), box.GetButtonStyle());
    box.SetButtonStyle(BS_DEFPUSHBUTTON);
    EXPECT_EQ(static_cast<UINT>(BS_DEFPUSHBUTTON), box.GetButtonStyle());
}

TEST(ControlTest, EditSelectionsAndText)
{
    CParent parent;
    CEdit edit;
    ASSERT_TRUE(edit.Create(WS_CHILD, kPlace, &parent, 1));
    edit.SetWindowText(L"abcdef");
    edit.SetSel(1, 3);
    int nStart = 0, nEnd = 0;
    edit.GetSel(nStart, nEnd);
    EXPECT_EQ(1, nStart);
    EXPECT_EQ(3, nEnd);
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(1, 3)), edit.GetSel());
    edit.ReplaceSel(L"X", TRUE);
    CString str;
    edit.GetWindowText(str);
    EXPECT_EQ(CString(L"aXdef"), str);
    EXPECT_TRUE(edit.GetModify());
    EXPECT_TRUE(edit.CanUndo());
    EXPECT_TRUE(edit.Undo());
    edit.GetWindowText(str);
    EXPECT_EQ(CString(L"abcdef"), str);
    edit.EmptyUndoBuffer();
    EXPECT_FALSE(edit.CanUndo());
    edit.SetModify(FALSE);
    EXPECT_FALSE(edit.GetModify());
    edit.SetSel(MAKELONG(0, -1));
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(0, 6)), edit.GetSel());
    edit.Clear();
    EXPECT_EQ(0, edit.GetWindowTextLength());
    edit.LimitText(4);
    EXPECT_EQ(4u, edit.GetLimitText());
    EXPECT_TRUE(edit.SetReadOnly());
    EXPECT_TRUE(edit.GetStyle() & ES_READONLY);
    edit.SetPasswordChar(L'*');
    EXPECT_EQ(L'*', edit.GetPasswordChar());
    edit.SetMargins(3, 4);
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(3, 4)), edit.GetMargins());
}

TEST(ControlTest, AnEditSelectionInOneWordReachesAsFarAsTheWordDoes)
{
    CParent parent;
    CEdit edit;
    ASSERT_TRUE(edit.Create(WS_CHILD | ES_MULTILINE, kPlace, &parent, 1));
    edit.SetLimitText(100000);
    edit.SetWindowText(CString(L'\n', 65534));
    ASSERT_EQ(65534, edit.GetWindowTextLength());
    static constexpr struct
    {
        int nStart, nEnd;
    } kSelections[] = {{0, 0x7FFF}, {0x7FFF, 0x8000}, {33000, 40000}, {0xFFFE, 0xFFFE}, {1, 0xFFFE}};
    for (const auto& selection : kSelections) {
        SCOPED_TRACE(selection.nStart);
        edit.SetSel(selection.nStart, selection.nEnd, TRUE);
        const DWORD dwSelection = edit.GetSel();
        EXPECT_EQ(static_cast<DWORD>(MAKELONG(selection.nStart, selection.nEnd)), dwSelection);
        edit.SetSel(0, 0, TRUE);
        edit.SetSel(dwSelection, TRUE);
        EXPECT_EQ(dwSelection, edit.GetSel());
    }
    edit.SetSel(static_cast<DWORD>(MAKELONG(-1, 0)), TRUE);
    int nStart = 0, nEnd = 0;
    edit.GetSel(nStart, nEnd);
    EXPECT_EQ(nEnd, nStart) << "-1 takes the selection away";
}

TEST(ControlTest, EditLines)
{
    CParent parent;
    CEdit edit;
    ASSERT_TRUE(edit.Create(WS_CHILD | ES_MULTILINE | ES_AUTOHSCROLL, kPlace, &parent, 1));
    edit.SetWindowText(L"one\r\ntwenty\r\nthree");
    EXPECT_EQ(3, edit.GetLineCount());
    EXPECT_EQ(5, edit.LineIndex(1));
    EXPECT_EQ(6, edit.LineLength(5));
    EXPECT_EQ(1, edit.LineFromChar(6));
    edit.SetSel(14, 14);
    EXPECT_EQ(2, edit.LineFromChar());
    TCHAR szLine[10] = L"#########";
    EXPECT_EQ(6, edit.GetLine(1, szLine, 9));
    EXPECT_EQ(CString(L"twenty"), CString(szLine, 6));
    EXPECT_EQ(2, edit.GetLine(1, szLine, 2));
    EXPECT_EQ(0, edit.GetLine(1, szLine, 0));
}

TEST(ControlTest, ListItemsAndSelections)
{
    CParent parent;
    CListBox list;
    ASSERT_TRUE(list.Create(WS_CHILD | LBS_HASSTRINGS | LBS_EXTENDEDSEL, kPlace, &parent, 1));
    EXPECT_EQ(0, list.AddString(L"beta"));
    EXPECT_EQ(0, list.InsertString(0, L"alpha"));
    EXPECT_EQ(2, list.InsertString(-1, L"gamma"));
    EXPECT_EQ(LB_ERR, list.InsertString(9, L"x"));
    EXPECT_EQ(3, list.GetCount());
    CString str;
    list.GetText(2, str);
    EXPECT_EQ(CString(L"gamma"), str);
    list.GetText(7, str);
    EXPECT_TRUE(str.IsEmpty());
    EXPECT_EQ(5, list.GetTextLen(0));
    EXPECT_EQ(1, list.FindString(-1, L"be"));
    EXPECT_EQ(LB_ERR, list.FindStringExact(-1, L"be"));
    EXPECT_NE(LB_ERR, list.SelItemRange(TRUE, 0, 1));
    EXPECT_EQ(2, list.GetSelCount());
    int items[3] = {};
    EXPECT_EQ(2, list.GetSelItems(3, items));
    EXPECT_EQ(1, items[1]);
    EXPECT_NE(LB_ERR, list.SelItemRange(FALSE, 0, 1));
    EXPECT_EQ(0, list.GetSelCount());
    EXPECT_NE(LB_ERR, list.SelItemRange(TRUE, 1, 1));
    EXPECT_EQ(1, list.GetSelCount());
    EXPECT_NE(LB_ERR, list.SelItemRange(FALSE, 2, 2));
    EXPECT_EQ(1, list.GetSelCount());
    EXPECT_NE(LB_ERR, list.SelItemRange(FALSE, 1, 1));
    EXPECT_EQ(0, list.GetSelCount());
    list.SelItemRange(TRUE, 0, 2);
    EXPECT_EQ(LB_ERR, list.SelItemRange(FALSE, -1, -1)) << "no item, and not all of them";
    EXPECT_EQ(3, list.GetSelCount());
    EXPECT_NE(LB_ERR, list.SetItemData(1, 77));
    EXPECT_EQ(77u, list.GetItemData(1));
    list.SetItemDataPtr(1, &list);
    EXPECT_EQ(&list, list.GetItemDataPtr(1));
    EXPECT_EQ(2, list.DeleteString(0));
    EXPECT_EQ(LB_ERR, list.DeleteString(9));
    list.ResetContent();
    EXPECT_EQ(0, list.GetCount());
}

TEST(ControlTest, ComboItemsAndEditText)
{
    CParent parent;
    CComboBox combo;
    ASSERT_TRUE(combo.Create(WS_CHILD | CBS_DROPDOWN, CRect(0, 0, 80, 120), &parent, 1));
    EXPECT_EQ(0, combo.AddString(L"abc"));
    EXPECT_EQ(1, combo.InsertString(-1, L"abd"));
    EXPECT_EQ(2, combo.GetCount());
    EXPECT_EQ(CB_ERR, combo.GetCurSel());
    EXPECT_EQ(1, combo.SelectString(-1, L"abd"));
    EXPECT_EQ(1, combo.GetCurSel());
    CString str;
    combo.GetLBText(0, str);
    EXPECT_EQ(CString(L"abc"), str);
    combo.GetLBText(5, str);
    EXPECT_TRUE(str.IsEmpty());
    EXPECT_EQ(3, combo.GetLBTextLen(1));
    EXPECT_EQ(CB_ERR, combo.GetLBTextLen(2));
    EXPECT_TRUE(combo.SetEditSel(1, 2));
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(1, 2)), combo.GetEditSel());
    EXPECT_TRUE(combo.SetEditSel(1, -1));
    EXPECT_EQ(static_cast<DWORD>(MAKELONG(1, 3)), combo.GetEditSel());
    EXPECT_EQ(CB_ERR, combo.FindStringExact(-1, L"ab"));
    EXPECT_EQ(0, combo.FindString(-1, L"ab"));
    EXPECT_FALSE(combo.GetDroppedState());
    EXPECT_EQ(200, combo.SetDroppedWidth(200));
    EXPECT_EQ(200, combo.GetDroppedWidth());
    combo.SetItemData(1, 5);
    EXPECT_EQ(5u, combo.GetItemData(1));
    EXPECT_EQ(1, combo.DeleteString(0));
    combo.ResetContent();
    EXPECT_EQ(0, combo.GetCount());
}

TEST(ControlTest, AScrollBarGivesThePositionBefore)
{
    CParent parent;
    CScrollBar bar;
    ASSERT_TRUE(bar.Create(WS_CHILD | SBS_HORZ, kPlace, &parent, 1));
    bar.SetScrollRange(0, 30);
    EXPECT_EQ(0, bar.SetScrollPos(12));
    EXPECT_EQ(12, bar.SetScrollPos(13));
    EXPECT_EQ(13, bar.GetScrollPos());
    SCROLLINFO info = {};
    info.fMask = SIF_PAGE;
    info.nPage = 11;
    EXPECT_TRUE(bar.SetScrollInfo(&info));
    EXPECT_EQ(20, bar.GetScrollLimit());
    int nMin = 1, nMax = 1;
    bar.GetScrollRange(&nMin, &nMax);
    EXPECT_EQ(0, nMin);
    EXPECT_EQ(30, nMax);
    bar.ShowScrollBar();
    EXPECT_TRUE(bar.GetStyle() & WS_VISIBLE);
}

TEST(ControlTest, OwnerDrawnControlsDrawThemselves)
{
    struct CDrawnCombo : CComboBox
    {
        int m_nDrawn = 0, m_nDeleted = 0;
        void DrawItem(LPDRAWITEMSTRUCT pDrawItem) override { m_nDrawn += pDrawItem->CtlType == ODT_COMBOBOX; }
        void MeasureItem(LPMEASUREITEMSTRUCT pMeasureItem) override { pMeasureItem->itemHeight = 17; }
        int CompareItem(LPCOMPAREITEMSTRUCT p) override
        {
            return static_cast<int>(p->itemData1) - static_cast<int>(p->itemData2);
        }
        void DeleteItem(LPDELETEITEMSTRUCT) override { ++m_nDeleted; }
    } combo;
    struct CDrawnButton : CButton
    {
        int m_nDrawn = 0;
        void DrawItem(LPDRAWITEMSTRUCT pDrawItem) override { m_nDrawn += pDrawItem->CtlType == ODT_BUTTON; }
    } button;
    CPlainWindow parent;
    ASSERT_TRUE(combo.Create(WS_CHILD | WS_VISIBLE | CBS_DROPDOWNLIST | CBS_OWNERDRAWFIXED | CBS_SORT,
                             CRect(0, 0, 80, 100), &parent, 1));
    ASSERT_TRUE(button.Create(L"", WS_CHILD | WS_VISIBLE | BS_OWNERDRAW, CRect(90, 0, 120, 20), &parent, 2));
    EXPECT_EQ(17, combo.GetItemHeight(0));
    const auto add = [&](DWORD dwData) { return combo.AddString(reinterpret_cast<LPCTSTR>(dwData)); };
    EXPECT_EQ(0, add(30));
    EXPECT_EQ(0, add(10));
    EXPECT_EQ(1, add(20));
    combo.SetCurSel(1);
    parent.RedrawWindow(NULL, NULL, RDW_INVALIDATE | RDW_ALLCHILDREN | RDW_UPDATENOW);
    EXPECT_GT(combo.m_nDrawn, 0);
    EXPECT_GT(button.m_nDrawn, 0);
    combo.ResetContent();
    EXPECT_EQ(3, combo.m_nDeleted);
}
