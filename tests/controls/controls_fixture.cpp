#include "controls_fixture.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr DWORD kPatience = 10000; // milliseconds

void SendKey(WORD nKey, WORD nScan, DWORD dwFlags)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = nKey;
    input.ki.wScan = nScan;
    input.ki.dwFlags = dwFlags;
    ASSERT_EQ(1u, ::SendInput(1, &input, sizeof(input)));
}

void SendButton(DWORD dwFlags)
{
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = dwFlags;
    ASSERT_EQ(1u, ::SendInput(1, &input, sizeof(input)));
}

} // namespace

CMessageBoxes* CMessageBoxes::s_pLiving;

CMessageBoxes::CMessageBoxes(std::function<void()> before)
    : m_before(std::move(before)), m_hook(::SetWindowsHookExW(WH_CBT, Hook, nullptr, ::GetCurrentThreadId()))
{
    s_pLiving = this;
}

CMessageBoxes::~CMessageBoxes()
{
    s_pLiving = nullptr;
    ::UnhookWindowsHookEx(m_hook);
}

LRESULT CALLBACK CMessageBoxes::Hook(int nCode, WPARAM wParam, LPARAM lParam)
{
    const HWND window = reinterpret_cast<HWND>(wParam);
    if (nCode == HCBT_ACTIVATE && s_pLiving && window != s_pLiving->m_hLast && ::GetDlgItem(window, 0xFFFF)) {
        s_pLiving->Meet(window);
    }
    return ::CallNextHookEx(nullptr, nCode, wParam, lParam);
}

void CMessageBoxes::Meet(HWND box)
{
    m_hLast = box;
    Box met;
    std::vector<wchar_t> text(2000);
    ::GetDlgItemTextW(box, 0xFFFF, text.data(), static_cast<int>(text.size()));
    met.text = text.data();
    ::GetWindowTextW(box, text.data(), static_cast<int>(text.size()));
    met.caption = text.data();
    met.owner = ::GetWindow(box, GW_OWNER);
    met.icon = nullptr;
    for (HWND child = ::GetWindow(box, GW_CHILD); child; child = ::GetWindow(child, GW_HWNDNEXT)) {
        if (const LRESULT icon = ::SendMessageW(child, STM_GETICON, 0, 0)) met.icon = reinterpret_cast<HICON>(icon);
    }
    m_met.push_back(met);
    if (m_picture.empty() || !::SetTimer(nullptr, 0, 50, TakePictureOfBox)) ::PostMessageW(box, WM_COMMAND, IDOK, 0);
    if (m_before) std::exchange(m_before, nullptr)();
}

// A tick comes when nothing is left to be painted.
void CALLBACK CMessageBoxes::TakePictureOfBox(HWND, UINT, UINT_PTR nTimer, DWORD)
{
    ::KillTimer(nullptr, nTimer);
    if (!s_pLiving) return;
    EXPECT_TRUE(CPixels(nullptr).Save(std::exchange(s_pLiving->m_picture, std::wstring())));
    ::PostMessageW(s_pLiving->m_hLast, WM_COMMAND, IDOK, 0);
}

std::wstring CMessageBoxes::Texts() const
{
    std::wstring texts;
    for (const Box& box : m_met) texts += (texts.empty() ? L"" : L"|") + box.text;
    return texts;
}

CClipboardText::CClipboardText(const std::wstring& text)
{
    EXPECT_TRUE(::OpenClipboard(nullptr));
    ::EmptyClipboard();
    const size_t size = (text.size() + 1) * sizeof(wchar_t);
    const HGLOBAL block = ::GlobalAlloc(GMEM_MOVEABLE, size);
    std::memcpy(::GlobalLock(block), text.c_str(), size);
    ::GlobalUnlock(block);
    EXPECT_TRUE(::SetClipboardData(CF_UNICODETEXT, block)); // the clipboard's from now on
    ::CloseClipboard();
}

CClipboardText::~CClipboardText()
{
    if (!::OpenClipboard(nullptr)) return;
    ::EmptyClipboard();
    ::CloseClipboard();
}

std::vector<UINT>& CBeeps::Types()
{
    static std::vector<UINT> types;
    return types;
}

BOOL WINAPI CBeeps::Count(UINT nType)
{
    Types().push_back(nType);
    return TRUE;
}

CTimers::KIND CTimers::s_kind;

CTimers::CTimers(KIND kind)
{
    s_kind = kind;
    List().clear();
}

std::vector<CTimers::Timer>& CTimers::List()
{
    static std::vector<Timer> list;
    return list;
}

