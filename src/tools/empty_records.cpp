// SPDX-License-Identifier: MIT
#include "tools/empty_records.h"

#include <iterator>
#include <tinyxml.h>

#include "tools/document_reach.h"
#include "tools/text_layout.h"

/// A PNG file of 2x2 black pixels: no smaller image makes a bitmap.
static constexpr unsigned char kBlackPng[] = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48,
    0x44, 0x52, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x02, 0x00, 0x00,
    0x00, 0xFD, 0xD4, 0x9A, 0x73, 0x00, 0x00, 0x00, 0x0A, 0x49, 0x44, 0x41, 0x54, 0x78,
    0x01, 0x63, 0x40, 0x01, 0x00, 0x00, 0x0E, 0x00, 0x01, 0x7E, 0x8E, 0x12, 0x45, 0x00,
    0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82,
};

static std::string PrintWithoutBlanks(const TiXmlDocument& document)
{
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    document.Accept(&printer);
    std::string text = printer.Str();
    // A ">" of a value is printed as an entity, so these stand in tags alone.
    for (size_t at = text.find(" />"); at != std::string::npos; at = text.find(" />", at))
    {
        text.erase(at, 1);
    }
    return text;
}

/// Makes a layer black. It keeps as many children as its type takes, so that a check finds nothing.
static void BlackenLayer(TiXmlElement* layer)
{
    layer->Clear();
    layer->SetAttribute("type", 0);
    for (int32_t i = 0; i < 3; ++i)
    {
        TiXmlElement* value = new TiXmlElement("p");
        value->LinkEndChild(new TiXmlText("0"));
        layer->LinkEndChild(value);
    }
}

/// Makes all values and ids of a material 0.
static void ZeroMaterial(TiXmlElement* material)
{
    for (TiXmlElement* child = material->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        if (child->Attribute("type") != nullptr)
        {
            child->SetAttribute("type", "static");
        }
        child->SetAttribute("value", 0);
    }
}

/// @return false if it is empty already
static bool EmptyItem(Section section, TiXmlElement* item)
{
    TiXmlElement old(*item);
    if (section == Section::kLayers)
    {
        BlackenLayer(item);
    }
    else if (section == Section::kMaterials)
    {
        ZeroMaterial(item);
    }
    else
    {
        item->Clear();
    }
    return !IsSameTree(&old, item);
}

static void EmptyItems(const DocumentReach& reach, Section section, EmptiedPiece* emptied,
                       std::vector<EmptiedItem>* items)
{
    const size_t place = static_cast<size_t>(section);
    const bool isFile = section == Section::kModels || section == Section::kBitmaps;
    for (size_t i = 0; i < reach.items[place].size(); ++i)
    {
        TiXmlElement* item = reach.items[place][i];
        const bool isReached = reach.isReached[place][i] != 0;
        const char* filename = isFile ? item->Attribute("filename") : nullptr;
        if (filename != nullptr)
        {
            (isReached ? emptied->reachedFiles : emptied->unreachedFiles[place]).insert(filename);
        }
        if (!isReached && !isFile && EmptyItem(section, item))
        {
            items->push_back({section, i});
        }
    }
}

std::vector<EmptiedItem> EmptyUnreachedRecords(std::string* text, EmptiedPiece* emptied)
{
    static constexpr Section kEmptied[] = {
        Section::kLayers,  Section::kTextures,  Section::kModels, Section::kEnvelopes,
        Section::kBitmaps, Section::kMaterials, Section::kScenes};
    std::vector<EmptiedItem> items;
    TiXmlDocument document;
    DocumentReach reach;
    if (!ParseText(*text, &document) || !FindReach(&document, &reach))
    {
        emptied->isUnsure = true;
        return items;
    }
    for (const Section section : kEmptied)
    {
        EmptyItems(reach, section, emptied, &items);
    }
    const std::string bare = PrintWithoutBlanks(document);
    if (items.empty() || !SaysTheSame(document, bare))
    {
        return {};
    }
    *text = bare;
    return items;
}

FileUse FindFileUse(const EmptiedPiece& emptied, const std::string& name)
{
    const bool isModel = emptied.unreachedFiles[static_cast<size_t>(Section::kModels)].count(name);
    const bool isBitmap =
        emptied.unreachedFiles[static_cast<size_t>(Section::kBitmaps)].count(name);
    if (emptied.isUnsure || emptied.reachedFiles.count(name) != 0 || isModel == isBitmap)
    {
        return FileUse::kReached;
    }
    return isModel ? FileUse::kUnreachedModel : FileUse::kUnreachedBitmap;
}

std::string MakeEmptyModel(uint8_t sets)
{
    return std::string({0, 0, 0, 0, static_cast<char>(sets < 2 ? 1 : 2)});
}

std::string MakeEmptyBitmap()
{
    return {std::begin(kBlackPng), std::end(kBlackPng)};
}
