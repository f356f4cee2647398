// IImageRender, by itself and beside phBM.
#include "decoder.h"

#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

const char kName[] = "rgb.png";

// A reference of the test's own.
struct Render
{
    IImageRender* p = nullptr;
    ~Render()
    {
        if (p) p->Release();
    }
};

COLORREF PixelOf(const Bytes& pixels, int width, int x, int y)
{
    const BYTE* pb = pixels.data() + 3 * (width * y + x);
    return RGB(pb[2], pb[1], pb[0]);
}

// A memory context with a 24-bit bitmap of its own, white.
class CCanvas
{
public:
    CCanvas(int width, int height) : hdc(::CreateCompatibleDC(nullptr))
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = width;
        info.bmiHeader.biHeight = height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 24;
        void* pBits = nullptr;
        m_hBitmap = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pBits, nullptr, 0);
        m_hOld = ::SelectObject(hdc, m_hBitmap);
        ::PatBlt(hdc, 0, 0, width, height, WHITENESS);
    }
    ~CCanvas()
    {
        ::SelectObject(hdc, m_hOld);
        ::DeleteObject(m_hBitmap);
        ::DeleteDC(hdc);
    }
    const HDC hdc;

private:
    HBITMAP m_hBitmap;
    HGDIOBJ m_hOld;
};

IImageRender* g_pKept; // by KeepReference
HBITMAP g_hTaken;      // by TakeBitmap

void CALLBACK KeepReference(IImageRender* pRender, BOOL, LPARAM)
{
    if (g_pKept) return;
    pRender->AddRef();
    g_pKept = pRender;
}

void CALLBACK TakeBitmap(IImageRender* pRender, BOOL bComplete, LPARAM)
{
    if (!bComplete) return;
    EXPECT_EQ(S_OK, pRender->GetBitmap(&g_hTaken, TRUE));
    HBITMAP hAgain = nullptr;
    const HRESULT hr = pRender->GetBitmap(&hAgain, FALSE);
    EXPECT_EQ(hr == S_OK, hAgain != nullptr);
}

int g_nBitmaps; // until memory is out for CreateWhileThereIsMemory

HBITMAP WINAPI CreateWhileThereIsMemory(HDC hdc, const BITMAPINFO* pInfo, UINT nUsage, void** ppBits, HANDLE hSection,
                                        DWORD dwOffset)
{
    *ppBits = nullptr;
    return g_nBitmaps-- > 0 ? ::CreateDIBSection(hdc, pInfo, nUsage, ppBits, hSection, dwOffset) : nullptr;
}

int g_nCompletions; // by CountCompletions

void CALLBACK CountCompletions(IImageRender* pRender, BOOL bComplete, LPARAM lParam)
{
    KeepReference(pRender, bComplete, lParam);
    g_nCompletions += bComplete;
}

// The picture's lowest row.
void CALLBACK DrawAtTheEnd(IImageRender* pRender, BOOL bComplete, LPARAM)
{
    BYTE* pBits = nullptr;
    if (bComplete && pRender->GetBits(&pBits) == S_OK) std::fill_n(pBits, 3 * 97, BYTE{0x5A});
}

} // namespace

TEST(RenderTest, IsAnObjectThatOwnsItsBitmap)
{
    CDecoder decoder(PictureFile(kName));
    Render render;
    decoder.info.phBM = nullptr;
    decoder.info.ppImageRender = &render.p;
    ASSERT_EQ(S_OK, decoder.Decode());
    ASSERT_NE(nullptr, render.p);

    int width = 0, height = 0;
    EXPECT_EQ(S_OK, render.p->GetOrigWidth(&width));
    EXPECT_EQ(S_OK, render.p->GetOrigHeight(&height));
    EXPECT_EQ(97, width);
    EXPECT_EQ(61, height);
    BOOL bFail = TRUE;
    EXPECT_EQ(S_OK, render.p->ImageFail(&bFail));
    EXPECT_FALSE(bFail);

    HBITMAP hBitmap = nullptr, hAgain = nullptr;
    EXPECT_EQ(S_OK, render.p->GetBitmap(&hBitmap, FALSE));
    EXPECT_EQ(S_OK, render.p->GetBitmap(&hAgain, FALSE));
    EXPECT_EQ(hBitmap, hAgain);
    BITMAP bitmap = {};
    ASSERT_NE(0, ::GetObjectW(hBitmap, sizeof(bitmap), &bitmap));
    BYTE* pBits = nullptr;
    EXPECT_EQ(S_OK, render.p->GetBits(&pBits));
    EXPECT_EQ(bitmap.bmBits, pBits);
    render.p->Release();
    render.p = nullptr;
    EXPECT_EQ(0u, ::GetObjectType(hBitmap)); // gone with its object
}

