// SPDX-License-Identifier: MIT

// Items of a piece that no clip reaches, made as small as they go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "engine/data/section.h"

/// An item of a document.
struct EmptiedItem
{
    Section section;
    size_t index; // in its section, counted from 0
};

/// The files that items of both documents name.
struct EmptiedPiece
{
    std::set<std::string> reachedFiles; // a clip shows them
    std::set<std::string>
        unreachedFiles[kSectionCount]; // named by models or bitmaps that none shows
    bool isUnsure; // a document could not be walked, so all files count as reached
};

/// Empties what no clip reaches, neither itself nor through anything that it shows. Envelopes lose
/// their pieces, scenes their objects and textures their steps; layers become black, and all
/// numbers of materials 0. The items stay where they are, so that every id means what it meant and
/// loading takes as many steps. Lights keep their nine values.
/// @param text      a document; it stays as it is where it does not parse, lacks a section or has
///                  an item that is no element
/// @param emptied   receives the files of the document as well; zero before the first document
/// @return the items that were emptied
std::vector<EmptiedItem> EmptyUnreachedRecords(std::string* text, EmptiedPiece* emptied);

enum class FileUse : uint8_t
{
    kReached, // or the documents do not tell
    kUnreachedModel,
    kUnreachedBitmap,
};

/// @param emptied   of all documents that the piece has
FileUse FindFileUse(const EmptiedPiece& emptied, const std::string& name);

/// @param sets   the coordinate sets of the model whose place it takes: as many buffers are made
/// @return a model file without vertices, not packed
std::string MakeEmptyModel(uint8_t sets);

/// @return an image file of 2x2 pixels
std::string MakeEmptyBitmap();
