// SPDX-License-Identifier: MIT
#include "support/failing_memory.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

// The heap that stands under this one. Under the sanitizers it is theirs: its blocks are followed.
#ifdef QUORVALE_SANITIZE
#define REAL(name) __interceptor_##name
#else
#define REAL(name) __libc_##name
#endif

extern "C"
{
    void* REAL(malloc)(size_t size);
    void* REAL(calloc)(size_t count, size_t size);
    void* REAL(realloc)(void* block, size_t size);
    void* REAL(memalign)(size_t alignment, size_t size);
    void REAL(free)(void* block);
}

static std::atomic<bool> isCounting{false};
static std::atomic<uint64_t> asked{0};   // allocations since isCounting
static std::atomic<uint64_t> failing{0}; // number of the one that fails, counted from 1
static std::atomic<uint64_t> failingTo{0};
static std::atomic<int64_t> live{0};

/// Whether the allocation at hand is to fail.
static bool IsFailing()
{
    if (!isCounting.load(std::memory_order_relaxed))
    {
        return false;
    }
    const uint64_t number = asked.fetch_add(1, std::memory_order_relaxed) + 1;
    const bool fails = number >= failing.load(std::memory_order_relaxed) &&
                       number <= failingTo.load(std::memory_order_relaxed);
    errno = fails ? ENOMEM : errno;
    return fails;
}

static void* Counted(void* block)
{
    if (block != nullptr)
    {
        live.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

extern "C"
{
    void* malloc(size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(malloc)(size));
    }

    void* calloc(size_t count, size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(calloc)(count, size));
    }

    void* realloc(void* block, size_t size)
    {
        if (IsFailing())
        {
            return nullptr;
        }
        return block == nullptr ? Counted(REAL(realloc)(block, size)) : REAL(realloc)(block, size);
    }

    void* aligned_alloc(size_t alignment, size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(memalign)(alignment, size));
    }

    void* memalign(size_t alignment, size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(memalign)(alignment, size));
    }

    int posix_memalign(void** block, size_t alignment, size_t size)
    {
        void* taken = IsFailing() ? nullptr : Counted(REAL(memalign)(alignment, size));
        if (taken == nullptr)
        {
            return ENOMEM;
        }
        *block = taken;
        return 0;
    }

    void free(void* block)
    {
        if (block != nullptr)
        {
            live.fetch_sub(1, std::memory_order_relaxed);
        }
        REAL(free)(block);
    }
}

/// Lets the allocations with these numbers fail.
static void FailRange(uint64_t first, uint64_t last)
{
    asked = 0;
    failing = first;
    failingTo = last;
    isCounting = true;
}

void FailAllocation(uint64_t k)
{
    FailRange(k, k);
}

void FailAllocationsFrom(uint64_t k)
{
    FailRange(k, UINT64_MAX);
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
