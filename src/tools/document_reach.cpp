// SPDX-License-Identifier: MIT
#include "tools/document_reach.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "engine/data/document_values.h"
#include "engine/data/numeric.h"
#include "engine/data/vocabulary.h"

static constexpr const char* kGenMeshType = "1"; // of an object

static void ReachItem(DocumentReach* reach, Section section, int32_t id);

/// An envelope's id stands wherever an animated value is not static.
static void ReachValues(DocumentReach* reach, const TiXmlElement* element)
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

static void ReachAttribute(DocumentReach* reach, const TiXmlElement* element, const char* name,
                           std::initializer_list<Section> sections)
{
    for (const Section section : sections)
    {
        ReachItem(reach, section, ParseInt(element->Attribute(name)));
    }
}

/// A model that an object shows or that a manipulator places on. Generated meshes all count.
static void ReachModels(DocumentReach* reach, const TiXmlElement* element)
{
    const char* type = element->Attribute("type");
    for (const char* name : {"object", "model"})
    {
        const char* id = element->Attribute(name);
        if (id != nullptr && (type == nullptr || strcmp(type, kGenMeshType) != 0))
        {
            ReachItem(reach, Section::kModels, ParseInt(id));
            // A manipulator reads its mesh as a number with a fraction.
            ReachItem(reach, Section::kModels, TruncateToInt(strtod(id, nullptr)));
        }
    }
    for (const TiXmlElement* child = element->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        ReachModels(reach, child);
    }
}

/// The light, textures and bitmaps that a recipe takes, in the order of documents.
static std::vector<Section> RecipeSections(const TiXmlElement* item)
{
    const VocabularyRow* row =
        FindVocabularyRow(kCatalogueRecipes, ParseInt(item->Attribute("type")));
    std::vector<Section> sections;
    if (row != nullptr && (row->traits & kTraitLit) != 0)
    {
        sections.push_back(Section::kLights);
    }
    for (size_t i = 0; row != nullptr && i < row->params.size(); ++i)
    {
        if (row->params[i].kind == ParamKind::Texture)
        {
            sections.push_back(Section::kTextures);
        }
        else if (row->params[i].kind == ParamKind::Bitmap)
        {
            sections.push_back(Section::kBitmaps);
        }
    }
    return sections;
}

/// Children up to the first of another name than "p" are values, and effects are all reached.
static void ReachReferences(DocumentReach* reach, const TiXmlElement* item)
{
    const std::vector<Section> sections = RecipeSections(item);
    bool isValue = true;
    size_t count = 0;
    for (const TiXmlElement* child = item->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        isValue = isValue && strcmp(child->Value(), "p") == 0;
        if (isValue || strcmp(child->Value(), "effect2d") == 0)
        {
            continue;
        }
        if (count < sections.size())
        {
            ReachAttribute(reach, child, "value", {sections[count]});
        }
        count += 1;
    }
}

static void ReachTexts(DocumentReach* reach, const TiXmlElement* item)
{
    for (const TiXmlElement* param = item->FirstChildElement(); param != nullptr;
         param = param->NextSiblingElement())
    {
        ReachItem(reach, Section::kEnvelopes, ParseInt(param->GetText()));
    }
}

/// Layers count from 0, and a step that names none may take the first.
static void ReachLayers(DocumentReach* reach, const TiXmlElement* item)
{
    for (const TiXmlElement* step = item->FirstChildElement(); step != nullptr;
         step = step->NextSiblingElement())
    {
        const int32_t layer = ParseInt(step->Attribute("id"));
        ReachItem(reach, Section::kLayers, layer == INT32_MAX ? layer : layer + 1);
    }
}

static void ReachItem(DocumentReach* reach, Section section, int32_t id)
{
    const size_t place = static_cast<size_t>(section);
    const size_t index = static_cast<size_t>(id) - 1;
    if (id < 1 || index >= reach->items[place].size() || reach->isReached[place][index] != 0)
    {
        return;
    }
    reach->isReached[place][index] = 1;
    const TiXmlElement* item = reach->items[place][index];
    switch (section)
    {
    case Section::kTextures:
        ReachLayers(reach, item);
        break;
    case Section::kEffects:
    case Section::kGenMeshes:
        ReachTexts(reach, item);
        break;
    case Section::kLights:
        ReachValues(reach, item);
        break;
    case Section::kMaterials:
        ReachValues(reach, item);
        ReachReferences(reach, item);
        break;
    case Section::kScenes:
        ReachValues(reach, item);
        ReachModels(reach, item);
        for (const TiXmlElement* object = item->FirstChildElement(); object != nullptr;
             object = object->NextSiblingElement())
        {
            ReachAttribute(reach, object, "material", {Section::kMaterials});
        }
        break;
    default:
        break;
    }
}

static void ReachClip(DocumentReach* reach, const TiXmlElement* clip)
{
    ReachAttribute(reach, clip, "id", {Section::kScenes});
    ReachAttribute(reach, clip, "rtex", {Section::kBitmaps});
    for (const TiXmlElement* child = clip->FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement())
    {
        // Fog is the child that has children; its color is a material.
        for (const TiXmlElement* value = child->FirstChildElement(); value != nullptr;
             value = value->NextSiblingElement())
        {
            ReachAttribute(reach, value, "value", {Section::kMaterials});
        }
    }
}

/// Effects and generated meshes count as reached, all of them: their first pixels and points are
/// made while they load, with the values of their envelopes.
static void ReachFromClips(DocumentReach* reach, const TiXmlElement* timeline)
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
    for (const TiXmlElement* row = timeline->FirstChildElement(); row != nullptr;
         row = row->NextSiblingElement())
    {
        for (const TiXmlElement* clip = row->FirstChildElement(); clip != nullptr;
             clip = clip->NextSiblingElement())
        {
            ReachClip(reach, clip);
        }
    }
}

bool FindReach(TiXmlDocument* document, DocumentReach* reach)
{
    *reach = {};
    TiXmlNode* node = document->FirstChild();
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        node = node == nullptr ? nullptr : node->NextSibling();
        if (node == nullptr || node->ToElement() == nullptr)
        {
            return false;
        }
        for (TiXmlNode* item = node->FirstChild(); item != nullptr; item = item->NextSibling())
        {
            if (item->ToElement() == nullptr)
            {
                return false;
            }
            reach->items[i].push_back(item->ToElement());
        }
        reach->isReached[i].assign(reach->items[i].size(), 0);
    }
    ReachFromClips(reach, node->ToElement());
    return true;
}
