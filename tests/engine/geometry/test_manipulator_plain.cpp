// Manipulators held against their plain forms, and the "Model placer".
#include <GL/glew.h>
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/data/fault.h"
#include "engine/geometry/manipulator.h"
#include "engine/geometry/plain_geometry.h"
#include "support/recorded_gl.h"

static std::vector<uint32_t> Bits(const std::vector<float>& values)
{
    std::vector<uint32_t> bits(values.size());
    for (size_t i = 0; i < values.size(); ++i)
    {
        bits[i] = std::bit_cast<uint32_t>(values[i]);
    }
    return bits;
}

static InstanceList* MakeList(const std::vector<float>& data)
{
    InstanceList* list = CreateInstanceList(static_cast<uint32_t>(data.size() / kInstanceFloats));
    if (!data.empty())
    {
        memcpy(list->data, data.data(), data.size() * sizeof(float));
    }
    return list;
}

/// @return the data of the resulting list
static std::vector<float> Apply(const std::vector<float>& data, int32_t type, const float* params,
                                const Mesh* placement = nullptr)
{
    InstanceList* list = ApplyManipulator(MakeList(data), type, params, nullptr, 0, placement);
    std::vector<float> result(list->data, list->data + list->count * kInstanceFloats);
    FreeInstanceList(list);
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

static Mesh MeshOf(std::vector<float>* vertices)
{
    Mesh mesh = {};
    mesh.vertexCount = static_cast<uint32_t>(vertices->size() / 3);
    mesh.vertices = vertices->data();
    return mesh;
}

/// Parameters of a "Model placer" that moves nothing.
static constexpr float kNoMove[9] = {0, 0, 0, 0, 0, 0, 1, 1, 1};

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

TEST(ModelPlacer, WithoutAPlacementMeshKeepsTheListAndLeavesTheMatrixAlone)
{
    ResetGl();
    const std::vector<float> list = {1, 2, 3, 4, 5, 6, 7, 8, 9, -1, -2, -3, -4, -5, -6, -7, -8, -9};
    EXPECT_EQ(Apply(list, kManipulatorModelPlacer, kNoMove), list);
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST(ModelPlacer, PutsACopyOnEveryVertexWithTheSourcesRotationAndScale)
{
    ResetGl();
    std::vector<float> vertices = {1, 0, 0, 0, 2, 0};
    Mesh placement = MeshOf(&vertices);
    const float params[9] = {10, 20, 30, 0, 0, 90, 2, 3, 4};
    const std::vector<float> list = {100, 200, 300, 1, 2, 3, 4, 5, 6};

    // Scaled to (2, 0, 0) and (0, 6, 0), turned to (0, 2, 0) and (-6, 0, 0), moved by 10, 20, 30.
    EXPECT_EQ(Apply(list, kManipulatorModelPlacer, params, &placement),
              (std::vector<float>{110, 222, 330, 1, 2, 3, 4, 5, 6, //
                                  104, 220, 330, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(TakeGlCalls(), "PushMatrix\n"
                             "LoadIdentity\n"
                             "Translatef 10 20 30\n"
                             "Rotatef 0 1 0 0\n"
                             "Rotatef 0 0 1 0\n"
                             "Rotatef 90 0 0 1\n"
                             "Scalef 2 3 4\n"
                             "GetFloatv MODELVIEW_MATRIX\n"
                             "PopMatrix\n");
}

TEST(ModelPlacer, BuildsItsMatrixFromTheIdentityAndGivesTheCamerasBack)
{
    ResetGl();
    glTranslatef(7.0f, 8.0f, 9.0f);
    std::vector<float> vertices = {1, 2, 3};
    Mesh placement = MeshOf(&vertices);
    EXPECT_EQ(Apply({0, 0, 0, 0, 0, 0, 1, 1, 1}, kManipulatorModelPlacer, kNoMove, &placement),
              (std::vector<float>{1, 2, 3, 0, 0, 0, 1, 1, 1}));
    EXPECT_EQ(GlModelviewDepth(), 1u);
    EXPECT_EQ(GlModelviewMatrix()[12], 7.0f);
}

TEST(ModelPlacer, OnAMeshOf100VerticesAfterAnXMultiplierOf5Gives500GroupedBySource)
{
    ResetGl();
    std::vector<float> vertices(300);
    for (size_t i = 0; i < vertices.size(); ++i)
    {
        vertices[i] = static_cast<float>(i);
    }
    Mesh placement = MeshOf(&vertices);
    const float row[10] = {5.0f, 1000, 0, 0, 0, 0, 0, 0, 0, 0};
    std::vector<float> five = Apply({0, 0, 0, 0, 0, 0, 1, 1, 1}, kManipulatorXMultiplier, row);
    std::vector<float> placed = Apply(five, kManipulatorModelPlacer, kNoMove, &placement);
    ASSERT_EQ(placed.size(), 500u * 9);
    EXPECT_EQ(placed[0], 0.0f);                   // source 0, vertex 0
    EXPECT_EQ(placed[99 * 9], 297.0f);            // source 0, vertex 99
    EXPECT_EQ(placed[100 * 9], 1000.0f);          // source 1, vertex 0
    EXPECT_EQ(placed[499 * 9], 4000.0f + 297.0f); // source 4, vertex 99
}

TEST(ModelPlacer, OnAMeshWithoutVerticesOrFromAnEmptyListIsEmpty)
{
    ResetGl();
    Mesh empty = {};
    EXPECT_EQ(Apply({1, 2, 3, 4, 5, 6, 7, 8, 9}, kManipulatorModelPlacer, kNoMove, &empty),
              std::vector<float>());
    std::vector<float> vertices = {1, 2, 3};
    Mesh placement = MeshOf(&vertices);
    EXPECT_EQ(Apply({}, kManipulatorModelPlacer, kNoMove, &placement), std::vector<float>());
    EXPECT_EQ(GlModelviewDepth(), 1u);
}

TEST(ModelPlacer, IsThePlainOneToTheLastBit)
{
    std::mt19937 random(10);
    for (int round = 0; round < 200; ++round)
    {
        ResetGl();
        std::vector<float> list = RandomFloats(&random, 9 * (random() % 6));
        std::vector<float> vertices = RandomFloats(&random, 3 * (1 + random() % 40));
        std::vector<float> params = RandomFloats(&random, 9);
        Mesh placement = MeshOf(&vertices);
        std::vector<float> placed = Apply(list, kManipulatorModelPlacer, params.data(), &placement);

        glLoadIdentity();
        glTranslatef(params[0], params[1], params[2]);
        glRotatef(params[3], 1.0f, 0.0f, 0.0f);
        glRotatef(params[4], 0.0f, 1.0f, 0.0f);
        glRotatef(params[5], 0.0f, 0.0f, 1.0f);
        glScalef(params[6], params[7], params[8]);
        std::vector<float> transformed = PlainTransform(GlModelviewMatrix(), vertices);
        ASSERT_EQ(Bits(placed), Bits(PlainPlace(list, transformed)));
    }
}

TEST(ModelPlacerDeathTest, MoreInstancesThanMemoryIsMeantForAreFatalWithTheirPlace)
{
    ResetGl();
    std::vector<float> vertices(3 * 5000);
    Mesh placement = MeshOf(&vertices);
    std::vector<float> list(9 * 4000);
    CurrentPlace = {"demo.xmlz", 9, 2, 3};
    EXPECT_EXIT(Apply(list, kManipulatorModelPlacer, kNoMove, &placement),
                testing::ExitedWithCode(1),
                "demo.xmlz, section 9 \\(scenes\\), item 2, object 3: a manipulator makes more "
                "than 1048576 instances");
    CurrentPlace = {nullptr, kNoSection, 0, 0};
}
