// SPDX-License-Identifier: MIT

// The whole run, from the title line to the exit code.
#pragma once

/// Runs the program. Prints to standard output; see the sources for the order of everything.
/// @return the exit code: 0 after a normal end, a closed window included; 1 after a failure, which
///         has its line on standard error
int RunDemo(int argc, char** argv);
