// SPDX-License-Identifier: MIT

// Loading: both documents of a piece become records, and the first is shown while the second is
// built.
#pragma once

#include "player/display.h"

/// Builds loading.xmlz, then demo.xmlz. After items of the demo that come more than 50 ms after
/// the frame before, draws and shows the loading timeline at time 100 * items done / items in all:
/// it is scrubbed by progress and not played. No events are read. Lookups in the package print
/// their lines as they happen.
///
/// A document that the package lacks keeps null tables and an empty timeline.
/// @param run   started, its package open and its features set
/// @return the document whose music node counts: the demo, or the loading one if the package has no
///         demo; null after a fault
const DemoDocument* LoadPiece(PieceRun* run, const View* view);
