#include "graphics/image.h"

#include "graphics/resource.h"

#include <imgdecmp.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

int CVOImage::g_iScale = 100;
int CVOImage::g_iMaxWidth = 10000;
int CVOImage::g_iMaxHeight = 10000;
HDC CVOImage::g_hdc = nullptr;
int CVOImage::g_bStretchBlt = 0;

namespace {

HGDIOBJ g_hEmptyBitmap; // what g_hdc was made with

void MakeSharedContext(HDC hdc)
{
    if (CVOImage::g_hdc) return;
    CVOImage::g_hdc = ::CreateCompatibleDC(hdc);
    g_hEmptyBitmap = ::GetCurrentObject(CVOImage::g_hdc, OBJ_BITMAP);
}

// The size and depth of a bitmap; false, and all zero, when there is none.
bool Describe(HBITMAP hBitmap, BITMAP& record)
{
    record = {};
    return ::GetObjectW(hBitmap, sizeof(record), &record) == sizeof(record);
}

// Selects a bitmap into g_hdc for as long as it lives.
class CSharedSelection
{
public:
    explicit CSharedSelection(HBITMAP hBitmap) : m_hOld(::SelectObject(CVOImage::g_hdc, hBitmap)) {}
    ~CSharedSelection()
    {
        // The bitmap that a Copy left selected may have been deleted since, and is gone now that it was taken out.
        if (m_hOld && !::SelectObject(CVOImage::g_hdc, m_hOld)) ::SelectObject(CVOImage::g_hdc, g_hEmptyBitmap);
    }
    CSharedSelection(const CSharedSelection&) = delete;
    CSharedSelection& operator=(const CSharedSelection&) = delete;

    bool IsDone() const { return m_hOld != nullptr; }

private:
    const HGDIOBJ m_hOld; // null: the bitmap did not fit
};

// A new bitmap of cx by cy pixels with what is selected into g_hdc. REQUIRES: `source` describes that. A bitmap that is
// compatible with g_hdc has the depth of the selected one, which is why that comes first.
HBITMAP CopyOfSelected(const BITMAP& source, int cx, int cy)
{
    const HDC hdcShared = CVOImage::g_hdc;
    const HDC hdc = ::CreateCompatibleDC(hdcShared);
    if (!hdc) return nullptr;
    HBITMAP hCopy = ::CreateCompatibleBitmap(hdcShared, cx, cy);
    const HGDIOBJ hOld = ::SelectObject(hdc, hCopy);
    const bool bDrawn =
        hOld && ::StretchBlt(hdc, 0, 0, cx, cy, hdcShared, 0, 0, source.bmWidth, source.bmHeight, SRCCOPY);
    if (hOld) ::SelectObject(hdc, hOld);
    ::DeleteDC(hdc);
    if (hCopy && !bDrawn) {
        ::DeleteObject(hCopy);
        hCopy = nullptr;
    }
    return hCopy;
}

// The depths that a bitmap's header can have.
unsigned int RoundedBits(unsigned int bits)
{
    static constexpr unsigned int kDepths[] = {1, 4, 8, 16, 24};
    const auto* depth = std::lower_bound(std::begin(kDepths), std::end(kDepths), bits);
    return depth == std::end(kDepths) ? 32 : *depth;
}

} // namespace

CVOImage::~CVOImage()
{
    if (m_hBitmap) ::DeleteObject(m_hBitmap);
}

int CVOImage::Load(HDC hdc, const TCHAR* path)
{
    if (m_hBitmap) ::DeleteObject(m_hBitmap);
    MakeSharedContext(hdc);
    const HANDLE hFile =
        ::CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return 0;
    Decode(hdc, GetImageData, reinterpret_cast<long>(hFile));
    ::CloseHandle(hFile);
    return 1;
}

int CVOImage::SetBitmap(HDC hdc, unsigned long resourceId, const TCHAR* resourceType, HINSTANCE module)
{
    MakeSharedContext(hdc);
    CVOResource resource(module, resourceId, resourceType);
    if (!resource.IsLoaded()) return 0;
    resource.SetUserData(0);
    Decode(hdc, GetImageResourceData, reinterpret_cast<long>(&resource));
    return 1;
}

