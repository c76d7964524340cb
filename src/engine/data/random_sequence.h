// SPDX-License-Identifier: MIT

// The numbers of the C library's rand, to the bit, with a state that a piece owns and can copy.
//
// Pieces are timed and drawn with these very numbers. rand itself keeps one state for the whole
// process, which two pieces would share.
#pragma once

#include <cstdint>

inline constexpr uint32_t kRandomWords = 31;
inline constexpr uint32_t kRandomLag = 3;

/// Plain data: a copy goes on with the same numbers. SeedRandom comes first.
struct RandomSequence
{
    uint32_t words[kRandomWords];
    uint32_t oldest; // index of the word that is 31 numbers old
};

/// srand: the numbers start anew. A program that never seeds has the numbers of seed 1, and so has
/// seed 0.
void SeedRandom(RandomSequence* random, uint32_t seed);

/// rand.
/// @return 0 to 2147483647
inline int32_t NextRandom(RandomSequence* random)
{
    const uint32_t i = random->oldest;
    const uint32_t j =
        i + kRandomLag < kRandomWords ? i + kRandomLag : i + kRandomLag - kRandomWords;
    random->words[j] += random->words[i];
    random->oldest = i + 1 < kRandomWords ? i + 1 : 0;
    return static_cast<int32_t>(random->words[j] >> 1);
}
