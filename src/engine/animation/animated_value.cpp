#include "engine/animation/animated_value.h"

#include "engine/animation/envelope.h"
#include "engine/data/fault.h"

float EvaluateEnvelopeId(uint32_t id, const ObjectTable* envelopes, uint32_t time)
{
    Envelope* envelope = GetRecord<Envelope>(id, envelopes);
    if (envelope == nullptr)
    {
        FatalFault("envelope %d does not exist", static_cast<int32_t>(id));
    }
    return EvaluateEnvelope(envelope, time);
}
