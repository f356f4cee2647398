// CheckHeader: looks at a picture's header before the imaging component does.
//
// Several decoders allocate what the header claims, some with 32-bit arithmetic that overflows, and the one for GIF
// decodes every picture of an animation at once. So claims beyond the pixel limit are refused here, and a GIF ends
// behind its first picture.
#ifndef KORVANE_IMGDECMP_PICTUREHEADER_H
#define KORVANE_IMGDECMP_PICTUREHEADER_H

#include "inputstream.h"

enum class PictureKind
{
    refused, // damaged, or too large
    gif,
    other, // PNG, JPEG, BMP, TIFF, ICO with a sound header; or unknown here, which the component may still know
};

// Throws std::bad_alloc.
PictureKind CheckHeader(CInputStream& input);

#endif
