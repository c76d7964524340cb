// Loading: both documents of a piece become records, and the first is shown while the second is
// built.
#pragma once

#include <cstdio>

#include "engine/data/demo_document.h"
#include "player/display.h"

/// Builds loading.xmlz, then demo.xmlz. After items of the demo that come more than 50 ms behind
/// the frame before, draws and shows the loading timeline at time 100 * items done / items in all:
/// it is scrubbed by progress and not played. No events are read.
///
/// A document that the package lacks keeps null tables and an empty timeline.
/// @param loading, demo   name, document and timeline set, the loading timeline cleared, all else
///                        zero
/// @return the document whose music node counts: the demo, or `loading` if the package has no demo
const DemoDocument* LoadPiece(FILE* package, const View* view, GlFeatures features,
                              DemoDocument* loading, DemoDocument* demo);
