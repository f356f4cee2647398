#include "panels.h"
#include "ids.h"

namespace {

constexpr int kApply = 0x3021; // the identifier of a sheet's own Apply button

// Where the panel of a column and row of the screen is; cx 0: it keeps its size.
void Place(CWnd& window, int column, int row, int cx, int cy)
{
    window.SetWindowPos(nullptr, column * kPanelWidth, row * kPanelHeight, cx, cy,
                        SWP_NOZORDER | SWP_NOACTIVATE | SWP_SHOWWINDOW | (cx ? 0 : SWP_NOSIZE));
}

void AddCities(CComboBox& combo)
{
    for (const TCHAR* city : {L"Amsterdam", L"Berlin", L"Bern", L"Lisbon", L"Madrid", L"Oslo", L"Vienna"}) {
        combo.AddString(city);
    }
    combo.SetCurSel(0);
}

} // namespace

BOOL CPanel::Show(UINT id, int column, int row)
{
    if (!Create(id)) return FALSE;
    Place(*this, column, row, kPanelWidth, kPanelHeight);
    return TRUE;
}

BOOL CEditPanel::OnInitDialog()
{
    CPanel::OnInitDialog();
    m_any.Subclass(IDC_ANY, this);
    m_leaving.Subclass(IDC_LEAVING, this);
    m_typing.Subclass(IDC_TYPING, this);
    m_wrong.Subclass(IDC_WRONG, this);
    m_silent.Subclass(IDC_SILENT, this);
    m_disabled.Subclass(IDC_DISABLED, this);
    for (CFloatEdit* edit : {&m_leaving, &m_typing, &m_wrong, &m_silent}) {
        edit->SetBounds(0, 10);
        edit->SetValidateMode(true);
    }
    m_typing.SetValidateTime(false);
    m_silent.SetSilentMode(true);

    m_any.SetWindowText(L"-273.15");
    m_leaving.SetWindowText(L"7.5");
    m_typing.SetWindowText(L"3");
    m_wrong.SetWindowText(L"12");
    m_silent.SetWindowText(L"12");
    m_disabled.SetWindowText(L"100");
    return TRUE;
}

void CEditPanel::OnCancel()
{
    // A focused wrong number would be checked while its window goes.
    for (CFloatEdit* edit : {&m_leaving, &m_typing, &m_wrong, &m_silent}) edit->SetValidateMode(false);
    DestroyWindow();
}

BEGIN_MESSAGE_MAP(CHeldLink, CHyperLink)
ON_WM_TIMER()
END_MESSAGE_MAP()

BOOL CLinkPanel::OnInitDialog()
{
    CPanel::OnInitDialog();
    m_mail.SetType(HYPERLINK_MAIL);
    m_ownSize.SetAutoSize(FALSE);
    m_colours.SetColours(RGB(0, 128, 0), RGB(128, 128, 128), 0xFFFFFFFF);
    m_plain.SubclassDlgItem(IDC_LINK_PLAIN, this);
    m_hover.SubclassDlgItem(IDC_LINK_HOVER, this);
    m_visited.SubclassDlgItem(IDC_LINK_VISITED, this);
    m_always.SubclassDlgItem(IDC_LINK_ALWAYS, this);
    m_never.SubclassDlgItem(IDC_LINK_NEVER, this);
    m_mail.SubclassDlgItem(IDC_LINK_MAIL, this);
    m_centred.SubclassDlgItem(IDC_LINK_CENTRED, this);
    m_right.SubclassDlgItem(IDC_LINK_RIGHT, this);
    m_ownSize.SubclassDlgItem(IDC_LINK_OWN_SIZE, this);
    m_colours.SubclassDlgItem(IDC_LINK_COLOURS, this);
    m_visited.SetVisited(TRUE);
    m_always.SetUnderline(1);
    m_never.SetUnderline(0);
    m_hover.SendMessage(WM_MOUSEMOVE, 0, MAKELPARAM(2, 2));
    return TRUE;
}

BEGIN_MESSAGE_MAP(CHeldCombo, CCJFlatComboBox)
ON_WM_PAINT()
ON_WM_MOUSEMOVE()
ON_WM_TIMER()
END_MESSAGE_MAP()

