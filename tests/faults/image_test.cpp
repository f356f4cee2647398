// Pictures: each allocation of the decoder and the image class, and each call of the platform that they make, fails in
// turn. Load and SetBitmap give 0 when the source is not there and 1 otherwise; what could not be decoded is not loaded.
#include "faults.h"
#include "graphics/image.h"
#include "image_ids.h"
#include "image_support.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <imgdecmp.h>
#include <wincodec.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>

extern "C" HRESULT WINAPI WICCreateImagingFactory_Proxy(UINT sdkVersion, IWICImagingFactory** ppFactory);

namespace {

// The decoder asks once in its life who makes the component's factories, and keeps the answer. It is given this maker, so
// that a factory can be refused at any time.
class CFailingFactory
{
public:
    CFailingFactory() { s_bWatched = true; }
    ~CFailingFactory() { s_bWatched = false; }
    CFailingFactory(const CFailingFactory&) = delete;
    CFailingFactory& operator=(const CFailingFactory&) = delete;

    class CAnswer : public testing::Environment
    {
    public:
        void SetUp() override { m_patch.emplace(L"imgdecmp.dll", "GetProcAddress", &Find); }
        void TearDown() override { m_patch.reset(); }

    private:
        std::optional<CImportPatch> m_patch;
    };

private:
    static constexpr const char* kName = "WICCreateImagingFactory_Proxy";

    static FARPROC WINAPI Find(HMODULE hModule, LPCSTR pszName)
    {
        if (std::strcmp(pszName, kName) == 0) return reinterpret_cast<FARPROC>(reinterpret_cast<INT_PTR>(&Make));
        return ::GetProcAddress(hModule, pszName);
    }
    static HRESULT WINAPI Make(UINT uVersion, IWICImagingFactory** ppFactory)
    {
        if (s_bWatched && faults_detail::CountCall(kName)) return E_OUTOFMEMORY;
        return ::WICCreateImagingFactory_Proxy(uVersion, ppFactory);
    }

    static inline bool s_bWatched = false;
};

testing::Environment* const g_pAnswer = testing::AddGlobalTestEnvironment(new CFailingFactory::CAnswer);

constexpr long kNotLoaded = -1;
constexpr long kNotFound = -2;

// One picture of each way through the decoder: with and without the component's converter.
constexpr const wchar_t* kPictures[] = {L"photo.png", L"photo.jpg", L"photo.gif"};

class ImageFaultTest : public CFaultTest
{
protected:
    ImageFaultTest() : m_hdc(::CreateCompatibleDC(nullptr))
    {
        CVOImage image;
        image.Load(m_hdc, PicturePath(L"photo.png").c_str()); // makes g_hdc
    }
    ~ImageFaultTest() override { ::DeleteDC(m_hdc); }

    long Load(const wchar_t* pszPicture)
    {
        CVOImage image;
        const int nResult = image.Load(m_hdc, PicturePath(pszPicture).c_str());
        return Judge(image, nResult);
    }
    long SetBitmap()
    {
        CVOImage image;
        return Judge(image, image.SetBitmap(m_hdc, IDR_PHOTO, RT_RCDATA, nullptr));
    }
    // Size and pixels are there with the bitmap, and not without it.
    static long Judge(const CVOImage& image, int nResult)
    {
        if (!nResult) return kNotFound;
        if (!image.IsLoaded()) {
            EXPECT_EQ(0u, image.GetWidth());
            EXPECT_EQ(0u, image.GetHeight());
            return kNotLoaded;
        }
        EXPECT_TRUE((image.GetWidth() == kPhotoWidth && image.GetHeight() == kPhotoHeight) ||
                    (image.GetWidth() == 0 && image.GetHeight() == 0));
        return 0;
    }

    const HDC m_hdc;
};

struct CSource
{
    Bytes data;
    size_t at = 0;
};

DWORD CALLBACK GetData(LPSTR pszBuffer, DWORD dwBufferMax, LPARAM lParam)
{
    CSource& source = *reinterpret_cast<CSource*>(lParam);
    const size_t cb = std::min<size_t>(dwBufferMax, source.data.size() - source.at);
    std::memcpy(pszBuffer, source.data.data() + source.at, cb);
    source.at += cb;
    return cb;
}

// Decodes to a bitmap and an object, which have to be there both or neither.
HRESULT Decode(const wchar_t* pszPicture, int nDepth, int nScale)
{
    CSource source = {FileBytes(PicturePath(pszPicture))};
    BYTE buffer[1024] = {};
    HBITMAP hBitmap = reinterpret_cast<HBITMAP>(1);
    auto* pRender = reinterpret_cast<IImageRender*>(1);
    DecompressImageInfo info = {};
    info.dwSize = sizeof(info);
    info.pbBuffer = buffer;
    info.dwBufferMax = sizeof(buffer);
    info.phBM = &hBitmap;
    info.ppImageRender = &pRender;
    info.iBitDepth = nDepth;
    info.lParam = reinterpret_cast<LPARAM>(&source);
    info.iScale = nScale;
    info.iMaxWidth = info.iMaxHeight = 10000;
    info.pfnGetData = &GetData;
    info.crTransparentOverride = static_cast<COLORREF>(-1);
    const HRESULT hr = ::DecompressImageIndirect(&info);
    EXPECT_EQ(SUCCEEDED(hr), hBitmap != nullptr);
    EXPECT_EQ(SUCCEEDED(hr), pRender != nullptr);
    if (hBitmap) ::DeleteObject(hBitmap);
    if (pRender) pRender->Release();
    return hr;
}

} // namespace

