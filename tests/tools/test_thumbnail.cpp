// SPDX-License-Identifier: MIT
#include "tools/thumbnail.h"

#include <gtest/gtest.h>
#include <vector>

/// A thumbnail with its pixels as 0xRRGGBB.
struct Thumbnail
{
    std::vector<uint8_t> bytes = std::vector<uint8_t>(kThumbnailBytes);

    uint32_t At(size_t x, size_t y) const
    {
        const uint8_t* pixel = bytes.data() + (y * 128 + x) * 3;
        return static_cast<uint32_t>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
    }
};

static Thumbnail Make(int32_t width, int32_t height, int32_t channels,
                      const std::vector<uint8_t>& pixels)
{
    EXPECT_EQ(pixels.size(), static_cast<size_t>(width * height * channels));
    Thumbnail thumbnail;
    MakeThumbnail({width, height, channels, pixels.data()}, thumbnail.bytes.data());
    return thumbnail;
}

static constexpr uint32_t kGround = 0x303030;
static constexpr uint32_t kDark = 0x666666;
static constexpr uint32_t kLight = 0x999999;

TEST(Thumbnail, HalvesAGeneratedImageByTheMeansOfFourPixels)
{
    std::vector<uint8_t> pixels(256 * 256 * 3);
    const size_t row = 256 * 3;
    // The four pixels that become pixel (1, 0).
    pixels[6] = 255;       // red
    pixels[9] = 254;       //
    pixels[row + 6] = 1;   // 510 in all, which is 127.5: up
    pixels[7] = 1;         // green: 0.25, down
    pixels[8] = 3;         // blue
    pixels[row + 11] = 4;  // 7 in all, 1.75: up
    pixels[row + 12] = 99; // no longer one of them
    Thumbnail thumbnail = Make(256, 256, 3, pixels);
    EXPECT_EQ(thumbnail.At(1, 0), 0x800002u);
    EXPECT_EQ(thumbnail.At(0, 0), 0u);
    EXPECT_EQ(thumbnail.At(2, 0), 0x190000u); // 24.75
    EXPECT_EQ(thumbnail.At(127, 127), 0u);
}

TEST(Thumbnail, EnlargesASmallImageToBlocks)
{
    Thumbnail thumbnail = Make(2, 2, 3, {255, 0, 0, 0, 255, 0, 0, 0, 255, 1, 2, 3});
    EXPECT_EQ(thumbnail.At(0, 0), 0xFF0000u);
    EXPECT_EQ(thumbnail.At(63, 63), 0xFF0000u);
    EXPECT_EQ(thumbnail.At(64, 63), 0x00FF00u);
    EXPECT_EQ(thumbnail.At(63, 64), 0x0000FFu);
    EXPECT_EQ(thumbnail.At(127, 127), 0x010203u);
}

TEST(Thumbnail, PixelsCountByTheAreaThatIsCovered)
{
    // Of 192 columns each output column covers one and a half.
    std::vector<uint8_t> pixels(192 * 192);
    for (size_t y = 0; y < 192; ++y)
    {
        pixels[y * 192 + 1] = 90;
        pixels[y * 192 + 3] = 240;
    }
    Thumbnail thumbnail = Make(192, 192, 1, pixels);
    EXPECT_EQ(thumbnail.At(0, 5), 0x1E1E1Eu); // a third of 90
    EXPECT_EQ(thumbnail.At(1, 5), 0x1E1E1Eu);
    EXPECT_EQ(thumbnail.At(2, 5), 0xA0A0A0u); // two thirds of 240
    EXPECT_EQ(thumbnail.At(3, 5), 0u);

    // Of three columns the middle one reaches from 42 2/3 to 85 1/3.
    thumbnail = Make(3, 3, 1, {0, 90, 0, 0, 90, 0, 0, 90, 0});
    EXPECT_EQ(thumbnail.At(41, 0), 0u);
    EXPECT_EQ(thumbnail.At(42, 0), 0x1E1E1Eu);
    EXPECT_EQ(thumbnail.At(43, 0), 0x5A5A5Au);
    EXPECT_EQ(thumbnail.At(84, 0), 0x5A5A5Au);
    EXPECT_EQ(thumbnail.At(85, 0), 0x1E1E1Eu);
    EXPECT_EQ(thumbnail.At(86, 0), 0u);
}

