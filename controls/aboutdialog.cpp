#include "controls/aboutdialog.h"
#include "controls/module.h"

#include <aygshell.h>

namespace {

constexpr int kWidth = 240;
constexpr int kHeight = 284;
constexpr RECT kLink = {3, 175, 235, 200};
constexpr RECT kRights = {5, 196, 235, 240};
constexpr RECT kVersion = {182, 117, 230, 137};
constexpr RECT kOk = {90, 227, 150, 247};

// While it lives, resources are looked for in another module first.
class CResourceHandleGuard
{
public:
    explicit CResourceHandleGuard(HINSTANCE module) : m_hOld(AfxGetResourceHandle()) { AfxSetResourceHandle(module); }
    ~CResourceHandleGuard() { AfxSetResourceHandle(m_hOld); }
    CResourceHandleGuard(const CResourceHandleGuard&) = delete;
    CResourceHandleGuard& operator=(const CResourceHandleGuard&) = delete;
    HINSTANCE Old() const { return m_hOld; }

private:
    const HINSTANCE m_hOld; // borrowed
};

bool LoadText(HINSTANCE module, UINT id, CString& text)
{
    // With no room given, the call hands out where the text is in the module; it is not terminated there.
    const wchar_t* found = nullptr;
    const int length = ::LoadStringW(module, id, reinterpret_cast<LPWSTR>(&found), 0);
    if (length <= 0) return false;
    text = CString(found, length);
    return true;
}

} // namespace

BEGIN_MESSAGE_MAP(CAppAboutDlg, CDialog)
ON_WM_CTLCOLOR()
ON_WM_PAINT()
ON_WM_LBUTTONDOWN()
END_MESSAGE_MAP()

CAppAboutDlg::CAppAboutDlg(HBITMAP background, const TCHAR* url, const TCHAR* version, unsigned int templateId)
    : CDialog(templateId), m_strUrl(url), m_strVersion(version), m_hBackground(background)
{
}

CAppAboutDlg::~CAppAboutDlg() = default;

int CAppAboutDlg::DoModal()
{
    const CResourceHandleGuard guard(LibraryModule());
    m_hHostStrings = guard.Old();
    const int result = CDialog::DoModal();
    m_hHostStrings = nullptr;
    return result;
}

CString CAppAboutDlg::Text(UINT id) const
{
    CString text;
    const HINSTANCE host = m_hHostStrings ? m_hHostStrings : AfxGetResourceHandle();
    if (!LoadText(host, id, text) && !LoadText(AfxGetInstanceHandle(), id, text)) LoadText(LibraryModule(), id, text);
    return text;
}

BOOL CAppAboutDlg::OnInitDialog()
{
    CDialog::OnInitDialog();
    SetWindowPos(nullptr, 0, 0, kWidth, kHeight, SWP_NOMOVE | SWP_NOZORDER);
    InitFonts();
    if (CWnd* link = GetDlgItem(KORVANE_IDC_ABOUT_LINK)) link->SetFont(&m_fontLarge);
    if (CWnd* rights = GetDlgItem(KORVANE_IDC_ABOUT_RIGHTS)) rights->SetFont(&m_fontSmall);
    m_rcLink = kLink;
    if (CWnd* ok = GetDlgItem(IDOK)) ok->MoveWindow(&kOk);
    SetWindowText(Text(KORVANE_IDS_ABOUT_CAPTION));
    return TRUE;
}

void CAppAboutDlg::InitFonts()
{
    // A box that is shown again makes them again.
    m_fontLarge.DeleteObject();
    m_fontSmall.DeleteObject();
    m_fontLarge.CreateFont(16, 0, 0, 0, FW_NORMAL, FALSE, TRUE, FALSE, 0, 0, 0, 0, FF_SWISS, L"Areal");
    m_fontSmall.CreateFont(13, 0, 0, 0, FW_LIGHT, FALSE, FALSE, FALSE, 0, 0, 0, 0, FF_SWISS, L"Areal");
}

void CAppAboutDlg::DoDataExchange(CDataExchange*) {}

void CAppAboutDlg::OnPaint()
{
    CPaintDC dc(this);
    BITMAP size;
    if (m_hBackground && ::GetObjectW(m_hBackground, sizeof(size), &size) == sizeof(size)) {
        CDC memory;
        memory.CreateCompatibleDC(&dc);
        const HGDIOBJ old = ::SelectObject(memory, m_hBackground);
        dc.BitBlt(0, 0, size.bmWidth, size.bmHeight, &memory, 0, 0, SRCCOPY);
        ::SelectObject(memory, old);
    }

    CGdiObject* const oldBrush = dc.SelectStockObject(NULL_BRUSH);
    const int oldMode = dc.SetBkMode(TRANSPARENT);

    CFont* const oldFont = dc.SelectObject(&m_fontLarge);
    dc.SetTextColor(m_bClicked ? m_crVisited : m_crLink);
    CRect rect(m_rcLink);
    dc.DrawText(m_strUrl, &rect, DT_CENTER);

    dc.SelectObject(&m_fontSmall);
    dc.SetTextColor(RGB(0, 0, 0));
    rect = kRights;
    dc.DrawText(Text(KORVANE_IDS_ABOUT_RIGHTS), &rect, DT_CENTER);
    rect = kVersion;
    dc.DrawText(m_strVersion, &rect, DT_RIGHT);

    dc.SelectObject(oldFont);
    dc.SelectObject(oldBrush);
    dc.SetBkMode(oldMode);
}

HBRUSH CAppAboutDlg::OnCtlColor(CDC* dc, CWnd* control, UINT)
{
    dc->SetBkMode(TRANSPARENT);
    if (control && control->GetDlgCtrlID() == KORVANE_IDC_ABOUT_LINK) {
        dc->SetTextColor(m_bClicked ? m_crVisited : m_crLink);
    }
    return static_cast<HBRUSH>(::GetStockObject(NULL_BRUSH));
}

void CAppAboutDlg::OnLButtonDown(UINT flags, CPoint point)
{
    m_bClicked = true;
    if (::PtInRect(&m_rcLink, point)) {
        CString commandLine = m_strUrl;
        PROCESS_INFORMATION started = {};
        if (::CreateProcessW(L"iexplore.exe", commandLine.GetBuffer(0), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                             nullptr, &started)) {
            if (started.hThread) ::CloseHandle(started.hThread);
            if (started.hProcess) ::CloseHandle(started.hProcess);
        }
    }
    CDialog::OnLButtonDown(flags, point);
}
