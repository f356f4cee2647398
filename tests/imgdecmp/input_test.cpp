// How the compressed data is fetched, and how progress is told.
#include "decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace {

// The whole file lies in the buffer; the function copies nothing and always claims a full buffer.
DWORD CALLBACK ClaimFullBuffer(LPSTR, DWORD dwBufferMax, LPARAM)
{
    return dwBufferMax;
}

DWORD CALLBACK ClaimTooMuch(LPSTR, DWORD dwBufferMax, LPARAM)
{
    return dwBufferMax + 1;
}

DWORD CALLBACK ClaimMinusOne(LPSTR, DWORD, LPARAM)
{
    return 0xFFFFFFFF;
}

const char* const kFormats[] = {"rgb.png", "q75_420.jpg", "plain.gif", "rgb24.bmp", "plain.tif", "icon32.ico"};

} // namespace

TEST(InputTest, ComesInPiecesOfAtMostTheBufferIntoTheCallersOwnBuffer)
{
    for (const char* pszName : kFormats) {
        SCOPED_TRACE(pszName);
        CDecoder decoder(PictureFile(pszName), 1024);
        ASSERT_EQ(S_OK, decoder.Decode());
        ASSERT_FALSE(decoder.pieces.empty());
        EXPECT_EQ(1024u, decoder.pieces.front());
        for (size_t i = 0; i < decoder.pieces.size(); ++i) {
            EXPECT_EQ(decoder.info.pbBuffer, decoder.buffers[i]);
            EXPECT_EQ(1024u, decoder.asked[i]);
        }
    }
}

TEST(InputTest, EndsWithTheFirstZero)
{
    for (const char* pszName : kFormats) {
        Bytes data = PictureFile(pszName);
        data.resize(data.size() / 2);
        CDecoder decoder(data);
        EXPECT_LT(decoder.Decode(), 0) << pszName;
        EXPECT_LE(std::count(decoder.pieces.begin(), decoder.pieces.end(), 0u), 1) << pszName;
    }
}

TEST(InputTest, BeginsWithWhatTheBufferHoldsAlready)
{
    for (const DWORD cbHeld : {1, 7, 500, 1024}) {
        SCOPED_TRACE(cbHeld);
        const Bytes data = PictureFile("rgb.png");
        CDecoder decoder(Bytes(data.begin() + cbHeld, data.end()), 1024);
        std::copy_n(data.begin(), cbHeld, decoder.info.pbBuffer);
        decoder.info.dwBufferCurrent = cbHeld;
        ASSERT_EQ(S_OK, decoder.Decode());
        EXPECT_EQ(0, LargestDifference(Reference("rgb.png").pixels, decoder.Pixels()));
    }
}

TEST(InputTest, TheWholeFileMayLieInTheBufferWithAFunctionThatNeverEnds)
{
    for (const char* pszName : {"rgb.png", "q75_420.jpg", "plain.gif", "rgb24.bmp"}) {
        for (const bool bHeld : {false, true}) {
            SCOPED_TRACE(testing::Message() << pszName << bHeld);
            Bytes data = PictureFile(pszName);
            CDecoder decoder({});
            decoder.info.pbBuffer = data.data();
            decoder.info.dwBufferMax = data.size();
            decoder.info.dwBufferCurrent = bHeld ? data.size() : 0;
            decoder.info.pfnGetData = ClaimFullBuffer;
            ASSERT_EQ(S_OK, decoder.Decode());
            EXPECT_LE(LargestDifference(Reference(pszName).pixels, decoder.Pixels()), Reference(pszName).tolerance);
        }
    }
}

TEST(InputTest, IsNotFetchedBehindTheEndOfThePicture)
{
    for (const char* pszName : {"rgb.png", "plain.gif"}) {
        SCOPED_TRACE(pszName);
        Bytes data = PictureFile(pszName);
        const size_t cbPicture = data.size();
        data.resize(cbPicture + (1 << 20));
        CDecoder decoder(data, 64);
        ASSERT_EQ(S_OK, decoder.Decode());
        EXPECT_LE(decoder.taken, cbPicture + 4096);
    }
}

