// SPDX-License-Identifier: MIT
#include "engine/render/draw_scene.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/animated_value.h"
#include "engine/render/apply_manipulator.h"
#include "support/gl_state.h"
#include "support/recorded_gl.h"
#include "support/scene_builder.h"
#include "support/test_piece.h"

/// A scene over one triangle model and one grid of the same size. Envelope 1 is the time.
class DrawSceneTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartTestPiece(&piece);
        scene = AddRecord<Scene>(piece.document.scenes);
        piece.features.dot3 = 1;
        piece.faults.place = PlaceAt("demo.xmlz", Section::kScenes, 1);
        NameMeshArrays(triangle, "model");
        NameMeshArrays(grid, "grid");
        AddLinearEnvelope(&piece, 1.0f, 0.0f);
        AddClockMaterial();
        AddPairMaterial();
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
    }

    /// Material 1, plain color: its red is the object's time.
    void AddClockMaterial()
    {
        Material* material = AddRecord<Material>(piece.document.materials);
        SetMaskBit(material->dynamicMask, 0);
        material->params[0] = 1;
    }

    /// Material 2, two bitmaps, of 21 and 22: it takes both sets of coordinates.
    void AddPairMaterial()
    {
        for (uint32_t glTexture : {21u, 22u})
        {
            AddBitmap(&piece, {glTexture, 4, 4, 3});
        }
        Material* material = AddRecord<Material>(piece.document.materials);
        material->type = 8;
        material->refs[0] = 1;
        material->refs[1] = 2;
    }

    /// Model 1, a triangle with buffers 1 to 5.
    ModelUpload* AddTriangle(uint8_t sets = 1)
    {
        return AddModel(&piece, &triangle, sets);
    }

    /// A generated mesh of a type that nothing moves.
    GenMesh* AddGenMesh()
    {
        return AddStillGenMesh(&piece, MakeMesh(&grid, 1));
    }

    /// An object at the origin.
    uint32_t AddObject(uint8_t kind, uint32_t id, uint32_t materialId = kClock)
    {
        return ::AddObject(scene, kind, id, materialId);
    }

    Manipulator* AddManipulator(uint32_t n, int32_t type, std::initializer_list<float> params)
    {
        Manipulator* manipulator = &scene->manipulators[n][scene->manipulatorCount[n]];
        scene->manipulatorCount[n] = static_cast<uint8_t>(scene->manipulatorCount[n] + 1);
        manipulator->type = type;
        uint32_t k = 0;
        for (float param : params)
        {
            manipulator->params[k] = FloatSlot(param);
            k += 1;
        }
        return manipulator;
    }

    /// Draws the scene, which may meet a fault.
    std::string DrawOrFail(uint32_t time, int32_t vbo, float cameraRotY)
    {
        piece.features.vbo = vbo;
        const FrameSources sources = TestSources(&piece);
        const SceneRequest request = {time, cameraRotY};
        const bool drawn = DrawSceneObjects(scene, &sources, &request);
        EXPECT_EQ(drawn, !HasFailed(&piece.faults));
        EXPECT_EQ(GlRefusedCalls(), 0u);
        EXPECT_EQ(piece.arena.used, 0u); // each object gives back what it took
        return TakeGlCalls();
    }

    std::string Draw(uint32_t time, int32_t vbo = 0, float cameraRotY = 45.0f)
    {
        std::string calls = DrawOrFail(time, vbo, cameraRotY);
        EXPECT_EQ(TakeFaults(&piece), "");
        EXPECT_EQ(GlModelviewDepth(), 1u);
        EXPECT_EQ(piece.upload.deformed.vertexBuffer, 0u);
        EXPECT_EQ(piece.upload.deformed.normalBuffer, 0u);
        return calls;
    }

    /// Draws a scene at time 0 whose object `n`, counted from 1, is at fault.
    /// @param words   of the fault
    /// @return the calls up to there
    std::string DrawToFault(uint32_t n, const std::string& words, int32_t vbo = 0)
    {
        piece.faults.place = PlaceAt("demo.xmlz", Section::kScenes, 1);
        std::string calls = DrawOrFail(0, vbo, 45.0f);
        EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 9 (scenes), item 1, object " +
                                          std::to_string(n) + ": " + words + "\n");
        return calls;
    }

    /// The times of the objects that were drawn, in order, each after a space.
    std::string DrawnTimes(uint32_t time)
    {
        std::string times;
        const std::string calls = Draw(time);
        for (size_t at = calls.find("Color4f "); at != std::string::npos;
             at = calls.find("Color4f ", at + 1))
        {
            const size_t begin = at + sizeof("Color4f");
            times += " " + calls.substr(begin, calls.find(' ', begin) - begin);
        }
        return times;
    }

    /// Where an object that wears a pair finds its coordinates: "first, second".
    std::string TexCoordsOf(int32_t vbo)
    {
        GlState state;
        ApplyGlCalls(Draw(0, vbo), &state);
        return GlValue(state, "client0 TexCoordPointer") + ", " +
               GlValue(state, "client1 TexCoordPointer");
    }

    static constexpr uint32_t kClock = 1;
    static constexpr uint32_t kPair = 2;

    TestPiece piece = {};
    Scene* scene = nullptr;
    MeshArrays triangle = MakeMeshArrays(3);
    MeshArrays grid = MakeMeshArrays(3);
};

