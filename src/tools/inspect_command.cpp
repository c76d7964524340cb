// SPDX-License-Identifier: MIT
#include "tools/inspect_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "engine/check/check_piece.h"
#include "engine/data/byte_order.h"
#include "engine/data/model_data.h"
#include "engine/data/vocabulary.h"
#include "engine/piece/piece.h"
#include "music/load_module.h"
#include "music/module_sound.h"
#include "tools/base64_text.h"
#include "tools/container.h"
#include "tools/document_trees.h"
#include "tools/info_command.h"
#include "tools/inspect_page.h"
#include "tools/inspect_pictures.h"
#include "tools/json_text.h"
#include "tools/overwrite.h"
#include "tools/report.h"
#include "tools/size_report.h"

static constexpr uint32_t kMoments = 64;
static constexpr uint32_t kPeaks = 1200;
static constexpr size_t kMostTriangles = 30000; // of a model that is shown

/// Adds one member or element to a list of them.
static void Append(std::string* list, const std::string& json)
{
    *list += (list->empty() ? "" : ",\n") + json;
}

static std::string Member(const char* key, const std::string& json)
{
    return JsonQuoted(key) + ":" + json;
}

// ---- Documents

/// A node as [tag, {attributes}, [children], text].
static std::string NodeJson(const TiXmlElement* element)
{
    std::string attributes;
    for (const TiXmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
    {
        attributes += (attributes.empty() ? "" : ",") + JsonQuoted(attribute->Name()) + ":" +
                      JsonQuoted(attribute->Value());
    }
    std::string children;
    for (const TiXmlElement* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        children += (children.empty() ? "" : ",") + NodeJson(child);
    }
    const char* text = element->GetText();
    return "[" + JsonQuoted(element->Value()) + ",{" + attributes + "},[" + children + "]" +
           (text == nullptr ? "" : "," + JsonQuoted(text)) + "]";
}

static std::string SectionsJson(const DocumentTree& document)
{
    std::string sections;
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        const Section section = static_cast<Section>(i);
        const std::vector<const TiXmlElement*> elements = ItemsOf(document, section);
        std::string items;
        for (size_t k = 0; k < elements.size(); ++k)
        {
            Append(&items, "{" + Member("label", JsonQuoted(ItemLabel(section, k, elements[k]))) +
                               "," + Member("node", NodeJson(elements[k])) + "}");
        }
        Append(&sections, "{" + Member("word", JsonQuoted(FindVocabularySection(section)->word)) +
                              "," + Member("items", "[" + items + "]") + "}");
    }
    return "[" + sections + "]";
}

static std::string PicturesJson(const DocumentPictures& pictures)
{
    std::string list;
    for (const ItemPicture& picture : pictures.pictures)
    {
        Append(&list, FormatText("[%d,%u,%u,", static_cast<int>(picture.section), picture.item,
                                 picture.step) +
                          JsonQuoted(picture.detail) + "," + JsonQuoted(picture.url) + "]");
    }
    return "[" + list + "]";
}

static std::string CurvesJson(const DocumentPictures& pictures)
{
    std::string list;
    for (const ItemCurve& curve : pictures.curves)
    {
        std::string values;
        for (const float value : curve.values)
        {
            // Six digits draw the same line as nine, in two thirds of the room.
            values += (values.empty() ? "" : ",") +
                      (std::isfinite(value) ? FormatText("%.6g", static_cast<double>(value))
                                            : std::string("null"));
        }
        Append(&list, FormatText("[%u,%u,[", curve.item, curve.length) + values + "]]");
    }
    return "[" + list + "]";
}

static std::string StageJson(const std::vector<StagePicture>& pictures)
{
    std::string list;
    for (const StagePicture& picture : pictures)
    {
        Append(&list, FormatText("[%u,", picture.tick) + JsonQuoted(picture.url) + "]");
    }
    return "[" + list + "]";
}

