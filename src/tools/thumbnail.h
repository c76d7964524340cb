// SPDX-License-Identifier: MIT

// Pictures made to fit a square, for looking at many at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tools/png_file.h"

inline constexpr int32_t kThumbnailSide = 128; // pixels
inline constexpr size_t kThumbnailBytes = size_t{3} * kThumbnailSide * kThumbnailSide;
/// Each channel of the area around a picture that is no square.
inline constexpr uint8_t kThumbnailGround = 48;
/// Transparent parts show a board of these two greys, in squares of eight pixels; the first one
/// lies in the corners.
inline constexpr uint8_t kCheckerGreys[2] = {102, 153};

/// Scales a picture, up or down, until its longer side fills the square; the shorter side keeps the
/// proportion, is at least a pixel and lies in the middle. Every pixel of the thumbnail is the mean
/// of the area that it covers, rounded to the nearest; colors count by their alpha.
/// @param out   kThumbnailBytes, RGB
void MakeThumbnail(const Picture& picture, uint8_t* out);
