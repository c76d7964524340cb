// SPDX-License-Identifier: MIT

// Pieces made of random numbers, which hold whatever the format has: layers and textures of every
// kind, models, envelopes, all material recipes, manipulators, passes. A seed always makes the same
// piece, on every machine. Most of them play to their end; the others have faults.
#pragma once

#include <cstdint>
#include <string>

#include "record/random_numbers.h"

struct RandomPiece
{
    std::string package; // bytes of the file
    int32_t ticks;       // length of the demo's longest row
};

/// Changes the text of a document.
using DocumentEdit = void (*)(std::string* text);

/// @param edit   goes over both documents, except in a piece whose files are damaged; may be null
RandomPiece MakeRandomPiece(Random* random, DocumentEdit edit = nullptr);
