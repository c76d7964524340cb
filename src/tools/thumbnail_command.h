// SPDX-License-Identifier: MIT

// `dpk thumbnail`: one small picture of a piece, for file managers.
#pragma once

#include <cstdint>
#include <string>

/// Draws 24 pictures of the first half of a piece, spread evenly, and writes the one whose colors
/// are bright and differ most. It is 4:3, and the same one each time. The work is done in a process
/// that has limits of memory and time.
/// @param piece   a package; nobody needs to vouch for it
/// @param side    pixels of the longer side, 16 to 1024
/// @param path    of a PNG file, which is replaced
/// @return the exit code, after an error line unless it is kExitDone; no file is written then
int MakeThumbnailFile(const std::string& piece, uint32_t side, const std::string& path);
