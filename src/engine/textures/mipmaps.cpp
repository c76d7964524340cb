#include "engine/textures/mipmaps.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "engine/data/fault.h"
#include "engine/textures/pixel_block.h"
#include "engine/textures/pixel_kernels.h"

size_t UploadBytes(int32_t width, int32_t height, int32_t components)
{
    const size_t rowBytes = static_cast<size_t>(width) * static_cast<size_t>(components);
    return static_cast<size_t>(height) * ((rowBytes + 7) / 8 * 8);
}

static size_t LevelBytes(MipSize level, int32_t components)
{
    return static_cast<size_t>(level.width) * static_cast<size_t>(level.height) *
           static_cast<size_t>(components);
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
    const size_t sourceRow = 2 * width * pixel; // whatever the source's rows really measure
    uint8_t* space = AllocateBlock<uint8_t>(6 * width, "a mip level");
    for (size_t y = 0; y < height; ++y)
    {
        const uint8_t* upper = source + 2 * y * sourceRow;
        halveRows(upper, upper + sourceRow, width, space, out + y * width * pixel);
    }
    free(space);
}

/// Uploads one level. A level below four pixels gets its shorter side as the unpack alignment, 3
/// included, which OpenGL refuses.
static void UploadLevel(int32_t number, MipSize level, int32_t components, const uint8_t* pixels)
{
    if (level.width < 4 || level.height < 4)
    {
        glPixelStorei(GL_UNPACK_ALIGNMENT, level.width < level.height ? level.width : level.height);
    }
    glTexImage2D(GL_TEXTURE_2D, number, components, level.width, level.height, 0,
                 components == 3 ? GL_RGB : GL_RGBA, GL_UNSIGNED_BYTE, pixels);
}

void BuildMipmaps(int32_t width, int32_t height, const uint8_t* pixels, int32_t components)
{
    if (components == 3 || components == 4)
    {
        if (width < 2 || height < 2)
        {
            FatalFault("an image of %dx%d pixels is too small for a mip chain", width, height);
        }

        // Two blocks take turns: the level that is made and the one that it is made from.
        MipSize level = FirstMipSize(width, height);
        uint8_t* block = AllocateBlock<uint8_t>(UploadBytes(level.width, level.height, components),
                                                "a mip level");
        const MipSize second = NextMipSize(level);
        uint8_t* other = AllocateBlock<uint8_t>(
            UploadBytes(second.width, second.height, components), "a mip level");

        const uint8_t* source = pixels;
        for (int32_t number = 1;; ++number)
        {
            FillMipLevel(source, level, components, block);
            const size_t bytes = LevelBytes(level, components);
            memset(block + bytes, 0, UploadBytes(level.width, level.height, components) - bytes);
            UploadLevel(number, level, components, block);
            if (level.width == 1 && level.height == 1)
            {
                break;
            }
            level = NextMipSize(level);
            source = block;
            std::swap(block, other);
        }
        free(other);
        free(block);
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}
