// SPDX-License-Identifier: MIT
#include "engine/data/object_table_edit.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

/// The invariants that hold between any two operations.
static void CheckObjectTable(const ObjectTable* table)
{
    ASSERT_LE(table->count, kObjectTableCapacity);
    uint32_t live = 0;
    uint32_t lowestFree = kObjectTableCapacity + 1;
    for (uint32_t id = kObjectTableCapacity; id >= 1; --id)
    {
        if (table->idUsed[id - 1] == 0)
        {
            ASSERT_EQ(table->records[id - 1], nullptr);
            ASSERT_EQ(table->position[id - 1], 0u);
            lowestFree = id;
            continue;
        }
        ++live;
        ASSERT_EQ(table->idUsed[id - 1], id);
        ASSERT_NE(table->records[id - 1], nullptr);
        uint32_t position = table->position[id - 1];
        ASSERT_GE(position, 1u);
        ASSERT_LE(position, table->count);
        ASSERT_EQ(table->order[position - 1], id);
    }
    ASSERT_EQ(live, table->count);
    ASSERT_EQ(table->lowestFree, lowestFree);
    for (uint32_t place = 0; place < kObjectTableCapacity; ++place)
    {
        ASSERT_EQ(table->order[place] != 0, place < table->count) << place;
    }
}

static std::vector<uint32_t> Order(const ObjectTable* table)
{
    return std::vector<uint32_t>(table->order, table->order + table->count);
}

class ObjectTableEdit : public testing::Test
{
  protected:
    void SetUp() override
    {
        table = CreateObjectTable(16);
        for (int i = 0; i < 3; ++i)
        {
            AllocateObject(table);
        }
    }

    void TearDown() override
    {
        CheckObjectTable(table);
        FreeObjectTable(table);
    }

    ObjectTable* table = nullptr;
};

TEST_F(ObjectTableEdit, DeletingClosesTheGapAndFreesTheId)
{
    EXPECT_EQ(DeleteObject(2, table), kDeleted);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{1, 3}));
    EXPECT_EQ(ObjectPosition(3, table), 2u);
    EXPECT_EQ(table->lowestFree, 2u);
    CheckObjectTable(table);

    // The lowest id, at the end of the order.
    EXPECT_EQ(AllocateObject(table), 2u);
    EXPECT_EQ(ObjectPosition(2, table), 3u);
    EXPECT_EQ(table->lowestFree, 4u);
}

TEST_F(ObjectTableEdit, PositionZeroInsertsAtTheFront)
{
    EXPECT_EQ(InsertObject(0, table), 4u);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{4, 1, 2, 3}));
    EXPECT_EQ(ObjectPosition(3, table), 4u);
    EXPECT_EQ(table->lowestFree, 5u);
}

TEST_F(ObjectTableEdit, InsertingMovesTheOthersUp)
{
    EXPECT_EQ(InsertObject(2, table), 4u);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{1, 4, 2, 3}));
    EXPECT_EQ(InsertObject(4, table), 5u); // the last position is still inside
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{1, 4, 2, 5, 3}));
    EXPECT_EQ(InsertObject(100, table), 6u);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{1, 4, 2, 5, 3, 6}));
    EXPECT_EQ(InsertObject(7, table), 7u); // one past the end is the end
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{1, 4, 2, 5, 3, 6, 7}));
}

TEST_F(ObjectTableEdit, InsertingTakesTheLowestFreeIdAndLooksForTheNext)
{
    DeleteObject(1, table);
    EXPECT_EQ(InsertObject(2, table), 1u);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{2, 1, 3}));
    EXPECT_EQ(table->lowestFree, 4u);
}

TEST_F(ObjectTableEdit, ReferencesKeepARecord)
{
    testing::internal::CaptureStdout();
    IncreaseObjectRefs(2, table);
    IncreaseObjectRefs(2, table);
    EXPECT_EQ(IsObjectDeletable(2, table), 0u);
    EXPECT_EQ(DeleteObject(2, table), kDeleteReferenced);
    EXPECT_EQ(table->count, 3u);
    DecreaseObjectRefs(2, table);
    EXPECT_EQ(DeleteObject(2, table), kDeleteReferenced);
    DecreaseObjectRefs(2, table);
    EXPECT_EQ(IsObjectDeletable(2, table), 1u);
    EXPECT_EQ(DeleteObject(2, table), kDeleted);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Increase 2\nIncrease 2\nDecrease 2\nDecrease 2\n");
}

