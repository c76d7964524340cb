// SPDX-License-Identifier: MIT
#include "tools/info_command.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <unistd.h>
#include <vector>

#include "engine/check/finding.h"
#include "engine/data/cos_table.h"
#include "engine/data/model_data.h"
#include "engine/data/vocabulary.h"
#include "engine/piece/piece.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "music/module_file.h"
#include "tools/checksum.h"
#include "tools/container.h"
#include "tools/document_trees.h"
#include "tools/entry_uses.h"
#include "tools/json_text.h"
#include "tools/report.h"

/// A fact, told as a line of text or as a member of an object.
struct Fact
{
    std::string key;
    std::string value; // as JSON
};

struct FactGroup
{
    std::string key; // empty for the first
    std::vector<Fact> facts;
};

using FactList = std::vector<FactGroup>;

static void AddFact(FactList* list, const char* key, std::string value)
{
    list->back().facts.push_back({key, std::move(value)});
}

static void AddNumber(FactList* list, const char* key, uint64_t number)
{
    AddFact(list, key, std::to_string(number));
}

static void AddText(FactList* list, const char* key, const std::string& text)
{
    AddFact(list, key, JsonQuoted(text));
}

static void StartGroup(FactList* list, const std::string& key)
{
    list->push_back({key, {}});
}

// ---- piece.txt

static std::string Trimmed(const std::string& text)
{
    const size_t first = text.find_first_not_of(" \t\r");
    return first == std::string::npos
               ? ""
               : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

static void AddPieceText(const ListedPackage& package, FactList* list)
{
    Bytes bytes;
    const ListedEntry* entry = FindEntry(&package, kPieceTextName);
    if (entry == nullptr || !ReadListedEntry(&package, entry, &bytes))
    {
        return;
    }
    const std::string text(bytes.begin(), bytes.end());
    for (size_t start = 0; start < text.size();)
    {
        const size_t end = std::min(text.find('\n', start), text.size());
        const std::string line = text.substr(start, end - start);
        const size_t colon = line.find(':');
        std::string key = Trimmed(line.substr(0, colon));
        if (colon != std::string::npos && !key.empty())
        {
            for (char& c : key)
            {
                c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
            }
            list->back().facts.push_back({key, JsonQuoted(Trimmed(line.substr(colon + 1)))});
        }
        start = end + 1;
    }
}

// ---- The package

static bool AddPackage(const ListedPackage& package, FactList* list)
{
    Bytes bytes;
    if (!ReadWholeFile(package.path, uint64_t{1} << 32, &bytes))
    {
        return false;
    }
    AddNumber(list, "bytes", bytes.size());
    AddText(list, "sha256", Sha256(bytes));
    AddNumber(list, "entries", package.entries.size());
    uint64_t unpacked = 0;
    for (const ListedEntry& entry : package.entries)
    {
        if (!ReadListedEntry(&package, &entry, &bytes))
        {
            return false;
        }
        uint64_t size = 0;
        unpacked += MeasureContainer(bytes, &size) == nullptr ? size : bytes.size();
    }
    AddNumber(list, "unpacked bytes", unpacked);
    return true;
}

// ---- Documents

/// Where a number in a document names the row of a catalogue.
struct KindPlace
{
    Section section;
    uint32_t depth; // 1 for the section's items
    CatalogueId catalogue;
};

static constexpr KindPlace kKindPlaces[] = {
    {Section::kLayers, 1, kCatalogueGenerators},   {Section::kTextures, 2, kCatalogueSteps},
    {Section::kEnvelopes, 2, kCatalogueFunctions}, {Section::kEffects, 1, kCatalogueEffects},
    {Section::kMaterials, 1, kCatalogueRecipes},   {Section::kGenMeshes, 1, kCatalogueGenMeshes},
    {Section::kScenes, 3, kCatalogueManipulators}, {Section::kTimeline, 2, kCataloguePasses},
};

static void AddWords(const TiXmlElement* parent, uint32_t depth, CatalogueId catalogue,
                     std::set<std::string>* words)
{
    for (const TiXmlElement* child = parent->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        const char* type = child->Attribute("type");
        const VocabularyRow* row =
            type == nullptr || depth > 1 ? nullptr : FindVocabularyRow(catalogue, atoll(type));
        if (row != nullptr &&
            (catalogue != kCatalogueManipulators || strcmp(child->Value(), "manipulator") == 0))
        {
            words->insert(row->word);
        }
        if (depth > 1)
        {
            AddWords(child, depth - 1, catalogue, words);
        }
    }
}

/// The kinds of things that a document uses, which an engine that plays it has to know.
static void AddKinds(const DocumentTree& document, FactList* list)
{
    for (const KindPlace& place : kKindPlaces)
    {
        std::set<std::string> words;
        const TiXmlElement* section = SectionElement(document, place.section);
        if (section != nullptr)
        {
            AddWords(section, place.depth, place.catalogue, &words);
        }
        std::string json;
        for (const std::string& word : words)
        {
            json += (json.empty() ? "" : ", ") + JsonQuoted(word);
        }
        if (!words.empty())
        {
            AddFact(list, Catalogues[place.catalogue].word, "[" + json + "]");
        }
    }
}

static void AddDocument(const DocumentTree& document, FactList* list)
{
    if (!document.isThere)
    {
        return;
    }
    StartGroup(list, document.name);
    AddNumber(list, "bytes of text", document.text.size());
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        const Section section = static_cast<Section>(i);
        AddNumber(list,
                  section == Section::kTimeline ? "rows" : FindVocabularySection(section)->word,
                  ItemsOf(document, section).size());
    }
    AddKinds(document, list);
}

