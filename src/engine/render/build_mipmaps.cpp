// SPDX-License-Identifier: MIT
#include "engine/render/build_mipmaps.h"

#include <GL/glew.h>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "engine/data/allocate.h"
#include "engine/textures/mip_chain.h"

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

/// Makes and uploads all levels. Two blocks take turns: the level that is made and the one that it
/// is made from.
/// @param block    UploadBytes of the first level
/// @param other    UploadBytes of the second level
static void UploadChain(MipSize level, const uint8_t* pixels, int32_t components, uint8_t* block,
                        uint8_t* other)
{
    const uint8_t* source = pixels;
    for (int32_t number = 1;; ++number)
    {
        FillMipLevel(source, level, components, block);
        const size_t bytes = LevelBytes(level, components);
        memset(block + bytes, 0, UploadBytes(level.width, level.height, components) - bytes);
        UploadLevel(number, level, components, block);
        if (level.width == 1 && level.height == 1)
        {
            return;
        }
        level = NextMipSize(level);
        source = block;
        std::swap(block, other);
    }
}

/// Uploads all levels of a chain that is made.
static void UploadMadeChain(MipSize level, const uint8_t* levels, int32_t components)
{
    for (int32_t number = 1;; ++number)
    {
        UploadLevel(number, level, components, levels);
        if (level.width == 1 && level.height == 1)
        {
            return;
        }
        levels += UploadBytes(level.width, level.height, components);
        level = NextMipSize(level);
    }
}

/// Makes and uploads all levels.
/// @return false after a fault if there is no memory
static bool MakeLevels(MipSize first, const uint8_t* pixels, int32_t components, FaultList* faults)
{
    const MipSize second = NextMipSize(first);
    uint8_t* block = AllocateBlock<uint8_t>(UploadBytes(first.width, first.height, components),
                                            "a mip level", faults);
    uint8_t* other =
        block == nullptr
            ? nullptr
            : AllocateBlock<uint8_t>(UploadBytes(second.width, second.height, components),
                                     "a mip level", faults);
    if (other != nullptr)
    {
        UploadChain(first, pixels, components, block, other);
    }
    free(other);
    free(block);
    return !HasFailed(faults);
}

bool BuildMipmaps(int32_t width, int32_t height, const uint8_t* pixels, int32_t components,
                  const uint8_t* levels, FaultList* faults)
{
    if (components == 3 || components == 4)
    {
        if (width < 2 || height < 2)
        {
            AddFault(faults, "an image of %dx%d pixels is too small for a mip chain", width,
                     height);
            return false;
        }

        const MipSize first = FirstMipSize(width, height);
        if (levels != nullptr)
        {
            UploadMadeChain(first, levels, components);
        }
        else if (!MakeLevels(first, pixels, components, faults))
        {
            return false;
        }
    }
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    return true;
}
