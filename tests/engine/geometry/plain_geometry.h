// SPDX-License-Identifier: MIT

// The computations of geometry once more, in their plainest form: no tables of faces, no vectors,
// no blocks of memory that are shared. Tests hold the engine against these bit for bit, and
// benchmarks measure how much faster it is.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <emmintrin.h>
#include <vector>

#include "engine/data/cos_table.h"

/// The machine's own conversion. (gcc folds it wrongly for constants out of range; here it meets
/// none.)
inline int32_t PlainTruncate(float value)
{
    return _mm_cvttss_si32(_mm_set_ss(value));
}

inline int32_t PlainTruncate(double value)
{
    return _mm_cvttsd_si32(_mm_set_sd(value));
}

inline void PlainNormals(uint32_t vertexCount, uint32_t indexCount, const float* vertices,
                         float* normals, const uint32_t* indices)
{
    for (uint32_t i = 0; i < 3 * vertexCount; ++i)
    {
        normals[i] = 0.0f;
    }
    uint32_t* counts = static_cast<uint32_t*>(calloc(vertexCount + 1, sizeof(uint32_t)));

    for (uint32_t t = 0; t < indexCount / 3; ++t)
    {
        uint32_t i0 = indices[3 * t];
        uint32_t i1 = indices[3 * t + 1];
        uint32_t i2 = indices[3 * t + 2];
        counts[i0]++;
        counts[i1]++;
        counts[i2]++;

        float ax = vertices[3 * i0] - vertices[3 * i1];
        float ay = vertices[3 * i0 + 1] - vertices[3 * i1 + 1];
        float az = vertices[3 * i0 + 2] - vertices[3 * i1 + 2];
        float bx = vertices[3 * i1] - vertices[3 * i2];
        float by = vertices[3 * i1 + 1] - vertices[3 * i2 + 1];
        float bz = vertices[3 * i1 + 2] - vertices[3 * i2 + 2];

        float nx = ay * bz - az * by;
        float ny = az * bx - ax * bz;
        float nz = ax * by - ay * bx;
        float length = sqrtf(nx * nx + ny * ny + nz * nz);
        if (length < 0.001f)
        {
            length = 1.0f;
        }
        nx = nx / length;
        ny = ny / length;
        nz = nz / length;

        normals[3 * i0] += nx;
        normals[3 * i0 + 1] += ny;
        normals[3 * i0 + 2] += nz;
        normals[3 * i1] += nx;
        normals[3 * i1 + 1] += ny;
        normals[3 * i1 + 2] += nz;
        normals[3 * i2] += nx;
        normals[3 * i2 + 1] += ny;
        normals[3 * i2 + 2] += nz;
    }

    for (uint32_t i = 0; i < vertexCount; ++i)
    {
        if (counts[i] > 1)
        {
            normals[3 * i] = normals[3 * i] / static_cast<float>(counts[i]);
            normals[3 * i + 1] = normals[3 * i + 1] / static_cast<float>(counts[i]);
            normals[3 * i + 2] = normals[3 * i + 2] / static_cast<float>(counts[i]);
        }
    }
    free(counts);
}

inline void PlainRipple(float* coordinates, size_t count, float time, float amplitude,
                        float wavelength)
{
    float t0 = static_cast<float>(static_cast<double>(time) * 651.8986469);
    float w = static_cast<float>(static_cast<double>(wavelength) * 651.8986469);
    for (size_t i = 0; i < count; ++i)
    {
        float c = coordinates[i];
        float scaled = c * w;
        int32_t n = PlainTruncate(scaled + t0);
        float wave = CosTable[4096 + n % 4096] * amplitude;
        coordinates[i] = wave + c;
    }
}

/// Three grids that stay where they are: what the engine does by exchanging pointers is done by
/// copying here.
struct PlainLake
{
    std::vector<int32_t> older = std::vector<int32_t>(900, 0);
    std::vector<int32_t> current = std::vector<int32_t>(900, 0);
    std::vector<int32_t> next = std::vector<int32_t>(900, 0);
    int32_t lastStep = 0;
};

/// A right shift that rounds toward minus infinity, by division.
inline int64_t FloorDivide(int64_t value, int64_t divisor)
{
    int64_t quotient = value / divisor;
    return value % divisor < 0 ? quotient - 1 : quotient;
}

