// Damaged pictures: a failure code and no bitmap, or a bitmap; never more than the picture's share of memory, never a
// leak.
#include "decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

const char* const kFormats[] = {"palette4.png", "grey.jpg", "progressive.jpg", "transparent.gif",
                                "palette4.bmp", "rle8.bmp", "lzw.tif",         "icon8.ico"};

// Decodes and says whether result and bitmap agree.
bool IsConsistent(CDecoder& decoder)
{
    const HRESULT hr = decoder.Decode();
    return (hr == S_OK) == (decoder.hBitmap != nullptr) && (hr == S_OK || FAILED(hr));
}

DWORD CALLBACK ClaimTooMuch(LPSTR, DWORD dwBufferMax, LPARAM)
{
    return dwBufferMax + 1;
}

void CALLBACK TakeAndDelete(IImageRender* pRender, BOOL bComplete, LPARAM)
{
    HBITMAP hBitmap = nullptr;
    if (bComplete && pRender->GetBitmap(&hBitmap, TRUE) == S_OK) ::DeleteObject(hBitmap);
}

void PutBig32(Bytes& data, size_t at, DWORD value)
{
    for (int i = 0; i < 4; ++i) data[at + i] = static_cast<BYTE>(value >> (24 - 8 * i));
}

void PutLittle32(Bytes& data, size_t at, DWORD value)
{
    for (int i = 0; i < 4; ++i) data[at + i] = static_cast<BYTE>(value >> (8 * i));
}

} // namespace

TEST(DamageTest, EveryTruncationFailsOrGivesTheWholePicture)
{
    for (const char* pszName : kFormats) {
        SCOPED_TRACE(pszName);
        const ReferencePicture& picture = Reference(pszName);
        const Bytes whole = PictureFile(pszName);
        const size_t step = whole.size() > 2000 ? whole.size() / 700 : 1;
        size_t cb = 0;
        while (cb < whole.size()) {
            CDecoder decoder(Bytes(whole.begin(), whole.begin() + cb));
            ASSERT_TRUE(IsConsistent(decoder)) << cb;
            if (decoder.hBitmap) {
                ASSERT_LE(LargestDifference(picture.pixels, decoder.Pixels()), picture.tolerance) << cb;
            }
            // Every length in the headers and at the end, samples between.
            cb += cb < 200 || cb + 30 > whole.size() ? 1 : step;
        }
    }
}

TEST(DamageTest, EverySingleCorruptedByteOfAHeaderEndsWell)
{
    for (const char* pszName : kFormats) {
        SCOPED_TRACE(pszName);
        const Bytes whole = PictureFile(pszName);
        for (size_t at = 0; at < whole.size() && at < 160; ++at) {
            for (const int change : {0x01, 0x80, 0xFF}) {
                Bytes data = whole;
                data[at] ^= change;
                CDecoder decoder(data);
                ASSERT_TRUE(IsConsistent(decoder)) << at << " " << change;
            }
        }
    }
}

TEST(DamageTest, RandomDamageEndsWell)
{
    unsigned int seed = 12345;
    const auto random = [&] { return (seed = seed * 1664525 + 1013904223) >> 8; };
    for (const char* pszName : kFormats) {
        SCOPED_TRACE(pszName);
        const Bytes whole = PictureFile(pszName);
        for (int i = 0; i < 500; ++i) {
            Bytes data = whole;
            for (unsigned int n = 1 + random() % 8; n > 0; --n) {
                const size_t range = random() % 2 ? data.size() : std::min<size_t>(data.size(), 200);
                data[random() % range] = static_cast<BYTE>(random());
            }
            if (random() % 8 == 0) data.resize(random() % data.size());
            CDecoder decoder(data);
            decoder.info.iBitDepth = i % 2 ? 8 : 32;
            decoder.info.iMaxWidth = decoder.info.iMaxHeight = 200; // damage may enlarge
            ASSERT_TRUE(IsConsistent(decoder)) << i;
        }
    }
}

TEST(DamageTest, HugePicturesInSmallFilesAreRefused)
{
    std::vector<Bytes> files;
    for (const DWORD size : {65535u, 65536u, 65537u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0u}) {
        Bytes png = PictureFile("rgb.png");
        PutBig32(png, 16, size);
        PutBig32(png, 20, size);
        png.resize(100);
        files.push_back(png);

        Bytes bmp = PictureFile("rgb24.bmp");
        PutLittle32(bmp, 18, size);
        PutLittle32(bmp, 22, size);
        bmp.resize(100);
        files.push_back(bmp);
    }
    Bytes gif = PictureFile("transparent.gif");
    Bytes jpeg = PictureFile("q75_420.jpg");
    for (size_t i = 0; i + 10 < gif.size(); ++i) {
        if (gif[i] == 0x2C) {
            std::memset(&gif[i + 5], 0xFF, 4);
            break;
        }
    }
    for (size_t i = 0; i + 9 < jpeg.size(); ++i) {
        if (jpeg[i] == 0xFF && jpeg[i + 1] == 0xC0) {
            std::memset(&jpeg[i + 5], 0xFF, 4);
            break;
        }
    }
    files.push_back(gif);
    files.push_back(jpeg);
    Bytes icon = PictureFile("icon8.ico");
    PutLittle32(icon, 26, 65535);
    PutLittle32(icon, 30, 131070);
    files.push_back(icon);
    Bytes table = PictureFile("palette8.bmp");
    PutLittle32(table, 46, 0x40000001); // colours: 4 bytes each are 4 in 32 bits
    files.push_back(table);
    for (size_t i = 0; i < files.size(); ++i) {
        CDecoder decoder(files[i]);
        EXPECT_EQ(IMGDECOMP_E_NOIMAGE, decoder.Decode()) << i;
        EXPECT_EQ(nullptr, decoder.hBitmap);
    }
}

