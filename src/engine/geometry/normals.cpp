// SPDX-License-Identifier: MIT
#include "engine/geometry/normals.h"

#include <algorithm>
#include <cstdlib>

#include "engine/data/arena.h"
#include "engine/geometry/mesh_kernels.h"

// A vertex sums the unit normals of its faces in the order of the triangles, and each sum begins at
// 0: that is what the last bit of a normal hangs on. Going through the triangles and adding to
// three vertices each makes every addition wait for the one before it in memory. So the faces of
// each vertex are listed, and each vertex adds its own. Index lists never change, so a mesh makes
// its lists once.

/// Faces, up to a whole group.
static size_t RoundUpToGroup(size_t faceCount)
{
    return (faceCount + kFaceGroup - 1) / kFaceGroup * kFaceGroup;
}

bool BuildVertexFaces(const uint32_t* indices, uint32_t indexCount, uint32_t vertexCount,
                      VertexFaces* faces)
{
    *faces = {};
    const size_t used = indexCount / 3 * 3;
    const size_t cornerCount = RoundUpToGroup(used / 3) * 3;
    faces->block =
        static_cast<uint32_t*>(malloc((cornerCount + used + vertexCount + 1) * sizeof(uint32_t)));
    if (faces->block == nullptr)
    {
        return false;
    }
    faces->corners = faces->block;
    faces->faces = faces->corners + cornerCount;
    faces->first = faces->faces + used;
    for (size_t i = 0; i < used; ++i)
    {
        faces->corners[i] = 4 * indices[i];
    }
    std::fill_n(faces->corners + used, cornerCount - used, 0);

    // An entry counts the corners of its vertex, then tells where the vertex's list ends. Filled
    // from the last corner to the first, it comes to where the list begins.
    uint32_t* ends = faces->first;
    std::fill_n(ends, size_t{vertexCount} + 1, 0);
    for (size_t i = 0; i < used; ++i)
    {
        ends[indices[i]] += 1;
    }
    for (size_t v = 1; v <= vertexCount; ++v)
    {
        ends[v] += ends[v - 1];
    }
    for (size_t i = used; i-- > 0;)
    {
        uint32_t& end = ends[indices[i]];
        end -= 1;
        faces->faces[end] = static_cast<uint32_t>(i / 3 * 4);
    }
    return true;
}

void FreeVertexFaces(VertexFaces* faces)
{
    free(faces->block);
    *faces = {};
}

static bool AverageNormals(const Mesh* mesh, const VertexFaces* lists, Arena* arena)
{
    const size_t vertexCount = mesh->vertexCount;
    const size_t faceCount = mesh->indexCount / 3;
    const ArenaMark mark = MarkArena(arena);
    float* vertices =
        ArenaAllocateArray<float>(arena, (vertexCount + RoundUpToGroup(faceCount)) * 4);
    if (vertices == nullptr)
    {
        return false;
    }
    float* faces = vertices + 4 * vertexCount;
    const FaceOrder order = {lists->faces, lists->first, vertexCount};

    const MeshKernels* kernels = GetMeshKernels();
    kernels->spreadVertices(mesh->vertices, vertexCount, vertices);
    kernels->findFaceNormals(vertices, lists->corners, faceCount, faces);
    kernels->averageFaces(&order, faces, mesh->normals);
    ResetArena(arena, mark);
    return true;
}

bool RecomputeNormals(const Mesh* mesh, Arena* arena)
{
    if (mesh->vertexCount == 0)
    {
        return true;
    }
    VertexFaces temporary = {};
    VertexFaces* lists = mesh->faces == nullptr ? &temporary : mesh->faces;
    const bool done = (lists->block != nullptr || BuildVertexFaces(mesh->indices, mesh->indexCount,
                                                                   mesh->vertexCount, lists)) &&
                      AverageNormals(mesh, lists, arena);
    FreeVertexFaces(&temporary);
    return done;
}
