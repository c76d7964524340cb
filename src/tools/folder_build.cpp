// SPDX-License-Identifier: MIT
#include "tools/folder_build.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fnmatch.h>
#include <map>
#include <sys/stat.h>
#include <tinyxml.h>

#include "engine/data/document_text.h"
#include "engine/data/package_tools.h"
#include "engine/piece/piece.h"
#include "tools/check_command.h"
#include "tools/container.h"
#include "tools/entry_uses.h"
#include "tools/order_file.h"
#include "tools/package_commands.h"
#include "tools/report.h"

struct EndingRow
{
    const char* ending; // in small letters
    SourceKind kind;
};

static constexpr EndingRow kEndings[] = {
    {".xml", SourceKind::kDocument}, //
    {".obj", SourceKind::kMesh},     //
    {".ply", SourceKind::kMesh},     //
    {".3ds", SourceKind::kMesh},     //
    {".gltf", SourceKind::kMesh},    //
    {".glb", SourceKind::kMesh},     //
    {".stl", SourceKind::kMesh},     //
    {".dae", SourceKind::kMesh},     //
    {".py", SourceKind::kLeftOut},   // programs that made the sources
    {".md", SourceKind::kLeftOut},   // notes
    {".mtl", SourceKind::kLeftOut},  // lies beside .obj
    {".xm", SourceKind::kLeftOut},   // the module is read from beside the package, not out of it
    {".dpk", SourceKind::kLeftOut},  //
    {"~", SourceKind::kLeftOut},     // copies that editors leave
};

struct SourceFile
{
    std::string fileName;
    std::string entryName;
    SourceKind kind;
    TextLayout layout;
    bool isSmall; // packed by zopfli
};

static bool HasEnding(const std::string& name, const char* ending)
{
    const size_t length = strlen(ending);
    return name.size() >= length && strcasecmp(name.c_str() + name.size() - length, ending) == 0;
}

