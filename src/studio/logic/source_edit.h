// SPDX-License-Identifier: MIT

// Values written back into sources: where they stand among the bytes of a file. All other bytes
// stay.
#pragma once

#include <cstddef>
#include <string>

#include "studio/logic/piece_fields.h"

/// Bytes of a text; empty where nothing was found.
struct TextRange
{
    size_t begin, end;
};

/// @param text   of a document
/// @return the range of a value's text: between the quotes of its attribute, or between the tags
TextRange FindXmlValue(const std::string& text, const FieldPlace& place);

/// @return the text with other bytes in the place of a range
std::string ReplaceRange(const std::string& text, const TextRange& range, const std::string& with);

/// How the authors' library calls a value: which keyword it may stand under, and its place in a
/// tuple.
struct LiteralHint
{
    std::string keyword; // "position", "color"
    int index;           // in its tuple; -1 for a value that stands alone
};

/// @param group   of the field: "diffuse" for a light's "r"; may be empty
LiteralHint HintOf(const std::string& group, const std::string& fieldName);

/// Python's program that finds a literal: its arguments are a file, a line, the number there, the
/// number to write, and a hint's two members. It prints the first byte, the one after the last, and
/// the text to write; or "none", "several", or "range" for a number that two digits can't hold. A
/// number that is computed with, or that chooses, is no literal of the value.
extern const char kLiteralProgram[];