TEST(InputTest, EndlessNonsenseEndsInAFailure)
{
    Bytes nothing(64 << 10, 0);
    CDecoder decoder({});
    decoder.info.pbBuffer = nothing.data();
    decoder.info.dwBufferMax = nothing.size();
    decoder.info.pfnGetData = ClaimFullBuffer;
    for (const Bytes& start : {Bytes{}, Bytes{0xFF, 0xD8}, Bytes{'B', 'M'}, Bytes{'G', 'I', 'F', '8', '9', 'a'},
                               Bytes{'I', 'I', '*', 0, 8, 0, 0, 0}, Bytes{0, 0, 1, 0, 1, 0}}) {
        std::copy(start.begin(), start.end(), nothing.begin());
        EXPECT_LT(decoder.Decode(), 0);
        EXPECT_EQ(nullptr, decoder.hBitmap);
    }
}

TEST(InputTest, AFunctionThatClaimsMoreThanTheBufferFailsTheCall)
{
    for (const GETDATAFUNC pfn : {ClaimTooMuch, ClaimMinusOne}) {
        CDecoder decoder(PictureFile("rgb.png"));
        decoder.info.pfnGetData = pfn;
        EXPECT_EQ(E_UNEXPECTED, decoder.Decode());
        EXPECT_EQ(nullptr, decoder.hBitmap);
    }
}

namespace {

// Gives what is asked for in pieces of any size; at one of them it ends early, or claims more than there is room for.
struct CUnreliable
{
    const Bytes& data;
    unsigned int nSeed;
    int nPieces; // until it stops being right
    bool bLie;
    size_t nAt = 0;

    static DWORD CALLBACK GetData(LPSTR pszBuffer, DWORD dwBufferMax, LPARAM lParam)
    {
        CUnreliable& source = *reinterpret_cast<CUnreliable*>(lParam);
        source.nSeed = source.nSeed * 1664525 + 1013904223;
        if (source.nPieces-- == 0) return source.bLie ? dwBufferMax + 1 + (source.nSeed >> 1) : 0;
        const size_t cbMost = std::min<size_t>(dwBufferMax, source.data.size() - source.nAt);
        const size_t cb = std::min<size_t>(cbMost, 1 + (source.nSeed >> 8) % dwBufferMax);
        std::memcpy(pszBuffer, source.data.data() + source.nAt, cb);
        source.nAt += cb;
        return static_cast<DWORD>(cb);
    }
};

} // namespace

TEST(InputTest, AFunctionThatStopsBeingRightAnywhereFailsTheCallOrHasGivenEnough)
{
    int nWhole = 0, nFailed = 0;
    for (const char* pszName : kFormats) {
        const Bytes data = PictureFile(pszName);
        for (int i = 0; i < 200; ++i) {
            SCOPED_TRACE(std::string(pszName) + " " + std::to_string(i));
            CUnreliable source = {data, static_cast<unsigned int>(i * 7919), i / 2, i % 2 != 0};
            const size_t cbBuffer = 1 + i * 37 % 700;
            CDecoder decoder({}, cbBuffer);
            decoder.info.pfnGetData = CUnreliable::GetData;
            decoder.info.lParam = reinterpret_cast<LPARAM>(&source);
            const HRESULT hr = decoder.Decode();
            ASSERT_EQ(hr >= 0, decoder.hBitmap != nullptr);
            // In the whole only what was right is used.
            if (hr >= 0) {
                CDecoder right(data);
                ASSERT_EQ(S_OK, right.Decode());
                ASSERT_EQ(right.Pixels(), decoder.Pixels());
            }
            ++(hr >= 0 ? nWhole : nFailed);
        }
    }
    EXPECT_GT(nWhole, 50);
    EXPECT_GT(nFailed, 50);
}

