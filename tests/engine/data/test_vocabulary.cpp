// SPDX-License-Identifier: MIT
#include "engine/data/vocabulary.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

/// Display names of a row's parameters, separated by bars.
static std::string ParamNames(const VocabularyRow& row)
{
    std::string text;
    for (const VocabularyParam& param : row.params)
    {
        text += std::string(text.empty() ? "" : "|") + param.name;
    }
    return text;
}

struct ExpectedRow
{
    int32_t number;
    const char* name;
    const char* params; // separated by bars
};

template <size_t kRows>
static void ExpectRows(CatalogueId catalogue, const ExpectedRow (&expected)[kRows])
{
    const std::span<const VocabularyRow> rows = Catalogues[catalogue].rows;
    ASSERT_EQ(rows.size(), kRows);
    for (size_t i = 0; i < kRows; ++i)
    {
        EXPECT_EQ(rows[i].number, expected[i].number) << expected[i].name;
        EXPECT_STREQ(rows[i].name, expected[i].name);
        EXPECT_EQ(ParamNames(rows[i]), expected[i].params) << expected[i].name;
    }
}

/// Rows of no parameters, numbered from 0.
static std::string RowNames(CatalogueId catalogue)
{
    std::string text;
    for (const VocabularyRow& row : Catalogues[catalogue].rows)
    {
        text += std::string(text.empty() ? "" : "|") + row.name;
    }
    return text;
}

TEST(Vocabulary, GeneratorsListColorsBeforeScalars)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "Color", "Color"},
        {1, "Sinus plasma", "Plasma color|Repeat x|Repeat y"},
        {2, "Radial colors", "Center color|Margin color|Inverse radian|Color offset (0-127)"},
        {3, "Maze",
         "Color|Maze size (1 - 7 integer)|Maze field (integer)|Maze fullness (0 - 1 float)"},
        {4, "Bricks",
         "Brick color|Wall color|Horizontal number|Vertical number|Horizontal margin|Vertical "
         "margin|Second line offset"},
        {5, "Noise", "Color|Random seed"},
    };
    ExpectRows(kCatalogueGenerators, kExpected);
}

TEST(Vocabulary, StepsAreNumberedFrom101And201)
{
    static constexpr ExpectedRow kExpected[] = {
        {101, "Add", "1. scale|2. scale"},
        {102, "Multiply", "Scale"},
        {103, "Maximum", "1. scale|2. scale"},
        {104, "Minimum", "1. scale|2. scale"},
        {201, "Invert", ""},
        {202, "Multiply", "Scale"},
        {203, "Offset", "X offset|Y offset"},
        {204, "Ripple", "X amplitude|Y amplitude|X wavelength|Y wavelength"},
        {205, "Blur", ""},
        {206, "Emboss", "Direction (1-4)"},
        {207, "Convolution", "m11|m12|m13|m21|m22|m23|m31|m32|m33"},
    };
    ExpectRows(kCatalogueSteps, kExpected);
}

TEST(Vocabulary, EnvelopeFunctionsTellTheirFormulas)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "Constant", "a"},
        {1, "Linear", "a|b"},
        {2, "Quadratic", "a|b|c"},
        {3, "Sinus", "a|b|c|d"},
        {4, "Catmull-Rom Spline",
         "x1|y1|x2|y2|x3|y3|x4|y4|x5|y5|x6|y6|x7|y7|x8|y8|x9|y9|x10|y10|x11|y11|x12|y12"},
        {5, "Sinus * x", "a|b|c|d|e"},
    };
    ExpectRows(kCatalogueFunctions, kExpected);

    static const char* const kFormulas[] = {
        "f(x) = a",
        "f(x) = a * x + b",
        "f(x) = a * (x - b)^2 + c",
        "f(x) = a * sin(x * b - c) + d",
        "Catmull-Rom Spline",
        "f(x) = (a * x + e) * sin(x * b - c) + d",
    };
    for (size_t i = 0; i < 6; ++i)
    {
        EXPECT_STREQ(Catalogues[kCatalogueFunctions].rows[i].formula, kFormulas[i]);
    }
}

TEST(Vocabulary, AnEffectOfType0HasTwoParametersAndTheOthersHaveOne)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "Test 2d effect", "Test parameter1|Test parameter2"},
        {1, "Effect 1", "Step"},
        {2, "Amoba", "Update"},
        {3, "Rotate", "Step"},
    };
    ExpectRows(kCatalogueEffects, kExpected);
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueEffects, 0)), 2U);
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueEffects, 3)), 1U);
}

