// SPDX-License-Identifier: MIT
#include "engine/render/set_material.h"

#include "engine/render/apply_light.h"
#include "engine/render/effect_texture.h"
#include "engine/render/gl_calls.h"
#include "engine/render/records/material.h"

/// The sources of one recipe.
struct MaterialSetup
{
    const Material* material; // borrowed, as all below
    const FrameSources* sources;
    const MaterialRequest* request;
    GlContext* gl;     // of the sources
    FaultList* faults; // of the sources
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

// The blocks that recipes are made of. Each leaves behind what it sets, and those that return bool
// return false after a fault.

static bool ResolveParam(const MaterialSetup& setup, MaterialParam n, float* value)
{
    const Animation animation = FrameAnimation(setup.sources);
    *value = ResolveValue(setup.material->params[n], MaskBit(setup.material->dynamicMask, n),
                          &animation, setup.request->time);
    return !HasFailed(setup.faults);
}

static bool SetColor(const MaterialSetup& setup)
{
    float red;
    float green;
    float blue;
    float alpha;
    const bool resolved =
        ResolveParam(setup, kParamRed, &red) && ResolveParam(setup, kParamGreen, &green) &&
        ResolveParam(setup, kParamBlue, &blue) && ResolveParam(setup, kParamAlpha, &alpha);
    if (resolved)
    {
        GlColor4f(setup.gl, red, green, blue, alpha);
    }
    return resolved;
}

/// The alpha parameter is not even resolved.
static bool SetOpaqueColor(const MaterialSetup& setup)
{
    float red;
    float green;
    float blue;
    const bool resolved = ResolveParam(setup, kParamRed, &red) &&
                          ResolveParam(setup, kParamGreen, &green) &&
                          ResolveParam(setup, kParamBlue, &blue);
    if (resolved)
    {
        GlColor4f(setup.gl, red, green, blue, 1.0f);
    }
    return resolved;
}

static void BlendAlpha(GlContext* gl)
{
    GlBlendFunc(gl, GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

static void BlendAdd(GlContext* gl)
{
    GlBlendFunc(gl, GL_ONE, GL_ONE);
}

/// Lights by refs[0]. Leaves GL_LIGHT1 as it was if that is 0.
static bool SetLight(const MaterialSetup& setup)
{
    const uint32_t id = setup.material->refs[0];
    if (id == 0)
    {
        GlDisable(setup.gl, GL_LIGHTING);
        return true;
    }
    return ApplyLight(id, setup.sources, setup.request->time);
}

/// Sets: coordinate array and texturing of unit 1 off. Leaves: unit 0 selected.
static void TurnUnit1Off(GlContext* gl)
{
    SelectTextureUnit(gl, 1);
    DisableTexCoords(gl);
    GlDisable(gl, GL_TEXTURE_2D);
    SelectTextureUnit(gl, 0);
}

/// Sets: coordinate arrays and texturing of both units off. Leaves: unit 0 selected.
static void TurnUnitsOff(GlContext* gl)
{
    TurnUnit1Off(gl);
    DisableTexCoords(gl);
    GlDisable(gl, GL_TEXTURE_2D);
}

/// One setting of a texture combiner.
struct CombinerCall
{
    GLenum name;
    GLint value;
};

/// The selected unit's combiner, call by call. Of what a table does not name, the unit keeps what
/// an earlier recipe set.
template <size_t count>
static void SetCombiner(GlContext* gl, const CombinerCall (&calls)[count])
{
    for (const CombinerCall& call : calls)
    {
        GlTexEnvi(gl, GL_TEXTURE_ENV, call.name, call.value);
    }
}

/// Color of the vertex times color of the texture; alpha is left as it was.
static constexpr CombinerCall kColors[] = {
    {GL_TEXTURE_ENV_MODE, GL_COMBINE},  {GL_COMBINE_RGB, GL_MODULATE},
    {GL_SOURCE0_RGB, GL_PRIMARY_COLOR}, {GL_OPERAND0_RGB, GL_SRC_COLOR},
    {GL_SOURCE1_RGB, GL_TEXTURE},       {GL_OPERAND1_RGB, GL_SRC_COLOR},
};

/// The alpha of the vertex times the texture's.
static constexpr CombinerCall kAlpha[] = {
    {GL_COMBINE_ALPHA, GL_MODULATE},   {GL_SOURCE0_ALPHA, GL_PRIMARY_COLOR},
    {GL_OPERAND0_ALPHA, GL_SRC_ALPHA}, {GL_SOURCE1_ALPHA, GL_TEXTURE},
    {GL_OPERAND1_ALPHA, GL_SRC_ALPHA},
};

/// The texture's alpha times itself: cut-outs get a sharper edge, and the alpha of the color plays
/// no part. Meant, although it looks like a slip.
static constexpr CombinerCall kSquaredAlpha[] = {
    {GL_COMBINE_ALPHA, GL_MODULATE},   {GL_SOURCE0_ALPHA, GL_TEXTURE},
    {GL_OPERAND0_ALPHA, GL_SRC_ALPHA}, {GL_SOURCE1_ALPHA, GL_TEXTURE},
    {GL_OPERAND1_ALPHA, GL_SRC_ALPHA},
};

/// Of two multiplied bitmaps, unit 0: the other alpha source and the operands stay as they were.
static constexpr CombinerCall kVertexAlpha[] = {
    {GL_COMBINE_ALPHA, GL_MODULATE},
    {GL_SOURCE0_ALPHA, GL_PRIMARY_COLOR},
};

/// Unit 1 of two multiplied bitmaps: what unit 0 made times the second.
static constexpr CombinerCall kMultiply[] = {
    {GL_TEXTURE_ENV_MODE, GL_COMBINE}, {GL_COMBINE_RGB, GL_MODULATE},
    {GL_SOURCE0_RGB, GL_PREVIOUS},     {GL_OPERAND0_RGB, GL_SRC_COLOR},
    {GL_SOURCE1_RGB, GL_TEXTURE},      {GL_OPERAND1_RGB, GL_SRC_COLOR},
};

/// Unit 1 of two faded bitmaps: the vertex color goes from what unit 0 made to the second.
static constexpr CombinerCall kFade[] = {
    {GL_TEXTURE_ENV_MODE, GL_COMBINE},  {GL_COMBINE_RGB, GL_INTERPOLATE},
    {GL_SOURCE1_RGB, GL_PREVIOUS},      {GL_OPERAND1_RGB, GL_SRC_COLOR},
    {GL_SOURCE0_RGB, GL_TEXTURE},       {GL_OPERAND0_RGB, GL_SRC_COLOR},
    {GL_SOURCE2_RGB, GL_PRIMARY_COLOR}, {GL_OPERAND2_RGB, GL_SRC_COLOR},
};

/// Unit 0 of bump mapping. The second mode is what counts: the unit modulates. The sources do
/// nothing here, but they stay on the unit for recipes that come later.
static constexpr CombinerCall kBumpFirst[] = {
    {GL_TEXTURE_ENV_MODE, GL_COMBINE},  {GL_TEXTURE_ENV_MODE, GL_MODULATE},
    {GL_SOURCE0_RGB, GL_TEXTURE},       {GL_OPERAND0_RGB, GL_SRC_COLOR},
    {GL_SOURCE1_RGB, GL_PRIMARY_COLOR}, {GL_OPERAND1_RGB, GL_SRC_COLOR},
};

/// Unit 1 of bump mapping: the dot product of the second bitmap and what unit 0 made.
static constexpr CombinerCall kBumpSecond[] = {
    {GL_TEXTURE_ENV_MODE, GL_COMBINE}, {GL_COMBINE_RGB, GL_DOT3_RGB},
    {GL_SOURCE0_RGB, GL_TEXTURE},      {GL_OPERAND0_RGB, GL_SRC_COLOR},
    {GL_SOURCE1_RGB, GL_PREVIOUS},     {GL_OPERAND1_RGB, GL_SRC_COLOR},
};

static void CombineModulate(GlContext* gl)
{
    SetCombiner(gl, kColors);
    SetCombiner(gl, kAlpha);
}

static void CombineSquared(GlContext* gl)
{
    SetCombiner(gl, kColors);
    SetCombiner(gl, kSquaredAlpha);
}

static void SetWrap(GlContext* gl, GLenum wrap)
{
    GlTexParameterf(gl, GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, static_cast<float>(wrap));
    GlTexParameterf(gl, GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, static_cast<float>(wrap));
}

static void TurnTexGenOn(GlContext* gl)
{
    GlEnable(gl, GL_TEXTURE_GEN_S);
    GlEnable(gl, GL_TEXTURE_GEN_T);
}

static void TurnTexGenOff(GlContext* gl)
{
    GlDisable(gl, GL_TEXTURE_GEN_S);
    GlDisable(gl, GL_TEXTURE_GEN_T);
    GlDisable(gl, GL_TEXTURE_GEN_R);
}

/// Leaves: matrix mode GL_TEXTURE.
static void LoadTextureIdentity(GlContext* gl)
{
    GlMatrixMode(gl, GL_TEXTURE);
    GlLoadIdentity(gl);
}

static void ResetTextureMatrix(GlContext* gl)
{
    LoadTextureIdentity(gl);
    GlMatrixMode(gl, GL_MODELVIEW);
}

/// A texture by the mesh's own coordinates, on the selected unit.
static void SetFlatTexture(const MaterialSetup& setup, uint32_t glTexture, GLenum wrap)
{
    GlContext* gl = setup.gl;
    GlBindTexture(gl, GL_TEXTURE_2D, glTexture);
    SetWrap(gl, wrap);
    SetFirstTexCoords(gl, &setup.request->texCoords);
    EnableTexCoords(gl);
    GlEnable(gl, GL_TEXTURE_2D);
    TurnTexGenOff(gl);
    ResetTextureMatrix(gl);
}

/// Binds a texture that will take generated coordinates. Its wrap stays as it is.
static void BindWithoutTexCoords(GlContext* gl, uint32_t glTexture)
{
    GlBindTexture(gl, GL_TEXTURE_2D, glTexture);
    DisableTexCoords(gl);
    GlEnable(gl, GL_TEXTURE_2D);
}

/// Turns a reflection with the camera's heading, about the center of the texture, if the material
/// wants it. Leaves: matrix mode GL_TEXTURE.
static void LoadTurningMatrix(const MaterialSetup& setup)
{
    // The slot as a float, whatever its flag says: an envelope's id counts as a tiny number that is
    // not 0. It is tested by its bits, since a processor may be set to take such numbers for 0.
    const bool turns = (setup.material->params[kParamExtra] & 0x7FFFFFFF) != 0;
    LoadTextureIdentity(setup.gl);
    if (turns)
    {
        GlTranslatef(setup.gl, 0.5f, 0.5f, 0.0f);
        GlRotatef(setup.gl, -setup.request->cameraRotY, 0.0f, 0.0f, 1.0f);
        GlTranslatef(setup.gl, -0.5f, -0.5f, 0.0f);
    }
}

// Ends of recipes with a sphere texture. All leave matrix mode GL_MODELVIEW.

static void EndReset(const MaterialSetup& setup)
{
    ResetTextureMatrix(setup.gl);
}

static void EndDirectAndReset(const MaterialSetup& setup)
{
    SetLightAlongZ(setup.gl);
    ResetTextureMatrix(setup.gl);
}

static void EndTurn(const MaterialSetup& setup)
{
    LoadTurningMatrix(setup);
    GlMatrixMode(setup.gl, GL_MODELVIEW);
}

static void EndTurnAndDirect(const MaterialSetup& setup)
{
    LoadTurningMatrix(setup);
    SetLightAlongZ(setup.gl);
    GlMatrixMode(setup.gl, GL_MODELVIEW);
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
    bool lit;                     // by refs[0], and then the textures follow it
    void (*blend)(GlContext* gl); // BlendAlpha or BlendAdd
    /// Runs after polygon mode, depth test and GL_NORMALIZE. False after a fault.
    bool (*apply)(const MaterialSetup& setup, const Recipe& recipe);

    // Of recipes with one texture:
    TextureSource texture = kNoTexture;
    void (*combine)(GlContext* gl) = nullptr;          // null: the last combiner of unit 0 stays
    GLenum wrap = 0;                                   // flat textures
    void (*end)(const MaterialSetup& setup) = nullptr; // sphere textures

    GLenum polygonMode = GL_FILL;
};

enum class Found : uint8_t
{
    kFault,
    kNone, // the material names none
    kYes,
};

/// @return false after a fault: there is no such bitmap
static bool FindBitmap(const MaterialSetup& setup, uint32_t id, uint32_t* glTexture)
{
    const BitmapUpload* bitmap = GetBitmapUpload(setup.sources->upload, id);
    if (bitmap == nullptr)
    {
        AddFault(setup.faults, "bitmap %d does not exist", static_cast<int32_t>(id));
        return false;
    }
    *glTexture = bitmap->glTexture;
    return true;
}

/// The OpenGL name of the recipe's one texture. If the material names none, texturing of the
/// selected unit is off afterwards.
static Found FindTexture(const MaterialSetup& setup, const Recipe& recipe, uint32_t* glTexture)
{
    const uint32_t id = setup.material->refs[recipe.lit ? 1 : 0];
    if (id == 0)
    {
        GlDisable(setup.gl, GL_TEXTURE_2D);
        return Found::kNone;
    }
    if (recipe.texture == kBitmap)
    {
        return FindBitmap(setup, id, glTexture) ? Found::kYes : Found::kFault;
    }
    *glTexture = GetTextureUpload(setup.sources->upload, id);
    if (*glTexture == 0)
    {
        AddFault(setup.faults, "procedural texture %d does not exist", static_cast<int32_t>(id));
        return Found::kFault;
    }
    return Found::kYes;
}

static bool ApplyColorAndBlend(const MaterialSetup& setup, const Recipe& recipe)
{
    if (!recipe.lit)
    {
        GlDisable(setup.gl, GL_LIGHTING);
    }
    if (!SetColor(setup))
    {
        return false;
    }
    recipe.blend(setup.gl);
    return !recipe.lit || SetLight(setup);
}

static bool ApplyPlain(const MaterialSetup& setup, const Recipe& recipe)
{
    TurnUnitsOff(setup.gl);
    GlDisable(setup.gl, GL_LIGHTING);
    if (!SetColor(setup))
    {
        return false;
    }
    recipe.blend(setup.gl);
    return true;
}

static bool ApplyOpaque(const MaterialSetup& setup, const Recipe& recipe)
{
    TurnUnitsOff(setup.gl);
    GlDisable(setup.gl, GL_LIGHTING);
    if (!SetOpaqueColor(setup))
    {
        return false;
    }
    recipe.blend(setup.gl);
    return true;
}

static bool ApplyWireframe(const MaterialSetup& setup, const Recipe& recipe)
{
    TurnUnitsOff(setup.gl);
    GlDisable(setup.gl, GL_LIGHTING);
    float lineWidth;
    if (!SetColor(setup) || !ResolveParam(setup, kParamExtra, &lineWidth))
    {
        return false;
    }
    recipe.blend(setup.gl);
    GlLineWidth(setup.gl, lineWidth);
    return true;
}

static bool ApplyLitPlain(const MaterialSetup& setup, const Recipe& recipe)
{
    // Unlike TurnUnitsOff this leaves the coordinate array of unit 1 as it is.
    GlContext* gl = setup.gl;
    SelectTextureUnit(gl, 1);
    GlDisable(gl, GL_TEXTURE_2D);
    SelectTextureUnit(gl, 0);
    DisableTexCoords(gl);
    GlDisable(gl, GL_TEXTURE_2D);

    return ApplyColorAndBlend(setup, recipe);
}

/// Color, blending and light, then the texture's name; combiner and unit 1 are set if there is one.
static Found BeginOneTexture(const MaterialSetup& setup, const Recipe& recipe, uint32_t* glTexture)
{
    if (!ApplyColorAndBlend(setup, recipe))
    {
        return Found::kFault;
    }
    const Found found = FindTexture(setup, recipe, glTexture);
    if (found == Found::kYes)
    {
        TurnUnit1Off(setup.gl);
        if (recipe.combine != nullptr)
        {
            recipe.combine(setup.gl);
        }
    }
    return found;
}

static bool ApplyFlat(const MaterialSetup& setup, const Recipe& recipe)
{
    uint32_t glTexture = 0;
    const Found found = BeginOneTexture(setup, recipe, &glTexture);
    if (found == Found::kYes)
    {
        SetFlatTexture(setup, glTexture, recipe.wrap);
    }
    return found != Found::kFault;
}

static bool ApplySphere(const MaterialSetup& setup, const Recipe& recipe)
{
    uint32_t glTexture = 0;
    const Found found = BeginOneTexture(setup, recipe, &glTexture);
    if (found == Found::kYes)
    {
        BindWithoutTexCoords(setup.gl, glTexture);
        TurnTexGenOn(setup.gl);
        recipe.end(setup);
    }
    return found != Found::kFault;
}

/// Lighting goes off late: without a texture it stays as the recipe before left it.
static bool ApplyLateUnlitSphere(const MaterialSetup& setup, const Recipe& recipe)
{
    if (!SetColor(setup))
    {
        return false;
    }
    recipe.blend(setup.gl);

    uint32_t glTexture = 0;
    const Found found = FindTexture(setup, recipe, &glTexture);
    if (found == Found::kYes)
    {
        TurnUnit1Off(setup.gl);
        BindWithoutTexCoords(setup.gl, glTexture);
        GlDisable(setup.gl, GL_LIGHTING);
        SetLightAlongZ(setup.gl);
        TurnTexGenOn(setup.gl);
        ResetTextureMatrix(setup.gl);
    }
    return found != Found::kFault;
}

static bool ApplyEffect(const MaterialSetup& setup, const Recipe& recipe)
{
    if (!ApplyColorAndBlend(setup, recipe))
    {
        return false;
    }

    const uint32_t id = setup.material->effectRefs[0];
    if (id == 0)
    {
        GlDisable(setup.gl, GL_TEXTURE_2D);
        return true;
    }
    const EffectUpload* effect = GetEffectUpload(setup.sources->upload, id);
    if (effect == nullptr)
    {
        AddFault(setup.faults, "2D effect %d does not exist", static_cast<int32_t>(id));
        return false;
    }
    EffectState* state = &setup.sources->state->effects[id - 1];
    if (static_cast<uint32_t>(state->lastUpdate) != setup.request->time)
    {
        if (!UpdateEffect2D(id, setup.sources, setup.request->time))
        {
            return false;
        }
        state->lastUpdate = static_cast<int32_t>(setup.request->time);
    }
    else if (!RefreshStaleEffect(id, setup.sources))
    {
        return false;
    }
    TurnUnit1Off(setup.gl);
    CombineModulate(setup.gl);
    SetFlatTexture(setup, effect->glTexture, GL_REPEAT);
    return true;
}

/// The two bitmaps of a multitexture material.
struct BitmapPair
{
    uint32_t glTexture[2];
};

/// Looks up refs[first] and the one after it. If one of them is 0, texturing of the selected unit
/// is off afterwards.
static Found FindBitmapPair(const MaterialSetup& setup, uint32_t first, BitmapPair* pair)
{
    const uint32_t* ids = &setup.material->refs[first];
    if (ids[0] == 0 || ids[1] == 0)
    {
        GlDisable(setup.gl, GL_TEXTURE_2D);
        return Found::kNone;
    }
    const bool found = FindBitmap(setup, ids[0], &pair->glTexture[0]) &&
                       FindBitmap(setup, ids[1], &pair->glTexture[1]);
    return found ? Found::kYes : Found::kFault;
}

/// Unit 0 takes the first bitmap, texturing not yet on. Leaves: unit 0 selected.
static void BindFirstBitmap(const MaterialSetup& setup, const BitmapPair& pair)
{
    SelectTextureUnit(setup.gl, 0);
    EnableTexCoords(setup.gl);
    GlBindTexture(setup.gl, GL_TEXTURE_2D, pair.glTexture[0]);
    SetWrap(setup.gl, GL_REPEAT);
    SetFirstTexCoords(setup.gl, &setup.request->texCoords);
}

/// Unit 1 takes the second bitmap. Leaves: unit 1 selected, which the next TurnUnit1Off puts right.
static void BindSecondBitmap(const MaterialSetup& setup, const BitmapPair& pair)
{
    SelectTextureUnit(setup.gl, 1);
    EnableTexCoords(setup.gl);
    GlEnable(setup.gl, GL_TEXTURE_2D);
    GlBindTexture(setup.gl, GL_TEXTURE_2D, pair.glTexture[1]);
    SetWrap(setup.gl, GL_REPEAT);
    SetSecondTexCoords(setup.gl, &setup.request->texCoords);
}

/// Vertex color times first bitmap times second.
static bool ApplyMultiplied(const MaterialSetup& setup, const Recipe& recipe)
{
    if (!ApplyColorAndBlend(setup, recipe))
    {
        return false;
    }
    BitmapPair pair;
    const Found found = FindBitmapPair(setup, 0, &pair);
    if (found != Found::kYes)
    {
        return found == Found::kNone;
    }

    BindFirstBitmap(setup, pair);
    SetCombiner(setup.gl, kColors);
    SetCombiner(setup.gl, kVertexAlpha);
    GlEnable(setup.gl, GL_TEXTURE_2D);
    TurnTexGenOff(setup.gl);
    ResetTextureMatrix(setup.gl);

    BindSecondBitmap(setup, pair);
    SetCombiner(setup.gl, kMultiply);
    return true;
}

/// The vertex color fades between the two bitmaps.
static bool ApplyFaded(const MaterialSetup& setup, const Recipe& recipe)
{
    if (!ApplyColorAndBlend(setup, recipe))
    {
        return false;
    }
    BitmapPair pair;
    const Found found = FindBitmapPair(setup, 0, &pair);
    if (found != Found::kYes)
    {
        return found == Found::kNone;
    }

    BindFirstBitmap(setup, pair);
    SetCombiner(setup.gl, kColors);
    GlEnable(setup.gl, GL_TEXTURE_2D);
    TurnTexGenOff(setup.gl);
    ResetTextureMatrix(setup.gl);

    BindSecondBitmap(setup, pair);
    SetCombiner(setup.gl, kFade);
    return true;
}

static bool ApplyBump(const MaterialSetup& setup, const Recipe& recipe)
{
    if (setup.sources->features.dot3 == 0)
    {
        // Where black is added nothing is seen of it; the blend function is not set for it.
        GlDisable(setup.gl, GL_TEXTURE_2D);
        GlDisable(setup.gl, GL_LIGHTING);
        GlColor4f(setup.gl, 0.0f, 0.0f, 0.0f, 0.0f);
        return true;
    }

    if (!ApplyColorAndBlend(setup, recipe))
    {
        return false;
    }
    BitmapPair pair;
    const Found found = FindBitmapPair(setup, 1, &pair);
    if (found != Found::kYes)
    {
        return found == Found::kNone;
    }

    BindFirstBitmap(setup, pair);
    SetCombiner(setup.gl, kBumpFirst);
    GlEnable(setup.gl, GL_TEXTURE_2D);
    TurnTexGenOn(setup.gl); // wins over the array
    ResetTextureMatrix(setup.gl);

    BindSecondBitmap(setup, pair);
    SetCombiner(setup.gl, kBumpSecond);
    return true;
}

static constexpr bool kDepth = true;
static constexpr bool kNoDepth = false;
static constexpr bool kLit = true;
static constexpr bool kUnlit = false;

// A row's place is the number that documents store.
static constexpr Recipe kRecipes[] = {
    // 0: color
    {kDepth, kUnlit, BlendAlpha, ApplyPlain},
    // 1: lit color
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
    // 19: color, no depth test
    {kNoDepth, kUnlit, BlendAlpha, ApplyPlain},
    // 20: added procedural environment
    {kDepth, kUnlit, BlendAdd, ApplySphere, kProcedural, nullptr, 0, EndDirectAndReset},
    // 21: added color, no depth test
    {kNoDepth, kUnlit, BlendAdd, ApplyOpaque},
    // 22: two bitmaps, faded
    {kDepth, kUnlit, BlendAdd, ApplyFaded},
    // 23: wireframe
    {kDepth, kUnlit, BlendAlpha, ApplyWireframe, kNoTexture, nullptr, 0, nullptr, GL_LINE},
};
static_assert(sizeof kRecipes / sizeof kRecipes[0] == kMaterialTypes);

static void SwitchCapability(GlContext* gl, GLenum capability, bool enabled)
{
    if (enabled)
    {
        GlEnable(gl, capability);
    }
    else
    {
        GlDisable(gl, capability);
    }
}

bool SetMaterial(uint32_t id, const FrameSources* sources, const MaterialRequest* request)
{
    const Material* material = GetRecord<Material>(id, sources->document->materials);
    if (material == nullptr || material->type >= kMaterialTypes)
    {
        return true;
    }

    FaultList* faults = sources->faults;
    const Place caller = faults->place;
    faults->place.section = Section::kMaterials;
    faults->place.item = id;
    faults->place.part = 0;

    GlContext* gl = sources->gl;
    const MaterialSetup setup = {material, sources, request, gl, faults};
    const Recipe& recipe = kRecipes[material->type];
    GlPolygonMode(gl, GL_FRONT_AND_BACK, recipe.polygonMode);
    SwitchCapability(gl, GL_DEPTH_TEST, recipe.depthTest);
    SwitchCapability(gl, GL_NORMALIZE, recipe.lit);
    const bool set = recipe.apply(setup, recipe);

    faults->place = caller;
    return set;
}
