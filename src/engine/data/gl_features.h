// SPDX-License-Identifier: MIT

// The OpenGL features that this machine offers and the viewer wants, decided once at start-up.
#pragma once

#include <cstdint>

struct GlFeatures // each 0 or 1
{
    int32_t vbo;  // models live in buffer objects
    int32_t pbo;  // 2D effects go through pixel unpack buffers
    int32_t npot; // textures of any size
    int32_t dot3; // the dot-product texture combiner
};
