// SPDX-License-Identifier: MIT
#include "engine/textures/plain_textures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/data/numeric.h"

static const double kPi = 3.14159265358979323846;

// Corner masks

static std::vector<uint8_t> plainMasks[7][4];

static void BuildPlainMasks()
{
    uint8_t curve[256];
    for (int i = 0; i < 256; ++i)
    {
        curve[i] = static_cast<uint8_t>(lround(255.0 * (1.0 - cos(i * kPi / 512.0))));
    }
    for (int k = 0; k < 7; ++k)
    {
        const int side = 2 << k;
        const float m = static_cast<float>(side - 1);
        for (int row = 0; row < side; ++row)
        {
            for (int column = 0; column < side; ++column)
            {
                const float x = static_cast<float>(column);
                const float y = static_cast<float>(row);
                const float a = (m - y) / m;
                const float b = y / m;
                const float m0 = (m - x) * a / m * 255.0f;
                const float m1 = b * x / m * 255.0f + (m - x) * b / m * 255.0f;
                const float m2 = a * x / m * 255.0f + (m - x) * b / m * 255.0f;
                const float m3 = a * x / m * 255.0f + (m - x) * b / m * 255.0f + x * b / m * 255.0f;
                plainMasks[k][0].push_back(curve[TruncateToByte(m0)]);
                plainMasks[k][1].push_back(curve[TruncateToByte(m1)]);
                plainMasks[k][2].push_back(curve[TruncateToByte(m2)]);
                plainMasks[k][3].push_back(curve[TruncateToByte(m3)]);
            }
        }
    }
}

const uint8_t* PlainCornerMask(int sizeIndex, int shape)
{
    if (plainMasks[0][0].empty())
    {
        BuildPlainMasks();
    }
    return plainMasks[sizeIndex][shape].data();
}

// Generators

static void Color(const float* params, int size, uint8_t* pixels)
{
    for (int i = 0; i < size * size; ++i)
    {
        for (int channel = 0; channel < 3; ++channel)
        {
            pixels[3 * i + channel] = TruncateToByte(255.0f * params[channel]);
        }
    }
}

static void SinusPlasma(const float* params, int size, uint8_t* pixels)
{
    const float k = static_cast<float>(2.0 * (kPi / size));
    const float fx = params[3] * k;
    const float fy = params[4] * k;
    for (int y = 0; y < size; ++y)
    {
        for (int x = 0; x < size; ++x)
        {
            const int v =
                TruncateToInt(sin(static_cast<double>(static_cast<float>(x) * fx)) * 63.5 + 127.0 +
                              sin(static_cast<double>(static_cast<float>(y) * fy)) * 63.5);
            for (int channel = 0; channel < 3; ++channel)
            {
                pixels[3 * (y * size + x) + channel] =
                    TruncateToByte(static_cast<float>(v) * params[channel]);
            }
        }
    }
}

static void RadialColors(const float* params, int size, uint8_t* pixels)
{
    const float* center = params;
    const float* margin = params + 3;
    const int off = std::clamp(TruncateToInt(params[7]), 0, 127);
    const int half = size / 2;
    for (int y = 0; y < size; ++y)
    {
        for (int x = 0; x < size; ++x)
        {
            const int dy = half - y;
            const int dx = half - x;
            const double d = sqrt(static_cast<double>(dx * dx + dy * dy));
            float t =
                static_cast<float>(static_cast<double>(params[6]) * d - static_cast<double>(off));
            t = t > 0.0f ? t : 0.0f;
            const float q = t / static_cast<float>(half - off) * static_cast<float>(half);
            float a = 255.0f;
            float b = 0.0f;
            if (!(q > 127.0f))
            {
                a = q + q;
                b = 255.0f - a > 0.0f ? 255.0f - a : 0.0f;
            }
            for (int channel = 0; channel < 3; ++channel)
            {
                pixels[3 * (y * size + x) + channel] =
                    TruncateToByte(a * margin[channel] + b * center[channel]);
            }
        }
    }
}

/// One step of the local generator, as a float from 0 to below 1.
static float NextRandom(uint32_t& seed)
{
    seed = seed * 1103515245u + 12345u;
    return static_cast<float>((seed >> 16) & 0x7FFF) * (1.0f / 32768.0f);
}

static float Clamp01(float value)
{
    if (!(value > 0.0f))
    {
        return 0.0f;
    }
    return value < 1.0f ? value : 1.0f;
}

