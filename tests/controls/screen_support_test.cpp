// The tests' own tools: counts that see what is held, and pictures that others can read.
#include "graphics/image.h"
#include "leak_support.h"

#include "support/temp_folder.h"

namespace {

BOOL WritePixels(const std::wstring& path, int width, int height)
{
    std::vector<DWORD> pixels;
    for (int i = 0; i < width * height; ++i) pixels.push_back(static_cast<DWORD>(i) * 0x010305 & 0xFFFFFF);
    return WritePng(path, width, height, pixels);
}

} // namespace

TEST(ScreenSupportTest, CountsSeeWhatIsHeld)
{
    // The first window of a thread brings others of the system's.
    const HWND first = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    const CHoldings before = CountHoldings();
    const HMENU menu = ::CreatePopupMenu();
    const HWND parent = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 9, 9, nullptr, nullptr, nullptr, nullptr);
    const HWND child = ::CreateWindowExW(0, L"STATIC", L"", WS_CHILD, 0, 0, 9, 9, parent, nullptr, nullptr, nullptr);
    ASSERT_TRUE(child);
    const HWND silent = ::CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 9, 9, HWND_MESSAGE, nullptr, nullptr, nullptr);
    const BYTE bits[128] = {};
    const HCURSOR cursor = ::CreateCursor(nullptr, 0, 0, 32, 32, bits, bits);
    ACCEL key = {0, 'A', 7};
    const HACCEL keys = ::CreateAcceleratorTableW(&key, 1);
    const HBRUSH brush = ::CreateSolidBrush(RGB(1, 2, 3));
    void* const block = ::HeapAlloc(::GetProcessHeap(), 0, 100);

    const CHoldings during = CountHoldings();
    EXPECT_EQ(before.userObjects + 6, during.userObjects);
    EXPECT_LE(before.gdiObjects + 1, during.gdiObjects);
    EXPECT_LE(before.heapBlocks + 1, during.heapBlocks);

    ::HeapFree(::GetProcessHeap(), 0, block);
    ::DeleteObject(brush);
    ::DestroyAcceleratorTable(keys);
    ::DestroyCursor(cursor);
    ::DestroyWindow(silent);
    ::DestroyWindow(parent);
    ::DestroyMenu(menu);
    EXPECT_EQ(before.userObjects, CountHoldings().userObjects);
    ::DestroyWindow(first);
}

TEST(ScreenSupportTest, PicturesAreReadByTheSystemsDecoder)
{
    const CTempFolder folder;
    // One block of the file's stream, and several.
    for (const SIZE size : {SIZE{3, 2}, SIZE{240, 320}}) {
        const std::wstring path = folder.File(L"picture.png");
        ASSERT_TRUE(WritePixels(path, size.cx, size.cy));
        const HDC screen = ::GetDC(nullptr);
        CVOImage image;
        ASSERT_EQ(1, image.Load(screen, path.c_str()));
        const HDC memory = ::CreateCompatibleDC(screen);
        const HGDIOBJ old = ::SelectObject(memory, image.GetBitmap());
        for (const int i : {0, 1, static_cast<int>(size.cx) + 1, static_cast<int>(size.cx * size.cy) - 1}) {
            const DWORD pixel = static_cast<DWORD>(i) * 0x010305 & 0xFFFFFF;
            EXPECT_EQ(RGB(pixel >> 16 & 0xFF, pixel >> 8 & 0xFF, pixel & 0xFF),
                      ::GetPixel(memory, i % size.cx, i / size.cx))
                << i;
        }
        ::SelectObject(memory, old);
        ::DeleteDC(memory);
        ::ReleaseDC(nullptr, screen);
    }
}

TEST(ScreenSupportTest, APictureThatCannotBeWrittenIsSaidSo)
{
    EXPECT_FALSE(WritePixels(L"Z:/no/such/folder/picture.png", 1, 1));
}
