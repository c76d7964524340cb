// The image decoder: stb_image as the system has it, built into this room.
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
// Wider or higher than any OpenGL takes; a few bytes of a file must not ask for gigabytes.
#define STBI_MAX_DIMENSIONS 16384
#include <stb_image.h>
