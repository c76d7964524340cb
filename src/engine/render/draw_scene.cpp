// SPDX-License-Identifier: MIT
#include "engine/render/draw_scene.h"

#include "engine/data/model_data.h"
#include "engine/data/numeric.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/manipulator.h"
#include "engine/render/apply_manipulator.h"
#include "engine/render/gl_calls.h"
#include "engine/render/set_material.h"

/// One object at one moment.
struct DrawnObject
{
    const FrameSources* sources;
    const Scene* scene;
    uint32_t n;    // its place in the scene
    uint32_t time; // its own, in ticks

    Mesh mesh;                  // arrays borrowed
    const ModelUpload* buffers; // null where it is drawn from client memory
    InstanceList instances;
    DeformedMesh deformed; // empty unless a manipulator bends it
};

/// @return the object's time in ticks. The sum is a float: late times lose their low bits. A
///         negative sum becomes a very large time.
static uint32_t ObjectTime(const Scene* scene, uint32_t n, uint32_t time)
{
    return TruncateToUnsigned(static_cast<float>(time) + scene->timeShift[n]);
}

enum class Shown : uint8_t
{
    kFault,
    kNo,
    kYes,
};

static Shown FindVisibility(const DrawnObject* object)
{
    const uint32_t id = object->scene->visibilityEnvelope[object->n];
    if (id == 0)
    {
        return Shown::kYes;
    }
    const Animation animation = FrameAnimation(object->sources);
    const float value = EvaluateEnvelopeId(id, &animation, object->time);
    if (HasFailed(object->sources->faults))
    {
        return Shown::kFault;
    }
    return value < 1.0f ? Shown::kNo : Shown::kYes; // NaN shows
}

/// Finds what the object is drawn from.
static Shown FindObjectMesh(DrawnObject* object)
{
    const FrameSources* sources = object->sources;
    const uint32_t id = object->scene->objectId[object->n];
    object->buffers = nullptr;
    switch (object->scene->objectKind[object->n])
    {
    case kObjectModel:
    {
        const ModelData* model = GetRecord<ModelData>(id, sources->document->models);
        if (model == nullptr)
        {
            return Shown::kNo;
        }
        object->mesh = model->mesh;
        if (sources->features.vbo != 0)
        {
            object->buffers = GetModelUpload(sources->upload, id);
        }
        return Shown::kYes;
    }
    case kObjectGenMesh:
        return MoveGenMesh(id, sources, object->time, &object->mesh) ? Shown::kYes
               : HasFailed(sources->faults)                          ? Shown::kFault
                                                                     : Shown::kNo;
    default:
        return Shown::kNo;
    }
}

/// Starts the list of instances with one: the object where its own values place it.
static bool PlaceObject(DrawnObject* object)
{
    const FrameSources* sources = object->sources;
    if (!AllocateInstances(1, &object->instances, sources->arena, sources->faults))
    {
        return false;
    }
    const Animation animation = FrameAnimation(sources);
    for (uint32_t value = 0; value < kInstanceFloats; ++value)
    {
        const ObjectValues* values = &(object->scene->*kPlacementValues[value]);
        object->instances.data[value] =
            ResolveValue(values->slot[object->n], MaskBit(values->dynamicMask, object->n),
                         &animation, object->time);
        if (HasFailed(sources->faults))
        {
            return false;
        }
    }
    return true;
}

/// Runs the object's chain of manipulators.
static bool ApplyManipulators(DrawnObject* object)
{
    object->deformed = {nullptr, nullptr};
    const ManipulatedObject manipulated = {&object->mesh, &object->instances, &object->deformed};
    for (uint32_t i = 0; i < object->scene->manipulatorCount[object->n]; ++i)
    {
        if (!RunManipulator(&object->scene->manipulators[object->n][i], &manipulated,
                            object->sources, object->time))
        {
            return false;
        }
    }
    return true;
}

/// Sets: vertex and normal pointers into client memory.
/// Relies on: no buffer bound to GL_ARRAY_BUFFER, where there are buffers.
static TexCoordSource SetClientArrays(const DrawnObject* object)
{
    GlContext* gl = object->sources->gl;
    const Mesh& mesh = object->mesh;
    const bool bent = object->deformed.vertices != nullptr;
    GlVertexPointer(gl, 3, GL_FLOAT, 0, bent ? object->deformed.vertices : mesh.vertices);
    GlNormalPointer(gl, GL_FLOAT, 0, bent ? object->deformed.normals : mesh.normals);
    return {mesh.texCoords1,
            mesh.texCoordSets == 2 ? mesh.texCoords2 : mesh.texCoords1,
            0,
            0,
            mesh.vertexCount,
            false};
}

