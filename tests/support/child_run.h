// SPDX-License-Identifier: MIT

// Runs a part of the player that may end the process: in a child, with its output in the record.
#pragma once

#include <functional>
#include <string>

struct ChildRun
{
    int exitCode;       // -1 if a signal ended it
    int signal;         // 0 unless a signal ended it
    std::string record; // the record of recorded_gl; empty if a signal ended the run
};

/// Runs `body` in a child process, from the program's present state, which stays as it is. What the
/// child prints stands in its record between the calls: a line of standard output behind "> ", one
/// of standard error behind "! ", each at the moment when it leaves the stream. A run of more than
/// a minute ends by a signal.
/// @param body   its result is the exit code, unless it calls exit itself
ChildRun RunInChild(const std::function<int()>& body);
