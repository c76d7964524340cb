// SPDX-License-Identifier: MIT

// The lake when random numbers come as near to 1 as they can.
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/water.h"
#include "support/scripted_random.h"

/// The cells that are not 0 after a lake's first step.
static std::vector<std::pair<int, int>> Drops(const std::vector<int32_t>& numbers)
{
    FaultList faults;
    StartFaults(&faults);
    Mesh mesh = {};
    GenMeshState state;
    EXPECT_TRUE(BuildGenMesh(kLakeWater, &mesh, &faults));
    EXPECT_TRUE(StartGenMeshState(kLakeWater, &mesh, &state, &faults));
    RandomSequence random = ScriptedRandom(numbers);
    Arena arena = {};
    EXPECT_TRUE(SimulateWater(kLakeWater, 1.0f, &state, &mesh, &random, &arena));
    EXPECT_EQ(random.oldest, 4u); // four numbers were drawn

    std::vector<std::pair<int, int>> drops;
    for (int e = 0; e < kWaterCells; ++e)
    {
        if (state.lake.current[e] != 0)
        {
            drops.emplace_back(e, state.lake.current[e]);
        }
    }
    FreeGenMeshState(&state);
    FreeGenMesh(kLakeWater, &mesh);
    FreeArena(&arena);
    return drops;
}

TEST(LakeWater, DropsMinusSixMinusFiveMinusSixMinusFive)
{
    // 2^31 * cell / 900, a little above.
    EXPECT_EQ(Drops({0, 2386093, 4772186, 7158279}),
              (std::vector<std::pair<int, int>>{{0, -6}, {1, -5}, {2, -6}, {3, -5}}));
}

TEST(LakeWater, ALaterDropReplacesAnEarlierOne)
{
    EXPECT_EQ(Drops({0, 0, 2386093, 2386093}),
              (std::vector<std::pair<int, int>>{{0, -5}, {1, -5}}));
}

TEST(LakeWater, ADropOnePastTheGridFallsIntoTheLastCell)
{
    EXPECT_EQ(Drops({RAND_MAX, 0, RAND_MAX - 10, 0}),
              (std::vector<std::pair<int, int>>{{0, -5}, {899, -6}}));
}
