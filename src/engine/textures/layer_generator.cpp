// SPDX-License-Identifier: MIT
#include "engine/textures/layer_generator.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "engine/data/allocate.h"
#include "engine/data/arena.h"
#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/textures/pixel_block.h"
#include "engine/textures/pixel_kernels.h"

// The generators' own random numbers: a step is seed * kSeedFactor + kSeedAddend modulo 2^32, and
// bits 16 to 30 are the number.
static constexpr uint32_t kSeedFactor = 1103515245;
static constexpr uint32_t kSeedAddend = 12345;

/// A step that is many steps of the generator in one; these are again a factor and an addend.
struct SeedJump
{
    uint32_t factor;
    uint32_t addend;
};

/// Fills a row with the seeds of the first count steps.
/// @return the step that leads from every seed to the one a row further
static SeedJump StartSeedRow(uint32_t seed, size_t count, uint32_t* seeds)
{
    SeedJump jump = {1, 0};
    for (size_t i = 0; i < count; ++i)
    {
        seed = seed * kSeedFactor + kSeedAddend;
        seeds[i] = seed;
        jump.factor *= kSeedFactor;
        jump.addend = jump.addend * kSeedFactor + kSeedAddend;
    }
    return jump;
}

static float ClampToUnit(float value)
{
    const float floor = value > 0.0f ? value : 0.0f; // NaN too
    return floor < 1.0f ? floor : 1.0f;
}

/// Clamps to low..high.
static int32_t ClampInt(int32_t value, int32_t low, int32_t high)
{
    const int32_t floor = value > low ? value : low;
    return floor < high ? floor : high;
}

/// A pixel as 0x00BBGGRR: each channel scale * color, cut to a byte.
static uint32_t MakePixel(float scale, const float* color)
{
    return static_cast<uint32_t>(TruncateToByte(scale * color[0])) |
           static_cast<uint32_t>(TruncateToByte(scale * color[1])) << 8 |
           static_cast<uint32_t>(TruncateToByte(scale * color[2])) << 16;
}

static size_t RowBytes(int32_t size)
{
    return static_cast<size_t>(size) * 3;
}

/// A row of whole pixels, seeds or sums with slack, zero.
/// @return null without memory
template <typename Element>
static Element* AllocateRow(int32_t size, Arena* scratch)
{
    const size_t count = static_cast<size_t>(size) + kRowSlack;
    Element* row = ArenaAllocateArray<Element>(scratch, count);
    if (row != nullptr)
    {
        memset(row, 0, count * sizeof(Element));
    }
    return row;
}

static void GenerateColor(const float* params, int32_t size, uint8_t* pixels)
{
    const uint32_t pixel = MakePixel(255.0f, params);
    for (int32_t x = 0; x < size; ++x)
    {
        StorePixels(&pixel, 1, pixels + 3 * static_cast<size_t>(x));
    }
    for (int32_t y = 1; y < size; ++y)
    {
        memcpy(pixels + static_cast<size_t>(y) * RowBytes(size), pixels, RowBytes(size));
    }
}

static bool GeneratePlasma(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    double* columns = AllocateRow<double>(size, scratch);
    uint32_t* values = AllocateRow<uint32_t>(size, scratch);
    if (columns == nullptr || values == nullptr)
    {
        return false;
    }
    const PixelKernels* kernels = GetPixelKernels();
    const float step = static_cast<float>(2.0 * (3.14159265358979323846 / size));
    const float stepX = params[3] * step;
    const float stepY = params[4] * step;

    // The double sum goes from left to right, and its first two terms depend on the column alone.
    for (int32_t x = 0; x < size; ++x)
    {
        columns[x] = sin(static_cast<double>(static_cast<float>(x) * stepX)) * 63.5 + 127.0;
    }

    // A sum lies in 0 to 254, so a pixel is a look-up. Entry 255 is for the sum that is no number,
    // which an infinite repeat gives.
    uint32_t ramp[256];
    for (int32_t v = 0; v < 255; ++v)
    {
        ramp[v] = MakePixel(static_cast<float>(v), params);
    }
    ramp[255] = MakePixel(-2147483648.0f, params);

    for (int32_t y = 0; y < size; ++y)
    {
        const double rowTerm = sin(static_cast<double>(static_cast<float>(y) * stepY)) * 63.5;
        kernels->plasmaRow(columns, rowTerm, static_cast<size_t>(size), values);
        uint8_t* out = pixels + static_cast<size_t>(y) * RowBytes(size);
        // The spare byte of a pixel falls where the next one goes.
        for (int32_t x = 0; x + 1 < size; ++x)
        {
            memcpy(out + 3 * static_cast<size_t>(x), ramp + values[x], 4);
        }
        StorePixels(ramp + values[size - 1], 1, out + 3 * static_cast<size_t>(size - 1));
    }
    return true;
}