/// The calls of the clock at a time.
static std::string ClockAt(const std::string& time)
{
    return "PolygonMode FRONT_AND_BACK FILL\n"
           "Enable DEPTH_TEST\n"
           "Disable NORMALIZE\n"
           "ActiveTextureARB TEXTURE1\n"
           "ClientActiveTextureARB TEXTURE1\n"
           "DisableClientState TEXTURE_COORD_ARRAY\n"
           "Disable TEXTURE_2D\n"
           "ActiveTextureARB TEXTURE0\n"
           "ClientActiveTextureARB TEXTURE0\n"
           "DisableClientState TEXTURE_COORD_ARRAY\n"
           "Disable TEXTURE_2D\n"
           "Disable LIGHTING\n"
           "Color4f " +
           time +
           " 0 0 0\n"
           "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n";
}

TEST_F(DrawSceneTest, AnEmptySceneCallsNothing)
{
    EXPECT_EQ(Draw(0), "");
    EXPECT_EQ(Draw(0, 1), "");
}

TEST_F(DrawSceneTest, AModelIsDrawnFromClientMemoryWithoutBuffers)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->positionX.slot[n] = FloatSlot(1.0f);
    scene->positionY.slot[n] = FloatSlot(2.0f);
    scene->positionZ.slot[n] = FloatSlot(3.0f);
    scene->rotationX.slot[n] = FloatSlot(10.0f);
    scene->rotationY.slot[n] = FloatSlot(20.0f);
    scene->rotationZ.slot[n] = FloatSlot(30.0f);
    scene->scaleX.slot[n] = FloatSlot(0.5f);
    scene->scaleY.slot[n] = FloatSlot(0.25f);
    scene->scaleZ.slot[n] = FloatSlot(2.0f);
    EXPECT_EQ(Draw(120), "EnableClientState NORMAL_ARRAY\n"
                         "EnableClientState VERTEX_ARRAY\n"
                         "VertexPointer 3 FLOAT 0 model.vertices\n"
                         "NormalPointer FLOAT 0 model.normals\n" +
                             ClockAt("120") +
                             "PushMatrix\n"
                             "Translatef 1 2 3\n"
                             "Rotatef 10 1 0 0\n"
                             "Rotatef 20 0 1 0\n"
                             "Rotatef 30 0 0 1\n"
                             "Scalef 0.5 0.25 2\n"
                             "DrawElements TRIANGLES 3 UNSIGNED_INT model.indices\n"
                             "PopMatrix\n"
                             "DisableClientState NORMAL_ARRAY\n"
                             "DisableClientState VERTEX_ARRAY\n");
}

static const char* const kInstanceAtOrigin = "PushMatrix\n"
                                             "Translatef 0 0 0\n"
                                             "Rotatef 0 1 0 0\n"
                                             "Rotatef 0 0 1 0\n"
                                             "Rotatef 0 0 0 1\n"
                                             "Scalef 1 1 1\n";

static const std::string kBufferedModel =
    std::string("EnableClientState NORMAL_ARRAY\n"
                "EnableClientState VERTEX_ARRAY\n"
                "BindBufferARB ARRAY_BUFFER 1\n"
                "VertexPointer 3 FLOAT 0 0\n"
                "BindBufferARB ARRAY_BUFFER 4\n"
                "NormalPointer FLOAT 0 0\n" +
                ClockAt("7") + "BindBufferARB ELEMENT_ARRAY_BUFFER 5\n") +
    kInstanceAtOrigin +
    "DrawElements TRIANGLES 3 UNSIGNED_INT 0\n"
    "PopMatrix\n"
    "DisableClientState NORMAL_ARRAY\n"
    "DisableClientState VERTEX_ARRAY\n";

/// The calls of a generated mesh, after those that clear the buffer bindings.
static const std::string kDrawnGrid = std::string("EnableClientState NORMAL_ARRAY\n"
                                                  "EnableClientState VERTEX_ARRAY\n"
                                                  "VertexPointer 3 FLOAT 0 grid.vertices\n"
                                                  "NormalPointer FLOAT 0 grid.normals\n" +
                                                  ClockAt("7")) +
                                      kInstanceAtOrigin +
                                      "DrawElements TRIANGLES 3 UNSIGNED_INT grid.indices\n"
                                      "PopMatrix\n"
                                      "DisableClientState NORMAL_ARRAY\n"
                                      "DisableClientState VERTEX_ARRAY\n";

