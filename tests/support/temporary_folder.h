// SPDX-License-Identifier: MIT

// A folder of its own for a test that works with files.
#pragma once

#include <string>

/// Made empty by its constructor, removed with all that lies in it by its destructor.
struct TemporaryFolder
{
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// Writes a file, making the folders above it that are missing.
    /// @param name   below the folder, such as "music/a.xm"
    void Write(const std::string& name, const std::string& bytes) const;

    /// @return what the file holds; a missing file ends the test program
    std::string Read(const std::string& name) const;

    std::string path; // absolute
};
