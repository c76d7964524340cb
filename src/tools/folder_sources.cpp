// SPDX-License-Identifier: MIT
#include "tools/folder_sources.h"

#include <algorithm>
#include <assimp/cimport.h>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fnmatch.h>
#include <iterator>
#include <sys/stat.h>
#include <tinyxml.h>

#include "engine/check/finding.h"
#include "engine/data/document_text.h"
#include "engine/data/limits.h"
#include "engine/piece/piece.h"
#include "tools/entry_uses.h"
#include "tools/files.h"
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

/// Endings that Assimp would take as well, and that mean something else to most people.
static constexpr const char* kNoMeshes[] = {".xml", ".raw", ".bin", ".zip", ".pk3", ".txt"};

/// Other files that belong to a folder and not to its package.
static constexpr const char* kOwnFiles[] = {kMeshOptionsFile, kOrderFileName};

/// Whether Assimp takes a file by its ending.
static bool IsImportable(const std::string& name)
{
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos)
    {
        return false;
    }
    const std::string ending = name.substr(dot);
    for (const char* other : kNoMeshes)
    {
        if (strcasecmp(ending.c_str(), other) == 0)
        {
            return false;
        }
    }
    return aiIsExtensionSupported(ending.c_str()) == AI_TRUE;
}

bool HasEnding(const std::string& name, const char* ending)
{
    const size_t length = strlen(ending);
    return name.size() >= length && strcasecmp(name.c_str() + name.size() - length, ending) == 0;
}

static bool MatchesAny(const std::string& name, const std::vector<std::string>& patterns)
{
    return std::any_of(patterns.begin(), patterns.end(),
                       [&name](const std::string& pattern)
                       { return fnmatch(pattern.c_str(), name.c_str(), 0) == 0; });
}

