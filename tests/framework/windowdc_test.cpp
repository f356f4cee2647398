// CClientDC, CWindowDC, CPaintDC.
#include "afx_print.h"
#include "gdi_support.h"
#include "support/gdi_objects.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

std::function<void(CWnd&)> g_onPaint;

// A window with a frame of its own on the display.
class CTestWindow : public CWnd
{
public:
    CTestWindow()
    {
        static const ATOM kClass = [] {
            WNDCLASSW window = {};
            window.lpfnWndProc = WindowProc;
            window.hInstance = ::GetModuleHandleW(NULL);
            window.lpszClassName = L"KorvaneWindowDcTest";
            window.hbrBackground = static_cast<HBRUSH>(::GetStockObject(WHITE_BRUSH));
            return ::RegisterClassW(&window);
        }();
        m_hWnd = ::CreateWindowExW(WS_EX_TOPMOST, MAKEINTATOM(kClass), L"", WS_POPUP | WS_BORDER | WS_VISIBLE, 40, 30,
                                   64, 48, NULL, NULL, ::GetModuleHandleW(NULL), NULL);
    }
    ~CTestWindow() override
    {
        ::DestroyWindow(m_hWnd);
        m_hWnd = NULL;
    }

private:
    static LRESULT CALLBACK WindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
    {
        if (nMessage == WM_PAINT && g_onPaint) {
            CWnd window;
            window.m_hWnd = hWnd;
            g_onPaint(window);
            window.m_hWnd = NULL; // it has only been lent
            return 0;
        }
        return ::DefWindowProcW(hWnd, nMessage, wParam, lParam);
    }
};

CWnd* NoWindow()
{
    CWnd* volatile pNone = NULL;
    return pNone;
}

// Not a window any more.
struct CGoneWindow : CWnd
{
    CGoneWindow() { m_hWnd = reinterpret_cast<HWND>(static_cast<INT_PTR>(0x7FFE)); }
    ~CGoneWindow() override { m_hWnd = NULL; }
};

} // namespace

TEST(WindowDcTest, TheClientAreaBeginsInsideTheFrame)
{
    CTestWindow window;
    ASSERT_NE(nullptr, window.m_hWnd);
    CClientDC client(&window);
    CWindowDC whole(&window);
    EXPECT_EQ(&client, CDC::FromHandle(client));
    EXPECT_EQ(window.m_hWnd, ::WindowFromDC(client));
    EXPECT_EQ(window.m_hWnd, ::WindowFromDC(whole));
    CRect area;
    ::GetClientRect(window.m_hWnd, area);
    EXPECT_EQ(CRect(0, 0, 62, 46), area);
    CPoint client0(0, 0), whole0(0, 0);
    ASSERT_TRUE(::GetDCOrgEx(client, &client0));
    ASSERT_TRUE(::GetDCOrgEx(whole, &whole0));
    EXPECT_TRUE(client0 - whole0 == CSize(1, 1));
}

TEST(WindowDcTest, WithoutAWindowItIsTheScreen)
{
    CClientDC client(NoWindow());
    CWindowDC whole(NoWindow());
    CWnd none;
    CClientDC other(&none);
    for (const CDC* pDC : {static_cast<CDC*>(&client), static_cast<CDC*>(&whole), static_cast<CDC*>(&other)}) {
        EXPECT_NE(nullptr, pDC->m_hDC);
        EXPECT_EQ(::GetSystemMetrics(SM_CXSCREEN), pDC->GetDeviceCaps(HORZRES));
    }
}

TEST(WindowDcTest, AWindowThatIsGoneThrows)
{
    CGoneWindow gone;
    EXPECT_TRUE(Throws<CResourceException>([&] { CClientDC dc(&gone); }));
    EXPECT_TRUE(Throws<CResourceException>([&] { CWindowDC dc(&gone); }));
    EXPECT_TRUE(Throws<CResourceException>([&] { CPaintDC dc(&gone); }));
    EXPECT_TRUE(Throws<CResourceException>([] { CPaintDC dc(NoWindow()); }));
}

TEST(WindowDcTest, ADetachedContextIsTheCallersToGiveBack)
{
    CTestWindow window;
    HDC hDC;
    {
        CClientDC client(&window);
        hDC = client.Detach();
    }
    EXPECT_EQ(window.m_hWnd, ::WindowFromDC(hDC));
    EXPECT_TRUE(::ReleaseDC(window.m_hWnd, hDC));
}

TEST(WindowDcTest, PaintingIsLimitedToWhatIsInvalidAndMakesItValid)
{
    CTestWindow window;
    ::UpdateWindow(window.m_hWnd);
    ::ValidateRect(window.m_hWnd, NULL);
    int nPainted = 0;
    g_onPaint = [&](CWnd& painted) {
        CPaintDC dc(&painted);
        ++nPainted;
        EXPECT_EQ(dc.m_hDC, dc.m_ps.hdc);
        EXPECT_EQ(CRect(3, 4, 10, 12), CRect(dc.m_ps.rcPaint));
        CRect box;
        dc.GetClipBox(box);
        EXPECT_EQ(CRect(3, 4, 10, 12), box);
    };
    const CRect part(3, 4, 10, 12);
    ::InvalidateRect(window.m_hWnd, part, TRUE);
    ::UpdateWindow(window.m_hWnd);
    EXPECT_EQ(1, nPainted);
    EXPECT_FALSE(::GetUpdateRect(window.m_hWnd, NULL, FALSE));
    ::UpdateWindow(window.m_hWnd);
    EXPECT_EQ(1, nPainted);
    g_onPaint = nullptr;
}

TEST(WindowDcTest, EveryContextIsGivenBack)
{
    CTestWindow window;
    g_onPaint = [](CWnd& painted) { CPaintDC dc(&painted); };
    const auto round = [&] {
        {
            CClientDC client(&window);
            CWindowDC whole(&window);
        }
        ::InvalidateRect(window.m_hWnd, NULL, TRUE);
        ::UpdateWindow(window.m_hWnd);
        CDC::DeleteTempMap();
        CGdiObject::DeleteTempMap();
    };
    round();
    const int nBefore = CountGdiObjects();
    for (int i = 0; i < 1000; ++i) round();
    EXPECT_EQ(nBefore, CountGdiObjects());
    g_onPaint = nullptr;
}
