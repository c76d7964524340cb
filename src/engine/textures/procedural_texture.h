// Procedural textures: stacks of steps over a 256x256 work image, made at load time.
#pragma once

#include <cstdint>

inline constexpr uint32_t kTextureSteps = 32;
inline constexpr uint32_t kStepParams = 9;

struct ProceduralTexture;

/// What BuildProceduralTexture works on.
struct TextureJob
{
    ProceduralTexture* texture; // borrowed
    uint8_t* pixels;            // the work image, size * size * 3 bytes; null once released
};

struct ProceduralTexture
{
    uint8_t stepCount;                            // 0 to 32
    int32_t stepType[kTextureSteps];              // 101 to 104, 201 to 207
    int32_t stepLayer[kTextureSteps];             // place in the document's layers, from 0
    float stepParams[kTextureSteps][kStepParams]; // 1.0 where the document gives none
    uint32_t glTexture;                           // OpenGL texture name
    TextureJob job;
};
