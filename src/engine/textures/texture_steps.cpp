// SPDX-License-Identifier: MIT
#include "engine/textures/texture_steps.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "engine/data/arena.h"
#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"
#include "engine/textures/pixel_kernels.h"

static size_t RowBytes(int32_t size)
{
    return static_cast<size_t>(size) * 3;
}

/// The number from 0 to size - 1 that differs from value by a multiple of size.
static int32_t WrapIndex(int64_t value, int32_t size)
{
    const int64_t remainder = value % size;
    return static_cast<int32_t>(remainder < 0 ? remainder + size : remainder);
}

static bool Offset(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    // Offsets wrap as often as it takes: below -size too, where a single turn finds no pixel.
    const int32_t down = WrapIndex(TruncateToInt(params[0]), size);
    const size_t right = static_cast<size_t>(WrapIndex(TruncateToInt(params[1]), size)) * 3;

    const size_t rowBytes = RowBytes(size);
    const size_t bytes = static_cast<size_t>(size) * rowBytes;
    uint8_t* before = ArenaAllocateArray<uint8_t>(scratch, bytes);
    if (before == nullptr)
    {
        return false;
    }
    memcpy(before, pixels, bytes);
    for (int32_t y = 0; y < size; ++y)
    {
        const uint8_t* source =
            before + static_cast<size_t>(WrapIndex(y + int64_t{down}, size)) * rowBytes;
        uint8_t* out = pixels + static_cast<size_t>(y) * rowBytes;
        memcpy(out, source + right, rowBytes - right);
        memcpy(out + rowBytes - right, source, right);
    }
    return true;
}

/// The number of waves across the image, the size of a truncated parameter. -2147483648 has no
/// positive counterpart as an integer, but it has one as a float.
static float WaveCount(float param)
{
    return fabsf(static_cast<float>(TruncateToInt(param)));
}

/// The displacement of one row or column.
static float RippleDisplacement(int32_t coordinate, float side, float waves, float amplitude)
{
    const float steps = static_cast<float>(coordinate) / side * 4096.0f * waves;
    return side * cosLookup(TruncateToInt(steps)) * amplitude;
}

static bool Ripple(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    const PixelKernels* kernels = GetPixelKernels();
    const float side = static_cast<float>(size);
    const size_t count = static_cast<size_t>(size);
    // The wave along x runs over y and takes "Y wavelength", and the other way round.
    const float wavesAlongX = WaveCount(params[3]);
    const float wavesAlongY = WaveCount(params[2]);

    const size_t room = count + kRowSlack;
    uint8_t* before = ArenaAllocateArray<uint8_t>(scratch, count * count * 4);
    float* space = ArenaAllocateArray<float>(scratch, room * 5);
    uint32_t* numbers = ArenaAllocateArray<uint32_t>(scratch, room * 4);
    if (before == nullptr || space == nullptr || numbers == nullptr)
    {
        return false;
    }
    kernels->spreadPixels(pixels, count * count, before);

    const RippleSamples samples = {
        {numbers, numbers + room, numbers + 2 * room, numbers + 3 * room},
        {space + room, space + 2 * room, space + 3 * room, space + 4 * room},
    };
    float* alongY = space;
    memset(alongY, 0, room * sizeof(float));
    for (int32_t x = 0; x < size; ++x)
    {
        alongY[x] = RippleDisplacement(x, side, wavesAlongY, params[1]);
    }

    RippleRow row = {size, 0.0f, 0.0f, alongY, before, &samples};
    for (int32_t y = 0; y < size; ++y)
    {
        row.rowNumber = static_cast<float>(y);
        row.alongX = RippleDisplacement(y, side, wavesAlongX, params[0]);
        kernels->rippleRow(&row, pixels + static_cast<size_t>(y) * RowBytes(size));
    }
    return true;
}

/// An image, and the memory for working on it.
struct WorkImage
{
    int32_t size;    // side, pixels
    uint8_t* pixels; // borrowed
    Arena* scratch;  // borrowed
};

/// Rows that start on a cache line: groups of bytes that lie across two cost a fifth of the time.
/// @return count elements of 0; null without memory
template <typename Element>
static Element* AllocateRows(size_t count, Arena* scratch)
{
    static constexpr size_t kLine = 64;
    const size_t bytes = count * sizeof(Element);
    uint8_t* block = ArenaAllocateArray<uint8_t>(scratch, bytes + kLine);
    if (block == nullptr)
    {
        return nullptr;
    }
    block += (kLine - reinterpret_cast<uintptr_t>(block) % kLine) % kLine;
    memset(block, 0, bytes);
    return reinterpret_cast<Element*>(block);
}

