// SPDX-License-Identifier: MIT

// The commands of dpk that work on packages. The format itself refuses nothing, so here stand the
// checks. Each routine reports its errors and returns false then. The old package is untouched in
// that case: a new one is put together in memory, written beside it and renamed.
//
// Refused for a package that is to be written: a name that is empty, longer than 32 bytes or there
// twice; a name of exactly 32 bytes whose data would start at 16 MiB or later, where no reader
// finds it; an entry of 2 GiB or more, and a package of more than 4 GiB.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "engine/data/package_tools.h"

/// An entry of a package to be written, with the place that it will have.
struct PlannedEntry
{
    std::string name;
    uint64_t size;  // bytes
    uint64_t start; // offset in the new package
};

/// Refuses names that a package can't hold.
/// @return false after an error line
bool CheckNames(const std::vector<PlannedEntry>& plan);

/// Works out where entries of these sizes will be, and refuses what a package can't hold.
/// @return false after an error line
bool PlaceEntries(std::vector<PlannedEntry>* plan);

/// Writes a package in one step.
/// @param plan      where everything has to be
/// @param package   is freed; null bytes write nothing
/// @return false after an error line
bool WritePackage(const std::string& path, const std::vector<PlannedEntry>& plan,
                  PackageBytes* package);

/// Prints one line an entry, in directory order: name, start and size, with a tab between them; or
/// one JSON array of objects with these.
bool ListPackage(const std::string& path, bool json);

/// Writes entries to files of their names, each over an old one in one step. Nothing is written if
/// a name has a slash, is "." or "..", or if the file would take the package's own place. What is
/// no regular file is not written over, links included.
/// @param folder   made if it does not exist; "-" writes the one that is named to standard output
/// @param names    empty for all entries
bool ExtractFromPackage(const std::string& path, const std::string& folder,
                        const std::vector<std::string>& names);

/// Adds files at the end of the directory, each under its name without its folder. Two programs
/// that add to a package at once wait for each other.
bool AddToPackage(const std::string& path, const std::vector<std::string>& files);

/// Removes every entry of these names; each has to be there.
bool RemoveFromPackage(const std::string& path, const std::vector<std::string>& names);

/// Writes a package of these files, over an old one.
/// @param isForced   writes over a file that is no package, too
bool CreatePackage(const std::string& path, const std::vector<std::string>& files, bool isForced);
