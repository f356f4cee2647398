// CVOImage.
#include "graphics/image.h"
#include "graphics/resource.h"

#include "image_ids.h"
#include "image_support.h"
#include "support/gdi_objects.h"
#include "support/handle_count.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <imgdecmp.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <functional>
#include <utility>

namespace {

// In place of the decoder: sees its parameters and decides what comes of them.
std::function<HRESULT(DecompressImageInfo&)> g_decoder;

// How the library takes it.
constexpr char kDecoder[] = "imgdecmp.dll";
constexpr WORD kDecoderOrdinal = 1;

HRESULT CallDecoder(DecompressImageInfo* info)
{
    return g_decoder(*info);
}

// In place of GetObjectW: what any bitmap is said to be.
BITMAP g_record;

int WINAPI TellRecord(HANDLE, int size, void* record)
{
    std::memcpy(record, &g_record, size);
    return size;
}

// A screen's context; the class-wide settings, and what is selected into the shared context, as they are at the start.
class ImageTest : public testing::Test
{
protected:
    ImageTest() : m_hdc(::GetDC(nullptr))
    {
        const HDC fresh = ::CreateCompatibleDC(nullptr);
        if (CVOImage::g_hdc) ::SelectObject(CVOImage::g_hdc, ::GetCurrentObject(fresh, OBJ_BITMAP));
        ::DeleteDC(fresh);
    }
    ~ImageTest() override
    {
        ::ReleaseDC(nullptr, m_hdc);
        CVOImage::g_iScale = 100;
        CVOImage::g_iMaxWidth = CVOImage::g_iMaxHeight = 10000;
    }

    int LoadPicture(CVOImage& image, const wchar_t* name) { return image.Load(m_hdc, PicturePath(name).c_str()); }
    // Makes the image hold this bitmap.
    void Give(CVOImage& image, HBITMAP bitmap)
    {
        const CImportPatch patch(L"korvaneLib.dll", kDecoder, kDecoderOrdinal, &CallDecoder);
        g_decoder = [&](DecompressImageInfo& info) {
            *info.phBM = bitmap;
            return S_OK;
        };
        ASSERT_EQ(1, image.SetBitmap(m_hdc, IDR_SMALL, L"PICTURE", nullptr));
    }
    // What GetBitmapInfoStruct makes of this record.
    BITMAPINFO* HeaderFor(CVOImage& image, const BITMAP& record)
    {
        const CImportPatch patch(L"korvaneLib.dll", "GetObjectW", &TellRecord);
        g_record = record;
        return image.GetBitmapInfoStruct();
    }

    HDC m_hdc;
};

bool Exists(HGDIOBJ object)
{
    return ::GetObjectType(object) != 0;
}

HGDIOBJ Selected()
{
    return ::GetCurrentObject(CVOImage::g_hdc, OBJ_BITMAP);
}

SIZE SizeOf(HBITMAP bitmap)
{
    BITMAP record = {};
    EXPECT_NE(0, ::GetObjectW(bitmap, sizeof(record), &record));
    return {record.bmWidth, record.bmHeight};
}

int DepthOf(HBITMAP bitmap)
{
    BITMAP record = {};
    EXPECT_NE(0, ::GetObjectW(bitmap, sizeof(record), &record));
    return record.bmBitsPixel;
}

} // namespace

TEST_F(ImageTest, TheSettingsBeginAsGiven)
{
    EXPECT_EQ(100, CVOImage::g_iScale);
    EXPECT_EQ(10000, CVOImage::g_iMaxWidth);
    EXPECT_EQ(10000, CVOImage::g_iMaxHeight);
}

TEST_F(ImageTest, ANewImageIsEmpty)
{
    CVOImage image;
    EXPECT_FALSE(image.IsLoaded());
    EXPECT_EQ(nullptr, image.GetBitmap());
    EXPECT_EQ(nullptr, static_cast<HBITMAP>(image));
    EXPECT_EQ(nullptr, image.Copy());
    EXPECT_EQ(nullptr, image.CreateBitmap(3, 3));
    EXPECT_EQ(nullptr, image.GetBitmapInfoStruct());
    CPaper paper(4, 4);
    const Bytes before = paper.Pixels();
    EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, -1, -1));
    EXPECT_EQ(0, CVOImage::g_bStretchBlt);
    EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, 4, 4));
    EXPECT_EQ(1, CVOImage::g_bStretchBlt);
    EXPECT_EQ(before, paper.Pixels());
}

TEST_F(ImageTest, AFileIsDecodedToItsPixels)
{
    static const struct
    {
        const wchar_t* name;
        int tolerance; // levels
    } kCases[] = {{L"photo.png", 0}, {L"photo.gif", 0}, {L"photo.bmp", 0}, {L"photo.jpg", 3}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.name);
        CVOImage image;
        ASSERT_EQ(1, LoadPicture(image, c.name));
        ASSERT_TRUE(image.IsLoaded());
        EXPECT_EQ(static_cast<unsigned>(kPhotoWidth), image.GetWidth());
        EXPECT_EQ(static_cast<unsigned>(kPhotoHeight), image.GetHeight());
        EXPECT_EQ(image.GetBitmap(), static_cast<HBITMAP>(image));
        EXPECT_EQ(::GetDeviceCaps(m_hdc, BITSPIXEL), DepthOf(image));
        EXPECT_LE(LargestDifference(ReferencePixels(c.name), PixelsOf(image)), c.tolerance);
    }
}

