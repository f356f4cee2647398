#include "controls/hyperlink.h"

#include <aygshell.h>

#include <cstring>

namespace {

constexpr UINT kTimerPeriod = 100; // milliseconds
constexpr int kHandCursor = 32649; // the system's IDC_HAND, which the library ships under the same number
constexpr int kRepaintBelow = 10;  // pixels: the window's own edge cuts them off
constexpr DWORD kRegBytes = 260;

// What a code of a failed start means. 26, a sharing violation, is an unknown error to those who report it.
LPCTSTR FindErrorText(int nCode)
{
    static constexpr struct
    {
        int nCode;
        LPCTSTR pszText;
    } kTexts[] = {
        {0, L"The operating system is out\nof memory or resources."},
        {2, L"The specified file was not found."},
        {3, L"The specified path was not found."},
        {5, L"The operating system denied\naccess to the specified file."},
        {8, L"There was not enough memory to complete the operation."},
        {11, L"The .EXE file is invalid\n(non-Win32 .EXE or error in .EXE image)."},
        {27, L"The filename association is\nincomplete or invalid."},
        {28, L"The DDE transaction could not\nbe completed because the request timed out."},
        {29, L"The DDE transaction failed."},
        {30, L"The DDE transaction could not\nbe completed because other DDE transactions\nwere being processed."},
        {31, L"There is no application associated\nwith the given filename extension."},
        {32, L"The specified dynamic-link library was not found."},
    };
    for (const auto& text : kTexts) {
        if (text.nCode == nCode) return text.pszText;
    }
    return nullptr;
}

} // namespace

BEGIN_MESSAGE_MAP(CHyperLink, CStatic)
ON_CONTROL_REFLECT(STN_CLICKED, OnClicked)
ON_WM_CTLCOLOR_REFLECT()
ON_WM_MOUSEMOVE()
ON_WM_TIMER()
ON_WM_SETCURSOR()
ON_WM_ERASEBKGND()
END_MESSAGE_MAP()

CHyperLink::CHyperLink() = default;

CHyperLink::~CHyperLink()
{
    m_font.DeleteObject();
    m_underlineFont.DeleteObject();
}

BOOL CHyperLink::DestroyWindow()
{
    if (m_hWnd) KillTimer(static_cast<int>(m_nTimerID)); // without a window it would be a timer of the thread's
    return CStatic::DestroyWindow();
}

BOOL CHyperLink::PreTranslateMessage(MSG* message)
{
    return CStatic::PreTranslateMessage(message);
}

void CHyperLink::PreSubclassWindow()
{
    ModifyStyle(0, SS_NOTIFY);

    CString strText;
    GetWindowText(strText);
    if (m_strURL.IsEmpty()) m_strURL = strText;
    if (strText.IsEmpty()) SetWindowText(m_strURL);

    HGDIOBJ hFont = reinterpret_cast<HGDIOBJ>(SendMessage(WM_GETFONT));
    if (!hFont) hFont = ::GetStockObject(SYSTEM_FONT);
    LOGFONT font = {};
    ::GetObjectW(hFont, sizeof(font), &font);
    m_font.DeleteObject();
    m_font.CreateFontIndirect(&font);
    font.lfUnderline = TRUE;
    m_underlineFont.DeleteObject();
    m_underlineFont.CreateFontIndirect(&font);

    PositionWindow();
    SetDefaultCursor();
    SetUnderline(-1);
    CStatic::PreSubclassWindow();
}

void CHyperLink::SetURL(CString url)
{
    m_strURL = url;
    if (!m_hWnd) return;
    PositionWindow();
    SetWindowText(m_strURL);
}

CString CHyperLink::GetURL() const
{
    return m_strURL;
}

void CHyperLink::SetType(HYPERLINK_TYPE type)
{
    m_type = type;
}

void CHyperLink::SetColours(COLORREF link, COLORREF visited, COLORREF hover)
{
    m_crLink = link;
    m_crVisited = visited;
    m_crHover = hover == CLR_INVALID ? ::GetSysColor(COLOR_HIGHLIGHT) : hover;
    if (m_hWnd) Invalidate();
}

