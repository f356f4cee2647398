// The record, the export and the thread.
#include "decoder.h"

#include <gtest/gtest.h>

#include <thread>

TEST(ParameterTest, TheFieldsLieWhereThePlatformHasThem)
{
    static_assert(sizeof(DecompressImageInfo) == 60);
    static_assert(offsetof(DecompressImageInfo, pbBuffer) == 4 && offsetof(DecompressImageInfo, dwBufferMax) == 8);
    static_assert(offsetof(DecompressImageInfo, dwBufferCurrent) == 12 && offsetof(DecompressImageInfo, phBM) == 16);
    static_assert(offsetof(DecompressImageInfo, ppImageRender) == 20 && offsetof(DecompressImageInfo, iBitDepth) == 24);
    static_assert(offsetof(DecompressImageInfo, lParam) == 28 && offsetof(DecompressImageInfo, hdc) == 32);
    static_assert(offsetof(DecompressImageInfo, iScale) == 36 && offsetof(DecompressImageInfo, iMaxWidth) == 40);
    static_assert(offsetof(DecompressImageInfo, iMaxHeight) == 44 && offsetof(DecompressImageInfo, pfnGetData) == 48);
    static_assert(offsetof(DecompressImageInfo, pfnImageProgress) == 52);
    static_assert(offsetof(DecompressImageInfo, crTransparentOverride) == 56);
    EXPECT_EQ(static_cast<HRESULT>(0x800B0100), IMGDECOMP_E_NOIMAGE);
}

TEST(ParameterTest, TheFunctionIsExportedAtOrdinalOneAndByName)
{
    const HMODULE hModule = ::GetModuleHandleW(L"imgdecmp.dll");
    ASSERT_NE(nullptr, hModule);
    const FARPROC pByName = ::GetProcAddress(hModule, "DecompressImageIndirect");
    ASSERT_NE(nullptr, pByName);
    EXPECT_EQ(pByName, ::GetProcAddress(hModule, reinterpret_cast<LPCSTR>(1)));
    CDecoder decoder(PictureFile("rgb.png"));
    const auto pfn = reinterpret_cast<HRESULT (*)(DecompressImageInfo*)>(reinterpret_cast<void*>(pByName));
    EXPECT_EQ(S_OK, pfn(&decoder.info));
    EXPECT_NE(nullptr, decoder.hBitmap);
}

TEST(ParameterTest, ANullRecordIsRefused)
{
    EXPECT_EQ(E_POINTER, ::DecompressImageIndirect(nullptr));
}

TEST(ParameterTest, ARecordThatIsTooShortIsNotTouched)
{
    for (const DWORD dwSize : {0, 4, 59}) {
        CDecoder decoder(PictureFile("rgb.png"));
        HBITMAP hOld = reinterpret_cast<HBITMAP>(0x1234);
        decoder.info.phBM = &hOld;
        decoder.info.dwSize = dwSize;
        EXPECT_EQ(E_INVALIDARG, decoder.Decode());
        EXPECT_EQ(reinterpret_cast<HBITMAP>(0x1234), hOld);
    }
}

TEST(ParameterTest, TheLongerRecordOfLaterPlatformsIsAccepted)
{
    CDecoder decoder(PictureFile("rgb.png"));
    decoder.info.dwSize = 64;
    EXPECT_EQ(S_OK, decoder.Decode());
}

TEST(ParameterTest, WhatIsMissingIsRefusedAndTheOutputsAreNull)
{
    static const struct
    {
        const char* pszWhy;
        void (*change)(DecompressImageInfo&);
    } kCases[] = {
        {"no buffer", [](DecompressImageInfo& info) { info.pbBuffer = nullptr; }},
        {"an empty buffer", [](DecompressImageInfo& info) { info.dwBufferMax = 0; }},
        {"more in the buffer than it holds", [](DecompressImageInfo& info) { info.dwBufferCurrent = 1025; }},
        {"no function", [](DecompressImageInfo& info) { info.pfnGetData = nullptr; }},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        CDecoder decoder(PictureFile("rgb.png"));
        HBITMAP hOld = reinterpret_cast<HBITMAP>(0x1234);
        IImageRender* pOld = reinterpret_cast<IImageRender*>(0x1234);
        decoder.info.phBM = &hOld;
        decoder.info.ppImageRender = &pOld;
        c.change(decoder.info);
        EXPECT_EQ(E_INVALIDARG, decoder.Decode());
        EXPECT_EQ(nullptr, hOld);
        EXPECT_EQ(nullptr, pOld);
    }
}

TEST(ParameterTest, ACallThatCouldReturnNothingIsRefused)
{
    CDecoder decoder(PictureFile("rgb.png"));
    decoder.info.phBM = nullptr;
    EXPECT_EQ(E_INVALIDARG, decoder.Decode());
}

TEST(ThreadTest, NeedsNoComAndLeavesTheThreadAsItWas)
{
    for (const int mode : {-1, static_cast<int>(COINIT_APARTMENTTHREADED), static_cast<int>(COINIT_MULTITHREADED)}) {
        SCOPED_TRACE(mode);
        HRESULT hr = E_FAIL, hrAfter = E_FAIL;
        std::thread([&] {
            if (mode >= 0) ::CoInitializeEx(nullptr, mode);
            CDecoder decoder(PictureFile("rgb.png"));
            hr = decoder.Decode();
            // S_OK: this is the thread's first; S_FALSE: it had been initialised in this very way.
            hrAfter = ::CoInitializeEx(nullptr, mode < 0 ? COINIT_APARTMENTTHREADED : mode);
            if (SUCCEEDED(hrAfter)) ::CoUninitialize();
            if (mode >= 0) ::CoUninitialize();
        }).join();
        EXPECT_EQ(S_OK, hr);
        EXPECT_EQ(mode < 0 ? S_OK : S_FALSE, hrAfter);
    }
}

TEST(ThreadTest, SeveralThreadsDecodeAtOnce)
{
    int nGood = 0;
    std::vector<std::thread> threads;
    static LONG nSame;
    nSame = 0;
    for (const char* pszName : {"rgb.png", "plain.gif", "rgb24.bmp", "palette4.png"}) {
        threads.emplace_back([pszName] {
            for (int i = 0; i < 20; ++i) {
                CDecoder decoder(PictureFile(pszName));
                if (decoder.Decode() == S_OK && decoder.Pixels() == Reference(pszName).pixels) {
                    ::InterlockedIncrement(&nSame);
                }
            }
        });
        nGood += 20;
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(nGood, nSame);
}
