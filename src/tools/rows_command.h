// SPDX-License-Identifier: MIT

// The rows of a module, with the moments at which they play.
#pragma once

#include <string>

/// Prints one line a row, in the order in which they play: order, pattern, row, milliseconds, tick,
/// speed and tempo, as CSV with a head line or as a JSON array.
/// @param path   an Extended Module
/// @return false after an error line
bool PrintModuleRows(const std::string& path, bool isJson);
