// SPDX-License-Identifier: MIT
#include "support/instruction_sets.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

TEST(InstructionSets, EveryProcessorHasTheFirst)
{
    EXPECT_TRUE(CanRunInstructionSet(kSse2));
    EXPECT_FALSE(CanRunInstructionSet(static_cast<InstructionSet>(kInstructionSets)));
}

TEST(InstructionSets, AProcessorHasAllBeforeTheOneThatItHas)
{
    EXPECT_EQ(CanRunInstructionSet(kAvx2), CanRunInstructionSet(kAvx2Gathers));
}

/// Other tests take the sets from this answer: one that is missing would be tested nowhere.
TEST(InstructionSets, AreThoseThatTheSystemTells)
{
    std::ifstream file("/proc/cpuinfo");
    const std::string facts((std::istreambuf_iterator<char>(file)), {});
    ASSERT_NE(facts.find("\nflags"), std::string::npos);
    EXPECT_EQ(CanRunInstructionSet(kAvx2), facts.find(" avx2 ") != std::string::npos);
}

TEST(InstructionSets, AreChosenByTheEnvironment)
{
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        EXPECT_EQ(ChooseInstructionSet(), set) << InstructionSetNames[set];
    }
}

TEST(InstructionSets, ANameThatIsNoneChangesNothing)
{
    unsetenv("QUORVALE_INSTRUCTIONS");
    const InstructionSet fastest = ChooseInstructionSet();
    EXPECT_TRUE(CanRunInstructionSet(fastest));
    EXPECT_EQ(fastest == kSse2, !CanRunInstructionSet(kAvx2));
    for (const char* name : {"", "avx", "SSE2", "avx2 "})
    {
        setenv("QUORVALE_INSTRUCTIONS", name, 1);
        EXPECT_EQ(ChooseInstructionSet(), fastest) << name;
    }
    unsetenv("QUORVALE_INSTRUCTIONS");
}
