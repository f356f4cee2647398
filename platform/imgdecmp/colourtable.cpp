#include "colourtable.h"

#include "comref.h"

#include <algorithm>
#include <unordered_map>

namespace {

unsigned int Key(const BYTE* pb)
{
    return pb[0] | pb[1] << 8 | pb[2] << 16;
}

unsigned int Key(const RGBQUAD& colour)
{
    return colour.rgbBlue | colour.rgbGreen << 8 | colour.rgbRed << 16;
}

RGBQUAD Grey(unsigned int level)
{
    const BYTE value = static_cast<BYTE>(level);
    return {value, value, value, 0};
}

bool CollectColours(PixelSize size, const BYTE* pbPixels, unsigned int nMost, std::vector<RGBQUAD>& colours)
{
    std::unordered_map<unsigned int, bool> known;
    unsigned int last = 0xFFFFFFFF; // no pixel's key; most pixels equal their neighbour
    for (const BYTE* const pbEnd = pbPixels + 3 * size.width * size.height; pbPixels < pbEnd; pbPixels += 3) {
        const unsigned int key = Key(pbPixels);
        if (key == last || !known.emplace(last = key, true).second) continue;
        if (colours.size() == nMost) return false;
        colours.push_back({pbPixels[0], pbPixels[1], pbPixels[2], 0});
    }
    return true;
}

bool MakeOptimised(IWICImagingFactory* pFactory, PixelSize size, const BYTE* pbPixels, unsigned int nMost,
                   std::vector<RGBQUAD>& colours)
{
    CComRef<IWICBitmap> bitmap;
    CComRef<IWICPalette> palette;
    std::vector<WICColor> found(nMost);
    UINT nFound = 0;
    if (FAILED(pFactory->CreateBitmapFromMemory(size.width, size.height, GUID_WICPixelFormat24bppBGR, 3 * size.width,
                                                3 * size.width * size.height, const_cast<BYTE*>(pbPixels),
                                                bitmap.Receive())) ||
        FAILED(pFactory->CreatePalette(palette.Receive())) ||
        FAILED(palette->InitializeFromBitmap(bitmap.Get(), nMost, FALSE)) ||
        FAILED(palette->GetColors(nMost, found.data(), &nFound)) || nFound < 2)
        return false;
    for (UINT i = 0; i < nFound; ++i) {
        colours.push_back(
            {static_cast<BYTE>(found[i]), static_cast<BYTE>(found[i] >> 8), static_cast<BYTE>(found[i] >> 16), 0});
    }
    return true;
}

// 3 bits of red, 3 of green and 2 of blue; or 1, 2 and 1.
std::vector<RGBQUAD> Regular(unsigned int nMost)
{
    const unsigned int nBlue = nMost == 256 ? 4 : 2, nGreen = nMost == 256 ? 8 : 4, nRed = nMost / (nBlue * nGreen);
    std::vector<RGBQUAD> colours;
    for (unsigned int i = 0; i < nMost; ++i) {
        colours.push_back({static_cast<BYTE>(i % nBlue * 255 / (nBlue - 1)),
                           static_cast<BYTE>(i / nBlue % nGreen * 255 / (nGreen - 1)),
                           static_cast<BYTE>(i / nBlue / nGreen * 255 / (nRed - 1)), 0});
    }
    return colours;
}

// The nearest colour of a table. Colours that agree in their upper five bits share one answer, worked out once.
class CNearest
{
public:
    explicit CNearest(const std::vector<RGBQUAD>& colours) : m_colours(colours), m_known(1 << 15, kUnknown) {}

    BYTE operator()(int blue, int green, int red)
    {
        short& rKnown = m_known[blue >> 3 | green >> 3 << 5 | red >> 3 << 10];
        if (rKnown == kUnknown) rKnown = Find(blue, green, red);
        return static_cast<BYTE>(rKnown);
    }

private:
    static constexpr short kUnknown = -1;

