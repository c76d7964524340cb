// SPDX-License-Identifier: MIT

// Manipulators held against their plain forms, and the "Model placer".
#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "engine/geometry/manipulator.h"
#include "engine/geometry/plain_geometry.h"
#include "support/fault_text.h"

static std::vector<uint32_t> Bits(const std::vector<float>& values)
{
    std::vector<uint32_t> bits(values.size());
    for (size_t i = 0; i < values.size(); ++i)
    {
        bits[i] = std::bit_cast<uint32_t>(values[i]);
    }
    return bits;
}

/// Runs one manipulator.
/// @param placement   vertices to place on; null for none
/// @param lines       receives the faults' lines; null where there must be none
/// @return the data of the resulting list
static std::vector<float> Apply(const std::vector<float>& data, int32_t type, const float* params,
                                const std::vector<float>* placement = nullptr,
                                std::string* lines = nullptr)
{
    static const float kNoVertices[1] = {};
    FaultList faults;
    StartFaults(&faults);
    faults.place = PlaceAt("demo.xmlz", Section::kScenes, 2, 3);
    Arena arena = {};
    ManipulatorCall call = {type, params, nullptr, nullptr, 0, nullptr, &arena, &faults};
    if (placement != nullptr)
    {
        call.placement = placement->empty() ? kNoVertices : placement->data();
        call.placementCount = static_cast<uint32_t>(placement->size() / 3);
    }

    InstanceList list = {};
    EXPECT_TRUE(AllocateInstances(static_cast<uint32_t>(data.size() / kInstanceFloats), &list,
                                  &arena, &faults));
    std::copy(data.begin(), data.end(), list.data);
    EXPECT_EQ(ApplyManipulator(&list, &call), lines == nullptr);
    std::vector<float> result(list.data, list.data + size_t{list.count} * kInstanceFloats);
    if (lines != nullptr)
    {
        *lines = FaultText(faults);
    }
    FreeArena(&arena);
    FreeFaults(&faults);
    return result;
}

static std::vector<float> RandomFloats(std::mt19937* random, size_t count)
{
    std::vector<float> values(count);
    for (float& v : values)
    {
        v = static_cast<float>((*random)() % 100000) * 0.0007f - 35.0f;
    }
    return values;
}

TEST(Multipliers, AreThePlainOnesToTheLastBit)
{
    std::mt19937 random(9);
    for (int round = 0; round < 300; ++round)
    {
        std::vector<float> list = RandomFloats(&random, 9 * (random() % 4));
        std::vector<float> params = RandomFloats(&random, 12);
        for (size_t i = 0; i < 3; ++i)
        {
            params[i] = static_cast<float>(random() % 60) * 0.1f - 1.0f;
        }
        ASSERT_EQ(Bits(Apply(list, kManipulatorXMultiplier, params.data())),
                  Bits(PlainMultiplyX(list, params.data())));
        ASSERT_EQ(Bits(Apply(list, kManipulatorXyzMultiplier, params.data())),
                  Bits(PlainMultiplyXyz(list, params.data())));
    }
}

TEST(Multipliers, TheFirstCopyOfXMultiplierIsTheSourceBitForBit)
{
    const float infinity = std::numeric_limits<float>::infinity();
    const std::vector<float> list = {-0.0f, 1, 2, 3, 4, 5, 6, 7, 8};
    const float params[10] = {1.0f, 5, infinity, -infinity, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(Bits(Apply(list, kManipulatorXMultiplier, params)), Bits(list));
}

TEST(ModelPlacer, WithoutAPlacementMeshKeepsTheList)
{
    const std::vector<float> list = {1, 2, 3, 4, 5, 6, 7, 8, 9, -1, -2, -3, -4, -5, -6, -7, -8, -9};
    EXPECT_EQ(Apply(list, kManipulatorModelPlacer, nullptr), list);
}

TEST(ModelPlacer, PutsACopyWithItsSourcesShapeOnEveryVertex)
{
    const std::vector<float> vertices = {10, 22, 30, 4, 20, 30};
    const std::vector<float> list = {100, 200, 300, 1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Apply(list, kManipulatorModelPlacer, nullptr, &vertices),
              (std::vector<float>{110, 222, 330, 1, 2, 3, 4, 5, 6, //
                                  104, 220, 330, 1, 2, 3, 4, 5, 6}));
}

TEST(ModelPlacer, On100VerticesAfterARowOf5Gives500BySource)
{
    std::vector<float> vertices(300);
    for (size_t i = 0; i < vertices.size(); ++i)
    {
        vertices[i] = static_cast<float>(i);
    }
    const float row[10] = {5.0f, 1000, 0, 0, 0, 0, 0, 0, 0, 0};
    const std::vector<float> five =
        Apply({0, 0, 0, 0, 0, 0, 1, 1, 1}, kManipulatorXMultiplier, row);
    const std::vector<float> placed = Apply(five, kManipulatorModelPlacer, nullptr, &vertices);
    ASSERT_EQ(placed.size(), 500u * 9);
    EXPECT_EQ(placed[0], 0.0f);                   // source 0, vertex 0
    EXPECT_EQ(placed[99 * 9], 297.0f);            // source 0, vertex 99
    EXPECT_EQ(placed[100 * 9], 1000.0f);          // source 1, vertex 0
    EXPECT_EQ(placed[499 * 9], 4000.0f + 297.0f); // source 4, vertex 99
}

TEST(ModelPlacer, OnAMeshWithoutVerticesOrFromAnEmptyListIsEmpty)
{
    const std::vector<float> none;
    EXPECT_EQ(Apply({1, 2, 3, 4, 5, 6, 7, 8, 9}, kManipulatorModelPlacer, nullptr, &none), none);
    const std::vector<float> vertices = {1, 2, 3};
    EXPECT_EQ(Apply({}, kManipulatorModelPlacer, nullptr, &vertices), none);
}

TEST(ModelPlacer, IsThePlainOneToTheLastBit)
{
    std::mt19937 random(10);
    for (int round = 0; round < 200; ++round)
    {
        const std::vector<float> list = RandomFloats(&random, 9 * (random() % 6));
        const std::vector<float> vertices = RandomFloats(&random, 3 * (1 + random() % 40));
        ASSERT_EQ(Bits(Apply(list, kManipulatorModelPlacer, nullptr, &vertices)),
                  Bits(PlainPlace(list, vertices)));
    }
}

TEST(ModelPlacer, MoreInstancesThanCouldBeDrawnAreAFault)
{
    const std::vector<float> vertices(3 * 5000);
    std::string lines;
    Apply(std::vector<float>(9 * 4000), kManipulatorModelPlacer, nullptr, &vertices, &lines);
    EXPECT_EQ(lines, "quorvale: demo.xmlz, section 9 (scenes), item 2, object 3: a manipulator "
                     "makes more than 1048576 instances\n");
}
