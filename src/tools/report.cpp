// SPDX-License-Identifier: MIT
#include "tools/report.h"

#include <cstdarg>
#include <cstdio>

#include "engine/data/plain_text.h"

void ReportError(const char* format, ...)
{
    // Both may go to one place, and what was printed so far comes first there.
    fflush(stdout);
    fprintf(stderr, "dpk: ");

    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
    fprintf(stderr, "\n");
}

void ReportFaults(FaultList* faults)
{
    for (uint32_t i = 0; i < faults->count; ++i)
    {
        PrintFault(GetFault(faults, i), "dpk");
    }
    FreeFaults(faults);
}

std::string Printable(const std::string& name)
{
    std::string escaped;
    for (const char c : name)
    {
        escaped += c == '\\' ? "\\x5C" : std::string(1, c);
    }
    std::string plain(PlainTextSize(escaped.size()), 0);
    plain.resize(FormatPlainText(escaped.c_str(), plain.data(), plain.size()));
    return plain;
}
