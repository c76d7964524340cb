// SPDX-License-Identifier: MIT

// Mip chains by stb_image_resize and by GLU, each halved by its box filter, for bench_textures to
// be measured beside. One thread.
#pragma once

#include <cstdint>

/// @param pixels   size * size * components bytes, 3 or 4 components
/// @param out      all levels but the first, one after the other: fewer bytes than the image has
void StbChain(int32_t size, int32_t components, const uint8_t* pixels, uint8_t* out);
void GluChain(int32_t size, int32_t components, const uint8_t* pixels, uint8_t* out);
