#include "engine/render/effect2d.h"

#include <GL/glew.h>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/data/vocabulary.h"
#include "engine/textures/effect_kernels.h"

static constexpr size_t kTestStateSize = 8;

static bool IsEffectType(int32_t type)
{
    return type >= kEffectTest && type <= kEffectRotate;
}

static size_t ImageSize(int32_t width, int32_t height, uint8_t bpp)
{
    return static_cast<size_t>(width) * static_cast<size_t>(height) * bpp / 8;
}

static void* AllocateZeroed(size_t size)
{
    void* block = calloc(size, 1);
    if (block == nullptr)
    {
        FatalFault("there is no memory for a 2D effect");
    }
    return block;
}

// ---- Images

void InitEffect2D(int32_t type, int32_t width, int32_t height, uint8_t bpp, void** holder)
{
    if (type == kEffectTest)
    {
        *holder = AllocateZeroed(kTestStateSize);
    }
    if (type == kEffectAmoba)
    {
        assert(width == height);
        AmobaState* amoba = static_cast<AmobaState*>(AllocateZeroed(sizeof(AmobaState)));
        amoba->cells = static_cast<uint8_t*>(AllocateZeroed(ImageSize(width, height, bpp)));
        amoba->lastStep = 0.0f;
        *holder = amoba;

        srand(5); // so that every run grows the same
        SeedAmoba(width, bpp, amoba->cells);
    }
}

void ReleaseEffect2DState(int32_t type, int32_t /*width*/, int32_t /*height*/, uint8_t /*bpp*/,
                          void** holder)
{
    if (type == kEffectAmoba)
    {
        free(static_cast<AmobaState*>(*holder)->cells);
    }
    if (type == kEffectTest || type == kEffectAmoba)
    {
        free(*holder);
        *holder = nullptr;
    }
}

/// One step when the whole part of "Update" has changed, either way and however far.
static void RenderAmoba(int32_t side, uint8_t bpp, float update, AmobaState* amoba, uint8_t* out)
{
    const int32_t step = TruncateToInt(update);
    if (TruncateToInt(amoba->lastStep) != step)
    {
        amoba->lastStep = static_cast<float>(step);
        GrowAmoba(side, bpp, amoba->cells);
    }
    memcpy(out, amoba->cells, ImageSize(side, side, bpp));
}

void RenderEffect2D(int32_t type, int32_t width, [[maybe_unused]] int32_t height, uint8_t bpp,
                    const float* params, void** holder, uint8_t* out)
{
    assert(width == height);
    switch (type)
    {
    case kEffectTest:
        *static_cast<uint8_t*>(*holder) += 1; // a count of calls that nothing reads
        RenderTestEffect(width, bpp, params, out);
        break;
    case kEffectPlasma:
        RenderEffect1(width, bpp, params[0], out);
        break;
    case kEffectAmoba:
        RenderAmoba(width, bpp, params[0], static_cast<AmobaState*>(*holder), out);
        break;
    case kEffectRotate:
        RenderRotate(width, bpp, params[0], out);
        break;
    default:
        break;
    }
}

// ---- Textures

enum TextureUse
{
    kCreateTexture,
    kRefreshTexture,
};

/// @param pixels   in client memory, or null for the start of the bound unpack buffer
static void SetTexture(const Effect2D* effect, TextureUse use, const uint8_t* pixels)
{
    const GLenum format = effect->bpp == 24 ? GL_RGB : GL_LUMINANCE;
    glBindTexture(GL_TEXTURE_2D, effect->glTexture);
    if (use == kCreateTexture)
    {
        glTexImage2D(GL_TEXTURE_2D, 0, effect->bpp == 24 ? 3 : 1, effect->width, effect->height, 0,
                     format, GL_UNSIGNED_BYTE, pixels);
    }
    else
    {
        glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, effect->width, effect->height, format,
                        GL_UNSIGNED_BYTE, pixels);
    }
}

/// Gives the effect's pixel buffer a new store of the image's size.
/// @return the store, mapped; null if OpenGL has none to give
static uint8_t* MapPixelBuffer(const Effect2D* effect)
{
    const size_t size = ImageSize(effect->width, effect->height, effect->bpp);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, effect->pixelBuffer);
    glBufferData(GL_PIXEL_UNPACK_BUFFER, static_cast<GLsizeiptr>(size), nullptr, GL_STREAM_DRAW);
    return static_cast<uint8_t*>(glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY));
}

static void RenderImage(const Effect2D* effect, const float* params, uint8_t* out)
{
    if (!IsEffectType(effect->type))
    {
        memset(out, 0, ImageSize(effect->width, effect->height, effect->bpp));
        return;
    }
    RenderEffect2D(effect->type, effect->width, effect->height, effect->bpp, params, effect->state,
                   out);
}

static void RenderThroughMemory(const Effect2D* effect, const float* params, TextureUse use)
{
    const size_t size = ImageSize(effect->width, effect->height, effect->bpp);
    uint8_t* image = static_cast<uint8_t*>(malloc(size));
    if (image == nullptr)
    {
        FatalFault("there is no memory for a 2D effect");
    }
    RenderImage(effect, params, image);
    SetTexture(effect, use, image);
    free(image);
}

