// SPDX-License-Identifier: MIT
#include "engine/render/apply_manipulator.h"

#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/transform_vertices.h"
#include "engine/render/gl_calls.h"

bool MoveGenMesh(uint32_t id, const FrameSources* sources, uint32_t time, Mesh* mesh)
{
    const ObjectTable* genMeshes = sources->document->genMeshes;
    const GenMesh* genMesh = GetRecord<GenMesh>(id, genMeshes);
    if (genMesh == nullptr)
    {
        return false;
    }
    const Animation animation = FrameAnimation(sources);
    const GenMeshSources moved = {genMeshes, sources->state->genMeshes, &animation, sources->random,
                                  sources->arena};
    if (!UpdateGenMesh(id, &moved, time))
    {
        return false;
    }
    *mesh = MovedMesh(genMesh, &sources->state->genMeshes[id - 1]);
    return true;
}

enum class Placement : uint8_t
{
    kFault,
    kNone, // the list stays as it is
    kMesh,
};

/// Finds the mesh that a "Model placer" places on.
static Placement FindPlacementMesh(const Manipulator* manipulator, const FrameSources* sources,
                                   uint32_t time, Mesh* mesh)
{
    const uint32_t id = manipulator->placementId;
    if (manipulator->type != kManipulatorModelPlacer || id == 0)
    {
        return Placement::kNone;
    }
    if (manipulator->placementKind == kPlaceOnModel)
    {
        const ModelData* model = GetRecord<ModelData>(id, sources->document->models);
        if (model == nullptr)
        {
            return Placement::kNone;
        }
        *mesh = model->mesh;
        return Placement::kMesh;
    }
    if (!MoveGenMesh(id, sources, time, mesh))
    {
        if (!HasFailed(sources->faults))
        {
            AddFault(sources->faults,
                     "generated mesh %d, which a manipulator places on, does not exist",
                     static_cast<int32_t>(id));
        }
        return Placement::kFault;
    }
    return Placement::kMesh;
}

/// The placement mesh's vertices under the nine parameters. The matrix is built on OpenGL's stack,
/// where no draw call ever sees it. A frame that is not drawn takes the vertices unmoved.
/// @return null after a fault
static const float* TransformPlacement(const Mesh* placement, const float* params,
                                       const FrameSources* sources)
{
    if (SkipsCalls(sources->gl))
    {
        return placement->vertices;
    }
    glPushMatrix();
    glLoadIdentity();
    glTranslatef(params[0], params[1], params[2]);
    glRotatef(params[3], 1.0f, 0.0f, 0.0f);
    glRotatef(params[4], 0.0f, 1.0f, 0.0f);
    glRotatef(params[5], 0.0f, 0.0f, 1.0f);
    glScalef(params[6], params[7], params[8]);
    float matrix[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, matrix);
    const float* vertices = TransformVertices(matrix, placement->vertices, placement->vertexCount,
                                              sources->arena, sources->faults);
    if (vertices != nullptr)
    {
        glPopMatrix();
    }
    return vertices;
}

static void UploadDeformedArray(uint32_t buffer, uint32_t vertexCount, const float* source)
{
    glBindBufferARB(GL_ARRAY_BUFFER, buffer);
    glBufferDataARB(GL_ARRAY_BUFFER,
                    static_cast<GLsizeiptr>(size_t{vertexCount} * 3 * sizeof(float)), source,
                    GL_STREAM_DRAW);
}

/// Keeps the bent geometry in buffer objects as well.
static void UploadDeformedMesh(const ManipulatedObject* object, DeformedBuffers* buffers)
{
    if (buffers->vertexBuffer == 0)
    {
        glGenBuffersARB(1, &buffers->vertexBuffer);
        glGenBuffersARB(1, &buffers->normalBuffer);
    }
    const uint32_t vertexCount = object->mesh->vertexCount;
    UploadDeformedArray(buffers->vertexBuffer, vertexCount, object->deformed->vertices);
    UploadDeformedArray(buffers->normalBuffer, vertexCount, object->deformed->normals);
}

bool RunManipulator(const Manipulator* manipulator, const ManipulatedObject* object,
                    const FrameSources* sources, uint32_t time)
{
    const Animation animation = FrameAnimation(sources);
    float params[kManipulatorUsedParams] = {};
    const uint32_t count = ManipulatorParamCount(manipulator->type);
    for (uint32_t k = 0; k < count; ++k)
    {
        params[k] = ResolveValue(manipulator->params[k], MaskBit(manipulator->dynamicMask, k),
                                 &animation, time);
        if (HasFailed(sources->faults))
        {
            return false;
        }
    }

    ManipulatorCall call = {manipulator->type, params,         object->mesh,   nullptr, 0,
                            object->deformed,  sources->arena, sources->faults};
    Mesh placement;
    const Placement found = FindPlacementMesh(manipulator, sources, time, &placement);
    if (found == Placement::kFault)
    {
        return false;
    }
    if (found == Placement::kMesh)
    {
        call.placement = TransformPlacement(&placement, params, sources);
        call.placementCount = placement.vertexCount;
        if (call.placement == nullptr)
        {
            return false;
        }
    }
    if (!ApplyManipulator(object->instances, &call))
    {
        return false;
    }
    const bool bent = manipulator->type == kManipulatorRippler;
    if (bent && sources->features.vbo != 0 && !SkipsCalls(sources->gl))
    {
        UploadDeformedMesh(object, &sources->upload->deformed);
    }
    return true;
}

void ReleaseDeformedBuffers(const FrameSources* sources)
{
    DeformedBuffers* buffers = &sources->upload->deformed;
    if (buffers->vertexBuffer == 0)
    {
        return;
    }
    glDeleteBuffersARB(1, &buffers->vertexBuffer);
    glDeleteBuffersARB(1, &buffers->normalBuffer);
    *buffers = {0, 0};
}
