// SPDX-License-Identifier: MIT

// Files of the disk: reading them whole, and replacing them in one step, so that a command that
// fails or is killed leaves the old file as it was. Every routine here but WriteAll reports its own
// errors and returns false then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// Tells the size of a regular file in bytes. Anything else, such as a pipe, is an error.
bool MeasureFile(const std::string& path, uint64_t* size);

/// Reads a regular file whole, and never waits for a pipe.
/// @param most   bytes; a larger file is an error
bool ReadWholeFile(const std::string& path, uint64_t most, Bytes* bytes);

/// Writes bytes to an open file, pipe or socket, and goes on after a signal or a part.
/// It prints nothing.
/// @param bytes   size bytes
/// @return false with errno set
bool WriteAll(int file, const void* bytes, size_t size);

/// Stands for standard input or output where a command takes a file.
inline constexpr const char* kStandardStream = "-";

/// Reads a file as ReadWholeFile does, or standard input to its end if the path is "-".
bool ReadInput(const std::string& path, uint64_t most, Bytes* bytes);

/// Writes to standard output. @return false after an error line
bool WriteStandardOutput(const unsigned char* bytes, size_t size);

/// Makes a folder, with those above it that are missing. One that is there is fine.
bool MakeFolder(const std::string& folder);

/// How a file is replaced.
struct ReplaceOptions
{
    uint32_t newMode;       // permissions of a file that is new, less the umask
    bool followsLinks;      // writes what a link points to; else a link is an error
    const char* writeFault; // told where the bytes can't be written; null for the system's words
};

inline constexpr ReplaceOptions kOrdinaryReplacement = {0644, true, nullptr};

/// Replaces a file, or makes a new one. The bytes are written beside it, flushed to the disk and
/// then given its name and its permissions. A target that exists has to be a regular file that may
/// be written. Where the file system can do that, the new file has no name before it is whole, so
/// that nothing stays behind even if the program is killed. Signals that a user sends wait until it
/// is over.
/// @param bytes   size bytes
/// @return false after an error line; the old file is untouched then
bool ReplaceFile(const std::string& path, const unsigned char* bytes, size_t size,
                 const ReplaceOptions& options = kOrdinaryReplacement);
