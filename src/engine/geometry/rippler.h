// The "Rippler": waves over the geometry of an object.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/model_data.h"

/// Displaces each coordinate along itself, by a wave over that same coordinate: c becomes
/// cosLookup(c * stepsPerUnit + startSteps) * amplitude + c. Whether it is x, y or z makes no
/// difference.
/// @param coordinates    [count], changed in place
/// @param startSteps     where the wave begins, in steps of CosTable
/// @param stepsPerUnit   steps of CosTable for one unit of a coordinate
void RippleCoordinates(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                       float amplitude);

/// Bends an object's geometry: makes CurrentDeformedMesh from the mesh, or goes on with what an
/// earlier rippler of the same object left there, ripples its vertices and recomputes its normals.
/// @param params   [3]: time, amplitude, wavelength. The last is a frequency, whatever its name
///                 says: more of it gives shorter waves. Time and frequency are in radians.
/// @param mesh     the object's own
/// @param vbo      0 or 1: keep the two arrays in buffer objects as well. Leaves GL_ARRAY_BUFFER
///                 bound to the normals' one.
/// Fatal at CurrentPlace if there is no memory.
void RippleMesh(const float* params, const Mesh* mesh, int32_t vbo);
