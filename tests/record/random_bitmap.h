// SPDX-License-Identifier: MIT

// Image files of random pixels, for random pieces.
#pragma once

#include <string>

#include "record/random_numbers.h"

/// @return an image file in a format that bitmaps may have: PNG, TGA, BMP or PPM; mostly of 2 to 64
///         pixels a side with 3 or 4 channels, at times of another kind
std::string MakeRandomBitmap(Random* random);
