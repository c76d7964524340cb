// SPDX-License-Identifier: MIT

// Timelines laid out by hand.
#pragma once

#include <cstdint>

#include "engine/animation/animated_value.h"
#include "engine/render/records/timeline.h"

/// Adds a clip after the last of its row: a simple pass in a perspective of 90 degrees from the
/// origin, without fog. What else it should be is for the caller to write.
/// @return its index in the row
inline uint32_t AddClip(Timeline* timeline, uint32_t row, uint32_t spaceBefore, uint32_t length,
                        uint32_t sceneId)
{
    const uint32_t clip = timeline->clipCount[row];
    uint32_t start = 0; // the row's length so far, whatever became of its ends in the index
    for (uint32_t i = 0; i < clip; ++i)
    {
        start += timeline->spaceBefore[row][i] + timeline->length[row][i];
    }

    timeline->sceneId[row][clip] = sceneId;
    timeline->spaceBefore[row][clip] = spaceBefore;
    timeline->length[row][clip] = length;
    timeline->fov[row][clip] = FloatSlot(90.0f);
    AddClipToIndex(start, start + length + spaceBefore, clip, row, timeline);
    timeline->clipCount[row] = clip + 1;
    return clip;
}

inline void SetConstant(ClipValues* values, uint32_t row, uint32_t clip, float value)
{
    values->slot[row][clip] = FloatSlot(value);
    values->dynamic[row][clip] = 0;
}

inline void SetEnvelope(ClipValues* values, uint32_t row, uint32_t clip, uint32_t id)
{
    values->slot[row][clip] = id;
    values->dynamic[row][clip] = 1;
}
