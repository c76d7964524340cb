// SPDX-License-Identifier: MIT

// The texture coordinate arrays of the two texture units.
//
// Recipes turn the arrays on and off and point them at the coordinates of the object that is being
// drawn, and each leaves behind what it does not touch. So an array may still be on, and point at
// an earlier object's coordinates, when an object is drawn whose material sets none: OpenGL would
// read past their end if that object has more vertices. Such an array is off while it is drawn.
//
// Only these routines touch the arrays and select units, and they keep GlContext::texCoords up to
// date. They are inline: every object takes six or seven of them, and one is hardly more than the
// OpenGL calls in it.
#pragma once

#include <cstdint>

#include "engine/render/gl_calls.h"
#include "engine/render/gl_context.h"

/// Texture coordinates of the object that is being drawn.
struct TexCoordSource
{
    const float* texCoords1;  // [vertexCount][2], borrowed; counts where `buffers` is false
    const float* texCoords2;  // [vertexCount][2], borrowed
    uint32_t texCoordBuffer1; // OpenGL buffer names; count where `buffers` is true
    uint32_t texCoordBuffer2;
    uint32_t vertexCount; // of the object's mesh
    bool buffers;         // the coordinates lie in buffer objects
};

/// Selects a texture unit, 0 or 1, for calls of the server's and of the client's side.
inline void SelectTextureUnit(GlContext* gl, uint32_t unit)
{
    GlActiveTexture(gl, GL_TEXTURE0 + unit);
    GlClientActiveTexture(gl, GL_TEXTURE0 + unit);
    gl->texCoords.unit = unit;
}

/// Turns the selected unit's array on, or off.
inline void EnableTexCoords(GlContext* gl)
{
    GlEnableClientState(gl, GL_TEXTURE_COORD_ARRAY);
    gl->texCoords.enabled[gl->texCoords.unit] = true;
}

inline void DisableTexCoords(GlContext* gl)
{
    GlDisableClientState(gl, GL_TEXTURE_COORD_ARRAY);
    gl->texCoords.enabled[gl->texCoords.unit] = false;
}

/// Points the selected unit's array at coordinates in client memory or in a buffer.
inline void SetTexCoords(GlContext* gl, const TexCoordSource* source, const float* array,
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

/// Points the selected unit's array at the object's first or second coordinates. Where they lie in
/// buffers it leaves their buffer bound to GL_ARRAY_BUFFER.
inline void SetFirstTexCoords(GlContext* gl, const TexCoordSource* source)
{
    SetTexCoords(gl, source, source->texCoords1, source->texCoordBuffer1);
}

inline void SetSecondTexCoords(GlContext* gl, const TexCoordSource* source)
{
    SetTexCoords(gl, source, source->texCoords2, source->texCoordBuffer2);
}

/// Turns one unit's array on or off. Leaves: the selected unit as it is.
inline void SwitchArray(GlContext* gl, uint32_t unit, bool on)
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

/// Turns off arrays that are on and have coordinates for fewer vertices than are drawn, until
/// ShowTexCoords. Calls nothing if there are none. Leaves: the selected unit as it is.
/// @return the units, unit n's bit at 1 << n, for ShowTexCoords
inline uint32_t HideShortTexCoords(GlContext* gl, uint32_t vertexCount)
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

/// Turns on again what HideShortTexCoords turned off; they point where they did.
inline void ShowTexCoords(GlContext* gl, uint32_t hidden)
{
    for (uint32_t unit = 0; unit < kTextureUnits; ++unit)
    {
        if ((hidden & (1u << unit)) != 0)
        {
            SwitchArray(gl, unit, true);
        }
    }
}