static bool IsIgnored(const std::string& name, const BuildOptions& options)
{
    return std::any_of(options.ignored.begin(), options.ignored.end(),
                       [&name](const std::string& pattern)
                       { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
}

SourceKind KindOfSource(const std::string& name)
{
    if (name[0] == '.' || name == kOrderFileName)
    {
        return SourceKind::kLeftOut;
    }
    for (const EndingRow& row : kEndings)
    {
        if (HasEnding(name, row.ending))
        {
            return row.kind;
        }
    }
    return SourceKind::kPlain;
}

static std::string EntryName(const std::string& fileName, SourceKind kind)
{
    const std::string stem = fileName.substr(0, fileName.rfind('.'));
    switch (kind)
    {
    case SourceKind::kDocument:
        return stem + ".xmlz";
    case SourceKind::kMesh:
        return stem + ".model";
    default:
        return fileName;
    }
}

/// @return whether a name of the folder `path` is a regular file other than the package
static bool IsSource(std::string path, const std::string& name, const struct stat* package)
{
    path += "/";
    path += name;
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
    {
        return false;
    }
    return package == nullptr || status.st_dev != package->st_dev ||
           status.st_ino != package->st_ino;
}

/// @return the row of a file in an order; null if it has none
static const OrderRow* FindRow(const std::vector<OrderRow>& order, const std::string& file)
{
    const auto found = std::find_if(order.begin(), order.end(),
                                    [&file](const OrderRow& row) { return row.file == file; });
    return found == order.end() ? nullptr : &*found;
}

/// All names of a folder, in its own order.
/// @return false after an error line
static bool ListNames(const std::string& folder, std::vector<std::string>* names)
{
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        ReportError("%s: %s", Printable(folder).c_str(), strerror(errno));
        return false;
    }
    while (const dirent* item = readdir(directory))
    {
        names->push_back(item->d_name);
    }
    closedir(directory);
    return true;
}

/// The files of an order file, all of which have to be there.
static bool ListOrdered(const std::string& folder, const std::vector<OrderRow>& order,
                        const BuildOptions& options, std::vector<SourceFile>* sources)
{
    for (const OrderRow& row : order)
    {
        if (IsIgnored(row.file, options))
        {
            continue;
        }
        if (!IsSource(folder, row.file, nullptr))
        {
            ReportError("%s/%s: it names \"%s\", which is not there; take its line out",
                        Printable(folder).c_str(), kOrderFileName, Printable(row.file).c_str());
            return false;
        }
        sources->push_back(
            {row.file, row.entry, row.kind, row.layout, options.isSmall || row.isSmall});
    }
    return true;
}

static bool ListSources(const std::string& folder, const std::string& package,
                        const BuildOptions& options, std::vector<SourceFile>* sources)
{
    struct stat packageStatus;
    const bool packageExists = stat(package.c_str(), &packageStatus) == 0;

    std::vector<std::string> names;
    std::vector<OrderRow> order;
    if (!ListNames(folder, &names) || !ReadOrder(folder, &order) ||
        !ListOrdered(folder, order, options, sources))
    {
        return false;
    }
    const auto orderedCount = static_cast<ptrdiff_t>(sources->size());
    for (const std::string& name : names)
    {
        const SourceKind kind = KindOfSource(name);
        if (kind != SourceKind::kLeftOut && !IsIgnored(name, options) &&
            FindRow(order, name) == nullptr &&
            IsSource(folder, name, packageExists ? &packageStatus : nullptr))
        {
            sources->push_back(
                {name, EntryName(name, kind), kind, TextLayout::kAsItIs, options.isSmall});
        }
    }
    std::sort(sources->begin() + orderedCount, sources->end(),
              [](const SourceFile& a, const SourceFile& b) {
                  return a.entryName != b.entryName ? a.entryName < b.entryName
                                                    : a.fileName < b.fileName;
              });
    return true;
}

/// A document with a mistake is refused here: the player would go on without all that follows it.
static bool CheckDocument(const std::string& path, const Bytes& text)
{
    static constexpr unsigned char kNothing =
        0; // for an empty text, which is refused like others that do not parse
    TiXmlDocument document;
    FaultList faults;
    StartFaults(&faults);
    if (LoadFromString(&document, text.empty() ? &kNothing : text.data(),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults))
    {
        return true;
    }
    if (HasFailed(&faults))
    {
        const Fault* fault = GetFault(&faults, 0);
        ReportError("%s:%d: %s", Printable(path).c_str(), fault->place.line, fault->text);
        FreeFaults(&faults);
        return false;
    }
    ReportError("%s:%d:%d: %s", Printable(path).c_str(), document.ErrorRow(), document.ErrorCol(),
                document.ErrorDesc());
    return false;
}

static bool PackSource(const Bytes& data, const SourceFile& source, Bytes* container)
{
    return source.isSmall ? PackSmallContainer(data, container) : PackContainer(data, container);
}

/// Gives a document the layout that its order or a small package wants.
static void LayOut(const SourceFile& source, const BuildOptions& options, Bytes* text)
{
    const std::string old(text->begin(), text->end());
    TiXmlDocument document;
    TextLayout layout = source.layout;
    if (layout == TextLayout::kAsItIs && options.isSmall && ParseText(old, &document) &&
        SaysTheSame(document, LayOutText(old, TextLayout::kBare)))
    {
        layout = TextLayout::kBare;
    }
    const std::string laidOut = LayOutText(old, layout);
    text->assign(laidOut.begin(), laidOut.end());
}

/// A source as its entry will hold it.
static bool MakeEntry(const std::string& path, const SourceFile& source,
                      const BuildOptions& options, Bytes* entry)
{
    if (source.kind == SourceKind::kPlain)
    {
        return ReadWholeFile(path, INT32_MAX, entry);
    }
    if (source.kind == SourceKind::kMesh)
    {
        Bytes model;
        return ReadMesh(path, options.mesh, Printable(source.entryName), &model) &&
               PackSource(model, source, entry);
    }
    Bytes text;
    if (!ReadWholeFile(path, kLargestText, &text) ||
        (!options.takesAnyText && !CheckDocument(path, text)))
    {
        return false;
    }
    LayOut(source, options, &text);
    return PackSource(text, source, entry);
}

// ---- Entries that were made before

static constexpr EntryCache::Key kHashStart = {0xCBF29CE484222325u, 0x9E3779B97F4A7C15u};

/// Two hashes of 64 bits that see each byte differently: files of an author don't collide.
static void AddToHash(const void* data, size_t size, EntryCache::Key* key)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    for (size_t i = 0; i < size; ++i)
    {
        (*key)[0] = ((*key)[0] ^ bytes[i]) * 0x100000001B3u;
        (*key)[1] = ((*key)[1] + bytes[i]) * 0xD1342543DE82EF95u + 1;
    }
}

