// SPDX-License-Identifier: MIT
#include "engine/data/package_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/allocate.h"
#include "engine/data/byte_order.h"
#include "engine/data/plain_text.h"

static constexpr uint32_t kNoEntry = 0xFFFFFFFF;
static constexpr uint32_t kFirstRoom = 64; // directory entries that are made room for at first

static constexpr char kCutLine[] = "unexpected error\n";
static constexpr char kEndLine[] = "End of object table reached!\n";

/// Reads bytes of the package.
/// @param error   receives 0, or why the file can't be read
/// @return the number that it has there, less than size at its end
static size_t ReadAt(const PackageFile* package, uint64_t offset, unsigned char* out, size_t size,
                     int* error)
{
    *error = 0;
    if (package->bytes != nullptr)
    {
        const size_t begin = static_cast<size_t>(std::min<uint64_t>(offset, package->size));
        const size_t got = std::min(size, package->size - begin);
        memcpy(out, package->bytes + begin, got);
        return got;
    }

    size_t got = 0;
    while (got < size && package->isFile)
    {
        const ssize_t step =
            pread(package->file, out + got, size - got, static_cast<off_t>(offset + got));
        if (step < 0 && errno == EINTR)
        {
            continue;
        }
        if (step <= 0)
        {
            *error = step < 0 ? errno : 0;
            break;
        }
        got += static_cast<size_t>(step);
    }
    return got;
}

/// Makes room for more directory entries.
/// @return false after a fault
static bool GrowDirectory(PackageFile* package, uint32_t room, FaultList* faults)
{
    const size_t bytes = size_t{room} * kPackageEntrySize;
    void* directory = realloc(package->directory, bytes);
    if (directory == nullptr)
    {
        AddError(faults, "no memory for a package directory (%zu bytes)", bytes);
        return false;
    }
    package->directory = static_cast<unsigned char*>(directory);
    return true;
}

/// A name that the file ends in goes on with the bytes of the name before it: the search goes on
/// with what its buffer holds.
/// @param count   entries, with this one
static void KeepStaleBytes(unsigned char* entry, uint32_t count, size_t present)
{
    if (count > 1)
    {
        memcpy(entry + present, entry - kPackageEntrySize + present, kPackageNameSize - present);
    }
}

/// Reads the directory up to its terminator or the end of the file.
/// @param isEnded   receives whether a zero byte follows the last entry
/// @return false after a fault
static bool ReadDirectory(PackageFile* package, bool* isEnded, FaultList* faults)
{
    *isEnded = false;
    package->lastSize = kPackageEntrySize;
    for (uint32_t room = kFirstRoom;; room *= 2)
    {
        if (!GrowDirectory(package, room, faults))
        {
            return false;
        }
        unsigned char* begin = package->directory + size_t{package->entryCount} * kPackageEntrySize;
        const size_t wanted = size_t{room - package->entryCount} * kPackageEntrySize;
        const uint64_t offset =
            kPackageHeaderSize + uint64_t{package->entryCount} * kPackageEntrySize;
        int error = 0;
        const size_t got = ReadAt(package, offset, begin, wanted, &error);
        if (error != 0)
        {
            AddError(faults, "the package's directory can't be read: %s", strerror(error));
            return false;
        }
        memset(begin + got, 0, wanted - got);

        for (size_t at = 0; at < wanted; at += kPackageEntrySize)
        {
            const size_t present = at < got ? std::min<size_t>(got - at, kPackageEntrySize) : 0;
            package->isCut = present < kPackageNameSize;
            *isEnded = present > 0 && begin[at] == 0;
            if (present == 0 || *isEnded)
            {
                return true;
            }
            if (package->entryCount == kMostPackageEntries)
            {
                AddError(faults, "the package's directory has more than %u entries",
                         kMostPackageEntries);
                return false;
            }
            package->entryCount += 1;
            package->lastSize = static_cast<uint32_t>(present);
            if (package->isCut)
            {
                KeepStaleBytes(&begin[at], package->entryCount, present);
                return true;
            }
        }
    }
}

/// The hash of a text grows from its end to its begin: the names of entries that run over those
/// after them are then hashed all together in one walk.
static constexpr uint64_t kHashOfNothing = 0xCBF29CE484222325;

static uint64_t HashBefore(uint64_t hash, unsigned char byte)
{
    return (hash ^ byte) * 0x100000001B3;
}

static uint32_t SlotOf(const PackageFile* package, uint64_t hash)
{
    return static_cast<uint32_t>(hash ^ hash >> 32) & (package->slotCount - 1);
}

