// Files of the disk: reading them whole, and replacing them in one step, so that a command that
// fails leaves the old file as it was. Every routine here reports its own errors and returns false
// then.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/// Opens a regular file for reading and tells its size in bytes. A folder, a pipe and the like are
/// errors.
/// @return an open binary read stream for the caller to close; null after an error line
FILE* OpenForReading(const std::string& path, uint64_t* size);

bool ReadWholeFile(const std::string& path, Bytes* bytes);

/// Whether two streams give the same `size` bytes from these offsets on. Prints nothing.
bool SameBytes(FILE* a, uint64_t offsetA, FILE* b, uint64_t offsetB, uint64_t size);

/// Makes a folder, with those above it that are missing. One that is there is fine.
bool MakeFolder(const std::string& folder);

/// A file that is written beside the one that it will replace.
struct Replacement
{
    std::string target;    // the file that is meant; where the path is a link, what it points to
    std::string temporary; // in the same folder; exists from Begin to Commit or Abandon
    int file;              // owned descriptor of the temporary file
};

/// Creates the temporary file, empty. A target that exists has to be a regular file that may be
/// written.
bool BeginReplacement(const std::string& path, Replacement* replacement);

/// Puts what the temporary file holds in the target's place: it gets the target's permissions, or
/// 0644 less the umask for a new file, is flushed to the disk and renamed. On an error the
/// temporary file is gone and the target untouched.
bool CommitReplacement(Replacement* replacement);

/// Removes the temporary file.
void AbandonReplacement(Replacement* replacement);

/// Replaces a file by these bytes.
bool ReplaceFile(const std::string& path, const Bytes& bytes);
