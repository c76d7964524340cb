// SPDX-License-Identifier: MIT
#include "engine/textures/effect_kernels.h"

#include <bit>
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/random_sequence.h"
#include "engine/textures/plain_effects.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

static constexpr float kInfinity = std::numeric_limits<float>::infinity();
static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

static size_t ImageSize(uint32_t side, uint32_t bpp)
{
    return side * side * bpp / 8;
}

/// An image of a kernel, with guards around it.
template <typename Render>
static std::vector<uint8_t> Rendered(uint32_t side, uint32_t bpp, Render render)
{
    BuildCosTable();
    GuardedBytes image(ImageSize(side, bpp));
    render(static_cast<int32_t>(side), static_cast<uint8_t>(bpp), image.Data());
    EXPECT_TRUE(image.GuardsAreWhole());
    return image.Bytes();
}

static std::vector<uint8_t> Effect1(uint32_t side, uint32_t bpp, float step)
{
    return Rendered(side, bpp,
                    [step](int32_t s, uint8_t b, uint8_t* out) { RenderEffect1(s, b, step, out); });
}

static std::vector<uint8_t> Rotate(uint32_t side, uint32_t bpp, float step)
{
    return Rendered(side, bpp,
                    [step](int32_t s, uint8_t b, uint8_t* out) { RenderRotate(s, b, step, out); });
}

static std::vector<uint8_t> TestEffect(uint32_t side, uint32_t bpp, float p0, float p1, float p2)
{
    const float params[3] = {p0, p1, p2};
    return Rendered(side, bpp,
                    [&params](int32_t s, uint8_t b, uint8_t* out)
                    { RenderTestEffect(s, b, params, out); });
}

static std::vector<uint8_t> Pixel(const std::vector<uint8_t>& image, size_t n)
{
    return {image[3 * n], image[3 * n + 1], image[3 * n + 2]};
}

/// Names the first byte that differs, where comparing whole images would print them.
static void ExpectSame(const std::vector<uint8_t>& image, const std::vector<uint8_t>& plain,
                       float step)
{
    ASSERT_EQ(image.size(), plain.size());
    for (size_t i = 0; i < image.size(); ++i)
    {
        ASSERT_EQ(image[i], plain[i]) << "byte " << i << " at step " << step;
    }
}

static void ExpectPlainEffect1(uint32_t side, uint32_t bpp, float step)
{
    std::vector<uint8_t> plain(ImageSize(side, bpp));
    BuildCosTable();
    PlainEffect1(side, bpp, step, plain.data());
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        ExpectSame(Effect1(side, bpp, step), plain, step);
    }
}

static void ExpectPlainRotate(uint32_t side, uint32_t bpp, float step)
{
    std::vector<uint8_t> plain(ImageSize(side, bpp));
    BuildCosTable();
    PlainRotate(side, bpp, step, plain.data());
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        ExpectSame(Rotate(side, bpp, step), plain, step);
    }
}

/// Small and large, whole and broken, forwards and backwards.
static std::vector<float> RandomSteps(unsigned seed, size_t count)
{
    std::mt19937 random(seed);
    std::vector<float> steps;
    for (size_t i = 0; i < count; ++i)
    {
        float step = static_cast<float>(random() % 2000000) * 0.001f - 1000.0f;
        if (i % 8 == 7)
        {
            step *= 1000.0f;
        }
        steps.push_back(step);
    }
    return steps;
}

// ---- "Test 2d effect"

TEST(TestEffect, At24BitsIsThreeGradientsOfRowColumnAndBoth)
{
    // k = trunc(10.6 + 0.7) = 11.
    std::vector<uint8_t> image = TestEffect(64, 24, 10.6f, 0.7f, 1000.0f);
    EXPECT_EQ(Pixel(image, 0), (std::vector<uint8_t>{11, 11, 11}));
    EXPECT_EQ(Pixel(image, 5), (std::vector<uint8_t>{11, 16, 16}));
    EXPECT_EQ(Pixel(image, 7 * 64 + 5), (std::vector<uint8_t>{18, 16, 23}));
}