UINT_PTR WINAPI CTimers::Note(HWND window, UINT_PTR nID, UINT nPeriod, TIMERPROC pfnCall)
{
    List().push_back({window, nID, nPeriod, pfnCall});
    return s_kind == TICKING ? ::SetTimer(window, nID, nPeriod, pfnCall) : nID;
}

void CControlsFixture::SetUp()
{
    ASSERT_TRUE(m_dialog.Make(IDD_CONTROLS));
    ::SetWindowPos(m_dialog, HWND_TOP, 0, 0, 240, 320, SWP_SHOWWINDOW);
    ::SetForegroundWindow(m_dialog);
    Focus(Item(IDOK));
    ParkPointer();
    ASSERT_EQ(Item(IDOK), ::GetFocus());
}

void CControlsFixture::TearDown()
{
    if (m_dialog.m_hWnd) m_dialog.DestroyWindow();
    Pump();
}

std::wstring CControlsFixture::TextOf(int nID) const
{
    std::wstring text(static_cast<size_t>(::GetWindowTextLengthW(Item(nID))) + 1, L'\0');
    text.resize(static_cast<size_t>(::GetWindowTextW(Item(nID), &text[0], static_cast<int>(text.size()))));
    return text;
}

void CControlsFixture::Pump()
{
    MSG message;
    while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        if (CWnd::WalkPreTranslateTree(nullptr, &message)) continue;
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
}

bool CControlsFixture::WaitFor(const std::function<bool()>& predicate)
{
    const DWORD dwStart = ::GetTickCount();
    for (;;) {
        Pump();
        if (predicate()) return true;
        if (::GetTickCount() - dwStart > kPatience) return false;
        ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 20, QS_ALLINPUT);
    }
}

// The display tells of the pointer's old place for a while after it was moved: it has arrived when it stays.
void CControlsFixture::MovePointer(HWND window, int x, int y)
{
    POINT target = {x, y};
    ::ClientToScreen(window, &target);
    POINT now = {};
    int nStayed = 0;
    ASSERT_TRUE(WaitFor([&] {
        ::GetCursorPos(&now);
        if (now.x == target.x && now.y == target.y) return ++nStayed > 2;
        nStayed = 0;
        ::SetCursorPos(target.x, target.y);
        return false;
    })) << "the pointer is at "
        << now.x << ',' << now.y << " instead of " << target.x << ',' << target.y;
}

void CControlsFixture::ParkPointer()
{
    MovePointer(m_dialog, 238, 318);
}

void CControlsFixture::PressButton()
{
    SendButton(MOUSEEVENTF_LEFTDOWN);
    Pump();
}

void CControlsFixture::ReleaseButton()
{
    SendButton(MOUSEEVENTF_LEFTUP);
    Pump();
}

void CControlsFixture::Click(HWND window)
{
    MovePointer(window, 2 + 8 * (m_nClicks++ % 2), 2);
    PressButton();
    ReleaseButton();
}

void CControlsFixture::KeyDown(UINT nKey)
{
    SendKey(static_cast<WORD>(nKey), 0, 0);
    Pump();
}

void CControlsFixture::KeyUp(UINT nKey)
{
    SendKey(static_cast<WORD>(nKey), 0, KEYEVENTF_KEYUP);
    Pump();
}

void CControlsFixture::Key(UINT nKey)
{
    KeyDown(nKey);
    KeyUp(nKey);
}

void CControlsFixture::ShiftKey(UINT nKey)
{
    KeyDown(VK_SHIFT);
    Key(nKey);
    KeyUp(VK_SHIFT);
}

void CControlsFixture::ControlKey(UINT nKey)
{
    KeyDown(VK_CONTROL);
    Key(nKey);
    KeyUp(VK_CONTROL);
}

void CControlsFixture::Type(const wchar_t* text)
{
    for (; *text; ++text) {
        const SHORT key = ::VkKeyScanW(*text);
        if (key == -1) {
            SendKey(0, static_cast<WORD>(*text), KEYEVENTF_UNICODE);
            SendKey(0, static_cast<WORD>(*text), KEYEVENTF_UNICODE | KEYEVENTF_KEYUP);
            Pump();
        } else if (HIBYTE(key) & 1) {
            ShiftKey(LOBYTE(key));
        } else {
            Key(LOBYTE(key));
        }
    }
}

void CControlsFixture::Focus(HWND window)
{
    ::SetFocus(window);
    Pump();
}

void CControlsFixture::TakePicture(const wchar_t* name)
{
    ::RedrawWindow(m_dialog, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    EXPECT_TRUE(CPixels(m_dialog).Save(name));
}

void CControlsFixture::TakeScreen(const wchar_t* name)
{
    EXPECT_TRUE(CPixels(nullptr).Save(name));
}
