// What faults print, for comparisons.
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