/// Fills one block of a maze, the mask value of each pixel coming from `at`.
template <typename MaskAt>
static void MazeBlock(uint8_t* corner, int size, int s, const float* color, MaskAt at)
{
    for (int j = 0; j < s; ++j)
    {
        for (int i = 0; i < s; ++i)
        {
            const float w = static_cast<float>(at(i, j));
            for (int channel = 0; channel < 3; ++channel)
            {
                corner[3 * (j * size + i) + channel] = TruncateToByte(w * color[channel]);
            }
        }
    }
}

static void MazeCell(int corners, int k, uint8_t* corner, int size, const float* color)
{
    const int s = 2 << k;
    const uint8_t* masks[4] = {PlainCornerMask(k, 0), PlainCornerMask(k, 1), PlainCornerMask(k, 2),
                               PlainCornerMask(k, 3)};
    const auto M = [&](int shape, int column, int row)
    {
        return masks[shape][row * s + column];
    };
    const auto fill = [&](auto at)
    {
        MazeBlock(corner, size, s, color, at);
    };
    const int e = s - 1; // i' = e - i, j' = e - j
    switch (corners)
    {
    case 0:
        for (int j = 0; j < s; ++j)
        {
            for (int i = 0; i < s * 3; ++i)
            {
                corner[j * size * 3 + i] = 0;
            }
        }
        break;
    case 1:
        fill([&](int i, int j) { return M(0, e - i, e - j); });
        break;
    case 2:
        fill([&](int i, int j) { return M(0, i, e - j); });
        break;
    case 3:
        fill([&](int i, int j) { return M(1, i, j); });
        break;
    case 4:
        fill([&](int i, int j) { return M(0, e - i, j); });
        break;
    case 5:
        fill([&](int i, int j) { return M(1, j, i); });
        break;
    case 6:
        fill([&](int i, int j) { return M(2, i, j); });
        break;
    case 7:
        fill([&](int i, int j) { return M(3, i, j); });
        break;
    case 8:
        fill([&](int i, int j) { return M(0, i, j); });
        break;
    case 9:
        fill([&](int i, int j) { return M(2, e - i, j); });
        break;
    case 10:
        fill([&](int i, int j) { return M(1, j, e - i); });
        break;
    case 11:
        fill([&](int i, int j) { return M(3, e - i, j); });
        break;
    case 12:
        fill([&](int i, int j) { return M(1, i, e - j); });
        break;
    case 13:
        fill([&](int i, int j) { return M(3, i, e - j); });
        break;
    case 14:
        fill([&](int i, int j) { return M(3, e - i, e - j); });
        break;
    default:
        fill([&](int, int) { return 255; });
        break;
    }
}

static void Maze(const float* params, int size, uint8_t* pixels)
{
    const int sz = std::clamp(TruncateToInt(nearbyintf(params[3])), 1, 7);
    const int s = 1 << sz;
    const int n = size / s;
    uint32_t seed = TruncateToUnsigned(params[4]);
    const float f = Clamp01(params[5]);
    const float offset = 2.0f * f - 1.0f;

    std::vector<uint8_t> grid(static_cast<size_t>((n + 1) * (n + 1)));
    for (uint8_t& cell : grid)
    {
        const float r = Clamp01(NextRandom(seed) + offset);
        cell = r > 0.5f ? 1 : 0;
    }
    const auto at = [&](int row, int column) -> uint8_t&
    {
        return grid.data()[row * (n + 1) + column];
    };
    at(n, n) = at(0, 0);
    for (int i = 0; i <= n; ++i)
    {
        at(i, n) = at(i, 0);
        at(n, i) = at(0, i);
    }

    for (int y = 0; y < n; ++y)
    {
        for (int x = 0; x < n; ++x)
        {
            const int corners =
                8 * at(y, x) + 4 * at(y, x + 1) + 2 * at(y + 1, x) + at(y + 1, x + 1);
            MazeCell(corners, sz - 1, pixels + 3 * (y * s * size + x * s), size, params);
        }
    }
}

/// The wrapped coordinate of a brick wall; count receives the pitches taken off. A pitch that is
/// not above nothing counts as endless, and one that vanishes in the subtraction ends it.
static float Wrap(int coordinate, float pitch, unsigned& count)
{
    float t = static_cast<float>(coordinate);
    count = 0;
    if (pitch < 0.0f)
    {
        return t;
    }
    while (t > pitch)
    {
        if (t - pitch == t)
        {
            return pitch;
        }
        t = t - pitch;
        ++count;
    }
    return t;
}