static bool GenerateRadial(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    const PixelKernels* kernels = GetPixelKernels();
    const int32_t offset = ClampInt(TruncateToInt(params[7]), 0, 127);
    const int32_t half = size / 2;
    const RadialRamp ramp = {
        static_cast<double>(params[6]),    static_cast<double>(offset),
        static_cast<float>(half - offset), static_cast<float>(half),
        {params[3], params[4], params[5]}, {params[0], params[1], params[2]},
    };

    // A pixel depends on the sizes of half - x and half - y alone: each row of distances is made
    // once, mirrored into its row, and copied to the row on the other side.
    uint32_t* quarter = AllocateRow<uint32_t>(half + 1, scratch);
    uint32_t* row = AllocateRow<uint32_t>(size, scratch);
    if (quarter == nullptr || row == nullptr)
    {
        return false;
    }
    for (int32_t dy = 0; dy <= half; ++dy)
    {
        const int32_t upper = half - dy;
        const int32_t lower = half + dy;
        kernels->radialRow(&ramp, dy, static_cast<size_t>(half) + 1, quarter);
        for (int32_t x = 0; x < size; ++x)
        {
            row[x] = quarter[x < half ? half - x : x - half];
        }
        uint8_t* out = pixels + static_cast<size_t>(upper) * RowBytes(size);
        if (upper < size)
        {
            StorePixels(row, static_cast<size_t>(size), out);
        }
        if (lower != upper && lower < size)
        {
            memcpy(pixels + static_cast<size_t>(lower) * RowBytes(size), out, RowBytes(size));
        }
    }
    return true;
}

/// Fills the maze's grid of (cells + 1)^2 corners with 0 and 1 and makes it periodic.
/// @param seeds   room for cells + 1 numbers
static void FillMazeGrid(uint32_t seed, float fullness, size_t cells, uint32_t* seeds,
                         uint8_t* grid)
{
    const size_t side = cells + 1;
    const float offset = 2.0f * ClampToUnit(fullness) - 1.0f;
    const SeedJump jump = StartSeedRow(seed, side, seeds);
    for (size_t row = 0; row < side; ++row)
    {
        for (size_t column = 0; column < side; ++column)
        {
            const int32_t bits = static_cast<int32_t>((seeds[column] >> 16) & 0x7FFF);
            const float random = static_cast<float>(bits) * (1.0f / 32768.0f) + offset;
            // Clamped to 0..1 and rounded, of two equally near ones to the even one: 0.5 gives 0.
            grid[row * side + column] = random > 0.5f ? 1 : 0;
            seeds[column] = seeds[column] * jump.factor + jump.addend;
        }
    }

    // The last cell first: the corner is that of cell 0 whichever edge is copied later.
    grid[side * side - 1] = grid[0];
    for (size_t i = 0; i < side; ++i)
    {
        grid[i * side + cells] = grid[i * side];
        grid[cells * side + i] = grid[i];
    }
}

/// How a case of set corners reads its mask.
struct MazeCase
{
    uint8_t shape;       // of the corner masks
    bool swapped;        // rows and columns change places
    bool mirroredColumn; // the mask's column runs from the far side
    bool mirroredRow;    // the mask's row does
};

/// By case number, 8 for the upper left corner, 4 upper right, 2 lower left, 1 lower right.
static constexpr MazeCase kMazeCases[16] = {
    {},                       // none: black
    {0, false, true, true},   // lower right
    {0, false, false, true},  // lower left
    {1, false, false, false}, // both lower ones
    {0, false, true, false},  // upper right
    {1, true, false, false},  // both right ones
    {2, false, false, false}, // upper right, lower left
    {3, false, false, false}, // all but upper left
    {0, false, false, false}, // upper left
    {2, false, true, false},  // upper left, lower right
    {1, true, false, true},   // both left ones
    {3, false, true, false},  // all but upper right
    {1, false, false, true},  // both upper ones
    {3, false, false, true},  // all but lower left
    {3, false, true, true},   // all but lower right
    {},                       // all: the plain color
};

