// SPDX-License-Identifier: MIT

// The nearest that OpenCV has to the texture steps, for bench_textures to be measured beside. One
// thread. None of it gives the same bytes.
#pragma once

#include <cstdint>

/// blur, 3x3, wrapped edges not being on offer: mirrored ones.
void OpenCvBlur(int size, const uint8_t* pixels, uint8_t* out);
/// filter2D with nine weights.
void OpenCvFilter(int size, const uint8_t* pixels, const float* kernel, uint8_t* out);
void OpenCvAddWeighted(int size, const uint8_t* pixels, float scale1, const uint8_t* layer,
                       float scale2, uint8_t* out);
/// resize by INTER_AREA down to 1x1.
/// @param out   room for all levels, one after the other
void OpenCvAreaChain(int size, int components, const uint8_t* pixels, uint8_t* out);
