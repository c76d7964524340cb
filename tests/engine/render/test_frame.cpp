// SPDX-License-Identifier: MIT
#include "engine/render/frame.h"

#include <gtest/gtest.h>
#include <string>

#include "engine/render/frame_test.h"
#include "support/scene_builder.h"

/// The camera's x of each clip that was set, in order, each after a space: what tells clips apart.
static std::string CamerasSeen(const std::string& calls)
{
    std::string seen;
    for (size_t at = calls.find("Translatef "); at != std::string::npos;
         at = calls.find("Translatef ", at + 1))
    {
        const size_t begin = at + sizeof("Translatef");
        seen += " " + calls.substr(begin, calls.find(' ', begin) - begin);
    }
    return seen;
}

// Clips and their times.

TEST_F(FrameTest, AFrameOfOneClipSetsWindowProjectionFogAndCamera)
{
    AddClip(timeline, 0, 0, 100, 1);
    EXPECT_EQ(Render(50), kWindow + kPlainClip + kFrameEnd);
    EXPECT_EQ(drawn, 1u);
}

TEST_F(FrameTest, ATimelineWhoseFirstRowIsEmptyDrawsNothing)
{
    AddClip(timeline, 1, 0, 100, 1);
    EXPECT_EQ(Render(50), "");
    EXPECT_EQ(drawn, 0u);
}

TEST_F(FrameTest, AMarkedSlotOfTheFirstRowDrawsNothing)
{
    AddClip(timeline, 0, 0, 200, 1);
    AddClip(timeline, 1, 0, 200, 1);
    timeline->slotIndex[0][1] = kEmptySlot;
    EXPECT_EQ(Render(150), "");
    EXPECT_EQ(drawn, 0u);
    EXPECT_EQ(Render(50), kWindow + kPlainClip + kWindow + kPlainClip + kFrameEnd);
    EXPECT_EQ(drawn, 2u);
}

TEST_F(FrameTest, AMarkedSlotOfAnotherRowSkipsThatRow)
{
    AddClip(timeline, 0, 0, 200, 1);
    AddClip(timeline, 1, 0, 200, 1);
    timeline->slotIndex[1][1] = kEmptySlot;
    EXPECT_EQ(Render(150), kWindow + kPlainClip + kFrameEnd);
    EXPECT_EQ(drawn, 1u);
}

TEST_F(FrameTest, RowsAreDrawnInTheirOrder)
{
    for (uint32_t row : {31u, 0u, 7u})
    {
        SetConstant(&timeline->cameraX, row, AddClip(timeline, row, 0, 100, 1),
                    static_cast<float>(row));
    }
    EXPECT_EQ(CamerasSeen(Render(50)), " 0 7 31");
    EXPECT_EQ(drawn, 3u);
}

TEST_F(FrameTest, TheEndTickOfAClipBelongsToIt)
{
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 150, 1), 1.0f);
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 150, 1), 2.0f);
    EXPECT_EQ(CamerasSeen(Render(149)), " 1");
    EXPECT_EQ(CamerasSeen(Render(150)), " 1");
    EXPECT_EQ(CamerasSeen(Render(151)), " 2");
    EXPECT_EQ(CamerasSeen(Render(300)), " 2");
    EXPECT_EQ(drawn, 1u);
    EXPECT_EQ(Render(301), kFrameEnd);
    EXPECT_EQ(drawn, 0u);
}

TEST_F(FrameTest, AClipFromASecondOnTakesTheEndTickBeforeIt)
{
    // The search of that second begins at the later clip.
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 100, 1), 1.0f);
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 100, 1), 2.0f);
    EXPECT_EQ(CamerasSeen(Render(99)), " 1");
    EXPECT_EQ(CamerasSeen(Render(100)), " 2");
}

