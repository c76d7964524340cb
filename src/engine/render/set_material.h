// The 24 recipes.
#pragma once

#include <cstdint>

#include "engine/data/object_table.h"

/// Texture coordinates of the object that is being drawn; DrawSceneObjects sets them. With buffer
/// objects the names count, otherwise the arrays.
struct TexCoordSource
{
    const float* texcoord0Array; // [vertexCount][2], borrowed
    const float* texcoord1Array; // [vertexCount][2], borrowed
    uint32_t texcoord0Buffer;    // OpenGL buffer names
    uint32_t texcoord1Buffer;
};

/// Main thread only.
extern TexCoordSource CurrentTexCoords;

/// Sets all OpenGL state of a material. What a recipe does not set it inherits from the one before;
/// nothing is restored. A material without a record, or of a type above 23, changes nothing.
/// @param time         object time in ticks
/// @param cameraRotY   degrees, for recipes whose reflection turns with the camera
/// Fatal: a reference or envelope id, other than 0, that its table lacks.
void SetMaterial(uint32_t id, ObjectTable* materials, ObjectTable* lights, ObjectTable* textures,
                 ObjectTable* envelopes, ObjectTable* effects, ObjectTable* bitmaps, uint32_t time,
                 int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY);
