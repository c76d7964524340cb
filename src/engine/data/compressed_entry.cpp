// SPDX-License-Identifier: MIT
#include "engine/data/compressed_entry.h"

#include <cstdlib>
#include <zlib.h>

#include "engine/data/byte_order.h"

static constexpr uint32_t kSizeWord = 4; // bytes
static constexpr uint32_t kAlignment = 16;

static_assert(kEntryPadding >= kSizeWord, "the inflater is told of bytes after the entry");

/// @return false after a fault
static bool AllocateEntry(PackageFile* package, const char* name, uint32_t lead,
                          InflatedEntry* entry, FaultList* faults)
{
    const bool isTooLarge = entry->storedSize > kLargestInflatedSize;
    if (!isTooLarge && !TakeFromBudget(&package->budget, entry->taken, faults))
    {
        return false;
    }
    entry->block =
        isTooLarge ? nullptr : calloc(static_cast<size_t>(entry->storedSize) + 2 * kAlignment, 1);
    if (entry->block == nullptr)
    {
        AddFault(faults, "\"%s\": its size of %u bytes can't be allocated", name,
                 entry->storedSize);
        return false;
    }
    const uintptr_t first = reinterpret_cast<uintptr_t>(entry->block) + lead;
    entry->data = static_cast<unsigned char*>(entry->block) + (kAlignment - first % kAlignment);
    return true;
}

/// @param room   bytes that the stream may fill
/// @return false after a fault
static bool InflateStream(const unsigned char* container, int32_t containerSize, const char* name,
                          uint32_t room, InflatedEntry* entry, FaultList* faults)
{
    // The source is told to be the whole entry, though it begins after the size word. The stream
    // ends by itself, and the entry's padding is what follows it. A damaged stream gives what comes
    // before the damage: pieces whose checksums are wrong play.
    uLongf length = room;
    const int result =
        uncompress(entry->data, &length, container + kSizeWord, static_cast<uLong>(containerSize));
    if (result == Z_MEM_ERROR)
    {
        AddFault(faults, "no memory to inflate \"%s\"", name);
        return false;
    }
    entry->length = room == 0 ? 0 : static_cast<uint32_t>(length);
    return true;
}

bool InflatePackageEntry(PackageFile* package, const char* name, uint32_t lead, uint32_t most,
                         InflatedEntry* entry, FaultList* faults)
{
    int32_t containerSize = 0;
    unsigned char* container = ReadPackageEntry(package, name, &containerSize, faults);
    if (container == nullptr)
    {
        return false;
    }

    InflatedEntry made = {};
    made.storedSize = LoadLittleEndian32(container);
    const uint32_t room = made.storedSize < most ? made.storedSize : most;
    made.taken = room;
    const bool isMade = AllocateEntry(package, name, lead, &made, faults) &&
                        InflateStream(container, containerSize, name, room, &made, faults);
    free(container);
    if (!isMade)
    {
        FreeInflatedEntry(&made);
        return false;
    }
    *entry = made;
    return true;
}

void FreeInflatedEntry(InflatedEntry* entry)
{
    free(entry->block);
    entry->block = nullptr;
    entry->data = nullptr;
}