TEST_F(FrameTest, AGapDrawsNothingAndTouchesNoState)
{
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 50, 100, 1), 1.0f);
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 30, 100, 1), 2.0f);
    EXPECT_EQ(Render(0), kFrameEnd);
    EXPECT_EQ(Render(49), kFrameEnd);
    EXPECT_EQ(drawn, 0u);
    EXPECT_EQ(CamerasSeen(Render(50)), " 1");
    EXPECT_EQ(CamerasSeen(Render(150)), " 1");
    EXPECT_EQ(Render(151), kFrameEnd); // 150 + 30 is the next clip's first tick
    EXPECT_EQ(Render(179), kFrameEnd);
    EXPECT_EQ(CamerasSeen(Render(180)), " 2");
}

TEST_F(FrameTest, AFrameInWhichEveryRowRestsCountsNothing)
{
    AddClip(timeline, 0, 0, 100, 1);  // past its end
    AddClip(timeline, 1, 90, 200, 1); // drawn up to 290
    AddClip(timeline, 1, 50, 100, 1); // in the gap before it
    AddClip(timeline, 2, 0, 400, 0);  // without a scene
    EXPECT_EQ(Render(300), kWindow + kPlainClip + kFrameEnd);
    EXPECT_EQ(drawn, 0u);
    Render(290);
    EXPECT_EQ(drawn, 1u);
}

TEST_F(FrameTest, AClipWithoutASceneSetsItsStateAllTheSame)
{
    timeline->passKind[0][AddClip(timeline, 0, 0, 100, 0)] = kPassClearDepth;
    EXPECT_EQ(Render(50), kWindow + "Clear DEPTH_BUFFER_BIT\n" + kPlainClip + kFrameEnd);
    EXPECT_EQ(drawn, 0u);
}

TEST_F(FrameTest, AfterADroppedClipTheNextMeasuresFromTickZero)
{
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 110, 1), 1.0f);
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 50, 1), 2.0f);
    const uint32_t third = AddClip(timeline, 0, 0, 140, 1); // 160 to 300
    timeline->cameraX.slot[0][third] = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    timeline->cameraX.dynamic[0][third] = 1;
    EXPECT_EQ(timeline->clipEnd[0][1], 0u);
    EXPECT_EQ(CamerasSeen(Render(110)), " 1");
    EXPECT_EQ(CamerasSeen(Render(130)), " 130"); // in the dropped clip's time, from 0 on
    EXPECT_EQ(CamerasSeen(Render(200)), " 200");
    EXPECT_EQ(CamerasSeen(Render(300)), " 300");
}

TEST_F(FrameTest, TheLastSlotServesAllTimesPastTheBlock)
{
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 102250, 1), 1.0f);
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 100, 1), 2.0f);  // to 102350
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 1000, 1), 3.0f); // to 103350
    SetConstant(&timeline->cameraX, 0, AddClip(timeline, 0, 0, 1000, 1), 4.0f); // to 104350
    EXPECT_EQ(CamerasSeen(Render(102300)), " 2");
    EXPECT_EQ(CamerasSeen(Render(102399)), " 3");
    EXPECT_EQ(CamerasSeen(Render(102400)), " 3");
    EXPECT_EQ(CamerasSeen(Render(103350)), " 3");
    EXPECT_EQ(CamerasSeen(Render(103351)), " 4");
    EXPECT_EQ(CamerasSeen(Render(104350)), " 4");
    EXPECT_EQ(Render(104351), kFrameEnd);
    EXPECT_EQ(Render(4294967295u), kFrameEnd);
}

// Passes; those to a texture have a test file of their own.

TEST_F(FrameTest, OnlyAClearingPassClearsTheDepth)
{
    AddClip(timeline, 0, 0, 100, 1);
    timeline->passKind[1][AddClip(timeline, 1, 0, 100, 1)] = kPassClearDepth;
    EXPECT_EQ(Render(50),
              kWindow + kPlainClip + kWindow + "Clear DEPTH_BUFFER_BIT\n" + kPlainClip + kFrameEnd);
}