TEST(Thumbnail, AnImageThatIsNoSquareKeepsItsProportion)
{
    Thumbnail wide = Make(2, 1, 1, {255, 255});
    EXPECT_EQ(wide.At(0, 31), kGround);
    EXPECT_EQ(wide.At(0, 32), 0xFFFFFFu);
    EXPECT_EQ(wide.At(127, 95), 0xFFFFFFu);
    EXPECT_EQ(wide.At(127, 96), kGround);

    Thumbnail tall = Make(1, 4, 1, {255, 255, 255, 255});
    EXPECT_EQ(tall.At(47, 0), kGround);
    EXPECT_EQ(tall.At(48, 0), 0xFFFFFFu);
    EXPECT_EQ(tall.At(79, 127), 0xFFFFFFu);
    EXPECT_EQ(tall.At(80, 127), kGround);
}

TEST(Thumbnail, AVeryFlatImageIsOnePixelHigh)
{
    Thumbnail flat = Make(1000, 1, 1, std::vector<uint8_t>(1000, 255));
    EXPECT_EQ(flat.At(0, 62), kGround);
    EXPECT_EQ(flat.At(0, 63), 0xFFFFFFu);
    EXPECT_EQ(flat.At(127, 63), 0xFFFFFFu);
    EXPECT_EQ(flat.At(127, 64), kGround);
}

TEST(Thumbnail, TransparentPartsShowTheBoard)
{
    Thumbnail grey = Make(1, 1, 2, {255, 0});
    EXPECT_EQ(grey.At(0, 0), kDark);
    EXPECT_EQ(grey.At(7, 7), kDark);
    EXPECT_EQ(grey.At(8, 0), kLight);
    EXPECT_EQ(grey.At(0, 8), kLight);
    EXPECT_EQ(grey.At(8, 8), kDark);
    EXPECT_EQ(grey.At(127, 127), kDark);

    Thumbnail colored = Make(1, 1, 4, {255, 255, 255, 0});
    EXPECT_EQ(colored.At(0, 0), kDark);
    EXPECT_EQ(colored.At(8, 0), kLight);
}

TEST(Thumbnail, HalfTransparentPixelsMixWithTheBoard)
{
    // 200 * 51/255 + 102 * 204/255 = 121.6 and 200 * 0.2 + 153 * 0.8 = 162.4
    Thumbnail thumbnail = Make(1, 1, 4, {200, 0, 255, 51});
    EXPECT_EQ(thumbnail.At(0, 0), 0x7A5285u); // 0 + 81.6 and 51 + 81.6
    EXPECT_EQ(thumbnail.At(8, 0), 0xA27AADu); // 0 + 122.4 and 51 + 122.4
}

TEST(Thumbnail, ColorsOfTransparentPixelsDoNotBleed)
{
    // An opaque and a transparent column for each output column: red has nothing of the green.
    std::vector<uint8_t> pixels;
    for (int32_t i = 0; i < 256 * 128; ++i)
    {
        pixels.insert(pixels.end(), {100, 0, 0, 255, 0, 255, 0, 0});
    }
    Thumbnail thumbnail = Make(256, 256, 4, pixels);
    EXPECT_EQ(thumbnail.At(0, 0), 0x653333u); // half of 100 and of 102; half of 102
}

TEST(Thumbnail, OneChannelIsGrey)
{
    EXPECT_EQ(Make(1, 1, 1, {77}).At(64, 64), 0x4D4D4Du);
    EXPECT_EQ(Make(1, 1, 2, {77, 255}).At(64, 64), 0x4D4D4Du);
}
