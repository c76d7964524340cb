#include "engine/render/scene.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/animation/animated_value.h"
#include "engine/data/fault.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/render/material_stand_in.h"
#include "support/piece_tables.h"
#include "support/recorded_gl.h"
#include "support/scene_builder.h"

// Reading.

static std::string Value(const std::string& type, const std::string& value)
{
    return "<v type=\"" + type + "\" value=\"" + value + "\"/>";
}

/// The nine placement values, all the same.
static std::string Placement(const std::string& value)
{
    std::string text;
    for (int i = 0; i < 9; ++i)
    {
        text += Value("static", value);
    }
    return text;
}

static std::string Object(const std::string& children)
{
    return "<o type=\"0\" object=\"1\" material=\"1\">" + children + "</o>";
}

static const std::string kTail = "<v value=\"0\"/><v value=\"0\"/>";
static const std::string kPlainObject = Object(Placement("1") + kTail);

class SceneReaderTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        tables = MakePieceTables();
        AllocateObject(tables.scenes);
        scene = GetRecord<Scene>(1, tables.scenes);
        memset(static_cast<void*>(scene), 0xCD, sizeof(Scene)); // as rubbish as memory gets
        CurrentPlace = {"demo.xmlz", 9, 1, 0};
    }

    void TearDown() override
    {
        FreePieceTables(&tables);
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }

    void Read(const std::string& objects)
    {
        TiXmlDocument tree;
        tree.Parse(("<scene>" + objects + "</scene>").c_str());
        ASSERT_FALSE(tree.Error()) << tree.ErrorDesc();
        LoadContext context = {};
        ReadSceneItem(tree.RootElement(), scene, 0, &context);
    }

    PieceTables tables = {};
    Scene* scene = nullptr;
};

using SceneReaderDeathTest = SceneReaderTest;

TEST_F(SceneReaderTest, ASceneMayBeEmpty)
{
    Read("");
    EXPECT_EQ(scene->objectCount, 0u);
}

TEST_F(SceneReaderTest, AnObjectsAttributesGoToTheirColumns)
{
    Read(kPlainObject + "<o type=\"1\" object=\"12\" material=\"34\">" + Placement("1") + kTail +
         "</o>");
    EXPECT_EQ(scene->objectCount, 2u);
    EXPECT_EQ(scene->objectKind[0], kObjectModel);
    EXPECT_EQ(scene->objectId[0], 1u);
    EXPECT_EQ(scene->materialId[0], 1u);
    EXPECT_EQ(scene->objectKind[1], kObjectGenMesh);
    EXPECT_EQ(scene->objectId[1], 12u);
    EXPECT_EQ(scene->materialId[1], 34u);
}

TEST_F(SceneReaderTest, AnObjectsKindIsCutToAByte)
{
    for (const auto& [text, kind] : {std::pair("256", 0), {"257", 1}, {"-1", 255}, {"2", 2}})
    {
        Read("<o type=\"" + std::string(text) + "\" object=\"1\" material=\"1\">" + Placement("1") +
             kTail + "</o>");
        EXPECT_EQ(scene->objectKind[0], kind);
    }
}

TEST_F(SceneReaderTest, PlacementValuesAreReadInTheirOrder)
{
    std::string values;
    for (int i = 1; i <= 9; ++i)
    {
        values += Value("static", std::to_string(i) + ".5");
    }
    Read(Object(values + kTail));
    EXPECT_EQ(SlotFloat(scene->positionX.slot[0]), 1.5f);
    EXPECT_EQ(SlotFloat(scene->positionY.slot[0]), 2.5f);
    EXPECT_EQ(SlotFloat(scene->positionZ.slot[0]), 3.5f);
    EXPECT_EQ(SlotFloat(scene->rotationX.slot[0]), 4.5f);
    EXPECT_EQ(SlotFloat(scene->rotationY.slot[0]), 5.5f);
    EXPECT_EQ(SlotFloat(scene->rotationZ.slot[0]), 6.5f);
    EXPECT_EQ(SlotFloat(scene->scaleX.slot[0]), 7.5f);
    EXPECT_EQ(SlotFloat(scene->scaleY.slot[0]), 8.5f);
    EXPECT_EQ(SlotFloat(scene->scaleZ.slot[0]), 9.5f);
}

