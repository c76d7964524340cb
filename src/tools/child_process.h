// SPDX-License-Identifier: MIT

// Work on bytes that nobody vouches for, in a process of its own: whatever it does there, the
// program goes on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "tools/files.h"

struct ChildLimits
{
    uint64_t memory;       // bytes that the child may take beside those that the program has
    uint32_t seconds;      // of the processor
    uint32_t clockSeconds; // of the clock: more, since a busy machine gives a child little of each
};

/// Runs `work` in a child process, which sees the program's memory as it is, and takes the bytes
/// that it gives. The child can write no files, and all that it prints is lost. It ends with the
/// program.
/// @param work     fills the bytes
/// @param output   receives the bytes, empty if the child did not get to its end
/// @return an empty text, or what ended the child
std::string RunInChild(const ChildLimits& limits, const std::function<void(Bytes*)>& work,
                       Bytes* output);
