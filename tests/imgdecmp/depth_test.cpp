// Every depth of the bitmap.
#include "decoder.h"

#include <gtest/gtest.h>

#include <set>

namespace {

const char kPhoto[] = "rgb.png";
const char kFewColours[] = "palette2.png"; // three

std::set<unsigned int> Colours(const Bytes& pixels)
{
    std::set<unsigned int> colours;
    for (size_t i = 0; i + 2 < pixels.size(); i += 3) {
        colours.insert(pixels[i] | pixels[i + 1] << 8 | pixels[i + 2] << 16);
    }
    return colours;
}

double Average(const Bytes& pixels, int channel)
{
    double sum = 0;
    for (size_t i = channel; i < pixels.size(); i += 3) sum += pixels[i];
    return 3 * sum / pixels.size();
}

double Brightness(const Bytes& pixels)
{
    return 0.114 * Average(pixels, 0) + 0.587 * Average(pixels, 1) + 0.299 * Average(pixels, 2);
}

} // namespace

TEST(DepthTest, ThirtyTwoAndTwentyFourBitsAreExact)
{
    for (const int depth : {24, 32}) {
        SCOPED_TRACE(depth);
        CDecoder decoder(PictureFile(kPhoto));
        decoder.info.iBitDepth = depth;
        ASSERT_EQ(S_OK, decoder.Decode());
        EXPECT_EQ(depth, decoder.Depth());
        EXPECT_EQ(0, LargestDifference(Reference(kPhoto).pixels, decoder.Pixels()));
    }
}

TEST(DepthTest, TheFourthByteOfThirtyTwoBitsIsZero)
{
    CDecoder decoder(PictureFile("rgba.png"));
    decoder.info.iBitDepth = 32;
    ASSERT_EQ(S_OK, decoder.Decode());
    for (int i = 0; i < decoder.Width() * decoder.Height(); ++i) ASSERT_EQ(0, decoder.Bits()[4 * i + 3]);
}

TEST(DepthTest, SixteenBitsAreFiveOfEachColour)
{
    const ReferencePicture& picture = Reference(kPhoto);
    CDecoder decoder(PictureFile(kPhoto));
    decoder.info.iBitDepth = 16;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ(16, decoder.Depth());
    for (int y = 0; y < picture.height; ++y) {
        const BYTE* row = decoder.Bits() + decoder.BytesPerRow() * (picture.height - 1 - y);
        for (int x = 0; x < picture.width; ++x) {
            const BYTE* want = picture.pixels.data() + 3 * (picture.width * y + x);
            ASSERT_EQ(want[0] >> 3 | want[1] >> 3 << 5 | want[2] >> 3 << 10, row[2 * x] | row[2 * x + 1] << 8);
        }
    }
}

TEST(DepthTest, AColourTableIsExactWhenTheColoursFit)
{
    static constexpr struct
    {
        int depth, stored;
        const char* pszPicture;
    } kCases[] = {{1, 1, "bilevel.png"},  {2, 4, kFewColours},    {4, 4, kFewColours}, {4, 4, "palette4.png"},
                  {8, 8, "palette4.png"}, {8, 8, "palette8.png"}, {8, 8, "plain.gif"}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.pszPicture << " " << c.depth);
        CDecoder decoder(PictureFile(c.pszPicture));
        decoder.info.iBitDepth = c.depth;
        ASSERT_EQ(S_OK, decoder.Decode());
        EXPECT_EQ(c.stored, decoder.Depth());
        EXPECT_EQ(0, LargestDifference(Reference(c.pszPicture).pixels, decoder.Pixels()));
    }
}

TEST(DepthTest, APhotographInAColourTableKeepsItsAverageColours)
{
    for (const int depth : {4, 8}) {
        SCOPED_TRACE(depth);
        CDecoder decoder(PictureFile(kPhoto));
        decoder.info.iBitDepth = depth;
        ASSERT_EQ(S_OK, decoder.Decode());
        const Bytes pixels = decoder.Pixels();
        EXPECT_LE(Colours(pixels).size(), 1u << depth);
        EXPECT_GT(Colours(pixels).size(), 1u << (depth - 1));
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(Average(Reference(kPhoto).pixels, i), Average(pixels, i), 4) << i;
    }
}

TEST(DepthTest, EightBitsComeCloseToEveryPixelOfAPhotograph)
{
    CDecoder decoder(PictureFile(kPhoto));
    decoder.info.iBitDepth = 8;
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_LE(LargestDifference(Reference(kPhoto).pixels, decoder.Pixels()), 48);
}

TEST(DepthTest, APhotographInTwoBitsOrOneIsGreyAndKeepsItsBrightness)
{
    for (const int depth : {1, 2}) {
        SCOPED_TRACE(depth);
        CDecoder decoder(PictureFile(kPhoto));
        decoder.info.iBitDepth = depth;
        ASSERT_EQ(S_OK, decoder.Decode());
        const Bytes pixels = decoder.Pixels();
        const std::set<unsigned int> greys =
            depth == 1 ? std::set<unsigned int>{0, 0xFFFFFF} : std::set<unsigned int>{0, 0x555555, 0xAAAAAA, 0xFFFFFF};
        for (const unsigned int colour : Colours(pixels)) EXPECT_EQ(1u, greys.count(colour)) << std::hex << colour;
        EXPECT_NEAR(Brightness(Reference(kPhoto).pixels), Brightness(pixels), 4);
    }
}

TEST(DepthTest, AnyOtherDepthIsRefused)
{
    for (const int depth : {-1, 0, 3, 5, 6, 7, 9, 12, 15, 17, 25, 31, 33, 48, 64}) {
        SCOPED_TRACE(depth);
        CDecoder decoder(PictureFile(kPhoto));
        decoder.info.iBitDepth = depth;
        EXPECT_EQ(E_INVALIDARG, decoder.Decode());
        EXPECT_EQ(nullptr, decoder.hBitmap);
        EXPECT_EQ(0u, decoder.taken);
    }
}
