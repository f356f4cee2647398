// CFloatEdit: an edit control for a decimal number, which can be held between two bounds.
//
// Ownership  as CEdit: the object stands for a control that it subclassed or created, and does not own the dialog.
// Threads    the window's.
// Errors     none are raised: a bad number beeps, a violated bound is named in a message box, and the focus comes back.
//
// Checking is off until SetValidateMode(true): until then every text passes and the focus always leaves.
//
//     CFloatEdit m_editWeight; // a member of the dialog
//
//     m_editWeight.Subclass(IDC_WEIGHT, this); // in OnInitDialog
//     m_editWeight.SetBounds(0.0f, 250.0f);
//     m_editWeight.SetValidateMode(true);
//
// What a host should know:
// 1. Only "0" to "9", ".", "+", "-" and backspace can be typed. Pasted and set text is not filtered, only checked.
// 2. The number is read by _ttof (base/numparse.h), which forgets the sign: "-5" is 5 for the bounds.
// 3. A key that makes the text bad stays in the text: the control beeps and puts the caret back where it was.
// 4. While the text is bad or empty the focus cannot leave, except to the control with the identifier IDCANCEL.
// 5. Destroying the window while it has the focus and a bad text runs the focus check too, and a message box may come
//    up that nobody expects: switch the check off first, with SetValidateMode(false).
// 6. The message box runs a message loop within the control's handlers. The host may destroy the window and this object
//    meanwhile.
#ifndef KORVANE_CONTROLS_FLOATEDIT_H
#define KORVANE_CONTROLS_FLOATEDIT_H

#include "base/api.h"
#include "controls/lifeline.h"

#include <afxwin.h>

class KORVANE_API CFloatEdit : public CEdit
{
public:
    CFloatEdit();
    ~CFloatEdit() override;

    // Takes over the control `id` of `parent`; nonzero on success, 0 when there is no such control (or no parent).
    // REQUIRES: no window yet.
    int Subclass(unsigned int id, CWnd* parent);

    // Sets both bounds, which belong to the range, and has them checked. They are taken as they are: reversed ones
    // refuse every number, one that is not a number refuses none.
    void SetBounds(float lower, float upper);
    // Kept; no check looks at it.
    void SetAcceptNegative(bool accept);
    // How a message writes the bound: what stands between "%" and "f" of a format, flags, width and precision, such as
    // "6.2" or "" or "-8.3l". Widths and precisions count up to 300; anything else that is not of this form is
    // written with "6.2" instead.
    void SetPrecisionString(CString precision);
    // true (the beginning): the bounds are checked when the focus leaves. false: they are checked with each key
    // instead, and the focus leaves with any number.
    void SetValidateTime(bool onlyAtFocusLoss);
    // Whether anything is checked at all; what was set before.
    bool SetValidateMode(bool validate);
    // Whether a violated bound fails without a message box; what was set before.
    bool SetSilentMode(bool silent);

    // Checks the text now, the bounds too when checkBounds. A text that is no number beeps; an empty one is silent; a
    // violated bound shows a message box (see 6. above). True when the text passes, and always with the check off.
    // A box takes the focus: when this field has it, leaving is checked too, and shows a box of its own. Call it with
    // the focus elsewhere, or in silent mode.
    bool Validate(bool checkBounds);

protected:
    afx_msg void OnChar(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnKeyDown(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnKeyUp(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnSetFocus(CWnd* pOldWnd);
    afx_msg void OnKillFocus(CWnd* pNewWnd);
    DECLARE_MESSAGE_MAP()

private:
    void SaveTextAndSelection();
    void ShowBound(LPCTSTR pszMessage, float bound) const;
    bool AreBoundsOn() const { return m_bBoundsEnabled && m_bHasBounds; }

    bool m_bAcceptNegative; // never read, so that there is nothing to begin with
    float m_fUpper = 0;
    float m_fLower = 0;
    bool m_bHasBounds = false;
    bool m_bBoundsEnabled = false;
    bool m_bSilent = false;
    bool m_bOnlyAtFocusLoss = true;
    CString m_strPrecision;
    CString m_strLastValid;
    int m_nLastValidStart = -1; // characters
    int m_nLastValidEnd = -1;
    int m_nKillFocusGuard = 0; // nonzero: a check at focus loss is running, whose box moves the focus itself
    CString m_strReserved;
    bool m_bReserved = true;
    bool m_bValidate = false;
    CLifeline m_lifeline;
};

#endif
