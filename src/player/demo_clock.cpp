// SPDX-License-Identifier: MIT
#include "player/demo_clock.h"

#include <SDL.h>

#include "engine/data/numeric.h"

/// 44100 sample frames a second of 4 bytes. A constant of the clock, whatever the device grants.
static constexpr double kBytesPerMs = 176.4;

AudioCounters AudioClock;
uint32_t DemoClock;

static uint32_t silentStartTicks; // ms, SDL_GetTicks at the start of a piece without music

void CountAudioBlock(uint32_t bytes)
{
    AudioClock.bytesBeforeBlock = AudioClock.bytesDelivered;
    AudioClock.bytesDelivered += bytes;
    AudioClock.lastBlockTicks = SDL_GetTicks();
}

/// A callback has run.
static bool HasBlock(uint32_t blockTicks)
{
    return static_cast<double>(blockTicks) > 0.001;
}

void StartSilentClock(LauncherChoice* choice)
{
    silentStartTicks = SDL_GetTicks();
    choice->music = kSwitchOff;
    AudioClock.bytesBeforeBlock = 0;
    AudioClock.bytesDelivered = 0;
}

void StartAudioClock()
{
    // Audio runs already: a block that came in between loses its count here, and pieces are timed
    // with that.
    AudioClock.bytesBeforeBlock = 0;
    AudioClock.bytesDelivered = 0;

    uint32_t blockTicks = AudioClock.lastBlockTicks;
    if (!HasBlock(blockTicks))
    {
        DemoClock = 0;
        return;
    }
    DemoClock = TruncateToUnsigned(SDL_GetTicks() + 0.0 - blockTicks);
}

// The audio thread writes AudioClock while the main thread reads it, and plain loads are right for
// that. Each field is an aligned word of 32 bits, which x86-64 loads and stores whole, so no value
// is ever half of two. SDL_GetTicks is a call that the compiler can't see through: it can neither
// keep a field from one reading to the next nor move a load across it. What is left is a block that
// comes in between two loads, one of the old block and one of the new; that costs one block's jump
// for one frame. A lock could keep the audio thread waiting for the main one, and sound has no time
// to wait.
static void UpdateAudioClock()
{
    // The block's time is taken before anything else: read after SDL_GetTicks, it could belong to
    // a later block than the ticks, and time before 0 wraps to the end of all pieces.
    uint32_t blockTicks = AudioClock.lastBlockTicks;
    if (!HasBlock(blockTicks))
    {
        DemoClock = 0;
        return;
    }
    // The way through float loses some bytes of a long piece.
    double bytes = static_cast<double>(static_cast<float>(AudioClock.bytesBeforeBlock));
    DemoClock = TruncateToUnsigned((SDL_GetTicks() + bytes / kBytesPerMs) - blockTicks);
}

void UpdateDemoClock(const LauncherChoice* choice)
{
    if (choice->music == kSwitchOff)
    {
        DemoClock = SDL_GetTicks() - silentStartTicks;
        return;
    }
    UpdateAudioClock();
}
