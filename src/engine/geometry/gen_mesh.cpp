#include "engine/geometry/gen_mesh.h"

void UpdateGenMesh(uint32_t id, const ObjectTable* genMeshes,
                   [[maybe_unused]] const ObjectTable* envelopes, [[maybe_unused]] uint32_t time)
{
    if (GetRecord<GenMesh>(id, genMeshes) == nullptr)
    {
        return;
    }
}
