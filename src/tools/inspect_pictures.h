// SPDX-License-Identifier: MIT

// Pictures for a page about a package, each as a data URL: what documents compute, and what is
// drawn on the stage.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/data/section.h"
#include "tools/document_trees.h"
#include "tools/package_listing.h"

/// A picture of one item.
struct ItemPicture
{
    Section section;
    uint32_t item;      // counted from 1, layers too
    uint32_t step;      // of a texture, counted from 1; 0 for the item as a whole
    std::string detail; // "256x256, 3 channels"
    std::string url;
};

/// The values of one envelope, evenly over its length.
struct ItemCurve
{
    uint32_t item;   // counted from 1
    uint32_t length; // ticks
    std::vector<float> values;
};

struct DocumentPictures
{
    std::vector<ItemPicture> pictures;
    std::vector<ItemCurve> curves;
};

/// Computes what the sections up to the bitmaps show. A fault of the document ends it, and what was
/// read before is there.
void ReadDocumentPictures(ListedPackage* package, const char* name, DocumentPictures* pictures);

struct StagePicture
{
    uint32_t tick;
    std::string url;
};

/// Draws moments of the piece, evenly from its first tick to its last.
/// @param length   ticks of the piece
/// @return no picture if nothing can be drawn: a fault, or no driver
std::vector<StagePicture> DrawStoryboard(const std::string& path, uint32_t length, uint32_t count);

/// Draws each material of a document on a ball, on a stage of its own: the document is the demo
/// there, with a scene for each material in the place of its scenes and clips.
/// @return a picture each material, in their order; none if nothing can be drawn
std::vector<StagePicture> DrawMaterialBalls(const ListedPackage* package,
                                            const DocumentTree& document);
