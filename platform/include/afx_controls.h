// afx_controls.h - CStatic, CButton, CEdit, CListBox, CComboBox, CScrollBar: the system's controls.
//
// Ownership  as CWnd. None deletes itself. What a control is given (bitmaps, icons, data of items) stays the caller's.
// Threads    the thread of the window.
// Errors     the control's own results, LB_ERR, CB_ERR and the ERRSPACE ones included.
//
// A control of a dialog template gets its object through SubclassDlgItem or DDX_Control.
#ifndef AFX_CONTROLS_H
#define AFX_CONTROLS_H

#include "afx_wnd.h"

class AFX_API CStatic : public CWnd
{
    DECLARE_DYNAMIC(CStatic)

public:
    CStatic() {}
    BOOL Create(LPCTSTR pszText, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID = 0xFFFF);

    // The setters give what was shown before.
    HICON SetIcon(HICON hIcon);
    HICON GetIcon() const;
    HBITMAP SetBitmap(HBITMAP hBitmap);
    HBITMAP GetBitmap() const;
};

class AFX_API CButton : public CWnd
{
    DECLARE_DYNAMIC(CButton)

public:
    CButton() {}
    BOOL Create(LPCTSTR pszCaption, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);

    UINT GetState() const; // check in the lower 2 bits, then BST_PUSHED, BST_FOCUS
    void SetState(BOOL bHighlight);
    int GetCheck() const;
    void SetCheck(int nCheck);
    UINT GetButtonStyle() const;
    void SetButtonStyle(UINT nStyle, BOOL bRedraw = TRUE);

    // An owner-drawn button must override it.
    virtual void DrawItem(LPDRAWITEMSTRUCT pDrawItem);

protected:
    BOOL OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
};

class AFX_API CEdit : public CWnd
{
    DECLARE_DYNAMIC(CEdit)

public:
    CEdit() {}
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);

    // Positions are characters from 0, the end exclusive.
    void GetSel(int& nStartChar, int& nEndChar) const;
    DWORD GetSel() const; // start low, end high: for positions up to 65,534
    // A start of -1 takes the selection away, an end of -1 is the text's. In one word, 0xFFFF is -1.
    void SetSel(int nStartChar, int nEndChar, BOOL bNoScroll = FALSE);
    void SetSel(DWORD dwSelection, BOOL bNoScroll = FALSE);
    void ReplaceSel(LPCTSTR pszNewText, BOOL bCanUndo = FALSE);
    int LineFromChar(int nIndex = -1) const;
    int LineIndex(int nLine = -1) const;
    int LineLength(int nLine = -1) const;
    void LineScroll(int nLines, int nChars = 0);
    int GetLineCount() const;
    // The characters copied; not terminated. The first form's buffer tells its size in its first word.
    int GetLine(int nIndex, LPTSTR pszBuffer) const;
    int GetLine(int nIndex, LPTSTR pszBuffer, int nMaxLength) const;
    int GetFirstVisibleLine() const;
    BOOL SetReadOnly(BOOL bReadOnly = TRUE);
    void LimitText(int nChars = 0); // 0: the control's own limit
    void SetLimitText(UINT nMax);
    UINT GetLimitText() const;
    BOOL CanUndo() const;
    BOOL Undo();
    void EmptyUndoBuffer();
    void Cut();
    void Copy();
    void Paste();
    void Clear();
    void SetPasswordChar(TCHAR ch);
    TCHAR GetPasswordChar() const;
    BOOL GetModify() const;
    void SetModify(BOOL bModified = TRUE);
    void GetRect(LPRECT pRect) const;
    void SetRect(LPCRECT pRect);
    void SetRectNP(LPCRECT pRect);
    void SetMargins(UINT nLeft, UINT nRight); // pixels
    DWORD GetMargins() const;
    BOOL SetTabStops(int nTabStops, LPINT pTabStops); // dialog units
    BOOL SetTabStops(const int& cxEachStop);
    void SetTabStops();
    BOOL FmtLines(BOOL bAddEOL);
};

