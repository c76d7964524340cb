// SPDX-License-Identifier: MIT

// PNG files of RGB pictures, written fast: rows as differences to the row above, packed by
// libdeflate at its first level. The same picture gives the same bytes.
#pragma once

#include <cstdint>
#include <string>

#include "tools/files.h"

/// A picture in memory, RGB, rows from the top without padding.
struct RgbPicture
{
    int32_t width;  // pixels
    int32_t height; // pixels
    Bytes rgb;      // [height][width][3]
};

/// @param rgb    [height][width][3]
/// @param file   receives the file
/// @return false if there is no memory
bool EncodePng(int32_t width, int32_t height, const uint8_t* rgb, Bytes* file);

/// Reads a PNG file of 8-bit RGB without interlacing, such as EncodePng makes, and checks all its
/// sums.
/// @return an empty text, or what is wrong with the file
std::string DecodePng(const Bytes& file, RgbPicture* picture);

/// The same for binary PPM files with values up to 255 and no comments.
Bytes EncodePpm(int32_t width, int32_t height, const uint8_t* rgb);
std::string DecodePpm(const Bytes& file, RgbPicture* picture);
