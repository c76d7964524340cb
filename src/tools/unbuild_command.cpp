// SPDX-License-Identifier: MIT
#include "tools/unbuild_command.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <set>
#include <string_view>

#include "tools/container.h"
#include "tools/folder_build.h"
#include "tools/folder_sources.h"
#include "tools/model_ply.h"
#include "tools/order_file.h"
#include "tools/package_listing.h"
#include "tools/piece_script.h"
#include "tools/report.h"

static constexpr std::string_view kDocumentEnding = ".xmlz";
static constexpr std::string_view kModelEnding = ".model";

/// One entry on its way to a file.
struct Source
{
    OrderRow row;
    Bytes bytes;
};

/// The notes for the user at the end.
struct UnbuildNotes
{
    std::vector<std::string> lines;
    std::vector<std::string> packedAnew; // entries whose containers get other bytes
};

// ---- Containers

/// The packer that makes the same container again.
enum class Packer : uint8_t
{
    kNone,
    kOrdinary,
    kSmall,
};

static Packer FindPacker(const Bytes& data, const Bytes& container)
{
    // Both packers write this mark of the highest level, and it is far cheaper to look at it.
    static constexpr size_t kLevelByte = 5;
    static constexpr unsigned char kHighestLevel = 0xDA;
    Bytes packed;
    if (container.size() <= kLevelByte || container[kLevelByte] != kHighestLevel)
    {
        return Packer::kNone;
    }
    if (PackContainer(data, &packed) && packed == container)
    {
        return Packer::kOrdinary;
    }
    return PackSmallContainer(data, &packed) && packed == container ? Packer::kSmall
                                                                    : Packer::kNone;
}

// ---- Documents

/// Finds a form of a text that is good to edit, and the layout that brings the text back.
/// @param isExact   the same bytes have to come back; else the same tree will do
static void ChooseLayout(const TiXmlDocument& document, bool isExact, std::string* text,
                         TextLayout* layout)
{
    std::string indented;
    if (!IndentText(*text, &indented) || !SaysTheSame(document, indented))
    {
        return;
    }
    for (const TextLayout tried : {TextLayout::kBare, TextLayout::kLines})
    {
        if (LayOutText(indented, tried) == *text)
        {
            *layout = tried;
            *text = indented;
            return;
        }
    }
    if (!isExact)
    {
        *text = indented;
    }
}

static bool MakeDocumentSource(const Bytes& data, bool isExact, Source* source)
{
    std::string text(data.begin(), data.end());
    TiXmlDocument document;
    if (!ParseText(text, &document))
    {
        return false;
    }
    ChooseLayout(document, isExact, &text, &source->row.layout);
    source->row.kind = SourceKind::kDocument;
    source->bytes.assign(text.begin(), text.end());
    return true;
}

// ---- Sources

static bool EndsIn(const std::string& name, std::string_view ending)
{
    return name.size() > ending.size() && name.ends_with(ending);
}

static bool IsTaken(const std::string& file)
{
    return KindOfSource(file) != SourceKind::kPlain;
}

/// A name for an entry's file. Those that a build would take for something else, a piece.py among
/// them, and hidden ones get an escape more.
static std::string FileName(const OrderRow& row)
{
    std::string file = EscapeName(row.entry);
    if (row.kind == SourceKind::kDocument)
    {
        file.resize(file.size() - kDocumentEnding.size());
        file += ".xml";
    }
    else if (row.kind == SourceKind::kMesh)
    {
        file.resize(file.size() - kModelEnding.size());
        file += ".ply";
    }
    if (file[0] == '.')
    {
        file.replace(0, 1, "%2E");
    }
    if (row.kind == SourceKind::kPlain && IsTaken(file))
    {
        const bool isCopy = file.back() == '~';
        file.replace(isCopy ? file.size() - 1 : file.rfind('.'), 1, isCopy ? "%7E" : "%2E");
    }
    return file;
}

/// Opens a container, where the entry is one and a source can say what it holds.
static bool OpenContainer(const Bytes& entry, Source* source, UnbuildNotes* notes)
{
    const bool isDocument = EndsIn(source->row.entry, kDocumentEnding);
    if (!isDocument && !EndsIn(source->row.entry, kModelEnding))
    {
        return false;
    }
    Bytes data;
    if (UnpackContainer(entry, &data) != nullptr)
    {
        return false;
    }
    const Packer packer = FindPacker(data, entry);
    if (isDocument ? !MakeDocumentSource(data, packer != Packer::kNone, source)
                   : !WriteModelPly(data, &source->bytes))
    {
        return false;
    }
    source->row.kind = isDocument ? SourceKind::kDocument : SourceKind::kMesh;
    source->row.isSmall = packer == Packer::kSmall;
    if (packer == Packer::kNone)
    {
        notes->packedAnew.push_back(source->row.entry);
    }
    return true;
}

