// SPDX-License-Identifier: MIT

// The 24 recipes.
#pragma once

#include <cstdint>

#include "engine/render/frame_sources.h"
#include "engine/render/tex_coord_arrays.h"

/// The needs of an object, by which its material is set.
struct MaterialRequest
{
    uint32_t time;            // object time in ticks
    float cameraRotY;         // degrees, for recipes whose reflection turns with the camera
    TexCoordSource texCoords; // of the object
};

/// Sets all OpenGL state of a material. What a recipe does not set it inherits from the one before;
/// nothing is restored. A material without a record, or of a type above 23, changes nothing.
/// Refreshes the 2D effect of its material if that is not at the request's time.
/// @return false after a fault: a reference, other than 0, that its table lacks; a dynamic
/// parameter
///         without its envelope, an id of 0 included
bool SetMaterial(uint32_t id, const FrameSources* sources, const MaterialRequest* request);