TEST_F(DrawSceneTest, AModelIsDrawnFromItsBuffersWhereTheyAreInUse)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    EXPECT_EQ(Draw(7, 1), kBufferedModel);
}

TEST_F(DrawSceneTest, FromBuffersAsManyIndicesAreDrawnAsTheyHold)
{
    ModelUpload* model = AddTriangle();
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, model->indexBuffer); // as of a file without coordinates
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, 8, triangle.indices.data(), GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    TakeGlCalls();
    model->bufferIndexCount = 2;
    AddObject(kObjectModel, 1);
    EXPECT_NE(Draw(7, 0).find("DrawElements TRIANGLES 3 UNSIGNED_INT model.indices\n"),
              std::string::npos);
    EXPECT_NE(Draw(7, 1).find("DrawElements TRIANGLES 2 UNSIGNED_INT 0\n"), std::string::npos);
}

TEST_F(DrawSceneTest, AGeneratedMeshAfterAModelFindsNoBufferBound)
{
    AddTriangle();
    AddGenMesh();
    AddObject(kObjectModel, 1);
    AddObject(kObjectGenMesh, 1);
    AddObject(kObjectModel, 1);
    EXPECT_EQ(Draw(7, 1), kBufferedModel +
                              "BindBufferARB ARRAY_BUFFER 0\n"
                              "BindBufferARB ELEMENT_ARRAY_BUFFER 0\n" +
                              kDrawnGrid + kBufferedModel);
}

TEST_F(DrawSceneTest, AGeneratedMeshTouchesNoBufferWhereThereAreNone)
{
    AddGenMesh();
    AddObject(kObjectGenMesh, 1);
    EXPECT_EQ(Draw(7), kDrawnGrid);
}