static void MakeSource(const std::string& name, Bytes* entry, Source* source, UnbuildNotes* notes)
{
    source->row = {name, "", SourceKind::kPlain, TextLayout::kAsItIs, false};
    if (!OpenContainer(*entry, source, notes))
    {
        source->row.kind = SourceKind::kPlain;
        source->bytes.swap(*entry);
    }
    source->row.file = FileName(source->row);
}

/// Makes a folder, and looks whether it is empty.
/// @return false after an error line
static bool MakeEmptyFolder(const std::string& folder)
{
    if (!MakeFolder(folder))
    {
        return false;
    }
    DIR* directory = opendir(folder.c_str());
    if (directory == nullptr)
    {
        ReportError("%s: %s", Printable(folder).c_str(), strerror(errno));
        return false;
    }
    uint32_t count = 0;
    while (readdir(directory) != nullptr)
    {
        count += 1;
    }
    closedir(directory);
    if (count > 2) // "." and ".."
    {
        ReportError("%s: it is not empty, and what lies there would be packed too",
                    Printable(folder).c_str());
        return false;
    }
    return true;
}

/// @return why an entry has no source; null if it has one
static const char* WhyLeftOut(const ListedEntry& entry, std::set<std::string>* seen)
{
    if (!IsReachable(entry.name, entry.start))
    {
        return "no reader finds it, since its name has 32 bytes and its data starts at 16 MiB or "
               "later";
    }
    return seen->insert(entry.name).second ? nullptr
                                           : "no reader finds it after the first of its name";
}

static bool WriteSources(const ListedPackage& package, const std::string& folder,
                         std::vector<OrderRow>* order, UnbuildNotes* notes)
{
    std::set<std::string> seen;
    for (const ListedEntry& entry : package.entries)
    {
        const char* reason = WhyLeftOut(entry, &seen);
        if (reason != nullptr)
        {
            notes->lines.push_back("\"" + Printable(entry.name) + "\" is left out: " + reason);
            continue;
        }
        Bytes bytes;
        if (!ReadListedEntry(&package, &entry, &bytes))
        {
            return false;
        }
        Source source;
        MakeSource(entry.name, &bytes, &source, notes);
        if (!ReplaceFile(folder + "/" + source.row.file, source.bytes.data(), source.bytes.size()))
        {
            return false;
        }
        order->push_back(source.row);
    }
    return true;
}

static bool WriteOrder(const std::string& folder, const std::vector<OrderRow>& order)
{
    const std::string text = FormatOrder(order);
    return ReplaceFile(folder + "/" + kOrderFileName,
                       reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

/// Builds the folder in memory.
/// @param isSame   receives whether that gives the package's own bytes
static bool CompareBuild(const std::string& path, const std::string& folder, bool* isSame)
{
    BuildOptions options = {};
    options.mesh.isQuiet = true;
    PackedFolder packed = {};
    Bytes original;
    const bool isDone = PackFolder(folder, "", options, &packed) &&
                        ReadWholeFile(path, uint64_t{1} << 32, &original);
    *isSame = isDone && original.size() == packed.package.size &&
              memcmp(original.data(), packed.package.bytes, original.size()) == 0;
    free(packed.package.bytes);
    return isDone;
}

static void PrintNotes(const std::string& folder, size_t sourceCount, bool isSame,
                       const UnbuildNotes& notes)
{
    for (const std::string& line : notes.lines)
    {
        printf("%s\n", line.c_str());
    }
    printf("%s: %zu %s; a build gives the same %s", Printable(folder).c_str(), sourceCount,
           sourceCount == 1 ? "source" : "sources", isSame ? "bytes" : "records");
    const char* separator = ", packed anew: ";
    for (const std::string& entry : notes.packedAnew)
    {
        printf("%s%s", separator, Printable(entry).c_str());
        separator = ", ";
    }
    printf("\n");
}

bool UnbuildPackage(const std::string& path, const std::string& folder, UnbuildForm form)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    std::vector<OrderRow> order;
    UnbuildNotes notes;
    const bool isWritten =
        MakeEmptyFolder(folder) && WriteSources(package, folder, &order, &notes) &&
        WriteOrder(folder, order) && (form == UnbuildForm::kDocuments || WritePieceScript(folder));
    ClosePackage(&package);
    bool isSame = false;
    if (!isWritten || !CompareBuild(path, folder, &isSame))
    {
        return false;
    }
    PrintNotes(folder, order.size(), isSame, notes);
    return true;
}
