// SPDX-License-Identifier: MIT
#include "engine/render/set_material.h"

#include <GL/glew.h>
#include <algorithm>
#include <gtest/gtest.h>
#include <immintrin.h>
#include <initializer_list>
#include <limits>
#include <string>

#include "engine/animation/animated_value.h"
#include "support/gl_state.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"

static const float firstTexCoords[2] = {0.0f, 1.0f};
static const float secondTexCoords[2] = {1.0f, 0.0f};

// Parts of recipes, call by call.

#define FILL "PolygonMode FRONT_AND_BACK FILL\n"
#define DEPTH_ON "Enable DEPTH_TEST\n"
#define DEPTH_OFF "Disable DEPTH_TEST\n"
#define NORMALIZE_ON "Enable NORMALIZE\n"
#define NORMALIZE_OFF "Disable NORMALIZE\n"
#define LIGHTING_OFF "Disable LIGHTING\n"
#define COLOR "Color4f 0.25 0.5 0.75 0.125\n"
#define BLEND_ALPHA "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
#define BLEND_ADD "BlendFunc ONE ONE\n"
#define TEXTURE_OFF "Disable TEXTURE_2D\n"

#define LIGHT_2                              \
    "Enable LIGHTING\n"                      \
    "Enable LIGHT1\n"                        \
    "Lightfv LIGHT1 POSITION 1 2 3 1\n"      \
    "Lightfv LIGHT1 AMBIENT 0.1 0.2 0.3 1\n" \
    "Lightfv LIGHT1 DIFFUSE 0.4 0.5 0.6 1\n"

#define SELECT_0                  \
    "ActiveTextureARB TEXTURE0\n" \
    "ClientActiveTextureARB TEXTURE0\n"

#define SELECT_1                  \
    "ActiveTextureARB TEXTURE1\n" \
    "ClientActiveTextureARB TEXTURE1\n"

#define UNIT_1_OFF                             \
    "ActiveTextureARB TEXTURE1\n"              \
    "ClientActiveTextureARB TEXTURE1\n"        \
    "DisableClientState TEXTURE_COORD_ARRAY\n" \
    "Disable TEXTURE_2D\n"                     \
    "ActiveTextureARB TEXTURE0\n"              \
    "ClientActiveTextureARB TEXTURE0\n"

#define UNITS_OFF                              \
    UNIT_1_OFF                                 \
    "DisableClientState TEXTURE_COORD_ARRAY\n" \
    "Disable TEXTURE_2D\n"

#define COMBINE_M                                       \
    "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"    \
    "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"        \
    "TexEnvi TEXTURE_ENV SOURCE0_RGB PRIMARY_COLOR\n"   \
    "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"      \
    "TexEnvi TEXTURE_ENV SOURCE1_RGB TEXTURE\n"         \
    "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"      \
    "TexEnvi TEXTURE_ENV COMBINE_ALPHA MODULATE\n"      \
    "TexEnvi TEXTURE_ENV SOURCE0_ALPHA PRIMARY_COLOR\n" \
    "TexEnvi TEXTURE_ENV OPERAND0_ALPHA SRC_ALPHA\n"    \
    "TexEnvi TEXTURE_ENV SOURCE1_ALPHA TEXTURE\n"       \
    "TexEnvi TEXTURE_ENV OPERAND1_ALPHA SRC_ALPHA\n"

#define COMBINE_Q                                     \
    "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"  \
    "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"      \
    "TexEnvi TEXTURE_ENV SOURCE0_RGB PRIMARY_COLOR\n" \
    "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"    \
    "TexEnvi TEXTURE_ENV SOURCE1_RGB TEXTURE\n"       \
    "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"    \
    "TexEnvi TEXTURE_ENV COMBINE_ALPHA MODULATE\n"    \
    "TexEnvi TEXTURE_ENV SOURCE0_ALPHA TEXTURE\n"     \
    "TexEnvi TEXTURE_ENV OPERAND0_ALPHA SRC_ALPHA\n"  \
    "TexEnvi TEXTURE_ENV SOURCE1_ALPHA TEXTURE\n"     \
    "TexEnvi TEXTURE_ENV OPERAND1_ALPHA SRC_ALPHA\n"

#define FLAT(texture, wrap)                              \
    "BindTexture TEXTURE_2D " texture "\n"               \
    "TexParameterf TEXTURE_2D TEXTURE_WRAP_S " wrap "\n" \
    "TexParameterf TEXTURE_2D TEXTURE_WRAP_T " wrap "\n" \
    "TexCoordPointer 2 FLOAT 0 first\n"                  \
    "EnableClientState TEXTURE_COORD_ARRAY\n"            \
    "Enable TEXTURE_2D\n"                                \
    "Disable TEXTURE_GEN_S\n"                            \
    "Disable TEXTURE_GEN_T\n"                            \
    "Disable TEXTURE_GEN_R\n"                            \
    "MatrixMode TEXTURE\n"                               \
    "LoadIdentity\n"                                     \
    "MatrixMode MODELVIEW\n"

#define SPHERE(texture)                        \
    "BindTexture TEXTURE_2D " texture "\n"     \
    "DisableClientState TEXTURE_COORD_ARRAY\n" \
    "Enable TEXTURE_2D\n"                      \
    "Enable TEXTURE_GEN_S\n"                   \
    "Enable TEXTURE_GEN_T\n"

#define FLAT_13_REPEATED FLAT("13", "REPEAT")
#define FLAT_13_CLAMPED FLAT("13", "CLAMP_TO_EDGE")
#define FLAT_24_REPEATED FLAT("24", "REPEAT")
#define FLAT_24_CLAMPED FLAT("24", "CLAMP_TO_EDGE")
#define FLAT_32_REPEATED FLAT("32", "REPEAT")
#define SPHERE_13 SPHERE("13")
#define SPHERE_24 SPHERE("24")

// The calls of a refresh of effect 2.
#define UPDATE_32                 \
    "BindTexture TEXTURE_2D 32\n" \
    "TexSubImage2D TEXTURE_2D 0 0 0 64 64 LUMINANCE UNSIGNED_BYTE ?\n"
#define UPDATE_32_BY_BUFFER                                            \
    "BindBuffer PIXEL_UNPACK_BUFFER 2\n"                               \
    "BufferData PIXEL_UNPACK_BUFFER 4096 0 STREAM_DRAW\n"              \
    "MapBuffer PIXEL_UNPACK_BUFFER WRITE_ONLY\n"                       \
    "UnmapBuffer PIXEL_UNPACK_BUFFER\n"                                \
    "BindTexture TEXTURE_2D 32\n"                                      \
    "TexSubImage2D TEXTURE_2D 0 0 0 64 64 LUMINANCE UNSIGNED_BYTE 0\n" \
    "BindBuffer PIXEL_UNPACK_BUFFER 0\n"

#define DIRECTION "Lightfv LIGHT1 POSITION 0 0 1 0\n"

#define IDENTITY           \
    "MatrixMode TEXTURE\n" \
    "LoadIdentity\n"

#define TURNED               \
    "MatrixMode TEXTURE\n"   \
    "LoadIdentity\n"         \
    "Translatef 0.5 0.5 0\n" \
    "Rotatef -30 0 0 1\n"    \
    "Translatef -0.5 -0.5 0\n"

#define MODELVIEW "MatrixMode MODELVIEW\n"

/// References of each recipe's material, in its order.
static constexpr uint32_t kRefs[kMaterialTypes][3] = {
    {},        // 0
    {2},       // 1
    {3},       // 2
    {2, 3},    // 3
    {3},       // 4
    {2, 3},    // 5
    {},        // 6
    {4},       // 7
    {4, 5},    // 8
    {2, 4},    // 9
    {4},       // 10
    {4},       // 11
    {2, 4},    // 12
    {4},       // 13
    {2, 4, 5}, // 14
    {4},       // 15
    {4},       // 16
    {4},       // 17
    {3},       // 18
    {},        // 19
    {3},       // 20
    {},        // 21
    {4, 5},    // 22
    {},        // 23
};

