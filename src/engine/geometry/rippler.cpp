#include "engine/geometry/rippler.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>

#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/mesh_kernels.h"
#include "engine/geometry/normals.h"

void RippleCoordinates(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                       float amplitude)
{
    const CoordinateWave wave = {startSteps, stepsPerUnit, amplitude};
    GetMeshKernels()->ripple(coordinates, count, &wave);
}

/// Bytes of one deformed array.
static size_t ArrayBytes(const Mesh* mesh)
{
    return static_cast<size_t>(mesh->vertexCount) * 3 * sizeof(float);
}

/// @return a block, not null even for no bytes: that there are arrays says who is drawn
static float* AllocateArray(size_t size)
{
    return static_cast<float*>(size == 0 ? calloc(1, sizeof(float)) : malloc(size));
}

/// Starts CurrentDeformedMesh with the mesh's own vertices.
static void BeginDeformedMesh(const Mesh* mesh, int32_t vbo)
{
    DeformedMesh* deformed = &CurrentDeformedMesh;
    size_t size = ArrayBytes(mesh);
    deformed->vertices = AllocateArray(size);
    deformed->normals = AllocateArray(size);
    if (deformed->vertices == nullptr || deformed->normals == nullptr)
    {
        FatalFault("there is no memory to bend %u vertices", mesh->vertexCount);
    }
    if (size != 0)
    {
        memcpy(deformed->vertices, mesh->vertices, size);
    }
    if (vbo != 0)
    {
        glGenBuffersARB(1, &deformed->vertexBuffer);
        glGenBuffersARB(1, &deformed->normalBuffer);
    }
}

static void UploadDeformedArray(uint32_t buffer, size_t size, const float* source)
{
    glBindBufferARB(GL_ARRAY_BUFFER, buffer);
    glBufferDataARB(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(size), source, GL_STREAM_DRAW);
}

void RippleMesh(const float* params, const Mesh* mesh, int32_t vbo)
{
    DeformedMesh* deformed = &CurrentDeformedMesh;
    if (deformed->vertices == nullptr)
    {
        BeginDeformedMesh(mesh, vbo);
    }

    float startSteps = static_cast<float>(static_cast<double>(params[0]) * kCosStepsPerRadian);
    float stepsPerUnit = static_cast<float>(static_cast<double>(params[2]) * kCosStepsPerRadian);
    RippleCoordinates(deformed->vertices, static_cast<size_t>(mesh->vertexCount) * 3, startSteps,
                      stepsPerUnit, params[1]);

    // A model's own normals no longer count, even where the amplitude is 0.
    Mesh bent = *mesh;
    bent.vertices = deformed->vertices;
    bent.normals = deformed->normals;
    if (!RecomputeNormals(&bent))
    {
        FatalFault("there is no memory to bend %u vertices", mesh->vertexCount);
    }

    if (vbo != 0)
    {
        UploadDeformedArray(deformed->vertexBuffer, ArrayBytes(mesh), deformed->vertices);
        UploadDeformedArray(deformed->normalBuffer, ArrayBytes(mesh), deformed->normals);
    }
}
