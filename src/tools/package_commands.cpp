// SPDX-License-Identifier: MIT
#include "tools/package_commands.h"

#include <cstdlib>
#include <cstring>
#include <set>
#include <sys/stat.h>

#include "engine/data/package_file.h"
#include "tools/files.h"
#include "tools/overwrite.h"
#include "tools/package_listing.h"
#include "tools/report.h"

static constexpr ReplaceOptions kPackageReplacement = {0644, true,
                                                       "could not be written; is the disk full?"};
static constexpr ReplaceOptions kExtractReplacement = {0600, false, "could not be written"};

// ---- The limits of a package

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

bool CheckNames(const std::vector<PlannedEntry>& plan)
{
    std::set<std::string> seen;
    for (const PlannedEntry& planned : plan)
    {
        if (!CheckName(planned.name, &seen))
        {
            return false;
        }
    }
    return true;
}

bool PlaceEntries(std::vector<PlannedEntry>* plan)
{
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

// ---- Writing

/// Entries of a package to be written, in their order.
struct EntryList
{
    PendingEntry* head;     // owned; null without memory
    PendingEntry* sentinel; // in the list
};

static EntryList StartEntryList()
{
    PendingEntry* head = NewPendingList();
    if (head == nullptr)
    {
        ReportError("out of memory");
    }
    return {head, head};
}

/// @param folder   of a file on disk, with its slash; null for an entry of the old package
/// @return false after an error line
static bool AppendEntry(EntryList* list, const std::string& name, const std::string* folder)
{
    char* nameCopy = strdup(name.c_str());
    char* folderCopy = folder == nullptr ? nullptr : strdup(folder->c_str());
    const bool isCopied = nameCopy != nullptr && (folder == nullptr || folderCopy != nullptr);
    PendingEntry* sentinel =
        isCopied ? AppendPendingEntry(list->sentinel, nameCopy, folderCopy) : nullptr;
    if (sentinel == nullptr)
    {
        if (!isCopied)
        {
            free(nameCopy);
            free(folderCopy);
        }
        ReportError("out of memory");
        return false;
    }
    list->sentinel = sentinel;
    return true;
}

/// Appends the entries of a package but for those of these names.
static bool AppendKept(EntryList* list, const ListedPackage* package,
                       const std::set<std::string>& without)
{
    for (const ListedEntry& entry : package->entries)
    {
        if (without.count(entry.name) == 0 && !AppendEntry(list, entry.name, nullptr))
        {
            return false;
        }
    }
    return true;
}

/// Appends files on disk, each under its name without its folder.
static bool AppendFiles(EntryList* list, const std::vector<std::string>& files)
{
    for (const std::string& path : files)
    {
        const size_t slash = path.rfind('/');
        const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
        const std::string folder = path.substr(0, nameStart);
        if (!AppendEntry(list, path.substr(nameStart), &folder))
        {
            return false;
        }
    }
    return true;
}

/// Finds the size of an entry that comes out of another package.
static bool MeasureKeptEntry(const ListedPackage* source, PlannedEntry* planned)
{
    const ListedEntry* entry = FindEntry(source, planned->name);
    if (!IsReachable(entry->name, entry->start))
    {
        ReportError("%s: entry \"%s\" can't be read: its name has 32 bytes and its data starts at "
                    "16 MiB or later",
                    Printable(source->path).c_str(), Printable(entry->name).c_str());
        return false;
    }
    planned->size = entry->size;
    return true;
}

static bool PlanPackage(const PendingEntry* list, const ListedPackage* source,
                        std::vector<PlannedEntry>* plan)
{
    for (const PendingEntry* entry = list; entry->name != nullptr; entry = entry->next)
    {
        plan->push_back({entry->name, 0, 0});
    }
    if (!CheckNames(*plan))
    {
        return false;
    }

    const PendingEntry* entry = list;
    for (PlannedEntry& planned : *plan)
    {
        bool isMeasured = false;
        if (entry->sourceDir != nullptr)
        {
            isMeasured = MeasureFile(entry->sourceDir + planned.name, &planned.size);
        }
        else if (source != nullptr)
        {
            isMeasured = MeasureKeptEntry(source, &planned);
        }
        if (!isMeasured)
        {
            return false;
        }
        entry = entry->next;
    }
    return PlaceEntries(plan);
}

bool WritePackage(const std::string& path, const std::vector<PlannedEntry>& plan,
                  PackageBytes* package)
{
    const uint64_t plannedSize =
        plan.empty() ? kPackageHeaderSize + kPackageNameSize : plan.back().start + plan.back().size;
    bool isWritten = false;
    if (package->bytes != nullptr && package->size != plannedSize)
    {
        ReportError("%s: a source changed while it was read", Printable(path).c_str());
    }
    else if (package->bytes != nullptr)
    {
        isWritten = ReplaceFile(path, package->bytes, package->size, kPackageReplacement);
    }
    free(package->bytes);
    *package = {};
    return isWritten;
}

/// Writes a package of a list's entries.
/// @param source   holds the entries that are on no disk; null where all are
static bool WriteList(const EntryList* list, ListedPackage* source, const std::string& path)
{
    std::vector<PlannedEntry> plan;
    if (!PlanPackage(list->head, source, &plan))
    {
        return false;
    }

    FaultList faults;
    StartFaults(&faults);
    PackageBytes package = {};
    const bool isBuilt =
        BuildPackage(list->head, source == nullptr ? nullptr : &source->file, &package, &faults);
    ReportFaults(path, &faults);
    if (!isBuilt)
    {
        free(package.bytes);
        return false;
    }
    return WritePackage(path, plan, &package);
}

bool AddToPackage(const std::string& path, const std::vector<std::string>& files)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kRewriting, &package))
    {
        return false;
    }
    EntryList list = StartEntryList();
    const bool isDone = list.head != nullptr && AppendKept(&list, &package, {}) &&
                        AppendFiles(&list, files) && WriteList(&list, &package, path);
    FreePendingList(list.head);
    ClosePackage(&package);
    return isDone;
}

