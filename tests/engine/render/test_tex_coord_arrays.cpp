// SPDX-License-Identifier: MIT
#include "engine/render/tex_coord_arrays.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "engine/render/draw_scene.h"
#include "support/gl_state.h"
#include "support/recorded_gl.h"
#include "support/scene_builder.h"

/// Scenes of two models, 1 of three vertices and 2 of six, in materials of the real recipes.
class TexCoordArraysTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartTestPiece(&piece);
        piece.features.dot3 = 1;
        scene = AddRecord<Scene>(piece.document.scenes);
        NameMeshArrays(small, "small");
        NameMeshArrays(large, "large");
        AddModel(&piece, &small, 2);
        AddModel(&piece, &large, 2);
        for (uint32_t glTexture : {21u, 22u})
        {
            AddBitmap(&piece, {glTexture, 4, 4, 3});
        }
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
    }

    /// @return its id
    uint32_t AddMaterial(uint32_t type, uint32_t ref0 = 0, uint32_t ref1 = 0, uint32_t ref2 = 0)
    {
        Material* material = AddRecord<Material>(piece.document.materials);
        material->type = type;
        material->refs[0] = ref0;
        material->refs[1] = ref1;
        material->refs[2] = ref2;
        return piece.document.materials->count;
    }

    /// A material of one of the recipes that turn both arrays on: 8, 14 and 22.
    uint32_t AddPair(uint32_t type)
    {
        return type == 14 ? AddMaterial(14, 0, 1, 2) : AddMaterial(type, 1, 2);
    }

    std::string Draw(int32_t vbo)
    {
        piece.features.vbo = vbo;
        const FrameSources sources = TestSources(&piece);
        const SceneRequest request = {0, 0.0f};
        EXPECT_TRUE(DrawSceneObjects(scene, &sources, &request));
        EXPECT_EQ(GlRefusedCalls(), 0u);
        return TakeGlCalls();
    }

    /// The state at each draw call of a scene, and after them the state at its end.
    std::vector<GlState> StatesAtDraws(int32_t vbo)
    {
        std::vector<GlState> states;
        GlState state;
        std::istringstream calls(Draw(vbo));
        for (std::string call; std::getline(calls, call);)
        {
            ApplyGlCalls(call + "\n", &state);
            if (call.rfind("DrawElements", 0) == 0)
            {
                states.push_back(state);
            }
        }
        states.push_back(state);
        return states;
    }

    TestPiece piece = {};
    Scene* scene = nullptr;
    MeshArrays small = MakeMeshArrays(3);
    MeshArrays large = MakeMeshArrays(6);
};

static const std::string kArray0 = "client0 TEXTURE_COORD_ARRAY";
static const std::string kArray1 = "client1 TEXTURE_COORD_ARRAY";

TEST_F(TexCoordArraysTest, AfterASmallerObjectNoForeignMemoryIsRead)
{
    AddObject(scene, kObjectModel, 1, AddMaterial(7, 1));
    AddObject(scene, kObjectModel, 2, 0);
    const std::string calls = Draw(0);
    const size_t second = calls.rfind("EnableClientState NORMAL_ARRAY\n");
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(calls.substr(second), "EnableClientState NORMAL_ARRAY\n"
                                    "EnableClientState VERTEX_ARRAY\n"
                                    "VertexPointer 3 FLOAT 0 large.vertices\n"
                                    "NormalPointer FLOAT 0 large.normals\n"
                                    "ClientActiveTextureARB TEXTURE0\n"
                                    "DisableClientState TEXTURE_COORD_ARRAY\n"
                                    "ClientActiveTextureARB TEXTURE0\n"
                                    "PushMatrix\n"
                                    "Translatef 0 0 0\n"
                                    "Rotatef 0 1 0 0\n"
                                    "Rotatef 0 0 1 0\n"
                                    "Rotatef 0 0 0 1\n"
                                    "Scalef 1 1 1\n"
                                    "DrawElements TRIANGLES 6 UNSIGNED_INT large.indices\n"
                                    "PopMatrix\n"
                                    "ClientActiveTextureARB TEXTURE0\n"
                                    "EnableClientState TEXTURE_COORD_ARRAY\n"
                                    "ClientActiveTextureARB TEXTURE0\n"
                                    "DisableClientState NORMAL_ARRAY\n"
                                    "DisableClientState VERTEX_ARRAY\n");
}

