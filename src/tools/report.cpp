#include "tools/report.h"

#include <cstdarg>
#include <cstdio>

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
    std::string printable;
    for (char c : name)
    {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F && byte != '\\')
        {
            printable += c;
            continue;
        }
        char escaped[5];
        snprintf(escaped, sizeof(escaped), "\\x%02X", static_cast<unsigned>(byte));
        printable += escaped;
    }
    return printable;
}
