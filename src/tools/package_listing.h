// A package as dpk reads it: the directory is checked before anything of it is believed.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

struct ListedEntry
{
    std::string name; // 1 to 32 bytes
    uint32_t start;   // offset in the file
    uint32_t size;    // bytes, all inside the file
};

struct ListedPackage
{
    std::string path;
    FILE* stream;                     // owned
    std::vector<ListedEntry> entries; // in directory order; a name may stand there twice
};

/// What a package is opened for.
enum class PackageUse
{
    Reading,   // the three bytes in front are not looked at, like in the player
    Rewriting, // they have to be a package's: another file is not taken for one and lost
};

/// Opens a package and checks its directory: it ends inside the file, and every entry's data lies
/// inside the file and ends no earlier than it starts.
/// @return false after an error line
bool OpenPackage(const std::string& path, PackageUse use, ListedPackage* package);

void ClosePackage(ListedPackage* package);

/// @return the first entry with this name, lent; null if there is none
const ListedEntry* FindEntry(const ListedPackage* package, const std::string& name);

/// Whether readers find the entry by its name. A name of exactly 32 bytes is not found when its
/// data starts at 16 MiB or later: the byte behind the name is then no zero.
bool IsReachable(const std::string& name, uint64_t start);
