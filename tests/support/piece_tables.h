// The tables of a piece, filled by hand. Link the rooms of the records that a test adds.
#pragma once

#include <cstdint>
#include <cstring>

#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/model_data.h"
#include "engine/data/object_table.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/render/effect2d.h"
#include "engine/render/material.h"
#include "engine/render/scene.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/procedural_texture.h"

struct PieceTables
{
    ObjectTable* textures; // all owned
    ObjectTable* models;
    ObjectTable* envelopes;
    ObjectTable* lights;
    ObjectTable* effects;
    ObjectTable* bitmaps;
    ObjectTable* materials;
    ObjectTable* genMeshes;
    ObjectTable* scenes;
};

/// @return nine empty tables for FreePieceTables
inline PieceTables MakePieceTables()
{
    return {CreateObjectTable(sizeof(ProceduralTexture)),
            CreateObjectTable(sizeof(ModelData)),
            CreateObjectTable(sizeof(Envelope)),
            CreateObjectTable(sizeof(Light)),
            CreateObjectTable(sizeof(Effect2D)),
            CreateObjectTable(sizeof(BitmapTexture)),
            CreateObjectTable(sizeof(Material)),
            CreateObjectTable(sizeof(GenMesh)),
            CreateObjectTable(sizeof(Scene))};
}

inline void FreePieceTables(PieceTables* tables)
{
    for (ObjectTable* table :
         {tables->textures, tables->models, tables->envelopes, tables->lights, tables->effects,
          tables->bitmaps, tables->materials, tables->genMeshes, tables->scenes})
    {
        FreeObjectTable(table);
    }
}

/// @return a new record of zeros, lent by the table; its id is the table's count
template <typename Record>
Record* AddRecord(ObjectTable* table)
{
    uint32_t id = AllocateObject(table);
    Record* record = GetRecord<Record>(id, table);
    memset(static_cast<void*>(record), 0, sizeof(Record));
    return record;
}

/// Adds the envelope a * x + b, x being the time in ticks.
/// @return its id
inline uint32_t AddLinearEnvelope(PieceTables* tables, float a, float b)
{
    Envelope* envelope = AddRecord<Envelope>(tables->envelopes);
    envelope->pieceCount = 1;
    envelope->pieceType[0] = kFunctionLinear;
    envelope->pieceLength[0] = 0xFFFFFFFF;
    envelope->pieceParams[0][0] = a;
    envelope->pieceParams[0][1] = b;
    envelope->lastTime = kNothingCached;
    return tables->envelopes->count;
}
