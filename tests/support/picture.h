// SPDX-License-Identifier: MIT

// Pictures that tests look at: read, written, made smaller and compared.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// 8-bit RGB, rows from the top, no padding.
struct Picture
{
    int32_t width; // pixels
    int32_t height;
    std::vector<uint8_t> rgb;
};

/// @return red, green and blue of a pixel that the picture has
inline const uint8_t* PixelAt(const Picture& picture, int32_t x, int32_t y)
{
    size_t row = static_cast<size_t>(y) * static_cast<size_t>(picture.width);
    return &picture.rgb[(row + static_cast<size_t>(x)) * 3];
}

/// @return the picture in `factor` times smaller sides, each pixel the mean of a square
Picture ShrinkPicture(const Picture& picture, int32_t factor);

/// Reads a PNG file. One that can't be read gives a picture without pixels.
Picture ReadPicture(const std::string& path);

/// Writes a PNG file.
void WritePicture(const std::string& path, const Picture& picture);

/// How far two pictures are apart.
struct PictureDistance
{
    bool sameSize;
    double mean;     // of all channels' differences, 0 to 255
    double outliers; // share of pixels with a channel that is off by more than 32
};

PictureDistance ComparePictures(const Picture& a, const Picture& b);
