// The copies of an object that one frame draws.
#pragma once

#include <cstdint>

struct Arena;
struct FaultList;

inline constexpr uint32_t kInstanceFloats = 9;

/// The most instances that a list may hold. Drawing a million takes seconds, so more of them are an
/// author's slip, and would look like a program that hangs.
inline constexpr uint32_t kInstanceLimit = 1u << 20;

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
