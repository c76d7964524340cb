#include "engine/geometry/deformed_mesh.h"

#include <GL/glew.h>
#include <cstdlib>

DeformedMesh CurrentDeformedMesh = {nullptr, nullptr, 0, 0};

void ReleaseDeformedMesh(bool vbo)
{
    DeformedMesh* deformed = &CurrentDeformedMesh;
    if (deformed->vertices == nullptr)
    {
        return;
    }

    if (vbo)
    {
        glDeleteBuffersARB(1, &deformed->vertexBuffer);
        glDeleteBuffersARB(1, &deformed->normalBuffer);
    }
    free(deformed->vertices);
    free(deformed->normals);
    *deformed = {nullptr, nullptr, 0, 0};
}