/// The bytes of a mask as hexadecimal digits up to the last that is not 0.
static std::string MaskText(const ObjectValues& values)
{
    std::string text;
    std::string pending;
    for (uint8_t byte : values.dynamicMask)
    {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02x", byte);
        pending += digits;
        if (byte != 0)
        {
            text += pending;
            pending.clear();
        }
    }
    return text;
}

TEST_F(SceneReaderTest, EachValueHasItsOwnMaskWithABitForEachObject)
{
    // Objects 0 and 9 have a dynamic rotation about y, object 9 a dynamic scale along z.
    const std::string rotating =
        Value("static", "0") + Value("static", "0") + Value("static", "0") + Value("static", "0") +
        Value("dynamic", "6") + Value("static", "0") + Value("static", "1") + Value("static", "1");
    std::string objects = Object(rotating + Value("Dynamic", "7") + kTail);
    for (int i = 1; i < 9; ++i)
    {
        objects += kPlainObject;
    }
    objects += Object(rotating + Value("dynamic", "7") + kTail);
    Read(objects);
    EXPECT_EQ(MaskText(scene->rotationY), "8040");
    EXPECT_EQ(MaskText(scene->scaleZ), "0040");
    for (const ObjectValues* values :
         {&scene->positionX, &scene->positionY, &scene->positionZ, &scene->rotationX,
          &scene->rotationZ, &scene->scaleX, &scene->scaleY})
    {
        EXPECT_EQ(MaskText(*values), "");
    }
    EXPECT_EQ(scene->rotationY.slot[9], 6u);
    EXPECT_EQ(scene->scaleZ.slot[9], 7u);
    EXPECT_EQ(SlotFloat(scene->scaleZ.slot[0]), 7.0f);
}

TEST_F(SceneReaderTest, VisibilityAndTimeShiftFollowThePlacement)
{
    Read(Object(Placement("1") + "<v value=\"17\"/><v value=\"-12.5\"/>"));
    EXPECT_EQ(scene->visibilityEnvelope[0], 17u);
    EXPECT_EQ(scene->timeShift[0], -12.5f);
    EXPECT_EQ(scene->manipulatorCount[0], 0);
}

TEST_F(SceneReaderTest, AllFurtherChildrenAreManipulatorsInTheirOrder)
{
    Read(kPlainObject +
         Object(Placement("1") + kTail + "<a type=\"1\"><p type=\"static\" value=\"3\"/></a>" +
                "<b type=\"3\"><manipulator type=\"0\" model=\"9\"/></b>"));
    EXPECT_EQ(scene->manipulatorCount[0], 0);
    EXPECT_EQ(scene->manipulatorCount[1], 2);
    EXPECT_EQ(scene->manipulators[1][0].type, kManipulatorXMultiplier);
    EXPECT_EQ(SlotFloat(scene->manipulators[1][0].params[0]), 3.0f);
    EXPECT_EQ(scene->manipulators[1][1].type, kManipulatorModelPlacer);
    EXPECT_EQ(scene->manipulators[1][1].placementId, 9);
}

static std::string Repeat(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
    {
        all += text;
    }
    return all;
}

TEST_F(SceneReaderTest, TheBlocksLimitsCanBeReached)
{
    Read(Repeat(kPlainObject, 511) + Object(Placement("1") + kTail + Repeat("<m type=\"2\"/>", 7)));
    EXPECT_EQ(scene->objectCount, 512u);
    EXPECT_EQ(scene->manipulatorCount[511], 7);
    EXPECT_EQ(scene->manipulators[511][6].type, kManipulatorRippler);
    EXPECT_EQ(CurrentPlace.part, 0u);
}

TEST_F(SceneReaderDeathTest, AnObjectTooManyEndsTheProgram)
{
    EXPECT_EXIT(Read(Repeat(kPlainObject, 513)), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 9 \\(scenes\\), item 1, object 513: the scene has "
                "more than 512 objects\n$");
}

TEST_F(SceneReaderDeathTest, AManipulatorTooManyEndsTheProgram)
{
    EXPECT_EXIT(
        Read(kPlainObject + Object(Placement("1") + kTail + Repeat("<m type=\"2\"/>", 8))),
        testing::ExitedWithCode(1),
        "^quorvale: demo.xmlz, section 9 \\(scenes\\), item 1, object 2: the object has more than "
        "7 manipulators\n$");
}

