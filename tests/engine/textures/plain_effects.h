// SPDX-License-Identifier: MIT

// The images of 2D effects once more, in their plainest form: one pixel after another, every
// look-up made where it is used. Tests hold the engine against these byte for byte, and benchmarks
// measure how much faster it is.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/geometry/plain_geometry.h"

inline uint8_t PlainByte(float value)
{
    return static_cast<uint8_t>(PlainTruncate(value));
}

inline float PlainCos(int32_t n)
{
    return CosTable[4096 + n % 4096];
}

inline void PlainTestEffect(uint32_t side, uint32_t bpp, const float* params, uint8_t* out)
{
    if (bpp == 24)
    {
        uint32_t k = static_cast<uint32_t>(PlainTruncate(params[0] + params[1]));
        for (uint32_t y = 0; y < side; ++y)
        {
            for (uint32_t x = 0; x < side; ++x)
            {
                uint8_t* pixel = out + (y * side + x) * 3;
                pixel[0] = static_cast<uint8_t>((y + k) % 255);
                pixel[1] = static_cast<uint8_t>((x + k) % 255);
                pixel[2] = static_cast<uint8_t>((x + y + k) % 255);
            }
        }
        return;
    }
    uint32_t k = static_cast<uint32_t>(PlainTruncate(params[0] + params[2]));
    for (uint32_t y = 0; y < side; ++y)
    {
        for (uint32_t x = 0; x < side; ++x)
        {
            out[y * side + x] = static_cast<uint8_t>((x + y + k) % 255);
        }
    }
}

struct PlainGains
{
    float gain[6];
    float phase[6];
};

inline PlainGains MakePlainGains(float h, float c1, float c2)
{
    const float spread[6] = {0.12f, 0.15f, 0.13f, 0.14f, 0.1f, 0.08f};
    const float drift[6] = {0.18f, 0.2f, 0.17f, 0.22f, 0.12f, 0.2f};
    const float wobble[6] = {0.1f, 0.12f, 0.09f, 0.07f, 0.13f, 0.135f};
    PlainGains gains;
    for (int i = 0; i < 6; ++i)
    {
        float c = i % 2 == 0 ? c1 : c2;
        float gain = (1.0f - wobble[i] + wobble[i] * c) * spread[i];
        float phase = drift[i] * h;
        gains.gain[i] = static_cast<float>(static_cast<double>(gain) * 651.8986469);
        gains.phase[i] = static_cast<float>(static_cast<double>(phase) * 651.8986469);
    }
    return gains;
}

inline uint8_t PlainWave(const PlainGains& gains, int a, int b, float u, float v)
{
    float first = PlainCos(PlainTruncate(u * gains.gain[a] + gains.phase[a])) + 1.0f;
    float second = PlainCos(PlainTruncate(v * gains.gain[b] + gains.phase[b])) + 1.0f;
    return PlainByte(first * second * 63.0f);
}

inline uint8_t* PlainPixel(const PlainGains& gains, uint32_t bpp, float u, float v, uint8_t* out)
{
    *out++ = PlainWave(gains, 0, 1, u, v);
    if (bpp == 24)
    {
        *out++ = PlainWave(gains, 2, 3, u, v);
        *out++ = PlainWave(gains, 4, 5, u, v);
    }
    return out;
}

inline void PlainEffect1(uint32_t side, uint32_t bpp, float p0, uint8_t* out)
{
    const double k = 651.8986469;
    float h = 0.5f * p0;
    double d = static_cast<double>(h);
    float offX = static_cast<float>(0.06 * d);
    float offY = static_cast<float>(0.08 * d);
    double m = static_cast<double>(static_cast<float>(sin(0.1 * d) + 1.88));
    double theta = static_cast<double>(static_cast<float>(0.01 * d));
    float ms = static_cast<float>(sin(theta) * m);
    float mc = static_cast<float>(m * cos(theta));
    float m1 = static_cast<float>((1.0 - cos(theta)) * m);
    double c0 = static_cast<double>(static_cast<float>(cos(0.11 * d)));
    float kx = static_cast<float>((0.3 * c0 + 0.7) / 67.0205866 * k);
    float ky = static_cast<float>((0.2 * c0 + 0.8) / 50.26544 * k);
    float c1 = static_cast<float>(cos(0.13 * d + 6.0));
    float c2 = static_cast<float>(cos(0.17 * d + 8.0));
    PlainGains gains = MakePlainGains(h, c1, c2);

    std::vector<float> columns(side);
    for (uint32_t x = 0; x < side; ++x)
    {
        columns[x] = (1.0f - PlainCos(PlainTruncate(static_cast<float>(x) * kx))) * 63.0f + offX;
    }
    for (uint32_t y = 0; y < side; ++y)
    {
        float yy = (1.0f - PlainCos(PlainTruncate(static_cast<float>(y) * ky))) * 63.0f + offY;
        for (uint32_t x = 0; x < side; ++x)
        {
            float u = mc * columns[x] + ms * yy;
            float v = ms * columns[x] + m1 * yy;
            out = PlainPixel(gains, bpp, u, v, out);
        }
    }
}

