#include "person.h"

#include "support/pocket_screen.h"
#include "support/start_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr DWORD kPatience = 15000; // milliseconds
constexpr int kBoxText = 0xFFFF;   // of a message box

void Send(const INPUT& input)
{
    INPUT copy = input;
    ASSERT_EQ(1u, ::SendInput(1, &copy, sizeof(copy)));
}

void SendKey(WORD key, WORD scan, DWORD flags)
{
    INPUT input = {};
    input.type = INPUT_KEYBOARD;
    input.ki.wVk = key;
    input.ki.wScan = scan;
    input.ki.dwFlags = flags;
    Send(input);
}

void SendButton(DWORD flags)
{
    INPUT input = {};
    input.type = INPUT_MOUSE;
    input.mi.dwFlags = flags;
    Send(input);
}

} // namespace

CPerson::CPerson() : m_name(L"atlas_" + std::to_wstring(::GetCurrentProcessId()))
{
    m_program = ProgramFolder() + L"\\" + m_name + L".exe";
    ::RegDeleteKeyW(HKEY_CURRENT_USER, RegistryPath().c_str());
    EXPECT_TRUE(::CopyFileW((ProgramFolder() + L"\\atlas.exe").c_str(), m_program.c_str(), FALSE));
}

CPerson::~CPerson()
{
    if (m_process.hProcess) {
        ::TerminateProcess(m_process.hProcess, 99);
        HasEnded();
    }
    // Not before the system has let go of the program.
    WaitFor([this] { return ::DeleteFileW(m_program.c_str()) || ::GetLastError() == ERROR_FILE_NOT_FOUND; });
    ::RegDeleteKeyW(HKEY_CURRENT_USER, RegistryPath().c_str());
}

bool CPerson::Start(const std::wstring& volume)
{
    std::wstring desktop = CPocketScreen::Name();
    std::wstring line = L'"' + m_program + L"\" \"" + volume + L'"';
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.lpDesktop = &desktop[0];
    if (!::CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &m_process))
        return false;
    return WaitFor([this] {
        m_main = ::GetForegroundWindow();
        DWORD process = 0;
        ::GetWindowThreadProcessId(m_main, &process);
        return process == m_process.dwProcessId && ::IsWindowVisible(m_main);
    });
}

bool CPerson::HasEnded()
{
    DWORD code = 99;
    if (::WaitForSingleObject(m_process.hProcess, kPatience) == WAIT_OBJECT_0)
        ::GetExitCodeProcess(m_process.hProcess, &code);
    ::CloseHandle(m_process.hThread);
    ::CloseHandle(m_process.hProcess);
    m_process = {};
    return code == 0;
}

bool CPerson::WaitFor(const std::function<bool()>& predicate)
{
    for (const DWORD start = ::GetTickCount();;) {
        if (predicate()) return true;
        if (::GetTickCount() - start > kPatience) return false;
        ::Sleep(20); // another process tells nobody when its window has changed
    }
}

HWND CPerson::WaitForWindow(const std::wstring& caption)
{
    HWND found = nullptr;
    WaitFor([&] {
        found = ::GetForegroundWindow();
        DWORD process = 0;
        ::GetWindowThreadProcessId(found, &process);
        return process == m_process.dwProcessId && ::IsWindowVisible(found) && TextOf(found) == caption;
    });
    return TextOf(found) == caption ? found : nullptr;
}

bool CPerson::WaitForNoWindow(HWND window)
{
    return WaitFor([&] { return !::IsWindow(window); });
}

std::wstring CPerson::AnswerBox()
{
    const HWND box = WaitForWindow(m_name);
    if (!WaitFor([&] { return !TextOf(Item(box, kBoxText)).empty(); })) return L"no message box";
    std::wstring text = TextOf(Item(box, kBoxText));
    text.erase(std::remove(text.begin(), text.end(), L'\n'), text.end());
    RECT area = {};
    ::GetWindowRect(box, &area);
    EXPECT_TRUE(area.left >= 0 && area.right <= ::GetSystemMetrics(SM_CXSCREEN)) << "the box is wider than the screen";
    Key(VK_RETURN);
    EXPECT_TRUE(WaitForNoWindow(box));
    return text;
}

