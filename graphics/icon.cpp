#include "graphics/icon.h"

#include <afxwin.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

// The record, and how many loaders have it. A loader that frees the record leaves null for the others.
struct CIconLoader::Shared
{
    ICONRESOURCE* pRecord; // owned; from malloc or calloc, its images too
    unsigned int nLoaders;
};

namespace {

constexpr size_t kMaxImageBytes = 256u << 20;       // of all images together: entries may overlap, their copies do not
constexpr unsigned long long kMaxPixels = 1u << 26; // of one image: 256 MB at 4 bytes each
constexpr unsigned int kNoIcon = 0xFFFFFFFF;
constexpr size_t kHeaderSize = 6;
constexpr DWORD kMaskInfoSize = 52; // bytes: a header, two colours and room for a third

#pragma pack(push, 1)
struct DirectoryEntry
{
    BYTE width, height, colourCount, reserved;
    WORD planes, bitCount;
    DWORD cbImage;
    DWORD offset; // from the start of the file
};
#pragma pack(pop)
static_assert(sizeof(DirectoryEntry) == 16, "the file format's size");

class CScopedFile
{
public:
    explicit CScopedFile(const TCHAR* path)
        : m_hFile(::CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
    {
    }
    ~CScopedFile()
    {
        if (IsOpen()) ::CloseHandle(m_hFile);
    }
    CScopedFile(const CScopedFile&) = delete;
    CScopedFile& operator=(const CScopedFile&) = delete;

    bool IsOpen() const { return m_hFile != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_hFile; }

private:
    const HANDLE m_hFile; // owned
};

// A block of zeros.
template <class T> class CScopedBlock
{
public:
    explicit CScopedBlock(size_t cb) : m_p(static_cast<T*>(std::calloc(1, cb))) {}
    ~CScopedBlock() { std::free(m_p); }
    CScopedBlock(const CScopedBlock&) = delete;
    CScopedBlock& operator=(const CScopedBlock&) = delete;

    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }

private:
    T* const m_p; // owned
};

// A memory context, for as long as it lives.
class CScopedMemoryDC
{
public:
    CScopedMemoryDC() : m_hdc(::CreateCompatibleDC(nullptr)) {}
    ~CScopedMemoryDC()
    {
        if (m_hdc) ::DeleteDC(m_hdc);
    }
    CScopedMemoryDC(const CScopedMemoryDC&) = delete;
    CScopedMemoryDC& operator=(const CScopedMemoryDC&) = delete;