TEST(DamageTest, TheLargestAdmittedClaimFailsQuickly)
{
    Bytes png = PictureFile("rgb.png");
    PutBig32(png, 16, 8192);
    PutBig32(png, 20, 8192);
    png.resize(100);
    const ULONGLONG started = ::GetTickCount64();
    CDecoder decoder(png);
    EXPECT_LT(decoder.Decode(), 0);
    EXPECT_LT(::GetTickCount64() - started, 5000u);
}

TEST(DamageTest, WhatIsNoPictureIsRefused)
{
    const char text[] = "This is a text, and no picture at all, however one looks at it; not even a small one.";
    CDecoder decoder(Bytes(text, text + sizeof(text)));
    EXPECT_EQ(IMGDECOMP_E_NOIMAGE, decoder.Decode());
}

TEST(DamageTest, AThousandCallsOfEachOutcomeLeaveNothingBehind)
{
    struct Kind
    {
        const char* pszWhat;
        const char* pszPicture;
        HRESULT hrExpected; // E_FAIL: any failure
        void (*change)(Bytes& data, DecompressImageInfo& info);
    };
    static IImageRender* pRender;
    static const auto nothing = [](Bytes&, DecompressImageInfo&) {};
    static const auto cut = [](Bytes& data, DecompressImageInfo&) { data.resize(data.size() / 2); };
    static const Kind kKinds[] = {
        {"PNG", "palette4.png", S_OK, nothing},
        {"JPEG", "grey.jpg", S_OK, nothing},
        {"GIF", "transparent.gif", S_OK, nothing},
        {"BMP", "palette4.bmp", S_OK, nothing},
        {"TIFF", "lzw.tif", S_OK, nothing},
        {"ICO", "icon8.ico", S_OK, nothing},
        {"1 bit", "palette4.png", S_OK, [](Bytes&, DecompressImageInfo& info) { info.iBitDepth = 1; }},
        {"8 bits", "palette4.png", S_OK, [](Bytes&, DecompressImageInfo& info) { info.iBitDepth = 8; }},
        {"16 bits", "palette4.png", S_OK, [](Bytes&, DecompressImageInfo& info) { info.iBitDepth = 16; }},
        {"smaller", "palette4.png", S_OK, [](Bytes&, DecompressImageInfo& info) { info.iScale = 50; }},
        {"with an object", "palette4.png", S_OK,
         [](Bytes&, DecompressImageInfo& info) { info.ppImageRender = &pRender; }},
        {"an object alone", "palette4.png", S_OK,
         [](Bytes&, DecompressImageInfo& info) {
             info.ppImageRender = &pRender;
             info.phBM = nullptr;
         }},
        {"taken at the end", "palette4.png", S_OK,
         [](Bytes&, DecompressImageInfo& info) { info.pfnImageProgress = TakeAndDelete; }},
        {"a cut PNG", "palette4.png", E_FAIL, cut},
        {"a cut JPEG", "grey.jpg", E_FAIL, cut},
        {"a cut GIF", "transparent.gif", E_FAIL, cut},
        {"a cut BMP", "palette4.bmp", E_FAIL, cut},
        {"a cut TIFF", "lzw.tif", E_FAIL, cut},
        {"a cut ICO", "icon8.ico", E_FAIL, cut},
        {"nothing", "palette4.png", IMGDECOMP_E_NOIMAGE, [](Bytes& data, DecompressImageInfo&) { data.clear(); }},
        {"no picture", "palette4.png", IMGDECOMP_E_NOIMAGE,
         [](Bytes& data, DecompressImageInfo&) { std::fill(data.begin(), data.end(), BYTE{'x'}); }},
        {"too large", "palette4.png", IMGDECOMP_E_NOIMAGE,
         [](Bytes& data, DecompressImageInfo&) { PutBig32(data, 16, 0x7FFFFFFF); }},
        {"a depth that there is not", "palette4.png", E_INVALIDARG,
         [](Bytes&, DecompressImageInfo& info) { info.iBitDepth = 7; }},
        {"a claim beyond the buffer", "palette4.png", E_UNEXPECTED,
         [](Bytes&, DecompressImageInfo& info) { info.pfnGetData = ClaimTooMuch; }},
    };
    for (const Kind& kind : kKinds) {
        SCOPED_TRACE(kind.pszWhat);
        Bytes data = PictureFile(kind.pszPicture);
        DecompressImageInfo unused = {};
        kind.change(data, unused);
        CDecoder decoder(data);
        kind.change(data, decoder.info);
        const auto isAsExpected = [&] {
            const HRESULT hr = decoder.Decode();
            if (decoder.info.ppImageRender && pRender) pRender->Release();
            return kind.hrExpected == E_FAIL ? FAILED(hr) : hr == kind.hrExpected;
        };
        EXPECT_TRUE(isAsExpected());
        EXPECT_TRUE(isAsExpected()); // what the system keeps, it keeps from the first use on
        const Counts before = CountObjects();
        ASSERT_GT(before.handles, 0);
        int nAsExpected = 0;
        for (int i = 0; i < 1000; ++i) nAsExpected += isAsExpected();
        const Counts after = CountObjects();
        EXPECT_EQ(1000, nAsExpected);
        EXPECT_EQ(before.gdi, after.gdi);
        EXPECT_EQ(before.handles, after.handles);
    }
}
