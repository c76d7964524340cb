// SPDX-License-Identifier: MIT
#include "engine/data/allocate.h"

#include <cstdint>
#include <cstdlib>

static void TellNoMemory(size_t bytes, const char* what, FaultList* faults)
{
    if (faults != nullptr)
    {
        AddFault(faults, "no memory for %s (%zu bytes)", what, bytes);
    }
}

/// The bytes of an array; SIZE_MAX, which no heap has, for more than can be counted.
static size_t CountBytes(size_t count, size_t size)
{
    return size != 0 && count > SIZE_MAX / size ? SIZE_MAX : count * size;
}

void* AllocateBytes(size_t count, size_t size, const char* what, FaultList* faults)
{
    const size_t bytes = CountBytes(count, size);
    void* block = bytes == SIZE_MAX ? nullptr : malloc(bytes == 0 ? 1 : bytes);
    if (block == nullptr)
    {
        TellNoMemory(bytes, what, faults);
    }
    return block;
}

void* AllocateZeroedBytes(size_t count, size_t size, const char* what, FaultList* faults)
{
    const size_t bytes = CountBytes(count, size);
    void* block = bytes == SIZE_MAX ? nullptr : calloc(bytes == 0 ? 1 : bytes, 1);
    if (block == nullptr)
    {
        TellNoMemory(bytes, what, faults);
    }
    return block;
}
