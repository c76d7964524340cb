// SPDX-License-Identifier: MIT
#include "engine/textures/pixel_kernels.h"

#include "engine/vectors/instruction_sets.h"

#define LOOPS "engine/textures/pixel_loops.inc"
#define LOOPS_READ_TABLES 0
#include "engine/vectors/each_instruction_set.inc"

const PixelKernels* GetPixelKernels()
{
    return ChooseInstructionSet() == kSse2 ? &sse2::kTable : &avx2::kTable;
}
