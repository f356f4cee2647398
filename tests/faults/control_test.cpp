// The library's controls: each allocation and each call that makes something of the system's fails in turn, while a
// control is put on a dialog, drawn, used and taken away.
#include "controls/flatcombobox.h"
#include "controls/floatedit.h"
#include "controls/hyperlink.h"
#include "controls/scrolldialog.h"
#include "controls/tooltip.h"
#include "controls_ids.h"
#include "window_fixture.h"

namespace {

// Gives the dialog its own control back.
class CPlace
{
public:
    explicit CPlace(CWnd& control) : m_control(control) {}
    ~CPlace()
    {
        if (!m_control.m_hWnd) return;
        ::SendMessageW(m_control, WM_SETFONT, 0, FALSE); // the one it has may be the control's
        m_control.UnsubclassWindow();
    }
    CPlace(const CPlace&) = delete;
    CPlace& operator=(const CPlace&) = delete;

private:
    CWnd& m_control;
};

class ControlFaultTest : public WindowFaultTest
{
protected:
    ControlFaultTest() { EXPECT_TRUE(m_dialog.Create(IDD_CONTROLS)); }
    ~ControlFaultTest() override { m_dialog.DestroyWindow(); }

    static void Draw(CWnd& control)
    {
        ::RedrawWindow(control, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW | RDW_FRAME);
    }
    // Puts a control in the place of a dialog's, lets it be used and drawn, and gives the place back.
    template <class Control, class Use> void FailControl(const char* pszName, int nID, Use use)
    {
        m_dialog.ShowWindow(SW_SHOW);
        FailBoth(pszName, [=] {
            Control control;
            const CPlace place(control);
            if (!control.SubclassDlgItem(nID, &m_dialog)) return kNotMade;
            const long lResult = use(control);
            Draw(control);
            return lResult;
        });
    }

    CDialog m_dialog;
};

BOOL WINAPI NoExtent(HDC, LPCWSTR, int, int, LPINT, LPINT, LPSIZE)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}

long Done(bool bDone)
{
    return bDone ? 0 : kNotMade;
}

} // namespace

TEST_F(ControlFaultTest, ANumberField)
{
    FailControl<CFloatEdit>("a number field", IDC_NUMBER, [](CFloatEdit& edit) {
        edit.SetWindowText(L"");
        for (const wchar_t ch : {L'1', L'2', L'.', L'5'}) edit.SendMessage(WM_CHAR, ch, 1);
        CString text;
        edit.GetWindowText(text);
        return Done(text == L"12.5");
    });
}

TEST_F(ControlFaultTest, ALink)
{
    FailControl<CHyperLink>("a link", IDC_LINK, [](CHyperLink& link) {
        link.SetURL(L"http://a.b/c");
        link.SetUnderline(1);
        link.SetAutoSize(1);
        link.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
        link.SendMessage(WM_TIMER, 1, 0);
        return Done(link.GetURL() == L"http://a.b/c");
    });
}

TEST_F(ControlFaultTest, AFlatComboBox)
{
    FailControl<CCJFlatComboBox>("a flat combo box", IDC_COMBO, [](CCJFlatComboBox& combo) {
        combo.EnableAutoCompletion(true);
        combo.ResetContent();
        combo.AddString(L"a first one");
        combo.SetWindowText(L"a f");
        combo.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
        combo.GetParent()->SendMessage(WM_COMMAND, MAKEWPARAM(IDC_COMBO, CBN_EDITUPDATE),
                                       reinterpret_cast<LPARAM>(combo.m_hWnd));
        return Done(combo.GetCount() == 1);
    });
}

TEST_F(ControlFaultTest, ATooltip)
{
    FailBoth("a tooltip", [this] {
        CToolTip tip;
        if (!tip.Create(L"a text", &m_dialog, 10, 200, 5)) {
            EXPECT_EQ(nullptr, tip.m_hWnd);
            return kNotMade;
        }
        Draw(tip);
        tip.DestroyWindow();
        return 0L;
    });
}

TEST_F(ControlFaultTest, AScrollingDialog)
{
    FailBoth("a scrolling dialog", [] {
        CScrollDialog dialog(IDD_CONTROLS);
        if (!dialog.Create(IDD_CONTROLS)) {
            EXPECT_EQ(nullptr, dialog.m_hWnd);
            return kNotMade;
        }
        dialog.SetWindowPos(nullptr, 0, 0, 80, 80, SWP_NOZORDER);
        dialog.SendMessage(WM_VSCROLL, SB_LINEDOWN, 0);
        Draw(dialog);
        dialog.DestroyWindow();
        return 0L;
    });
}

TEST_F(ControlFaultTest, WhatCannotBeMeasuredKeepsItsSizeOrIsNotMade)
{
    CHyperLink link;
    const CPlace place(link);
    ASSERT_TRUE(link.SubclassDlgItem(IDC_LINK, &m_dialog));
    CRect before, after;
    link.GetWindowRect(&before);
    EXPECT_FALSE(before.IsRectEmpty());
    const CImportPatch noExtent(kLibrary, "GetTextExtentExPointW", &NoExtent);
    link.SetAutoSize(1);
    link.GetWindowRect(&after);
    EXPECT_EQ(before, after);
    CToolTip tip;
    EXPECT_EQ(0, tip.Create(L"a text", &m_dialog, 10, 200, 5));
    EXPECT_EQ(nullptr, tip.m_hWnd);
}
