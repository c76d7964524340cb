// SPDX-License-Identifier: MIT

// A piece filled by hand, ready to be drawn. Link engine_render.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include "engine/animation/envelope.h"
#include "engine/animation/light.h"
#include "engine/data/model_data.h"
#include "engine/data/object_table.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/piece/piece_state.h"
#include "engine/render/frame_sources.h"
#include "engine/render/records/effect2d.h"
#include "engine/render/records/material.h"
#include "engine/render/records/scene.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/procedural_texture.h"
#include "support/fault_text.h"

/// One document with its state and its OpenGL names. Faults stand at the document.
struct TestPiece
{
    DemoDocument document;
    PieceState state; // the document's is that of the demo
    DocumentUpload upload;
    GlContext gl;
    Arena arena;
    GlFeatures features;
    FaultList faults;
};

/// Makes nine empty tables and an empty timeline, for FreeTestPiece.
inline void StartTestPiece(TestPiece* piece)
{
    *piece = {};
    StartFaults(&piece->faults);
    StartPieceState(&piece->state);
    DemoDocument* document = &piece->document;
    document->name = "demo.xmlz";
    document->timeline = CreateTimeline(&piece->faults);
    document->textures = CreateObjectTable(sizeof(ProceduralTexture));
    document->models = CreateObjectTable(sizeof(ModelData));
    document->envelopes = CreateObjectTable(sizeof(Envelope));
    document->lights = CreateObjectTable(sizeof(Light));
    document->effects = CreateObjectTable(sizeof(Effect2D));
    document->bitmaps = CreateObjectTable(sizeof(BitmapTexture));
    document->materials = CreateObjectTable(sizeof(Material));
    document->genMeshes = CreateObjectTable(sizeof(GenMesh));
    document->scenes = CreateObjectTable(sizeof(Scene));
    piece->faults.place.document = document->name;
}

/// Frees all but what records point to, which is the test's. Calls no OpenGL.
inline void FreeTestPiece(TestPiece* piece)
{
    const DemoDocument& document = piece->document;
    for (ObjectTable* table :
         {document.textures, document.models, document.envelopes, document.lights, document.effects,
          document.bitmaps, document.materials, document.genMeshes, document.scenes})
    {
        FreeObjectTable(table);
    }
    free(document.timeline);
    FreePieceState(&piece->state);
    ForgetUpload(&piece->upload);
    FreeArena(&piece->arena);
    FreeFaults(&piece->faults);
    piece->document = {};
}

/// @return what frames are drawn from
inline FrameSources TestSources(TestPiece* piece)
{
    return {&piece->document, &piece->state.demo, &piece->upload,  &piece->state.random,
            &piece->gl,       &piece->arena,      piece->features, &piece->faults};
}

/// Takes the faults out again; the place stays.
/// @return the line of each, each with a newline
inline std::string TakeFaults(TestPiece* piece)
{
    std::string text = FaultText(piece->faults);
    const Place place = piece->faults.place;
    FreeFaults(&piece->faults);
    piece->faults.place = place;
    return text;
}

/// @return a new record of zeros, lent by the table; its id is the table's count
template <typename Record>
Record* AddRecord(ObjectTable* table)
{
    const uint32_t id = AllocateObject(table);
    return GetRecord<Record>(id, table);
}

/// Starts the state of the record that was added last.
inline void StartState(TestPiece* piece, Section section, uint32_t id)
{
    StartItemState(section, id, &piece->document, &piece->state.demo, &piece->state.random,
                   &piece->faults);
}

/// Adds an envelope with its state.
/// @return its id
inline uint32_t AddEnvelope(TestPiece* piece, const Envelope& envelope)
{
    Envelope* record = AddRecord<Envelope>(piece->document.envelopes);
    *record = envelope;
    PrepareSplines(record);
    const uint32_t id = piece->document.envelopes->count;
    StartState(piece, Section::kEnvelopes, id);
    return id;
}

/// Adds the envelope a * x + b, x being the time in ticks.
/// @return its id
inline uint32_t AddLinearEnvelope(TestPiece* piece, float a, float b)
{
    Envelope envelope = {};
    envelope.pieceCount = 1;
    envelope.pieceType[0] = kFunctionLinear;
    envelope.pieceLength[0] = 0xFFFFFFFF;
    envelope.pieceParams[0][0] = a;
    envelope.pieceParams[0][1] = b;
    return AddEnvelope(piece, envelope);
}

/// @return the time in ticks at which an envelope was evaluated last
inline uint32_t EnvelopeTime(const TestPiece* piece, uint32_t id)
{
    return piece->state.demo.envelopes[id - 1].lastTime;
}

/// Makes room for the OpenGL names of one more record.
template <typename Entry>
Entry* AddUploadEntry(Entry** entries, uint32_t* count)
{
    *entries = static_cast<Entry*>(realloc(*entries, (*count + 1) * sizeof(Entry)));
    Entry* entry = &(*entries)[*count];
    *entry = {};
    *count += 1;
    return entry;
}

/// Adds a procedural texture of a name that OpenGL gave, or may not know.
inline void AddTexture(TestPiece* piece, uint32_t glTexture)
{
    AddRecord<ProceduralTexture>(piece->document.textures);
    *AddUploadEntry(&piece->upload.textures, &piece->upload.textureCount) = glTexture;
}

/// Adds a bitmap of a name that OpenGL gave, or may not know.
inline void AddBitmap(TestPiece* piece, const BitmapUpload& bitmap)
{
    BitmapTexture* record = AddRecord<BitmapTexture>(piece->document.bitmaps);
    record->width = bitmap.width;
    record->height = bitmap.height;
    record->components = bitmap.components;
    *AddUploadEntry(&piece->upload.bitmaps, &piece->upload.bitmapCount) = bitmap;
}

/// Adds a 2D effect with its state. It may be of no type, and then nothing refreshes it.
/// @param glTexture, pixelBuffer   names that OpenGL gave, or may not know
/// @return its id
inline uint32_t AddEffect(TestPiece* piece, const Effect2D& effect, uint32_t glTexture,
                          uint32_t pixelBuffer)
{
    *AddRecord<Effect2D>(piece->document.effects) = effect;
    EffectUpload* upload = AddUploadEntry(&piece->upload.effects, &piece->upload.effectCount);
    upload->glTexture = glTexture;
    upload->pixelBuffer = pixelBuffer;
    const uint32_t id = piece->document.effects->count;
    StartState(piece, Section::kEffects, id);
    return id;
}

/// The type of a generated mesh that nothing moves.
inline constexpr uint32_t kStillGenMesh = 99;

/// Gives a generated mesh that nothing moves its arrays, which are lent.
inline void SetStillMesh(TestPiece* piece, uint32_t id, const Mesh& mesh)
{
    GetRecord<GenMesh>(id, piece->document.genMeshes)->mesh = mesh;
    GenMeshState* state = &piece->state.demo.genMeshes[id - 1];
    state->vertices = mesh.vertices;
    state->normals = mesh.normals;
}

/// Adds a generated mesh that nothing moves, with its state.
/// @param mesh   its arrays are lent
inline GenMesh* AddStillGenMesh(TestPiece* piece, const Mesh& mesh)
{
    GenMesh* genMesh = AddRecord<GenMesh>(piece->document.genMeshes);
    const uint32_t id = piece->document.genMeshes->count;
    genMesh->type = kStillGenMesh;
    StartState(piece, Section::kGenMeshes, id);
    SetStillMesh(piece, id, mesh);
    return genMesh;
}