TEST_F(ImageTest, TransparentPixelsLieOnWhite)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"clear.png"));
    Bytes expected(4 * 3 * 3, 255);
    expected[3 * (4 + 1)] = expected[3 * (4 + 1) + 1] = 0; // red at (1, 1)
    EXPECT_EQ(expected, PixelsOf(image));
}

TEST_F(ImageTest, TheDecoderGetsTheRecord)
{
    const CImportPatch patch(L"korvaneLib.dll", kDecoder, kDecoderOrdinal, &CallDecoder);
    CVOImage::g_iScale = 50;
    CVOImage::g_iMaxWidth = 70;
    CVOImage::g_iMaxHeight = 80;
    CVOImage image;
    int calls = 0;
    g_decoder = [&](DecompressImageInfo& info) {
        ++calls;
        EXPECT_EQ(60u, info.dwSize);
        EXPECT_EQ(1024u, info.dwBufferMax);
        EXPECT_EQ(Bytes(1024), Bytes(info.pbBuffer, info.pbBuffer + 1024));
        EXPECT_EQ(0u, info.dwBufferCurrent);
        EXPECT_EQ(nullptr, info.ppImageRender);
        EXPECT_EQ(::GetDeviceCaps(m_hdc, BITSPIXEL), info.iBitDepth);
        EXPECT_EQ(CVOImage::g_hdc, info.hdc);
        EXPECT_EQ(50, info.iScale);
        EXPECT_EQ(70, info.iMaxWidth);
        EXPECT_EQ(80, info.iMaxHeight);
        EXPECT_EQ(&CVOImage::ImageProgress, info.pfnImageProgress);
        EXPECT_EQ(0xFFFFFFFF, info.crTransparentOverride);
        *info.phBM = MakeSection(5, 4, 24);
        if (calls == 1) {
            EXPECT_EQ(&CVOImage::GetImageData, info.pfnGetData);
            EXPECT_EQ(1024u, info.pfnGetData(reinterpret_cast<char*>(info.pbBuffer), 1024, info.lParam));
            EXPECT_EQ(0, std::memcmp(info.pbBuffer, FileBytes(PicturePath(L"photo.png")).data(), 1024));
        } else {
            EXPECT_EQ(&CVOImage::GetImageResourceData, info.pfnGetData);
            EXPECT_EQ(0u, reinterpret_cast<CVOResource*>(info.lParam)->GetUserData());
            ::DeleteObject(image.GetBitmap());
        }
        return E_FAIL; // not looked at
    };
    EXPECT_EQ(1, LoadPicture(image, L"photo.png"));
    EXPECT_EQ(5u, image.GetWidth());
    EXPECT_EQ(4u, image.GetHeight());
    ::DeleteObject(image.GetBitmap());
    EXPECT_EQ(1, image.SetBitmap(m_hdc, IDR_PHOTO, RT_RCDATA, nullptr));
    EXPECT_EQ(2, calls);
}

TEST_F(ImageTest, TheFileIsSharedForReadingAndClosedAfterwards)
{
    const CTempFolder folder;
    const std::wstring path = folder.File(L"picture.png");
    WriteFileBytes(path, FileBytes(PicturePath(L"small.png")));
    const auto opens = [&](DWORD access) {
        const HANDLE file =
            ::CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file != INVALID_HANDLE_VALUE) ::CloseHandle(file);
        return file != INVALID_HANDLE_VALUE;
    };
    const CImportPatch patch(L"korvaneLib.dll", kDecoder, kDecoderOrdinal, &CallDecoder);
    int calls = 0;
    g_decoder = [&](DecompressImageInfo&) {
        ++calls;
        EXPECT_TRUE(opens(GENERIC_READ));
        EXPECT_FALSE(opens(GENERIC_WRITE));
        return S_OK;
    };
    CVOImage image;
    EXPECT_EQ(1, image.Load(m_hdc, path.c_str()));
    EXPECT_EQ(1, calls);
    EXPECT_TRUE(opens(GENERIC_WRITE));
}

TEST_F(ImageTest, TheSharedContextIsMadeByTheFirstLoadOnly)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HDC shared = CVOImage::g_hdc;
    EXPECT_EQ(static_cast<DWORD>(OBJ_MEMDC), ::GetObjectType(shared));
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    EXPECT_EQ(shared, CVOImage::g_hdc);

    // As before any load; a load that fails makes it too, and so does a resource.
    for (const bool resource : {false, true}) {
        CVOImage::g_hdc = nullptr;
        CVOImage absent;
        EXPECT_EQ(0, resource ? absent.SetBitmap(m_hdc, IDR_ABSENT, RT_RCDATA, nullptr)
                              : LoadPicture(absent, L"absent.png"));
        EXPECT_EQ(static_cast<DWORD>(OBJ_MEMDC), ::GetObjectType(CVOImage::g_hdc));
        EXPECT_NE(shared, CVOImage::g_hdc);
        ::DeleteDC(CVOImage::g_hdc);
    }
    CVOImage::g_hdc = shared;
}

