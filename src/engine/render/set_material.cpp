#include "engine/render/set_material.h"

#include <GL/glew.h>

#include "engine/animation/animated_value.h"
#include "engine/animation/light.h"
#include "engine/data/fault.h"
#include "engine/render/effect2d.h"
#include "engine/render/material.h"
#include "engine/render/tex_coord_arrays.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/procedural_texture.h"

/// What a recipe is given: the material and the arguments of SetMaterial.
struct MaterialSetup
{
    const Material* material; // borrowed, like all tables
    ObjectTable* lights;
    ObjectTable* textures;
    ObjectTable* envelopes;
    ObjectTable* effects;
    ObjectTable* bitmaps;
    uint32_t time; // ticks
    int32_t vbo;
    int32_t pbo;
    int32_t dot3;
    float cameraRotY; // degrees
};

/// Parameters as the recipes read them.
enum MaterialParam : uint32_t
{
    kParamRed = 0,
    kParamGreen = 1,
    kParamBlue = 2,
    kParamAlpha = 3,
    kParamExtra = 4, // line width, or whether the reflection turns
};

// The blocks that recipes are made of. Each leaves behind what it sets.

static float ResolveParam(const MaterialSetup& setup, MaterialParam n)
{
    const Material* material = setup.material;
    return ResolveValue(material->params[n], MaskBit(material->dynamicMask, n), setup.envelopes,
                        setup.time);
}

static void SetColour(const MaterialSetup& setup)
{
    float red = ResolveParam(setup, kParamRed);
    float green = ResolveParam(setup, kParamGreen);
    float blue = ResolveParam(setup, kParamBlue);
    float alpha = ResolveParam(setup, kParamAlpha);
    glColor4f(red, green, blue, alpha);
}

/// The alpha parameter is not even resolved.
static void SetOpaqueColour(const MaterialSetup& setup)
{
    float red = ResolveParam(setup, kParamRed);
    float green = ResolveParam(setup, kParamGreen);
    float blue = ResolveParam(setup, kParamBlue);
    glColor4f(red, green, blue, 1.0f);
}

static void BlendAlpha()
{
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

static void BlendAdd()
{
    glBlendFunc(GL_ONE, GL_ONE);
}

/// The record of a reference that is not 0; fatal if there is none.
template <typename Record>
static Record* RequireRecord(uint32_t id, const ObjectTable* table, const char* what)
{
    Record* record = GetRecord<Record>(id, table);
    if (record == nullptr)
    {
        FatalFault("%s %d does not exist", what, static_cast<int32_t>(id));
    }
    return record;
}

/// Lights by refs[0]. Leaves GL_LIGHT1 as it was if that is 0.
static void SetLight(const MaterialSetup& setup)
{
    uint32_t id = setup.material->refs[0];
    if (id == 0)
    {
        glDisable(GL_LIGHTING);
        return;
    }
    ApplyLight(id, setup.lights, setup.envelopes, setup.time);
}

/// Sets: coordinate array and texturing of unit 1 off. Leaves: unit 0 selected.
static void TurnUnit1Off()
{
    SelectTextureUnit(1);
    DisableTexCoords();
    glDisable(GL_TEXTURE_2D);
    SelectTextureUnit(0);
}

/// Sets: coordinate arrays and texturing of both units off. Leaves: unit 0 selected.
static void TurnUnitsOff()
{
    TurnUnit1Off();
    DisableTexCoords();
    glDisable(GL_TEXTURE_2D);
}

static void SetCombiner(GLenum name, GLint value)
{
    glTexEnvi(GL_TEXTURE_ENV, name, value);
}

/// Colour of the vertex times colour of the texture; of alpha nothing is said.
static void CombineColours()
{
    SetCombiner(GL_TEXTURE_ENV_MODE, GL_COMBINE);
    SetCombiner(GL_COMBINE_RGB, GL_MODULATE);
    SetCombiner(GL_SOURCE0_RGB, GL_PRIMARY_COLOR);
    SetCombiner(GL_OPERAND0_RGB, GL_SRC_COLOR);
    SetCombiner(GL_SOURCE1_RGB, GL_TEXTURE);
    SetCombiner(GL_OPERAND1_RGB, GL_SRC_COLOR);
}

/// The same, and the alpha of `alphaSource` times the texture's.
static void CombineColourAndAlpha(GLint alphaSource)
{
    CombineColours();
    SetCombiner(GL_COMBINE_ALPHA, GL_MODULATE);
    SetCombiner(GL_SOURCE0_ALPHA, alphaSource);
    SetCombiner(GL_OPERAND0_ALPHA, GL_SRC_ALPHA);
    SetCombiner(GL_SOURCE1_ALPHA, GL_TEXTURE);
    SetCombiner(GL_OPERAND1_ALPHA, GL_SRC_ALPHA);
}

static void CombineModulate()
{
    CombineColourAndAlpha(GL_PRIMARY_COLOR);
}

/// The texture's alpha times itself: cut-outs get a sharper edge, and the alpha of the colour plays
/// no part. Meant, although it looks like a slip.
static void CombineSquared()
{
    CombineColourAndAlpha(GL_TEXTURE);
}

static void SetWrap(GLenum wrap)
{
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, static_cast<float>(wrap));
    glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, static_cast<float>(wrap));
}

