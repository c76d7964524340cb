// SPDX-License-Identifier: MIT
#include "engine/render/apply_manipulator.h"

#include <GL/glew.h>
#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "engine/animation/animated_value.h"
#include "engine/data/cos_table.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/render/gl_shadow.h"
#include "support/recorded_gl.h"
#include "support/scene_builder.h"
#include "support/test_piece.h"

using Floats = std::vector<float>;

static std::vector<uint32_t> Bits(const Floats& values)
{
    std::vector<uint32_t> bits(values.size());
    std::transform(values.begin(), values.end(), bits.begin(),
                   [](float value) { return std::bit_cast<uint32_t>(value); });
    return bits;
}

/// Instances of model 1, a triangle, and manipulators that place on model 2.
class ApplyManipulatorTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        ResetGl();
        StartTestPiece(&piece);
        piece.faults.place = PlaceAt("demo.xmlz", Section::kScenes, 2, 3);
        AddModel(&piece, &triangle, 1);
        AddModel(&piece, &placement, 1);
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
    }

    /// Gives model 2 these vertices, which are lent.
    void PlaceOn(Floats* vertices)
    {
        Mesh* mesh = &GetRecord<ModelData>(2, piece.document.models)->mesh;
        mesh->vertexCount = static_cast<uint32_t>(vertices->size() / 3);
        mesh->vertices = vertices->data();
    }

    static Manipulator Make(int32_t type, const Floats& params)
    {
        Manipulator manipulator = {};
        manipulator.type = type;
        manipulator.placementId = 2;
        std::transform(params.begin(), params.end(), manipulator.params, FloatSlot);
        return manipulator;
    }

    bool RunOrFail(const Manipulator& manipulator, uint32_t time = 0)
    {
        const FrameSources sources = TestSources(&piece);
        const ManipulatedObject object = {&GetRecord<ModelData>(1, piece.document.models)->mesh,
                                          &instances, &deformed};
        return RunManipulator(&manipulator, &object, &sources, time);
    }

    /// Runs a manipulator on a list of as many instances as there are nines of values.
    /// @return the values of the list afterwards
    Floats Run(const Floats& values, const Manipulator& manipulator, uint32_t time = 0)
    {
        SetInstances(values);
        EXPECT_TRUE(RunOrFail(manipulator, time));
        EXPECT_EQ(TakeFaults(&piece), "");
        EXPECT_EQ(GlModelviewDepth(), 1u);
        EXPECT_EQ(GlRefusedCalls(), 0u);
        return {instances.data, instances.data + size_t{instances.count} * kInstanceFloats};
    }

    void SetInstances(const Floats& values)
    {
        list = values;
        instances = {list.data(), static_cast<uint32_t>(values.size() / kInstanceFloats)};
    }

    TestPiece piece = {};
    MeshArrays triangle = MakeMeshArrays(3);
    MeshArrays placement = MakeMeshArrays(3);
    Floats list;
    InstanceList instances = {};
    DeformedMesh deformed = {};
};

static const Floats kNoMove = {0, 0, 0, 0, 0, 0, 1, 1, 1};
static const Floats kOne = {0, 0, 0, 0, 0, 0, 1, 1, 1};

// Parameters.

TEST_F(ApplyManipulatorTest, EachParameterMayMove)
{
    const uint32_t envelope = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    for (uint32_t k = 1; k < 10; ++k) // parameter 0 is the number of copies
    {
        Manipulator manipulator = Make(kManipulatorXMultiplier, {2, 0, 0, 0, 0, 0, 0, 0, 0, 0});
        manipulator.params[k] = envelope;
        SetMaskBit(manipulator.dynamicMask, k);
        Floats expected(18);
        expected[9 + k - 1] = 7.0f;
        EXPECT_EQ(Run(Floats(9), manipulator, 7), expected) << k;
    }
}

