#include "engine/data/package_file.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>

#include "engine/data/byte_order.h"
#include "engine/data/fault.h"

/// The byte of the file `offset` bytes into a directory entry, of which `got` bytes are in `entry`.
/// @return -1 past the end of the file
static int EntryByte(FILE* stream, long entryStart, const unsigned char* entry, size_t got,
                     size_t offset)
{
    if (offset < got)
    {
        return entry[offset];
    }
    if (offset < kPackageEntrySize) // the file ended inside the entry
    {
        return -1;
    }
    // Only names longer than an entry get here. They run on into the entries behind.
    fseek(stream, entryStart + static_cast<long>(offset), SEEK_SET);
    return fgetc(stream);
}

/// Whether all of `name` agrees with the entry and a zero follows it. Behind a name of 32
/// characters that zero is the first byte of the entry's start field.
static bool EntryMatches(FILE* stream, long entryStart, const unsigned char* entry, size_t got,
                         const char* name, size_t nameLength)
{
    for (size_t k = 0; k < nameLength; ++k)
    {
        if (EntryByte(stream, entryStart, entry, got, k) != static_cast<unsigned char>(name[k]))
        {
            return false;
        }
    }
    return EntryByte(stream, entryStart, entry, got, nameLength) == 0;
}

/// Reads the bytes that an entry's start and end fields tell.
static unsigned char* ReadEntryData(FILE* stream, const char* name, const unsigned char* entry,
                                    int32_t* sizeOut)
{
    uint32_t start = LoadBigEndian32(entry + kPackageNameSize);
    uint32_t end = LoadBigEndian32(entry + kPackageNameSize + 4);
    int32_t size = static_cast<int32_t>(end + 1 - start);
    if (size < 0)
    {
        FatalFault("package entry \"%s\": its size of %d bytes can't be allocated", name, size);
    }

    // Zeroed, so that what lies past the end of the file reads as zeros.
    void* data = calloc(static_cast<size_t>(size) + kEntryPadding, 1);
    if (data == nullptr)
    {
        FatalFault("package entry \"%s\": its size of %d bytes can't be allocated", name, size);
    }
    fseek(stream, static_cast<long>(start), SEEK_SET);
    size_t got = fread(data, 1, static_cast<size_t>(size), stream);
    (void)got; // a short read leaves the zeros

    *sizeOut = size;
    return static_cast<unsigned char*>(data);
}

unsigned char* ReadPackageEntry(FILE* stream, const char* name, int32_t* sizeOut)
{
    size_t nameLength = strlen(name);
    unsigned char entry[kPackageEntrySize] = {};
    long entryStart = kPackageHeaderSize;

    fseek(stream, entryStart, SEEK_SET);
    while (true)
    {
        size_t got = fread(entry, 1, kPackageEntrySize, stream);
        if (nameLength == 0)
        {
            memset(entry + got, 0, kPackageEntrySize - got);
            return ReadEntryData(stream, name, entry, sizeOut);
        }

        bool truncated = got < kPackageNameSize;
        if (truncated)
        {
            printf("unexpected error\n");
        }
        else if (entry[0] == 0)
        {
            printf("End of object table reached!\n");
            return nullptr;
        }

        if (EntryMatches(stream, entryStart, entry, got, name, nameLength))
        {
            memset(entry + got, 0, kPackageEntrySize - got);
            return ReadEntryData(stream, name, entry, sizeOut);
        }
        if (truncated)
        {
            // Every entry behind lies past the end of the file, so the search would never end.
            printf("End of object table reached!\n");
            return nullptr;
        }
        entryStart += kPackageEntrySize;
        if (nameLength >= kPackageEntrySize) // the comparison may have moved the stream
        {
            fseek(stream, entryStart, SEEK_SET);
        }
    }
}

FILE* FindPackage()
{
    DIR* directory = opendir(".");
    if (directory == nullptr)
    {
        printf("Sux... no dpk file.\n");
        return nullptr;
    }

    while (const dirent* item = readdir(directory))
    {
        size_t length = strlen(item->d_name);
        if (length < 3 || strncmp(item->d_name + length - 3, "dpk", 3) != 0)
        {
            continue;
        }
        printf("Found %s.\n", item->d_name);
        FILE* stream = fopen(item->d_name, "rb");
        if (stream == nullptr)
        {
            fprintf(stderr, "quorvale: %s: %s\n", item->d_name, strerror(errno));
        }
        closedir(directory);
        return stream;
    }

    printf("Sux... no dpk file.\n");
    closedir(directory);
    return nullptr;
}
