// 2D effects: textures whose pixels are computed anew while the piece plays.
#pragma once

#include <cstdint>

#include "engine/data/object_table.h"

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

/// Computes an effect's image for `time` ticks and puts it into its texture, through its pixel buffer
/// if useBuffer is not 0. Does nothing if the table lacks the id. The caller keeps lastUpdate.
/// Leaves: the texture bound on the selected unit.
void UpdateEffect2D(uint32_t id, ObjectTable* effects, ObjectTable* envelopes, uint32_t time,
                    int32_t useBuffer);
