// SPDX-License-Identifier: MIT
#include "tools/thumbnail.h"

#include <algorithm>
#include <cstring>

/// One side of the scaling. Measured in parts of a pixel of which a source pixel has `target` and
/// an output pixel `source`, both sides are source * target long and all edges are whole numbers.
struct Scale
{
    int64_t source; // pixels
    int64_t target; // pixels
};

/// The source pixels that an output pixel lies over, the last one included.
struct Span
{
    int64_t first;
    int64_t last;
};

/// The color and alpha of an area: a sum over its pixels.
struct AreaSum
{
    uint64_t color[3]; // weight * channel * alpha
    uint64_t alpha;    // weight * alpha
};

static Span FindSpan(Scale scale, int64_t out)
{
    return {out * scale.source / scale.target, ((out + 1) * scale.source - 1) / scale.target};
}

/// How much of a source pixel lies under an output pixel.
static uint64_t FindWeight(Scale scale, int64_t out, int64_t pixel)
{
    const int64_t begin = std::max(out * scale.source, pixel * scale.target);
    const int64_t end = std::min((out + 1) * scale.source, (pixel + 1) * scale.target);
    return static_cast<uint64_t>(end - begin);
}

static void AddPixel(const uint8_t* pixel, int32_t channels, uint64_t weight, AreaSum* sum)
{
    const bool colored = channels >= 3;
    const bool transparent = channels % 2 == 0;
    const uint64_t alpha = weight * (transparent ? pixel[channels - 1] : 255);
    for (size_t i = 0; i < 3; ++i)
    {
        sum->color[i] += alpha * pixel[colored ? i : 0];
    }
    sum->alpha += alpha;
}

static AreaSum SumArea(const Picture& picture, Scale across, Scale down, int64_t x, int64_t y)
{
    AreaSum sum = {};
    const Span columns = FindSpan(across, x);
    const Span rows = FindSpan(down, y);
    for (int64_t row = rows.first; row <= rows.last; ++row)
    {
        const uint64_t rowWeight = FindWeight(down, y, row);
        for (int64_t column = columns.first; column <= columns.last; ++column)
        {
            const uint64_t weight = rowWeight * FindWeight(across, x, column);
            const uint8_t* pixel =
                picture.pixels + (row * picture.width + column) * picture.channels;
            AddPixel(pixel, picture.channels, weight, &sum);
        }
    }
    return sum;
}

/// The other side of a picture whose longer side fills the square.
static int64_t FitSide(int64_t side, int64_t longer)
{
    return std::max<int64_t>(1, (side * kThumbnailSide + longer / 2) / longer);
}

void MakeThumbnail(const Picture& picture, uint8_t* out)
{
    memset(out, kThumbnailGround, kThumbnailBytes);

    const int64_t longer = std::max(picture.width, picture.height);
    const Scale across = {picture.width, FitSide(picture.width, longer)};
    const Scale down = {picture.height, FitSide(picture.height, longer)};
    const int64_t left = (kThumbnailSide - across.target) / 2;
    const int64_t top = (kThumbnailSide - down.target) / 2;
    const uint64_t full = 255 * static_cast<uint64_t>(across.source * down.source);

    for (int64_t y = 0; y < down.target; ++y)
    {
        for (int64_t x = 0; x < across.target; ++x)
        {
            const AreaSum sum = SumArea(picture, across, down, x, y);
            const uint64_t ground = kCheckerGreys[((left + x) / 8 + (top + y) / 8) % 2];
            uint8_t* pixel = out + ((top + y) * kThumbnailSide + left + x) * 3;
            for (size_t i = 0; i < 3; ++i)
            {
                const uint64_t light = sum.color[i] + ground * (full - sum.alpha);
                pixel[i] = static_cast<uint8_t>((light + full / 2) / full);
            }
        }
    }
}
