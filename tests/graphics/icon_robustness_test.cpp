// A million damaged icon files. Every block that the loader allocates, and the bits of every bitmap that it fills, end
// at a page that cannot be touched, so that one byte too many, read or written, ends the test program.
#include "graphics/icon.h"
#include "icon_file.h"

#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace {

const wchar_t kLibrary[] = L"korvaneLib.dll";

// Blocks that end at a forbidden page; the places are used again, since making one takes long.
class CGuardedHeap
{
public:
    BYTE* Allocate(size_t cb)
    {
        if (cb >= kPlace) return nullptr;
        cb = (cb + kAlignment - 1) & ~(kAlignment - 1);
        if (m_free.empty()) {
            BYTE* const place =
                static_cast<BYTE*>(::VirtualAlloc(nullptr, kPlace + kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
            DWORD old = 0;
            ::VirtualProtect(place + kPlace, kPage, PAGE_NOACCESS, &old);
            m_free.push_back(place);
        }
        BYTE* const place = m_free.back();
        m_free.pop_back();
        ++nLive;
        std::memset(place + kPlace - cb, 0xA5, cb);
        return place + kPlace - cb;
    }
    void Free(BYTE* p)
    {
        if (!p) return;
        // The byte before a block, if not its own, is of the same place: so one of 0 bytes is found too.
        const DWORD_PTR before = reinterpret_cast<DWORD_PTR>(p) - 1;
        m_free.push_back(reinterpret_cast<BYTE*>(before & ~static_cast<DWORD_PTR>(kPlace - 1)));
        --nLive;
    }
    int nLive = 0;

private:
    static constexpr size_t kPlace = 64 << 10; // what VirtualAlloc aligns to
    static constexpr size_t kPage = 4096;
    static constexpr size_t kAlignment = KORVANE_GUARD_ALIGNMENT; // 1, but where undefined behaviour ends the program
    std::vector<BYTE*> m_free;
};

CGuardedHeap g_heap;

void* __cdecl GuardedMalloc(size_t cb)
{
    return g_heap.Allocate(cb);
}

void* __cdecl GuardedCalloc(size_t n, size_t cb)
{
    BYTE* const p = g_heap.Allocate(n * cb);
    if (p) std::memset(p, 0, n * cb);
    return p;
}

void __cdecl GuardedFree(void* p)
{
    g_heap.Free(static_cast<BYTE*>(p));
}

// The file, in memory.
const Bytes* g_pFile;
DWORD g_position;

HANDLE WINAPI OpenFile(LPCWSTR, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE)
{
    g_position = 0;
    return reinterpret_cast<HANDLE>(0x1234);
}

BOOL WINAPI ReadOpenFile(HANDLE, void* pv, DWORD cb, DWORD* pcbRead, OVERLAPPED*)
{
    *pcbRead = g_position < g_pFile->size() ? std::min<DWORD>(cb, g_pFile->size() - g_position) : 0;
    if (*pcbRead) std::memcpy(pv, g_pFile->data() + g_position, *pcbRead);
    g_position += *pcbRead;
    return TRUE;
}

DWORD WINAPI SeekOpenFile(HANDLE, LONG offset, LONG*, DWORD)
{
    if (offset < 0) return INVALID_SET_FILE_POINTER;
    return g_position = offset;
}

DWORD WINAPI SizeOfOpenFile(HANDLE, DWORD*)
{
    return g_pFile->size();
}

BOOL WINAPI CloseOpenFile(HANDLE)
{
    return TRUE;
}

int WINAPI AnswerBox(HWND, LPCWSTR, LPCWSTR, UINT)
{
    return IDOK;
}

DWORD WINAPI NoMessage(DWORD, LPCVOID, DWORD, DWORD, LPWSTR, DWORD, va_list*)
{
    return 0;
}

// Bitmaps without the system, which would take most of the time: the rules by which it reads a header, and bits that
// end at a forbidden page.
struct Section
{
    BYTE* pBits;
    LONG width, height, cbRow;
};
int g_nSections;
unsigned int g_sum; // of all that has been read, so that no reading is left out

HBITMAP WINAPI MakeGuardedSection(HDC, const BITMAPINFO* pInfo, UINT, void** ppBits, HANDLE, DWORD)
{
    const BITMAPINFOHEADER& header = pInfo->bmiHeader;
    *ppBits = nullptr;
    if (header.biSize < sizeof(header) || header.biPlanes != 1 || header.biWidth <= 0 || header.biHeight == 0)
        return nullptr;
    const WORD bits = header.biBitCount;
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32) return nullptr;
    DWORD nColours = 0;
    if (header.biCompression == BI_BITFIELDS && (bits == 16 || bits == 32))
        nColours = 3;
    else if (header.biCompression != BI_RGB)
        return nullptr;
    if (bits <= 8) nColours = header.biClrUsed ? std::min<DWORD>(header.biClrUsed, 1u << bits) : 1u << bits;
    const BYTE* const pColours = reinterpret_cast<const BYTE*>(pInfo) + header.biSize;
    for (DWORD i = 0; i < 4 * nColours; ++i) g_sum += pColours[i];

    const unsigned long long cbRow = (static_cast<unsigned long long>(header.biWidth) * bits + 31) / 32 * 4;
    const unsigned long long height = header.biHeight < 0 ? -static_cast<long long>(header.biHeight) : header.biHeight;
    // What the loader lets through must never overflow.
    EXPECT_LE(cbRow, 0x7FFFFFFFu);
    EXPECT_LE(height <= 0x7FFFFFFF ? cbRow * height : ~0ull, 0x7FFFFFFFu);
    if (cbRow * height > (60 << 10)) return nullptr;
    Section* const pSection = new Section{g_heap.Allocate(cbRow * height), header.biWidth, static_cast<LONG>(height),
                                          static_cast<LONG>(cbRow)};
    *ppBits = pSection->pBits;
    ++g_nSections;
    return reinterpret_cast<HBITMAP>(pSection);
}

int WINAPI DescribeSection(HANDLE hBitmap, int cb, void* pv)
{
    const Section& section = *reinterpret_cast<const Section*>(hBitmap);
    BITMAP bitmap = {0, section.width, section.height, section.cbRow, 1, 1, section.pBits};
    std::memcpy(pv, &bitmap, std::min<size_t>(cb, sizeof(bitmap)));
    return sizeof(bitmap);
}

BOOL WINAPI DeleteSection(HGDIOBJ hBitmap)
{
    Section* const pSection = reinterpret_cast<Section*>(hBitmap);
    g_heap.Free(pSection->pBits);
    delete pSection;
    --g_nSections;
    return TRUE;
}

HDC WINAPI MakeNoContext(HDC)
{
    return nullptr;
}

HICON WINAPI MakeNoIcon(ICONINFO*)
{
    return reinterpret_cast<HICON>(0x77);
}

// Replaces functions of the library, as long as it lives.
class CPatches
{
public:
    template <class Function> void Add(const char* pszFunction, Function* pReplacement)
    {
        m_patches.push_back(std::make_unique<CImportPatch>(kLibrary, pszFunction, pReplacement));
    }
    void AddFile()
    {
        Add("CreateFileW", OpenFile);
        Add("ReadFile", ReadOpenFile);
        Add("SetFilePointer", SeekOpenFile);
        Add("GetFileSize", SizeOfOpenFile);
        Add("CloseHandle", CloseOpenFile);
        Add("MessageBoxW", AnswerBox);
        Add("FormatMessageW", NoMessage);
    }
    void AddMemory()
    {
        Add("malloc", GuardedMalloc);
        Add("calloc", GuardedCalloc);
        Add("free", GuardedFree);
    }
    void AddGraphics()
    {
        Add("CreateCompatibleDC", MakeNoContext);
        Add("CreateDIBSection", MakeGuardedSection);
        Add("GetObjectW", DescribeSection);
        Add("DeleteObject", DeleteSection);
        Add("CreateIconIndirect", MakeNoIcon);
    }

private:
    std::vector<std::unique_ptr<CImportPatch>> m_patches;
};

class CRandom
{
public:
    explicit CRandom(unsigned int seed) : m_state(seed) {}
    // 0 to n - 1
    unsigned int operator()(unsigned int n)
    {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state % n;
    }

private:
    unsigned int m_state; // not 0
};

std::vector<Bytes> GoodFiles()
{
    std::vector<Bytes> files;
    for (const int bits : {1, 4, 8, 16, 24, 32}) files.push_back(MakeIconFile({MakeImage(16, 16, bits)}));
    files.push_back(MakeIconFile({MakeImage(32, 32, 1)}));
    files.push_back(MakeIconFile({MakeImage(32, 32, 4), MakeImage(16, 16, 4), MakeImage(9, 3, 24)}));
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R', 0, 0, 1, 0, 0, 0, 1, 0};
    png.resize(120);
    files.push_back(MakeIconFile({png, MakeImage(8, 8, 1)}));
    return files;
}

// A good file with some of its header fields or bytes changed, or cut off.
void Damage(const std::vector<Bytes>& good, CRandom& random, Bytes& file)
{
    static constexpr DWORD kValues[] = {0,          1,          2,          12,         16,         32,
                                        39,         40,         41,         64,         124,        255,
                                        256,        1024,       0x7FFF,     0x8000,     65535,      65536,
                                        65537,      0x3FFFFFFF, 0x40000000, 0x40000001, 0x7FFFFFFF, 0x80000000,
                                        0x80000001, 0xFFFFFFE0, 0xFFFFFFF0, 0xFFFFFFFE, 0xFFFFFFFF};
    file = good[random(good.size())];
    for (unsigned int n = 1 + random(4); n > 0; --n) {
        const unsigned int nImages = std::max<unsigned int>(1, std::min<unsigned int>(file[4], 3));
        const size_t entry = 6 + 16 * random(nImages);
        DWORD image = 0;
        std::memcpy(&image, &file[entry + 12], sizeof(image));
        const DWORD value = random(3) ? kValues[random(std::size(kValues))] : random(0xFFFFFFFF) >> random(32);
        switch (random(6)) {
        case 0: // a field of an image's header
        case 1: {
            const size_t at = image + 4 * random(10);
            if (image < file.size() && at + 4 <= file.size()) Put32(file, at, value);
            break;
        }
        case 2: // size or offset of an image
            Put32(file, entry + 8 + 4 * random(2), random(2) ? value : random(file.size() + 8));
            break;
        case 3: // planes or depth
            if (image < file.size() && image + 16 <= file.size())
                Put16(file, image + 12 + 2 * random(2), static_cast<WORD>(value));
            break;
        case 4:
            file[random(std::min<unsigned int>(file.size(), 120))] = static_cast<BYTE>(random(256));
            break;
        case 5:
            if (random(4) == 0) {
                file.resize(std::max<unsigned int>(64, random(file.size())));
            } else {
                file[random(file.size())] ^= static_cast<BYTE>(1u << random(8));
            }
            break;
        }
    }
}

// Reads the file, and makes all that can be made of its first images. Whether it could be read.
bool Exercise(CIconLoader& loader)
{
    if (!loader.ReadIconFromICOFile(L"icon.ico")) {
        EXPECT_FALSE(loader.IsValid());
        return false;
    }
    const unsigned int nImages = std::min(loader.GetIconsCount(), 3u);
    for (unsigned int i = 0; i < nImages; ++i) {
        SIZE size;
        loader.GetSize(i, size);
        if (const HICON hIcon = loader.MakeIconFromResource(i)) ::DestroyIcon(hIcon);
    }
    return true;
}

} // namespace

