// What dpk does with packages: the operations of engine/data/package_tools.h behind checks, because
// the format itself refuses nothing. Each routine reports its errors and returns false then. The
// old package is untouched in that case: a new one is written beside it, read back and compared
// with its sources, and only then renamed.
//
// Refused for a package that is to be written: a name that is empty, longer than 32 bytes or there
// twice; a name of exactly 32 bytes whose data would start at 16 MiB or later, where no reader
// finds it; an entry of 2 GiB or more, and a package of more than 4 GiB.
#pragma once

#include <string>
#include <vector>

#include "engine/data/package_tools.h"
#include "tools/package_listing.h"

/// Writes a package.
/// @param list     entries without sourceDir come out of `source`
/// @param source   an open package, which may be the file that is replaced; null for none
bool WriteCheckedPackage(const PendingEntry* list, const ListedPackage* source,
                         const std::string& path);

/// Appends a file on disk to the list under its own name.
/// @param path   folder and name; the folder becomes the entry's sourceDir
/// @return the new sentinel
PendingEntry* AppendDiskFile(PendingEntry* list, const std::string& path);

/// Prints one line an entry, in directory order: name, start and size, with a tab between them.
bool ListPackage(const std::string& path);

/// Writes entries to files of their names, over what stands there. Nothing is written if a name has
/// a slash, or is "." or "..".
/// @param folder   made if it does not exist
/// @param names    empty for all entries
bool ExtractFromPackage(const std::string& path, const std::string& folder,
                        const std::vector<std::string>& names);

/// Adds files at the end of the directory, each under its name without its folder.
bool AddToPackage(const std::string& path, const std::vector<std::string>& files);

/// Removes every entry of these names; each has to be there.
bool RemoveFromPackage(const std::string& path, const std::vector<std::string>& names);

/// Writes a package of these files, over an old one.
bool CreatePackage(const std::string& path, const std::vector<std::string>& files);
