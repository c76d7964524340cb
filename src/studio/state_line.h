// What the program tells whoever asks: one line of JSON.
#pragma once

#include <string>

#include "studio/studio.h"

/// @param question   "state"
/// @return the answer; {"error": ...} for another question
std::string Answer(const Studio* studio, const std::string& question);