TEST_F(FrameTest, LinkedAndUnknownPassesLeaveTheViewportAsItIs)
{
    for (int32_t kind : {2, 6, -1, 1000})
    {
        ClearTimeline();
        timeline->passKind[0][AddClip(timeline, 0, 0, 100, 1)] = kind;
        EXPECT_EQ(Render(50), kPlainClip + kFrameEnd) << kind;
        EXPECT_EQ(drawn, 1u);
    }
}

// Projection.

TEST_F(FrameTest, AnOrthographicClipIsAUnitSquareWithoutDepth)
{
    timeline->projectionKind[0][AddClip(timeline, 0, 0, 100, 1)] = kProjectionOrthographic;
    EXPECT_EQ(Render(50), kWindow +
                              "Disable DEPTH_TEST\n"
                              "MatrixMode PROJECTION\n"
                              "LoadIdentity\n"
                              "Ortho 0 1 1 0 -1 1\n" +
                              kNoFog + kCameraAtOrigin + kFrameEnd);
}

TEST_F(FrameTest, AFieldOfViewMayMove)
{
    const uint32_t clip = AddClip(timeline, 0, 0, 1000, 1);
    timeline->projectionKind[0][clip] = kProjectionAnimatedFov;
    timeline->fov[0][clip] = AddLinearEnvelope(&piece, 0.5f, 35.0f);
    const std::string head = kWindow + "Enable DEPTH_TEST\n"
                                       "MatrixMode PROJECTION\n"
                                       "LoadIdentity\n";
    EXPECT_EQ(Render(50), head +
                              "LoadMatrixf 1.7320507 0 0 0 0 1.7320507 0 0 0 0 -1.0001999 -1 0 0 "
                              "-0.20002 0\n" +
                              kNoFog + kCameraAtOrigin + kFrameEnd); // 60 degrees
    EXPECT_EQ(Render(110), kWindow + kPlainClip + kFrameEnd);        // 90
}

TEST_F(FrameTest, AFieldOfViewMovesWithTheClipsOwnTimeAndItsOffset)
{
    const uint32_t clip = AddClip(timeline, 0, 30, 500, 1);
    timeline->offset[0][clip] = 1000;
    timeline->projectionKind[0][clip] = kProjectionAnimatedFov;
    timeline->fov[0][clip] = AddLinearEnvelope(&piece, 0.0625f, 24.375f);
    EXPECT_EQ(Render(80), kWindow + kPlainClip + kFrameEnd); // 90 degrees at 1050
    EXPECT_EQ(EnvelopeTime(&piece, 1), 1050u);
}

TEST_F(FrameTest, TheAspectIsTheCallers)
{
    AddClip(timeline, 0, 0, 100, 1);
    RenderPlain({1.3333334f, 50, 640, 480});
    EXPECT_NE(TakeGlCalls().find("LoadMatrixf 0.75 0 0 0 0 1 "), std::string::npos);
}

// Camera and time.

TEST_F(FrameTest, TheCameraTurnsAboutZXAndYBeforeItMoves)
{
    const uint32_t clip = AddClip(timeline, 0, 0, 100, 1);
    SetConstant(&timeline->cameraX, 0, clip, 1.0f);
    SetConstant(&timeline->cameraY, 0, clip, 2.0f);
    SetConstant(&timeline->cameraZ, 0, clip, 3.0f);
    SetConstant(&timeline->cameraRotX, 0, clip, 10.0f);
    SetConstant(&timeline->cameraRotY, 0, clip, 20.0f);
    SetConstant(&timeline->cameraRotZ, 0, clip, 30.0f);
    EXPECT_EQ(Render(50), kWindow + kPerspective + kNoFog +
                              "MatrixMode MODELVIEW\n"
                              "LoadIdentity\n"
                              "Rotatef 30 0 0 1\n"
                              "Rotatef 10 1 0 0\n"
                              "Rotatef 20 0 1 0\n"
                              "Translatef 1 2 3\n" +
                              kFrameEnd);
}

