// SPDX-License-Identifier: MIT

// The command line of dpk.
#pragma once

/// The exit codes of dpk.
inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1; // after a line on standard error
inline constexpr int kExitUsage = 2;  // the arguments make no sense; a line on standard error too

/// Runs one command and tells the exit code.
int RunCommandLine(int argc, const char* const* argv);
