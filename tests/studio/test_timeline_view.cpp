// SPDX-License-Identifier: MIT
#include <cstdlib>
#include <gtest/gtest.h>

#include "engine/data/fault.h"
#include "studio/logic/timeline_view.h"

namespace
{

TEST(TimelineView, ShowsThePieceAsAWhole)
{
    const TimelineView view = WholeTimeline(999, 500.0);
    EXPECT_EQ(view.ticksPerPixel, 2.0);
    EXPECT_EQ(TickAtPlace(view, 0.0, 999), 0u);
    EXPECT_EQ(TickAtPlace(view, 250.0, 999), 500u);
    EXPECT_EQ(TickAtPlace(view, 499.9, 999), 999u);
    EXPECT_EQ(TickAtPlace(view, -10.0, 999), 0u);
    EXPECT_EQ(TickAtPlace(view, 900.0, 999), 999u);
    EXPECT_EQ(PlaceOfTick(view, 500.0), 250.0);
}

TEST(TimelineView, ZoomKeepsTheTickAtTheMouse)
{
    TimelineView view = WholeTimeline(9999, 1000.0);
    ZoomTimeline(&view, 400.0, 0.5, 9999);
    EXPECT_EQ(view.ticksPerPixel, 5.0);
    EXPECT_EQ(TickAtPlace(view, 400.0, 9999), 4000u);
    ZoomTimeline(&view, 400.0, 100.0, 9999); // no more than the whole
    EXPECT_EQ(view.firstTick, 0.0);
    EXPECT_EQ(view.ticksPerPixel, 10.0);
    for (int i = 0; i < 100; ++i)
    {
        ZoomTimeline(&view, 400.0, 0.5, 9999);
    }
    EXPECT_EQ(view.ticksPerPixel, 1.0 / kWidestTick);
}

TEST(TimelineView, ScrollsNoFurtherThanThePiece)
{
    TimelineView view = WholeTimeline(9999, 1000.0);
    ZoomTimeline(&view, 0.0, 0.1, 9999);
    ScrollTimeline(&view, -50.0, 9999);
    EXPECT_EQ(view.firstTick, 0.0);
    ScrollTimeline(&view, 100000.0, 9999);
    EXPECT_EQ(view.firstTick, 9000.0);
}

TEST(TimelineView, ThePlayheadStaysInView)
{
    TimelineView view = WholeTimeline(9999, 1000.0);
    ZoomTimeline(&view, 0.0, 0.1, 9999);
    FollowTick(&view, 999, 9999);
    EXPECT_EQ(view.firstTick, 0.0);
    FollowTick(&view, 1000, 9999);
    EXPECT_EQ(view.firstTick, 1000.0);
    FollowTick(&view, 500, 9999);
    EXPECT_EQ(view.firstTick, 500.0);
}

TEST(TimelineView, RulerMarksStandApart)
{
    EXPECT_EQ(RulerStep({0.0, 0.025, 1000.0}, 70.0), 2u);
    EXPECT_EQ(RulerStep({0.0, 1.0, 1000.0}, 70.0), 100u);
    EXPECT_EQ(RulerStep({0.0, 10.0, 1000.0}, 70.0), 1000u);
}

/// Two clips in row 1 with a gap of 10 ticks before the second, and one in row 3.
Timeline* MakeTimeline()
{
    FaultList faults;
    StartFaults(&faults);
    Timeline* timeline = CreateTimeline(&faults);
    InitializeTimeline(timeline);
    timeline->clipCount[0] = 2;
    timeline->clipEnd[0][0] = 100;
    timeline->sceneId[0][0] = 7;
    timeline->spaceBefore[0][1] = 10;
    timeline->clipEnd[0][1] = 200;
    timeline->sceneId[0][1] = 8;
    timeline->clipCount[2] = 1;
    timeline->clipEnd[2][0] = 50;
    timeline->sceneId[2][0] = 9;
    return timeline;
}

TEST(ClipBars, LieWhereFramesFindThem)
{
    Timeline* timeline = MakeTimeline();
    const std::vector<ClipBar> bars = FindClipBars(timeline);
    ASSERT_EQ(bars.size(), 3u);
    EXPECT_EQ(bars[1].begin, 110u);
    EXPECT_EQ(bars[1].end, 200u);
    EXPECT_EQ(FindBar(bars, 0, 0), 0);
    EXPECT_EQ(FindBar(bars, 0, 100), 0);
    EXPECT_EQ(FindBar(bars, 0, 105), -1);
    EXPECT_EQ(FindBar(bars, 0, 110), 1);
    EXPECT_EQ(FindBar(bars, 0, 201), -1);
    EXPECT_EQ(FindBar(bars, 2, 10), 2);
    EXPECT_EQ(FindBar(bars, 1, 10), -1);
    free(timeline);
}

TEST(RowMask, HiddenRowsLoseTheirScenesAndGetThemBack)
{
    Timeline* timeline = MakeTimeline();
    const std::vector<ClipBar> bars = FindClipBars(timeline);
    ApplyRowMask(bars, {1u, 0}, timeline);
    EXPECT_EQ(timeline->sceneId[0][1], 0u);
    EXPECT_EQ(timeline->sceneId[2][0], 9u);
    ApplyRowMask(bars, {4u, 1u}, timeline); // solo says it all
    EXPECT_EQ(timeline->sceneId[0][1], 8u);
    EXPECT_EQ(timeline->sceneId[2][0], 0u);
    ApplyRowMask(bars, {}, timeline);
    EXPECT_EQ(timeline->sceneId[2][0], 9u);
    free(timeline);
}

TEST(Peaks, AreTheLoudestOfEachTick)
{
    std::vector<int16_t> samples(441 * 2 * 2 + 2);
    samples[3] = -32768;
    samples[441 * 2 + 1] = 12800;
    samples.back() = 128;
    EXPECT_EQ(FindPeaks(samples), (std::vector<uint8_t>{255, 100, 1}));
    EXPECT_TRUE(FindPeaks({}).empty());
}

TEST(TimeText, HasMinutesSecondsAndHundredths)
{
    EXPECT_EQ(TimeText(0), "0:00.00");
    EXPECT_EQ(TimeText(5999), "0:59.99");
    EXPECT_EQ(TimeText(6000), "1:00.00");
    EXPECT_EQ(TimeText(12000), "2:00.00");
    EXPECT_EQ(TimeText(7205), "1:12.05");
}

} // namespace
