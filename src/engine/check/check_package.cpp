// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <libmodplug/modplug.h>
#include <sys/stat.h>
#include <unistd.h>

#include "engine/check/context.h"
#include "engine/check/module_length.h"
#include "engine/data/byte_order.h"
#include "engine/data/vocabulary_numbers.h"
#include "engine/piece/piece.h"
#include "music/load_module.h"
#include "music/module_file.h"
#include "music/module_gate.h"

static const unsigned char* EntryBytes(const PackageFile& package, uint32_t i)
{
    return package.directory + size_t{i} * kPackageEntrySize;
}

static std::string EntryName(const PackageFile& package, uint32_t i)
{
    const char* name = reinterpret_cast<const char*>(EntryBytes(package, i));
    return std::string(name, strnlen(name, kPackageNameSize));
}

/// The names of files in a section of models or bitmaps.
static void CollectNames(const CheckedDocument* checked, Section section,
                         std::vector<std::string>* names)
{
    const TiXmlNode* node = SectionNode(&checked->document, section);
    for (node = node == nullptr ? nullptr : node->FirstChild(); node != nullptr;
         node = node->NextSibling())
    {
        const TiXmlElement* item = node->ToElement();
        if (item != nullptr && item->Attribute("filename") != nullptr)
        {
            names->push_back(item->Attribute("filename"));
        }
    }
}

static std::vector<std::string> NamedEntries(const CheckContext* context)
{
    std::vector<std::string> names = {kLoadingDocumentName, kDemoDocumentName};
    for (const CheckedDocument* checked : {&context->loading, &context->demo})
    {
        CollectNames(checked, Section::kModels, &names);
        CollectNames(checked, Section::kBitmaps, &names);
    }
    std::sort(names.begin(), names.end());
    return names;
}

