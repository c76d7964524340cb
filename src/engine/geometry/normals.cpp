#include "engine/geometry/normals.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "engine/data/fault.h"

void RecomputeNormals(const Mesh* mesh)
{
    if (mesh->vertexCount == 0)
    {
        return;
    }
    uint32_t* useCount = static_cast<uint32_t*>(calloc(mesh->vertexCount, sizeof(uint32_t)));
    if (useCount == nullptr)
    {
        FatalFault("there is no memory for the normals of %u vertices", mesh->vertexCount);
    }
    memset(mesh->normals, 0, static_cast<size_t>(mesh->vertexCount) * 3 * sizeof(float));

    for (uint32_t first = 0; first + 2 < mesh->indexCount; first += 3)
    {
        const uint32_t* triangle = mesh->indices + first;
        const float* a = mesh->vertices + static_cast<size_t>(triangle[0]) * 3;
        const float* b = mesh->vertices + static_cast<size_t>(triangle[1]) * 3;
        const float* c = mesh->vertices + static_cast<size_t>(triangle[2]) * 3;
        const float e1[3] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
        const float e2[3] = {b[0] - c[0], b[1] - c[1], b[2] - c[2]};
        const float n[3] = {e1[1] * e2[2] - e1[2] * e2[1], e1[2] * e2[0] - e1[0] * e2[2],
                            e1[0] * e2[1] - e1[1] * e2[0]};

        float length = sqrtf(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
        if (length < 0.001f)
        {
            length = 1.0f;
        }
        for (uint32_t corner = 0; corner < 3; ++corner)
        {
            float* normal = mesh->normals + static_cast<size_t>(triangle[corner]) * 3;
            normal[0] += n[0] / length;
            normal[1] += n[1] / length;
            normal[2] += n[2] / length;
            useCount[triangle[corner]] += 1;
        }
    }

    for (size_t i = 0; i < mesh->vertexCount; ++i)
    {
        if (useCount[i] > 1)
        {
            float count = static_cast<float>(useCount[i]);
            mesh->normals[3 * i] /= count;
            mesh->normals[3 * i + 1] /= count;
            mesh->normals[3 * i + 2] /= count;
        }
    }
    free(useCount);
}
