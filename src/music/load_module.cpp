// SPDX-License-Identifier: MIT
#include "music/load_module.h"

#include <libmodplug/modplug.h>

#include "music/module_gate.h"

static constexpr unsigned int kMasterVolume = 512;
static constexpr int kReverbDepth = 20;

_ModPlugFile* LoadModule(const ModuleFile* file)
{
    ModPlugFile* module = nullptr;
    if (IsExtendedModule(file->data, file->size))
    {
        module = ModPlug_Load(file->data, static_cast<int>(file->size));
    }
    if (module != nullptr)
    {
        ModPlug_SetMasterVolume(module, kMasterVolume);
    }

    // The module is read under the library's defaults, and only its playing under these.
    ModPlug_Settings settings;
    ModPlug_GetSettings(&settings);
    settings.mFlags |= MODPLUG_ENABLE_OVERSAMPLING | MODPLUG_ENABLE_REVERB;
    settings.mResamplingMode = MODPLUG_RESAMPLE_FIR;
    settings.mReverbDepth = kReverbDepth;
    ModPlug_SetSettings(&settings);
    return module;
}
