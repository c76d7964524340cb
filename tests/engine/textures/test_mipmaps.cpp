#include "engine/textures/mipmaps.h"

#include <GL/glew.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/fault.h"
#include "engine/textures/compare_bytes.h"
#include "engine/textures/plain_textures.h"
#include "engine/textures/random_values.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"
#include "support/recorded_gl.h"

using Bytes = std::vector<uint8_t>;

static size_t LevelBytes(MipSize level, int32_t components)
{
    return static_cast<size_t>(level.width) * static_cast<size_t>(level.height) *
           static_cast<size_t>(components);
}

/// All levels of an image, the first being level 1, without OpenGL.
static std::vector<Bytes> MakeChain(int32_t width, int32_t height, const Bytes& pixels,
                                    int32_t components)
{
    std::vector<Bytes> chain;
    Bytes source = pixels;
    MipSize level = FirstMipSize(width, height);
    while (true)
    {
        GuardedBytes block(LevelBytes(level, components), 0xEE);
        FillMipLevel(source.data(), level, components, block.Data());
        EXPECT_TRUE(block.GuardsAreWhole());
        chain.push_back(block.Bytes());
        if (level.width == 1 && level.height == 1)
        {
            return chain;
        }
        source = chain.back();
        level = NextMipSize(level);
    }
}

class Mipmaps : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
    }

    void TearDown() override
    {
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }
};

TEST_F(Mipmaps, TwoByTwoIsTheMeanOfTheFirstTwoPixels)
{
    const Bytes three = {10, 20, 30, 13, 21, 40, 200, 200, 200, 250, 250, 250};
    EXPECT_EQ(MakeChain(2, 2, three, 3), (std::vector<Bytes>{{11, 20, 35}}));
    const Bytes four = {10, 20, 30, 255, 13, 21, 40, 254, 200, 200, 200, 200, 250, 250, 250, 250};
    EXPECT_EQ(MakeChain(2, 2, four, 4), (std::vector<Bytes>{{11, 20, 35, 254}}));
}

TEST_F(Mipmaps, FourByFourIsBoxedAndThenTakesTheFirstTwoPixels)
{
    // One row of pixels a line; green is red + 100, blue is 0 but for the last pixel.
    const Bytes three = {
        0,  100, 0, 1,  101, 0, 2,  102, 0, 3,  103, 0,   //
        4,  104, 0, 5,  105, 0, 6,  106, 0, 7,  107, 0,   //
        8,  108, 0, 9,  109, 0, 10, 110, 0, 11, 111, 0,   //
        12, 112, 0, 13, 113, 0, 14, 114, 0, 15, 115, 255, //
    };
    // (0 + 1 + 4 + 5) / 4 drops to 2, (2 + 3 + 6 + 7) / 4 to 4, 10, 12; 255 / 4 to 63.
    EXPECT_EQ(MakeChain(4, 4, three, 3),
              (std::vector<Bytes>{{2, 102, 0, 4, 104, 0, 10, 110, 0, 12, 112, 63}, {3, 103, 0}}));

    Bytes four;
    for (uint8_t i = 0; i < 16; ++i)
    {
        four.insert(four.end(), {i, static_cast<uint8_t>(2 * i), static_cast<uint8_t>(255 - i), 7});
    }
    EXPECT_EQ(MakeChain(4, 4, four, 4),
              (std::vector<Bytes>{{2, 5, 252, 7, 4, 9, 250, 7, 10, 21, 244, 7, 12, 25, 242, 7},
                                  {3, 7, 251, 7}}));
}

TEST_F(Mipmaps, TheBoxDropsItsFraction)
{
    const Bytes image = {255, 255, 255, 255, 255, 255, 1, 1, 1, 1, 1, 1, 255, 255, 255, 254,
                         254, 254, 1,   1,   1,   1,   1, 1, 3, 3, 3, 0, 0,   0,   0,   0,
                         0,   1,   1,   1,   0,   0,   0, 0, 0, 0, 1, 1, 1,   1,   1,   1};
    EXPECT_EQ(MakeChain(4, 4, image, 3)[0], (Bytes{254, 254, 254, 1, 1, 1, 0, 0, 0, 0, 0, 0}));
}

