// SPDX-License-Identifier: MIT
#include "music/module_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "music/module_gate.h"

/// Opens folder + place + path.
/// @return a descriptor; negative if there is no such file
static int OpenBelow(const char* folder, const char* place, const char* path)
{
    char name[PATH_MAX]; // no path of the system is longer
    const bool isOwn = folder == nullptr || path[0] == '/';
    const int length = isOwn ? snprintf(name, sizeof(name), "%s%s", place, path)
                             : snprintf(name, sizeof(name), "%s/%s%s", folder, place, path);
    return length < static_cast<int>(sizeof(name))
               ? open(name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)
               : -1;
}

int OpenModuleFile(const char* folder, const char* path)
{
    const int file = OpenBelow(folder, "", path);
    return file >= 0 ? file : OpenBelow(folder, "music/", path);
}

/// Reads up to size bytes. A part that can't be read is as good as not there.
/// @return the number of bytes
static size_t ReadBytes(int file, uint8_t* data, size_t size)
{
    size_t got = 0;
    while (got < size)
    {
        const ssize_t step = read(file, data + got, size - got);
        if (step < 0 && errno == EINTR)
        {
            continue;
        }
        if (step <= 0)
        {
            break;
        }
        got += static_cast<size_t>(step);
    }
    return got;
}

bool ReadModuleFile(int stream, const char* path, ModuleFile* file, FaultList* faults)
{
    struct stat status = {};
    const bool hasSize = fstat(stream, &status) == 0 && S_ISREG(status.st_mode);
    const size_t size = hasSize ? static_cast<size_t>(status.st_size) : 0;
    if (size > kLargestModule)
    {
        AddFault(faults, "\"%s\": a module of %zu bytes is larger than any", path, size);
        return false;
    }
    uint8_t* data = static_cast<uint8_t*>(calloc(size + kModulePadding, 1));
    if (data == nullptr)
    {
        AddFault(faults, "\"%s\": its size of %zu bytes can't be allocated", path, size);
        return false;
    }
    *file = {data, ReadBytes(stream, data, size)};
    return true;
}

void FreeModuleFile(ModuleFile* file)
{
    free(file->data);
    *file = {};
}