TEST_F(FrameTest, CameraValuesMoveWithTheClipsOwnTimeAndItsOffset)
{
    AddClip(timeline, 0, 0, 150, 1);
    const uint32_t clip = AddClip(timeline, 0, 30, 500, 1);
    timeline->offset[0][clip] = 1000;
    const uint32_t envelope = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    for (ClipValues* values : {&timeline->cameraX, &timeline->cameraY, &timeline->cameraZ,
                               &timeline->cameraRotX, &timeline->cameraRotY, &timeline->cameraRotZ})
    {
        SetEnvelope(values, 0, clip, envelope);
    }
    // The clip begins at 150 + 30.
    const auto expected = [](const std::string& value)
    {
        return kWindow + kPerspective + kNoFog + "MatrixMode MODELVIEW\nLoadIdentity\nRotatef " +
               value + " 0 0 1\nRotatef " + value + " 1 0 0\nRotatef " + value +
               " 0 1 0\nTranslatef " + value + " " + value + " " + value + "\n" + kFrameEnd;
    };
    EXPECT_EQ(Render(180), expected("1000"));
    EXPECT_EQ(Render(250), expected("1070"));
}

TEST_F(FrameTest, AnOffsetMayRunBackwards)
{
    const uint32_t clip = AddClip(timeline, 0, 0, 500, 1);
    timeline->offset[0][clip] = static_cast<uint32_t>(-100);
    SetEnvelope(&timeline->cameraX, 0, clip, AddLinearEnvelope(&piece, 1.0f, 0.0f));
    EXPECT_EQ(CamerasSeen(Render(250)), " 150");
    // Before the offset the time wraps.
    EXPECT_EQ(CamerasSeen(Render(50)), " 4294967296");
}

// Fog.

class FogTest : public FrameTest
{
  protected:
    void SetUp() override
    {
        FrameTest::SetUp();
        AddClip(timeline, 0, 0, 1000, 1);
        timeline->fogMode[0][0] = 1;
        SetConstant(&timeline->fogDensity, 0, 0, 0.25f);
        SetConstant(&timeline->fogStart, 0, 0, 10.0f);
        SetConstant(&timeline->fogEnd, 0, 0, 200.0f);
    }

    /// A material with the constants 0.1, 0.2, 0.3 and 0.4.
    Material* AddMaterial(uint32_t type)
    {
        Material* material = AddRecord<Material>(piece.document.materials);
        material->type = type;
        const float values[] = {0.1f, 0.2f, 0.3f, 0.4f};
        for (uint32_t i = 0; i < 4; ++i)
        {
            material->params[i] = FloatSlot(values[i]);
        }
        timeline->fogColorMaterial[0][0] = piece.document.materials->count;
        return material;
    }

    static std::string FrameWithFog(const std::string& color, const std::string& values)
    {
        return kWindow + kPerspective +
               "Enable FOG\n"
               "Fogi FOG_MODE LINEAR\n"
               "Hint FOG_HINT DONT_CARE\n"
               "Fogfv FOG_COLOR " +
               color + "\n" + values + kCameraAtOrigin + kFrameEnd;
    }
};

static const std::string kFogConstants = "Fogf FOG_DENSITY 0.25\n"
                                         "Fogf FOG_START 10\n"
                                         "Fogf FOG_END 200\n";

TEST_F(FogTest, FogWithoutAMaterialIsWhite)
{
    EXPECT_EQ(Render(50), FrameWithFog("1 1 1 1", kFogConstants));
}

TEST_F(FogTest, FogTakesTheColorOfAPlainMaterial)
{
    AddMaterial(0);
    EXPECT_EQ(Render(50), FrameWithFog("0.1 0.2 0.3 0.4", kFogConstants));
}

TEST_F(FogTest, FogOfAnyOtherMaterialIsWhite)
{
    for (uint32_t type : {1u, 23u, 99u})
    {
        AddMaterial(type);
        EXPECT_EQ(Render(50), FrameWithFog("1 1 1 1", kFogConstants)) << type;
    }
}

