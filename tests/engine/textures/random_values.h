// SPDX-License-Identifier: MIT

// Random but repeatable values for tests that try many inputs.
#pragma once

#include <cmath>
#include <cstdint>

/// Xorshift; the state is never 0.
struct RandomSource
{
    uint32_t state = 2463534242U;
};

inline uint32_t NextWord(RandomSource& random)
{
    random.state ^= random.state << 13;
    random.state ^= random.state >> 17;
    random.state ^= random.state << 5;
    return random.state;
}

/// From 0 to count - 1.
inline uint32_t NextBelow(RandomSource& random, uint32_t count)
{
    return (NextWord(random) >> 8) % count;
}

/// From 0 to below 1.
inline float NextUnit(RandomSource& random)
{
    return static_cast<float>(NextWord(random) >> 8) * (1.0f / 16777216.0f);
}

/// From -reach to reach.
inline float NextWithin(RandomSource& random, float reach)
{
    return (NextUnit(random) * 2.0f - 1.0f) * reach;
}

/// Mostly a value near those that documents hold; now and then an integer, a tie, a huge or tiny
/// value, an infinity or no number.
inline float NextParam(RandomSource& random)
{
    static constexpr float kSpecial[] = {
        0.0f,           -0.0f,         1.0f,       -1.0f,       0.5f,
        1.5f,           2.5f,          255.0f,     256.0f,      -256.0f,
        1.0f / 255.0f,  127.0f,        8421504.0f, -8421504.0f, 2147483648.0f,
        -2147483648.0f, 4294967296.0f, 1e10f,      -1e10f,      3e38f,
        -3e38f,         1e-40f,        INFINITY,   -INFINITY,   NAN,
    };
    switch (NextBelow(random, 8))
    {
    case 0:
        return kSpecial[NextBelow(random, sizeof(kSpecial) / sizeof(kSpecial[0]))];
    case 1:
        return static_cast<float>(static_cast<int>(NextBelow(random, 600)) - 300);
    case 2:
        return NextWithin(random, 300.0f);
    case 3:
        return ldexpf(NextWithin(random, 1.0f), static_cast<int>(NextBelow(random, 80)) - 40);
    default:
        return NextWithin(random, 2.0f);
    }
}
