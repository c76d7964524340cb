// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "studio/logic/transport.h"

namespace
{

TransportClock At(uint32_t nowMs)
{
    return {nowMs, nullptr};
}

TEST(Transport, StandsUntilItPlays)
{
    Transport transport = StartTransport(1000);
    const TransportClock clock = At(5000);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(TransportTick(&transport), 0u);
    EXPECT_FALSE(transport.plays);
}

TEST(Transport, FollowsTheTimeWithoutSound)
{
    Transport transport = StartTransport(1000);
    Play(&transport, 100);
    const TransportClock clock = At(1349);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(transport.positionMs, 1249u);
    EXPECT_EQ(TransportTick(&transport), 124u);
}

struct SpeedCase
{
    int32_t steps;
    uint32_t speed;
    uint32_t position; // after 800 ms
};

TEST(Transport, SpeedsGoFromAnEighthToFourTimes)
{
    const SpeedCase cases[] = {
        {-9, 1, 100},  {-3, 1, 100},  {-1, 4, 400},  {0, 8, 800},
        {1, 16, 1600}, {2, 32, 3200}, {9, 32, 3200},
    };
    for (const SpeedCase& c : cases)
    {
        Transport transport = StartTransport(100000);
        ChangeSpeed(&transport, c.steps, 0);
        EXPECT_EQ(transport.speed, c.speed);
        Play(&transport, 0);
        const TransportClock clock = At(800);
        MoveTransport(&transport, &clock);
        EXPECT_EQ(transport.positionMs, c.position);
    }
}

TEST(Transport, AChangeOfSpeedGoesOnFromThePosition)
{
    Transport transport = StartTransport(100000);
    Play(&transport, 0);
    TransportClock clock = At(1000);
    MoveTransport(&transport, &clock);
    const uint32_t stretch = transport.stretch;
    ChangeSpeed(&transport, 1, 1000);
    EXPECT_EQ(transport.stretch, stretch + 1);
    EXPECT_FALSE(WantsSound(&transport));
    clock = At(1500);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(transport.positionMs, 2000u);
}

TEST(Transport, StandsAtItsEnd)
{
    Transport transport = StartTransport(50);
    Play(&transport, 0);
    const TransportClock clock = At(100000);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(TransportTick(&transport), 50u);
    EXPECT_FALSE(transport.plays);
    Play(&transport, 0);
    EXPECT_EQ(TransportTick(&transport), 0u); // from its start again
}

TEST(Transport, RepeatsAPieceThatShould)
{
    Transport transport = StartTransport(50);
    transport.repeats = true;
    Play(&transport, 0);
    const TransportClock clock = At(510);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(TransportTick(&transport), 0u);
    EXPECT_TRUE(transport.plays);
}

TEST(Transport, RepeatsARange)
{
    Transport transport = StartTransport(1000);
    SetRange(&transport, 100, 200);
    JumpTo(&transport, 190, 0);
    Play(&transport, 0);
    TransportClock clock = At(99);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(TransportTick(&transport), 199u);
    clock = At(100);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(TransportTick(&transport), 100u);
}

TEST(Transport, PlaysOnAfterTheRange)
{
    Transport transport = StartTransport(1000);
    SetRange(&transport, 100, 200);
    JumpTo(&transport, 300, 0);
    Play(&transport, 0);
    const TransportClock clock = At(1000);
    MoveTransport(&transport, &clock);
    EXPECT_EQ(TransportTick(&transport), 400u);
}

TEST(Transport, ARangeWithoutTicksIsNone)
{
    Transport transport = StartTransport(1000);
    SetRange(&transport, 200, 200);
    EXPECT_FALSE(transport.hasRange);
    SetRange(&transport, 300, 200);
    EXPECT_FALSE(transport.hasRange);
}

TEST(Transport, JumpsStayInThePiece)
{
    Transport transport = StartTransport(1000);
    JumpBy(&transport, -5, 0);
    EXPECT_EQ(TransportTick(&transport), 0u);
    JumpTo(&transport, 5000, 0);
    EXPECT_EQ(TransportTick(&transport), 1000u);
    JumpBy(&transport, -1, 0);
    EXPECT_EQ(TransportTick(&transport), 999u);
}

TEST(Transport, AShorterPieceTakesThePositionBack)
{
    Transport transport = StartTransport(1000);
    JumpTo(&transport, 800, 0);
    SetEnd(&transport, 900, 0);
    EXPECT_EQ(TransportTick(&transport), 800u);
    SetEnd(&transport, 700, 0);
    EXPECT_EQ(TransportTick(&transport), 700u);
}

// A block of 8192 sample frames is 32768 bytes, 185.76 ms of sound.
TEST(SoundCount, TheClockIsThePlayersClock)
{
    SoundCount count = StartSoundCount(0);
    EXPECT_EQ(SoundPosition(&count, 1000), 0u); // no block yet
    CountSoundBlock(&count, 32768, 1000);
    EXPECT_EQ(SoundPosition(&count, 1000), 0u);
    EXPECT_EQ(SoundPosition(&count, 1100), 100u);
    CountSoundBlock(&count, 32768, 1180);
    EXPECT_EQ(SoundPosition(&count, 1180), 185u);
    EXPECT_EQ(SoundPosition(&count, 1190), 195u);
}

TEST(SoundCount, BeginsAtAPosition)
{
    SoundCount count = StartSoundCount(10000);
    EXPECT_EQ(count.bytesDelivered, 1764000u);
    EXPECT_EQ(SoundPosition(&count, 77), 10000u);
    CountSoundBlock(&count, 32768, 500);
    EXPECT_EQ(SoundPosition(&count, 550), 10050u);
}

TEST(SoundCount, BeginsAtWholeSampleFrames)
{
    for (uint32_t ms = 0; ms < 1000; ++ms)
    {
        EXPECT_EQ(StartSoundCount(ms).bytesDelivered % 4, 0u);
    }
}

TEST(Transport, FollowsTheSoundAtNormalSpeed)
{
    Transport transport = StartTransport(100000);
    Play(&transport, 0);
    SoundCount count = StartSoundCount(0);
    CountSoundBlock(&count, 32768, 300); // the device was late
    const TransportClock clock = {400, &count};
    MoveTransport(&transport, &clock);
    EXPECT_EQ(transport.positionMs, 100u);
}

} // namespace
