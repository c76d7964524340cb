// SPDX-License-Identifier: MIT

// An end to the luck of a test program with its files. The program links failing_calls (CMake), and
// then the calls below, of all that it links statically, go through here: open, openat, read,
// pread, write, fsync, fchmod, linkat and renameat.
#pragma once

#include <cstdint>

/// Makes the k-th of these calls from now on fail, counted from 1: "no space left" for a write, an
/// error of the device for the others.
void FailCall(uint64_t k);

/// Ends FailCall.
/// @return how many calls there were since; fewer than k if none has failed
uint64_t AllowCalls();

/// Makes the file system one that has no files without a name.
void RefuseUnnamedFiles();
