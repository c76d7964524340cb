// SPDX-License-Identifier: MIT
#include "engine/geometry/deformed_mesh.h"

#include <cstring>

#include "engine/data/arena.h"
#include "engine/data/fault.h"

bool StartDeformedMesh(const Mesh* mesh, DeformedMesh* deformed, Arena* arena, FaultList* faults)
{
    const size_t size = static_cast<size_t>(mesh->vertexCount) * 3 * sizeof(float);
    float* vertices = static_cast<float*>(ArenaAllocate(arena, size));
    float* normals = static_cast<float*>(ArenaAllocate(arena, size));
    if (vertices == nullptr || normals == nullptr)
    {
        AddFault(faults, "there is no memory to bend %u vertices", mesh->vertexCount);
        return false;
    }
    if (size != 0)
    {
        memcpy(vertices, mesh->vertices, size);
    }
    *deformed = {vertices, normals};
    return true;
}
