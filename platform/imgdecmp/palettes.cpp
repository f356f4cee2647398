// Get332Palette and GetHalftonePalette.
#include <imgdecmp.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace {

constexpr unsigned int kColours = 256;

// 3 bits of red, 3 of green and 2 of blue, each spread over 0 to 255.
constexpr COLORREF ColourOf332(unsigned int index)
{
    const unsigned int red = index >> 5, green = index >> 2 & 7, blue = index & 3;
    return (red * 255 + 3) / 7 | (green * 255 + 3) / 7 << 8 | blue * 85 << 16;
}

std::array<COLORREF, kColours> Make332()
{
    std::array<COLORREF, kColours> colours;
    for (unsigned int i = 0; i < kColours; ++i) colours[i] = ColourOf332(i);
    return colours;
}

COLORREF g_halftone[kColours];
INIT_ONCE g_halftoneOnce = INIT_ONCE_STATIC_INIT;

// FALSE: the next caller tries again.
BOOL CALLBACK FillHalftone(PINIT_ONCE, PVOID, PVOID*)
{
    const HPALETTE hPalette = ::CreateHalftonePalette(nullptr);
    if (!hPalette) return FALSE;
    PALETTEENTRY entries[kColours];
    const UINT nEntries = ::GetPaletteEntries(hPalette, 0, kColours, entries);
    ::DeleteObject(hPalette);
    if (nEntries != kColours) return FALSE;
    std::transform(std::begin(entries), std::end(entries), g_halftone,
                   [](const PALETTEENTRY& entry) { return RGB(entry.peRed, entry.peGreen, entry.peBlue); });
    return TRUE;
}

} // namespace

extern "C" COLORREF* Get332Palette()
{
    static std::array<COLORREF, kColours> colours = Make332();
    return colours.data();
}

extern "C" COLORREF* GetHalftonePalette()
{
    return ::InitOnceExecuteOnce(&g_halftoneOnce, FillHalftone, nullptr, nullptr) ? g_halftone : nullptr;
}