TEST_F(ImageTest, ScaleAndLimitsApplyInThisOrder)
{
    static const struct
    {
        const char* why;
        int scale, maxWidth, maxHeight;
        unsigned int width, height;
    } kCases[] = {
        {"as it is", 100, 10000, 10000, 97, 61},
        {"scaled", 50, 10000, 10000, 48, 30},
        {"limited in width", 100, 48, 10000, 48, 30},
        {"limited in height", 100, 10000, 30, 47, 30},
        {"scaled first, then below the limit", 10, 48, 48, 9, 6},
        {"not below a pixel", 1, 10000, 10000, 1, 1},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.why);
        CVOImage::g_iScale = c.scale;
        CVOImage::g_iMaxWidth = c.maxWidth;
        CVOImage::g_iMaxHeight = c.maxHeight;
        CVOImage image;
        ASSERT_EQ(1, LoadPicture(image, L"photo.png"));
        EXPECT_EQ(SizeOf(image).cx, static_cast<LONG>(image.GetWidth()));
        EXPECT_EQ(SizeOf(image).cy, static_cast<LONG>(image.GetHeight()));
        EXPECT_NEAR(c.width, image.GetWidth(), 1);
        EXPECT_NEAR(c.height, image.GetHeight(), 1);
        EXPECT_LE(image.GetWidth(), static_cast<unsigned>(c.maxWidth));
        EXPECT_LE(image.GetHeight(), static_cast<unsigned>(c.maxHeight));
    }
}

TEST_F(ImageTest, ASecondLoadReplacesTheBitmap)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"photo.png"));
    const HBITMAP first = image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    EXPECT_FALSE(Exists(first));
    EXPECT_EQ(4u, image.GetWidth());
    EXPECT_EQ(3u, image.GetHeight());
    EXPECT_EQ(ReferencePixels(L"small.png"), PixelsOf(image));
}

TEST_F(ImageTest, AFileThatIsNotThereLeavesTheHandleOfTheDeletedBitmap)
{
    CVOImage image;
    EXPECT_EQ(0, LoadPicture(image, L"absent.png"));
    EXPECT_FALSE(image.IsLoaded());
    EXPECT_EQ(0, image.Load(m_hdc, nullptr));
    EXPECT_EQ(0, image.Load(m_hdc, L""));
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HBITMAP bitmap = image;
    EXPECT_EQ(0, LoadPicture(image, L"absent.png"));
    EXPECT_EQ(bitmap, image.GetBitmap());
    EXPECT_TRUE(image.IsLoaded());
    EXPECT_EQ(4u, image.GetWidth());
    EXPECT_FALSE(Exists(bitmap));
    // It is of no use, and does no harm.
    CPaper paper(4, 4);
    const Bytes before = paper.Pixels();
    EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, 4, 4));
    EXPECT_EQ(before, paper.Pixels());
    EXPECT_EQ(nullptr, image.Copy());
    EXPECT_EQ(nullptr, image.CreateBitmap(1, 1));
    EXPECT_EQ(nullptr, image.GetBitmapInfoStruct());
    // The next load does not mind.
    EXPECT_EQ(1, LoadPicture(image, L"small.png"));
    EXPECT_EQ(ReferencePixels(L"small.png"), PixelsOf(image));
}

TEST_F(ImageTest, AFileThatIsNoPictureIsOpenedAllTheSame)
{
    const CTempFolder folder;
    const std::wstring path = folder.File(L"text.png");
    for (const Bytes& bytes : {Bytes(), Bytes(1), Bytes(1024, 'x'), Bytes(5000, 0xFF)}) {
        WriteFileBytes(path, bytes);
        CVOImage image;
        ASSERT_EQ(1, LoadPicture(image, L"small.png"));
        EXPECT_EQ(1, image.Load(m_hdc, path.c_str()));
        EXPECT_FALSE(image.IsLoaded());
        EXPECT_EQ(0u, image.GetWidth());
        EXPECT_EQ(0u, image.GetHeight());
    }
}

TEST_F(ImageTest, ABadContextLoadsNothing)
{
    CVOImage image;
    EXPECT_EQ(1, image.Load(nullptr, PicturePath(L"small.png").c_str())); // no depth
    EXPECT_FALSE(image.IsLoaded());
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    EXPECT_EQ(1, image.Draw(nullptr, 0, 0, -1, -1));
    EXPECT_EQ(1, image.Draw(reinterpret_cast<HDC>(0x10001), 0, 0, 9, 9));
}