/// Renders straight into the pixel buffer. Leaves it bound.
static void RenderThroughBuffer(const Effect2D* effect, const float* params, TextureUse use)
{
    uint8_t* image = MapPixelBuffer(effect);
    if (image == nullptr)
    {
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        RenderThroughMemory(effect, params, use);
        return;
    }
    RenderImage(effect, params, image);
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
    SetTexture(effect, use, nullptr);
}

// ---- Reading

/// Anything but the three literals, and nothing at all, means 512.
static int32_t ReadResolution(const TiXmlElement* item)
{
    const char* resolution = item->Attribute("resolution");
    if (resolution != nullptr)
    {
        if (strcmp(resolution, "64x64") == 0)
        {
            return 64;
        }
        if (strcmp(resolution, "128x128") == 0)
        {
            return 128;
        }
        if (strcmp(resolution, "256x256") == 0)
        {
            return 256;
        }
    }
    return 512;
}

static void ReadEffectParams(const TiXmlElement* item, int32_t* paramEnvelope)
{
    uint32_t count = 0;
    const TiXmlElement* child = RequireElement(item->FirstChild(), "a parameter");
    while (child != nullptr && strcmp(child->Value(), "p") == 0)
    {
        CurrentPlace.part = count + 1;
        if (count == kEffectParams)
        {
            FatalFault("more than %u parameters", kEffectParams);
        }
        paramEnvelope[count] = ParseInt(RequireText(child));
        ++count;

        const TiXmlNode* next = child->NextSibling();
        child = next == nullptr ? nullptr : next->ToElement();
    }
    CurrentPlace.part = 0;
}

/// Parameters at time 0, as many as the catalogue tells; the first that names no envelope ends
/// them.
/// @param params   [kEffectParams], all 0
static void EvaluateFirstParams(const Effect2D* effect, const ObjectTable* envelopes, float* params)
{
    const VocabularyRow* row = FindVocabularyRow(kCatalogueEffects, effect->type);
    if (row == nullptr)
    {
        return;
    }
    const uint32_t count = CountParamNumbers(row);
    for (uint32_t i = 0; i < count && effect->paramEnvelope[i] != 0; ++i)
    {
        CurrentPlace.part = i + 1;
        params[i] =
            EvaluateEnvelopeId(static_cast<uint32_t>(effect->paramEnvelope[i]), envelopes, 0);
    }
    CurrentPlace.part = 0;
}

static void CreateEffectTexture(Effect2D* effect, const float* params, bool useBuffer)
{
    glGenTextures(1, &effect->glTexture);
    if (useBuffer)
    {
        glGenBuffers(1, &effect->pixelBuffer);
        RenderThroughBuffer(effect, params, kCreateTexture);
    }
    else
    {
        RenderThroughMemory(effect, params, kCreateTexture);
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    if (useBuffer)
    {
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    }
}

void ReadEffect2DItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                      LoadContext* context)
{
    Effect2D* effect = static_cast<Effect2D*>(record);
    *effect = {};
    snprintf(effect->name, sizeof(effect->name), "%s", RequireAttribute(item, "name"));
    effect->type = ReadIntAttribute(item, "type");
    effect->width = ReadResolution(item);
    effect->height = effect->width;
    effect->bpp = strcmp(RequireAttribute(item, "bpp"), "8") == 0 ? 8 : 24;
    effect->lastUpdate = kEffectNeverUpdated;
    ReadEffectParams(item, effect->paramEnvelope);

    effect->state = static_cast<void**>(AllocateZeroed(sizeof(void*)));
    InitEffect2D(effect->type, effect->width, effect->height, effect->bpp, effect->state);

    float params[kEffectParams] = {};
    EvaluateFirstParams(effect, context->document->envelopes, params);
    CreateEffectTexture(effect, params, context->isDemo && context->features.pbo != 0);
}

// ---- Play

/// Parameters at a time; one that names no envelope stays 0. What is wrong with one is wrong with
/// the effect and not with the object that wears it.
/// @param params   [kEffectParams], all 0
static void EvaluateParams(uint32_t id, const Effect2D* effect, const ObjectTable* envelopes,
                           uint32_t time, float* params)
{
    FaultPlace caller = CurrentPlace;
    CurrentPlace.section = 5;
    CurrentPlace.item = id;

    // By way of a float: above 2^24 ticks the low bits are lost.
    const uint32_t rounded = TruncateToUnsigned(static_cast<float>(time));
    const uint32_t count = CountParamNumbers(FindVocabularyRow(kCatalogueEffects, effect->type));
    for (uint32_t i = 0; i < count; ++i)
    {
        CurrentPlace.part = i + 1;
        const int32_t envelope = effect->paramEnvelope[i];
        if (envelope != 0)
        {
            params[i] = EvaluateEnvelopeId(static_cast<uint32_t>(envelope), envelopes, rounded);
        }
    }
    CurrentPlace = caller;
}

void UpdateEffect2D(uint32_t id, ObjectTable* effects, ObjectTable* envelopes, uint32_t time,
                    int32_t useBuffer)
{
    const Effect2D* effect = GetRecord<Effect2D>(id, effects);
    if (effect == nullptr || !IsEffectType(effect->type))
    {
        return;
    }

    float params[kEffectParams] = {};
    EvaluateParams(id, effect, envelopes, time, params);
    if (useBuffer != 0)
    {
        RenderThroughBuffer(effect, params, kRefreshTexture);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    }
    else
    {
        RenderThroughMemory(effect, params, kRefreshTexture);
    }
}
