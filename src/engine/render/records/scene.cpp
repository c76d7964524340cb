#include "engine/render/records/scene.h"

#include <GL/glew.h>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/model_data.h"
#include "engine/data/numeric.h"
#include "engine/geometry/deformed_mesh.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/set_material.h"
#include "engine/render/tex_coord_arrays.h"

/// The nine placement values in the order of documents and instances.
static constexpr ObjectValues Scene::*kPlacementValues[kInstanceFloats] = {
    &Scene::positionX, &Scene::positionY, &Scene::positionZ, &Scene::rotationX, &Scene::rotationY,
    &Scene::rotationZ, &Scene::scaleX,    &Scene::scaleY,    &Scene::scaleZ,
};
static constexpr const char* kPlacementNames[kInstanceFloats] = {
    "position x", "position y", "position z", "rotation x", "rotation y",
    "rotation z", "scale x",    "scale y",    "scale z",
};

static void ReadObject(const TiXmlElement* item, uint32_t n, Scene* scene)
{
    scene->objectKind[n] = static_cast<uint8_t>(ReadIntAttribute(item, "type"));
    scene->objectId[n] = static_cast<uint32_t>(ReadIntAttribute(item, "object"));
    scene->materialId[n] = static_cast<uint32_t>(ReadIntAttribute(item, "material"));

    const TiXmlNode* child = item->FirstChild();
    for (uint32_t value = 0; value < kInstanceFloats; ++value)
    {
        ObjectValues* values = &(scene->*kPlacementValues[value]);
        const TiXmlElement* element = TakeElement(&child, kPlacementNames[value]);
        if (ReadAnimatedValue(element, &values->slot[n]))
        {
            SetMaskBit(values->dynamicMask, n);
        }
    }
    scene->visibilityEnvelope[n] =
        static_cast<uint32_t>(ReadIntAttribute(TakeElement(&child, "visibility"), "value"));
    scene->timeShift[n] = ReadFloatAttribute(TakeElement(&child, "time shift"), "value");

    scene->manipulatorCount[n] = 0;
    for (; child != nullptr; child = child->NextSibling())
    {
        uint8_t count = scene->manipulatorCount[n];
        if (count == kSceneManipulators)
        {
            FatalFault("the object has more than %u manipulators", kSceneManipulators);
        }
        ReadManipulator(RequireElement(child, "manipulator"), &scene->manipulators[n][count]);
        scene->manipulatorCount[n] = static_cast<uint8_t>(count + 1);
    }
}

void ReadSceneItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                   LoadContext* /*context*/)
{
    // The masks are all that an object doesn't write whole. The block is large and mostly empty, so
    // the rest stays untouched.
    Scene* scene = static_cast<Scene*>(record);
    scene->objectCount = 0;
    for (ObjectValues Scene::*values : kPlacementValues)
    {
        memset((scene->*values).dynamicMask, 0, sizeof((scene->*values).dynamicMask));
    }

    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        CurrentPlace.part = scene->objectCount + 1;
        if (scene->objectCount == kSceneObjects)
        {
            FatalFault("the scene has more than %u objects", kSceneObjects);
        }
        ReadObject(RequireElement(child, "object"), scene->objectCount, scene);
        scene->objectCount += 1;
    }
    CurrentPlace.part = 0;
}

/// @return the object's time in ticks. The sum is a float: late times lose their low bits. A
///         negative sum becomes a very large time.
static uint32_t ObjectTime(const Scene* scene, uint32_t n, uint32_t time)
{
    return TruncateToUnsigned(static_cast<float>(time) + scene->timeShift[n]);
}

static bool IsHidden(const Scene* scene, uint32_t n, const ObjectTable* envelopes, uint32_t time)
{
    uint32_t id = scene->visibilityEnvelope[n];
    if (id == 0)
    {
        return false;
    }
    return EvaluateEnvelopeId(id, envelopes, time) < 1.0f; // what is not a number shows
}

/// @return the mesh of a generated mesh, moved to `time`; null if there is no such record
static const Mesh* FindGenMesh(uint32_t id, const ObjectTable* genMeshes,
                               const ObjectTable* envelopes, uint32_t time)
{
    UpdateGenMesh(id, genMeshes, envelopes, time);
    const GenMesh* genMesh = GetRecord<GenMesh>(id, genMeshes);
    return genMesh == nullptr ? nullptr : &genMesh->mesh;
}

