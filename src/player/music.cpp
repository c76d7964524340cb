#include "player/music.h"

#include <SDL.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <libmodplug/modplug.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/allocate.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"
#include "engine/data/plain_text.h"
#include "player/demo_clock.h"
#include "player/module_gate.h"

static constexpr unsigned int kMasterVolume = 512;
static constexpr int kReverbDepth = 20;
static constexpr int kFrequency = 44100; // sample frames a second
static constexpr Uint8 kChannels = 2;
static constexpr Uint16 kBlockFrames = 8192; // about 186 ms

struct ModuleFile
{
    uint8_t* data; // owned; kModulePadding zeros follow it
    size_t size;   // bytes
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

/// Opens the module from its own path or from the music folder. It never waits: the other end of a
/// pipe need not be there.
/// @return a descriptor for the caller to close; negative if the module is in neither place
static int OpenModuleFile(const char* path)
{
    static constexpr int kFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const int file = open(path, kFlags);
    if (file >= 0)
    {
        return file;
    }
    char below[4096]; // no path of the system is longer
    const int length = snprintf(below, sizeof(below), "music/%s", path);
    return length < static_cast<int>(sizeof(below)) ? open(below, kFlags) : -1;
}

/// Reads up to size bytes. A part that can't be read is as good as not there.
/// @return the number of bytes
static size_t ReadBytes(int file, uint8_t* data, size_t size)
{
    size_t got = 0;
    while (got < size)
    {
        const ssize_t step = read(file, data + got, size - got);
        if (step < 0 && errno == EINTR)
        {
            continue;
        }
        if (step <= 0)
        {
            break;
        }
        got += static_cast<size_t>(step);
    }
    return got;
}

/// Reads the whole file. No bytes come of a folder, a pipe or a device.
/// @return false after a fault: a size that is too large or can't be allocated
static bool ReadModuleFile(int stream, const char* path, ModuleFile* file, FaultList* faults)
{
    struct stat status = {};
    const bool hasSize = fstat(stream, &status) == 0 && S_ISREG(status.st_mode);
    const size_t size = hasSize ? static_cast<size_t>(status.st_size) : 0;
    if (size > kLargestModule)
    {
        AddFault(faults, "\"%s\": a module of %zu bytes is larger than any", path, size);
        return false;
    }
    uint8_t* data = static_cast<uint8_t*>(calloc(size + kModulePadding, 1));
    if (data == nullptr)
    {
        AddFault(faults, "\"%s\": its size of %zu bytes can't be allocated", path, size);
        return false;
    }
    *file = {data, ReadBytes(stream, data, size)};
    return true;
}

static void LoadModule(ModuleFile file)
{
    moduleData = file;
    if (IsExtendedModule(file.data, file.size))
    {
        musicModule = ModPlug_Load(file.data, static_cast<int>(file.size));
    }
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
    const int stream = path == nullptr ? -1 : OpenModuleFile(path);
    if (stream < 0)
    {
        if (path != nullptr && !PrintMissingModule(path, faults))
        {
            return MusicResult::kFailed;
        }
        StartSilentClock(choice);
        return MusicResult::kStarted;
    }
    ModuleFile file;
    const bool read = ReadModuleFile(stream, path, &file, faults);
    close(stream);
    if (!read)
    {
        return MusicResult::kFailed;
    }

    LoadModule(file);
    return StartAudio() ? MusicResult::kStarted : MusicResult::kNoDevice;
}
