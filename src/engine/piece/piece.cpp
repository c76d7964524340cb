// SPDX-License-Identifier: MIT
#include "engine/piece/piece.h"

#include "engine/render/records/timeline.h"
#include "engine/textures/layer_generator.h"

/// @return a document without tables and tree, with an empty timeline
static bool StartDocument(const char* name, DemoDocument* document, FaultList* faults)
{
    *document = {};
    document->name = name;
    document->timeline = CreateTimeline(faults);
    return document->timeline != nullptr;
}

bool StartPiece(Piece* piece, PieceState* state, FaultList* faults)
{
    *piece = {};
    StartPieceState(state);
    return StartDocument(kLoadingDocumentName, &piece->loading, faults) &&
           StartDocument(kDemoDocumentName, &piece->demo, faults);
}

/// @param state   of this document
/// @param found   receives whether the package has the document
static bool OpenDocument(ReadContext* context, DocumentState* state, RandomSequence* random,
                         bool* found)
{
    FaultList* faults = context->faults;
    *found = LoadDocument(context->package, context->document, faults);
    if (!*found)
    {
        return !HasFailed(faults);
    }

    DocumentReader reader;
    BeginReading(PieceSections, context, &reader);
    ItemPlace item;
    ReadStep step = ReadNextItem(&reader, &item);
    while (step == ReadStep::kItem)
    {
        if (!StartItemState(item.section, item.id, context->document, state, random, faults))
        {
            return false;
        }
        step = ReadNextItem(&reader, &item);
    }
    return step == ReadStep::kDone;
}

static bool OpenPackage(const PieceSource* source, PackageFile* package, FaultList* faults)
{
    return source->path != nullptr
               ? OpenPackageFile(source->path, package, faults)
               : OpenPackageMemory(source->bytes, source->size, package, faults);
}

/// Reads one of a piece's documents, and frees the layers that a fault may leave.
static bool ReadDocument(const PieceSource* source, bool isDemo, Piece* piece, PieceState* state,
                         FaultList* faults)
{
    ReadContext context = {};
    context.document = isDemo ? &piece->demo : &piece->loading;
    context.package = &piece->package;
    context.isDemo = isDemo;
    context.computePixels = source->computePixels;
    context.faults = faults;
    const bool read = OpenDocument(&context, isDemo ? &state->demo : &state->loading,
                                   &state->random, isDemo ? &piece->hasDemo : &piece->hasLoading);
    FreeLayers(&context);
    return read;
}

bool OpenPiece(const PieceSource* source, Piece* piece, PieceState* state, FaultList* faults)
{
    return StartPiece(piece, state, faults) && OpenPackage(source, &piece->package, faults) &&
           ReadDocument(source, false, piece, state, faults) &&
           ReadDocument(source, true, piece, state, faults);
}

void ClosePiece(Piece* piece)
{
    FreeDocument(PieceSections, &piece->loading);
    FreeDocument(PieceSections, &piece->demo);
    ClosePackage(&piece->package);
    *piece = {};
}

const DemoDocument* MusicDocument(const Piece* piece)
{
    return piece->hasDemo ? &piece->demo : &piece->loading;
}
