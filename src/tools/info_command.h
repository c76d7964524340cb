// SPDX-License-Identifier: MIT

// A package at a glance.
#pragma once

#include <cstdint>
#include <string>

/// Prints title and authors, length, tempo, sizes, checksums, the items of both documents, the
/// kinds of things they use, and what the piece takes of memory. Title and authors stand in the
/// entry piece.txt, lines such as "title: Blue" and "author: Ann"; players ignore it.
/// @param isJson   prints one JSON object
/// @return false after an error line: no package, or one whose documents have faults; all that can
///         be told is printed all the same
bool PrintPackageInfo(const std::string& path, bool isJson);

/// The same facts for other commands.
struct PackageFacts
{
    std::string json; // an object
    uint32_t ticks;   // from the start to the end of the last clip; 0 for a piece with faults
};

/// @return false after an error line: no package
bool GatherPackageFacts(const std::string& path, PackageFacts* facts);