    operator HDC() const { return m_hdc; }

private:
    const HDC m_hdc; // owned
};

bool ReadExactly(HANDLE hFile, void* pv, DWORD cb)
{
    DWORD cbRead = 0;
    return ::ReadFile(hFile, pv, cb, &cbRead, nullptr) && cbRead == cb;
}

bool SeekTo(HANDLE hFile, DWORD offset)
{
    // A method of 32 bits: from 0x80000000 on an offset is negative and fails.
    return ::SetFilePointer(hFile, static_cast<LONG>(offset), nullptr, FILE_BEGIN) != INVALID_SET_FILE_POINTER;
}

void FreeRecord(ICONRESOURCE* pRecord)
{
    if (!pRecord) return;
    for (UINT i = 0; i < pRecord->nNumImages; ++i) std::free(pRecord->IconImages[i].lpBits);
    std::free(pRecord);
}

unsigned long long LineBytes(const BITMAPINFOHEADER& header)
{
    if (header.biWidth < 0) return 0;
    // At most 2^63: two factors of 16 bits and one of 31.
    const unsigned long long bits =
        static_cast<unsigned long long>(header.biBitCount) * header.biPlanes * header.biWidth;
    return (bits + 31) / 8 / 4 * 4;
}

// a * b, or the largest number when that is too small for it.
unsigned long long Product(unsigned long long a, unsigned long long b)
{
    unsigned long long result;
    return __builtin_mul_overflow(a, b, &result) ? ~0ull : result;
}

// A size in bytes from numbers of a file, where a negative height is like one that is too large.
unsigned long long ByteCount(unsigned long long bitsPerLine, LONG height)
{
    return height < 0 ? ~0ull : Product(bitsPerLine, height) / 8;
}

// How many bytes of an image there are from `p` on.
size_t BytesFrom(const ICONIMAGE& image, const BYTE* p)
{
    return image.dwNumBytes - (p - image.lpBits);
}

// Whether there can be a bitmap of this header: one of a size that a file of any length may claim, and whose bits the
// system, which works out their size in 32 bits without looking for an overflow, can count.
bool IsSizePossible(const BITMAPINFOHEADER& header)
{
    if (header.biWidth <= 0) return false;
    const unsigned long long width = header.biWidth;
    const unsigned long long height = header.biHeight < 0 ? -static_cast<long long>(header.biHeight) : header.biHeight;
    return width * height <= kMaxPixels && (header.biBitCount * width + 31) / 8 * height <= MAXLONG;
}

// A DIB section, and the bytes that its bits have; null when there is none, or its size cannot be had.
HBITMAP MakeSection(HDC hdc, const BITMAPINFO* pInfo, BYTE*& rpBits, size_t& rcbBits)
{
    void* pBits = nullptr;
    const HBITMAP hBitmap = ::CreateDIBSection(hdc, pInfo, DIB_RGB_COLORS, &pBits, nullptr, 0);
    if (!hBitmap) return nullptr;
    BITMAP bitmap = {};
    if (!::GetObjectW(hBitmap, sizeof(bitmap), &bitmap)) {
        const DWORD dwError = ::GetLastError();
        ::DeleteObject(hBitmap);
        ::SetLastError(dwError);
        return nullptr;
    }
    rpBits = static_cast<BYTE*>(pBits);
    rcbBits = static_cast<size_t>(bitmap.bmWidthBytes) * bitmap.bmHeight;
    return hBitmap;
}

// A DIB section as the image's own header says; null, with the last error, when the system refuses it. The system reads
// as many colours as the header claims, so it gets a copy in which those that the image does not have are black.
HBITMAP MakeColourSection(HDC hdc, const ICONIMAGE& image, BYTE*& rpBits, size_t& rcbBits)
{
    const DWORD cbHeader = image.lpbi->biSize;
    if (cbHeader < sizeof(BITMAPINFOHEADER) || cbHeader > image.dwNumBytes || !IsSizePossible(*image.lpbi)) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    constexpr size_t kMostColours = 256 * sizeof(RGBQUAD);
    const size_t cbInfo = cbHeader + kMostColours;
    const CScopedBlock<BITMAPINFO> info(cbInfo);
    if (!info.Get()) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    const size_t cbHad = std::min<size_t>(cbInfo, image.dwNumBytes);
    std::memcpy(info.Get(), image.lpBits, cbHad);
    return MakeSection(hdc, info.Get(), rpBits, rcbBits);
}

void ShowLastError()
{
    TCHAR* pszText = nullptr;
    ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, ::GetLastError(), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     reinterpret_cast<TCHAR*>(&pszText), 0, nullptr);
    ::MessageBoxW(nullptr, pszText ? pszText : L"", L"Error", MB_OK | MB_ICONINFORMATION);
    ::LocalFree(pszText);
}

} // namespace

CIconLoader::CIconLoader(const CIconLoader& other)
{
    Share(other.m_pShared);
}

CIconLoader& CIconLoader::operator=(const CIconLoader& other)
{
    Share(other.m_pShared);
    return *this;
}

CIconLoader::~CIconLoader()
{
    cleanup();
}

void CIconLoader::Share(Shared* pShared)
{
    // The new one first: it may be the old one.
    if (pShared) ++pShared->nLoaders;
    Shared* const pOld = m_pShared;
    m_pShared = pShared;
    if (!pOld || --pOld->nLoaders > 0) return;
    FreeRecord(pOld->pRecord);
    delete pOld;
}

void CIconLoader::cleanup()
{
    if (!m_pShared) return;
    FreeRecord(m_pShared->pRecord);
    m_pShared->pRecord = nullptr;
    Share(nullptr);
}

unsigned int CIconLoader::ReadICOHeader(HANDLE file)
{
    WORD wReserved, wType, wCount;
    const bool bIcon = ReadExactly(file, &wReserved, sizeof(wReserved)) && wReserved == 0 &&
                       ReadExactly(file, &wType, sizeof(wType)) && wType == 1 &&
                       ReadExactly(file, &wCount, sizeof(wCount));
    return bIcon ? wCount : kNoIcon;
}