/// @return the entry with this name; kNoEntry if there is none
static uint32_t FindEntry(const PackageFile* package, const unsigned char* name, uint64_t hash,
                          uint32_t length)
{
    uint32_t i = package->slotCount == 0 ? kNoEntry : package->slots[SlotOf(package, hash)];
    while (i != kNoEntry)
    {
        const PackageName* entry = &package->names[i];
        if (entry->hash == hash && entry->length == length &&
            memcmp(package->directory + size_t{i} * kPackageEntrySize, name, length) == 0)
        {
            return i;
        }
        i = entry->next;
    }
    return kNoEntry;
}

/// A name that the file ends in ends inside its field or nowhere. The names that run on into it
/// have only those of its bytes that are in the file.
static void MeasureCutName(PackageFile* package)
{
    if (package->lastSize >= kPackageNameSize)
    {
        return;
    }
    const uint32_t last = package->entryCount - 1;
    const unsigned char* entry = package->directory + size_t{last} * kPackageEntrySize;
    const uint32_t length =
        static_cast<uint32_t>(strnlen(reinterpret_cast<const char*>(entry), kPackageNameSize));
    uint64_t hash = kHashOfNothing;
    for (uint32_t k = length; k > 0; --k)
    {
        hash = HashBefore(hash, entry[k - 1]);
    }
    package->names[last] = {hash, length < kPackageNameSize ? length : 0, kNoEntry};
}

/// Measures the name of each entry, from the last entry to the first.
static void MeasureNames(PackageFile* package, bool isEnded)
{
    uint64_t hash = kHashOfNothing;
    uint32_t length = 0;
    uint32_t size = package->lastSize;
    for (uint32_t i = package->entryCount; i > 0; --i)
    {
        const unsigned char* entry = package->directory + size_t{i - 1} * kPackageEntrySize;
        for (uint32_t k = size; k > 0; --k)
        {
            const bool ends = entry[k - 1] == 0;
            hash = ends ? kHashOfNothing : HashBefore(hash, entry[k - 1]);
            length = ends ? 0 : length + 1;
            isEnded = isEnded || ends;
        }
        package->names[i - 1] = {hash, isEnded ? length : 0, kNoEntry};
        size = kPackageEntrySize;
    }
    MeasureCutName(package);
}

/// Makes names be found. Of entries with one name only the first is.
/// @return false after a fault
static bool IndexNames(PackageFile* package, bool isEnded, FaultList* faults)
{
    if (package->entryCount == 0)
    {
        return true;
    }
    package->slotCount = 8;
    while (package->slotCount < 2 * package->entryCount)
    {
        package->slotCount *= 2;
    }
    package->names = AllocateBlock<PackageName>(package->entryCount, "a package directory", faults);
    package->slots = AllocateBlock<uint32_t>(package->slotCount, "a package directory", faults);
    if (package->names == nullptr || package->slots == nullptr)
    {
        return false;
    }

    MeasureNames(package, isEnded);
    std::fill_n(package->slots, package->slotCount, kNoEntry);
    for (uint32_t i = 0; i < package->entryCount; ++i)
    {
        PackageName* entry = &package->names[i];
        const unsigned char* name = package->directory + size_t{i} * kPackageEntrySize;
        if (entry->length == 0 || FindEntry(package, name, entry->hash, entry->length) != kNoEntry)
        {
            continue;
        }
        uint32_t* slot = &package->slots[SlotOf(package, entry->hash)];
        entry->next = *slot;
        *slot = i;
    }
    return true;
}

/// Reads the directory of a package whose source is set.
/// @return false after a fault; the package is closed then
static bool StartPackage(PackageFile* package, FaultList* faults)
{
    package->budget.bytesLeft = PieceBytesOf(package->size);
    bool isEnded = false;
    if (!ReadDirectory(package, &isEnded, faults) || !IndexNames(package, isEnded, faults))
    {
        ClosePackage(package);
        return false;
    }
    return true;
}

bool OpenPackageFile(const char* path, PackageFile* package, FaultList* faults)
{
    *package = {};

    // A pipe that nobody writes to would hold an ordinary open for ever.
    const int file = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    struct stat status = {};
    if (file < 0 || fstat(file, &status) != 0)
    {
        AddError(faults, "%s: %s", path, strerror(errno));
        if (file >= 0)
        {
            close(file);
        }
        return false;
    }
    if (!S_ISREG(status.st_mode))
    {
        close(file);
        if (!S_ISDIR(status.st_mode))
        {
            AddError(faults, "%s: it is no regular file", path);
            return false;
        }
        return StartPackage(package, faults);
    }
    package->isFile = true;
    package->file = file;
    package->size = static_cast<size_t>(status.st_size);
    return StartPackage(package, faults);
}

bool OpenPackageMemory(const unsigned char* bytes, size_t size, PackageFile* package,
                       FaultList* faults)
{
    *package = {};
    package->bytes = bytes;
    package->size = size;
    return StartPackage(package, faults);
}

