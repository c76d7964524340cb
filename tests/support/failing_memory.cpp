#include "support/failing_memory.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUORVALE_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define QUORVALE_ADDRESS_SANITIZER
#endif

// The heap that stands under this one. The first allocations come before the sanitizer is ready, so
// nothing here is instrumented.
#ifdef QUORVALE_ADDRESS_SANITIZER
#define REAL(name) __interceptor_##name
#define PLAIN __attribute__((no_sanitize("address", "undefined")))
#else
#define REAL(name) __libc_##name
#define PLAIN
#endif

extern "C"
{
    void* REAL(malloc)(size_t size);
    void* REAL(calloc)(size_t count, size_t size);
    void* REAL(realloc)(void* block, size_t size);
    void* REAL(memalign)(size_t alignment, size_t size);
    void REAL(free)(void* block);
}

static std::atomic<uint64_t> countdown{0}; // allocations to the one that fails; 0 for none
static std::atomic<bool> failsOn{false};   // after that one too
static std::atomic<bool> anyFailed{false};
static std::atomic<int64_t> liveBlocks{0};

/// Whether the allocation at hand is to fail.
PLAIN static bool IsFailing()
{
    const uint64_t left = countdown.load(std::memory_order_relaxed);
    if (left == 0)
    {
        return false;
    }
    if (left > 1)
    {
        countdown.store(left - 1, std::memory_order_relaxed);
        return false;
    }
    if (!failsOn.load(std::memory_order_relaxed))
    {
        countdown.store(0, std::memory_order_relaxed);
    }
    anyFailed.store(true, std::memory_order_relaxed);
    errno = ENOMEM;
    return true;
}

PLAIN static void* Counted(void* block)
{
    if (block != nullptr)
    {
        liveBlocks.fetch_add(1, std::memory_order_relaxed);
    }
    return block;
}

extern "C"
{
    PLAIN void* malloc(size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(malloc)(size));
    }

    PLAIN void* calloc(size_t count, size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(calloc)(count, size));
    }

    PLAIN void* realloc(void* block, size_t size)
    {
        if (IsFailing())
        {
            return nullptr;
        }
        return block == nullptr ? Counted(REAL(realloc)(block, size)) : REAL(realloc)(block, size);
    }

    PLAIN void* aligned_alloc(size_t alignment, size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(memalign)(alignment, size));
    }

    PLAIN void* memalign(size_t alignment, size_t size)
    {
        return IsFailing() ? nullptr : Counted(REAL(memalign)(alignment, size));
    }

    PLAIN int posix_memalign(void** block, size_t alignment, size_t size)
    {
        void* taken = IsFailing() ? nullptr : Counted(REAL(memalign)(alignment, size));
        if (taken == nullptr)
        {
            return ENOMEM;
        }
        *block = taken;
        return 0;
    }

    PLAIN void free(void* block)
    {
        if (block != nullptr)
        {
            liveBlocks.fetch_sub(1, std::memory_order_relaxed);
        }
        REAL(free)(block);
    }
}

void FailAllocation(uint64_t k, bool stays)
{
    anyFailed = false;
    failsOn = stays;
    countdown = k;
}

bool StopFailing()
{
    countdown = 0;
    return anyFailed;
}

int64_t CountLiveBlocks()
{
    return liveBlocks;
}