TEST_F(ImageTest, AResourceOfAnyModuleIsDecoded)
{
    const HMODULE other = ::LoadLibraryW(L"graphics_other.dll");
    ASSERT_NE(nullptr, other);
    const struct
    {
        unsigned long id;
        const wchar_t* type;
        HINSTANCE module;
        const wchar_t* picture;
        int tolerance; // levels
    } cases[] = {
        {IDR_PHOTO, RT_RCDATA, nullptr, L"photo.png", 0},
        {IDR_PHOTO, RT_RCDATA, ::GetModuleHandleW(nullptr), L"photo.png", 0},
        {IDR_SMALL, L"PICTURE", nullptr, L"small.png", 0},
        {reinterpret_cast<unsigned long>(L"photo"), L"PICTURE", nullptr, L"photo.jpg", 3},
        {IDR_OTHER_PHOTO, L"PICTURE", other, L"photo.gif", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.picture);
        CVOImage image;
        EXPECT_EQ(1, image.SetBitmap(m_hdc, c.id, c.type, c.module));
        ASSERT_TRUE(image.IsLoaded());
        EXPECT_EQ(SizeOf(image).cx, static_cast<LONG>(image.GetWidth()));
        EXPECT_EQ(SizeOf(image).cy, static_cast<LONG>(image.GetHeight()));
        EXPECT_LE(LargestDifference(ReferencePixels(c.picture), PixelsOf(image)), c.tolerance);
    }
    ::FreeLibrary(other);
}

TEST_F(ImageTest, AMissingResourceLeavesTheImageAsItWas)
{
    CVOImage image;
    EXPECT_EQ(0, image.SetBitmap(m_hdc, IDR_ABSENT, RT_RCDATA, nullptr));
    EXPECT_FALSE(image.IsLoaded());
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HBITMAP bitmap = image;
    EXPECT_EQ(0, image.SetBitmap(m_hdc, IDR_ABSENT, RT_RCDATA, nullptr));
    EXPECT_EQ(bitmap, image.GetBitmap());
    EXPECT_EQ(4u, image.GetWidth());
    EXPECT_EQ(ReferencePixels(L"small.png"), PixelsOf(image));
}

TEST_F(ImageTest, AResourceThatIsNoPictureIsFoundAllTheSame)
{
    CVOImage image;
    EXPECT_EQ(1, image.SetBitmap(m_hdc, IDR_TEXT, RT_RCDATA, nullptr));
    EXPECT_FALSE(image.IsLoaded());
}

TEST_F(ImageTest, SettingABitmapLeavesTheEarlierOneToTheCaller)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HBITMAP earlier = image;
    ASSERT_EQ(1, image.SetBitmap(m_hdc, IDR_PHOTO, RT_RCDATA, nullptr));
    EXPECT_NE(earlier, image.GetBitmap());
    EXPECT_EQ(ReferencePixels(L"small.png"), PixelsOf(earlier));
    EXPECT_TRUE(::DeleteObject(earlier));
}

TEST_F(ImageTest, CopiesShareTheBitmapAndTheirDestructorsDeleteIt)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HBITMAP bitmap = image;
    CVOImage assigned;
    {
        const CVOImage copy(image);
        assigned = image;
        for (const CVOImage* shared : {&copy, &std::as_const(assigned)}) {
            EXPECT_EQ(bitmap, shared->GetBitmap());
            EXPECT_EQ(4u, shared->GetWidth());
            EXPECT_EQ(3u, shared->GetHeight());
        }
        EXPECT_TRUE(Exists(bitmap));
    }
    EXPECT_FALSE(Exists(bitmap));
    EXPECT_EQ(bitmap, image.GetBitmap());
}

TEST_F(ImageTest, DrawnInItsOwnSizeItCoversThatArea)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"photo.png"));
    const HGDIOBJ selected = Selected();
    CPaper paper(120, 80);
    CVOImage::g_bStretchBlt = 7;
    EXPECT_EQ(1, image.Draw(paper.Dc(), 10, 5, -1, -1));
    EXPECT_EQ(0, CVOImage::g_bStretchBlt);
    EXPECT_EQ(selected, Selected());
    const Bytes photo = ReferencePixels(L"photo.png");
    Bytes expected(120 * 80 * 3, 255);
    for (int y = 0; y < kPhotoHeight; ++y) {
        std::memcpy(&expected[3 * (120 * (y + 5) + 10)], &photo[3 * kPhotoWidth * y], 3 * kPhotoWidth);
    }
    EXPECT_EQ(expected, paper.Pixels());
}

TEST_F(ImageTest, StretchedItFillsTheGivenArea)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HGDIOBJ selected = Selected();
    CPaper paper(10, 8);
    EXPECT_EQ(1, image.Draw(paper.Dc(), 1, 1, 8, 6));
    EXPECT_EQ(1, CVOImage::g_bStretchBlt);
    EXPECT_EQ(selected, Selected());
    Bytes expected(10 * 8 * 3, 255);
    const auto put = [&](int x, int y, int channel) { // the channel that is left of white
        for (int i = 0; i < 3; ++i) expected[3 * (10 * y + x) + i] = i == channel ? 255 : 0;
    };
    for (const int y : {1, 2}) {
        for (const int x : {1, 2}) put(x, y, 2);
    }
    for (const int y : {5, 6}) {
        for (const int x : {7, 8}) put(x, y, 0);
    }
    EXPECT_EQ(expected, paper.Pixels());
}

