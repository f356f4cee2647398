// The gallery's windows: one for each kind of control, 240 x 320 pixels as the device's screen.
//
// Ownership  each object owns its controls; closing a panel only hides it, but for the numeric edits' one, whose end is
//            the program's.
// Threads    the program's only one.
// Errors     Show gives FALSE when a window could not be made.
#ifndef KORVANE_SAMPLES_GALLERY_PANELS_H
#define KORVANE_SAMPLES_GALLERY_PANELS_H

#include "korvanelib.h"

#include <afxdlgs.h>

constexpr int kPanelWidth = 240;
constexpr int kPanelHeight = 320;

class CPanel : public CDialog
{
public:
    BOOL Show(UINT id, int column, int row);

protected:
    void OnOK() override {}
    void OnCancel() override { ShowWindow(SW_HIDE); }
};

class CEditPanel : public CPanel
{
public:
    BOOL OnInitDialog() override;

protected:
    void OnCancel() override;

private:
    CFloatEdit m_any, m_leaving, m_typing, m_wrong, m_silent, m_disabled;
};

// A link that stays as it is, whatever the pointer does.
class CHeldLink : public CHyperLink
{
protected:
    afx_msg void OnTimer(UINT) {}
    DECLARE_MESSAGE_MAP()
};

class CLinkPanel : public CPanel
{
public:
    BOOL OnInitDialog() override;

private:
    CHyperLink m_plain, m_visited, m_always, m_never, m_mail, m_centred, m_right, m_ownSize, m_colours;
    CHeldLink m_hover;
};

// A combo box that stays in one state, whatever the pointer does.
class CHeldCombo : public CCJFlatComboBox
{
public:
    explicit CHeldCombo(STATE state) : m_state(state) {}

protected:
    afx_msg void OnPaint();
    afx_msg void OnMouseMove(UINT, CPoint) {}
    afx_msg void OnTimer(UINT) {}
    DECLARE_MESSAGE_MAP()

private:
    const STATE m_state;
};

class CComboPanel : public CPanel
{
public:
    BOOL OnInitDialog() override;

private:
    CCJFlatComboBox m_list, m_typing, m_completed, m_disabled;
    CHeldCombo m_raised{CCJFlatComboBox::STATE_RAISED}, m_pressed{CCJFlatComboBox::STATE_PRESSED};
};

class CTipPanel : public CPanel
{
public:
    BOOL OnInitDialog() override;

private:
    CToolTip m_short, m_sentence, m_wide;
};

class CFormPanel : public CScrollDialog
{
public:
    BOOL Show(int column, int row);

protected:
    void OnOK() override {}
    void OnCancel() override { ShowWindow(SW_HIDE); }
};

class CSheetPanel
{
public:
    CSheetPanel();
    BOOL Show(int column, int row);

private:
    CScrollPropertyPage m_scrolled, m_whole;
    CPropertySheet m_sheet;
};

class CAboutPanel : public CAppAboutDlg
{
public:
    // picture: as of CAppAboutDlg.
    explicit CAboutPanel(HBITMAP picture);
    BOOL Show(int column, int row, bool clicked);

protected:
    void OnOK() override { ShowWindow(SW_HIDE); }
    void OnCancel() override { ShowWindow(SW_HIDE); }
};

#endif
