// SPDX-License-Identifier: MIT
#include "engine/geometry/water.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/plain_geometry.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"

static constexpr float kInfinity = std::numeric_limits<float>::infinity();
static constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// A surface as it stands after loading.
struct Surface
{
    explicit Surface(uint32_t meshType) : type(meshType)
    {
        BuildCosTable();
        StartFaults(&faults);
        SeedRandom(&random, 1);
        EXPECT_TRUE(BuildGenMesh(type, &mesh, &faults));
        EXPECT_TRUE(StartGenMeshState(type, &mesh, &state, &faults));
    }
    ~Surface()
    {
        FreeGenMeshState(&state);
        FreeGenMesh(type, &mesh);
        FreeFaults(&faults);
        FreeArena(&arena);
    }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    void Move(float v)
    {
        EXPECT_TRUE(SimulateWater(type, v, &state, &mesh, &random, &arena));
        EXPECT_EQ(arena.used, 0u); // the scratch memory is given back
    }
    LakeWaterState* Lake()
    {
        return &state.lake;
    }
    float Height(int32_t row, int32_t column) const
    {
        return state.vertices[3 * (row * kWaterSide + column) + 1];
    }
    std::vector<float> Heights() const
    {
        std::vector<float> heights(kWaterCells);
        for (size_t e = 0; e < heights.size(); ++e)
        {
            heights[e] = state.vertices[3 * e + 1];
        }
        return heights;
    }
    std::vector<float> Normals() const
    {
        return {state.normals, state.normals + kWaterCells * 3};
    }

    uint32_t type;
    Mesh mesh = {};
    GenMeshState state = {};
    RandomSequence random;
    FaultList faults;
    Arena arena = {};
};

static std::vector<int32_t> Grid(const int32_t* grid)
{
    return {grid, grid + kWaterCells};
}

static const std::vector<int32_t> kFlat(kWaterCells, 0);

/// The cells that the next four drops of a seed fall into.
static std::vector<size_t> DropCells(uint32_t seed)
{
    RandomSequence random;
    SeedRandom(&random, seed);
    std::vector<size_t> cells;
    cells.reserve(4);
    for (int i = 0; i < 4; ++i)
    {
        cells.push_back(static_cast<size_t>(
            TruncateToInt(static_cast<float>(NextRandom(&random)) * 0x1p-31f * 900.0f)));
    }
    return cells;
}

/// The bits, so that -0 differs from 0.
static std::vector<uint32_t> Bits(const std::vector<float>& values)
{
    std::vector<uint32_t> bits(values.size());
    for (size_t i = 0; i < values.size(); ++i)
    {
        bits[i] = std::bit_cast<uint32_t>(values[i]);
    }
    return bits;
}

// ---- Lake water

TEST(LakeWater, AtZeroForEverStaysFlatWithNoStepAndNoDrops)
{
    Surface lake(kLakeWater);
    const RandomSequence before = lake.random;
    for (int i = 0; i < 100; ++i)
    {
        lake.Move(0.0f);
    }
    EXPECT_EQ(memcmp(&lake.random, &before, sizeof(before)), 0); // nobody has drawn a number
    EXPECT_EQ(Grid(lake.Lake()->older), kFlat);
    EXPECT_EQ(Grid(lake.Lake()->current), kFlat);
    EXPECT_EQ(Grid(lake.Lake()->next), kFlat);
    EXPECT_EQ(lake.Lake()->lastStep, 0);
    EXPECT_EQ(lake.Heights(), std::vector<float>(kWaterCells, 0.0f));
}

TEST(LakeWater, RisingPastAWholeNumberTakesAStepWithFourDrops)
{
    std::vector<int32_t> dropped = kFlat;
    std::vector<size_t> cells = DropCells(11);
    const int32_t drops[] = {-6, -5, -6, -5};
    for (size_t i = 0; i < 4; ++i)
    {
        dropped[cells[i]] = drops[i];
    }

    Surface lake(kLakeWater);
    SeedRandom(&lake.random, 11);
    lake.Move(0.9f);
    EXPECT_EQ(lake.Lake()->lastStep, 0);
    EXPECT_EQ(Grid(lake.Lake()->current), kFlat);

    lake.Move(1.2f);
    EXPECT_EQ(lake.Lake()->lastStep, 1);
    EXPECT_EQ(Grid(lake.Lake()->current), dropped);
    EXPECT_EQ(Grid(lake.Lake()->next), kFlat); // the drops came after the new heights
    EXPECT_EQ(Grid(lake.Lake()->older), kFlat);
}

