// The scale and the limits.
#include "decoder.h"

#include <gtest/gtest.h>

TEST(ScaleTest, TheScaleComesFirstThenTheLimitsAndProportionsStay)
{
    // rgb.png is 97 x 61, wide.png 2000 x 1, onepixel.png 1 x 1.
    static constexpr struct
    {
        const char* pszPicture;
        int scale, maxWidth, maxHeight, width, height;
    } kCases[] = {
        {"rgb.png", 100, 10000, 10000, 97, 61}, {"rgb.png", 50, 10000, 10000, 49, 31},
        {"rgb.png", 1, 10000, 10000, 1, 1},     {"rgb.png", 10, 10000, 10000, 10, 6},
        {"rgb.png", 100, 97, 61, 97, 61},       {"rgb.png", 100, 96, 61, 96, 60},
        {"rgb.png", 100, 97, 60, 95, 60},       {"rgb.png", 100, 50, 10000, 50, 31},
        {"rgb.png", 100, 10000, 20, 32, 20},    {"rgb.png", 50, 40, 40, 40, 25},
        {"rgb.png", 50, 60, 60, 49, 31},        {"rgb.png", 100, 1, 1, 1, 1},
        {"rgb.png", 100, 1, 10000, 1, 1},       {"rgb.png", 200, 10000, 10000, 194, 122},
        {"rgb.png", 1000, 100, 100, 100, 63},   {"wide.png", 100, 10, 10, 10, 1},
        {"wide.png", 1, 10000, 10000, 20, 1},   {"onepixel.png", 1, 10000, 10000, 1, 1},
        {"onepixel.png", 300, 10000, 2, 2, 2},  {"rgb.png", 2147483647, 64, 64, 64, 40},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.pszPicture << " " << c.scale << " " << c.maxWidth << " " << c.maxHeight);
        CDecoder decoder(PictureFile(c.pszPicture));
        decoder.info.iScale = c.scale;
        decoder.info.iMaxWidth = c.maxWidth;
        decoder.info.iMaxHeight = c.maxHeight;
        ASSERT_EQ(S_OK, decoder.Decode());
        EXPECT_EQ(c.width, decoder.Width());
        EXPECT_EQ(c.height, decoder.Height());
    }
}

TEST(ScaleTest, EveryPixelIsTheAverageOfWhatItCovers)
{
    const Bytes pixels = {
        0,   0, 0, 40,  0,   0, 9, 9, 9, 9, 9, 9, //
        100, 4, 0, 100, 255, 1, 9, 9, 9, 9, 9, 9, //
    };
    CDecoder decoder(MakeBitmapFile(4, 2, pixels));
    decoder.info.iScale = 50;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ((Bytes{60, 65, 0, 9, 9, 9}), decoder.Pixels());
}

TEST(ScaleTest, PixelsThatAreCoveredInPartCountInPart)
{
    const Bytes pixels = {0, 0, 0, 90, 90, 90, 180, 180, 180};
    CDecoder decoder(MakeBitmapFile(3, 1, pixels));
    decoder.info.iMaxWidth = 2;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ((Bytes{30, 30, 30, 150, 150, 150}), decoder.Pixels());
}

TEST(ScaleTest, EnlargingKeepsWholePixels)
{
    CDecoder decoder(MakeBitmapFile(2, 1, {1, 2, 3, 200, 100, 50}));
    decoder.info.iScale = 200;
    ASSERT_EQ(S_OK, decoder.Decode());
    const Bytes row = {1, 2, 3, 1, 2, 3, 200, 100, 50, 200, 100, 50};
    Bytes both = row;
    both.insert(both.end(), row.begin(), row.end());
    EXPECT_EQ(both, decoder.Pixels());
}

TEST(ScaleTest, AUniformPictureStaysUniformAtEverySize)
{
    Bytes pixels;
    for (int i = 0; i < 37 * 23; ++i) pixels.insert(pixels.end(), {17, 130, 251});
    CDecoder decoder(MakeBitmapFile(37, 23, pixels));
    for (int scale = 1; scale <= 250; ++scale) {
        decoder.info.iScale = scale;
        ASSERT_EQ(S_OK, decoder.Decode()) << scale;
        const Bytes got = decoder.Pixels();
        for (size_t i = 0; i < got.size(); i += 3) {
            ASSERT_TRUE(got[i] == 17 && got[i + 1] == 130 && got[i + 2] == 251) << scale << " " << i;
        }
    }
}

TEST(ScaleTest, ABitmapBeyondThePixelLimitIsRefused)
{
    CDecoder decoder(PictureFile("rgb.png"));
    decoder.info.iMaxWidth = decoder.info.iMaxHeight = 0x7FFFFFFF;
    for (const int scale : {11000, 1000000, 2147483647}) {
        decoder.info.iScale = scale;
        EXPECT_EQ(IMGDECOMP_E_NOIMAGE, decoder.Decode()) << scale;
        EXPECT_EQ(nullptr, decoder.hBitmap);
    }
}

TEST(ScaleTest, ScaleAndLimitsBelowOneAreRefused)
{
    for (int DecompressImageInfo::*member :
         {&DecompressImageInfo::iScale, &DecompressImageInfo::iMaxWidth, &DecompressImageInfo::iMaxHeight}) {
        for (const int value : {0, -1, INT_MIN}) {
            CDecoder decoder(PictureFile("rgb.png"));
            decoder.info.*member = value;
            EXPECT_EQ(E_INVALIDARG, decoder.Decode());
            EXPECT_EQ(nullptr, decoder.hBitmap);
        }
    }
}
