// SPDX-License-Identifier: MIT
#include "engine/geometry/mesh_kernels.h"

#include "engine/data/numeric.h"
#include "engine/vectors/instruction_sets.h"

#define LOOPS "engine/geometry/mesh_loops.inc"
#define LOOPS_READ_TABLES 1
#include "engine/vectors/each_instruction_set.inc"

const MeshKernels* GetMeshKernels()
{
    static constexpr const MeshKernels* kTables[kInstructionSets] = {&sse2::kTable, &avx2::kTable,
                                                                     &avx2_gathers::kTable};
    return kTables[ChooseInstructionSet()];
}
