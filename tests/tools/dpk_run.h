// SPDX-License-Identifier: MIT

// The program dpk, run by a test as its users run it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/temporary_folder.h"

struct DpkRun
{
    int exitCode; // -1 if a signal ended it
    std::string out;
    std::string err;
};

/// The surroundings of a run.
struct DpkSurroundings
{
    std::string workshops;    // TMPDIR; empty leaves it as it is
    std::string output;       // standard output goes to this file; empty records it
    uint64_t fileSizeLimit;   // bytes, 0 for none
    unsigned mask;            // umask
    uint64_t memoryLimit = 0; // bytes of RLIMIT_DATA, 0 for none
};

inline const DpkSurroundings kOrdinary = {{}, {}, 0, 022};

/// Runs dpk with the folder as the working directory.
DpkRun RunDpk(const TemporaryFolder& folder, const std::vector<std::string>& arguments,
              const DpkSurroundings& surroundings = kOrdinary);

/// Turns this process, a child that a test has forked, into dpk with the folder as the working
/// directory. All that it prints is lost.
[[noreturn]] void ExecuteDpk(const TemporaryFolder& folder,
                             const std::vector<std::string>& arguments);

/// @return the names of all files of the folder, hidden ones too, sorted, with a space between them
std::string FilesIn(const TemporaryFolder& folder);

/// The permission bits of a file of the folder.
unsigned PermissionsOf(const TemporaryFolder& folder, const std::string& name);

/// Bytes with zeros in them: the literal without its own terminator.
template <size_t size>
std::string Raw(const char (&literal)[size])
{
    return std::string(literal, size - 1);
}
