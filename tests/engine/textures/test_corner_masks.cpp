// SPDX-License-Identifier: MIT
#include "engine/textures/corner_masks.h"

#include <gtest/gtest.h>
#include <vector>

#include "engine/textures/compare_bytes.h"
#include "engine/textures/plain_textures.h"

class CornerMasksTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCornerMasks();
    }
};

TEST_F(CornerMasksTest, MasksLieOneBehindTheOther)
{
    const uint8_t* next = CornerMasks;
    for (uint32_t size = 0; size < kCornerSizes; ++size)
    {
        const uint32_t side = 2u << size;
        for (uint32_t shape = 0; shape < kCornerShapes; ++shape)
        {
            EXPECT_EQ(GetCornerMask(size, shape), next);
            next += side * side;
        }
    }
    EXPECT_EQ(next, CornerMasks + kCornerMaskBytes);
}

TEST_F(CornerMasksTest, MasksEqualThePlainForm)
{
    for (int size = 0; size < 7; ++size)
    {
        const size_t side = size_t{2} << size;
        for (int shape = 0; shape < 4; ++shape)
        {
            EXPECT_EQ(CompareBytes(
                          GetCornerMask(static_cast<uint32_t>(size), static_cast<uint32_t>(shape)),
                          PlainCornerMask(size, shape), side * side),
                      "same")
                << size << ", " << shape;
        }
    }
}

TEST_F(CornerMasksTest, TheSmallestMasksHoldCornersAlone)
{
    // Of two by two pixels every ramp is at one of its ends: 0, or 255 eased to 253.
    const std::vector<uint8_t> expected = {
        253, 0,   0,   0,   // one corner
        0,   0,   253, 253, // two on one edge
        0,   253, 253, 0,   // two opposite ones
        0,   253, 253, 253, // three
    };
    EXPECT_EQ(std::vector<uint8_t>(CornerMasks, CornerMasks + 16), expected);
}

TEST_F(CornerMasksTest, FourByFourRampsAreEased)
{
    // One corner, m = 3: 255 * (3 - x) * (3 - y) / 9 drops to 255 170 85 0 / 170 113 56 0 /
    // 85 56 28 0; the curve makes 253 127 34 0 / 127 59 15 0 / 34 15 4 0 of it.
    const std::vector<uint8_t> expected = {253, 127, 34, 0, 127, 59, 15, 0,
                                           34,  15,  4,  0, 0,   0,  0,  0};
    const uint8_t* mask = GetCornerMask(1, 0);
    EXPECT_EQ(std::vector<uint8_t>(mask, mask + 16), expected);
}

TEST_F(CornerMasksTest, TheCurveIsFlatAtItsStartAndEndsBelow255)
{
    // A row of two corners on one edge, 128 pixels: its last row is 255 all along, its ramp 2 a
    // row.
    const uint8_t* mask = GetCornerMask(6, 1);
    EXPECT_EQ(mask[0], 0);
    EXPECT_EQ(mask[5 * 128], 0);     // 255 * 5 / 127 drops to 10, the last value that gives 0
    EXPECT_EQ(mask[6 * 128], 1);     // 12
    EXPECT_EQ(mask[64 * 128], 75);   // 128
    EXPECT_EQ(mask[127 * 128], 253); // 255
    for (const uint8_t value : CornerMasks)
    {
        ASSERT_LE(value, 253);
    }
}
