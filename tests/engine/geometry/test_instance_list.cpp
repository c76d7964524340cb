#include "engine/geometry/instance_list.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "engine/data/fault.h"

// Every malloc of this program goes through here, so that a test can run out of memory.
extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size);
static size_t largestGranted = SIZE_MAX;

void* __wrap_malloc(size_t size)
{
    return size > largestGranted ? nullptr : __real_malloc(size);
}

TEST(InstanceList, HoldsNineFloatsForEachInstance)
{
    InstanceList* list = CreateInstanceList(3);
    EXPECT_EQ(list->count, 3u);
    for (uint32_t i = 0; i < 27; ++i)
    {
        list->data[i] = static_cast<float>(i); // a sanitizer sees a block that is too small
    }
    EXPECT_EQ(list->data[26], 26.0f);
    FreeInstanceList(list);
}

TEST(InstanceList, AnEmptyListIsAListLikeAnyOther)
{
    InstanceList* list = CreateInstanceList(0);
    EXPECT_EQ(list->count, 0u);
    EXPECT_NE(list->data, nullptr);
    FreeInstanceList(list);
}

TEST(InstanceListDeathTest, AListThatFindsNoMemoryEndsTheProgram)
{
    CurrentPlace = {"demo.xmlz", 9, 4, 17};
    EXPECT_EXIT(
        {
            largestGranted = 100000;
            CreateInstanceList(1000000);
        },
        testing::ExitedWithCode(1),
        "^quorvale: demo.xmlz, section 9 \\(scenes\\), item 4, object 17: there is no memory for "
        "1000000 instances\n$");
    CurrentPlace = {nullptr, kNoSection, 0, 0};
}
