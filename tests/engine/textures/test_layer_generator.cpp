// SPDX-License-Identifier: MIT
#include "engine/textures/layer_generator.h"

#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/fault.h"
#include "engine/textures/compare_bytes.h"
#include "engine/textures/plain_textures.h"
#include "engine/textures/random_values.h"
#include "support/fault_text.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

using Bytes = std::vector<uint8_t>;

static size_t ImageBytes(int32_t size)
{
    return static_cast<size_t>(size) * static_cast<size_t>(size) * 3;
}

/// The pixels of a generated layer; what the generator leaves alone is 0xEE.
static Bytes Generate(uint32_t type, const std::vector<float>& params, int32_t size = 256)
{
    LayerImage layer = {};
    layer.type = type;
    std::copy(params.begin(), params.end(), layer.params);
    GuardedBytes block(ImageBytes(size), 0xEE);
    layer.pixels = block.Data();
    EXPECT_TRUE(GenerateLayer(&layer, size));
    EXPECT_TRUE(block.GuardsAreWhole());
    return block.Bytes();
}

static Bytes GeneratePlain(uint32_t type, const std::vector<float>& params, int32_t size = 256)
{
    float all[kLayerParams] = {};
    std::copy(params.begin(), params.end(), all);
    Bytes pixels(ImageBytes(size), 0xEE);
    PlainGenerateLayer(type, all, size, pixels.data());
    return pixels;
}

/// A pixel's red.
static int At(const Bytes& pixels, size_t x, size_t y, size_t size = 256)
{
    return pixels[(y * size + x) * 3];
}

static std::string Describe(uint32_t type, int32_t size, const std::vector<float>& params)
{
    std::string text = std::string(InstructionSetNames[ChooseInstructionSet()]) + ", type " +
                       std::to_string(type) + ", side " + std::to_string(size) + ", params";
    for (const float param : params)
    {
        text += " " + std::to_string(param);
    }
    return text;
}

/// Every test runs with each instruction set that this processor has.
class LayerGenerator : public testing::TestWithParam<InstructionSet>
{
  protected:
    void SetUp() override
    {
        BuildCornerMasks();
    }