TEST_F(SceneReaderDeathTest, AMissingChildEndsTheProgram)
{
    const struct
    {
        std::string children;
        const char* fault;
    } cases[] = {
        {"", "position x is missing"},
        {Repeat(Value("static", "1"), 8), "scale z is missing"},
        {Placement("1"), "visibility is missing"},
        {Placement("1") + "<v value=\"0\"/>", "time shift is missing"},
        {Placement("1") + "<v/>", "attribute \"value\" of <v> is missing"},
        {Placement("1") + kTail + "text", "manipulator is not an element"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EXIT(Read(kPlainObject + Object(c.children)), testing::ExitedWithCode(1),
                    std::string("item 1, object 2: ") + c.fault + "\n$");
    }
}

TEST_F(SceneReaderDeathTest, AMissingAttributeEndsTheProgram)
{
    EXPECT_EXIT(Read("<o object=\"1\" material=\"1\"/>"), testing::ExitedWithCode(1),
                "item 1, object 1: attribute \"type\" of <o> is missing");
    EXPECT_EXIT(Read("<o type=\"1\" material=\"1\"/>"), testing::ExitedWithCode(1),
                "item 1, object 1: attribute \"object\" of <o> is missing");
    EXPECT_EXIT(Read("<o type=\"1\" object=\"1\"/>"), testing::ExitedWithCode(1),
                "item 1, object 1: attribute \"material\" of <o> is missing");
    EXPECT_EXIT(Read("text"), testing::ExitedWithCode(1), "object is not an element");
}

// Drawing.

class SceneTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        CurrentTexCoordArrays = {};
        texCoordsSeen.clear();
        deformedVerticesSeen.clear();
        tables = MakePieceTables();
        scene = AddRecord<Scene>(tables.scenes);
        CurrentPlace = {"demo.xmlz", 9, 1, 0};
        NameMeshArrays(triangle, "model");
        NameMeshArrays(grid, "grid");
    }

    void TearDown() override
    {
        FreePieceTables(&tables);
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }

    /// Model 1, a triangle with buffers 1 to 5.
    ModelData* AddTriangle(uint8_t sets = 1)
    {
        return AddModel(&tables, &triangle, sets);
    }

    /// A generated mesh of a type that nothing moves.
    GenMesh* AddGenMesh()
    {
        GenMesh* genMesh = AddRecord<GenMesh>(tables.genMeshes);
        genMesh->type = 99;
        genMesh->mesh = MakeMesh(&grid, 1);
        return genMesh;
    }

    /// An object at the origin, in material 5.
    uint32_t AddObject(uint8_t kind, uint32_t id)
    {
        return ::AddObject(scene, kind, id, 5);
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

    std::string Draw(uint32_t time, int32_t vbo = 0, float cameraRotY = 45.0f)
    {
        DrawSceneObjects(scene, tables.materials, tables.lights, tables.textures, tables.envelopes,
                         tables.effects, tables.models, tables.bitmaps, tables.genMeshes, time, vbo,
                         0, 1, cameraRotY);
        EXPECT_EQ(GlRefusedCalls(), 0u);
        EXPECT_EQ(GlModelviewDepth(), 1u);
        EXPECT_EQ(CurrentDeformedMesh.vertices, nullptr);
        return TakeGlCalls();
    }

    /// The times at which SetMaterial ran, in order, each behind a space.
    std::string DrawnTimes(uint32_t time)
    {
        std::string times;
        const std::string calls = Draw(time);
        for (size_t at = calls.find("SetMaterial"); at != std::string::npos;
             at = calls.find("SetMaterial", at + 1))
        {
            const size_t begin = calls.find(" at ", at) + 3;
            times += calls.substr(begin, calls.find(" vbo", begin) - begin);
        }
        return times;
    }

    PieceTables tables = {};
    Scene* scene = nullptr;
    MeshArrays triangle = MakeMeshArrays(3);
    MeshArrays grid = MakeMeshArrays(3);
};

using SceneDeathTest = SceneTest;

