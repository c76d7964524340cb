// SPDX-License-Identifier: MIT
#include "engine/data/package_tools.h"

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/allocate.h"
#include "engine/data/byte_order.h"

static constexpr mode_t kCreatedMode = 0600;

/// One entry's bytes in memory; data is null, and size 0, where they can't be had.
struct EntryBytes
{
    unsigned char* data; // owned
    int32_t size;        // bytes
};

PendingEntry* NewPendingList()
{
    return AllocateZeroed<PendingEntry>(1, "a list of entries", nullptr);
}

PendingEntry* AppendPendingEntry(PendingEntry* head, char* name, char* sourceDir)
{
    assert(name != nullptr);
    PendingEntry* next = NewPendingList();
    if (next == nullptr)
    {
        free(name);
        free(sourceDir);
        return nullptr;
    }

    PendingEntry* sentinel = head;
    while (sentinel->name != nullptr)
    {
        sentinel = sentinel->next;
    }

    sentinel->name = name;
    sentinel->sourceDir = sourceDir;
    sentinel->next = next;
    return next;
}

void FreePendingList(PendingEntry* head)
{
    while (head != nullptr)
    {
        PendingEntry* next = head->next;
        free(head->name);
        free(head->sourceDir);
        free(head);
        head = next;
    }
}

void ClearPendingList(PendingEntry* head)
{
    if (head->name == nullptr)
    {
        return;
    }

    FreePendingList(head->next);
    free(head->name);
    free(head->sourceDir);
    *head = {};
}

PendingEntry* RemovePendingEntry(PendingEntry* head, uint32_t index)
{
    PendingEntry** link = &head; // to the node at hand
    for (uint32_t i = 0; i < index && (*link)->name != nullptr; ++i)
    {
        link = &(*link)->next;
    }

    PendingEntry* removed = *link;
    if (removed->name == nullptr)
    {
        printf("Error: index not found!\n");
        return head;
    }

    *link = removed->next;
    free(removed->name);
    free(removed->sourceDir);
    free(removed);
    return head;
}

PendingEntry* ReadPackageDirectory(const PackageFile* package, FaultList* faults)
{
    PendingEntry* list = NewPendingList();
    PendingEntry* sentinel = list;
    const bool endsInName = package->entryCount != 0 && package->lastSize < kPackageNameSize;
    const uint32_t count = package->entryCount - (endsInName ? 1 : 0);
    for (uint32_t i = 0; i < count && sentinel != nullptr; ++i)
    {
        char* name = AllocateZeroed<char>(kPackageNameSize + 1, "a name", nullptr);
        if (name == nullptr)
        {
            sentinel = nullptr;
            break;
        }
        memcpy(name, package->directory + size_t{i} * kPackageEntrySize, kPackageNameSize);
        sentinel = AppendPendingEntry(sentinel, name, nullptr);
    }
    if (sentinel == nullptr)
    {
        AddError(faults, "no memory for the %u names of a package", count);
        FreePendingList(list);
        return nullptr;
    }
    return list;
}

/// @return the two put together, for free; null after a fault
static char* JoinPath(const char* prefix, const char* name, FaultList* faults)
{
    const size_t size = strlen(prefix) + strlen(name) + 1;
    char* path = AllocateBlock<char>(size, "a path", faults);
    if (path != nullptr)
    {
        snprintf(path, size, "%s%s", prefix, name);
    }
    return path;
}

/// Reads a regular file whole. Its size is where its end is; what the file then fails to give is
/// cut off.
static EntryBytes ReadOpenFile(int file, const char* path, FaultList* faults)
{
    struct stat status = {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > INT32_MAX)
    {
        AddError(faults, "%s: it is no regular file of less than 2 GiB", path);
        return {};
    }
    const size_t size = static_cast<size_t>(status.st_size);
    EntryBytes bytes = {AllocateBlock<unsigned char>(size, path, faults), 0};
    if (bytes.data == nullptr)
    {
        return {};
    }

    size_t got = 0;
    while (got < size)
    {
        const ssize_t step = read(file, bytes.data + got, size - got);
        if (step < 0 && errno == EINTR)
        {
            continue;
        }
        if (step <= 0)
        {
            AddError(faults, "%s: %s", path,
                     step < 0 ? strerror(errno) : "it became shorter while it was read");
            break;
        }
        got += static_cast<size_t>(step);
    }
    bytes.size = static_cast<int32_t>(got);
    return bytes;
}

