// SPDX-License-Identifier: MIT

// Pieces made of random numbers, which hold whatever the format has: layers and textures of every
// kind, models, envelopes, all material recipes, manipulators, passes. A seed always makes the same
// piece, on every machine. Most of them play to their end; the others have faults.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "record/random_numbers.h"
#include "support/package_builder.h"

struct RandomPiece
{
    std::string package; // bytes of the file
    int32_t ticks;       // length of the demo's longest row
};

/// Changes a piece's entries: first the texts of both documents, not packed yet, then the files.
using PieceEdit = void (*)(std::vector<PackageEntry>* entries);

/// @param edit   goes over a piece whose files are not damaged; may be null
RandomPiece MakeRandomPiece(Random* random, PieceEdit edit = nullptr);