static void TurnTexGenOff()
{
    glDisable(GL_TEXTURE_GEN_S);
    glDisable(GL_TEXTURE_GEN_T);
    glDisable(GL_TEXTURE_GEN_R);
}

/// Leaves: matrix mode GL_TEXTURE.
static void LoadTextureIdentity()
{
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
}

static void ResetTextureMatrix()
{
    LoadTextureIdentity();
    glMatrixMode(GL_MODELVIEW);
}

/// A texture by the mesh's own coordinates, on the selected unit.
static void SetFlatTexture(const MaterialSetup& setup, uint32_t glTexture, GLenum wrap)
{
    glBindTexture(GL_TEXTURE_2D, glTexture);
    SetWrap(wrap);
    SetFirstTexCoords(setup.vbo);
    EnableTexCoords();
    glEnable(GL_TEXTURE_2D);
    TurnTexGenOff();
    ResetTextureMatrix();
}

/// Binds a texture that will take generated coordinates. Its wrap stays what it has.
static void BindWithoutTexCoords(uint32_t glTexture)
{
    glBindTexture(GL_TEXTURE_2D, glTexture);
    DisableTexCoords();
    glEnable(GL_TEXTURE_2D);
}

static void TurnTexGenOn()
{
    glEnable(GL_TEXTURE_GEN_S);
    glEnable(GL_TEXTURE_GEN_T);
}

/// Turns a reflection with the camera's heading, about the centre of the texture, if the material
/// wants it. Leaves: matrix mode GL_TEXTURE.
static void LoadTurningMatrix(const MaterialSetup& setup)
{
    // The slot as a float, whatever its flag says: an envelope's id counts as a tiny number that is
    // not 0. It is tested by its bits, since a processor may be set to take such numbers for 0.
    bool turns = (setup.material->params[kParamExtra] & 0x7FFFFFFF) != 0;
    LoadTextureIdentity();
    if (turns)
    {
        glTranslatef(0.5f, 0.5f, 0.0f);
        glRotatef(-setup.cameraRotY, 0.0f, 0.0f, 1.0f);
        glTranslatef(-0.5f, -0.5f, 0.0f);
    }
}

// What comes behind a sphere texture. All leave matrix mode GL_MODELVIEW.

static void EndReset(const MaterialSetup& /*setup*/)
{
    ResetTextureMatrix();
}

static void EndDirectAndReset(const MaterialSetup& /*setup*/)
{
    SetLightAlongZ();
    ResetTextureMatrix();
}

static void EndTurn(const MaterialSetup& setup)
{
    LoadTurningMatrix(setup);
    glMatrixMode(GL_MODELVIEW);
}

static void EndTurnAndDirect(const MaterialSetup& setup)
{
    LoadTurningMatrix(setup);
    SetLightAlongZ();
    glMatrixMode(GL_MODELVIEW);
}

// The recipes.

enum TextureSource : uint8_t
{
    kNoTexture,
    kProcedural,
    kBitmap,
};

