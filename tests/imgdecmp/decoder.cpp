#include "decoder.h"

#include "support/gdi_objects.h"
#include "support/handle_count.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

Bytes PictureFile(const std::string& name)
{
    const std::wstring path = KORVANE_PICTURES + std::wstring(name.begin(), name.end());
    FILE* const file = ::_wfopen(path.c_str(), L"rb");
    if (!file) {
        std::fprintf(stderr, "no picture %s\n", name.c_str());
        std::exit(1);
    }
    Bytes data;
    BYTE part[4096];
    while (const size_t cb = std::fread(part, 1, sizeof(part), file)) data.insert(data.end(), part, part + cb);
    std::fclose(file);
    return data;
}

void PrintTo(const ReferencePicture& picture, std::ostream* pStream)
{
    *pStream << picture.name;
}

const std::vector<ReferencePicture>& ReferencePictures()
{
    static const std::vector<ReferencePicture> all = [] {
        const Bytes list = PictureFile("pictures.txt");
        std::istringstream lines(std::string(list.begin(), list.end()));
        std::vector<ReferencePicture> pictures;
        ReferencePicture picture;
        while (lines >> picture.name >> picture.width >> picture.height >> picture.tolerance) {
            picture.pixels = PictureFile(picture.name + ".bgr");
            pictures.push_back(picture);
        }
        return pictures;
    }();
    return all;
}

const ReferencePicture& Reference(const std::string& name)
{
    for (const ReferencePicture& picture : ReferencePictures()) {
        if (picture.name == name) return picture;
    }
    std::fprintf(stderr, "no picture %s\n", name.c_str());
    std::exit(1);
}

Bytes MakeBitmapFile(int width, int height, const Bytes& pixels)
{
    const DWORD cbRow = (3 * width + 3) / 4 * 4;
    BITMAPFILEHEADER file = {};
    BITMAPINFOHEADER header = {};
    file.bfType = 0x4D42;
    file.bfOffBits = sizeof(file) + sizeof(header);
    file.bfSize = file.bfOffBits + cbRow * height;
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    Bytes data(file.bfSize);
    std::memcpy(data.data(), &file, sizeof(file));
    std::memcpy(data.data() + sizeof(file), &header, sizeof(header));
    for (int y = 0; y < height; ++y) {
        std::memcpy(data.data() + file.bfOffBits + cbRow * (height - 1 - y), pixels.data() + 3 * width * y, 3 * width);
    }
    return data;
}

int LargestDifference(const Bytes& left, const Bytes& right)
{
    if (left.size() != right.size()) return 256;
    int largest = 0;
    for (size_t i = 0; i < left.size(); ++i) largest = std::max(largest, std::abs(left[i] - right[i]));
    return largest;
}

double AverageDifference(const Bytes& left, const Bytes& right)
{
    if (left.size() != right.size()) return 256;
    double sum = 0;
    for (size_t i = 0; i < left.size(); ++i) sum += std::abs(left[i] - right[i]);
    return sum / left.size();
}

CDecoder::CDecoder(Bytes data, size_t cbBuffer) : m_data(std::move(data)), m_buffer(cbBuffer)
{
    info.dwSize = sizeof(info);
    info.pbBuffer = m_buffer.data();
    info.dwBufferMax = cbBuffer;
    info.phBM = &hBitmap;
    info.iBitDepth = 24;
    info.lParam = reinterpret_cast<LPARAM>(this);
    info.iScale = 100;
    info.iMaxWidth = 10000;
    info.iMaxHeight = 10000;
    info.pfnGetData = GetData;
    info.crTransparentOverride = static_cast<COLORREF>(-1);
}

CDecoder::~CDecoder()
{
    if (hBitmap) ::DeleteObject(hBitmap);
}

DWORD CALLBACK CDecoder::GetData(LPSTR pszBuffer, DWORD dwBufferMax, LPARAM lParam)
{
    CDecoder& self = *reinterpret_cast<CDecoder*>(lParam);
    const DWORD cb = static_cast<DWORD>(std::min<size_t>(dwBufferMax, self.m_data.size() - self.taken));
    std::copy_n(self.m_data.data() + self.taken, cb, reinterpret_cast<BYTE*>(pszBuffer));
    self.taken += cb;
    self.pieces.push_back(cb);
    self.buffers.push_back(pszBuffer);
    self.asked.push_back(dwBufferMax);
    return cb;
}

HRESULT CDecoder::Decode()
{
    if (hBitmap) ::DeleteObject(hBitmap);
    hBitmap = nullptr;
    m_section = {};
    taken = 0;
    pieces.clear();
    buffers.clear();
    asked.clear();
    const HRESULT hr = ::DecompressImageIndirect(&info);
    if (hBitmap) ::GetObjectW(hBitmap, sizeof(m_section), &m_section);
    return hr;
}

Bytes CDecoder::Pixels() const
{
    BITMAPINFO wanted = {};
    wanted.bmiHeader.biSize = sizeof(wanted.bmiHeader);
    wanted.bmiHeader.biWidth = Width();
    wanted.bmiHeader.biHeight = -Height();
    wanted.bmiHeader.biPlanes = 1;
    wanted.bmiHeader.biBitCount = 24;
    const size_t cbRow = (3 * Width() + 3) / 4 * 4;
    Bytes rows(cbRow * Height()), pixels;
    const HDC hdc = ::CreateCompatibleDC(nullptr);
    const int nRows = ::GetDIBits(hdc, hBitmap, 0, Height(), rows.data(), &wanted, DIB_RGB_COLORS);
    ::DeleteDC(hdc);
    for (int y = 0; y < nRows; ++y) {
        const auto row = rows.begin() + y * cbRow;
        pixels.insert(pixels.end(), row, row + 3 * Width());
    }
    return pixels;
}

Counts CountObjects()
{
    return {CountGdiObjects(), CountHandles()};
}
