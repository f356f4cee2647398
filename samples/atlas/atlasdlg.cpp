#include "atlasdlg.h"

#include "detailsdlg.h"
#include "favouritesfile.h"
#include "filedlg.h"
#include "ids.h"
#include "tell.h"

#include <algorithm>
#include <map>

namespace {

constexpr int kWidth = 240, kHeight = 320; // the device's screen, in pixels
constexpr int kFlagScale = 3;              // flags are 16 x 11 pixels
constexpr COLORREF kWhite = RGB(255, 255, 255), kLabel = RGB(96, 96, 96);
constexpr UINT kSelectCountry = WM_APP;
constexpr UINT kTipTimer = 1, kTipTime = 4000; // milliseconds

// In pixels: the rows of text are below each other, each as high as its text needs.
constexpr int kMargin = 8, kLine = 14, kGap = 6, kEdit = 20, kBar = 30;
constexpr int kHeadLeft = 68, kHeadWidth = 158, kFlagBottom = 75, kLabelWidth = 72, kValueLeft = 84, kValueWidth = 142;
constexpr struct
{
    int label, value, lines; // at most
} kRows[] = {{IDC_LANGUAGES_LABEL, IDC_LANGUAGES, 4},
             {IDC_CURRENCY_LABEL, IDC_CURRENCY, 1},
             {IDC_DIVISIONS_LABEL, IDC_DIVISIONS, 2}};

} // namespace

BEGIN_MESSAGE_MAP(CAtlasDlg, CDialog)
ON_WM_CLOSE()
ON_WM_CTLCOLOR()
ON_WM_TIMER()
ON_CBN_SELCHANGE(IDC_COUNTRY, OnCountryPicked)
ON_CBN_EDITCHANGE(IDC_COUNTRY, OnCountryTyped)
ON_CBN_SETFOCUS(IDC_COUNTRY, OnCountryEntered)
ON_MESSAGE(kSelectCountry, OnSelectCountry)
ON_CBN_KILLFOCUS(IDC_COUNTRY, OnCountryLeft)
ON_BN_CLICKED(IDC_STAR, OnStar)
ON_EN_KILLFOCUS(IDC_SUM, OnSumLeft)
ON_BN_CLICKED(IDC_DETAILS, OnDetails)
ON_BN_CLICKED(IDC_MENU, OnMenu)
END_MESSAGE_MAP()

CAtlasDlg::CAtlasDlg(CWorld& world, CSettings& settings, const CString& volume)
    : CDialog(IDD_ATLAS), m_world(world), m_settings(settings), m_strVolume(volume)
{
}

CAtlasDlg::~CAtlasDlg()
{
    if (m_hIcon) ::DestroyIcon(m_hIcon);
    if (m_hSmallIcon) ::DestroyIcon(m_hSmallIcon);
}

void CAtlasDlg::DoDataExchange(CDataExchange* exchange)
{
    CDialog::DoDataExchange(exchange);
    DDX_Control(exchange, IDC_COUNTRY, m_combo);
    DDX_Control(exchange, IDC_STAR, m_star);
    DDX_Control(exchange, IDC_FLAG, m_flag);
    DDX_Control(exchange, IDC_SUM, m_sum);
    DDX_Control(exchange, IDC_LINK, m_link);
}

BOOL CAtlasDlg::OnInitDialog()
{
    CDialog::OnInitDialog();
    LoadIcons();
    LOGFONT font = {};
    GetFont()->GetLogFont(&font);
    font.lfWeight = FW_BOLD;
    m_bold.CreateFontIndirect(&font);
    GetDlgItem(IDC_NAME)->SetFont(&m_bold);
    m_sum.SetBounds(0, static_cast<float>(kLargestSum));
    m_sum.SetPrecisionString(L".0");
    m_sum.SetValidateMode(true);

    // Where it was last, as far as the screen still reaches there.
    CRect area;
    ::SystemParametersInfoW(SPI_GETWORKAREA, 0, &area, 0);
    const int x = std::max(std::min(m_settings.position.x, area.right - kWidth), area.left);
    const int y = std::max(std::min(m_settings.position.y, area.bottom - kHeight), area.top);
    SetWindowPos(nullptr, x, y, kWidth, kHeight, SWP_NOZORDER);
    PlaceControls();

    if (KorvaneCheckpoint(m_world.ListCountries(m_countries)) < 0) {
        Tell(IDS_READ_FAILED, m_strVolume);
        EndDialog(IDCANCEL);
        return TRUE;
    }
    for (const auto& country : m_countries) m_combo.AddString(country.second);
    Show(m_settings.country);
    if (m_country.code.IsEmpty() && !m_countries.empty()) Show(m_countries.front().first);
    return TRUE;
}

