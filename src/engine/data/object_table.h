// SPDX-License-Identifier: MIT

// A table of records of one kind. Documents and records name each other by id, and an id turns into
// a pointer at each use.
//
// Two numberings stand side by side. The id (1 to 4096) is a record's name and never changes while
// the record lives. The position (1 to count) is its place in an ordered list. The player allocates
// by id, reads by id and frees whole tables; where nothing was ever removed, the n-th record has
// id n and position n, and documents rely on that. So the player has no use for positions.
#pragma once

#include <cstdint>

#include "engine/data/vocabulary_numbers.h"

/// One heap block, parallel arrays. For every live id: order[position[id - 1] - 1] == id. `order`
/// has no holes, and every id below lowestFree is in use.
struct ObjectTable
{
    uint32_t recordSize;                     // bytes of each record
    void* records[kObjectTableCapacity];     // [id - 1], owned; null where the id is free
    uint32_t idUsed[kObjectTableCapacity];   // [id - 1], the id itself; 0 where it is free
    uint32_t refCount[kObjectTableCapacity]; // [id - 1], references that other records hold
    uint32_t lowestFree;                     // id; kObjectTableCapacity + 1 when full
    uint32_t count;                          // live records
    uint32_t order[kObjectTableCapacity];    // [position - 1], ids; 0 from count on
    uint32_t position[kObjectTableCapacity]; // [id - 1], counted from 1; 0 where it is free
};

/// @param recordSize   bytes of each record
/// @return a new empty table for FreeObjectTable; null without memory
ObjectTable* CreateObjectTable(uint32_t recordSize);

/// Frees each live record, from the last position to the first, then the table. What records point
/// to is not the table's. Null is allowed.
void FreeObjectTable(ObjectTable* table);

/// Adds a record of zeros at the end of the order. The memory of a large one is taken from the
/// machine page by page, as it is written: a scene is half a megabyte, and mostly empty.
/// @return its id, the lowest free one; 0 if the table is full (count is kObjectTableCapacity) or
///         there is no memory, and then nothing has changed
uint32_t AllocateObject(ObjectTable* table);

/// The first free id above one that is in use, kObjectTableCapacity + 1 if the table is full. What
/// lowestFree becomes once the lowest free id was handed out: none below it is free.
uint32_t FindNextFreeId(uint32_t id, const ObjectTable* table);

/// @return the record, lent; null for an id outside 1 to 4096 (a negative number of a document is
/// one)
///         and for a free id
inline void* GetObject(uint32_t id, ObjectTable* table)
{
    return id - 1 < kObjectTableCapacity ? table->records[id - 1] : nullptr;
}

inline const void* GetObject(uint32_t id, const ObjectTable* table)
{
    return id - 1 < kObjectTableCapacity ? table->records[id - 1] : nullptr;
}

/// The same, as a record of the type that the table holds. A table that is const lends records that
/// are.
template <typename Record>
Record* GetRecord(uint32_t id, ObjectTable* table)
{
    return static_cast<Record*>(GetObject(id, table));
}

template <typename Record>
const Record* GetRecord(uint32_t id, const ObjectTable* table)
{
    return static_cast<const Record*>(GetObject(id, table));
}

/// @return the position of an id from 1 to 4096, 0 if it is free. The id is not checked.
uint32_t ObjectPosition(uint32_t id, const ObjectTable* table);

/// @return the record at a position, lent; null outside 1 to 4096 and beyond count
void* GetObjectAtPosition(int32_t position, ObjectTable* table);

/// @return the id at a position from 1 to 4096, 0 beyond count. The position is not checked.
uint32_t ObjectIdAtPosition(uint32_t position, const ObjectTable* table);