TEST(IconRobustnessTest, TheForbiddenPageIsThere)
{
    BYTE* const p = g_heap.Allocate(16);
    MEMORY_BASIC_INFORMATION info = {};
    ASSERT_NE(0u, ::VirtualQuery(p + 16, &info, sizeof(info)));
    EXPECT_EQ(p + 16, info.BaseAddress);
    EXPECT_EQ(static_cast<DWORD>(PAGE_NOACCESS), info.Protect);
    g_heap.Free(p);
    EXPECT_EQ(0, g_heap.nLive);
}

TEST(IconRobustnessTest, AMillionDamagedFilesTouchNothingBeyondTheirBytes)
{
    const std::vector<Bytes> good = GoodFiles();
    CRandom random(2463534242u);
    Bytes file;
    g_pFile = &file;
    int nRead = 0;
    {
        CPatches patches;
        patches.AddFile();
        patches.AddMemory();
        patches.AddGraphics();
        CIconLoader loader;
        for (int i = 0; i < 1000000; ++i) {
            Damage(good, random, file);
            nRead += Exercise(loader);
            if (testing::Test::HasFailure()) FAIL() << "file " << i;
        }
    }
    // Both sides of every decision have been met often.
    EXPECT_GT(nRead, 300000);
    EXPECT_LT(nRead, 900000);
    EXPECT_EQ(0, g_heap.nLive);
    EXPECT_EQ(0, g_nSections);
}

