// SPDX-License-Identifier: MIT

// Everything that takes bytes of strangers, each as a routine of some bytes. libFuzzer looks for
// bytes that break one (scripts/fuzz); ordinary tests replay the seeds, and all inputs that ever
// did.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct FuzzTarget
{
    const char* name; // of its folders below regressions/ and dictionaries/ too
    /// Takes any bytes, and comes back without a leak. Bytes that break a promise end the process.
    void (*run)(const uint8_t* bytes, size_t size);
    /// @return inputs to begin with, small ones that are well
    std::vector<std::string> (*makeSeeds)();
};

inline constexpr size_t kFuzzTargetCount = 11;
extern const FuzzTarget kFuzzTargets[kFuzzTargetCount];

/// Builds the tables that targets rely on; once, before the first of them runs.
void PrepareFuzzTargets();

/// @return null if there is no such target
const FuzzTarget* FindFuzzTarget(const std::string& name);