TEST_F(ApplyManipulatorTest, ANumberThatMovesChangesTheCopies)
{
    Manipulator manipulator = Make(kManipulatorXMultiplier, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator.params[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f); // the object's time
    SetMaskBit(manipulator.dynamicMask, 0);
    for (const uint32_t time : {1u, 4u, 2u})
    {
        Floats expected;
        for (uint32_t copy = 0; copy < time; ++copy)
        {
            expected.push_back(static_cast<float>(copy));
            expected.insert(expected.end(), 8, 0.0f);
        }
        EXPECT_EQ(Run(Floats(9), manipulator, time), expected) << time;
    }
}

TEST_F(ApplyManipulatorTest, ParametersAreResolvedBeforeTheMeshIsLookedFor)
{
    Manipulator manipulator = Make(kManipulatorModelPlacer, kNoMove);
    manipulator.placementKind = kPlaceOnGenMesh; // there is none
    manipulator.params[8] = 70;
    SetMaskBit(manipulator.dynamicMask, 8);
    SetInstances(kOne);
    EXPECT_FALSE(RunOrFail(manipulator));
    EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 9 (scenes), item 2, object 3: "
                                  "envelope 70 does not exist\n");
    EXPECT_EQ(TakeGlCalls(), "");
}

// "Model placer".

