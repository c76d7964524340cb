// SPDX-License-Identifier: MIT

// A moment as it is typed to go there.
#pragma once

#include <cstdint>
#include <string>

struct TypedMoment
{
    bool isRow;     // a row of the module, else a tick
    uint32_t tick;  // of the piece
    uint32_t order; // of the module, from 0
    uint32_t row;   // in the order's pattern, from 0
};

/// Reads a tick as ParseMoment does, or a row of the module: "o3:16", and "o3" for the first row of
/// that order. Minutes have a colon too, so a row has a letter before it. Spaces around are left
/// out.
/// @return false for anything else
bool ParseTypedMoment(const std::string& text, TypedMoment* moment);
