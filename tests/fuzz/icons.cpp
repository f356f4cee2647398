// Icon files: read, and every image of it made into a bitmap, a mask and an icon.
#include "target.h"

#include "graphics/icon.h"

void fuzz::icons(const uint8_t* data, size_t size)
{
    CIconLoader loader;
    if (!loader.ReadIconFromICOFile(PutFile(data, size))) {
        FUZZ_EXPECT(!loader.IsValid() && loader.GetIconsCount() == 0);
        return;
    }
    const CIconLoader copy(loader);
    const unsigned int nCount = loader.GetIconsCount();
    for (unsigned int i = 0; i <= nCount && i < 40; ++i) {
        SIZE extent;
        loader.GetSize(i, extent);
        // Bitmaps beyond a megapixel cost time and show nothing more.
        if (extent.cx > 1024 || extent.cy > 1024) continue;
        if (HBITMAP hBitmap = loader.MakeBitmapFromResource(i)) ::DeleteObject(hBitmap);
        if (HBITMAP hMask = loader.MakeMaskBitmapFromResource(i)) ::DeleteObject(hMask);
        if (HICON hIcon = loader.MakeIconFromResource(i)) ::DestroyIcon(hIcon);
    }
}
