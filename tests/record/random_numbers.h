// SPDX-License-Identifier: MIT

// Random numbers from integers alone, so that a seed gives the same ones everywhere.
#pragma once

#include <cstdint>
#include <string>

struct Random
{
    uint64_t state;
};

/// @return 32 random bits
inline uint32_t NextBits(Random* random)
{
    random->state += 0x9E3779B97F4A7C15u;
    uint64_t mixed = (random->state ^ random->state >> 30) * 0xBF58476D1CE4E5B9u;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
    return static_cast<uint32_t>((mixed ^ mixed >> 31) >> 32);
}

/// @return a number from low to high, both of them possible
inline int32_t Between(Random* random, int32_t low, int32_t high)
{
    uint32_t count = static_cast<uint32_t>(high - low) + 1;
    return low + static_cast<int32_t>(NextBits(random) % count);
}

inline bool Chance(Random* random, int32_t percent)
{
    return Between(random, 0, 99) < percent;
}

/// @return a decimal from low to high with three places, as text: "-0.125"
inline std::string Decimal(Random* random, int32_t low, int32_t high)
{
    int32_t thousandths = Between(random, low * 1000, high * 1000);
    uint32_t size = static_cast<uint32_t>(thousandths < 0 ? -thousandths : thousandths);
    std::string places = std::to_string(1000 + size % 1000).substr(1);
    std::string text = thousandths < 0 ? "-" : "";
    text += std::to_string(size / 1000);
    return places == "000" ? text : text + "." + places;
}
