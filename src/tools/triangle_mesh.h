// SPDX-License-Identifier: MIT

// A mesh on its way to a model file.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/files.h"

struct MeshVertex // floats only, so that vertices compare and sort by their bytes
{
    float position[3];
    float texCoords[2][2]; // by set; zeros where the source has none
    float normal[3];
};

struct TriangleMesh
{
    std::vector<MeshVertex> vertices;
    std::vector<uint8_t> hasNormal; // [vertex], 0 where the source has none
    std::vector<uint32_t> indices;  // three a triangle, each below vertices.size()
    uint32_t texCoordSets;          // 1 or 2
};

/// Gives normals to the vertices that have none: the sum of the normals of all triangles around
/// them, each as large as its triangle, made 1 long. Vertices without normals at one position share
/// theirs, so seams of texture coordinates stay smooth. Around degenerate triangles alone it stays
/// zero.
void MakeMissingNormals(TriangleMesh* mesh);

/// Makes all normals anew: the sum of the normals of those triangles around the place of a corner
/// that meet the corner's own at no more than an angle. Each corner gets a vertex of its own; join
/// them afterwards.
/// @param angle   degrees
void SmoothNormals(TriangleMesh* mesh, float angle);

/// Leaves of several vertices with the same bytes the first, and drops vertices that no triangle
/// uses. The order of those that stay is kept.
void JoinIdenticalVertices(TriangleMesh* mesh);

/// Orders triangles for the cache of a graphics card, and vertices by their first use. Triangles
/// keep the order of their corners. Which order it is depends on the version of meshoptimizer.
/// @param mesh   without vertices that no triangle uses
void OrderForCache(TriangleMesh* mesh);

/// Lays a mesh out as the uncompressed model file.
/// @return false if it would be 4 GiB or larger
bool EncodeModel(const TriangleMesh& mesh, Bytes* model);
