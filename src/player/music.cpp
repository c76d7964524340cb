// SPDX-License-Identifier: MIT
#include "player/music.h"

#include <SDL.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libmodplug/modplug.h>
#include <unistd.h>

#include "engine/data/allocate.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/plain_text.h"
#include "music/load_module.h"
#include "music/module_file.h"
#include "player/demo_clock.h"

static constexpr Uint8 kChannels = 2;

// Set before audio starts, then touched by the audio thread alone; both stay to the end of the run.
static ModPlugFile* musicModule; // owned; null if the file is no module
static ModuleFile moduleData;

static SDL_AudioSpec grantedAudio; // the device's reply; the clock keeps its own constant

/// SDL's audio callback.
static void FillAudioBlock(void* /*user*/, Uint8* stream, int length)
{
    CountAudioBlock(static_cast<uint32_t>(length));
    if (musicModule != nullptr)
    {
        ModPlug_Read(musicModule, stream, length);
    }
    else
    {
        memset(stream, 0, static_cast<size_t>(length));
    }
    AudioClock.audioStarted = 1;
}

/// Tells that a module is in neither place.
/// @return false after a fault
static bool PrintMissingModule(const char* path, FaultList* faults)
{
    const size_t size = PlainTextSize(strlen(path));
    char* plain = AllocateBlock<char>(size, "a path", faults);
    if (plain == nullptr)
    {
        return false;
    }
    FormatPlainText(path, plain, size);
    printf("Error: cannot open %s!\n", plain);
    free(plain);
    return true;
}

static bool StartAudio()
{
    SDL_AudioSpec wish = {};
    wish.freq = kModuleRate;
    wish.format = AUDIO_S16LSB;
    wish.channels = kChannels;
    wish.samples = kModuleBlockFrames;
    wish.callback = FillAudioBlock;
    wish.userdata = nullptr;
    if (SDL_OpenAudio(&wish, &grantedAudio) < 0)
    {
        fprintf(stderr, "Couldn't open audio: %s\n", SDL_GetError());
        return false;
    }
    SDL_PauseAudio(0);
    StartAudioClock();
    return true;
}

MusicResult StartMusic(const DemoDocument* document, LauncherChoice* choice, FaultList* faults)
{
    if (choice->music != kSwitchOn)
    {
        StartSilentClock(choice);
        return MusicResult::kStarted;
    }

    faults->place = PlaceAt(document->name, Section::kMusic);
    const TiXmlElement* node = RequireElement(document->musicNode, "the node", faults);
    if (node == nullptr)
    {
        return MusicResult::kFailed;
    }
    const char* path = node->Attribute("file");
    const int stream = path == nullptr ? -1 : OpenModuleFile(nullptr, path);
    if (stream < 0)
    {
        if (path != nullptr && !PrintMissingModule(path, faults))
        {
            return MusicResult::kFailed;
        }
        StartSilentClock(choice);
        return MusicResult::kStarted;
    }
    const bool read = ReadModuleFile(stream, path, &moduleData, faults);
    close(stream);
    if (!read)
    {
        return MusicResult::kFailed;
    }

    musicModule = LoadModule(&moduleData);
    return StartAudio() ? MusicResult::kStarted : MusicResult::kNoDevice;
}