TEST(LakeWater, ABigJumpFollowsTheValueAndTakesNoStep)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    state->lastStep = 3;
    lake.Move(3.2f);
    EXPECT_EQ(state->lastStep, 3);

    state->older[500] = 10;
    state->next[500] = 20;
    lake.Move(50.7f);
    EXPECT_EQ(state->lastStep, 50);
    EXPECT_EQ(Grid(state->current), kFlat);

    // f = 0.7: the weights are 0.15 of the older state and 0.35 of the next.
    float f = 50.7f - 50.0f;
    double height =
        static_cast<double>(10.0f * ((1.0f - f) * 0.5f)) + static_cast<double>(20.0f * (f * 0.5f));
    EXPECT_EQ(lake.Height(500 / 30, 500 % 30), static_cast<float>(height / 5.0));
    EXPECT_NEAR(static_cast<double>(lake.Height(16, 20)), (1.5 + 7.0) / 5.0, 1e-6);
}

TEST(LakeWater, ExactlyTwoAwayFollowsTheValueEitherWay)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    lake.Move(2.0f);
    EXPECT_EQ(state->lastStep, 2);
    lake.Move(0.0f);
    EXPECT_EQ(state->lastStep, 0);
    lake.Move(-2.9f);
    EXPECT_EQ(state->lastStep, -2);
    EXPECT_EQ(Grid(state->current), kFlat);
}

TEST(LakeWater, FallingByOneNeitherStepsNorFollows)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    lake.Move(10.0f);
    EXPECT_EQ(state->lastStep, 10);

    state->older[100] = 40;
    state->current[100] = 20;
    state->next[100] = 80;
    lake.Move(9.0f);
    EXPECT_EQ(state->lastStep, 10);
    // f = 1.0 is not above 1.0: half of the next, none of the older.
    EXPECT_EQ(lake.Height(3, 10), (10.0f + 40.0f) / 5.0f);
}

TEST(LakeWater, AFallOfMoreThanOneBlendsByTheFractionAlone)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    lake.Move(10.0f);
    state->older[100] = 40;
    state->next[100] = 80;
    lake.Move(8.5f); // f = 1.5, of which 0.5 counts
    EXPECT_EQ(state->lastStep, 10);
    EXPECT_EQ(lake.Height(3, 10), (10.0f + 20.0f) / 5.0f);
}

/// Steps a lake once whose cell 500 is about to get the height h, and returns what it got. Of the
/// sum of neighbours half counts, and then a 32nd of the whole is lost.
static int32_t HeightAfterStep(int32_t around, int32_t before)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    // Its four drops fall elsewhere, and into the other grid at that.
    state->next[501] = around;
    state->current[500] = before;
    lake.Move(1.0f);
    return state->next[500];
}

TEST(LakeWater, CrestsAreCutToFourAndTroughsAreNot)
{
    EXPECT_EQ(HeightAfterStep(10, 0), 4);     // 5 becomes 4
    EXPECT_EQ(HeightAfterStep(8, 0), 4);      // 4 stays
    EXPECT_EQ(HeightAfterStep(6, 0), 3);      // 3 stays
    EXPECT_EQ(HeightAfterStep(200, 0), 4);    // 100 - 3 becomes 4
    EXPECT_EQ(HeightAfterStep(-102, 0), -49); // -51 less the floor of -51/32, which is -2
    EXPECT_EQ(HeightAfterStep(-104, 0), -50); // -52 + 2: a computed -50 stays -50
    EXPECT_EQ(HeightAfterStep(0, 20), -19);   // -20 + 1
}

TEST(LakeWater, ShiftsRoundTowardMinusInfinity)
{
    EXPECT_EQ(HeightAfterStep(-1, 0), 0); // -1 >> 1 is -1, less -1 >> 5, which is -1
    EXPECT_EQ(HeightAfterStep(-3, 0), -1);
    EXPECT_EQ(HeightAfterStep(0, 1), 0);
    EXPECT_EQ(HeightAfterStep(0, 2), -1);
}

TEST(LakeWater, EdgeColumnsEndAtZeroAndEdgeRowsAreNotStepped)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    for (int32_t e = 0; e < kWaterCells; ++e)
    {
        state->next[e] = -7;   // becomes the latest state
        state->current[e] = 3; // becomes the state before it, and is overwritten
    }
    lake.Move(1.0f);

    // (4 * -7) >> 1 is -14; less 3 it is -17; a 32nd of that is -1.
    for (int32_t row = 0; row < kWaterSide; ++row)
    {
        for (int32_t column = 0; column < kWaterSide; ++column)
        {
            int32_t expected = row == 0 || row == 29 ? 3 : -16;
            if (column == 0 || column == 29)
            {
                expected = 0;
            }
            ASSERT_EQ(state->next[row * kWaterSide + column], expected)
                << "row " << row << ", column " << column;
        }
    }
    EXPECT_EQ(Grid(state->older), std::vector<int32_t>(kWaterCells, 3));
}

