// SPDX-License-Identifier: MIT

// All that changes while a piece plays, in one record of that piece. It is plain data behind owned
// pointers, so it can be copied: a copy that is kept is a moment to come back to.
//
// OpenGL's own state and the pictures in render targets are not in it; neither are the pixels of
// effect textures, which follow from it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/animation/envelope.h"
#include "engine/data/demo_document.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/water.h"
#include "engine/render/records/effect2d.h"

/// The part of one document. Arrays are owned and have room for the next power of two, so that
/// a document can be read item by item.
struct DocumentState
{
    EnvelopeCache* envelopes; // [id - 1]
    uint32_t envelopeCount;
    GenMeshState* genMeshes; // [id - 1]
    uint32_t genMeshCount;
    EffectState* effects; // [id - 1]
    uint32_t effectCount;
};

struct PieceState
{
    RandomSequence random; // shared by both documents, as the order of drawing wants it
    DocumentState loading;
    DocumentState demo;
};

/// Starts the state of a piece of which nothing is read: no items, and random numbers from seed 1.
void StartPieceState(PieceState* state);

/// Starts the state of the item that was read last, and must run once after each item of a
/// document: "Amoba" seeds `random` here, and the next items draw from it. Items of sections whose
/// records never change have none. The arrays of the document may move.
/// @param id   of the item's record
/// @return false after a fault if there is no memory
bool StartItemState(Section section, uint32_t id, const DemoDocument* document,
                    DocumentState* state, RandomSequence* random, FaultList* faults);

/// Makes `to` like `from`, in memory of its own.
/// @param to   a state that holds nothing, or one of the same piece, whose memory is used again
/// @return false after a fault if there is no memory; `to` may be freed all the same
bool CopyPieceState(const PieceState* from, PieceState* to, FaultList* faults);

/// @return the bytes that a copy of the state takes
size_t PieceStateBytes(const PieceState* state);

/// Frees what a state owns. It is then as StartPieceState leaves it.
void FreePieceState(PieceState* state);
