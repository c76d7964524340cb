#include "engine/data/allocate.h"

#include <cstdint>
#include <cstdlib>

static void TellNoMemory(size_t count, size_t size, const char* what, FaultList* faults)
{
    if (faults != nullptr)
    {
        const size_t bytes = size != 0 && count > SIZE_MAX / size ? SIZE_MAX : count * size;
        AddFault(faults, "no memory for %s (%zu bytes)", what, bytes);
    }
}

void* AllocateBytes(size_t count, size_t size, const char* what, FaultList* faults)
{
    const bool isTooLarge = size != 0 && count > SIZE_MAX / size;
    const size_t bytes = count * size;
    void* block = isTooLarge ? nullptr : malloc(bytes == 0 ? 1 : bytes);
    if (block == nullptr)
    {
        TellNoMemory(count, size, what, faults);
    }
    return block;
}

void* AllocateZeroedBytes(size_t count, size_t size, const char* what, FaultList* faults)
{
    void* block = count == 0 || size == 0 ? calloc(1, 1) : calloc(count, size);
    if (block == nullptr)
    {
        TellNoMemory(count, size, what, faults);
    }
    return block;
}
