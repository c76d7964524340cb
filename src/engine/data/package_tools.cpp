#include "engine/data/package_tools.h"

#include <cassert>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "engine/data/byte_order.h"
#include "engine/data/fault.h"
#include "engine/data/package_file.h"

static constexpr mode_t kCreatedMode = 0600;

/// One entry's bytes in memory; data is null, and size 0, where they can't be had.
struct EntryBytes
{
    unsigned char* data; // owned
    int32_t size;        // bytes
};

static void* AllocateZeroed(size_t count, size_t size)
{
    void* block = calloc(count, size);
    if (block == nullptr)
    {
        FatalError("out of memory");
    }
    return block;
}

PendingEntry* NewPendingList()
{
    return static_cast<PendingEntry*>(AllocateZeroed(1, sizeof(PendingEntry)));
}

PendingEntry* AppendPendingEntry(PendingEntry* head, char* name, char* sourceDir)
{
    assert(name != nullptr);
    PendingEntry* sentinel = head;
    while (sentinel->name != nullptr)
    {
        sentinel = sentinel->next;
    }

    sentinel->name = name;
    sentinel->sourceDir = sourceDir;
    sentinel->next = NewPendingList();
    return sentinel->next;
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
    PendingEntry** link = &head; // what points to the node at hand
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

PendingEntry* ReadPackageDirectory(FILE* stream)
{
    PendingEntry* list = NewPendingList();
    PendingEntry* sentinel = list;
    long position = kPackageHeaderSize;

    while (true)
    {
        char* name = static_cast<char*>(AllocateZeroed(kPackageNameSize + 1, 1));
        fseek(stream, position, SEEK_SET);
        if (fread(name, 1, kPackageNameSize, stream) != kPackageNameSize || name[0] == 0)
        {
            free(name);
            return list;
        }
        sentinel = AppendPendingEntry(sentinel, name, nullptr);
        position += kPackageEntrySize;
    }
}

/// Reads a file whole. Its size is where its end is; what the file then fails to give is cut off.
static EntryBytes ReadDiskFile(const PendingEntry* entry)
{
    std::string path = std::string(entry->sourceDir) + entry->name;
    FILE* file = fopen(path.c_str(), "rb");
    if (file == nullptr)
    {
        return {};
    }

    // A directory opens, and then tells a size beyond all bounds.
    fseek(file, 0, SEEK_END);
    long end = ftell(file);
    if (end < 0 || end > INT32_MAX)
    {
        fclose(file);
        return {};
    }

    EntryBytes bytes = {};
    size_t size = static_cast<size_t>(end);
    bytes.data = static_cast<unsigned char*>(AllocateZeroed(size + 1, 1));
    fseek(file, 0, SEEK_SET);
    bytes.size = static_cast<int32_t>(fread(bytes.data, 1, size, file));
    fclose(file);
    return bytes;
}

static EntryBytes ReadKeptEntry(const PendingEntry* entry, FILE* stream)
{
    EntryBytes bytes = {};
    if (stream != nullptr)
    {
        bytes.data = ReadPackageEntry(stream, entry->name, &bytes.size);
    }
    return bytes;
}

static EntryBytes ReadEntryBytes(const PendingEntry* entry, FILE* stream)
{
    return entry->sourceDir != nullptr ? ReadDiskFile(entry) : ReadKeptEntry(entry, stream);
}

static uint32_t CountEntries(const PendingEntry* list)
{
    uint32_t count = 0;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        count += 1;
    }
    return count;
}

/// A package while it is written. Offsets are unsigned 32-bit, as the format has them.
struct PackageWriter
{
    FILE* stream;           // owned; null if the output can't be created
    uint32_t nameOffset;    // of the directory entry that comes next
    uint32_t firstDataByte; // 40 * N + 35
    uint32_t before;        // bytes of data written so far
};

static void WriteBigEndian32(FILE* stream, uint32_t offset, uint32_t value)
{
    unsigned char bytes[4];
    StoreBigEndian32(value, bytes);
    fseek(stream, static_cast<long>(offset), SEEK_SET);
    fwrite(bytes, 1, sizeof(bytes), stream);
}

