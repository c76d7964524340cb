// SPDX-License-Identifier: MIT
#include "engine/geometry/transform_vertices.h"

#include "engine/data/arena.h"
#include "engine/data/fault.h"

float* TransformVertices(const float* matrix, const float* vertices, uint32_t count, Arena* arena,
                         FaultList* faults)
{
    const size_t size = static_cast<size_t>(count) * 3 * sizeof(float);
    float* result = static_cast<float*>(ArenaAllocate(arena, size));
    if (result == nullptr)
    {
        AddFault(faults, "there is no memory for %u vertices", count);
        return nullptr;
    }

    const float* m = matrix;
    for (size_t i = 0; i < count; ++i)
    {
        const float* v = vertices + 3 * i;
        for (size_t axis = 0; axis < 3; ++axis)
        {
            result[3 * i + axis] =
                m[axis] * v[0] + m[4 + axis] * v[1] + m[8 + axis] * v[2] + m[12 + axis];
        }
    }
    return result;
}
