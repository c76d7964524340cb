// SPDX-License-Identifier: MIT
#include "player/demo_clock.h"

#include <gtest/gtest.h>

#include "support/recorded_gl.h"
#include "support/recorded_sdl.h"

/// The clock as the program finds it, with the readings of SDL's that are to come.
static void ResetClock(std::vector<uint32_t> ticks)
{
    AudioClock = {};
    DemoClock = 0;
    ResetGl();
    ResetSdl();
    Sdl.ticks = std::move(ticks);
}

TEST(DemoClock, ASecondOfBytesAnd10MillisecondsAre1010)
{
    ResetClock({5010});
    AudioClock = {44100 * 4, 44100 * 4 + 32768, 5000, 1};
    LauncherChoice choice = kStartChoice;

    UpdateDemoClock(&choice);

    EXPECT_EQ(DemoClock, 1010u);
}

TEST(DemoClock, AfterTheFirstBlockItCountsUpFrom0ByTheWallClock)
{
    ResetClock({700, 700, 701, 800});
    LauncherChoice choice = kStartChoice;
    CountAudioBlock(32768);
    EXPECT_EQ(AudioClock.bytesBeforeBlock, 0u);

    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 0u);
    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 1u);
    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 100u);
}

TEST(DemoClock, ABlockIsCountedBeforeItIsStamped)
{
    ResetClock({700, 886});
    CountAudioBlock(32768);
    CountAudioBlock(1000);

    EXPECT_EQ(AudioClock.bytesBeforeBlock, 32768u);
    EXPECT_EQ(AudioClock.bytesDelivered, 33768u);
    EXPECT_EQ(AudioClock.lastBlockTicks, 886u);
}

TEST(DemoClock, ItStepsBackWhenABlockComesEarly)
{
    ResetClock({1000, 1190, 1180, 1180});
    LauncherChoice choice = kStartChoice;
    CountAudioBlock(32768);
    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 190u);

    CountAudioBlock(32768);
    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 185u); // 32768 / 176.4 = 185.76
}

TEST(DemoClock, WithoutAnyBlockThePieceStandsAt0)
{
    ResetClock({100, 5000});
    LauncherChoice choice = kStartChoice;
    DemoClock = 77;

    StartAudioClock();
    EXPECT_EQ(DemoClock, 0u);
    DemoClock = 77;
    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 0u);
}

TEST(DemoClock, ABlockAtTick0IsNone)
{
    ResetClock({0, 5000, 5000});
    LauncherChoice choice = kStartChoice;
    DemoClock = 77;
    CountAudioBlock(32768);
    EXPECT_EQ(AudioClock.lastBlockTicks, 0u);

    UpdateDemoClock(&choice);

    EXPECT_EQ(DemoClock, 0u);
    DemoClock = 77;
    StartAudioClock();
    EXPECT_EQ(DemoClock, 0u);
    EXPECT_EQ(TakeGlCalls(), "SDL_GetTicks 0\n"); // the block's, and none for the readings
}

TEST(DemoClock, ABlockDuringAReadingNeverGivesATimeBelow0)
{
    // The reading takes 1190 when the next block comes, stamped 1195.
    ResetClock({1190, 1195, 1200});
    AudioClock = {0, 32768, 1000, 1};
    Sdl.duringTicks = []
    {
        CountAudioBlock(32768);
    };
    LauncherChoice choice = kStartChoice;

    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 190u); // the old block throughout

    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 190u); // the new one: 32768 / 176.4 + 5 = 190.76
}

TEST(DemoClock, ABlockDuringTheFirstReadingNeverGivesATimeBelow0)
{
    ResetClock({510, 515});
    AudioClock = {0, 32768, 500, 1};
    Sdl.duringTicks = []
    {
        CountAudioBlock(32768);
    };

    StartAudioClock();

    EXPECT_EQ(DemoClock, 10u);
    EXPECT_EQ(AudioClock.bytesDelivered, 32768u); // counted from the start of audio on
}

TEST(DemoClock, BytesGoThroughAFloatFirst)
{
    // 16777227 is no float: it becomes 16777228, which is worth 95109.0 ms and not 95108.99.
    ResetClock({1000});
    AudioClock = {16777227, 16777227 + 32768, 1000, 1};
    LauncherChoice choice = kStartChoice;

    UpdateDemoClock(&choice);

    EXPECT_EQ(DemoClock, 95109u);
}

TEST(DemoClock, TheFractionIsDropped)
{
    ResetClock({1000});
    AudioClock = {176, 176 + 32768, 1000, 1}; // 0.998 ms
    LauncherChoice choice = kStartChoice;
    DemoClock = 5;

    UpdateDemoClock(&choice);

    EXPECT_EQ(DemoClock, 0u);
}

TEST(DemoClock, OfATimeBefore0TheLow32BitsAreKept)
{
    // SDL's ticks have wrapped since the block.
    ResetClock({10});
    AudioClock = {0, 32768, 20, 1};
    LauncherChoice choice = kStartChoice;

    UpdateDemoClock(&choice);

    EXPECT_EQ(DemoClock, 4294967286u);
}

TEST(DemoClock, ABlockThatComesInWhileAudioStartsLosesItsCount)
{
    ResetClock({500, 500, 512});
    CountAudioBlock(32768);
    CountAudioBlock(32768);

    StartAudioClock();

    EXPECT_EQ(AudioClock.bytesBeforeBlock, 0u);
    EXPECT_EQ(AudioClock.bytesDelivered, 0u);
    EXPECT_EQ(AudioClock.lastBlockTicks, 500u); // but not its time
    EXPECT_EQ(DemoClock, 12u);
}

TEST(DemoClock, TheSilentClockCountsFromItsStart)
{
    ResetClock({4294967290, 4294967290, 10});
    AudioClock = {1, 2, 3, 1};
    LauncherChoice choice = kStartChoice;

    StartSilentClock(&choice);
    EXPECT_EQ(choice.music, kSwitchOff);
    EXPECT_EQ(AudioClock.bytesBeforeBlock, 0u);
    EXPECT_EQ(AudioClock.bytesDelivered, 0u);
    EXPECT_EQ(DemoClock, 0u);

    UpdateDemoClock(&choice);
    EXPECT_EQ(DemoClock, 0u);
    UpdateDemoClock(&choice); // over the wrap of SDL's ticks
    EXPECT_EQ(DemoClock, 16u);
}

TEST(DemoClock, AReadingLooksAtSdlsTicksOnce)
{
    ResetClock({1000});
    AudioClock = {176400, 209168, 1000, 1};
    LauncherChoice choice = kStartChoice;

    UpdateDemoClock(&choice);
    EXPECT_EQ(TakeGlCalls(), "SDL_GetTicks 1000\n");

    choice.music = kSwitchOff;
    UpdateDemoClock(&choice);
    EXPECT_EQ(TakeGlCalls(), "SDL_GetTicks 1000\n");
}