TEST_F(DrawSceneTest, AGeneratedMeshIsUpdatedAtTheObjectsTime)
{
    GenMesh* genMesh = AddGenMesh();
    genMesh->params[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    const uint32_t n = AddObject(kObjectGenMesh, 1);
    scene->timeShift[n] = 30.0f;
    Draw(100);
    EXPECT_EQ(EnvelopeTime(&piece, genMesh->params[0]), 130u);
}

TEST_F(DrawSceneTest, AHiddenGeneratedMeshIsNotUpdated)
{
    GenMesh* genMesh = AddGenMesh();
    genMesh->params[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    const uint32_t n = AddObject(kObjectGenMesh, 1);
    scene->visibilityEnvelope[n] = AddLinearEnvelope(&piece, 0.0f, 0.5f);
    EXPECT_EQ(Draw(100), "");
    EXPECT_EQ(EnvelopeTime(&piece, genMesh->params[0]), kNothingCached);
}

TEST_F(DrawSceneTest, ObjectsOfOneGeneratedMeshShareItsSurface)
{
    GenMesh* lake = AddRecord<GenMesh>(piece.document.genMeshes);
    lake->type = kLakeWater;
    ASSERT_TRUE(BuildGenMesh(lake->type, &lake->mesh, &piece.faults));
    lake->mesh.faces = &lake->faces;
    lake->params[0] = AddLinearEnvelope(&piece, 1.0f, 0.5f);
    StartState(&piece, Section::kGenMeshes, 1);
    AddObject(kObjectGenMesh, 1);
    scene->timeShift[AddObject(kObjectGenMesh, 1)] = 1.0f;
    Draw(1);

    // One step for the first object's time, and the next from there for the second's.
    EXPECT_EQ(piece.state.demo.genMeshes[0].lake.lastStep, 2);
    RandomSequence expected;
    SeedRandom(&expected, 1);
    for (int drop = 0; drop < 2 * 4; ++drop)
    {
        NextRandom(&expected);
    }
    EXPECT_EQ(NextRandom(&piece.state.random), NextRandom(&expected));
    FreeGenMeshRecord(lake);
}

TEST_F(DrawSceneTest, AnObjectThatIsSkippedResolvesNothing)
{
    AddTriangle();
    AddGenMesh();
    AddObject(kObjectModel, 9);   // no such model
    AddObject(kObjectGenMesh, 9); // no such mesh
    AddObject(7, 1);              // no such kind
    scene->visibilityEnvelope[AddObject(kObjectModel, 1)] =
        AddLinearEnvelope(&piece, 0.0f, 0.0f); // hidden
    for (uint32_t n = 0; n < scene->objectCount; ++n)
    {
        scene->positionX.slot[n] = 4000; // no such envelope
        SetMaskBit(scene->positionX.dynamicMask, n);
        Manipulator* manipulator = AddManipulator(n, kManipulatorModelPlacer, {});
        manipulator->placementKind = 1;
        manipulator->placementId = 4000; // no such mesh
    }
    EXPECT_EQ(Draw(0, 0), "");
    EXPECT_EQ(Draw(0, 1), "");
}

TEST_F(DrawSceneTest, AMissingMeshOrUnknownKindSkipsThatObjectAlone)
{
    AddGenMesh();
    AddObject(kObjectModel, 1);   // no such model
    AddObject(kObjectModel, 0);   // none at all
    AddObject(kObjectGenMesh, 2); // no such mesh
    AddObject(2, 1);
    AddObject(255, 1);
    AddObject(kObjectGenMesh, 1);
    EXPECT_EQ(Draw(7), kDrawnGrid);
}

// Materials.

TEST_F(DrawSceneTest, BothUnitsShareTheOneSetOfCoordinates)
{
    AddTriangle(1);
    AddObject(kObjectModel, 1, kPair);
    EXPECT_EQ(TexCoordsOf(0), "model.texCoords1, model.texCoords1");
    EXPECT_EQ(TexCoordsOf(1), "buffer 2, buffer 2");
}

TEST_F(DrawSceneTest, TheSecondUnitGetsTheSecondSetOfCoordinates)
{
    AddTriangle(2);
    AddObject(kObjectModel, 1, kPair);
    EXPECT_EQ(TexCoordsOf(0), "model.texCoords1, model.texCoords2");
    EXPECT_EQ(TexCoordsOf(1), "buffer 2, buffer 3");
}

TEST_F(DrawSceneTest, CoordinatesOfAGeneratedMeshAreInClientMemory)
{
    AddGenMesh();
    AddObject(kObjectGenMesh, 1, kPair);
    for (int32_t vbo : {0, 1})
    {
        SetStillMesh(&piece, 1, MakeMesh(&grid, 1));
        EXPECT_EQ(TexCoordsOf(vbo), "grid.texCoords1, grid.texCoords1");
        SetStillMesh(&piece, 1, MakeMesh(&grid, 2));
        EXPECT_EQ(TexCoordsOf(vbo), "grid.texCoords1, grid.texCoords2");
        EXPECT_EQ(piece.gl.texCoords.vertexCount[0], 3u);
        EXPECT_EQ(piece.gl.texCoords.vertexCount[1], 3u);
    }
}

TEST_F(DrawSceneTest, ADeformedMeshKeepsItsCoordinates)
{
    AddTriangle(2);
    AddManipulator(AddObject(kObjectModel, 1, kPair), kManipulatorRippler, {0, 0, 1});
    EXPECT_EQ(TexCoordsOf(0), "model.texCoords1, model.texCoords2");
    EXPECT_EQ(TexCoordsOf(1), "buffer 2, buffer 3");
    EXPECT_EQ(piece.gl.texCoords.vertexCount[1], 3u);
}

TEST_F(DrawSceneTest, TheHeadingIsHandedOnUnchanged)
{
    AddTriangle();
    Material* reflection = GetRecord<Material>(kPair, piece.document.materials);
    reflection->type = 11;
    reflection->params[4] = FloatSlot(1.0f); // turns with the camera
    AddObject(kObjectModel, 1, kPair);
    for (float heading : {45.25f, -0.001953125f, 720.5f})
    {
        char expected[64];
        snprintf(expected, sizeof(expected), "Rotatef %.9g 0 0 1\nTranslatef -0.5 -0.5 0\n",
                 static_cast<double>(-heading));
        EXPECT_NE(Draw(0, 0, heading).find(expected), std::string::npos) << heading;
    }
}

TEST_F(DrawSceneTest, AMaterialFindsEachReferenceInItsTable)
{
    AddTriangle();
    AddTexture(&piece, 31);
    Effect2D effect = {};
    effect.type = -1; // of no type, so its texture stays
    AddEffect(&piece, effect, 41, 0);
    Light* light = AddRecord<Light>(piece.document.lights);
    light->position[2] = FloatSlot(3.0f);

    Material* material = GetRecord<Material>(kPair, piece.document.materials);
    material->refs[0] = 1;
    material->refs[1] = 1;
    material->effectRefs[0] = 1;
    AddObject(kObjectModel, 1, kPair);
    const struct
    {
        uint32_t type;
        const char* call;
    } cases[] = {
        {3, "Lightfv LIGHT1 POSITION 0 0 3 1\n"},
        {3, "BindTexture TEXTURE_2D 31\n"},
        {6, "BindTexture TEXTURE_2D 41\n"},
        {7, "BindTexture TEXTURE_2D 21\n"},
    };
    for (const auto& c : cases)
    {
        material->type = c.type;
        EXPECT_NE(Draw(0).find(c.call), std::string::npos) << c.type;
    }
}

TEST_F(DrawSceneTest, AnObjectWithoutAMaterialIsDrawnAsItIs)
{
    AddTriangle();
    AddObject(kObjectModel, 1, 0);
    EXPECT_EQ(Draw(7), std::string("EnableClientState NORMAL_ARRAY\n"
                                   "EnableClientState VERTEX_ARRAY\n"
                                   "VertexPointer 3 FLOAT 0 model.vertices\n"
                                   "NormalPointer FLOAT 0 model.normals\n") +
                           kInstanceAtOrigin +
                           "DrawElements TRIANGLES 3 UNSIGNED_INT model.indices\n"
                           "PopMatrix\n"
                           "DisableClientState NORMAL_ARRAY\n"
                           "DisableClientState VERTEX_ARRAY\n");
}

// Visibility and time.

TEST_F(DrawSceneTest, AnObjectWithoutAVisibilityEnvelopeIsAlwaysDrawn)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    EXPECT_EQ(DrawnTimes(0), " 0");
    EXPECT_EQ(DrawnTimes(4000000000u), " 4e+09");
}

TEST_F(DrawSceneTest, AValueBelowOneHidesAnObject)
{
    AddTriangle();
    // timeShift tells the objects apart.
    const float values[] = {0.999f, 1.0f, 0.0f, 2.0f, -1.0f, NAN};
    for (float value : values)
    {
        const uint32_t n = AddObject(kObjectModel, 1);
        scene->visibilityEnvelope[n] = AddLinearEnvelope(&piece, 0.0f, value);
        scene->timeShift[n] = static_cast<float>(n);
    }
    EXPECT_EQ(DrawnTimes(100), " 101 103 105"); // what is not a number shows as well
}

TEST_F(DrawSceneTest, VisibilityIsTakenAtTheObjectsTime)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->visibilityEnvelope[n] = AddLinearEnvelope(&piece, 0.01f, 0.0f); // 1 from tick 100 on
    scene->timeShift[n] = 50.0f;
    EXPECT_EQ(DrawnTimes(49), "");
    EXPECT_EQ(DrawnTimes(50), " 100");
}

