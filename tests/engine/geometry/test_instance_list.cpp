// SPDX-License-Identifier: MIT
#include "engine/geometry/instance_list.h"

#include <gtest/gtest.h>

#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"

/// An arena and a list of faults that are given back.
struct InstanceListTest : testing::Test
{
    InstanceListTest()
    {
        StartFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kScenes, 4, 17);
    }
    ~InstanceListTest() override
    {
        FreeArena(&arena);
        FreeFaults(&faults);
    }

    Arena arena = {};
    FaultList faults;
    InstanceList list = {};
};

TEST_F(InstanceListTest, HoldsNineFloatsForEachInstance)
{
    ASSERT_TRUE(AllocateInstances(3, &list, &arena, &faults));
    EXPECT_EQ(list.count, 3u);
    for (uint32_t i = 0; i < 27; ++i)
    {
        list.data[i] = static_cast<float>(i); // a sanitizer sees a block that is too small
    }
    EXPECT_EQ(list.data[26], 26.0f);
}

TEST_F(InstanceListTest, AnEmptyListIsAListLikeAnyOther)
{
    ASSERT_TRUE(AllocateInstances(0, &list, &arena, &faults));
    EXPECT_EQ(list.count, 0u);
    EXPECT_NE(list.data, nullptr);
}

TEST_F(InstanceListTest, AListWithoutMemoryIsAFault)
{
    FailAllocation(1);
    const bool made = AllocateInstances(1000000, &list, &arena, &faults);
    AllowAllocations();
    EXPECT_FALSE(made);
    EXPECT_EQ(list.data, nullptr);
    EXPECT_EQ(FaultText(faults),
              "quorvale: demo.xmlz, section 9 (scenes), item 4, object 17: there "
              "is no memory for 1000000 instances\n");
}
