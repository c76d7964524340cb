// SPDX-License-Identifier: MIT

// Envelopes with their state, for tests of what values drive.
#pragma once

#include "engine/animation/animated_value.h"
#include "engine/animation/envelope.h"
#include "engine/data/fault.h"
#include "engine/data/object_table.h"

/// A table of envelopes that starts empty, at no place and without faults.
struct MovingValues
{
    static constexpr uint32_t kCapacity = 64;

    MovingValues()
    {
        StartFaults(&faults);
        animation = {envelopes, caches, &faults};
    }
    ~MovingValues()
    {
        FreeObjectTable(envelopes);
        FreeFaults(&faults);
    }
    MovingValues(const MovingValues&) = delete;
    MovingValues& operator=(const MovingValues&) = delete;

    /// @return the new envelope's id; the first is 1
    uint32_t Add(const Envelope& envelope)
    {
        const uint32_t id = AllocateObject(envelopes);
        *GetRecord<Envelope>(id, envelopes) = envelope;
        caches[id - 1] = kEmptyEnvelopeCache;
        return id;
    }

    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    EnvelopeCache caches[kCapacity];
    FaultList faults;
    Animation animation;
};
