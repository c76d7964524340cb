// SPDX-License-Identifier: MIT

// Smooth normals of a mesh whose vertices move.
#pragma once

#include "engine/data/model_data.h"

struct Arena;

/// Lists the faces around each vertex.
/// @param indices   [indexCount], each below vertexCount; up to two after the last whole triangle
///                  are not used
/// @param faces     receives the lists, for FreeVertexFaces
/// @return false if there is no memory; `faces` is empty then
bool BuildVertexFaces(const uint32_t* indices, uint32_t indexCount, uint32_t vertexCount,
                      VertexFaces* faces);

/// Frees the lists and clears the record. An empty record is left alone.
void FreeVertexFaces(VertexFaces* faces);

/// Rewrites the normals of a mesh from its vertices and indices, and nothing else. A vertex gets
/// the mean of the unit normals of its triangles, so on a curved surface it is shorter than 1:
/// materials that need unit normals switch on GL_NORMALIZE. A face of next to no area adds next to
/// nothing to its vertices but counts in their means. A vertex that no triangle uses gets 0, 0, 0.
/// @param mesh   vertexCount, indexCount, vertices, normals, indices and faces are used; up to two
///               indices after the last whole triangle are not. Empty lists in `faces` are filled
///               from the indices; filled ones are trusted. Without `faces` lists are made for this
///               one call.
/// @param arena  scratch memory, given back: 16 bytes for each vertex and triangle
/// @return false if there is no memory; the normals are as they were then
/// Linear in vertices and triangles.
bool RecomputeNormals(const Mesh* mesh, Arena* arena);
