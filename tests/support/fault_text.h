// SPDX-License-Identifier: MIT

// The printed lines of faults, for comparisons.
#pragma once

#include <string>

#include "engine/data/fault.h"

/// @return the line of each fault, each with a newline, as the player prints them
inline std::string FaultText(const FaultList& faults)
{
    std::string text;
    for (uint32_t i = 0; i < faults.count; ++i)
    {
        char line[kFaultLineSize];
        FormatFault(GetFault(&faults, i), "quorvale", line, sizeof(line));
        text += std::string(line) + "\n";
    }
    return text;
}

/// @return whether two places say the same
inline bool ArePlacesEqual(const Place& a, const Place& b)
{
    return a.document == b.document && a.section == b.section && a.item == b.item &&
           a.part == b.part && a.line == b.line && a.column == b.column;
}
