// SPDX-License-Identifier: MIT
#include "mip_peers.h"

#include <GL/glu.h>
#include <cstddef>

#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#include <stb_image_resize.h>

/// GLU asks for the alignment of rows, and here there is no OpenGL to tell it.
extern "C" void GLAPIENTRY glGetIntegerv(GLenum name, GLint* value)
{
    *value = name == GL_PACK_ALIGNMENT || name == GL_UNPACK_ALIGNMENT ? 1 : 0;
}

/// Halves an image down to 1x1.
/// @param halve   makes a level of half the given size
template <typename Halve>
static void MakeChain(int32_t size, int32_t components, const uint8_t* pixels, uint8_t* out,
                      Halve halve)
{
    for (; size > 1; size /= 2)
    {
        halve(pixels, size, out);
        pixels = out;
        const size_t half = static_cast<size_t>(size / 2);
        out += half * half * static_cast<size_t>(components);
    }
}

void StbChain(int32_t size, int32_t components, const uint8_t* pixels, uint8_t* out)
{
    MakeChain(size, components, pixels, out,
              [components](const uint8_t* source, int32_t side, uint8_t* level)
              {
                  stbir_resize_uint8_generic(source, side, side, 0, level, side / 2, side / 2, 0,
                                             components, STBIR_ALPHA_CHANNEL_NONE, 0,
                                             STBIR_EDGE_CLAMP, STBIR_FILTER_BOX,
                                             STBIR_COLORSPACE_LINEAR, nullptr);
              });
}

void GluChain(int32_t size, int32_t components, const uint8_t* pixels, uint8_t* out)
{
    const GLenum format = components == 3 ? GL_RGB : GL_RGBA;
    MakeChain(size, components, pixels, out,
              [format](const uint8_t* source, int32_t side, uint8_t* level)
              {
                  gluScaleImage(format, side, side, GL_UNSIGNED_BYTE, source, side / 2, side / 2,
                                GL_UNSIGNED_BYTE, level);
              });
}
