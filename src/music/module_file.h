// SPDX-License-Identifier: MIT

// The file of a module: where it is looked for, and its bytes as libmodplug needs them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/fault.h"

/// Zeros are no file.
struct ModuleFile
{
    uint8_t* data; // owned; kModulePadding zeros follow it
    size_t size;   // bytes
};

/// Opens a module under its own path or below "music/". It never waits: the other end of a pipe
/// need not be there.
/// @param folder   that both places are counted from, unless the path is absolute; null for the
///                 working folder
/// @return a descriptor for the caller to close; negative if the module is in neither place
int OpenModuleFile(const char* folder, const char* path);

/// Reads the whole file. No bytes come of a folder, a pipe or a device.
/// @param stream   open; left at no particular position
/// @param path     for the fault
/// @param file     receives the bytes, for FreeModuleFile; not written after a fault
/// @return false after a fault: a size that is too large or can't be allocated
bool ReadModuleFile(int stream, const char* path, ModuleFile* file, FaultList* faults);

/// Gives the bytes back. The file is then all zero.
void FreeModuleFile(ModuleFile* file);
