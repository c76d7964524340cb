// SPDX-License-Identifier: MIT
#include "tools/folder_build.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <tinyxml.h>

#include "engine/data/document_text.h"
#include "engine/data/limits.h"
#include "engine/data/package_tools.h"
#include "engine/piece/piece.h"
#include "engine/textures/decode_image.h"
#include "tools/check_command.h"
#include "tools/container.h"
#include "tools/document_trees.h"
#include "tools/files.h"
#include "tools/folder_sources.h"
#include "tools/mesh_import.h"
#include "tools/overwrite.h"
#include "tools/package_commands.h"
#include "tools/png_file.h"
#include "tools/report.h"
#include "tools/shrink_piece.h"
#include "tools/text_layout.h"

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

/// The ending of an image that may be grey.
static bool IsImage(const std::string& name)
{
    static constexpr const char* kImages[] = {".png", ".tga", ".jpg", ".jpeg", ".bmp",
                                              ".psd", ".gif", ".pgm", ".pnm"};
    const std::string ending = name.substr(std::min(name.rfind('.'), name.size()));
    return std::any_of(std::begin(kImages), std::end(kImages),
                       [&ending](const char* image)
                       { return strcasecmp(image, ending.c_str()) == 0; });
}

/// Players show images of one or two components white, so a grey one becomes a PNG file of three or
/// four. The decoder knows files by their bytes, so the entry keeps its name.
/// @return false after an error line
static bool ColorGreyImage(const std::string& label, bool isQuiet, Bytes* entry)
{
    DecodedImage image = {};
    const char* reason = nullptr;
    if (!IsImage(label) || DecodeImage(entry->data(), static_cast<int32_t>(entry->size()),
                                       kPieceBytes, &image, &reason) != DecodeResult::kDecoded)
    {
        return true; // what it is not, the check tells
    }
    const bool isGrey = image.components <= 2;
    Bytes colored;
    const size_t count = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
    const size_t step = static_cast<size_t>(image.components);
    for (size_t i = 0; isGrey && i < count; ++i)
    {
        const uint8_t* pixel = image.pixels + i * step;
        colored.insert(colored.end(), 3, pixel[0]);
        colored.insert(colored.end(), pixel + 1, pixel + step);
    }
    free(image.pixels);
    if (!isGrey)
    {
        return true;
    }
    const int32_t channels = image.components + 2;
    if (!EncodePng({image.width, image.height, channels, colored.data()}, entry))
    {
        ReportError("%s: no memory for its pixels", label.c_str());
        return false;
    }
    if (!isQuiet)
    {
        printf("%s: a grey image, stored as %s\n", label.c_str(), channels == 3 ? "RGB" : "RGBA");
    }
    return true;
}

static bool PackSource(const Bytes& data, const SourceFile& source, const BuildOptions& options,
                       Bytes* container)
{
    return options.cache != nullptr ? PackQuickContainer(data, container)
           : source.isSmall         ? PackSmallContainer(data, container)
                                    : PackContainer(data, container);
}