TEST_F(SceneTest, AnEmptySceneCallsNothing)
{
    CurrentDeformedMesh.vertexBuffer = 3;
    CurrentDeformedMesh.normalBuffer = 4;
    EXPECT_EQ(Draw(0), "");
    EXPECT_EQ(CurrentDeformedMesh.vertexBuffer, 0u);
    EXPECT_EQ(CurrentDeformedMesh.normalBuffer, 0u);
}

TEST_F(SceneTest, AModelIsDrawnFromClientMemoryWithoutBuffers)
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
                         "NormalPointer FLOAT 0 model.normals\n"
                         "SetMaterial 5 at 120 vbo 0 pbo 0 dot3 1 heading 45\n"
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
                "NormalPointer FLOAT 0 0\n"
                "SetMaterial 5 at 7 vbo 1 pbo 0 dot3 1 heading 45\n"
                "BindBufferARB ELEMENT_ARRAY_BUFFER 5\n") +
    kInstanceAtOrigin +
    "DrawElements TRIANGLES 3 UNSIGNED_INT 0\n"
    "PopMatrix\n"
    "DisableClientState NORMAL_ARRAY\n"
    "DisableClientState VERTEX_ARRAY\n";

/// What every generated mesh comes to, behind what clears the buffer bindings.
static const std::string kDrawnGrid = std::string("EnableClientState NORMAL_ARRAY\n"
                                                  "EnableClientState VERTEX_ARRAY\n"
                                                  "VertexPointer 3 FLOAT 0 grid.vertices\n"
                                                  "NormalPointer FLOAT 0 grid.normals\n"
                                                  "SetMaterial 5 at 7 vbo 0 pbo 0 dot3 1 heading "
                                                  "45\n") +
                                      kInstanceAtOrigin +
                                      "DrawElements TRIANGLES 3 UNSIGNED_INT grid.indices\n"
                                      "PopMatrix\n"
                                      "DisableClientState NORMAL_ARRAY\n"
                                      "DisableClientState VERTEX_ARRAY\n";

TEST_F(SceneTest, AModelIsDrawnFromItsBuffersWhereTheyAreInUse)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    EXPECT_EQ(Draw(7, 1), kBufferedModel);
}

