// OutputSize: how large the bitmap of a picture becomes.
#ifndef KORVANE_IMGDECMP_OUTPUTSIZE_H
#define KORVANE_IMGDECMP_OUTPUTSIZE_H

#include <imgdecmp.h>

// The most pixels of a picture, in its file and as a bitmap: 256 MB at 4 bytes each.
constexpr unsigned long long kMaxPixels = 1ull << 26;

struct PixelSize
{
    unsigned int width;
    unsigned int height;
};

inline bool IsWithinLimit(PixelSize size)
{
    return size.width && size.height && static_cast<unsigned long long>(size.width) * size.height <= kMaxPixels;
}

// The scale first, then the two limits; rounded to the nearest pixel, never below 1. Sizes beyond 32 bits saturate, so
// that they are seen to be out of limit. REQUIRES: iScale, iMaxWidth and iMaxHeight are 1 or more.
PixelSize OutputSize(PixelSize picture, const DecompressImageInfo& info);

#endif