/// @return false after a line for each name that the package lacks
static bool CheckWanted(const ListedPackage* package, const std::set<std::string>& names)
{
    bool areThere = true;
    for (const std::string& name : names)
    {
        if (FindEntry(package, name) == nullptr)
        {
            ReportError("%s: no entry \"%s\"", Printable(package->path).c_str(),
                        Printable(name).c_str());
            areThere = false;
        }
    }
    return areThere;
}

bool RemoveFromPackage(const std::string& path, const std::vector<std::string>& names)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kRewriting, &package))
    {
        return false;
    }
    const std::set<std::string> removed(names.begin(), names.end());
    EntryList list = StartEntryList();
    const bool isDone = list.head != nullptr && CheckWanted(&package, removed) &&
                        AppendKept(&list, &package, removed) && WriteList(&list, &package, path);
    FreePendingList(list.head);
    ClosePackage(&package);
    return isDone;
}

bool CreatePackage(const std::string& path, const std::vector<std::string>& files, bool isForced)
{
    if (!MayOverwrite(path, FileKind::kPackage, isForced))
    {
        return false;
    }
    EntryList list = StartEntryList();
    const bool isDone =
        list.head != nullptr && AppendFiles(&list, files) && WriteList(&list, nullptr, path);
    FreePendingList(list.head);
    return isDone;
}

// ---- Reading

static void PrintListing(const ListedPackage& package)
{
    for (const ListedEntry& entry : package.entries)
    {
        printf("%s\t%u\t%u\n", Printable(entry.name).c_str(), entry.start, entry.size);
    }
}

/// A text in JSON. Bytes that are no text stand as the marks that Printable makes of them.
static std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : Printable(text))
    {
        quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
    }
    return quoted + "\"";
}

