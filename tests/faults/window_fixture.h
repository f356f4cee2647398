// What the tests of the framework's and the controls' faults share: the system's calls that make things, and windows.
#ifndef KORVANE_TESTS_FAULTS_WINDOW_FIXTURE_H
#define KORVANE_TESTS_FAULTS_WINDOW_FIXTURE_H

#include "faults.h"

#include <afxext.h>
#include <afxwin.h>

constexpr long kNotMade = -1;
constexpr long kNoResource = -2; // CResourceException
constexpr long kNoMemory = -3;   // CMemoryException

// The calls by which the framework makes objects of the system's, and loads resources.
class CFailingSystem
{
public:
    explicit CFailingSystem(DWORD dwError)
        : m_pen(kFramework, "CreatePen", nullptr, dwError), m_brush(kFramework, "CreateSolidBrush", nullptr, dwError),
          m_font(kFramework, "CreateFontIndirectW", nullptr, dwError),
          m_bitmap(kFramework, "CreateBitmap", nullptr, dwError),
          m_compatible(kFramework, "CreateCompatibleBitmap", nullptr, dwError),
          m_context(kFramework, "CreateCompatibleDC", nullptr, dwError),
          m_region(kFramework, "CreateRectRgn", nullptr, dwError),
          m_stock(kFramework, "GetStockObject", nullptr, dwError),
          m_select(kFramework, "SelectObject", nullptr, dwError), m_getDc(kFramework, "GetDC", nullptr, dwError),
          m_windowDc(kFramework, "GetWindowDC", nullptr, dwError), m_paint(kFramework, "BeginPaint", nullptr, dwError),
          m_window(kFramework, "CreateWindowExW", nullptr, dwError),
          m_dialog(kFramework, "CreateDialogIndirectParamW", nullptr, dwError),
          m_hook(kFramework, "SetWindowsHookExW", nullptr, dwError), m_class(kFramework, "RegisterClassW", 0, dwError),
          m_find(kFramework, "FindResourceW", nullptr, dwError), m_load(kFramework, "LoadResource", nullptr, dwError),
          m_lock(kFramework, "LockResource", nullptr, dwError), m_sizeOf(kFramework, "SizeofResource", 0, dwError),
          m_timer(kFramework, "SetTimer", 0, dwError), m_cursor(kFramework, "LoadCursorW", nullptr, dwError),
          m_text(kFramework, "GetWindowTextW", 0, dwError), m_object(kFramework, "GetObjectW", 0, dwError),
          m_menu(kFramework, "LoadMenuW", nullptr, dwError)
    {
    }

private:
    const CFailing<&::CreatePen> m_pen;
    const CFailing<&::CreateSolidBrush> m_brush;
    const CFailing<&::CreateFontIndirectW> m_font;
    const CFailing<&::CreateBitmap> m_bitmap;
    const CFailing<&::CreateCompatibleBitmap> m_compatible;
    const CFailing<&::CreateCompatibleDC> m_context;
    const CFailing<&::CreateRectRgn> m_region;
    const CFailing<&::GetStockObject> m_stock;
    const CFailing<&::SelectObject> m_select;
    const CFailing<&::GetDC> m_getDc;
    const CFailing<&::GetWindowDC> m_windowDc;
    const CFailing<&::BeginPaint> m_paint;
    const CFailing<&::CreateWindowExW> m_window;
    const CFailing<&::CreateDialogIndirectParamW> m_dialog;
    const CFailing<&::SetWindowsHookExW> m_hook;
    const CFailing<&::RegisterClassW> m_class;
    const CFailing<&::FindResourceW> m_find;
    const CFailing<&::LoadResource> m_load;
    const CFailing<&::LockResource> m_lock;
    const CFailing<&::SizeofResource> m_sizeOf;
    const CFailing<&::SetTimer> m_timer;
    const CFailing<&::LoadCursorW> m_cursor;
    const CFailing<&::GetWindowTextW> m_text;
    const CFailing<&::GetObjectW> m_object;
    const CFailing<&::LoadMenuW> m_menu;
};

class WindowFaultTest : public CFaultTest
{
protected:
    static BOOL CALLBACK CountOne(HWND, LPARAM lParam)
    {
        ++*reinterpret_cast<int*>(lParam);
        return TRUE;
    }
    static BOOL CALLBACK CountWithChildren(HWND hWnd, LPARAM lParam)
    {
        ::EnumChildWindows(hWnd, CountOne, lParam);
        return CountOne(hWnd, lParam);
    }
    // The windows of this thread.
    static int CountWindows()
    {
        int n = 0;
        ::EnumThreadWindows(::GetCurrentThreadId(), CountWithChildren, reinterpret_cast<LPARAM>(&n));
        return n;
    }
    // Does it, and what a program does when it is idle. No window may be left.
    template <class Call> static long Do(Call call)
    {
        const int nBefore = CountWindows();
        long lResult;
        try {
            lResult = call();
        } catch (CResourceException* pException) {
            pException->Delete();
            lResult = kNoResource;
        } catch (CMemoryException*) {
            Idle();
            EXPECT_EQ(nBefore, CountWindows());
            throw;
        }
        Idle();
        EXPECT_EQ(nBefore, CountWindows());
        return lResult;
    }
    static void Idle()
    {
        MSG message;
        while (::PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) ::DispatchMessageW(&message);
        CWnd::DeleteTempMap();
        CDC::DeleteTempMap();
        CGdiObject::DeleteTempMap();
    }
    // Both kinds of faults, one after the other. What is reported is a negative result or an exception of memory.
    template <class Call> static void FailBoth(const char* pszName, Call call)
    {
        FailEachAllocation(pszName, [&] { return Do(call); });
        const CFailingSystem system(ERROR_NOT_ENOUGH_MEMORY);
        FailEachCall(
            pszName,
            [&] {
                try {
                    return Do(call);
                } catch (CMemoryException*) {
                    return kNoMemory; // the hook by which a window gets its object
                }
            },
            [](const char* pszFunction, int, long lResult) {
                EXPECT_EQ(lResult == kNoMemory, IsOneOf(pszFunction, {"SetWindowsHookExW"}));
                // Without what is to be made there is nothing to go on with.
                if (IsOneOf(pszFunction, {"CreateWindowExW", "CreateDialogIndirectParamW", "LoadResource",
                                          "LockResource", "SizeofResource"})) {
                    EXPECT_LT(lResult, 0);
                }
            });
    }
};

#endif