TEST(Vocabulary, MaterialsAreTheTwentyFourRecipes)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "Color", "Color|Alpha (0-1)"},
        {1, "Color + Light", "Color|Light|Alpha (0-1)"},
        {2, "Procedural Texture", "Color|Procedural Texture|Alpha (0-1)"},
        {3, "Procedural Texture + Light", "Color|Light|Procedrual Texture|Alpha (0-1)"},
        {4, "Procedural Environment mapping", "Color|Procedural Texture|Alpha (0-1)"},
        {5, "Procedural Environment mapping + light", "Color|Light|Procedural Texture|Alpha (0-1)"},
        {6, "2D Effect Texture", "Color|2D Effect Texture|Alpha (0-1)"},
        {7, "Bitmap texture", "Color|Bitmap Texture|Alpha (0-1)"},
        {8, "Bitmap multitexture", "Color|1. Bitmap Texture|2. Bitmap Texture|Alpha (0-1)"},
        {9, "Bitmap texture + light", "Color|Light|Bitmap Texture|Alpha (0-1)"},
        {10, "Clamped bitmap texture", "Color|Bitmap Texture|Alpha (0-1)"},
        {11, "Bitmap environment mapping",
         "Color|Bitmap Texture|Alpha (0-1)|Rotate texture (0, 1)"},
        {12, "Bitmap environment mapping with light",
         "Color|Bitmap Texture|Light|Alpha (0-1)|Rotate texture (0, 1)"},
        {13, "Additive clamped bitmap texture", "Color|Bitmap Texture|Alpha (0-1)"},
        {14, "Additive DOT3 bump mapping bitmap texture",
         "Color|Light|1. Bitmap Texture|2. Bitmap Texture|Alpha (0-1)"},
        {15, "Clamped bitmap texture with alpha", "Color|Bitmap Texture"},
        {16, "Additive bitmap environment mapping",
         "Color|Bitmap Texture|Alpha (0-1)|Rotate texture (0, 1)"},
        {17, "Clamped bitmap texture with alpha, no depth test", "Color|Bitmap Texture"},
        {18, "Additive clamped procedural texture, no depth test",
         "Color|Procedural Texture|Alpha (0-1)"},
        {19, "Color, no depth test", "Color|Alpha (0-1)"},
        {20, "Additive Procedural Environment mapping", "Color|Procedural Texture|Alpha (0-1)"},
        {21, "Additive color, no depth test", "Color"},
        {22, "Bitmap multitexture add", "Color|1. Bitmap Texture|2. Bitmap Texture|Alpha (0-1)"},
        {23, "Wireframe", "Color|Alpha (0-1)|Line width"},
    };
    ExpectRows(kCatalogueRecipes, kExpected);
}

/// The kinds of a row's references, in the row's order.
static std::string ReferenceKinds(const VocabularyRow& row)
{
    std::string text;
    for (const VocabularyParam& param : row.params)
    {
        if (param.kind >= ParamKind::Light)
        {
            text += std::string(text.empty() ? "" : " ") + ParamKindWord(param.kind);
        }
    }
    return text;
}

TEST(Vocabulary, RecipesReferToLightsTexturesEffectsAndBitmaps)
{
    static const char* const kReferences[] = {
        "",
        "light",
        "texture",
        "light texture",
        "texture",
        "light texture",
        "effect",
        "bitmap",
        "bitmap bitmap",
        "light bitmap",
        "bitmap",
        "bitmap",
        "bitmap light",
        "bitmap",
        "light bitmap bitmap",
        "bitmap",
        "bitmap",
        "bitmap",
        "texture",
        "",
        "texture",
        "",
        "bitmap bitmap",
        "",
    };
    for (const VocabularyRow& row : Catalogues[kCatalogueRecipes].rows)
    {
        const std::string kinds = ReferenceKinds(row);
        EXPECT_EQ(kinds, kReferences[row.number]) << row.name;
        EXPECT_EQ(kinds.find("light") != std::string::npos, (row.traits & kTraitLit) != 0);
    }
}

TEST(Vocabulary, ManipulatorsHaveTheCountsThatTheirChainUses)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "XYZ Multiplier",
         "X number|Y number|Z number|Position X step|Position Y step|Position Z step|Rotate X "
         "step|Rotate Y step|Rotate Z step|Scale X step|Scale Y step|Scale Z step"},
        {1, "X Multiplier",
         "X number|Position X step|Position Y step|Position Z step|Rotate X step|Rotate Y "
         "step|Rotate Z step|Scale X step|Scale Y step|Scale Z step"},
        {2, "Rippler", "Time|Amplitude|Wavelength"},
        {3, "Model placer",
         "Position X|Position Y|Position Z|Rotate X|Rotate Y|Rotate Z|Scale X|Scale Y|Scale Z"},
    };
    ExpectRows(kCatalogueManipulators, kExpected);
}

TEST(Vocabulary, OnlyTheModelPlacerPlacesOnAMesh)
{
    for (const VocabularyRow& row : Catalogues[kCatalogueManipulators].rows)
    {
        EXPECT_EQ((row.traits & kTraitPlacesOnMesh) != 0, row.number == kManipulatorModelPlacer);
    }
}

