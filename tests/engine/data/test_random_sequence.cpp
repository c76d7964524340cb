// SPDX-License-Identifier: MIT
#include "engine/data/random_sequence.h"

#include <cstdlib>
#include <gtest/gtest.h>

/// Compares the numbers after a seed with those of the C library.
static void CheckSeed(uint32_t seed, int count)
{
    RandomSequence random;
    SeedRandom(&random, seed);
    srand(seed);
    for (int i = 0; i < count; ++i)
    {
        ASSERT_EQ(NextRandom(&random), rand()) << "seed " << seed << ", number " << i;
    }
}

TEST(RandomSequence, HasTheNumbersOfTheCLibrary)
{
    for (uint32_t seed = 0; seed < 2000; ++seed)
    {
        CheckSeed(seed, 100);
    }
    for (uint32_t seed : {5u, 1u, 127773u, 16807u, 0x7FFFFFFEu, 0x7FFFFFFFu, 0x80000000u,
                          0x80000001u, 0xDEADBEEFu, 0xFFFFFFFFu})
    {
        CheckSeed(seed, 100000);
    }
}

TEST(RandomSequence, StartsLikeSeed1AsAProgramDoes)
{
    RandomSequence random;
    SeedRandom(&random, 1);
    EXPECT_EQ(NextRandom(&random), 1804289383); // known from every program that never seeds
    EXPECT_EQ(NextRandom(&random), 846930886);
    EXPECT_EQ(NextRandom(&random), 1681692777);
}

TEST(RandomSequence, TheLibrarysOtherFormAgrees)
{
    random_data data = {};
    char words[128] = {};
    initstate_r(5, words, sizeof(words), &data);
    RandomSequence random;
    SeedRandom(&random, 5);
    for (int i = 0; i < 1000; ++i)
    {
        int32_t expected = 0;
        random_r(&data, &expected);
        ASSERT_EQ(NextRandom(&random), expected);
    }
}

TEST(RandomSequence, ACopyGoesOnByItself)
{
    RandomSequence random;
    SeedRandom(&random, 5);
    NextRandom(&random);
    RandomSequence copy = random;
    const int32_t next = NextRandom(&random);
    NextRandom(&random);
    EXPECT_EQ(NextRandom(&copy), next);
}

TEST(RandomSequence, LeavesTheLibrarysOwnNumbersAlone)
{
    srand(7);
    const int expected = rand();
    srand(7);
    RandomSequence random;
    SeedRandom(&random, 9);
    NextRandom(&random);
    EXPECT_EQ(rand(), expected);
}
