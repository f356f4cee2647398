// CCJFlatComboBox: a combo box with a flat frame that rises under the pointer and with the focus, and which completes
// what is typed from its list.
//
// Ownership  as CComboBox: the object stands for a control that it subclassed or created.
// Threads    the window's.
// Errors     none.
//
//     CCJFlatComboBox m_combo; // a member of the dialog
//
//     m_combo.SubclassDlgItem(IDC_CITY, this); // in OnInitDialog
//
// What a host should know:
// 1. A box with an edit field (CBS_DROPDOWN) hands the focus on to that field and counts as not having it: only a
//    drop-down list (CBS_DROPDOWNLIST) stays raised while it has the focus.
// 2. Completing does not tell typing from deleting: a completed remainder that is deleted with backspace comes back,
//    and a field that is emptied may be filled with the first item. Delete inside the text, or switch completion off.
// 3. Keys with Alt do not reach the control as characters.
#ifndef KORVANE_CONTROLS_FLATCOMBOBOX_H
#define KORVANE_CONTROLS_FLATCOMBOBOX_H

#include "base/api.h"
#include "controls/lifeline.h"

#include <afxwin.h>

class KORVANE_API CCJFlatComboBox : public CComboBox
{
    DECLARE_DYNAMIC(CCJFlatComboBox)

public:
    enum STATE
    {
        STATE_NORMAL = 1, // flat
        STATE_RAISED = 2,
        STATE_PRESSED = 3
    };

    CCJFlatComboBox();
    ~CCJFlatComboBox() override;

    // Whether typed text is completed from the list; it is from the beginning.
    void EnableAutoCompletion(bool enable = true);

    // Drops WM_SYSCHAR.
    BOOL PreTranslateMessage(MSG* message) override;

protected:
    // Draws the frame and the arrow button's over what the system has painted; a disabled control has no button states.
    void DrawCombo(STATE state, COLORREF topLeft, COLORREF bottomRight);

    afx_msg void OnMouseMove(UINT nFlags, CPoint point);
    afx_msg void OnLButtonDown(UINT nFlags, CPoint point);
    afx_msg void OnLButtonUp(UINT nFlags, CPoint point);
    afx_msg void OnTimer(UINT nIDEvent);
    afx_msg void OnPaint();
    afx_msg void OnSetFocus(CWnd* pOldWnd);
    afx_msg void OnKillFocus(CWnd* pNewWnd);
    afx_msg void OnSysColorChange();
    afx_msg void OnEditUpdate();
    DECLARE_MESSAGE_MAP()

private:
    bool IsPointerOutside() const;
    void DrawFlat();
    void DrawRaised();

    int m_nArrowWidth; // pixels
    bool m_bButtonDown = false;
    bool m_bRaised = false; // the frame is drawn raised
    bool m_bFocus = false;
    bool m_bAutoCompletion = true;
    COLORREF m_crHighlight; // begins as COLOR_3DDKSHADOW and is COLOR_BTNFACE after a change of the system's colours
    COLORREF m_crShadow;
    COLORREF m_crNormal;
    CLifeline m_lifeline;
};

#endif