    UsedInstructionSet used{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(EverySet, LayerGenerator, testing::ValuesIn(ListInstructionSets()),
                         [](const testing::TestParamInfo<InstructionSet>& set)
                         { return std::string(InstructionSetNames[set.param]); });

/// Holds generators of random parameters to their plain form.
/// @param makeParams   fills the parameters
static void CompareRandomLayers(uint32_t type, int runs, const std::vector<int32_t>& sides,
                                void (*makeParams)(RandomSource&, std::vector<float>&))
{
    RandomSource random;
    for (int run = 0; run < runs; ++run)
    {
        const int32_t size = sides[NextBelow(random, static_cast<uint32_t>(sides.size()))];
        std::vector<float> params(kLayerParams);
        makeParams(random, params);
        ASSERT_EQ(CompareBytes(Generate(type, params, size), GeneratePlain(type, params, size)),
                  "same")
            << Describe(type, size, params);
    }
}

static void AnyParams(RandomSource& random, std::vector<float>& params)
{
    for (float& param : params)
    {
        param = NextParam(random);
    }
}

TEST_P(LayerGenerator, ColorEqualsThePlainForm)
{
    CompareRandomLayers(0, 1000, {1, 2, 5, 16, 33}, AnyParams);
}

TEST_P(LayerGenerator, SinusPlasmaEqualsThePlainFormOnTheSameMachine)
{
    // Sines differ in their last bit between processors, so only this comparison holds everywhere.
    CompareRandomLayers(1, 1000, {1, 2, 5, 16, 33}, AnyParams);
    CompareRandomLayers(1, 20, {256},
                        [](RandomSource& random, std::vector<float>& params)
                        {
                            for (float& param : params)
                            {
                                param = NextWithin(random, 3.0f);
                            }
                        });
}

TEST_P(LayerGenerator, RadialColorsEqualThePlainForm)
{
    CompareRandomLayers(2, 1000, {1, 2, 5, 16, 33, 64}, AnyParams);
    CompareRandomLayers(2, 60, {256},
                        [](RandomSource& random, std::vector<float>& params)
                        {
                            for (size_t i = 0; i < 6; ++i)
                            {
                                params[i] = NextWithin(random, 1.2f);
                            }
                            params[6] = NextUnit(random) * 3.0f;
                            params[7] = NextUnit(random) * 140.0f - 6.0f;
                        });
}

TEST_P(LayerGenerator, MazesEqualThePlainForm)
{
    CompareRandomLayers(3, 1000, {1, 2, 5, 16, 33, 64}, AnyParams);
    CompareRandomLayers(3, 60, {256},
                        [](RandomSource& random, std::vector<float>& params)
                        {
                            AnyParams(random, params);
                            params[3] = static_cast<float>(NextBelow(random, 8));
                            params[4] = static_cast<float>(NextBelow(random, 100000));
                            params[5] = NextUnit(random);
                        });
}

TEST_P(LayerGenerator, BricksEqualThePlainForm)
{
    // Counts to a few thousand: the plain form takes every pitch off one by one.
    CompareRandomLayers(4, 1000, {1, 2, 5, 16, 33, 64, 256},
                        [](RandomSource& random, std::vector<float>& params)
                        {
                            AnyParams(random, params);
                            const float reach = NextBelow(random, 4) == 0 ? 4000.0f : 40.0f;
                            params[6] = NextUnit(random) * reach;
                            params[7] = NextUnit(random) * reach;
                            if (NextBelow(random, 2) == 0)
                            {
                                params[8] = NextWithin(random, 8.0f);
                                params[9] = NextWithin(random, 8.0f);
                            }
                        });
}

TEST_P(LayerGenerator, NoiseEqualsThePlainForm)
{
    CompareRandomLayers(5, 1000, {1, 2, 5, 16, 33, 64}, AnyParams);
    CompareRandomLayers(5, 20, {256}, AnyParams);
}

TEST_P(LayerGenerator, AColorAboveOneWrapsRound)
{
    const Bytes pixels = Generate(0, {1.5f, 1.0f, -0.25f}); // 382.5, 255, -63.75
    ASSERT_EQ(pixels.size(), 196608u);
    for (size_t i = 0; i < pixels.size(); i += 3)
    {
        ASSERT_EQ(pixels[i], 126);
        ASSERT_EQ(pixels[i + 1], 255);
        ASSERT_EQ(pixels[i + 2], 193);
    }
}

TEST_P(LayerGenerator, SinusPlasmaWithoutRepeatsIs127Everywhere)
{
    EXPECT_EQ(Generate(1, {1.0f, 1.0f, 1.0f, 0.0f, 0.0f}), Bytes(ImageBytes(256), 127));
    EXPECT_EQ(Generate(1, {0.5f, 0.5f, 0.5f, 0.0f, 0.0f}), Bytes(ImageBytes(256), 63));
}

TEST_P(LayerGenerator, SinusPlasmaSwingsOnceAcrossTheImageForARepeatOfOne)
{
    const Bytes pixels = Generate(1, {1.0f, 1.0f, 1.0f, 1.0f, 0.0f});
    EXPECT_EQ(At(pixels, 0, 0), 127);
    EXPECT_EQ(At(pixels, 64, 0), 190); // 127 + 63.5
    EXPECT_EQ(At(pixels, 192, 0), 63); // 127 - 63.5
    EXPECT_EQ(At(pixels, 64, 200), 190);
    const Bytes turned = Generate(1, {1.0f, 1.0f, 1.0f, 0.0f, 1.0f});
    EXPECT_EQ(At(turned, 0, 64), 190);
    EXPECT_EQ(At(turned, 200, 192), 63);
    const Bytes both = Generate(1, {1.0f, 1.0f, 1.0f, 1.0f, 1.0f});
    EXPECT_EQ(At(both, 64, 64), 253); // the step is a float, so the sine falls just short of 1
    EXPECT_EQ(At(both, 192, 192), 0);
}

TEST_P(LayerGenerator, SinusPlasmaOfAnInfiniteRepeatIsBlack)
{
    // No number, so -2147483648, of which the low 8 bits of the float product stay: 0.
    EXPECT_EQ(Generate(1, {1.0f, 1.0f, 1.0f, INFINITY, 1.0f}), Bytes(ImageBytes(256), 0));
}

TEST_P(LayerGenerator, RadialColorsReachTheMarginWhereTheRampPasses127)
{
    // Inverse radian 1, offset 0: q is the distance. Margin 200 / 255, center 1.
    const float margin = 200.0f / 255.0f;
    const Bytes pixels = Generate(2, {1, 1, 1, margin, margin, margin, 1.0f, 0.0f});
    EXPECT_EQ(At(pixels, 128, 128), 255); // the center color at the very center
    EXPECT_EQ(At(pixels, 0, 128), static_cast<int>(255.0f * margin)); // distance 128
    EXPECT_EQ(At(pixels, 128, 0), static_cast<int>(255.0f * margin));
    // Distance 127 is not past 127: a is 254 and b 1.
    EXPECT_EQ(At(pixels, 1, 128), static_cast<int>(254.0f * margin + 1.0f));
    EXPECT_EQ(At(pixels, 255, 128), static_cast<int>(254.0f * margin + 1.0f));
    EXPECT_EQ(At(pixels, 138, 128), static_cast<int>(20.0f * margin + 235.0f));
}

TEST_P(LayerGenerator, RadialColorsOffsetKeepsTheCenterAndSteepensTheRest)
{
    // Offset 127 leaves a divisor of 1: one pixel past the offset the ramp has run out.
    const Bytes pixels = Generate(2, {0, 0, 0, 1, 1, 1, 1.0f, 127.0f});
    EXPECT_EQ(At(pixels, 1, 128), 0);   // distance 127: t is 0
    EXPECT_EQ(At(pixels, 0, 128), 255); // distance 128: q is 128
    EXPECT_EQ(At(pixels, 128, 128), 0);
    EXPECT_EQ(At(pixels, 0, 0), 255);
    // Offsets are cut to 0..127.
    EXPECT_EQ(Generate(2, {0, 0, 0, 1, 1, 1, 1.0f, 128.0f}), pixels);
    EXPECT_EQ(Generate(2, {0, 0, 0, 1, 1, 1, 1.0f, 127.9f}), pixels);
    EXPECT_EQ(Generate(2, {0, 0, 0, 1, 1, 1, 1.0f, -5.0f}),
              Generate(2, {0, 0, 0, 1, 1, 1, 1.0f, 0.0f}));
}

TEST_P(LayerGenerator, ANegativeInverseRadianIsTheCenterColor)
{
    // Every distance gives a negative ramp, which counts as 0: 255 * 0.5 and 255 * 1.5 - 256.
    const Bytes pixels = Generate(2, {0.5f, 1.0f, 1.5f, 0.25f, 0.25f, 0.25f, -1.0f, 0.0f});
    for (size_t i = 0; i < pixels.size(); i += 3)
    {
        ASSERT_EQ(pixels[i], 127);
        ASSERT_EQ(pixels[i + 1], 255);
        ASSERT_EQ(pixels[i + 2], 126);
    }
    EXPECT_EQ(Generate(2, {0.5f, 1.0f, 1.5f, 0.25f, 0.25f, 0.25f, -0.001f, 90.0f}), pixels);
}

TEST_P(LayerGenerator, MazeSizesAreRoundedToEvenAndClamped)
{
    const auto maze = [](float size)
    {
        return Generate(3, {1, 1, 1, size, 77.0f, 0.5f});
    };
    EXPECT_EQ(maze(0.0f), maze(1.0f));
    EXPECT_EQ(maze(-3.0f), maze(1.0f));
    EXPECT_EQ(maze(8.0f), maze(7.0f));
    EXPECT_EQ(maze(1e9f), maze(7.0f));
    EXPECT_EQ(maze(1.5f), maze(2.0f));
    EXPECT_EQ(maze(2.5f), maze(2.0f));
    EXPECT_EQ(maze(3.5f), maze(4.0f));
    EXPECT_NE(maze(1.0f), maze(2.0f));
    EXPECT_NE(maze(6.0f), maze(7.0f));
}

TEST_P(LayerGenerator, MazeFullnessZeroIsBlackAndOneIsFlat)
{
    for (float size = 1.0f; size <= 7.0f; size += 1.0f)
    {
        EXPECT_EQ(Generate(3, {1, 1, 1, size, 5.0f, 0.0f}), Bytes(ImageBytes(256), 0));
        EXPECT_EQ(Generate(3, {1.5f, 1.5f, 1.5f, size, 5.0f, 1.0f}), Bytes(ImageBytes(256), 126));
    }
    EXPECT_EQ(Generate(3, {1, 1, 1, 3.0f, 5.0f, -1.0f}), Bytes(ImageBytes(256), 0));
    EXPECT_EQ(Generate(3, {1, 1, 1, 3.0f, 5.0f, 2.0f}), Bytes(ImageBytes(256), 255));
}

/// The corner grid's cell 0 for a seed: r of the generator's first step.
static float FirstRandom(uint32_t seed)
{
    seed = seed * 1103515245u + 12345u;
    return static_cast<float>((seed >> 16) & 0x7FFF) / 32768.0f;
}

TEST_P(LayerGenerator, AMazeCellIsSetOnlyAboveOneHalf)
{
    // Seeds whose first random number is exactly one half, and the next one above it. The upper
    // left pixel of the image is its cell's upper left corner, and a mask's corner is 253 or 0.
    int halves = 0;
    int above = 0;
    for (uint32_t seed = 0; seed < 400000 && (halves == 0 || above == 0); ++seed)
    {
        const float r = FirstRandom(seed);
        const bool isHalf = r == 0.5f;
        const bool isNext = r == 16385.0f / 32768.0f;
        if (isHalf || isNext)
        {
            const Bytes pixels = Generate(3, {1, 1, 1, 7.0f, static_cast<float>(seed), 0.5f});
            EXPECT_EQ(At(pixels, 0, 0) > 250, isNext) << seed;
            halves += isHalf ? 1 : 0;
            above += isNext ? 1 : 0;
        }
    }
    EXPECT_GT(halves, 0);
    EXPECT_GT(above, 0);
}

TEST_P(LayerGenerator, AMazeTiles)
{
    // Cells of 2x2: a corner's value stands in the pixel at that corner, black or not, so the last
    // column's right corners must be those of the first column, and rows alike.
    const Bytes pixels = Generate(3, {1, 1, 1, 1.0f, 9.0f, 0.5f});
    const auto lit = [&](size_t x, size_t y)
    {
        return At(pixels, x, y) != 0;
    };
    int changes = 0;
    for (size_t i = 0; i < 256; ++i)
    {
        EXPECT_EQ(lit(255, i), lit(0, i)) << i;
        EXPECT_EQ(lit(i, 255), lit(i, 0)) << i;
        changes += lit(0, i) != lit(0, (i + 1) % 256) ? 1 : 0;
    }
    EXPECT_GT(changes, 20);
}

/// The cases of a maze's cells, made from its seed and a fullness of one half; row by row.
static std::vector<uint32_t> MazeCases(uint32_t seed, size_t cells)
{
    std::vector<uint32_t> grid((cells + 1) * (cells + 1));
    for (uint32_t& cell : grid)
    {
        seed = seed * 1103515245u + 12345u;
        cell = ((seed >> 16) & 0x7FFF) > 16384 ? 1 : 0;
    }
    std::vector<uint32_t> cases;
    for (size_t y = 0; y < cells; ++y)
    {
        for (size_t x = 0; x < cells; ++x)
        {
            // The last column and row are the first ones.
            const auto corner = [&](size_t right, size_t down)
            {
                return grid[(y + down) % cells * (cells + 1) + (x + right) % cells];
            };
            cases.push_back(8 * corner(0, 0) + 4 * corner(1, 0) + 2 * corner(0, 1) + corner(1, 1));
        }
    }
    return cases;
}

TEST_P(LayerGenerator, MazeCellsOfTwoCornersAreTurnedByTheirCase)
{
    // Cells of 4x4, the mask's ramp of 0, 85, 170 and 255 eased to 0, 34, 127 and 253; between two
    // opposite corners 113 and 141 stand too, eased to 59 and 90.
    struct ExpectedCell
    {
        uint32_t corners;
        int pixels[16];
    };
    static constexpr ExpectedCell kExpected[] = {
        {5, {0, 34, 127, 253, 0, 34, 127, 253, 0, 34, 127, 253, 0, 34, 127, 253}},  // right
        {10, {253, 127, 34, 0, 253, 127, 34, 0, 253, 127, 34, 0, 253, 127, 34, 0}}, // left
        {6, {0, 34, 127, 253, 34, 59, 90, 127, 127, 90, 59, 34, 253, 127, 34, 0}},
        {9, {253, 127, 34, 0, 127, 90, 59, 34, 34, 59, 90, 127, 0, 34, 127, 253}},
    };
    const Bytes pixels = Generate(3, {1, 1, 1, 2.0f, 77.0f, 0.5f});
    const std::vector<uint32_t> cases = MazeCases(77, 64);
    for (const ExpectedCell& expected : kExpected)
    {
        int cells = 0;
        for (size_t cell = 0; cell < cases.size(); ++cell)
        {
            for (size_t i = 0; cases[cell] == expected.corners && i < 16; ++i)
            {
                ASSERT_EQ(At(pixels, cell % 64 * 4 + i % 4, cell / 64 * 4 + i / 4),
                          expected.pixels[i])
                    << expected.corners << ", " << i;
            }
            cells += cases[cell] == expected.corners ? 1 : 0;
        }
        EXPECT_GT(cells, 50) << expected.corners;
    }
}

TEST_P(LayerGenerator, MazeCellsOfTwoCornersReadTheirMask)
{
    // Cells of 16x16: masks of index 3, 16 bytes a row.
    const uint8_t* edge = GetCornerMask(3, 1);
    const uint8_t* opposite = GetCornerMask(3, 2);
    const Bytes pixels = Generate(3, {1, 1, 1, 4.0f, 5.0f, 0.5f});
    const std::vector<uint32_t> cases = MazeCases(5, 16);
    int checked[16] = {};
    for (size_t cell = 0; cell < cases.size(); ++cell)
    {
        for (size_t j = 0; j < 16; ++j)
        {
            for (size_t i = 0; i < 16; ++i)
            {
                const int value = At(pixels, cell % 16 * 16 + i, cell / 16 * 16 + j);
                switch (cases[cell])
                {
                case 5:
                    ASSERT_EQ(value, edge[i * 16 + j]);
                    break;
                case 6:
                    ASSERT_EQ(value, opposite[j * 16 + i]);
                    break;
                case 9:
                    ASSERT_EQ(value, opposite[j * 16 + 15 - i]);
                    break;
                case 10:
                    ASSERT_EQ(value, edge[(15 - i) * 16 + j]);
                    break;
                default:
                    break;
                }
            }
        }
        checked[cases[cell]] += 1;
    }
    for (const int corners : {5, 6, 9, 10})
    {
        EXPECT_GT(checked[corners], 0) << corners;
    }
}

TEST_P(LayerGenerator, MazeSeedsKeepTheLow32BitsOfA64BitInteger)
{
    const auto maze = [](float seed)
    {
        return Generate(3, {1, 1, 1, 2.0f, seed, 0.5f});
    };
    EXPECT_EQ(maze(4294967296.0f), maze(0.0f));
    EXPECT_EQ(maze(0.9f), maze(0.0f));
    EXPECT_NE(maze(-1.0f), maze(0.0f));                   // 0xFFFFFFFF
    EXPECT_EQ(maze(-1073741824.0f), maze(3221225472.0f)); // both 0xC0000000
    EXPECT_NE(maze(-1073741824.0f), maze(0.0f));
    EXPECT_EQ(maze(1e30f), maze(0.0f)); // past 64 bits: 0x8000000000000000
}

/// Two bricks of 128 pixels a course, two courses, no mortar but what is given; bricks are 255 and
/// mortar 0.
static std::vector<float> Wall(float courses, float bricks, float rowMargin, float columnMargin,
                               float offset)
{
    return {1, 1, 1, 0, 0, 0, courses, bricks, rowMargin, columnMargin, offset};
}

TEST_P(LayerGenerator, MortarLiesOnBothSidesOfABricksEnd)
{
    const Bytes pixels = Generate(4, Wall(1, 2, 0, 1, 0));
    EXPECT_EQ(At(pixels, 0, 0), 0); // the margin at the start: 1 > 0
    EXPECT_EQ(At(pixels, 1, 0), 255);
    EXPECT_EQ(At(pixels, 127, 0), 255); // 1 > 128 - 127 is false
    EXPECT_EQ(At(pixels, 128, 0), 0);   // 1 > 0
    EXPECT_EQ(At(pixels, 129, 0), 255); // t is 1
    EXPECT_EQ(At(pixels, 255, 0), 255); // t is 127
}

TEST_P(LayerGenerator, ARowAtExactlyACoursesHeightBelongsToIt)
{
    // Two courses of 128 rows, the second moved by half a brick. 128 is not above 128, so row 128
    // still is one of the first.
    const Bytes pixels = Generate(4, Wall(2, 2, 0, 1, 64));
    for (const int row : {0, 127, 128})
    {
        EXPECT_EQ(At(pixels, 128, row), 0) << row;
        EXPECT_EQ(At(pixels, 64, row), 255) << row;
    }
    for (const int row : {129, 255})
    {
        EXPECT_EQ(At(pixels, 128, row), 255) << row;
        EXPECT_EQ(At(pixels, 64, row), 0) << row;
    }
}

TEST_P(LayerGenerator, HorizontalNumberCountsCoursesVerticalBricks)
{
    const Bytes courses = Generate(4, Wall(4, 1, 2, 0, 0));
    EXPECT_EQ(At(courses, 100, 0), 0);
    EXPECT_EQ(At(courses, 100, 1), 0);
    EXPECT_EQ(At(courses, 100, 2), 255);
    EXPECT_EQ(At(courses, 100, 62), 255);
    EXPECT_EQ(At(courses, 100, 63), 0); // 2 > 64 - 63
    EXPECT_EQ(At(courses, 100, 64), 0);
    EXPECT_EQ(At(courses, 100, 65), 0); // t is 1
    EXPECT_EQ(At(courses, 100, 66), 255);
    const Bytes bricks = Generate(4, Wall(1, 4, 0, 2, 0));
    EXPECT_EQ(At(bricks, 62, 100), 255);
    EXPECT_EQ(At(bricks, 63, 100), 0);
    EXPECT_EQ(At(bricks, 65, 100), 0);
    EXPECT_EQ(At(bricks, 66, 100), 255);
}

TEST_P(LayerGenerator, BrickAndWallColorsAreThreeChannelsEach)
{
    // Bricks 255, 127.5 and 382.5; mortar 51, 0 and -63.75.
    const Bytes pixels = Generate(4, {1.0f, 0.5f, 1.5f, 0.2f, 0.0f, -0.25f, 1, 1, 2, 3, 0});
    static constexpr int kBrick[3] = {255, 127, 126};
    static constexpr int kWall[3] = {51, 0, 193};
    for (size_t y = 0; y < 256; ++y)
    {
        for (size_t x = 0; x < 256; ++x)
        {
            // The far margin is a pixel less: it ends where the next brick would start.
            const bool isWall = y < 2 || y > 254 || x < 3 || x > 253;
            for (size_t channel = 0; channel < 3; ++channel)
            {
                ASSERT_EQ(pixels[(y * 256 + x) * 3 + channel],
                          isWall ? kWall[channel] : kBrick[channel])
                    << x << " " << y;
            }
        }
    }
}

TEST_P(LayerGenerator, BricksDropTheFractionsOfNumbersMarginsAndOffset)
{
    const Bytes pixels = Generate(4, Wall(4.9f, 2.9f, 1.9f, 2.9f, 10.9f));
    EXPECT_EQ(pixels, Generate(4, Wall(4, 2, 1, 2, 10)));
    EXPECT_EQ(At(pixels, 50, 0), 0);   // course margin of 1
    EXPECT_EQ(At(pixels, 50, 1), 255); // 1 > 1 is false, where 1.9 would be above
    EXPECT_EQ(At(pixels, 1, 30), 0);   // brick margin of 2
    EXPECT_EQ(At(pixels, 2, 30), 255);
    EXPECT_EQ(At(pixels, 117, 70), 0); // 127 of the row, rotated by 10
    EXPECT_EQ(At(pixels, 116, 70), 255);
    EXPECT_EQ(Generate(4, Wall(1, 1, 0.9f, -0.9f, 0)), Bytes(ImageBytes(256), 255));
}

TEST_P(LayerGenerator, EverySecondCourseIsRotatedLeft)
{
    const Bytes pixels = Generate(4, Wall(2, 2, 0, 1, 10));
    EXPECT_EQ(At(pixels, 128, 0), 0);
    EXPECT_EQ(At(pixels, 118, 0), 255);
    EXPECT_EQ(At(pixels, 128, 128), 0); // row 128 still belongs to course 0
    EXPECT_EQ(At(pixels, 118, 129), 0);
    EXPECT_EQ(At(pixels, 128, 129), 255);
    EXPECT_EQ(At(pixels, 246, 255), 0); // where the row's start went
}

TEST_P(LayerGenerator, ALineOffsetOfZeroOrTheSideRotatesNothing)
{
    const Bytes none = Generate(4, Wall(8, 4, 1, 1, 0));
    EXPECT_EQ(Generate(4, Wall(8, 4, 1, 1, 256)), none);
    EXPECT_EQ(Generate(4, Wall(8, 4, 1, 1, 512)), none);
    EXPECT_EQ(Generate(4, Wall(8, 4, 1, 1, -256)), none);
    for (size_t x = 0; x < 256; ++x)
    {
        EXPECT_EQ(At(none, x, 10), At(none, x, 42));
    }
    EXPECT_NE(Generate(4, Wall(8, 4, 1, 1, 5)), none);
}

TEST_P(LayerGenerator, ANegativeSecondLineOffsetStaysInsideTheRow)
{
    // Remainder -10 becomes 256 + 10, which wraps to a rotation by 10.
    EXPECT_EQ(Generate(4, Wall(8, 4, 1, 1, -10)), Generate(4, Wall(8, 4, 1, 1, 10)));
    EXPECT_EQ(Generate(4, Wall(8, 4, 1, 1, -266)), Generate(4, Wall(8, 4, 1, 1, 10)));
    EXPECT_EQ(Generate(4, Wall(8, 4, 1, 1, 266)), Generate(4, Wall(8, 4, 1, 1, 10)));
}

TEST_P(LayerGenerator, ANumberOfZeroIsOneBrickWithoutEnd)
{
    const Bytes pixels = Generate(4, Wall(0, 0, 3, 2, 0));
    for (size_t y = 0; y < 256; ++y)
    {
        for (size_t x = 0; x < 256; ++x)
        {
            ASSERT_EQ(At(pixels, x, y), x < 2 || y < 3 ? 0 : 255) << x << " " << y;
        }
    }
    // So is a number below zero, and one that is no number.
    EXPECT_EQ(Generate(4, Wall(-1, -1000, 3, 2, 0)), pixels);
    EXPECT_EQ(Generate(4, Wall(NAN, -3e30f, 3, 2, 0)), pixels);
    EXPECT_EQ(Generate(4, Wall(0.9f, -0.9f, 3, 2, 0)), pixels);
}

TEST_P(LayerGenerator, ThinCoursesAreCountedAsTheirSubtractionRounds)
{
    // Courses far below a pixel: which of the two rows shows depends on how many were taken off,
    // one by one, each rounded. 1,000,000 courses take a million steps for the last row.
    for (const float courses : {1000.0f, 4097.0f, 30001.0f, 123457.0f, 1000000.0f})
    {
        const std::vector<float> params = Wall(courses, 2, 0, 9, 60);
        ASSERT_EQ(CompareBytes(Generate(4, params), GeneratePlain(4, params)), "same") << courses;
    }
}

TEST_P(LayerGenerator, CoursesTooThinForAnyRowEndAtOnce)
{
    // From 33,554,432 on a step below row 129 changes nothing; 2,147,483,520 is the most that a
    // float and an integer hold. Mortar of 1 is wider than such a course, none is not.
    for (const float count : {33554430.0f, 33554432.0f, 100000000.0f, 2147483520.0f})
    {
        EXPECT_EQ(Generate(4, Wall(count, count, 1, 0, 0)), Bytes(ImageBytes(256), 0));
        EXPECT_EQ(Generate(4, Wall(count, count, 0, 1, 0)), Bytes(ImageBytes(256), 0));
        EXPECT_EQ(Generate(4, Wall(count, count, 0, 0, 0)), Bytes(ImageBytes(256), 255));
    }
}

TEST_P(LayerGenerator, NoiseIsOneRandomNumberForAllThreeChannels)
{
    const Bytes pixels = Generate(5, {1.0f, 0.5f, 0.0f, 1.0f});
    // Seed 1: 1103527590 >> 16 is 16838, 255 * 16838 / 32768 = 131.03; the channel at 0.5 is 65.5.
    EXPECT_EQ(pixels[0], 131);
    EXPECT_EQ(pixels[1], 65);
    EXPECT_EQ(pixels[2], 0);
    // Its next step: 2524885223, of which bits 16 to 30 are 5758; 44.8.
    EXPECT_EQ(pixels[3], 44);
    EXPECT_EQ(pixels[4], 22);
}

TEST_P(LayerGenerator, NoiseSeedsKeepTheLow32BitsOfA64BitInteger)
{
    const auto noise = [](float seed)
    {
        return Generate(5, {1, 1, 1, seed});
    };
    // -1 is 0xFFFFFFFF: 3191464396, of which bits 16 to 30 are 15929, 123.96; then 288979989, 4409.
    const Bytes minusOne = noise(-1.0f);
    EXPECT_EQ(At(minusOne, 0, 0), 123);
    EXPECT_EQ(At(minusOne, 1, 0), 34);
    EXPECT_EQ(noise(-1.9f), minusOne);
    // 2^32 + 512 is 512: 2359102009, 3229, 25.1; then 420538494, 6416, 49.9.
    const Bytes past = noise(4294967808.0f);
    EXPECT_EQ(At(past, 0, 0), 25);
    EXPECT_EQ(At(past, 1, 0), 49);
    EXPECT_EQ(noise(512.0f), past);
    // 2^32 is 0: 12345, 0; then 3554416254, 21468, 167.06.
    const Bytes zero = noise(4294967296.0f);
    EXPECT_EQ(At(zero, 0, 0), 0);
    EXPECT_EQ(At(zero, 1, 0), 167);
    EXPECT_EQ(noise(-4294967296.0f), zero);
}

TEST_P(LayerGenerator, AnUnknownTypeLeavesThePixelsAlone)
{
    EXPECT_EQ(Generate(6, {1, 1, 1}), Bytes(ImageBytes(256), 0xEE));
    EXPECT_EQ(Generate(0xFFFFFFFFu, {1, 1, 1}), Bytes(ImageBytes(256), 0xEE));
}

TEST_P(LayerGenerator, RandomParametersTakeOneRandForEachEntry)
{
    static constexpr float kUnit = 1.0f / 2147483648.0f;
    for (uint32_t type = 0; type < 7; ++type)
    {
        LayerImage layer = {};
        layer.type = type;
        for (float& param : layer.params)
        {
            param = 99.0f;
        }
        RandomSequence random;
        SeedRandom(&random, 11);
        RandomizeLayerParams(&layer, &random);

        srand(11);
        float expected[kLayerParams];
        for (float& param : expected)
        {
            param = 99.0f;
        }
        const int colors = type == 2 ? 6 : (type < 2 ? 3 : 0);
        for (int i = 0; i < colors; ++i)
        {
            expected[i] = static_cast<float>(rand()) * kUnit;
        }
        if (type == 1)
        {
            expected[3] = 3.0f * (static_cast<float>(rand()) * kUnit);
            expected[4] = 3.0f * (static_cast<float>(rand()) * kUnit);
        }
        if (type == 2)
        {
            expected[6] = 2.0f * (static_cast<float>(rand()) * kUnit) + 1.0f;
        }
        for (size_t i = 0; i < kLayerParams; ++i)
        {
            EXPECT_EQ(layer.params[i], expected[i]) << type << ", " << i;
        }
    }
}

/// A document of which layers are read.
class LayerReading : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCornerMasks();
        StartFaults(&faults);
        context.faults = &faults;
        context.computePixels = true;
    }

