// SPDX-License-Identifier: MIT

// A number's literal in an author's Python, found by Python itself.
#pragma once

#include <cstdint>
#include <string>

#include "studio/logic/source_edit.h"

/// Finds the literal of a number in the statement around a line, or in an assignment that the
/// statement takes it from. Waits for Python.
/// @param number   as text; the literal has the same 32-bit float
/// @return an empty text, or why there is no such literal
std::string FindLiteral(const std::string& path, uint32_t line, const std::string& number,
                        const LiteralHint& hint, TextRange* range);
