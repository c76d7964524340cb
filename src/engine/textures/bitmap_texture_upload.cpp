#include "engine/textures/bitmap_texture.h"

// What needs OpenGL stands apart: a program without it can decode bitmaps.
#include <GL/glew.h>
#include <cstdlib>
#include <cstring>

#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/textures/mipmaps.h"

/// Makes the block as long as OpenGL takes it to be. It takes one or two components for four, and
/// rows that are no multiple of the unpack alignment for longer ones.
static void PadForUpload(BitmapTexture* bitmap)
{
    const size_t bytes = static_cast<size_t>(bitmap->width) * static_cast<size_t>(bitmap->height) *
                         static_cast<size_t>(bitmap->components);
    const size_t uploaded =
        UploadBytes(bitmap->width, bitmap->height, bitmap->components == 3 ? 3 : 4);
    if (uploaded == bytes)
    {
        return;
    }
    uint8_t* padded = static_cast<uint8_t*>(realloc(bitmap->pixels, uploaded));
    if (padded == nullptr)
    {
        FatalFault("no memory for an image of %dx%d pixels", bitmap->width, bitmap->height);
    }
    memset(padded + bytes, 0, uploaded - bytes);
    bitmap->pixels = padded;
}

void ReadBitmapItem(const TiXmlElement* item, void* record, uint32_t /*index*/,
                    LoadContext* context)
{
    BitmapTexture* bitmap = static_cast<BitmapTexture*>(record);
    DecodeBitmap(context->package, RequireAttribute(item, "filename"), bitmap);
    PadForUpload(bitmap);

    glGenTextures(1, &bitmap->glTexture);
    glBindTexture(GL_TEXTURE_2D, bitmap->glTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, bitmap->components, bitmap->width, bitmap->height, 0,
                 bitmap->components == 3 ? GL_RGB : GL_RGBA, GL_UNSIGNED_BYTE, bitmap->pixels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
    BuildMipmaps(bitmap->width, bitmap->height, bitmap->pixels, bitmap->components);

    free(bitmap->pixels);
    bitmap->pixels = nullptr;
}
