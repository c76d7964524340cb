#include "engine/textures/catalogues.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

/// The names of a row, separated by bars, until the first empty one; fails on text behind that.
template <size_t kCount>
static std::string Names(const char (&names)[kCount][32])
{
    std::string text;
    bool ended = false;
    for (const char(&name)[32] : names)
    {
        ended = ended || name[0] == 0;
        EXPECT_EQ(ended, name[0] == 0) << name;
        if (!ended)
        {
            text += std::string(text.empty() ? "" : "|") + name;
        }
    }
    return text;
}

/// The number of names of a row.
template <size_t kCount>
static int CountNames(const char (&names)[kCount][32])
{
    int count = 0;
    while (count < static_cast<int>(kCount) && names[count][0] != 0)
    {
        ++count;
    }
    return count;
}

/// Behind a text all bytes are zero, and one at least is.
template <size_t kSize>
static bool IsZeroFilled(const char (&text)[kSize])
{
    const size_t length = strnlen(text, kSize);
    for (size_t i = length; i < kSize; ++i)
    {
        if (text[i] != 0)
        {
            return false;
        }
    }
    return length < kSize;
}

template <size_t kCount>
static bool AreZeroFilled(const char (&names)[kCount][32])
{
    for (const char(&name)[32] : names)
    {
        if (!IsZeroFilled(name))
        {
            return false;
        }
    }
    return true;
}

TEST(Catalogues, RowsHaveTheWidthsOfTheFormat)
{
    EXPECT_EQ(sizeof(GeneratorCatalogue), 6U * 296U);
    EXPECT_EQ(sizeof(FilterCatalogue), 7U * 321U);
    EXPECT_EQ(sizeof(CombinerCatalogue), 4U * 321U);
    EXPECT_EQ(sizeof(LoopModeCatalogue), 3U * 32U);
    EXPECT_EQ(sizeof(EnvelopeFunctionCatalogue), 6U * 849U);
    EXPECT_EQ(sizeof(ValueKindCatalogue), 2U * 32U);
    EXPECT_EQ(sizeof(MaterialCatalogue), 24U * 1094U);
    EXPECT_EQ(sizeof(Effect2DCatalogue), 4U * 1057U);
    EXPECT_EQ(sizeof(ObjectKindCatalogue), 2U * 32U);
    EXPECT_EQ(sizeof(ManipulatorCatalogue), 4U * 1058U);
    EXPECT_EQ(sizeof(PassKindCatalogue), 6U * 165U);
    EXPECT_EQ(sizeof(GenMeshCatalogue), 2U * 545U);
    EXPECT_EQ(sizeof(FogModeCatalogue), 2U * 32U);
}

