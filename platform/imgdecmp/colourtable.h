// Pictures with a colour table: which colours, and which of them each pixel becomes.
//
// Rows hold blue, green and red, a byte each, without padding.
#ifndef KORVANE_IMGDECMP_COLOURTABLE_H
#define KORVANE_IMGDECMP_COLOURTABLE_H

#include "outputsize.h"

#include <wincodec.h>

#include <vector>

struct ColourTable
{
    std::vector<RGBQUAD> colours;
    bool bExact = false; // every pixel of the picture is one of the colours
};

// The picture's own colours in the order of their appearance when there are at most `nMost`. Otherwise: black and white
// for 2, four greys for 4, and for more a table that the imaging component makes for this picture, or, should that
// fail, a regular one. REQUIRES: nMost is 2, 4, 16 or 256. Throws std::bad_alloc.
ColourTable MakeColourTable(IWICImagingFactory* pFactory, PixelSize size, const BYTE* pbPixels, unsigned int nMost);

// The index of a colour for every pixel. What an inexact table lacks is spread over the neighbouring pixels, so that
// areas keep their average colour; a table of greys gets the pixels' brightness. Throws std::bad_alloc.
std::vector<BYTE> MapToTable(const ColourTable& table, PixelSize size, const BYTE* pbPixels);

#endif
