// SPDX-License-Identifier: MIT

// How floats become integers here: as the machine's conversion instruction does it. Every such
// conversion of the engine goes through this file, because a plain cast is undefined out of range.
//
// The range tests are spelled out and not left to the intrinsic: gcc 12 folds _mm_cvttss_si32 of a
// constant that is out of range to the nearest integer, where the instruction gives the smallest.
// Compiled, they cost a compare, and loops over them still vectorise.
#pragma once

#include <cstdint>
#include <limits>

/// Drops the fraction; out of range and NaN give -2147483648.
inline int32_t TruncateToInt(float value)
{
    return value >= -2147483648.0f && value < 2147483648.0f ? static_cast<int32_t>(value)
                                                            : std::numeric_limits<int32_t>::min();
}

/// The same for a double.
inline int32_t TruncateToInt(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value)
                                                         : std::numeric_limits<int32_t>::min();
}

/// Truncates to 64 bits and keeps the low 32: -1.0 gives 0xFFFFFFFF, 4294967297.0 gives 1. Outside
/// 64 bits, and for NaN, the result is 0.
inline uint32_t TruncateToUnsigned(double value)
{
    return value >= -9223372036854775808.0 && value < 9223372036854775808.0
               ? static_cast<uint32_t>(static_cast<int64_t>(value))
               : 0;
}

/// The same for a float.
inline uint32_t TruncateToUnsigned(float value)
{
    return TruncateToUnsigned(static_cast<double>(value));
}

/// Drops the fraction and keeps the low 8 bits: 382.5 gives 126, -1.5 gives 255. No clamp.
inline uint8_t TruncateToByte(float value)
{
    return static_cast<uint8_t>(TruncateToInt(value));
}

/// The same for a double.
inline uint8_t TruncateToByte(double value)
{
    return static_cast<uint8_t>(TruncateToInt(value));
}
