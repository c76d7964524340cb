// SPDX-License-Identifier: MIT

// Blocks of the heap, with one text for all that can't be had.
#pragma once

#include <cstddef>

#include "engine/data/fault.h"

/// @param count, size   elements and their bytes; none at all gives a block too
/// @param what          how a fault calls them, such as "a model"
/// @param faults        receives "no memory for %s (%zu bytes)"; null where nobody is told
/// @return a new heap block for free; null without memory
void* AllocateBytes(size_t count, size_t size, const char* what, FaultList* faults);

/// The same, filled with zeros.
void* AllocateZeroedBytes(size_t count, size_t size, const char* what, FaultList* faults);

/// The same as an array of a type that needs no constructor.
template <typename Type>
Type* AllocateBlock(size_t count, const char* what, FaultList* faults)
{
    return static_cast<Type*>(AllocateBytes(count, sizeof(Type), what, faults));
}

template <typename Type>
Type* AllocateZeroed(size_t count, const char* what, FaultList* faults)
{
    return static_cast<Type*>(AllocateZeroedBytes(count, sizeof(Type), what, faults));
}
