// The framework's drawing objects and windows: each allocation and each call that makes something of the system's fails in
// turn. A Create says FALSE, a constructor throws CResourceException, memory is CMemoryException; nothing is left.
#include "controls_ids.h"
#include "window_fixture.h"

#include <cstring>
#include <string>

namespace {

class FrameworkFaultTest : public WindowFaultTest
{
protected:
    // An operation whose every failing call has this result.
    template <class Call> static void FailEach(const char* pszName, long lExpected, Call call)
    {
        FailEachAllocation(
            pszName, [&] { return Do(call); }, EAfterwards::kNothingLeft,
            [](EOutcome outcome, long) { EXPECT_EQ(EOutcome::kMemory, outcome); });
        const CFailingSystem system(ERROR_NOT_ENOUGH_MEMORY);
        FailEachCall(
            pszName, [&] { return Do(call); }, [=](const char*, int, long lResult) { EXPECT_EQ(lExpected, lResult); });
    }
};

HHOOK WINAPI NoHook(int, HOOKPROC, HINSTANCE, DWORD)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

long Made(BOOL bMade)
{
    return bMade ? 0 : kNotMade;
}

// Draws what the framework draws.
class CDrawnWindow : public CWnd
{
public:
    int m_nDrawn = 0;

protected:
    afx_msg void OnPaint()
    {
        CPaintDC dc(this);
        CPen pen(PS_SOLID, 1, RGB(1, 2, 3));
        CBrush brush(RGB(4, 5, 6));
        CPen* const pOldPen = dc.SelectObject(&pen);
        CBrush* const pOldBrush = dc.SelectObject(&brush);
        CRect rect;
        GetClientRect(&rect);
        dc.Rectangle(rect);
        CString text;
        GetWindowText(text);
        dc.DrawText(text, &rect, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
        dc.FillSolidRect(rect, RGB(7, 8, 9));
        if (pOldBrush) dc.SelectObject(pOldBrush);
        if (pOldPen) dc.SelectObject(pOldPen);
        ++m_nDrawn;
    }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CDrawnWindow, CWnd)
ON_WM_PAINT()
END_MESSAGE_MAP()

// Ends as soon as it is there.
class CShortDialog : public CDialog
{
public:
    CShortDialog() : CDialog(IDD_CONTROLS) {}

protected:
    BOOL OnInitDialog() override
    {
        CDialog::OnInitDialog();
        CString text;
        GetDlgItem(IDC_LINK)->GetWindowText(text);
        EndDialog(text == L"Link" ? IDOK : IDABORT);
        return TRUE;
    }
};

} // namespace

TEST_F(FrameworkFaultTest, AnObjectThatCannotBeMadeIsFalseAndLeavesNothing)
{
    FailEach("CreatePen", kNotMade, [] {
        CPen pen;
        return Made(pen.CreatePen(PS_SOLID, 1, RGB(1, 2, 3)));
    });
    FailEach("CreateSolidBrush", kNotMade, [] {
        CBrush brush;
        return Made(brush.CreateSolidBrush(RGB(1, 2, 3)));
    });
    FailEach("CreateFont", kNotMade, [] {
        CFont font;
        return Made(font.CreateFont(12, 0, 0, 0, FW_NORMAL, 0, 0, 0, 0, 0, 0, 0, 0, L"Tahoma"));
    });
    FailEach("CreateBitmap", kNotMade, [] {
        CBitmap bitmap;
        return Made(bitmap.CreateBitmap(8, 8, 1, 1, nullptr));
    });
    FailEach("CreateRectRgn", kNotMade, [] {
        CRgn region;
        return Made(region.CreateRectRgn(1, 2, 3, 4));
    });
    FailEach("CreateCompatibleDC", kNotMade, [] {
        CDC dc;
        return Made(dc.CreateCompatibleDC(nullptr));
    });
    FailEachAllocation("CreatePopupMenu", [] {
        CMenu menu;
        return Made(menu.CreatePopupMenu());
    });
}

TEST_F(FrameworkFaultTest, AConstructorThatCannotMakeItsObjectThrows)
{
    FailEach("CPen", kNoResource, [] {
        const CPen pen(PS_SOLID, 1, RGB(1, 2, 3));
        return 0L;
    });
    FailEach("CBrush", kNoResource, [] {
        const CBrush brush(RGB(1, 2, 3));
        return 0L;
    });
    FailEach("CClientDC", kNoResource, [] {
        const CClientDC dc(nullptr);
        return 0L;
    });
    FailEach("CWindowDC", kNoResource, [] {
        const CWindowDC dc(nullptr);
        return 0L;
    });
}

TEST_F(FrameworkFaultTest, DrawingIntoMemoryLeavesNothing)
{
    FailBoth("draw into memory", [] {
        CDC dc;
        CBitmap bitmap;
        CFont font;
        if (!dc.CreateCompatibleDC(nullptr) || !bitmap.CreateCompatibleBitmap(&dc, 20, 20) ||
            !font.CreateFont(12, 0, 0, 0, FW_NORMAL, 0, 0, 0, 0, 0, 0, 0, 0, L"Tahoma"))
            return kNotMade;
        const HGDIOBJ hOldBitmap = ::GetCurrentObject(dc, OBJ_BITMAP), hOldFont = ::GetCurrentObject(dc, OBJ_FONT);
        long lResult = 0;
        const auto restore = [&] {
            ::SelectObject(dc, hOldFont);
            ::SelectObject(dc, hOldBitmap);
        };
        try {
            if (!dc.SelectObject(&bitmap) || !dc.SelectObject(&font)) lResult = kNotMade;
            CRect rect(0, 0, 20, 20);
            dc.FillSolidRect(rect, RGB(1, 2, 3));
            dc.Draw3dRect(rect, RGB(1, 2, 3), RGB(3, 4, 5));
            dc.SelectStockObject(NULL_BRUSH);
            dc.DrawText(L"a text", &rect, DT_LEFT);
        } catch (...) {
            restore();
            throw;
        }
        restore();
        return lResult;
    });
}

TEST_F(FrameworkFaultTest, AWindowThatCannotBeMadeOrDrawnLeavesNothing)
{
    FailBoth("a window", [] {
        CDrawnWindow window;
        if (!window.CreateEx(WS_EX_TOPMOST, nullptr, L"a title", WS_POPUP | WS_VISIBLE, 20, 20, 100, 80, nullptr,
                             nullptr)) {
            EXPECT_EQ(nullptr, window.m_hWnd);
            return kNotMade;
        }
        window.RedrawWindow(nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
        const bool bDrawn = window.m_nDrawn > 0;
        window.DestroyWindow();
        return Made(bDrawn);
    });
}

TEST_F(FrameworkFaultTest, ADialogThatCannotBeMadeLeavesNothing)
{
    FailBoth("a dialog", [] {
        CDialog dialog;
        if (!dialog.Create(IDD_CONTROLS)) {
            EXPECT_EQ(nullptr, dialog.m_hWnd);
            return kNotMade;
        }
        CString text;
        if (CWnd* const pItem = dialog.GetDlgItem(IDC_LINK)) pItem->GetWindowText(text);
        const BOOL bSet = dialog.GetDlgItem(IDC_NUMBER) != nullptr && text == L"Link";
        dialog.DestroyWindow();
        return Made(bSet);
    });
    FailBoth("a modal dialog", [] {
        CShortDialog dialog;
        const int nResult = dialog.DoModal();
        EXPECT_TRUE(nResult == IDOK || nResult == -1 || nResult == IDABORT) << nResult;
        EXPECT_EQ(nullptr, dialog.m_hWnd);
        return Made(nResult == IDOK);
    });
}

TEST_F(FrameworkFaultTest, AModalDialogThatMemoryIsOutForIsNotModalAfterwards)
{
    // The template as a block of the host's, which is locked while the dialog is there.
    const HRSRC hResource = ::FindResourceW(nullptr, MAKEINTRESOURCEW(IDD_CONTROLS), RT_DIALOG);
    const DWORD cb = ::SizeofResource(nullptr, hResource);
    const HGLOBAL hTemplate = ::GlobalAlloc(GMEM_MOVEABLE, cb);
    ASSERT_NE(nullptr, hTemplate);
    std::memcpy(::GlobalLock(hTemplate), ::LockResource(::LoadResource(nullptr, hResource)), cb);
    ::GlobalUnlock(hTemplate);
    CDialog dialog;
    dialog.InitModalIndirect(hTemplate);
    int nThrown = 0;
    {
        const CImportPatch noHook(kFramework, "SetWindowsHookExW", &NoHook);
        try {
            dialog.DoModal();
        } catch (CMemoryException*) {
            ++nThrown;
        }
    }
    EXPECT_EQ(1, nThrown);
    EXPECT_EQ(0u, ::GlobalFlags(hTemplate) & GMEM_LOCKCOUNT);
    // As a dialog that is not modal, which EndDialog hides.
    EXPECT_TRUE(dialog.CreateIndirect(hTemplate));
    dialog.ShowWindow(SW_SHOW);
    dialog.EndDialog(IDOK);
    EXPECT_FALSE(dialog.IsWindowVisible());
    dialog.DestroyWindow();
    EXPECT_EQ(0u, ::GlobalFlags(hTemplate) & GMEM_LOCKCOUNT);
    ::GlobalFree(hTemplate);
}