/// Copies of a row take words of eight bytes: so many may be read after it.
static constexpr size_t kMazeSpare = 8;

/// Renders the block of one case, side * side RGB pixels.
/// @param ramp    the pixel of each mask value
/// @param pitch   bytes from row to row of the block, kMazeSpare more than those of its pixels; the
///                spare ones become zeros
static void RenderMazeBlock(uint32_t corners, uint32_t sizeIndex, const uint32_t* ramp,
                            size_t pitch, uint8_t* block)
{
    const size_t side = static_cast<size_t>(2) << sizeIndex;
    for (size_t j = 0; j < side; ++j)
    {
        memset(block + j * pitch + 3 * side, 0, kMazeSpare);
    }

    // Four bytes a pixel: the spare one falls where the next pixel goes, or after the row.
    if (corners == 0 || corners == 15)
    {
        const uint32_t pixel = corners == 0 ? 0 : ramp[255];
        for (size_t j = 0; j < side; ++j)
        {
            for (size_t i = 0; i < side; ++i)
            {
                memcpy(block + j * pitch + 3 * i, &pixel, 4);
            }
        }
        return;
    }

    // A walk over the mask: from its start by one step from column to column of the block, and by
    // another from row to row.
    const MazeCase& rule = kMazeCases[corners];
    const ptrdiff_t wide = static_cast<ptrdiff_t>(side);
    const uint8_t* start = GetCornerMask(sizeIndex, rule.shape);
    start += rule.mirroredColumn ? wide - 1 : 0;
    start += rule.mirroredRow ? (wide - 1) * wide : 0;
    const ptrdiff_t alongColumns = rule.mirroredColumn ? -1 : 1;
    const ptrdiff_t alongRows = rule.mirroredRow ? -wide : wide;
    const ptrdiff_t step = rule.swapped ? alongRows : alongColumns;
    const ptrdiff_t lineStep = rule.swapped ? alongColumns : alongRows;
    for (size_t j = 0; j < side; ++j)
    {
        const uint8_t* mask = start + static_cast<ptrdiff_t>(j) * lineStep;
        uint8_t* out = block + j * pitch;
        for (size_t i = 0; i < side; ++i)
        {
            memcpy(out + 3 * i, ramp + *mask, 4);
            mask += step;
        }
    }
}

/// Puts one image row together from a row of each cell's block, in words of eight bytes; what is
/// too much of a word falls where the next cell goes.
template <size_t kSide>
static void CopyShortCells(const uint8_t* const* blocks, size_t offset, size_t cells, uint8_t* out)
{
    static constexpr size_t kBytes = kSide * 3;
    for (size_t cell = 0; cell < cells; ++cell)
    {
        const uint8_t* source = blocks[cell] + offset;
        for (size_t i = 0; i < kBytes; i += 8)
        {
            memcpy(out + cell * kBytes + i, source + i, 8);
        }
    }
}

/// Puts one image row together.
/// @param blocks   each cell's block
/// @param offset   where the row starts in all of them
/// @param out      room for cells * side * 3 bytes and 8 more
static void CopyMazeRow(const uint8_t* const* blocks, size_t offset, size_t cells, size_t side,
                        uint8_t* out)
{
    switch (side)
    {
    case 2:
        CopyShortCells<2>(blocks, offset, cells, out);
        break;
    case 4:
        CopyShortCells<4>(blocks, offset, cells, out);
        break;
    case 8:
        CopyShortCells<8>(blocks, offset, cells, out);
        break;
    default:
        for (size_t cell = 0; cell < cells; ++cell)
        {
            memcpy(out + cell * side * 3, blocks[cell] + offset, side * 3);
        }
        break;
    }
}

/// Stores one image row of a maze, leaving out the cells that have no block.
/// @param blocks   each cell's block
/// @param none     the block of the cells that stay as they are in the image
static void StoreWrittenCells(const uint8_t* row, const uint8_t* const* blocks, const uint8_t* none,
                              size_t cells, size_t cellBytes, uint8_t* out)
{
    for (size_t cell = 0; cell < cells; ++cell)
    {
        if (blocks[cell] != none)
        {
            memcpy(out + cell * cellBytes, row + cell * cellBytes, cellBytes);
        }
    }
}

