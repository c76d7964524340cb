// The image decoder: stb_image as the system has it, built into this room.
#define STB_IMAGE_IMPLEMENTATION
#define STBI_NO_STDIO
#include <stb_image.h>
