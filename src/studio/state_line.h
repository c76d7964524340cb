// SPDX-License-Identifier: MIT

// The state of the program for whoever asks: one line of JSON.
#pragma once

#include <string>

#include "studio/studio.h"

/// Relies on the window being used.
/// @param question   "state"; "picture" for the checksum of the one that is shown; "names" for the
///                   number of OpenGL's names in use
/// @return the answer; {"error": ...} for another question
std::string Answer(const Studio* studio, const std::string& question);
