// SPDX-License-Identifier: MIT

// Vertices moved by a matrix.
#pragma once

#include <cstdint>

struct Arena;
struct FaultList;

/// Multiplies each vertex, as x, y, z, 1, by a matrix and drops the resulting w without any
/// division.
/// @param matrix     [16], columns one after another, as OpenGL gives GL_MODELVIEW_MATRIX
/// @param vertices   [count][3]
/// @return a new array [count][3], lent by the arena; null after a fault if there is no memory
float* TransformVertices(const float* matrix, const float* vertices, uint32_t count, Arena* arena,
                         FaultList* faults);