/// @param random   called for each number that the library's rand would give
/// @return the 900 heights
template <typename Random>
std::vector<float> PlainLakeHeights(PlainLake* lake, float v, Random random)
{
    if (v >= static_cast<float>(lake->lastStep + 2) || v <= static_cast<float>(lake->lastStep - 2))
    {
        lake->lastStep = PlainTruncate(v);
    }
    if (v >= static_cast<float>(lake->lastStep + 1))
    {
        lake->older = lake->current;
        lake->lastStep = PlainTruncate(v);
        std::vector<int32_t> before = lake->current;
        lake->current = lake->next;
        lake->next = before;

        for (size_t row = 1; row <= 28; ++row)
        {
            for (size_t column = 0; column < 30; ++column)
            {
                size_t e = row * 30 + column;
                int64_t sum = int64_t{lake->current[e + 1]} + lake->current[e - 1] +
                              lake->current[e - 30] + lake->current[e + 30];
                int64_t h = FloorDivide(sum, 2) - lake->next[e];
                h = h - FloorDivide(h, 32);
                if (h >= 5)
                {
                    h = 4;
                }
                lake->next[e] = static_cast<int32_t>(h);
            }
        }
        for (size_t row = 0; row < 30; ++row)
        {
            lake->next[row * 30] = 0;
            lake->next[row * 30 + 29] = 0;
        }
        for (int32_t drop : {-6, -5, -6, -5})
        {
            float r = static_cast<float>(random()) * (1.0f / 2147483648.0f);
            float index = r * 900.0f;
            lake->current[static_cast<size_t>(PlainTruncate(index))] = drop;
        }
    }

    float f = fabsf(v - static_cast<float>(lake->lastStep));
    if (f > 1.0f)
    {
        f = f - static_cast<float>(PlainTruncate(f));
    }
    float wo = (1.0f - f) * 0.5f;
    float wn = f * 0.5f;
    std::vector<float> heights(900);
    for (size_t e = 0; e < 900; ++e)
    {
        double sum = static_cast<double>(static_cast<float>(lake->older[e]) * wo);
        sum += static_cast<double>(lake->current[e]) * 0.5;
        sum += static_cast<double>(static_cast<float>(lake->next[e]) * wn);
        heights[e] = static_cast<float>(sum / 5.0);
    }
    return heights;
}

/// The 900 heights of a centerwave.
inline std::vector<float> PlainCenterwaveHeights(float v)
{
    std::vector<float> heights(900);
    for (int32_t vertex = 0; vertex < 900; ++vertex)
    {
        int32_t r = vertex / 30 - 15;
        int32_t c = vertex % 30 - 15;
        float d = static_cast<float>(sqrt(static_cast<double>(c * c + r * r)));
        float y = 0.0f;
        if (d <= 14.0f)
        {
            float difference = d - v;
            int32_t n = PlainTruncate(static_cast<double>(difference) * 651.8986469);
            float fall = (14.0f - d) / 10.0f;
            y = fall * CosTable[4096 + n % 4096];
        }
        heights[static_cast<size_t>(vertex)] = y;
    }
    return heights;
}

/// "X Multiplier" on `list`, nine floats an instance.
inline std::vector<float> PlainMultiplyX(const std::vector<float>& list, const float* params)
{
    std::vector<float> result;
    int32_t n = PlainTruncate(params[0]);
    for (size_t s = 0; s < list.size() / 9; ++s)
    {
        for (int32_t i = 0; i < n; ++i)
        {
            for (size_t k = 0; k < 9; ++k)
            {
                float source = list[s * 9 + k];
                float added = static_cast<float>(i) * params[1 + k];
                result.push_back(i == 0 ? source : source + added);
            }
        }
    }
    return result;
}

/// "XYZ Multiplier".
inline std::vector<float> PlainMultiplyXyz(const std::vector<float>& list, const float* params)
{
    std::vector<float> result;
    for (size_t s = 0; s < list.size() / 9; ++s)
    {
        for (int32_t ix = 0; ix < PlainTruncate(params[0]); ++ix)
        {
            for (int32_t iy = 0; iy < PlainTruncate(params[1]); ++iy)
            {
                for (int32_t iz = 0; iz < PlainTruncate(params[2]); ++iz)
                {
                    const float* source = &list[s * 9];
                    const float x = static_cast<float>(ix);
                    const float y = static_cast<float>(iy);
                    const float z = static_cast<float>(iz);
                    result.push_back(source[0] + x * params[3]);
                    result.push_back(source[1] + y * params[4]);
                    result.push_back(source[2] + z * params[5]);
                    result.push_back(source[3] + x * params[6]);
                    result.push_back(source[4] + y * params[7]);
                    result.push_back(source[5] + z * params[8]);
                    result.push_back(source[6] + x * params[9]);
                    result.push_back(source[7] + y * params[10]);
                    result.push_back(source[8] + z * params[11]);
                }
            }
        }
    }
    return result;
}

/// Vertices under a matrix in OpenGL's order of elements.
inline std::vector<float> PlainTransform(const float* matrix, const std::vector<float>& vertices)
{
    std::vector<float> result;
    for (size_t i = 0; i < vertices.size(); i += 3)
    {
        float x = vertices[i];
        float y = vertices[i + 1];
        float z = vertices[i + 2];
        result.push_back(((matrix[0] * x + matrix[4] * y) + matrix[8] * z) + matrix[12]);
        result.push_back(((matrix[1] * x + matrix[5] * y) + matrix[9] * z) + matrix[13]);
        result.push_back(((matrix[2] * x + matrix[6] * y) + matrix[10] * z) + matrix[14]);
    }
    return result;
}

/// "Model placer" with its vertices already transformed.
inline std::vector<float> PlainPlace(const std::vector<float>& list,
                                     const std::vector<float>& transformed)
{
    std::vector<float> result;
    for (size_t s = 0; s < list.size(); s += 9)
    {
        for (size_t v = 0; v < transformed.size(); v += 3)
        {
            for (size_t k = 0; k < 3; ++k)
            {
                result.push_back(list[s + k] + transformed[v + k]);
            }
            for (size_t k = 3; k < 9; ++k)
            {
                result.push_back(list[s + k]);
            }
        }
    }
    return result;
}
