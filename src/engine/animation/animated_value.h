// SPDX-License-Identifier: MIT

// A parameter that is a constant or driven by an envelope: one 32-bit slot, and a flag that the
// record keeps apart from it. Flag clear: the slot holds the bits of a float. Flag set: it holds
// the id of an envelope of the same document.
#pragma once

#include <bit>
#include <cstdint>

#include "engine/animation/envelope.h"
#include "engine/data/fault.h"
#include "engine/data/object_table.h"

/// The float that a constant slot holds.
inline float SlotFloat(uint32_t slot)
{
    return std::bit_cast<float>(slot);
}

/// The slot of a constant.
inline uint32_t FloatSlot(float value)
{
    return std::bit_cast<uint32_t>(value);
}

/// All that a dynamic value is resolved with: the envelopes of a document and their state.
struct Animation
{
    const ObjectTable* envelopes; // borrowed
    EnvelopeCache* caches;        // borrowed; [id - 1], one for each envelope of the table
    FaultList* faults;            // borrowed
};

/// Envelope `id` at `time` ticks. Faults: no such envelope, which gives 0.0.
float EvaluateEnvelopeId(uint32_t id, const Animation* animation, uint32_t time);

/// The value at `time` ticks. Faults: a dynamic slot that names no record, which gives 0.0.
inline float ResolveValue(uint32_t slot, bool dynamic, const Animation* animation, uint32_t time)
{
    return dynamic ? EvaluateEnvelopeId(slot, animation, time) : SlotFloat(slot);
}

/// The flag of value n in a mask whose bits run from the top of each byte.
inline bool MaskBit(const uint8_t* mask, uint32_t n)
{
    return (mask[n / 8] & (0x80u >> (n % 8))) != 0;
}

inline void SetMaskBit(uint8_t* mask, uint32_t n)
{
    mask[n / 8] = static_cast<uint8_t>(mask[n / 8] | (0x80u >> (n % 8)));
}
