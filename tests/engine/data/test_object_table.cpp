// SPDX-License-Identifier: MIT
#include "engine/data/object_table.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <type_traits>

#include "support/failing_memory.h"

/// The promises of a table from which nothing was removed: ids are handed out in a row, and id and
/// position are the same number.
static void CheckUneditedTable(const ObjectTable* table)
{
    for (uint32_t n = 1; n <= kObjectTableCapacity; ++n)
    {
        bool live = n <= table->count;
        ASSERT_EQ(table->order[n - 1], live ? n : 0u);
        ASSERT_EQ(table->position[n - 1], live ? n : 0u);
        ASSERT_EQ(table->idUsed[n - 1], live ? n : 0u);
        ASSERT_EQ(table->records[n - 1] != nullptr, live);
        ASSERT_EQ(table->refCount[n - 1], 0u);
    }
    ASSERT_EQ(table->lowestFree, table->count + 1);
}

TEST(ObjectTable, StartsEmpty)
{
    ObjectTable* table = CreateObjectTable(24);
    EXPECT_EQ(table->recordSize, 24u);
    EXPECT_EQ(table->lowestFree, 1u);
    EXPECT_EQ(table->count, 0u);
    CheckUneditedTable(table);
    FreeObjectTable(table);
}

TEST(ObjectTable, HandsOutIdsInOrder)
{
    ObjectTable* table = CreateObjectTable(8);
    EXPECT_EQ(AllocateObject(table), 1u);
    EXPECT_EQ(AllocateObject(table), 2u);
    EXPECT_EQ(AllocateObject(table), 3u);

    EXPECT_EQ(table->lowestFree, 4u);
    EXPECT_EQ(table->count, 3u);
    CheckUneditedTable(table);
    EXPECT_EQ(ObjectPosition(2, table), 2u);
    EXPECT_EQ(ObjectIdAtPosition(3, table), 3u);
    EXPECT_EQ(ObjectIdAtPosition(4, table), 0u);
    FreeObjectTable(table);
}

TEST(ObjectTable, SkipsIdsInUseWhenItLooksForTheNextFreeOne)
{
    ObjectTable* table = CreateObjectTable(8);
    for (int i = 0; i < 4; ++i)
    {
        AllocateObject(table);
    }
    // As if id 2 had been removed: ids 1, 3 and 4 stay at positions 1 to 3.
    free(table->records[1]);
    table->records[1] = nullptr;
    table->idUsed[1] = 0;
    table->position[1] = 0;
    table->refCount[1] = 7;
    table->lowestFree = 2;
    table->count = 3;
    table->order[1] = 3;
    table->order[2] = 4;
    table->order[3] = 0;
    table->position[2] = 2;
    table->position[3] = 3;

    EXPECT_EQ(AllocateObject(table), 2u);
    EXPECT_EQ(table->lowestFree, 5u);
    EXPECT_EQ(ObjectPosition(2, table), 4u);
    EXPECT_EQ(ObjectIdAtPosition(4, table), 2u);
    EXPECT_EQ(table->refCount[1], 0u); // allocation clears what was left behind
    FreeObjectTable(table);
}

TEST(ObjectTable, IsFullAfter4096Records)
{
    ObjectTable* table = CreateObjectTable(1);
    for (uint32_t n = 1; n < kObjectTableCapacity; ++n)
    {
        ASSERT_EQ(AllocateObject(table), n);
    }
    EXPECT_EQ(table->lowestFree, 4096u);
    EXPECT_EQ(AllocateObject(table), 4096u);
    EXPECT_EQ(table->lowestFree, 4097u);
    EXPECT_EQ(AllocateObject(table), 0u);
    EXPECT_EQ(table->count, 4096u);
    CheckUneditedTable(table);
    EXPECT_EQ(GetObject(4096, table), table->records[4095]);
    EXPECT_EQ(GetObjectAtPosition(4096, table), table->records[4095]);
    FreeObjectTable(table);
}

TEST(ObjectTable, GivesNullForIdsThatAreNoRecord)
{
    ObjectTable* table = CreateObjectTable(4);
    AllocateObject(table);
    EXPECT_NE(GetObject(1, table), nullptr);
    EXPECT_EQ(GetObject(2, table), nullptr);
    EXPECT_EQ(GetObject(0, table), nullptr);
    EXPECT_EQ(GetObject(static_cast<uint32_t>(-1), table), nullptr);
    EXPECT_EQ(GetObject(4097, table), nullptr);
    EXPECT_EQ(GetObject(4096, table), nullptr); // a valid read of a free id
    EXPECT_EQ(GetObject(static_cast<uint32_t>(INT32_MIN), table), nullptr);
    EXPECT_EQ(GetObject(2, static_cast<const ObjectTable*>(table)), nullptr);
    FreeObjectTable(table);
}

TEST(ObjectTable, GivesNullForPositionsBeyondTheCount)
{
    ObjectTable* table = CreateObjectTable(4);
    uint32_t id = AllocateObject(table);
    EXPECT_EQ(GetObjectAtPosition(1, table), GetObject(id, table));
    EXPECT_EQ(GetObjectAtPosition(0, table), nullptr);
    EXPECT_EQ(GetObjectAtPosition(-1, table), nullptr);
    EXPECT_EQ(GetObjectAtPosition(2, table), nullptr);
    EXPECT_EQ(GetObjectAtPosition(4097, table), nullptr);
    FreeObjectTable(table);
}

TEST(ObjectTable, RecordsAreSeparateBlocks)
{
    ObjectTable* table = CreateObjectTable(sizeof(uint64_t));
    for (uint64_t n = 1; n <= 100; ++n)
    {
        *GetRecord<uint64_t>(AllocateObject(table), table) = n * 1000;
    }
    for (uint32_t id = 1; id <= 100; ++id)
    {
        EXPECT_EQ(*GetRecord<uint64_t>(id, table), id * uint64_t{1000});
    }
    FreeObjectTable(table);
}

TEST(ObjectTable, ATableThatIsConstLendsConstRecords)
{
    ObjectTable* table = CreateObjectTable(sizeof(int));
    *GetRecord<int>(AllocateObject(table), table) = 5;
    const ObjectTable* lent = table;
    static_assert(std::is_same_v<decltype(GetRecord<int>(1, lent)), const int*>);
    static_assert(std::is_same_v<decltype(GetObject(1, lent)), const void*>);
    EXPECT_EQ(*GetRecord<int>(1, lent), 5);
    FreeObjectTable(table);
}

TEST(ObjectTable, WithoutMemoryThereIsNoRecordAndNothingChanges)
{
    FailAllocation(1);
    EXPECT_EQ(CreateObjectTable(8), nullptr);
    AllowAllocations();
    FreeObjectTable(nullptr);

    ObjectTable* table = CreateObjectTable(8);
    AllocateObject(table);
    FailAllocation(1);
    const uint32_t id = AllocateObject(table);
    AllowAllocations();
    EXPECT_EQ(id, 0u);
    EXPECT_EQ(table->count, 1u);
    CheckUneditedTable(table);
    EXPECT_EQ(AllocateObject(table), 2u);
    FreeObjectTable(table);
}
