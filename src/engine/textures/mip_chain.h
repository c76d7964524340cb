// SPDX-License-Identifier: MIT

// The mip chain of an image, made on the processor. Level after level both sides are halved, down
// to 1x1, each level from the one before it.
#pragma once

#include <cstddef>
#include <cstdint>

struct MipSize
{
    int32_t width;  // pixels
    int32_t height; // pixels
};

/// @return the size of level 1 of an image: both sides halved, down to the integer below
inline MipSize FirstMipSize(int32_t width, int32_t height)
{
    return {width / 2, height / 2};
}

/// @return the size of the level after one: each side halved unless it is 1
inline MipSize NextMipSize(MipSize level)
{
    return {level.width > 1 ? level.width / 2 : level.width,
            level.height >= 2 ? level.height / 2 : level.height};
}

/// @return bytes of a level's pixels, without padding
inline size_t LevelBytes(MipSize level, int32_t components)
{
    return static_cast<size_t>(level.width) * static_cast<size_t>(level.height) *
           static_cast<size_t>(components);
}

/// Bytes that OpenGL may read of an image at any unpack alignment: its rows may be taken to be up
/// to seven bytes longer than they are.
size_t UploadBytes(int32_t width, int32_t height, int32_t components);

/// Makes one level from the one before it, integer means that drop their fraction:
///   width 1             pixel i is the mean of the source's pixels 2i and 2i + 1, as they lie in
///                       memory; right for a source one pixel wide. Of a source two pixels wide it
///                       is the mean of each row, and only of the upper half of the rows.
///   else height 1       the same; only the source's first row is looked at
///   else                the mean of 2x2 pixels, a source row being taken as 2 * width pixels. A
///                       source of odd width has longer rows, and the level comes out slanted.
/// @param level        size of the level to make, both sides at least 1
/// @param source       twice the level's pixels at least where a side is 1, else four times
/// @param components   3 or 4 bytes a pixel
/// @param out          width * height * components bytes
void FillMipLevel(const uint8_t* source, MipSize level, int32_t components, uint8_t* out);

/// Makes all levels of an image but the first. Each takes UploadBytes of its size, zeros after its
/// pixels, and the next one follows.
/// @param size         of the image, both sides at least 2
/// @param components   3 or 4 bytes a pixel
/// @return a new heap block for free; null without memory
uint8_t* MakeMipChain(MipSize size, int32_t components, const uint8_t* pixels);

/// @return the bytes of all levels but the first, as MakeMipChain lays them out
size_t MipChainBytes(MipSize size, int32_t components);
