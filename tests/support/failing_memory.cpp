#include "support/failing_memory.h"

#include <cstddef>

static bool isCounting = false;
static uint64_t asked = 0;
static uint64_t failing = 0; // counted from 1
static int64_t live = 0;

extern "C" void* __real_malloc(size_t size);
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __real_realloc(void* block, size_t size);
extern "C" void __real_free(void* block);
extern "C" void* __wrap_malloc(size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size);
extern "C" void* __wrap_realloc(void* block, size_t size);
extern "C" void __wrap_free(void* block);

static bool MayAllocate()
{
    if (!isCounting)
    {
        return true;
    }
    asked += 1;
    return asked != failing;
}

static void* Count(void* block)
{
    live += block != nullptr ? 1 : 0;
    return block;
}

void* __wrap_malloc(size_t size)
{
    return MayAllocate() ? Count(__real_malloc(size)) : nullptr;
}

void* __wrap_calloc(size_t count, size_t size)
{
    return MayAllocate() ? Count(__real_calloc(count, size)) : nullptr;
}

void* __wrap_realloc(void* block, size_t size)
{
    if (!MayAllocate())
    {
        return nullptr;
    }
    void* moved = __real_realloc(block, size);
    return block == nullptr ? Count(moved) : moved;
}

void __wrap_free(void* block)
{
    live -= block != nullptr ? 1 : 0;
    __real_free(block);
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

int64_t LiveBlocks()
{
    return live;
}
