// SPDX-License-Identifier: MIT
#include "engine/animation/animated_value.h"

float EvaluateEnvelopeId(uint32_t id, const Animation* animation, uint32_t time)
{
    const Envelope* envelope = GetRecord<Envelope>(id, animation->envelopes);
    if (envelope == nullptr)
    {
        AddFault(animation->faults, "envelope %d does not exist", static_cast<int32_t>(id));
        return 0.0f;
    }
    return EvaluateEnvelope(envelope, &animation->caches[id - 1], time);
}