static void Bricks(const float* params, int size, uint8_t* pixels)
{
    const float* brick = params;
    const float* wall = params + 3;
    const int H = TruncateToInt(params[6]);
    const int V = TruncateToInt(params[7]);
    const int mh = TruncateToInt(params[8]);
    const int mv = TruncateToInt(params[9]);
    int o = TruncateToInt(params[10]) % size;
    if (o < 0)
    {
        o = size - o;
    }
    const float rowPitch = static_cast<float>(size) / static_cast<float>(H);
    const float colPitch = static_cast<float>(size) / static_cast<float>(V);

    const size_t rowBytes = static_cast<size_t>(size) * 3;
    std::vector<uint8_t> wallRow(rowBytes);
    std::vector<uint8_t> rowA(rowBytes);
    std::vector<uint8_t> rowB(rowBytes);
    for (int x = 0; x < size; ++x)
    {
        unsigned count;
        const float t = Wrap(x, colPitch, count);
        const float rest = colPitch < 0.0f ? INFINITY : colPitch - t;
        const bool isWall = static_cast<float>(mv) > t || static_cast<float>(mv) > rest;
        for (int channel = 0; channel < 3; ++channel)
        {
            const int i = 3 * x + channel;
            wallRow.data()[i] = TruncateToByte(wall[channel] * 255.0f);
            rowA.data()[i] = TruncateToByte((isWall ? wall : brick)[channel] * 255.0f);
        }
    }
    for (int x = 0; x < size; ++x)
    {
        for (int channel = 0; channel < 3; ++channel)
        {
            rowB.data()[3 * x + channel] = rowA.data()[3 * ((x + o) % size) + channel];
        }
    }
    for (int y = 0; y < size; ++y)
    {
        unsigned course;
        const float t = Wrap(y, rowPitch, course);
        const float rest = rowPitch < 0.0f ? INFINITY : rowPitch - t;
        const bool isWall = static_cast<float>(mh) > t || static_cast<float>(mh) > rest;
        const std::vector<uint8_t>& row = isWall ? wallRow : (course % 2 == 0 ? rowA : rowB);
        memcpy(pixels + static_cast<size_t>(y) * rowBytes, row.data(), rowBytes);
    }
}

static void Noise(const float* params, int size, uint8_t* pixels)
{
    uint32_t seed = TruncateToUnsigned(params[3]);
    for (int i = 0; i < size * size; ++i)
    {
        const float r = Clamp01(NextRandom(seed));
        for (int channel = 0; channel < 3; ++channel)
        {
            pixels[3 * i + channel] = TruncateToByte(r * (255.0f * params[channel]));
        }
    }
}

void PlainGenerateLayer(uint32_t type, const float* params, int size, uint8_t* pixels)
{
    switch (type)
    {
    case 0:
        Color(params, size, pixels);
        break;
    case 1:
        SinusPlasma(params, size, pixels);
        break;
    case 2:
        RadialColors(params, size, pixels);
        break;
    case 3:
        Maze(params, size, pixels);
        break;
    case 4:
        Bricks(params, size, pixels);
        break;
    case 5:
        Noise(params, size, pixels);
        break;
    default:
        break;
    }
}

// Steps

static int Modulo(int64_t value, int size)
{
    return static_cast<int>(((value % size) + size) % size);
}

static void Offset(const float* params, int size, uint8_t* pixels)
{
    int64_t a = TruncateToInt(params[0]);
    int64_t b = TruncateToInt(params[1]);
    a = a < 0 ? a + size : a;
    b = b < 0 ? b + size : b;
    const size_t bytes = static_cast<size_t>(size) * static_cast<size_t>(size) * 3;
    uint8_t* scratch = static_cast<uint8_t*>(malloc(bytes));
    for (int y = 0; y < size; ++y)
    {
        for (int x = 0; x < size; ++x)
        {
            const int row = Modulo(y + a, size);
            const int column = Modulo(x + b, size);
            for (int channel = 0; channel < 3; ++channel)
            {
                scratch[3 * (y * size + x) + channel] = pixels[3 * (row * size + column) + channel];
            }
        }
    }
    memcpy(pixels, scratch, bytes);
    free(scratch);
}

/// The wrapped position of Ripple. Positions that no integer holds have no pixel; they count as 0.
static float WrapRipple(float position, int size)
{
    if (position < 0.0f)
    {
        position = position + static_cast<float>(size);
    }
    if (!(position > -2147483648.0f && position < 2147483648.0f))
    {
        return 0.0f;
    }
    const int i = TruncateToInt(floorf(position));
    return static_cast<float>(i % size) + (position - static_cast<float>(i));
}

