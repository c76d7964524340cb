// SPDX-License-Identifier: MIT

// Pictures as PNG files.
#pragma once

#include <cstdint>
#include <string>

#include "tools/files.h"

/// Rows of pixels, first row first, without padding.
struct Picture
{
    int32_t width;         // pixels, 1 or more
    int32_t height;        // pixels, 1 or more
    int32_t channels;      // 1 grey, 2 grey and alpha, 3 RGB, 4 RGB and alpha; 8 bits each
    const uint8_t* pixels; // borrowed
};

/// Makes the bytes of a file of a picture.
/// @param picture   of less than 2 GiB
/// @return false without memory; nothing is printed
bool EncodePng(const Picture& picture, Bytes* file);

/// Writes a picture, over an old file, which is replaced in one step. The same picture gives the
/// same bytes.
/// @param picture   of less than 2 GiB
/// @return false after an error line; the old file is untouched then
bool WritePng(const std::string& path, const Picture& picture);

/// Encodes a picture of 3 channels as JPEG, for pictures that are small and many.
/// @param file   receives the bytes
/// @return false if there is no memory
bool EncodeJpeg(const Picture& picture, Bytes* file);
