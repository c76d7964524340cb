// SPDX-License-Identifier: MIT

// Every image of a package as a picture: what its documents generate and what they take from files.
#pragma once

#include <string>

#include "tools/report.h"

/// Writes the images of sections 0, 1 and 6 of loading.xmlz and demo.xmlz as PNG files, and a
/// contact sheet of all of them, and prints how many there are. The player's own readers make them,
/// which need no display.
///
///   DOCUMENT-layer-NNN.png     section 0, from 0 as steps count them, 256x256, RGB
///   DOCUMENT-texture-NNN.png   section 1, ids from 1, 256x256, RGB
///   DOCUMENT-bitmap-NNN.png    section 6, ids from 1, with the size and the channels of the file
///   sheet.png
///
/// DOCUMENT is "loading" or "demo". Every file replaces an old one in one step; other files of the
/// folder stay. The rest of a document is not looked at, but its sections have to be there. A fault
/// of these sections ends the command, and so does a file that can't be written; the pictures of
/// the items before it stay.
/// @param path     the package; a document that it lacks is noted, and it has to hold one of both
/// @param folder   made if it does not exist
/// @return false after an error line
bool WriteTextures(const std::string& path, const std::string& folder, Verbosity verbosity);
