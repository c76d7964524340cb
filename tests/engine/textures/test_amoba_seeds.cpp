// SPDX-License-Identifier: MIT

// "Amoba" when random numbers come as near to 1, and to 0, as they can.
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/textures/effect_kernels.h"
#include "support/guarded_bytes.h"
#include "support/scripted_random.h"

/// As many numbers as a test can choose, all the same. Those that follow are any.
static RandomSequence Repeated(int32_t number)
{
    return ScriptedRandom(std::vector<int32_t>(kRandomWords - kRandomLag, number));
}

TEST(Amoba, ASeedOnePastTheImageGoesIntoTheLastCell)
{
    // 2^31 - 1 rounds up to 2^31 as a float, so r is 1.0: index 64 * 64, of which the last is 4095.
    // Ten seeds take 20 numbers.
    GuardedBytes grey(64 * 64, 0);
    std::vector<uint8_t> expected(64 * 64, 0);
    RandomSequence random = Repeated(RAND_MAX);
    SeedAmoba(64, 8, grey.Data(), &random); // its value is 256, of which 0 is kept
    EXPECT_EQ(grey.Bytes(), expected);
    EXPECT_TRUE(grey.GuardsAreWhole());

    // The largest number that stays below 1: 2^31 - 129 rounds to 2^31 - 128.
    random = Repeated(RAND_MAX - 128);
    SeedAmoba(64, 8, grey.Data(), &random);
    expected[4095] = 255;
    EXPECT_EQ(grey.Bytes(), expected);
}

TEST(Amoba, AColoredSeedOnePastTheImageGoesThereToo)
{
    // Seven seeds take 28 numbers, and three more any others.
    RandomSequence random = Repeated(RAND_MAX);
    RandomSequence rest = random;
    GuardedBytes color(64 * 64 * 3, 0xEE);
    std::vector<uint8_t> expected(64 * 64 * 3, 0xEE);
    SeedAmoba(64, 24, color.Data(), &random);
    for (int seed = 0; seed < 10; ++seed)
    {
        const float place = static_cast<float>(NextRandom(&rest)) * 0x1p-31f * 4096.0f;
        const size_t pixel = std::min<size_t>(static_cast<size_t>(place), 4095);
        EXPECT_TRUE(seed >= 7 || place == 4096.0f);
        for (size_t channel = 0; channel < 3; ++channel)
        {
            expected[3 * pixel + channel] =
                TruncateToByte(static_cast<float>(NextRandom(&rest)) * 0x1p-31f * 256.0f);
        }
    }
    EXPECT_EQ(color.Bytes(), expected);
    EXPECT_TRUE(color.GuardsAreWhole());
}

TEST(Amoba, APickOfExactlyOneStillHasAllItsNeighbours)
{
    // Row and column are trunc(61 + 1) = 62. After 14 such picks come any others.
    for (uint8_t bpp : {uint8_t{8}, uint8_t{24}})
    {
        const size_t channels = bpp / 8;
        GuardedBytes cells(64 * 64 * channels, 0);
        for (size_t channel = 0; channel < channels; ++channel)
        {
            cells.Data()[(62 * 64 + 62) * channels + channel] = 100;
        }
        RandomSequence random = Repeated(RAND_MAX);
        GrowAmoba(64, bpp, cells.Data(), &random);
        for (size_t cell : {62 * 64 + 62, 62 * 64 + 63, 62 * 64 + 61, 63 * 64 + 62, 61 * 64 + 62})
        {
            for (size_t channel = 0; channel < channels; ++channel)
            {
                EXPECT_EQ(cells.Data()[cell * channels + channel], 100);
            }
        }
        EXPECT_TRUE(cells.GuardsAreWhole());
    }
}

TEST(Amoba, APickOfZeroIsRowAndColumnOne)
{
    RandomSequence random = {}; // zeros for ever
    GuardedBytes cells(64 * 64, 0);
    std::vector<uint8_t> expected(64 * 64, 0);
    cells.Data()[64 + 1] = 65;
    for (size_t cell : {64 + 1, 64 + 2, 64, 1, 128 + 1})
    {
        expected[cell] = 65;
    }
    GrowAmoba(64, 8, cells.Data(), &random);
    EXPECT_EQ(cells.Bytes(), expected);
}

TEST(Amoba, SeedsLieBetween64And255AtEightBits)
{
    RandomSequence random = {};
    GuardedBytes cells(64 * 64, 0);
    SeedAmoba(64, 8, cells.Data(), &random);
    EXPECT_EQ(cells.Data()[0], 64);
}
