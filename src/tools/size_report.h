// SPDX-License-Identifier: MIT

// Where the bytes of a package are: entries, and in documents the records.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/package_listing.h"

/// A share of a package's bytes.
struct SizeRow
{
    std::string label; // an entry, or an item of a document
    std::string entry;
    double bytes;      // packed; of an item its part of its document's container
    uint64_t unpacked; // bytes; 0 for an item
    bool isItem;
    bool isUnused; // no document names the entry
};

/// Measures a package: an entry's row, then those of its items, each in the order of the file.
/// @return false after an error line
bool MeasurePackage(const ListedPackage* package, std::vector<SizeRow>* rows);
