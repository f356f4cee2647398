// gallery.exe: every control of the library in every state, side by side.
//
//     gallery.exe                 for people: ends when the window of the numeric edits is closed
//     gallery.exe --until FILE    for pictures: makes FILE when everything is drawn, ends when FILE is gone
#include "panels.h"
#include "ids.h"

#include <cwchar>

namespace {

constexpr wchar_t kUntil[] = L"--until ";
constexpr UINT kPeriod = 200; // milliseconds between two looks at the file

CString g_file;
CWnd* g_toEnd = nullptr;

// What an About box of a real program has as a picture.
HBITMAP MakeSky()
{
    CClientDC screen(nullptr);
    CDC memory;
    memory.CreateCompatibleDC(&screen);
    CBitmap picture;
    picture.CreateCompatibleBitmap(&screen, kPanelWidth, 284);
    CBitmap* const old = memory.SelectObject(&picture);
    for (int y = 0; y < 284; ++y) {
        const int light = y < 170 ? 150 + y / 2 : 240;
        memory.FillSolidRect(0, y, kPanelWidth, 1, RGB(light - 60, light - 20, 255 - (255 - light) / 4));
    }
    memory.SetBkMode(TRANSPARENT);
    memory.SetTextColor(RGB(255, 255, 255));
    CFont title;
    title.CreateFont(44, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, 0, 0, 0, 0, FF_SWISS, L"Tahoma");
    CFont* const oldFont = memory.SelectObject(&title);
    CRect area(0, 50, kPanelWidth, 110);
    memory.DrawText(L"gallery", &area, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    memory.SelectObject(oldFont);
    memory.SelectObject(old);
    return static_cast<HBITMAP>(picture.Detach());
}

// The first time, all is drawn and on the screen.
void CALLBACK LookAtFile(HWND, UINT, UINT_PTR, DWORD)
{
    static bool made = false;
    if (!made) {
        made = true;
        ::CloseHandle(::CreateFileW(g_file, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    } else if (::GetFileAttributesW(g_file) == INVALID_FILE_ATTRIBUTES) {
        g_toEnd->PostMessage(WM_COMMAND, IDCANCEL);
    }
}

class CGalleryApp : public CWinApp
{
public:
    CGalleryApp() : CWinApp(L"gallery"), m_picture(MakeSky()), m_about(m_picture), m_aboutClicked(m_picture) {}
    ~CGalleryApp() override { ::DeleteObject(m_picture); }

    BOOL InitInstance() override
    {
        InitLib("");
        if (::wcsncmp(m_lpCmdLine, kUntil, ::wcslen(kUntil)) == 0) g_file = m_lpCmdLine + ::wcslen(kUntil);
        if (!m_edits.Show(IDD_EDITS, 0, 0)) return FALSE;
        m_pMainWnd = &m_edits;
        g_toEnd = &m_edits;
        const BOOL shown = m_links.Show(IDD_LINKS, 1, 0) && m_combos.Show(IDD_COMBOS, 2, 0) &&
                           m_tips.Show(IDD_TIPS, 3, 0) && m_form.Show(0, 1) && m_sheet.Show(1, 1) &&
                           m_about.Show(2, 1, false) && m_aboutClicked.Show(3, 1, true);
        if (!shown) AfxMessageBox(L"A window of the gallery could not be made.");
        m_edits.SetForegroundWindow();
        return TRUE;
    }
    BOOL OnIdle(LONG count) override
    {
        // The queue is empty for the first time: nothing is left to draw.
        if (!m_timed && !g_file.IsEmpty()) m_timed = m_edits.SetTimer(1, kPeriod, LookAtFile) != 0;
        return CWinApp::OnIdle(count);
    }

private:
    const HBITMAP m_picture;
    bool m_timed = false;
    CEditPanel m_edits;
    CLinkPanel m_links;
    CComboPanel m_combos;
    CTipPanel m_tips;
    CFormPanel m_form;
    CSheetPanel m_sheet;
    CAboutPanel m_about, m_aboutClicked;
};

CGalleryApp g_app;

} // namespace