void CAtlasDlg::LoadIcons()
{
    TCHAR program[MAX_PATH] = L"", drive[3], folder[256];
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    _tsplitpath(program, drive, folder, nullptr, nullptr);
    CIconLoader loader;
    if (!loader.ReadIconFromICOFile(CString(drive) + folder + L"atlas.ico")) return; // the system's own then
    for (unsigned int i = 0; i < loader.GetIconsCount(); ++i) {
        SIZE size = {};
        loader.GetSize(i, size);
        HICON& icon = size.cx <= 16 ? m_hSmallIcon : m_hIcon;
        if (!icon) icon = loader.MakeIconFromResource(i);
    }
    SendMessage(WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(m_hIcon));
    SendMessage(WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(m_hSmallIcon));
}

// What stays in its place whatever is shown.
void CAtlasDlg::PlaceControls()
{
    CRect client;
    GetClientRect(&client);
    const int width = client.Width(), bar = client.Height() - kBar;
    const auto place = [this](int id, int x, int y, int cx, int cy) { GetDlgItem(id)->MoveWindow(x, y, cx, cy); };
    place(IDC_COUNTRY, kMargin, 8, width - 2 * kMargin - 28, 180);
    place(IDC_STAR, width - kMargin - 22, 8, 22, 22);
    place(IDC_FLAG, kMargin, 40, 50, 35);
    place(IDC_DETAILS, kMargin, bar + 4, 72, 22);
    place(IDC_MENU, width - kMargin - 72, bar + 4, 72, 22);
    place(IDC_BAR, 0, bar, width, kBar);
}

