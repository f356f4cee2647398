// Get332Palette and GetHalftonePalette.
#include <imgdecmp.h>

#include "support/gdi_objects.h"

#include <gtest/gtest.h>

#include <set>

TEST(PaletteTest, TheIndexOfA332ColourIsItsBits)
{
    const COLORREF* const pColours = ::Get332Palette();
    EXPECT_EQ(RGB(0, 0, 0), pColours[0x00]);
    EXPECT_EQ(RGB(255, 0, 0), pColours[0xE0]);
    EXPECT_EQ(RGB(0, 255, 0), pColours[0x1C]);
    EXPECT_EQ(RGB(0, 0, 255), pColours[0x03]);
    EXPECT_EQ(RGB(255, 255, 255), pColours[0xFF]);
    EXPECT_EQ(RGB(36, 73, 85), pColours[0x29]);
    EXPECT_EQ(256u, std::set<COLORREF>(pColours, pColours + 256).size());
    EXPECT_EQ(pColours, ::Get332Palette());
}

TEST(PaletteTest, TheHalftonePaletteIsTheSystems)
{
    const COLORREF* const pColours = ::GetHalftonePalette();
    ASSERT_NE(nullptr, pColours);
    const int nObjects = CountGdiObjects();
    EXPECT_EQ(pColours, ::GetHalftonePalette());
    EXPECT_EQ(nObjects, CountGdiObjects());
    const HPALETTE hPalette = ::CreateHalftonePalette(nullptr);
    PALETTEENTRY entries[256] = {};
    ASSERT_EQ(256u, ::GetPaletteEntries(hPalette, 0, 256, entries));
    EXPECT_TRUE(::DeleteObject(hPalette));
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(RGB(entries[i].peRed, entries[i].peGreen, entries[i].peBlue), pColours[i]) << i;
    }
    const std::set<COLORREF> colours(pColours, pColours + 256);
    for (const COLORREF colour : {RGB(0, 0, 0), RGB(255, 0, 0), RGB(0, 255, 0), RGB(0, 0, 255), RGB(255, 255, 255)}) {
        EXPECT_EQ(1u, colours.count(colour)) << colour;
    }
}

TEST(PaletteTest, BothAreExportedByName)
{
    const HMODULE hModule = ::GetModuleHandleW(L"imgdecmp.dll");
    EXPECT_NE(nullptr, ::GetProcAddress(hModule, "Get332Palette"));
    EXPECT_NE(nullptr, ::GetProcAddress(hModule, "GetHalftonePalette"));
}
