// SPDX-License-Identifier: MIT

// A whole run of the player, launcher included, written down: every call of OpenGL, SDL and
// libmodplug with all that it read from memory, every printed line, the exit code.
//
// RunDemo is the only routine of the player that is called here. The launcher is the real one, and
// the mouse works it, so that nothing else of the player has to be known.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/package_builder.h"
#include "support/recorded_gl.h"
#include "support/recorded_modplug.h"
#include "support/recorded_sdl.h"

struct PlayerRun
{
    std::vector<PackageEntry> files;    // what lies in the folder that it runs in
    std::vector<std::string> arguments; // argv from 1 on
    std::vector<ScriptedMouse> clicks;  // in the launcher, before the start button
    std::vector<ScriptedPoll> polls;    // one a frame
    uint32_t earlyReadings = 0;         // of SDL_GetTicks, earlyStepMs from each to the next
    uint32_t earlyStepMs = 0;           //
    uint32_t stepMs = 20;               // between later readings
    GlExtensions gl = {true, true, true, true, true};
    SdlScript sdl = {}; // its mouse, polls and ticks come from above
    ModPlugScript modplug = {};
};

/// Places in the launcher window.
ScriptedMouse ResolutionRow(uint32_t index); // 0 to 15
ScriptedMouse AspectRow(uint32_t index);     // 0 to 2
ScriptedMouse SwitchRow(uint32_t index);     // full screen, antialiasing, music, buffer objects

/// @param steadySines   sines and cosines are those of steady_libm.h; otherwise the machine's
/// @return the log, a line each; the last one is "exit 0", or "signal 11"
std::string RecordPlayerRun(const PlayerRun& run, bool steadySines);