static void PrintListingJson(const ListedPackage& package)
{
    const char* before = "[";
    for (const ListedEntry& entry : package.entries)
    {
        printf("%s\n{\"name\":%s,\"start\":%u,\"size\":%u}", before, Quoted(entry.name).c_str(),
               entry.start, entry.size);
        before = ",";
    }
    printf("%s]\n", package.entries.empty() ? before : "\n");
}

bool ListPackage(const std::string& path, bool json)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    json ? PrintListingJson(package) : PrintListing(package);
    ClosePackage(&package);
    return true;
}

/// Every entry of the package, or those that are named, each once.
static bool ListWanted(const ListedPackage* package, const std::vector<std::string>& names,
                       std::vector<PlannedEntry>* wanted)
{
    if (names.empty())
    {
        for (const ListedEntry& entry : package->entries)
        {
            wanted->push_back({entry.name, 0, 0});
        }
        return true;
    }
    std::set<std::string> seen;
    for (const std::string& name : names)
    {
        if (!CheckWanted(package, {name}))
        {
            return false;
        }
        if (seen.insert(name).second)
        {
            wanted->push_back({name, 0, 0});
        }
    }
    return true;
}

/// Whether a path names the file of the package.
static bool IsPackage(const ListedPackage* package, const std::string& path)
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(package->file.file, &opened) == 0 && stat(path.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

static bool CheckFile(const ListedPackage* package, const std::string& folder,
                      const std::string& name)
{
    if (name.find('/') != std::string::npos || name == "." || name == "..")
    {
        ReportError("\"%s\" is not extracted: as a file it would leave the folder",
                    Printable(name).c_str());
        return false;
    }
    if (IsPackage(package, folder + "/" + name))
    {
        ReportError("\"%s\" is not extracted: its file would replace the package",
                    Printable(name).c_str());
        return false;
    }
    return true;
}

/// Refuses what could not be written as a file of its own inside the folder.
static bool PlanExtraction(const ListedPackage* package, const std::string& folder,
                           std::vector<PlannedEntry>* wanted)
{
    std::set<std::string> seen;
    for (PlannedEntry& planned : *wanted)
    {
        if (!CheckFile(package, folder, planned.name) || !MeasureKeptEntry(package, &planned))
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
    }
    return true;
}

/// @param path   a file, or "-"
static bool ExtractEntry(ListedPackage* package, const std::string& name, const std::string& path)
{
    FaultList faults;
    StartFaults(&faults);
    int32_t size = 0;
    unsigned char* bytes = ReadPackageEntry(&package->file, name.c_str(), &size, &faults);
    ReportFaults(package->path, &faults);
    const size_t length = static_cast<size_t>(size);
    bool isDone = bytes != nullptr;
    if (isDone)
    {
        isDone = path == kStandardStream ? WriteStandardOutput(bytes, length)
                                         : ReplaceFile(path, bytes, length, kExtractReplacement);
    }
    free(bytes);
    return isDone;
}

bool ExtractFromPackage(const std::string& path, const std::string& folder,
                        const std::vector<std::string>& names)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }

    const bool isPrinted = folder == kStandardStream;
    std::vector<PlannedEntry> wanted;
    bool isDone = ListWanted(&package, names, &wanted) && PlanExtraction(&package, folder, &wanted);
    if (isDone && isPrinted && wanted.size() != 1)
    {
        ReportError("%s: one entry can be written to standard output, not %zu",
                    Printable(path).c_str(), wanted.size());
        isDone = false;
    }
    isDone = isDone && (isPrinted || MakeFolder(folder));
    if (isDone)
    {
        for (const PlannedEntry& planned : wanted)
        {
            const std::string file = isPrinted ? folder : folder + "/" + planned.name;
            isDone = ExtractEntry(&package, planned.name, file) && isDone;
        }
    }
    ClosePackage(&package);
    return isDone;
}
