// SPDX-License-Identifier: MIT

// Image files decoded by the system's stb_image, which is made for files that are well. Whatever a
// damaged file does to it, here it ends in a reason, and each block that it took is given back.
#pragma once

#include <cstdint>

struct DecodedImage
{
    int32_t width;      // pixels, at most kLargestImageSide
    int32_t height;     // pixels, at most kLargestImageSide
    int32_t components; // bytes per pixel, 1 to 4
    uint8_t* pixels;    // for the caller to free; first row first, no padding
};

enum class DecodeResult : uint8_t
{
    kDecoded,
    kRefused,  // with a reason: no image, a damaged one, or one that does not fit memory
    kTooLarge, // the head of the file states its size, and its pixels are more than wanted
    kDamaged,  // the decoder met what it takes to be impossible
};

/// Wider or higher than any OpenGL takes; a few bytes of a file must not ask for gigabytes.
inline constexpr int32_t kLargestImageSide = 16384;

/// Decodes an image file of any format that the decoder knows, with the components that it has.
/// Any thread; several may decode at once.
/// @param largest   bytes that the pixels may take; checked before memory is taken
/// @param image     receives the image; its size alone if it is too large, else zeros without it
/// @param reason    receives a text to print, never freed, if the image is refused
DecodeResult DecodeImage(const uint8_t* file, int32_t size, uint64_t largest, DecodedImage* image,
                         const char** reason);
