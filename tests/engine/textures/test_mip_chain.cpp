// SPDX-License-Identifier: MIT
#include "engine/textures/mip_chain.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/textures/compare_bytes.h"
#include "engine/textures/plain_textures.h"
#include "engine/textures/random_values.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

using Bytes = std::vector<uint8_t>;

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

TEST(MipChain, TwoByTwoIsTheMeanOfTheFirstTwoPixels)
{
    const Bytes three = {10, 20, 30, 13, 21, 40, 200, 200, 200, 250, 250, 250};
    EXPECT_EQ(MakeChain(2, 2, three, 3), (std::vector<Bytes>{{11, 20, 35}}));
    const Bytes four = {10, 20, 30, 255, 13, 21, 40, 254, 200, 200, 200, 200, 250, 250, 250, 250};
    EXPECT_EQ(MakeChain(2, 2, four, 4), (std::vector<Bytes>{{11, 20, 35, 254}}));
}

TEST(MipChain, FourByFourIsBoxedAndThenTakesTheFirstTwoPixels)
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

TEST(MipChain, TheBoxDropsItsFraction)
{
    const Bytes image = {255, 255, 255, 255, 255, 255, 1, 1, 1, 1, 1, 1, 255, 255, 255, 254,
                         254, 254, 1,   1,   1,   1,   1, 1, 3, 3, 3, 0, 0,   0,   0,   0,
                         0,   1,   1,   1,   0,   0,   0, 0, 0, 0, 1, 1, 1,   1,   1,   1};
    EXPECT_EQ(MakeChain(4, 4, image, 3)[0], (Bytes{254, 254, 254, 1, 1, 1, 0, 0, 0, 0, 0, 0}));
}

TEST(MipChain, AFlatImageLooksAtItsFirstRowAlone)
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

TEST(MipChain, ATallImageLooksAtItsUpperHalfFirst)
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

TEST(MipChain, ALongFlatImageHalvesItsWidthAlone)
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

TEST(MipChain, AnOddWidthIsReadWithRowsOfTwiceTheNewWidth)
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

TEST(MipChain, SidesEndAtOneEachInItsOwnTime)
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
    ASSERT_EQ(level.size() % static_cast<size_t>(width * height), 0u);
    ASSERT_EQ(CompareBytes(level.data(), pixels, level.size()), "same")
        << "level " << check->level << ", " << width << "x" << height;
}

TEST(MipChain, ChainsOfRandomImagesEqualThePlainForm)
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
            // Exactly as long as the image: a read past it is the sanitizer's to find.
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

TEST(MipChain, ARowIsHalvedInSpansWithoutASeam)
{
    // 5000 pixels are two spans and a rest.
    RandomSource random;
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        for (const int32_t components : {3, 4})
        {
            const MipSize level = {5000, 2};
            Bytes image(4 * LevelBytes(level, components));
            for (uint8_t& byte : image)
            {
                byte = static_cast<uint8_t>(NextWord(random) >> 9);
            }
            ChainCheck check = {MakeChain(10000, 4, image, components), 0};
            PlainMipChain(10000, 4, image.data(), components, CheckLevel, &check);
            ASSERT_EQ(check.level, check.chain.size());
        }
    }
}

TEST(MipChain, AnUploadReadsRowsAsLongAsAnyAlignmentMakesThem)
{
    EXPECT_EQ(UploadBytes(5, 4, 3), 64u); // 15 bytes a row, taken for 16
    EXPECT_EQ(UploadBytes(8, 2, 4), 64u);
    EXPECT_EQ(LevelBytes({5, 4}, 3), 60u);
}