TEST(TestEffect, WrapsAt255)
{
    std::vector<uint8_t> image = TestEffect(64, 24, 250.0f, 0.0f, 0.0f);
    EXPECT_EQ(Pixel(image, 4), (std::vector<uint8_t>{250, 254, 254}));
    EXPECT_EQ(Pixel(image, 5), (std::vector<uint8_t>{250, 0, 0}));
    EXPECT_EQ(Pixel(image, 63), (std::vector<uint8_t>{250, 58, 58}));
}

TEST(TestEffect, BelowZeroSumsAreUnsigned)
{
    // 2^32 - 2 modulo 255 is 254; 2^32 - 1 is a multiple of 255, and so is the 0 behind it.
    std::vector<uint8_t> image = TestEffect(64, 24, -2.0f, 0.0f, 0.0f);
    EXPECT_EQ(Pixel(image, 0), (std::vector<uint8_t>{254, 254, 254}));
    EXPECT_EQ(Pixel(image, 1), (std::vector<uint8_t>{254, 0, 0}));
    EXPECT_EQ(Pixel(image, 2), (std::vector<uint8_t>{254, 0, 0}));
    EXPECT_EQ(Pixel(image, 3), (std::vector<uint8_t>{254, 1, 1}));
}

TEST(TestEffect, At8BitsTakesTheThirdParameterAndNotTheSecond)
{
    std::vector<uint8_t> image = TestEffect(64, 8, 1.5f, 100.0f, 2.0f);
    EXPECT_EQ(image[0], 3);
    EXPECT_EQ(image[10], 13);
    EXPECT_EQ(image[20 * 64 + 10], 33);
    EXPECT_EQ(image[63 * 64 + 63], 129);
}

TEST(TestEffect, IsThePlainOne)
{
    std::mt19937 random(1);
    for (uint32_t side : {64u, 128u, 256u, 512u})
    {
        for (uint32_t bpp : {8u, 24u})
        {
            const float params[3] = {static_cast<float>(random() % 100000) * 0.01f - 500.0f,
                                     static_cast<float>(random() % 1000), 3.0f};
            std::vector<uint8_t> plain(ImageSize(side, bpp));
            PlainTestEffect(side, bpp, params, plain.data());
            ExpectSame(TestEffect(side, bpp, params[0], params[1], params[2]), plain, params[0]);
        }
    }
}

// ---- The table

TEST(CosTable, TakesTheSignedRemainderWhoseEntryIsNotThatOfAMask)
{
    BuildCosTable();
    EXPECT_NE(std::bit_cast<uint32_t>(cosLookup(-4072)), std::bit_cast<uint32_t>(cosLookup(24)));
    EXPECT_EQ(std::bit_cast<uint32_t>(cosLookup(-4072)), std::bit_cast<uint32_t>(CosTable[24]));
    EXPECT_EQ(std::bit_cast<uint32_t>(cosLookup(24)), std::bit_cast<uint32_t>(CosTable[4120]));

    // The ends are the same: a negative whole turn may be read from either.
    EXPECT_EQ(CosTable[0], 1.0f);
    EXPECT_EQ(CosTable[4096], 1.0f);
}

// ---- "Effect 1"

TEST(Effect1, AtStepMinus646ReadsTheTablesLowerHalf)
{
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        EXPECT_EQ(Effect1(256, 24, -646.0f)[124573], 60);
    }
}

TEST(Effect1, AtStepZeroIsAFunctionOfXAlone)
{
    for (uint32_t bpp : {8u, 24u})
    {
        std::vector<uint8_t> image = Effect1(128, bpp, 0.0f);
        size_t row = 128 * bpp / 8;
        for (size_t i = row; i < image.size(); ++i)
        {
            ASSERT_EQ(image[i], image[i - row]) << "byte " << i;
        }
        // Both factors are 2 in column 0: u and v are 0. v stays so, u does not.
        EXPECT_EQ(image[0], 252);
        EXPECT_NE(image[row / 2], 252);
    }
}

TEST(Effect1, IsThePlainOneInEverySize)
{
    for (uint32_t side : {8u, 16u, 56u, 64u, 72u, 128u, 136u, 256u, 512u})
    {
        for (uint32_t bpp : {8u, 24u})
        {
            for (float step : RandomSteps(side, side < 256 ? 4 : 1))
            {
                ExpectPlainEffect1(side, bpp, step);
            }
        }
    }
}