TEST(Catalogues, CountsAreTheNumbersOfNames)
{
    for (const GeneratorRow& row : GeneratorCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.colorCount + row.scalarCount) << row.name;
    }
    for (const StepRow& row : FilterCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
    for (const StepRow& row : CombinerCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
    for (const EnvelopeFunctionRow& row : EnvelopeFunctionCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
    for (const MaterialRow& row : MaterialCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.colorCount + row.scalarCount + row.lightCount +
                                              row.textureCount + row.effectCount + row.bitmapCount)
            << row.name;
    }
    for (const Effect2DRow& row : Effect2DCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
    for (const ManipulatorRow& row : ManipulatorCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
    for (const PassKindRow& row : PassKindCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
    for (const GenMeshRow& row : GenMeshCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
}

template <typename Row, size_t kRows>
static void ExpectZeroFilledRows(const Row (&rows)[kRows])
{
    for (const Row& row : rows)
    {
        EXPECT_TRUE(IsZeroFilled(row.name)) << row.name;
        EXPECT_TRUE(AreZeroFilled(row.params)) << row.name;
    }
}

template <size_t kRows>
static void ExpectZeroFilledNames(const NameRow (&rows)[kRows])
{
    for (const NameRow& row : rows)
    {
        EXPECT_TRUE(IsZeroFilled(row.name)) << row.name;
    }
}

TEST(Catalogues, EveryArrayIsZeroBehindItsText)
{
    ExpectZeroFilledRows(GeneratorCatalogue);
    ExpectZeroFilledRows(FilterCatalogue);
    ExpectZeroFilledRows(CombinerCatalogue);
    ExpectZeroFilledNames(LoopModeCatalogue);
    ExpectZeroFilledRows(EnvelopeFunctionCatalogue);
    for (const EnvelopeFunctionRow& row : EnvelopeFunctionCatalogue)
    {
        EXPECT_TRUE(IsZeroFilled(row.formula)) << row.name;
    }
    ExpectZeroFilledNames(ValueKindCatalogue);
    ExpectZeroFilledRows(MaterialCatalogue);
    ExpectZeroFilledRows(Effect2DCatalogue);
    ExpectZeroFilledNames(ObjectKindCatalogue);
    ExpectZeroFilledRows(ManipulatorCatalogue);
    ExpectZeroFilledRows(PassKindCatalogue);
    ExpectZeroFilledRows(GenMeshCatalogue);
    ExpectZeroFilledNames(FogModeCatalogue);
}

/// A row that has one count for all its parameters.
struct ExpectedRow
{
    const char* name;
    int paramCount;
    const char* params; // separated by bars
};

template <typename Row, size_t kRows>
static void ExpectRows(const Row (&rows)[kRows], const ExpectedRow (&expected)[kRows])
{
    for (size_t i = 0; i < kRows; ++i)
    {
        EXPECT_STREQ(rows[i].name, expected[i].name);
        EXPECT_EQ(rows[i].paramCount, expected[i].paramCount) << expected[i].name;
        EXPECT_EQ(Names(rows[i].params), expected[i].params) << expected[i].name;
    }
}

TEST(Catalogues, AnEffectOfType0HasTwoParametersAndTheOthersHaveOne)
{
    static constexpr ExpectedRow kExpected[] = {
        {"Test 2d effect", 2, "Test parameter1|Test parameter2"},
        {"Effect 1", 1, "Step"},
        {"Amoba", 1, "Update"},
        {"Rotate", 1, "Step"},
    };
    ExpectRows(Effect2DCatalogue, kExpected);
}

TEST(Catalogues, GeneratorsListColorsBeforeScalars)
{
    struct ExpectedGenerator
    {
        const char* name;
        int colorCount;
        int scalarCount;
        const char* params;
    };
    static constexpr ExpectedGenerator kExpected[] = {
        {"Color", 1, 0, "Color"},
        {"Sinus plasma", 1, 2, "Plasma color|Repeat x|Repeat y"},
        {"Radial colors", 2, 2, "Center color|Margin color|Inverse radian|Color offset (0-127)"},
        {"Maze", 1, 3,
         "Color|Maze size (1 - 7 integer)|Maze field (integer)|Maze fullness (0 - 1 float)"},
        {"Bricks", 2, 5,
         "Brick color|Wall color|Horizontal number|Vertical number|Horizontal margin|Vertical "
         "margin|Second line offset"},
        {"Noise", 1, 1, "Color|Random seed"},
    };
    static_assert(std::size(kExpected) == kGeneratorRows);
    for (size_t i = 0; i < kGeneratorRows; ++i)
    {
        const GeneratorRow& row = GeneratorCatalogue[i];
        EXPECT_STREQ(row.name, kExpected[i].name);
        EXPECT_EQ(row.colorCount, kExpected[i].colorCount) << row.name;
        EXPECT_EQ(row.scalarCount, kExpected[i].scalarCount) << row.name;
        EXPECT_EQ(Names(row.params), kExpected[i].params) << row.name;
    }
}

TEST(Catalogues, StepsAreInTheOrderOfTheirNumbers)
{
    static constexpr ExpectedRow kFilters[] = {
        {"Invert", 0, ""},
        {"Multiply", 1, "Scale"},
        {"Offset", 2, "X offset|Y offset"},
        {"Ripple", 4, "X amplitude|Y amplitude|X wavelength|Y wavelength"},
        {"Blur", 0, ""},
        {"Emboss", 1, "Direction (1-4)"},
        {"Convolution", 9, "m11|m12|m13|m21|m22|m23|m31|m32|m33"},
    };
    static constexpr ExpectedRow kCombiners[] = {
        {"Add", 2, "1. scale|2. scale"},
        {"Multiply", 1, "Scale"},
        {"Maximum", 2, "1. scale|2. scale"},
        {"Minimum", 2, "1. scale|2. scale"},
    };
    ExpectRows(FilterCatalogue, kFilters);
    ExpectRows(CombinerCatalogue, kCombiners);
}

TEST(Catalogues, EnvelopeFunctionsTellTheirFormulas)
{
    static constexpr ExpectedRow kExpected[] = {
        {"Constant", 1, "a"},
        {"Linear", 2, "a|b"},
        {"Quadratic", 3, "a|b|c"},
        {"Sinus", 4, "a|b|c|d"},
        {"Catmull-Rom Spline", 24,
         "x1|y1|x2|y2|x3|y3|x4|y4|x5|y5|x6|y6|x7|y7|x8|y8|x9|y9|x10|y10|x11|y11|x12|y12"},
        {"Sinus * x", 5, "a|b|c|d|e"},
    };
    ExpectRows(EnvelopeFunctionCatalogue, kExpected);
    static const char* const kFormulas[] = {
        "f(x) = a",
        "f(x) = a * x + b",
        "f(x) = a * (x - b)^2 + c",
        "f(x) = a * sin(x * b - c) + d",
        "Catmull-Rom Spline",
        "f(x) = (a * x + e) * sin(x * b - c) + d",
    };
    for (size_t i = 0; i < kEnvelopeFunctionRows; ++i)
    {
        EXPECT_STREQ(EnvelopeFunctionCatalogue[i].formula, kFormulas[i]);
    }
}

struct ExpectedMaterial
{
    const char* name;
    const char* counts; // colors, scalars, lights, procedural textures, 2D effects, bitmaps
    const char* params;
};

static constexpr ExpectedMaterial kExpectedMaterials[] = {
    {"Color", "1 1 0 0 0 0", "Color|Alpha (0-1)"},
    {"Color + Light", "1 1 1 0 0 0", "Color|Light|Alpha (0-1)"},
    {"Procedural Texture", "1 1 0 1 0 0", "Color|Procedural Texture|Alpha (0-1)"},
    {"Procedural Texture + Light", "1 1 1 1 0 0", "Color|Light|Procedrual Texture|Alpha (0-1)"},
    {"Procedural Environment mapping", "1 1 0 1 0 0", "Color|Procedural Texture|Alpha (0-1)"},
    {"Procedural Environment mapping + light", "1 1 1 1 0 0",
     "Color|Light|Procedural Texture|Alpha (0-1)"},
    {"2D Effect Texture", "1 1 0 0 1 0", "Color|2D Effect Texture|Alpha (0-1)"},
    {"Bitmap texture", "1 1 0 0 0 1", "Color|Bitmap Texture|Alpha (0-1)"},
    {"Bitmap multitexture", "1 1 0 0 0 2", "Color|1. Bitmap Texture|2. Bitmap Texture|Alpha (0-1)"},
    {"Bitmap texture + light", "1 1 1 0 0 1", "Color|Light|Bitmap Texture|Alpha (0-1)"},
    {"Clamped bitmap texture", "1 1 0 0 0 1", "Color|Bitmap Texture|Alpha (0-1)"},
    {"Bitmap environment mapping", "1 2 0 0 0 1",
     "Color|Bitmap Texture|Alpha (0-1)|Rotate texture (0, 1)"},
    {"Bitmap environment mapping with light", "1 2 1 0 0 1",
     "Color|Bitmap Texture|Light|Alpha (0-1)|Rotate texture (0, 1)"},
    {"Additive clamped bitmap texture", "1 1 0 0 0 1", "Color|Bitmap Texture|Alpha (0-1)"},
    {"Additive DOT3 bump mapping bitmap texture", "1 1 1 0 0 2",
     "Color|Light|1. Bitmap Texture|2. Bitmap Texture|Alpha (0-1)"},
    {"Clamped bitmap texture with alpha", "1 0 0 0 0 1", "Color|Bitmap Texture"},
    {"Additive bitmap environment mapping", "1 2 0 0 0 1",
     "Color|Bitmap Texture|Alpha (0-1)|Rotate texture (0, 1)"},
    {"Clamped bitmap texture with alpha, no depth test", "1 0 0 0 0 1", "Color|Bitmap Texture"},
    {"Additive clamped procedural texture, no depth test", "1 1 0 1 0 0",
     "Color|Procedural Texture|Alpha (0-1)"},
    {"Color, no depth test", "1 1 0 0 0 0", "Color|Alpha (0-1)"},
    {"Additive Procedural Environment mapping", "1 1 0 1 0 0",
     "Color|Procedural Texture|Alpha (0-1)"},
    {"Additive color, no depth test", "1 0 0 0 0 0", "Color"},
    {"Bitmap multitexture add", "1 1 0 0 0 2",
     "Color|1. Bitmap Texture|2. Bitmap Texture|Alpha (0-1)"},
    {"Wireframe", "1 2 0 0 0 0", "Color|Alpha (0-1)|Line width"},
};

TEST(Catalogues, MaterialsAreTheTwentyFourRecipesRow3sMisspellingIncluded)
{
    for (size_t i = 0; i < 24; ++i)
    {
        const MaterialRow& row = MaterialCatalogue[i];
        const ExpectedMaterial& expected = kExpectedMaterials[i];
        EXPECT_STREQ(row.name, expected.name);
        std::string counts;
        for (const int count : {row.colorCount, row.scalarCount, row.lightCount, row.textureCount,
                                row.effectCount, row.bitmapCount})
        {
            counts += (counts.empty() ? "" : " ") + std::to_string(count);
        }
        EXPECT_EQ(counts, expected.counts) << row.name;
        EXPECT_EQ(Names(row.params), expected.params) << row.name;
    }
    EXPECT_STREQ(MaterialCatalogue[3].params[2], "Procedrual Texture");
}

TEST(Catalogues, OnlyTheModelPlacerPlacesOnAMesh)
{
    EXPECT_EQ(ManipulatorCatalogue[0].placesOnMesh, 0);
    EXPECT_EQ(ManipulatorCatalogue[1].placesOnMesh, 0);
    EXPECT_EQ(ManipulatorCatalogue[2].placesOnMesh, 0);
    EXPECT_EQ(ManipulatorCatalogue[3].placesOnMesh, 1);
    EXPECT_STREQ(ManipulatorCatalogue[3].name, "Model placer");
}

TEST(Catalogues, ManipulatorsHaveTheCountsThatTheirChainUses)
{
    static constexpr ExpectedRow kExpected[] = {
        {"XYZ Multiplier", 12,
         "X number|Y number|Z number|Position X step|Position Y step|Position Z step|Rotate X "
         "step|Rotate Y step|Rotate Z step|Scale X step|Scale Y step|Scale Z step"},
        {"X Multiplier", 10,
         "X number|Position X step|Position Y step|Position Z step|Rotate X step|Rotate Y "
         "step|Rotate Z step|Scale X step|Scale Y step|Scale Z step"},
        {"Rippler", 3, "Time|Amplitude|Wavelength"},
        {"Model placer", 9,
         "Position X|Position Y|Position Z|Rotate X|Rotate Y|Rotate Z|Scale X|Scale Y|Scale Z"},
    };
    ExpectRows(ManipulatorCatalogue, kExpected);
}

template <size_t kRows>
static std::string RowNames(const NameRow (&rows)[kRows])
{
    std::string text;
    for (const NameRow& row : rows)
    {
        text += std::string(text.empty() ? "" : "|") + row.name;
    }
    return text;
}

TEST(Catalogues, ShortListsAreComplete)
{
    EXPECT_EQ(RowNames(LoopModeCatalogue), "Off|Loop|Ping-pong");
    EXPECT_EQ(RowNames(ValueKindCatalogue), "Float|Integer");
    EXPECT_EQ(RowNames(ObjectKindCatalogue), "Model|Genmesh");
    EXPECT_EQ(RowNames(FogModeCatalogue), "Off|Linear");
}

TEST(Catalogues, MeshGeneratorsTakeTheTime)
{
    static constexpr ExpectedRow kExpected[] = {
        {"Lake water", 1, "Time"},
        {"Centerwave water", 1, "Time"},
    };
    ExpectRows(GenMeshCatalogue, kExpected);
}

TEST(Catalogues, PassKindsThatDrawIntoATextureNameIt)
{
    static constexpr ExpectedRow kExpected[] = {
        {"Simple render", 0, ""},
        {"Render to texture", 1, "Texture"},
        {"Link with previous", 0, ""},
        {"Clear Z-buffer and render", 0, ""},
        {"Render to texture, force 16:9", 1, "Texture"},
        {"Render to quarter screen texture", 1, "Texture"},
    };
    ExpectRows(PassKindCatalogue, kExpected);
}