/// One material of each recipe, id = type + 1, all of color (0.25, 0.5, 0.75, 0.125) and with
/// their references set: light 2, procedural texture 3 (OpenGL's 13), bitmaps 4 and 5 (24 and 25),
/// effect 2 (32). No record that a recipe names has the id of another kind's. The effects are up to
/// date at the time.
class SetMaterialTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartTestPiece(&piece);
        piece.faults.place = PlaceAt("demo.xmlz", Section::kTimeline, 3, 4);
        NameGlPointer(firstTexCoords, "first");
        NameGlPointer(secondTexCoords, "second");
        uint32_t names[32];
        glGenTextures(32, names);
        for (uint32_t i = 0; i < 5; ++i)
        {
            AddTexture(&piece, 11 + i);
            AddBitmap(&piece, {21 + i, 4, 4, 3});
        }
        for (uint32_t i = 0; i < 2; ++i)
        {
            AddLight();
            AddPlasma(31 + i);
        }
        for (uint32_t type = 0; type < kMaterialTypes; ++type)
        {
            AddMaterial(type);
        }
        TakeGlCalls();
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
        ResetGl();
    }

    void AddLight()
    {
        Light* light = AddRecord<Light>(piece.document.lights);
        const bool isSecond = piece.document.lights->count == 2;
        for (uint32_t i = 0; i < 3 && isSecond; ++i)
        {
            light->position[i] = FloatSlot(static_cast<float>(i + 1));
            light->ambient[i] = FloatSlot(static_cast<float>(i + 1) / 10.0f);
            light->diffuse[i] = FloatSlot(static_cast<float>(i + 4) / 10.0f);
        }
    }

    /// An effect of 64 by 64 pixels at 8 bits.
    void AddPlasma(uint32_t glTexture)
    {
        Effect2D effect = {};
        effect.type = kEffectPlasma;
        effect.width = 64;
        effect.height = 64;
        effect.bpp = 8;
        glBindTexture(GL_TEXTURE_2D, glTexture);
        glTexImage2D(GL_TEXTURE_2D, 0, 1, 64, 64, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, nullptr);
        uint32_t pixelBuffer;
        glGenBuffers(1, &pixelBuffer);
        const uint32_t id = AddEffect(&piece, effect, glTexture, pixelBuffer);
        piece.state.demo.effects[id - 1].lastUpdate = static_cast<int32_t>(time);
    }

    void AddMaterial(uint32_t type)
    {
        Material* material = AddRecord<Material>(piece.document.materials);
        material->type = type;
        material->params[0] = FloatSlot(0.25f);
        material->params[1] = FloatSlot(0.5f);
        material->params[2] = FloatSlot(0.75f);
        material->params[3] = FloatSlot(0.125f);
        material->params[4] = FloatSlot(type == 23 ? 2.5f : 1.0f);
        for (uint32_t i = 0; i < 3 && type < kMaterialTypes; ++i)
        {
            material->refs[i] = kRefs[type][i];
        }
        material->effectRefs[0] = type == 6 ? 2 : 0;
    }

    /// The material of a recipe, to be changed.
    Material* Of(uint32_t type)
    {
        return GetRecord<Material>(type + 1, piece.document.materials);
    }

    /// The state of an effect.
    EffectState* StateOf(uint32_t effectId)
    {
        return &piece.state.demo.effects[effectId - 1];
    }

    /// Sets a material, which may meet a fault.
    bool SetOrFail(uint32_t id)
    {
        piece.features = {vbo, pbo, 0, dot3};
        const FrameSources sources = TestSources(&piece);
        const MaterialRequest request = {
            time, cameraRotY, {firstTexCoords, secondTexCoords, 41, 42, 1, vbo != 0}};
        return SetMaterial(id, &sources, &request);
    }

    void Set(uint32_t id)
    {
        EXPECT_TRUE(SetOrFail(id));
        EXPECT_EQ(TakeFaults(&piece), "");
    }

    /// Sets the material of a recipe.
    /// @return the calls that it made
    std::string Calls(uint32_t type)
    {
        TakeGlCalls();
        Set(type + 1);
        return TakeGlCalls();
    }

    /// Sets the material of a recipe, which meets one fault.
    /// @return the calls up to there
    std::string CallsToFault(uint32_t type, const std::string& words)
    {
        TakeGlCalls();
        EXPECT_FALSE(SetOrFail(type + 1));
        EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 7 (materials), item " +
                                          std::to_string(type + 1) + ": " + words + "\n");
        return TakeGlCalls();
    }

    /// The state after a row of recipes in a fresh context.
    GlState StateAfter(std::initializer_list<uint32_t> types)
    {
        GlState state;
        for (uint32_t type : types)
        {
            ApplyGlCalls(Calls(type), &state);
        }
        return state;
    }

    TestPiece piece = {};
    uint32_t time = 100;
    int32_t vbo = 0;
    int32_t pbo = 0;
    int32_t dot3 = 1;
    float cameraRotY = 30.0f;
};

// The 24 recipes, with all their references.

TEST_F(SetMaterialTest, Type0IsColor)
{
    EXPECT_EQ(Calls(0), "PolygonMode FRONT_AND_BACK FILL\n"
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
                        "Color4f 0.25 0.5 0.75 0.125\n"
                        "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n");
}

TEST_F(SetMaterialTest, Type1IsLitColorAndKeepsTheArrayOfUnit1)
{
    EXPECT_EQ(Calls(1), "PolygonMode FRONT_AND_BACK FILL\n"
                        "Enable DEPTH_TEST\n"
                        "Enable NORMALIZE\n"
                        "ActiveTextureARB TEXTURE1\n"
                        "ClientActiveTextureARB TEXTURE1\n"
                        "Disable TEXTURE_2D\n"
                        "ActiveTextureARB TEXTURE0\n"
                        "ClientActiveTextureARB TEXTURE0\n"
                        "DisableClientState TEXTURE_COORD_ARRAY\n"
                        "Disable TEXTURE_2D\n"
                        "Color4f 0.25 0.5 0.75 0.125\n"
                        "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
                        "Enable LIGHTING\n"
                        "Enable LIGHT1\n"
                        "Lightfv LIGHT1 POSITION 1 2 3 1\n"
                        "Lightfv LIGHT1 AMBIENT 0.1 0.2 0.3 1\n"
                        "Lightfv LIGHT1 DIFFUSE 0.4 0.5 0.6 1\n");
}

TEST_F(SetMaterialTest, Type2IsAProceduralTextureByTheCombinerThere)
{
    EXPECT_EQ(
        Calls(2),
        FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF FLAT_13_REPEATED);
}

TEST_F(SetMaterialTest, Type3IsALitTextureByTheCombinerThere)
{
    EXPECT_EQ(Calls(3),
              FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHT_2 UNIT_1_OFF FLAT_13_REPEATED);
}

TEST_F(SetMaterialTest, Type4IsAnEnvironmentThatTurnsLightingOffLate)
{
    EXPECT_EQ(Calls(4), "PolygonMode FRONT_AND_BACK FILL\n"
                        "Enable DEPTH_TEST\n"
                        "Disable NORMALIZE\n"
                        "Color4f 0.25 0.5 0.75 0.125\n"
                        "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
                        "ActiveTextureARB TEXTURE1\n"
                        "ClientActiveTextureARB TEXTURE1\n"
                        "DisableClientState TEXTURE_COORD_ARRAY\n"
                        "Disable TEXTURE_2D\n"
                        "ActiveTextureARB TEXTURE0\n"
                        "ClientActiveTextureARB TEXTURE0\n"
                        "BindTexture TEXTURE_2D 13\n"
                        "DisableClientState TEXTURE_COORD_ARRAY\n"
                        "Enable TEXTURE_2D\n"
                        "Disable LIGHTING\n"
                        "Lightfv LIGHT1 POSITION 0 0 1 0\n"
                        "Enable TEXTURE_GEN_S\n"
                        "Enable TEXTURE_GEN_T\n"
                        "MatrixMode TEXTURE\n"
                        "LoadIdentity\n"
                        "MatrixMode MODELVIEW\n");
}

TEST_F(SetMaterialTest, Type5IsALitProceduralEnvironment)
{
    EXPECT_EQ(Calls(5), FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHT_2 UNIT_1_OFF SPHERE_13
                            IDENTITY MODELVIEW);
}

