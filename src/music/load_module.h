// SPDX-License-Identifier: MIT

// A module as libmodplug plays it for a piece. Everybody who makes sound of one loads it here, so
// that all get the same bytes.
#pragma once

#include <cstdint>

#include "music/module_file.h"

struct _ModPlugFile; // libmodplug's own name

inline constexpr int32_t kModuleRate = 44100;         // sample frames a second
inline constexpr uint32_t kModuleFrameBytes = 4;      // left and right, 16 bits each, signed
inline constexpr uint32_t kModuleBlockFrames = 8192;  // that a player asks for at a time, 186 ms
inline constexpr uint32_t kModuleFramesPerTick = 441; // of a piece's ticks, 10 ms each

/// Loads a module and sets how it plays.
/// @param file   stays until the module is unloaded
/// @return a module for ModPlug_Unload; null if the file is no Extended Module
/// The library keeps one set of settings and some of its sound for all modules. The module is read
/// under the settings that are in force, and only played under those of a piece; so its bytes are
/// the player's for the first module of a process.
_ModPlugFile* LoadModule(const ModuleFile* file);
