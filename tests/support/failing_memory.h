// SPDX-License-Identifier: MIT

// The heap of the test program, with allocations that fail when a test wants it: its own malloc,
// calloc, realloc and free, and so those of `new` and of all libraries too.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>

/// Makes the k-th allocation from here on fail, counted from 1.
void FailAllocation(uint64_t k);

/// The same with all those after it too.
void FailAllocationsFrom(uint64_t k);

/// Ends FailAllocation and FailAllocationsFrom.
/// @return how many allocations were asked for since; fewer than k if none has failed
uint64_t AllowAllocations();

/// @return blocks that were allocated and not freed yet
int64_t LiveBlocks();

/// Runs `body` with the first allocation failing, then with the second, and so on, until none
/// fails; then the same with all those after it failing too. Each run has to give back what it
/// takes.
/// @param body   returns whether all is as it should be: it has the result, or a fault. Test macros
///               allocate, so it uses none.
template <typename Body>
void RunOutOfMemory(Body body)
{
    for (const bool stays : {false, true})
    {
        bool hasFailed = true;
        for (uint64_t k = 1; hasFailed; ++k)
        {
            const int64_t before = LiveBlocks();
            stays ? FailAllocationsFrom(k) : FailAllocation(k);
            const bool isRight = body();
            hasFailed = AllowAllocations() >= k;
            ASSERT_EQ(LiveBlocks(), before) << "allocation " << k << ", stays " << stays;
            ASSERT_TRUE(isRight) << "allocation " << k << ", stays " << stays;
        }
    }
}
