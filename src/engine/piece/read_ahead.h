// SPDX-License-Identifier: MIT

// Reading ahead: layers, textures, models and bitmaps of a document are computed on worker threads
// while one thread walks through the document, uploads and draws the loading screen. That thread
// takes each item in its turn, so OpenGL, printed lines, clock and faults see no difference.
//
// A worker runs the section's own reader on a context of its own. Only an item without any fault or
// printed line counts as read; all others are left to their turn, where the same reader meets the
// same fault at the right moment. Items of a file that an earlier item names are left as well:
// their readers share what the earlier one has. What an item takes of the package's budget is taken
// in its turn.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"

struct ReadAhead;

inline constexpr uint32_t kMostLoadingThreads = 16;
/// Bytes of one item; larger ones are read in their turn.
inline constexpr uint64_t kMostBytesOfAheadItem = 16u << 20;
/// Bytes of items that wait for their turn. Workers pause above it.
inline constexpr uint64_t kMostBytesAhead = 64u << 20;

/// The number of threads that load a piece, the one that walks through it included.
/// @param wish   a number above 0, as QUORVALE_THREADS gives it; null and any other text stand for
///               the number of processors
/// @return 1 to kMostLoadingThreads
uint32_t CountLoadingThreads(const char* wish);

/// Starts to read ahead, and makes the context take its items from there. The document's tree and
/// the package must stay as they are until StopReadAhead. Relies on CosTable and CornerMasks.
/// @param context   document loaded, package and flags set, nothing read so far
/// @param readers   kSectionCount rows, by section
/// @param threads   all threads, this one included; below 2 nothing is read ahead
/// Where there is nothing to read ahead, no memory or no thread, the context stays as it is.
void StartReadAhead(const SectionReader* readers, uint32_t threads, ReadContext* context);

/// Waits for the workers, and frees what was read and not taken. Needed before layers or the
/// document are freed. A context that reads nothing ahead is allowed.
void StopReadAhead(ReadContext* context);
