// SPDX-License-Identifier: MIT

// A piece on an OpenGL context: records, state and names of both its documents, loaded item by item
// and drawn frame by frame. The player and every other program that shows a piece run it through
// here.
#pragma once

#include <cstdint>

#include "engine/data/gl_features.h"
#include "engine/piece/piece.h"
#include "engine/render/frame.h"
#include "engine/render/gl_context.h"
#include "engine/render/upload.h"

/// The two documents of a piece.
enum class RunDocument : uint8_t
{
    kLoading, // the loading screen: no buffer objects, mip chains or unpack buffers
    kDemo,
};

/// For StartRun. Its OpenGL names live in the context that was current while documents were loaded,
/// which must be current whenever one is drawn, and for CloseRun.
struct PieceRun
{
    Piece piece;
    PieceState state;
    DocumentUpload loading;
    DocumentUpload demo;
    GlContext gl;
    Arena arena;
    GlFeatures features; // of the demo
    bool keepPixels;     // keep the decoded bitmaps in their records
    uint32_t threads;    // that load, see CountLoadingThreads; below 2 all is read in its turn
    /// Readers of a program's own, kSectionCount rows as PieceSections has them, with the same
    /// table, size and freeRecord; borrowed. Null for PieceSections.
    const SectionReader* readers;
    void* readersUser; // ReadContext::user of such readers; borrowed
    FaultList* faults; // borrowed
};

/// Watches a document being loaded.
struct LoadWatcher
{
    /// Runs after each step that may have looked into the package, a failed one too; null for none.
    void (*looked)(void* user);
    /// Runs after each item; null for none.
    void (*itemDone)(void* user);
    void* user; // borrowed, handed to both
};

enum class LoadResult : uint8_t
{
    kLoaded,
    kMissing, // the package has no such document; its timeline is empty
    kFailed,  // after a fault
};

/// Makes an empty run: no package, no records. Needs no OpenGL.
/// @return false after a fault; the run is then for CloseRun or LeaveRun all the same
bool StartRun(PieceRun* run, FaultList* faults);

/// Loads one document of run->piece.package: each item is read, then started, then uploaded, so
/// OpenGL sees them in the order of the document.
/// @param watcher   null for none
LoadResult LoadRunDocument(PieceRun* run, RunDocument document, const LoadWatcher* watcher);

/// @return what RenderFrame takes for one document of a run. The loading screen has none of the
///         features but dot3.
FrameSources RunSources(PieceRun* run, RunDocument document);

/// Gives everything back: OpenGL names, records, state, the package. The run is then as a record of
/// zeros.
void CloseRun(PieceRun* run);

/// The same without a call of OpenGL, for a program that ends.
void LeaveRun(PieceRun* run);
