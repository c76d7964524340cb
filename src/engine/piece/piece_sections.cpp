// SPDX-License-Identifier: MIT
#include "engine/piece/piece_sections.h"

#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/model_data.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/records/effect2d.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/layer_generator.h"
#include "engine/textures/procedural_texture.h"

// clang-format off
const SectionReader PieceSections[kSectionCount] = {
    // table, recordSize, itemLimit, begin, readItem, end, freeRecord
    {nullptr, 0, 0, nullptr, ReadLayerItem, nullptr, nullptr},
    {&DemoDocument::textures, sizeof(ProceduralTexture), 0, nullptr, ReadProceduralTextureItem,
     EndTextureSection, FreeProceduralTexture},
    {&DemoDocument::models, sizeof(ModelData), 0, nullptr, ReadModelItem, nullptr, FreeModel},
    {&DemoDocument::envelopes, sizeof(Envelope), 0, nullptr, ReadEnvelopeItem, nullptr, nullptr},
    {&DemoDocument::lights, sizeof(Light), 0, nullptr, ReadLightItem, nullptr, nullptr},
    {&DemoDocument::effects, sizeof(Effect2D), 0, nullptr, ReadEffect2DItem, nullptr, nullptr},
    {&DemoDocument::bitmaps, sizeof(BitmapTexture), 0, nullptr, ReadBitmapItem, nullptr, FreeBitmap},
    {&DemoDocument::materials, sizeof(Material), 0, nullptr, ReadMaterialItem, nullptr, nullptr},
    {&DemoDocument::genMeshes, sizeof(GenMesh), 0, nullptr, ReadGenMeshItem, nullptr,
     FreeGenMeshRecord},
    {&DemoDocument::scenes, sizeof(Scene), 0, nullptr, ReadSceneItem, nullptr, nullptr},
    {nullptr, 0, kTimelineRows, BeginTimeline, ReadTimelineRow, EndTimeline, nullptr},
};
// clang-format on
