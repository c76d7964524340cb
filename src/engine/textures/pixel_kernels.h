// SPDX-License-Identifier: MIT

// The loops over pixels, as a table of routines for each instruction set. All tables give the same
// bytes.
//
// Lengths are in bytes, three a pixel, unless said otherwise. Arrays do not overlap, and nothing is
// written past the end of an output. "Padded" rows can be read one pixel before their start and
// one after their end: the row's last pixel and its first. Arrays that loops walk in groups have
// "slack": room for kRowSlack elements after their end, which hold anything.
#pragma once

#include <cstddef>
#include <cstdint>

inline constexpr size_t kRowSlack = 32;

/// All that a filter keeps of a row and the row above it, so that it need not look at them again:
/// two words for each byte, in an order of the kernel's own. Slack.
struct FilterWords
{
    uint16_t* first;
    uint16_t* second;
};

/// The middle row of a 3x3 neighbourhood and its neighbours, padded and with slack.
struct FloatRows
{
    const float* above;
    const float* row;
    const float* below;
};

/// Ripple's look at one row: where each output pixel samples, and with what weights.
struct RippleSamples
{
    uint32_t* pixel[4]; // numbers of the four pixels: the nearest, right, below, below right; slack
    float* weight[4];   // their shares; slack
};

/// The displacements of a row of Ripple.
struct RippleRow
{
    int32_t size;               // side of the image, pixels
    float rowNumber;            // y
    float alongX;               // this row's displacement along x, pixels
    const float* alongY;        // [x], each column's displacement along y; slack
    const uint8_t* source;      // the image before, RGB and a byte unused for each pixel
    const RippleSamples* space; // room for size samples
};

/// The numbers that turn a distance into a pixel of Radial colors.
struct RadialRamp
{
    double inverseRadian;
    double offset;
    float divisor; // half the side less the offset
    float half;    // half the side
    float margin[3];
    float center[3];
};

struct PixelKernels
{
    // Combiners and point filters, in place.
    void (*add)(uint8_t* image, const uint8_t* layer, size_t count, float scale1, float scale2);
    void (*multiply)(uint8_t* image, const uint8_t* layer, size_t count, float scale);
    void (*maximum)(uint8_t* image, const uint8_t* layer, size_t count, float scale1, float scale2);
    void (*minimum)(uint8_t* image, const uint8_t* layer, size_t count, float scale1, float scale2);
    void (*invert)(uint8_t* image, size_t count);
    void (*scale)(uint8_t* image, size_t count, float scale);

    // Spatial filters, a row at a time.
    /// Blur.
    /// @param below   the row below as it was before, not padded; its neighbours at the ends are
    ///                those on the opposite edge
    /// @param words   the sums of each three bytes, of the row above and of the row itself;
    ///                afterwards the first are those of the row below
    /// @param out     the row itself
    void (*blurRow)(const uint8_t* below, size_t count, const FilterWords* words, uint8_t* out);
    /// Emboss, one kernel in four positions: the lower neighbours less the upper ones, those of one
    /// side less the opposite ones, and the pixel itself; the corner between counts twice. Upside
    /// down it is the same with rows in reverse order.
    /// @param words   the row's share in itself less what the row above takes off, and what the row
    ///                takes off the row below; afterwards both are those of the row below
    void (*embossRight)(const uint8_t* below, size_t count, const FilterWords* words, uint8_t* out);
    void (*embossLeft)(const uint8_t* below, size_t count, const FilterWords* words, uint8_t* out);
    void (*widenRow)(const uint8_t* row, size_t count, float* out);
    /// @param kernel   nine weights, row-major
    void (*convolveRow)(FloatRows rows, size_t count, const float* kernel, uint8_t* out);
    /// Four bytes a pixel out of three, the fourth zero.
    void (*spreadPixels)(const uint8_t* rgb, size_t pixelCount, uint8_t* out);
    void (*rippleRow)(const RippleRow* row, uint8_t* out);

    // Generators.
    /// Sums of 0 to 254 cut to integers; a sum that is no number gives 255.
    /// @param columns   the sums' part of each column, count of them; slack
    /// @param values    count numbers; slack
    void (*plasmaRow)(const double* columns, double rowTerm, size_t count, uint32_t* values);
    /// The pixels at distance sqrt(x * x + y * y) for x from 0 to count - 1.
    /// @param out   count pixels, 0x00BBGGRR; slack
    void (*radialRow)(const RadialRamp* ramp, int32_t y, size_t count, uint32_t* out);
    /// One pixel for each seed; then every seed becomes seed * factor + addend.
    /// @param color   three channels, already times 255
    /// @param seeds   slack
    /// @param out     count pixels, 0x00BBGGRR; slack
    void (*noiseRow)(uint32_t* seeds, uint32_t factor, uint32_t addend, const float* color,
                     size_t count, uint32_t* out);

    // Mip chain: one row of half the width out of two rows, each channel the truncated mean of
    // four.
    /// @param width   pixels of the output, 1 or more
    /// @param space   room for width * 6 bytes
    void (*halveRows3)(const uint8_t* upper, const uint8_t* lower, size_t width, uint8_t* space,
                       uint8_t* out);
    void (*halveRows4)(const uint8_t* upper, const uint8_t* lower, size_t width, uint8_t* space,
                       uint8_t* out);
};

/// @return the table of the instruction set that loops run with (ChooseInstructionSet)
const PixelKernels* GetPixelKernels();
