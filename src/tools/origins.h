// Where authors made the items of a document: the table that a program leaves beside what it wrote.
// docs/format.md describes it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Origin
{
    int32_t section;
    uint32_t item;                  // counted from 1
    uint32_t part;                  // counted from 1; 0 for the item as a whole
    std::vector<std::string> lines; // "FILE:LINE", innermost first; at least one
};

/// Reads the table beside a document.
/// @param document   the document's path, such as "mine/demo.xml"
/// @return no entry if there is no table; lines that are none are left out
std::vector<Origin> ReadOrigins(const std::string& document);

/// @return the origin of a part; of its item if the part has none; null if neither is there. Lent
///         by the table
const Origin* FindOrigin(const std::vector<Origin>& origins, int32_t section, uint32_t item,
                         uint32_t part);
