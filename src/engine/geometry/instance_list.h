// The copies of an object that one frame draws.
#pragma once

#include <cstdint>

#include "engine/data/vocabulary_numbers.h"

inline constexpr uint32_t kInstanceFloats = 9;

/// An instance is nine floats: position x, y, z; rotation x, y, z in degrees; scale x, y, z.
struct InstanceList
{
    float* data; // [count][9], owned
    uint32_t count;
};

/// @return a new list of `count` instances, not initialised, for FreeInstanceList. Fatal at
///         CurrentPlace if there is no memory for it.
InstanceList* CreateInstanceList(uint32_t count);

void FreeInstanceList(InstanceList* list);
