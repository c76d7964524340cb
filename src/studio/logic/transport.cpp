// SPDX-License-Identifier: MIT
#include "studio/logic/transport.h"

#include <algorithm>

#include "engine/data/numeric.h"

/// 44100 sample frames a second of 4 bytes, as the player's clock counts them.
static constexpr double kBytesPerMs = 176.4;
static constexpr uint32_t kFrameBytes = 4;

SoundCount StartSoundCount(uint32_t positionMs)
{
    const uint32_t bytes = TruncateToUnsigned(static_cast<double>(positionMs) * kBytesPerMs);
    const uint32_t whole = bytes / kFrameBytes * kFrameBytes;
    return {whole, whole, 0};
}

void CountSoundBlock(SoundCount* count, uint32_t bytes, uint32_t nowMs)
{
    count->bytesBeforeBlock = count->bytesDelivered;
    count->bytesDelivered += bytes;
    count->lastBlockMs = std::max(nowMs, 1u); // 0 says that there was none
}

uint32_t SoundPosition(const SoundCount* count, uint32_t nowMs)
{
    // The way through float loses some bytes of a long piece, here as in the player.
    const double bytes = static_cast<double>(static_cast<float>(count->bytesBeforeBlock));
    if (count->lastBlockMs == 0)
    {
        return TruncateToUnsigned(bytes / kBytesPerMs);
    }
    return TruncateToUnsigned((nowMs + bytes / kBytesPerMs) - count->lastBlockMs);
}

Transport StartTransport(uint32_t endTick)
{
    Transport transport = {};
    transport.endTick = endTick;
    transport.speed = kNormalSpeed;
    return transport;
}

static void BeginStretch(Transport* transport, uint32_t nowMs)
{
    transport->stretch += 1;
    transport->startMs = transport->positionMs;
    transport->startedMs = nowMs;
}

void Play(Transport* transport, uint32_t nowMs)
{
    if (transport->plays)
    {
        return;
    }
    if (TransportTick(transport) >= transport->endTick)
    {
        transport->positionMs = 0;
    }
    transport->plays = true;
    BeginStretch(transport, nowMs);
}

void Pause(Transport* transport)
{
    if (transport->plays)
    {
        transport->plays = false;
        transport->stretch += 1;
    }
}

void Hold(Transport* transport)
{
    if (!transport->isHeld)
    {
        transport->isHeld = true;
        transport->stretch += transport->plays ? 1 : 0;
    }
}

void Release(Transport* transport, uint32_t nowMs)
{
    const bool goesOn = transport->isHeld && transport->plays;
    transport->isHeld = false;
    if (goesOn)
    {
        BeginStretch(transport, nowMs);
    }
}

void JumpTo(Transport* transport, uint32_t tick, uint32_t nowMs)
{
    transport->jumps += 1;
    transport->positionMs = std::min(tick, transport->endTick) * kMsPerTick;
    if (transport->plays)
    {
        BeginStretch(transport, nowMs);
    }
}

void JumpBy(Transport* transport, int64_t ticks, uint32_t nowMs)
{
    const int64_t tick = int64_t{TransportTick(transport)} + ticks;
    JumpTo(transport,
           static_cast<uint32_t>(std::clamp<int64_t>(tick, 0, int64_t{transport->endTick})), nowMs);
}

static void SetSpeed(Transport* transport, uint32_t speed, uint32_t nowMs)
{
    if (transport->speed == speed)
    {
        return;
    }
    transport->speed = speed;
    if (transport->plays)
    {
        BeginStretch(transport, nowMs);
    }
}

void ChangeSpeed(Transport* transport, int32_t steps, uint32_t nowMs)
{
    uint32_t speed = transport->speed;
    for (; steps > 0 && speed < kFastestSpeed; --steps)
    {
        speed *= 2;
    }
    for (; steps < 0 && speed > kSlowestSpeed; ++steps)
    {
        speed /= 2;
    }
    SetSpeed(transport, speed, nowMs);
}

void SetNormalSpeed(Transport* transport, uint32_t nowMs)
{
    SetSpeed(transport, kNormalSpeed, nowMs);
}

void SetRange(Transport* transport, uint32_t begin, uint32_t end)
{
    transport->hasRange = begin < end;
    transport->rangeBegin = begin;
    transport->rangeEnd = end;
}

void SetEnd(Transport* transport, uint32_t endTick, uint32_t nowMs)
{
    transport->endTick = endTick;
    if (TransportTick(transport) > endTick)
    {
        JumpTo(transport, endTick, nowMs);
    }
}

/// The position of a stretch without sound. The time runs round after 49 days, and so does the
/// difference.
static uint64_t TimedPosition(const Transport* transport, uint32_t nowMs)
{
    const uint32_t passed = nowMs - transport->startedMs;
    return transport->startMs + uint64_t{passed} * transport->speed / kNormalSpeed;
}

void MoveTransport(Transport* transport, const TransportClock* clock)
{
    if (!transport->plays || transport->isHeld)
    {
        return;
    }
    const bool follows = clock->sound != nullptr && transport->speed == kNormalSpeed;
    const uint64_t position = follows ? SoundPosition(clock->sound, clock->nowMs)
                                      : TimedPosition(transport, clock->nowMs);
    const uint64_t tick = position / kMsPerTick;

    // A position that was set past the range plays on to the end of the piece.
    const bool wasInside = TransportTick(transport) < transport->rangeEnd;
    if (transport->hasRange && wasInside && tick >= transport->rangeEnd)
    {
        JumpTo(transport, transport->rangeBegin, clock->nowMs);
        return;
    }
    if (tick >= transport->endTick)
    {
        if (transport->repeats && transport->endTick != 0)
        {
            JumpTo(transport, 0, clock->nowMs);
            return;
        }
        transport->positionMs = transport->endTick * kMsPerTick;
        Pause(transport);
        return;
    }
    transport->positionMs = static_cast<uint32_t>(position);
}
