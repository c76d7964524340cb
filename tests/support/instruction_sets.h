// SPDX-License-Identifier: MIT

// Every test of vector code runs with each instruction set that this processor has.
#pragma once

#include <cstdlib>
#include <vector>

#include "engine/vectors/instruction_sets.h"

/// @return the sets that this processor can run, slowest first
inline std::vector<InstructionSet> ListInstructionSets()
{
    std::vector<InstructionSet> sets;
    for (uint32_t n = 0; n < kInstructionSets; ++n)
    {
        if (CanRunInstructionSet(static_cast<InstructionSet>(n)))
        {
            sets.push_back(static_cast<InstructionSet>(n));
        }
    }
    return sets;
}

/// Loops run with one set for as long as this lives.
struct UsedInstructionSet
{
    explicit UsedInstructionSet(InstructionSet set)
    {
        setenv("QUORVALE_INSTRUCTIONS", InstructionSetNames[set], 1);
    }
    ~UsedInstructionSet()
    {
        unsetenv("QUORVALE_INSTRUCTIONS");
    }
    UsedInstructionSet(const UsedInstructionSet&) = delete;
    UsedInstructionSet& operator=(const UsedInstructionSet&) = delete;
};
