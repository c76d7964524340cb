// SPDX-License-Identifier: MIT
#include "engine/geometry/rippler.h"

#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/geometry/mesh_kernels.h"
#include "engine/geometry/normals.h"

void RippleCoordinates(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                       float amplitude)
{
    const CoordinateWave wave = {startSteps, stepsPerUnit, amplitude};
    GetMeshKernels()->ripple(coordinates, count, &wave);
}

bool RippleMesh(const float* params, const Mesh* mesh, DeformedMesh* deformed, Arena* arena,
                FaultList* faults)
{
    if (deformed->vertices == nullptr && !StartDeformedMesh(mesh, deformed, arena, faults))
    {
        return false;
    }

    const float startSteps =
        static_cast<float>(static_cast<double>(params[0]) * kCosStepsPerRadian);
    const float stepsPerUnit =
        static_cast<float>(static_cast<double>(params[2]) * kCosStepsPerRadian);
    RippleCoordinates(deformed->vertices, static_cast<size_t>(mesh->vertexCount) * 3, startSteps,
                      stepsPerUnit, params[1]);

    // A model's own normals no longer count, even where the amplitude is 0.
    Mesh bent = *mesh;
    bent.vertices = deformed->vertices;
    bent.normals = deformed->normals;
    if (!RecomputeNormals(&bent, arena))
    {
        AddFault(faults, "there is no memory to bend %u vertices", mesh->vertexCount);
        return false;
    }
    return true;
}
