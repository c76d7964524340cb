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
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
