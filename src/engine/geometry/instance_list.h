// SPDX-License-Identifier: MIT

// The copies of an object that one frame draws.
#pragma once

#include <cstdint>

#include "engine/data/vocabulary_numbers.h"

struct Arena;
struct FaultList;

inline constexpr uint32_t kInstanceFloats = 9;

/// An instance is nine floats: position x, y, z; rotation x, y, z in degrees; scale x, y, z.
struct InstanceList
{
    float* data; // [count][9], lent by the arena of the frame
    uint32_t count;
};

/// Makes room for `count` instances, not initialised.
/// @param list   written only on success
/// @return false after a fault if there is no memory
bool AllocateInstances(uint32_t count, InstanceList* list, Arena* arena, FaultList* faults);