TEST_F(ImageFaultTest, APictureThatMemoryIsOutForIsNotLoaded)
{
    const auto check = [](EOutcome outcome, long lCode) {
        EXPECT_EQ(EOutcome::kCode, outcome);
        EXPECT_EQ(kNotLoaded, lCode) << "the file and the resource were there";
    };
    for (const wchar_t* pszPicture : kPictures) {
        FailEachAllocation(
            "Load", [=] { return Load(pszPicture); }, EAfterwards::kNothingLeft, check);
    }
    FailEachAllocation(
        "SetBitmap", [this] { return SetBitmap(); }, EAfterwards::kNothingLeft, check);
}

TEST_F(ImageFaultTest, TheDecoderSaysThatMemoryIsOut)
{
    static constexpr struct
    {
        const wchar_t* pszPicture;
        int nDepth, nScale;
    } kCases[] = {{L"photo.png", 24, 100}, {L"photo.png", 4, 100}, {L"photo.jpg", 2, 50},
                  {L"small.png", 8, 100},  {L"photo.bmp", 1, 100}, {L"photo.jpg", 16, 33}};
    for (const auto& rCase : kCases) {
        FailEachAllocation(("decode to " + std::to_string(rCase.nDepth) + " bits").c_str(),
                           [&rCase] { return Decode(rCase.pszPicture, rCase.nDepth, rCase.nScale); },
                           EAfterwards::kNothingLeft,
                           [](EOutcome outcome, long lCode) {
                               EXPECT_EQ(EOutcome::kCode, outcome);
                               EXPECT_EQ(E_OUTOFMEMORY, lCode);
                           });
    }
}

