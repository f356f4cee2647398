#include "outputsize.h"

#include <algorithm>

namespace {

// value * numerator / denominator, rounded, at least 1. None of the three is above 32 bits, so nothing overflows.
unsigned long long Ratio(unsigned long long value, unsigned long long numerator, unsigned long long denominator)
{
    return std::max((value * numerator + denominator / 2) / denominator, 1ull);
}

} // namespace

PixelSize OutputSize(PixelSize picture, const DecompressImageInfo& info)
{
    unsigned long long width = Ratio(picture.width, info.iScale, 100);
    unsigned long long height = Ratio(picture.height, info.iScale, 100);
    const unsigned long long maxWidth = info.iMaxWidth;
    const unsigned long long maxHeight = info.iMaxHeight;
    if (width > maxWidth || height > maxHeight) {
        // Proportions are the file's: those of the scaled size are rounded already.
        if (picture.width * maxHeight >= picture.height * maxWidth) {
            width = maxWidth;
            height = std::min(Ratio(picture.height, maxWidth, picture.width), maxHeight);
        } else {
            width = std::min(Ratio(picture.width, maxHeight, picture.height), maxWidth);
            height = maxHeight;
        }
    }
    constexpr unsigned long long kMost = 0xFFFFFFFF;
    return {static_cast<unsigned int>(std::min(width, kMost)), static_cast<unsigned int>(std::min(height, kMost))};
}