TEST_F(SceneTest, FromBuffersAsManyIndicesAreDrawnAsTheyHold)
{
    ModelData* model = AddTriangle();
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

TEST_F(SceneTest, AGeneratedMeshBehindABufferedModelFindsBothBindingsCleared)
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

TEST_F(SceneTest, AGeneratedMeshTouchesNoBufferWhereThereAreNone)
{
    AddGenMesh();
    AddObject(kObjectGenMesh, 1);
    EXPECT_EQ(Draw(7), kDrawnGrid);
}

TEST_F(SceneTest, AGeneratedMeshIsUpdatedAtTheObjectsTime)
{
    GenMesh* genMesh = AddGenMesh();
    genMesh->params[0] = static_cast<int32_t>(AddLinearEnvelope(&tables, 1.0f, 0.0f));
    const uint32_t n = AddObject(kObjectGenMesh, 1);
    scene->timeShift[n] = 30.0f;
    Draw(100);
    EXPECT_EQ(GetRecord<Envelope>(1, tables.envelopes)->lastTime, 130u);
}

TEST_F(SceneTest, AHiddenGeneratedMeshIsNotUpdated)
{
    GenMesh* genMesh = AddGenMesh();
    genMesh->params[0] = static_cast<int32_t>(AddLinearEnvelope(&tables, 1.0f, 0.0f));
    const uint32_t n = AddObject(kObjectGenMesh, 1);
    scene->visibilityEnvelope[n] = AddLinearEnvelope(&tables, 0.0f, 0.5f);
    EXPECT_EQ(Draw(100), "");
    EXPECT_EQ(GetRecord<Envelope>(1, tables.envelopes)->lastTime, kNothingCached);
}

TEST_F(SceneTest, AnObjectThatIsSkippedResolvesNothing)
{
    AddTriangle();
    AddGenMesh();
    AddObject(kObjectModel, 9);   // no such model
    AddObject(kObjectGenMesh, 9); // no such mesh
    AddObject(7, 1);              // no such kind
    scene->visibilityEnvelope[AddObject(kObjectModel, 1)] =
        AddLinearEnvelope(&tables, 0.0f, 0.0f); // hidden
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

TEST_F(SceneTest, AMissingMeshOrAnUnknownKindSkipsTheObjectAndNoOther)
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

TEST_F(SceneTest, BothUnitsGetTheSameCoordinatesFromAMeshWithOneSet)
{
    AddTriangle(1);
    AddObject(kObjectModel, 1);
    Draw(0, 0);
    Draw(0, 1);
    ASSERT_EQ(texCoordsSeen.size(), 2u);
    EXPECT_EQ(texCoordsSeen[0].texcoord0Array, triangle.texCoords1.data());
    EXPECT_EQ(texCoordsSeen[0].texcoord1Array, triangle.texCoords1.data());
    EXPECT_EQ(texCoordsSeen[1].texcoord0Buffer, 2u);
    EXPECT_EQ(texCoordsSeen[1].texcoord1Buffer, 2u);
}

TEST_F(SceneTest, TheSecondUnitGetsTheSecondSetOfAMeshWithTwo)
{
    AddTriangle(2);
    AddObject(kObjectModel, 1);
    Draw(0, 0);
    Draw(0, 1);
    ASSERT_EQ(texCoordsSeen.size(), 2u);
    EXPECT_EQ(texCoordsSeen[0].texcoord0Array, triangle.texCoords1.data());
    EXPECT_EQ(texCoordsSeen[0].texcoord1Array, triangle.texCoords2.data());
    EXPECT_EQ(texCoordsSeen[1].texcoord0Buffer, 2u);
    EXPECT_EQ(texCoordsSeen[1].texcoord1Buffer, 3u);
}

TEST_F(SceneTest, AGeneratedMeshGivesItsCoordinatesInClientMemoryEvenWithBuffers)
{
    GenMesh* genMesh = AddGenMesh();
    AddObject(kObjectGenMesh, 1);
    for (uint8_t sets : {1, 2})
    {
        genMesh->mesh = MakeMesh(&grid, sets);
        for (int32_t vbo : {0, 1})
        {
            texCoordsSeen.clear();
            Draw(0, vbo);
            ASSERT_EQ(texCoordsSeen.size(), 1u);
            EXPECT_EQ(texCoordsSeen[0].texcoord0Array, grid.texCoords1.data());
            EXPECT_EQ(texCoordsSeen[0].texcoord1Array,
                      sets == 2 ? grid.texCoords2.data() : grid.texCoords1.data());
            EXPECT_EQ(texCoordsSeen[0].vertexCount, 3u);
        }
    }
}

TEST_F(SceneTest, ADeformedMeshKeepsItsCoordinates)
{
    AddTriangle(2);
    AddManipulator(AddObject(kObjectModel, 1), kManipulatorRippler, {0, 0, 1});
    Draw(0, 0);
    Draw(0, 1);
    ASSERT_EQ(texCoordsSeen.size(), 2u);
    EXPECT_EQ(texCoordsSeen[0].texcoord0Array, triangle.texCoords1.data());
    EXPECT_EQ(texCoordsSeen[0].texcoord1Array, triangle.texCoords2.data());
    EXPECT_EQ(texCoordsSeen[1].texcoord0Buffer, 2u);
    EXPECT_EQ(texCoordsSeen[1].texcoord1Buffer, 3u);
    EXPECT_EQ(texCoordsSeen[1].vertexCount, 3u);
}

TEST_F(SceneTest, TheHeadingIsHandedOnUnchanged)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    for (float heading : {45.25f, -0.001953125f, 720.5f})
    {
        char expected[64];
        snprintf(expected, sizeof(expected), " dot3 1 heading %.9g\n",
                 static_cast<double>(heading));
        EXPECT_NE(Draw(0, 0, heading).find(expected), std::string::npos) << heading;
    }
}

TEST_F(SceneTest, TheMaterialGetsTheTablesInTheirOrder)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    Draw(0);
    EXPECT_EQ(materialTables,
              (std::vector<const ObjectTable*>{tables.materials, tables.lights, tables.textures,
                                               tables.envelopes, tables.effects, tables.bitmaps}));
}

TEST_F(SceneTest, AnObjectWithoutAVisibilityEnvelopeIsAlwaysDrawn)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    EXPECT_EQ(DrawnTimes(0), " 0");
    EXPECT_EQ(DrawnTimes(4000000000u), " 4000000000");
}

