// SPDX-License-Identifier: MIT

// Numbers in files, read and written byte by byte: the fields need not be aligned.
#pragma once

#include <cstdint>

/// Unsigned 32-bit little-endian, as in containers and model files.
inline uint32_t LoadLittleEndian32(const unsigned char* bytes)
{
    return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
           static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

inline void StoreLittleEndian32(uint32_t value, unsigned char* bytes)
{
    bytes[0] = static_cast<unsigned char>(value);
    bytes[1] = static_cast<unsigned char>(value >> 8);
    bytes[2] = static_cast<unsigned char>(value >> 16);
    bytes[3] = static_cast<unsigned char>(value >> 24);
}

/// Unsigned 32-bit big-endian, as in the package directory.
inline uint32_t LoadBigEndian32(const unsigned char* bytes)
{
    return static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
           static_cast<uint32_t>(bytes[2]) << 8 | static_cast<uint32_t>(bytes[3]);
}

inline void StoreBigEndian32(uint32_t value, unsigned char* bytes)
{
    bytes[0] = static_cast<unsigned char>(value >> 24);
    bytes[1] = static_cast<unsigned char>(value >> 16);
    bytes[2] = static_cast<unsigned char>(value >> 8);
    bytes[3] = static_cast<unsigned char>(value);
}