void CVOImage::Decode(HDC hdc, GetDataFunction getData, long param)
{
    BYTE buffer[1024] = {};
    DecompressImageInfo info = {};
    info.dwSize = sizeof(info);
    info.pbBuffer = buffer;
    info.dwBufferMax = sizeof(buffer);
    info.dwBufferCurrent = 0;
    info.phBM = &m_hBitmap;
    info.ppImageRender = nullptr;
    info.iBitDepth = ::GetDeviceCaps(hdc, BITSPIXEL);
    info.lParam = param;
    info.hdc = g_hdc;
    info.iScale = g_iScale;
    info.iMaxWidth = g_iMaxWidth;
    info.iMaxHeight = g_iMaxHeight;
    info.pfnGetData = getData;
    info.pfnImageProgress = ImageProgress;
    info.crTransparentOverride = 0xFFFFFFFF;
    ::DecompressImageIndirect(&info);

    BITMAP record;
    Describe(m_hBitmap, record);
    m_nWidth = record.bmWidth;
    m_nHeight = record.bmHeight;
}

int CVOImage::Draw(HDC hdc, int x, int y, int cx, int cy)
{
    g_bStretchBlt = cx != -1 || cy != -1;
    // The system divides by zero over a size that has no positive counterpart.
    if (cx == INT_MIN || cy == INT_MIN) return 1;
    BITMAP record;
    if (!Describe(m_hBitmap, record)) return 1;
    const CSharedSelection selection(m_hBitmap);
    if (!selection.IsDone()) return 1;
    if (g_bStretchBlt) {
        ::StretchBlt(hdc, x, y, cx, cy, g_hdc, 0, 0, record.bmWidth, record.bmHeight, SRCCOPY);
    } else {
        ::BitBlt(hdc, x, y, record.bmWidth, record.bmHeight, g_hdc, 0, 0, SRCCOPY);
    }
    return 1;
}

HBITMAP CVOImage::Copy()
{
    BITMAP record;
    if (!Describe(m_hBitmap, record) || !::SelectObject(g_hdc, m_hBitmap)) return nullptr;
    return CopyOfSelected(record, record.bmWidth, record.bmHeight);
}

HBITMAP CVOImage::CreateBitmap(unsigned int cx, unsigned int cy)
{
    BITMAP record;
    if (!Describe(m_hBitmap, record) || cx < 1 || cx > INT_MAX || cy < 1 || cy > INT_MAX) return nullptr;
    const CSharedSelection selection(m_hBitmap);
    return selection.IsDone() ? CopyOfSelected(record, cx, cy) : nullptr;
}

BITMAPINFO* CVOImage::GetBitmapInfoStruct()
{
    BITMAP record;
    if (!Describe(m_hBitmap, record)) return nullptr;
    const unsigned int bits = RoundedBits(static_cast<WORD>(record.bmPlanes * record.bmBitsPixel));
    const unsigned int colours = bits < 32 ? 1u << bits : 0;
    const size_t cbTable = bits == 24 ? 0 : colours * sizeof(RGBQUAD);
    auto* const info = static_cast<BITMAPINFO*>(::LocalAlloc(LPTR, sizeof(BITMAPINFOHEADER) + cbTable));
    if (!info) return nullptr;
    BITMAPINFOHEADER& header = info->bmiHeader;
    header.biSize = sizeof(header);
    header.biWidth = record.bmWidth;
    header.biHeight = record.bmHeight;
    header.biPlanes = record.bmPlanes;
    header.biBitCount = record.bmBitsPixel;
    header.biCompression = BI_RGB;
    header.biClrUsed = bits < 24 ? colours : 0;
    header.biClrImportant = 0;
    header.biSizeImage = ((bits * record.bmWidth + 31) & ~31u) / 8 * record.bmHeight;
    return info;
}

unsigned long CALLBACK CVOImage::GetImageData(char* buffer, unsigned long size, long param)
{
    const HANDLE hFile = reinterpret_cast<HANDLE>(param);
    DWORD cbRead = 0;
    if (hFile == INVALID_HANDLE_VALUE || !::ReadFile(hFile, buffer, size, &cbRead, nullptr)) return 0;
    return cbRead;
}

unsigned long CALLBACK CVOImage::GetImageResourceData(char* buffer, unsigned long size, long param)
{
    auto* const resource = reinterpret_cast<CVOResource*>(param);
    if (!resource || !buffer || !resource->IsLoaded()) return 0;
    const unsigned long position = resource->GetUserData();
    if (position >= resource->GetSize()) return 0; // the position is the user's to set
    const unsigned long cbPart = std::min(size, resource->GetSize() - position);
    std::memcpy(buffer, static_cast<const char*>(resource->GetData()) + position, cbPart);
    resource->SetUserData(position + cbPart);
    return cbPart;
}

void CALLBACK CVOImage::ImageProgress(IImageRender*, int, long) {}
