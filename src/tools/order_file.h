// SPDX-License-Identifier: MIT

// The order file of a folder of sources: which files become which entries, in the package's order.
//
// It is named dpk-order.txt. `dpk unbuild` writes it, and `dpk build` goes by it: files that stand
// in it come first, in its order, and all others after them as in a folder without one. A line is
//
//   ENTRY <tab> FILE <tab> FORM
//
// FORM is "plain" for a file that goes in as it is, "document" for a text and "mesh" for a mesh,
// which go into the container. After "document" may stand "bare" or "lines", a TextLayout, and
// after both "small", for a container packed by zopfli. ENTRY is escaped by EscapeName. Lines that
// begin with "#" are notes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/text_layout.h"

inline constexpr const char* kOrderFileName = "dpk-order.txt";

/// The ways of a source file into the package.
enum class SourceKind : uint8_t
{
    kLeftOut,
    kDocument,
    kMesh,
    kPlain,
};

struct OrderRow
{
    std::string entry;
    std::string file;
    SourceKind kind; // not kLeftOut
    TextLayout layout;
    bool isSmall;
};

/// @return the text of an order file
std::string FormatOrder(const std::vector<OrderRow>& rows);

/// Reads the order file of a folder.
/// @param rows   receives none if there is no such file
/// @return false after an error line: a line that is none, a file in another folder, or an entry or
///         a file that stands there twice
bool ReadOrder(const std::string& folder, std::vector<OrderRow>* rows);

/// A name without control characters, slashes, "#" and bytes that are no UTF-8: each of them, and
/// each "%", stands as %XX.
std::string EscapeName(const std::string& name);