TEST(Effect1, IsThePlainOneOverManySteps)
{
    for (float step : RandomSteps(77, 96))
    {
        ExpectPlainEffect1(64, 24, step);
        ExpectPlainEffect1(64, 8, step);
    }
    for (int step = -700; step < 700; step += 23)
    {
        ExpectPlainEffect1(64, 24, static_cast<float>(step));
    }
}

TEST(Effect1, StepsPastAllBoundsStayInsideTheTable)
{
    for (float step : {1e9f, -1e9f, 1e30f, -3e38f, 3e38f, kInfinity, -kInfinity})
    {
        ExpectPlainEffect1(64, 24, step);
        ExpectPlainEffect1(64, 8, step);
    }
    // Where nothing is a number all angles are 0: both factors are 2.
    EXPECT_EQ(Effect1(64, 8, kNaN), std::vector<uint8_t>(64 * 64, 252));
}

// ---- "Rotate"

TEST(Rotate, AtStepZeroIsAFunctionOfXAlone)
{
    // s and m1 are 0, so i depends on x and j is 0 everywhere.
    std::vector<uint8_t> image = Rotate(128, 24, 0.0f);
    for (size_t i = 128 * 3; i < image.size(); ++i)
    {
        ASSERT_EQ(image[i], image[i - 128 * 3]) << "byte " << i;
    }
    EXPECT_EQ(Pixel(image, 0), (std::vector<uint8_t>{252, 252, 252}));
}

TEST(Rotate, IsThePlainOneInEverySize)
{
    for (uint32_t side : {8u, 16u, 56u, 64u, 72u, 128u, 136u, 256u, 512u})
    {
        for (uint32_t bpp : {8u, 24u})
        {
            for (float step : RandomSteps(side + 1, side < 256 ? 4 : 1))
            {
                ExpectPlainRotate(side, bpp, step);
            }
        }
    }
}

TEST(Rotate, IsThePlainOneOverManySteps)
{
    for (float step : RandomSteps(78, 96))
    {
        ExpectPlainRotate(64, 24, step);
        ExpectPlainRotate(64, 8, step);
    }
    for (int step = 0; step <= 1000; step += 50)
    {
        ExpectPlainRotate(128, 24, static_cast<float>(step));
        ExpectPlainRotate(128, 8, static_cast<float>(step) * 0.5f);
    }
}

TEST(Rotate, StepsPastAllBoundsStayInsideTheTable)
{
    for (float step : {1e9f, -1e9f, 1e30f, -3e38f, 3e38f, kInfinity, -kInfinity})
    {
        ExpectPlainRotate(64, 24, step);
        ExpectPlainRotate(64, 8, step);
    }
    EXPECT_EQ(Rotate(64, 24, kNaN), std::vector<uint8_t>(64 * 64 * 3, 252));
}

// ---- "Amoba"

/// The pixels of an 8 by 8 image that are not 0.
static std::vector<size_t> LivePixels(const std::vector<uint8_t>& cells, uint32_t bpp)
{
    std::vector<size_t> live;
    for (size_t i = 0; i < cells.size(); ++i)
    {
        if (cells[i] != 0)
        {
            live.push_back(i * 8 / bpp);
        }
    }
    return live;
}

static RandomSequence SeededRandom(uint32_t seed)
{
    RandomSequence random;
    SeedRandom(&random, seed);
    return random;
}

TEST(Amoba, ACellOfExactly64NeverSpreads)
{
    std::vector<uint8_t> cells(64 * 64, 0);
    cells[20 * 64 + 20] = 64;
    RandomSequence random = SeededRandom(1);
    for (int step = 0; step < 200; ++step)
    {
        GrowAmoba(64, 8, cells.data(), &random);
    }
    EXPECT_EQ(LivePixels(cells, 8), (std::vector<size_t>{20 * 64 + 20}));

    cells[20 * 64 + 20] = 65;
    for (int step = 0; step < 200; ++step)
    {
        GrowAmoba(64, 8, cells.data(), &random);
    }
    EXPECT_GT(LivePixels(cells, 8).size(), 1000u);
}

