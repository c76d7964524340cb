// SPDX-License-Identifier: MIT

// Completion of dpk for shells, from the facts of the command line: commands, options, what options
// take, files, folders, entries of the package that was named, and rules of `dpk check`.
#pragma once

#include <string>

#include "tools/command_facts.h"

/// A script that bash reads.
std::string BashCompletion(const ProgramFacts& facts);

/// A function that zsh loads as _dpk.
std::string ZshCompletion(const ProgramFacts& facts);

/// A script that fish reads.
std::string FishCompletion(const ProgramFacts& facts);