struct Recipe
{
    bool depthTest;
    bool lit;        // by refs[0], and then the textures follow it
    void (*blend)(); // BlendAlpha or BlendAdd
    /// What follows polygon mode, depth test and GL_NORMALIZE.
    void (*apply)(const MaterialSetup& setup, const Recipe& recipe);

    // Of recipes with one texture:
    TextureSource texture = kNoTexture;
    void (*combine)() = nullptr;                       // null: what was last set on unit 0 stays
    GLenum wrap = 0;                                   // flat textures
    void (*end)(const MaterialSetup& setup) = nullptr; // sphere textures

    GLenum polygonMode = GL_FILL;
};

/// The OpenGL name of the recipe's one texture.
/// @return false if the material has none; texturing of the selected unit is off then
static bool FindTexture(const MaterialSetup& setup, const Recipe& recipe, uint32_t* glTexture)
{
    uint32_t id = setup.material->refs[recipe.lit ? 1 : 0];
    if (id == 0)
    {
        glDisable(GL_TEXTURE_2D);
        return false;
    }
    *glTexture =
        recipe.texture == kProcedural
            ? RequireRecord<ProceduralTexture>(id, setup.textures, "procedural texture")->glTexture
            : RequireRecord<BitmapTexture>(id, setup.bitmaps, "bitmap")->glTexture;
    return true;
}

static void ApplyColourAndBlend(const MaterialSetup& setup, const Recipe& recipe)
{
    if (!recipe.lit)
    {
        glDisable(GL_LIGHTING);
    }
    SetColour(setup);
    recipe.blend();
    if (recipe.lit)
    {
        SetLight(setup);
    }
}

static void ApplyPlain(const MaterialSetup& setup, const Recipe& recipe)
{
    TurnUnitsOff();
    glDisable(GL_LIGHTING);
    SetColour(setup);
    recipe.blend();
}

static void ApplyOpaque(const MaterialSetup& setup, const Recipe& recipe)
{
    TurnUnitsOff();
    glDisable(GL_LIGHTING);
    SetOpaqueColour(setup);
    recipe.blend();
}

static void ApplyWireframe(const MaterialSetup& setup, const Recipe& recipe)
{
    TurnUnitsOff();
    glDisable(GL_LIGHTING);
    SetColour(setup);
    float lineWidth = ResolveParam(setup, kParamExtra);
    recipe.blend();
    glLineWidth(lineWidth);
}

static void ApplyLitPlain(const MaterialSetup& setup, const Recipe& recipe)
{
    // Unlike TurnUnitsOff this leaves the coordinate array of unit 1 as it is.
    SelectTextureUnit(1);
    glDisable(GL_TEXTURE_2D);
    SelectTextureUnit(0);
    DisableTexCoords();
    glDisable(GL_TEXTURE_2D);

    ApplyColourAndBlend(setup, recipe);
}

static void ApplyFlat(const MaterialSetup& setup, const Recipe& recipe)
{
    ApplyColourAndBlend(setup, recipe);

    uint32_t glTexture;
    if (!FindTexture(setup, recipe, &glTexture))
    {
        return;
    }
    TurnUnit1Off();
    if (recipe.combine != nullptr)
    {
        recipe.combine();
    }
    SetFlatTexture(setup, glTexture, recipe.wrap);
}

static void ApplySphere(const MaterialSetup& setup, const Recipe& recipe)
{
    ApplyColourAndBlend(setup, recipe);

    uint32_t glTexture;
    if (!FindTexture(setup, recipe, &glTexture))
    {
        return;
    }
    TurnUnit1Off();
    if (recipe.combine != nullptr)
    {
        recipe.combine();
    }
    BindWithoutTexCoords(glTexture);
    TurnTexGenOn();
    recipe.end(setup);
}

/// Lighting goes off late: without a texture it stays as the recipe before left it.
static void ApplyLateUnlitSphere(const MaterialSetup& setup, const Recipe& recipe)
{
    SetColour(setup);
    recipe.blend();

    uint32_t glTexture;
    if (!FindTexture(setup, recipe, &glTexture))
    {
        return;
    }
    TurnUnit1Off();
    BindWithoutTexCoords(glTexture);
    glDisable(GL_LIGHTING);
    SetLightAlongZ();
    TurnTexGenOn();
    ResetTextureMatrix();
}

