// SPDX-License-Identifier: MIT
#include "engine/textures/mip_chain.h"

#include <cstdlib>
#include <cstring>

#include "engine/textures/pixel_kernels.h"

/// Pixels that are halved in one go; the space that this takes fits the stack.
static constexpr size_t kSpan = 2048;

size_t UploadBytes(int32_t width, int32_t height, int32_t components)
{
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(components);
    return static_cast<size_t>(height) * ((rowBytes + 7) / 8 * 8);
}

/// Each of count pixels is the mean of the next two of the source.
static void MeanOfPairs(const uint8_t* source, size_t count, size_t components, uint8_t* out)
{
    for (size_t i = 0; i < count; ++i)
    {
        const uint8_t* pair = source + 2 * i * components;
        for (size_t channel = 0; channel < components; ++channel)
        {
            const int32_t sum = pair[channel] + pair[channel + components];
            out[i * components + channel] = static_cast<uint8_t>(sum >> 1);
        }
    }
}

void FillMipLevel(const uint8_t* source, MipSize level, int32_t components, uint8_t* out)
{
    const size_t width = static_cast<size_t>(level.width);
    const size_t height = static_cast<size_t>(level.height);
    const size_t pixel = static_cast<size_t>(components);
    if (level.width == 1)
    {
        MeanOfPairs(source, height, pixel, out);
        return;
    }
    if (level.height == 1)
    {
        MeanOfPairs(source, width, pixel, out);
        return;
    }

    const PixelKernels* kernels = GetPixelKernels();
    const auto halveRows = components == 3 ? kernels->halveRows3 : kernels->halveRows4;
    const size_t sourceRow = 2 * width * pixel; // however long the source's rows are
    uint8_t space[6 * kSpan];
    for (size_t y = 0; y < height; ++y)
    {
        const uint8_t* upper = source + 2 * y * sourceRow;
        for (size_t x = 0; x < width; x += kSpan)
        {
            const size_t span = width - x < kSpan ? width - x : kSpan;
            const uint8_t* source2x2 = upper + 2 * x * pixel;
            halveRows(source2x2, source2x2 + sourceRow, span, space, out + (y * width + x) * pixel);
        }
    }
}

size_t MipChainBytes(MipSize size, int32_t components)
{
    size_t bytes = 0;
    MipSize level = FirstMipSize(size.width, size.height);
    for (; level.width > 1 || level.height > 1; level = NextMipSize(level))
    {
        bytes += UploadBytes(level.width, level.height, components);
    }
    return bytes + UploadBytes(1, 1, components);
}

uint8_t* MakeMipChain(MipSize size, int32_t components, const uint8_t* pixels)
{
    const size_t chainBytes = MipChainBytes(size, components);
    uint8_t* chain = static_cast<uint8_t*>(malloc(chainBytes));
    if (chain == nullptr)
    {
        return nullptr;
    }
    MipSize level = FirstMipSize(size.width, size.height);
    const uint8_t* source = pixels;
    for (uint8_t* out = chain; out < chain + chainBytes; level = NextMipSize(level))
    {
        const size_t bytes = UploadBytes(level.width, level.height, components);
        const size_t pixelBytes = LevelBytes(level, components);
        FillMipLevel(source, level, components, out);
        memset(out + pixelBytes, 0, bytes - pixelBytes);
        source = out;
        out += bytes;
    }
    return chain;
}