// ---- The module

static std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// Tells a module's speed and tempo, which its head has at these places.
static void AddModule(const std::string& package, const DocumentTree& demo, FactList* list)
{
    static constexpr size_t kSpeedOffset = 76;
    static constexpr size_t kTempoOffset = 78;
    const std::string name = MusicName(demo);
    if (name.empty())
    {
        return;
    }
    StartGroup(list, "music");
    AddText(list, "file", name);
    const int file = OpenModuleFile(FolderOf(package).c_str(), name.c_str());
    AddFact(list, "there", file < 0 ? "false" : "true");
    if (file < 0)
    {
        return;
    }
    FaultList faults;
    StartFaults(&faults);
    ModuleFile module = {};
    if (ReadModuleFile(file, name.c_str(), &module, &faults) && module.size > kTempoOffset + 1)
    {
        const auto word = [&module](size_t offset)
        {
            return static_cast<uint64_t>(module.data[offset] | module.data[offset + 1] << 8);
        };
        AddNumber(list, "bytes", module.size);
        AddText(list, "sha256", Sha256({module.data, module.data + module.size}));
        AddNumber(list, "speed", word(kSpeedOffset));
        AddNumber(list, "tempo", word(kTempoOffset));
    }
    close(file);
    FreeModuleFile(&module);
    FreeFaults(&faults);
}

// ---- What it costs

struct Costs
{
    uint64_t vertices;
    uint64_t triangles;
    uint64_t modelBytes;
    uint64_t pixelBytes;
};

static void AddCosts(const DemoDocument& document, Costs* costs)
{
    for (uint32_t id = 1; document.models != nullptr && id <= document.models->count; ++id)
    {
        const ModelData* model = GetRecord<ModelData>(id, document.models);
        costs->vertices += model->mesh.vertexCount;
        costs->triangles += model->mesh.indexCount / 3;
        costs->modelBytes += model->storedSize;
    }
    for (uint32_t id = 1; document.bitmaps != nullptr && id <= document.bitmaps->count; ++id)
    {
        const BitmapTexture* bitmap = GetRecord<BitmapTexture>(id, document.bitmaps);
        costs->pixelBytes += static_cast<uint64_t>(bitmap->width) *
                             static_cast<uint64_t>(bitmap->height) *
                             static_cast<uint64_t>(bitmap->components);
    }
    for (uint32_t id = 1; document.effects != nullptr && id <= document.effects->count; ++id)
    {
        costs->pixelBytes += EffectImageBytes(GetRecord<Effect2D>(id, document.effects));
    }
    costs->pixelBytes += document.textures == nullptr
                             ? 0
                             : uint64_t{document.textures->count} * 3 * kTextureSize * kTextureSize;
}

/// The tick after the last one that a clip covers.
static uint32_t LengthOf(const Timeline* timeline)
{
    uint32_t length = 0;
    for (uint32_t row = 0; timeline != nullptr && row < kTimelineRows; ++row)
    {
        for (uint32_t clip = 0; clip < timeline->clipCount[row]; ++clip)
        {
            length = std::max(length, timeline->clipEnd[row][clip]);
        }
    }
    return length;
}