/// Adds a file with its name. One that can't be read counts as an empty one: whoever makes its
/// entry tells.
static void AddFileToHash(const std::string& folder, const std::string& name, EntryCache::Key* key)
{
    AddToHash(name.c_str(), name.size() + 1, key);
    const std::string path = folder + "/" + name;
    FILE* stream = fopen(path.c_str(), "rb");
    if (stream == nullptr)
    {
        return;
    }
    Bytes block(65536);
    for (size_t got = 1; got != 0;)
    {
        got = fread(block.data(), 1, block.size(), stream);
        AddToHash(block.data(), got, key);
    }
    fclose(stream);
}

/// The files that meshes may name, all together.
static EntryCache::Key HashCompanions(const std::string& folder,
                                      const std::vector<SourceFile>& sources)
{
    EntryCache::Key key = kHashStart;
    for (const SourceFile& source : sources)
    {
        if (source.kind == SourceKind::kPlain && HasEnding(source.fileName, ".bin"))
        {
            AddFileToHash(folder, source.fileName, &key);
        }
    }
    return key;
}

/// Names both sources that would become one entry.
static bool CheckEntryNames(const std::vector<SourceFile>& sources)
{
    std::map<std::string, const SourceFile*> seen;
    for (const SourceFile& source : sources)
    {
        const auto [found, isNew] = seen.emplace(source.entryName, &source);
        if (!isNew)
        {
            ReportError("%s and %s would both become the entry \"%s\"",
                        Printable(found->second->fileName).c_str(),
                        Printable(source.fileName).c_str(), Printable(source.entryName).c_str());
            return false;
        }
    }
    return true;
}

/// Leaves out the entries that neither document names, and tells of each.
static void DropUnused(const BuildOptions& options, std::vector<Bytes>* entries,
                       std::vector<PlannedEntry>* plan)
{
    EntryUses uses = {};
    for (size_t i = 0; i < plan->size(); ++i)
    {
        Bytes text;
        const std::string& name = (*plan)[i].name;
        if ((name == kDemoDocumentName || name == kLoadingDocumentName) &&
            UnpackContainer((*entries)[i], &text) == nullptr)
        {
            AddEntryUses(text, &uses);
        }
    }
    size_t kept = 0;
    for (size_t i = 0; i < plan->size(); ++i)
    {
        if (IsEntryUsed(uses, (*plan)[i].name))
        {
            std::swap((*plan)[kept], (*plan)[i]);
            std::swap((*entries)[kept], (*entries)[i]);
            kept += 1;
        }
        else if (!options.mesh.isQuiet)
        {
            printf("%s: left out, nothing uses it\n", Printable((*plan)[i].name).c_str());
        }
    }
    plan->resize(kept);
    entries->resize(kept);
}

