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
    return static_cast<float>(NextWord(random) >> 8) * (1.0F / 16777216.0F);
}

/// From -reach to reach.
inline float NextWithin(RandomSource& random, float reach)
{
    return (NextUnit(random) * 2.0F - 1.0F) * reach;
}

/// Mostly a value near those that documents hold; now and then an integer, a tie, a huge or tiny
/// value, an infinity or no number.
inline float NextParam(RandomSource& random)
{
    static constexpr float kSpecial[] = {
        0.0F,           -0.0F,         1.0F,       -1.0F,       0.5F,
        1.5F,           2.5F,          255.0F,     256.0F,      -256.0F,
        1.0F / 255.0F,  127.0F,        8421504.0F, -8421504.0F, 2147483648.0F,
        -2147483648.0F, 4294967296.0F, 1e10F,      -1e10F,      3e38F,
        -3e38F,         1e-40F,        INFINITY,   -INFINITY,   NAN,
    };
    switch (NextBelow(random, 8))
    {
    case 0:
        return kSpecial[NextBelow(random, sizeof(kSpecial) / sizeof(kSpecial[0]))];
    case 1:
        return static_cast<float>(static_cast<int>(NextBelow(random, 600)) - 300);
    case 2:
        return NextWithin(random, 300.0F);
    case 3:
        return ldexpf(NextWithin(random, 1.0F), static_cast<int>(NextBelow(random, 80)) - 40);
    default:
        return NextWithin(random, 2.0F);
    }
}
