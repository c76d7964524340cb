// SPDX-License-Identifier: MIT
#include "engine/geometry/rippler.h"

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/manipulator.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/geometry/water.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

/// A model of one triangle, and the memory that it is bent in.
struct RippledObject
{
    RippledObject()
    {
        BuildCosTable();
        StartFaults(&faults);
        mesh.vertexCount = 3;
        mesh.indexCount = 3;
        mesh.vertices = vertices;
        mesh.normals = normals;
        mesh.indices = indices;
    }
    ~RippledObject()
    {
        FreeArena(&arena);
        FreeFaults(&faults);
    }
    RippledObject(const RippledObject&) = delete;
    RippledObject& operator=(const RippledObject&) = delete;

    /// @return the positions that the object would be drawn at
    std::vector<float> Ripple(float time, float amplitude, float wavelength)
    {
        const float params[] = {time, amplitude, wavelength};
        float instance[kInstanceFloats] = {0, 1, 2, 3, 4, 5, 6, 7, 8};
        InstanceList list = {instance, 1};
        const ManipulatorCall call = {kManipulatorRippler, params, &mesh,  nullptr, 0,
                                      &deformed,           &arena, &faults};
        EXPECT_TRUE(ApplyManipulator(&list, &call));
        EXPECT_EQ(list.count, 1u);
        EXPECT_EQ(std::vector<float>(list.data, list.data + 9),
                  (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
        return {deformed.vertices, deformed.vertices + 9};
    }

    float vertices[9] = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    float normals[9] = {1, 0, 0, 1, 0, 0, 1, 0, 0};
    uint32_t indices[3] = {0, 1, 2};
    Mesh mesh = {};
    DeformedMesh deformed = {};
    Arena arena = {};
    FaultList faults;
};

static std::vector<uint32_t> Bits(const float* values, size_t count)
{
    std::vector<uint32_t> bits;
    for (size_t i = 0; i < count; ++i)
    {
        bits.push_back(std::bit_cast<uint32_t>(values[i]));
    }
    return bits;
}

TEST(Rippler, WithAmplitudeZeroLeavesPositionsAndReplacesNormals)
{
    RippledObject object;
    EXPECT_EQ(object.Ripple(0.3f, 0.0f, 1.7f), (std::vector<float>{0, 0, 0, 2, 0, 0, 0, 3, 0}));
    EXPECT_EQ(std::vector<float>(object.deformed.normals, object.deformed.normals + 9),
              (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(object.normals[0], 1.0f); // the model keeps its own
    EXPECT_EQ(object.vertices[3], 2.0f);
}

TEST(Rippler, DisplacesEachAxisAlongItselfByAWaveOverThatAxis)
{
    RippledObject object;
    // Wavelength 1: a coordinate of 2 is n = trunc(2 * 651.89862) = 1303, one of 3 is 1955.
    float at0 = CosTable[4096] * 0.5f + 0.0f;
    float at2 = CosTable[4096 + 1303] * 0.5f + 2.0f;
    float at3 = CosTable[4096 + 1955] * 0.5f + 3.0f;
    EXPECT_EQ(object.Ripple(0.0f, 0.5f, 1.0f),
              (std::vector<float>{at0, at0, at0, at2, at0, at0, at0, at3, at0}));
    EXPECT_EQ(at0, 0.5f);
}

TEST(Rippler, MoreWavelengthIsAHigherFrequency)
{
    RippledObject object;
    float at2 = CosTable[4096 + 2607] * 1.0f + 2.0f; // 2 * 1303.7972
    EXPECT_EQ(object.Ripple(0.0f, 1.0f, 2.0f)[3], at2);
}

TEST(Rippler, ANegativeAngleLandsInTheTablesOtherHalf)
{
    RippledObject object;
    // Time -4: n = trunc(-2607.59) = -2607 at a coordinate of 0. Its entry is 1489.
    float at0 = CosTable[1489] * 1.0f + 0.0f;
    EXPECT_EQ(object.Ripple(-4.0f, 1.0f, 1.0f)[0], at0);
}

TEST(Rippler, ASecondOneOfTheSameObjectAddsUp)
{
    RippledObject object;
    object.Ripple(0.0f, 0.5f, 1.0f);
    const float* vertices = object.deformed.vertices;
    std::vector<float> twice = object.Ripple(1.0f, 0.25f, 1.5f);
    EXPECT_EQ(object.deformed.vertices, vertices); // the copy was not made again

    float plain[9] = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    PlainRipple(plain, 9, 0.0f, 0.5f, 1.0f);
    PlainRipple(plain, 9, 1.0f, 0.25f, 1.5f);
    EXPECT_EQ(twice, std::vector<float>(plain, plain + 9));
}

TEST(Rippler, BendsAGeneratedMeshAsItStands)
{
    RippledObject object;
    GenMesh genMesh = {};
    genMesh.type = kCenterwaveWater;
    GenMeshState state;
    RandomSequence random;
    SeedRandom(&random, 1);
    ASSERT_TRUE(BuildGenMesh(genMesh.type, &genMesh.mesh, &object.faults));
    ASSERT_TRUE(StartGenMeshState(genMesh.type, &genMesh.mesh, &state, &object.faults));
    ASSERT_TRUE(SimulateWater(genMesh.type, 2.0f, &state, &genMesh.mesh, &random, &object.arena));
    const Mesh mesh = MovedMesh(&genMesh, &state);
    std::vector<float> plain(mesh.vertices, mesh.vertices + 2700);
    PlainRipple(plain.data(), plain.size(), 0.7f, 0.3f, 0.9f);
    std::vector<float> plainNormals(2700);
    PlainNormals(900, 5046, plain.data(), plainNormals.data(), mesh.indices);

    const float params[] = {0.7f, 0.3f, 0.9f};
    ASSERT_TRUE(RippleMesh(params, &mesh, &object.deformed, &object.arena, &object.faults));
    EXPECT_EQ(Bits(object.deformed.vertices, 2700), Bits(plain.data(), 2700));
    EXPECT_EQ(Bits(object.deformed.normals, 2700), Bits(plainNormals.data(), 2700));
    FreeGenMeshState(&state);
    FreeGenMesh(genMesh.type, &genMesh.mesh);
}

TEST(Rippler, OfAMeshWithoutVerticesIsHarmless)
{
    RippledObject object;
    const Mesh mesh = {};
    const float params[] = {1.0f, 1.0f, 1.0f};
    EXPECT_TRUE(RippleMesh(params, &mesh, &object.deformed, &object.arena, &object.faults));
    EXPECT_TRUE(RippleMesh(params, &mesh, &object.deformed, &object.arena, &object.faults));
    EXPECT_NE(object.deformed.vertices, nullptr);
}

TEST(Rippler, WithoutMemoryIsAFaultWhicheverAllocationFails)
{
    for (uint64_t k = 1;; ++k)
    {
        RippledObject object;
        const float params[] = {1.0f, 1.0f, 1.0f};
        FailAllocation(k);
        const bool rippled =
            RippleMesh(params, &object.mesh, &object.deformed, &object.arena, &object.faults);
        const uint64_t asked = AllowAllocations();
        if (asked < k)
        {
            EXPECT_TRUE(rippled);
            EXPECT_GT(k, 1u);
            break;
        }
        EXPECT_FALSE(rippled);
        EXPECT_EQ(FaultText(object.faults), "quorvale: there is no memory to bend 3 vertices\n");
    }
}

/// Runs with each instruction set that this processor has.
class RipplerLoops : public testing::TestWithParam<InstructionSet>
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
    }

    UsedInstructionSet used{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(EverySet, RipplerLoops, testing::ValuesIn(ListInstructionSets()),
                         [](const testing::TestParamInfo<InstructionSet>& set)
                         { return std::string(InstructionSetNames[set.param]); });

TEST_P(RipplerLoops, OfAnyNumberOfCoordinatesAreThePlainOne)
{
    std::mt19937 random(4);
    for (size_t count = 0; count < 150; ++count)
    {
        for (int round = 0; round < 8; ++round)
        {
            GuardedBytes block(count * sizeof(float));
            std::vector<float> plain(count);
            for (size_t i = 0; i < count; ++i)
            {
                plain[i] = static_cast<float>(random() % 200000) * 0.001f - 100.0f;
                block.Floats()[i] = plain[i];
            }
            float time = static_cast<float>(random() % 2000) * 0.1f - 100.0f;
            float amplitude = static_cast<float>(random() % 1000) * 0.01f - 5.0f;
            float wavelength = static_cast<float>(random() % 1000) * 0.004f - 2.0f;
            PlainRipple(plain.data(), count, time, amplitude, wavelength);
            RippleCoordinates(
                block.Floats(), count, static_cast<float>(static_cast<double>(time) * 651.8986469),
                static_cast<float>(static_cast<double>(wavelength) * 651.8986469), amplitude);
            ASSERT_EQ(Bits(block.Floats(), count), Bits(plain.data(), count));
            ASSERT_TRUE(block.GuardsAreWhole());
        }
    }
}

TEST_P(RipplerLoops, TakeTheEntryOfTheSignedRemainder)
{
    // Coordinates that are whole steps: n is the coordinate itself, over four turns and at the ends
    // of what an integer holds.
    std::vector<float> angles;
    for (int32_t n = -8192; n <= 8192; ++n)
    {
        angles.push_back(static_cast<float>(n));
    }
    angles.insert(angles.end(), {2147483520.0f, -2147483648.0f, 16777215.0f, -16777215.0f});
    for (float angle : angles)
    {
        int32_t n = TruncateToInt(angle);
        float coordinates[8];
        std::fill_n(coordinates, 8, angle);
        RippleCoordinates(coordinates, 8, 0.0f, 1.0f, 65536.0f);
        float expected = CosTable[4096 + n % 4096] * 65536.0f + angle;
        for (float c : coordinates)
        {
            ASSERT_EQ(std::bit_cast<uint32_t>(c), std::bit_cast<uint32_t>(expected)) << n;
        }
    }
}

TEST_P(RipplerLoops, StayInsideTheTablePastAllBounds)
{
    const float infinity = std::numeric_limits<float>::infinity();
    float coordinates[9] = {3e38f, -3e38f, infinity, -infinity,
                            std::numeric_limits<float>::quiet_NaN()};
    RippleCoordinates(coordinates, 9, 1.0f, 1000.0f, 2.0f);
    EXPECT_EQ(coordinates[0], 3e38f);
    EXPECT_EQ(coordinates[1], -3e38f);
    EXPECT_EQ(coordinates[2], infinity);
    EXPECT_EQ(coordinates[3], -infinity);
    EXPECT_TRUE(coordinates[4] != coordinates[4]);
}