TEST_F(ObjectTableEdit, DecreasingACountOf0PrintsNothing)
{
    testing::internal::CaptureStdout();
    DecreaseObjectRefs(1, table);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(table->refCount[0], 0u);
}

TEST_F(ObjectTableEdit, DeletingWhatIsNotThereDoesNothing)
{
    for (uint32_t position : {0u, 4u, 4096u, 4097u, 0xFFFFFFFFu})
    {
        EXPECT_EQ(DeleteObject(position, table), kDeleteMissing) << position;
        ForceDeleteObject(position, table);
        EXPECT_EQ(table->count, 3u);
    }
}

TEST_F(ObjectTableEdit, ForcedDeletionLeavesTheCountForTheNextInsertion)
{
    testing::internal::CaptureStdout();
    IncreaseObjectRefs(1, table);
    testing::internal::GetCapturedStdout();
    ForceDeleteObject(1, table);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{2, 3}));
    EXPECT_EQ(table->refCount[0], 1u);

    EXPECT_EQ(InsertObject(1, table), 1u);
    EXPECT_EQ(table->refCount[0], 1u); // an insertion inside the order leaves it
    EXPECT_EQ(IsObjectDeletable(1, table), 0u);

    ForceDeleteObject(1, table);
    EXPECT_EQ(InsertObject(9, table), 1u);
    EXPECT_EQ(table->refCount[0], 0u); // one at the end clears it, as an allocation does
}

TEST_F(ObjectTableEdit, SwappingExchangesTwoPlaces)
{
    void* first = GetObject(1, table);
    SwapObjectPositions(1, 3, table);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{3, 2, 1}));
    EXPECT_EQ(GetObject(1, table), first); // ids do not move
    EXPECT_EQ(GetObjectAtPosition(3, table), first);
    SwapObjectPositions(2, 2, table);
    EXPECT_EQ(Order(table), (std::vector<uint32_t>{3, 2, 1}));
}

TEST_F(ObjectTableEdit, SwappingABadPositionDoesNothing)
{
    for (uint32_t position : {0u, 4u, 4095u, 4096u, 5000u})
    {
        SwapObjectPositions(1, position, table);
        SwapObjectPositions(position, 1, table);
        EXPECT_EQ(Order(table), (std::vector<uint32_t>{1, 2, 3})) << position;
    }
}

TEST(ObjectTableEditAtCapacity, ThePlace4096TakesNoPartInASwap)
{
    ObjectTable* table = CreateObjectTable(1);
    while (AllocateObject(table) != 0)
    {
    }
    SwapObjectPositions(1, 4096, table);
    EXPECT_EQ(table->order[0], 1u);
    EXPECT_EQ(table->order[4095], 4096u);
    SwapObjectPositions(1, 4095, table);
    EXPECT_EQ(table->order[0], 4095u);

    EXPECT_EQ(InsertObject(1, table), 0u);
    EXPECT_EQ(DeleteObject(4096, table), kDeleted);
    EXPECT_EQ(table->lowestFree, 4096u);
    EXPECT_EQ(InsertObject(1, table), 4096u);
    EXPECT_EQ(table->lowestFree, 4097u);
    EXPECT_EQ(ObjectPosition(4094, table), 4095u);
    CheckObjectTable(table);
    FreeObjectTable(table);
}

/// The same table as plain lists: the order of ids, and what refers to each.
struct Model
{
    std::vector<uint32_t> order;
    std::vector<uint32_t> refs = std::vector<uint32_t>(kObjectTableCapacity, 0);

    uint32_t LowestFree() const
    {
        std::vector<bool> used(kObjectTableCapacity + 2, false);
        for (uint32_t id : order)
        {
            used[id] = true;
        }
        uint32_t id = 1;
        while (used[id])
        {
            ++id;
        }
        return id;
    }

    uint32_t Insert(uint32_t position)
    {
        if (order.size() == kObjectTableCapacity)
        {
            return 0;
        }
        uint32_t id = LowestFree();
        size_t place = position == 0 ? 0 : position - 1;
        if (position > order.size())
        {
            place = order.size();
            refs[id - 1] = 0;
        }
        else if (order.empty()) // position 0 of an empty table is beyond its end
        {
            refs[id - 1] = 0;
        }
        order.insert(order.begin() + static_cast<std::ptrdiff_t>(place), id);
        return id;
    }

