// SPDX-License-Identifier: MIT

// A package as dpk reads it: the directory is checked before anything of it is believed.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "engine/data/package_file.h"
#include "tools/files.h"

struct ListedEntry
{
    std::string name; // 1 to 32 bytes
    uint32_t start;   // offset in the file
    uint32_t size;    // bytes, all inside the file
};

struct ListedPackage
{
    std::string path;
    PackageFile file;
    std::vector<ListedEntry> entries; // in directory order; a name may stand there twice
    std::unordered_map<std::string, size_t> places; // of each name's first entry in `entries`
};

enum class PackageUse
{
    kReading,   // the first three bytes may be anything, as in the player
    kRewriting, // they have to be a package's, so that no other file is taken for one and lost.
                // Until it is closed, no other dpk opens the package to rewrite it.
};

/// Opens a package and checks its directory: it ends inside the file, and every entry's data lies
/// inside the file and ends no earlier than it starts.
/// @return false after an error line
bool OpenPackage(const std::string& path, PackageUse use, ListedPackage* package);

void ClosePackage(ListedPackage* package);

/// @return the first entry with this name, lent; null if there is none
const ListedEntry* FindEntry(const ListedPackage* package, const std::string& name);

/// Reads an entry whole.
/// @return false after an error line
bool ReadListedEntry(const ListedPackage* package, const ListedEntry* entry, Bytes* bytes);

/// Whether readers find the entry by its name. A name of exactly 32 bytes is not found when its
/// data starts at 16 MiB or later: the byte after the name is then no zero.
bool IsReachable(const std::string& name, uint64_t start);