TEST_F(ImageTest, AnySizeButTwiceMinusOneStretches)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    static constexpr int kSizes[][2] = {{-1, 6}, {8, -1}, {0, 0},       {1, 1},       {-8, -6},
                                        {-8, 6}, {4, 3},  {5, INT_MAX}, {-INT_MAX, 5}};
    for (const auto& size : kSizes) {
        SCOPED_TRACE(testing::Message() << size[0] << " x " << size[1]);
        CPaper paper(12, 12), expected(12, 12);
        CVOImage::g_bStretchBlt = 0;
        EXPECT_EQ(1, image.Draw(paper.Dc(), 6, 6, size[0], size[1]));
        EXPECT_EQ(1, CVOImage::g_bStretchBlt);
        const HDC source = ::CreateCompatibleDC(nullptr);
        const HGDIOBJ old = ::SelectObject(source, image);
        ::StretchBlt(expected.Dc(), 6, 6, size[0], size[1], source, 0, 0, 4, 3, SRCCOPY);
        ::SelectObject(source, old);
        ::DeleteDC(source);
        EXPECT_EQ(expected.Pixels(), paper.Pixels());
    }
}

TEST_F(ImageTest, ASizeThatCannotBeTurnedPositiveDrawsNothing)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    CPaper paper(12, 12);
    const Bytes before = paper.Pixels();
    EXPECT_EQ(1, image.Draw(paper.Dc(), 6, 6, INT_MIN, 6));
    EXPECT_EQ(1, image.Draw(paper.Dc(), 6, 6, 6, INT_MIN));
    EXPECT_EQ(1, image.Draw(paper.Dc(), 6, 6, INT_MIN, INT_MIN));
    EXPECT_EQ(1, CVOImage::g_bStretchBlt);
    EXPECT_EQ(before, paper.Pixels());
}

TEST_F(ImageTest, DrawingWithASingleMinusOneMirrorsOntoOnePixel)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"photo.png"));
    CPaper paper(12, 12);
    const Bytes before = paper.Pixels();
    EXPECT_EQ(1, image.Draw(paper.Dc(), 6, 6, -1, 3));
    const Bytes after = paper.Pixels();
    int changed = 0;
    for (int i = 0; i < 12 * 12; ++i) changed += std::memcmp(&before[3 * i], &after[3 * i], 3) != 0;
    EXPECT_EQ(3, changed);
}

TEST_F(ImageTest, ABitmapThatIsSelectedElsewhereIsNotDrawn)
{
    CVOImage image, other;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    ASSERT_EQ(1, LoadPicture(other, L"photo.png"));
    ::DeleteObject(other.Copy()); // leaves the other image in the shared context
    const HDC elsewhere = ::CreateCompatibleDC(nullptr);
    const HGDIOBJ old = ::SelectObject(elsewhere, image);
    CPaper paper(4, 4);
    const Bytes before = paper.Pixels();
    EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, -1, -1));
    EXPECT_EQ(before, paper.Pixels());
    EXPECT_EQ(nullptr, image.Copy());
    EXPECT_EQ(nullptr, image.CreateBitmap(4, 4));
    EXPECT_EQ(other.GetBitmap(), Selected());
    ::SelectObject(elsewhere, old);
    ::DeleteDC(elsewhere);
    EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, -1, -1));
    EXPECT_NE(before, paper.Pixels());
}

TEST_F(ImageTest, ACopyIsABitmapOfItsOwn)
{
    HBITMAP copy;
    {
        CVOImage image;
        ASSERT_EQ(1, LoadPicture(image, L"photo.png"));
        copy = image.Copy();
        ASSERT_NE(nullptr, copy);
        EXPECT_NE(image.GetBitmap(), copy);
        EXPECT_EQ(image.GetBitmap(), Selected()); // not put back
        EXPECT_EQ(DepthOf(image), DepthOf(copy));
    }
    EXPECT_EQ(kPhotoWidth, SizeOf(copy).cx);
    EXPECT_EQ(kPhotoHeight, SizeOf(copy).cy);
    EXPECT_EQ(ReferencePixels(L"photo.png"), PixelsOf(copy));
    const HDC dc = ::CreateCompatibleDC(nullptr);
    const HGDIOBJ old = ::SelectObject(dc, copy); // it is selected nowhere
    EXPECT_NE(nullptr, old);
    ::SelectObject(dc, old);
    ::DeleteDC(dc);
    EXPECT_TRUE(::DeleteObject(copy));
}

TEST_F(ImageTest, ACopyHasTheDepthOfTheImageWhateverTheScreens)
{
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bits);
        CVOImage image;
        Give(image, MakeSection(10, 10, bits));
        const HBITMAP copy = image.Copy(), larger = image.CreateBitmap(20, 5);
        EXPECT_EQ(bits, DepthOf(copy));
        EXPECT_EQ(bits, DepthOf(larger));
        EXPECT_EQ(PixelsOf(image), PixelsOf(copy));
        ::DeleteObject(copy);
        ::DeleteObject(larger);
    }
}

TEST_F(ImageTest, CreateBitmapStretches)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const HGDIOBJ selected = Selected();
    const HBITMAP doubled = image.CreateBitmap(8, 6);
    ASSERT_NE(nullptr, doubled);
    EXPECT_EQ(selected, Selected());
    EXPECT_EQ(8, SizeOf(doubled).cx);
    EXPECT_EQ(6, SizeOf(doubled).cy);
    const Bytes small = ReferencePixels(L"small.png");
    Bytes expected;
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 8; ++x) {
            const BYTE* pixel = &small[3 * (4 * (y / 2) + x / 2)];
            expected.insert(expected.end(), pixel, pixel + 3);
        }
    }
    EXPECT_EQ(expected, PixelsOf(doubled));
    EXPECT_TRUE(::DeleteObject(doubled));
}

