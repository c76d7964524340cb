// SPDX-License-Identifier: MIT

// The steps that turn layers into textures. Each works on a square RGB work image.
//
//   type  name         parameters
//   101   Add          1. scale, 2. scale          combiners: the first scale is the image's, the
//   102   Multiply     scale                       second the layer's
//   103   Maximum      1. scale, 2. scale
//   104   Minimum      1. scale, 2. scale
//   201   Invert       none                        filters of the image alone
//   202   Multiply     scale
//   203   Offset       X offset, Y offset          X moves rows, Y columns: crossed names
//   204   Ripple       X amplitude, Y amplitude, X wavelength, Y wavelength
//   205   Blur         none
//   206   Emboss       direction, 1 to 4
//   207   Convolution  nine weights, row by row
//
// A result is cut to an integer and its low 8 bits are kept. Add, Emboss and Convolution clamp to 0
// and 255 before that; Multiply, Maximum and Minimum clamp to 255 alone, so that what is negative
// wraps round. The neighbours of an edge pixel are those on the opposite edge.
#pragma once

#include <cstdint>

#include "engine/data/arena.h"
#include "engine/data/vocabulary_numbers.h"

/// True for the steps that combine the work image with a layer.
inline bool IsCombiner(int32_t stepType)
{
    return stepType >= kStepAdd && stepType <= kStepMinimum;
}

/// Runs one step over a work image. A type that is not in the table changes nothing.
/// @param params   nine floats
/// @param layer    the pixels of the step's layer, an image like the work image; used by combiners
///                 only, may be null for the others
/// @param size     side of both images, pixels, 1 or more
/// @param pixels   the work image, size * size * 3 bytes
/// @param scratch   memory for the rows that a step works on; as full afterwards as before
/// @return false without memory for them
bool ApplyTextureStep(int32_t stepType, const float* params, const uint8_t* layer, int32_t size,
                      uint8_t* pixels, Arena* scratch);
