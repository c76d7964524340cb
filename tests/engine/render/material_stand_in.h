// A SetMaterial that sets nothing and writes down how it was called, among the OpenGL calls. The
// one source of a test program that includes it takes the place of the 24 recipes.
//
//   SetMaterial 5 at 120 vbo 1 pbo 0 dot3 1 heading 45
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/render/set_material.h"
#include "support/recorded_gl.h"

TexCoordSource CurrentTexCoords;

/// The texture coordinates that each call found.
static std::vector<TexCoordSource> texCoordsSeen;

/// The tables that the last call was given: materials, lights, textures, envelopes, effects,
/// bitmaps.
static std::vector<const ObjectTable*> materialTables;

void SetMaterial(uint32_t id, ObjectTable* materials, ObjectTable* lights, ObjectTable* textures,
                 ObjectTable* envelopes, ObjectTable* effects, ObjectTable* bitmaps, uint32_t time,
                 int32_t vbo, int32_t pbo, int32_t dot3, float cameraRotY)
{
    texCoordsSeen.push_back(CurrentTexCoords);
    materialTables = {materials, lights, textures, envelopes, effects, bitmaps};
    RecordCall("SetMaterial " + std::to_string(id) + " at " + std::to_string(time) + " vbo " +
               std::to_string(vbo) + " pbo " + std::to_string(pbo) + " dot3 " +
               std::to_string(dot3) + " heading " + std::to_string(static_cast<int>(cameraRotY)));
}
