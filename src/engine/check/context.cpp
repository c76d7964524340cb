// SPDX-License-Identifier: MIT
#include "engine/check/context.h"

#include <cstring>

#include "engine/data/vocabulary.h"

Finding* AddFinding(const Spot* spot, Severity severity, Rule rule, const TiXmlBase* node,
                    std::string text)
{
    Finding finding = {severity, rule, {}, "", std::move(text), "", ""};
    finding.place = PlaceAt(spot->checked == nullptr ? nullptr : spot->checked->document.name,
                            spot->section, spot->item, spot->part);
    if (node != nullptr)
    {
        finding.place.line = node->Row();
        finding.place.column = node->Column();
    }
    if (spot->name != nullptr)
    {
        finding.name = spot->name;
    }
    spot->context->findings->push_back(std::move(finding));
    return &spot->context->findings->back();
}

const TiXmlNode* SectionNode(const DemoDocument* document, Section section)
{
    const TiXmlNode* node =
        document->document == nullptr ? nullptr : document->document->FirstChild();
    for (int32_t i = -1; i < static_cast<int32_t>(section) && node != nullptr; ++i)
    {
        node = node->NextSibling();
    }
    return node;
}

const TiXmlNode* ChildAt(const TiXmlNode* node, uint32_t n)
{
    const TiXmlNode* child = node == nullptr || n == 0 ? nullptr : node->FirstChild();
    for (uint32_t i = 1; i < n && child != nullptr; ++i)
    {
        child = child->NextSibling();
    }
    return child;
}

const char* ItemName(const TiXmlNode* item)
{
    const TiXmlElement* element = item == nullptr ? nullptr : item->ToElement();
    return element == nullptr ? nullptr : element->Attribute("name");
}

const char* ItemWord(Section section)
{
    static constexpr const char* kWords[] = {
        "layer",  "procedural texture", "model",          "envelope", "light", "2D effect",
        "bitmap", "material",           "generated mesh", "scene",    "row",   "music node",
    };
    return section == Section::kNone ? "item" : kWords[static_cast<size_t>(section)];
}

std::string ItemText(const DemoDocument* document, Section section, uint32_t id)
{
    std::string text =
        FormatText("%s %d", ItemWord(section), static_cast<int32_t>(ItemNumber(section, id)));
    const char* name = ItemName(ChildAt(SectionNode(document, section), id));
    return name == nullptr ? text : text + " \"" + name + "\"";
}

const TiXmlBase* AttributeNode(const TiXmlElement* element, const char* name)
{
    for (const TiXmlAttribute* attribute = element->FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next())
    {
        if (strcmp(attribute->Name(), name) == 0)
        {
            return attribute;
        }
    }
    return element;
}

const ObjectTable* TableOf(const DemoDocument* document, Section section)
{
    const ObjectTable* const tables[kSectionCount] = {
        nullptr,
        document->textures,
        document->models,
        document->envelopes,
        document->lights,
        document->effects,
        document->bitmaps,
        document->materials,
        document->genMeshes,
        document->scenes,
        nullptr,
    };
    const int32_t number = static_cast<int32_t>(section);
    return number < 0 || number >= kSectionCount ? nullptr : tables[number];
}

bool HasFailedItem(const CheckedDocument* checked, Section section, uint32_t item)
{
    const std::vector<uint8_t>& failed = checked->failed[static_cast<size_t>(section)];
    return item <= failed.size() && failed[item - 1] != 0;
}
