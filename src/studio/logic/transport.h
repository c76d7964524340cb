// SPDX-License-Identifier: MIT

// The transport: where the piece is, whether it plays, how fast, and between which ticks it
// repeats.
//
// Positions are milliseconds of the piece, and a tick is 10 of them. At normal speed with sound the
// position follows the sound device exactly as the player's clock does: the bytes that were asked
// for, and the time since the last block. At other speeds, and without sound, it follows the time
// of the computer.
//
// The transport starts no sound itself. Whenever sound has to begin somewhere else it begins a new
// stretch, with a new number; whoever owns the sound device compares the numbers.
#pragma once

#include <cstdint>

inline constexpr uint32_t kMsPerTick = 10;

/// Ticks from picture to picture of a film at 50 pictures a second.
inline constexpr uint32_t kPictureTicks = 2;

/// Normal speed. Speeds are counted in eighths.
inline constexpr uint32_t kNormalSpeed = 8;
inline constexpr uint32_t kSlowestSpeed = 1;  // an eighth
inline constexpr uint32_t kFastestSpeed = 32; // four times

/// Counted by a sound device, block by block.
struct SoundCount
{
    uint32_t bytesBeforeBlock; // of the piece, up to the block that was asked for last
    uint32_t bytesDelivered;   // the same, with that block
    uint32_t lastBlockMs;      // when it was asked for; 0 before the first
};

/// @return a count for sound that begins at a position, with no block yet
SoundCount StartSoundCount(uint32_t positionMs);

/// Counts a block that the device asks for, before it is filled.
/// @param bytes   length of the block
/// @param nowMs   time of the computer
void CountSoundBlock(SoundCount* count, uint32_t bytes, uint32_t nowMs);

/// @return the position of the sound in ms; before the first block the one that it begins at
uint32_t SoundPosition(const SoundCount* count, uint32_t nowMs);

/// The times that move a transport on.
struct TransportClock
{
    uint32_t nowMs;          // time of the computer
    const SoundCount* sound; // of the current stretch; null where none plays
};

struct Transport
{
    uint32_t endTick;    // the last tick of the piece
    uint32_t positionMs; // of the piece, up to endTick
    bool plays;
    bool isHeld;         // stands still although it plays, until something is ready
    uint32_t jumps;      // counts up whenever the position is set
    uint32_t speed;      // in eighths
    bool hasRange;       // playing goes back to rangeBegin at rangeEnd
    uint32_t rangeBegin; // ticks, inclusive
    uint32_t rangeEnd;   // ticks, exclusive
    bool repeats;        // begins again at its end
    uint32_t stretch;    // counts up whenever playing begins somewhere, or ends
    uint32_t startMs;    // position where the stretch began
    uint32_t startedMs;  // time of the computer then
};

/// A transport that stands at tick 0.
Transport StartTransport(uint32_t endTick);

inline uint32_t TransportTick(const Transport* transport)
{
    return transport->positionMs / kMsPerTick;
}

/// Whether sound can follow: it plays at normal speed alone.
inline bool WantsSound(const Transport* transport)
{
    return transport->plays && !transport->isHeld && transport->speed == kNormalSpeed;
}

/// Plays on from the position; from the start if the piece is at its end.
void Play(Transport* transport, uint32_t nowMs);
void Pause(Transport* transport);

/// Lets the position stand still, whatever plays, until it is released.
void Hold(Transport* transport);
void Release(Transport* transport, uint32_t nowMs);

/// Goes to a tick, at most endTick. Playing goes on there.
void JumpTo(Transport* transport, uint32_t tick, uint32_t nowMs);

/// Goes some ticks on or back, not past an end.
void JumpBy(Transport* transport, int64_t ticks, uint32_t nowMs);

/// Twice as fast for each step above 0, half as fast for each below, within the limits.
void ChangeSpeed(Transport* transport, int32_t steps, uint32_t nowMs);
void SetNormalSpeed(Transport* transport, uint32_t nowMs);

/// Sets the range. One that is empty or reversed gives none.
void SetRange(Transport* transport, uint32_t begin, uint32_t end);

/// Another piece, or the same one after a change: the position stays, as far as the piece goes.
void SetEnd(Transport* transport, uint32_t endTick, uint32_t nowMs);

/// Moves the position to the clock's time. At the end of the range it goes back to the range's
/// beginning, at the end of the piece it stands still or begins again.
void MoveTransport(Transport* transport, const TransportClock* clock);