bool CIconLoader::ReadIconFromICOFile(const TCHAR* path)
{
    cleanup();
    const CScopedFile file(path);
    if (!file.IsOpen()) return false;
    const unsigned int nCount = ReadICOHeader(file.Get());
    if (nCount == kNoIcon) return false;
    // Before the record, which is 66 times as large: a short file shall not cost that.
    const DWORD cbDirectory = nCount * sizeof(DirectoryEntry);
    const CScopedBlock<DirectoryEntry> directory(cbDirectory);
    if (!directory.Get() || !ReadExactly(file.Get(), directory.Get(), cbDirectory)) return false;

    const size_t cbRecord = offsetof(ICONRESOURCE, IconImages) + std::max(nCount, 1u) * sizeof(ICONIMAGE);
    ICONRESOURCE* const pRecord = static_cast<ICONRESOURCE*>(std::calloc(1, cbRecord));
    if (!pRecord) return false;
    // The block is zeroed: the last place keeps its terminator.
    std::wcsncpy(pRecord->szOriginalICOFileName, path, MAX_PATH - 1);

    const DWORD cbFile = ::GetFileSize(file.Get(), nullptr);
    size_t cbTotal = 0;
    bool bGood = true;
    for (unsigned int i = 0; bGood && i < nCount; ++i) {
        const DirectoryEntry& entry = directory.Get()[i];
        ICONIMAGE& image = pRecord->IconImages[i];
        // What a file cannot have is not allocated first: 16 bytes can claim 4 GB.
        bGood = entry.cbImage <= cbFile && entry.cbImage <= kMaxImageBytes - cbTotal;
        if (!bGood) break;
        cbTotal += entry.cbImage;
        image.lpBits = static_cast<BYTE*>(std::malloc(entry.cbImage));
        image.dwNumBytes = entry.cbImage;
        pRecord->nNumImages = i + 1;
        bGood = image.lpBits && SeekTo(file.Get(), entry.offset) &&
                ReadExactly(file.Get(), image.lpBits, entry.cbImage) && AdjustIconImagePointers(&image);
    }
    Shared* const pShared = bGood ? new (std::nothrow) Shared{pRecord, 0} : nullptr;
    if (!pShared) {
        FreeRecord(pRecord);
        return false;
    }
    Share(pShared);
    return true;
}

unsigned int CIconLoader::GetIconsCount() const
{
    return IsValid() ? m_pShared->pRecord->nNumImages : 0;
}

bool CIconLoader::IsValid() const
{
    return m_pShared && m_pShared->pRecord;
}

void CIconLoader::GetSize(unsigned int index, SIZE& size)
{
    const bool bThere = index < GetIconsCount();
    size.cx = bThere ? m_pShared->pRecord->IconImages[index].Width : 0;
    size.cy = bThere ? m_pShared->pRecord->IconImages[index].Height : 0;
}

ICONIMAGE* CIconLoader::FindImage(unsigned int index) const
{
    if (index >= GetIconsCount()) return nullptr;
    ICONIMAGE* const pImage = &m_pShared->pRecord->IconImages[index];
    return pImage->dwNumBytes >= sizeof(BITMAPINFOHEADER) ? pImage : nullptr;
}

bool CIconLoader::AdjustIconImagePointers(ICONIMAGE* image)
{
    LPBYTE const pEnd = image->lpBits + image->dwNumBytes;
    image->lpbi = reinterpret_cast<LPBITMAPINFOHEADER>(image->lpBits);
    image->lpXOR = image->lpAND = pEnd;
    image->Width = image->Height = image->Colors = 0;
    if (image->dwNumBytes < sizeof(BITMAPINFOHEADER)) return true;

    const BITMAPINFOHEADER& header = *image->lpbi;
    image->Width = header.biWidth;
    image->Height = header.biHeight / 2;
    image->Colors = static_cast<UINT>(header.biPlanes) * header.biBitCount;
    if (static_cast<unsigned long long>(header.biSize) + PaletteSize(&header) > image->dwNumBytes) return true;
    image->lpXOR = FindDIBBits(image->lpBits);
    const unsigned long long cbColour = Product(image->Height, LineBytes(header));
    if (cbColour <= BytesFrom(*image, image->lpXOR)) image->lpAND = image->lpXOR + cbColour;
    return true;
}

DWORD CIconLoader::CalculateImageOffset(ICONRESOURCE* record, unsigned int index) const
{
    DWORD offset = kHeaderSize + sizeof(DirectoryEntry) * record->nNumImages;
    for (unsigned int i = 0; i < index; ++i) offset += record->IconImages[i].dwNumBytes;
    return offset;
}

DWORD CIconLoader::BytesPerLine(const BITMAPINFOHEADER* header)
{
    return static_cast<DWORD>(LineBytes(*header));
}

LPBYTE CIconLoader::FindDIBBits(LPBYTE header)
{
    const auto* pHeader = reinterpret_cast<const BITMAPINFOHEADER*>(header);
    return header + pHeader->biSize + PaletteSize(pHeader);
}

