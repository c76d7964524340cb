// SPDX-License-Identifier: MIT

// PNG files, decoded again by a test.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/textures/decode_image.h"

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
    DecodedImage image = {};
    const char* reason = nullptr;
    const DecodeResult result =
        file.compare(0, 4, "\x89PNG") != 0
            ? DecodeResult::kRefused
            : DecodeImage(reinterpret_cast<const uint8_t*>(file.data()),
                          static_cast<int32_t>(file.size()), UINT64_MAX, &image, &reason);
    if (result != DecodeResult::kDecoded)
    {
        fprintf(stderr, "a file is no PNG\n");
        abort();
    }
    const size_t size = static_cast<size_t>(image.width) * static_cast<size_t>(image.height) *
                        static_cast<size_t>(image.components);
    DecodedPng png = {
        image.width, image.height, image.components, {image.pixels, image.pixels + size}};
    free(image.pixels);
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
