// SPDX-License-Identifier: MIT

// Faults as lines for a list on the screen.
#pragma once

#include <string>
#include <vector>

#include "engine/data/fault.h"

/// @return a line for each, without the program's name
std::vector<std::string> FaultLines(const FaultList* faults);
