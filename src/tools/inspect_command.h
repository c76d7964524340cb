// SPDX-License-Identifier: MIT

// One page of HTML about a package, for a browser: what it shows, what it holds, what uses what.
#pragma once

#include <string>

/// Writes the page. It needs no other file and no network: pictures, meshes, curves and the wave
/// form are in it. Without an OpenGL driver the pictures of the stage are missing, and a line says
/// so.
/// @param page       the file to write, over an old page
/// @param isForced   over any other file, too
/// @return false after an error line
bool WriteInspectPage(const std::string& path, const std::string& page, bool isForced);
