// SPDX-License-Identifier: MIT

// The items of one document of a package, read by the player's own readers with all their pixels,
// for commands that look at what items are and not at how they play. No display is needed.
#pragma once

#include <functional>
#include <span>

#include "engine/data/fault.h"
#include "engine/piece/piece.h"
#include "tools/package_listing.h"

/// Takes the item that was read last.
/// @param reader   its context has the layers and the faults so far
/// @param item     its record stays the document's; a taker that needs no more of a record's pixels
/// may
///                 give them back
/// @return false to read no further
using ItemTaker = std::function<bool(DocumentReader* reader, const ItemPlace& item)>;

/// Reads a document item by item.
/// @param name       of its entry; lent
/// @param sections   the sections whose items are read; the others are walked over
/// @param faults     receives what ended the reading, unless the taker did
/// @return false after a fault, and where the taker gave false
/// The document is given back before this returns.
bool ReadDocumentItems(ListedPackage* package, const char* name, std::span<const Section> sections,
                       const ItemTaker& take, FaultList* faults);