std::wstring CPerson::TextOf(HWND window)
{
    wchar_t text[2000] = L"";
    DWORD_PTR length = 0;
    ::SendMessageTimeoutW(window, WM_GETTEXT, 2000, reinterpret_cast<LPARAM>(text), SMTO_BLOCK, kPatience, &length);
    return text;
}

bool CPerson::WaitForText(int id, const std::wstring& text)
{
    return WaitFor([&] { return Text(id) == text; });
}

int CPerson::Focus() const
{
    GUITHREADINFO info = {};
    info.cbSize = sizeof(info);
    ::GetGUIThreadInfo(m_process.dwThreadId, &info);
    HWND focus = info.hwndFocus;
    if (focus && ::GetParent(focus) != m_main) focus = ::GetParent(focus);
    return focus ? ::GetDlgCtrlID(focus) : 0;
}

bool CPerson::WaitForFocus(int id)
{
    return WaitFor([&] { return Focus() == id; });
}

int CPerson::CountPixels(HWND window, const std::function<bool(COLORREF)>& isIt)
{
    RECT area = {};
    ::GetWindowRect(window, &area);
    const int width = area.right - area.left, height = area.bottom - area.top;
    const HDC screen = ::GetDC(nullptr), memory = ::CreateCompatibleDC(screen);
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), width, -height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HBITMAP bitmap = ::CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ old = ::SelectObject(memory, bitmap);
    ::BitBlt(memory, 0, 0, width, height, screen, area.left, area.top, SRCCOPY);
    ::GdiFlush();
    const auto* pixels = static_cast<const DWORD*>(bits);
    const int count = static_cast<int>(std::count_if(pixels, pixels + width * height, [&](DWORD pixel) {
        return isIt(RGB((pixel >> 16) & 0xFF, (pixel >> 8) & 0xFF, pixel & 0xFF));
    }));
    ::SelectObject(memory, old);
    ::DeleteObject(bitmap);
    ::DeleteDC(memory);
    ::ReleaseDC(nullptr, screen);
    return count;
}

void CPerson::Key(WORD key)
{
    SendKey(key, 0, 0);
    SendKey(key, 0, KEYEVENTF_KEYUP);
}

void CPerson::Type(const std::wstring& text)
{
    for (const wchar_t c : text) {
        const SHORT key = ::VkKeyScanW(c);
        if (key == -1) {
            SendKey(0, c, KEYEVENTF_UNICODE);
            SendKey(0, c, KEYEVENTF_UNICODE | KEYEVENTF_KEYUP);
            continue;
        }
        if (HIBYTE(key) & 1) SendKey(VK_SHIFT, 0, 0);
        Key(LOBYTE(key));
        if (HIBYTE(key) & 1) SendKey(VK_SHIFT, 0, KEYEVENTF_KEYUP);
    }
}

// The display tells of the pointer's old place for a while after it was moved: it has arrived when it stays.
void CPerson::Point(int x, int y)
{
    int stayed = 0;
    EXPECT_TRUE(WaitFor([&] {
        POINT now = {};
        ::GetCursorPos(&now);
        if (now.x == x && now.y == y) return ++stayed > 2;
        stayed = 0;
        ::SetCursorPos(x, y);
        return false;
    }));
}

void CPerson::Point(HWND window)
{
    RECT area = {};
    ::GetWindowRect(window, &area);
    Point((area.left + area.right) / 2, (area.top + area.bottom) / 2);
}

void CPerson::Press()
{
    SendButton(MOUSEEVENTF_LEFTDOWN);
}

void CPerson::Release()
{
    SendButton(MOUSEEVENTF_LEFTUP);
}

void CPerson::Click(HWND window)
{
    Point(window);
    Press();
    Release();
}
