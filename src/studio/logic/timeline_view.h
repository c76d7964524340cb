// SPDX-License-Identifier: MIT

// The timeline as it lies on the screen: which tick is where, what can be seen, and the bars of
// clips.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/render/records/timeline.h"

/// A stretch of ticks across a width. Places are pixels from its left edge.
struct TimelineView
{
    double firstTick;     // at the left edge
    double ticksPerPixel; // above 0
    double width;         // pixels
};

/// Pixels that a tick is wide at most.
inline constexpr double kWidestTick = 40.0;

/// @return the whole piece across a width
TimelineView WholeTimeline(uint32_t endTick, double width);

double PlaceOfTick(const TimelineView& view, double tick);

/// @return the tick at a place, from 0 to endTick
uint32_t TickAtPlace(const TimelineView& view, double place, uint32_t endTick);

/// Shows more or less; the tick at a place stays there.
/// @param factor   below 1 shows less of the piece, larger
void ZoomTimeline(TimelineView* view, double place, double factor, uint32_t endTick);

/// Moves the ticks by some pixels to the left.
void ScrollTimeline(TimelineView* view, double pixels, uint32_t endTick);

/// Turns on, a page at a time, so that a tick can be seen.
void FollowTick(TimelineView* view, uint32_t tick, uint32_t endTick);

/// @return ticks from mark to mark of the ruler, so that marks are `apart` pixels apart or a little
///         more: 1, 2, 5, 10, 25, 50 or 100, then seconds and minutes
uint32_t RulerStep(const TimelineView& view, double apart);

/// A clip of a row, as it plays.
struct ClipBar
{
    uint32_t row;   // from 0
    uint32_t clip;  // of the row, from 0
    uint32_t begin; // tick
    uint32_t end;   // tick, inclusive
    uint32_t scene; // id; 0 for none
};

/// @return all clips, by rows and then by time
std::vector<ClipBar> FindClipBars(const Timeline* timeline);

/// @return the place in bars of the clip of a row at a tick; -1 for none
int32_t FindBar(const std::vector<ClipBar>& bars, uint32_t row, uint32_t tick);

/// Rows that are looked at: a solo row hides all others.
struct RowMask
{
    uint32_t hidden; // a bit a row
    uint32_t solo;
};

inline bool IsRowSeen(const RowMask& mask, uint32_t row)
{
    const uint32_t bit = 1u << row;
    return mask.solo != 0 ? (mask.solo & bit) != 0 : (mask.hidden & bit) == 0;
}

/// Gives each clip its scene, or none where its row is not looked at: its pass, camera and fog
/// stay.
/// @param bars   of the same timeline, as they were read
void ApplyRowMask(const std::vector<ClipBar>& bars, const RowMask& mask, Timeline* timeline);

/// The loudest sample of each tick of a piece.
/// @param samples   left and right, 441 sample frames a tick
/// @return 0 to 255 for each tick
std::vector<uint8_t> FindPeaks(const std::vector<int16_t>& samples);

/// @return "1:23.45"
std::string TimeText(uint32_t tick);
