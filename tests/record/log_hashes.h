// SPDX-License-Identifier: MIT

// A log in one line, short enough to be kept with the sources.
#pragma once

#include <string>

/// @param log   as RecordPlayerRun gives it
/// @return how it ended, its lines, its hash in 128 bits, and a short hash of each part, which say
///         where two logs differ:
///
///   exit 0, 5123 lines, 0123456789abcdef0123456789abcdef
///       start 0123abcd loading 0123abcd playing 0123abcd
///       printed 0123abcd system 0123abcd opengl 0123abcd contents 0123abcd         (one line)
///
/// Loading begins with the first reading of the clock and playing with the first frame that looks
/// at the keys. The second row tells lines apart by their kind: "system" is SDL and libmodplug.
std::string SummarizeLog(const std::string& log);
