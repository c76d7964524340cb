// How floats become integers here: as the machine's conversion instruction does it. Every such
// conversion of the engine goes through this file, because a plain cast is undefined out of range.
#pragma once

#include <cstdint>
#include <emmintrin.h>

/// Drops the fraction; out of range and NaN give -2147483648.
inline int32_t TruncateToInt(float value)
{
    return _mm_cvttss_si32(_mm_set_ss(value));
}

/// The same for a double.
inline int32_t TruncateToInt(double value)
{
    return _mm_cvttsd_si32(_mm_set_sd(value));
}

/// Truncates to 64 bits and keeps the low 32: -1.0 gives 0xFFFFFFFF, 4294967297.0 gives 1. Outside
/// 64 bits, and for NaN, the result is 0.
inline uint32_t TruncateToUnsigned(float value)
{
    return static_cast<uint32_t>(static_cast<uint64_t>(_mm_cvttss_si64(_mm_set_ss(value))));
}

/// The same for a double.
inline uint32_t TruncateToUnsigned(double value)
{
    return static_cast<uint32_t>(static_cast<uint64_t>(_mm_cvttsd_si64(_mm_set_sd(value))));
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