SourceKind KindOfSource(const std::string& name)
{
    const bool isOwn =
        std::find(std::begin(kOwnFiles), std::end(kOwnFiles), name) != std::end(kOwnFiles);
    if (name[0] == '.' || isOwn)
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
    return IsImportable(name) ? SourceKind::kMesh : SourceKind::kPlain;
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
/// @return false after an error line
static bool ListOrdered(const std::string& folder, const std::vector<OrderRow>& order,
                        const SourceChoice& choice, std::vector<SourceFile>* files)
{
    for (const OrderRow& row : order)
    {
        if (MatchesAny(row.file, choice.ignored))
        {
            continue;
        }
        if (!IsSource(folder, row.file, nullptr))
        {
            ReportError("%s/%s: it names \"%s\", which is not there; take its line out",
                        Printable(folder).c_str(), kOrderFileName, Printable(row.file).c_str());
            return false;
        }
        const bool isSmall = choice.isSmall || row.isSmall;
        const bool isAsked = MatchesAny(row.file, choice.also);
        files->push_back(
            {row.file, row.entry, row.kind, row.layout, choice.mesh, isSmall, true, isAsked});
    }
    return true;
}

/// Whether a file stands in an order, and so is listed or left out by that.
static bool IsInOrder(const std::vector<OrderRow>& order, const std::string& file)
{
    return std::any_of(order.begin(), order.end(),
                       [&file](const OrderRow& row) { return row.file == file; });
}

/// Lists what may go in: the order file's, and others by their endings.
/// @return false after an error line
static bool ListFiles(const std::string& folder, const SourceChoice& choice,
                      std::vector<SourceFile>* files)
{
    struct stat packageStatus;
    const bool packageExists = stat(choice.package.c_str(), &packageStatus) == 0;

    std::vector<std::string> names;
    std::vector<OrderRow> order;
    if (!ListNames(folder, &names) || !ReadOrder(folder, &order) ||
        !ListOrdered(folder, order, choice, files))
    {
        return false;
    }
    const auto orderedCount = static_cast<ptrdiff_t>(files->size());
    for (const std::string& name : names)
    {
        const SourceKind kind = KindOfSource(name);
        if (kind != SourceKind::kLeftOut && !MatchesAny(name, choice.ignored) &&
            !IsInOrder(order, name) &&
            IsSource(folder, name, packageExists ? &packageStatus : nullptr))
        {
            const bool isAsked = MatchesAny(name, choice.also);
            files->push_back({name, EntryName(name, kind), kind, TextLayout::kAsItIs, choice.mesh,
                              choice.isSmall, false, isAsked});
        }
    }
    std::sort(files->begin() + orderedCount, files->end(),
              [](const SourceFile& a, const SourceFile& b) {
                  return a.entryName != b.entryName ? a.entryName < b.entryName
                                                    : a.fileName < b.fileName;
              });
    return true;
}

/// Collects the file names in a tree, and all other attributes, which may be names too.
static void CollectNames(const TiXmlNode* parent, FolderSources* sources)
{
    for (const TiXmlElement* element = parent->FirstChildElement(); element != nullptr;
         element = element->NextSiblingElement())
    {
        for (const TiXmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
             attribute = attribute->Next())
        {
            const bool isFile = strcmp(attribute->Name(), "filename") == 0;
            if (isFile || *attribute->Value() != 0)
            {
                sources->named.insert(attribute->Value());
            }
            if (isFile)
            {
                sources->fileNames.insert(attribute->Value());
            }
        }
        CollectNames(element, sources);
    }
}

/// Adds the names of one document. One that does not parse names what stands before its mistake.
static bool ReadNames(const std::string& path, FolderSources* sources)
{
    Bytes text;
    if (!ReadWholeFile(path, kLargestText, &text))
    {
        return false;
    }
    FaultList faults;
    StartFaults(&faults);
    TiXmlDocument document;
    text.push_back(0); // for an empty text, which has no bytes to point at
    LoadFromString(&document, text.data(), static_cast<long>(text.size() - 1),
                   TIXML_ENCODING_UNKNOWN, &faults);
    FreeFaults(&faults);
    CollectNames(&document, sources);
    return true;
}

/// The entries that names of no file were probably meant to be. Their files stay, so that a check
/// of the package can tell the right name.
static std::set<std::string> FindMeant(const std::vector<SourceFile>& files,
                                       const std::set<std::string>& fileNames)
{
    std::set<std::string> entries;
    std::vector<const char*> candidates;
    for (const SourceFile& file : files)
    {
        entries.insert(file.entryName);
        candidates.push_back(file.entryName.c_str());
    }
    std::set<std::string> meant;
    for (const std::string& name : fileNames)
    {
        const char* nearest = entries.count(name) != 0 ? nullptr : FindNearest(name, candidates);
        if (nearest != nullptr)
        {
            meant.insert(nearest);
        }
    }
    return meant;
}

/// Fonts are read by a piece.py, which turns their letters into meshes: no stranger, though no
/// document names them.
static bool IsFont(const std::string& name)
{
    return HasEnding(name, ".ttf") || HasEnding(name, ".otf");
}

/// Whether a file has a place in the package.
static bool IsWanted(const SourceFile& file, const std::set<std::string>& named,
                     const std::set<std::string>& meant)
{
    // "piece.txt" tells of the piece to whoever looks at the package. An empty name takes the first
    // entry unseen, so any file may be meant.
    return file.isOrdered || file.isAsked || file.kind == SourceKind::kDocument ||
           file.fileName == kPieceTextName || named.count(file.entryName) != 0 ||
           meant.count(file.entryName) != 0 || named.count("") != 0;
}

/// A file of an ending that Assimp takes may be named as it is.
static void PreferNames(const std::set<std::string>& named, SourceFile* file)
{
    const bool isRow =
        std::any_of(std::begin(kEndings), std::end(kEndings),
                    [file](const EndingRow& row) { return HasEnding(file->fileName, row.ending); });
    if (file->kind == SourceKind::kMesh && !file->isOrdered && !isRow &&
        named.count(file->entryName) == 0)
    {
        file->kind = SourceKind::kPlain;
        file->entryName = file->fileName;
    }
}

bool ListSources(const std::string& folder, const SourceChoice& choice, FolderSources* sources)
{
    MeshOptionsByFile mesh;
    std::vector<SourceFile> files;
    if (!ListFiles(folder, choice, &files) ||
        !ReadMeshOptions(folder + "/" + kMeshOptionsFile, choice.mesh, &mesh))
    {
        return false;
    }
    *sources = {};
    bool hasPacked = false; // a document that lies there packed: nobody knows what it names
    for (const SourceFile& file : files)
    {
        const bool isDemo = file.entryName == kDemoDocumentName;
        sources->hasDemo = sources->hasDemo || isDemo;
        hasPacked = hasPacked || (file.kind == SourceKind::kPlain &&
                                  (isDemo || file.entryName == kLoadingDocumentName));
        if (file.kind == SourceKind::kDocument && !ReadNames(folder + "/" + file.fileName, sources))
        {
            return false;
        }
    }
    const bool hasStrangers = sources->hasDemo && !hasPacked;
    for (SourceFile& file : files)
    {
        if (hasStrangers)
        {
            PreferNames(sources->named, &file);
        }
    }
    const std::set<std::string> meant = FindMeant(files, sources->fileNames);
    for (SourceFile& file : files)
    {
        if (hasStrangers && !IsWanted(file, sources->named, meant))
        {
            if (!IsFont(file.fileName))
            {
                sources->strangers.push_back(file.fileName);
            }
            continue;
        }
        file.mesh = MeshOptionsOf(mesh, file.fileName);
        sources->files.push_back(std::move(file));
    }
    return true;
}
