// SPDX-License-Identifier: MIT

// The sound of the piece: its module, played as a whole beforehand, handed to the sound device from
// where the transport stands.
#pragma once

#include <SDL.h>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "studio/logic/transport.h"

/// Left and right, 16 bits each, at 44100 sample frames a second.
using SoundSamples = std::shared_ptr<const std::vector<int16_t>>;

/// All that the sound device's thread reads is written while the device is locked.
struct StudioSound
{
    SDL_AudioDeviceID device; // 0 where there is none
    std::string missing;      // why there is none
    SoundSamples samples;     // null for silence
    SoundCount count;         // of the stretch
    uint64_t nextByte;        // of the piece, that the device gets next
    int32_t volume;           // 0 to 100
    bool isMuted;
    bool isPlaying;
};

/// Opens the device as the player does: 44100 sample frames a second, blocks of 8192. A machine
/// without one plays on without sound, by its own time.
/// @param sound   all zero; must stay where it is until CloseSound
void OpenSound(StudioSound* sound);
void CloseSound(StudioSound* sound);

/// Gives the device other samples, from the position that it is at.
void SetSamples(StudioSound* sound, SoundSamples samples);

/// Begins to play at a position. The count begins there too.
void StartSound(StudioSound* sound, uint32_t positionMs);
void StopSound(StudioSound* sound);

void SetVolume(StudioSound* sound, int32_t volume, bool isMuted);

/// @return a copy of the count
SoundCount ReadSoundCount(StudioSound* sound);