void CAtlasDlg::Show(const CString& code)
{
    CCountry country;
    CFavourite favourite;
    std::vector<CSubdivision> subdivisions;
    const long found = m_world.ReadCountry(code, country);
    if (KorvaneCheckpoint(found) < 0 || KorvaneCheckpoint(m_world.ReadSubdivisions(code, subdivisions)) < 0 ||
        KorvaneCheckpoint(m_world.ReadFavourite(code, favourite)) < 0) {
        Tell(IDS_READ_FAILED, m_strVolume);
        return;
    }
    if (found != S_OK) return; // a country of another volume
    KORVANE_TRACE(L"atlas", __LINE__, "code", code);
    m_country = country;
    m_subdivisions = subdivisions;
    m_favourite = favourite;
    m_settings.country = code;
    ShowFlag();
    ShowTexts();
    ShowFavourite();
    // Controls have moved over each other's places.
    ::RedrawWindow(m_hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

void CAtlasDlg::ShowFlag()
{
    CClientDC dc(this);
    CVOImage image;
    const auto name = reinterpret_cast<unsigned long>(static_cast<LPCTSTR>(m_country.code));
    const bool isThere = image.SetBitmap(dc, name, L"FLAG", AfxGetInstanceHandle()) && image.IsLoaded();
    const UINT cx = image.GetWidth() * kFlagScale, cy = image.GetHeight() * kFlagScale;
    ::DeleteObject(m_flag.SetBitmap(isThere ? image.CreateBitmap(cx, cy) : nullptr));
    m_flag.ShowWindow(isThere ? SW_SHOW : SW_HIDE);
}

void CAtlasDlg::ShowTexts()
{
    m_combo.SelectString(-1, m_country.name);
    const CString name = m_country.officialName.IsEmpty() ? m_country.name : m_country.officialName;
    const int nameHeight = std::min(HeightOf(name, m_bold, kHeadWidth), 3 * kLine);
    SetDlgItemText(IDC_NAME, name);
    GetDlgItem(IDC_NAME)->MoveWindow(kHeadLeft, 40, kHeadWidth, nameHeight);
    SetDlgItemText(IDC_CODES, m_country.code + L", " + m_country.code3 + L", " + m_country.number);
    GetDlgItem(IDC_CODES)->MoveWindow(kHeadLeft, 40 + nameHeight + 2, kHeadWidth, kLine);
    const int line = std::max(kFlagBottom, 40 + nameHeight + 2 + kLine) + kGap;
    GetDlgItem(IDC_LINE)->MoveWindow(kMargin, line, kValueLeft + kValueWidth - kMargin, 2);

    std::vector<CString> languages, currencies, divisions;
    for (const CLanguage& language : m_country.languages) {
        if (language.status != L"official_regional") languages.push_back(language.name);
    }
    for (const CCurrency& currency : m_country.currencies) currencies.push_back(currency.name);
    std::map<CString, int> kinds; // of subdivisions, and how many
    for (const CSubdivision& subdivision : m_subdivisions) ++kinds[subdivision.type];
    for (const auto& [type, count] : kinds) {
        CString text;
        text.Format(L"%s (%d)", type, count);
        divisions.push_back(text);
    }
    ShowRows({languages, currencies, divisions}, line + 2 + kGap);
    SetDlgItemText(IDC_SUM_CODE, m_country.currencies.empty() ? CString() : m_country.currencies.front().code);

    m_link.SetURL(Sentence(IDS_URL, m_country.code));
    m_link.SetWindowText(Sentence(IDS_LINK, m_country.name));
    m_link.SetVisited(FALSE);
    m_link.SetAutoSize(TRUE);
}

// The lists go to kRows, in their order; what follows them moves up to them.
void CAtlasDlg::ShowRows(const std::vector<std::vector<CString>>& lists, int y)
{
    for (std::size_t i = 0; i < lists.size(); ++i) {
        const int most = kRows[i].lines * kLine;
        const CString text = FitList(lists[i], most);
        const int height = std::min(HeightOf(text, *GetFont(), kValueWidth), most);
        SetDlgItemText(kRows[i].value, text);
        GetDlgItem(kRows[i].label)->MoveWindow(kMargin, y, kLabelWidth, kLine);
        GetDlgItem(kRows[i].value)->MoveWindow(kValueLeft, y, kValueWidth, height);
        y += height + kGap;
    }
    GetDlgItem(IDC_SUM_LABEL)->MoveWindow(kMargin, y + 3, kLabelWidth, kLine);
    m_sum.MoveWindow(kValueLeft, y, 90, kEdit);
    GetDlgItem(IDC_SUM_CODE)->MoveWindow(kValueLeft + 96, y + 3, 40, kLine);
    m_link.MoveWindow(kMargin, y + kEdit + 2 * kGap, kValueLeft + kValueWidth - kMargin, kLine);
}

// As much of a list, with commas, as fits into a height.
CString CAtlasDlg::FitList(const std::vector<CString>& items, int most)
{
    CString text = items.empty() ? Sentence(IDS_NONE) : items.front();
    for (std::size_t i = 1; i < items.size(); ++i) {
        const CString longer = text + L", " + items[i];
        const bool isLast = i + 1 == items.size();
        if (HeightOf(isLast ? longer : longer + L" ...", *GetFont(), kValueWidth) > most) return text + L" ...";
        text = longer;
    }
    return text;
}

int CAtlasDlg::HeightOf(const CString& text, CFont& font, int width)
{
    CClientDC dc(this);
    CFont* const old = dc.SelectObject(&font);
    CRect area(0, 0, width, 0);
    dc.DrawText(text, &area, DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
    dc.SelectObject(old);
    return area.Height();
}

void CAtlasDlg::ShowFavourite()
{
    const bool isFavourite = !m_favourite.country.IsEmpty();
    CString sum;
    if (isFavourite) sum.Format(L"%.2f", m_favourite.sum);
    m_star.Light(isFavourite);
    m_sum.SetWindowText(sum);
    m_sum.EnableWindow(isFavourite);
}

HBRUSH CAtlasDlg::OnCtlColor(CDC* dc, CWnd* control, UINT type)
{
    const HBRUSH brush = CDialog::OnCtlColor(dc, control, type);
    if (type != CTLCOLOR_DLG && type != CTLCOLOR_STATIC) return brush;
    switch (control->GetDlgCtrlID()) {
    case IDC_BAR:  // in the colour of buttons
    case IDC_LINK: // in its own
        return brush;
    case IDC_CODES:
    case IDC_LANGUAGES_LABEL:
    case IDC_CURRENCY_LABEL:
    case IDC_DIVISIONS_LABEL:
    case IDC_SUM_LABEL:
        dc->SetTextColor(kLabel);
        break;
    }
    dc->SetBkColor(kWhite);
    return static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH));
}

// All of the name is selected, so that typing replaces it: not before the box has set its own selection.
void CAtlasDlg::OnCountryEntered()
{
    PostMessage(kSelectCountry);
}

LRESULT CAtlasDlg::OnSelectCountry(WPARAM, LPARAM)
{
    m_combo.SetEditSel(0, -1);
    return 0;
}

void CAtlasDlg::OnCountryPicked()
{
    const int index = m_combo.GetCurSel();
    if (index >= 0) Show(m_countries[index].first);
}

// What is typed is completed by the box; as soon as it is a country, that is the one to show.
void CAtlasDlg::OnCountryTyped()
{
    CString text;
    m_combo.GetWindowText(text);
    const int index = m_combo.FindStringExact(-1, text);
    if (index < 0 || m_countries[index].first == m_country.code) return;
    const DWORD selection = m_combo.GetEditSel();
    Show(m_countries[index].first);
    m_combo.SetEditSel(LOWORD(selection), HIWORD(selection));
}

void CAtlasDlg::OnCountryLeft()
{
    m_combo.SelectString(-1, m_country.name);
}

BOOL CAtlasDlg::PreTranslateMessage(MSG* message)
{
    if (message->message == WM_MOUSEMOVE) {
        const bool bOver = message->hwnd == m_star.m_hWnd;
        if (bOver != m_bOverStar) ShowTip(bOver);
        m_bOverStar = bOver;
    }
    return CDialog::PreTranslateMessage(message);
}

void CAtlasDlg::ShowTip(bool bShow)
{
    if (m_tip.m_hWnd) m_tip.DestroyWindow();
    if (!bShow) return;
    CRect client, star;
    GetClientRect(&client);
    m_star.GetWindowRect(&star);
    ScreenToClient(&star);
    const CString text = Sentence(m_star.IsLit() ? IDS_TIP_REMOVE : IDS_TIP_ADD);
    m_tip.Create(text, this, star.bottom + 2, client.Width(), IDC_TIP);
    m_tip.BringWindowToTop();
    SetTimer(kTipTimer, kTipTime, nullptr); // a stylus does not move away, it is lifted
}

void CAtlasDlg::OnTimer(UINT id)
{
    KillTimer(id);
    ShowTip(false);
}

void CAtlasDlg::OnStar()
{
    if (m_country.code.IsEmpty()) return;
    if (m_favourite.country.IsEmpty()) {
        CFavourite favourite;
        favourite.country = m_country.code;
        Store(favourite);
    } else if (KorvaneCheckpoint(m_world.RemoveFavourite(m_country.code)) < 0) {
        Tell(IDS_WRITE_FAILED, m_strVolume);
    } else {
        m_favourite = CFavourite();
    }
    ShowFavourite();
    if (m_bOverStar) ShowTip(true);
}

bool CAtlasDlg::Store(const CFavourite& favourite)
{
    if (KorvaneCheckpoint(m_world.StoreFavourite(favourite)) < 0) {
        Tell(IDS_WRITE_FAILED, m_strVolume);
        return false;
    }
    if (favourite.country == m_country.code) m_favourite = favourite;
    return true;
}

// False for what the edit control will refuse when the focus leaves it.
bool CAtlasDlg::ReadSum(double& sum) const
{
    CString text;
    float checked = 0;
    m_sum.GetWindowText(text);
    if (_ttof(text, checked) != CONV_OK) return false;
    _ttod(text, sum);
    return sum <= kLargestSum;
}

void CAtlasDlg::StoreSum()
{
    CFavourite favourite = m_favourite;
    if (favourite.country.IsEmpty() || !ReadSum(favourite.sum) || favourite.sum == m_favourite.sum) return;
    Store(favourite);
    ShowFavourite();
}

void CAtlasDlg::OnSumLeft()
{
    StoreSum();
}

void CAtlasDlg::OnDetails()
{
    CDetailsDlg(m_country, m_subdivisions, this).DoModal();
}

void CAtlasDlg::OnMenu()
{
    std::vector<CFavourite> favourites;
    if (KorvaneCheckpoint(m_world.ReadFavourites(favourites)) < 0) {
        Tell(IDS_READ_FAILED, m_strVolume);
        return;
    }
    const HMENU menu = ::CreatePopupMenu();
    for (std::size_t i = 0; i < favourites.size(); ++i) {
        CCountry country;
        const long found = m_world.ReadCountry(favourites[i].country, country);
        const CString& name = found == S_OK ? country.name : favourites[i].country;
        ::AppendMenuW(menu, MF_STRING, IDM_FAVOURITE + i, name);
    }
    if (!favourites.empty()) ::AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    for (const UINT id : {IDM_EXPORT, IDM_IMPORT, IDM_ABOUT}) ::AppendMenuW(menu, MF_STRING, id, Sentence(id));

    CRect button;
    GetDlgItem(IDC_MENU)->GetWindowRect(&button);
    const UINT how = TPM_RETURNCMD | TPM_NONOTIFY | TPM_RIGHTALIGN | TPM_BOTTOMALIGN;
    const UINT command = ::TrackPopupMenuEx(menu, how, button.right, button.top, m_hWnd, nullptr);
    ::DestroyMenu(menu);
    if (command == IDM_EXPORT) Export();
    if (command == IDM_IMPORT) Import();
    if (command == IDM_ABOUT) About();
    if (command >= IDM_FAVOURITE) Show(favourites[command - IDM_FAVOURITE].country);
}

void CAtlasDlg::Export()
{
    std::vector<CFavourite> favourites;
    if (KorvaneCheckpoint(m_world.ReadFavourites(favourites)) < 0) {
        Tell(IDS_READ_FAILED, m_strVolume);
        return;
    }
    CFileDlg dialog(IDS_EXPORT_CAPTION, m_settings.file, this);
    if (dialog.DoModal() != IDOK) return;
    m_settings.file = dialog.m_strPath;
    const UINT failure = ExportFavourites(dialog.m_strPath, favourites);
    Tell(failure ? failure : IDS_EXPORTED, dialog.m_strPath, failure ? MB_ICONEXCLAMATION : MB_ICONINFORMATION);
}

void CAtlasDlg::Import()
{
    CFileDlg dialog(IDS_IMPORT_CAPTION, m_settings.file, this);
    if (dialog.DoModal() != IDOK) return;
    m_settings.file = dialog.m_strPath;
    std::vector<CFavourite> favourites;
    if (const UINT failure = ImportFavourites(dialog.m_strPath, favourites)) {
        Tell(failure, dialog.m_strPath);
        return;
    }
    // All or nothing: first look whether every country is known, then store.
    for (const CFavourite& favourite : favourites) {
        CCountry country;
        if (m_world.ReadCountry(favourite.country, country) != S_OK) {
            Tell(IDS_IMPORT_STRANGE, dialog.m_strPath);
            return;
        }
    }
    for (const CFavourite& favourite : favourites) {
        if (!Store(favourite)) return;
    }
    ShowFavourite();
    Tell(IDS_IMPORTED, dialog.m_strPath, MB_ICONINFORMATION);
}

void CAtlasDlg::About()
{
    CClientDC dc(this);
    CVOImage picture;
    picture.SetBitmap(dc, IDR_ABOUT, L"PICTURE", AfxGetInstanceHandle());
    CAppAboutDlg(picture.GetBitmap(), Sentence(IDS_ABOUT_URL), ATLAS_VERSION, KORVANE_IDD_ABOUT).DoModal();
}

void CAtlasDlg::OnClose()
{
    StoreSum();
    m_sum.SetValidateMode(false); // what it holds now is not checked once more while its window goes
    CRect place;
    GetWindowRect(&place);
    m_settings.position = place.TopLeft();
    EndDialog(IDCANCEL);
}
