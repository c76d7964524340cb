// SPDX-License-Identifier: MIT
#include "engine/render/tex_coord_arrays.h"

#include "engine/render/gl_calls.h"

void SelectTextureUnit(GlContext* gl, uint32_t unit)
{
    GlActiveTexture(gl, GL_TEXTURE0 + unit);
    GlClientActiveTexture(gl, GL_TEXTURE0 + unit);
    gl->texCoords.unit = unit;
}

void EnableTexCoords(GlContext* gl)
{
    GlEnableClientState(gl, GL_TEXTURE_COORD_ARRAY);
    gl->texCoords.enabled[gl->texCoords.unit] = true;
}

void DisableTexCoords(GlContext* gl)
{
    GlDisableClientState(gl, GL_TEXTURE_COORD_ARRAY);
    gl->texCoords.enabled[gl->texCoords.unit] = false;
}

static void SetTexCoords(GlContext* gl, const TexCoordSource* source, const float* array,
                         uint32_t buffer)
{
    if (source->buffers)
    {
        GlBindBuffer(gl, GL_ARRAY_BUFFER, buffer);
        GlTexCoordPointer(gl, 2, GL_FLOAT, 0, nullptr);
    }
    else
    {
        GlTexCoordPointer(gl, 2, GL_FLOAT, 0, array);
    }
    gl->texCoords.vertexCount[gl->texCoords.unit] = source->vertexCount;
}

void SetFirstTexCoords(GlContext* gl, const TexCoordSource* source)
{
    SetTexCoords(gl, source, source->texCoords1, source->texCoordBuffer1);
}

void SetSecondTexCoords(GlContext* gl, const TexCoordSource* source)
{
    SetTexCoords(gl, source, source->texCoords2, source->texCoordBuffer2);
}

/// Turns one unit's array on or off. Leaves: the selected unit as it is.
static void SwitchArray(GlContext* gl, uint32_t unit, bool on)
{
    GlClientActiveTexture(gl, GL_TEXTURE0 + unit);
    if (on)
    {
        GlEnableClientState(gl, GL_TEXTURE_COORD_ARRAY);
    }
    else
    {
        GlDisableClientState(gl, GL_TEXTURE_COORD_ARRAY);
    }
    GlClientActiveTexture(gl, GL_TEXTURE0 + gl->texCoords.unit);
}

uint32_t HideShortTexCoords(GlContext* gl, uint32_t vertexCount)
{
    const TexCoordArrays* arrays = &gl->texCoords;
    uint32_t hidden = 0;
    for (uint32_t unit = 0; unit < kTextureUnits; ++unit)
    {
        if (arrays->enabled[unit] && arrays->vertexCount[unit] < vertexCount)
        {
            SwitchArray(gl, unit, false);
            hidden |= 1u << unit;
        }
    }
    return hidden;
}

void ShowTexCoords(GlContext* gl, uint32_t hidden)
{
    for (uint32_t unit = 0; unit < kTextureUnits; ++unit)
    {
        if ((hidden & (1u << unit)) != 0)
        {
            SwitchArray(gl, unit, true);
        }
    }
}
