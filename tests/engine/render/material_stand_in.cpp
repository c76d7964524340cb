#include "engine/render/material_stand_in.h"

#include <cstdio>

#include "engine/geometry/deformed_mesh.h"
#include "support/recorded_gl.h"

std::vector<TexCoordSource> texCoordsSeen;
std::vector<std::vector<float>> deformedVerticesSeen;
std::vector<const ObjectTable*> materialTables;

void SetMaterial(uint32_t id, ObjectTable* materials, ObjectTable* lights, ObjectTable* textures,
                 ObjectTable* envelopes, ObjectTable* effects, ObjectTable* bitmaps, uint32_t time,
                 int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY)
{
    texCoordsSeen.push_back(CurrentTexCoords);
    deformedVerticesSeen.emplace_back();
    const float* vertices = CurrentDeformedMesh.vertices;
    if (vertices != nullptr)
    {
        deformedVerticesSeen.back().assign(vertices, vertices + 3 * CurrentTexCoords.vertexCount);
    }
    materialTables = {materials, lights, textures, envelopes, effects, bitmaps};

    char line[128];
    snprintf(line, sizeof(line), "SetMaterial %u at %u vbo %d pbo %d dot3 %d heading %.9g", id,
             time, vbo, pbo, dot3, static_cast<double>(cameraRotY));
    RecordCall(line);
}