static void ApplyEffect(const MaterialSetup& setup, const Recipe& recipe)
{
    ApplyColourAndBlend(setup, recipe);

    uint32_t id = setup.material->effectRefs[0];
    if (id == 0)
    {
        glDisable(GL_TEXTURE_2D);
        return;
    }
    Effect2D* effect = RequireRecord<Effect2D>(id, setup.effects, "2D effect");
    if (static_cast<uint32_t>(effect->lastUpdate) != setup.time)
    {
        UpdateEffect2D(id, setup.effects, setup.envelopes, setup.time, setup.pbo);
        effect->lastUpdate = static_cast<int32_t>(setup.time);
    }
    TurnUnit1Off();
    CombineModulate();
    SetFlatTexture(setup, effect->glTexture, GL_REPEAT);
}

/// The two bitmaps of a multitexture material.
struct BitmapPair
{
    uint32_t glTexture[2];
};

/// Looks up refs[first] and the one behind it.
/// @return false if one of them is 0; texturing of the selected unit is off then
static bool FindBitmapPair(const MaterialSetup& setup, uint32_t first, BitmapPair* pair)
{
    const uint32_t* ids = &setup.material->refs[first];
    if (ids[0] == 0 || ids[1] == 0)
    {
        glDisable(GL_TEXTURE_2D);
        return false;
    }
    pair->glTexture[0] = RequireRecord<BitmapTexture>(ids[0], setup.bitmaps, "bitmap")->glTexture;
    pair->glTexture[1] = RequireRecord<BitmapTexture>(ids[1], setup.bitmaps, "bitmap")->glTexture;
    return true;
}

/// Unit 0 takes the first bitmap, texturing not yet on. Leaves: unit 0 selected.
static void BindFirstBitmap(const MaterialSetup& setup, const BitmapPair& pair)
{
    SelectTextureUnit(0);
    EnableTexCoords();
    glBindTexture(GL_TEXTURE_2D, pair.glTexture[0]);
    SetWrap(GL_REPEAT);
    SetFirstTexCoords(setup.vbo);
}

/// Unit 1 takes the second bitmap. Leaves: unit 1 selected, which the next TurnUnit1Off puts right.
static void BindSecondBitmap(const MaterialSetup& setup, const BitmapPair& pair)
{
    SelectTextureUnit(1);
    EnableTexCoords();
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, pair.glTexture[1]);
    SetWrap(GL_REPEAT);
    SetSecondTexCoords(setup.vbo);
}

/// Vertex colour times first bitmap times second.
static void ApplyMultiplied(const MaterialSetup& setup, const Recipe& recipe)
{
    ApplyColourAndBlend(setup, recipe);

    BitmapPair pair;
    if (!FindBitmapPair(setup, 0, &pair))
    {
        return;
    }

    BindFirstBitmap(setup, pair);
    CombineColours();
    // The other alpha source and the operands stay as the recipe before left them.
    SetCombiner(GL_COMBINE_ALPHA, GL_MODULATE);
    SetCombiner(GL_SOURCE0_ALPHA, GL_PRIMARY_COLOR);
    glEnable(GL_TEXTURE_2D);
    TurnTexGenOff();
    ResetTextureMatrix();

    BindSecondBitmap(setup, pair);
    SetCombiner(GL_TEXTURE_ENV_MODE, GL_COMBINE);
    SetCombiner(GL_COMBINE_RGB, GL_MODULATE);
    SetCombiner(GL_SOURCE0_RGB, GL_PREVIOUS);
    SetCombiner(GL_OPERAND0_RGB, GL_SRC_COLOR);
    SetCombiner(GL_SOURCE1_RGB, GL_TEXTURE);
    SetCombiner(GL_OPERAND1_RGB, GL_SRC_COLOR);
}