TEST(LakeWater, AHeightOfFourInAllGridsIsFourFifths)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    for (int32_t* grid : {state->older, state->current, state->next})
    {
        grid[61] = 4;
        grid[62] = -6;
    }
    for (float v : {0.0f, 0.25f, 0.5f, 0.75f})
    {
        lake.Move(v);
        EXPECT_EQ(lake.Height(2, 1), 0.8f);
        EXPECT_EQ(lake.Height(2, 2), -1.2f);
    }
}

TEST(LakeWater, IsThePlainLakeOverThousandsOfStepsToTheLastBit)
{
    // Values that creep, step, stand still, jump and run backwards.
    std::mt19937 random(5);
    std::vector<float> values;
    float v = 0.0f;
    for (int i = 0; i < 4000; ++i)
    {
        switch (random() % 12)
        {
        case 0:
            v += static_cast<float>(random() % 1000) * 0.01f - 5.0f;
            break;
        case 1:
            v -= static_cast<float>(random() % 100) * 0.01f;
            break;
        case 2:
            break;
        default:
            v += static_cast<float>(random() % 100) * 0.01f;
        }
        values.push_back(v);
    }

    std::vector<std::vector<uint32_t>> engine;
    std::vector<std::vector<float>> normals;
    Surface lake(kLakeWater);
    SeedRandom(&lake.random, 99);
    for (float value : values)
    {
        lake.Move(value);
        engine.push_back(Bits(lake.Heights()));
        normals.push_back(lake.Normals());
    }

    PlainLake plain;
    RandomSequence plainRandom;
    SeedRandom(&plainRandom, 99);
    std::vector<float> vertices(lake.state.vertices, lake.state.vertices + kWaterCells * 3);
    std::vector<float> plainNormals(vertices.size());
    bool moved = false;
    for (size_t i = 0; i < values.size(); ++i)
    {
        std::vector<float> heights = PlainLakeHeights(
            &plain, values[i], [&plainRandom] { return NextRandom(&plainRandom); });
        ASSERT_EQ(engine[i], Bits(heights)) << "step " << i << ", value " << values[i];
        for (size_t e = 0; e < heights.size(); ++e)
        {
            vertices[3 * e + 1] = heights[e];
            moved = moved || heights[e] > 0.5f;
        }
        PlainNormals(kWaterCells, lake.mesh.indexCount, vertices.data(), plainNormals.data(),
                     lake.mesh.indices);
        ASSERT_EQ(Bits(normals[i]), Bits(plainNormals)) << "step " << i;
    }
    EXPECT_EQ(NextRandom(&plainRandom),
              NextRandom(&lake.random)); // both have drawn as many numbers
    EXPECT_TRUE(moved);                  // and there were waves to compare
}

TEST(LakeWater, ValuesPastAllBoundsHarmNothingAfterThem)
{
    Surface lake(kLakeWater);
    for (float v : {kNaN, kInfinity, -kInfinity, 3e38f, -3e38f, 2147483648.0f, -2147483648.0f,
                    2147483520.0f, kNaN, 5.0f})
    {
        lake.Move(v);
    }
    EXPECT_EQ(lake.Lake()->lastStep, 5);
    for (float height : lake.Heights())
    {
        EXPECT_LT(fabsf(height), 10.0f);
    }
}

TEST(LakeWater, HeightsThatLeave32BitsWrap)
{
    Surface lake(kLakeWater);
    LakeWaterState* state = lake.Lake();
    for (int32_t e = 0; e < kWaterCells; ++e)
    {
        state->next[e] = std::numeric_limits<int32_t>::min();
        state->current[e] = std::numeric_limits<int32_t>::max();
    }
    lake.Move(1.0f);
    // Four times -2^31 is 0 in 32 bits; less 2^31 - 1, and less a 32nd of it, rounded down.
    EXPECT_EQ(state->next[45], -2147483647 + 67108864);
}

// ---- Centerwave water

