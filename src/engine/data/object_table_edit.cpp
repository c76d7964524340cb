// SPDX-License-Identifier: MIT
#include "engine/data/object_table_edit.h"

#include <cstdio>
#include <cstdlib>

void IncreaseObjectRefs(uint32_t id, ObjectTable* table)
{
    printf("Increase %u\n", id);
    table->refCount[id - 1] += 1;
}

void DecreaseObjectRefs(uint32_t id, ObjectTable* table)
{
    if (table->refCount[id - 1] == 0)
    {
        return;
    }
    printf("Decrease %u\n", id);
    table->refCount[id - 1] -= 1;
}

/// @return the id at a position, 0 where there is no record
static uint32_t LiveIdAt(uint32_t position, const ObjectTable* table)
{
    if (position < 1 || position > kObjectTableCapacity)
    {
        return 0;
    }
    const uint32_t id = table->order[position - 1];
    return id != 0 && table->records[id - 1] != nullptr ? id : 0;
}

uint32_t IsObjectDeletable(uint32_t position, const ObjectTable* table)
{
    const uint32_t id = LiveIdAt(position, table);
    return id != 0 && table->refCount[id - 1] == 0 ? 1 : 0;
}

void SwapObjectPositions(uint32_t a, uint32_t b, ObjectTable* table)
{
    // One short of the capacity, unlike every other check: position 4096 stays where it is.
    constexpr uint32_t kLastSwappable = kObjectTableCapacity - 1;
    if (a < 1 || a > kLastSwappable || b < 1 || b > kLastSwappable)
    {
        return;
    }
    const uint32_t idA = table->order[a - 1];
    const uint32_t idB = table->order[b - 1];
    if (idA == 0 || idB == 0)
    {
        return;
    }
    table->order[a - 1] = idB;
    table->order[b - 1] = idA;
    table->position[idA - 1] = b;
    table->position[idB - 1] = a;
}

uint32_t InsertObject(uint32_t position, ObjectTable* table)
{
    if (table->count == kObjectTableCapacity)
    {
        return 0;
    }
    if (position == 0)
    {
        position = 1;
    }
    if (position > table->count)
    {
        return AllocateObject(table);
    }

    const uint32_t id = table->lowestFree;
    table->records[id - 1] = malloc(table->recordSize);
    if (table->records[id - 1] == nullptr)
    {
        return 0;
    }
    table->idUsed[id - 1] = id;
    table->position[id - 1] = position;
    // refCount stays as it stands, unlike in AllocateObject: 0, unless a ForceDeleteObject left a
    // count behind.

    for (uint32_t place = table->count; place >= position; --place)
    {
        const uint32_t moved = table->order[place - 1];
        table->order[place] = moved;
        table->position[moved - 1] += 1;
    }
    table->order[position - 1] = id;
    table->count += 1;

    table->lowestFree = FindNextFreeId(id, table);
    return id;
}

/// Frees the record at a position and closes the gap.
static void RemoveObject(uint32_t position, uint32_t id, ObjectTable* table)
{
    free(table->records[id - 1]);
    table->records[id - 1] = nullptr;
    table->idUsed[id - 1] = 0;
    table->position[id - 1] = 0;
    if (id < table->lowestFree)
    {
        table->lowestFree = id;
    }

    for (uint32_t place = position; place < table->count; ++place)
    {
        const uint32_t moved = table->order[place];
        table->order[place - 1] = moved;
        table->position[moved - 1] -= 1;
    }
    table->order[table->count - 1] = 0;
    table->count -= 1;
}

DeleteResult DeleteObject(uint32_t position, ObjectTable* table)
{
    const uint32_t id = LiveIdAt(position, table);
    if (id == 0)
    {
        return kDeleteMissing;
    }
    if (table->refCount[id - 1] != 0)
    {
        return kDeleteReferenced;
    }
    RemoveObject(position, id, table);
    return kDeleted;
}

void ForceDeleteObject(uint32_t position, ObjectTable* table)
{
    const uint32_t id = LiveIdAt(position, table);
    if (id != 0)
    {
        RemoveObject(position, id, table);
    }
}