void ClosePackage(PackageFile* package)
{
    if (package->isFile)
    {
        close(package->file);
    }
    free(package->directory);
    free(package->names);
    free(package->slots);
    *package = {};
}

static void NoteLine(PackageFile* package, const char* line)
{
    if (package->lineCount < kLookupLines)
    {
        package->lines[package->lineCount] = line;
        package->lineCount += 1;
    }
}

/// Reads the bytes that an entry's start and end fields tell.
static unsigned char* ReadEntryData(const PackageFile* package, const char* name,
                                    const unsigned char* entry, int32_t* sizeOut, FaultList* faults)
{
    const uint32_t start = LoadBigEndian32(entry + kPackageNameSize);
    const uint32_t end = LoadBigEndian32(entry + kPackageNameSize + 4);
    const int32_t size = static_cast<int32_t>(end + 1 - start);

    // Zeroed, so that what lies past the end of the file reads as zeros.
    const bool isTooLarge = size < 0 || static_cast<uint64_t>(size) > PieceBytesOf(package->size);
    void* data = isTooLarge ? nullptr : calloc(static_cast<size_t>(size) + kEntryPadding, 1);
    if (data == nullptr)
    {
        AddFault(faults, "package entry \"%s\": its size of %d bytes can't be allocated", name,
                 size);
        return nullptr;
    }
    int error = 0;
    ReadAt(package, start, static_cast<unsigned char*>(data), static_cast<size_t>(size), &error);
    if (error != 0)
    {
        AddFault(faults, "package entry \"%s\": %s", name, strerror(error));
        free(data);
        return nullptr;
    }
    *sizeOut = size;
    return static_cast<unsigned char*>(data);
}

/// Finds the entry of a name that is not empty, and notes the lines of the lookup.
/// @return kNoEntry if the directory lacks it
static uint32_t LookUpName(PackageFile* package, const char* name)
{
    const size_t length = strlen(name);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(name);
    uint64_t hash = kHashOfNothing;
    for (size_t k = length; k > 0; --k)
    {
        hash = HashBefore(hash, bytes[k - 1]);
    }
    const uint32_t found = length > UINT32_MAX
                               ? kNoEntry
                               : FindEntry(package, bytes, hash, static_cast<uint32_t>(length));

    // The search meets the end of the file only when no whole name before it was the right one.
    const bool isCutName = found + 1 == package->entryCount && package->lastSize < kPackageNameSize;
    if (package->isCut && (found == kNoEntry || isCutName))
    {
        NoteLine(package, kCutLine);
    }
    if (found == kNoEntry)
    {
        NoteLine(package, kEndLine);
    }
    return found;
}

unsigned char* ReadPackageEntry(PackageFile* package, const char* name, int32_t* sizeOut,
                                FaultList* faults)
{
    if (name[0] == 0)
    {
        unsigned char entry[kPackageEntrySize] = {};
        int error = 0;
        ReadAt(package, kPackageHeaderSize, entry, kPackageEntrySize, &error);
        if (error != 0)
        {
            AddFault(faults, "the package's directory can't be read: %s", strerror(error));
            return nullptr;
        }
        return ReadEntryData(package, name, entry, sizeOut, faults);
    }

    const uint32_t found = LookUpName(package, name);
    if (found == kNoEntry)
    {
        return nullptr;
    }
    return ReadEntryData(package, name, package->directory + size_t{found} * kPackageEntrySize,
                         sizeOut, faults);
}

bool LookUpPackageEntry(PackageFile* package, const char* name)
{
    return name[0] == 0 || LookUpName(package, name) != kNoEntry;
}

void PrintLookupLines(PackageFile* package)
{
    for (uint32_t i = 0; i < package->lineCount; ++i)
    {
        fputs(package->lines[i], stdout);
    }
    package->lineCount = 0;
}

bool FindPackage(PackageFile* package, FaultList* faults)
{
    DIR* directory = opendir(".");
    if (directory == nullptr)
    {
        printf("Sux... no dpk file.\n");
        return false;
    }

    while (const dirent* item = readdir(directory))
    {
        const size_t length = strlen(item->d_name);
        if (length < 3 || strncmp(item->d_name + length - 3, "dpk", 3) != 0)
        {
            continue;
        }
        char name[PlainTextSize(sizeof(item->d_name))];
        FormatPlainText(item->d_name, name, sizeof(name));
        printf("Found %s.\n", name);
        const bool isOpen = OpenPackageFile(item->d_name, package, faults);
        closedir(directory);
        return isOpen;
    }

    printf("Sux... no dpk file.\n");
    closedir(directory);
    return false;
}
