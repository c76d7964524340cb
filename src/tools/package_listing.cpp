#include "tools/package_listing.h"

#include <cstring>

#include "engine/data/byte_order.h"
#include "engine/data/package_file.h"
#include "tools/files.h"
#include "tools/report.h"

static constexpr uint32_t kEmptyPackageSize = kPackageHeaderSize + kPackageNameSize;
static constexpr uint64_t kLongNameLimit = uint64_t{1} << 24;

/// Turns one entry of the directory into the record.
/// @return null, or what is wrong with it
static const char* ReadListedEntry(const unsigned char* bytes, uint64_t fileSize,
                                   ListedEntry* entry)
{
    const char* name = reinterpret_cast<const char*>(bytes);
    entry->name.assign(name, strnlen(name, kPackageNameSize));
    entry->start = LoadBigEndian32(bytes + kPackageNameSize);
    uint64_t behind = uint64_t{LoadBigEndian32(bytes + kPackageNameSize + 4)} + 1;
    if (behind < entry->start)
    {
        return "ends before it starts";
    }
    if (behind > fileSize)
    {
        return "reaches past the end of the file";
    }
    if (behind - entry->start > INT32_MAX)
    {
        return "is larger than 2 GiB";
    }
    entry->size = static_cast<uint32_t>(behind - entry->start);
    return nullptr;
}

static bool ReadListing(uint64_t fileSize, ListedPackage* package)
{
    const std::string path = Printable(package->path);
    fseek(package->stream, kPackageHeaderSize, SEEK_SET);
    while (true)
    {
        unsigned char bytes[kPackageEntrySize] = {};
        size_t got = fread(bytes, 1, sizeof(bytes), package->stream);
        if (got >= kPackageNameSize && bytes[0] == 0)
        {
            return true;
        }
        if (got < sizeof(bytes))
        {
            ReportError("%s: damaged package: its directory has no end", path.c_str());
            return false;
        }

        ListedEntry entry;
        const char* fault = ReadListedEntry(bytes, fileSize, &entry);
        if (fault != nullptr)
        {
            ReportError("%s: damaged package: entry \"%s\" %s", path.c_str(),
                        Printable(entry.name).c_str(), fault);
            return false;
        }
        package->entries.push_back(entry);
    }
}

static bool CheckHeader(PackageUse use, uint64_t fileSize, const ListedPackage* package)
{
    unsigned char header[kPackageHeaderSize] = {};
    size_t got = fread(header, 1, sizeof(header), package->stream);
    if (fileSize < kEmptyPackageSize || got != sizeof(header))
    {
        ReportError("%s: not a package: shorter than %u bytes", Printable(package->path).c_str(),
                    kEmptyPackageSize);
        return false;
    }
    if (use == PackageUse::Rewriting && memcmp(header, kPackageHeader, sizeof(header)) != 0)
    {
        ReportError("%s: not a package: it does not begin with the bytes 44 50 01",
                    Printable(package->path).c_str());
        return false;
    }
    return true;
}

bool OpenPackage(const std::string& path, PackageUse use, ListedPackage* package)
{
    uint64_t fileSize = 0;
    package->path = path;
    package->entries.clear();
    package->stream = OpenForReading(path, &fileSize);
    if (package->stream == nullptr)
    {
        return false;
    }
    if (!CheckHeader(use, fileSize, package) || !ReadListing(fileSize, package))
    {
        ClosePackage(package);
        return false;
    }
    return true;
}

void ClosePackage(ListedPackage* package)
{
    fclose(package->stream);
    package->stream = nullptr;
}

const ListedEntry* FindEntry(const ListedPackage* package, const std::string& name)
{
    for (const ListedEntry& entry : package->entries)
    {
        if (entry.name == name)
        {
            return &entry;
        }
    }
    return nullptr;
}

bool IsReachable(const std::string& name, uint64_t start)
{
    return name.size() < kPackageNameSize || start < kLongNameLimit;
}