TEST_F(ApplyManipulatorTest, WithoutAMeshToPlaceOnNothingIsCalled)
{
    const Floats two = {1, 2, 3, 4, 5, 6, 7, 8, 9, -1, -2, -3, -4, -5, -6, -7, -8, -9};
    Manipulator manipulator = Make(kManipulatorModelPlacer, kNoMove);
    for (uint32_t id : {0u, 44u, 4097u})
    {
        manipulator.placementId = id;
        EXPECT_EQ(Run(two, manipulator), two);
    }
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(ApplyManipulatorTest, ACopyIsPutOnEveryVertex)
{
    Floats vertices = {1, 0, 0, 0, 2, 0};
    PlaceOn(&vertices);
    // Scaled to (2, 0, 0) and (0, 6, 0), turned to (0, 2, 0) and (-6, 0, 0), moved by 10, 20, 30.
    EXPECT_EQ(Run({100, 200, 300, 1, 2, 3, 4, 5, 6},
                  Make(kManipulatorModelPlacer, {10, 20, 30, 0, 0, 90, 2, 3, 4})),
              (Floats{110, 222, 330, 1, 2, 3, 4, 5, 6, //
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

TEST_F(ApplyManipulatorTest, ThePlacersMatrixIsNotTheCameras)
{
    glTranslatef(7.0f, 8.0f, 9.0f);
    Floats vertices = {1, 2, 3};
    PlaceOn(&vertices);
    EXPECT_EQ(Run(kOne, Make(kManipulatorModelPlacer, kNoMove)),
              (Floats{1, 2, 3, 0, 0, 0, 1, 1, 1}));
    EXPECT_EQ(GlModelviewMatrix()[12], 7.0f);
}

TEST_F(ApplyManipulatorTest, PlacedCopiesAreGroupedBySource)
{
    Floats vertices(300);
    for (size_t i = 0; i < vertices.size(); ++i)
    {
        vertices[i] = static_cast<float>(i);
    }
    PlaceOn(&vertices);
    const Floats five = Run(kOne, Make(kManipulatorXMultiplier, {5, 1000, 0, 0, 0, 0, 0, 0, 0, 0}));
    const Floats placed = Run(five, Make(kManipulatorModelPlacer, kNoMove));
    ASSERT_EQ(placed.size(), 500u * 9);
    EXPECT_EQ(placed[0], 0.0f);                   // source 0, vertex 0
    EXPECT_EQ(placed[99 * 9], 297.0f);            // source 0, vertex 99
    EXPECT_EQ(placed[100 * 9], 1000.0f);          // source 1, vertex 0
    EXPECT_EQ(placed[499 * 9], 4000.0f + 297.0f); // source 4, vertex 99
}

TEST_F(ApplyManipulatorTest, AMeshWithoutVerticesEmptiesTheList)
{
    Floats none;
    PlaceOn(&none);
    EXPECT_EQ(Run(kOne, Make(kManipulatorModelPlacer, kNoMove)), Floats());
    Floats vertices = {1, 2, 3};
    PlaceOn(&vertices);
    EXPECT_EQ(Run({}, Make(kManipulatorModelPlacer, kNoMove)), Floats());
}

TEST_F(ApplyManipulatorTest, ThePlacerIsThePlainOneToTheLastBit)
{
    std::mt19937 random(10);
    const auto randomFloats = [&random](size_t count)
    {
        Floats values(count);
        for (float& value : values)
        {
            value = static_cast<float>(random() % 100000) * 0.0007f - 35.0f;
        }
        return values;
    };
    for (int round = 0; round < 200; ++round)
    {
        const Floats values = randomFloats(9 * (random() % 6));
        Floats vertices = randomFloats(3 * (1 + random() % 40));
        const Floats params = randomFloats(9);
        PlaceOn(&vertices);
        const Floats placed = Run(values, Make(kManipulatorModelPlacer, params));

        glLoadIdentity();
        glTranslatef(params[0], params[1], params[2]);
        glRotatef(params[3], 1.0f, 0.0f, 0.0f);
        glRotatef(params[4], 0.0f, 1.0f, 0.0f);
        glRotatef(params[5], 0.0f, 0.0f, 1.0f);
        glScalef(params[6], params[7], params[8]);
        const Floats transformed = PlainTransform(GlModelviewMatrix(), vertices);
        ASSERT_EQ(Bits(placed), Bits(PlainPlace(values, transformed)));
    }
}

TEST_F(ApplyManipulatorTest, AGeneratedMeshToPlaceOnIsMovedFirst)
{
    GenMesh* genMesh = AddRecord<GenMesh>(piece.document.genMeshes);
    genMesh->type = kCenterwaveWater;
    ASSERT_TRUE(BuildGenMesh(kCenterwaveWater, &genMesh->mesh, &piece.faults));
    StartState(&piece, Section::kGenMeshes, 1);
    genMesh->params[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f);

    Manipulator manipulator = Make(kManipulatorModelPlacer, kNoMove);
    manipulator.placementKind = 200; // any kind but 0
    manipulator.placementId = 1;
    const Floats placed = Run(kOne, manipulator, 2);
    ASSERT_EQ(placed.size(), size_t{kWaterCells} * 9);
    const float* vertices = piece.state.demo.genMeshes[0].vertices;
    for (size_t v = 0; v < size_t{kWaterCells}; ++v)
    {
        ASSERT_EQ(placed[9 * v + 1], vertices[3 * v + 1]) << v;
    }
    EXPECT_TRUE(
        std::any_of(placed.begin(), placed.end(), [](float value) { return value < 0.0f; }));
    FreeGenMesh(kCenterwaveWater, &genMesh->mesh);
}

TEST_F(ApplyManipulatorTest, TooManyPlacedCopiesAreAFaultAfterTheTransformation)
{
    Floats vertices(3 * 5000);
    PlaceOn(&vertices);
    SetInstances(Floats(9 * 4000));
    EXPECT_FALSE(RunOrFail(Make(kManipulatorModelPlacer, kNoMove)));
    EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 9 (scenes), item 2, object 3: a "
                                  "manipulator makes more than 1048576 instances\n");
    const std::string calls = TakeGlCalls();
    EXPECT_TRUE(calls.ends_with("GetFloatv MODELVIEW_MATRIX\nPopMatrix\n")) << calls;
}

// "Rippler".

TEST_F(ApplyManipulatorTest, BentGeometryIsKeptInBuffersToo)
{
    piece.features.vbo = 1;
    const size_t buffersBefore = GlLiveBuffers();
    const auto ripple = [this](float amplitude)
    {
        EXPECT_EQ(Run(kOne, Make(kManipulatorRippler, {0.3f, amplitude, 1.0f})), kOne);
    };
    ripple(0.0f);
    NameGlPointer(deformed.vertices, "vertices");
    NameGlPointer(deformed.normals, "normals");
    EXPECT_EQ(TakeGlCalls(), "GenBuffersARB 1 11\n"
                             "GenBuffersARB 1 12\n"
                             "BindBufferARB ARRAY_BUFFER 11\n"
                             "BufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n"
                             "BindBufferARB ARRAY_BUFFER 12\n"
                             "BufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n");
    EXPECT_EQ(piece.upload.deformed.vertexBuffer, 11u);
    EXPECT_EQ(piece.upload.deformed.normalBuffer, 12u);

    // A second one makes no buffers and uploads both again, each array into its own buffer.
    ripple(0.5f);
    EXPECT_EQ(TakeGlCalls(), "BindBufferARB ARRAY_BUFFER 11\n"
                             "BufferDataARB ARRAY_BUFFER 36 vertices STREAM_DRAW\n"
                             "BindBufferARB ARRAY_BUFFER 12\n"
                             "BufferDataARB ARRAY_BUFFER 36 normals STREAM_DRAW\n");
    const auto bytesOf = [](const float* floats)
    {
        const uint8_t* bytes = reinterpret_cast<const uint8_t*>(floats);
        return std::vector<uint8_t>(bytes, bytes + 36);
    };
    EXPECT_EQ(GlBufferBytes(11), bytesOf(deformed.vertices));
    EXPECT_EQ(GlBufferBytes(12), bytesOf(deformed.normals));

    const FrameSources sources = TestSources(&piece);
    ReleaseDeformedBuffers(&sources);
    EXPECT_EQ(TakeGlCalls(), "DeleteBuffersARB 1 11\nDeleteBuffersARB 1 12\n");
    EXPECT_EQ(piece.upload.deformed.vertexBuffer, 0u);
    EXPECT_EQ(piece.upload.deformed.normalBuffer, 0u);
    ReleaseDeformedBuffers(&sources);
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(GlLiveBuffers(), buffersBefore);
}

TEST_F(ApplyManipulatorTest, WithoutBufferObjectsRipplersCallNothing)
{
    EXPECT_EQ(Run(kOne, Make(kManipulatorRippler, {0.3f, 0.5f, 1.0f})), kOne);
    EXPECT_NE(deformed.vertices, nullptr);
    EXPECT_EQ(triangle.vertices, MakeMeshArrays(3).vertices); // the mesh stays as it is
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(ApplyManipulatorTest, AFrameThatSkipsItsCallsMakesNone)
{
    GlShadow shadow = {};
    piece.gl.shadow = &shadow;
    piece.gl.skips = true;
    piece.features.vbo = 1;
    Floats vertices = {1, 2, 3, 4, 5, 6};
    PlaceOn(&vertices);
    Run(kOne, Make(kManipulatorRippler, {0.3f, 0.5f, 1.0f}));
    EXPECT_EQ(Run(kOne, Make(kManipulatorModelPlacer, kNoMove)).size(), 18u);
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(piece.upload.deformed.vertexBuffer, 0u);
}

// Generated meshes.

TEST_F(ApplyManipulatorTest, AGeneratedMeshThatIsNotThereIsNoFaultByItself)
{
    const FrameSources sources = TestSources(&piece);
    Mesh mesh;
    EXPECT_FALSE(MoveGenMesh(1, &sources, 0, &mesh));
    EXPECT_EQ(TakeFaults(&piece), "");

    AddStillGenMesh(&piece, MakeMesh(&triangle, 2));
    EXPECT_TRUE(MoveGenMesh(1, &sources, 0, &mesh));
    EXPECT_EQ(mesh.vertices, triangle.vertices.data());
    EXPECT_EQ(mesh.texCoords2, triangle.texCoords2.data());
    EXPECT_EQ(mesh.vertexCount, 3u);
}

TEST_F(ApplyManipulatorTest, AMissingEnvelopeIsAFaultOfTheGeneratedMesh)
{
    AddStillGenMesh(&piece, MakeMesh(&triangle, 1))->params[0] = 9;
    const FrameSources sources = TestSources(&piece);
    Mesh mesh;
    EXPECT_FALSE(MoveGenMesh(1, &sources, 0, &mesh));
    EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 8 (generated meshes), item 1, "
                                  "parameter 1: envelope 9 does not exist\n");
    EXPECT_EQ(piece.faults.place.section, Section::kScenes); // the caller's again
}
