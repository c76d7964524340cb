// SPDX-License-Identifier: MIT
#include "studio/fault_lines.h"

static constexpr char kProgram[] = "quorvale-studio";

std::vector<std::string> FaultLines(const FaultList* faults)
{
    std::vector<std::string> lines;
    std::string line(kFaultLineSize + sizeof(kProgram), 0);
    for (uint32_t i = 0; i < faults->count; ++i)
    {
        FormatFault(GetFault(faults, i), kProgram, line.data(), line.size());
        const std::string whole = line.c_str();
        lines.push_back(whole.substr(sizeof(kProgram) + 1)); // after the name, colon and space
    }
    return lines;
}
