// SPDX-License-Identifier: MIT

// Where the bytes of a package are, and which of them could go.
#pragma once

#include <string>

struct SizeOptions
{
    std::string picture; // SVG file to write; empty for none
    bool isForced;       // writes the picture over a file of another kind, too
    bool triesSmall;     // packs each container by zopfli and tells what that saves
};

/// Prints a table of all entries and records, the largest first, with their share of the package;
/// then what nothing uses, and what `dpk build --small` would save.
/// @return false after an error line
bool PrintPackageSizes(const std::string& path, const SizeOptions& options);