TEST_F(Mipmaps, AFlatImageLooksAtItsFirstRowAlone)
{
    // 8x2: 4x1 out of the first row's pairs, then 2x1 and 1x1.
    Bytes image;
    for (uint8_t i = 0; i < 8; ++i)
    {
        image.insert(image.end(), {static_cast<uint8_t>(10 * i), i, static_cast<uint8_t>(255 - i)});
    }
    image.insert(image.end(), 24, 99); // the second row
    EXPECT_EQ(MakeChain(8, 2, image, 3),
              (std::vector<Bytes>{{5, 0, 254, 25, 2, 252, 45, 4, 250, 65, 6, 248},
                                  {15, 1, 253, 55, 5, 249},
                                  {35, 3, 251}}));
}

TEST_F(Mipmaps, ATallImageLooksAtItsUpperHalfAloneOnTheFirstLevel)
{
    // 2x8: 1x4, each the mean of one row, of rows 0 to 3; 1x2 and 1x1 from adjacent rows.
    Bytes image;
    for (uint8_t row = 0; row < 8; ++row)
    {
        const uint8_t left = static_cast<uint8_t>(row < 4 ? 20 * row : 250);
        image.insert(image.end(), {left, 1, 2, 3, static_cast<uint8_t>(left + 4), 2, 2, 3});
    }
    EXPECT_EQ(MakeChain(2, 8, image, 4),
              (std::vector<Bytes>{{2, 1, 2, 3, 22, 1, 2, 3, 42, 1, 2, 3, 62, 1, 2, 3},
                                  {12, 1, 2, 3, 52, 1, 2, 3},
                                  {32, 1, 2, 3}}));
}

TEST_F(Mipmaps, ALongFlatImageHalvesItsWidthAlone)
{
    Bytes image;
    for (uint8_t i = 0; i < 16; ++i)
    {
        image.insert(image.end(), {static_cast<uint8_t>(i * i), 0, 0, 255});
    }
    image.insert(image.end(), 64, 77);
    // Pairs of squares: (0 + 1) / 2 ... (196 + 225) / 2.
    EXPECT_EQ(MakeChain(16, 2, image, 4),
              (std::vector<Bytes>{{0,  0, 0, 255, 6,   0, 0, 255, 20,  0, 0, 255, 42,  0, 0, 255,
                                   72, 0, 0, 255, 110, 0, 0, 255, 156, 0, 0, 255, 210, 0, 0, 255},
                                  {3, 0, 0, 255, 31, 0, 0, 255, 91, 0, 0, 255, 183, 0, 0, 255},
                                  {17, 0, 0, 255, 137, 0, 0, 255},
                                  {77, 0, 0, 255}}));
}

TEST_F(Mipmaps, AnOddWidthIsReadWithRowsOfTwiceTheNewWidth)
{
    // 5x4: the level is 2x2 and takes rows of 4 pixels: pixel 4 belongs to the "second row".
    Bytes image;
    for (uint8_t i = 0; i < 20; ++i)
    {
        image.insert(image.end(), {static_cast<uint8_t>(4 * i), 0, 0});
    }
    // Pixels 0 1 4 5, 2 3 6 7, 8 9 12 13, 10 11 14 15: sums of the numbers are 10, 18, 42, 50.
    EXPECT_EQ(MakeChain(5, 4, image, 3),
              (std::vector<Bytes>{{10, 0, 0, 18, 0, 0, 42, 0, 0, 50, 0, 0}, {14, 0, 0}}));
}