TEST_F(DrawSceneTest, ATimeShiftIsAddedAndTruncated)
{
    AddTriangle();
    const struct
    {
        float shift;
        uint32_t time;
        uint32_t objectTime;
    } cases[] = {
        {20.75f, 100, 120},
        {-20.75f, 100, 79}, // 79.25
        {-100.5f, 100, 0},  // towards zero
        {-101.0f, 100, 4294967295u},
        {-300.5f, 100, 4294967096u}, // -200
        // The sum is a float: 16777217 loses its last bit, and so does a small shift.
        {0.0f, 16777217, 16777216},
        {1.0f, 33554432, 33554432},
    };
    const uint32_t n = AddObject(kObjectModel, 1);
    for (const auto& c : cases)
    {
        scene->timeShift[n] = c.shift;
        piece.state.demo.envelopes[0] = {0.0f, 12345};
        Draw(c.time);
        EXPECT_EQ(EnvelopeTime(&piece, 1), c.objectTime) << c.shift;
    }
}

TEST_F(DrawSceneTest, PlacementValuesMoveWithTheObjectsTime)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->positionY.slot[n] = AddLinearEnvelope(&piece, 0.5f, 1.0f);
    SetMaskBit(scene->positionY.dynamicMask, n);
    scene->scaleZ.slot[n] = AddLinearEnvelope(&piece, -1.0f, 0.0f);
    SetMaskBit(scene->scaleZ.dynamicMask, n);
    scene->timeShift[n] = 4.0f;
    const std::string calls = Draw(6);
    EXPECT_NE(calls.find("Translatef 0 6 0\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("Scalef 1 1 -10\n"), std::string::npos) << calls;
}

TEST_F(DrawSceneTest, EachPlacementValueMayMove)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    const struct
    {
        ObjectValues* values;
        const char* call;
    } cases[] = {
        {&scene->positionX, "Translatef 8 0 0\n"}, {&scene->positionY, "Translatef 0 8 0\n"},
        {&scene->positionZ, "Translatef 0 0 8\n"}, {&scene->rotationX, "Rotatef 8 1 0 0\n"},
        {&scene->rotationY, "Rotatef 8 0 1 0\n"},  {&scene->rotationZ, "Rotatef 8 0 0 1\n"},
        {&scene->scaleX, "Scalef 8 1 1\n"},        {&scene->scaleY, "Scalef 1 8 1\n"},
        {&scene->scaleZ, "Scalef 1 1 8\n"},
    };
    for (const auto& c : cases)
    {
        const uint32_t constant = c.values->slot[n];
        c.values->slot[n] = 1;
        SetMaskBit(c.values->dynamicMask, n);
        EXPECT_NE(Draw(8).find(c.call), std::string::npos) << c.call;
        c.values->slot[n] = constant;
        c.values->dynamicMask[0] = 0;
    }
}

// Manipulators.

