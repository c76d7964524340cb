// SPDX-License-Identifier: MIT

// The texture coordinate arrays of the two texture units.
//
// Recipes turn the arrays on and off and point them at the coordinates of the object that is being
// drawn, and each leaves behind what it does not touch. So an array may still be on, and point at
// an earlier object's coordinates, when an object is drawn whose material sets none: OpenGL would
// read past their end if that object has more vertices. Such an array is off while it is drawn.
//
// Only these routines touch the arrays and select units, and they keep GlContext::texCoords up to
// date.
#pragma once

#include <cstdint>

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
void SelectTextureUnit(GlContext* gl, uint32_t unit);

/// Turns the selected unit's array on, or off.
void EnableTexCoords(GlContext* gl);
void DisableTexCoords(GlContext* gl);

/// Points the selected unit's array at the object's first or second coordinates. Where they lie in
/// buffers it leaves their buffer bound to GL_ARRAY_BUFFER.
void SetFirstTexCoords(GlContext* gl, const TexCoordSource* source);
void SetSecondTexCoords(GlContext* gl, const TexCoordSource* source);

/// Turns off arrays that are on and have coordinates for fewer vertices than are drawn, until
/// ShowTexCoords. Calls nothing if there are none. Leaves: the selected unit as it is.
/// @return the units, unit n's bit at 1 << n, for ShowTexCoords
uint32_t HideShortTexCoords(GlContext* gl, uint32_t vertexCount);

/// Turns on again what HideShortTexCoords turned off; they point where they did.
void ShowTexCoords(GlContext* gl, uint32_t hidden);