static bool GenerateMaze(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    const int32_t mazeSize = ClampInt(TruncateToInt(rintf(params[3])), 1, 7);
    const uint32_t sizeIndex = static_cast<uint32_t>(mazeSize - 1);
    const size_t side = static_cast<size_t>(1) << mazeSize;
    const size_t cells = static_cast<size_t>(size) / side;
    const uint32_t seed = TruncateToUnsigned(params[4]);

    // Cells with the same corners look the same: each case's block is rendered when it first
    // occurs. One block more stands for the cells that are not written.
    static constexpr uint32_t kNoCase = 16;
    const size_t pitch = side * 3 + kMazeSpare;
    const size_t blockBytes = (kNoCase + 1) * side * pitch;
    const size_t rowBytes = cells * side * 3;
    uint8_t* grid = ArenaAllocateArray<uint8_t>(scratch, (cells + 1) * (cells + 1));
    uint32_t* seeds = ArenaAllocateArray<uint32_t>(scratch, cells + 1);
    uint8_t* blocks = ArenaAllocateArray<uint8_t>(scratch, blockBytes);
    const uint8_t** cellBlocks = ArenaAllocateArray<const uint8_t*>(scratch, cells);
    uint8_t* row = ArenaAllocateArray<uint8_t>(scratch, rowBytes + 8);
    if (grid == nullptr || seeds == nullptr || blocks == nullptr || cellBlocks == nullptr ||
        row == nullptr)
    {
        return false;
    }
    FillMazeGrid(seed, params[5], cells, seeds, grid);

    uint32_t ramp[256];
    for (int32_t w = 0; w < 256; ++w)
    {
        ramp[w] = MakePixel(static_cast<float>(w), params);
    }

    // The blocks of cases that do not occur are never touched: a large maze has few of its cases,
    // and clearing all blocks would take as long as rendering it.
    uint8_t* none = blocks + kNoCase * side * pitch;
    bool rendered[kNoCase] = {};
    for (size_t cellY = 0; cellY < cells; ++cellY)
    {
        const uint8_t* upper = grid + cellY * (cells + 1);
        const uint8_t* lower = upper + cells + 1;
        bool allWritten = true;
        for (size_t cellX = 0; cellX < cells; ++cellX)
        {
            const uint32_t corners =
                8U * upper[cellX] + 4U * upper[cellX + 1] + 2U * lower[cellX] + lower[cellX + 1];
            if (corners > 15)
            {
                printf("WTF?\n"); // never seen: the grid holds 0 and 1
                memset(none, 0, side * pitch);
                cellBlocks[cellX] = none;
                allWritten = false;
                continue;
            }
            uint8_t* block = blocks + corners * side * pitch;
            if (!rendered[corners])
            {
                RenderMazeBlock(corners, sizeIndex, ramp, pitch, block);
                rendered[corners] = true;
            }
            cellBlocks[cellX] = block;
        }
        for (size_t j = 0; j < side; ++j)
        {
            CopyMazeRow(cellBlocks, j * pitch, cells, side, row);
            uint8_t* out = pixels + (cellY * side + j) * RowBytes(size);
            if (allWritten)
            {
                memcpy(out, row, rowBytes);
            }
            else
            {
                StoreWrittenCells(row, cellBlocks, none, cells, side * 3, out);
            }
        }
    }
    return true;
}

/// Where a pixel lies in a course or brick.
struct Wrapped
{
    float rest;     // above 0 and at most the pitch, but for coordinate 0
    uint32_t count; // pitches taken off
};

/// Takes many pitches off at once where plain subtraction would take them one by one: floats of one
/// power of two lie evenly, so once two steps in a row take the same off, so do all that follow
/// down to that power of two.
static void TakeEqualSteps(float pitch, Wrapped* wrapped)
{
    const float start = wrapped->rest;
    const float powerOfTwo = std::bit_cast<float>(std::bit_cast<uint32_t>(start) & 0x7F800000U);
    const float second = start - pitch;
    const float third = second - pitch;
    const float step = start - second;
    // A step of nothing would never get there, and be divided by.
    if (step <= 0.0f || third < powerOfTwo || second - third != step)
    {
        return;
    }

    // Two steps short of the end, where the spacing changes or the rest is down to the pitch.
    const double end = static_cast<double>(powerOfTwo > pitch ? powerOfTwo : pitch);
    const double room = static_cast<double>(start) - end;
    const double count = floor(room / static_cast<double>(step)) - 2.0;
    if (count > 0.0)
    {
        const double rest = static_cast<double>(start) - count * static_cast<double>(step);
        wrapped->rest = static_cast<float>(rest); // nothing rounds: it is on the same spacing
        wrapped->count += static_cast<uint32_t>(count);
    }
}