    uint32_t Allocate()
    {
        return Insert(kObjectTableCapacity + 1);
    }

    bool Holds(uint32_t position) const
    {
        return position >= 1 && position <= order.size();
    }

    uint32_t Delete(uint32_t position, bool force)
    {
        if (!Holds(position))
        {
            return kDeleteMissing;
        }
        if (!force && refs[order[position - 1] - 1] != 0)
        {
            return kDeleteReferenced;
        }
        order.erase(order.begin() + static_cast<std::ptrdiff_t>(position - 1));
        return kDeleted;
    }

    void Swap(uint32_t a, uint32_t b)
    {
        if (Holds(a) && Holds(b) && a < kObjectTableCapacity && b < kObjectTableCapacity)
        {
            std::swap(order[a - 1], order[b - 1]);
        }
    }
};

/// One random operation on both. Positions reach two past the end, and 0.
static void Step(std::mt19937* random, bool grow, ObjectTable* table, Model* model)
{
    uint32_t count = static_cast<uint32_t>(model->order.size());
    auto below = [&](uint32_t limit)
    {
        return static_cast<uint32_t>((*random)() % limit);
    };
    uint32_t position = below(count + 3);
    switch (below(grow ? 12 : 16))
    {
    case 0:
    case 1:
    case 2:
        ASSERT_EQ(AllocateObject(table), model->Allocate());
        break;
    case 3:
    case 4:
    case 5:
        ASSERT_EQ(InsertObject(position, table), model->Insert(position));
        break;
    case 6:
        SwapObjectPositions(position, position / 2, table);
        model->Swap(position, position / 2);
        break;
    case 7:
        if (model->Holds(position))
        {
            uint32_t id = model->order[position - 1];
            IncreaseObjectRefs(id, table);
            model->refs[id - 1] += 1;
        }
        break;
    case 8:
    case 9:
        if (model->Holds(position))
        {
            uint32_t id = model->order[position - 1];
            DecreaseObjectRefs(id, table);
            model->refs[id - 1] -= model->refs[id - 1] == 0 ? 0 : 1;
            ASSERT_EQ(IsObjectDeletable(position, table), model->refs[id - 1] == 0 ? 1u : 0u);
        }
        break;
    case 10:
        ForceDeleteObject(position, table);
        model->Delete(position, true);
        break;
    default:
        ASSERT_EQ(DeleteObject(position, table), model->Delete(position, false));
        break;
    }
    ASSERT_EQ(Order(table), model->order);
    ASSERT_TRUE(std::equal(model->refs.begin(), model->refs.end(), table->refCount));
    CheckObjectTable(table);
}

TEST(ObjectTableEditProperty, RandomEditsAgreeWithPlainLists)
{
    std::mt19937 random(20);
    testing::internal::CaptureStdout();
    ObjectTable* table = CreateObjectTable(8);
    Model model;
    for (int i = 0; i < 4000; ++i)
    {
        // Grows for a while, shrinks for a while, and passes through the empty table.
        ASSERT_NO_FATAL_FAILURE(Step(&random, i / 200 % 2 == 0, table, &model)) << i;
    }
    FreeObjectTable(table);
    testing::internal::GetCapturedStdout();
}

TEST(ObjectTableEditProperty, RandomEditsAgreeAtCapacity)
{
    std::mt19937 random(21);
    testing::internal::CaptureStdout();
    ObjectTable* table = CreateObjectTable(8);
    Model model;
    for (uint32_t n = 0; n < kObjectTableCapacity - 3; ++n)
    {
        AllocateObject(table);
        model.order.push_back(n + 1);
    }
    uint32_t timesFull = 0;
    for (int i = 0; i < 600; ++i)
    {
        ASSERT_NO_FATAL_FAILURE(Step(&random, true, table, &model)) << i;
        timesFull += table->count == kObjectTableCapacity ? 1 : 0;
    }
    EXPECT_GT(timesFull, 10u);
    FreeObjectTable(table);
    testing::internal::GetCapturedStdout();
}
