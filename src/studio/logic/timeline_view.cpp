// SPDX-License-Identifier: MIT
#include "studio/logic/timeline_view.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

TimelineView WholeTimeline(uint32_t endTick, double width)
{
    const double wide = std::max(width, 1.0);
    return {0.0, std::max((endTick + 1.0) / wide, 1.0 / kWidestTick), wide};
}

double PlaceOfTick(const TimelineView& view, double tick)
{
    return (tick - view.firstTick) / view.ticksPerPixel;
}

uint32_t TickAtPlace(const TimelineView& view, double place, uint32_t endTick)
{
    const double tick = view.firstTick + place * view.ticksPerPixel;
    return static_cast<uint32_t>(std::clamp(std::floor(tick), 0.0, static_cast<double>(endTick)));
}

/// Shows no more than the piece.
static void KeepInside(TimelineView* view, uint32_t endTick)
{
    const double most = std::max(0.0, endTick + 1.0 - view->width * view->ticksPerPixel);
    view->firstTick = std::clamp(view->firstTick, 0.0, most);
}

void ZoomTimeline(TimelineView* view, double place, double factor, uint32_t endTick)
{
    const double tick = view->firstTick + place * view->ticksPerPixel;
    const TimelineView whole = WholeTimeline(endTick, view->width);
    view->ticksPerPixel =
        std::clamp(view->ticksPerPixel * factor, 1.0 / kWidestTick, whole.ticksPerPixel);
    view->firstTick = tick - place * view->ticksPerPixel;
    KeepInside(view, endTick);
}

void ScrollTimeline(TimelineView* view, double pixels, uint32_t endTick)
{
    view->firstTick += pixels * view->ticksPerPixel;
    KeepInside(view, endTick);
}

void FollowTick(TimelineView* view, uint32_t tick, uint32_t endTick)
{
    const double place = PlaceOfTick(*view, tick);
    if (place < 0.0 || place >= view->width)
    {
        view->firstTick = tick;
        KeepInside(view, endTick);
    }
}

uint32_t RulerStep(const TimelineView& view, double apart)
{
    static constexpr uint32_t kSteps[] = {1,   2,    5,    10,   25,   50,    100,   200,
                                          500, 1000, 1500, 3000, 6000, 12000, 30000, 60000};
    for (const uint32_t step : kSteps)
    {
        if (step / view.ticksPerPixel >= apart)
        {
            return step;
        }
    }
    return 360000;
}

std::vector<ClipBar> FindClipBars(const Timeline* timeline)
{
    std::vector<ClipBar> bars;
    for (uint32_t row = 0; row < kTimelineRows; ++row)
    {
        uint32_t previous = 0;
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            const uint32_t end = timeline->clipEnd[row][clip];
            bars.push_back({row, clip, previous + timeline->spaceBefore[row][clip], end,
                            timeline->sceneId[row][clip]});
            previous = end;
        }
    }
    return bars;
}

int32_t FindBar(const std::vector<ClipBar>& bars, uint32_t row, uint32_t tick)
{
    // The first that is not over, as a frame finds it.
    for (size_t i = 0; i < bars.size(); ++i)
    {
        if (bars[i].row == row && tick <= bars[i].end)
        {
            return tick >= bars[i].begin ? static_cast<int32_t>(i) : -1;
        }
    }
    return -1;
}

void ApplyRowMask(const std::vector<ClipBar>& bars, const RowMask& mask, Timeline* timeline)
{
    for (const ClipBar& bar : bars)
    {
        timeline->sceneId[bar.row][bar.clip] = IsRowSeen(mask, bar.row) ? bar.scene : 0;
    }
}

std::vector<uint8_t> FindPeaks(const std::vector<int16_t>& samples)
{
    static constexpr size_t kSamplesPerTick = 441 * 2;
    std::vector<uint8_t> peaks((samples.size() + kSamplesPerTick - 1) / kSamplesPerTick);
    for (size_t i = 0; i < samples.size(); ++i)
    {
        const int loud = std::min(std::abs(int{samples[i]}) / 128, 255);
        uint8_t* peak = &peaks[i / kSamplesPerTick];
        *peak = std::max(*peak, static_cast<uint8_t>(loud));
    }
    return peaks;
}

std::string TimeText(uint32_t tick)
{
    char text[32];
    snprintf(text, sizeof(text), "%u:%02u.%02u", tick / 6000, tick / 100 % 60, tick % 100);
    return text;
}