/// @return false after an error line: the piece has faults
static bool AddPieceCosts(const std::string& path, FactList* list, uint32_t* length)
{
    BuildCosTable();
    BuildCornerMasks();
    FaultList faults;
    StartFaults(&faults);
    Piece piece;
    PieceState state;
    const PieceSource source = {path.c_str(), nullptr, 0, true};
    const bool isOpen = OpenPiece(&source, &piece, &state, &faults);
    if (isOpen)
    {
        const uint32_t ticks = LengthOf(piece.demo.timeline);
        *length = ticks;
        Costs costs = {};
        AddCosts(piece.loading, &costs);
        AddCosts(piece.demo, &costs);
        list->front().facts.push_back({"ticks", std::to_string(ticks)});
        list->front().facts.push_back(
            {"length",
             JsonQuoted(FormatText("%u:%02u.%02u", ticks / (60 * kTicksPerSecond),
                                   ticks / kTicksPerSecond % 60, ticks % kTicksPerSecond))});
        StartGroup(list, "costs");
        AddNumber(list, "vertices", costs.vertices);
        AddNumber(list, "triangles", costs.triangles);
        AddNumber(list, "bytes of models", costs.modelBytes);
        AddNumber(list, "bytes of pixels", costs.pixelBytes);
        AddNumber(list, "bytes of state", PieceStateBytes(&state));
    }
    ClosePiece(&piece);
    FreePieceState(&state);
    ReportFaults(&faults);
    return isOpen;
}

// ---- Printing

/// A value of JSON as a line of text shows it: without quotes and brackets.
static std::string Unquoted(const std::string& json)
{
    std::string text;
    for (size_t i = 0; i < json.size(); ++i)
    {
        const bool isEscape = json[i] == '\\' && i + 1 < json.size();
        i += isEscape ? 1 : 0;
        const bool isMark = json[i] == '"' || json[i] == '[' || json[i] == ']';
        text += isMark && !isEscape ? std::string() : std::string(1, json[i]);
    }
    return text;
}

static void PrintText(const FactList& list)
{
    for (const FactGroup& group : list)
    {
        if (!group.key.empty())
        {
            printf("\n%s\n", group.key.c_str());
        }
        for (const Fact& fact : group.facts)
        {
            printf("  %-16s %s\n", Printable(fact.key).c_str(), Unquoted(fact.value).c_str());
        }
    }
}

static std::string FactsJson(const FactList& list)
{
    std::string json = "{";
    const char* separator = "\n";
    for (const FactGroup& group : list)
    {
        json += group.key.empty() ? "" : separator + JsonQuoted(group.key) + ": {";
        separator = group.key.empty() ? separator : "\n  ";
        for (const Fact& fact : group.facts)
        {
            json += separator + JsonQuoted(fact.key) + ": " + fact.value;
            separator = group.key.empty() ? ",\n" : ",\n  ";
        }
        json += group.key.empty() ? "" : "}";
        separator = ",\n";
    }
    return json + "\n}";
}

/// Gathers all facts.
/// @param ticks    receives the length
/// @param isWhole  receives whether the documents have no faults; an error line tells them
/// @return false after an error line: no package
static bool GatherFacts(const std::string& path, FactList* list, uint32_t* ticks, bool* isWhole)
{
    ListedPackage package;
    if (!OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    list->push_back({"", {}});
    DocumentTree loading;
    DocumentTree demo;
    AddText(list, "package", path);
    AddPieceText(package, list);
    const bool isRead = AddPackage(package, list) &&
                        ReadDocumentTree(&package, kLoadingDocumentName, &loading) &&
                        ReadDocumentTree(&package, kDemoDocumentName, &demo);
    ClosePackage(&package);
    if (isRead)
    {
        AddModule(path, demo, list);
        AddDocument(loading, list);
        AddDocument(demo, list);
        *isWhole = AddPieceCosts(path, list, ticks);
    }
    return isRead;
}

bool GatherPackageFacts(const std::string& path, PackageFacts* facts)
{
    FactList list;
    bool isWhole = false;
    facts->ticks = 0;
    if (!GatherFacts(path, &list, &facts->ticks, &isWhole))
    {
        return false;
    }
    facts->json = FactsJson(list);
    return true;
}

bool PrintPackageInfo(const std::string& path, bool isJson)
{
    FactList list;
    uint32_t ticks = 0;
    bool isWhole = false;
    if (!GatherFacts(path, &list, &ticks, &isWhole))
    {
        return false;
    }
    if (isJson)
    {
        printf("%s\n", FactsJson(list).c_str());
    }
    else
    {
        PrintText(list);
    }
    return isWhole;
}