/// Runs a 3x3 filter over an image in place, looking at each row once: as the row below the one
/// that is made. The rows after the last and before the first are those on the opposite edge.
/// @param upsideDown   takes the rows from the last to the first
/// @param filter       makes a row of count bytes from the row below and the words that it keeps
/// @return false without memory
template <typename Filter>
static bool FilterInOnePass(const WorkImage* image, bool upsideDown, Filter filter)
{
    const int32_t size = image->size;
    const size_t count = RowBytes(size);
    const size_t room = count + kRowSlack;
    uint8_t* first = AllocateRows<uint8_t>(count, image->scratch);
    uint8_t* unused = AllocateRows<uint8_t>(count, image->scratch);
    uint16_t* rows = AllocateRows<uint16_t>(2 * room, image->scratch);
    if (first == nullptr || unused == nullptr || rows == nullptr)
    {
        return false;
    }
    const auto rowAt = [&](int32_t y)
    {
        return image->pixels + static_cast<size_t>(upsideDown ? size - 1 - y : y) * count;
    };
    memcpy(first, rowAt(0), count);

    // Two rows ahead of the first make no pixels, only the words that the first row needs.
    FilterWords words = {rows, rows + room};
    filter(rowAt(size - 1), count, &words, unused);
    filter(first, count, &words, unused);
    for (int32_t y = 0; y < size; ++y)
    {
        filter(y + 1 < size ? rowAt(y + 1) : first, count, &words, rowAt(y));
    }
    return true;
}

static bool Blur(const WorkImage* image)
{
    const PixelKernels* kernels = GetPixelKernels();
    return FilterInOnePass(image, false,
                           [&](const uint8_t* below, size_t count, FilterWords* words, uint8_t* out)
                           {
                               kernels->blurRow(below, count, words, out);
                               std::swap(words->first, words->second);
                           });
}

// The kernels of the four directions:
//
//   1  -2 -1  0     2   0 -1 -2     3   2  1  0     4   0  1  2
//      -1  1  1         1  1 -1         1  1 -1        -1  1  1
//       0  1  2         2  1  0         0 -1 -2        -2 -1  0
//
// They are one kernel, mirrored: 2 and 3 have the left where 1 and 4 have the right, 3 and 4 the
// row above where 1 and 2 have the one below.
static bool Emboss(const float* params, const WorkImage* image)
{
    const PixelKernels* kernels = GetPixelKernels();
    const int32_t given = TruncateToInt(params[0]);
    const int32_t direction = given < 1 ? 1 : (given > 4 ? 4 : given);
    const auto embossRow =
        direction == 1 || direction == 4 ? kernels->embossRight : kernels->embossLeft;
    return FilterInOnePass(image, direction >= 3, embossRow);
}

/// Convolution. Each row is widened to floats once, and kept for as long as rows still look at it.
/// A row's neighbours at its ends are those on the opposite edge, and so are the neighbours of the
/// first and the last row.
/// @return false without memory
static bool Convolve(const float* params, const WorkImage* image)
{
    const PixelKernels* kernels = GetPixelKernels();
    const int32_t size = image->size;
    uint8_t* pixels = image->pixels;
    const size_t count = RowBytes(size);
    const size_t rowElements = count + 6 + kRowSlack;
    uint8_t* padded = AllocateRows<uint8_t>(count + 6, image->scratch);
    float* rows = AllocateRows<float>(4 * rowElements, image->scratch);
    if (padded == nullptr || rows == nullptr)
    {
        return false;
    }
    const auto loadRow = [&](int32_t y, float* row)
    {
        const uint8_t* source = pixels + static_cast<size_t>(y) * count;
        memcpy(padded, source + count - 3, 3);
        memcpy(padded + 3, source, count);
        memcpy(padded + 3 + count, source, 3);
        kernels->widenRow(padded, count + 6, row);
    };

    // The first row is kept to the end; the others take turns in the other three places.
    float* first = rows;
    const auto placeOf = [&](int32_t y)
    {
        return rows + static_cast<size_t>(1 + y % 3) * rowElements;
    };
    float* above = placeOf(2); // where row -1 would lie
    float* row = first;
    loadRow(size - 1, above);
    loadRow(0, first);
    for (int32_t y = 0; y < size; ++y)
    {
        float* below = first;
        if (y + 1 < size)
        {
            below = placeOf(y + 1);
            loadRow(y + 1, below);
        }
        kernels->convolveRow({above + 3, row + 3, below + 3}, count, params,
                             pixels + static_cast<size_t>(y) * count);
        above = row;
        row = below;
    }
    return true;
}

bool ApplyTextureStep(int32_t stepType, const float* params, const uint8_t* layer, int32_t size,
                      uint8_t* pixels, Arena* scratch)
{
    const PixelKernels* kernels = GetPixelKernels();
    const WorkImage image = {size, pixels, scratch};
    const ArenaMark mark = MarkArena(scratch);
    bool done = true;
    const size_t bytes = static_cast<size_t>(size) * RowBytes(size);
    switch (stepType)
    {
    case kStepAdd:
        kernels->add(pixels, layer, bytes, params[0], params[1]);
        break;
    case kStepMultiply:
        kernels->multiply(pixels, layer, bytes, params[0]);
        break;
    case kStepMaximum:
        kernels->maximum(pixels, layer, bytes, params[0], params[1]);
        break;
    case kStepMinimum:
        kernels->minimum(pixels, layer, bytes, params[0], params[1]);
        break;
    case kStepInvert:
        kernels->invert(pixels, bytes);
        break;
    case kStepScale:
        kernels->scale(pixels, bytes, params[0]);
        break;
    case kStepOffset:
        done = Offset(params, size, pixels, scratch);
        break;
    case kStepRipple:
        done = Ripple(params, size, pixels, scratch);
        break;
    case kStepBlur:
        done = Blur(&image);
        break;
    case kStepEmboss:
        done = Emboss(params, &image);
        break;
    case kStepConvolution:
        done = Convolve(params, &image);
        break;
    default:
        break;
    }
    ResetArena(scratch, mark);
    return done;
}
