// SPDX-License-Identifier: MIT
#include "engine/data/numeric.h"

#include <bit>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

TEST(Numeric, TruncationDropsTheFractionTowardsZero)
{
    EXPECT_EQ(TruncateToInt(3.9f), 3);
    EXPECT_EQ(TruncateToInt(-3.9f), -3);
    EXPECT_EQ(TruncateToInt(-0.9), 0);
    EXPECT_EQ(TruncateToInt(2147483520.0f), 2147483520);
    EXPECT_EQ(TruncateToInt(2147483647.9), 2147483647);
}

TEST(Numeric, WhatDoesNotFitGivesTheSmallestInteger)
{
    const int32_t smallest = std::numeric_limits<int32_t>::min();
    EXPECT_EQ(TruncateToInt(2147483648.0f), smallest);
    EXPECT_EQ(TruncateToInt(-2147483904.0f), smallest);
    EXPECT_EQ(TruncateToInt(2147483648.0), smallest);
    EXPECT_EQ(TruncateToInt(std::numeric_limits<float>::infinity()), smallest);
    EXPECT_EQ(TruncateToInt(-std::numeric_limits<double>::infinity()), smallest);
    EXPECT_EQ(TruncateToInt(std::numeric_limits<float>::quiet_NaN()), smallest);
    EXPECT_EQ(TruncateToInt(std::numeric_limits<double>::quiet_NaN()), smallest);
}

TEST(Numeric, UnsignedTruncationKeepsTheLow32BitsOf64)
{
    EXPECT_EQ(TruncateToUnsigned(1000.9f), 1000u);
    EXPECT_EQ(TruncateToUnsigned(-1.0f), 0xFFFFFFFFu);
    EXPECT_EQ(TruncateToUnsigned(-2.5), 0xFFFFFFFEu);
    EXPECT_EQ(TruncateToUnsigned(4294967297.0), 1u);
    EXPECT_EQ(TruncateToUnsigned(3000000000.0f), 3000000000u);
    EXPECT_EQ(TruncateToUnsigned(1e30f), 0u);
    EXPECT_EQ(TruncateToUnsigned(std::numeric_limits<double>::quiet_NaN()), 0u);
}

TEST(Numeric, BytesWrapInsteadOfClamping)
{
    EXPECT_EQ(TruncateToByte(255.9f), 255);
    EXPECT_EQ(TruncateToByte(382.5f), 126);
    EXPECT_EQ(TruncateToByte(-1.5f), 255);
    EXPECT_EQ(TruncateToByte(256.0), 0);
    EXPECT_EQ(TruncateToByte(1e20f), 0);
}

TEST(Numeric, AgreesWithTheMachinesInstructions)
{
    std::mt19937 random(1);
    for (int i = 0; i < 1000000; ++i)
    {
        uint32_t bits = static_cast<uint32_t>(random());
        float value = std::bit_cast<float>(bits);
        ASSERT_EQ(TruncateToInt(value), _mm_cvttss_si32(_mm_set_ss(value))) << value;
        double wide = std::bit_cast<double>(uint64_t{bits} << 32 | random());
        ASSERT_EQ(TruncateToInt(wide), _mm_cvttsd_si32(_mm_set_sd(wide))) << wide;
        int64_t whole = _mm_cvttsd_si64(_mm_set_sd(wide));
        ASSERT_EQ(TruncateToUnsigned(wide), static_cast<uint32_t>(whole)) << wide;
    }
    // Values around the edges, where the compiler can't know them.
    for (volatile double edge :
         {-2147483649.5, -2147483649.0, -2147483648.5, -2147483648.0, 2147483647.5, 2147483648.0,
          9223372036854775807.0, -9223372036854775808.0})
    {
        double wide = edge;
        ASSERT_EQ(TruncateToInt(wide), _mm_cvttsd_si32(_mm_set_sd(wide))) << wide;
        ASSERT_EQ(TruncateToUnsigned(wide),
                  static_cast<uint32_t>(_mm_cvttsd_si64(_mm_set_sd(wide))))
            << wide;
    }
}
