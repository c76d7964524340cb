#include "engine/geometry/rippler.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/manipulator.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/geometry/water.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"
#include "support/recorded_gl.h"

/// A model of one triangle, and a list of one instance.
struct RippledObject
{
    RippledObject()
    {
        BuildCosTable();
        ResetGl();
        mesh.vertexCount = 3;
        mesh.indexCount = 3;
        mesh.vertices = vertices;
        mesh.normals = normals;
        mesh.indices = indices;
    }
    ~RippledObject()
    {
        ReleaseDeformedMesh(false);
    }
    RippledObject(const RippledObject&) = delete;
    RippledObject& operator=(const RippledObject&) = delete;

    /// @return the positions that the object would be drawn at
    std::vector<float> Ripple(float time, float amplitude, float wavelength, int32_t vbo)
    {
        const float params[] = {time, amplitude, wavelength};
        InstanceList* list = CreateInstanceList(1);
        for (uint32_t i = 0; i < kInstanceFloats; ++i)
        {
            list->data[i] = static_cast<float>(i);
        }
        list = ApplyManipulator(list, kManipulatorRippler, params, &mesh, vbo, nullptr);
        EXPECT_EQ(list->count, 1u);
        EXPECT_EQ(std::vector<float>(list->data, list->data + 9),
                  (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
        FreeInstanceList(list);
        return {CurrentDeformedMesh.vertices, CurrentDeformedMesh.vertices + 9};
    }

    float vertices[9] = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    float normals[9] = {1, 0, 0, 1, 0, 0, 1, 0, 0};
    uint32_t indices[3] = {0, 1, 2};
    Mesh mesh = {};
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

/// The floats of a buffer object, as bits.
static std::vector<uint32_t> BufferBits(uint32_t buffer)
{
    std::vector<uint8_t> bytes = GlBufferBytes(buffer);
    std::vector<uint32_t> bits(bytes.size() / sizeof(uint32_t));
    memcpy(bits.data(), bytes.data(), bits.size() * sizeof(uint32_t));
    return bits;
}

TEST(Rippler, WithAmplitudeZeroLeavesPositionsAndReplacesNormals)
{
    RippledObject object;
    EXPECT_EQ(object.Ripple(0.3f, 0.0f, 1.7f, 0), (std::vector<float>{0, 0, 0, 2, 0, 0, 0, 3, 0}));
    EXPECT_EQ(std::vector<float>(CurrentDeformedMesh.normals, CurrentDeformedMesh.normals + 9),
              (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(object.normals[0], 1.0f); // the model keeps its own
    EXPECT_EQ(object.vertices[3], 2.0f);
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST(Rippler, DisplacesEachAxisAlongItselfByAWaveOverThatAxis)
{
    RippledObject object;
    // Wavelength 1: a coordinate of 2 is n = trunc(2 * 651.89862) = 1303, one of 3 is 1955.
    float at0 = CosTable[4096] * 0.5f + 0.0f;
    float at2 = CosTable[4096 + 1303] * 0.5f + 2.0f;
    float at3 = CosTable[4096 + 1955] * 0.5f + 3.0f;
    EXPECT_EQ(object.Ripple(0.0f, 0.5f, 1.0f, 0),
              (std::vector<float>{at0, at0, at0, at2, at0, at0, at0, at3, at0}));
    EXPECT_EQ(at0, 0.5f);
}

TEST(Rippler, MoreWavelengthIsAHigherFrequency)
{
    RippledObject object;
    float at2 = CosTable[4096 + 2607] * 1.0f + 2.0f; // 2 * 1303.7972
    EXPECT_EQ(object.Ripple(0.0f, 1.0f, 2.0f, 0)[3], at2);
}

TEST(Rippler, ANegativeAngleLandsInTheTablesOtherHalf)
{
    RippledObject object;
    // Time -4: n = trunc(-2607.59) = -2607 at a coordinate of 0. Its entry is 1489.
    float at0 = CosTable[1489] * 1.0f + 0.0f;
    EXPECT_EQ(object.Ripple(-4.0f, 1.0f, 1.0f, 0)[0], at0);
}

TEST(Rippler, ASecondOneOfTheSameObjectAddsUp)
{
    RippledObject object;
    object.Ripple(0.0f, 0.5f, 1.0f, 0);
    const float* vertices = CurrentDeformedMesh.vertices;
    std::vector<float> twice = object.Ripple(1.0f, 0.25f, 1.5f, 0);
    EXPECT_EQ(CurrentDeformedMesh.vertices, vertices); // the copy was not made again

    float plain[9] = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    PlainRipple(plain, 9, 0.0f, 0.5f, 1.0f);
    PlainRipple(plain, 9, 1.0f, 0.25f, 1.5f);
    EXPECT_EQ(twice, std::vector<float>(plain, plain + 9));
}

TEST(Rippler, WithBufferObjectsUploadsVerticesThenNormals)
{
    RippledObject object;
    object.Ripple(0.3f, 0.0f, 1.0f, 1);
    NameGlPointer(CurrentDeformedMesh.vertices, "vertices");
    NameGlPointer(CurrentDeformedMesh.normals, "normals");
    EXPECT_EQ(TakeGlCalls(), "GenBuffersARB 1 1\n"
                             "GenBuffersARB 1 2\n"
                             "BindBufferARB ARRAY_BUFFER 1\n"
                             "BufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n"
                             "BindBufferARB ARRAY_BUFFER 2\n"
                             "BufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n");
    EXPECT_EQ(CurrentDeformedMesh.vertexBuffer, 1u);
    EXPECT_EQ(CurrentDeformedMesh.normalBuffer, 2u);

    // A second one makes no buffers and uploads both again, each array into its own buffer.
    object.Ripple(0.3f, 0.5f, 1.0f, 1);
    EXPECT_EQ(TakeGlCalls(), "BindBufferARB ARRAY_BUFFER 1\n"
                             "BufferDataARB ARRAY_BUFFER 36 vertices STREAM_DRAW\n"
                             "BindBufferARB ARRAY_BUFFER 2\n"
                             "BufferDataARB ARRAY_BUFFER 36 normals STREAM_DRAW\n");
    EXPECT_EQ(BufferBits(1), Bits(CurrentDeformedMesh.vertices, 9));
    EXPECT_EQ(BufferBits(2), Bits(CurrentDeformedMesh.normals, 9));

    ReleaseDeformedMesh(true);
    EXPECT_EQ(TakeGlCalls(), "DeleteBuffersARB 1 1\nDeleteBuffersARB 1 2\n");
    EXPECT_EQ(CurrentDeformedMesh.vertices, nullptr);
    EXPECT_EQ(GlLiveBuffers(), 0u);
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST(Rippler, BendsAGeneratedMeshAsItStands)
{
    BuildCosTable();
    ResetGl();
    void* state = nullptr;
    Mesh mesh = {};
    BuildGenMesh(kCenterwaveWater, &state, &mesh);
    SimulateWater(kCenterwaveWater, 2.0f, &state, &mesh);
    std::vector<float> plain(mesh.vertices, mesh.vertices + 2700);
    PlainRipple(plain.data(), plain.size(), 0.7f, 0.3f, 0.9f);
    std::vector<float> plainNormals(2700);
    PlainNormals(900, 5046, plain.data(), plainNormals.data(), mesh.indices);

    const float params[] = {0.7f, 0.3f, 0.9f};
    RippleMesh(params, &mesh, 0);
    EXPECT_EQ(Bits(CurrentDeformedMesh.vertices, 2700), Bits(plain.data(), 2700));
    EXPECT_EQ(Bits(CurrentDeformedMesh.normals, 2700), Bits(plainNormals.data(), 2700));
    ReleaseDeformedMesh(false);
    FreeGenMesh(kCenterwaveWater, &state, &mesh);
}

TEST(Rippler, OfAMeshWithoutVerticesIsHarmless)
{
    ResetGl();
    Mesh mesh = {};
    const float params[] = {1.0f, 1.0f, 1.0f};
    RippleMesh(params, &mesh, 1);
    RippleMesh(params, &mesh, 1);
    EXPECT_EQ(GlLiveBuffers(), 2u);
    ReleaseDeformedMesh(true);
    EXPECT_EQ(GlLiveBuffers(), 0u);
    EXPECT_EQ(CurrentDeformedMesh.vertices, nullptr);
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