static EntryBytes ReadDiskFile(const PendingEntry* entry, FaultList* faults)
{
    char* path = JoinPath(entry->sourceDir, entry->name, faults);
    if (path == nullptr)
    {
        return {};
    }
    EntryBytes bytes = {};
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0)
    {
        AddError(faults, "%s: %s", path, strerror(errno));
    }
    else
    {
        bytes = ReadOpenFile(file, path, faults);
        close(file);
    }
    free(path);
    return bytes;
}

static EntryBytes ReadKeptEntry(const PendingEntry* entry, PackageFile* source, FaultList* faults)
{
    EntryBytes bytes = {};
    const uint32_t errorsBefore = faults->errorCount;
    if (source != nullptr)
    {
        bytes.data = ReadPackageEntry(source, entry->name, &bytes.size, faults);
        PrintLookupLines(source);
    }
    if (bytes.data == nullptr && faults->errorCount == errorsBefore)
    {
        AddError(faults, "the package has no entry \"%s\"", entry->name);
    }
    return bytes;
}

static EntryBytes ReadEntryBytes(const PendingEntry* entry, PackageFile* source, FaultList* faults)
{
    return entry->sourceDir != nullptr ? ReadDiskFile(entry, faults)
                                       : ReadKeptEntry(entry, source, faults);
}

/// The entries of a list, and those among them that come out of a package.
struct EntryCounts
{
    uint32_t all;
    uint32_t kept;
};

static EntryCounts CountEntries(const PendingEntry* list)
{
    EntryCounts counts = {0, 0};
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        counts.all += 1;
        counts.kept += entry->sourceDir == nullptr ? 1 : 0;
    }
    return counts;
}

/// Writes bytes at an offset. Zeros fill what lies between the end so far and the offset.
static void PutBytes(PackageWriter* writer, uint64_t offset, const void* bytes, size_t size)
{
    if (writer->isBroken)
    {
        return;
    }
    PackageBytes* package = writer->package;
    const size_t end = static_cast<size_t>(offset) + size;
    if (end > package->capacity)
    {
        const size_t capacity = std::max(end, package->capacity + package->capacity / 2);
        void* grown = realloc(package->bytes, capacity);
        if (grown == nullptr)
        {
            AddError(writer->faults, "no memory for a package (%zu bytes)", capacity);
            writer->isBroken = true;
            return;
        }
        package->bytes = static_cast<unsigned char*>(grown);
        package->capacity = capacity;
    }
    if (end > package->size)
    {
        memset(package->bytes + package->size, 0, end - package->size);
        package->size = end;
    }
    if (size != 0)
    {
        memcpy(package->bytes + offset, bytes, size);
    }
}

static void PutBigEndian32(PackageWriter* writer, uint32_t offset, uint32_t value)
{
    unsigned char bytes[4];
    StoreBigEndian32(value, bytes);
    PutBytes(writer, offset, bytes, sizeof(bytes));
}

PackageWriter BeginPackage(PackageBytes* package, uint32_t entryCount, FaultList* faults)
{
    *package = {};
    PackageWriter writer = {package, faults, kPackageHeaderSize, 0, 0, false};
    writer.firstDataByte = kPackageEntrySize * entryCount + kPackageHeaderSize + kPackageNameSize;
    PutBytes(&writer, 0, kPackageHeader, kPackageHeaderSize);
    // A directory of zeros, terminator included: no name needs padding later.
    PutBytes(&writer, writer.firstDataByte, nullptr, 0);
    return writer;
}

void PutPackageEntry(PackageWriter* writer, const char* name, const unsigned char* bytes,
                     uint32_t size)
{
    const uint64_t start = writer->firstDataByte + writer->before;
    if (start + size > UINT32_MAX)
    {
        AddError(writer->faults, "\"%s\" would lie past 4 GiB in its package", name);
        writer->isBroken = true;
        return;
    }

    // Name, start, data, end, in this order: a name that is too long goes under start and end.
    PutBytes(writer, writer->nameOffset, name, strlen(name));
    PutBigEndian32(writer, writer->nameOffset + kPackageNameSize, static_cast<uint32_t>(start));
    if (size > 0)
    {
        PutBytes(writer, start, bytes, size);
    }
    PutBigEndian32(writer, writer->nameOffset + kPackageNameSize + 4,
                   static_cast<uint32_t>(start + size - 1));

    writer->nameOffset += kPackageEntrySize;
    writer->before += size;
}

bool EndPackage(PackageWriter* writer)
{
    if (writer->isBroken)
    {
        free(writer->package->bytes);
        *writer->package = {};
    }
    return !writer->isBroken;
}

