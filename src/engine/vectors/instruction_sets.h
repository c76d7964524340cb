// SPDX-License-Identifier: MIT

// The instruction sets that loops are compiled for. One source of a loop serves all of them
// (each_instruction_set.inc), all of them give the same bytes, and the processor decides while the
// program runs which one does the work.
#pragma once

#include <cstddef>
#include <cstdint>

/// Slowest first. A processor that can run one can run those before it.
enum InstructionSet : uint32_t
{
    kSse2,        // every x86-64 processor
    kAvx2,        // eight lanes; tables are read place by place
    kAvx2Gathers, // the same, and tables are read by gathers
};

inline constexpr uint32_t kInstructionSets = 3;

/// The names that QUORVALE_INSTRUCTIONS takes, by InstructionSet.
inline constexpr const char* InstructionSetNames[kInstructionSets] = {"sse2", "avx2",
                                                                      "avx2_gathers"};

/// @return whether this processor has the instructions
bool CanRunInstructionSet(InstructionSet set);

/// @return the set that loops run with: the one that the environment variable QUORVALE_INSTRUCTIONS
///         names; where it names none that this processor can run, the fastest. Asked once for an
///         image or mesh and not for a row: it looks through the environment.
InstructionSet ChooseInstructionSet();
