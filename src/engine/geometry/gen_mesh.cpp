// SPDX-License-Identifier: MIT
#include "engine/geometry/gen_mesh.h"

#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/allocate.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/geometry/normals.h"
#include "engine/geometry/water.h"

/// Of one of the two triangles that every cell is cut into.
static constexpr uint32_t kGridHalfIndices = (kWaterSide - 1) * (kWaterSide - 1) * 3;

static bool HasGenerator(uint32_t type)
{
    return type == kLakeWater || type == kCenterwaveWater;
}

static void FillGridVertices(Mesh* mesh)
{
    for (int32_t i = 0; i < kWaterSide; ++i)
    {
        for (int32_t j = 0; j < kWaterSide; ++j)
        {
            const int32_t vertex = i * kWaterSide + j;
            const float x = static_cast<float>(i);
            const float z = static_cast<float>(j);
            mesh->vertices[3 * vertex] = x;
            mesh->vertices[3 * vertex + 1] = 0.0f;
            mesh->vertices[3 * vertex + 2] = z;

            // By 30 and not 29: the grid stops short of the texture's far edge.
            mesh->texCoords1[2 * vertex] = x / 30.0f;
            mesh->texCoords1[2 * vertex + 1] = z / 30.0f;
        }
    }
    memcpy(mesh->texCoords2, mesh->texCoords1, kWaterCells * 2 * sizeof(float));
}

static uint32_t* AppendTriangle(uint32_t* out, int32_t a, int32_t b, int32_t c)
{
    out[0] = static_cast<uint32_t>(a);
    out[1] = static_cast<uint32_t>(b);
    out[2] = static_cast<uint32_t>(c);
    return out + 3;
}

/// First one half of every cell, then the other half of every cell. RecomputeNormals sums in this
/// order.
static void FillGridIndices(Mesh* mesh)
{
    constexpr int32_t side = kWaterSide;
    uint32_t* out = mesh->indices;
    for (int32_t row = 0; row < side - 1; ++row)
    {
        for (int32_t c = row * side; c < row * side + side - 1; ++c)
        {
            out = AppendTriangle(out, c, c + 1, c + side + 1);
        }
    }
    for (int32_t row = 1; row < side; ++row)
    {
        for (int32_t c = row * side; c < row * side + side - 1; ++c)
        {
            out = AppendTriangle(out, c - side, c + 1, c);
        }
    }
}

/// @return a new zeroed array; null without memory, and after an earlier fault
template <typename Element>
static Element* AllocateArray(size_t count, FaultList* faults)
{
    return HasFailed(faults) ? nullptr : AllocateZeroed<Element>(count, "a generated mesh", faults);
}

bool BuildGenMesh(uint32_t type, Mesh* mesh, FaultList* faults)
{
    if (!HasGenerator(type))
    {
        return true;
    }

    *mesh = {};
    mesh->vertexCount = kWaterCells;
    mesh->indexCount = 2 * kGridHalfIndices;
    mesh->texCoordSets = 2;

    mesh->vertices = AllocateArray<float>(kWaterCells * 3, faults);
    mesh->texCoords1 = AllocateArray<float>(kWaterCells * 2, faults);
    mesh->texCoords2 = AllocateArray<float>(kWaterCells * 2, faults);
    mesh->normals = AllocateArray<float>(kWaterCells * 3, faults);
    mesh->indices = AllocateArray<uint32_t>(mesh->indexCount, faults);
    if (HasFailed(faults))
    {
        return false;
    }

    FillGridVertices(mesh);
    FillGridIndices(mesh);
    return true;
}

void FreeGenMesh(uint32_t type, Mesh* mesh)
{
    if (!HasGenerator(type))
    {
        return;
    }
    free(mesh->vertices);
    free(mesh->indices);
    free(mesh->texCoords1);
    free(mesh->texCoords2);
    free(mesh->normals);
    *mesh = {};
}

static bool ReadGenMeshParams(const TiXmlElement* item, uint32_t* params, FaultList* faults)
{
    uint32_t count = 0;
    const TiXmlElement* child = RequireElement(item->FirstChild(), "a parameter", faults);
    while (child != nullptr && strcmp(child->Value(), "p") == 0)
    {
        faults->place.part = count + 1;
        if (count == kGenMeshParams)
        {
            AddFaultAt(faults, child, "more than %u parameters", kGenMeshParams);
            return false;
        }
        const char* text = RequireText(child, faults);
        if (text == nullptr)
        {
            return false;
        }
        params[count] = static_cast<uint32_t>(ParseInt(text));
        ++count;

        const TiXmlNode* next = child->NextSibling();
        child = next == nullptr ? nullptr : next->ToElement();
    }
    faults->place.part = 0;
    return !HasFailed(faults);
}

bool ReadGenMeshItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                     ReadContext* context)
{
    GenMesh* genMesh = static_cast<GenMesh*>(record);
    FaultList* faults = context->faults;
    *genMesh = {};
    genMesh->type = static_cast<uint32_t>(ReadIntAttribute(item, "type", faults));
    if (HasFailed(faults) || !BuildGenMesh(genMesh->type, &genMesh->mesh, faults))
    {
        return false;
    }
    genMesh->mesh.faces = &genMesh->faces;
    return ReadGenMeshParams(item, genMesh->params, faults);
}

void FreeGenMeshRecord(void* record)
{
    GenMesh* genMesh = static_cast<GenMesh*>(record);
    FreeVertexFaces(&genMesh->faces);
    FreeGenMesh(genMesh->type, &genMesh->mesh);
}

/// The value of a mesh's envelope. A fault in it is said of the mesh and not of the object that is
/// being drawn.
static float DriveGenMesh(uint32_t id, uint32_t envelope, const Animation* animation, uint32_t time)
{
    FaultList* faults = animation->faults;
    const Place caller = faults->place;
    faults->place.section = Section::kGenMeshes;
    faults->place.item = id;
    faults->place.part = 1;

    // By way of a float: above 2^24 ticks the low bits are lost, and envelopes see the rounded
    // time.
    const uint32_t rounded = TruncateToUnsigned(static_cast<float>(time));
    const float v = EvaluateEnvelopeId(envelope, animation, rounded);

    faults->place = caller;
    return v;
}

bool UpdateGenMesh(uint32_t id, const GenMeshSources* sources, uint32_t time)
{
    const GenMesh* genMesh = GetRecord<GenMesh>(id, sources->genMeshes);
    if (genMesh == nullptr)
    {
        return true;
    }

    FaultList* faults = sources->animation->faults;
    float v = 0.0f;
    if (genMesh->params[0] != 0)
    {
        v = DriveGenMesh(id, genMesh->params[0], sources->animation, time);
        if (HasFailed(faults))
        {
            return false;
        }
    }
    if (!SimulateWater(genMesh->type, v, &sources->states[id - 1], &genMesh->mesh, sources->random,
                       sources->arena))
    {
        AddFault(faults, "no memory to move generated mesh %u", id);
        return false;
    }
    return true;
}

Mesh MovedMesh(const GenMesh* genMesh, const GenMeshState* state)
{
    Mesh mesh = genMesh->mesh;
    mesh.vertices = state->vertices;
    mesh.normals = state->normals;
    return mesh;
}