TEST_F(FogTest, EachChannelOfTheColorHasItsOwnBit)
{
    const struct
    {
        uint8_t bit;
        const char* color;
    } cases[] = {
        {0x80, "0.5 0.2 0.3 0.4"},
        {0x40, "0.1 0.5 0.3 0.4"},
        {0x20, "0.1 0.2 0.5 0.4"},
        {0x10, "0.1 0.2 0.3 0.5"},
    };
    const uint32_t envelope = AddLinearEnvelope(&piece, 0.01f, 0.0f);
    for (uint32_t i = 0; i < 4; ++i)
    {
        Material* material = AddMaterial(0);
        material->params[i] = envelope;
        material->dynamicMask[0] = cases[i].bit;
        EXPECT_EQ(Render(50), FrameWithFog(cases[i].color, kFogConstants)) << i;
    }
}

TEST_F(FogTest, FogMovesWithTheClipsTime)
{
    timeline->offset[0][0] = 100;
    SetEnvelope(&timeline->fogDensity, 0, 0, AddLinearEnvelope(&piece, 1.0f, 0.0f));
    SetEnvelope(&timeline->fogStart, 0, 0, AddLinearEnvelope(&piece, 2.0f, 0.0f));
    SetEnvelope(&timeline->fogEnd, 0, 0, AddLinearEnvelope(&piece, 4.0f, 0.0f));
    Material* material = AddMaterial(0);
    material->params[3] = AddLinearEnvelope(&piece, 0.0f, 0.75f);
    material->dynamicMask[0] = 0x10;
    EXPECT_EQ(Render(50), FrameWithFog("0.1 0.2 0.3 0.75", "Fogf FOG_DENSITY 150\n"
                                                           "Fogf FOG_START 300\n"
                                                           "Fogf FOG_END 600\n"));
    EXPECT_EQ(EnvelopeTime(&piece, 4), 150u);
}

TEST_F(FogTest, FogIsOnForEveryModeAboveZero)
{
    timeline->fogMode[0][0] = 127;
    EXPECT_EQ(Render(50), FrameWithFog("1 1 1 1", kFogConstants));
    const std::string withoutFog = kWindow + kPlainClip + kFrameEnd;
    for (int8_t mode : {0, -1, -128})
    {
        timeline->fogMode[0][0] = mode;
        EXPECT_EQ(Render(50), withoutFog) << +mode;
    }
}

// Scenes.

/// Adds a material whose reflection, of bitmap 1, turns with the camera and whose red is the time.
/// @return its id
static uint32_t AddReflection(TestPiece* piece)
{
    Material* material = AddRecord<Material>(piece->document.materials);
    material->type = 11;
    material->refs[0] = 1;
    material->params[0] = AddLinearEnvelope(piece, 1.0f, 0.0f);
    material->dynamicMask[0] = 0x80;
    material->params[4] = FloatSlot(1.0f);
    return piece->document.materials->count;
}

TEST_F(FrameTest, AnObjectIsDrawnAfterProjectionFogAndCamera)
{
    MeshArrays triangle = MakeMeshArrays(3);
    NameMeshArrays(triangle, "model");
    AddModel(&piece, &triangle, 1);
    const uint32_t n = AddObject(GetScene(2), kObjectModel, 1, 0);
    GetScene(2)->positionX.slot[n] = FloatSlot(5.0f);
    const uint32_t clip = AddClip(timeline, 0, 0, 100, 2);
    SetConstant(&timeline->cameraZ, 0, clip, -9.0f);
    SetConstant(&timeline->cameraRotY, 0, clip, 45.25f);
    EXPECT_EQ(Render(50), kWindow + kPerspective + kNoFog +
                              "MatrixMode MODELVIEW\n"
                              "LoadIdentity\n"
                              "Rotatef 0 0 0 1\n"
                              "Rotatef 0 1 0 0\n"
                              "Rotatef 45.25 0 1 0\n"
                              "Translatef 0 0 -9\n"
                              "EnableClientState NORMAL_ARRAY\n"
                              "EnableClientState VERTEX_ARRAY\n"
                              "VertexPointer 3 FLOAT 0 model.vertices\n"
                              "NormalPointer FLOAT 0 model.normals\n"
                              "PushMatrix\n"
                              "Translatef 5 0 0\n"
                              "Rotatef 0 1 0 0\n"
                              "Rotatef 0 0 1 0\n"
                              "Rotatef 0 0 0 1\n"
                              "Scalef 1 1 1\n"
                              "DrawElements TRIANGLES 3 UNSIGNED_INT model.indices\n"
                              "PopMatrix\n"
                              "DisableClientState NORMAL_ARRAY\n"
                              "DisableClientState VERTEX_ARRAY\n" +
                              kFrameEnd);
    EXPECT_EQ(drawn, 1u);
}

