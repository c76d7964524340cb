// The 24 recipes.
#pragma once

#include <cstdint>

#include "engine/data/object_table.h"

/// Sets all OpenGL state of a material. What a recipe does not set it inherits from the one before;
/// nothing is restored. A material without a record, or of a type above 23, changes nothing.
/// Relies on: CurrentTexCoords.
/// @param time         object time in ticks
/// @param cameraRotY   degrees, for recipes whose reflection turns with the camera
/// Refreshes the 2D effect of its material if that is not at `time`.
/// Fatal: a reference, other than 0, that its table lacks; a dynamic parameter without its
/// envelope, an id of 0 included.
void SetMaterial(uint32_t id, ObjectTable* materials, ObjectTable* lights, ObjectTable* textures,
                 ObjectTable* envelopes, ObjectTable* effects, ObjectTable* bitmaps, uint32_t time,
                 int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY);
