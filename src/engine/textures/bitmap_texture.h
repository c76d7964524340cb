// Bitmaps: image files of the package as OpenGL textures, which also serve as render targets.
#pragma once

#include <cstdint>
#include <cstdio>

#include "engine/data/demo_document.h"

struct BitmapTexture
{
    int32_t width;      // pixels
    int32_t height;     // pixels
    int32_t components; // bytes per pixel
    uint32_t glTexture; // OpenGL texture name
    uint8_t* pixels;    // owned; null but while loading and after a target was resized
};

/// Fills a record from an image file of the package, without OpenGL: glTexture is 0.
/// Fatal: no such entry; an entry that is no image, wider or higher than 16384 pixels, narrower or
/// lower than two, or does not fit memory.
/// @param filename   an entry of the package
/// @param bitmap     receives the pixels, which are for the caller to free: components bytes each,
///                   first row first, no padding
void DecodeBitmap(FILE* package, const char* filename, BitmapTexture* bitmap);

/// Reads one item of section 6: decodes the image file that "filename" names and makes a texture
/// with a mip chain of it, in both documents alike. An image of one or two components gets level 0
/// only, with a filter that asks for more levels.
/// Fatal: what DecodeBitmap ends on.
/// @param record   a BitmapTexture
/// Sets: the texture bound to GL_TEXTURE_2D. Leaves: it bound, and an unpack alignment of 4.
void ReadBitmapItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);
