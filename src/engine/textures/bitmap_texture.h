// Bitmaps: image files of the package as OpenGL textures, which also serve as render targets.
#pragma once

#include <cstdint>

struct BitmapTexture
{
    int32_t width;      // pixels
    int32_t height;     // pixels
    int32_t components; // bytes per pixel
    uint32_t glTexture; // OpenGL texture name
    uint8_t* pixels;    // owned; null but while loading and after a target was resized
};
