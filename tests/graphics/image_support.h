// What the tests of images share: pictures with what they decode to, and a look at a bitmap's pixels.
#ifndef KORVANE_TESTS_GRAPHICS_IMAGE_SUPPORT_H
#define KORVANE_TESTS_GRAPHICS_IMAGE_SUPPORT_H

#include <windows.h>

#include <string>
#include <vector>

using Bytes = std::vector<BYTE>;

constexpr int kPhotoWidth = 97;
constexpr int kPhotoHeight = 61;

// The path of a picture.
std::wstring PicturePath(const wchar_t* name);
// The bytes of a file; a test fails when it cannot be read.
Bytes FileBytes(const std::wstring& path);
void WriteFileBytes(const std::wstring& path, const Bytes& bytes);
// What a picture decodes to: rows from the top; blue, green, red.
Bytes ReferencePixels(const wchar_t* name);
// A bitmap's pixels, in the same form.
Bytes PixelsOf(HBITMAP bitmap);
// The largest difference of a channel; 256 when the sizes differ.
int LargestDifference(const Bytes& left, const Bytes& right);

// A bitmap of `bits` bits a pixel, its bits zero: black, or the colour table's first.
HBITMAP MakeSection(int width, int height, int bits);

// A memory context with a bitmap of its own, 24 bits a pixel and white.
class CPaper
{
public:
    CPaper(int width, int height);
    ~CPaper();
    CPaper(const CPaper&) = delete;
    CPaper& operator=(const CPaper&) = delete;

    HDC Dc() const { return m_hdc; }
    Bytes Pixels() const;

private:
    HDC m_hdc;
    HBITMAP m_bitmap;
    HGDIOBJ m_old;
};

#endif
