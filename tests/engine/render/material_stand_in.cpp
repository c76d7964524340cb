#include "engine/render/material_stand_in.h"

#include <string>

#include "support/recorded_gl.h"

std::vector<TexCoordSource> texCoordsSeen;
std::vector<const ObjectTable*> materialTables;

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