DWORD CIconLoader::PaletteSize(const BITMAPINFOHEADER* header)
{
    return DIBNumColors(header) * sizeof(RGBQUAD);
}

WORD CIconLoader::DIBNumColors(const BITMAPINFOHEADER* header)
{
    if (header->biClrUsed != 0) return static_cast<WORD>(header->biClrUsed);
    switch (header->biBitCount) {
    case 1:
        return 2;
    case 4:
        return 16;
    case 8:
        return 256;
    default:
        return 0;
    }
}

bool CIconLoader::memcpySave(void* destination, size_t cbDestination, const void* source, size_t cbSource, size_t count)
{
    if (count > cbDestination || count > cbSource) return false;
    std::memcpy(destination, source, count);
    return true;
}

HBITMAP CIconLoader::MakeBitmapFromResource(unsigned int index)
{
    ICONIMAGE* const pImage = FindImage(index);
    if (!pImage) return nullptr;
    BITMAPINFOHEADER& rHeader = *pImage->lpbi;
    rHeader.biHeight /= 2;
    const CScopedMemoryDC dc;
    BYTE* pBits = nullptr;
    size_t cbBits = 0;
    const HBITMAP hBitmap = MakeColourSection(dc, *pImage, pBits, cbBits);
    if (!hBitmap) {
        ShowLastError();
        return nullptr;
    }
    const unsigned long long cbWanted =
        ByteCount(static_cast<unsigned long long>(rHeader.biBitCount) * rHeader.biWidth, rHeader.biHeight);
    const size_t cbThere = std::min(cbBits, BytesFrom(*pImage, pImage->lpXOR));
    memcpySave(pBits, cbBits, pImage->lpXOR, cbThere,
               static_cast<size_t>(std::min<unsigned long long>(cbWanted, cbThere)));
    rHeader.biHeight *= 2;
    return hBitmap;
}

HBITMAP CIconLoader::MakeMaskBitmapFromResource(unsigned int index)
{
    const ICONIMAGE* const pImage = FindImage(index);
    if (!pImage) return nullptr;
    const CScopedBlock<BITMAPINFO> info(kMaskInfoSize);
    if (!info.Get()) {
        AfxMessageBox(L"Fail to allocate memory for BITMAPINFO!");
        return nullptr;
    }
    BITMAPINFOHEADER& rHeader = info->bmiHeader;
    rHeader.biSize = sizeof(rHeader);
    rHeader.biWidth = pImage->lpbi->biWidth;
    rHeader.biHeight = pImage->lpbi->biHeight / 2;
    rHeader.biPlanes = 1;
    rHeader.biBitCount = 1;
    RGBQUAD* const pWhite = info->bmiColors + 1;
    pWhite->rgbBlue = pWhite->rgbGreen = pWhite->rgbRed = 255;

    const CScopedMemoryDC dc;
    BYTE* pBits = nullptr;
    size_t cbBits = 0;
    if (!IsSizePossible(rHeader)) return nullptr;
    const HBITMAP hBitmap = MakeSection(dc, info.Get(), pBits, cbBits);
    if (!hBitmap) return nullptr;
    const unsigned long long bitsPerLine = rHeader.biWidth == 32 ? 32 : 2ull * rHeader.biWidth;
    const unsigned long long cbMask = ByteCount(bitsPerLine, rHeader.biHeight);
    // Of all sizes from cbMask down to half of it, the first that works.
    const size_t cbThere = std::min(cbBits, BytesFrom(*pImage, pImage->lpAND));
    const unsigned long long cbCopy = std::min<unsigned long long>(cbMask, cbThere);
    if (cbCopy >= cbMask - cbCopy && memcpySave(pBits, cbBits, pImage->lpAND, cbThere, static_cast<size_t>(cbCopy))) {
        return hBitmap;
    }
    ::DeleteObject(hBitmap);
    return nullptr;
}

HICON CIconLoader::MakeIconFromResource(unsigned int index)
{
    const HBITMAP hColour = MakeBitmapFromResource(index);
    const HBITMAP hMask = MakeMaskBitmapFromResource(index);
    HICON hIcon = nullptr;
    // Without colours the system would take the mask for both halves of a black and white icon.
    if (hColour && hMask) {
        ICONINFO info = {TRUE, 16, 16, hMask, hColour};
        hIcon = ::CreateIconIndirect(&info);
    }
    if (hColour) ::DeleteObject(hColour);
    if (hMask) ::DeleteObject(hMask);
    return hIcon;
}
