// SPDX-License-Identifier: MIT
#include "studio/sound.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

static constexpr int kFrequency = 44100;     // sample frames a second
static constexpr Uint16 kBlockFrames = 8192; // as the player's, so picture and sound lie alike

/// SDL's audio callback.
static void FillBlock(void* user, Uint8* stream, int length)
{
    StudioSound* sound = static_cast<StudioSound*>(user);
    const size_t wanted = static_cast<size_t>(length);
    CountSoundBlock(&sound->count, static_cast<uint32_t>(length), SDL_GetTicks());
    memset(stream, 0, wanted);
    if (sound->samples != nullptr && !sound->isMuted)
    {
        const size_t all = sound->samples->size() * sizeof(int16_t);
        const size_t from = std::min<size_t>(sound->nextByte, all);
        const size_t had = std::min(wanted, all - from);
        const Uint8* bytes = reinterpret_cast<const Uint8*>(sound->samples->data()) + from;
        if (sound->volume == 100)
        {
            memcpy(stream, bytes, had);
        }
        else
        {
            SDL_MixAudioFormat(stream, bytes, AUDIO_S16LSB, static_cast<Uint32>(had),
                               sound->volume * SDL_MIX_MAXVOLUME / 100);
        }
    }
    sound->nextByte += wanted;
}

/// Opens the device.
static void OpenDevice(StudioSound* sound)
{
    if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0)
    {
        sound->missing = SDL_GetError();
        return;
    }
    SDL_AudioSpec wish = {};
    wish.freq = kFrequency;
    wish.format = AUDIO_S16LSB;
    wish.channels = 2;
    wish.samples = kBlockFrames;
    wish.callback = FillBlock;
    wish.userdata = sound;
    sound->device = SDL_OpenAudioDevice(nullptr, 0, &wish, nullptr, 0);
    if (sound->device == 0)
    {
        sound->missing = SDL_GetError();
    }
}

void OpenSound(StudioSound* sound)
{
    sound->volume = 100;
    // Without a device the sound system's library writes a dozen lines of its own, which the window
    // tells in three words. Nothing else runs yet that could write.
    fflush(stderr);
    const int kept = dup(STDERR_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept >= 0 && nowhere >= 0)
    {
        dup2(nowhere, STDERR_FILENO);
    }
    OpenDevice(sound);
    if (kept >= 0)
    {
        dup2(kept, STDERR_FILENO);
        close(kept);
    }
    if (nowhere >= 0)
    {
        close(nowhere);
    }
}

void CloseSound(StudioSound* sound)
{
    if (sound->device != 0)
    {
        SDL_CloseAudioDevice(sound->device);
    }
    sound->device = 0;
    sound->samples = nullptr;
}

void SetSamples(StudioSound* sound, SoundSamples samples)
{
    SDL_LockAudioDevice(sound->device);
    sound->samples.swap(samples);
    SDL_UnlockAudioDevice(sound->device);
}

void StartSound(StudioSound* sound, uint32_t positionMs)
{
    SDL_LockAudioDevice(sound->device);
    sound->count = StartSoundCount(positionMs);
    sound->nextByte = sound->count.bytesDelivered;
    sound->isPlaying = true;
    SDL_UnlockAudioDevice(sound->device);
    SDL_PauseAudioDevice(sound->device, 0);
}

void StopSound(StudioSound* sound)
{
    SDL_PauseAudioDevice(sound->device, 1);
    sound->isPlaying = false;
}

void SetVolume(StudioSound* sound, int32_t volume, bool isMuted)
{
    SDL_LockAudioDevice(sound->device);
    sound->volume = std::clamp(volume, 0, 100);
    sound->isMuted = isMuted;
    SDL_UnlockAudioDevice(sound->device);
}

SoundCount ReadSoundCount(StudioSound* sound)
{
    SDL_LockAudioDevice(sound->device);
    const SoundCount count = sound->count;
    SDL_UnlockAudioDevice(sound->device);
    return count;
}
