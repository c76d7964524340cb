// SPDX-License-Identifier: MIT
#include "tools/rows_command.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "music/load_module.h"
#include "music/module_file.h"
#include "music/module_sound.h"
#include "tools/report.h"

/// An hour: a module that plays on for ever has to end somewhere.
static constexpr uint32_t kMostFrames = 3600 * static_cast<uint32_t>(kModuleRate);

static void PrintRow(const ModuleRow& row, bool isJson, bool isLast)
{
    const uint64_t ms = uint64_t{row.frame} * 1000 / static_cast<uint64_t>(kModuleRate);
    printf(isJson ? "{\"order\": %d, \"pattern\": %d, \"row\": %d, \"ms\": %llu, \"tick\": %u, "
                    "\"speed\": %d, \"tempo\": %d}%s\n"
                  : "%d,%d,%d,%llu,%u,%d,%d%s\n",
           row.order, row.pattern, row.row, static_cast<unsigned long long>(ms), TickOfRow(&row),
           row.speed, row.tempo, isJson && !isLast ? "," : "");
}

static bool ReportModule(const std::string& path, const char* what)
{
    ReportError("%s: %s", Printable(path).c_str(), what);
    return false;
}

/// @return false after an error line
static bool ReadModule(const std::string& path, ModuleFile* module)
{
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
    {
        return ReportModule(path, strerror(errno));
    }
    FaultList faults;
    StartFaults(&faults);
    const bool isRead = ReadModuleFile(file, path.c_str(), module, &faults);
    close(file);
    ReportFaults(&faults);
    return isRead;
}

bool PrintModuleRows(const std::string& path, bool isJson)
{
    ModuleFile module = {};
    ModuleRows rows = {};
    FaultList faults;
    StartFaults(&faults);
    bool isDone = ReadModule(path, &module);
    if (isDone)
    {
        isDone = FindModuleRows(&module, kMostFrames, &rows, &faults);
        ReportFaults(&faults);
    }
    if (isDone && rows.count == 0)
    {
        isDone = ReportModule(path, "not an Extended Module");
    }
    if (isDone)
    {
        fputs(isJson ? "[\n" : "order,pattern,row,ms,tick,speed,tempo\n", stdout);
        for (uint32_t i = 0; i < rows.count; ++i)
        {
            PrintRow(rows.rows[i], isJson, i + 1 == rows.count);
        }
        fputs(isJson ? "]\n" : "", stdout);
    }
    FreeModuleRows(&rows);
    FreeModuleFile(&module);
    return isDone;
}
