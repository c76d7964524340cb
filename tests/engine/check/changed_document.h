// SPDX-License-Identifier: MIT

// Documents made by changing a good one: attributes dropped, swapped and given other values,
// elements moved, deleted, copied and renamed, comments put between them, the text cut.
#pragma once

#include <string>

#include "record/random_numbers.h"

/// @param changes   how many of them
/// @return the text after the changes; it may no longer parse
std::string ChangeDocument(const std::string& text, int changes, Random* random);
