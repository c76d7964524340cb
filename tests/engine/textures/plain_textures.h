// SPDX-License-Identifier: MIT

// Generators, steps and mip chain in their plain form: one pixel after the other, every rule as it
// is told and nothing shared, hoisted or merged. Tests hold the engine to these byte for byte, and
// benchmarks measure it against them. They are always compiled at -O2.
#pragma once

#include <cstdint>

/// Masks as PlainCornerMask(k, shape)[row * side + column]; filled at the first call.
const uint8_t* PlainCornerMask(int sizeIndex, int shape);

/// @param params   24 floats
/// @param pixels   size * size * 3 bytes; left alone for a type above 5
void PlainGenerateLayer(uint32_t type, const float* params, int size, uint8_t* pixels);

/// @param params   nine floats
/// @param layer    for types 101 to 104
void PlainTextureStep(int type, const float* params, const uint8_t* layer, int size,
                      uint8_t* pixels);

/// Makes levels 1 and up of an image of 3 or 4 components with sides of 2 or more.
/// @param take   gets each level as it is done; the pixels are lent until it returns
void PlainMipChain(int width, int height, const uint8_t* pixels, int components,
                   void (*take)(void* user, int width, int height, const uint8_t* pixels),
                   void* user);