TEST(IconRobustnessTest, EveryTruncationAndEveryChangedByteOfTheFirstTwoHundred)
{
    Bytes file;
    g_pFile = &file;
    CPatches patches;
    patches.AddFile();
    patches.AddMemory();
    patches.AddGraphics();
    CIconLoader loader;
    for (const Bytes& good : GoodFiles()) {
        for (size_t cb = 0; cb <= good.size(); ++cb) {
            file.assign(good.begin(), good.begin() + cb);
            EXPECT_EQ(cb == good.size(), Exercise(loader)) << cb;
        }
        for (size_t at = 0; at < std::min<size_t>(good.size(), 200); ++at) {
            file = good;
            for (int value = 0; value < 256; ++value) {
                file[at] = static_cast<BYTE>(value);
                Exercise(loader);
            }
        }
    }
}

TEST(IconRobustnessTest, TheSystemsOwnBitmapsBearDamagedHeadersToo)
{
    const std::vector<Bytes> good = GoodFiles();
    CRandom random(88172645u);
    Bytes file;
    g_pFile = &file;
    CPatches patches;
    patches.AddFile();
    patches.AddMemory();
    CIconLoader loader;
    int nRead = 0;
    for (int i = 0; i < 20000; ++i) {
        Damage(good, random, file);
        nRead += Exercise(loader);
    }
    EXPECT_GT(nRead, 5000);
}
