// SPDX-License-Identifier: MIT

// 2D effects: textures whose pixels are computed anew while the piece plays.
//
// Images are row-major and without padding: one byte of luminance a pixel at 8 bits, R, G, B at 24.
// All effects but "Amoba" are functions of their parameters alone; what it shows depends on the
// steps that it has taken, and on what else has drawn random numbers meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

struct Animation;
struct FaultList;
struct RandomSequence;

/// lastUpdate of an effect that was never refreshed. A first use at this very time, 65535 ticks,
/// therefore refreshes nothing.
inline constexpr int32_t kEffectNeverUpdated = 0xFFFF;

/// Constant after reading.
struct Effect2D
{
    char name[32];
    int32_t type;                          // EffectType; any other keeps a black image
    int32_t width;                         // pixels, equal to height
    int32_t height;                        // 64, 128, 256 or 512
    uint8_t bpp;                           // 8 or 24
    uint32_t paramEnvelope[kEffectParams]; // envelope ids
};

/// The parameters that images are made of.
inline constexpr uint32_t kEffectImageParams = 3;

/// All of an effect that changes while a piece plays.
struct EffectState
{
    void* state;        // owned, stateSize bytes of plain data; null for types without memory
    size_t stateSize;   // bytes
    int32_t lastUpdate; // ticks of the last refresh; kEffectNeverUpdated at first
    float imageParams[kEffectImageParams]; // of the last image
};

/// The head of EffectState::state for "Amoba". The living image comes right after it.
struct AmobaState
{
    float lastStep; // the whole part of "Update" at the last step
};

/// @return the living image of "Amoba", EffectImageBytes of it
inline uint8_t* AmobaCells(AmobaState* amoba)
{
    return reinterpret_cast<uint8_t*>(amoba + 1);
}

inline bool IsEffectType(int32_t type)
{
    return type >= kEffectTest && type <= kEffectRotate;
}

/// @return the bytes of an effect's image
inline size_t EffectImageBytes(const Effect2D* effect)
{
    return static_cast<size_t>(effect->width) * static_cast<size_t>(effect->height) * effect->bpp /
           8;
}

/// Section 5: <e name="" type="1" resolution="256x256" bpp="24"><p>envelope id</p>...</e>, of any
/// name; "p" counts, and the first child with another name ends the parameters.
/// @return false after a fault: no child at all, a "p" without text, more than 32 of them, a
///         missing attribute other than "resolution"
bool ReadEffect2DItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

/// Makes the state of an effect: 8 bytes for "Test 2d effect", an AmobaState and its image for
/// "Amoba", nothing for the others. "Amoba" begins the random numbers anew with seed 5 and draws
/// its first cells from them.
/// @param state   receives the state, for ReleaseEffect2DState; empty after a fault
/// @return false after a fault if there is no memory
bool InitEffect2D(const Effect2D* effect, EffectState* state, RandomSequence* random,
                  FaultList* faults);

/// Makes `to` like `from`, in memory of its own.
/// @param to   empty, or the state of an effect of the same type and size, whose memory is used
///             again
/// @return false after a fault if there is no memory; `to` may be released all the same
bool CopyEffectState(const EffectState* from, EffectState* to, FaultList* faults);

/// Frees what a state owns and clears it.
void ReleaseEffect2DState(EffectState* state);

/// Takes the step to an image without computing it: keeps its parameters, and "Amoba" may grow.
/// Taken a second time with the same parameters it changes nothing.
/// @param params   [kEffectImageParams]
void StepEffect2D(const Effect2D* effect, const float* params, EffectState* state,
                  RandomSequence* random);

/// Takes the step to an image and computes it. Does nothing for a type outside EffectType.
/// @param params   [kEffectImageParams]; the third counts for "Test 2d effect" at 8 bits, and
///                 nothing ever sets it
/// @param state    made by InitEffect2D; "Amoba" may take a step
/// @param out      [EffectImageBytes], only written to
void RenderEffect2D(const Effect2D* effect, const float* params, EffectState* state,
                    RandomSequence* random, uint8_t* out);

/// The parameters that the image at load time is made of: those at time 0, as many as the catalogue
/// tells; the first that names no envelope ends them. Expects the place of the effect's item, and
/// leaves its part 0.
/// @param params   [kEffectParams], receives them, and 0 for the others
/// @return false after a fault: an envelope that does not exist
bool EvaluateFirstParams(const Effect2D* effect, const Animation* animation, float* params);

/// The parameters that a refresh is made of; one that names no envelope stays 0. A fault of one is
/// said of the effect and not of the object that wears it.
/// @param id       the effect's own
/// @param effect   of a known type
/// @param params   [kEffectParams], receives them, and 0 for the others
/// @return false after a fault: an envelope, other than 0, that does not exist
bool EvaluateEffectParams(uint32_t id, const Effect2D* effect, const Animation* animation,
                          uint32_t time, float* params);
