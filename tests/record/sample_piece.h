// SPDX-License-Identifier: MIT

// The sample piece as it is, and with faults put into it.
#pragma once

#include <string>
#include <vector>

#include "record/player_run.h"

/// @return names of runs: "sample-silent" and others that differ in the viewer's choices
std::vector<std::string> SampleRunNames();

/// @return names of runs with one fault each, such as "fault-model-missing"
std::vector<std::string> SampleFaultNames();

/// @param package   the sample piece's package
/// @param name      one of those above
PlayerRun MakeSampleRun(const std::string& package, const std::string& name);