/// What an object is drawn from.
struct ObjectMesh
{
    const Mesh* mesh;       // null if there is none: the object draws nothing
    const ModelData* model; // null for a generated mesh
};

static ObjectMesh FindObjectMesh(const Scene* scene, uint32_t n, const ObjectTable* models,
                                 const ObjectTable* genMeshes, const ObjectTable* envelopes,
                                 uint32_t time)
{
    switch (scene->objectKind[n])
    {
    case kObjectModel:
    {
        const ModelData* model = GetRecord<ModelData>(scene->objectId[n], models);
        return {model == nullptr ? nullptr : &model->mesh, model};
    }
    case kObjectGenMesh:
        return {FindGenMesh(scene->objectId[n], genMeshes, envelopes, time), nullptr};
    default:
        return {nullptr, nullptr};
    }
}

/// @return a list of one instance: the object where its own values place it
static InstanceList* PlaceObject(const Scene* scene, uint32_t n, const ObjectTable* envelopes,
                                 uint32_t time)
{
    InstanceList* list = CreateInstanceList(1);
    for (uint32_t value = 0; value < kInstanceFloats; ++value)
    {
        const ObjectValues* values = &(scene->*kPlacementValues[value]);
        list->data[value] =
            ResolveValue(values->slot[n], MaskBit(values->dynamicMask, n), envelopes, time);
    }
    return list;
}

/// @return the mesh that a "Model placer" places on; null for none
static const Mesh* FindPlacementMesh(const Manipulator* manipulator, const ObjectTable* models,
                                     const ObjectTable* genMeshes, const ObjectTable* envelopes,
                                     uint32_t time)
{
    if (manipulator->type != kManipulatorModelPlacer || manipulator->placementId == 0)
    {
        return nullptr;
    }

    uint32_t id = static_cast<uint32_t>(manipulator->placementId);
    if (manipulator->placementKind == 0)
    {
        const ModelData* model = GetRecord<ModelData>(id, models);
        return model == nullptr ? nullptr : &model->mesh;
    }
    const Mesh* mesh = FindGenMesh(id, genMeshes, envelopes, time);
    if (mesh == nullptr)
    {
        FatalFault("generated mesh %d, which a manipulator places on, does not exist",
                   manipulator->placementId);
    }
    return mesh;
}

/// Runs an object's chain of manipulators; `list` is consumed.
static InstanceList* ApplyManipulators(InstanceList* list, const Scene* scene, uint32_t n,
                                       const Mesh* mesh, const ObjectTable* models,
                                       const ObjectTable* genMeshes, const ObjectTable* envelopes,
                                       uint32_t time, int32_t vbo)
{
    for (uint32_t i = 0; i < scene->manipulatorCount[n]; ++i)
    {
        const Manipulator* manipulator = &scene->manipulators[n][i];
        float params[kManipulatorUsedParams] = {};
        uint32_t count = ManipulatorParamCount(manipulator->type);
        for (uint32_t k = 0; k < count; ++k)
        {
            params[k] = ResolveValue(manipulator->params[k], MaskBit(manipulator->dynamicMask, k),
                                     envelopes, time);
        }
        const Mesh* placement = FindPlacementMesh(manipulator, models, genMeshes, envelopes, time);
        list = ApplyManipulator(list, manipulator->type, params, mesh, vbo, placement);
    }
    return list;
}

/// Sets: vertex and normal pointers into client memory, CurrentTexCoords.
/// Relies on: no buffer bound to GL_ARRAY_BUFFER, where there are buffers.
static void SetClientArrays(const Mesh* mesh)
{
    const DeformedMesh* deformed = &CurrentDeformedMesh;
    bool bent = deformed->vertices != nullptr;
    glVertexPointer(3, GL_FLOAT, 0, bent ? deformed->vertices : mesh->vertices);
    glNormalPointer(GL_FLOAT, 0, bent ? deformed->normals : mesh->normals);
    CurrentTexCoords.vertexCount = mesh->vertexCount;
    CurrentTexCoords.texcoord0Array = mesh->texCoords1;
    CurrentTexCoords.texcoord1Array = mesh->texCoordSets == 2 ? mesh->texCoords2 : mesh->texCoords1;
}