TEST_F(Mipmaps, SidesEndAtOneEachInItsOwnTime)
{
    const auto sizes = [](int32_t width, int32_t height)
    {
        std::string text;
        MipSize level = FirstMipSize(width, height);
        while (true)
        {
            text += std::to_string(level.width) + "x" + std::to_string(level.height) + " ";
            if (level.width == 1 && level.height == 1)
            {
                return text;
            }
            level = NextMipSize(level);
        }
    };
    EXPECT_EQ(sizes(256, 256), "128x128 64x64 32x32 16x16 8x8 4x4 2x2 1x1 ");
    EXPECT_EQ(sizes(8, 2), "4x1 2x1 1x1 ");
    EXPECT_EQ(sizes(2, 8), "1x4 1x2 1x1 ");
    EXPECT_EQ(sizes(100, 7), "50x3 25x1 12x1 6x1 3x1 1x1 ");
    EXPECT_EQ(sizes(3, 3), "1x1 ");
}

struct ChainCheck
{
    std::vector<Bytes> chain;
    size_t level;
};

static void CheckLevel(void* user, int width, int height, const uint8_t* pixels)
{
    ChainCheck* check = static_cast<ChainCheck*>(user);
    ASSERT_LT(check->level, check->chain.size());
    const Bytes& level = check->chain[check->level];
    check->level += 1;
    ASSERT_EQ(level.size() % static_cast<size_t>(width * height), 0U);
    ASSERT_EQ(CompareBytes(level.data(), pixels, level.size()), "same")
        << "level " << check->level << ", " << width << "x" << height;
}

