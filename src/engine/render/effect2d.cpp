#include "engine/render/effect2d.h"

void UpdateEffect2D(uint32_t id, ObjectTable* effects, ObjectTable* /*envelopes*/,
                    uint32_t /*time*/, int32_t /*useBuffer*/)
{
    const Effect2D* effect = GetRecord<Effect2D>(id, effects);
    if (effect == nullptr)
    {
        return;
    }
}
