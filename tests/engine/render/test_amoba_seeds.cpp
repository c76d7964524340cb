// "Amoba" when the library's random numbers come as near to 1 as they can: rand is a script here.
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "engine/render/effect2d.h"
#include "engine/textures/effect_kernels.h"
#include "support/guarded_bytes.h"

static int script = 0;

extern "C" int __wrap_rand(); // in the place of rand, by the linker
extern "C" int __wrap_rand()
{
    return script;
}

TEST(Amoba, ASeedOnePastTheImageGoesIntoTheLastCell)
{
    // 2^31 - 1 rounds up to 2^31 as a float, so r is 1.0: index 64 * 64, of which the last is 4095.
    script = RAND_MAX;
    GuardedBytes grey(64 * 64, 0);
    std::vector<uint8_t> expected(64 * 64, 0);
    SeedAmoba(64, 8, grey.Data()); // its value is 256, of which 0 is kept
    EXPECT_EQ(grey.Bytes(), expected);
    EXPECT_TRUE(grey.GuardsAreWhole());

    // The largest number that stays below 1: 2^31 - 129 rounds to 2^31 - 128.
    script = RAND_MAX - 128;
    SeedAmoba(64, 8, grey.Data());
    expected[4095] = 255;
    EXPECT_EQ(grey.Bytes(), expected);

    script = RAND_MAX;
    GuardedBytes colour(64 * 64 * 3, 0xEE);
    std::vector<uint8_t> expectedColour(64 * 64 * 3, 0xEE);
    SeedAmoba(64, 24, colour.Data());
    expectedColour[4095 * 3] = 0;
    expectedColour[4095 * 3 + 1] = 0;
    expectedColour[4095 * 3 + 2] = 0;
    EXPECT_EQ(colour.Bytes(), expectedColour);
    EXPECT_TRUE(colour.GuardsAreWhole());
}

TEST(Amoba, APickOfExactlyOneStillHasAllItsNeighbours)
{
    // Row and column are trunc(61 + 1) = 62.
    script = RAND_MAX;
    for (uint8_t bpp : {uint8_t{8}, uint8_t{24}})
    {
        const size_t channels = bpp / 8;
        GuardedBytes cells(64 * 64 * channels, 0);
        std::vector<uint8_t> expected(64 * 64 * channels, 0);
        for (size_t channel = 0; channel < channels; ++channel)
        {
            cells.Data()[(62 * 64 + 62) * channels + channel] = 100;
            for (size_t cell :
                 {62 * 64 + 62, 62 * 64 + 63, 62 * 64 + 61, 63 * 64 + 62, 61 * 64 + 62})
            {
                expected[cell * channels + channel] = 100;
            }
        }
        GrowAmoba(64, bpp, cells.Data());
        EXPECT_EQ(cells.Bytes(), expected);
        EXPECT_TRUE(cells.GuardsAreWhole());
    }
}

TEST(Amoba, APickOfZeroIsRowAndColumnOne)
{
    script = 0;
    GuardedBytes cells(64 * 64, 0);
    std::vector<uint8_t> expected(64 * 64, 0);
    cells.Data()[64 + 1] = 65;
    for (size_t cell : {64 + 1, 64 + 2, 64, 1, 128 + 1})
    {
        expected[cell] = 65;
    }
    GrowAmoba(64, 8, cells.Data());
    EXPECT_EQ(cells.Bytes(), expected);
}

TEST(Amoba, SeedsLieBetween64And255AtEightBits)
{
    script = 0;
    GuardedBytes cells(64 * 64, 0);
    SeedAmoba(64, 8, cells.Data());
    EXPECT_EQ(cells.Data()[0], 64);
}