TEST_F(FrameTest, EachFeatureReachesItsPlace)
{
    MeshArrays triangle = MakeMeshArrays(3);
    AddModel(&piece, &triangle, 1);
    Effect2D effect = {"", kEffectPlasma, 64, 64, 8, {}};
    uint32_t glTexture;
    glGenTextures(1, &glTexture);
    glBindTexture(GL_TEXTURE_2D, glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, 1, 64, 64, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, nullptr);
    uint32_t pixelBuffer;
    glGenBuffers(1, &pixelBuffer);
    AddEffect(&piece, effect, glTexture, pixelBuffer);
    AddRecord<Material>(piece.document.materials)->type = 14;
    Material* material = AddRecord<Material>(piece.document.materials);
    material->type = 6;
    material->effectRefs[0] = 1;
    AddObject(GetScene(2), kObjectModel, 1, 1);
    AddObject(GetScene(2), kObjectModel, 1, 2);
    SetTarget(0, AddClip(timeline, 0, 0, 100, 2), kPassTextureQuarter, AddBitmap(32, 32));
    for (int32_t flags = 0; flags < 16; ++flags)
    {
        const int32_t vbo = flags & 1;
        const int32_t pbo = flags >> 1 & 1;
        const int32_t npot = flags >> 2 & 1;
        const int32_t dot3 = flags >> 3;
        piece.features = {vbo, pbo, npot, dot3};
        piece.state.demo.effects[0].lastUpdate = kEffectNeverUpdated;
        RenderPlain({1.0f, 50, 640, 480});
        const std::string calls = TakeGlCalls();
        EXPECT_EQ(calls.find("BindBufferARB ARRAY_BUFFER 1\n") != std::string::npos, vbo != 0);
        EXPECT_EQ(calls.find("MapBuffer PIXEL_UNPACK_BUFFER") != std::string::npos, pbo != 0);
        EXPECT_EQ(calls.find("Viewport 0 0 320 240\n") != std::string::npos, npot != 0);
        EXPECT_EQ(calls.find("Viewport 0 0 256 128\n") != std::string::npos, npot == 0);
        EXPECT_EQ(calls.find("BlendFunc ONE ONE\n") != std::string::npos, dot3 != 0);
        // In a run buffer objects are in use or they are not.
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
        TakeGlCalls();
    }
}

