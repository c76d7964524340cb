// SPDX-License-Identifier: MIT

// A piece: the package and what its two documents say. It is opened like a file, from a path or
// from memory, and closed by its pair. Opening needs no OpenGL, no window and no sound; several
// pieces can be open at once. An open piece never changes: what does is the PieceState that comes
// with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/package_file.h"
#include "engine/piece/piece_sections.h"
#include "engine/piece/piece_state.h"

inline constexpr const char* kLoadingDocumentName = "loading.xmlz";
inline constexpr const char* kDemoDocumentName = "demo.xmlz";

/// Where a piece comes from.
struct PieceSource
{
    const char* path;           // of the package; null where it is in memory
    const unsigned char* bytes; // the package, borrowed until the piece is closed; null with a path
    size_t size;                // of bytes
    bool computePixels;         // run the steps of procedural textures and decode bitmaps
};

struct Piece
{
    PackageFile package;
    DemoDocument loading; // shown while the other is read
    DemoDocument demo;
    bool hasLoading; // the package has the document; one that it lacks has null tables and an
    bool hasDemo;    // empty timeline
};

/// Makes an empty piece and an empty state: names set, both timelines made and cleared. For
/// programs that read the documents item by item.
/// @return false after a fault if there is no memory; the piece is ClosePiece's all the same
bool StartPiece(Piece* piece, PieceState* state, FaultList* faults);

/// Opens the package and reads both documents whole. Relies on CosTable and CornerMasks, as all
/// that computes does. Effects have their state, but no image of theirs was computed yet.
/// @param piece, state   receive the piece, for ClosePiece and FreePieceState, whatever comes back
/// @return false after a fault
bool OpenPiece(const PieceSource* source, Piece* piece, PieceState* state, FaultList* faults);

/// Gives everything back: records and what they own, tables, timelines, trees, the package. The
/// piece is then empty and may be closed again.
void ClosePiece(Piece* piece);

/// @return the document whose music node counts: the demo, or the loading one if there is no demo
const DemoDocument* MusicDocument(const Piece* piece);
