// 2D effects: textures whose pixels are computed anew while the piece plays.
//
// Images are row-major and without padding: one byte of luminance a pixel at 8 bits, R, G, B at 24.
// All effects but "Amoba" are functions of their parameters alone; what it shows depends on the
// steps that it has taken, and on what else has drawn random numbers meanwhile.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/object_table.h"
#include "engine/data/vocabulary_numbers.h"

/// lastUpdate of an effect that was never refreshed. A first use at this very time, 65535 ticks,
/// therefore refreshes nothing.
inline constexpr int32_t kEffectNeverUpdated = 0xFFFF;

struct Effect2D
{
    char name[kEffectNameSize];
    int32_t type;                         // EffectType; any other keeps a black image
    int32_t width;                        // pixels, equal to height
    int32_t height;                       // 64, 128, 256 or 512
    uint8_t bpp;                          // 8 or 24
    int32_t paramEnvelope[kEffectParams]; // envelope ids
    uint32_t glTexture;                   // OpenGL texture name
    uint32_t pixelBuffer;                 // OpenGL buffer name; only on the buffer path
    int32_t lastUpdate;                   // ticks of the last refresh
    void** state;                         // owned cell, filled by the effect
};

/// State of "Amoba".
struct AmobaState
{
    uint8_t* cells; // the living image, owned
    float lastStep; // the whole part of "Update" at the last step
};

/// Makes the state of an effect: 8 bytes for "Test 2d effect", an AmobaState for "Amoba", nothing
/// for the others. "Amoba" begins the library's random numbers anew with srand(5).
/// @param holder   cell that receives the state, for ReleaseEffect2DState; not written if there is
///                 none
void InitEffect2D(int32_t type, int32_t width, int32_t height, uint8_t bpp, void** holder);

/// Frees what InitEffect2D made, not the cell itself. The player never calls it: its effects live
/// to the end of the run.
void ReleaseEffect2DState(int32_t type, int32_t width, int32_t height, uint8_t bpp, void** holder);

/// Computes one image. Does nothing for a type outside EffectType.
/// @param width    64, 128, 256 or 512, and height the same
/// @param params   [3]; the third counts for "Test 2d effect" at 8 bits, and nothing ever sets it
/// @param holder   the cell that InitEffect2D filled
/// @param out      [width * height * bpp / 8], only written to
void RenderEffect2D(int32_t type, int32_t width, int32_t height, uint8_t bpp, const float* params,
                    void** holder, uint8_t* out);

/// Section 5: <e name="" type="1" resolution="256x256" bpp="24"><p>envelope id</p>...</e>, of any
/// name; "p" counts, and the first child with another name ends the parameters. The image at time 0
/// is computed and uploaded, in the demo with GlFeatures.pbo through an unpack buffer.
/// Leaves: the texture bound on the selected unit, no unpack buffer bound.
/// Fatal: no child at all, a "p" without text, more than 32 of them, a missing attribute other than
/// "resolution", an envelope that does not exist.
void ReadEffect2DItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);

/// Computes an effect's image for `time` ticks and puts it into its texture, through its pixel
/// buffer if useBuffer is not 0. Does nothing if the table lacks the id or the effect is of no
/// known type. The caller keeps lastUpdate. Leaves: the texture bound on the selected unit. Fatal:
/// an envelope, other than 0, that its table lacks.
void UpdateEffect2D(uint32_t id, ObjectTable* effects, ObjectTable* envelopes, uint32_t time,
                    int32_t useBuffer);