static const std::string kSetArrays = "EnableClientState NORMAL_ARRAY\n"
                                      "EnableClientState VERTEX_ARRAY\n"
                                      "VertexPointer 3 FLOAT 0 model.vertices\n"
                                      "NormalPointer FLOAT 0 model.normals\n" +
                                      ClockAt("7");
static const std::string kArraysOff = "DisableClientState NORMAL_ARRAY\n"
                                      "DisableClientState VERTEX_ARRAY\n";

static std::string InstanceAt(const std::string& position)
{
    return "PushMatrix\n"
           "Translatef " +
           position +
           "\n"
           "Rotatef 0 1 0 0\n"
           "Rotatef 0 0 1 0\n"
           "Rotatef 0 0 0 1\n"
           "Scalef 1 1 1\n"
           "DrawElements TRIANGLES 3 UNSIGNED_INT model.indices\n"
           "PopMatrix\n";
}

TEST_F(DrawSceneTest, AChainOfManipulatorsDrawsOneCopyForEachInstance)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorXMultiplier, {2, 10, 0, 0, 0, 0, 0, 0, 0, 0});
    AddManipulator(n, kManipulatorXyzMultiplier, {1, 2, 1, 0, 5, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + InstanceAt("0 5 0") +
                           InstanceAt("10 0 0") + InstanceAt("10 5 0") + kArraysOff);
}

TEST_F(DrawSceneTest, AnEmptyListStillSetsTheMaterial)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorXMultiplier, {0, 10, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Draw(7), kSetArrays + kArraysOff);
}

TEST_F(DrawSceneTest, TheNumberOfCopiesMovesWithTheObjectsTime)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXMultiplier, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->params[0] = AddLinearEnvelope(&piece, 0.5f, 0.0f);
    SetMaskBit(manipulator->dynamicMask, 0);
    scene->timeShift[n] = 3.0f;
    EXPECT_EQ(Draw(4), kSetArrays + InstanceAt("0 0 0") + InstanceAt("1 0 0") + // 3.5 copies
                           InstanceAt("2 0 0") + kArraysOff);
    scene->timeShift[n] = 0.0f;
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + InstanceAt("1 0 0") +
                           InstanceAt("2 0 0") + kArraysOff);
}

TEST_F(DrawSceneTest, EveryParameterOfATypeIsResolved)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXyzMultiplier, {1, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->params[11] = AddLinearEnvelope(&piece, 1.0f, 0.0f); // "Scale Z step"
    SetMaskBit(manipulator->dynamicMask, 11);
    const std::string calls = Draw(7);
    EXPECT_NE(calls.find("Scalef 1 1 8\n"), std::string::npos) << calls;
}

TEST_F(DrawSceneTest, ParametersPastThoseOfTheTypeAreIgnored)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXMultiplier, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->params[10] = 4000; // no such envelope
    SetMaskBit(manipulator->dynamicMask, 10);
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

TEST_F(DrawSceneTest, AnUnknownManipulatorDrawsTheObjectAsItIs)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, 4, {9, 9, 9});
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

TEST_F(DrawSceneTest, AModelPlacerWithoutAMeshDrawsTheObjectAsItIs)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1});
    AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1})->placementId = 44;
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

TEST_F(DrawSceneTest, AGeneratedMeshToPlaceOnIsUpdatedAtTheObjectsTime)
{
    AddTriangle();
    GenMesh* genMesh = AddGenMesh();
    genMesh->params[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->timeShift[n] = 3.0f;
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1});
    manipulator->placementKind = 7; // anything but 0
    manipulator->placementId = 1;
    Draw(4);
    EXPECT_EQ(EnvelopeTime(&piece, genMesh->params[0]), 7u);
}

TEST_F(DrawSceneTest, OnlyAModelPlacerLooksForAMeshToPlaceOn)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXMultiplier, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->placementKind = 1;
    manipulator->placementId = 44;
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

// Deformed geometry. A rippler without amplitude bends nothing, but its arrays stand in for the
// mesh's own; the record knows them by no name.

static const std::string kModelInstance = std::string(kInstanceAtOrigin) +
                                          "DrawElements TRIANGLES 3 UNSIGNED_INT model.indices\n"
                                          "PopMatrix\n";

TEST_F(DrawSceneTest, DeformedArraysExistForOneObjectOnly)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    AddObject(kObjectModel, 1);
    EXPECT_EQ(Draw(7), "EnableClientState NORMAL_ARRAY\n"
                       "EnableClientState VERTEX_ARRAY\n"
                       "VertexPointer 3 FLOAT 0 ?\n"
                       "NormalPointer FLOAT 0 ?\n" +
                           ClockAt("7") + kModelInstance + kArraysOff + kSetArrays +
                           kModelInstance + kArraysOff);
}