TEST_F(TexCoordArraysTest, NoRecipeReadsCoordinatesOfASmallerObject)
{
    const uint32_t materials[] = {0, AddMaterial(24), AddMaterial(7), AddMaterial(4)};
    AddObject(scene, kObjectModel, 1, AddMaterial(7, 1));
    AddObject(scene, kObjectModel, 2, 0);
    for (int32_t vbo : {0, 1})
    {
        for (uint32_t material : materials)
        {
            scene->materialId[1] = material;
            const std::vector<GlState> states = StatesAtDraws(vbo);
            ASSERT_EQ(states.size(), 3u);
            EXPECT_EQ(GlValue(states[0], kArray0), "on");
            EXPECT_EQ(GlValue(states[1], kArray0), "off") << material;
            EXPECT_EQ(GlValue(states[2], kArray0), "on") << material;
        }
    }
}

TEST_F(TexCoordArraysTest, LitColorAfterTwoBitmapsReadsNoForeignMemory)
{
    AddObject(scene, kObjectModel, 1, 0);
    AddObject(scene, kObjectModel, 2, AddMaterial(1));
    for (int32_t vbo : {0, 1})
    {
        for (uint32_t type : {8u, 14u, 22u})
        {
            scene->materialId[0] = AddPair(type);
            const std::vector<GlState> states = StatesAtDraws(vbo);
            ASSERT_EQ(states.size(), 3u);
            EXPECT_EQ(GlValue(states[0], kArray1), "on") << type;
            EXPECT_EQ(GlValue(states[1], kArray0), "off") << type;
            EXPECT_EQ(GlValue(states[1], kArray1), "off") << type;
            EXPECT_EQ(GlValue(states[2], kArray0), "off") << type;
            EXPECT_EQ(GlValue(states[2], kArray1), "on") << type; // which lit color leaves alone
            EXPECT_EQ(GlValue(states[2], "unit"), "0");
            EXPECT_EQ(GlValue(states[2], "client unit"), "0");
        }
    }
}

TEST_F(TexCoordArraysTest, BothArraysAreHiddenAndTheSelectedUnitStays)
{
    AddObject(scene, kObjectModel, 1, AddPair(8));
    AddObject(scene, kObjectModel, 2, 0);
    for (int32_t vbo : {0, 1})
    {
        const std::vector<GlState> states = StatesAtDraws(vbo);
        ASSERT_EQ(states.size(), 3u);
        EXPECT_EQ(GlValue(states[1], kArray0), "off");
        EXPECT_EQ(GlValue(states[1], kArray1), "off");
        EXPECT_EQ(GlValue(states[1], "client unit"), "1");
        EXPECT_EQ(GlValue(states[2], kArray0), "on");
        EXPECT_EQ(GlValue(states[2], kArray1), "on");
        EXPECT_EQ(GlValue(states[2], "client unit"), "1");
    }
}

TEST_F(TexCoordArraysTest, WhatWasHiddenServesTheNextObjectThatItIsEnoughFor)
{
    AddObject(scene, kObjectModel, 1, AddMaterial(7, 1));
    AddObject(scene, kObjectModel, 2, 0);
    AddObject(scene, kObjectModel, 1, 0);
    const std::vector<GlState> states = StatesAtDraws(0);
    ASSERT_EQ(states.size(), 4u);
    EXPECT_EQ(GlValue(states[1], kArray0), "off");
    EXPECT_EQ(GlValue(states[2], kArray0), "on");
    EXPECT_EQ(GlValue(states[2], "client0 TexCoordPointer"), "small.texCoords1");
}

TEST_F(TexCoordArraysTest, CoordinatesForEnoughVerticesStayOn)
{
    AddObject(scene, kObjectModel, 2, AddPair(8));
    AddObject(scene, kObjectModel, 1, 0);
    AddObject(scene, kObjectModel, 2, 0);
    const std::string calls = Draw(0);
    const size_t first = calls.find("DrawElements");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(calls.find("TEXTURE_COORD_ARRAY", first), std::string::npos);
    EXPECT_EQ(calls.find("ClientActiveTextureARB", first), std::string::npos);
}