/// Sets: vertex and normal pointers into buffers, CurrentTexCoords. Leaves: the normals' buffer
/// bound to GL_ARRAY_BUFFER.
static void SetBufferArrays(const ModelData* model)
{
    const DeformedMesh* deformed = &CurrentDeformedMesh;
    bool bent = deformed->vertices != nullptr;
    glBindBufferARB(GL_ARRAY_BUFFER, bent ? deformed->vertexBuffer : model->vertexBuffer);
    glVertexPointer(3, GL_FLOAT, 0, nullptr);
    glBindBufferARB(GL_ARRAY_BUFFER, bent ? deformed->normalBuffer : model->normalBuffer);
    glNormalPointer(GL_FLOAT, 0, nullptr);
    CurrentTexCoords.vertexCount = model->mesh.vertexCount;
    CurrentTexCoords.texcoord0Buffer = model->texCoordBuffer1;
    CurrentTexCoords.texcoord1Buffer =
        model->mesh.texCoordSets == 2 ? model->texCoordBuffer2 : model->texCoordBuffer1;
}

/// Relies on: arrays and material set.
/// @param indices   of the mesh, or null where they lie in the bound GL_ELEMENT_ARRAY_BUFFER
static void DrawInstances(const InstanceList* list, uint32_t indexCount, const uint32_t* indices)
{
    for (uint32_t i = 0; i < list->count; ++i)
    {
        const float* instance = list->data + static_cast<size_t>(i) * kInstanceFloats;
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

void DrawSceneObjects(const Scene* scene, ObjectTable* materials, ObjectTable* lights,
                      ObjectTable* textures, ObjectTable* envelopes, ObjectTable* effects,
                      ObjectTable* models, ObjectTable* bitmaps, ObjectTable* genMeshes,
                      uint32_t time, int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY)
{
    CurrentDeformedMesh = {nullptr, nullptr, 0, 0};
    for (uint32_t n = 0; n < scene->objectCount; ++n)
    {
        CurrentPlace.part = n + 1;
        uint32_t objectTime = ObjectTime(scene, n, time);
        if (IsHidden(scene, n, envelopes, objectTime))
        {
            continue;
        }
        ObjectMesh found = FindObjectMesh(scene, n, models, genMeshes, envelopes, objectTime);
        const Mesh* mesh = found.mesh;
        if (mesh == nullptr)
        {
            continue;
        }
        InstanceList* list = PlaceObject(scene, n, envelopes, objectTime);
        list =
            ApplyManipulators(list, scene, n, mesh, models, genMeshes, envelopes, objectTime, vbo);

        // A generated mesh changes on the processor and is drawn from client memory even where
        // models lie in buffers.
        const ModelData* buffers = vbo != 0 ? found.model : nullptr;
        if (vbo != 0 && buffers == nullptr)
        {
            glBindBufferARB(GL_ARRAY_BUFFER, 0);
            glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER, 0);
        }
        glEnableClientState(GL_NORMAL_ARRAY);
        glEnableClientState(GL_VERTEX_ARRAY);

        // The material comes before the first instance: lights and generated coordinates see the
        // camera's matrix.
        if (buffers != nullptr)
        {
            SetBufferArrays(buffers);
        }
        else
        {
            SetClientArrays(mesh);
        }
        SetMaterial(scene->materialId[n], materials, lights, textures, envelopes, effects, bitmaps,
                    objectTime, buffers != nullptr ? 1 : 0, pbo, dot3, cameraRotY);

        uint32_t hidden = HideShortTexCoords(mesh->vertexCount);
        if (buffers != nullptr)
        {
            glBindBufferARB(GL_ELEMENT_ARRAY_BUFFER, buffers->indexBuffer);
            DrawInstances(list, buffers->bufferIndexCount, nullptr);
        }
        else
        {
            DrawInstances(list, mesh->indexCount, mesh->indices);
        }
        ShowTexCoords(hidden);

        FreeInstanceList(list);
        ReleaseDeformedMesh(vbo != 0);
        glDisableClientState(GL_NORMAL_ARRAY);
        glDisableClientState(GL_VERTEX_ARRAY);
    }
    CurrentPlace.part = 0;
}