    short Find(int blue, int green, int red) const
    {
        int nLeast = INT_MAX;
        short best = 0;
        for (size_t i = 0; i < m_colours.size(); ++i) {
            const int b = m_colours[i].rgbBlue - blue, g = m_colours[i].rgbGreen - green, r = m_colours[i].rgbRed - red;
            const int nDistance = b * b + g * g + r * r;
            if (nDistance >= nLeast) continue;
            nLeast = nDistance;
            best = static_cast<short>(i);
        }
        return best;
    }

    const std::vector<RGBQUAD>& m_colours;
    std::vector<short> m_known;
};

std::vector<BYTE> MapExactly(const ColourTable& table, const BYTE* pbPixels, size_t nPixels)
{
    std::unordered_map<unsigned int, BYTE> indexes;
    for (size_t i = 0; i < table.colours.size(); ++i) indexes[Key(table.colours[i])] = static_cast<BYTE>(i);
    std::vector<BYTE> result(nPixels);
    unsigned int last = 0xFFFFFFFF;
    BYTE index = 0;
    for (size_t i = 0; i < nPixels; ++i) {
        const unsigned int key = Key(pbPixels + 3 * i);
        if (key != last) index = indexes[last = key];
        result[i] = index;
    }
    return result;
}

// Error diffusion after Floyd and Steinberg.
std::vector<BYTE> MapDithered(const ColourTable& table, PixelSize size, const BYTE* pbPixels)
{
    const bool bGrey = table.colours.size() <= 4; // such inexact tables are greys
    std::vector<BYTE> result(static_cast<size_t>(size.width) * size.height);
    // Sixteenths of a level for this row and the next; one spare pixel at either side takes what falls off.
    std::vector<int> errors(3 * (size.width + 2)), below(errors.size());
    CNearest nearest(table.colours);
    BYTE* pbResult = result.data();
    for (unsigned int y = 0; y < size.height; ++y) {
        std::fill(below.begin(), below.end(), 0);
        for (unsigned int x = 0; x < size.width; ++x, pbPixels += 3) {
            int wanted[3];
            const int nLevel = (114 * pbPixels[0] + 587 * pbPixels[1] + 299 * pbPixels[2] + 500) / 1000;
            for (int i = 0; i < 3; ++i) {
                wanted[i] = std::clamp((bGrey ? nLevel : pbPixels[i]) + errors[3 * (x + 1) + i] / 16, 0, 255);
            }
            const BYTE index = nearest(wanted[0], wanted[1], wanted[2]);
            *pbResult++ = index;
            const RGBQUAD& rGot = table.colours[index];
            const int got[3] = {rGot.rgbBlue, rGot.rgbGreen, rGot.rgbRed};
            for (int i = 0; i < 3; ++i) {
                const int nError = wanted[i] - got[i];
                errors[3 * (x + 2) + i] += 7 * nError;
                below[3 * x + i] += 3 * nError;
                below[3 * (x + 1) + i] += 5 * nError;
                below[3 * (x + 2) + i] += nError;
            }
        }
        errors.swap(below);
    }
    return result;
}

} // namespace

ColourTable MakeColourTable(IWICImagingFactory* pFactory, PixelSize size, const BYTE* pbPixels, unsigned int nMost)
{
    ColourTable table;
    table.bExact = CollectColours(size, pbPixels, nMost, table.colours);
    if (table.bExact) return table;
    table.colours.clear();
    if (nMost <= 4) {
        for (unsigned int i = 0; i < nMost; ++i) table.colours.push_back(Grey(255 * i / (nMost - 1)));
    } else if (!MakeOptimised(pFactory, size, pbPixels, nMost, table.colours)) {
        table.colours = Regular(nMost);
    }
    return table;
}

std::vector<BYTE> MapToTable(const ColourTable& table, PixelSize size, const BYTE* pbPixels)
{
    return table.bExact ? MapExactly(table, pbPixels, static_cast<size_t>(size.width) * size.height)
                        : MapDithered(table, size, pbPixels);
}
