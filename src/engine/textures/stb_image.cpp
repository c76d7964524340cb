// The image decoder: stb_image as the system has it, built into this room.
#include <cstdlib>

#include "engine/data/fault.h"

// A JPEG file may name tables that it does not bring; of those the decoder then reads whatever its
// memory held. Memory that is zero makes grey of them, the same every time.
#define STBI_MALLOC(size) calloc(1, size)
#define STBI_REALLOC(block, size) realloc(block, size)
#define STBI_FREE(block) free(block)
// What the decoder takes for granted, a damaged file can break.
#define STBI_ASSERT(truth)                           \
    do                                               \
    {                                                \
        if (!(truth))                                \
        {                                            \
            FatalFault("the image file is damaged"); \
        }                                            \
    } while (false)
// Wider or higher than any OpenGL takes; a few bytes of a file must not ask for gigabytes.
#define STBI_MAX_DIMENSIONS 16384
#define STBI_NO_STDIO
#define STBI_FAILURE_USERMSG
#define STB_IMAGE_IMPLEMENTATION
#include <stb_image.h>
