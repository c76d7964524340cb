// SPDX-License-Identifier: MIT

// Where authors made the items of a document: the table that a program leaves beside what it wrote.
// docs/format.md describes it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct OriginLine
{
    std::string file; // a path that opens from where the document's path does
    uint32_t line;    // counted from 1
};

struct Origin
{
    int32_t section;
    uint32_t item;                 // counted from 1
    uint32_t part;                 // counted from 1; 0 for the item as a whole
    std::vector<OriginLine> lines; // the author's, innermost first; at least one
};

using OriginList = std::vector<Origin>;

/// Reads the table beside a document.
/// @param document   the document's path, such as "mine/demo.xml"
/// @param text       the document's bytes
/// @return no entry if there is no table, or if it belongs to another text: the document was
/// changed
///         by hand since, and items may have other numbers. Lines that are no entry are left out
OriginList ReadOrigins(const std::string& document, std::string_view text);

/// @return the origin of a part; of its item if the part has none; null if neither is there. Lent
///         by the table
const Origin* FindOrigin(const OriginList& origins, int32_t section, uint32_t item, uint32_t part);
