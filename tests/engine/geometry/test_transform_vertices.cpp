// SPDX-License-Identifier: MIT
#include "engine/geometry/transform_vertices.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "engine/geometry/plain_geometry.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"

struct TransformVerticesTest : testing::Test
{
    TransformVerticesTest()
    {
        StartFaults(&faults);
    }
    ~TransformVerticesTest() override
    {
        FreeArena(&arena);
        FreeFaults(&faults);
    }

    std::vector<float> Transform(const float* matrix, const std::vector<float>& vertices)
    {
        const float* result = TransformVertices(
            matrix, vertices.data(), static_cast<uint32_t>(vertices.size() / 3), &arena, &faults);
        return {result, result + vertices.size()};
    }

    Arena arena = {};
    FaultList faults;
};

TEST_F(TransformVerticesTest, UnderTheIdentityAreUnchanged)
{
    const float identity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::vector<float> vertices = {1, 2, 3, -0.5f, 0.25f, 1e6f};
    EXPECT_EQ(Transform(identity, vertices), vertices);
}

TEST_F(TransformVerticesTest, ScaleComesBeforeTranslationAndWIsDropped)
{
    const float scaledAndMoved[16] = {2, 0, 0, 5, 0, 3, 0, 6, 0, 0, 4, 7, 10, 20, 30, 8};
    EXPECT_EQ(Transform(scaledAndMoved, {1, 1, 1}), (std::vector<float>{12, 23, 34}));
    const float turned[16] = {0, 3, 0, 0, -2, 0,  0,  0,
                              0, 0, 4, 0, 10, 20, 30, 1}; // x to y, y to -x
    EXPECT_EQ(Transform(turned, {1, 0, 0}), (std::vector<float>{10, 23, 30}));
}

TEST_F(TransformVerticesTest, OfAnEmptyArrayAreAnArray)
{
    const float matrix[16] = {};
    EXPECT_NE(TransformVertices(matrix, nullptr, 0, &arena, &faults), nullptr);
}

TEST_F(TransformVerticesTest, WithoutMemoryAreAFault)
{
    const float matrix[16] = {};
    FailAllocation(1);
    const float* result = TransformVertices(matrix, nullptr, 77, &arena, &faults);
    AllowAllocations();
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(FaultText(faults), "quorvale: there is no memory for 77 vertices\n");
}

TEST_F(TransformVerticesTest, AreThePlainOnesToTheLastBit)
{
    std::mt19937 random(8);
    auto Value = [&random]
    {
        return static_cast<float>(random() % 100000) * 0.0007f - 35.0f;
    };
    for (int round = 0; round < 200; ++round)
    {
        float matrix[16];
        for (float& m : matrix)
        {
            m = Value();
        }
        std::vector<float> vertices(3 * (random() % 50));
        for (float& v : vertices)
        {
            v = Value();
        }
        ASSERT_EQ(Transform(matrix, vertices), PlainTransform(matrix, vertices));
    }
}