TEST_F(Mipmaps, ChainsOfAllSmallSizesAndSomeLargeOnesEqualThePlainForm)
{
    RandomSource random;
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        for (int run = 0; run < 39 * 39 + 8; ++run)
        {
            const bool small = run < 39 * 39;
            const int32_t width =
                small ? 2 + run % 39 : 40 + static_cast<int32_t>(NextBelow(random, 300));
            const int32_t height =
                small ? 2 + run / 39 : 40 + static_cast<int32_t>(NextBelow(random, 300));
            const int32_t components = 3 + static_cast<int32_t>(NextBelow(random, 2));
            // Exactly as long as the image: a read behind it is the sanitizer's to find.
            Bytes image(LevelBytes({width, height}, components));
            for (uint8_t& byte : image)
            {
                byte = static_cast<uint8_t>(NextWord(random) >> 9);
            }
            ChainCheck check = {MakeChain(width, height, image, components), 0};
            PlainMipChain(width, height, image.data(), components, CheckLevel, &check);
            ASSERT_EQ(check.level, check.chain.size());
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

static std::string Upload(int level, int components, int width, int height)
{
    return "TexImage2D TEXTURE_2D " + std::to_string(level) + " " + std::to_string(components) +
           " " + std::to_string(width) + " " + std::to_string(height) + " 0 " +
           (components == 3 ? "RGB" : "RGBA") + " UNSIGNED_BYTE ?\n";
}

TEST_F(Mipmaps, ASquareOf256UploadsLevels1To8)
{
    const Bytes image(256 * 256 * 3, 200);
    BuildMipmaps(256, 256, image.data(), 3);
    EXPECT_EQ(TakeGlCalls(), Upload(1, 3, 128, 128) + Upload(2, 3, 64, 64) + Upload(3, 3, 32, 32) +
                                 Upload(4, 3, 16, 16) + Upload(5, 3, 8, 8) + Upload(6, 3, 4, 4) +
                                 "PixelStorei UNPACK_ALIGNMENT 2\n" + Upload(7, 3, 2, 2) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(8, 3, 1, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlRefusedCalls(), 0U);
}

TEST_F(Mipmaps, TheShorterSideBelowFourIsTheAlignment)
{
    const Bytes image(16 * 4 * 4, 200);
    BuildMipmaps(16, 4, image.data(), 4);
    EXPECT_EQ(TakeGlCalls(), "PixelStorei UNPACK_ALIGNMENT 2\n" + Upload(1, 4, 8, 2) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(2, 4, 4, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(3, 4, 2, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(4, 4, 1, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    BuildMipmaps(4, 16, image.data(), 4);
    EXPECT_EQ(TakeGlCalls(), "PixelStorei UNPACK_ALIGNMENT 2\n" + Upload(1, 4, 2, 8) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(2, 4, 1, 4) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(3, 4, 1, 2) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(4, 4, 1, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(Mipmaps, ASideOfThreeIsGivenAsAnAlignmentThatOpenGlRefuses)
{
    const Bytes image(12 * 7 * 3, 200);
    BuildMipmaps(12, 7, image.data(), 3);
    EXPECT_EQ(TakeGlCalls(), "PixelStorei UNPACK_ALIGNMENT 3\n" + Upload(1, 3, 6, 3) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(2, 3, 3, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 1\n" + Upload(3, 3, 1, 1) +
                                 "PixelStorei UNPACK_ALIGNMENT 4\n");
    EXPECT_EQ(GlRefusedCalls(), 1U);
}

TEST_F(Mipmaps, UploadedLevelsHoldTheChain)
{
    RandomSource random;
    Bytes image(64 * 64 * 3);
    for (uint8_t& byte : image)
    {
        byte = static_cast<uint8_t>(NextWord(random) >> 9);
    }
    uint32_t texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    BuildMipmaps(64, 64, image.data(), 3);
    const std::vector<Bytes> chain = MakeChain(64, 64, image, 3);
    ASSERT_EQ(chain.size(), 6U);
    for (size_t i = 0; i < chain.size(); ++i)
    {
        const GlTextureImage* level = GlTextureLevel(texture, static_cast<int32_t>(i + 1));
        ASSERT_NE(level, nullptr);
        EXPECT_EQ(CompareBytes(level->bytes, chain[i]), "same") << i + 1;
    }
    EXPECT_EQ(GlTextureLevel(texture, 7), nullptr);
}

TEST_F(Mipmaps, OddSizesHandOpenGlAllThatItReads)
{
    // The stand-in reads rows as a driver does, up to the alignment in force, and the sanitizer
    // watches the ends of the blocks.
    RandomSource random;
    for (int run = 0; run < 300; ++run)
    {
        const int32_t width = 2 + static_cast<int32_t>(NextBelow(random, 60));
        const int32_t height = 2 + static_cast<int32_t>(NextBelow(random, 60));
        const int32_t components = 3 + run % 2;
        const Bytes image(LevelBytes({width, height}, components), 3);
        BuildMipmaps(width, height, image.data(), components);
        const std::string calls = TakeGlCalls();
        EXPECT_NE(calls.find(" 1 1 0 RGB"), std::string::npos) << width << "x" << height;
    }
    EXPECT_EQ(UploadBytes(5, 4, 3), 64U); // 15 bytes a row, taken for 16
    EXPECT_EQ(UploadBytes(8, 2, 4), 64U);
}

TEST_F(Mipmaps, OneOrTwoComponentsGetNoChain)
{
    const Bytes image(16, 1);
    BuildMipmaps(4, 4, image.data(), 1);
    BuildMipmaps(4, 2, image.data(), 2);
    BuildMipmaps(1, 1, image.data(), 1);
    EXPECT_EQ(TakeGlCalls(), "PixelStorei UNPACK_ALIGNMENT 4\nPixelStorei UNPACK_ALIGNMENT 4\n"
                             "PixelStorei UNPACK_ALIGNMENT 4\n");
}

TEST_F(Mipmaps, AnImageNarrowerOrLowerThanTwoPixelsIsFatal)
{
    const Bytes image(64, 1);
    CurrentPlace = {"demo.xmlz", 6, 2, 0};
    EXPECT_EXIT(
        BuildMipmaps(1, 8, image.data(), 3), testing::ExitedWithCode(1),
        "quorvale: demo.xmlz, section 6 \\(bitmaps\\), item 2: an image of 1x8 pixels is too "
        "small for a mip chain");
    EXPECT_EXIT(BuildMipmaps(8, 1, image.data(), 4), testing::ExitedWithCode(1), "8x1 pixels");
    EXPECT_EXIT(BuildMipmaps(1, 1, image.data(), 4), testing::ExitedWithCode(1), "1x1 pixels");
}
