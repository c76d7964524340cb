#include "engine/geometry/gen_mesh.h"

#include <cstdlib>
#include <cstring>

#include "engine/animation/animated_value.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/geometry/water.h"

/// Of one of the two triangles that every cell is cut into.
static constexpr uint32_t kGridHalfIndices = (kWaterSide - 1) * (kWaterSide - 1) * 3;

static void* AllocateZeroed(size_t count, size_t size)
{
    void* block = calloc(count, size);
    if (block == nullptr)
    {
        FatalFault("there is no memory for a generated mesh");
    }
    return block;
}

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
            int32_t vertex = i * kWaterSide + j;
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

void BuildGenMesh(uint32_t type, void** state, Mesh* mesh)
{
    if (!HasGenerator(type))
    {
        return;
    }
    *state = CreateWaterState(type);

    mesh->vertexCount = kWaterCells;
    mesh->indexCount = 2 * kGridHalfIndices;
    mesh->vertices = static_cast<float*>(AllocateZeroed(kWaterCells * 3, sizeof(float)));
    mesh->texCoords1 = static_cast<float*>(AllocateZeroed(kWaterCells * 2, sizeof(float)));
    mesh->texCoords2 = static_cast<float*>(AllocateZeroed(kWaterCells * 2, sizeof(float)));
    mesh->texCoordSets = 2;
    mesh->normals = static_cast<float*>(AllocateZeroed(kWaterCells * 3, sizeof(float)));
    mesh->indices = static_cast<uint32_t*>(AllocateZeroed(mesh->indexCount, sizeof(uint32_t)));

    FillGridVertices(mesh);
    FillGridIndices(mesh);
}

void FreeGenMesh(uint32_t type, void** state, Mesh* mesh)
{
    if (!HasGenerator(type))
    {
        return;
    }
    FreeWaterState(type, *state);
    *state = nullptr;

    free(mesh->vertices);
    free(mesh->indices);
    free(mesh->texCoords1);
    free(mesh->texCoords2);
    free(mesh->normals);
    *mesh = {};
}

static void ReadGenMeshParams(const TiXmlElement* item, int32_t* params)
{
    uint32_t count = 0;
    const TiXmlElement* child = RequireElement(item->FirstChild(), "a parameter");
    while (child != nullptr && strcmp(child->Value(), "p") == 0)
    {
        CurrentPlace.part = count + 1;
        if (count == kGenMeshParams)
        {
            FatalFault("more than %u parameters", kGenMeshParams);
        }
        params[count] = ParseInt(RequireText(child));
        ++count;

        const TiXmlNode* next = child->NextSibling();
        child = next == nullptr ? nullptr : next->ToElement();
    }
    CurrentPlace.part = 0;
}

void ReadGenMeshItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                     LoadContext* /*context*/)
{
    GenMesh* genMesh = static_cast<GenMesh*>(record);
    *genMesh = {};
    genMesh->type = static_cast<uint32_t>(ReadIntAttribute(item, "type"));
    genMesh->state = static_cast<void**>(AllocateZeroed(1, sizeof(void*)));
    BuildGenMesh(genMesh->type, genMesh->state, &genMesh->mesh);
    genMesh->mesh.faces = &genMesh->faces;
    ReadGenMeshParams(item, genMesh->params);
}

/// The value of a mesh's envelope. What is wrong with it is wrong with the mesh and not with the
/// object that is being drawn.
static float DriveGenMesh(uint32_t id, uint32_t envelope, const ObjectTable* envelopes,
                          uint32_t time)
{
    FaultPlace caller = CurrentPlace;
    CurrentPlace.section = 8;
    CurrentPlace.item = id;
    CurrentPlace.part = 1;

    // By way of a float: above 2^24 ticks the low bits are lost, and envelopes see the rounded
    // time.
    uint32_t rounded = TruncateToUnsigned(static_cast<float>(time));
    float v = EvaluateEnvelopeId(envelope, envelopes, rounded);

    CurrentPlace = caller;
    return v;
}

void UpdateGenMesh(uint32_t id, const ObjectTable* genMeshes, const ObjectTable* envelopes,
                   uint32_t time)
{
    const GenMesh* genMesh = GetRecord<GenMesh>(id, genMeshes);
    if (genMesh == nullptr)
    {
        return;
    }
    float v = 0.0f;
    if (genMesh->params[0] != 0)
    {
        v = DriveGenMesh(id, static_cast<uint32_t>(genMesh->params[0]), envelopes, time);
    }
    SimulateWater(genMesh->type, v, genMesh->state, &genMesh->mesh);
}
