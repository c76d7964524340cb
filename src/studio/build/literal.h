// SPDX-License-Identifier: MIT

// A number's literal in an author's Python, found by Python itself.
#pragma once

#include <cstdint>
#include <string>

#include "studio/logic/source_edit.h"

struct LiteralSearch
{
    std::string path;
    uint32_t line;   // of the author's statement
    std::string was; // the number as text; the literal has the same seven digits or 32-bit float
    std::string is;  // the number to write
    LiteralHint hint;
};

/// A text and the place that it goes to.
struct LiteralEdit
{
    TextRange range;
    std::string text; // two digits where the literal is a color such as "#ff8800"
};

/// Finds a literal in the statement around a line, or in an assignment that the statement takes it
/// from. Waits for Python.
/// @return an empty text, or why there is no such literal
std::string FindLiteral(const LiteralSearch& search, LiteralEdit* edit);
