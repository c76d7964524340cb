// SPDX-License-Identifier: MIT

// Which entries of a package its documents name.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tools/files.h"

inline constexpr const char* kPieceTextName =
    "piece.txt"; // title and authors, which dpk info tells

struct EntryUses
{
    std::set<std::string> names; // every attribute's text, of both documents
    bool namesFirst;             // an empty file name is there: it takes the first entry, unseen
};

/// Adds all that a document names.
/// @param text   a document; one that does not parse names nothing
void AddEntryUses(const Bytes& text, EntryUses* uses);

/// @return whether a player or dpk reads the entry. Text that is no file name may say the same, and
///         then the entry counts as used.
bool IsEntryUsed(const EntryUses& uses, const std::string& entry);
