#include "engine/geometry/instance_list.h"

#include <cstdlib>

#include "engine/data/fault.h"

InstanceList* CreateInstanceList(uint32_t count)
{
    // An empty list still has a block, so that null means one thing only.
    size_t size = static_cast<size_t>(count) * kInstanceFloats * sizeof(float);
    InstanceList* list = static_cast<InstanceList*>(malloc(sizeof(InstanceList)));
    float* data = static_cast<float*>(malloc(size == 0 ? sizeof(float) : size));
    if (list == nullptr || data == nullptr)
    {
        FatalFault("there is no memory for %u instances", count);
    }

    list->data = data;
    list->count = count;
    return list;
}

void FreeInstanceList(InstanceList* list)
{
    free(list->data);
    free(list);
}
