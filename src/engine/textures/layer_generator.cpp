#include "engine/textures/layer_generator.h"

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>

#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/textures/pixel_block.h"
#include "engine/textures/pixel_kernels.h"

enum GeneratorType : uint32_t
{
    kGeneratorColor,
    kGeneratorPlasma,
    kGeneratorRadial,
    kGeneratorMaze,
    kGeneratorBricks,
    kGeneratorNoise,
};

static constexpr uint32_t kSeedFactor = 1103515245;
static constexpr uint32_t kSeedAddend = 12345;

static float ClampToUnit(float value)
{
    const float floor = value > 0.0F ? value : 0.0F; // NaN too
    return floor < 1.0F ? floor : 1.0F;
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

static uint32_t* AllocatePixelRow(int32_t size)
{
    return AllocateBlock<uint32_t>(static_cast<size_t>(size), "a row of pixels");
}

static void GenerateColor(const float* params, int32_t size, uint8_t* pixels)
{
    uint32_t* row = AllocatePixelRow(size);
    for (int32_t x = 0; x < size; ++x)
    {
        row[x] = MakePixel(255.0F, params);
    }
    for (int32_t y = 0; y < size; ++y)
    {
        StorePixels(row, static_cast<size_t>(size),
                    pixels + static_cast<size_t>(y) * RowBytes(size));
    }
    free(row);
}

static void GeneratePlasma(const float* params, int32_t size, uint8_t* pixels)
{
    const float step = static_cast<float>(2.0 * (3.14159265358979323846 / size));
    const float stepX = params[3] * step;
    const float stepY = params[4] * step;

    // The double sum goes from left to right, and its first two terms depend on the column alone.
    double* columns = AllocateBlock<double>(static_cast<size_t>(size), "a row of sines");
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
    ramp[255] = MakePixel(-2147483648.0F, params);

    uint32_t* row = AllocatePixelRow(size);
    for (int32_t y = 0; y < size; ++y)
    {
        const double rowTerm = sin(static_cast<double>(static_cast<float>(y) * stepY)) * 63.5;
        for (int32_t x = 0; x < size; ++x)
        {
            const int32_t v = TruncateToInt(columns[x] + rowTerm);
            row[x] = ramp[v < 0 ? 255 : v];
        }
        StorePixels(row, static_cast<size_t>(size),
                    pixels + static_cast<size_t>(y) * RowBytes(size));
    }
    free(row);
    free(columns);
}

static void GenerateRadial(const float* params, int32_t size, uint8_t* pixels)
{
    const int32_t offset = ClampInt(TruncateToInt(params[7]), 0, 127);
    const int32_t half = size / 2;
    const RadialRamp ramp = {
        static_cast<double>(params[6]),    static_cast<double>(offset),
        static_cast<float>(half - offset), static_cast<float>(half),
        {params[3], params[4], params[5]}, {params[0], params[1], params[2]},
    };

    // A pixel depends on the sizes of half - x and half - y alone: each row of distances is made
    // once, mirrored into its row, and copied to the row on the other side.
    uint32_t* quarter = AllocatePixelRow(half + 1);
    uint32_t* row = AllocatePixelRow(size);
    for (int32_t dy = 0; dy <= half; ++dy)
    {
        const int32_t upper = half - dy;
        const int32_t lower = half + dy;
        GetPixelKernels()->radialRow(&ramp, dy, static_cast<size_t>(half) + 1, quarter);
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
    free(row);
    free(quarter);
}

/// Fills the maze's grid of (cells + 1)^2 corners with 0 and 1 and makes it periodic.
static void FillMazeGrid(uint32_t seed, float fullness, size_t cells, uint8_t* grid)
{
    const size_t side = cells + 1;
    const float offset = 2.0F * ClampToUnit(fullness) - 1.0F;
    memset(grid, 0, side * side);
    for (size_t i = 0; i < side * side; ++i)
    {
        seed = seed * kSeedFactor + kSeedAddend;
        const float random = static_cast<float>((seed >> 16) & 0x7FFF) * (1.0F / 32768.0F) + offset;
        grid[i] = TruncateToByte(rintf(ClampToUnit(random)));
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

/// Renders the block of one case, side * side pixels as 0x00BBGGRR.
/// @param ramp   the pixel of each mask value
static void RenderMazeBlock(uint32_t corners, uint32_t sizeIndex, const uint32_t* ramp,
                            uint32_t* block)
{
    const size_t side = static_cast<size_t>(2) << sizeIndex;
    if (corners == 0 || corners == 15)
    {
        for (size_t i = 0; i < side * side; ++i)
        {
            block[i] = corners == 0 ? 0 : ramp[255];
        }
        return;
    }

    const MazeCase& rule = kMazeCases[corners];
    const uint8_t* mask = GetCornerMask(sizeIndex, rule.shape);
    for (size_t j = 0; j < side; ++j)
    {
        for (size_t i = 0; i < side; ++i)
        {
            size_t column = rule.swapped ? j : i;
            size_t row = rule.swapped ? i : j;
            column = rule.mirroredColumn ? side - 1 - column : column;
            row = rule.mirroredRow ? side - 1 - row : row;
            block[j * side + i] = ramp[mask[row * side + column]];
        }
    }
}

static void GenerateMaze(const float* params, int32_t size, uint8_t* pixels)
{
    const int32_t mazeSize = ClampInt(TruncateToInt(rintf(params[3])), 1, 7);
    const uint32_t sizeIndex = static_cast<uint32_t>(mazeSize - 1);
    const size_t side = static_cast<size_t>(1) << mazeSize;
    const size_t cells = static_cast<size_t>(size) / side;
    const uint32_t seed = TruncateToUnsigned(params[4]);

    uint8_t* grid = AllocateBlock<uint8_t>((cells + 1) * (cells + 1), "a maze");
    FillMazeGrid(seed, params[5], cells, grid);

    uint32_t ramp[256];
    for (int32_t w = 0; w < 256; ++w)
    {
        ramp[w] = MakePixel(static_cast<float>(w), params);
    }

    // Cells with the same corners look the same: each case's block is rendered when it first
    // occurs.
    uint32_t* blocks = AllocateBlock<uint32_t>(16 * side * side, "the cells of a maze");
    bool rendered[16] = {};
    for (size_t cellY = 0; cellY < cells; ++cellY)
    {
        const uint8_t* upper = grid + cellY * (cells + 1);
        const uint8_t* lower = upper + cells + 1;
        for (size_t cellX = 0; cellX < cells; ++cellX)
        {
            const uint32_t corners =
                8U * upper[cellX] + 4U * upper[cellX + 1] + 2U * lower[cellX] + lower[cellX + 1];
            if (corners > 15)
            {
                printf("WTF?\n"); // corners are 0 or 1, so this is never seen
                continue;
            }

            uint32_t* block = blocks + corners * side * side;
            if (!rendered[corners])
            {
                RenderMazeBlock(corners, sizeIndex, ramp, block);
                rendered[corners] = true;
            }
            uint8_t* out = pixels + cellY * side * RowBytes(size) + cellX * side * 3;
            for (size_t j = 0; j < side; ++j)
            {
                StorePixels(block + j * side, side, out + j * RowBytes(size));
            }
        }
    }
    free(blocks);
    free(grid);
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
    if (third < powerOfTwo || second - third != step)
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
    static constexpr float kManySteps = 64.0F;
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

static void GenerateBricks(const float* params, int32_t size, uint8_t* pixels)
{
    const uint32_t brick = MakePixel(255.0F, params);
    const uint32_t wall = MakePixel(255.0F, params + 3);
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

    uint32_t* wallRow = AllocatePixelRow(size);
    uint32_t* evenRow = AllocatePixelRow(size);
    uint32_t* oddRow = AllocatePixelRow(size);
    for (int32_t x = 0; x < size; ++x)
    {
        const float t = WrapAtPitch(x, columnPitch).rest;
        const bool inMargin = columnMargin > t || columnMargin > columnPitch - t;
        wallRow[x] = wall;
        evenRow[x] = inMargin ? wall : brick;
    }
    for (int32_t x = 0; x < size; ++x)
    {
        oddRow[x] = evenRow[(x + offset) % size];
    }

    for (int32_t y = 0; y < size; ++y)
    {
        const Wrapped course = WrapAtPitch(y, rowPitch);
        const bool inMargin = rowMargin > course.rest || rowMargin > rowPitch - course.rest;
        const uint32_t* brickRow = course.count % 2 == 0 ? evenRow : oddRow;
        StorePixels(inMargin ? wallRow : brickRow, static_cast<size_t>(size),
                    pixels + static_cast<size_t>(y) * RowBytes(size));
    }
    free(oddRow);
    free(evenRow);
    free(wallRow);
}

static void GenerateNoise(const float* params, int32_t size, uint8_t* pixels)
{
    const float color[3] = {255.0F * params[0], 255.0F * params[1], 255.0F * params[2]};

    // The generator jumps: a row's worth of its steps is again a factor and an addend, so each
    // column steps on its own.
    uint32_t* seeds = AllocatePixelRow(size);
    uint32_t seed = TruncateToUnsigned(params[3]);
    uint32_t factor = 1;
    uint32_t addend = 0;
    for (int32_t x = 0; x < size; ++x)
    {
        seed = seed * kSeedFactor + kSeedAddend;
        seeds[x] = seed;
        factor *= kSeedFactor;
        addend = addend * kSeedFactor + kSeedAddend;
    }

    uint32_t* row = AllocatePixelRow(size);
    for (int32_t y = 0; y < size; ++y)
    {
        GetPixelKernels()->noiseRow(seeds, factor, addend, color, static_cast<size_t>(size), row);
        StorePixels(row, static_cast<size_t>(size),
                    pixels + static_cast<size_t>(y) * RowBytes(size));
    }
    free(row);
    free(seeds);
}

void GenerateLayer(LayerImage* layer, int32_t size)
{
    switch (layer->type)
    {
    case kGeneratorColor:
        GenerateColor(layer->params, size, layer->pixels);
        break;
    case kGeneratorPlasma:
        GeneratePlasma(layer->params, size, layer->pixels);
        break;
    case kGeneratorRadial:
        GenerateRadial(layer->params, size, layer->pixels);
        break;
    case kGeneratorMaze:
        GenerateMaze(layer->params, size, layer->pixels);
        break;
    case kGeneratorBricks:
        GenerateBricks(layer->params, size, layer->pixels);
        break;
    case kGeneratorNoise:
        GenerateNoise(layer->params, size, layer->pixels);
        break;
    default:
        break;
    }
}

static float RandomUnit()
{
    return static_cast<float>(rand()) * 4.656612873077392578125e-10F; // 2^-31
}

void RandomizeLayerParams(LayerImage* layer)
{
    float* params = layer->params;
    const uint32_t colors = layer->type == kGeneratorRadial ? 6 : 3;
    if (layer->type > kGeneratorRadial)
    {
        return;
    }

    for (uint32_t i = 0; i < colors; ++i)
    {
        params[i] = RandomUnit();
    }
    if (layer->type == kGeneratorPlasma)
    {
        params[3] = 3.0F * RandomUnit();
        params[4] = 3.0F * RandomUnit();
    }
    if (layer->type == kGeneratorRadial)
    {
        params[6] = 2.0F * RandomUnit() + 1.0F;
    }
}

void ReadLayerItem(const TiXmlElement* item, void* /*record*/, uint32_t /*index*/,
                   LoadContext* context)
{
    if (context->layerCount == kLayerCapacity)
    {
        FatalFault("more than %u layers", kLayerCapacity);
    }
    LayerImage* layer = AllocateBlock<LayerImage>(1, "a layer");
    *layer = {};
    context->layers[context->layerCount] = layer;
    context->layerCount += 1;

    // Black to begin with: an unknown generator leaves it so.
    const size_t bytes = static_cast<size_t>(kTextureSize) * RowBytes(kTextureSize);
    layer->pixels = AllocateBlock<uint8_t>(bytes, "the pixels of a layer");
    memset(layer->pixels, 0, bytes);

    layer->type = static_cast<uint32_t>(ReadIntAttribute(item, "type"));
    uint32_t count = 0;
    for (const TiXmlNode* child = item->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        CurrentPlace.part = count + 1;
        if (count == kLayerParams)
        {
            FatalFault("more than %u parameters", kLayerParams);
        }
        layer->params[count] = ParseFloat(RequireText(RequireElement(child, "parameter")));
        count += 1;
    }
    CurrentPlace.part = 0;

    GenerateLayer(layer, kTextureSize);
}

void FreeLayers(LoadContext* context)
{
    for (uint32_t i = 0; i < context->layerCount; ++i)
    {
        free(context->layers[i]->pixels);
        free(context->layers[i]);
        context->layers[i] = nullptr;
    }
    context->layerCount = 0;
}