static void Ripple(const float* params, int size, uint8_t* pixels)
{
    const float ampX = params[0];
    const float ampY = params[1];
    const int64_t nx = std::abs(static_cast<int64_t>(TruncateToInt(params[2])));
    const int64_t ny = std::abs(static_cast<int64_t>(TruncateToInt(params[3])));
    const float S = static_cast<float>(size);
    const size_t bytes = static_cast<size_t>(size) * static_cast<size_t>(size) * 3;
    uint8_t* scratch = static_cast<uint8_t*>(malloc(bytes));
    for (int y = 0; y < size; ++y)
    {
        const float dX =
            S *
            cosLookup(TruncateToInt(static_cast<float>(y) / S * 4096.0f * static_cast<float>(ny))) *
            ampX;
        for (int x = 0; x < size; ++x)
        {
            const float sx = WrapRipple(dX + static_cast<float>(x), size);
            const float dY = S *
                             cosLookup(TruncateToInt(static_cast<float>(x) / S * 4096.0f *
                                                     static_cast<float>(nx))) *
                             ampY;
            const float sy = WrapRipple(dY + static_cast<float>(y), size);

            const int ix = TruncateToInt(floorf(sx));
            const int iy = TruncateToInt(floorf(sy));
            const float fx = sx - static_cast<float>(ix);
            const float fy = sy - static_cast<float>(iy);
            const float gx = 1.0f - fx;
            const float gy = 1.0f - fy;
            // The remainders stay as they are; the modulo keeps the rest inside.
            const int column = Modulo(ix, size);
            const int row = Modulo(iy, size);
            const int column1 = Modulo((ix + 1) % size, size);
            const int row1 = Modulo((iy + 1) % size, size);

            float w0 = sqrtf(fx * fx + fy * fy);
            float w1 = sqrtf(gx * gx + fy * fy);
            float w2 = sqrtf(fx * fx + gy * gy);
            float w3 = sqrtf(gy * gy + fy * fy);
            const float sum = w0 + w1 + w2 + w3;
            w0 /= sum;
            w1 /= sum;
            w2 /= sum;
            w3 /= sum;
            for (int channel = 0; channel < 3; ++channel)
            {
                const auto P = [&](int atX, int atY)
                {
                    return static_cast<float>(pixels[3 * (atY * size + atX) + channel]);
                };
                scratch[3 * (y * size + x) + channel] =
                    TruncateToByte(P(column, row) * w0 + P(column1, row) * w1 +
                                   P(column, row1) * w2 + P(column1, row1) * w3);
            }
        }
    }
    memcpy(pixels, scratch, bytes);
    free(scratch);
}

/// Where the nine pixels around one start, row-major from the upper left.
static void FindNeighbours(int x, int y, int size, int* starts)
{
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 3; ++column)
        {
            const int atY = (y + row - 1 + size) % size;
            const int atX = (x + column - 1 + size) % size;
            starts[3 * row + column] = 3 * (atY * size + atX);
        }
    }
}

static void Blur(int size, uint8_t* pixels)
{
    const size_t bytes = static_cast<size_t>(size) * static_cast<size_t>(size) * 3;
    uint8_t* scratch = static_cast<uint8_t*>(malloc(bytes));
    for (int y = 0; y < size; ++y)
    {
        for (int x = 0; x < size; ++x)
        {
            int starts[9];
            FindNeighbours(x, y, size, starts);
            for (int channel = 0; channel < 3; ++channel)
            {
                int sum = 0;
                for (const int start : starts)
                {
                    sum += pixels[start + channel];
                }
                scratch[3 * (y * size + x) + channel] =
                    TruncateToByte(static_cast<double>(sum) * 0.111111111);
            }
        }
    }
    memcpy(pixels, scratch, bytes);
    free(scratch);
}

static void Convolve(const float* kernel, int size, uint8_t* pixels)
{
    const size_t bytes = static_cast<size_t>(size) * static_cast<size_t>(size) * 3;
    uint8_t* scratch = static_cast<uint8_t*>(malloc(bytes));
    for (int y = 0; y < size; ++y)
    {
        for (int x = 0; x < size; ++x)
        {
            int starts[9];
            FindNeighbours(x, y, size, starts);
            for (int channel = 0; channel < 3; ++channel)
            {
                float sum = 0.0f;
                for (int n = 0; n < 9; ++n)
                {
                    sum += static_cast<float>(pixels[starts[n] + channel]) * kernel[n];
                }
                scratch[3 * (y * size + x) + channel] =
                    static_cast<uint8_t>(std::clamp(TruncateToInt(sum), 0, 255));
            }
        }
    }
    memcpy(pixels, scratch, bytes);
    free(scratch);
}