/// Takes the pitch off a coordinate until the rest is no longer above it. The rest is that of
/// repeated float subtraction, each rounded; no remainder function gives the same.
static Wrapped WrapAtPitch(int32_t coordinate, float pitch)
{
    static constexpr float kManySteps = 64.0f;
    Wrapped wrapped = {static_cast<float>(coordinate), 0};
    while (wrapped.rest > pitch)
    {
        const float next = wrapped.rest - pitch;
        if (next == wrapped.rest)
        {
            // So small a pitch that taking it off changes nothing: it would go on for ever. The
            // coordinate counts as the end of a part.
            wrapped.rest = pitch;
            break;
        }
        wrapped.rest = next;
        wrapped.count += 1;
        if (next > pitch * kManySteps)
        {
            TakeEqualSteps(pitch, &wrapped);
        }
    }
    return wrapped;
}

/// The width of one of count parts of the image. A count below 0 would give a width below nothing;
/// it counts as none, and none is one part without end.
static float PartPitch(int32_t size, int32_t count)
{
    return count > 0 ? static_cast<float>(size) / static_cast<float>(count)
                     : std::numeric_limits<float>::infinity();
}

static bool GenerateBricks(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    const uint32_t brick = MakePixel(255.0f, params);
    const uint32_t wall = MakePixel(255.0f, params + 3);
    // Courses are counted by the horizontal number and bricks of a course by the vertical one.
    const float rowPitch = PartPitch(size, TruncateToInt(params[6]));
    const float columnPitch = PartPitch(size, TruncateToInt(params[7]));
    const float rowMargin = static_cast<float>(TruncateToInt(params[8]));
    const float columnMargin = static_cast<float>(TruncateToInt(params[9]));
    int32_t offset = TruncateToInt(params[10]) % size;
    if (offset < 0)
    {
        offset = size - offset; // above size, as pieces have it; wrapped where it is used
    }

    uint8_t* rows = ArenaAllocateArray<uint8_t>(scratch, 3 * RowBytes(size));
    if (rows == nullptr)
    {
        return false;
    }
    uint8_t* wallRow = rows;
    uint8_t* evenRow = rows + RowBytes(size);
    uint8_t* oddRow = evenRow + RowBytes(size);
    for (int32_t x = 0; x < size; ++x)
    {
        const size_t at = 3 * static_cast<size_t>(x);
        const float t = WrapAtPitch(x, columnPitch).rest;
        const bool inMargin = columnMargin > t || columnMargin > columnPitch - t;
        StorePixels(&wall, 1, wallRow + at);
        StorePixels(inMargin ? &wall : &brick, 1, evenRow + at);
    }
    const size_t rotated = 3 * static_cast<size_t>(offset % size);
    memcpy(oddRow, evenRow + rotated, RowBytes(size) - rotated);
    memcpy(oddRow + RowBytes(size) - rotated, evenRow, rotated);

    for (int32_t y = 0; y < size; ++y)
    {
        const Wrapped course = WrapAtPitch(y, rowPitch);
        const bool inMargin = rowMargin > course.rest || rowMargin > rowPitch - course.rest;
        const uint8_t* brickRow = course.count % 2 == 0 ? evenRow : oddRow;
        memcpy(pixels + static_cast<size_t>(y) * RowBytes(size), inMargin ? wallRow : brickRow,
               RowBytes(size));
    }
    return true;
}

static bool GenerateNoise(const float* params, int32_t size, uint8_t* pixels, Arena* scratch)
{
    const PixelKernels* kernels = GetPixelKernels();
    uint32_t* seeds = AllocateRow<uint32_t>(size, scratch);
    uint32_t* row = AllocateRow<uint32_t>(size, scratch);
    if (seeds == nullptr || row == nullptr)
    {
        return false;
    }
    const float color[3] = {255.0f * params[0], 255.0f * params[1], 255.0f * params[2]};

    // Each column steps on its own, a row of steps at a time.
    const SeedJump jump =
        StartSeedRow(TruncateToUnsigned(params[3]), static_cast<size_t>(size), seeds);
    for (int32_t y = 0; y < size; ++y)
    {
        kernels->noiseRow(seeds, jump.factor, jump.addend, color, static_cast<size_t>(size), row);
        StorePixels(row, static_cast<size_t>(size),
                    pixels + static_cast<size_t>(y) * RowBytes(size));
    }
    return true;
}