TEST(Vocabulary, PassKindsThatDrawIntoATextureNameIt)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "Simple render", ""},
        {1, "Render to texture", "Texture"},
        {2, "Link with previous", ""},
        {3, "Clear Z-buffer and render", ""},
        {4, "Render to texture, force 16:9", "Texture"},
        {5, "Render to quarter screen texture", "Texture"},
    };
    ExpectRows(kCataloguePasses, kExpected);
    for (const VocabularyRow& row : Catalogues[kCataloguePasses].rows)
    {
        EXPECT_EQ((row.traits & kTraitTarget) != 0, !row.params.empty()) << row.name;
    }
}

TEST(Vocabulary, MeshGeneratorsTakeTheTime)
{
    static constexpr ExpectedRow kExpected[] = {
        {0, "Lake water", "Time"},
        {1, "Centerwave water", "Time"},
    };
    ExpectRows(kCatalogueGenMeshes, kExpected);
}

TEST(Vocabulary, ShortListsAreComplete)
{
    EXPECT_EQ(RowNames(kCatalogueLoops), "Off|Loop|Ping-pong");
    EXPECT_EQ(RowNames(kCatalogueValueKinds), "Float|Integer");
    EXPECT_EQ(RowNames(kCatalogueObjectKinds), "Model|Genmesh");
    EXPECT_EQ(RowNames(kCatalogueFogModes), "Off|Linear");
    EXPECT_EQ(RowNames(kCatalogueProjections), "static|ortographic|dynamic");
}

static bool IsWord(const std::string& text)
{
    return !text.empty() && text[0] >= 'a' && text[0] <= 'z' &&
           text.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_") == std::string::npos;
}

TEST(Vocabulary, NumbersAscendAndWordsDiffer)
{
    for (const Catalogue& catalogue : Catalogues)
    {
        EXPECT_TRUE(IsWord(catalogue.word)) << catalogue.word;
        std::set<std::string> rowWords;
        int32_t before = -1;
        for (const VocabularyRow& row : catalogue.rows)
        {
            EXPECT_GT(row.number, before) << row.name;
            before = row.number;
            EXPECT_TRUE(IsWord(row.word)) << row.word;
            EXPECT_TRUE(rowWords.insert(row.word).second) << row.word;
            std::set<std::string> paramWords;
            for (const VocabularyParam& param : row.params)
            {
                EXPECT_TRUE(IsWord(param.word)) << param.word;
                EXPECT_TRUE(paramWords.insert(param.word).second) << row.name << param.word;
            }
        }
    }
}

TEST(Vocabulary, UsualValuesLieInTheirRanges)
{
    for (const Catalogue& catalogue : Catalogues)
    {
        for (const VocabularyRow& row : catalogue.rows)
        {
            for (const VocabularyParam& param : row.params)
            {
                EXPECT_GE(param.usual, param.least) << row.name << ": " << param.name;
                EXPECT_LE(param.usual, param.most) << row.name << ": " << param.name;
            }
        }
    }
}

TEST(Vocabulary, ARowIsFoundByItsNumberAlone)
{
    EXPECT_STREQ(FindVocabularyRow(kCatalogueSteps, 204)->name, "Ripple");
    EXPECT_STREQ(FindVocabularyRow(kCatalogueRecipes, 23)->name, "Wireframe");
    EXPECT_EQ(FindVocabularyRow(kCatalogueSteps, 105), nullptr);
    EXPECT_EQ(FindVocabularyRow(kCatalogueRecipes, -1), nullptr);
    EXPECT_EQ(FindVocabularyRow(kCatalogueRecipes, int64_t{1} << 32), nullptr);
}

TEST(Vocabulary, AColorIsThreeNumbersAndAReferenceNone)
{
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueGenerators, kGeneratorBricks)), 11U);
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueRecipes, kRecipeColor)), 4U);
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueRecipes, kRecipeAddedBump)), 4U);
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueRecipes, kRecipeWireframe)), 5U);
    EXPECT_EQ(CountParamNumbers(FindVocabularyRow(kCatalogueFunctions, kFunctionSpline)), 24U);
}

TEST(Vocabulary, SectionsStandInTheirOrder)
{
    for (int32_t i = 0; i <= kSectionCount; ++i)
    {
        EXPECT_EQ(VocabularySections[i].section, static_cast<Section>(i));
        EXPECT_NE(VocabularySections[i].item, nullptr);
        EXPECT_TRUE(IsWord(VocabularySections[i].word));
    }
}

TEST(Vocabulary, LayersAndRowsAreCountedFromZero)
{
    EXPECT_EQ(ItemNumber(Section::kLayers, 1), 0u);
    EXPECT_EQ(ItemNumber(Section::kTimeline, 32), 31u);
    for (const Section section : {Section::kTextures, Section::kModels, Section::kScenes})
    {
        EXPECT_EQ(ItemNumber(section, 3), 3u);
    }
}