TEST(RenderTest, HandsTheBitmapOverOnce)
{
    CDecoder decoder(PictureFile(kName));
    HBITMAP hBitmap = nullptr;
    {
        Render render;
        decoder.info.phBM = nullptr;
        decoder.info.ppImageRender = &render.p;
        ASSERT_EQ(S_OK, decoder.Decode());
        EXPECT_EQ(S_OK, render.p->GetBitmap(&hBitmap, TRUE));
        HBITMAP hAgain = hBitmap;
        BYTE* pBits = nullptr;
        EXPECT_EQ(E_FAIL, render.p->GetBitmap(&hAgain, TRUE));
        EXPECT_EQ(nullptr, hAgain);
        EXPECT_EQ(E_FAIL, render.p->GetBits(&pBits));
        const CCanvas canvas(10, 10);
        EXPECT_EQ(E_FAIL, render.p->Draw(canvas.hdc, nullptr));
        int width = 0;
        EXPECT_EQ(S_OK, render.p->GetOrigWidth(&width));
    }
    EXPECT_EQ(static_cast<DWORD>(OBJ_BITMAP), ::GetObjectType(hBitmap)); // outlives the object
    EXPECT_TRUE(::DeleteObject(hBitmap));
}

TEST(RenderTest, BesidePhBMBothHaveABitmap)
{
    CDecoder decoder(PictureFile(kName));
    Render render;
    decoder.info.ppImageRender = &render.p;
    ASSERT_EQ(S_OK, decoder.Decode());
    HBITMAP hOther = nullptr;
    ASSERT_EQ(S_OK, render.p->GetBitmap(&hOther, FALSE));
    EXPECT_NE(decoder.hBitmap, hOther);
    render.p->Release();
    render.p = nullptr;
    EXPECT_EQ(Reference(kName).pixels, decoder.Pixels());
}

TEST(RenderTest, TakenAtTheEndThereIsACopyForPhBM)
{
    CDecoder decoder(PictureFile(kName));
    decoder.info.pfnImageProgress = TakeBitmap;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_NE(decoder.hBitmap, g_hTaken);
    EXPECT_TRUE(::DeleteObject(g_hTaken));
    EXPECT_EQ(Reference(kName).pixels, decoder.Pixels());
}

TEST(RenderTest, WithoutPhBMTheBitmapIsTakenAtTheEnd)
{
    CDecoder decoder(PictureFile(kName));
    decoder.info.phBM = nullptr;
    decoder.info.pfnImageProgress = TakeBitmap;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ(static_cast<DWORD>(OBJ_BITMAP), ::GetObjectType(g_hTaken));
    EXPECT_TRUE(::DeleteObject(g_hTaken));
}

TEST(RenderTest, AReferenceKeptThroughAFailureTellsOfIt)
{
    // This format is read in strips, so the first ones are there before the damage is met.
    Bytes data = PictureFile("large.tif");
    std::fill_n(data.begin() + data.size() / 2, 2000, BYTE{0xFF});
    CDecoder decoder(data);
    decoder.info.pfnImageProgress = KeepReference;
    EXPECT_LT(decoder.Decode(), 0);
    ASSERT_NE(nullptr, g_pKept);
    BOOL bFail = FALSE;
    EXPECT_EQ(S_OK, g_pKept->ImageFail(&bFail));
    EXPECT_TRUE(bFail);
    HBITMAP hBitmap = nullptr;
    EXPECT_EQ(E_FAIL, g_pKept->GetBitmap(&hBitmap, TRUE));
    EXPECT_EQ(nullptr, hBitmap);
    g_pKept->Release();
    g_pKept = nullptr;
}

