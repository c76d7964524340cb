#include "engine/geometry/rippler.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>

#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/normals.h"

void RippleCoordinates(float* coordinates, size_t count, float startSteps, float stepsPerUnit,
                       float amplitude)
{
    for (size_t i = 0; i < count; ++i)
    {
        float c = coordinates[i];
        coordinates[i] = cosLookup(TruncateToInt(c * stepsPerUnit + startSteps)) * amplitude + c;
    }
}

/// Bytes of one deformed array.
static size_t ArrayBytes(const Mesh* mesh)
{
    return static_cast<size_t>(mesh->vertexCount) * 3 * sizeof(float);
}

/// Starts CurrentDeformedMesh with the mesh's own vertices.
static void BeginDeformedMesh(const Mesh* mesh, int32_t vbo)
{
    DeformedMesh* deformed = &CurrentDeformedMesh;
    size_t size = ArrayBytes(mesh);

    // Not null even for a mesh without vertices: that the arrays are there says who draws.
    deformed->vertices = static_cast<float*>(malloc(size == 0 ? sizeof(float) : size));
    deformed->normals = static_cast<float*>(malloc(size == 0 ? sizeof(float) : size));
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
    RecomputeNormals(&bent);

    if (vbo != 0)
    {
        UploadDeformedArray(deformed->vertexBuffer, ArrayBytes(mesh), deformed->vertices);
        UploadDeformedArray(deformed->normalBuffer, ArrayBytes(mesh), deformed->normals);
    }
}
