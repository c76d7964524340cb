// SPDX-License-Identifier: MIT
#include "stb_decoder.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_NO_STDIO
#include <stb_image.h>

uint8_t* StbDecode(const uint8_t* file, int32_t size)
{
    int width = 0;
    int height = 0;
    int components = 0;
    return stbi_load_from_memory(file, size, &width, &height, &components, 0);
}
