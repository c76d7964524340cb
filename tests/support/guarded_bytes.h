// SPDX-License-Identifier: MIT

// A block with guard bytes on both sides, for outputs that must stay inside their bounds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

inline constexpr size_t kGuardSize = 64;
inline constexpr uint8_t kGuardByte = 0xA5;

/// The bytes in the middle start as `fill`.
struct GuardedBytes
{
    explicit GuardedBytes(size_t byteCount, uint8_t fill = 0xCD)
        : block(byteCount + 2 * kGuardSize, kGuardByte), size(byteCount)
    {
        if (size != 0)
        {
            memset(block.data() + kGuardSize, fill, size);
        }
    }

    uint8_t* Data()
    {
        return block.data() + kGuardSize;
    }

    /// The same as floats: the middle begins at a multiple of 16 bytes.
    float* Floats()
    {
        return reinterpret_cast<float*>(Data());
    }

    /// @return the bytes in the middle, as a vector that compares
    std::vector<uint8_t> Bytes() const
    {
        return {block.begin() + kGuardSize, block.end() - kGuardSize};
    }

    bool GuardsAreWhole() const
    {
        for (size_t i = 0; i < kGuardSize; ++i)
        {
            if (block[i] != kGuardByte || block[kGuardSize + size + i] != kGuardByte)
            {
                return false;
            }
        }
        return true;
    }

    std::vector<uint8_t> block;
    size_t size;
};
