// SPDX-License-Identifier: MIT

// A module from its start to its end, without a sound device: the samples that a player hands to
// one, and the rows with the moments at which they begin.
//
// Sample frame 441 * t is heard at tick t of the piece.
#pragma once

#include <cstdint>

#include "music/module_file.h"

/// Zeros are silence.
struct ModuleSound
{
    int16_t* samples;    // [frameCount][2], left and right, owned
    uint32_t frameCount; // at kModuleRate; silence follows
};

/// Plays a module in the player's blocks. The bytes are the player's if this is the first module of
/// the process; ModPlug_Read gives other ones for other blocks.
/// @param file         one that is no Extended Module is silent
/// @param mostFrames   the sound ends there at the latest: a module can play on for ever
/// @param sound        all zero; for FreeModuleSound whatever comes back
/// @return false after a fault: no memory
bool RenderModule(const ModuleFile* file, uint32_t mostFrames, ModuleSound* sound,
                  FaultList* faults);

void FreeModuleSound(ModuleSound* sound);

/// A row of a pattern, from when it plays.
struct ModuleRow
{
    uint32_t frame;  // sample frame at which it begins
    int32_t order;   // place in the module's list of patterns, from 0
    int32_t pattern; // number of the pattern
    int32_t row;     // of the pattern, from 0
    int32_t speed;   // module ticks a row
    int32_t tempo;   // beats a minute, by the module's own count: a module tick is 2.5 / tempo s
};

/// Zeros are a module without rows.
struct ModuleRows
{
    ModuleRow* rows;     // [count], owned, in the order in which they play
    uint32_t count;      // a row that follows itself counts once
    uint32_t frameCount; // sample frames up to the end of the last
};

/// Plays a module sample frame by sample frame, which takes a second for every four minutes of it,
/// and notes its rows. A row that is jumped to again stands there once more.
/// @param mostFrames   as for RenderModule
/// @param rows         all zero; for FreeModuleRows whatever comes back
/// @return false after a fault: no memory
bool FindModuleRows(const ModuleFile* file, uint32_t mostFrames, ModuleRows* rows,
                    FaultList* faults);

void FreeModuleRows(ModuleRows* rows);

/// @return the first time that a row plays; null if it never does
const ModuleRow* FindRow(const ModuleRows* rows, int32_t order, int32_t row);

/// @return the row that plays at a tick of the piece; null before the first and at the end
const ModuleRow* RowAtTick(const ModuleRows* rows, uint32_t tick);

/// @return the first tick that lies in the row
uint32_t TickOfRow(const ModuleRow* row);