    void TearDown() override
    {
        FreeLayers(&context);
        FreeFaults(&faults);
    }

    /// Reads layers from XML text as section 0.
    bool ReadLayers(const std::string& items)
    {
        TiXmlDocument document;
        document.Parse(items.c_str());
        uint32_t index = 0;
        for (const TiXmlNode* node = document.FirstChild(); node != nullptr;
             node = node->NextSibling())
        {
            faults.place = PlaceAt("demo.xmlz", Section::kLayers, index + 1);
            if (!ReadLayerItem(node->ToElement(), nullptr, index, &context))
            {
                return false;
            }
            EXPECT_EQ(faults.place.part, 0u);
            ++index;
        }
        EXPECT_FALSE(HasFailed(&faults));
        return true;
    }

    /// The line that a text's fault prints. Leaves no layers.
    std::string ReadFault(const std::string& items)
    {
        EXPECT_FALSE(ReadLayers(items));
        const std::string line = FaultText(faults);
        FreeLayers(&context);
        FreeFaults(&faults);
        return line;
    }

    FaultList faults;
    ReadContext context = {};
};

TEST_F(LayerReading, TakesParametersWhateverTheyAreCalled)
{
    ASSERT_TRUE(ReadLayers("<any type=\"0\"><a>0.5</a><b>1.0</b><c>-0.25x</c></any>"
                           "<layer type=\"6\"><p>1</p></layer>"));
    ASSERT_EQ(context.layerCount, 2u);
    const LayerImage* color = context.layers[0];
    EXPECT_EQ(color->type, 0u);
    EXPECT_EQ(color->params[0], 0.5f);
    EXPECT_EQ(color->params[2], -0.25f);
    EXPECT_EQ(color->params[3], 0.0f); // not given
    EXPECT_EQ(color->pixels[0], 127);
    EXPECT_EQ(color->pixels[1], 255);
    EXPECT_EQ(color->pixels[196607], 193);

    // A generator that is not there: black, as allocated.
    EXPECT_EQ(context.layers[1]->type, 6u);
    EXPECT_EQ(Bytes(context.layers[1]->pixels, context.layers[1]->pixels + 196608),
              Bytes(196608, 0));

    FreeLayers(&context);
    EXPECT_EQ(context.layerCount, 0u);
    EXPECT_EQ(context.layers[0], nullptr);
    FreeLayers(&context); // nothing is left to free
}

