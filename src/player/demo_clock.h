// SPDX-License-Identifier: MIT

// Demo time. It follows the sound: the bytes that were handed to the sound device say where the
// piece is, and between two blocks the wall clock moves it on. Without music it is the wall clock.
#pragma once

#include <cstdint>

#include "player/launcher.h"

/// The counts of the audio callback. SDL's audio thread writes it and the main thread reads it,
/// word by word and without a lock: a block that comes in between two reads moves the clock by that
/// block for one frame, which does no harm.
struct AudioCounters
{
    uint32_t bytesBeforeBlock; // audio bytes delivered before the most recent callback
    uint32_t bytesDelivered;   // audio bytes delivered so far, the most recent block included
    uint32_t lastBlockTicks;   // ms, SDL_GetTicks at the most recent callback; 0 until the first
    uint32_t audioStarted;     // 1 after every callback; read by nothing
};

extern AudioCounters AudioClock;

/// Demo time in milliseconds. Main thread only. It can step back by a few milliseconds when a block
/// comes early.
extern uint32_t DemoClock;

/// Counts a block that the sound device asks for, before it is filled. Audio thread only.
/// @param bytes   length of the block
void CountAudioBlock(uint32_t bytes);

/// Starts the clock of a piece without music, at 0, and sets the choice's music to kSwitchOff.
void StartSilentClock(LauncherChoice* choice);

/// Starts the clock of a piece with music, once audio runs.
void StartAudioClock();

/// Reads the clock into DemoClock. A piece whose first block is still to come stands at 0.
/// @param choice   its music selects the clock: kSwitchOff the wall clock, otherwise the sound
void UpdateDemoClock(const LauncherChoice* choice);
