// SPDX-License-Identifier: MIT
#include "engine/stage/moments.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <utility>

#include "engine/data/allocate.h"

/// The distance at first, in steps. A frame that is not drawn takes some microseconds, and to keep
/// 100 kB in memory that is new to the program as long as fifty of them: so the larger a state is,
/// the fewer are kept. More than 256 frames simulated again would be felt by a hand that scrubs.
static constexpr uint32_t kShortestDistance = 32;
static constexpr uint32_t kLongestDistance = 256;
static constexpr size_t kBytesOfAStep = 512;

static uint32_t FirstDistance(size_t bytes)
{
    uint32_t distance = kShortestDistance;
    while (distance < kLongestDistance && distance * kBytesOfAStep < bytes)
    {
        distance *= 2;
    }
    return distance;
}

bool KeepMoment(uint32_t step, const PieceState* state, const GlContext* gl, Moment* moment,
                FaultList* faults)
{
    moment->step = step;
    return CopyPieceState(state, &moment->state, faults) &&
           KeepShadowState(gl, &moment->shadow, faults);
}

bool LoadMoment(const Moment* moment, PieceState* state, GlContext* gl, FaultList* faults)
{
    SetShadowState(gl, &moment->shadow);
    return CopyPieceState(&moment->state, state, faults);
}

void FreeMoment(Moment* moment)
{
    FreePieceState(&moment->state);
    FreeShadowState(&moment->shadow);
    *moment = {};
}

bool StartMoments(const PieceState* state, const GlContext* gl, Moments* moments, FaultList* faults)
{
    const size_t bytes = PieceStateBytes(state) + ShadowStateBytes(&gl->shadow->state);
    const size_t room = std::min(kMomentsBytes / bytes, size_t{kMostMoments});
    moments->firstDistance = FirstDistance(bytes);
    moments->capacity = std::max(static_cast<uint32_t>(room), kFewestMoments);
    moments->kept = AllocateZeroed<Moment>(moments->capacity, "moments of a run", faults);
    if (moments->kept == nullptr || !KeepMoment(0, state, gl, &moments->kept[0], faults))
    {
        return false;
    }
    ClearMoments(moments);
    return true;
}

void ClearMoments(Moments* moments)
{
    moments->count = 1;
    moments->distance = moments->firstDistance;
}

void FreeMoments(Moments* moments)
{
    for (uint32_t i = 0; moments->kept != nullptr && i < moments->capacity; ++i)
    {
        FreeMoment(&moments->kept[i]);
    }
    free(moments->kept);
    *moments = {};
}

/// Drops every other moment. Those that stay come first; the others keep their memory after them.
static void ThinOut(Moments* moments)
{
    const uint32_t stay = (moments->count + 1) / 2;
    for (uint32_t i = 1; i < stay; ++i)
    {
        std::swap(moments->kept[i], moments->kept[2 * i]);
    }
    moments->count = stay;
    moments->distance *= 2;
}

bool OfferMoment(uint32_t step, const PieceState* state, const GlContext* gl, Moments* moments,
                 FaultList* faults)
{
    assert(moments->count > 0);
    if (step != moments->kept[moments->count - 1].step + moments->distance)
    {
        return true;
    }
    if (moments->count == moments->capacity)
    {
        ThinOut(moments);
        if (step != moments->kept[moments->count - 1].step + moments->distance)
        {
            return true;
        }
    }
    if (!KeepMoment(step, state, gl, &moments->kept[moments->count], faults))
    {
        return false;
    }
    moments->count += 1;
    return true;
}

const Moment* FindMoment(const Moments* moments, uint32_t step)
{
    assert(moments->count > 0);
    const Moment* after = std::upper_bound(moments->kept, moments->kept + moments->count, step,
                                           [](uint32_t a, const Moment& b) { return a < b.step; });
    return after - 1;
}