TEST(RenderTest, WithoutMemoryForTheSecondBitmapNobodyIsToldOfAPicture)
{
    const CImportPatch patch(L"imgdecmp.dll", "CreateDIBSection", CreateWhileThereIsMemory);
    for (const int nBitmaps : {0, 1, 2}) {
        SCOPED_TRACE(nBitmaps);
        CDecoder decoder(PictureFile(kName));
        Render render;
        decoder.info.ppImageRender = &render.p;
        decoder.info.pfnImageProgress = CountCompletions;
        g_nBitmaps = nBitmaps;
        g_nCompletions = 0;
        EXPECT_EQ(nBitmaps < 2 ? E_OUTOFMEMORY : S_OK, decoder.Decode());
        EXPECT_EQ(nBitmaps < 2 ? 0 : 1, g_nCompletions);
        EXPECT_EQ(nBitmaps == 2, decoder.hBitmap != nullptr);
        EXPECT_EQ(nBitmaps == 2, render.p != nullptr);
        ASSERT_EQ(nBitmaps > 0, g_pKept != nullptr);
        if (!g_pKept) continue;
        BOOL bFail = FALSE;
        EXPECT_EQ(S_OK, g_pKept->ImageFail(&bFail));
        EXPECT_EQ(nBitmaps < 2, bFail == TRUE);
        g_pKept->Release();
        g_pKept = nullptr;
    }
}

TEST(RenderTest, WhatIsDrawnAtTheEndIsInBothBitmaps)
{
    CDecoder decoder(PictureFile(kName));
    Render render;
    decoder.info.ppImageRender = &render.p;
    decoder.info.pfnImageProgress = DrawAtTheEnd;
    ASSERT_EQ(S_OK, decoder.Decode());
    BYTE* pBits = nullptr;
    ASSERT_EQ(S_OK, render.p->GetBits(&pBits));
    EXPECT_NE(decoder.Bits(), pBits);
    for (const BYTE* const pb : {decoder.Bits(), pBits}) {
        EXPECT_EQ(3 * 97, std::count(pb, pb + 3 * 97, BYTE{0x5A}));
    }
}

TEST(RenderTest, DrawsInItsOwnSizeAndStretched)
{
    const ReferencePicture& picture = Reference(kName);
    CDecoder decoder(PictureFile(kName));
    Render render;
    decoder.info.phBM = nullptr;
    decoder.info.ppImageRender = &render.p;
    ASSERT_EQ(S_OK, decoder.Decode());

    const CCanvas canvas(300, 200);
    ASSERT_EQ(S_OK, render.p->Draw(canvas.hdc, nullptr));
    for (int y = 0; y < picture.height; y += 5) {
        for (int x = 0; x < picture.width; x += 5) {
            ASSERT_EQ(PixelOf(picture.pixels, picture.width, x, y), ::GetPixel(canvas.hdc, x, y)) << x << " " << y;
        }
    }
    EXPECT_EQ(RGB(255, 255, 255), ::GetPixel(canvas.hdc, picture.width, 0));

    RECT to = {100, 70, 100 + 2 * picture.width, 70 + 2 * picture.height};
    ASSERT_EQ(S_OK, render.p->Draw(canvas.hdc, &to));
    EXPECT_EQ(PixelOf(picture.pixels, picture.width, 0, 0), ::GetPixel(canvas.hdc, 100, 70));
    EXPECT_EQ(PixelOf(picture.pixels, picture.width, 50, 40), ::GetPixel(canvas.hdc, 200, 150));
    EXPECT_EQ(E_FAIL, render.p->Draw(nullptr, nullptr));
}

TEST(RenderTest, AnswersForItsInterfacesAndNoOthers)
{
    CDecoder decoder(PictureFile(kName));
    Render render;
    decoder.info.ppImageRender = &render.p;
    ASSERT_EQ(S_OK, decoder.Decode());
    for (const IID& iid : {IID_IUnknown, IID_IImageRender}) {
        void* p = nullptr;
        EXPECT_EQ(S_OK, render.p->QueryInterface(iid, &p));
        EXPECT_EQ(render.p, p);
        EXPECT_EQ(1u, render.p->Release());
    }
    void* p = &p;
    EXPECT_EQ(E_NOINTERFACE, render.p->QueryInterface(IID_IStream, &p));
    EXPECT_EQ(nullptr, p);
    EXPECT_EQ(E_POINTER, render.p->QueryInterface(IID_IUnknown, nullptr));
    EXPECT_EQ(E_POINTER, render.p->GetBitmap(nullptr, FALSE));
    EXPECT_EQ(E_POINTER, render.p->GetOrigWidth(nullptr));
    EXPECT_EQ(E_POINTER, render.p->GetOrigHeight(nullptr));
    EXPECT_EQ(E_POINTER, render.p->GetBits(nullptr));
    EXPECT_EQ(E_POINTER, render.p->ImageFail(nullptr));
}
