// SPDX-License-Identifier: MIT

// Pixels that are made four bytes at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Writes RGB pixels that are held as 0x00BBGGRR. Exactly count * 3 bytes are written: the spare
/// byte of each pixel falls where the next one goes, and the last pixel does without.
inline void StorePixels(const uint32_t* pixels, size_t count, uint8_t* out)
{
    for (size_t i = 0; i + 1 < count; ++i)
    {
        memcpy(out + 3 * i, pixels + i, 4);
    }
    if (count != 0)
    {
        memcpy(out + 3 * (count - 1), pixels + count - 1, 3);
    }
}
