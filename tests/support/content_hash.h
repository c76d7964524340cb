// SPDX-License-Identifier: MIT

// Short names for long contents, for records that are compared. Not made to withstand a forger.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

/// @param seed   hashes with different seeds have nothing to do with each other
inline uint64_t HashBytes(const void* bytes, size_t size, uint64_t seed = 0)
{
    const uint8_t* next = static_cast<const uint8_t*>(bytes);
    uint64_t hash = (seed + 1) * 0x9E3779B97F4A7C15u ^ size;
    while (size > 0)
    {
        uint64_t word = 0;
        size_t taken = size < sizeof(word) ? size : sizeof(word);
        memcpy(&word, next, taken);
        hash = (hash ^ word) * 0xD6E8FEB86659FD93u;
        hash ^= hash >> 32;
        next += taken;
        size -= taken;
    }
    hash *= 0xD6E8FEB86659FD93u;
    return hash ^ hash >> 32;
}

/// @return 16 hexadecimal digits
inline std::string HashText(uint64_t hash)
{
    char digits[17];
    snprintf(digits, sizeof(digits), "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}
