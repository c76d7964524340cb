// SPDX-License-Identifier: MIT

// The program that libFuzzer drives. Two variables of the environment tell its work: FUZZ_TARGET
// names the target, and FUZZ_SEEDS a folder that receives its seeds at first.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/fuzz_targets.h"

/// Looked up each time: there is nowhere to keep it but a global.
static const FuzzTarget* ChosenTarget()
{
    const char* name = getenv("FUZZ_TARGET");
    return name == nullptr ? nullptr : FindFuzzTarget(name);
}

static void WriteSeeds(const FuzzTarget* target, const std::string& folder)
{
    int number = 0;
    for (const std::string& seed : target->makeSeeds())
    {
        const std::string path = folder + "/seed-" + std::to_string(number++);
        FILE* file = fopen(path.c_str(), "wb");
        if (file == nullptr || fwrite(seed.data(), 1, seed.size(), file) != seed.size())
        {
            perror(path.c_str());
            exit(1);
        }
        fclose(file);
    }
}

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    const FuzzTarget* target = ChosenTarget();
    const char* seeds = getenv("FUZZ_SEEDS");
    if (target == nullptr || seeds == nullptr)
    {
        fprintf(stderr, "FUZZ_TARGET names no target, or FUZZ_SEEDS no folder\n");
        exit(1);
    }
    PrepareFuzzTargets();
    WriteSeeds(target, seeds);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    ChosenTarget()->run(bytes, size);
    return 0;
}