TEST_F(ImageTest, ABitmapOfAnImpossibleSizeIsNotCreated)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    const int before = CountGdiObjects();
    static constexpr unsigned int kSizes[][2] = {{0, 3},          {3, 0},          {0xFFFFFFFF, 3}, {3, 0xFFFFFFFF},
                                                 {0x80000000, 1}, {1, 0x80000000}, {65535, 65535},  {INT_MAX, INT_MAX}};
    for (const auto& size : kSizes) {
        SCOPED_TRACE(testing::Message() << size[0] << " x " << size[1]);
        EXPECT_EQ(nullptr, image.CreateBitmap(size[0], size[1]));
    }
    EXPECT_EQ(before, CountGdiObjects());
}

TEST_F(ImageTest, DrawingAfterACopiedImageIsGoneLeavesNothingSelected)
{
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    {
        CVOImage copied;
        ASSERT_EQ(1, LoadPicture(copied, L"photo.png"));
        ::DeleteObject(copied.Copy());
    }
    CPaper paper(4, 4);
    EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, -1, -1));
    EXPECT_NE(image.GetBitmap(), Selected());
    const HDC dc = ::CreateCompatibleDC(nullptr);
    const HGDIOBJ old = ::SelectObject(dc, image);
    EXPECT_NE(nullptr, old);
    ::SelectObject(dc, old);
    ::DeleteDC(dc);
}

TEST_F(ImageTest, TheHeaderDescribesTheBitmap)
{
    static const struct
    {
        int bits;
        DWORD colours, size;
        SIZE_T allocated;
    } kCases[] = {
        {1, 2, 4 * 7, 40 + 4 * 2},           {4, 16, 8 * 7, 40 + 4 * 16}, {8, 256, 12 * 7, 40 + 4 * 256},
        {16, 65536, 20 * 7, 40 + 4 * 65536}, {24, 0, 32 * 7, 40},         {32, 0, 40 * 7, 40},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.bits);
        CVOImage image;
        Give(image, MakeSection(10, 7, c.bits));
        BITMAPINFO* const info = image.GetBitmapInfoStruct();
        ASSERT_NE(nullptr, info);
        const BITMAPINFOHEADER& header = info->bmiHeader;
        EXPECT_EQ(40u, header.biSize);
        EXPECT_EQ(10, header.biWidth);
        EXPECT_EQ(7, header.biHeight);
        EXPECT_EQ(1, header.biPlanes);
        EXPECT_EQ(c.bits, header.biBitCount);
        EXPECT_EQ(static_cast<DWORD>(BI_RGB), header.biCompression);
        EXPECT_EQ(c.size, header.biSizeImage);
        EXPECT_EQ(c.colours, header.biClrUsed);
        EXPECT_EQ(0u, header.biClrImportant);
        EXPECT_EQ(0, header.biXPelsPerMeter);
        EXPECT_EQ(0, header.biYPelsPerMeter);
        ASSERT_EQ(c.allocated, ::LocalSize(info));
        const BYTE* table = reinterpret_cast<const BYTE*>(info) + 40;
        EXPECT_EQ(Bytes(c.allocated - 40), Bytes(table, table + c.allocated - 40));
        EXPECT_EQ(nullptr, ::LocalFree(info));
    }
}

TEST_F(ImageTest, OddDepthsAreRoundedForTheTableButNotInTheHeader)
{
    static const struct
    {
        WORD planes, bits;
        DWORD colours, size; // of 10 x 1 pixels
    } kCases[] = {
        {1, 1, 2, 4},       {1, 2, 16, 8},  {1, 4, 16, 8},   {1, 5, 256, 12}, {1, 8, 256, 12},  {1, 9, 65536, 20},
        {1, 16, 65536, 20}, {1, 17, 0, 32}, {1, 24, 0, 32},  {1, 25, 0, 40},  {1, 32, 0, 40},   {1, 64, 0, 40},
        {4, 1, 16, 8},      {3, 1, 16, 8},  {2, 4, 256, 12}, {4, 8, 0, 40},   {256, 256, 2, 4}, {272, 241, 65536, 20},
    };
    CVOImage image;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.planes << " x " << c.bits);
        BITMAPINFO* const info = HeaderFor(image, {0, 10, 1, 0, c.planes, c.bits, nullptr});
        ASSERT_NE(nullptr, info);
        EXPECT_EQ(c.planes, info->bmiHeader.biPlanes);
        EXPECT_EQ(c.bits, info->bmiHeader.biBitCount);
        EXPECT_EQ(c.colours, info->bmiHeader.biClrUsed);
        EXPECT_EQ(c.size, info->bmiHeader.biSizeImage);
        EXPECT_EQ(40u + 4 * c.colours, ::LocalSize(info));
        ::LocalFree(info);
    }
}