static std::string DocumentJson(ListedPackage* package, const DocumentTree& document)
{
    DocumentPictures pictures;
    if (document.isRead)
    {
        ReadDocumentPictures(package, document.name, &pictures);
    }
    return "{" + Member("name", JsonQuoted(document.name)) + "," +
           Member("music", JsonQuoted(MusicName(document))) + "," +
           Member("sections", SectionsJson(document)) + "," +
           Member("pictures", PicturesJson(pictures)) + "," +
           Member("curves", CurvesJson(pictures)) + "," +
           Member("balls", StageJson(DrawMaterialBalls(package, document))) + "}";
}

// ---- Models

static float FloatAt(const Bytes& model, size_t offset)
{
    const uint32_t word = LoadLittleEndian32(model.data() + offset);
    float value;
    memcpy(&value, &word, sizeof(value));
    return value;
}

/// The points of a model as 16-bit numbers between the corners of its box.
static Bytes PackPoints(const Bytes& model, uint32_t vertexCount, float* low, float* high)
{
    for (size_t i = 0; i < size_t{3} * vertexCount; ++i)
    {
        const float value = FloatAt(model, kModelHeaderSize + 4 * i);
        low[i % 3] = i < 3 ? value : std::fmin(low[i % 3], value);
        high[i % 3] = i < 3 ? value : std::fmax(high[i % 3], value);
    }
    Bytes points;
    for (size_t i = 0; i < size_t{3} * vertexCount; ++i)
    {
        const float size = high[i % 3] - low[i % 3];
        const float value = FloatAt(model, kModelHeaderSize + 4 * i) - low[i % 3];
        const float share = size > 0.0f ? value / size : 0.0f;
        const uint32_t word = static_cast<uint32_t>(std::lround(share * 65535.0f));
        points.push_back(static_cast<unsigned char>(word));
        points.push_back(static_cast<unsigned char>(word >> 8));
    }
    return points;
}

static std::string BoxJson(const float* corner)
{
    return "[" + JsonNumber(corner[0]) + "," + JsonNumber(corner[1]) + "," + JsonNumber(corner[2]) +
           "]";
}

/// @return the members of a model; empty if it is none, or too large to be shown
static std::string ModelJson(const Bytes& model)
{
    if (model.size() < kModelHeaderSize || model[4] > 2)
    {
        return "";
    }
    const uint32_t vertexCount = LoadLittleEndian32(model.data());
    const size_t start = kModelHeaderSize + (24 + 8 * size_t{model[4]}) * vertexCount;
    if (model.size() < start)
    {
        return "";
    }
    const size_t triangles = (model.size() - start) / 12;
    float low[3] = {};
    float high[3] = {};
    const Bytes points = PackPoints(model, vertexCount, low, high);
    std::string json = Member("vertices", std::to_string(vertexCount)) + "," +
                       Member("triangles", std::to_string(triangles)) + "," +
                       Member("sets", std::to_string(model[4])) + "," +
                       Member("low", BoxJson(low)) + "," + Member("high", BoxJson(high));
    const bool isShown = vertexCount <= 65536 && triangles <= kMostTriangles;
    if (isShown)
    {
        Bytes indices;
        for (size_t i = 0; i < 3 * triangles; ++i)
        {
            const uint32_t index = LoadLittleEndian32(model.data() + start + 4 * i);
            if (index >= vertexCount)
            {
                return json;
            }
            indices.push_back(static_cast<unsigned char>(index));
            indices.push_back(static_cast<unsigned char>(index >> 8));
        }
        json += "," + Member("points", JsonQuoted(Base64(points))) + "," +
                Member("indices", JsonQuoted(Base64(indices)));
    }
    return json;
}

