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
#include <unistd.h>

#include "engine/data/document_text.h"
#include "tools/container.h"
#include "tools/package_commands.h"
#include "tools/report.h"

/// What becomes of a source file.
enum class SourceKind
{
    LeftOut,
    Document,
    Mesh,
    Plain,
};

struct EndingRow
{
    const char* ending; // in small letters
    SourceKind kind;
};

static constexpr EndingRow kEndings[] = {
    {".xml", SourceKind::Document}, //
    {".obj", SourceKind::Mesh},     //
    {".ply", SourceKind::Mesh},     //
    {".3ds", SourceKind::Mesh},     //
    {".gltf", SourceKind::Mesh},    //
    {".glb", SourceKind::Mesh},     //
    {".stl", SourceKind::Mesh},     //
    {".dae", SourceKind::Mesh},     //
    {".py", SourceKind::LeftOut},   // what made the sources
    {".md", SourceKind::LeftOut},   // notes
    {".mtl", SourceKind::LeftOut},  // lies beside .obj
    {".xm", SourceKind::LeftOut},   // the module is read from beside the package, not out of it
    {".dpk", SourceKind::LeftOut},  //
    {"~", SourceKind::LeftOut},     // what editors leave
};

struct SourceFile
{
    std::string fileName;
    std::string entryName;
    SourceKind kind;
};

static bool HasEnding(const std::string& name, const char* ending)
{
    size_t length = strlen(ending);
    return name.size() >= length && strcasecmp(name.c_str() + name.size() - length, ending) == 0;
}

static SourceKind KindOf(const std::string& name, const BuildOptions& options)
{
    if (name[0] == '.')
    {
        return SourceKind::LeftOut;
    }
    for (const std::string& pattern : options.ignored)
    {
        if (fnmatch(pattern.c_str(), name.c_str(), 0) == 0)
        {
            return SourceKind::LeftOut;
        }
    }
    for (const EndingRow& row : kEndings)
    {
        if (HasEnding(name, row.ending))
        {
            return row.kind;
        }
    }
    return SourceKind::Plain;
}

static std::string EntryName(const std::string& fileName, SourceKind kind)
{
    std::string stem = fileName.substr(0, fileName.rfind('.'));
    switch (kind)
    {
    case SourceKind::Document:
        return stem + ".xmlz";
    case SourceKind::Mesh:
        return stem + ".model";
    default:
        return fileName;
    }
}

/// Whether a name of the folder `path` is a regular file, and not the package that is being built.
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
    bool packageExists = stat(package.c_str(), &packageStatus) == 0;

    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        ReportError("%s: %s", Printable(folder).c_str(), strerror(errno));
        return false;
    }
    while (const dirent* item = readdir(directory))
    {
        std::string name = item->d_name;
        SourceKind kind = KindOf(name, options);
        if (kind != SourceKind::LeftOut &&
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

/// A mistake in a document is best met here: the player dies of it.
static bool CheckDocument(const std::string& path, const Bytes& text)
{
    static constexpr unsigned char kNothing = 0; // an empty text is a text still
    TiXmlDocument document;
    if (LoadFromString(&document, text.empty() ? &kNothing : text.data(),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN))
    {
        return true;
    }
    ReportError("%s:%d:%d: %s", Printable(path).c_str(), document.ErrorRow(), document.ErrorCol(),
                document.ErrorDesc());
    return false;
}

/// A document or mesh as the entry will hold it.
static bool MakeEntry(const std::string& path, const SourceFile& source,
                      const BuildOptions& options, Bytes* container)
{
    if (source.kind == SourceKind::Mesh)
    {
        return ConvertMesh(path, options.mesh, Printable(source.entryName), container);
    }
    Bytes text;
    return ReadWholeFile(path, &text) && CheckDocument(path, text) &&
           PackContainer(text, container);
}

/// Appends one source to the list; what has to be made first goes to the workshop folder.
/// @param made   receives the path of a file that was made
static bool AppendSource(const std::string& folder, const std::string& workshop,
                         const SourceFile& source, const BuildOptions& options,
                         std::vector<std::string>* made, PendingEntry** sentinel)
{
    std::string path = folder + "/" + source.fileName;
    if (source.kind == SourceKind::Plain)
    {
        *sentinel = AppendDiskFile(*sentinel, path);
        return true;
    }

    Bytes container;
    std::string entryPath = workshop + "/" + source.entryName;
    if (!MakeEntry(path, source, options, &container) || !ReplaceFile(entryPath, container))
    {
        return false;
    }
    made->push_back(entryPath);
    *sentinel = AppendDiskFile(*sentinel, entryPath);
    return true;
}

static bool BuildInWorkshop(const std::string& folder, const std::string& package,
                            const std::string& workshop, const std::vector<SourceFile>& sources,
                            const BuildOptions& options, std::vector<std::string>* made)
{
    PendingEntry* list = NewPendingList();
    PendingEntry* sentinel = list;
    bool appended = true;
    for (size_t i = 0; appended && i < sources.size(); ++i)
    {
        appended = AppendSource(folder, workshop, sources[i], options, made, &sentinel);
    }
    bool done = appended && WriteCheckedPackage(list, nullptr, package);
    FreePendingList(list);
    return done;
}

/// Two sources for one entry would meet in the workshop already.
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

static bool PrintTotal(const std::string& package, size_t entryCount)
{
    uint64_t size = 0;
    FILE* stream = OpenForReading(package, &size);
    if (stream == nullptr)
    {
        return false;
    }
    fclose(stream);
    printf("%s: %zu %s, %llu bytes\n", Printable(package).c_str(), entryCount,
           entryCount == 1 ? "entry" : "entries", static_cast<unsigned long long>(size));
    return true;
}

bool BuildFolder(const std::string& folder, const std::string& package, const BuildOptions& options)
{
    std::vector<SourceFile> sources;
    if (!ListSources(folder, package, options, &sources) || !CheckEntryNames(sources))
    {
        return false;
    }

    const char* chosenRoot = getenv("TMPDIR");
    std::string root = chosenRoot == nullptr ? "/tmp" : chosenRoot;
    std::string workshop = root + "/dpk-XXXXXX";
    if (mkdtemp(workshop.data()) == nullptr)
    {
        ReportError("%s: %s", Printable(root).c_str(), strerror(errno));
        return false;
    }

    std::vector<std::string> made;
    bool done = BuildInWorkshop(folder, package, workshop, sources, options, &made);
    for (const std::string& path : made)
    {
        unlink(path.c_str());
    }
    rmdir(workshop.c_str());
    return done && PrintTotal(package, sources.size());
}