/// Sets: vertex and normal pointers into buffers. Leaves: the normals' buffer bound to
/// GL_ARRAY_BUFFER.
static TexCoordSource SetBufferArrays(const DrawnObject* object)
{
    GlContext* gl = object->sources->gl;
    const ModelUpload* model = object->buffers;
    const DeformedBuffers* deformed = &object->sources->upload->deformed;
    const bool bent = object->deformed.vertices != nullptr;
    GlBindBuffer(gl, GL_ARRAY_BUFFER, bent ? deformed->vertexBuffer : model->vertexBuffer);
    GlVertexPointer(gl, 3, GL_FLOAT, 0, nullptr);
    GlBindBuffer(gl, GL_ARRAY_BUFFER, bent ? deformed->normalBuffer : model->normalBuffer);
    GlNormalPointer(gl, GL_FLOAT, 0, nullptr);
    return {nullptr,
            nullptr,
            model->texCoordBuffer1,
            object->mesh.texCoordSets == 2 ? model->texCoordBuffer2 : model->texCoordBuffer1,
            object->mesh.vertexCount,
            true};
}

/// Relies on: arrays and material set.
/// @param indices   of the mesh, or null where they lie in the bound GL_ELEMENT_ARRAY_BUFFER
static void DrawInstances(const DrawnObject* object, uint32_t indexCount, const uint32_t* indices)
{
    GlContext* gl = object->sources->gl;
    if (gl->shadow != nullptr)
    {
        ShadowNoteDraw(gl);
    }
    if (SkipsCalls(gl))
    {
        return;
    }
    for (uint32_t i = 0; i < object->instances.count; ++i)
    {
        const float* instance = object->instances.data + static_cast<size_t>(i) * kInstanceFloats;
        glPushMatrix();
        glTranslatef(instance[0], instance[1], instance[2]);
        glRotatef(instance[3], 1.0f, 0.0f, 0.0f);
        glRotatef(instance[4], 0.0f, 1.0f, 0.0f);
        glRotatef(instance[5], 0.0f, 0.0f, 1.0f);
        glScalef(instance[6], instance[7], instance[8]);
        glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(indexCount), GL_UNSIGNED_INT, indices);
        glPopMatrix();
    }
}

/// Sets arrays and material, draws all instances, and turns the arrays off again.
static bool DrawObject(const DrawnObject* object, const SceneRequest* request)
{
    const FrameSources* sources = object->sources;
    GlContext* gl = sources->gl;

    // A generated mesh changes on the processor and is drawn from client memory even where models
    // lie in buffers.
    const ModelUpload* buffers = object->buffers;
    if (sources->features.vbo != 0 && buffers == nullptr)
    {
        GlBindBuffer(gl, GL_ARRAY_BUFFER, 0);
        GlBindBuffer(gl, GL_ELEMENT_ARRAY_BUFFER, 0);
    }
    GlEnableClientState(gl, GL_NORMAL_ARRAY);
    GlEnableClientState(gl, GL_VERTEX_ARRAY);

    // The material comes before the first instance: lights and generated coordinates see the
    // camera's matrix.
    MaterialRequest material;
    material.time = object->time;
    material.cameraRotY = request->cameraRotY;
    material.texCoords = buffers != nullptr ? SetBufferArrays(object) : SetClientArrays(object);
    if (!SetMaterial(object->scene->materialId[object->n], sources, &material))
    {
        return false;
    }

    const uint32_t hidden = HideShortTexCoords(gl, object->mesh.vertexCount);
    if (buffers != nullptr)
    {
        GlBindBuffer(gl, GL_ELEMENT_ARRAY_BUFFER, buffers->indexBuffer);
        DrawInstances(object, buffers->bufferIndexCount, nullptr);
    }
    else
    {
        DrawInstances(object, object->mesh.indexCount, object->mesh.indices);
    }
    ShowTexCoords(gl, hidden);
    return true;
}

/// Draws the object that is set up to its time. Its memory is the arena's.
static bool DrawAt(DrawnObject* object, const SceneRequest* request)
{
    Shown shown = FindVisibility(object);
    if (shown == Shown::kYes)
    {
        shown = FindObjectMesh(object);
    }
    if (shown != Shown::kYes)
    {
        return shown == Shown::kNo;
    }
    const bool drawn =
        PlaceObject(object) && ApplyManipulators(object) && DrawObject(object, request);
    if (!drawn)
    {
        return false;
    }
    GlContext* gl = object->sources->gl;
    ReleaseDeformedBuffers(object->sources);
    GlDisableClientState(gl, GL_NORMAL_ARRAY);
    GlDisableClientState(gl, GL_VERTEX_ARRAY);
    return true;
}

bool DrawSceneObjects(const Scene* scene, const FrameSources* sources, const SceneRequest* request)
{
    FaultList* faults = sources->faults;
    for (uint32_t n = 0; n < scene->objectCount; ++n)
    {
        faults->place.part = n + 1;
        DrawnObject object;
        object.sources = sources;
        object.scene = scene;
        object.n = n;
        object.time = ObjectTime(scene, n, request->time);

        const ArenaMark mark = MarkArena(sources->arena);
        const bool drawn = DrawAt(&object, request);
        ResetArena(sources->arena, mark);
        if (!drawn)
        {
            return false;
        }
    }
    faults->place.part = 0;
    return true;
}
