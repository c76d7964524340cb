#include "engine/textures/bitmap_texture.h"

#include <cstdlib>
#include <stb_image.h>

#include "engine/data/fault.h"
#include "engine/data/package_file.h"

void DecodeBitmap(FILE* package, const char* filename, BitmapTexture* bitmap)
{
    *bitmap = {};
    int32_t size = 0;
    unsigned char* file = ReadPackageEntry(package, filename, &size);
    if (file == nullptr)
    {
        FatalFault("the package has no image file \"%s\"", filename);
    }
    bitmap->pixels =
        stbi_load_from_memory(file, size, &bitmap->width, &bitmap->height, &bitmap->components, 0);
    free(file);
    if (bitmap->pixels == nullptr)
    {
        FatalFault("the image file \"%s\" can't be read: %s", filename, stbi_failure_reason());
    }
}
