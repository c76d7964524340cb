#include "engine/data/compressed_entry.h"

#include <cstdlib>
#include <zlib.h>

#include "engine/data/byte_order.h"
#include "engine/data/fault.h"
#include "engine/data/package_file.h"

static constexpr uint32_t kSizeWord = 4; // bytes
static constexpr uint32_t kAlignment = 16;

static_assert(kEntryPadding >= kSizeWord, "the inflater is told of bytes behind the entry");

bool InflatePackageEntry(FILE* package, const char* name, uint32_t lead, InflatedEntry* entry)
{
    int32_t containerSize = 0;
    unsigned char* container = ReadPackageEntry(package, name, &containerSize);
    if (container == nullptr)
    {
        return false;
    }

    uint32_t storedSize = LoadLittleEndian32(container);
    void* block = storedSize > kLargestInflatedSize
                      ? nullptr
                      : calloc(static_cast<size_t>(storedSize) + 2 * kAlignment, 1);
    if (block == nullptr)
    {
        FatalFault("\"%s\": its size of %u bytes can't be allocated", name, storedSize);
    }
    uintptr_t first = reinterpret_cast<uintptr_t>(block) + lead;
    unsigned char* data = static_cast<unsigned char*>(block) + (kAlignment - first % kAlignment);

    // The source is told to be the whole entry, though it begins behind the size word. The stream
    // ends by itself, and the entry's padding is what lies behind it.
    uLongf length = storedSize;
    int result =
        uncompress(data, &length, container + kSizeWord, static_cast<uLong>(containerSize));
    free(container);

    // A full destination is a size word that cuts the data, and not an error.
    bool cut = storedSize == 0 || (result == Z_BUF_ERROR && length == storedSize);
    if (result != Z_OK && !cut)
    {
        FatalFault("\"%s\" does not inflate: its data is damaged", name);
    }

    entry->data = data;
    entry->storedSize = storedSize;
    entry->length = storedSize == 0 ? 0 : static_cast<uint32_t>(length);
    entry->block = block;
    return true;
}

void FreeInflatedEntry(InflatedEntry* entry)
{
    free(entry->block);
    entry->block = nullptr;
    entry->data = nullptr;
}
