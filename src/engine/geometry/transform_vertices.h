// Vertices moved by the matrix that OpenGL holds.
#pragma once

#include <cstdint>

/// Multiplies each vertex, as x, y, z, 1, by the current GL_MODELVIEW_MATRIX and drops the
/// resulting w without any division.
/// @param vertices   [count][3]
/// @return a new heap array [count][3] for the caller to free, never null; fatal at CurrentPlace if
///         there is no memory for it
float* TransformVertices(const float* vertices, uint32_t count);
