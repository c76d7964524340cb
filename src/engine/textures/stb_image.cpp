// SPDX-License-Identifier: MIT

// The image decoder: stb_image as the system has it, built into this room.
#include "engine/textures/decode_image.h"
#include "engine/textures/decoder_memory.h"

#define STBI_MALLOC(size) AllocateForDecoder(size)
#define STBI_REALLOC(block, size) GrowForDecoder(block, size)
#define STBI_FREE(block) FreeForDecoder(block)
// A damaged file can break what the decoder takes for granted.
#define STBI_ASSERT(truth) \
    do                     \
    {                      \
        if (!(truth))      \
        {                  \
            FailDecoder(); \
        }                  \
    } while (false)
#define STBI_MAX_DIMENSIONS kLargestImageSide
#define STBI_NO_STDIO
#define STBI_FAILURE_USERMSG
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>

bool IsRadianceFile(const uint8_t* file, int32_t size)
{
    return stbi_is_hdr_from_memory(file, size) != 0;
}

bool ReadImageHead(const uint8_t* file, int32_t size, int* width, int* height, int* components)
{
    return stbi_info_from_memory(file, size, width, height, components) != 0;
}

uint8_t* DecodePixels(const uint8_t* file, int32_t size, int* width, int* height, int* components,
                      int wanted)
{
    return stbi_load_from_memory(file, size, width, height, components, wanted);
}

const char* DecoderReason()
{
    return stbi_failure_reason();
}
