// 2D effects: textures whose pixels are computed anew while the piece plays.
#pragma once

#include <cstdint>

inline constexpr uint32_t kEffectParams = 32;
/// lastUpdate of an effect that was never refreshed.
inline constexpr int32_t kEffectNeverUpdated = 0xFFFF;

struct Effect2D
{
    char name[32];
    int32_t type;                         // 0 to 3
    int32_t width;                        // pixels, equal to height
    int32_t height;                       // 64, 128, 256 or 512
    uint8_t bpp;                          // 8 or 24
    int32_t paramEnvelope[kEffectParams]; // envelope ids
    uint32_t glTexture;                   // OpenGL texture name
    uint32_t pixelBuffer;                 // OpenGL buffer name; only on the buffer path
    int32_t lastUpdate;                   // ticks of the last refresh
    void** state;                         // owned cell, filled by the effect
};
