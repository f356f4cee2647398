// What the tests of CIconLoader share: a loader with a file of its own, answered message boxes, bitmaps that go away.
#ifndef KORVANE_TESTS_GRAPHICS_ICON_FIXTURE_H
#define KORVANE_TESTS_GRAPHICS_ICON_FIXTURE_H

#include "graphics/icon.h"
#include "icon_file.h"

#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

inline constexpr wchar_t kLibrary[] = L"korvaneLib.dll";

// The protected steps of the reader.
class CLoader : public CIconLoader
{
public:
    using CIconLoader::AdjustIconImagePointers;
    using CIconLoader::BytesPerLine;
    using CIconLoader::CalculateImageOffset;
    using CIconLoader::cleanup;
    using CIconLoader::DIBNumColors;
    using CIconLoader::FindDIBBits;
    using CIconLoader::PaletteSize;
    using CIconLoader::ReadICOHeader;
};

// Message boxes of the library, answered at once.
struct Box
{
    std::wstring text, title;
    UINT type;
};
inline std::vector<Box> g_boxes;

inline int WINAPI AnswerBox(HWND, LPCWSTR pszText, LPCWSTR pszTitle, UINT nType)
{
    g_boxes.push_back({pszText ? pszText : L"(null)", pszTitle ? pszTitle : L"(null)", nType});
    return IDOK;
}

inline void* __cdecl RefuseMemory(size_t)
{
    return nullptr;
}

inline void* __cdecl RefuseZeros(size_t, size_t)
{
    return nullptr;
}

// A bitmap that goes away with the test.
class CBitmapOwner
{
public:
    explicit CBitmapOwner(HBITMAP hBitmap) : m_hBitmap(hBitmap)
    {
        if (hBitmap) ::GetObjectW(hBitmap, sizeof(m_section), &m_section);
    }
    ~CBitmapOwner()
    {
        if (m_hBitmap) ::DeleteObject(m_hBitmap);
    }
    CBitmapOwner(const CBitmapOwner&) = delete;
    CBitmapOwner& operator=(const CBitmapOwner&) = delete;

    bool IsNull() const { return !m_hBitmap; }
    HBITMAP Get() const { return m_hBitmap; }
    const BITMAP& Info() const { return m_section.dsBm; }
    Bytes Bits() const
    {
        const BYTE* pb = static_cast<const BYTE*>(m_section.dsBm.bmBits);
        return Bytes(pb, pb + m_section.dsBm.bmWidthBytes * m_section.dsBm.bmHeight);
    }
    // Rows from the top; blue, green, red.
    Bytes Pixels() const
    {
        const int width = Info().bmWidth, height = Info().bmHeight;
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = -height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        Bytes rows(4 * width * height), pixels;
        const HDC hdc = ::CreateCompatibleDC(nullptr);
        ::GetDIBits(hdc, m_hBitmap, 0, height, rows.data(), &info, DIB_RGB_COLORS);
        ::DeleteDC(hdc);
        for (size_t i = 0; i < rows.size(); i += 4) pixels.insert(pixels.end(), {rows[i], rows[i + 1], rows[i + 2]});
        return pixels;
    }

private:
    const HBITMAP m_hBitmap;
    DIBSECTION m_section = {};
};

class IconTest : public testing::Test
{
protected:
    // Writes a file and reads it with m_loader.
    bool Read(const Bytes& file)
    {
        WriteFileTo(m_path, file);
        return m_loader.ReadIconFromICOFile(m_path.c_str());
    }
    bool ReadOne(const Bytes& image) { return Read(MakeIconFile({image})); }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.File(L"icon.ico");
    CLoader m_loader;
};

struct DepthAndSize
{
    int depth, width, height;
};
inline constexpr DepthAndSize kImages[] = {
    {1, 16, 16}, {4, 16, 16},  {8, 16, 16}, {16, 16, 16}, {24, 16, 16}, {32, 16, 16}, {16, 32, 32},
    {1, 32, 32}, {4, 32, 32},  {8, 32, 32}, {24, 32, 32}, {32, 32, 32}, {1, 48, 48},  {4, 48, 48},
    {8, 48, 48}, {24, 48, 48}, {4, 64, 64}, {8, 20, 10},  {24, 7, 5},   {4, 10, 24},  {32, 256, 256}};

#endif
