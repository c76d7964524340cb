// SPDX-License-Identifier: MIT
#include "tools/png_file.h"

#include <cassert>
#include <cstdlib>
#include <zlib.h>

#include "tools/report.h"

/// The writer's own compressor counts the room that it needs in ints, which overflow for pictures
/// of some hundred megabytes. zlib's does not, and its files are smaller.
/// @return a new block for free; null if there is no memory
static unsigned char* CompressRows(unsigned char* rows, int length, int* compressedLength,
                                   int level)
{
    uLongf size = compressBound(static_cast<uLong>(length));
    unsigned char* compressed = static_cast<unsigned char*>(malloc(size));
    if (compressed == nullptr ||
        compress2(compressed, &size, rows, static_cast<uLong>(length), level) != Z_OK)
    {
        free(compressed);
        return nullptr;
    }
    *compressedLength = static_cast<int>(size);
    return compressed;
}

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#define STBIW_ZLIB_COMPRESS CompressRows
#include <stb_image_write.h>

static void AppendBlock(void* bytes, void* block, int size)
{
    const unsigned char* first = static_cast<const unsigned char*>(block);
    Bytes* file = static_cast<Bytes*>(bytes);
    file->insert(file->end(), first, first + size);
}

bool EncodePng(const Picture& picture, Bytes* file)
{
    // Each row begins with a byte that names its filter.
    assert((int64_t{picture.width} * picture.channels + 1) * picture.height < INT32_MAX);

    file->clear();
    return stbi_write_png_to_func(AppendBlock, file, picture.width, picture.height,
                                  picture.channels, picture.pixels, 0) != 0;
}

bool WritePng(const std::string& path, const Picture& picture)
{
    Bytes file;
    if (!EncodePng(picture, &file))
    {
        ReportError("%s: no memory for a picture of %dx%d pixels", Printable(path).c_str(),
                    picture.width, picture.height);
        return false;
    }
    return ReplaceFile(path, file.data(), file.size());
}

bool EncodeJpeg(const Picture& picture, Bytes* file)
{
    static constexpr int kQuality = 82;
    return stbi_write_jpg_to_func(AppendBlock, file, picture.width, picture.height,
                                  picture.channels, picture.pixels, kQuality) != 0;
}