bool GenerateLayer(LayerImage* layer, int32_t size)
{
    const float* params = layer->params;
    uint8_t* pixels = layer->pixels;
    Arena scratch = {};
    bool done = true;
    switch (layer->type)
    {
    case kGeneratorColor:
        GenerateColor(params, size, pixels);
        break;
    case kGeneratorPlasma:
        done = GeneratePlasma(params, size, pixels, &scratch);
        break;
    case kGeneratorRadial:
        done = GenerateRadial(params, size, pixels, &scratch);
        break;
    case kGeneratorMaze:
        done = GenerateMaze(params, size, pixels, &scratch);
        break;
    case kGeneratorBricks:
        done = GenerateBricks(params, size, pixels, &scratch);
        break;
    case kGeneratorNoise:
        done = GenerateNoise(params, size, pixels, &scratch);
        break;
    default:
        break;
    }
    FreeArena(&scratch);
    return done;
}

static float RandomUnit(RandomSequence* random)
{
    return static_cast<float>(NextRandom(random)) * 4.656612873077392578125e-10f; // 2^-31
}

void RandomizeLayerParams(LayerImage* layer, RandomSequence* random)
{
    float* params = layer->params;
    const uint32_t colors = layer->type == kGeneratorRadial ? 6 : 3;
    if (layer->type > kGeneratorRadial)
    {
        return;
    }

    for (uint32_t i = 0; i < colors; ++i)
    {
        params[i] = RandomUnit(random);
    }
    if (layer->type == kGeneratorPlasma)
    {
        params[3] = 3.0f * RandomUnit(random);
        params[4] = 3.0f * RandomUnit(random);
    }
    if (layer->type == kGeneratorRadial)
    {
        params[6] = 2.0f * RandomUnit(random) + 1.0f;
    }
}

/// Reads a layer's parameters in document order.
static bool ReadLayerParams(const TiXmlElement* item, float* params, FaultList* faults)
{
    uint32_t count = 0;
    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        faults->place.part = count + 1;
        if (count == kLayerParams)
        {
            AddFaultAt(faults, child, "more than %u parameters", kLayerParams);
            return false;
        }
        params[count] = ParseFloat(RequireText(RequireElement(child, "parameter", faults), faults));
        if (HasFailed(faults))
        {
            return false;
        }
        count += 1;
    }
    faults->place.part = 0;
    return true;
}

bool ReadLayerItem(const TiXmlElement* item, void* /*record*/, uint32_t /*index*/,
                   ReadContext* context)
{
    FaultList* faults = context->faults;
    if (context->layerCount == kLayerCapacity)
    {
        AddFaultAt(faults, item, "more than %u layers", kLayerCapacity);
        return false;
    }
    LayerImage* layer = AllocateZeroed<LayerImage>(1, "a layer", faults);
    if (layer == nullptr)
    {
        return false;
    }
    context->layers[context->layerCount] = layer;
    context->layerCount += 1;

    if (context->computePixels)
    {
        // Black to begin with: an unknown generator leaves it so.
        const size_t bytes = static_cast<size_t>(kTextureSize) * RowBytes(kTextureSize);
        layer->pixels = AllocateZeroed<uint8_t>(bytes, "the pixels of a layer", faults);
        if (layer->pixels == nullptr)
        {
            return false;
        }
    }

    layer->type = static_cast<uint32_t>(ReadIntAttribute(item, "type", faults));
    if (HasFailed(faults) || !ReadLayerParams(item, layer->params, faults))
    {
        return false;
    }
    if (context->computePixels && !GenerateLayer(layer, kTextureSize))
    {
        AddFault(faults, "no memory to generate a layer");
        return false;
    }
    return true;
}

void FreeLayers(ReadContext* context)
{
    for (uint32_t i = 0; i < context->layerCount; ++i)
    {
        free(context->layers[i]->pixels);
        free(context->layers[i]);
        context->layers[i] = nullptr;
    }
    context->layerCount = 0;
}
