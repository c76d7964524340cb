#include "tools/folder_build.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <tinyxml.h>

#include "engine/data/document_text.h"
#include "engine/data/package_tools.h"
#include "tools/check_command.h"
#include "tools/container.h"
#include "tools/package_commands.h"
#include "tools/report.h"

/// The ways of a source file into the package.
enum class SourceKind
{
    kLeftOut,
    kDocument,
    kMesh,
    kPlain,
};

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
};

static bool HasEnding(const std::string& name, const char* ending)
{
    const size_t length = strlen(ending);
    return name.size() >= length && strcasecmp(name.c_str() + name.size() - length, ending) == 0;
}

static SourceKind KindOf(const std::string& name, const BuildOptions& options)
{
    if (name[0] == '.')
    {
        return SourceKind::kLeftOut;
    }
    for (const std::string& pattern : options.ignored)
    {
        if (fnmatch(pattern.c_str(), name.c_str(), 0) == 0)
        {
            return SourceKind::kLeftOut;
        }
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

static bool ListSources(const std::string& folder, const std::string& package,
                        const BuildOptions& options, std::vector<SourceFile>* sources)
{
    struct stat packageStatus;
    const bool packageExists = stat(package.c_str(), &packageStatus) == 0;

    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        ReportError("%s: %s", Printable(folder).c_str(), strerror(errno));
        return false;
    }
    while (const dirent* item = readdir(directory))
    {
        const std::string name = item->d_name;
        const SourceKind kind = KindOf(name, options);
        if (kind != SourceKind::kLeftOut &&
            IsSource(folder, name, packageExists ? &packageStatus : nullptr))
        {
            sources->push_back({name, EntryName(name, kind), kind});
        }
    }
    closedir(directory);

    std::sort(sources->begin(), sources->end(),
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
        return ConvertMesh(path, options.mesh, Printable(source.entryName), entry);
    }
    Bytes text;
    return ReadWholeFile(path, kLargestText, &text) &&
           (options.takesAnyText || CheckDocument(path, text)) && PackContainer(text, entry);
}

/// Names both sources that would become one entry.
static bool CheckEntryNames(const std::vector<SourceFile>& sources)
{
    for (size_t i = 1; i < sources.size(); ++i)
    {
        if (sources[i - 1].entryName == sources[i].entryName)
        {
            ReportError("%s and %s would both become the entry \"%s\"",
                        Printable(sources[i - 1].fileName).c_str(),
                        Printable(sources[i].fileName).c_str(),
                        Printable(sources[i].entryName).c_str());
            return false;
        }
    }
    return true;
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
    for (size_t i = 0; i < sources.size(); ++i)
    {
        const std::string path = folder + "/" + sources[i].fileName;
        if (!MakeEntry(path, sources[i], options, &(*entries)[i]))
        {
            return false;
        }
        (*plan)[i].size = (*entries)[i].size();
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