TEST_F(FrameTest, AnObjectGetsTheClipsTimeAndHeading)
{
    MeshArrays triangle = MakeMeshArrays(3);
    AddStillGenMesh(&piece, MakeMesh(&triangle, 1));
    AddBitmap(4, 4);
    AddObject(GetScene(2), kObjectGenMesh, 1, AddReflection(&piece));

    const uint32_t clip = AddClip(timeline, 0, 20, 100, 2);
    timeline->offset[0][clip] = 300;
    SetConstant(&timeline->cameraRotX, 0, clip, 1.0f);
    SetConstant(&timeline->cameraRotY, 0, clip, 45.0f);
    SetConstant(&timeline->cameraRotZ, 0, clip, 3.0f);
    piece.features = {1, 1, 0, 1};
    RenderPlain({1.0f, 50, 640, 480});
    const std::string calls = TakeGlCalls();
    EXPECT_EQ(drawn, 1u);
    // Buffers are in use, but not for a generated mesh.
    EXPECT_NE(calls.find("\nBindBufferARB ARRAY_BUFFER 0\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("\nColor4f 330 0 0 0\n"), std::string::npos) << calls;
    EXPECT_NE(calls.find("\nRotatef -45 0 0 1\nTranslatef -0.5 -0.5 0\n"), std::string::npos)
        << calls;
}

TEST_F(FrameTest, TheSameSceneCountsEachTimeThatItIsDrawn)
{
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        AddClip(timeline, row, 0, 100, 1 + row % 3);
    }
    Render(50);
    EXPECT_EQ(drawn, 32u);
}

TEST_F(FrameTest, AFrameLeavesTheCallersPlaceAlone)
{
    AddClip(timeline, 0, 0, 100, 1);
    piece.faults.place = {"loading.xmlz", Section::kEnvelopes, 14, 15, 16, 17};
    Render(50);
    EXPECT_STREQ(piece.faults.place.document, "loading.xmlz");
    EXPECT_EQ(piece.faults.place.section, Section::kEnvelopes);
    EXPECT_EQ(piece.faults.place.item, 14u);
    EXPECT_EQ(piece.faults.place.part, 15u);
    EXPECT_EQ(piece.faults.place.line, 16);
    EXPECT_EQ(piece.faults.place.column, 17);
}

// Faults. After one OpenGL is called no more.

/// Clip 2 of row 3 is at fault, after a clip of row 1 without a scene.
class FaultyClipTest : public FrameTest
{
  protected:
    void SetUp() override
    {
        FrameTest::SetUp();
        AddClip(timeline, 0, 0, 500, 0);
        AddClip(timeline, 2, 0, 150, 0);
        AddClip(timeline, 2, 0, 150, 0);
    }

    /// @return the calls of the faulty clip alone
    std::string CallsOfClip(const std::string& words)
    {
        const std::string calls = RenderToFault(200, "section 10 (timeline), row 3, clip 2", words);
        const std::string before = kWindow + kPlainClip;
        EXPECT_EQ(calls.substr(0, before.size()), before);
        return calls.substr(before.size());
    }
};

static const std::string kFogBegins = "Enable FOG\n"
                                      "Fogi FOG_MODE LINEAR\n"
                                      "Hint FOG_HINT DONT_CARE\n";

TEST_F(FaultyClipTest, ASceneWithoutARecordIsAFault)
{
    for (uint32_t id : {4u, 4097u, 4294967295u})
    {
        timeline->sceneId[2][1] = id;
        EXPECT_EQ(
            CallsOfClip("scene " + std::to_string(static_cast<int32_t>(id)) + " does not exist"),
            kWindow + kPlainClip);
    }
}

TEST_F(FaultyClipTest, AnEnvelopeWithoutARecordIsAFault)
{
    SetEnvelope(&timeline->cameraRotZ, 2, 1, 9);
    EXPECT_EQ(CallsOfClip("envelope 9 does not exist"), kWindow);
    SetConstant(&timeline->cameraRotZ, 2, 1, 0.0f);

    timeline->projectionKind[2][1] = kProjectionAnimatedFov;
    timeline->fov[2][1] = 8;
    EXPECT_EQ(CallsOfClip("envelope 8 does not exist"), kWindow + "Enable DEPTH_TEST\n");
    timeline->projectionKind[2][1] = kProjectionPerspective;
    timeline->fov[2][1] = FloatSlot(90.0f);

    timeline->fogMode[2][1] = 1;
    SetEnvelope(&timeline->fogEnd, 2, 1, 7);
    EXPECT_EQ(CallsOfClip("envelope 7 does not exist"), kWindow + kPerspective + kFogBegins +
                                                            "Fogfv FOG_COLOR 1 1 1 1\n"
                                                            "Fogf FOG_DENSITY 0\n"
                                                            "Fogf FOG_START 0\n");
}

TEST_F(FaultyClipTest, AFogMaterialWithoutARecordIsAFault)
{
    timeline->fogMode[2][1] = 1;
    timeline->fogColorMaterial[2][1] = 6;
    EXPECT_EQ(CallsOfClip("material 6, the colour of the fog, does not exist"),
              kWindow + kPerspective + kFogBegins);
}

TEST_F(FaultyClipTest, AFogColorWithoutAnEnvelopeIsAFault)
{
    Material* material = AddRecord<Material>(piece.document.materials);
    material->params[2] = 5;
    material->dynamicMask[0] = 0x20;
    timeline->fogMode[2][1] = 1;
    timeline->fogColorMaterial[2][1] = 1;
    EXPECT_EQ(CallsOfClip("envelope 5 does not exist"), kWindow + kPerspective + kFogBegins);
    material->type = 1; // then it is white, whatever the parameters are
    Render(200);
}

TEST_F(FaultyClipTest, TheCameraIsResolvedFirstThenFieldOfViewAndFog)
{
    Material* material = AddRecord<Material>(piece.document.materials);
    ClipValues* camera[] = {&timeline->cameraX,    &timeline->cameraY,    &timeline->cameraZ,
                            &timeline->cameraRotX, &timeline->cameraRotY, &timeline->cameraRotZ};
    ClipValues* fog[] = {&timeline->fogDensity, &timeline->fogStart, &timeline->fogEnd};
    for (uint32_t i = 0; i < 6; ++i)
    {
        SetEnvelope(camera[i], 2, 1, 70 + i);
    }
    timeline->projectionKind[2][1] = kProjectionAnimatedFov;
    timeline->fov[2][1] = 76;
    timeline->fogMode[2][1] = 1;
    timeline->fogColorMaterial[2][1] = 1;
    material->dynamicMask[0] = 0xF0;
    for (uint32_t i = 0; i < 4; ++i)
    {
        material->params[i] = 77 + i;
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        SetEnvelope(fog[i], 2, 1, 81 + i);
    }

    const auto expectFault = [this](uint32_t envelope)
    {
        CallsOfClip("envelope " + std::to_string(envelope) + " does not exist");
    };
    for (uint32_t i = 0; i < 6; ++i)
    {
        expectFault(70 + i);
        SetConstant(camera[i], 2, 1, 0.0f);
    }
    expectFault(76);
    timeline->projectionKind[2][1] = kProjectionOrthographic;
    for (uint32_t i = 0; i < 4; ++i)
    {
        expectFault(77 + i);
        material->dynamicMask[0] = static_cast<uint8_t>(0x7F >> i);
    }
    for (uint32_t i = 0; i < 3; ++i)
    {
        expectFault(81 + i);
        SetConstant(fog[i], 2, 1, 0.0f);
    }
    Render(200);
}

TEST_F(FaultyClipTest, AFaultInASceneNamesTheSceneAndItsObject)
{
    timeline->sceneId[2][1] = 3;
    Scene* scene = GetScene(3);
    scene->objectCount = 6;
    for (uint32_t n = 0; n < 6; ++n)
    {
        scene->objectKind[n] = 2; // draws nothing
    }
    scene->visibilityEnvelope[5] = 12;
    EXPECT_EQ(
        RenderToFault(200, "section 9 (scenes), item 3, object 6", "envelope 12 does not exist"),
        kWindow + kPlainClip + kWindow + kPlainClip);
}

TEST_F(FaultyClipTest, RowsAfterAFaultAreNotLookedAt)
{
    AddClip(timeline, 3, 0, 500, 1);
    timeline->sceneId[2][1] = 4;
    EXPECT_EQ(CallsOfClip("scene 4 does not exist"), kWindow + kPlainClip);
}

TEST_F(FaultyClipTest, AfterAFaultThePlaceIsTheCallersAgain)
{
    timeline->sceneId[2][1] = 4;
    piece.faults.place = PlaceAt("loading.xmlz", Section::kMaterials, 2, 3);
    CallsOfClip("scene 4 does not exist");
    EXPECT_STREQ(piece.faults.place.document, "loading.xmlz");
    EXPECT_EQ(piece.faults.place.section, Section::kMaterials);
    EXPECT_EQ(piece.faults.place.item, 2u);
    EXPECT_EQ(piece.faults.place.part, 3u);
}