/// Gives a document the layout that its order or a small package wants.
static void LayOut(const SourceFile& source, const BuildOptions& options, Bytes* text)
{
    const std::string old(text->begin(), text->end());
    TiXmlDocument document;
    TextLayout layout = source.layout;
    if (options.isSmall && ParseText(old, &document) &&
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
    const std::string label = Printable(source.entryName);
    if (source.kind == SourceKind::kPlain)
    {
        return ReadWholeFile(path, INT32_MAX, entry) &&
               (source.isOrdered || ColorGreyImage(label, options.mesh.isQuiet, entry));
    }
    if (source.kind == SourceKind::kMesh)
    {
        Bytes model;
        return ReadMesh(path, source.mesh, label, &model) &&
               PackSource(model, source, options, entry);
    }
    Bytes text;
    if (!ReadWholeFile(path, kLargestText, &text) ||
        (!options.takesAnyText && !CheckDocument(path, text)))
    {
        return false;
    }
    LayOut(source, options, &text);
    return PackSource(text, source, options, entry);
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

/// The files that meshes may name, all together: buffers that no document names are strangers.
static EntryCache::Key HashCompanions(const std::string& folder, const FolderSources& sources)
{
    EntryCache::Key key = kHashStart;
    for (const SourceFile& source : sources.files)
    {
        if (source.kind == SourceKind::kPlain && HasEnding(source.fileName, ".bin"))
        {
            AddFileToHash(folder, source.fileName, &key);
        }
    }
    for (const std::string& name : sources.strangers)
    {
        AddFileToHash(folder, name, &key);
    }
    return key;
}

/// Adds a source with all that its folder and the command say of it.
static void AddSourceToHash(const std::string& folder, const SourceFile& source,
                            EntryCache::Key* key)
{
    const MeshOptions& mesh = source.mesh;
    const bool flags[] = {mesh.v == VDirection::kFlipped,
                          mesh.v == VDirection::kKept,
                          mesh.isZUp,
                          mesh.isCentered,
                          mesh.makesNormals,
                          mesh.isForCache};
    const float numbers[] = {mesh.smoothAngle, mesh.scale};
    AddToHash(flags, sizeof(flags), key);
    AddToHash(numbers, sizeof(numbers), key);
    AddFileToHash(folder, source.fileName, key);
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

static void TellEach(const std::vector<std::string>& labels, const char* text)
{
    for (const std::string& label : labels)
    {
        printf("%s: %s\n", Printable(label).c_str(), text);
    }
}

/// Takes out what nothing uses, and tells of each.
static bool TakeOutUnused(const std::vector<SourceFile>& sources, const BuildOptions& options,
                          std::vector<Bytes>* entries, std::vector<PlannedEntry>* plan)
{
    std::vector<PieceEntry> piece;
    for (size_t i = 0; i < plan->size(); ++i)
    {
        piece.push_back({(*plan)[i].name, std::move((*entries)[i]), sources[i].isAsked});
    }
    ShrinkReport report;
    if (!ShrinkPiece(&piece, &report))
    {
        return false;
    }
    plan->clear();
    entries->clear();
    for (PieceEntry& entry : piece)
    {
        plan->push_back({entry.name, entry.bytes.size(), 0});
        entries->push_back(std::move(entry.bytes));
    }
    if (!options.mesh.isQuiet)
    {
        TellEach(report.dropped, "left out, nothing uses it");
        TellEach(report.items, "emptied, no clip reaches it");
        TellEach(report.files, "emptied, no clip reaches it");
    }
    return true;
}

/// Makes all entries and tells where they will be.
static bool MakeEntries(const std::string& folder, const FolderSources& sources,
                        const BuildOptions& options, std::vector<Bytes>* entries,
                        std::vector<PlannedEntry>* plan)
{
    const std::vector<SourceFile>& files = sources.files;
    for (const SourceFile& source : files)
    {
        plan->push_back({source.entryName, 0, 0});
    }
    if (!CheckNames(*plan))
    {
        return false;
    }
    entries->resize(files.size());
    EntryCache kept = {};
    const EntryCache::Key companions =
        options.cache == nullptr ? kHashStart : HashCompanions(folder, sources);
    Progress progress = StartProgress("packing", files.size(), options.verbosity);
    for (size_t i = 0; i < files.size(); ++i)
    {
        ShowProgress(&progress, i, files[i].fileName);
        const std::string path = folder + "/" + files[i].fileName;
        Bytes* entry = &(*entries)[i];
        EntryCache::Key key = companions;
        if (options.cache != nullptr && files[i].kind != SourceKind::kPlain)
        {
            AddSourceToHash(folder, files[i], &key);
            const auto found = options.cache->entries.find(key);
            *entry = found == options.cache->entries.end() ? Bytes() : found->second;
        }
        if (entry->empty())
        {
            kept.made += files[i].kind == SourceKind::kPlain ? 0 : 1;
            if (!MakeEntry(path, files[i], options, entry))
            {
                EndProgress(&progress);
                return false;
            }
        }
        (*plan)[i].size = entry->size();
        if (options.cache != nullptr && files[i].kind != SourceKind::kPlain)
        {
            kept.entries[key] = *entry;
        }
        if (options.verbosity == Verbosity::kMuch)
        {
            printf("%s: of %s, %zu bytes\n", Printable(files[i].entryName).c_str(),
                   Printable(files[i].fileName).c_str(), entry->size());
        }
    }
    EndProgress(&progress);
    if (options.cache != nullptr)
    {
        *options.cache = std::move(kept);
    }
    return (!options.isSmall || TakeOutUnused(files, options, entries, plan)) && PlaceEntries(plan);
}

/// Tells of files that are left out, and of a folder that is no piece yet.
/// @return false after an error line: strangers are refused
static bool TellStrangers(const std::string& folder, const FolderSources& sources,
                          const BuildOptions& options)
{
    for (const std::string& name : sources.strangers)
    {
        if (options.isStrict)
        {
            ReportError("%s/%s: no document names it; --ignore leaves it out, --also takes it",
                        Printable(folder).c_str(), Printable(name).c_str());
        }
        else if (!options.mesh.isQuiet)
        {
            printf("%s: no document names it, so it is left out\n", Printable(name).c_str());
        }
    }
    if (!sources.hasDemo && !options.mesh.isQuiet)
    {
        printf("%s: there is no demo.xml, so the package is no piece yet\n",
               Printable(folder).c_str());
    }
    return !options.isStrict || sources.strangers.empty();
}

bool PackFolder(const std::string& folder, const std::string& package, const BuildOptions& options,
                PackedFolder* packed)
{
    FolderSources sources;
    std::vector<Bytes> entries;
    const SourceChoice choice = {package, options.ignored, options.also, options.mesh,
                                 options.isSmall};
    if (!ListSources(folder, choice, &sources) || !TellStrangers(folder, sources, options) ||
        !CheckEntryNames(sources.files) ||
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
    ReportFaults(folder, &faults);
    return isPut;
}

static bool HasDemo(const PackedFolder& packed)
{
    return std::any_of(packed.plan.begin(), packed.plan.end(),
                       [](const PlannedEntry& entry) { return entry.name == "demo.xmlz"; });
}

/// Tells which files a viewer needs, and how to play them; nothing for a folder without a demo.
static std::string SendLine(const std::string& folder, const std::string& package,
                            const PackedFolder& packed)
{
    if (!HasDemo(packed))
    {
        return "";
    }
    Bytes bytes;
    DocumentTree demo = {"demo.xml", true, false, "", {}};
    if (ReadWholeFile(folder + "/demo.xml", UINT32_MAX, &bytes))
    {
        demo.text.assign(bytes.begin(), bytes.end());
        demo.isRead = ParseText(demo.text, &demo.tree);
    }
    const std::string music = MusicName(demo);
    const std::string path = Printable(package);
    return "send " + path + (music.empty() ? "" : " with " + Printable(music) + " beside it") +
           "; play it by: quorvale-play " + path + "\n";
}

/// A folder without a demo is no piece yet, and there is nothing to check.
static bool PassesCheck(const std::string& folder, const PackedFolder& packed, ColorChoice color)
{
    return !HasDemo(packed) ||
           CheckPacked(folder, packed.package.bytes, packed.package.size, color);
}

bool BuildFolder(const std::string& folder, const std::string& package, const BuildOptions& options)
{
    if (!MayOverwrite(package, FileKind::kPackage, options.isForced))
    {
        return false;
    }
    PackedFolder packed = {};
    if (!PackFolder(folder, package, options, &packed))
    {
        free(packed.package.bytes);
        return false;
    }
    if (!PassesCheck(folder, packed, options.color) && !options.isForced)
    {
        ReportError("%s: it is not packed; --force packs it as it is", Printable(folder).c_str());
        free(packed.package.bytes);
        return false;
    }
    // Put together before the package is in its place: nothing may fail after that.
    const std::string line = Printable(package) + ": " + std::to_string(packed.plan.size()) +
                             (packed.plan.size() == 1 ? " entry, " : " entries, ") +
                             std::to_string(packed.package.size) + " bytes\n" +
                             SendLine(folder, package, packed);
    if (!WritePackage(package, packed.plan, &packed.package))
    {
        return false;
    }
    if (options.verbosity != Verbosity::kQuiet)
    {
        fputs(line.c_str(), stdout);
    }
    return true;
}
