#include "tools/package_commands.h"

#include <cstdlib>
#include <cstring>
#include <set>
#include <sys/stat.h>

#include "engine/data/package_file.h"
#include "tools/files.h"
#include "tools/report.h"

/// An entry of a package to be written, with the place that it will have.
struct PlannedEntry
{
    std::string name;
    std::string diskPath; // empty where the data comes out of the source package
    uint64_t sourceStart; // offset in the source package, 0 on disk
    uint64_t start;       // offset in the new package
    uint64_t size;        // bytes
};

static char* CopyText(const std::string& text)
{
    char* copy = strdup(text.c_str());
    if (copy == nullptr)
    {
        ReportError("out of memory");
        exit(1);
    }
    return copy;
}

static bool MeasureKeptEntry(const ListedPackage* source, PlannedEntry* planned)
{
    const ListedEntry* entry = source == nullptr ? nullptr : FindEntry(source, planned->name);
    if (entry == nullptr)
    {
        ReportError("no entry \"%s\"", Printable(planned->name).c_str());
        return false;
    }
    if (!IsReachable(entry->name, entry->start))
    {
        ReportError("%s: entry \"%s\" can't be read: its name has 32 bytes and its data starts at "
                    "16 MiB or later",
                    Printable(source->path).c_str(), Printable(entry->name).c_str());
        return false;
    }
    planned->sourceStart = entry->start;
    planned->size = entry->size;
    return true;
}

static bool MeasureDiskFile(PlannedEntry* planned)
{
    FILE* stream = OpenForReading(planned->diskPath, &planned->size);
    if (stream == nullptr)
    {
        return false;
    }
    fclose(stream);
    return true;
}

static bool CheckName(const std::string& name, std::set<std::string>* seen)
{
    if (name.empty())
    {
        ReportError("an entry's name can't be empty");
        return false;
    }
    if (name.size() > kPackageNameSize)
    {
        ReportError("the name \"%s\" has %zu bytes; a package holds names of %u at most",
                    Printable(name).c_str(), name.size(), kPackageNameSize);
        return false;
    }
    if (!seen->insert(name).second)
    {
        ReportError("the name \"%s\" would be in the package twice", Printable(name).c_str());
        return false;
    }
    return true;
}

static bool CheckPlace(const PlannedEntry& planned)
{
    const std::string name = Printable(planned.name);
    if (planned.size > INT32_MAX)
    {
        ReportError("\"%s\" is too large: an entry ends below 2 GiB", name.c_str());
        return false;
    }
    if (planned.start + planned.size > uint64_t{1} << 32)
    {
        ReportError("\"%s\" does not fit: a package ends at 4 GiB", name.c_str());
        return false;
    }
    if (!IsReachable(planned.name, planned.start))
    {
        ReportError("\"%s\" has a name of 32 bytes and its data would start at 16 MiB or later, "
                    "where no reader finds it: shorten the name or put it further in front",
                    name.c_str());
        return false;
    }
    return true;
}

/// Works out where everything will be, and refuses what a package can't hold.
static bool PlanPackage(const PendingEntry* list, const ListedPackage* source,
                        std::vector<PlannedEntry>* plan)
{
    std::set<std::string> seen;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        PlannedEntry planned = {};
        planned.name = entry->name;
        if (!CheckName(planned.name, &seen))
        {
            return false;
        }
        bool kept = entry->sourceDir == nullptr;
        planned.diskPath = kept ? "" : std::string(entry->sourceDir) + entry->name;
        if (!(kept ? MeasureKeptEntry(source, &planned) : MeasureDiskFile(&planned)))
        {
            return false;
        }
        plan->push_back(planned);
    }

    uint64_t start =
        kPackageHeaderSize + kPackageEntrySize * uint64_t{plan->size()} + kPackageNameSize;
    for (PlannedEntry& planned : *plan)
    {
        planned.start = start;
        start += planned.size;
        if (!CheckPlace(planned))
        {
            return false;
        }
    }
    return true;
}

