#include "support/failing_memory.h"

#include <cstddef>

static bool isCounting = false;
static uint64_t asked = 0;
static uint64_t failing = 0; // counted from 1

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __real_realloc(void* block, size_t size);
extern "C" void* __wrap_malloc(size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size);
extern "C" void* __wrap_realloc(void* block, size_t size);

static bool MayAllocate()
{
    if (!isCounting)
    {
        return true;
    }
    asked += 1;
    return asked != failing;
}

void* __wrap_malloc(size_t size)
{
    return MayAllocate() ? __real_malloc(size) : nullptr;
}

void* __wrap_calloc(size_t count, size_t size)
{
    return MayAllocate() ? __real_calloc(count, size) : nullptr;
}

void* __wrap_realloc(void* block, size_t size)
{
    return MayAllocate() ? __real_realloc(block, size) : nullptr;
}

void FailAllocation(uint64_t k)
{
    asked = 0;
    failing = k;
    isCounting = true;
}

uint64_t AllowAllocations()
{
    isCounting = false;
    return asked;
}