inline void PlainRotate(uint32_t side, uint32_t bpp, float p0, uint8_t* out)
{
    const double k = 651.8986469;
    float h = 0.5f * p0;
    double d = static_cast<double>(h);
    float a = static_cast<float>((sin(0.1 * d) + 1.88) * 20.0);
    float amp = a * 63.0f;
    float off1 = static_cast<float>(d * 0.08 * static_cast<double>(a));
    float off2 = static_cast<float>(d * 0.06 * static_cast<double>(a));
    double c0 = cos(0.11 * d);
    float k1 = static_cast<float>((0.0024543671875 * c0 + 0.00981746875) * k);
    float k2 = static_cast<float>((c0 * 0.0027611630859375 + 0.0064427138671875) * k);
    float c1 = static_cast<float>(cos(0.13 * d) + 6.0);
    float c2 = static_cast<float>(cos(0.17 * d) + 8.0);
    PlainGains gains = MakePlainGains(h, c1, c2);
    float phi = static_cast<float>(d * 0.15);
    float s = sinf(phi);
    float c = cosf(phi);
    float m1 = static_cast<float>(1.0 - cos(static_cast<double>(phi)));

    std::vector<float> xc(side);
    std::vector<float> xs(side);
    for (uint32_t x = 0; x < side; ++x)
    {
        xc[x] = static_cast<float>(x) * c;
        xs[x] = static_cast<float>(x) * s;
    }
    for (uint32_t y = 0; y < side; ++y)
    {
        for (uint32_t x = 0; x < side; ++x)
        {
            int32_t i = PlainTruncate((xc[x] + static_cast<float>(y) * s) * k1);
            int32_t j = PlainTruncate((xs[x] + static_cast<float>(y) * m1) * k2);
            float u = (1.0f - PlainCos(i)) * amp + off1;
            float v = (1.0f - PlainCos(j)) * amp + off2;
            out = PlainPixel(gains, bpp, u, v, out);
        }
    }
}

struct PlainAmoba
{
    uint32_t side;
    uint32_t bpp;
    std::vector<uint8_t> cells;
    float lastStep;
};

/// @param random   gives what the library's rand would; the caller has seeded it with 5
template <typename Random>
PlainAmoba MakePlainAmoba(uint32_t side, uint32_t bpp, Random random)
{
    auto Unit = [&random]
    {
        return static_cast<float>(random()) / 2147483648.0f;
    };
    PlainAmoba amoba = {side, bpp, std::vector<uint8_t>(side * side * bpp / 8, 0), 0.0f};
    const float size = static_cast<float>(side * side);
    for (uint32_t n = 0; n < side * side / 400; ++n)
    {
        if (bpp == 8)
        {
            float r1 = Unit();
            float r2 = Unit();
            amoba.cells[static_cast<size_t>(PlainTruncate(r1 * size))] =
                PlainByte(r2 * 192.0f + 64.0f);
        }
        else
        {
            size_t pixel = static_cast<size_t>(PlainTruncate(Unit() * size));
            amoba.cells[3 * pixel] = PlainByte(Unit() * 256.0f);
            amoba.cells[3 * pixel + 1] = PlainByte(Unit() * 256.0f);
            amoba.cells[3 * pixel + 2] = PlainByte(Unit() * 256.0f);
        }
    }
    return amoba;
}

template <typename Random>
void PlainAmobaRender(PlainAmoba* amoba, float p0, Random random)
{
    if (PlainTruncate(amoba->lastStep) == PlainTruncate(p0))
    {
        return;
    }
    amoba->lastStep = static_cast<float>(PlainTruncate(p0));

    auto Unit = [&random]
    {
        return static_cast<float>(random()) / 2147483648.0f;
    };
    const uint32_t side = amoba->side;
    std::vector<uint8_t>& cells = amoba->cells;
    for (uint32_t n = 0; n < side * side / 8; ++n)
    {
        size_t row =
            static_cast<size_t>(PlainTruncate(Unit() * static_cast<float>(side - 3) + 1.0f));
        size_t column =
            static_cast<size_t>(PlainTruncate(Unit() * static_cast<float>(side - 3) + 1.0f));
        size_t cell = row * side + column;
        const size_t neighbours[4] = {cell + 1, cell + side, cell - 1, cell - side};
        if (amoba->bpp == 8)
        {
            uint8_t v = cells[cell];
            for (size_t neighbour : neighbours)
            {
                cells[neighbour] = v > 64 ? v : cells[neighbour];
            }
            continue;
        }
        int sum = cells[3 * cell] + cells[3 * cell + 1] + cells[3 * cell + 2];
        for (size_t neighbour : neighbours)
        {
            for (size_t channel = 0; sum > 32 && channel < 3; ++channel)
            {
                cells[3 * neighbour + channel] = cells[3 * cell + channel];
            }
        }
    }
}
