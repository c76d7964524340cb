// The heap of the test program, with allocations that fail when a test wants it: its own malloc,
// calloc, realloc and free, and so those of `new` and of all libraries too.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>

/// Makes the k-th allocation from here on fail, counted from 1.
/// @param stays   all those after it fail too
void FailAllocation(uint64_t k, bool stays);

/// Lets all allocations be.
/// @return whether one has failed since FailAllocation
bool StopFailing();

/// @return blocks of the heap that were not freed so far
int64_t CountLiveBlocks();

/// Runs `body` with the first allocation failing, then with the second, and so on, until none
/// fails; then the same with all those after it failing too. Each run has to give back what it
/// takes.
/// @param body   returns whether all is as it should be: it has the result, or a fault. Test macros
///               allocate, so it uses none.
template <typename Body>
void FailEachAllocation(Body body)
{
    for (const bool stays : {false, true})
    {
        bool hasFailed = true;
        for (uint64_t k = 1; hasFailed; ++k)
        {
            const int64_t before = CountLiveBlocks();
            FailAllocation(k, stays);
            const bool isRight = body();
            hasFailed = StopFailing();
            ASSERT_EQ(CountLiveBlocks(), before) << "allocation " << k << ", stays " << stays;
            ASSERT_TRUE(isRight) << "allocation " << k << ", stays " << stays;
        }
    }
}
