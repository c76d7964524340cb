// SPDX-License-Identifier: MIT

// The textures of 2D effects.
#pragma once

#include <cstdint>

#include "engine/render/frame_sources.h"

/// An effect and what belongs to it. Pointers are borrowed.
struct EffectTexture
{
    const Effect2D* effect;
    EffectState* state;
    EffectUpload* upload;
    RandomSequence* random;
    FaultList* faults;
};

/// Makes the texture and its first image.
/// @param params      [kEffectParams]
/// @param useBuffer   through a new pixel unpack buffer
/// Leaves: the texture bound on the selected unit, no unpack buffer bound.
/// @return false after a fault if there is no memory
bool CreateEffectTexture(const EffectTexture* texture, const float* params, bool useBuffer);

/// Computes an effect's image for `time` ticks and puts it into its texture, with GlFeatures.pbo
/// through its pixel buffer. Does nothing if the table lacks the id or the effect is of no known
/// type. A frame that is not drawn takes the effect's step alone. The caller keeps lastUpdate.
/// Leaves: the texture bound on the selected unit.
/// @return false after a fault: an envelope, other than 0, that its table lacks; no memory
bool UpdateEffect2D(uint32_t id, const FrameSources* sources, uint32_t time);

/// Puts the last image of an effect into its texture, if the frame that made it was not drawn.
/// Changes nothing else.
/// @return false after a fault: no memory
bool RefreshStaleEffect(uint32_t id, const FrameSources* sources);