TEST_F(SceneTest, AValueBelowOneHidesAnObject)
{
    AddTriangle();
    // timeShift tells the objects apart.
    const float values[] = {0.999f, 1.0f, 0.0f, 2.0f, -1.0f, NAN};
    for (float value : values)
    {
        const uint32_t n = AddObject(kObjectModel, 1);
        scene->visibilityEnvelope[n] = AddLinearEnvelope(&tables, 0.0f, value);
        scene->timeShift[n] = static_cast<float>(n);
    }
    EXPECT_EQ(DrawnTimes(100), " 101 103 105"); // what is not a number shows as well
}

TEST_F(SceneTest, VisibilityIsTakenAtTheObjectsTime)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->visibilityEnvelope[n] = AddLinearEnvelope(&tables, 0.01f, 0.0f); // 1 from tick 100 on
    scene->timeShift[n] = 50.0f;
    EXPECT_EQ(DrawnTimes(49), "");
    EXPECT_EQ(DrawnTimes(50), " 100");
}

TEST_F(SceneTest, ATimeShiftIsAddedAndTruncated)
{
    AddTriangle();
    const struct
    {
        float shift;
        uint32_t time;
        const char* objectTime;
    } cases[] = {
        {20.75f, 100, " 120"},
        {-20.75f, 100, " 79"}, // 79.25
        {-100.5f, 100, " 0"},  // towards zero
        {-101.0f, 100, " 4294967295"},
        {-300.5f, 100, " 4294967096"}, // -200
        // The sum is a float: 16777217 loses its last bit, and so does a small shift.
        {0.0f, 16777217, " 16777216"},
        {1.0f, 33554432, " 33554432"},
    };
    const uint32_t n = AddObject(kObjectModel, 1);
    for (const auto& c : cases)
    {
        scene->timeShift[n] = c.shift;
        EXPECT_EQ(DrawnTimes(c.time), c.objectTime) << c.shift;
    }
}

TEST_F(SceneTest, PlacementValuesMoveWithTheObjectsTime)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->positionY.slot[n] = AddLinearEnvelope(&tables, 0.5f, 1.0f);
    SetMaskBit(scene->positionY.dynamicMask, n);
    scene->scaleZ.slot[n] = AddLinearEnvelope(&tables, -1.0f, 0.0f);
    SetMaskBit(scene->scaleZ.dynamicMask, n);
    scene->timeShift[n] = 4.0f;
    const std::string calls = Draw(6);
    EXPECT_NE(calls.find("Translatef 0 6 0\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("Scalef 1 1 -10\n"), std::string::npos) << calls;
}

TEST_F(SceneTest, EachPlacementValueMayMove)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddLinearEnvelope(&tables, 1.0f, 0.0f);
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
                                      "NormalPointer FLOAT 0 model.normals\n"
                                      "SetMaterial 5 at 7 vbo 0 pbo 0 dot3 1 heading 45\n";
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

TEST_F(SceneTest, AChainOfManipulatorsDrawsOneCopyForEachInstance)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorXMultiplier, {2, 10, 0, 0, 0, 0, 0, 0, 0, 0});
    AddManipulator(n, kManipulatorXyzMultiplier, {1, 2, 1, 0, 5, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + InstanceAt("0 5 0") +
                           InstanceAt("10 0 0") + InstanceAt("10 5 0") + kArraysOff);
}

TEST_F(SceneTest, AnEmptyListStillSetsTheMaterial)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorXMultiplier, {0, 10, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Draw(7), kSetArrays + kArraysOff);
}

TEST_F(SceneTest, TheNumberOfCopiesMovesWithTheObjectsTime)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXMultiplier, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->params[0] = AddLinearEnvelope(&tables, 0.5f, 0.0f);
    SetMaskBit(manipulator->dynamicMask, 0);
    scene->timeShift[n] = 3.0f;
    EXPECT_EQ(Draw(4), kSetArrays + InstanceAt("0 0 0") + InstanceAt("1 0 0") + // 3.5 copies
                           InstanceAt("2 0 0") + kArraysOff);
    scene->timeShift[n] = 0.0f;
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + InstanceAt("1 0 0") +
                           InstanceAt("2 0 0") + kArraysOff);
}