TEST(InputTest, NothingAtAllIsNoPicture)
{
    CDecoder decoder({});
    EXPECT_EQ(IMGDECOMP_E_NOIMAGE, decoder.Decode());
    EXPECT_EQ((std::vector<DWORD>{0}), decoder.pieces);
}

namespace {

struct ProgressLog
{
    CDecoder decoder;
    std::vector<BOOL> calls;
    int origWidth = 0, origHeight = 0;
    bool bPendingBefore = true, bFailed = false;

    explicit ProgressLog(const std::string& name) : decoder(PictureFile(name))
    {
        decoder.info.pfnImageProgress = Progress;
        s_pLog = this;
    }
    static void CALLBACK Progress(IImageRender* pRender, BOOL bComplete, LPARAM lParam)
    {
        ProgressLog& log = *s_pLog;
        EXPECT_EQ(log.decoder.info.lParam, lParam);
        log.calls.push_back(bComplete);
        pRender->GetOrigWidth(&log.origWidth);
        pRender->GetOrigHeight(&log.origHeight);
        BOOL bFail = TRUE;
        EXPECT_EQ(S_OK, pRender->ImageFail(&bFail));
        EXPECT_FALSE(bFail);
        HBITMAP hBitmap = reinterpret_cast<HBITMAP>(1);
        BYTE* pBits = nullptr;
        if (!bComplete) {
            EXPECT_EQ(E_PENDING, pRender->GetBitmap(&hBitmap, TRUE));
            EXPECT_EQ(nullptr, hBitmap);
            EXPECT_EQ(E_PENDING, pRender->GetBits(&pBits));
        } else {
            EXPECT_EQ(S_OK, pRender->GetBits(&pBits));
            EXPECT_NE(nullptr, pBits);
        }
    }
    static inline ProgressLog* s_pLog = nullptr;
};

} // namespace

TEST(ProgressTest, IsToldAsDecodingGoesAndOnceAtTheEnd)
{
    for (const int depth : {1, 8, 16, 32}) {
        for (const char* pszName : kFormats) {
            SCOPED_TRACE(testing::Message() << pszName << " " << depth);
            ProgressLog log(pszName);
            log.decoder.info.iBitDepth = depth;
            log.decoder.info.iScale = 50;
            ASSERT_EQ(S_OK, log.decoder.Decode());
            ASSERT_GE(log.calls.size(), 2u);
            EXPECT_TRUE(log.calls.back());
            EXPECT_EQ(1, std::count_if(log.calls.begin(), log.calls.end(), [](BOOL b) { return b; }));
            EXPECT_EQ(Reference(pszName).width, log.origWidth);
            EXPECT_EQ(Reference(pszName).height, log.origHeight);
        }
    }
}

TEST(ProgressTest, OfALargePictureComesSeveralTimes)
{
    const Bytes pixels(3 * 600 * 800, 77);
    ProgressLog log("rgb.png");
    CDecoder decoder(MakeBitmapFile(600, 800, pixels));
    log.decoder.info.lParam = decoder.info.lParam;
    decoder.info.pfnImageProgress = ProgressLog::Progress;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_GE(log.calls.size(), 8u);
    EXPECT_LE(log.calls.size(), 18u);
}

TEST(ProgressTest, AFailureIsNotToldAsComplete)
{
    ProgressLog log("rgb24.bmp");
    Bytes data = PictureFile("rgb24.bmp");
    data.resize(data.size() - 100);
    CDecoder decoder(data);
    log.decoder.info.lParam = decoder.info.lParam;
    decoder.info.pfnImageProgress = ProgressLog::Progress;
    EXPECT_LT(decoder.Decode(), 0);
    EXPECT_EQ(0, std::count(log.calls.begin(), log.calls.end(), TRUE));
}
