// SPDX-License-Identifier: MIT

// The smooth normals of Assimp, for bench_moving to be measured beside. One thread. It wants three
// vertices of its own for each triangle, so that is what it gets.
#pragma once

#include <cstdint>

struct AssimpMesh;

/// @param vertices   [][3]
/// @param indices    three for each triangle
AssimpMesh* CreateAssimpMesh(const float* vertices, const uint32_t* indices, uint32_t indexCount);
void FreeAssimpMesh(AssimpMesh* mesh);

/// Makes the normals anew, at the largest angle, which is the one that it has a short way for.
/// @return false if it has not done so
bool AssimpSmoothNormals(AssimpMesh* mesh);