static void PutEntry(PackageWriter* writer, const char* name, const EntryBytes* bytes)
{
    PutPackageEntry(writer, name, bytes->data, static_cast<uint32_t>(bytes->size));
}

bool BuildPackage(const PendingEntry* list, PackageFile* source, PackageBytes* package,
                  FaultList* faults)
{
    const uint32_t errorsBefore = faults->errorCount;
    PackageWriter writer = BeginPackage(package, CountEntries(list).all, faults);
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        EntryBytes bytes = ReadEntryBytes(entry, source, faults);
        PutEntry(&writer, entry->name, &bytes);
        free(bytes.data);
    }
    EndPackage(&writer);
    return faults->errorCount == errorsBefore;
}

/// Writes a file of these bytes, over what stands there.
/// @return false after a fault
static bool WriteBytes(const char* path, const unsigned char* bytes, size_t size, FaultList* faults)
{
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kCreatedMode);
    if (file < 0)
    {
        AddError(faults, "%s: %s", path, strerror(errno));
        return false;
    }

    size_t written = 0;
    bool isWhole = true;
    while (written < size && isWhole)
    {
        const ssize_t step = write(file, bytes + written, size - written);
        isWhole = step > 0 || (step < 0 && errno == EINTR);
        written += step > 0 ? static_cast<size_t>(step) : 0;
    }
    const int error = errno;
    if (close(file) != 0 || !isWhole)
    {
        AddError(faults, "%s: %s", path, strerror(isWhole ? errno : error));
        return false;
    }
    return true;
}

/// The same with a package, which is freed. One that could not be put together touches no file.
static bool WritePackageBytes(const char* path, PackageBytes* package, FaultList* faults)
{
    if (package->bytes == nullptr)
    {
        return false;
    }
    const bool isWritten = WriteBytes(path, package->bytes, package->size, faults);
    free(package->bytes);
    *package = {};
    return isWritten;
}

bool RewritePackage(const PendingEntry* list, const char* outputPath, PackageFile* source,
                    FaultList* faults)
{
    const uint32_t errorsBefore = faults->errorCount;
    const EntryCounts counts = CountEntries(list);
    printf("count = %d\n", static_cast<int>(counts.kept));

    EntryBytes* kept = AllocateZeroed<EntryBytes>(counts.kept, "the kept entries", faults);
    if (kept == nullptr)
    {
        return false;
    }
    uint32_t k = 0;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        if (entry->sourceDir == nullptr)
        {
            printf("NAME: %s\n", entry->name);
            kept[k++] = ReadKeptEntry(entry, source, faults);
        }
    }

    PackageBytes package = {};
    PackageWriter writer = BeginPackage(&package, counts.all, faults);
    k = 0;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        if (entry->sourceDir == nullptr)
        {
            printf("size=%d\n", kept[k].size);
            PutEntry(&writer, entry->name, &kept[k++]);
        }
        else
        {
            EntryBytes bytes = ReadDiskFile(entry, faults);
            printf("size of the file: %d\n", bytes.size);
            PutEntry(&writer, entry->name, &bytes);
            free(bytes.data);
        }
    }
    for (k = 0; k < counts.kept; ++k)
    {
        free(kept[k].data);
    }
    free(kept);
    EndPackage(&writer);
    return WritePackageBytes(outputPath, &package, faults) && faults->errorCount == errorsBefore;
}

bool WritePackageCopy(const PendingEntry* list, const char* outputPath, PackageFile* source,
                      FaultList* faults)
{
    PackageBytes package = {};
    const bool isWhole = BuildPackage(list, source, &package, faults);
    return WritePackageBytes(outputPath, &package, faults) && isWhole;
}

bool ExtractPendingEntries(const PendingEntry* list, PackageFile* source, const char* prefix,
                           FaultList* faults)
{
    const uint32_t errorsBefore = faults->errorCount;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        // Read whole before the file is created: it may be written onto itself.
        EntryBytes bytes = ReadEntryBytes(entry, source, faults);
        char* path = bytes.data == nullptr ? nullptr : JoinPath(prefix, entry->name, faults);
        if (path != nullptr)
        {
            WriteBytes(path, bytes.data, static_cast<size_t>(bytes.size), faults);
        }
        free(path);
        free(bytes.data);
    }
    return faults->errorCount == errorsBefore;
}

bool ExtractPackage(PackageFile* package, const char* prefix, FaultList* faults)
{
    PendingEntry* list = ReadPackageDirectory(package, faults);
    if (list == nullptr)
    {
        return false;
    }
    const bool isWhole = ExtractPendingEntries(list, package, prefix, faults);
    FreePendingList(list);
    return isWhole;
}
