// SPDX-License-Identifier: MIT

// A libmodplug without sound. Each call becomes a line in the record of recorded_gl:
//
//   ModPlug_Load(data, 512), titled "module"         ModPlug_Load 6 "module"
//   ModPlug_SetMasterVolume(module, 512)             ModPlug_SetMasterVolume 512
//   ModPlug_SetSettings(&settings)                   ModPlug_SetSettings flags 7 ... loops 0
//   ModPlug_Read(module, buffer, 32768)              ModPlug_Read 32768
//   ModPlug_Unload(module)                           ModPlug_Unload
//
// The settings that it hands out hold the library's defaults in the fields that matter for a piece,
// and a number of its own in each of the others, so that a field that got lost shows. A call with a
// module that it did not make ends the test program. A module is written down as its title's length
// and its title.
#pragma once

#include <cstdint>
#include <string>

struct ModPlugScript
{
    bool loadFails;       // ModPlug_Load returns null
    uint32_t moduleBytes; // what ModPlug_Read gives in all, as bytes of 0x11; behind it nothing
};

/// The script in force.
extern ModPlugScript ModPlug;

/// The head of an Extended Module, which is all that the player looks at.
/// @param title   at most 20 characters
std::string MakeModuleHead(const std::string& title);