class AFX_API CListBox : public CWnd
{
    DECLARE_DYNAMIC(CListBox)

public:
    CListBox() {}
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);

    int AddString(LPCTSTR pszItem);
    int InsertString(int nIndex, LPCTSTR pszItem); // -1: at the end
    int DeleteString(UINT nIndex);
    void ResetContent();
    int FindString(int nStartAfter, LPCTSTR pszItem) const; // -1: from the start
    int FindStringExact(int nIndexStart, LPCTSTR pszFind) const;
    int SelectString(int nStartAfter, LPCTSTR pszItem);
    int GetCount() const;
    int GetText(int nIndex, LPTSTR pszBuffer) const;
    void GetText(int nIndex, CString& rString) const; // empty if there is no such item
    int GetTextLen(int nIndex) const;
    int GetCurSel() const;
    int SetCurSel(int nSelect);
    int GetSel(int nIndex) const;
    int SetSel(int nIndex, BOOL bSelect = TRUE);
    int GetSelCount() const;
    int GetSelItems(int nMaxItems, LPINT pIndex) const;
    int SelItemRange(BOOL bSelect, int nFirstItem, int nLastItem);
    int GetTopIndex() const;
    int SetTopIndex(int nIndex);
    int GetCaretIndex() const;
    int SetCaretIndex(int nIndex, BOOL bScroll = TRUE);
    DWORD GetItemData(int nIndex) const;
    int SetItemData(int nIndex, DWORD dwItemData);
    void* GetItemDataPtr(int nIndex) const;
    int SetItemDataPtr(int nIndex, void* pData);
    int GetItemRect(int nIndex, LPRECT pRect) const;
    int GetItemHeight(int nIndex) const;
    int SetItemHeight(int nIndex, UINT cyItemHeight);
    int GetHorizontalExtent() const;
    void SetHorizontalExtent(int cxExtent);
    void SetColumnWidth(int cxWidth);
    BOOL SetTabStops(int nTabStops, LPINT pTabStops);

    // For an owner-drawn list: its class overrides those that its style asks for.
    virtual void DrawItem(LPDRAWITEMSTRUCT pDrawItem);
    virtual void MeasureItem(LPMEASUREITEMSTRUCT pMeasureItem);
    virtual int CompareItem(LPCOMPAREITEMSTRUCT pCompareItem);
    virtual void DeleteItem(LPDELETEITEMSTRUCT pDeleteItem);
    virtual int VKeyToItem(UINT nKey, UINT nIndex);
    virtual int CharToItem(UINT nKey, UINT nIndex);

protected:
    BOOL OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
};

class AFX_API CComboBox : public CWnd
{
    DECLARE_DYNAMIC(CComboBox)

public:
    CComboBox() {}
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);

    int AddString(LPCTSTR pszString);
    int InsertString(int nIndex, LPCTSTR pszString);
    int DeleteString(UINT nIndex);
    void ResetContent();
    int FindString(int nStartAfter, LPCTSTR pszString) const;
    int FindStringExact(int nIndexStart, LPCTSTR pszFind) const;
    int SelectString(int nStartAfter, LPCTSTR pszString);
    int GetCount() const;
    int GetLBText(int nIndex, LPTSTR pszText) const;
    void GetLBText(int nIndex, CString& rString) const; // empty if there is no such item
    int GetLBTextLen(int nIndex) const;
    int GetCurSel() const;
    int SetCurSel(int nSelect);
    int GetTopIndex() const;
    int SetTopIndex(int nIndex);

    DWORD GetEditSel() const; // start low, end high
    BOOL SetEditSel(int nStartChar, int nEndChar);
    BOOL LimitText(int nMaxChars);
    void Clear();
    void Copy();
    void Cut();
    void Paste();

    void ShowDropDown(BOOL bShowIt = TRUE);
    BOOL GetDroppedState() const;
    void GetDroppedControlRect(LPRECT pRect) const;
    int GetDroppedWidth() const;
    int SetDroppedWidth(UINT nWidth);
    BOOL GetExtendedUI() const;
    int SetExtendedUI(BOOL bExtended = TRUE);
    int GetHorizontalExtent() const;
    void SetHorizontalExtent(UINT nExtent);

    DWORD GetItemData(int nIndex) const;
    int SetItemData(int nIndex, DWORD dwItemData);
    void* GetItemDataPtr(int nIndex) const;
    int SetItemDataPtr(int nIndex, void* pData);
    int GetItemHeight(int nIndex) const; // -1: of the edit field
    int SetItemHeight(int nIndex, UINT cyItemHeight);

    virtual void DrawItem(LPDRAWITEMSTRUCT pDrawItem);
    virtual void MeasureItem(LPMEASUREITEMSTRUCT pMeasureItem);
    virtual int CompareItem(LPCOMPAREITEMSTRUCT pCompareItem);
    virtual void DeleteItem(LPDELETEITEMSTRUCT pDeleteItem);

protected:
    BOOL OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
};

// A scroll bar that is a control of its own. The bars of a window's frame are CWnd's.
class AFX_API CScrollBar : public CWnd
{
    DECLARE_DYNAMIC(CScrollBar)

public:
    CScrollBar() {}
    BOOL Create(DWORD dwStyle, const RECT& rect, CWnd* pParentWnd, UINT nID);

    int GetScrollPos() const;
    int SetScrollPos(int nPos, BOOL bRedraw = TRUE); // the position before
    void GetScrollRange(LPINT pMinPos, LPINT pMaxPos) const;
    void SetScrollRange(int nMinPos, int nMaxPos, BOOL bRedraw = TRUE);
    BOOL GetScrollInfo(LPSCROLLINFO pScrollInfo, UINT nMask = SIF_ALL);
    BOOL SetScrollInfo(LPSCROLLINFO pScrollInfo, BOOL bRedraw = TRUE);
    int GetScrollLimit();
    void ShowScrollBar(BOOL bShow = TRUE);
    BOOL EnableScrollBar(UINT nArrowFlags = ESB_ENABLE_BOTH);
};

#endif