TEST_F(ImageTest, AFileIsReadInPieces)
{
    const std::wstring path = PicturePath(L"photo.png");
    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, file);
    const long param = reinterpret_cast<long>(file);
    Bytes read;
    char buffer[1024];
    unsigned long part;
    while ((part = CVOImage::GetImageData(buffer, sizeof(buffer), param)) == sizeof(buffer)) {
        read.insert(read.end(), buffer, buffer + part);
    }
    read.insert(read.end(), buffer, buffer + part);
    EXPECT_EQ(FileBytes(path), read);
    EXPECT_EQ(0u, CVOImage::GetImageData(buffer, sizeof(buffer), param));
    ::CloseHandle(file);
    EXPECT_EQ(0u, CVOImage::GetImageData(buffer, sizeof(buffer), param));
    EXPECT_EQ(0u, CVOImage::GetImageData(buffer, sizeof(buffer), reinterpret_cast<long>(INVALID_HANDLE_VALUE)));
}

TEST_F(ImageTest, AResourceIsReadInPieces)
{
    CVOResource resource(nullptr, IDR_PHOTO, RT_RCDATA);
    ASSERT_GT(resource.GetSize(), 2048u);
    ASSERT_NE(0u, resource.GetSize() % 1024);
    const long param = reinterpret_cast<long>(&resource);
    Bytes read;
    char buffer[1024];
    while (const unsigned long part = CVOImage::GetImageResourceData(buffer, sizeof(buffer), param)) {
        EXPECT_EQ(std::min<unsigned long>(1024, resource.GetSize() - read.size()), part);
        read.insert(read.end(), buffer, buffer + part);
        EXPECT_EQ(read.size(), resource.GetUserData());
    }
    EXPECT_EQ(FileBytes(PicturePath(L"photo.png")), read);
}

TEST_F(ImageTest, AResourceIsNeverReadBehindItsEnd)
{
    CVOResource resource(nullptr, IDR_TEXT, RT_RCDATA), absent(nullptr, IDR_ABSENT, RT_RCDATA);
    const long param = reinterpret_cast<long>(&resource);
    char buffer[16] = "";
    static const struct
    {
        unsigned long position, size, part;
    } kCases[] = {{0, 16, 10}, {0, 10, 10}, {0, 4, 4},          {9, 4, 1},
                  {10, 4, 0},  {11, 4, 0},  {0xFFFFFFFF, 4, 0}, {3, 0, 0}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.size << " at " << c.position);
        resource.SetUserData(c.position);
        EXPECT_EQ(c.part, CVOImage::GetImageResourceData(buffer, c.size, param));
        EXPECT_EQ(c.position + c.part, resource.GetUserData());
        EXPECT_EQ(0, std::memcmp(buffer, "0123456789" + (c.part ? c.position : 0), c.part));
    }
    EXPECT_EQ(0u, CVOImage::GetImageResourceData(buffer, sizeof(buffer), 0));
    EXPECT_EQ(0u, CVOImage::GetImageResourceData(nullptr, sizeof(buffer), param));
    EXPECT_EQ(0u, CVOImage::GetImageResourceData(buffer, sizeof(buffer), reinterpret_cast<long>(&absent)));
}

TEST_F(ImageTest, ProgressIsOfNoInterest)
{
    CVOImage::ImageProgress(nullptr, 0, 0);
    CVOImage::ImageProgress(nullptr, 1, -1);
}

TEST_F(ImageTest, EveryTruncationAndManyDamagesAreSurvived)
{
    const CTempFolder folder;
    const std::wstring path = folder.File(L"damaged");
    const auto attempt = [&](const Bytes& bytes) {
        WriteFileBytes(path, bytes);
        CVOImage image;
        EXPECT_EQ(1, image.Load(m_hdc, path.c_str()));
        if (!image.IsLoaded()) {
            EXPECT_EQ(0u, image.GetWidth());
            EXPECT_EQ(0u, image.GetHeight());
            return;
        }
        EXPECT_EQ(SizeOf(image).cx, static_cast<LONG>(image.GetWidth()));
        EXPECT_EQ(SizeOf(image).cy, static_cast<LONG>(image.GetHeight()));
        CPaper paper(8, 8);
        image.Draw(paper.Dc(), 0, 0, 8, 8);
    };
    attempt({'x'});
    const int before = CountGdiObjects();
    for (const wchar_t* name : {L"small.png", L"photo.gif", L"photo.jpg", L"photo.bmp"}) {
        SCOPED_TRACE(testing::Message() << name);
        const Bytes good = FileBytes(PicturePath(name));
        const size_t step = good.size() < 1000 ? 1 : good.size() / 100;
        for (size_t cb = 0; cb < good.size(); cb += step) attempt(Bytes(good.begin(), good.begin() + cb));
        for (size_t at = 0; at < std::min<size_t>(good.size(), 64); ++at) {
            for (const BYTE flip : {0x80, 0xFF}) {
                Bytes damaged = good;
                damaged[at] ^= flip;
                attempt(damaged);
            }
        }
    }
    EXPECT_EQ(before, CountGdiObjects());
}

