// SPDX-License-Identifier: MIT

// The pixel loops of 2D effects. Images are square, row-major and without padding: one byte a pixel
// at 8 bits, R, G, B at 24.
//
// A side is a multiple of 8, at most 512. CosTable must be built. "Rotate" takes 350 KB of stack.
#pragma once

#include <cstdint>

struct RandomSequence;

/// The numbers of one factor of a color channel, in "Effect 1" and "Rotate".
struct WaveRow
{
    float spread; // how fast the wave runs over the image
    float drift;  // how fast it moves with the step
    float wobble; // by how much the spread swings
};

/// Two rows a channel: its first and its second factor.
inline constexpr WaveRow WaveTable[6] = {
    {0.12f, 0.18f, 0.1f},  {0.15f, 0.2f, 0.12f},  // red, or the one byte at 8 bits
    {0.13f, 0.17f, 0.09f}, {0.14f, 0.22f, 0.07f}, // green
    {0.1f, 0.12f, 0.13f},  {0.08f, 0.2f, 0.135f}, // blue
};

/// "Test 2d effect": gradients that p0 and p1 push along; at 8 bits p0 and p2 do.
/// @param params   [3]
void RenderTestEffect(int32_t side, uint8_t bpp, const float* params, uint8_t* out);

/// "Effect 1": a plasma whose coordinates are themselves cosines, under a slowly turning skew.
void RenderEffect1(int32_t side, uint8_t bpp, float step, uint8_t* out);

/// "Rotate": the same plasma, with the cosines taken after a skewed rotation of the coordinates.
void RenderRotate(int32_t side, uint8_t bpp, float step, uint8_t* out);

/// "Amoba": plants the first live cells, with random numbers.
/// @param cells   the image, all 0
void SeedAmoba(int32_t side, uint8_t bpp, uint8_t* cells, RandomSequence* random);

/// "Amoba": one step of growth. Side * side / 8 cells are picked at random, and a live
/// one paints its four neighbours; later picks see it.
void GrowAmoba(int32_t side, uint8_t bpp, uint8_t* cells, RandomSequence* random);
