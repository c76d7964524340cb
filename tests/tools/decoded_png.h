// PNG files, decoded again by a test.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stb_image.h>
#include <string>
#include <vector>

struct DecodedPng
{
    int width;
    int height;
    int channels;                // as the file has them
    std::vector<uint8_t> pixels; // first row first
};

/// @param file   the bytes of the file; a file that is no PNG ends the test program
inline DecodedPng DecodePng(const std::string& file)
{
    DecodedPng png = {};
    uint8_t* pixels = file.compare(0, 4, "\x89PNG") != 0
                          ? nullptr
                          : stbi_load_from_memory(reinterpret_cast<const uint8_t*>(file.data()),
                                                  static_cast<int>(file.size()), &png.width,
                                                  &png.height, &png.channels, 0);
    if (pixels == nullptr)
    {
        fprintf(stderr, "a file is no PNG\n");
        abort();
    }
    png.pixels.assign(pixels, pixels + static_cast<size_t>(png.width) *
                                           static_cast<size_t>(png.height) *
                                           static_cast<size_t>(png.channels));
    free(pixels);
    return png;
}

/// One pixel of an RGB picture as 0xRRGGBB.
inline uint32_t PixelAt(const DecodedPng& png, int x, int y)
{
    const uint8_t* pixel =
        png.pixels.data() +
        (static_cast<size_t>(y) * static_cast<size_t>(png.width) + static_cast<size_t>(x)) * 3;
    return static_cast<uint32_t>(pixel[0] << 16 | pixel[1] << 8 | pixel[2]);
}
