#include "engine/textures/bitmap_texture.h"

#include <cstdlib>
#include <cstring>
#include <stb_image.h>

#include "engine/data/fault.h"
#include "engine/data/package_file.h"

/// Appends bytes to a Radiance file at which its decoder stops. Behind the end of a file it reads
/// zeros, and a run of no length for ever: a file that is cut short must end in something else. A
/// length of 255 runs past the end of any row at last.
/// @return the file with the bytes behind it; *size counts them
static unsigned char* EndRadianceFile(unsigned char* file, int32_t* size)
{
    // Four channels of the widest row, 127 pixels for every two bytes.
    static constexpr int32_t kEnd = 4 * 2 * (16384 / 127 + 2);
    if (*size > INT32_MAX - kEnd)
    {
        return file;
    }
    void* ended = realloc(file, static_cast<size_t>(*size) + kEnd);
    if (ended == nullptr)
    {
        FatalFault("no memory for an image file of %d bytes", *size);
    }
    file = static_cast<unsigned char*>(ended);
    memset(file + *size, 255, kEnd);
    *size += kEnd;
    return file;
}

void DecodeBitmap(FILE* package, const char* filename, BitmapTexture* bitmap)
{
    *bitmap = {};
    int32_t size = 0;
    unsigned char* file = ReadPackageEntry(package, filename, &size);
    if (file == nullptr)
    {
        FatalFault("the package has no image file \"%s\"", filename);
    }
    if (stbi_is_hdr_from_memory(file, size) != 0)
    {
        file = EndRadianceFile(file, &size);
    }
    bitmap->pixels =
        stbi_load_from_memory(file, size, &bitmap->width, &bitmap->height, &bitmap->components, 0);
    free(file);
    if (bitmap->pixels == nullptr)
    {
        FatalFault("the image file \"%s\" can't be read: %s", filename, stbi_failure_reason());
    }
    if (bitmap->width < 2 || bitmap->height < 2)
    {
        FatalFault("the image file \"%s\" has %dx%d pixels, and a bitmap at least 2x2", filename,
                   bitmap->width, bitmap->height);
    }
}
