// Smooth normals of a mesh whose vertices move.
#pragma once

#include "engine/data/model_data.h"

/// Rewrites the normals of a mesh from its vertices and indices, and nothing else. A vertex gets
/// the mean of the unit normals of its triangles, so on a curved surface it is shorter than 1:
/// materials that need unit normals switch on GL_NORMALIZE. A face of next to no area adds next to
/// nothing to its vertices but counts in their means. A vertex that no triangle uses gets 0, 0, 0.
/// @param mesh   vertexCount, indexCount, vertices, normals and indices are used; up to two indices
///               behind the last whole triangle are not
/// Linear in vertices and triangles, with one temporary block of 16 bytes for each of both. Which
/// triangles lie around each vertex is found at the first call with an index list and kept for the
/// next ones: indices that change in place are noticed.
/// @return false if there is no memory
bool RecomputeNormals(const Mesh* mesh);
