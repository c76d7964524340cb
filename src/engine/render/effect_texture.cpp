// SPDX-License-Identifier: MIT
#include "engine/render/effect_texture.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>

#include "engine/data/allocate.h"
#include "engine/render/gl_calls.h"

enum TextureUse
{
    kCreateTexture,
    kRefreshTexture,
};

/// @param pixels   in client memory, or null for the start of the bound unpack buffer
static void SetTexture(const EffectTexture* texture, TextureUse use, const uint8_t* pixels)
{
    const Effect2D* effect = texture->effect;
    const GLenum format = effect->bpp == 24 ? GL_RGB : GL_LUMINANCE;
    glBindTexture(GL_TEXTURE_2D, texture->upload->glTexture);
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
static uint8_t* MapPixelBuffer(const EffectTexture* texture)
{
    const size_t size = EffectImageBytes(texture->effect);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, texture->upload->pixelBuffer);
    glBufferData(GL_PIXEL_UNPACK_BUFFER, static_cast<GLsizeiptr>(size), nullptr, GL_STREAM_DRAW);
    return static_cast<uint8_t*>(glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY));
}

static void RenderImage(const EffectTexture* texture, const float* params, uint8_t* out)
{
    if (!IsEffectType(texture->effect->type))
    {
        memset(out, 0, EffectImageBytes(texture->effect));
        return;
    }
    RenderEffect2D(texture->effect, params, texture->state, texture->random, out);
}

static bool RenderThroughMemory(const EffectTexture* texture, const float* params, TextureUse use)
{
    uint8_t* image =
        AllocateBlock<uint8_t>(EffectImageBytes(texture->effect), "a 2D effect", texture->faults);
    if (image == nullptr)
    {
        return false;
    }
    RenderImage(texture, params, image);
    SetTexture(texture, use, image);
    free(image);
    return true;
}

/// Renders straight into the pixel buffer. Leaves it bound.
static bool RenderThroughBuffer(const EffectTexture* texture, const float* params, TextureUse use)
{
    uint8_t* image = MapPixelBuffer(texture);
    if (image == nullptr)
    {
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
        return RenderThroughMemory(texture, params, use);
    }
    RenderImage(texture, params, image);
    glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER);
    SetTexture(texture, use, nullptr);
    return true;
}

bool CreateEffectTexture(const EffectTexture* texture, const float* params, bool useBuffer)
{
    EffectUpload* upload = texture->upload;
    glGenTextures(1, &upload->glTexture);
    bool rendered;
    if (useBuffer)
    {
        glGenBuffers(1, &upload->pixelBuffer);
        rendered = RenderThroughBuffer(texture, params, kCreateTexture);
    }
    else
    {
        rendered = RenderThroughMemory(texture, params, kCreateTexture);
    }
    if (!rendered)
    {
        return false;
    }
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    if (useBuffer)
    {
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    }
    return true;
}

bool UpdateEffect2D(uint32_t id, const FrameSources* sources, uint32_t time)
{
    const Effect2D* effect = GetRecord<Effect2D>(id, sources->document->effects);
    if (effect == nullptr || !IsEffectType(effect->type))
    {
        return true;
    }

    float params[kEffectParams] = {};
    const Animation animation = FrameAnimation(sources);
    if (!EvaluateEffectParams(id, effect, &animation, time, params))
    {
        return false;
    }
    EffectState* state = &sources->state->effects[id - 1];
    EffectUpload* upload = &sources->upload->effects[id - 1];
    GlContext* gl = sources->gl;
    upload->stale = SkipsCalls(gl);
    if (gl->shadow != nullptr)
    {
        ShadowBindTexture(gl, upload->glTexture);
    }
    if (SkipsCalls(gl))
    {
        StepEffect2D(effect, params, state, sources->random);
        return true;
    }

    const EffectTexture texture = {effect, state, upload, sources->random, sources->faults};
    if (sources->features.pbo == 0)
    {
        return RenderThroughMemory(&texture, params, kRefreshTexture);
    }
    if (!RenderThroughBuffer(&texture, params, kRefreshTexture))
    {
        return false;
    }
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    return true;
}

bool RefreshStaleEffect(uint32_t id, const FrameSources* sources)
{
    EffectUpload* upload = &sources->upload->effects[id - 1];
    GlContext* gl = sources->gl;
    const Effect2D* effect = GetRecord<Effect2D>(id, sources->document->effects);
    if (effect == nullptr || !upload->stale || SkipsCalls(gl))
    {
        return true;
    }
    upload->stale = false;
    EffectState* state = &sources->state->effects[id - 1];
    const EffectTexture texture = {effect, state, upload, sources->random, sources->faults};
    const bool rendered = RenderThroughMemory(&texture, state->imageParams, kRefreshTexture);
    glBindTexture(GL_TEXTURE_2D, gl->shadow->state.units[gl->texCoords.unit].texture);
    return rendered;
}
