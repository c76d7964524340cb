// SPDX-License-Identifier: MIT
#include "studio/logic/picture_seek.h"

#include <gtest/gtest.h>

#include "studio/logic/transport.h"

namespace
{

void MoveTo(Transport* transport, uint32_t nowMs)
{
    const TransportClock clock = {nowMs, nullptr};
    MoveTransport(transport, &clock);
}

TEST(PictureSeek, APictureThatPlaysIsSoughtToItsEnd)
{
    Transport transport = StartTransport(1000);
    PictureSeek seek = {};
    Play(&transport, 0);
    MoveTo(&transport, 500);
    EXPECT_EQ(TickToShow(&seek, &transport), 50u);
    BeginSeekPart(50, 500, &seek, &transport);
    MoveTo(&transport, 540);
    EXPECT_EQ(TransportTick(&transport), 54u);
    EXPECT_EQ(TickToShow(&seek, &transport), 50u);
    EndSeek(540, &seek, &transport);
    EXPECT_EQ(TickToShow(&seek, &transport), 54u);
}

TEST(PictureSeek, AJumpTakesAnotherAtOnce)
{
    Transport transport = StartTransport(1000);
    PictureSeek seek = {};
    Play(&transport, 0);
    BeginSeekPart(0, 0, &seek, &transport);
    JumpTo(&transport, 700, 10);
    EXPECT_EQ(TickToShow(&seek, &transport), 700u);
    BeginSeekPart(700, 10, &seek, &transport);
    Pause(&transport);
    transport.positionMs = 7010;
    EXPECT_EQ(TickToShow(&seek, &transport), 701u);
}

TEST(PictureSeek, PlayingWaitsForAPictureThatTakesLong)
{
    Transport transport = StartTransport(1000);
    PictureSeek seek = {};
    Play(&transport, 0);
    BeginSeekPart(0, 0, &seek, &transport);
    MoveTo(&transport, kQuietSeekMs);
    EXPECT_TRUE(WantsSound(&transport));
    const uint32_t stretch = transport.stretch;
    BeginSeekPart(0, kQuietSeekMs, &seek, &transport);
    EXPECT_FALSE(WantsSound(&transport));
    EXPECT_NE(transport.stretch, stretch); // the sound stops
    MoveTo(&transport, 9000);
    EXPECT_EQ(TransportTick(&transport), kQuietSeekMs / 10);
    EndSeek(9000, &seek, &transport);
    EXPECT_TRUE(WantsSound(&transport));
    MoveTo(&transport, 9100);
    EXPECT_EQ(TransportTick(&transport), kQuietSeekMs / 10 + 10);
}

TEST(PictureSeek, APauseStaysAfterTheWait)
{
    Transport transport = StartTransport(1000);
    PictureSeek seek = {};
    Play(&transport, 0);
    BeginSeekPart(0, 0, &seek, &transport);
    BeginSeekPart(0, 1000, &seek, &transport);
    Pause(&transport);
    EndSeek(2000, &seek, &transport);
    MoveTo(&transport, 3000);
    EXPECT_EQ(TransportTick(&transport), 0u);
    EXPECT_FALSE(transport.isHeld);
}

TEST(PictureSeek, TellsHowMuchOfThePastIsPlayed)
{
    PastPlayed past = {};
    EXPECT_EQ(PastText(past), "simulating the past, 0 %");
    NotePast(false, 300, &past);
    NotePast(false, 150, &past);
    EXPECT_EQ(PastText(past), "simulating the past, 50 %");
    NotePast(true, 1000, &past);
    EXPECT_EQ(PastText(past), "playing the past, 0 %");
    NotePast(true, 600, &past);
    EXPECT_EQ(PastText(past), "playing the past, 40 %");
    NotePast(true, 2000, &past); // it begins again
    EXPECT_EQ(PastText(past), "playing the past, 0 %");

    // Another picture begins anew.
    Transport transport = StartTransport(1000);
    PictureSeek seek = {};
    BeginSeekPart(5, 0, &seek, &transport);
    seek.past = past;
    BeginSeekPart(5, 10, &seek, &transport);
    EXPECT_EQ(seek.past.frames, 2000u);
    BeginSeekPart(6, 20, &seek, &transport);
    EXPECT_EQ(seek.past.frames, 0u);
}

} // namespace
