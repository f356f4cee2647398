#include "image_support.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

std::wstring PicturePath(const wchar_t* name)
{
    return std::wstring(KORVANE_IMAGES) + name;
}

Bytes FileBytes(const std::wstring& path)
{
    Bytes bytes;
    FILE* const file = ::_wfopen(path.c_str(), L"rb");
    if (!file) {
        ADD_FAILURE() << "no file";
        return bytes;
    }
    BYTE part[4096];
    while (const size_t cb = std::fread(part, 1, sizeof(part), file)) bytes.insert(bytes.end(), part, part + cb);
    std::fclose(file);
    return bytes;
}

void WriteFileBytes(const std::wstring& path, const Bytes& bytes)
{
    FILE* const file = ::_wfopen(path.c_str(), L"wb");
    ASSERT_NE(nullptr, file);
    if (!bytes.empty()) {
        EXPECT_EQ(bytes.size(), std::fwrite(bytes.data(), 1, bytes.size(), file));
    }
    std::fclose(file);
}

Bytes ReferencePixels(const wchar_t* name)
{
    return FileBytes(PicturePath(name) + L".bgr");
}

Bytes PixelsOf(HBITMAP bitmap)
{
    BITMAP record = {};
    if (!::GetObjectW(bitmap, sizeof(record), &record)) {
        ADD_FAILURE() << "no bitmap";
        return {};
    }
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), record.bmWidth, -record.bmHeight, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const size_t cbRow = (3 * record.bmWidth + 3) & ~3;
    Bytes rows(cbRow * record.bmHeight), pixels;
    const HDC screen = ::GetDC(nullptr);
    EXPECT_EQ(record.bmHeight, ::GetDIBits(screen, bitmap, 0, record.bmHeight, rows.data(), &info, DIB_RGB_COLORS));
    ::ReleaseDC(nullptr, screen);
    for (int y = 0; y < record.bmHeight; ++y) {
        const auto row = rows.begin() + y * cbRow;
        pixels.insert(pixels.end(), row, row + 3 * record.bmWidth);
    }
    return pixels;
}

int LargestDifference(const Bytes& left, const Bytes& right)
{
    if (left.size() != right.size()) return 256;
    int largest = 0;
    for (size_t i = 0; i < left.size(); ++i) largest = std::max(largest, std::abs(left[i] - right[i]));
    return largest;
}

HBITMAP MakeSection(int width, int height, int bits)
{
    struct
    {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    } info = {{sizeof(BITMAPINFOHEADER), width, height, 1, static_cast<WORD>(bits), BI_RGB, 0, 0, 0, 0, 0}, {}};
    void* pixels = nullptr;
    return ::CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &pixels, nullptr, 0);
}

CPaper::CPaper(int width, int height)
    : m_hdc(::CreateCompatibleDC(nullptr)), m_bitmap(MakeSection(width, height, 24)),
      m_old(::SelectObject(m_hdc, m_bitmap))
{
    ::PatBlt(m_hdc, 0, 0, width, height, WHITENESS);
}

CPaper::~CPaper()
{
    ::SelectObject(m_hdc, m_old);
    ::DeleteObject(m_bitmap);
    ::DeleteDC(m_hdc);
}

Bytes CPaper::Pixels() const
{
    ::GdiFlush();
    return PixelsOf(m_bitmap);
}