TEST_F(TexCoordArraysTest, AMaterialThatPointsAnewCoversTheLargerObject)
{
    AddObject(scene, kObjectModel, 1, AddPair(8));
    AddObject(scene, kObjectModel, 2, AddPair(22));
    const std::vector<GlState> states = StatesAtDraws(0);
    ASSERT_EQ(states.size(), 3u);
    EXPECT_EQ(GlValue(states[1], kArray0), "on");
    EXPECT_EQ(GlValue(states[1], kArray1), "on");
    EXPECT_EQ(GlValue(states[1], "client0 TexCoordPointer"), "large.texCoords1");
    EXPECT_EQ(GlValue(states[1], "client1 TexCoordPointer"), "large.texCoords2");
}

TEST_F(TexCoordArraysTest, ASmallerGeneratedMeshCountsAsWell)
{
    AddStillGenMesh(&piece, MakeMesh(&small, 1));
    AddObject(scene, kObjectGenMesh, 1, AddMaterial(7, 1));
    AddObject(scene, kObjectModel, 2, 0);
    for (int32_t vbo : {0, 1})
    {
        const std::vector<GlState> states = StatesAtDraws(vbo);
        ASSERT_EQ(states.size(), 3u);
        EXPECT_EQ(GlValue(states[0], "client0 TexCoordPointer"), "small.texCoords1");
        EXPECT_EQ(GlValue(states[1], kArray0), "off");
    }
}

TEST_F(TexCoordArraysTest, AnArrayThatIsOffIsNotTurnedOn)
{
    AddObject(scene, kObjectModel, 1, AddMaterial(7, 1));
    AddObject(scene, kObjectModel, 1, AddMaterial(0));
    AddObject(scene, kObjectModel, 2, 0);
    const std::vector<GlState> states = StatesAtDraws(0);
    ASSERT_EQ(states.size(), 4u);
    EXPECT_EQ(GlValue(states[2], kArray0), "off");
    EXPECT_EQ(GlValue(states[3], kArray0), "off");
}

TEST_F(TexCoordArraysTest, EachUnitIsKeptByItself)
{
    GlContext* gl = &piece.gl;
    const float* first = small.texCoords1.data();
    const float* second = small.texCoords2.data();
    const TexCoordSource buffers = {first, second, 7, 8, 3, true};
    const TexCoordSource arrays = {first, second, 7, 8, 6, false};
    SelectTextureUnit(gl, 1);
    SetSecondTexCoords(gl, &buffers);
    EnableTexCoords(gl);
    SelectTextureUnit(gl, 0);
    SetFirstTexCoords(gl, &arrays);
    EnableTexCoords(gl);
    EXPECT_EQ(TakeGlCalls(), "ActiveTextureARB TEXTURE1\n"
                             "ClientActiveTextureARB TEXTURE1\n"
                             "BindBufferARB ARRAY_BUFFER 8\n"
                             "TexCoordPointer 2 FLOAT 0 0\n"
                             "EnableClientState TEXTURE_COORD_ARRAY\n"
                             "ActiveTextureARB TEXTURE0\n"
                             "ClientActiveTextureARB TEXTURE0\n"
                             "TexCoordPointer 2 FLOAT 0 small.texCoords1\n"
                             "EnableClientState TEXTURE_COORD_ARRAY\n");

    EXPECT_EQ(HideShortTexCoords(gl, 3), 0u);
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(HideShortTexCoords(gl, 6), 2u);
    EXPECT_EQ(TakeGlCalls(), "ClientActiveTextureARB TEXTURE1\n"
                             "DisableClientState TEXTURE_COORD_ARRAY\n"
                             "ClientActiveTextureARB TEXTURE0\n");
    ShowTexCoords(gl, 2);
    EXPECT_EQ(TakeGlCalls(), "ClientActiveTextureARB TEXTURE1\n"
                             "EnableClientState TEXTURE_COORD_ARRAY\n"
                             "ClientActiveTextureARB TEXTURE0\n");
    EXPECT_EQ(HideShortTexCoords(gl, 7), 3u);
    DisableTexCoords(gl);
    TakeGlCalls();
    EXPECT_EQ(HideShortTexCoords(gl, 7), 2u);
}
