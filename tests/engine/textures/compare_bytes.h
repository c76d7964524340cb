// SPDX-License-Identifier: MIT

// Comparing images in tests without printing them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// @return "same", or the first difference as "byte 124573 is 59, not 60"
inline std::string CompareBytes(const uint8_t* actual, const uint8_t* expected, size_t count)
{
    for (size_t i = 0; i < count; ++i)
    {
        if (actual[i] != expected[i])
        {
            return "byte " + std::to_string(i) + " is " + std::to_string(actual[i]) + ", not " +
                   std::to_string(expected[i]);
        }
    }
    return "same";
}

inline std::string CompareBytes(const std::vector<uint8_t>& actual,
                                const std::vector<uint8_t>& expected)
{
    if (actual.size() != expected.size())
    {
        return std::to_string(actual.size()) + " bytes, not " + std::to_string(expected.size());
    }
    return CompareBytes(actual.data(), expected.data(), actual.size());
}

/// FNV-1a, 64 bits.
inline uint64_t HashBytes(const uint8_t* bytes, size_t count)
{
    uint64_t hash = 14695981039346656037U;
    for (size_t i = 0; i < count; ++i)
    {
        hash = (hash ^ bytes[i]) * 1099511628211U;
    }
    return hash;
}
