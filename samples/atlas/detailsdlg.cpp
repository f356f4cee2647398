#include "detailsdlg.h"

#include "ids.h"
#include "tell.h"

#include <map>

namespace {

constexpr int kMargin = 6, kIndent = 8; // pixels

CString StatusOf(const CLanguage& language)
{
    if (language.status == L"official_regional") return Sentence(IDS_REGIONAL);
    return Sentence(language.status == L"official" ? IDS_OFFICIAL : IDS_DE_FACTO);
}

} // namespace

BEGIN_MESSAGE_MAP(CDetailsDlg, CScrollDialog)
ON_WM_CTLCOLOR()
ON_WM_GETMINMAXINFO()
ON_WM_MOUSEWHEEL()
END_MESSAGE_MAP()

CDetailsDlg::CDetailsDlg(const CCountry& country, const std::vector<CSubdivision>& subdivisions, CWnd* parent)
    : CScrollDialog(IDD_DETAILS, parent), m_country(country), m_subdivisions(subdivisions)
{
}

BOOL CDetailsDlg::OnInitDialog()
{
    SetWindowText(m_country.name);
    CRect place, client, window;
    m_pParentWnd->GetWindowRect(&place);
    GetClientRect(&client);
    GetWindowRect(&window);
    const int frameWidth = window.Width() - client.Width(), frameHeight = window.Height() - client.Height();
    // Beside the scroll bar, so that it covers nothing.
    const int width = place.Width() - ::GetSystemMetrics(SM_CXVSCROLL);
    m_nTextWidth = width - frameWidth - 2 * kMargin;
    AddSections();

    // The base takes the size that the window has now for the one that all content needs. What then becomes smaller is
    // scrolled.
    SetWindowPos(nullptr, place.left, place.top, width, m_nBottom + frameHeight, SWP_NOZORDER);
    CScrollDialog::OnInitDialog();
    SetWindowPos(nullptr, place.left, place.top, place.Width(), place.Height(), SWP_NOZORDER);
    return TRUE;
}

void CDetailsDlg::AddSections()
{
    LOGFONT font = {};
    GetFont()->GetLogFont(&font);
    font.lfWeight = FW_BOLD;
    m_bold.CreateFontIndirect(&font);

    if (!m_country.officialName.IsEmpty()) AddSection(L"Official name", m_country.officialName);
    if (!m_country.commonName.IsEmpty()) AddSection(L"Common name", m_country.commonName);

    CString languages;
    for (const CLanguage& language : m_country.languages) {
        CString line;
        line.Format(L"%s: %s, %.3g %%\n", language.name, StatusOf(language), language.share);
        languages += line;
    }
    AddSection(L"Languages", languages);

    CString currencies;
    for (const CCurrency& currency : m_country.currencies) currencies += currency.name + L", " + currency.code + L"\n";
    AddSection(L"Currency", currencies);

    std::map<CString, std::pair<int, CString>> kinds; // of subdivisions: how many, and their names
    for (const CSubdivision& subdivision : m_subdivisions) {
        auto& [count, names] = kinds[subdivision.type];
        ++count;
        names += subdivision.code.Mid(m_country.code.GetLength() + 1) + L"  " + subdivision.name + L"\n";
    }
    for (const auto& [type, kind] : kinds) {
        CString heading;
        heading.Format(L"%s (%d)", type, kind.first);
        AddSection(heading, kind.second);
    }
    m_nBottom += kMargin;
}

void CDetailsDlg::AddSection(const CString& heading, const CString& text)
{
    m_nBottom += kMargin;
    AddText(heading, m_bold, 0);
    AddText(text.IsEmpty() ? Sentence(IDS_NONE) : text, *GetFont(), kIndent);
}

void CDetailsDlg::AddText(const CString& text, CFont& font, int indent)
{
    CString shown = text;
    shown.TrimRight();
    CClientDC dc(this);
    CFont* const old = dc.SelectObject(&font);
    CRect area(kMargin + indent, m_nBottom, kMargin + m_nTextWidth, m_nBottom);
    dc.DrawText(shown, &area, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
    dc.SelectObject(old);
    area.right = kMargin + m_nTextWidth;
    m_texts.emplace_back();
    m_texts.back().Create(shown, WS_CHILD | WS_VISIBLE | SS_NOPREFIX, area, this);
    m_texts.back().SetFont(&font);
    m_nBottom = area.bottom;
}

HBRUSH CDetailsDlg::OnCtlColor(CDC* dc, CWnd*, UINT)
{
    dc->SetBkColor(RGB(255, 255, 255));
    return static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH));
}

// A window may be higher than the screen, until it is scrolled.
void CDetailsDlg::OnGetMinMaxInfo(MINMAXINFO* info)
{
    info->ptMaxTrackSize.y = 0x7FFF;
}

BOOL CDetailsDlg::OnMouseWheel(UINT, short delta, CPoint)
{
    SendMessage(WM_VSCROLL, delta > 0 ? SB_LINEUP : SB_LINEDOWN);
    return TRUE;
}

BOOL CDetailsDlg::PreTranslateMessage(MSG* message)
{
    static const std::map<WPARAM, int> kKeys = {
        {VK_UP, SB_LINEUP}, {VK_DOWN, SB_LINEDOWN}, {VK_PRIOR, SB_PAGEUP}, {VK_NEXT, SB_PAGEDOWN}, {VK_END, SB_BOTTOM}};
    const auto key = kKeys.find(message->wParam);
    if (message->message == WM_KEYDOWN && key != kKeys.end()) {
        SendMessage(WM_VSCROLL, key->second);
        return TRUE;
    }
    return CScrollDialog::PreTranslateMessage(message);
}
