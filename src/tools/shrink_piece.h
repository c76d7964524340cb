// SPDX-License-Identifier: MIT

// Takes out of a piece what nothing uses.
#pragma once

#include <string>
#include <vector>

#include "tools/files.h"

/// An entry that is to be packed.
struct PieceEntry
{
    std::string name;
    Bytes bytes;
    bool isKept; // whoever builds wants it, even if nothing names it
};

struct ShrinkReport
{
    std::vector<std::string> dropped; // entries that nothing names
    std::vector<std::string> files;   // entries of models and bitmaps that no clip reaches
    std::vector<std::string> items;   // emptied ones, such as `demo.xmlz, scene 3`
};

/// Leaves out entries that nothing names, empties items that no clip reaches, and puts the least
/// model or image in the place of files that only such items name. Every frame of the piece is
/// drawn by the same calls, and it loads in as many steps. Its containers are packed by zopfli
/// where they change.
/// @param entries   of a piece; names are different. An entry that is damaged stays as it is.
/// @param report    receives what went
/// @return false after an error line
bool ShrinkPiece(std::vector<PieceEntry>* entries, ShrinkReport* report);
