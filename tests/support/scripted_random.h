// SPDX-License-Identifier: MIT

// Random numbers that a test chooses.
#pragma once

#include <cassert>
#include <cstdint>
#include <vector>

#include "engine/data/random_sequence.h"

/// @param numbers   at most kRandomWords - kRandomLag of them, each as NextRandom is to give it
/// @return a sequence that gives these numbers next, with `oldest` 0
inline RandomSequence ScriptedRandom(const std::vector<int32_t>& numbers)
{
    // A number is half the sum of the word at `oldest` and the one that is kRandomLag further on.
    // The latter becomes the sum: it is an addend again for a number to come, whose word is chosen
    // accordingly.
    assert(numbers.size() <= kRandomWords - kRandomLag);
    RandomSequence random = {};
    for (uint32_t i = 0; i < numbers.size(); ++i)
    {
        const uint32_t sum = static_cast<uint32_t>(numbers[i]) << 1;
        const uint32_t first =
            i < kRandomLag ? 0 : static_cast<uint32_t>(numbers[i - kRandomLag]) << 1;
        random.words[i + kRandomLag] = sum - first;
    }
    return random;
}