/// Makes all entries and tells where they will be.
static bool MakeEntries(const std::string& folder, const std::vector<SourceFile>& sources,
                        const BuildOptions& options, std::vector<Bytes>* entries,
                        std::vector<PlannedEntry>* plan)
{
    for (const SourceFile& source : sources)
    {
        plan->push_back({source.entryName, 0, 0});
    }
    if (!CheckNames(*plan))
    {
        return false;
    }
    entries->resize(sources.size());
    EntryCache kept = {};
    const EntryCache::Key companions =
        options.cache == nullptr ? kHashStart : HashCompanions(folder, sources);
    for (size_t i = 0; i < sources.size(); ++i)
    {
        const std::string path = folder + "/" + sources[i].fileName;
        Bytes* entry = &(*entries)[i];
        EntryCache::Key key = companions;
        if (options.cache != nullptr && sources[i].kind != SourceKind::kPlain)
        {
            AddFileToHash(folder, sources[i].fileName, &key);
            const auto found = options.cache->entries.find(key);
            *entry = found == options.cache->entries.end() ? Bytes() : found->second;
        }
        if (entry->empty())
        {
            kept.made += sources[i].kind == SourceKind::kPlain ? 0 : 1;
            if (!MakeEntry(path, sources[i], options, entry))
            {
                return false;
            }
        }
        (*plan)[i].size = entry->size();
        if (options.cache != nullptr && sources[i].kind != SourceKind::kPlain)
        {
            kept.entries[key] = *entry;
        }
    }
    if (options.cache != nullptr)
    {
        *options.cache = std::move(kept);
    }
    if (options.isSmall)
    {
        DropUnused(options, entries, plan);
    }
    return PlaceEntries(plan);
}

bool PackFolder(const std::string& folder, const std::string& package, const BuildOptions& options,
                PackedFolder* packed)
{
    std::vector<SourceFile> sources;
    std::vector<Bytes> entries;
    if (!ListSources(folder, package, options, &sources) || !CheckEntryNames(sources) ||
        !MakeEntries(folder, sources, options, &entries, &packed->plan))
    {
        return false;
    }

    FaultList faults;
    StartFaults(&faults);
    packed->package = {};
    PackageWriter writer =
        BeginPackage(&packed->package, static_cast<uint32_t>(entries.size()), &faults);
    for (size_t i = 0; i < entries.size(); ++i)
    {
        PutPackageEntry(&writer, packed->plan[i].name.c_str(), entries[i].data(),
                        static_cast<uint32_t>(entries[i].size()));
        entries[i] = {};
    }
    const bool isPut = EndPackage(&writer);
    ReportFaults(&faults);
    return isPut;
}

/// A folder without a demo is no piece yet, and there is nothing to check.
static bool PassesCheck(const std::string& folder, const PackedFolder& packed)
{
    const bool hasDemo =
        std::any_of(packed.plan.begin(), packed.plan.end(),
                    [](const PlannedEntry& entry) { return entry.name == "demo.xmlz"; });
    return !hasDemo || CheckPacked(folder, packed.package.bytes, packed.package.size);
}

bool BuildFolder(const std::string& folder, const std::string& package, const BuildOptions& options)
{
    PackedFolder packed = {};
    if (!PackFolder(folder, package, options, &packed))
    {
        free(packed.package.bytes);
        return false;
    }
    if (!PassesCheck(folder, packed) && !options.isForced)
    {
        ReportError("%s: it is not packed; --force packs it as it is", Printable(folder).c_str());
        free(packed.package.bytes);
        return false;
    }
    // Put together before the package is in its place: nothing may fail after that.
    const std::string line = Printable(package) + ": " + std::to_string(packed.plan.size()) +
                             (packed.plan.size() == 1 ? " entry, " : " entries, ") +
                             std::to_string(packed.package.size) + " bytes\n";
    if (!WritePackage(package, packed.plan, &packed.package))
    {
        return false;
    }
    fputs(line.c_str(), stdout);
    return true;
}
