// What the tests of windows share: a main window, a person who answers boxes and dialogs, and a record of what came.
#ifndef KORVANE_TESTS_FRAMEWORK_WINDOW_SUPPORT_H
#define KORVANE_TESTS_FRAMEWORK_WINDOW_SUPPORT_H

#include <afxdlgs.h>
#include <afxwin.h>

#include <functional>
#include <string>
#include <vector>

// A window on the display with nothing special about it.
class CPlainWindow : public CWnd
{
public:
    explicit CPlainWindow(DWORD dwStyle = WS_POPUP | WS_VISIBLE)
    {
        CreateEx(WS_EX_TOPMOST, NULL, L"plain", dwStyle, 20, 20, 200, 160, NULL, NULL);
    }
    ~CPlainWindow() override { DestroyWindow(); }
};

// Handles everything that is posted until there is nothing left.
inline void PumpAll()
{
    MSG message;
    while (::PeekMessageW(&message, NULL, 0, 0, PM_REMOVE)) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
}

// While it lives: once a message box is active, its text is noted and it is closed with the answer.
class CBoxAnswer
{
public:
    explicit CBoxAnswer(int nAnswer = IDOK) : m_nAnswer(nAnswer)
    {
        s_pCurrent = this;
        m_hHook = ::SetWindowsHookExW(WH_CBT, Hook, NULL, ::GetCurrentThreadId());
    }
    ~CBoxAnswer()
    {
        ::UnhookWindowsHookEx(m_hHook);
        s_pCurrent = nullptr;
    }

    std::vector<CString> m_texts, m_titles;

private:
    static BOOL CALLBACK Longest(HWND hWnd, LPARAM lParam)
    {
        CString& strLongest = *reinterpret_cast<CString*>(lParam);
        CString str;
        TCHAR szClass[16] = L"";
        ::GetClassNameW(hWnd, szClass, 16);
        const int cch = ::GetWindowTextLengthW(hWnd);
        ::GetWindowTextW(hWnd, str.GetBuffer(cch), cch + 1);
        str.ReleaseBuffer();
        if (::lstrcmpiW(szClass, L"STATIC") == 0 && str.GetLength() > strLongest.GetLength()) strLongest = str;
        return TRUE;
    }
    static LRESULT CALLBACK Hook(int nCode, WPARAM wParam, LPARAM lParam)
    {
        const HWND hWnd = reinterpret_cast<HWND>(wParam);
        TCHAR szClass[16] = L"";
        // A message box is the one dialog that no object stands for.
        if (nCode == HCBT_ACTIVATE && s_pCurrent && ::GetClassNameW(hWnd, szClass, 16) &&
            ::lstrcmpW(szClass, L"#32770") == 0 && !CWnd::FromHandlePermanent(hWnd) && hWnd != s_pCurrent->m_hSeen) {
            s_pCurrent->m_hSeen = hWnd;
            CString strText, strTitle;
            ::EnumChildWindows(hWnd, Longest, reinterpret_cast<LPARAM>(&strText));
            ::GetWindowTextW(hWnd, strTitle.GetBuffer(100), 100);
            strTitle.ReleaseBuffer();
            s_pCurrent->m_texts.push_back(strText);
            s_pCurrent->m_titles.push_back(strTitle);
            ::PostMessageW(hWnd, WM_COMMAND, static_cast<WPARAM>(s_pCurrent->m_nAnswer), 0);
        }
        return ::CallNextHookEx(NULL, nCode, wParam, lParam);
    }

    static inline CBoxAnswer* s_pCurrent;
    const int m_nAnswer;
    HHOOK m_hHook;
    HWND m_hSeen = NULL;
};

#endif