COLORREF CHyperLink::GetLinkColour() const
{
    return m_crLink;
}

COLORREF CHyperLink::GetVisitedColour() const
{
    return m_crVisited;
}

COLORREF CHyperLink::GetHoverColour() const
{
    return m_crHover;
}

void CHyperLink::SetBgColour(COLORREF background)
{
    m_crBackground = background;
}

void CHyperLink::SetVisited(int visited)
{
    m_bVisited = visited != 0;
    if (m_hWnd) Invalidate();
}

bool CHyperLink::GetVisited() const
{
    return m_bVisited;
}

void CHyperLink::SetLinkCursor(HICON cursor)
{
    m_hLinkCursor = cursor;
    if (!m_hLinkCursor) SetDefaultCursor();
}

HICON CHyperLink::GetLinkCursor() const
{
    return m_hLinkCursor;
}

void CHyperLink::SetUnderline(int mode)
{
    const CLifelineGuard guard(m_lifeline);
    if (mode != m_nUnderline && m_hWnd) {
        UseFont(mode == 1 ? m_underlineFont : m_font);
        if (guard.IsGone()) return;
        if (m_hWnd) Invalidate();
    }
    m_nUnderline = mode;
}

int CHyperLink::GetUnderline() const
{
    return m_nUnderline;
}

void CHyperLink::SetAutoSize(int autoSize)
{
    m_bAutoSize = autoSize != 0;
    PositionWindow();
}

bool CHyperLink::GetAutoSize() const
{
    return m_bAutoSize;
}

// A new font is drawn at once, and the drawing asks the host for its colours: it may destroy what it likes.
void CHyperLink::UseFont(const CFont& font)
{
    SendMessage(WM_SETFONT, reinterpret_cast<WPARAM>(font.GetSafeHandle()), TRUE);
}

void CHyperLink::PositionWindow()
{
    if (!m_hWnd || !m_bAutoSize) return;

    CRect rect, client;
    GetWindowRect(rect);
    ::MapWindowPoints(nullptr, ::GetParent(m_hWnd), reinterpret_cast<POINT*>(&rect), 2);
    GetClientRect(client);

    CString strText;
    GetWindowText(strText);
    CSize extent(0, 0);
    {
        CClientDC dc(this);
        CFont* const pFontBefore = dc.SelectObject(&m_underlineFont);
        const BOOL bMeasured = ::GetTextExtentExPointW(dc, strText, strText.GetLength(), 0, nullptr, nullptr, &extent);
        dc.SelectObject(pFontBefore);
        if (!bMeasured) return; // as large as nothing, the link could not be seen any more
    }
    extent.cx += rect.Width() - client.Width();
    extent.cy += rect.Height() - client.Height();

    const DWORD dwStyle = GetStyle();
    if (dwStyle & SS_CENTERIMAGE) {
        rect.DeflateRect(0, (rect.Height() - extent.cy) / 2);
    } else {
        rect.bottom = rect.top + extent.cy;
    }
    if (dwStyle & SS_CENTER) {
        rect.DeflateRect((rect.Width() - extent.cx) / 2, 0);
    } else if (dwStyle & SS_RIGHT) {
        rect.left = rect.right - extent.cx;
    } else {
        rect.right = rect.left + extent.cx;
    }
    const CLifelineGuard guard(m_lifeline);
    ::SetWindowPos(m_hWnd, nullptr, rect.left, rect.top, rect.Width(), rect.Height(), SWP_NOZORDER);
    if (guard.IsGone()) return;
    if (m_hWnd) Invalidate(); // its pixels were moved along, but a centred text belongs elsewhere now
}

void CHyperLink::SetDefaultCursor()
{
    if (m_hLinkCursor) return;
    const LPCTSTR pszName = MAKEINTRESOURCEW(kHandCursor);
    m_hLinkCursor = ::LoadCursorW(AfxFindResourceHandle(pszName, RT_GROUP_CURSOR), pszName);
}

HBRUSH CHyperLink::CtlColor(CDC* pDC, UINT)
{
    pDC->SetTextColor(m_bOverControl ? m_crHover : m_bVisited ? m_crVisited : m_crLink);
    pDC->SetBkColor(m_crBackground);
    pDC->SetBkMode(TRANSPARENT);
    pDC->SelectStockObject(NULL_BRUSH);
    return static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH));
}