static bool HoldsSameBytes(const PlannedEntry& planned, const ListedPackage* source,
                           const ListedPackage* written)
{
    if (planned.diskPath.empty())
    {
        return SameBytes(source->stream, planned.sourceStart, written->stream, planned.start,
                         planned.size);
    }
    uint64_t size = 0;
    FILE* stream = OpenForReading(planned.diskPath, &size);
    if (stream == nullptr)
    {
        return false;
    }
    bool same = size == planned.size && SameBytes(stream, 0, written->stream, planned.start, size);
    fclose(stream);
    return same;
}

/// Where the last entry ends.
static uint64_t PlannedSize(const std::vector<PlannedEntry>& plan)
{
    return plan.empty() ? kPackageHeaderSize + kPackageNameSize
                        : plan.back().start + plan.back().size;
}

/// The writers report nothing, a full disk included, so what they wrote is read back.
static bool IsWrittenAsPlanned(const std::vector<PlannedEntry>& plan, const ListedPackage* source,
                               const Replacement& replacement)
{
    // The size first, so that the usual fault is not reported as a damaged package.
    struct stat status;
    ListedPackage written;
    if (fstat(replacement.file, &status) != 0 ||
        static_cast<uint64_t>(status.st_size) != PlannedSize(plan) ||
        !OpenPackage(replacement.temporary, PackageUse::Rewriting, &written))
    {
        return false;
    }
    bool same = written.entries.size() == plan.size();
    for (size_t i = 0; same && i < plan.size(); ++i)
    {
        const ListedEntry& entry = written.entries[i];
        same = entry.name == plan[i].name && entry.start == plan[i].start &&
               entry.size == plan[i].size && HoldsSameBytes(plan[i], source, &written);
    }
    ClosePackage(&written);
    return same;
}

bool WriteCheckedPackage(const PendingEntry* list, const ListedPackage* source,
                         const std::string& path)
{
    std::vector<PlannedEntry> plan;
    Replacement replacement;
    if (!PlanPackage(list, source, &plan) || !BeginReplacement(path, &replacement))
    {
        return false;
    }

    WritePackageCopy(list, replacement.temporary.c_str(),
                     source == nullptr ? nullptr : source->stream);
    if (!IsWrittenAsPlanned(plan, source, replacement))
    {
        ReportError("%s: could not be written; is the disk full?", Printable(path).c_str());
        AbandonReplacement(&replacement);
        return false;
    }
    return CommitReplacement(&replacement);
}

PendingEntry* AppendDiskFile(PendingEntry* list, const std::string& path)
{
    size_t slash = path.rfind('/');
    size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    return AppendPendingEntry(list, CopyText(path.substr(nameStart)),
                              CopyText(path.substr(0, nameStart)));
}

static void AppendDiskFiles(PendingEntry* list, const std::vector<std::string>& files)
{
    PendingEntry* sentinel = list;
    for (const std::string& file : files)
    {
        sentinel = AppendDiskFile(sentinel, file);
    }
}

bool ListPackage(const std::string& path)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::Reading, &package))
    {
        return false;
    }
    for (const ListedEntry& entry : package.entries)
    {
        printf("%s\t%u\t%u\n", Printable(entry.name).c_str(), entry.start, entry.size);
    }
    ClosePackage(&package);
    return true;
}

/// Every entry of the package, or those that are named, each once.
static bool ListWanted(const ListedPackage* package, const std::vector<std::string>& names,
                       PendingEntry* list)
{
    std::set<std::string> wanted;
    PendingEntry* sentinel = list;
    for (const std::string& name : names)
    {
        if (FindEntry(package, name) == nullptr)
        {
            ReportError("%s: no entry \"%s\"", Printable(package->path).c_str(),
                        Printable(name).c_str());
            return false;
        }
        if (wanted.insert(name).second)
        {
            sentinel = AppendPendingEntry(sentinel, CopyText(name), nullptr);
        }
    }
    return true;
}

static bool CheckFileName(const std::string& name)
{
    if (name.find('/') != std::string::npos || name == "." || name == "..")
    {
        ReportError("\"%s\" is not extracted: as a file it would leave the folder",
                    Printable(name).c_str());
        return false;
    }
    return true;
}

