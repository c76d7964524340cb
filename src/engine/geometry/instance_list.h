// The copies of an object that one frame draws.
#pragma once

#include <cstdint>

inline constexpr uint32_t kInstanceFloats = 9;

/// The most instances that a list may hold, 2^24: some 600 MB of them, far past what can be drawn.
inline constexpr uint32_t kInstanceLimit = 1u << 24;

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