TEST(CenterwaveWater, WithoutADriverMakesStillRingsOnceAndThenStops)
{
    Surface wave(kCenterwaveWater);
    EXPECT_EQ(wave.state.wave.lastTime, -1.0f);
    wave.Move(0.0f);
    EXPECT_EQ(wave.state.wave.lastTime, 0.0f);
    EXPECT_EQ(Bits(wave.Heights()), Bits(PlainCenterwaveHeights(0.0f)));

    wave.state.vertices[1] = 77.0f; // shows that later calls compute nothing
    wave.state.normals[0] = 88.0f;
    wave.Move(0.0f);
    EXPECT_EQ(wave.state.vertices[1], 77.0f);
    EXPECT_EQ(wave.state.normals[0], 88.0f);
}

TEST(CenterwaveWater, AFirstValueOfMinusOneLeavesTheGridFlat)
{
    Surface wave(kCenterwaveWater);
    wave.Move(-1.0f);
    EXPECT_EQ(wave.Heights(), std::vector<float>(kWaterCells, 0.0f));
    EXPECT_EQ(wave.Normals(), std::vector<float>(kWaterCells * 3, 0.0f));
}

TEST(CenterwaveWater, MovesFromAHundredthOn)
{
    Surface wave(kCenterwaveWater);
    wave.Move(0.0f);
    wave.Move(0.009f);
    EXPECT_EQ(wave.state.wave.lastTime, 0.0f);
    wave.Move(0.01f); // the difference is 0.01 in 32-bit floats, and that is not below it
    EXPECT_EQ(wave.state.wave.lastTime, 0.01f);
    EXPECT_EQ(Bits(wave.Heights()), Bits(PlainCenterwaveHeights(0.01f)));
}

TEST(CenterwaveWater, IsHighestAtVertex15And15AndFallsToZeroAtRadius14)
{
    Surface wave(kCenterwaveWater);
    wave.Move(0.0f);
    EXPECT_EQ(wave.Height(15, 15), 1.4f);
    EXPECT_EQ(wave.Height(15, 29), 0.0f); // d is exactly 14, and the factor 14 - d is 0
    EXPECT_EQ(wave.Height(1, 15), 0.0f);
    EXPECT_EQ(wave.Height(15, 0), 0.0f); // d is 15: the near edge lies further out
    EXPECT_EQ(wave.Height(0, 0), 0.0f);

    // d = 5 from (3, 4), n = trunc(5 * 651.8986469) = 3259.
    EXPECT_EQ(wave.Height(18, 19), (14.0f - 5.0f) / 10.0f * CosTable[4096 + 3259]);
    EXPECT_EQ(wave.Height(18, 19), wave.Height(12, 11));
}

TEST(CenterwaveWater, AtRadius14TakesTheFormulaWithTheSignOfItsCosine)
{
    // cos(14) is above 0, cos(14 - 2) too, cos(14 - 4) is below it: 0 times it is -0.
    Surface wave(kCenterwaveWater);
    wave.Move(4.0f);
    EXPECT_EQ(std::bit_cast<uint32_t>(wave.Height(15, 29)), 0x80000000u);
    EXPECT_EQ(std::bit_cast<uint32_t>(wave.Height(0, 0)), 0u); // further out there is no formula
}

TEST(CenterwaveWater, IsThePlainOneForRandomValuesToTheLastBit)
{
    Surface wave(kCenterwaveWater);
    std::mt19937 random(6);
    std::vector<float> vertices(wave.state.vertices, wave.state.vertices + kWaterCells * 3);
    std::vector<float> normals(vertices.size());
    for (int i = 0; i < 1000; ++i)
    {
        float v = static_cast<float>(static_cast<int>(random() % 2000000) - 1000000) *
                  (i % 3 == 0 ? 1.0f : 0.0001f);
        if (fabsf(v - wave.state.wave.lastTime) < 0.01f)
        {
            continue;
        }
        wave.Move(v);
        std::vector<float> heights = PlainCenterwaveHeights(v);
        ASSERT_EQ(Bits(wave.Heights()), Bits(heights)) << v;
        for (size_t e = 0; e < heights.size(); ++e)
        {
            vertices[3 * e + 1] = heights[e];
        }
        PlainNormals(kWaterCells, wave.mesh.indexCount, vertices.data(), normals.data(),
                     wave.mesh.indices);
        ASSERT_EQ(Bits(wave.Normals()), Bits(normals)) << v;
    }
}

TEST(CenterwaveWater, ValuesPastAllBoundsHarmNothingAfterThem)
{
    Surface wave(kCenterwaveWater);
    for (float v : {kNaN, kNaN, kInfinity, -kInfinity, 3e38f})
    {
        wave.Move(v);
        EXPECT_EQ(wave.Height(15, 15), 1.4f); // an angle out of range is read as no angle
    }
    wave.Move(1.5f);
    EXPECT_EQ(Bits(wave.Heights()), Bits(PlainCenterwaveHeights(1.5f)));
}

