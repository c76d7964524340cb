// SPDX-License-Identifier: MIT
#include "engine/data/random_sequence.h"

static constexpr uint32_t kDropped = 310; // numbers after a seed that nobody gets to see

void SeedRandom(RandomSequence* random, uint32_t seed)
{
    // Word n is 16807 times word n - 1, modulo 2^31 - 1. The quotient and the remainder of 127773
    // keep the products within 32 bits; a seed from 2^31 on is a negative number here.
    int32_t word = static_cast<int32_t>(seed == 0 ? 1 : seed);
    for (uint32_t& slot : random->words)
    {
        slot = static_cast<uint32_t>(word);
        word = 16807 * (word % 127773) - 2836 * (word / 127773);
        word += word < 0 ? 2147483647 : 0;
    }

    random->oldest = 0;
    for (uint32_t i = 0; i < kDropped; ++i)
    {
        NextRandom(random);
    }
}
