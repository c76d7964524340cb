// SPDX-License-Identifier: MIT
#include "tools/package_listing.h"

#include <cerrno>
#include <cstring>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/data/byte_order.h"
#include "tools/report.h"

static constexpr uint32_t kEmptyPackageSize = kPackageHeaderSize + kPackageNameSize;
static constexpr uint64_t kLongNameLimit = uint64_t{1} << 24;

/// Turns one entry of the directory into the record.
/// @return null, or what is wrong with it
static const char* ParseListedEntry(const unsigned char* bytes, uint64_t fileSize,
                                    ListedEntry* entry)
{
    const char* name = reinterpret_cast<const char*>(bytes);
    entry->name.assign(name, strnlen(name, kPackageNameSize));
    entry->start = LoadBigEndian32(bytes + kPackageNameSize);
    const uint64_t after = uint64_t{LoadBigEndian32(bytes + kPackageNameSize + 4)} + 1;
    if (after < entry->start)
    {
        return "ends before it starts";
    }
    if (after > fileSize)
    {
        return "reaches past the end of the file";
    }
    if (after - entry->start > INT32_MAX)
    {
        return "is larger than 2 GiB";
    }
    entry->size = static_cast<uint32_t>(after - entry->start);
    return nullptr;
}

static bool HasHeader(const ListedPackage* package)
{
    unsigned char header[kPackageHeaderSize] = {};
    return pread(package->file.file, header, sizeof(header), 0) == sizeof(header) &&
           memcmp(header, kPackageHeader, sizeof(header)) == 0;
}

static bool ReportStranger(const ListedPackage* package)
{
    ReportError("%s: not a package: it does not begin with the bytes 44 50 01",
                Printable(package->path).c_str());
    return false;
}

/// A file that does not even begin like a package is none, rather than a damaged one.
static bool ReportDamage(const ListedPackage* package, const std::string& what)
{
    if (!HasHeader(package))
    {
        return ReportStranger(package);
    }
    ReportError("%s: damaged package: %s", Printable(package->path).c_str(), what.c_str());
    return false;
}

static bool ReadListing(uint64_t fileSize, ListedPackage* package)
{
    const PackageFile* file = &package->file;
    const bool endsInEntry = file->entryCount != 0 && file->lastSize < kPackageEntrySize;
    const uint32_t wholeCount = file->entryCount - (endsInEntry ? 1 : 0);
    package->entries.reserve(wholeCount);
    for (uint32_t i = 0; i < wholeCount; ++i)
    {
        ListedEntry entry;
        const char* fault =
            ParseListedEntry(file->directory + size_t{i} * kPackageEntrySize, fileSize, &entry);
        if (fault != nullptr)
        {
            return ReportDamage(package, "entry \"" + Printable(entry.name) + "\" " + fault);
        }
        package->places.emplace(entry.name, i);
        package->entries.push_back(std::move(entry));
    }
    return endsInEntry || file->isCut ? ReportDamage(package, "its directory has no end") : true;
}

static bool CheckHeader(PackageUse use, uint64_t fileSize, const ListedPackage* package)
{
    if (fileSize < kEmptyPackageSize)
    {
        ReportError("%s: not a package: shorter than %u bytes", Printable(package->path).c_str(),
                    kEmptyPackageSize);
        return false;
    }
    return use == PackageUse::kReading || HasHeader(package) || ReportStranger(package);
}

/// Waits until no other dpk rewrites the package that is open. A file system without locks has
/// none to wait for.
/// @return false if another one was put in its place by then
static bool LockPackage(const ListedPackage* package)
{
    while (flock(package->file.file, LOCK_EX) != 0 && errno == EINTR)
    {
    }
    struct stat opened = {};
    struct stat named = {};
    return fstat(package->file.file, &opened) == 0 && stat(package->path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// @return false after an error line
static bool OpenFile(ListedPackage* package)
{
    uint64_t size = 0;
    if (!MeasureFile(package->path, &size))
    {
        return false;
    }
    FaultList faults;
    StartFaults(&faults);
    const bool isOpen = OpenPackageFile(package->path.c_str(), &package->file, &faults);
    ReportFaults(&faults);
    return isOpen;
}

bool OpenPackage(const std::string& path, PackageUse use, ListedPackage* package)
{
    *package = {};
    package->path = path;
    if (!OpenFile(package))
    {
        return false;
    }
    while (use == PackageUse::kRewriting && !LockPackage(package))
    {
        ClosePackage(&package->file);
        if (!OpenFile(package))
        {
            return false;
        }
    }

    struct stat status = {};
    const uint64_t size =
        fstat(package->file.file, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
    if (!CheckHeader(use, size, package) || !ReadListing(size, package))
    {
        ClosePackage(package);
        return false;
    }
    return true;
}

void ClosePackage(ListedPackage* package)
{
    ClosePackage(&package->file);
}

const ListedEntry* FindEntry(const ListedPackage* package, const std::string& name)
{
    const auto found = package->places.find(name);
    return found == package->places.end() ? nullptr : &package->entries[found->second];
}

bool ReadListedEntry(const ListedPackage* package, const ListedEntry* entry, Bytes* bytes)
{
    bytes->resize(entry->size);
    size_t done = 0;
    while (done < bytes->size())
    {
        const ssize_t count = pread(package->file.file, bytes->data() + done, bytes->size() - done,
                                    static_cast<off_t>(entry->start) + static_cast<off_t>(done));
        if (count == 0 || (count < 0 && errno != EINTR))
        {
            ReportError("%s: entry \"%s\": %s", Printable(package->path).c_str(),
                        Printable(entry->name).c_str(),
                        count == 0 ? "the file ends inside it" : strerror(errno));
            return false;
        }
        done += count < 0 ? 0 : static_cast<size_t>(count);
    }
    return true;
}

bool IsReachable(const std::string& name, uint64_t start)
{
    return name.size() < kPackageNameSize || start < kLongNameLimit;
}