TEST_F(ImageTest, AHugePictureInASmallFileIsRefusedAtOnce)
{
    const CTempFolder folder;
    const std::wstring path = folder.File(L"huge.bmp");
    struct
    {
        BYTE file[14] = {'B', 'M', 100, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0};
        BYTE header[40] = {40, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 0, 0, 1, 0, 24};
        BYTE pixels[46] = {};
    } bytes;
    static_assert(sizeof(bytes) == 100);
    const BYTE* const begin = reinterpret_cast<const BYTE*>(&bytes);
    WriteFileBytes(path, Bytes(begin, begin + sizeof(bytes)));
    CVOImage image;
    const DWORD started = ::GetTickCount();
    EXPECT_EQ(1, image.Load(m_hdc, path.c_str()));
    EXPECT_FALSE(image.IsLoaded());
    EXPECT_LT(::GetTickCount() - started, 5000u);
}

TEST_F(ImageTest, AThousandOfEachOutcomeLeaveNothingBehind)
{
    const CTempFolder folder;
    const std::wstring text = folder.File(L"text.png"), cut = folder.File(L"cut.bmp");
    WriteFileBytes(text, Bytes(100, 'x'));
    const Bytes whole = FileBytes(PicturePath(L"photo.bmp"));
    WriteFileBytes(cut, Bytes(whole.begin(), whole.end() - 100));
    CPaper paper(16, 16);
    CVOImage image, second;
    ASSERT_EQ(1, LoadPicture(image, L"small.png"));
    ASSERT_EQ(1, LoadPicture(second, L"small.png"));
    const HDC elsewhere = ::CreateCompatibleDC(nullptr);
    const HGDIOBJ old = ::SelectObject(elsewhere, second);

    const auto load = [&](const std::wstring& path) {
        CVOImage loaded;
        return loaded.Load(m_hdc, path.c_str()) && loaded.IsLoaded();
    };
    const auto twice = [&](const std::wstring& path) {
        CVOImage loaded;
        return LoadPicture(loaded, L"small.png") && loaded.Load(m_hdc, path.c_str()) && loaded.IsLoaded();
    };
    const auto set = [&](unsigned long id, const wchar_t* type) {
        CVOImage loaded;
        return loaded.SetBitmap(m_hdc, id, type, nullptr) && loaded.IsLoaded();
    };
    const auto made = [](HBITMAP bitmap) { return bitmap && ::DeleteObject(bitmap); };
    const auto header = [](BITMAPINFO* info) { return info && !::LocalFree(info); };
    const struct
    {
        const char* what;
        bool result;
        std::function<bool()> once;
    } kinds[] = {
        {"PNG", true, [&] { return load(PicturePath(L"small.png")); }},
        {"JPEG", true, [&] { return load(PicturePath(L"photo.jpg")); }},
        {"GIF", true, [&] { return load(PicturePath(L"photo.gif")); }},
        {"BMP", true, [&] { return load(PicturePath(L"photo.bmp")); }},
        {"a file that is not there", false, [&] { return load(PicturePath(L"absent.png")); }},
        {"no picture", false, [&] { return load(text); }},
        {"a picture that is cut off", false, [&] { return load(cut); }},
        {"a second load", true, [&] { return twice(PicturePath(L"small.png")); }},
        {"a second load of no file", false, [&] { return twice(PicturePath(L"absent.png")); }},
        {"a resource", true, [&] { return set(IDR_SMALL, L"PICTURE"); }},
        {"a resource that is not there", false, [&] { return set(IDR_ABSENT, L"PICTURE"); }},
        {"a resource that is no picture", false, [&] { return set(IDR_TEXT, RT_RCDATA); }},
        {"drawing", true, [&] { return image.Draw(paper.Dc(), 0, 0, -1, -1) == 1; }},
        {"stretched", true, [&] { return image.Draw(paper.Dc(), 0, 0, 16, 16) == 1; }},
        {"drawing nowhere", true, [&] { return image.Draw(nullptr, 0, 0, -1, -1) == 1; }},
        {"drawing what is selected elsewhere", true, [&] { return second.Draw(paper.Dc(), 0, 0, 16, 16) == 1; }},
        {"a bitmap", true, [&] { return made(image.CreateBitmap(7, 7)); }},
        {"a bitmap of no size", false, [&] { return made(image.CreateBitmap(0, 7)); }},
        {"a bitmap beyond memory", false, [&] { return made(image.CreateBitmap(INT_MAX, INT_MAX)); }},
        {"a bitmap of what is selected elsewhere", false, [&] { return made(second.CreateBitmap(7, 7)); }},
        {"a header", true, [&] { return header(image.GetBitmapInfoStruct()); }},
        {"a header of nothing", false, [&] { return header(CVOImage().GetBitmapInfoStruct()); }},
        {"a copy of what is selected elsewhere", false, [&] { return made(second.Copy()); }},
        {"a copy", true, [&] { return made(image.Copy()); }},
    };
    ASSERT_GT(CountHandles(), 0);
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.what);
        for (int i = 0; i < 2; ++i) EXPECT_EQ(kind.result, kind.once()); // what the system keeps from the first use on
        const int objects = CountGdiObjects(), handles = CountHandles();
        int asExpected = 0;
        for (int i = 0; i < 1000; ++i) asExpected += kind.once() == kind.result;
        EXPECT_EQ(1000, asExpected);
        EXPECT_EQ(objects, CountGdiObjects());
        EXPECT_EQ(handles, CountHandles());
    }
    ::SelectObject(elsewhere, old);
    ::DeleteDC(elsewhere);
}
