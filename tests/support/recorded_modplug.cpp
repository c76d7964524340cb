// SPDX-License-Identifier: MIT
#include "support/recorded_modplug.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <libmodplug/modplug.h>
#include <string>

#include "support/recorded_gl.h"

ModPlugScript ModPlug;

/// The only module that there is.
struct _ModPlugFile
{
    uint32_t played; // bytes
};

static ModPlugFile theModule;

static constexpr size_t kTitleAt = 17;
static constexpr size_t kTitleSize = 20;

std::string MakeModuleHead(const std::string& title)
{
    std::string head = "Extended Module: " + title;
    head.resize(512, '\0');
    head[60] = 20; // bytes of the header
    head[64] = 1;  // orders
    head[68] = 2;  // channels
    return head;
}

static void CheckModule(const ModPlugFile* file)
{
    if (file != &theModule)
    {
        fprintf(stderr, "recorded modplug: a call with a module that was never loaded\n");
        abort();
    }
}

extern "C"
{

    ModPlugFile* ModPlug_Load(const void* data, int size)
    {
        const std::string file(static_cast<const char*>(data), static_cast<size_t>(size));
        const std::string title = file.substr(kTitleAt, kTitleSize).c_str();
        RecordCall("ModPlug_Load " + std::to_string(title.size()) + " \"" + title + "\"");
        return ModPlug.loadFails ? nullptr : &theModule;
    }

    void ModPlug_Unload(ModPlugFile* file)
    {
        CheckModule(file);
        RecordCall("ModPlug_Unload");
    }

    void ModPlug_SetMasterVolume(ModPlugFile* file, unsigned int volume)
    {
        CheckModule(file);
        RecordCall("ModPlug_SetMasterVolume " + std::to_string(volume));
    }

    void ModPlug_GetSettings(ModPlug_Settings* settings)
    {
        RecordCall("ModPlug_GetSettings");
        *settings = {.mFlags = MODPLUG_ENABLE_OVERSAMPLING | MODPLUG_ENABLE_NOISE_REDUCTION,
                     .mChannels = 2,
                     .mBits = 16,
                     .mFrequency = 44100,
                     .mResamplingMode = MODPLUG_RESAMPLE_LINEAR,
                     .mStereoSeparation = 101,
                     .mMaxMixChannels = 102,
                     .mReverbDepth = 103,
                     .mReverbDelay = 104,
                     .mBassAmount = 105,
                     .mBassRange = 106,
                     .mSurroundDepth = 107,
                     .mSurroundDelay = 108,
                     .mLoopCount = 0};
    }

    void ModPlug_SetSettings(const ModPlug_Settings* settings)
    {
        char line[256];
        snprintf(line, sizeof(line),
                 "ModPlug_SetSettings flags %d channels %d bits %d frequency %d resampling %d "
                 "stereo %d mix %d reverb %d %d bass %d %d surround %d %d loops %d",
                 settings->mFlags, settings->mChannels, settings->mBits, settings->mFrequency,
                 settings->mResamplingMode, settings->mStereoSeparation, settings->mMaxMixChannels,
                 settings->mReverbDepth, settings->mReverbDelay, settings->mBassAmount,
                 settings->mBassRange, settings->mSurroundDepth, settings->mSurroundDelay,
                 settings->mLoopCount);
        RecordCall(line);
    }

    int ModPlug_Read(ModPlugFile* file, void* buffer, int size)
    {
        CheckModule(file);
        RecordCall("ModPlug_Read " + std::to_string(size));
        uint32_t bytes = std::min(static_cast<uint32_t>(size), ModPlug.moduleBytes - file->played);
        memset(buffer, 0x11, bytes);
        file->played += bytes;
        return static_cast<int>(bytes);
    }

} // extern "C"