/// Refuses what could not be written as a file of its own inside the folder.
static bool PlanExtraction(const PendingEntry* list, const ListedPackage* package,
                           std::vector<PlannedEntry>* plan)
{
    std::set<std::string> seen;
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        PlannedEntry planned = {};
        planned.name = entry->name;
        if (!CheckFileName(planned.name) || !MeasureKeptEntry(package, &planned))
        {
            return false;
        }
        if (!seen.insert(planned.name).second)
        {
            ReportError("%s: the name \"%s\" is in the package twice; readers find the first, and "
                        "so does extracting by name",
                        Printable(package->path).c_str(), Printable(planned.name).c_str());
            return false;
        }
        plan->push_back(planned);
    }
    return true;
}

static bool IsExtracted(const PlannedEntry& planned, const ListedPackage* package,
                        const std::string& path)
{
    uint64_t size = 0;
    FILE* stream = OpenForReading(path, &size);
    if (stream == nullptr)
    {
        return false;
    }
    bool same = size == planned.size &&
                SameBytes(stream, 0, package->stream, planned.sourceStart, planned.size);
    fclose(stream);
    if (!same)
    {
        ReportError("%s: could not be written", Printable(path).c_str());
    }
    return same;
}

static bool ExtractList(const PendingEntry* list, const ListedPackage* package,
                        const std::string& folder)
{
    std::vector<PlannedEntry> plan;
    if (!PlanExtraction(list, package, &plan) || !MakeFolder(folder))
    {
        return false;
    }

    std::string prefix = folder + "/";
    ExtractPendingEntries(list, package->stream, prefix.c_str());

    bool complete = true;
    for (const PlannedEntry& planned : plan)
    {
        complete = IsExtracted(planned, package, prefix + planned.name) && complete;
    }
    return complete;
}

bool ExtractFromPackage(const std::string& path, const std::string& folder,
                        const std::vector<std::string>& names)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::Reading, &package))
    {
        return false;
    }

    PendingEntry* list = names.empty() ? ReadPackageDirectory(package.stream) : NewPendingList();
    bool done = ListWanted(&package, names, list) && ExtractList(list, &package, folder);
    FreePendingList(list);
    ClosePackage(&package);
    return done;
}

bool AddToPackage(const std::string& path, const std::vector<std::string>& files)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::Rewriting, &package))
    {
        return false;
    }

    PendingEntry* list = ReadPackageDirectory(package.stream);
    AppendDiskFiles(list, files);
    bool done = WriteCheckedPackage(list, &package, path);
    FreePendingList(list);
    ClosePackage(&package);
    return done;
}

/// Removes every entry of one name.
/// @return whether there was one
static bool RemoveByName(PendingEntry** list, const std::string& name)
{
    bool removed = false;
    uint32_t index = 0;
    const PendingEntry* entry = *list;
    while (entry->name != nullptr)
    {
        const PendingEntry* next = entry->next;
        if (entry->name == name)
        {
            *list = RemovePendingEntry(*list, index);
            removed = true;
        }
        else
        {
            index += 1;
        }
        entry = next;
    }
    return removed;
}

bool RemoveFromPackage(const std::string& path, const std::vector<std::string>& names)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::Rewriting, &package))
    {
        return false;
    }

    PendingEntry* list = ReadPackageDirectory(package.stream);
    bool found = true;
    for (const std::string& name : std::set<std::string>(names.begin(), names.end()))
    {
        if (!RemoveByName(&list, name))
        {
            ReportError("%s: no entry \"%s\"", Printable(path).c_str(), Printable(name).c_str());
            found = false;
        }
    }
    bool done = found && WriteCheckedPackage(list, &package, path);
    FreePendingList(list);
    ClosePackage(&package);
    return done;
}

bool CreatePackage(const std::string& path, const std::vector<std::string>& files)
{
    PendingEntry* list = NewPendingList();
    AppendDiskFiles(list, files);
    bool done = WriteCheckedPackage(list, nullptr, path);
    FreePendingList(list);
    return done;
}
