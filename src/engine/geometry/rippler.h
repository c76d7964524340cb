// SPDX-License-Identifier: MIT

// The "Rippler": waves over the geometry of an object.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/model_data.h"
#include "engine/geometry/deformed_mesh.h"

/// Displaces each coordinate along itself, by a wave over that same coordinate: c becomes
/// cosLookup(c * stepsPerUnit + startSteps) * amplitude + c. Whether it is x, y or z makes no
/// difference.
/// @param coordinates    [count], changed in place
/// @param startSteps     where the wave begins, in steps of CosTable
/// @param stepsPerUnit   steps of CosTable for one unit of a coordinate
void RippleCoordinates(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                       float amplitude);

/// Bends an object's geometry: starts `deformed` from the mesh, or goes on with what an earlier
/// rippler of the same object left there, ripples its vertices and recomputes its normals.
/// @param params   [3]: time, amplitude, wavelength. The last is a frequency, whatever its name
///                 says: more of it gives shorter waves. Time and frequency are in radians.
/// @param mesh     the object's own; not changed
/// @return false after a fault if there is no memory
bool RippleMesh(const float* params, const Mesh* mesh, DeformedMesh* deformed, Arena* arena,
                FaultList* faults);