BOOL CHyperLink::OnEraseBkgnd(CDC* pDC)
{
    CRect client;
    GetClientRect(client);
    pDC->FillSolidRect(client, ::GetSysColor(COLOR_BTNFACE));
    return TRUE;
}

BOOL CHyperLink::OnSetCursor(CWnd*, UINT, UINT)
{
    if (!m_hLinkCursor) return FALSE;
    ::SetCursor(m_hLinkCursor);
    return TRUE;
}

void CHyperLink::OnMouseMove(UINT nFlags, CPoint point)
{
    const CLifelineGuard guard(m_lifeline);
    if (!m_bOverControl) {
        m_bOverControl = true;
        if (m_nUnderline == -1) UseFont(m_underlineFont);
        if (guard.IsGone() || !m_hWnd) return;
        Invalidate();
        SetTimer(m_nTimerID, kTimerPeriod, nullptr);
    }
    CStatic::OnMouseMove(nFlags, point);
}

void CHyperLink::OnTimer(UINT nIDEvent)
{
    const CLifelineGuard guard(m_lifeline);
    CPoint point(::GetMessagePos());
    ScreenToClient(&point);
    CRect client;
    GetClientRect(client);
    if (!client.PtInRect(point)) {
        m_bOverControl = false;
        KillTimer(static_cast<int>(m_nTimerID));
        if (m_nUnderline != 1) UseFont(m_font);
        if (guard.IsGone() || !m_hWnd) return;
        client.bottom += kRepaintBelow;
        InvalidateRect(client);
    }
    CStatic::OnTimer(nIDEvent);
}

void CHyperLink::OnClicked()
{
    m_bOverControl = false;
    const CString strURL(m_strURL);
    const CLifelineGuard guard(m_lifeline);
    const bool bStarted = GotoURL(strURL);
    if (guard.IsGone()) return;

    m_bVisited = bStarted;
    if (bStarted) {
        SetVisited(TRUE);
    } else {
        ::MessageBeep(MB_ICONEXCLAMATION);
        ReportError(0);
    }
}

bool CHyperLink::GotoURL(const TCHAR* url)
{
    CString strCommandLine(url);
    if (m_type == HYPERLINK_MAIL) strCommandLine = L"mailto:" + strCommandLine;
    PROCESS_INFORMATION process = {};
    const BOOL bStarted = ::CreateProcessW(L"iexplore.exe", strCommandLine.GetBuffer(0), nullptr, nullptr, FALSE, 0,
                                           nullptr, nullptr, nullptr, &process);
    if (bStarted != 1) return false;
    if (process.hThread) ::CloseHandle(process.hThread);
    if (process.hProcess) ::CloseHandle(process.hProcess);
    return true;
}

long CHyperLink::GetRegKey(HKEY key, const TCHAR* subkey, TCHAR* value)
{
    HKEY hKey = nullptr;
    const long result = ::RegOpenKeyExW(key, subkey, 0, KEY_QUERY_VALUE, &hKey);
    if (result != ERROR_SUCCESS) return result;

    TCHAR szData[kRegBytes / sizeof(TCHAR) + 1] = {}; // stored texts need not have a terminator
    DWORD dwType = REG_SZ;
    DWORD cbData = kRegBytes;
    if (::RegQueryValueExW(hKey, nullptr, nullptr, &dwType, reinterpret_cast<BYTE*>(szData), &cbData) !=
        ERROR_SUCCESS) {
        szData[0] = L'\0';
    }
    ::wcscpy(value, szData);
    ::RegCloseKey(hKey);
    return ERROR_SUCCESS;
}

void CHyperLink::ReportError(int code)
{
    CString strText;
    if (const LPCTSTR pszText = FindErrorText(code)) {
        strText = pszText;
    } else {
        strText.Format(L"Unknown Error (%d) occurred.", code);
    }
    ::MessageBoxW(m_hWnd, L"Unable to open hyperlink:\n\n" + strText, L"", MB_ICONINFORMATION);
}