TEST_F(SceneTest, EveryParameterOfATypeIsResolved)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXyzMultiplier, {1, 1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->params[11] = AddLinearEnvelope(&tables, 1.0f, 0.0f); // "Scale Z step"
    SetMaskBit(manipulator->dynamicMask, 11);
    const std::string calls = Draw(7);
    EXPECT_NE(calls.find("Scalef 1 1 8\n"), std::string::npos) << calls;
}

TEST_F(SceneTest, ParametersBehindThoseOfTheTypeAreNotLookedAt)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorXMultiplier, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    manipulator->params[10] = 4000; // no such envelope
    SetMaskBit(manipulator->dynamicMask, 10);
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

TEST_F(SceneTest, AnUnknownManipulatorDrawsTheObjectAsItIs)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, 4, {9, 9, 9});
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

TEST_F(SceneTest, AModelPlacerWithoutAMeshDrawsTheObjectAsItIs)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1});
    AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1})->placementId = 44;
    EXPECT_EQ(Draw(7), kSetArrays + InstanceAt("0 0 0") + kArraysOff);
}

TEST_F(SceneTest, AGeneratedMeshToPlaceOnIsUpdatedAtTheObjectsTime)
{
    AddTriangle();
    GenMesh* genMesh = AddGenMesh();
    genMesh->params[0] = static_cast<int32_t>(AddLinearEnvelope(&tables, 1.0f, 0.0f));
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->timeShift[n] = 3.0f;
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1});
    manipulator->placementKind = 7; // anything but 0
    manipulator->placementId = 1;
    Draw(4);
    EXPECT_EQ(GetRecord<Envelope>(1, tables.envelopes)->lastTime, 7u);
}

TEST_F(SceneTest, OnlyAModelPlacerLooksForAMeshToPlaceOn)
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

TEST_F(SceneTest, DeformedArraysExistForOneObjectOnly)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    AddObject(kObjectModel, 1);
    EXPECT_EQ(Draw(7), "EnableClientState NORMAL_ARRAY\n"
                       "EnableClientState VERTEX_ARRAY\n"
                       "VertexPointer 3 FLOAT 0 ?\n"
                       "NormalPointer FLOAT 0 ?\n"
                       "SetMaterial 5 at 7 vbo 0 pbo 0 dot3 1 heading 45\n" +
                           kModelInstance + kArraysOff + kSetArrays + kModelInstance + kArraysOff);
    EXPECT_EQ(CurrentDeformedMesh.normals, nullptr);
}

TEST_F(SceneTest, ManipulatorsWorkOnTheObjectsOwnMesh)
{
    MeshArrays six = MakeMeshArrays(6);
    MeshArrays nine = MakeMeshArrays(9);
    AddTriangle();
    AddModel(&tables, &six, 1);
    AddGenMesh();
    AddGenMesh()->mesh = MakeMesh(&nine, 1);
    for (const auto& [kind, id] : {std::pair(kObjectModel, 2u), {kObjectGenMesh, 2u}})
    {
        AddManipulator(AddObject(kind, id), kManipulatorRippler, {0, 0, 1});
    }
    Draw(7);
    EXPECT_EQ(deformedVerticesSeen, (std::vector<std::vector<float>>{six.vertices, nine.vertices}));
}

TEST_F(SceneTest, ADeformedObjectWithoutInstancesIsReleased)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorRippler, {0, 0, 1});
    AddManipulator(n, kManipulatorXMultiplier, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    const std::string calls = Draw(7, 1); // which sees that nothing deformed is left
    EXPECT_EQ(deformedVerticesSeen, (std::vector<std::vector<float>>{triangle.vertices}));
    EXPECT_EQ(calls.find("DrawElements"), std::string::npos);
    EXPECT_EQ(GlLiveBuffers(), 5u); // the model's own
}

/// What a rippler does with the next two buffers.
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