TEST_F(ImageFaultTest, AFailedCallLeavesThePictureUnloadedOrTheFileNotFound)
{
    const CFailing<&::CreateFileW> create(kLibrary, "CreateFileW", INVALID_HANDLE_VALUE, ERROR_SHARING_VIOLATION);
    const CFailing<&::ReadFile> read(kLibrary, "ReadFile", FALSE, ERROR_READ_FAULT);
    const CFailing<&::CloseHandle> close(kLibrary, "CloseHandle", FALSE, ERROR_INVALID_HANDLE, EWork::kDone);
    const CFailing<&::GetDeviceCaps> caps(kLibrary, "GetDeviceCaps", 0, ERROR_INVALID_HANDLE);
    const CFailing<&::GetObjectW> object(kLibrary, "GetObjectW", 0, ERROR_INVALID_HANDLE);
    const CFailing<&::CreateDIBSection> section(kDecoder, "CreateDIBSection", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::CoInitializeEx> com(kDecoder, "CoInitializeEx", E_OUTOFMEMORY, 0);
    const CFailingFactory factory;
    bool bRead = false; // whether a call has read anything
    const auto check = [&](const char* pszFunction, int, long lResult) {
        if (IsOneOf(pszFunction, {"CreateFileW"})) {
            EXPECT_EQ(kNotFound, lResult);
        } else if (IsOneOf(pszFunction, {"CloseHandle", "GetObjectW", "CoInitializeEx"})) {
            EXPECT_EQ(0, lResult) << "the picture needs none of them";
        } else if (bRead && IsOneOf(pszFunction, {"ReadFile"})) {
            EXPECT_TRUE(lResult == kNotLoaded || lResult == 0) << "a decoder may do with what it has";
        } else {
            EXPECT_EQ(kNotLoaded, lResult);
        }
        bRead = bRead || IsOneOf(pszFunction, {"ReadFile"});
    };
    for (const wchar_t* pszPicture : kPictures) {
        bRead = false;
        FailEachCall(
            "Load", [=] { return Load(pszPicture); }, check);
    }
    FailEachCall(
        "SetBitmap", [this] { return SetBitmap(); }, check);
}

TEST_F(ImageFaultTest, AResourceThatCannotBeHadIsNotFound)
{
    const CFailing<&::FindResourceW> find(kLibrary, "FindResourceW", nullptr, ERROR_RESOURCE_NAME_NOT_FOUND);
    const CFailing<&::LoadResource> load(kLibrary, "LoadResource", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::SizeofResource> size(kLibrary, "SizeofResource", 0, ERROR_RESOURCE_NAME_NOT_FOUND);
    FailEachCall(
        "SetBitmap's resource", [this] { return SetBitmap(); },
        [](const char* pszFunction, int, long lResult) {
            EXPECT_EQ(IsOneOf(pszFunction, {"SizeofResource"}) ? kNotLoaded : kNotFound, lResult);
        });
}

TEST_F(ImageFaultTest, WithoutTheSharedContextAPictureLoadsAndTheNextLoadMakesIt)
{
    const HDC hdcShared = CVOImage::g_hdc;
    CVOImage::g_hdc = nullptr;
    {
        const CFailing<&::CreateCompatibleDC> context(kLibrary, "CreateCompatibleDC", nullptr, ERROR_NOT_ENOUGH_MEMORY);
        FailEachCall(
            "the shared context",
            [this] {
                if (CVOImage::g_hdc) ::DeleteDC(CVOImage::g_hdc);
                CVOImage::g_hdc = nullptr;
                CVOImage image;
                const bool bLoaded = image.Load(m_hdc, PicturePath(L"photo.png").c_str()) && image.IsLoaded();
                EXPECT_TRUE(bLoaded);
                const bool bShared = CVOImage::g_hdc != nullptr;
                EXPECT_EQ(1, image.Draw(m_hdc, 0, 0, -1, -1));
                if (!bShared) {
                    EXPECT_EQ(nullptr, image.Copy());
                    EXPECT_EQ(nullptr, image.CreateBitmap(5, 5));
                    CVOImage next;
                    next.Load(m_hdc, PicturePath(L"photo.png").c_str());
                    EXPECT_TRUE(CVOImage::g_hdc);
                }
                return bShared ? 0L : kNotLoaded;
            },
            [](const char*, int, long lResult) { EXPECT_EQ(kNotLoaded, lResult); });
    }
    if (CVOImage::g_hdc) ::DeleteDC(CVOImage::g_hdc);
    CVOImage::g_hdc = hdcShared;
}

TEST_F(ImageFaultTest, DrawingGivesOneAndCopiesGiveNullWhateverFails)
{
    const CFailing<&::CreateCompatibleDC> context(kLibrary, "CreateCompatibleDC", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::CreateCompatibleBitmap> bitmap(kLibrary, "CreateCompatibleBitmap", nullptr,
                                                     ERROR_NOT_ENOUGH_MEMORY);
    const CFailing<&::GetObjectW> object(kLibrary, "GetObjectW", 0, ERROR_INVALID_HANDLE);
    const CFailing<&::SelectObject> select(kLibrary, "SelectObject", nullptr, ERROR_INVALID_HANDLE);
    const CFailing<&::StretchBlt> stretch(kLibrary, "StretchBlt", FALSE, ERROR_INVALID_HANDLE);
    const CFailing<&::BitBlt> blt(kLibrary, "BitBlt", FALSE, ERROR_INVALID_HANDLE);
    const CFailing<&::LocalAlloc> allocate(kLibrary, "LocalAlloc", nullptr, ERROR_NOT_ENOUGH_MEMORY);
    CVOImage image;
    ASSERT_EQ(1, image.Load(m_hdc, PicturePath(L"photo.png").c_str()));
    const CPaper paper(kPhotoWidth, kPhotoHeight);
    const auto draw = [&](int cx, int cy) {
        ::PatBlt(paper.Dc(), 0, 0, kPhotoWidth, kPhotoHeight, WHITENESS);
        EXPECT_EQ(1, image.Draw(paper.Dc(), 0, 0, cx, cy));
        EXPECT_EQ(cx != -1, CVOImage::g_bStretchBlt != 0);
        return 0L;
    };
    const auto nothing = [](const char*, int, long) {};
    FailEachCall(
        "Draw", [&] { return draw(-1, -1); }, nothing);
    FailEachCall(
        "Draw stretched", [&] { return draw(50, 40); }, nothing);
    draw(-1, -1);
    EXPECT_EQ(PixelsOf(image), paper.Pixels()) << "the image still draws";

    // Of all calls that a copy makes only those that put things back may fail without a word.
    const auto null = [](const char* pszFunction, int, long lResult) {
        if (!IsOneOf(pszFunction, {"SelectObject"})) {
            EXPECT_EQ(kNotLoaded, lResult);
        }
    };
    const auto owned = [&](HBITMAP hCopy, int cx, int cy) {
        if (!hCopy) return kNotLoaded;
        BITMAP record = {};
        ::GetObjectW(hCopy, sizeof(record), &record);
        EXPECT_EQ(cx, record.bmWidth);
        EXPECT_EQ(cy, record.bmHeight);
        EXPECT_TRUE(::DeleteObject(hCopy));
        return 0L;
    };
    FailEachCall(
        "CreateBitmap", [&] { return owned(image.CreateBitmap(30, 20), 30, 20); }, null);
    FailEachCall(
        "Copy", [&] { return owned(image.Copy(), kPhotoWidth, kPhotoHeight); }, null);
    FailEachCall(
        "GetBitmapInfoStruct",
        [&] {
            BITMAPINFO* const pInfo = image.GetBitmapInfoStruct();
            if (!pInfo) return kNotLoaded;
            EXPECT_EQ(kPhotoWidth, pInfo->bmiHeader.biWidth);
            ::LocalFree(pInfo);
            return 0L;
        },
        null);
    draw(-1, -1);
    EXPECT_EQ(PixelsOf(image), paper.Pixels());
}

TEST_F(ImageFaultTest, WhatTheComponentRefusesTheDecoderPassesOn)
{
    static constexpr HRESULT kRefused = WINCODEC_ERR_INTERNALERROR;
    ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
    {
        // One object of each kind, for its table of methods.
        IWICImagingFactory* pFactory = nullptr;
        ASSERT_EQ(S_OK, ::WICCreateImagingFactory_Proxy(WINCODEC_SDK_VERSION, &pFactory));
        IWICFormatConverter* pConverter = nullptr;
        ASSERT_EQ(S_OK, pFactory->CreateFormatConverter(&pConverter));
        IWICPalette* pPalette = nullptr;
        ASSERT_EQ(S_OK, pFactory->CreatePalette(&pPalette));
        IWICBitmapDecoder* pDecoder = nullptr;
        ASSERT_EQ(S_OK, pFactory->CreateDecoderFromFilename(PicturePath(L"photo.png").c_str(), nullptr, GENERIC_READ,
                                                            WICDecodeMetadataCacheOnDemand, &pDecoder));
        IWICBitmapFrameDecode* pFrame = nullptr;
        ASSERT_EQ(S_OK, pDecoder->GetFrame(0, &pFrame));
        {
            const CFailing<&IWICImagingFactory::CreateDecoderFromStream> decoder(pFactory, "CreateDecoderFromStream",
                                                                                 kRefused);
            const CFailing<&IWICImagingFactory::CreateFormatConverter> converter(pFactory, "CreateFormatConverter",
                                                                                 kRefused);
            const CFailing<&IWICImagingFactory::CreatePalette> palette(pFactory, "CreatePalette", kRefused);
            const CFailing<&IWICImagingFactory::CreateBitmapFromMemory> bitmap(pFactory, "CreateBitmapFromMemory",
                                                                               kRefused);
            const CFailing<&IWICPalette::InitializeFromBitmap> fill(pPalette, "InitializeFromBitmap", kRefused);
            const CFailing<&IWICPalette::GetColors> colours(pPalette, "GetColors", kRefused);
            const CFailing<&IWICBitmapDecoder::GetFrame> frame(pDecoder, "GetFrame", kRefused);
            const CFailing<&IWICBitmapSource::GetSize> size(pFrame, "GetSize", kRefused);
            const CFailing<&IWICBitmapSource::GetPixelFormat> format(pFrame, "GetPixelFormat", kRefused);
            const CFailing<&IWICBitmapSource::CopyPixels> pixels(pFrame, "CopyPixels", kRefused);
            const CFailing<&IWICFormatConverter::Initialize> start(pConverter, "Initialize", kRefused);
            const CFailing<&IWICBitmapSource::CopyPixels, 1> convert(pConverter, "CopyPixels of the converter",
                                                                     kRefused);
            const auto passedOn = [](const char*, int, long lResult) { EXPECT_EQ(kRefused, lResult); };
            FailEachCall(
                "decode in 24 bits", [] { return Decode(L"photo.png", 24, 100); }, passedOn);
            FailEachCall(
                "decode through the converter", [] { return Decode(L"photo.gif", 24, 100); }, passedOn);
            FailEachCall(
                "decode in 8 bits", [] { return Decode(L"photo.png", 8, 100); },
                [](const char* pszMethod, int, long lResult) {
                    const bool bTable = IsOneOf(
                        pszMethod, {"CreatePalette", "CreateBitmapFromMemory", "InitializeFromBitmap", "GetColors"});
                    EXPECT_EQ(bTable ? S_OK : kRefused, lResult) << "without the component's table there is another";
                });
        }
        pFrame->Release();
        pDecoder->Release();
        pPalette->Release();
        pConverter->Release();
        pFactory->Release();
    }
    ::CoUninitialize();
}
