// SPDX-License-Identifier: MIT
#include "engine/data/arena.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "support/failing_memory.h"

/// Bytes of the arena that a test has filled.
struct Taken
{
    unsigned char* bytes;
    size_t size;
    unsigned char fill;
};

static bool Holds(const Taken& taken)
{
    for (size_t i = 0; i < taken.size; ++i)
    {
        if (taken.bytes[i] != taken.fill)
        {
            return false;
        }
    }
    return true;
}

TEST(Arena, GivesAlignedBytesThatNothingElseHas)
{
    Arena arena = {};
    std::vector<Taken> all;
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i)
    {
        const size_t size = random() % 3 == 0 ? random() % 100000 : random() % 100;
        unsigned char* bytes = static_cast<unsigned char*>(ArenaAllocate(&arena, size));
        ASSERT_NE(bytes, nullptr);
        ASSERT_EQ(reinterpret_cast<uintptr_t>(bytes) % 16, 0u);
        all.push_back({bytes, size, static_cast<unsigned char>(i)});
        memset(bytes, i & 0xFF, size);
    }
    for (const Taken& taken : all)
    {
        ASSERT_TRUE(Holds(taken));
    }
    FreeArena(&arena);
    EXPECT_EQ(arena.first, nullptr);
}

TEST(Arena, ARoundLikeTheOneBeforeTakesNothingFromTheHeap)
{
    Arena arena = {};
    int64_t blocks = 0;
    for (int round = 0; round < 5; ++round)
    {
        for (size_t size : {10u, 400000u, 0u, 250000u, 30u, 1000000u})
        {
            ASSERT_NE(ArenaAllocate(&arena, size), nullptr);
        }
        ResetArena(&arena, {});
        if (round == 0)
        {
            blocks = LiveBlocks();
        }
    }
    EXPECT_EQ(LiveBlocks(), blocks);
    FreeArena(&arena);
}

TEST(Arena, GoingBackToAMarkKeepsEarlierBytes)
{
    Arena arena = {};
    char* kept = ArenaAllocateArray<char>(&arena, 100);
    memset(kept, 'k', 100);
    const ArenaMark mark = MarkArena(&arena);
    void* first = ArenaAllocate(&arena, 50);
    memset(ArenaAllocate(&arena, 300000), 'x', 300000); // into a block of its own
    ResetArena(&arena, mark);
    EXPECT_EQ(ArenaAllocate(&arena, 50), first);
    EXPECT_EQ(std::string(kept, 100), std::string(100, 'k'));
    FreeArena(&arena);
}

TEST(Arena, RefusesMoreThanThereIs)
{
    Arena arena = {};
    EXPECT_EQ(ArenaAllocate(&arena, SIZE_MAX), nullptr);
    EXPECT_EQ(ArenaAllocate(&arena, SIZE_MAX - 16), nullptr);
    EXPECT_EQ(ArenaAllocateArray<uint64_t>(&arena, SIZE_MAX / 4), nullptr);
    EXPECT_NE(ArenaAllocate(&arena, 16), nullptr); // and goes on
    FreeArena(&arena);
}

TEST(Arena, GivesNullWithoutMemory)
{
    RunOutOfMemory(
        []
        {
            Arena arena = {};
            void* first = ArenaAllocate(&arena, 10);
            void* large = ArenaAllocate(&arena, 1000000);
            FreeArena(&arena);
            return arena.first == nullptr && (first == nullptr || large != first);
        });
}
