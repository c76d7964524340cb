#include "player/music.h"

#include <SDL.h>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libmodplug/modplug.h>
#include <sys/stat.h>

#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "player/demo_clock.h"

static constexpr unsigned int kMasterVolume = 512;
static constexpr int kReverbDepth = 20;
static constexpr int kFrequency = 44100; // sample frames a second
static constexpr Uint8 kChannels = 2;
static constexpr Uint16 kBlockFrames = 8192; // about 186 ms

struct ModuleFile
{
    void* data; // owned
    int size;   // bytes
};

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

/// @return the module's file for reading, from its own path or from the music folder; null after a
///         line if it is in neither
static FILE* OpenModuleFile(const char* path)
{
    FILE* stream = fopen(path, "rb");
    if (stream == nullptr)
    {
        char below[4096]; // no path of the system is longer
        const int length = snprintf(below, sizeof(below), "music/%s", path);
        stream = length < static_cast<int>(sizeof(below)) ? fopen(below, "rb") : nullptr;
    }
    if (stream == nullptr)
    {
        printf("Error: cannot open %s!\n", path);
    }
    return stream;
}

/// The size of what can be read; 0 for what has no size of its own, a folder or a device.
static long FindFileSize(FILE* stream)
{
    struct stat status;
    if (fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode))
    {
        return 0;
    }
    fseek(stream, 0, SEEK_END);
    long size = ftell(stream);
    rewind(stream);
    return size < 0 ? 0 : size;
}

/// Reads the whole file. A part that can't be read is as good as not there.
/// @return false after a fault: a size that can't be allocated
static bool ReadModuleFile(FILE* stream, const char* path, ModuleFile* file, FaultList* faults)
{
    long size = FindFileSize(stream);
    // One byte more: an empty file has a block as well.
    void* data = size <= INT_MAX ? malloc(static_cast<size_t>(size) + 1) : nullptr;
    if (data == nullptr)
    {
        AddFault(faults, "\"%s\": its size of %ld bytes can't be allocated", path, size);
        return false;
    }
    const size_t got = fread(data, 1, static_cast<size_t>(size), stream);
    *file = {data, static_cast<int>(got)};
    return true;
}

static void LoadModule(ModuleFile file)
{
    moduleData = file;
    musicModule = ModPlug_Load(file.data, file.size);
    if (musicModule != nullptr)
    {
        ModPlug_SetMasterVolume(musicModule, kMasterVolume);
    }

    // The module is read under the library's defaults, and only its playing under these.
    ModPlug_Settings settings;
    ModPlug_GetSettings(&settings);
    settings.mFlags |= MODPLUG_ENABLE_OVERSAMPLING | MODPLUG_ENABLE_REVERB;
    settings.mResamplingMode = MODPLUG_RESAMPLE_FIR;
    settings.mReverbDepth = kReverbDepth;
    ModPlug_SetSettings(&settings);
}

static bool StartAudio()
{
    SDL_AudioSpec wish = {};
    wish.freq = kFrequency;
    wish.format = AUDIO_S16LSB;
    wish.channels = kChannels;
    wish.samples = kBlockFrames;
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
    FILE* stream = path == nullptr ? nullptr : OpenModuleFile(path);
    if (stream == nullptr)
    {
        StartSilentClock(choice);
        return MusicResult::kStarted;
    }
    ModuleFile file;
    const bool read = ReadModuleFile(stream, path, &file, faults);
    fclose(stream);
    if (!read)
    {
        return MusicResult::kFailed;
    }

    LoadModule(file);
    return StartAudio() ? MusicResult::kStarted : MusicResult::kNoDevice;
}
