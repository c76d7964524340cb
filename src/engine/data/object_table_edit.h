// SPDX-License-Identifier: MIT

// Changing a table after it is built: reference counts, insertion at a position, deletion and
// reordering. The player does none of it.
//
// Everything here moves `order` and `position` alone and never an id, so references that other
// records hold stay good. Positions count from 1.
#pragma once

#include <cstdint>

#include "engine/data/object_table.h"

/// The outcome of DeleteObject.
enum DeleteResult : uint32_t
{
    kDeleted = 0,
    kDeleteReferenced = 1, // something refers to the record; nothing has changed
    kDeleteMissing = 2,    // there is no record at that position
};

/// Adds one to the record's reference count and prints "Increase %u\n" with the id.
/// @param id   1 to 4096, not checked
void IncreaseObjectRefs(uint32_t id, ObjectTable* table);

/// Takes one off the record's reference count and prints "Decrease %u\n" with the id; does nothing,
/// without a line, if the count is 0.
/// @param id   1 to 4096, not checked
void DecreaseObjectRefs(uint32_t id, ObjectTable* table);

/// @param position   1 to count, not checked
/// @return 1 if the position holds a record that nothing refers to, otherwise 0
uint32_t IsObjectDeletable(uint32_t position, const ObjectTable* table);

/// Exchanges two places of the order. Does nothing if either is outside 1 to 4095 or holds no id:
/// the last position of a full table can't take part.
void SwapObjectPositions(uint32_t a, uint32_t b, ObjectTable* table);

/// Adds an uninitialised record at a position and moves those from there on up by one.
/// @param position   0 counts as 1, anything beyond count goes to the end
/// @return the new record's id, the lowest free one; 0 if the table is full or there is no memory,
///         and then nothing has changed
uint32_t InsertObject(uint32_t position, ObjectTable* table);

/// Removes the record at a position if nothing refers to it, and closes the gap.
DeleteResult DeleteObject(uint32_t position, ObjectTable* table);

/// Removes the record at a position whatever refers to it; does nothing where there is none. The
/// reference count stays in the free slot until AllocateObject hands the id out again.
void ForceDeleteObject(uint32_t position, ObjectTable* table);
