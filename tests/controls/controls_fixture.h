// What the tests of controls share: a dialog from a template that fills the screen, a person's pointer and keyboard,
// and the answers to message boxes.
#ifndef KORVANE_TESTS_CONTROLS_CONTROLS_FIXTURE_H
#define KORVANE_TESTS_CONTROLS_CONTROLS_FIXTURE_H

#include "controls_ids.h"
#include "screen_support.h"
#include "support/import_patch.h"

#include <afxwin.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

// Modeless, and counts what it is told.
class CControlsDialog : public CDialog
{
public:
    BOOL Make(UINT nTemplate) { return Create(nTemplate); }

    int m_nCancelled = 0;
    int m_nAccepted = 0;
    std::function<void(UINT code)> m_onNotice; // of each notification of a control, before its handlers

protected:
    BOOL OnCommand(WPARAM wParam, LPARAM lParam) override
    {
        if (m_onNotice) m_onNotice(HIWORD(wParam));
        return CDialog::OnCommand(wParam, lParam);
    }
    void OnOK() override { ++m_nAccepted; }
    void OnCancel() override { ++m_nCancelled; }
};

// While it lives, every message box of this thread is read as it comes up, and answered with OK.
class CMessageBoxes
{
public:
    struct Box
    {
        std::wstring text, caption;
        HWND owner;
        HICON icon;
    };

    // before: called with the box still open.
    explicit CMessageBoxes(std::function<void()> before = nullptr);
    ~CMessageBoxes();
    CMessageBoxes(const CMessageBoxes&) = delete;
    CMessageBoxes& operator=(const CMessageBoxes&) = delete;

    const std::vector<Box>& Met() const { return m_met; }
    // The texts, with "|" between them.
    std::wstring Texts() const;
    // For people: the screen with the first box on it goes into the folder of the screens before the box is answered.
    void TakePicture(const wchar_t* name) { m_picture = name; }

private:
    static LRESULT CALLBACK Hook(int nCode, WPARAM wParam, LPARAM lParam);
    static void CALLBACK TakePictureOfBox(HWND, UINT, UINT_PTR nTimer, DWORD);
    static CMessageBoxes* s_pLiving;

    void Meet(HWND box);

    std::vector<Box> m_met;
    HWND m_hLast = nullptr;
    std::function<void()> m_before;
    std::wstring m_picture; // empty: none is wanted
    HHOOK m_hook;
};

// While it lives, the library's beeps are counted instead of heard.
class CBeeps
{
public:
    CBeeps() { Types().clear(); }
    static std::vector<UINT>& Types();

private:
    static BOOL WINAPI Count(UINT nType);
    CImportPatch m_patch{L"korvaneLib.dll", "MessageBeep", &CBeeps::Count};
};

// While it lives, the timers that controls ask for are noted. Without ticks none is started.
class CTimers
{
public:
    struct Timer
    {
        HWND window;
        UINT_PTR nID;
        UINT nPeriod;
        TIMERPROC pfnCall;
    };
    enum KIND
    {
        TICKING,
        WITHOUT_TICKS
    };

    explicit CTimers(KIND kind = TICKING);
    static std::vector<Timer>& List();

private:
    static UINT_PTR WINAPI Note(HWND window, UINT_PTR nID, UINT nPeriod, TIMERPROC pfnCall);
    static KIND s_kind;
    CImportPatch m_patch{L"korvaneafx.dll", "SetTimer", &CTimers::Note};
};

// A text on the clipboard, as another program leaves it there; the clipboard is empty afterwards.
class CClipboardText
{
public:
    explicit CClipboardText(const std::wstring& text);
    ~CClipboardText();
    CClipboardText(const CClipboardText&) = delete;
    CClipboardText& operator=(const CClipboardText&) = delete;
};

// One of the library's controls that notes which of some messages it gets, in order, such as "WM_CHAR WM_KEYUP".
template <class Control> class CNoting : public Control
{
public:
    using Control::Control;

    void Watch(std::vector<std::pair<UINT, const char*>> messages) { m_watched = std::move(messages); }
    // What has come since the last call.
    std::string Noted() { return std::exchange(m_noted, std::string()); }

protected:
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override
    {
        for (const auto& watched : m_watched) {
            if (watched.first == message) m_noted += (m_noted.empty() ? "" : " ") + std::string(watched.second);
        }
        return Control::WindowProc(message, wParam, lParam);
    }

private:
    std::vector<std::pair<UINT, const char*>> m_watched;
    std::string m_noted;
};

class CControlsFixture : public testing::Test
{
protected:
    // The dialog is at the screen's origin, visible and in the foreground, its focus on the OK button; the pointer is
    // in the lower right corner, on no control.
    void SetUp() override;
    void TearDown() override;

    HWND Item(int nID) const { return ::GetDlgItem(m_dialog, nID); }
    std::wstring TextOf(int nID) const;

    // Dispatches what is in the queue, as the framework's own loop does.
    static void Pump();
    // Pumps until the predicate holds; false if it does not within 10 seconds.
    static bool WaitFor(const std::function<bool()>& predicate);

    // The pointer, in pixels of the window's client area; returns when it has arrived and was dispatched.
    void MovePointer(HWND window, int x, int y);
    void ParkPointer();
    void PressButton();
    void ReleaseButton();
    void Click(HWND window);

    // Keys go to where the focus is. Type: characters, those of the keyboard with their keys.
    void KeyDown(UINT nKey);
    void KeyUp(UINT nKey);
    void Key(UINT nKey);
    void ShiftKey(UINT nKey);
    void ControlKey(UINT nKey);
    void Type(const wchar_t* text);
    void Focus(HWND window);

    // For people: the dialog as it is, drawn anew, or all of the screen, in the folder of the screens.
    void TakePicture(const wchar_t* name);
    static void TakeScreen(const wchar_t* name);

    CControlsDialog m_dialog;

private:
    int m_nClicks = 0; // each beside the one before, so that two are no double click
};

#endif
