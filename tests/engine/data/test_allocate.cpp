// SPDX-License-Identifier: MIT
#include "engine/data/allocate.h"

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>

#include "support/failing_memory.h"
#include "support/fault_text.h"

TEST(Allocate, GivesBlocksForFree)
{
    FaultList faults = {};
    uint32_t* zeros = AllocateZeroed<uint32_t>(1000, "numbers", &faults);
    uint32_t* any = AllocateBlock<uint32_t>(1000, "numbers", &faults);
    ASSERT_NE(zeros, nullptr);
    ASSERT_NE(any, nullptr);
    for (int i = 0; i < 1000; ++i)
    {
        EXPECT_EQ(zeros[i], 0u);
        any[i] = 1;
    }
    free(any);
    free(zeros);
    EXPECT_FALSE(HasFailed(&faults));
}

TEST(Allocate, NothingIsABlockToo)
{
    void* none = AllocateBytes(0, 8, "nothing", nullptr);
    void* zeroed = AllocateZeroedBytes(8, 0, "nothing", nullptr);
    EXPECT_NE(none, nullptr);
    EXPECT_NE(zeroed, nullptr);
    free(none);
    free(zeroed);
}

TEST(Allocate, TellsWhatTheMemoryWasFor)
{
    FaultList faults = {};
    faults.place = PlaceAt("demo.xmlz", Section::kModels, 2);
    FailAllocation(1);
    const void* block = AllocateBlock<uint32_t>(3, "an index list", &faults);
    FailAllocation(1);
    const void* zeroed = AllocateZeroed<uint32_t>(3, "an index list", &faults);
    AllowAllocations();
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(zeroed, nullptr);
    const std::string line = "quorvale: demo.xmlz, section 2 (models), item 2: "
                             "no memory for an index list (12 bytes)\n";
    EXPECT_EQ(FaultText(faults), line + line);
    FreeFaults(&faults);
}

TEST(Allocate, AProductPastAllMemoryIsNoBlock)
{
    FaultList faults = {};
    EXPECT_EQ(AllocateBytes(SIZE_MAX / 2, 3, "too much", &faults), nullptr);
    EXPECT_EQ(AllocateZeroedBytes(SIZE_MAX / 2, 3, "too much", &faults), nullptr);
    EXPECT_EQ(AllocateBytes(SIZE_MAX, SIZE_MAX, "too much", nullptr), nullptr);
    EXPECT_EQ(faults.count, 2u);
    FreeFaults(&faults);
}