static uint64_t PackageSize(const PackageFile& package)
{
    struct stat status;
    if (!package.isFile)
    {
        return package.bytes == nullptr ? 0 : package.size;
    }
    return fstat(package.file, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
}

/// One entry whose name is the first of its kind.
static void CheckEntry(const Spot* spot, const PackageFile& package, uint32_t i,
                       const std::vector<std::string>& named)
{
    const std::string name = EntryName(package, i);
    const uint32_t start = LoadBigEndian32(EntryBytes(package, i) + kPackageNameSize);
    const uint32_t end = LoadBigEndian32(EntryBytes(package, i) + kPackageNameSize + 4);
    if (name.size() == kPackageNameSize && start >> 24 != 0)
    {
        AddFinding(
            spot, Severity::kWarning, Rule::kUnreachableEntry, nullptr,
            FormatText("the entry \"%s\" can't be found: its name has 32 bytes, and its data "
                       "starts after 16 MiB",
                       name.c_str()))
            ->cure = "give it a shorter name, or an earlier place";
    }
    else if (!std::binary_search(named.begin(), named.end(), name))
    {
        AddFinding(spot, Severity::kNote, Rule::kUnnamedEntry, nullptr,
                   FormatText("nothing names the entry \"%s\"", name.c_str()));
    }
    if (uint64_t{end} + 1 > PackageSize(package) && end != start - 1)
    {
        AddFinding(spot, Severity::kWarning, Rule::kDamagedEntry, nullptr,
                   FormatText("the entry \"%s\" reaches past the end of the package, and counts as "
                              "zeros",
                              name.c_str()))
            ->cure = "the package was cut: build or fetch it again";
    }
}

static void CheckEntries(CheckContext* context)
{
    const PackageFile& package = context->package;
    const Spot spot = {context, nullptr, Section::kNone, 0, 0, nullptr};
    const std::vector<std::string> named = NamedEntries(context);
    std::set<std::string> seen;
    const uint32_t whole = package.entryCount == 0 || package.lastSize == kPackageEntrySize
                               ? package.entryCount
                               : package.entryCount - 1;
    for (uint32_t i = 0; i < whole; ++i)
    {
        if (!seen.insert(EntryName(package, i)).second)
        {
            AddFinding(&spot, Severity::kWarning, Rule::kDoubledEntry, nullptr,
                       FormatText("the entry \"%s\" is there more than once; the first is found",
                                  EntryName(package, i).c_str()));
            continue;
        }
        CheckEntry(&spot, package, i, named);
    }
    if (package.isCut || whole != package.entryCount)
    {
        AddFinding(&spot, Severity::kWarning, Rule::kDamagedEntry, nullptr,
                   "the package ends inside its directory")
            ->cure = "the package was cut: build or fetch it again";
    }
}

// ---- Music

/// Compares how long the module and the piece play.
static void CheckModuleLength(const Spot* spot, const TiXmlBase* node, const ModuleFile& module)
{
    static constexpr double kTolerance = 2.0; // seconds: an end may ring out, or be held
    const PlayResult& played = spot->checked->played;
    const double seconds = MeasureModule(module.data, module.size);
    const double piece = static_cast<double>(played.endTick) / kTicksPerSecond;
    if (!spot->checked->isDemo || !played.hasEnd || played.endTick == 0 || seconds == 0.0 ||
        std::abs(seconds - piece) <= kTolerance)
    {
        return;
    }
    const bool isShort = seconds < piece;
    AddFinding(spot, Severity::kWarning, Rule::kMusicLength, node,
               FormatText("the module plays %.1f seconds, and the piece %.1f", seconds, piece))
        ->cure = isShort ? "the rest of the piece is silent: write more rows, or end it earlier"
                         : "the rest of the module is never heard: let the piece last longer";
}

/// Tells a module that players play as silence, or not to its end.
static void CheckModuleBytes(const Spot* spot, const TiXmlBase* node, const char* name,
                             const ModuleFile& module)
{
    if (!IsExtendedModule(module.data, module.size))
    {
        AddFinding(spot, Severity::kWarning, Rule::kNotAModule, node,
                   FormatText("\"%s\" is no module in the XM format", name))
            ->cure = "save it as XM";
        return;
    }
    ModPlugFile* loaded = LoadModule(&module);
    if (loaded == nullptr)
    {
        AddFinding(spot, Severity::kWarning, Rule::kNotAModule, node,
                   FormatText("\"%s\" does not load: the piece plays without sound", name))
            ->cure = "save it as XM once more";
        return;
    }
    ModPlug_Unload(loaded);
    if (!IsModuleWhole(module.data, module.size))
    {
        AddFinding(spot, Severity::kWarning, Rule::kNotAModule, node,
                   FormatText("\"%s\" is damaged: the file ends before its last sample", name))
            ->cure = "save or fetch it again";
        return;
    }
    CheckModuleLength(spot, node, module);
}

static void CheckModule(const Spot* spot, const TiXmlElement* node, const char* folder)
{
    const char* name = node->Attribute("file");
    if (name == nullptr || *name == 0 || folder == nullptr)
    {
        return;
    }
    const int file = OpenModuleFile(folder, name);
    if (file < 0)
    {
        AddFinding(spot, Severity::kWarning, Rule::kMissingMusic, AttributeNode(node, "file"),
                   FormatText("there is no module \"%s\": the piece plays without sound", name))
            ->cure = "put it beside the package, or into a folder music beside it";
        return;
    }
    FaultList faults;
    StartFaults(&faults);
    ModuleFile module = {};
    if (ReadModuleFile(file, name, &module, &faults))
    {
        CheckModuleBytes(spot, AttributeNode(node, "file"), name, module);
    }
    else
    {
        AddFinding(spot, Severity::kError, Rule::kTooLarge, AttributeNode(node, "file"),
                   faults.first.text)
            ->cure = "take shorter samples, or fewer";
    }
    FreeModuleFile(&module);
    FreeFaults(&faults);
    close(file);
}

/// A player with music on asks for the node.
static void CheckMusic(CheckContext* context, const char* musicFolder)
{
    CheckedDocument* checked = context->demo.isThere ? &context->demo : &context->loading;
    if (!checked->isWhole)
    {
        return; // told as missing sections, or as a missing document
    }
    const TiXmlNode* node = checked->document.musicNode;
    const Spot spot = {context, checked, Section::kMusic, 0, 0, nullptr};
    if (node == nullptr || node->ToElement() == nullptr)
    {
        AddFinding(&spot, Severity::kError, Rule::kMissingSection, node,
                   node == nullptr ? "the music node is missing"
                                   : "a comment or a loose text stands in the music node's place")
            ->cure = "end the document with <music file=\"NAME.xm\"/>, or with <music/>";
        return;
    }
    CheckModule(&spot, node->ToElement(), musicFolder);
}

void CheckPackage(CheckContext* context, const char* musicFolder)
{
    CheckEntries(context);
    CheckMusic(context, musicFolder);
}
