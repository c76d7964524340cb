// SPDX-License-Identifier: MIT

// Corner masks: soft quarter blobs from which the Maze generator puts its cells together.
#pragma once

#include <cstdint>

inline constexpr uint32_t kCornerSizes = 7;  // sides of 2, 4, ... 128 pixels
inline constexpr uint32_t kCornerShapes = 4; // one, two adjacent, two opposite, three corners
inline constexpr uint32_t kCornerMaskBytes = 87376;

/// Soft corner masks for the Maze generator, one after the other: small sizes first, the four
/// shapes of a size in order. Built by BuildCornerMasks, then read-only.
extern uint8_t CornerMasks[kCornerMaskBytes];

/// @param sizeIndex   0 to 6, for a side of 2 << sizeIndex pixels
/// @param shape       0 to 3: one corner; two on one edge; two opposite ones; three
/// @return the mask, lent: side * side bytes, row by row
inline const uint8_t* GetCornerMask(uint32_t sizeIndex, uint32_t shape)
{
    // The sizes before this one take 4 * (4 + 16 + ... ) bytes, a geometric series.
    const uint32_t side = 2u << sizeIndex;
    return CornerMasks + (side * side - 4) * 4 / 3 + shape * side * side;
}

/// Fills CornerMasks. Once at start-up, before any layer is generated.
void BuildCornerMasks();
