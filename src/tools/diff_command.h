// SPDX-License-Identifier: MIT

// The differences between two packages.
#pragma once

#include <string>

/// Prints a line for each difference, by entry and by item: entries that one of them lacks, records
/// that are new, gone or moved, and each value that is another one. Documents are compared by what
/// they say, so that blanks and packing count for nothing, and items that have a name are found by
/// it. Models are compared by their numbers, all other entries by their bytes.
/// @return kExitDone if they say the same, kExitFailed if they differ, kExitUsage after an error
///         line: one can't be read
int PrintPackageDiff(const std::string& one, const std::string& other);
