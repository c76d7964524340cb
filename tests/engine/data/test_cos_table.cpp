// SPDX-License-Identifier: MIT
#include "engine/data/cos_table.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>

class CosTableTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
    }
};

TEST_F(CosTableTest, HoldsTwoTurnsOf4096Steps)
{
    EXPECT_EQ(CosTable[0], 1.0f);
    EXPECT_NEAR(CosTable[1024], 0.0f, 1e-6f);
    EXPECT_EQ(CosTable[2048], -1.0f);
    EXPECT_NEAR(CosTable[3072], 0.0f, 1e-6f);
    EXPECT_EQ(CosTable[4096], 1.0f);
    EXPECT_EQ(CosTable[6144], -1.0f);
}

TEST_F(CosTableTest, EntriesAreDoublesOfTheShortPiNarrowedOnce)
{
    // cos(1000 * 3.14159265 / 2048), narrowed.
    EXPECT_EQ(CosTable[1000], static_cast<float>(0.036807225)) << CosTable[1000];
    for (int k = 0; k < kCosTableSize; ++k)
    {
        double angle = static_cast<double>(k) * 3.14159265 * 0.00048828125;
        ASSERT_EQ(CosTable[k], static_cast<float>(std::cos(angle))) << k;
    }
}

TEST_F(CosTableTest, LookupTakesTheSignedRemainder)
{
    EXPECT_EQ(cosLookup(0), CosTable[4096]);
    EXPECT_EQ(cosLookup(4096), CosTable[4096]);
    EXPECT_EQ(cosLookup(4097), CosTable[4097]);
    EXPECT_EQ(cosLookup(-1), CosTable[4095]);
    EXPECT_EQ(cosLookup(-4095), CosTable[1]);
    EXPECT_EQ(cosLookup(-4096), CosTable[4096]);
    EXPECT_EQ(cosLookup(2147483647), CosTable[8191]);
    EXPECT_EQ(cosLookup(-2147483647 - 1), CosTable[4096]);
}

TEST_F(CosTableTest, TheTwoHalvesDifferInTheirLastBits)
{
    // -4072 and 24 lie one turn apart, but the first reads the lower half and the second the upper.
    EXPECT_NE(std::bit_cast<uint32_t>(cosLookup(-4072)), std::bit_cast<uint32_t>(cosLookup(24)));
}