TEST_F(SceneTest, ADeformedModelIsDrawnFromBuffersOfItsOwn)
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
                              "NormalPointer FLOAT 0 0\n"
                              "SetMaterial 5 at 7 vbo 1 pbo 0 dot3 1 heading 45\n"
                              "BindBufferARB ELEMENT_ARRAY_BUFFER 5\n" +
                              kInstanceAtOrigin +
                              "DrawElements TRIANGLES 3 UNSIGNED_INT 0\n"
                              "PopMatrix\n"
                              "DeleteBuffersARB 1 6\n"
                              "DeleteBuffersARB 1 7\n" +
                              kArraysOff + kBufferedModel);
    EXPECT_EQ(GlLiveBuffers(), 5u);
}

TEST_F(SceneTest, ADeformedGeneratedMeshIsDrawnFromClientMemoryEvenWithBuffers)
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
                              "NormalPointer FLOAT 0 ?\n"
                              "SetMaterial 5 at 7 vbo 0 pbo 0 dot3 1 heading 45\n" +
                              kInstanceAtOrigin +
                              "DrawElements TRIANGLES 3 UNSIGNED_INT grid.indices\n"
                              "PopMatrix\n"
                              "DeleteBuffersARB 1 1\n"
                              "DeleteBuffersARB 1 2\n" +
                              kArraysOff);
    EXPECT_EQ(GlLiveBuffers(), 0u);
}

TEST_F(SceneTest, AModelPlacerPlacesOnTheModelThatItNames)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    AddManipulator(n, kManipulatorModelPlacer, {0, 0, 5, 0, 0, 0, 2, 2, 2})->placementId = 1;
    const std::string calls = Draw(7);
    const size_t end = calls.find(kSetArrays); // behind the transformation of the vertices
    ASSERT_NE(end, std::string::npos);
    EXPECT_EQ(calls.substr(end), kSetArrays + InstanceAt("0 0 5") + InstanceAt("2 2 5") +
                                     InstanceAt("4 4 5") + kArraysOff);
}

// Faults.

TEST_F(SceneDeathTest, AMissingEnvelopeEndsTheProgram)
{
    AddTriangle();
    AddObject(kObjectModel, 1);
    const uint32_t n = AddObject(kObjectModel, 1);
    scene->visibilityEnvelope[n] = 3;
    EXPECT_EXIT(Draw(0), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 9 \\(scenes\\), item 1, object 2: envelope 3 does "
                "not exist\n$");

    scene->visibilityEnvelope[n] = 0;
    scene->rotationZ.slot[n] = 4;
    SetMaskBit(scene->rotationZ.dynamicMask, n);
    EXPECT_EXIT(Draw(0), testing::ExitedWithCode(1), "object 2: envelope 4 does not exist\n$");

    scene->rotationZ.dynamicMask[0] = 0;
    Manipulator* manipulator = AddManipulator(n, kManipulatorRippler, {0, 0, 0});
    manipulator->params[2] = 5;
    SetMaskBit(manipulator->dynamicMask, 2);
    EXPECT_EXIT(Draw(0), testing::ExitedWithCode(1), "object 2: envelope 5 does not exist\n$");
}

TEST_F(SceneDeathTest, VisibilityComesFirstThenPositionRotationScaleAndManipulators)
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
    EXPECT_EXIT(Draw(0), testing::ExitedWithCode(1), ": envelope 69 does not exist\n$");
    scene->visibilityEnvelope[n] = 0;
    scene->objectId[n] = 1;
    for (uint32_t i = 0; i < 9; ++i)
    {
        EXPECT_EXIT(Draw(0), testing::ExitedWithCode(1),
                    ": envelope " + std::to_string(70 + i) + " does not exist\n$");
        values[i]->dynamicMask[0] = 0;
    }
    EXPECT_EXIT(Draw(0), testing::ExitedWithCode(1), ": envelope 79 does not exist\n$");
}

TEST_F(SceneDeathTest, AMissingGeneratedMeshToPlaceOnEndsTheProgram)
{
    AddTriangle();
    const uint32_t n = AddObject(kObjectModel, 1);
    Manipulator* manipulator =
        AddManipulator(n, kManipulatorModelPlacer, {0, 0, 0, 0, 0, 0, 1, 1, 1});
    manipulator->placementKind = 1;
    manipulator->placementId = 44;
    EXPECT_EXIT(
        Draw(0), testing::ExitedWithCode(1),
        "^quorvale: demo.xmlz, section 9 \\(scenes\\), item 1, object 1: generated mesh 44, "
        "which a manipulator places on, does not exist\n$");
}
