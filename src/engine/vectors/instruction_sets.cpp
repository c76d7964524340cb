// SPDX-License-Identifier: MIT
#include "engine/vectors/instruction_sets.h"

#include <cpuid.h>
#include <cstdlib>
#include <cstring>

bool CanRunInstructionSet(InstructionSet set)
{
    return set == kSse2 || (set < kInstructionSets && __builtin_cpu_supports("avx2") != 0);
}

/// Gathers gain on Intel's processors since Alder Lake and Sapphire Rapids, which are the ones that
/// have AVX-VNNI. The ones before lose them to a repair in microcode, and AMD's take more than
/// twice the time of single reads.
static bool FindFastGathers()
{
    uint32_t eax = 0;
    uint32_t ebx = 0;
    uint32_t ecx = 0;
    uint32_t edx = 0;
    const bool hasVnni = __get_cpuid_count(7, 1, &eax, &ebx, &ecx, &edx) != 0 && (eax & 0x10) != 0;
    return hasVnni && __builtin_cpu_is("intel") != 0 && __builtin_cpu_supports("avx2") != 0;
}

/// Asked once: a virtual machine takes its time to answer.
static const bool hasFastGathers = FindFastGathers();

InstructionSet ChooseInstructionSet()
{
    const char* name = getenv("QUORVALE_INSTRUCTIONS");
    for (uint32_t n = 0; name != nullptr && n < kInstructionSets; ++n)
    {
        const InstructionSet set = static_cast<InstructionSet>(n);
        if (strcmp(name, InstructionSetNames[n]) == 0 && CanRunInstructionSet(set))
        {
            return set;
        }
    }
    if (!CanRunInstructionSet(kAvx2))
    {
        return kSse2;
    }
    return hasFastGathers ? kAvx2Gathers : kAvx2;
}