static void Emboss(const float* params, int size, uint8_t* pixels)
{
    static const float kernels[4][9] = {
        {-2, -1, 0, -1, 1, 1, 0, 1, 2},
        {0, -1, -2, 1, 1, -1, 2, 1, 0},
        {2, 1, 0, 1, 1, -1, 0, -1, -2},
        {0, 1, 2, -1, 1, 1, -2, -1, 0},
    };
    Convolve(kernels[std::clamp(TruncateToInt(params[0]), 1, 4) - 1], size, pixels);
}

/// One byte of a combiner or point filter.
static uint8_t PointResult(int type, float dst, float src, const float* p)
{
    switch (type)
    {
    case 101:
        return static_cast<uint8_t>(std::clamp(TruncateToInt(dst * p[0] + src * p[1]), 0, 255));
    case 102:
        return static_cast<uint8_t>(std::min(TruncateToInt(dst * p[0] * src), 255));
    case 103:
        return static_cast<uint8_t>(
            std::min(std::max(TruncateToInt(src * p[1]), TruncateToInt(dst * p[0])), 255));
    case 104:
        return static_cast<uint8_t>(
            std::min({TruncateToInt(dst * p[0]), 255, TruncateToInt(src * p[1])}));
    default:
        return static_cast<uint8_t>(std::min(TruncateToInt(dst * p[0]), 255));
    }
}

/// All bytes of a combiner or point filter; the type is a constant where it is called.
template <int kType>
static void PointStep(const float* params, const uint8_t* layer, int size, uint8_t* pixels)
{
    for (int i = 0; i < size * size * 3; ++i)
    {
        const float src = kType < 200 ? static_cast<float>(layer[i]) : 0.0f;
        pixels[i] = PointResult(kType, static_cast<float>(pixels[i]), src, params);
    }
}

void PlainTextureStep(int type, const float* params, const uint8_t* layer, int size,
                      uint8_t* pixels)
{
    switch (type)
    {
    case 101:
        PointStep<101>(params, layer, size, pixels);
        break;
    case 102:
        PointStep<102>(params, layer, size, pixels);
        break;
    case 103:
        PointStep<103>(params, layer, size, pixels);
        break;
    case 104:
        PointStep<104>(params, layer, size, pixels);
        break;
    case 201:
        for (int i = 0; i < size * size * 3; ++i)
        {
            pixels[i] = static_cast<uint8_t>(~pixels[i]);
        }
        break;
    case 202:
        PointStep<202>(params, nullptr, size, pixels);
        break;
    case 203:
        Offset(params, size, pixels);
        break;
    case 204:
        Ripple(params, size, pixels);
        break;
    case 205:
        Blur(size, pixels);
        break;
    case 206:
        Emboss(params, size, pixels);
        break;
    case 207:
        Convolve(params, size, pixels);
        break;
    default:
        break;
    }
}

// Mip chain

void PlainMipChain(int width, int height, const uint8_t* pixels, int components,
                   void (*take)(void* user, int width, int height, const uint8_t* pixels),
                   void* user)
{
    const size_t pixel = static_cast<size_t>(components);
    const size_t bytes = static_cast<size_t>(width) * static_cast<size_t>(height) * pixel;
    uint8_t* work = static_cast<uint8_t*>(malloc(bytes));
    memcpy(work, pixels, bytes);
    int w = width / 2;
    int h = height / 2;
    while (true)
    {
        uint8_t* block =
            static_cast<uint8_t*>(malloc(static_cast<size_t>(w) * static_cast<size_t>(h) * pixel));
        if (w == 1 || h == 1)
        {
            const int count = w == 1 ? h : w;
            for (int i = 0; i < count; ++i)
            {
                for (int c = 0; c < components; ++c)
                {
                    const int sum =
                        work[2 * i * components + c] + work[(2 * i + 1) * components + c];
                    block[i * components + c] = static_cast<uint8_t>(sum >> 1);
                }
            }
        }
        else
        {
            for (int y = 0; y < h; ++y)
            {
                for (int x = 0; x < w; ++x)
                {
                    for (int c = 0; c < components; ++c)
                    {
                        const auto S = [&](int column, int row)
                        {
                            return work[(row * 2 * w + column) * components + c];
                        };
                        const int sum = S(2 * x, 2 * y) + S(2 * x + 1, 2 * y) +
                                        S(2 * x, 2 * y + 1) + S(2 * x + 1, 2 * y + 1);
                        block[(y * w + x) * components + c] = static_cast<uint8_t>(sum >> 2);
                    }
                }
            }
        }
        take(user, w, h, block);
        free(work);
        work = block;
        if (w == 1 && h == 1)
        {
            free(work);
            return;
        }
        w = w > 1 ? w / 2 : w;
        h = h >= 2 ? h / 2 : h;
    }
}
