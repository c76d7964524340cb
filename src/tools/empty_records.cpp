// SPDX-License-Identifier: MIT
#include "tools/empty_records.h"

#include <cstring>
#include <initializer_list>
#include <set>
#include <tinyxml.h>
#include <vector>

#include "engine/data/document_values.h"
#include "engine/data/section.h"
#include "tools/text_layout.h"

/// Which items the clips reach. An id that might mean one of two sections counts in both, so that
/// nothing is emptied that a player could ask for.
struct Reach
{
    std::vector<TiXmlElement*> items[kSectionCount]; // [id - 1], borrowed
    std::set<int32_t> reached[kSectionCount];        // ids
};

static void ReachItem(Reach* reach, Section section, int32_t id);

/// An envelope's id stands wherever an animated value is not static.
static void ReachValues(Reach* reach, const TiXmlElement* element)
{
    const char* type = element->Attribute("type");
    if (type == nullptr || strcmp(type, "static") != 0)
    {
        ReachItem(reach, Section::kEnvelopes, ParseInt(element->Attribute("value")));
    }
    for (const TiXmlElement* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        ReachValues(reach, child);
    }
}

/// Follows the same attribute of all children, at any depth, into some sections.
static void ReachAttribute(Reach* reach, const TiXmlElement* element, const char* name,
                           std::initializer_list<Section> sections)
{
    for (const Section section : sections)
    {
        ReachItem(reach, section, ParseInt(element->Attribute(name)));
    }
    for (const TiXmlElement* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        ReachAttribute(reach, child, name, sections);
    }
}

static void ReachTexts(Reach* reach, const TiXmlElement* item)
{
    for (const TiXmlElement* param = item->FirstChildElement(); param != nullptr;
         param = param->NextSiblingElement())
    {
        ReachItem(reach, Section::kEnvelopes, ParseInt(param->GetText()));
    }
}

static void ReachItem(Reach* reach, Section section, int32_t id)
{
    const size_t place = static_cast<size_t>(section);
    if (id < 1 || static_cast<size_t>(id) > reach->items[place].size() ||
        !reach->reached[place].insert(id).second)
    {
        return;
    }
    const TiXmlElement* item = reach->items[place][static_cast<size_t>(id) - 1];
    switch (section)
    {
    case Section::kEffects:
    case Section::kGenMeshes:
        ReachTexts(reach, item);
        break;
    case Section::kLights:
        ReachValues(reach, item);
        break;
    case Section::kMaterials:
        ReachValues(reach, item);
        ReachAttribute(
            reach, item, "value",
            {Section::kLights, Section::kTextures, Section::kEffects, Section::kBitmaps});
        break;
    case Section::kScenes:
        ReachValues(reach, item);
        ReachAttribute(reach, item, "object", {Section::kModels, Section::kGenMeshes});
        ReachAttribute(reach, item, "model", {Section::kModels, Section::kGenMeshes});
        ReachAttribute(reach, item, "material", {Section::kMaterials});
        break;
    default:
        break;
    }
}

/// Effects and generated meshes count as reached, all of them: their first pixels and points are
/// made while they load, with the values of their envelopes.
static void ReachFromClips(Reach* reach, const TiXmlElement* timeline)
{
    for (const Section section : {Section::kEffects, Section::kGenMeshes})
    {
        const size_t count = reach->items[static_cast<size_t>(section)].size();
        for (size_t id = 1; id <= count; ++id)
        {
            ReachItem(reach, section, static_cast<int32_t>(id));
        }
    }
    ReachValues(reach, timeline);
    ReachAttribute(reach, timeline, "id", {Section::kScenes});
    ReachAttribute(reach, timeline, "rtex", {Section::kBitmaps});
    ReachAttribute(reach, timeline, "value", {Section::kMaterials}); // the color of fog
}

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

uint32_t EmptyUnreachedRecords(std::string* text)
{
    TiXmlDocument document;
    if (!ParseText(*text, &document))
    {
        return 0;
    }
    Reach reach;
    TiXmlNode* node = document.FirstChild();
    TiXmlElement* timeline = nullptr;
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        node = node == nullptr ? nullptr : node->NextSibling();
        timeline = node == nullptr ? nullptr : node->ToElement();
        if (timeline == nullptr)
        {
            return 0;
        }
        for (TiXmlNode* item = node->FirstChild(); item != nullptr; item = item->NextSibling())
        {
            if (item->ToElement() == nullptr)
            {
                return 0;
            }
            reach.items[i].push_back(item->ToElement());
        }
    }
    ReachFromClips(&reach, timeline);

    uint32_t count = 0;
    for (const Section section : {Section::kEnvelopes, Section::kScenes})
    {
        const size_t place = static_cast<size_t>(section);
        for (size_t k = 0; k < reach.items[place].size(); ++k)
        {
            TiXmlElement* item = reach.items[place][k];
            if (reach.reached[place].count(static_cast<int32_t>(k) + 1) == 0 &&
                item->FirstChild() != nullptr)
            {
                item->Clear();
                count += 1;
            }
        }
    }
    const std::string emptied = PrintWithoutBlanks(document);
    if (count == 0 || !SaysTheSame(document, emptied))
    {
        return 0;
    }
    *text = emptied;
    return count;
}
