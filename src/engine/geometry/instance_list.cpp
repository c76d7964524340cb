// SPDX-License-Identifier: MIT
#include "engine/geometry/instance_list.h"

#include "engine/data/arena.h"
#include "engine/data/fault.h"

bool AllocateInstances(uint32_t count, InstanceList* list, Arena* arena, FaultList* faults)
{
    const size_t size = static_cast<size_t>(count) * kInstanceFloats * sizeof(float);
    float* data = static_cast<float*>(ArenaAllocate(arena, size));
    if (data == nullptr)
    {
        AddFault(faults, "there is no memory for %u instances", count);
        return false;
    }
    *list = {data, count};
    return true;
}