TEST_F(SetMaterialTest, Type6IsAnEffectThatIsUpdatedBeforeUnit1GoesOff)
{
    Effect2D* effect = GetRecord<Effect2D>(2, piece.document.effects);
    effect->paramEnvelope[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    for (int32_t useBuffer : {0, 1})
    {
        pbo = useBuffer;
        StateOf(2)->lastUpdate = kEffectNeverUpdated;
        const std::string expected =
            std::string(FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA) +
            (useBuffer == 0 ? UPDATE_32 : UPDATE_32_BY_BUFFER) +
            UNIT_1_OFF COMBINE_M FLAT_32_REPEATED;
        EXPECT_EQ(Calls(6), expected);
        EXPECT_EQ(EnvelopeTime(&piece, effect->paramEnvelope[0]), 100u);
        EXPECT_EQ(StateOf(2)->lastUpdate, 100);
    }
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(SetMaterialTest, Type7IsABitmap)
{
    EXPECT_EQ(Calls(7), "PolygonMode FRONT_AND_BACK FILL\n"
                        "Enable DEPTH_TEST\n"
                        "Disable NORMALIZE\n"
                        "Disable LIGHTING\n"
                        "Color4f 0.25 0.5 0.75 0.125\n"
                        "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
                        "ActiveTextureARB TEXTURE1\n"
                        "ClientActiveTextureARB TEXTURE1\n"
                        "DisableClientState TEXTURE_COORD_ARRAY\n"
                        "Disable TEXTURE_2D\n"
                        "ActiveTextureARB TEXTURE0\n"
                        "ClientActiveTextureARB TEXTURE0\n"
                        "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                        "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"
                        "TexEnvi TEXTURE_ENV SOURCE0_RGB PRIMARY_COLOR\n"
                        "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                        "TexEnvi TEXTURE_ENV SOURCE1_RGB TEXTURE\n"
                        "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"
                        "TexEnvi TEXTURE_ENV COMBINE_ALPHA MODULATE\n"
                        "TexEnvi TEXTURE_ENV SOURCE0_ALPHA PRIMARY_COLOR\n"
                        "TexEnvi TEXTURE_ENV OPERAND0_ALPHA SRC_ALPHA\n"
                        "TexEnvi TEXTURE_ENV SOURCE1_ALPHA TEXTURE\n"
                        "TexEnvi TEXTURE_ENV OPERAND1_ALPHA SRC_ALPHA\n"
                        "BindTexture TEXTURE_2D 24\n"
                        "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                        "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                        "TexCoordPointer 2 FLOAT 0 first\n"
                        "EnableClientState TEXTURE_COORD_ARRAY\n"
                        "Enable TEXTURE_2D\n"
                        "Disable TEXTURE_GEN_S\n"
                        "Disable TEXTURE_GEN_T\n"
                        "Disable TEXTURE_GEN_R\n"
                        "MatrixMode TEXTURE\n"
                        "LoadIdentity\n"
                        "MatrixMode MODELVIEW\n");
}

TEST_F(SetMaterialTest, Type8MultipliesTwoBitmapsAndEndsOnUnit1)
{
    EXPECT_EQ(Calls(8), "PolygonMode FRONT_AND_BACK FILL\n"
                        "Enable DEPTH_TEST\n"
                        "Disable NORMALIZE\n"
                        "Disable LIGHTING\n"
                        "Color4f 0.25 0.5 0.75 0.125\n"
                        "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
                        // Unit 0
                        "ActiveTextureARB TEXTURE0\n"
                        "ClientActiveTextureARB TEXTURE0\n"
                        "EnableClientState TEXTURE_COORD_ARRAY\n"
                        "BindTexture TEXTURE_2D 24\n"
                        "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                        "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                        "TexCoordPointer 2 FLOAT 0 first\n"
                        "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                        "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"
                        "TexEnvi TEXTURE_ENV SOURCE0_RGB PRIMARY_COLOR\n"
                        "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                        "TexEnvi TEXTURE_ENV SOURCE1_RGB TEXTURE\n"
                        "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"
                        "TexEnvi TEXTURE_ENV COMBINE_ALPHA MODULATE\n"
                        "TexEnvi TEXTURE_ENV SOURCE0_ALPHA PRIMARY_COLOR\n"
                        "Enable TEXTURE_2D\n"
                        "Disable TEXTURE_GEN_S\n"
                        "Disable TEXTURE_GEN_T\n"
                        "Disable TEXTURE_GEN_R\n"
                        "MatrixMode TEXTURE\n"
                        "LoadIdentity\n"
                        "MatrixMode MODELVIEW\n"
                        // Unit 1
                        "ActiveTextureARB TEXTURE1\n"
                        "ClientActiveTextureARB TEXTURE1\n"
                        "EnableClientState TEXTURE_COORD_ARRAY\n"
                        "Enable TEXTURE_2D\n"
                        "BindTexture TEXTURE_2D 25\n"
                        "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                        "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                        "TexCoordPointer 2 FLOAT 0 second\n"
                        "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                        "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"
                        "TexEnvi TEXTURE_ENV SOURCE0_RGB PREVIOUS\n"
                        "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                        "TexEnvi TEXTURE_ENV SOURCE1_RGB TEXTURE\n"
                        "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n");
}

TEST_F(SetMaterialTest, Type9IsALitBitmap)
{
    EXPECT_EQ(
        Calls(9),
        FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHT_2 UNIT_1_OFF COMBINE_M FLAT_24_REPEATED);
}

TEST_F(SetMaterialTest, Type10IsAClampedBitmap)
{
    EXPECT_EQ(Calls(10), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF
                             COMBINE_M FLAT_24_CLAMPED);
}

TEST_F(SetMaterialTest, Type11IsABitmapEnvironmentThatTurns)
{
    EXPECT_EQ(Calls(11), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF
                             COMBINE_M SPHERE_24 TURNED DIRECTION MODELVIEW);
}

TEST_F(SetMaterialTest, Type12IsALitEnvironmentThatTurnsWithTheCamera)
{
    EXPECT_EQ(Calls(12), FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHT_2 UNIT_1_OFF COMBINE_M
                             SPHERE_24 TURNED MODELVIEW);
}

TEST_F(SetMaterialTest, Type13AddsAClampedBitmap)
{
    EXPECT_EQ(Calls(13), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD UNIT_1_OFF
                             COMBINE_M FLAT_24_CLAMPED);
}

TEST_F(SetMaterialTest, Type14AddsADotProductOfTwoBitmapsAndEndsOnUnit1)
{
    EXPECT_EQ(Calls(14), "PolygonMode FRONT_AND_BACK FILL\n"
                         "Enable DEPTH_TEST\n"
                         "Enable NORMALIZE\n"
                         "Color4f 0.25 0.5 0.75 0.125\n"
                         "BlendFunc ONE ONE\n"
                         "Enable LIGHTING\n"
                         "Enable LIGHT1\n"
                         "Lightfv LIGHT1 POSITION 1 2 3 1\n"
                         "Lightfv LIGHT1 AMBIENT 0.1 0.2 0.3 1\n"
                         "Lightfv LIGHT1 DIFFUSE 0.4 0.5 0.6 1\n"
                         // Unit 0
                         "ActiveTextureARB TEXTURE0\n"
                         "ClientActiveTextureARB TEXTURE0\n"
                         "EnableClientState TEXTURE_COORD_ARRAY\n"
                         "BindTexture TEXTURE_2D 24\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                         "TexCoordPointer 2 FLOAT 0 first\n"
                         "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                         "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE MODULATE\n"
                         "TexEnvi TEXTURE_ENV SOURCE0_RGB TEXTURE\n"
                         "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                         "TexEnvi TEXTURE_ENV SOURCE1_RGB PRIMARY_COLOR\n"
                         "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"
                         "Enable TEXTURE_2D\n"
                         "Enable TEXTURE_GEN_S\n"
                         "Enable TEXTURE_GEN_T\n"
                         "MatrixMode TEXTURE\n"
                         "LoadIdentity\n"
                         "MatrixMode MODELVIEW\n"
                         // Unit 1
                         "ActiveTextureARB TEXTURE1\n"
                         "ClientActiveTextureARB TEXTURE1\n"
                         "EnableClientState TEXTURE_COORD_ARRAY\n"
                         "Enable TEXTURE_2D\n"
                         "BindTexture TEXTURE_2D 25\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                         "TexCoordPointer 2 FLOAT 0 second\n"
                         "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                         "TexEnvi TEXTURE_ENV COMBINE_RGB DOT3_RGB\n"
                         "TexEnvi TEXTURE_ENV SOURCE0_RGB TEXTURE\n"
                         "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                         "TexEnvi TEXTURE_ENV SOURCE1_RGB PREVIOUS\n"
                         "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n");
}

TEST_F(SetMaterialTest, Type15IsAClampedBitmapWhoseAlphaIsSquared)
{
    EXPECT_EQ(Calls(15), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF
                             COMBINE_Q FLAT_24_CLAMPED);
}

TEST_F(SetMaterialTest, Type16AddsABitmapEnvironment)
{
    EXPECT_EQ(Calls(16), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD UNIT_1_OFF
                             SPHERE_24 TURNED DIRECTION MODELVIEW);
}

TEST_F(SetMaterialTest, Type17IsType15WithoutDepthTest)
{
    EXPECT_EQ(Calls(17), FILL DEPTH_OFF NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF
                             COMBINE_Q FLAT_24_CLAMPED);
}

TEST_F(SetMaterialTest, Type18AddsAClampedTextureWithoutDepthTest)
{
    EXPECT_EQ(Calls(18), FILL DEPTH_OFF NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD UNIT_1_OFF
                             COMBINE_M FLAT_13_CLAMPED);
}

TEST_F(SetMaterialTest, Type19IsColorWithoutDepthTest)
{
    EXPECT_EQ(Calls(19), FILL DEPTH_OFF NORMALIZE_OFF UNITS_OFF LIGHTING_OFF COLOR BLEND_ALPHA);
}

TEST_F(SetMaterialTest, Type20AddsAProceduralEnvironment)
{
    EXPECT_EQ(Calls(20), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD UNIT_1_OFF
                             SPHERE_13 DIRECTION IDENTITY MODELVIEW);
}

TEST_F(SetMaterialTest, Type21AddsAnOpaqueColorWithoutDepthTest)
{
    EXPECT_EQ(Calls(21), "PolygonMode FRONT_AND_BACK FILL\n"
                         "Disable DEPTH_TEST\n"
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
                         "Color4f 0.25 0.5 0.75 1\n"
                         "BlendFunc ONE ONE\n");
}

TEST_F(SetMaterialTest, Type22FadesBetweenTwoBitmapsAndEndsOnUnit1)
{
    EXPECT_EQ(Calls(22), "PolygonMode FRONT_AND_BACK FILL\n"
                         "Enable DEPTH_TEST\n"
                         "Disable NORMALIZE\n"
                         "Disable LIGHTING\n"
                         "Color4f 0.25 0.5 0.75 0.125\n"
                         "BlendFunc ONE ONE\n"
                         // Unit 0
                         "ActiveTextureARB TEXTURE0\n"
                         "ClientActiveTextureARB TEXTURE0\n"
                         "EnableClientState TEXTURE_COORD_ARRAY\n"
                         "BindTexture TEXTURE_2D 24\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                         "TexCoordPointer 2 FLOAT 0 first\n"
                         "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                         "TexEnvi TEXTURE_ENV COMBINE_RGB MODULATE\n"
                         "TexEnvi TEXTURE_ENV SOURCE0_RGB PRIMARY_COLOR\n"
                         "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                         "TexEnvi TEXTURE_ENV SOURCE1_RGB TEXTURE\n"
                         "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"
                         "Enable TEXTURE_2D\n"
                         "Disable TEXTURE_GEN_S\n"
                         "Disable TEXTURE_GEN_T\n"
                         "Disable TEXTURE_GEN_R\n"
                         "MatrixMode TEXTURE\n"
                         "LoadIdentity\n"
                         "MatrixMode MODELVIEW\n"
                         // Unit 1
                         "ActiveTextureARB TEXTURE1\n"
                         "ClientActiveTextureARB TEXTURE1\n"
                         "EnableClientState TEXTURE_COORD_ARRAY\n"
                         "Enable TEXTURE_2D\n"
                         "BindTexture TEXTURE_2D 25\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
                         "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
                         "TexCoordPointer 2 FLOAT 0 second\n"
                         "TexEnvi TEXTURE_ENV TEXTURE_ENV_MODE COMBINE\n"
                         "TexEnvi TEXTURE_ENV COMBINE_RGB INTERPOLATE\n"
                         "TexEnvi TEXTURE_ENV SOURCE1_RGB PREVIOUS\n"
                         "TexEnvi TEXTURE_ENV OPERAND1_RGB SRC_COLOR\n"
                         "TexEnvi TEXTURE_ENV SOURCE0_RGB TEXTURE\n"
                         "TexEnvi TEXTURE_ENV OPERAND0_RGB SRC_COLOR\n"
                         "TexEnvi TEXTURE_ENV SOURCE2_RGB PRIMARY_COLOR\n"
                         "TexEnvi TEXTURE_ENV OPERAND2_RGB SRC_COLOR\n");
}

TEST_F(SetMaterialTest, Type23IsLinesOfTheGivenWidth)
{
    EXPECT_EQ(Calls(23), "PolygonMode FRONT_AND_BACK LINE\n"
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
                         "Color4f 0.25 0.5 0.75 0.125\n"
                         "BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA\n"
                         "LineWidth 2.5\n");
}

TEST_F(SetMaterialTest, NoRecordAndTypesFrom24OnChangeNothing)
{
    for (uint32_t type : {24u, 25u, 255u, 0x80000000u, 0xFFFFFFFFu})
    {
        Of(0)->type = type;
        EXPECT_EQ(Calls(0), "") << type;
    }
    for (uint32_t id : {0u, 25u, 4096u, 4097u, 0xFFFFFFFFu})
    {
        Set(id);
        EXPECT_EQ(TakeGlCalls(), "") << id;
    }
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(SetMaterialTest, ReferencesThatARecipeDoesNotUseAreNotLookedUp)
{
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        const std::string calls = Calls(type);
        Material* material = Of(type);
        for (uint32_t i = 0; i < kMaterialRefs; ++i)
        {
            const bool used = i < 3 && kRefs[type][i] != 0;
            material->refs[i] = used ? kRefs[type][i] : 99;
            material->effectRefs[i] = type == 6 && i == 0 ? 2 : 99;
        }
        EXPECT_EQ(Calls(type), calls) << type;
    }
}

// Buffer objects.

/// Replaces the one pointer by the binding and the offset of the buffer path.
static std::string WithBuffer(std::string calls, const std::string& label,
                              const std::string& buffer)
{
    std::string array = "TexCoordPointer 2 FLOAT 0 " + label + "\n";
    size_t at = calls.find(array);
    EXPECT_NE(at, std::string::npos);
    return calls.replace(at, array.size(),
                         "BindBufferARB ARRAY_BUFFER " + buffer +
                             "\n"
                             "TexCoordPointer 2 FLOAT 0 0\n");
}

TEST_F(SetMaterialTest, FlatTexturesTakeTheFirstCoordinateBuffer)
{
    for (uint32_t type : {2u, 3u, 6u, 7u, 9u, 10u, 13u, 15u, 17u, 18u})
    {
        vbo = 0;
        std::string arrays = Calls(type);
        vbo = 1;
        EXPECT_EQ(Calls(type), WithBuffer(arrays, "first", "41")) << type;
    }
    vbo = 1;
    EXPECT_EQ(Calls(7),
              FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF COMBINE_M
              "BindTexture TEXTURE_2D 24\n"
              "TexParameterf TEXTURE_2D TEXTURE_WRAP_S REPEAT\n"
              "TexParameterf TEXTURE_2D TEXTURE_WRAP_T REPEAT\n"
              "BindBufferARB ARRAY_BUFFER 41\n"
              "TexCoordPointer 2 FLOAT 0 0\n"
              "EnableClientState TEXTURE_COORD_ARRAY\n"
              "Enable TEXTURE_2D\n"
              "Disable TEXTURE_GEN_S\n"
              "Disable TEXTURE_GEN_T\n"
              "Disable TEXTURE_GEN_R\n"
              "MatrixMode TEXTURE\n"
              "LoadIdentity\n"
              "MatrixMode MODELVIEW\n");
}

TEST_F(SetMaterialTest, WithBufferObjectsTwoBitmapsTakeBothBuffers)
{
    for (uint32_t type : {8u, 14u, 22u})
    {
        vbo = 0;
        std::string arrays = Calls(type);
        vbo = 1;
        EXPECT_EQ(Calls(type), WithBuffer(WithBuffer(arrays, "first", "41"), "second", "42"))
            << type;
    }
}

TEST_F(SetMaterialTest, RecipesWithoutCoordinatesDoNotMindBufferObjects)
{
    for (uint32_t type : {0u, 1u, 4u, 5u, 11u, 12u, 16u, 19u, 20u, 21u, 23u})
    {
        vbo = 0;
        std::string arrays = Calls(type);
        vbo = 1;
        EXPECT_EQ(Calls(type), arrays) << type;
    }
}

// References of 0.

TEST_F(SetMaterialTest, WithoutItsTextureAnUnlitRecipeEndsAfterTheBlend)
{
    struct Case
    {
        uint32_t type;
        const char* calls;
    };
    const Case cases[] = {
        {2, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {4, FILL DEPTH_ON NORMALIZE_OFF COLOR BLEND_ALPHA TEXTURE_OFF}, // lighting untouched
        {6, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {7, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {8, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {10, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {11, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {13, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD TEXTURE_OFF},
        {15, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {16, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD TEXTURE_OFF},
        {17, FILL DEPTH_OFF NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF},
        {18, FILL DEPTH_OFF NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD TEXTURE_OFF},
        {20, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD TEXTURE_OFF},
        {22, FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD TEXTURE_OFF},
    };
    for (const Case& c : cases)
    {
        Of(c.type)->refs[0] = 0;
        Of(c.type)->effectRefs[0] = 0;
        EXPECT_EQ(Calls(c.type), c.calls) << c.type;
    }
}

TEST_F(SetMaterialTest, WithoutItsTextureALitRecipeEndsAfterTheLight)
{
    const char* added = FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ADD LIGHT_2 TEXTURE_OFF;
    const char* blended = FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHT_2 TEXTURE_OFF;
    for (uint32_t type : {3u, 5u, 9u, 12u, 14u})
    {
        Of(type)->refs[1] = 0;
        EXPECT_EQ(Calls(type), type == 14 ? added : blended) << type;
    }
}

TEST_F(SetMaterialTest, OneOfTwoBitmapsIsNoBitmap)
{
    for (uint32_t type : {8u, 22u})
    {
        Of(type)->refs[1] = 0;
    }
    Of(14)->refs[2] = 0;
    EXPECT_EQ(Calls(8), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA TEXTURE_OFF);
    EXPECT_EQ(Calls(22), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD TEXTURE_OFF);
    EXPECT_EQ(Calls(14), FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ADD LIGHT_2 TEXTURE_OFF);
}

TEST_F(SetMaterialTest, WithoutItsLightALitRecipeTurnsLightingOff)
{
    struct Case
    {
        uint32_t type;
        const char* calls;
    };
    const Case cases[] = {
        {3, FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHTING_OFF UNIT_1_OFF FLAT_13_REPEATED},
        {5, FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHTING_OFF UNIT_1_OFF SPHERE_13 IDENTITY
                MODELVIEW},
        {9, FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHTING_OFF UNIT_1_OFF COMBINE_M
                FLAT_24_REPEATED},
        {12, FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHTING_OFF UNIT_1_OFF COMBINE_M
                 SPHERE_24 TURNED MODELVIEW},
    };
    for (const Case& c : cases)
    {
        Of(c.type)->refs[0] = 0;
        EXPECT_EQ(Calls(c.type), c.calls) << c.type;
    }

    Of(1)->refs[0] = 0;
    EXPECT_EQ(
        Calls(1), FILL DEPTH_ON NORMALIZE_ON SELECT_1 TEXTURE_OFF SELECT_0
        "DisableClientState TEXTURE_COORD_ARRAY\n" TEXTURE_OFF COLOR BLEND_ALPHA LIGHTING_OFF);

    std::string lit = Calls(14);
    Of(14)->refs[0] = 0;
    std::string light = LIGHT_2;
    EXPECT_EQ(Calls(14), lit.replace(lit.find(light), light.size(), LIGHTING_OFF));
}

TEST_F(SetMaterialTest, AMaterialOfParametersOnlyIsItsColor)
{
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        std::fill_n(Of(type)->refs, kMaterialRefs, 0u);
        std::fill_n(Of(type)->effectRefs, kMaterialRefs, 0u);
        GlState state = StateAfter({type});
        EXPECT_EQ(GlValue(state, "unit0 TEXTURE_2D"), "off") << type;
        EXPECT_EQ(GlValue(state, "LIGHTING"), type == 4 ? "unset" : "off") << type;
        EXPECT_EQ(GlValue(state, "Color4f"), type == 21 ? "0.25 0.5 0.75 1" : "0.25 0.5 0.75 0.125")
            << type;
    }
}

// Parameters.

TEST_F(SetMaterialTest, DynamicParametersAreTheirEnvelopesAtTheTime)
{
    Material* material = Of(0);
    for (uint32_t i = 0; i < 4; ++i)
    {
        AddLinearEnvelope(&piece, 0.5f, static_cast<float>(i)); // ids 1 to 4
    }
    struct Case
    {
        uint8_t mask;
        const char* color;
    };
    const Case cases[] = {
        // at time 7, envelope n is 3.5 + n - 1
        {0xF0, "3.5 4.5 5.5 6.5"},    {0x80, "3.5 0.5 0.75 0.125"}, {0x40, "0.25 4.5 0.75 0.125"},
        {0x20, "0.25 0.5 5.5 0.125"}, {0x10, "0.25 0.5 0.75 6.5"},  {0x0F, "0.25 0.5 0.75 0.125"},
    };
    const float constants[4] = {0.25f, 0.5f, 0.75f, 0.125f};
    time = 7;
    for (const Case& c : cases)
    {
        material->dynamicMask[0] = c.mask;
        for (uint32_t i = 0; i < 4; ++i)
        {
            material->params[i] = (c.mask & (0x80u >> i)) != 0 ? i + 1 : FloatSlot(constants[i]);
        }
        EXPECT_EQ(GlValue(StateAfter({0}), "Color4f"), c.color) << int{c.mask};
    }
}

TEST_F(SetMaterialTest, EveryRecipeResolvesItsColor)
{
    uint32_t envelope = AddLinearEnvelope(&piece, 1.0f, 0.5f);
    time = 2;
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        Of(type)->params[1] = envelope;
        Of(type)->dynamicMask[0] = 0x40;
        EXPECT_EQ(GlValue(StateAfter({type}), "Color4f"),
                  type == 21 ? "0.25 2.5 0.75 1" : "0.25 2.5 0.75 0.125")
            << type;
    }
}

TEST_F(SetMaterialTest, OtherMaskBytesMeanNothingToARecipe)
{
    Of(0)->dynamicMask[1] = 0xFF;
    Of(0)->dynamicMask[2] = 0xFF;
    Of(0)->dynamicMask[3] = 0xFF;
    EXPECT_EQ(GlValue(StateAfter({0}), "Color4f"), "0.25 0.5 0.75 0.125");
}

TEST_F(SetMaterialTest, ClampedAlphaRecipesTakeAlphaFromParameter3)
{
    for (uint32_t type : {15u, 17u})
    {
        Of(type)->params[3] = FloatSlot(0.875f);
        GlState state = StateAfter({type});
        EXPECT_EQ(GlValue(state, "Color4f"), "0.25 0.5 0.75 0.875");
        // Alpha is the texture's times itself.
        EXPECT_EQ(GlValue(state, "unit0 COMBINE_ALPHA"), "MODULATE");
        EXPECT_EQ(GlValue(state, "unit0 SOURCE0_ALPHA"), "TEXTURE");
        EXPECT_EQ(GlValue(state, "unit0 SOURCE1_ALPHA"), "TEXTURE");
    }
}

TEST_F(SetMaterialTest, Type21IsOpaqueWhateverSlot3Holds)
{
    for (float alpha : {0.0f, 0.5f, 7.0f})
    {
        Of(21)->params[3] = FloatSlot(alpha);
        EXPECT_EQ(GlValue(StateAfter({21}), "Color4f"), "0.25 0.5 0.75 1");
    }
    // Not even an envelope that is missing matters.
    Of(21)->params[3] = 99;
    Of(21)->dynamicMask[0] = 0x10;
    EXPECT_EQ(GlValue(StateAfter({21}), "Color4f"), "0.25 0.5 0.75 1");
}

TEST_F(SetMaterialTest, TheLineWidthMayBeAnEnvelope)
{
    Of(23)->params[4] = AddLinearEnvelope(&piece, 0.25f, 1.0f);
    Of(23)->dynamicMask[0] = 0x08;
    time = 6;
    EXPECT_EQ(GlValue(StateAfter({23}), "LineWidth"), "2.5");
    time = 8;
    EXPECT_EQ(GlValue(StateAfter({23}), "LineWidth"), "3");

    Of(23)->dynamicMask[0] = 0x07; // any bit but its own
    Of(23)->params[4] = FloatSlot(0.5f);
    EXPECT_EQ(GlValue(StateAfter({23}), "LineWidth"), "0.5");
}

TEST_F(SetMaterialTest, TheLightIsResolvedAtTheTimeOfTheMaterial)
{
    Light* light = GetRecord<Light>(2, piece.document.lights);
    light->position[0] = AddLinearEnvelope(&piece, 2.0f, 0.0f);
    light->flagsB = 0x80;
    for (uint32_t type : {1u, 3u, 5u, 9u, 12u, 14u})
    {
        time = 8;
        EXPECT_EQ(GlValue(StateAfter({type}), "LIGHT1 POSITION"), "16 2 3 1") << type;
        time = 9;
        EXPECT_EQ(GlValue(StateAfter({type}), "LIGHT1 POSITION"), "18 2 3 1") << type;
    }
}

// The turning reflection.

TEST_F(SetMaterialTest, AReflectionThatDoesNotTurnHasAnIdentityMatrix)
{
    for (float zero : {0.0f, -0.0f})
    {
        for (uint32_t type : {11u, 12u, 16u})
        {
            Of(type)->params[4] = FloatSlot(zero);
        }
        EXPECT_EQ(Calls(11), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF
                                 COMBINE_M SPHERE_24 IDENTITY DIRECTION MODELVIEW);
        EXPECT_EQ(Calls(12), FILL DEPTH_ON NORMALIZE_ON COLOR BLEND_ALPHA LIGHT_2 UNIT_1_OFF
                                 COMBINE_M SPHERE_24 IDENTITY MODELVIEW);
        EXPECT_EQ(Calls(16), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ADD UNIT_1_OFF
                                 SPHERE_24 IDENTITY DIRECTION MODELVIEW);
    }
}

TEST_F(SetMaterialTest, AnyOtherValueTurnsTheReflectionByTheHeading)
{
    for (float value : {1.0f, -1.0f, 0.5f, 1e-30f, std::numeric_limits<float>::quiet_NaN()})
    {
        for (uint32_t type : {11u, 12u, 16u})
        {
            Of(type)->params[4] = FloatSlot(value);
            EXPECT_EQ(GlValue(StateAfter({type}), "unit0 matrix"),
                      "Translatef 0.5 0.5 0, Rotatef -30 0 0 1, Translatef -0.5 -0.5 0")
                << type;
        }
    }

    cameraRotY = -90.0f;
    Calls(11);
    // A quarter turn counterclockwise about (0.5, 0.5): (1, 0.5) goes to (0.5, 1).
    const float* m = GlTextureMatrix(0);
    EXPECT_EQ(m[0] * 1.0f + m[4] * 0.5f + m[12], 0.5f);
    EXPECT_EQ(m[1] * 1.0f + m[5] * 0.5f + m[13], 1.0f);
}

TEST_F(SetMaterialTest, ADynamicRotateValueTurnsWithoutBeingEvaluated)
{
    uint32_t zero = AddLinearEnvelope(&piece, 0.0f, 0.0f);
    for (uint32_t type : {11u, 12u, 16u})
    {
        Of(type)->dynamicMask[0] = 0x08;
        Of(type)->params[4] = zero; // the bits of 1 are a float of 1.4e-45
        EXPECT_EQ(GlValue(StateAfter({type}), "unit0 matrix"),
                  "Translatef 0.5 0.5 0, Rotatef -30 0 0 1, Translatef -0.5 -0.5 0")
            << type;
        Of(type)->params[4] = 99; // no such envelope, and nobody asks
        EXPECT_EQ(GlValue(StateAfter({type}), "unit0 matrix"),
                  "Translatef 0.5 0.5 0, Rotatef -30 0 0 1, Translatef -0.5 -0.5 0")
            << type;
        Of(type)->params[4] = 0;
        EXPECT_EQ(GlValue(StateAfter({type}), "unit0 matrix"), "") << type;
    }
}

TEST_F(SetMaterialTest, DenormalValuesTurnTheReflection)
{
    Of(11)->params[4] = 1; // the id of an envelope, or 1.4e-45
    const uint32_t control = _mm_getcsr();
    _mm_setcsr(control | 0x8040); // denormal operands and results are 0
    const GlState state = StateAfter({11});
    _mm_setcsr(control);
    EXPECT_EQ(GlValue(state, "unit0 matrix"),
              "Translatef 0.5 0.5 0, Rotatef -30 0 0 1, Translatef -0.5 -0.5 0");
}

// 2D effects.

/// How often an effect was refreshed in a row of calls.
static size_t CountUpdates(const std::string& calls)
{
    size_t count = 0;
    for (size_t at = calls.find("TexSubImage2D"); at != std::string::npos;
         at = calls.find("TexSubImage2D", at + 1))
    {
        count += 1;
    }
    return count;
}

TEST_F(SetMaterialTest, AnEffectIsUpdatedOncePerDistinctTime)
{
    Effect2D* effect = GetRecord<Effect2D>(2, piece.document.effects);
    effect->paramEnvelope[0] = AddLinearEnvelope(&piece, 1.0f, 0.0f);
    StateOf(2)->lastUpdate = kEffectNeverUpdated;
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
    EXPECT_EQ(CountUpdates(Calls(6)), 0u);
    time = 101;
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
    EXPECT_EQ(EnvelopeTime(&piece, effect->paramEnvelope[0]), 101u);
    time = 100; // backwards counts as well
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
    EXPECT_EQ(CountUpdates(Calls(6)), 0u);
    EXPECT_EQ(EnvelopeTime(&piece, effect->paramEnvelope[0]), 100u);
}

TEST_F(SetMaterialTest, AnEffectOfTwoMaterialsIsUpdatedOnce)
{
    AddMaterial(6);
    const uint32_t second = piece.document.materials->count - 1; // as a type's number
    time = 7;
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
    EXPECT_EQ(CountUpdates(Calls(second)), 0u);

    Of(second)->effectRefs[0] = 1;
    const std::string calls = Calls(second);
    EXPECT_EQ(CountUpdates(calls), 1u);
    EXPECT_NE(calls.find("BindTexture TEXTURE_2D 31\nTexSubImage2D"), std::string::npos);
}

TEST_F(SetMaterialTest, AFirstTimeOf65535TicksDoesNotUpdateAnEffect)
{
    StateOf(2)->lastUpdate = kEffectNeverUpdated;
    time = 65535;
    EXPECT_EQ(Calls(6), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA UNIT_1_OFF
                            COMBINE_M FLAT_32_REPEATED);
    time = 65534;
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
    time = 65535;
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
}

TEST_F(SetMaterialTest, TimesPast2To31AreKeptWhole)
{
    time = 0xFFFFFF00;
    EXPECT_EQ(CountUpdates(Calls(6)), 1u);
    EXPECT_EQ(CountUpdates(Calls(6)), 0u);
    EXPECT_EQ(StateOf(2)->lastUpdate, -256);
}

// Without DOT3.

TEST_F(SetMaterialTest, WithoutDot3Type14IsTransparentBlack)
{
    dot3 = 0;
    const char* calls = FILL DEPTH_ON NORMALIZE_ON "Disable TEXTURE_2D\n"
                                                   "Disable LIGHTING\n"
                                                   "Color4f 0 0 0 0\n";
    EXPECT_EQ(Calls(14), calls);

    Of(14)->refs[0] = 99;
    Of(14)->refs[1] = 99;
    Of(14)->refs[2] = 99;
    Of(14)->params[0] = 99;
    Of(14)->dynamicMask[0] = 0x80;
    EXPECT_EQ(Calls(14), calls);
}

TEST_F(SetMaterialTest, WithoutDot3Type14KeepsTheBlendFunction)
{
    dot3 = 0;
    EXPECT_EQ(GlValue(StateAfter({0, 14}), "BlendFunc"), "SRC_ALPHA ONE_MINUS_SRC_ALPHA");
    EXPECT_EQ(GlValue(StateAfter({21, 14}), "BlendFunc"), "ONE ONE");
}

TEST_F(SetMaterialTest, OnlyType14MindsDot3)
{
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        dot3 = 1;
        std::string with = Calls(type);
        dot3 = 0;
        EXPECT_EQ(Calls(type) == with, type != 14) << type;
    }
}

// State that stays.

TEST_F(SetMaterialTest, NoRecipeLooksAtTheOneBefore)
{
    std::string alone[kMaterialTypes];
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        alone[type] = Calls(type);
    }
    for (uint32_t before = 0; before < kMaterialTypes; ++before)
    {
        for (uint32_t type = 0; type < kMaterialTypes; ++type)
        {
            Calls(before);
            EXPECT_EQ(Calls(type), alone[type]) << before << " before " << type;
        }
    }
}

TEST_F(SetMaterialTest, EveryRecipeSetsDepthTestAndLightingForItself)
{
    for (uint32_t before = 0; before < kMaterialTypes; ++before)
    {
        for (uint32_t type = 0; type < kMaterialTypes; ++type)
        {
            GlState state = StateAfter({before, type});
            bool depthOff = type == 17 || type == 18 || type == 19 || type == 21;
            bool lit = type == 1 || type == 3 || type == 5 || type == 9 || type == 12 || type == 14;
            EXPECT_EQ(GlValue(state, "DEPTH_TEST"), depthOff ? "off" : "on") << type;
            EXPECT_EQ(GlValue(state, "LIGHTING"), lit ? "on" : "off") << type;
            EXPECT_EQ(GlValue(state, "NORMALIZE"), lit ? "on" : "off") << type;
            EXPECT_EQ(GlValue(state, "MatrixMode"),
                      type == 0 || type == 1 || type == 19 || type == 21 || type == 23
                          ? GlValue(StateAfter({before}), "MatrixMode")
                          : "MODELVIEW");
        }
    }
}

TEST_F(SetMaterialTest, WireframeIsUndoneByEveryOtherRecipe)
{
    EXPECT_EQ(GlValue(StateAfter({23}), "PolygonMode"), "FRONT_AND_BACK LINE");
    for (uint32_t type = 0; type < 23; ++type)
    {
        GlState state = StateAfter({23, type});
        EXPECT_EQ(GlValue(state, "PolygonMode"), "FRONT_AND_BACK FILL") << type;
        EXPECT_EQ(GlValue(state, "LineWidth"), "2.5"); // which nothing resets
    }
}

TEST_F(SetMaterialTest, AType24ObjectInheritsAllOfTheOneBefore)
{
    AddMaterial(24);
    GlState wireframe = StateAfter({23});
    GlState state = StateAfter({23, 24});
    EXPECT_EQ(state, wireframe);
    EXPECT_EQ(GlValue(state, "PolygonMode"), "FRONT_AND_BACK LINE");
}

TEST_F(SetMaterialTest, RecipesWithoutCombinerUseTheDefaultUntilOneIsSet)
{
    for (uint32_t type : {2u, 3u, 4u, 5u, 16u, 20u})
    {
        GlState fresh = StateAfter({type});
        EXPECT_EQ(GlValue(fresh, "unit0 TEXTURE_ENV_MODE"), "unset") << type;
        EXPECT_EQ(GlValue(fresh, "unit0 TEXTURE_2D"), "on") << type;

        GlState afterBitmap = StateAfter({7, type});
        EXPECT_EQ(GlValue(afterBitmap, "unit0 TEXTURE_ENV_MODE"), "COMBINE") << type;
        EXPECT_EQ(GlValue(afterBitmap, "unit0 COMBINE_RGB"), "MODULATE") << type;
        EXPECT_EQ(GlValue(afterBitmap, "unit0 SOURCE0_RGB"), "PRIMARY_COLOR") << type;
        EXPECT_EQ(GlValue(afterBitmap, "unit0 SOURCE1_RGB"), "TEXTURE") << type;
        EXPECT_EQ(GlValue(afterBitmap, "unit0 SOURCE0_ALPHA"), "PRIMARY_COLOR") << type;
        EXPECT_EQ(GlValue(afterBitmap, "unit0 texture"), type == 16 ? "24" : "13") << type;

        // After a cut-out they square their alpha too.
        GlState afterCutOut = StateAfter({15, type});
        EXPECT_EQ(GlValue(afterCutOut, "unit0 SOURCE0_ALPHA"), "TEXTURE") << type;

        // After bump mapping they modulate plainly; its sources stand by unused.
        GlState afterBump = StateAfter({7, 14, type});
        EXPECT_EQ(GlValue(afterBump, "unit0 TEXTURE_ENV_MODE"), "MODULATE") << type;
        EXPECT_EQ(GlValue(afterBump, "unit0 SOURCE0_RGB"), "TEXTURE") << type;
        EXPECT_EQ(GlValue(afterBump, "unit0 SOURCE1_RGB"), "PRIMARY_COLOR") << type;
    }
}

TEST_F(SetMaterialTest, TwoBitmapsLeaveUnit1ToTheNextRecipe)
{
    for (uint32_t pair : {8u, 14u, 22u})
    {
        GlState state = StateAfter({pair});
        EXPECT_EQ(GlValue(state, "unit"), "1") << pair;
        EXPECT_EQ(GlValue(state, "client unit"), "1") << pair;
        EXPECT_EQ(GlValue(state, "unit0 TEXTURE_2D"), "on") << pair;
        EXPECT_EQ(GlValue(state, "unit1 TEXTURE_2D"), "on") << pair;
        EXPECT_EQ(GlValue(state, "unit0 texture"), "24") << pair;
        EXPECT_EQ(GlValue(state, "unit1 texture"), "25") << pair;
        EXPECT_EQ(GlValue(state, "client0 TexCoordPointer"), "first") << pair;
        EXPECT_EQ(GlValue(state, "client1 TexCoordPointer"), "second") << pair;

        for (uint32_t type = 0; type < kMaterialTypes; ++type)
        {
            if (type == 8 || type == 14 || type == 22)
            {
                continue;
            }
            state = StateAfter({pair, type});
            EXPECT_EQ(GlValue(state, "unit"), "0") << pair << " " << type;
            EXPECT_EQ(GlValue(state, "client unit"), "0") << pair << " " << type;
            EXPECT_EQ(GlValue(state, "unit1 TEXTURE_2D"), "off") << pair << " " << type;
            // Color with a light leaves the array of unit 1 on; all others turn it off.
            EXPECT_EQ(GlValue(state, "client1 TEXTURE_COORD_ARRAY"), type == 1 ? "on" : "off")
                << pair << " " << type;
        }
    }
}

TEST_F(SetMaterialTest, AMissingTextureTurnsOffTheSelectedUnit)
{
    Of(7)->refs[0] = 0;
    GlState state = StateAfter({10, 7});
    EXPECT_EQ(GlValue(state, "unit0 TEXTURE_2D"), "off");

    // After two bitmaps that is unit 1, and the first bitmap shows on.
    state = StateAfter({8, 7});
    EXPECT_EQ(GlValue(state, "unit0 TEXTURE_2D"), "on");
    EXPECT_EQ(GlValue(state, "unit1 TEXTURE_2D"), "off");
    EXPECT_EQ(GlValue(state, "unit"), "1");
}

TEST_F(SetMaterialTest, WithoutItsTextureType4LeavesLightingAsItWas)
{
    Of(4)->refs[0] = 0;
    EXPECT_EQ(GlValue(StateAfter({4}), "LIGHTING"), "unset");
    EXPECT_EQ(GlValue(StateAfter({0, 4}), "LIGHTING"), "off");
    EXPECT_EQ(GlValue(StateAfter({1, 4}), "LIGHTING"), "on");
    EXPECT_EQ(GlValue(StateAfter({1, 4}), "LIGHT1 POSITION"), "1 2 3 1");
}

TEST_F(SetMaterialTest, AMissingLightLeavesTheLightItselfAsItWas)
{
    Of(9)->refs[0] = 0;
    GlState state = StateAfter({1, 9});
    EXPECT_EQ(GlValue(state, "LIGHTING"), "off");
    EXPECT_EQ(GlValue(state, "LIGHT1"), "on");
    EXPECT_EQ(GlValue(state, "LIGHT1 POSITION"), "1 2 3 1");
}

TEST_F(SetMaterialTest, TheLightsPositionStaysUntilARecipeSetsIt)
{
    EXPECT_EQ(GlValue(StateAfter({1}), "LIGHT1 POSITION"), "1 2 3 1");
    for (uint32_t type : {4u, 11u, 16u, 20u})
    {
        EXPECT_EQ(GlValue(StateAfter({1, type}), "LIGHT1 POSITION"), "0 0 1 0") << type;
        EXPECT_EQ(GlValue(StateAfter({type, 7}), "LIGHT1 POSITION"), "0 0 1 0") << type;
    }
    for (uint32_t type : {0u, 2u, 6u, 7u, 8u, 10u, 13u, 15u, 17u, 18u, 19u, 21u, 22u, 23u})
    {
        EXPECT_EQ(GlValue(StateAfter({1, type}), "LIGHT1 POSITION"), "1 2 3 1") << type;
    }
}

TEST_F(SetMaterialTest, TheWrapBelongsToTheTextureAndReflectionsKeepIt)
{
    GlState state = StateAfter({10, 11});
    EXPECT_EQ(GlValue(state, "texture 24 TEXTURE_WRAP_S"), "CLAMP_TO_EDGE");
    EXPECT_EQ(GlValue(state, "texture 24 TEXTURE_WRAP_T"), "CLAMP_TO_EDGE");
    state = StateAfter({10, 7, 11});
    EXPECT_EQ(GlValue(state, "texture 24 TEXTURE_WRAP_S"), "REPEAT");
    EXPECT_EQ(GlValue(state, "texture 24 TEXTURE_WRAP_T"), "REPEAT");
    EXPECT_EQ(GlValue(StateAfter({11}), "texture 24 TEXTURE_WRAP_S"), "unset");
}

TEST_F(SetMaterialTest, GeneratedCoordinatesStayOnUntilAFlatTexture)
{
    for (uint32_t sphere : {4u, 5u, 11u, 12u, 14u, 16u, 20u})
    {
        EXPECT_EQ(GlValue(StateAfter({sphere, 0}), "unit0 TEXTURE_GEN_S"), "on") << sphere;
        for (uint32_t flat : {2u, 3u, 6u, 7u, 8u, 9u, 10u, 13u, 15u, 17u, 18u, 22u})
        {
            GlState state = StateAfter({sphere, flat});
            EXPECT_EQ(GlValue(state, "unit0 TEXTURE_GEN_S"), "off") << sphere << " " << flat;
            EXPECT_EQ(GlValue(state, "unit0 TEXTURE_GEN_T"), "off") << sphere << " " << flat;
            EXPECT_EQ(GlValue(state, "unit0 TEXTURE_GEN_R"), "off") << sphere << " " << flat;
            EXPECT_EQ(GlValue(state, "unit0 matrix"), "") << sphere << " " << flat;
        }
    }
}

TEST_F(SetMaterialTest, TwoBitmapsInheritTheRestOfTheirAlpha)
{
    // Multiplied: only the mode and the first source are its own.
    GlState state = StateAfter({8});
    EXPECT_EQ(GlValue(state, "unit0 COMBINE_ALPHA"), "MODULATE");
    EXPECT_EQ(GlValue(state, "unit0 SOURCE0_ALPHA"), "PRIMARY_COLOR");
    EXPECT_EQ(GlValue(state, "unit0 SOURCE1_ALPHA"), "unset");
    EXPECT_EQ(GlValue(state, "unit0 OPERAND0_ALPHA"), "unset");
    EXPECT_EQ(GlValue(state, "unit0 OPERAND1_ALPHA"), "unset");
    EXPECT_EQ(GlValue(state, "unit1 COMBINE_ALPHA"), "unset");
    EXPECT_EQ(GlValue(StateAfter({15, 8}), "unit0 SOURCE0_ALPHA"), "PRIMARY_COLOR");
    EXPECT_EQ(GlValue(StateAfter({15, 8}), "unit0 SOURCE1_ALPHA"), "TEXTURE");

    // Faded: nothing is.
    EXPECT_EQ(GlValue(StateAfter({22}), "unit0 COMBINE_ALPHA"), "unset");
    EXPECT_EQ(GlValue(StateAfter({22}), "unit0 SOURCE0_ALPHA"), "unset");
    EXPECT_EQ(GlValue(StateAfter({15, 22}), "unit0 SOURCE0_ALPHA"), "TEXTURE");
    EXPECT_EQ(GlValue(StateAfter({7, 22}), "unit0 SOURCE0_ALPHA"), "PRIMARY_COLOR");
}

TEST_F(SetMaterialTest, TheThirdSourceOfAFadeStaysOnUnit1)
{
    GlState state = StateAfter({22, 8});
    EXPECT_EQ(GlValue(state, "unit1 COMBINE_RGB"), "MODULATE");
    EXPECT_EQ(GlValue(state, "unit1 SOURCE0_RGB"), "PREVIOUS");
    EXPECT_EQ(GlValue(state, "unit1 SOURCE1_RGB"), "TEXTURE");
    EXPECT_EQ(GlValue(state, "unit1 SOURCE2_RGB"), "PRIMARY_COLOR");
}

TEST_F(SetMaterialTest, AnEffectIsUpdatedOnWhicheverUnitIsSelected)
{
    StateOf(2)->lastUpdate = kEffectNeverUpdated;
    const GlState state = StateAfter({8, 6}); // after two bitmaps that is unit 1
    EXPECT_EQ(GlValue(state, "unit1 texture"), "32");
    EXPECT_EQ(GlValue(state, "unit0 texture"), "32");
}

// Faults. After one OpenGL is called no more.

TEST_F(SetMaterialTest, ThePlaceOfFaultsIsTheCallersAgainAfterwards)
{
    for (uint32_t type = 0; type < kMaterialTypes; ++type)
    {
        Calls(type);
        EXPECT_STREQ(piece.faults.place.document, "demo.xmlz");
        EXPECT_EQ(piece.faults.place.section, Section::kTimeline);
        EXPECT_EQ(piece.faults.place.item, 3u);
        EXPECT_EQ(piece.faults.place.part, 4u);
    }
}

TEST_F(SetMaterialTest, AReferenceWithoutARecordIsAFault)
{
    struct Case
    {
        uint32_t type;
        uint32_t ref;
        const char* what;
    };
    const Case cases[] = {
        {1, 0, "light"},
        {2, 0, "procedural texture"},
        {3, 0, "light"},
        {3, 1, "procedural texture"},
        {4, 0, "procedural texture"},
        {5, 0, "light"},
        {5, 1, "procedural texture"},
        {7, 0, "bitmap"},
        {8, 0, "bitmap"},
        {8, 1, "bitmap"},
        {9, 0, "light"},
        {9, 1, "bitmap"},
        {10, 0, "bitmap"},
        {11, 0, "bitmap"},
        {12, 0, "light"},
        {12, 1, "bitmap"},
        {13, 0, "bitmap"},
        {14, 0, "light"},
        {14, 1, "bitmap"},
        {14, 2, "bitmap"},
        {15, 0, "bitmap"},
        {16, 0, "bitmap"},
        {17, 0, "bitmap"},
        {18, 0, "procedural texture"},
        {20, 0, "procedural texture"},
        {22, 0, "bitmap"},
        {22, 1, "bitmap"},
    };
    for (const Case& c : cases)
    {
        const std::string whole = Calls(c.type);
        uint32_t* ref = &Of(c.type)->refs[c.ref];
        const uint32_t kept = *ref;
        *ref = 99;
        const std::string calls = CallsToFault(c.type, std::string(c.what) + " 99 does not exist");
        *ref = kept;

        EXPECT_TRUE(whole.starts_with(calls)) << c.type;
        const bool isLight = c.what == std::string("light");
        const bool isLit = kRefs[c.type][0] == 2;
        const bool adds = whole.find("BlendFunc ONE ONE\n") != std::string::npos;
        EXPECT_TRUE(calls.ends_with(isLight ? "Enable LIGHT1\n"
                                    : isLit ? "Lightfv LIGHT1 DIFFUSE 0.4 0.5 0.6 1\n"
                                    : adds  ? BLEND_ADD
                                            : BLEND_ALPHA))
            << c.type;
    }

    Of(6)->effectRefs[0] = 3;
    EXPECT_EQ(CallsToFault(6, "2D effect 3 does not exist"),
              FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA);
    Of(7)->refs[0] = 0xFFFFFFFF; // "-1"
    EXPECT_EQ(CallsToFault(7, "bitmap -1 does not exist"),
              FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA);
}

TEST_F(SetMaterialTest, AnEnvelopeWithoutARecordIsAFault)
{
    for (uint32_t param = 0; param < 4; ++param)
    {
        Of(2)->params[param] = 77;
        Of(2)->dynamicMask[0] = static_cast<uint8_t>(0x80 >> param);
        EXPECT_EQ(CallsToFault(2, "envelope 77 does not exist"),
                  FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF);
        Of(2)->params[param] = 0;
    }

    Of(23)->params[4] = 0; // an id of 0 is no envelope
    Of(23)->dynamicMask[0] = 0x08;
    EXPECT_EQ(
        CallsToFault(23, "envelope 0 does not exist"),
        "PolygonMode FRONT_AND_BACK LINE\n" DEPTH_ON NORMALIZE_OFF UNITS_OFF LIGHTING_OFF COLOR);
}

TEST_F(SetMaterialTest, TheColorIsResolvedFirstThenTheLineWidth)
{
    Material* material = Of(23);
    for (uint32_t i = 0; i < 5; ++i)
    {
        material->params[i] = 70 + i;
    }
    material->dynamicMask[0] = 0xF8;
    for (uint32_t i = 0; i < 5; ++i)
    {
        CallsToFault(23, "envelope " + std::to_string(70 + i) + " does not exist");
        material->dynamicMask[0] = static_cast<uint8_t>(0xF8 & (0x7F >> i));
    }
}

TEST_F(SetMaterialTest, AfterTheColorComesTheLightAndThenTheTexture)
{
    for (uint32_t type : {3u, 5u, 9u, 12u, 14u})
    {
        const std::string kind = type < 6 ? "procedural texture" : "bitmap";
        Material* material = Of(type);
        material->params[3] = 73;
        material->dynamicMask[0] = 0x10;
        material->refs[0] = 74;
        material->refs[1] = 75;
        CallsToFault(type, "envelope 73 does not exist");
        material->dynamicMask[0] = 0;
        CallsToFault(type, "light 74 does not exist");
        material->refs[0] = 2;
        CallsToFault(type, kind + " 75 does not exist");
    }
}

TEST_F(SetMaterialTest, AFaultOfAnEffectLeavesItStale)
{
    GetRecord<Effect2D>(2, piece.document.effects)->paramEnvelope[0] = 12;
    StateOf(2)->lastUpdate = kEffectNeverUpdated;
    TakeGlCalls();
    EXPECT_FALSE(SetOrFail(7));
    EXPECT_EQ(TakeFaults(&piece), "quorvale: demo.xmlz, section 5 (2D effects), item 2, "
                                  "parameter 1: envelope 12 does not exist\n");
    EXPECT_EQ(TakeGlCalls(), FILL DEPTH_ON NORMALIZE_OFF LIGHTING_OFF COLOR BLEND_ALPHA);
    EXPECT_EQ(StateOf(2)->lastUpdate, kEffectNeverUpdated);
    EXPECT_EQ(piece.faults.place.section, Section::kTimeline);
}