/// Creates the file and writes the header and a directory of zeros, terminator included: no name
/// needs padding later.
static PackageWriter BeginPackage(const char* outputPath, uint32_t entryCount)
{
    PackageWriter writer = {};
    writer.nameOffset = kPackageHeaderSize;
    writer.firstDataByte = kPackageEntrySize * entryCount + kPackageHeaderSize + kPackageNameSize;

    int created = creat(outputPath, kCreatedMode);
    if (created < 0)
    {
        return writer;
    }
    close(created);
    int reopened = open(outputPath, O_WRONLY | O_CLOEXEC);
    if (reopened < 0)
    {
        return writer;
    }
    writer.stream = fdopen(reopened, "wb");
    if (writer.stream == nullptr)
    {
        close(reopened);
        return writer;
    }

    static constexpr unsigned char kZeros[kPackageEntrySize] = {};
    fwrite(kPackageHeader, 1, kPackageHeaderSize, writer.stream);
    for (uint32_t i = 0; i < entryCount; ++i)
    {
        fwrite(kZeros, 1, kPackageEntrySize, writer.stream);
    }
    fwrite(kZeros, 1, kPackageNameSize, writer.stream);
    return writer;
}

/// Name, start, data, end, in this order: a name that is too long goes under start and end.
static void WriteEntry(PackageWriter* writer, const char* name, const EntryBytes* bytes)
{
    if (writer->stream == nullptr)
    {
        return;
    }

    uint32_t size = static_cast<uint32_t>(bytes->size);
    uint32_t start = writer->firstDataByte + writer->before;

    fseek(writer->stream, static_cast<long>(writer->nameOffset), SEEK_SET);
    fwrite(name, 1, strlen(name), writer->stream);
    WriteBigEndian32(writer->stream, writer->nameOffset + kPackageNameSize, start);
    if (size > 0)
    {
        fseek(writer->stream, static_cast<long>(start), SEEK_SET);
        fwrite(bytes->data, 1, size, writer->stream);
    }
    WriteBigEndian32(writer->stream, writer->nameOffset + kPackageNameSize + 4, start + size - 1);

    writer->nameOffset += kPackageEntrySize;
    writer->before += size;
}

static void EndPackage(PackageWriter* writer)
{
    if (writer->stream != nullptr)
    {
        fclose(writer->stream);
        writer->stream = nullptr;
    }
}

void RewritePackage(const PendingEntry* list, const char* outputPath, FILE* stream)
{
    uint32_t keptCount = 0;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        keptCount += entry->sourceDir == nullptr ? 1 : 0;
    }
    printf("count = %d\n", static_cast<int>(keptCount));

    // All of it before the output is touched, which may be the file that the stream has open.
    EntryBytes* kept =
        static_cast<EntryBytes*>(AllocateZeroed(size_t{keptCount} + 1, sizeof(EntryBytes)));
    uint32_t k = 0;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        if (entry->sourceDir == nullptr)
        {
            printf("NAME: %s\n", entry->name);
            kept[k++] = ReadKeptEntry(entry, stream);
        }
    }

    PackageWriter writer = BeginPackage(outputPath, CountEntries(list));
    k = 0;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        if (entry->sourceDir == nullptr)
        {
            printf("size=%d\n", kept[k].size);
            WriteEntry(&writer, entry->name, &kept[k++]);
        }
        else
        {
            EntryBytes bytes = ReadDiskFile(entry);
            printf("size of the file: %d\n", bytes.size);
            WriteEntry(&writer, entry->name, &bytes);
            free(bytes.data);
        }
    }
    EndPackage(&writer);

    for (k = 0; k < keptCount; ++k)
    {
        free(kept[k].data);
    }
    free(kept);
}

void WritePackageCopy(const PendingEntry* list, const char* outputPath, FILE* stream)
{
    PackageWriter writer = BeginPackage(outputPath, CountEntries(list));
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        EntryBytes bytes = ReadEntryBytes(entry, stream);
        WriteEntry(&writer, entry->name, &bytes);
        free(bytes.data);
    }
    EndPackage(&writer);
}

static void WriteFile(const std::string& path, const EntryBytes* bytes)
{
    int file = creat(path.c_str(), kCreatedMode);
    if (file < 0)
    {
        return;
    }

    size_t size = static_cast<size_t>(bytes->size);
    size_t written = 0;
    while (written < size)
    {
        ssize_t step = write(file, bytes->data + written, size - written);
        if (step <= 0)
        {
            break;
        }
        written += static_cast<size_t>(step);
    }
    close(file);
}

void ExtractPendingEntries(const PendingEntry* list, FILE* stream, const char* prefix)
{
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        // Read whole before the file is created: it may be written onto itself.
        EntryBytes bytes = ReadEntryBytes(entry, stream);
        if (bytes.data != nullptr)
        {
            WriteFile(std::string(prefix) + entry->name, &bytes);
        }
        free(bytes.data);
    }
}

void ExtractPackage(FILE* stream, const char* prefix)
{
    PendingEntry* list = ReadPackageDirectory(stream);
    ExtractPendingEntries(list, stream, prefix);
    FreePendingList(list);
}
