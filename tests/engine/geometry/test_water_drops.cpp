// The lake when the library's random numbers come as near to 1 as they can: rand is a script here.
#include <cstdlib>
#include <gtest/gtest.h>
#include <vector>

#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/water.h"

static std::vector<int> script;
static size_t scriptPlace = 0;

extern "C" int __wrap_rand(); // in the place of rand, by the linker
extern "C" int __wrap_rand()
{
    return script.at(scriptPlace++);
}

/// The cells that are not 0 after a lake's first step.
static std::vector<std::pair<int, int>> Drops(const std::vector<int>& numbers)
{
    script = numbers;
    scriptPlace = 0;
    void* state = nullptr;
    Mesh mesh = {};
    BuildGenMesh(kLakeWater, &state, &mesh);
    SimulateWater(kLakeWater, 1.0f, &state, &mesh);

    std::vector<std::pair<int, int>> drops;
    const int32_t* current = static_cast<LakeWaterState*>(state)->current;
    for (int e = 0; e < kWaterCells; ++e)
    {
        if (current[e] != 0)
        {
            drops.emplace_back(e, current[e]);
        }
    }
    FreeGenMesh(kLakeWater, &state, &mesh);
    EXPECT_EQ(scriptPlace, 4u);
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
