#include "engine/textures/catalogues.h"

#include <cstring>
#include <gtest/gtest.h>
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

/// Behind a name all bytes are zero, and one at least is.
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
        EXPECT_TRUE(IsZeroFilled(row.formula));
    }
    for (const MaterialRow& row : MaterialCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.colorCount + row.scalarCount + row.lightCount +
                                              row.textureCount + row.effectCount + row.bitmapCount)
            << row.name;
        EXPECT_TRUE(IsZeroFilled(row.name));
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
        EXPECT_TRUE(IsZeroFilled(row.name));
    }
    for (const GenMeshRow& row : GenMeshCatalogue)
    {
        EXPECT_EQ(CountNames(row.params), row.paramCount) << row.name;
    }
}

TEST(Catalogues, AnEffectOfType0HasTwoParametersAndTheOthersHaveOne)
{
    EXPECT_EQ(Effect2DCatalogue[0].paramCount, 2);
    EXPECT_EQ(Effect2DCatalogue[1].paramCount, 1);
    EXPECT_EQ(Effect2DCatalogue[2].paramCount, 1);
    EXPECT_EQ(Effect2DCatalogue[3].paramCount, 1);
    EXPECT_STREQ(Effect2DCatalogue[0].name, "Test 2d effect");
    EXPECT_STREQ(Effect2DCatalogue[1].name, "Effect 1");
    EXPECT_STREQ(Effect2DCatalogue[2].name, "Amoba");
    EXPECT_STREQ(Effect2DCatalogue[3].name, "Rotate");
    EXPECT_EQ(Names(Effect2DCatalogue[0].params), "Test parameter1|Test parameter2");
    EXPECT_EQ(Names(Effect2DCatalogue[2].params), "Update");
}

TEST(Catalogues, GeneratorsListColorsBeforeScalars)
{
    EXPECT_STREQ(GeneratorCatalogue[2].name, "Radial colors");
    EXPECT_EQ(GeneratorCatalogue[2].colorCount, 2);
    EXPECT_EQ(GeneratorCatalogue[2].scalarCount, 2);
    EXPECT_EQ(Names(GeneratorCatalogue[2].params),
              "Center color|Margin color|Inverse radian|Color offset (0-127)");
    EXPECT_EQ(Names(GeneratorCatalogue[3].params),
              "Color|Maze size (1 - 7 integer)|Maze field (integer)|Maze fullness (0 - 1 float)");
    EXPECT_EQ(Names(GeneratorCatalogue[4].params),
              "Brick color|Wall color|Horizontal number|Vertical number|Horizontal margin|Vertical "
              "margin|Second line offset");
    EXPECT_EQ(Names(GeneratorCatalogue[5].params), "Color|Random seed");
}

TEST(Catalogues, StepsAreInTheOrderOfTheirNumbers)
{
    static const char* const kFilters[] = {"Invert", "Multiply", "Offset",     "Ripple",
                                           "Blur",   "Emboss",   "Convolution"};
    for (size_t i = 0; i < 7; ++i)
    {
        EXPECT_STREQ(FilterCatalogue[i].name, kFilters[i]);
    }
    static const char* const kCombiners[] = {"Add", "Multiply", "Maximum", "Minimum"};
    for (size_t i = 0; i < 4; ++i)
    {
        EXPECT_STREQ(CombinerCatalogue[i].name, kCombiners[i]);
    }
    EXPECT_EQ(Names(FilterCatalogue[3].params),
              "X amplitude|Y amplitude|X wavelength|Y wavelength");
    EXPECT_EQ(Names(FilterCatalogue[6].params), "m11|m12|m13|m21|m22|m23|m31|m32|m33");
    EXPECT_EQ(Names(CombinerCatalogue[1].params), "Scale");
}

TEST(Catalogues, EnvelopeFunctionsTellTheirFormulas)
{
    EXPECT_STREQ(EnvelopeFunctionCatalogue[2].formula, "f(x) = a * (x - b)^2 + c");
    EXPECT_STREQ(EnvelopeFunctionCatalogue[3].formula, "f(x) = a * sin(x * b - c) + d");
    EXPECT_STREQ(EnvelopeFunctionCatalogue[4].formula, "Catmull-Rom Spline");
    EXPECT_STREQ(EnvelopeFunctionCatalogue[5].formula, "f(x) = (a * x + e) * sin(x * b - c) + d");
    EXPECT_EQ(EnvelopeFunctionCatalogue[4].paramCount, 24);
    EXPECT_STREQ(EnvelopeFunctionCatalogue[4].params[0], "x1");
    EXPECT_STREQ(EnvelopeFunctionCatalogue[4].params[1], "y1");
    EXPECT_STREQ(EnvelopeFunctionCatalogue[4].params[23], "y12");
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
    EXPECT_EQ(ManipulatorCatalogue[0].paramCount, 12);
    EXPECT_EQ(ManipulatorCatalogue[1].paramCount, 10);
    EXPECT_EQ(ManipulatorCatalogue[2].paramCount, 3);
    EXPECT_EQ(ManipulatorCatalogue[3].paramCount, 9);
    EXPECT_STREQ(ManipulatorCatalogue[0].params[2], "Z number");
    EXPECT_STREQ(ManipulatorCatalogue[0].params[11], "Scale Z step");
    EXPECT_STREQ(ManipulatorCatalogue[1].params[1], "Position X step");
    EXPECT_EQ(Names(ManipulatorCatalogue[2].params), "Time|Amplitude|Wavelength");
    EXPECT_STREQ(ManipulatorCatalogue[3].params[8], "Scale Z");
}

TEST(Catalogues, ShortListsAreComplete)
{
    EXPECT_STREQ(LoopModeCatalogue[0].name, "Off");
    EXPECT_STREQ(LoopModeCatalogue[1].name, "Loop");
    EXPECT_STREQ(LoopModeCatalogue[2].name, "Ping-pong");
    EXPECT_STREQ(ValueKindCatalogue[0].name, "Float");
    EXPECT_STREQ(ValueKindCatalogue[1].name, "Integer");
    EXPECT_STREQ(ObjectKindCatalogue[0].name, "Model");
    EXPECT_STREQ(ObjectKindCatalogue[1].name, "Genmesh");
    EXPECT_STREQ(FogModeCatalogue[0].name, "Off");
    EXPECT_STREQ(FogModeCatalogue[1].name, "Linear");
    EXPECT_STREQ(GenMeshCatalogue[0].name, "Lake water");
    EXPECT_STREQ(GenMeshCatalogue[1].name, "Centerwave water");
    EXPECT_STREQ(GenMeshCatalogue[1].params[0], "Time");
}

TEST(Catalogues, PassKindsThatDrawIntoATextureNameIt)
{
    static const char* const kNames[] = {
        "Simple render",
        "Render to texture",
        "Link with previous",
        "Clear Z-buffer and render",
        "Render to texture, force 16:9",
        "Render to quarter screen texture",
    };
    for (size_t i = 0; i < 6; ++i)
    {
        EXPECT_STREQ(PassKindCatalogue[i].name, kNames[i]);
        EXPECT_EQ(PassKindCatalogue[i].paramCount, i == 1 || i >= 4 ? 1 : 0);
    }
    EXPECT_STREQ(PassKindCatalogue[5].params[0], "Texture");
}