/// The bytes of an array, as a buffer holds them.
static std::vector<uint8_t> BytesOf(const std::vector<float>& floats)
{
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(floats.data());
    return {bytes, bytes + floats.size() * sizeof(float)};
}

TEST_F(DrawSceneTest, ManipulatorsWorkOnTheObjectsOwnMesh)
{
    MeshArrays six = MakeMeshArrays(6);
    MeshArrays nine = MakeMeshArrays(9);
    AddTriangle();
    AddModel(&piece, &six, 1);
    AddGenMesh();
    AddStillGenMesh(&piece, MakeMesh(&nine, 1));
    // After a fault of the material the bent geometry is still in its buffers, for FreeUpload.
    GetRecord<Material>(kPair, piece.document.materials)->refs[0] = 99;
    const uint32_t n = AddObject(kObjectModel, 2, kPair);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    const struct
    {
        uint8_t kind;
        const std::vector<float>* vertices;
    } cases[] = {{kObjectModel, &six.vertices}, {kObjectGenMesh, &nine.vertices}};
    for (const auto& c : cases)
    {
        scene->objectKind[n] = c.kind;
        DrawOrFail(7, 1, 0.0f);
        EXPECT_NE(TakeFaults(&piece), "");
        EXPECT_EQ(GlBufferBytes(piece.upload.deformed.vertexBuffer), BytesOf(*c.vertices));
        const FrameSources sources = TestSources(&piece);
        ReleaseDeformedBuffers(&sources);
    }
}

TEST_F(DrawSceneTest, ADeformedObjectWithoutInstancesIsReleased)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    AddManipulator(n, kManipulatorXMultiplier, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const std::string calls = Draw(7, 1); // it sees that nothing deformed is left
    EXPECT_NE(calls.find("BufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n"), std::string::npos);
    EXPECT_EQ(calls.find("DrawElements"), std::string::npos);
    EXPECT_EQ(GlLiveBuffers(), 5u); // the model's own
}

/// The calls of a rippler for two new buffers.
static std::string UploadDeformed(int vertices, int normals)
{
    const std::string first = std::to_string(vertices);
    const std::string second = std::to_string(normals);
    return "GenBuffersARB 1 " + first + "\nGenBuffersARB 1 " + second +
           "\nBindBufferARB ARRAY_BUFFER " + first +
           "\nBufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n"
           "BindBufferARB ARRAY_BUFFER " +
           second + "\nBufferDataARB ARRAY_BUFFER 36 ? STREAM_DRAW\n";
}

TEST_F(DrawSceneTest, ADeformedModelIsDrawnFromBuffersOfItsOwn)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    AddObject(kObjectModel, 1);
    EXPECT_EQ(Draw(7, 1), UploadDeformed(6, 7) +
                              "EnableClientState NORMAL_ARRAY\n"
                              "EnableClientState VERTEX_ARRAY\n"
                              "BindBufferARB ARRAY_BUFFER 6\n"
                              "VertexPointer 3 FLOAT 0 0\n"
                              "BindBufferARB ARRAY_BUFFER 7\n"
                              "NormalPointer FLOAT 0 0\n" +
                              ClockAt("7") + "BindBufferARB ELEMENT_ARRAY_BUFFER 5\n" +
                              kInstanceAtOrigin +
                              "DrawElements TRIANGLES 3 UNSIGNED_INT 0\n"
                              "PopMatrix\n"
                              "DeleteBuffersARB 1 6\n"
                              "DeleteBuffersARB 1 7\n" +
                              kArraysOff + kBufferedModel);
    EXPECT_EQ(GlLiveBuffers(), 5u);
}

TEST_F(DrawSceneTest, ADeformedGeneratedMeshStaysInClientMemory)
{
    AddGenMesh();
    const uint32_t n = AddObject(kObjectGenMesh, 1);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    EXPECT_EQ(Draw(7, 1), UploadDeformed(1, 2) +
                              "BindBufferARB ARRAY_BUFFER 0\n"
                              "BindBufferARB ELEMENT_ARRAY_BUFFER 0\n"
                              "EnableClientState NORMAL_ARRAY\n"
                              "EnableClientState VERTEX_ARRAY\n"
                              "VertexPointer 3 FLOAT 0 ?\n"
                              "NormalPointer FLOAT 0 ?\n" +
                              ClockAt("7") + kInstanceAtOrigin +
                              "DrawElements TRIANGLES 3 UNSIGNED_INT grid.indices\n"
                              "PopMatrix\n"
                              "DeleteBuffersARB 1 1\n"
                              "DeleteBuffersARB 1 2\n" +
                              kArraysOff);
    EXPECT_EQ(GlLiveBuffers(), 0u);
}