void CHeldCombo::OnPaint()
{
    CCJFlatComboBox::OnPaint();
    DrawCombo(m_state, ::GetSysColor(COLOR_BTNSHADOW), ::GetSysColor(COLOR_3DDKSHADOW));
}

BOOL CComboPanel::OnInitDialog()
{
    CPanel::OnInitDialog();
    m_list.SubclassDlgItem(IDC_COMBO_LIST, this);
    m_typing.SubclassDlgItem(IDC_COMBO_TYPING, this);
    m_completed.SubclassDlgItem(IDC_COMBO_COMPLETED, this);
    m_raised.SubclassDlgItem(IDC_COMBO_RAISED, this);
    m_pressed.SubclassDlgItem(IDC_COMBO_PRESSED, this);
    m_disabled.SubclassDlgItem(IDC_COMBO_DISABLED, this);
    for (CComboBox* combo : {static_cast<CComboBox*>(&m_list), static_cast<CComboBox*>(&m_typing),
                             static_cast<CComboBox*>(&m_completed), static_cast<CComboBox*>(&m_raised),
                             static_cast<CComboBox*>(&m_pressed), static_cast<CComboBox*>(&m_disabled)}) {
        AddCities(*combo);
    }
    // As a person types it.
    m_completed.SetCurSel(-1);
    if (const CWnd* edit = m_completed.GetWindow(GW_CHILD)) {
        for (const TCHAR letter : {L'B', L'e', L'r'}) edit->SendMessage(WM_CHAR, letter, 1);
    }
    return TRUE;
}

BOOL CTipPanel::OnInitDialog()
{
    CPanel::OnInitDialog();
    const unsigned int width = kPanelWidth - 6;
    m_short.Create(L"Hello", this, 28, width, IDC_TIP);
    m_sentence.Create(L"The battery is nearly empty.", this, 93, width, IDC_TIP + 1);
    m_wide.Create(L"This sentence is much longer than a screen of this size is wide, at both ends.", this, 158, width,
                  IDC_TIP + 2);
    return TRUE;
}

BOOL CFormPanel::Show(int column, int row)
{
    if (!Create(IDD_FORM)) return FALSE;
    Place(*this, column, row, kPanelWidth, kPanelHeight);
    SendMessage(WM_VSCROLL, SB_LINEDOWN);
    return TRUE;
}

CSheetPanel::CSheetPanel() : m_scrolled(IDD_PAGE), m_whole(IDD_SECOND_PAGE), m_sheet(L"Scrolling page")
{
    m_sheet.AddPage(&m_scrolled);
    m_sheet.AddPage(&m_whole);
}

BOOL CSheetPanel::Show(int column, int row)
{
    if (!m_sheet.Create()) return FALSE;
    Place(m_sheet, column, row, kPanelWidth, kPanelHeight);
    // As on the device: the pages fill the screen, without buttons below them.
    for (const int button : {IDOK, IDCANCEL, kApply}) {
        if (CWnd* window = m_sheet.GetDlgItem(button)) window->ShowWindow(SW_HIDE);
    }
    CRect area;
    m_sheet.GetClientRect(&area);
    m_sheet.GetTabControl()->MoveWindow(&area);
    m_sheet.GetTabControl()->SendMessage(TCM_ADJUSTRECT, FALSE, reinterpret_cast<LPARAM>(&area));
    m_scrolled.MoveWindow(&area);
    m_scrolled.SendMessage(WM_VSCROLL, SB_LINEDOWN);
    return TRUE;
}

CAboutPanel::CAboutPanel(HBITMAP picture) : CAppAboutDlg(picture, L"www.example.com", L"1.0", KORVANE_IDD_ABOUT) {}

BOOL CAboutPanel::Show(int column, int row, bool clicked)
{
    if (!Create(KORVANE_IDD_ABOUT)) return FALSE;
    Place(*this, column, row, 0, 0);
    if (clicked) {
        SendMessage(WM_LBUTTONDOWN, 0, MAKELPARAM(1, 1));
        Invalidate();
    }
    return TRUE;
}
