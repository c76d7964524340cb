// An end to the memory of a test program, and a count of what is left. The program links
// failing_memory (CMake), and then malloc, calloc, realloc and free of all that it links statically
// go through here.
#pragma once

#include <cstdint>

/// Makes the k-th allocation from now on fail, counted from 1.
void FailAllocation(uint64_t k);

/// Ends FailAllocation.
/// @return how many allocations were asked for since; fewer than k if none has failed
uint64_t AllowAllocations();

/// @return blocks that were allocated and not freed yet
int64_t LiveBlocks();