// ---- States

TEST(Water, AStateStartsWithTheGridAtRest)
{
    for (const uint32_t type : {kLakeWater, kCenterwaveWater})
    {
        Surface surface(type);
        EXPECT_EQ(std::vector<float>(surface.state.vertices, surface.state.vertices + 2700),
                  std::vector<float>(surface.mesh.vertices, surface.mesh.vertices + 2700));
        EXPECT_NE(surface.state.vertices, surface.mesh.vertices);
        EXPECT_EQ(surface.Normals(), std::vector<float>(2700, 0.0f));
    }
}

TEST(Water, ALakeBeginsWithThreeFlatGridsAtStepZero)
{
    Surface lake(kLakeWater);
    EXPECT_EQ(Grid(lake.Lake()->older), kFlat);
    EXPECT_EQ(Grid(lake.Lake()->current), kFlat);
    EXPECT_EQ(Grid(lake.Lake()->next), kFlat);
    EXPECT_EQ(lake.Lake()->lastStep, 0);
}

TEST(Water, ACopyGoesOnLikeItsOriginal)
{
    for (const uint32_t type : {kLakeWater, kCenterwaveWater})
    {
        Surface surface(type);
        for (int step = 0; step < 7; ++step) // the grids have changed places an odd number of times
        {
            surface.Move(static_cast<float>(step) * 1.1f);
        }

        Surface copy(type);
        ASSERT_TRUE(CopyGenMeshState(&surface.state, &copy.state, &copy.faults));
        copy.random = surface.random;
        EXPECT_EQ(Bits(copy.Heights()), Bits(surface.Heights()));
        EXPECT_EQ(Bits(copy.Normals()), Bits(surface.Normals()));

        const std::vector<float> kept = surface.Heights();
        for (int step = 7; step < 20; ++step)
        {
            copy.Move(static_cast<float>(step) * 1.1f);
        }
        EXPECT_EQ(Bits(surface.Heights()), Bits(kept)); // they share nothing
        for (int step = 7; step < 20; ++step)
        {
            surface.Move(static_cast<float>(step) * 1.1f);
        }
        EXPECT_EQ(Bits(copy.Heights()), Bits(surface.Heights()));
        EXPECT_EQ(Bits(copy.Normals()), Bits(surface.Normals()));
    }
}

TEST(Water, ACopyOverAStateOfTheSameTypeTakesNoMemory)
{
    Surface from(kLakeWater);
    Surface to(kLakeWater);
    const unsigned char* block = to.state.block;
    ASSERT_TRUE(CopyGenMeshState(&from.state, &to.state, &to.faults));
    EXPECT_EQ(to.state.block, block);
}

TEST(Water, StatesAndCopiesWithoutMemoryAreFaults)
{
    Surface lake(kLakeWater);
    GenMeshState state;
    FailAllocation(1);
    const bool started = StartGenMeshState(kLakeWater, &lake.mesh, &state, &lake.faults);
    AllowAllocations();
    EXPECT_FALSE(started);
    EXPECT_EQ(state.block, nullptr);
    EXPECT_EQ(FaultText(lake.faults), "quorvale: no memory for the water (32400 bytes)\n");

    FailAllocation(1);
    const bool copied = CopyGenMeshState(&lake.state, &state, &lake.faults);
    AllowAllocations();
    EXPECT_FALSE(copied);
    FreeGenMeshState(&state);
}

TEST(Water, AMoveWithoutMemoryForItsNormalsSaysSo)
{
    for (uint64_t k = 1; k <= 2; ++k)
    {
        Surface lake(kLakeWater);
        FailAllocation(k);
        const bool moved =
            SimulateWater(kLakeWater, 1.0f, &lake.state, &lake.mesh, &lake.random, &lake.arena);
        EXPECT_EQ(AllowAllocations(), k);
        EXPECT_FALSE(moved);
    }
}

// ---- Other codes

TEST(Water, OfAnUnknownTypeDoesNothing)
{
    for (const uint32_t type : {2u, 0xFFFFFFFFu})
    {
        Surface none(type);
        EXPECT_EQ(none.state.block, nullptr);
        none.Move(1.0f);
        EXPECT_EQ(none.state.vertices, nullptr);
        GenMeshState copy = {};
        EXPECT_TRUE(CopyGenMeshState(&none.state, &copy, &none.faults));
        EXPECT_EQ(copy.block, nullptr);
    }
}
