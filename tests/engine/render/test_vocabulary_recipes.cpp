// SPDX-License-Identifier: MIT

// The words of the vocabulary for recipes, held against their OpenGL calls.

#include <gtest/gtest.h>
#include <string>

#include "engine/animation/animated_value.h"
#include "engine/data/vocabulary.h"
#include "engine/render/set_material.h"
#include "support/gl_state.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"

class VocabularyRecipes : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartTestPiece(&piece);
        piece.features.dot3 = 1;
        AddTexture(&piece, 71);
        AddBitmap(&piece, {72, 4, 4, 3});
        Effect2D effect = {};
        effect.type = -1; // nothing is left to update
        AddEffect(&piece, effect, 73, 0);
        AddRecord<Light>(piece.document.lights);
        for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
        {
            Material* material = AddRecord<Material>(piece.document.materials);
            material->type = static_cast<uint32_t>(row.number);
            material->params[3] = FloatSlot(0.5f);
            for (uint32_t i = 0; i < 3; ++i)
            {
                material->refs[i] = 1;
            }
            material->effectRefs[0] = 1;
        }
    }

    void TearDown() override
    {
        FreeTestPiece(&piece);
    }

    /// The calls of a recipe, all references 1.
    std::string Calls(const VocabularyRow& row)
    {
        piece.gl = {};
        const FrameSources sources = TestSources(&piece);
        const MaterialRequest request = {kTime, 30.0f, {}};
        EXPECT_TRUE(SetMaterial(static_cast<uint32_t>(row.number) + 1, &sources, &request));
        EXPECT_EQ(GlRefusedCalls(), 0u);
        return TakeGlCalls();
    }

    /// The state that a recipe leaves in a fresh context.
    GlState State(const VocabularyRow& row)
    {
        GlState state;
        ApplyGlCalls(Calls(row), &state);
        return state;
    }

    /// Whether any texture unit has a value under this name.
    static bool OnSomeUnit(const GlState& state, const std::string& name, const char* value)
    {
        return GlValue(state, "unit0 " + name) == value || GlValue(state, "unit1 " + name) == value;
    }

    static bool Has(const VocabularyRow& row, VocabularyTrait trait)
    {
        return (row.traits & trait) != 0;
    }

    static constexpr int32_t kTime = 7;
    TestPiece piece = {};
};

TEST_F(VocabularyRecipes, LitOnesTurnLightingOn)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        const GlState state = State(row);
        EXPECT_EQ(GlValue(state, "LIGHTING") == "on", Has(row, kTraitLit)) << row.name;
        EXPECT_EQ(GlValue(state, "NORMALIZE") == "on", Has(row, kTraitLit)) << row.name;
    }
}

TEST_F(VocabularyRecipes, AddedOnesBlendOneAndOne)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        const GlState state = State(row);
        EXPECT_EQ(GlValue(state, "BlendFunc"),
                  Has(row, kTraitAdds) ? "ONE ONE" : "SRC_ALPHA ONE_MINUS_SRC_ALPHA")
            << row.name;
        const int kinds = Has(row, kTraitAdds) + Has(row, kTraitAlpha) + Has(row, kTraitCutout);
        EXPECT_EQ(kinds, 1) << row.name;
    }
}

TEST_F(VocabularyRecipes, CutoutsTakeTheTexturesAlphaTwice)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        EXPECT_EQ(OnSomeUnit(State(row), "SOURCE0_ALPHA", "TEXTURE"), Has(row, kTraitCutout))
            << row.name;
    }
}

TEST_F(VocabularyRecipes, OnesOnTopTestNoDepth)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        EXPECT_EQ(GlValue(State(row), "DEPTH_TEST") == "off", Has(row, kTraitOnTop)) << row.name;
    }
}

TEST_F(VocabularyRecipes, ReflectionsGenerateCoordinates)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        const GlState state = State(row);
        const bool reflects = Has(row, kTraitReflects);
        EXPECT_EQ(OnSomeUnit(state, "TEXTURE_GEN_S", "on"), reflects) << row.name;

        // Generated coordinates win over the array, which bump mapping leaves on.
        const bool array = GlValue(state, "client0 TEXTURE_COORD_ARRAY") == "on";
        EXPECT_EQ(array && !reflects, Has(row, kTraitCoordinates)) << row.name;
        EXPECT_EQ(GlValue(state, "client1 TEXTURE_COORD_ARRAY") == "on",
                  Has(row, kTraitCoordinates2))
            << row.name;
    }
}

TEST_F(VocabularyRecipes, ClampedTexturesEndAtTheirEdges)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        const bool clamps = Calls(row).find("CLAMP_TO_EDGE") != std::string::npos;
        EXPECT_EQ(clamps, Has(row, kTraitClamps)) << row.name;
    }
}

TEST_F(VocabularyRecipes, TurningOnesTakeTheCamerasHeading)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        GetRecord<Material>(static_cast<uint32_t>(row.number) + 1, piece.document.materials)
            ->params[4] = FloatSlot(1.0f);
        const bool turns = Calls(row).find("Rotatef -30 0 0 1") != std::string::npos;
        EXPECT_EQ(turns, Has(row, kTraitTurns)) << row.name;
    }
}

TEST_F(VocabularyRecipes, HeirsSetNoCombinerForTheirTexture)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        const std::string calls = Calls(row);
        const bool textured = calls.find("BindTexture") != std::string::npos;
        const bool silent = calls.find("TexEnvi") == std::string::npos;
        EXPECT_EQ(textured && silent, Has(row, kTraitInherits)) << row.name;
    }
}

TEST_F(VocabularyRecipes, LinesAreDrawnAsLines)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        EXPECT_EQ(GlValue(State(row), "PolygonMode") == "FRONT_AND_BACK LINE",
                  Has(row, kTraitLines))
            << row.name;
    }
}
