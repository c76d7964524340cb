// SPDX-License-Identifier: MIT
#include "engine/data/object_table.h"

#include <cassert>
#include <cstdlib>

ObjectTable* CreateObjectTable(uint32_t recordSize)
{
    ObjectTable* table = static_cast<ObjectTable*>(calloc(1, sizeof(ObjectTable)));
    if (table == nullptr)
    {
        return nullptr;
    }
    table->recordSize = recordSize;
    table->lowestFree = 1;
    return table;
}

void FreeObjectTable(ObjectTable* table)
{
    if (table == nullptr)
    {
        return;
    }
    for (uint32_t position = table->count; position > 0; --position)
    {
        free(table->records[table->order[position - 1] - 1]);
    }
    free(table);
}

uint32_t FindNextFreeId(uint32_t id, const ObjectTable* table)
{
    if (table->count >= kObjectTableCapacity)
    {
        return kObjectTableCapacity + 1;
    }
    do
    {
        ++id;
    } while (table->idUsed[id - 1] != 0);
    return id;
}

uint32_t AllocateObject(ObjectTable* table)
{
    if (table->count == kObjectTableCapacity)
    {
        return 0;
    }

    const uint32_t id = table->lowestFree;
    assert(table->idUsed[id - 1] == 0);
    table->records[id - 1] = calloc(1, table->recordSize);
    if (table->records[id - 1] == nullptr)
    {
        return 0;
    }
    table->refCount[id - 1] = 0;
    table->idUsed[id - 1] = id;

    table->count += 1;
    table->position[id - 1] = table->count;
    table->order[table->count - 1] = id;

    table->lowestFree = FindNextFreeId(id, table);
    return id;
}

uint32_t ObjectPosition(uint32_t id, const ObjectTable* table)
{
    return table->position[id - 1];
}

void* GetObjectAtPosition(int32_t position, ObjectTable* table)
{
    if (position < 1 || position > static_cast<int32_t>(kObjectTableCapacity) ||
        static_cast<uint32_t>(position) > table->count)
    {
        return nullptr;
    }
    return table->records[table->order[position - 1] - 1];
}

uint32_t ObjectIdAtPosition(uint32_t position, const ObjectTable* table)
{
    return table->order[position - 1];
}