TEST_F(LayerReading, ComputesNoPixelsUnlessTheyAreWanted)
{
    context.computePixels = false;
    ASSERT_TRUE(ReadLayers("<l type=\"5\"><p>0.5</p></l>"));
    ASSERT_EQ(context.layerCount, 1u);
    EXPECT_EQ(context.layers[0]->type, 5u);
    EXPECT_EQ(context.layers[0]->params[0], 0.5f);
    EXPECT_EQ(context.layers[0]->pixels, nullptr);
}

static std::string RepeatText(const char* text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
    {
        all += text;
    }
    return all;
}

TEST_F(LayerReading, ATwentyFifthParameterIsAFault)
{
    ASSERT_TRUE(ReadLayers("<l type=\"9\">" + RepeatText("<p>7</p>", 24) + "</l>"));
    EXPECT_EQ(context.layers[0]->params[23], 7.0f);
    EXPECT_EQ(ReadFault("<l type=\"9\"/><l type=\"9\">" + RepeatText("<p>7</p>", 25) + "</l>"),
              "quorvale: demo.xmlz, section 0 (layers), item 2, parameter 25: more than 24 "
              "parameters\n");
}

TEST_F(LayerReading, ALayerAfterTheLastPlaceIsAFault)
{
    ASSERT_TRUE(ReadLayers(RepeatText("<l type=\"9\"/>", 248)));
    EXPECT_EQ(context.layerCount, 248u);
    FreeLayers(&context);
    EXPECT_EQ(ReadFault(RepeatText("<l type=\"9\"/>", 249)),
              "quorvale: demo.xmlz, section 0 (layers), item 249: more than 248 layers\n");
}

TEST_F(LayerReading, ATypeAndTextInEachParameterAreRequired)
{
    EXPECT_EQ(ReadFault("<l/>"), "quorvale: demo.xmlz, section 0 (layers), item 1: attribute "
                                 "\"type\" of <l> is missing\n");
    EXPECT_EQ(ReadFault("<l type=\"0\"><p>1</p><p/></l>"),
              "quorvale: demo.xmlz, section 0 (layers), item 1, parameter 2: <p> has no text\n");
    EXPECT_EQ(ReadFault("<l type=\"0\">words</l>"),
              "quorvale: demo.xmlz, section 0 (layers), item 1, parameter 1: parameter is not an "
              "element\n");
}