TEST(Amoba, APixelWhoseChannelsSumTo32NeverSpreads)
{
    std::vector<uint8_t> cells(64 * 64 * 3, 0);
    uint8_t* pixel = cells.data() + (20 * 64 + 20) * 3;
    pixel[0] = 10;
    pixel[1] = 20;
    pixel[2] = 2;
    RandomSequence random = SeededRandom(1);
    for (int step = 0; step < 200; ++step)
    {
        GrowAmoba(64, 24, cells.data(), &random);
    }
    EXPECT_EQ(LivePixels(cells, 24).size(), 3u);

    pixel[2] = 3;
    for (int step = 0; step < 200; ++step)
    {
        GrowAmoba(64, 24, cells.data(), &random);
    }
    EXPECT_GT(LivePixels(cells, 24).size(), 3000u);
}

TEST(Amoba, NeverTouchesTheLastRowAndColumnNorBytesOutside)
{
    for (uint32_t bpp : {8u, 24u})
    {
        GuardedBytes cells(ImageSize(64, bpp), 200);
        // Live everywhere but for marks in the last row and column.
        for (size_t i = 0; i < 64; ++i)
        {
            for (size_t channel = 0; channel < bpp / 8; ++channel)
            {
                cells.Data()[(63 * 64 + i) * bpp / 8 + channel] = 1;
                cells.Data()[(i * 64 + 63) * bpp / 8 + channel] = 1;
            }
        }
        std::vector<uint8_t> marked = cells.Bytes();
        RandomSequence random = SeededRandom(2);
        for (int step = 0; step < 50; ++step)
        {
            GrowAmoba(64, static_cast<uint8_t>(bpp), cells.Data(), &random);
        }
        EXPECT_EQ(cells.Bytes(), marked);
        EXPECT_TRUE(cells.GuardsAreWhole());
    }
}

TEST(Amoba, GrowsAsThePlainOneFromTheSameNumbers)
{
    for (uint32_t side : {64u, 128u, 256u, 512u})
    {
        for (uint32_t bpp : {8u, 24u})
        {
            GuardedBytes cells(ImageSize(side, bpp), 0);
            RandomSequence random = SeededRandom(5);
            SeedAmoba(static_cast<int32_t>(side), static_cast<uint8_t>(bpp), cells.Data(), &random);
            std::vector<uint8_t> seeded = cells.Bytes();
            for (int step = 0; step < 5; ++step)
            {
                GrowAmoba(static_cast<int32_t>(side), static_cast<uint8_t>(bpp), cells.Data(),
                          &random);
            }
            const int32_t next = NextRandom(&random);

            srand(5);
            PlainAmoba plain = MakePlainAmoba(side, bpp, rand);
            EXPECT_EQ(seeded, plain.cells);
            for (int step = 1; step <= 5; ++step)
            {
                PlainAmobaRender(&plain, static_cast<float>(step), rand);
            }
            EXPECT_EQ(cells.Bytes(), plain.cells);
            EXPECT_EQ(rand(), next); // both have drawn as many numbers
            EXPECT_TRUE(cells.GuardsAreWhole());
        }
    }
}

TEST(Amoba, PlantsASeedFor400Pixels)
{
    // 10, 40, 163 and 655 seeds; each takes two numbers at 8 bits and four at 24.
    const uint32_t seeds[][2] = {{64, 10}, {128, 40}, {256, 163}, {512, 655}};
    for (const uint32_t* size : seeds)
    {
        for (uint32_t bpp : {8u, 24u})
        {
            std::vector<uint8_t> cells(ImageSize(size[0], bpp), 0);
            RandomSequence random = SeededRandom(5);
            SeedAmoba(static_cast<int32_t>(size[0]), static_cast<uint8_t>(bpp), cells.data(),
                      &random);
            const int32_t next = NextRandom(&random);

            srand(5);
            for (uint32_t i = 0; i < size[1] * (bpp == 8 ? 2 : 4); ++i)
            {
                rand();
            }
            EXPECT_EQ(rand(), next) << size[0] << " at " << bpp;
        }
    }
}
