// CVOImage: a picture of any format that the platform decodes, as a bitmap to draw and to copy.
//
// Ownership  the image owns its bitmap: the destructor deletes it. Copies share the bitmap, and each one's destructor
//            deletes it: keep only one of them alive beyond its use. The bitmaps that Copy and CreateBitmap make are
//            the caller's (DeleteObject).
// Threads    the user interface's only: g_hdc and g_bStretchBlt are shared without a lock.
// Errors     only return values; the last error is as the system leaves it. A file or resource that could be opened but
//            not decoded is not reported: Load and SetBitmap return 1 and IsLoaded is false, with width and height 0.
//
//     CVOImage image;
//     if (!image.Load(dc, L"\\My Documents\\map.png") || !image.IsLoaded()) return;
//     image.Draw(dc, 10, 10, -1, -1);     // in its own size
//     image.Draw(dc, 10, 80, 32, 32);     // stretched
#ifndef KORVANE_GRAPHICS_IMAGE_H
#define KORVANE_GRAPHICS_IMAGE_H

#include "base/api.h"

#include <windows.h>

struct IImageRender;

class KORVANE_API CVOImage
{
public:
    // For all images; set before loading. A picture is scaled first and then shrunk, in its proportions, to the limits.
    static int g_iScale;     // percent, 1 or more; 100 at first
    static int g_iMaxWidth;  // pixels, 1 or more; 10000 at first
    static int g_iMaxHeight; // pixels, 1 or more; 10000 at first
    // A memory context that every image uses; null until the first load, which makes it. Never released.
    static HDC g_hdc;
    // Whether the last Draw stretched.
    static int g_bStretchBlt;

    CVOImage() = default;
    CVOImage(const CVOImage&) = default;
    CVOImage& operator=(const CVOImage&) = default; // the bitmap held before is not deleted
    virtual ~CVOImage();

    // Decodes the file `path` to the depth of hdc. The bitmap held before is deleted first. Returns 1 when the file
    // could be opened. Otherwise 0, and the image still has the handle of the deleted bitmap: load again or forget the
    // image.
    int Load(HDC hdc, const TCHAR* path);
    // Decodes a resource of `module` to the depth of hdc; resourceType such as RT_RCDATA or a name. Returns 1 when the
    // resource was found; otherwise 0, and the image is as it was. The bitmap held before is not deleted: that is up to
    // the caller, who can have it from GetBitmap.
    int SetBitmap(HDC hdc, unsigned long resourceId, const TCHAR* resourceType, HINSTANCE module);

    // Draws the image at (x, y): with cx and cy -1 in its own size, else stretched to cx by cy. A single -1 is a size
    // like any other: one pixel, mirrored. Always returns 1. An image without a bitmap draws nothing, nor does a size
    // of INT_MIN.
    int Draw(HDC hdc, int x, int y, int cx, int cy);

    // A new bitmap with the image in its own size; null without an image or when memory is out. The image stays
    // selected into g_hdc until another one is copied; until then it does not fit into any other context, and its
    // memory stays.
    HBITMAP Copy();
    // A new bitmap of cx by cy pixels with the image stretched to it; null as above, and for a size of 0 or above
    // INT_MAX.
    HBITMAP CreateBitmap(unsigned int cx, unsigned int cy);

    // The header for the bitmap's bits, rows of a multiple of 4 bytes, with room for the colour table, which is zero:
    // 2, 16, 256 or 65536 entries at 1, 4, 8 or 16 bits, none at 24 and 32. Null without a bitmap. Free it with
    // LocalFree.
    BITMAPINFO* GetBitmapInfoStruct();

    unsigned int GetWidth() const { return m_nWidth; }   // pixels
    unsigned int GetHeight() const { return m_nHeight; } // pixels
    HBITMAP GetBitmap() const { return m_hBitmap; }      // stays the image's
    operator HBITMAP() const { return m_hBitmap; }
    bool IsLoaded() const { return m_hBitmap != nullptr; }

    // What the decoder calls. The first two store the next bytes, `size` at most, and return how many: 0 at the end, or
    // without a source. param: a file's handle; a CVOResource, whose user data is the read position. The third does
    // nothing.
    static unsigned long CALLBACK GetImageData(char* buffer, unsigned long size, long param);
    static unsigned long CALLBACK GetImageResourceData(char* buffer, unsigned long size, long param);
    static void CALLBACK ImageProgress(IImageRender* render, int complete, long param);

private:
    using GetDataFunction = unsigned long(CALLBACK*)(char* buffer, unsigned long size, long param);
    void Decode(HDC hdc, GetDataFunction getData, long param);

    unsigned int m_nHeight = 0;  // pixels
    unsigned int m_nWidth = 0;   // pixels
    HBITMAP m_hBitmap = nullptr; // owned, see above
};

#endif