TEST_F(DrawSceneTest, AModelPlacerPlacesOnTheModelThatItNames)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorModelPlacer, {0, 0, 5, 0, 0, 0, 2, 2, 2})->placementId = 1;
    const std::string calls = Draw(7);
    const size_t end = calls.find(kSetArrays); // after the transformation of the vertices
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(calls.substr(end), kSetArrays + InstanceAt("0 0 5") + InstanceAt("2 2 5") +
                                     InstanceAt("4 4 5") + kArraysOff);
}

// Faults. After one OpenGL is called no more.

TEST_F(DrawSceneTest, AMissingEnvelopeIsAFaultOfTheObject)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    const std::string firstObject = Draw(0);
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->visibilityEnvelope[n] = 3;
    EXPECT_EQ(DrawToFault(2, "envelope 3 does not exist"), firstObject);

    scene->visibilityEnvelope[n] = 0;
    scene->rotationZ.slot[n] = 4;
    SetMaskBit(scene->rotationZ.dynamicMask, n);
    EXPECT_EQ(DrawToFault(2, "envelope 4 does not exist"), firstObject);

    scene->rotationZ.dynamicMask[0] = 0;
    Manipulator* manipulator = AddManipulator(n, kManipulatorRippler, {0, 0, 0});
    manipulator->params[2] = 5;
    SetMaskBit(manipulator->dynamicMask, 2);
    EXPECT_EQ(DrawToFault(2, "envelope 5 does not exist"), firstObject);
}

TEST_F(DrawSceneTest, VisibilityComesFirstThenPlacementAndManipulators)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator = AddManipulator(n, kManipulatorRippler, {0, 0, 0});
    manipulator->params[0] = 79;
    SetMaskBit(manipulator->dynamicMask, 0);
    ObjectValues* values[] = {&scene->positionX, &scene->positionY, &scene->positionZ,
                              &scene->rotationX, &scene->rotationY, &scene->rotationZ,
                              &scene->scaleX,    &scene->scaleY,    &scene->scaleZ};
    for (uint32_t i = 0; i < 9; ++i)
    {
        values[i]->slot[n] = 70 + i;
        SetMaskBit(values[i]->dynamicMask, n);
    }
    scene->visibilityEnvelope[n] = 69;
    scene->objectId[n] = 2; // no such model, but it is looked for later
    EXPECT_EQ(DrawToFault(1, "envelope 69 does not exist"), "");
    scene->visibilityEnvelope[n] = 0;
    scene->objectId[n] = 1;
    for (uint32_t i = 0; i < 9; ++i)
    {
        EXPECT_EQ(DrawToFault(1, "envelope " + std::to_string(70 + i) + " does not exist"), "");
        values[i]->dynamicMask[0] = 0;
    }
    EXPECT_EQ(DrawToFault(1, "envelope 79 does not exist"), "");
}

TEST_F(DrawSceneTest, AMissingMeshToPlaceOnIsAFault)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1});
    manipulator->placementKind = 1;
    manipulator->placementId = 44;
    EXPECT_EQ(DrawToFault(1, "generated mesh 44, which a manipulator places on, does not exist"),
              "");
}

TEST_F(DrawSceneTest, AFaultInAMaterialIsSaidOfTheMaterial)
{
    AddTriangle();
    GetRecord<Material>(kPair, piece.document.materials)->refs[1] = 9;
    AddObject(kObjectModel, 1, kPair);
    const std::string calls = DrawOrFail(0, 0, 45.0f);
    EXPECT_EQ(TakeFaults(&piece),
              "quorvale: demo.xmlz, section 7 (materials), item 2: bitmap 9 does not exist\n");
    EXPECT_EQ(calls, "EnableClientState NORMAL_ARRAY\n"
                     "EnableClientState VERTEX_ARRAY\n"
                     "VertexPointer 3 FLOAT 0 model.vertices\n"
                     "NormalPointer FLOAT 0 model.normals\n"
                     "PolygonMode FRONT_AND_BACK FILL\n"
                     "Enable DEPTH_TEST\n"
                     "Disable NORMALIZE\n"
                     "Disable LIGHTING\n"
                     "Color4f 0 0 0 0\n"
                     "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n");
}

TEST_F(DrawSceneTest, TooManyCopiesAreAFaultBeforeAnyArrayIsSet)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorXMultiplier, {2000000});
    EXPECT_EQ(DrawToFault(1, "a manipulator makes more than 1048576 instances", 1), "");
}

TEST_F(DrawSceneTest, BuffersThatAFaultLeavesBehindAreFreedWithTheUpload)
{
    AddTriangle();
    GetRecord<Material>(kPair, piece.document.materials)->refs[1] = 9;
    AddManipulator(AddObject(kObjectModel, 1, kPair), kManipulatorRippler, {0, 0, 1});
    DrawOrFail(0, 1, 0.0f);
    EXPECT_EQ(GlLiveBuffers(), 7u); // the model's and two of the bent mesh
    FreeUpload(&piece.upload);
    EXPECT_EQ(GlLiveBuffers(), 0u);
}
