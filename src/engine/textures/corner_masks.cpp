// SPDX-License-Identifier: MIT
#include "engine/textures/corner_masks.h"

#include <cmath>

#include "engine/data/numeric.h"

uint8_t CornerMasks[kCornerMaskBytes];

/// Fills the four shapes of one size with straight ramps, shape after shape.
static void BuildRamps(uint32_t side, uint8_t* masks)
{
    const uint32_t bytes = side * side;
    const float m = static_cast<float>(side - 1);
    for (uint32_t row = 0; row < side; ++row)
    {
        const float y = static_cast<float>(row);
        const float a = (m - y) / m;
        const float b = y / m;
        for (uint32_t column = 0; column < side; ++column)
        {
            const float x = static_cast<float>(column);
            // Multiply, divide, multiply, in this order, and the terms from left to right: the
            // terms of a mask do not cancel to a shorter form without other bytes.
            const float leftTop = (m - x) * a / m * 255.0f;
            const float leftBottom = (m - x) * b / m * 255.0f;
            const float rightTop = a * x / m * 255.0f;
            const float rightBottom = b * x / m * 255.0f;

            uint8_t* pixel = masks + row * side + column;
            pixel[0] = TruncateToByte(leftTop);
            pixel[bytes] = TruncateToByte(rightBottom + leftBottom);
            pixel[2 * bytes] = TruncateToByte(rightTop + leftBottom);
            pixel[3 * bytes] = TruncateToByte(rightTop + leftBottom + rightBottom);
        }
    }
}

void BuildCornerMasks()
{
    uint8_t* masks = CornerMasks;
    for (uint32_t sizeIndex = 0; sizeIndex < kCornerSizes; ++sizeIndex)
    {
        const uint32_t side = 2u << sizeIndex;
        BuildRamps(side, masks);
        masks += kCornerShapes * side * side;
    }

    // A quarter of a cosine eases the ramps. It ends below 255, so a mask never reaches 255.
    uint8_t curve[256];
    for (int32_t i = 0; i < 256; ++i)
    {
        const double eased = 255.0 * (1.0 - cos(i * 3.14159265358979323846 / 512.0));
        curve[i] = TruncateToByte(rint(eased));
    }
    for (uint8_t& value : CornerMasks)
    {
        value = curve[value];
    }
}
