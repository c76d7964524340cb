// SPDX-License-Identifier: MIT
#include "studio/logic/picture_seek.h"

#include <algorithm>

#include "studio/logic/transport.h"

uint32_t TickToShow(const PictureSeek* seek, const Transport* transport)
{
    const bool stays = seek->isOn && transport->plays && seek->jumps == transport->jumps;
    return stays ? seek->tick : TransportTick(transport);
}

void BeginSeekPart(uint32_t tick, uint32_t nowMs, PictureSeek* seek, Transport* transport)
{
    if (!seek->isOn)
    {
        seek->isOn = true;
        seek->beganMs = nowMs;
        seek->past = {};
    }
    if (seek->tick != tick)
    {
        seek->past = {};
    }
    seek->tick = tick;
    seek->jumps = transport->jumps;
    if (nowMs - seek->beganMs >= kQuietSeekMs)
    {
        Hold(transport);
    }
}

void NotePast(bool isDrawing, uint32_t left, PastPlayed* past)
{
    const bool isAnother = past->isDrawing != isDrawing;
    past->frames = isAnother ? left : std::max(past->frames, left);
    past->isDrawing = isDrawing;
    past->left = left;
}

void EndSeek(uint32_t nowMs, PictureSeek* seek, Transport* transport)
{
    seek->isOn = false;
    Release(transport, nowMs);
}

std::string PastText(const PastPlayed& past)
{
    const uint64_t played = uint64_t{past.frames - past.left} * 100;
    const uint64_t percent = past.frames == 0 ? 0 : played / past.frames;
    return (past.isDrawing ? "playing the past, " : "simulating the past, ") +
           std::to_string(percent) + " %";
}
