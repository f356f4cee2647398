// Pictures made by a real program, in every format and form, against what that program decodes.
#include "decoder.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>

namespace {

class PictureTest : public testing::TestWithParam<ReferencePicture>
{
};

} // namespace

TEST_P(PictureTest, DecodesToThePixelsThatAnotherProgramSees)
{
    const ReferencePicture& picture = GetParam();
    CDecoder decoder(PictureFile(picture.name));
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ(picture.width, decoder.Width());
    EXPECT_EQ(picture.height, decoder.Height());
    EXPECT_LE(LargestDifference(picture.pixels, decoder.Pixels()), picture.tolerance);
    EXPECT_LE(AverageDifference(picture.pixels, decoder.Pixels()), 1);
}

TEST_P(PictureTest, IsWholeWhenTheBufferTakesOneByteAtATime)
{
    const ReferencePicture& picture = GetParam();
    CDecoder decoder(PictureFile(picture.name), 1);
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_LE(LargestDifference(picture.pixels, decoder.Pixels()), picture.tolerance);
}

INSTANTIATE_TEST_SUITE_P(All, PictureTest, testing::ValuesIn(ReferencePictures()), [](const auto& info) {
    std::string name = info.param.name;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
});

TEST(TransparencyTest, AGifGetsTheOverridingColourWhereItIsTransparent)
{
    const ReferencePicture& onWhite = Reference("transparent.gif");
    CDecoder decoder(PictureFile("transparent.gif"));
    decoder.info.crTransparentOverride = RGB(10, 20, 30);
    ASSERT_EQ(S_OK, decoder.Decode());
    const Bytes pixels = decoder.Pixels();
    const Bytes corner(pixels.begin(), pixels.begin() + 3);
    EXPECT_EQ((Bytes{30, 20, 10}), corner); // the navy background has become transparent
    const size_t inside = 3 * (10 * onWhite.width + 10);
    EXPECT_EQ(255, pixels[inside]); // the white rectangle has not
    EXPECT_EQ(255, pixels[inside + 1]);
}

TEST(TransparencyTest, TheOverrideIsForGifOnly)
{
    const ReferencePicture& picture = Reference("rgba.png");
    CDecoder decoder(PictureFile("rgba.png"));
    decoder.info.crTransparentOverride = RGB(0, 0, 0);
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ(0, LargestDifference(picture.pixels, decoder.Pixels()));
}

TEST(AnimationTest, OnlyTheFirstPictureCounts)
{
    const Bytes data = PictureFile("animated.gif");
    CDecoder decoder(data, 16);
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ(0, LargestDifference(Reference("animated.gif").pixels, decoder.Pixels()));
    EXPECT_LT(decoder.taken, data.size()); // the others are not even read
}

TEST(BitmapFileTest, ATopDownOneIsTurned)
{
    const ReferencePicture& picture = Reference("rgb.png");
    Bytes flipped;
    for (int y = picture.height - 1; y >= 0; --y) {
        const auto row = picture.pixels.begin() + 3 * picture.width * y;
        flipped.insert(flipped.end(), row, row + 3 * picture.width);
    }
    Bytes data = MakeBitmapFile(picture.width, picture.height, flipped);
    const int height = -picture.height;
    std::memcpy(data.data() + 22, &height, sizeof(height));
    CDecoder decoder(data);
    ASSERT_EQ(S_OK, decoder.Decode());
    EXPECT_EQ(0, LargestDifference(picture.pixels, decoder.Pixels()));
}