/// The vertex colour fades between the two bitmaps.
static void ApplyFaded(const MaterialSetup& setup, const Recipe& recipe)
{
    ApplyColourAndBlend(setup, recipe);

    BitmapPair pair;
    if (!FindBitmapPair(setup, 0, &pair))
    {
        return;
    }

    BindFirstBitmap(setup, pair);
    CombineColours();
    glEnable(GL_TEXTURE_2D);
    TurnTexGenOff();
    ResetTextureMatrix();

    BindSecondBitmap(setup, pair);
    SetCombiner(GL_TEXTURE_ENV_MODE, GL_COMBINE);
    SetCombiner(GL_COMBINE_RGB, GL_INTERPOLATE);
    SetCombiner(GL_SOURCE1_RGB, GL_PREVIOUS);
    SetCombiner(GL_OPERAND1_RGB, GL_SRC_COLOR);
    SetCombiner(GL_SOURCE0_RGB, GL_TEXTURE);
    SetCombiner(GL_OPERAND0_RGB, GL_SRC_COLOR);
    SetCombiner(GL_SOURCE2_RGB, GL_PRIMARY_COLOR);
    SetCombiner(GL_OPERAND2_RGB, GL_SRC_COLOR);
}

static void ApplyBump(const MaterialSetup& setup, const Recipe& recipe)
{
    if (setup.dot3 == 0)
    {
        // Nothing is seen of it where black is added; the blend function is not set for it.
        glDisable(GL_TEXTURE_2D);
        glDisable(GL_LIGHTING);
        glColor4f(0.0f, 0.0f, 0.0f, 0.0f);
        return;
    }

    ApplyColourAndBlend(setup, recipe);

    BitmapPair pair;
    if (!FindBitmapPair(setup, 1, &pair))
    {
        return;
    }

    BindFirstBitmap(setup, pair);
    // The second mode is what counts: unit 0 modulates. The sources do nothing here, but they stay
    // on the unit for recipes that come later.
    SetCombiner(GL_TEXTURE_ENV_MODE, GL_COMBINE);
    SetCombiner(GL_TEXTURE_ENV_MODE, GL_MODULATE);
    SetCombiner(GL_SOURCE0_RGB, GL_TEXTURE);
    SetCombiner(GL_OPERAND0_RGB, GL_SRC_COLOR);
    SetCombiner(GL_SOURCE1_RGB, GL_PRIMARY_COLOR);
    SetCombiner(GL_OPERAND1_RGB, GL_SRC_COLOR);
    glEnable(GL_TEXTURE_2D);
    TurnTexGenOn(); // wins over the array
    ResetTextureMatrix();

    BindSecondBitmap(setup, pair);
    SetCombiner(GL_TEXTURE_ENV_MODE, GL_COMBINE);
    SetCombiner(GL_COMBINE_RGB, GL_DOT3_RGB);
    SetCombiner(GL_SOURCE0_RGB, GL_TEXTURE);
    SetCombiner(GL_OPERAND0_RGB, GL_SRC_COLOR);
    SetCombiner(GL_SOURCE1_RGB, GL_PREVIOUS);
    SetCombiner(GL_OPERAND1_RGB, GL_SRC_COLOR);
}

static constexpr bool kDepth = true;
static constexpr bool kNoDepth = false;
static constexpr bool kLit = true;
static constexpr bool kUnlit = false;