/// @return false after an error line
static bool AddModels(const ListedPackage& package, std::string* json)
{
    std::string models;
    for (const ListedEntry& entry : package.entries)
    {
        Bytes bytes;
        Bytes data;
        if (!entry.name.ends_with(".model"))
        {
            continue;
        }
        if (!ReadListedEntry(&package, &entry, &bytes))
        {
            return false;
        }
        const std::string members =
            UnpackContainer(bytes, &data) == nullptr ? ModelJson(data) : std::string();
        if (!members.empty())
        {
            Append(&models, JsonQuoted(entry.name) + ":{" + members + "}");
        }
    }
    Append(json, Member("models", "{" + models + "}"));
    return true;
}

// ---- Music

static std::string FolderOf(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

static std::string WaveJson(const ModuleSound& sound, uint32_t length)
{
    std::string peaks;
    const uint64_t frames = uint64_t{length} * kModuleFramesPerTick;
    for (uint64_t i = 0; i < kPeaks && frames > 0; ++i)
    {
        int32_t most = 0;
        for (uint64_t frame = frames * i / kPeaks; frame < frames * (i + 1) / kPeaks; frame += 4)
        {
            if (frame < sound.frameCount)
            {
                most = std::max({most, std::abs(static_cast<int32_t>(sound.samples[2 * frame])),
                                 std::abs(static_cast<int32_t>(sound.samples[2 * frame + 1]))});
            }
        }
        peaks += (peaks.empty() ? "" : ",") + std::to_string(most >> 7);
    }
    return "[" + peaks + "]";
}

/// Each pattern's first row, with its tick.
static std::string PatternsJson(const ModuleRows& rows, uint32_t length)
{
    std::string patterns;
    int32_t order = -1;
    for (uint32_t i = 0; i < rows.count && TickOfRow(&rows.rows[i]) < length; ++i)
    {
        if (rows.rows[i].order != order)
        {
            order = rows.rows[i].order;
            Append(&patterns,
                   FormatText("[%u,%d,%d]", TickOfRow(&rows.rows[i]), order, rows.rows[i].pattern));
        }
    }
    return "[" + patterns + "]";
}

static void AddMusic(const std::string& path, const std::string& name, uint32_t length,
                     std::string* json)
{
    const int file = name.empty() ? -1 : OpenModuleFile(FolderOf(path).c_str(), name.c_str());
    if (file < 0)
    {
        return;
    }
    FaultList faults;
    StartFaults(&faults);
    ModuleFile module = {};
    ModuleSound sound = {};
    ModuleRows rows = {};
    const uint32_t frames = length * kModuleFramesPerTick;
    if (ReadModuleFile(file, name.c_str(), &module, &faults) &&
        RenderModule(&module, frames, &sound, &faults) &&
        FindModuleRows(&module, frames, &rows, &faults))
    {
        Append(json, Member("wave", WaveJson(sound, length)));
        Append(json, Member("patterns", PatternsJson(rows, length)));
    }
    close(file);
    FreeModuleSound(&sound);
    FreeModuleRows(&rows);
    FreeModuleFile(&module);
    FreeFaults(&faults);
}

// ---- The rest

static void AddSizes(const std::vector<SizeRow>& rows, std::string* json)
{
    std::string list;
    for (const SizeRow& row : rows)
    {
        Append(&list, "[" + JsonQuoted(row.label) + "," + JsonQuoted(row.entry) + "," +
                          FormatText("%.0f,%llu,%d,%d]", row.bytes,
                                     static_cast<unsigned long long>(row.unpacked),
                                     row.isItem ? 1 : 0, row.isUnused ? 1 : 0));
    }
    Append(json, Member("sizes", "[" + list + "]"));
}

static void AddFindings(const std::string& path, std::string* json)
{
    const std::string folder = FolderOf(path);
    const CheckRequest request = {path.c_str(), nullptr, 0, folder.c_str()};
    CheckResult result;
    CheckPiece(&request, &result);
    std::string list;
    for (const Finding& finding : result.findings)
    {
        Append(
            &list,
            "[" + JsonQuoted(SeverityWord(finding.severity)) + "," +
                JsonQuoted(RuleName(finding.rule)) + "," +
                JsonQuoted(finding.place.document == nullptr ? "" : finding.place.document) +
                FormatText(",%d,%u,", static_cast<int>(finding.place.section), finding.place.item) +
                JsonQuoted(finding.text) + "," + JsonQuoted(finding.cure) + "]");
    }
    Append(json, Member("findings", "[" + list + "]"));
}

/// The names of all rows, and what the references of recipes are.
static std::string CataloguesJson()
{
    std::string catalogues;
    for (const Catalogue& catalogue : Catalogues)
    {
        std::string rows;
        for (const VocabularyRow& row : catalogue.rows)
        {
            std::string params;
            for (const VocabularyParam& param : row.params)
            {
                params += (params.empty() ? "" : ",") + std::string("[") + JsonQuoted(param.word) +
                          "," + JsonQuoted(ParamKindWord(param.kind)) + "]";
            }
            Append(&rows, FormatText("\"%d\":[", row.number) + JsonQuoted(row.word) + "," +
                              JsonQuoted(row.name) + ",[" + params + "]]");
        }
        Append(&catalogues, Member(catalogue.word, "{" + rows + "}"));
    }
    return "{" + catalogues + "}";
}

/// Text between script tags must not end them.
static std::string SafeInScript(const std::string& json)
{
    std::string safe;
    safe.reserve(json.size());
    for (const char c : json)
    {
        safe += c == '<' ? std::string("\\u003c") : std::string(1, c);
    }
    return safe;
}

static bool WritePage(const std::string& page, const std::string& json)
{
    static constexpr const char* kMark = "/*DATA*/";
    std::string text(reinterpret_cast<const char*>(InspectPage.bytes), InspectPage.size);
    const size_t at = text.find(kMark);
    text.replace(at, strlen(kMark), SafeInScript("{" + json + "}"));
    if (!ReplaceFile(page, reinterpret_cast<const unsigned char*>(text.data()), text.size()))
    {
        return false;
    }
    printf("%s: %zu bytes\n", Printable(page).c_str(), text.size());
    return true;
}

/// @return false after an error line
static bool AddAll(const std::string& path, ListedPackage* package, std::string* json)
{
    DocumentTree loading;
    DocumentTree demo;
    std::vector<SizeRow> sizes;
    if (!ReadDocumentTree(package, kLoadingDocumentName, &loading) ||
        !ReadDocumentTree(package, kDemoDocumentName, &demo) || !MeasurePackage(package, &sizes) ||
        !AddModels(*package, json))
    {
        return false;
    }
    PackageFacts facts;
    if (!GatherPackageFacts(path, &facts))
    {
        return false;
    }
    const size_t slash = path.rfind('/');
    Append(json,
           Member("name", JsonQuoted(path.substr(slash == std::string::npos ? 0 : slash + 1))));
    Append(json, Member("facts", facts.json));
    Append(json, Member("length", std::to_string(facts.ticks)));
    Append(json, Member("catalogues", CataloguesJson()));
    AddSizes(sizes, json);
    AddFindings(path, json);
    AddMusic(path, MusicName(demo), facts.ticks, json);
    std::string documents = DocumentJson(package, demo);
    if (loading.isThere)
    {
        Append(&documents, DocumentJson(package, loading));
    }
    Append(json, Member("documents", "[" + documents + "]"));
    const std::vector<StagePicture> board = DrawStoryboard(path, facts.ticks, kMoments);
    if (board.empty())
    {
        ReportError("%s: nothing can be drawn, so the page has no pictures of the stage",
                    Printable(path).c_str());
    }
    Append(json, Member("board", StageJson(board)));
    return true;
}

bool WriteInspectPage(const std::string& path, const std::string& page, bool isForced)
{
    ListedPackage package;
    if (!MayOverwrite(page, FileKind::kPage, isForced) ||
        !OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    std::string json;
    const bool isDone = AddAll(path, &package, &json);
    ClosePackage(&package);
    return isDone && WritePage(page, json);
}