// A row's place is the number that documents store.
static constexpr Recipe kRecipes[] = {
    // 0: colour
    {kDepth, kUnlit, BlendAlpha, ApplyPlain},
    // 1: lit colour
    {kDepth, kLit, BlendAlpha, ApplyLitPlain},
    // 2: procedural texture
    {kDepth, kUnlit, BlendAlpha, ApplyFlat, kProcedural, nullptr, GL_REPEAT},
    // 3: lit procedural texture
    {kDepth, kLit, BlendAlpha, ApplyFlat, kProcedural, nullptr, GL_REPEAT},
    // 4: procedural environment
    {kDepth, kUnlit, BlendAlpha, ApplyLateUnlitSphere, kProcedural},
    // 5: lit procedural environment
    {kDepth, kLit, BlendAlpha, ApplySphere, kProcedural, nullptr, 0, EndReset},
    // 6: 2D effect
    {kDepth, kUnlit, BlendAlpha, ApplyEffect},
    // 7: bitmap
    {kDepth, kUnlit, BlendAlpha, ApplyFlat, kBitmap, CombineModulate, GL_REPEAT},
    // 8: two bitmaps, multiplied
    {kDepth, kUnlit, BlendAlpha, ApplyMultiplied},
    // 9: lit bitmap
    {kDepth, kLit, BlendAlpha, ApplyFlat, kBitmap, CombineModulate, GL_REPEAT},
    // 10: clamped bitmap
    {kDepth, kUnlit, BlendAlpha, ApplyFlat, kBitmap, CombineModulate, GL_CLAMP_TO_EDGE},
    // 11: bitmap environment
    {kDepth, kUnlit, BlendAlpha, ApplySphere, kBitmap, CombineModulate, 0, EndTurnAndDirect},
    // 12: lit bitmap environment
    {kDepth, kLit, BlendAlpha, ApplySphere, kBitmap, CombineModulate, 0, EndTurn},
    // 13: added clamped bitmap
    {kDepth, kUnlit, BlendAdd, ApplyFlat, kBitmap, CombineModulate, GL_CLAMP_TO_EDGE},
    // 14: added bump mapping
    {kDepth, kLit, BlendAdd, ApplyBump},
    // 15: clamped bitmap with its own alpha
    {kDepth, kUnlit, BlendAlpha, ApplyFlat, kBitmap, CombineSquared, GL_CLAMP_TO_EDGE},
    // 16: added bitmap environment
    {kDepth, kUnlit, BlendAdd, ApplySphere, kBitmap, nullptr, 0, EndTurnAndDirect},
    // 17: clamped bitmap with its own alpha, no depth test
    {kNoDepth, kUnlit, BlendAlpha, ApplyFlat, kBitmap, CombineSquared, GL_CLAMP_TO_EDGE},
    // 18: added clamped procedural texture, no depth test
    {kNoDepth, kUnlit, BlendAdd, ApplyFlat, kProcedural, CombineModulate, GL_CLAMP_TO_EDGE},
    // 19: colour, no depth test
    {kNoDepth, kUnlit, BlendAlpha, ApplyPlain},
    // 20: added procedural environment
    {kDepth, kUnlit, BlendAdd, ApplySphere, kProcedural, nullptr, 0, EndDirectAndReset},
    // 21: added colour, no depth test
    {kNoDepth, kUnlit, BlendAdd, ApplyOpaque},
    // 22: two bitmaps, faded
    {kDepth, kUnlit, BlendAdd, ApplyFaded},
    // 23: wireframe
    {kDepth, kUnlit, BlendAlpha, ApplyWireframe, kNoTexture, nullptr, 0, nullptr, GL_LINE},
};
static_assert(sizeof kRecipes / sizeof kRecipes[0] == kMaterialTypes);

static void SetEnabled(GLenum capability, bool enabled)
{
    if (enabled)
    {
        glEnable(capability);
    }
    else
    {
        glDisable(capability);
    }
}

void SetMaterial(uint32_t id, ObjectTable* materials, ObjectTable* lights, ObjectTable* textures,
                 ObjectTable* envelopes, ObjectTable* effects, ObjectTable* bitmaps, uint32_t time,
                 int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY)
{
    const Material* material = GetRecord<Material>(id, materials);
    if (material == nullptr || material->type >= kMaterialTypes)
    {
        return;
    }

    FaultPlace caller = CurrentPlace;
    CurrentPlace.section = 7;
    CurrentPlace.item = id;
    CurrentPlace.part = 0;

    MaterialSetup setup = {material, lights, textures, envelopes, effects,   bitmaps,
                           time,     vbo,    pbo,      dot3,      cameraRotY};
    const Recipe& recipe = kRecipes[material->type];
    glPolygonMode(GL_FRONT_AND_BACK, recipe.polygonMode);
    SetEnabled(GL_DEPTH_TEST, recipe.depthTest);
    SetEnabled(GL_NORMALIZE, recipe.lit);
    recipe.apply(setup, recipe);

    CurrentPlace = caller;
}
