// SPDX-License-Identifier: MIT
#include "tools/document_trees.h"

#include "engine/check/finding.h"
#include "engine/data/vocabulary.h"
#include "tools/container.h"
#include "tools/text_layout.h"

bool ReadDocumentTree(const ListedPackage* package, const char* name, DocumentTree* document)
{
    document->name = name;
    const ListedEntry* entry = FindEntry(package, name);
    document->isThere = entry != nullptr;
    document->isRead = false;
    Bytes bytes;
    Bytes data;
    if (entry == nullptr)
    {
        return true;
    }
    if (!ReadListedEntry(package, entry, &bytes))
    {
        return false;
    }
    if (UnpackContainer(bytes, &data) == nullptr)
    {
        document->text.assign(data.begin(), data.end());
        document->isRead = ParseText(document->text, &document->tree);
    }
    return true;
}

const TiXmlElement* SectionElement(const DocumentTree& document, Section section)
{
    const TiXmlNode* node = document.isRead ? document.tree.FirstChild() : nullptr;
    for (int32_t i = 0; node != nullptr && i <= static_cast<int32_t>(section); ++i)
    {
        node = node->NextSibling();
    }
    return node == nullptr ? nullptr : node->ToElement();
}

std::vector<const TiXmlElement*> ItemsOf(const DocumentTree& document, Section section)
{
    std::vector<const TiXmlElement*> items;
    const TiXmlElement* element = SectionElement(document, section);
    const TiXmlElement* item = element == nullptr ? nullptr : element->FirstChildElement();
    for (; item != nullptr; item = item->NextSiblingElement())
    {
        items.push_back(item);
    }
    return items;
}

std::string MusicName(const DocumentTree& document)
{
    const TiXmlElement* music = SectionElement(document, Section::kMusic);
    return music == nullptr ? "" : AttributeText(music, "file");
}

std::string AttributeText(const TiXmlElement* element, const char* name)
{
    const char* text = element->Attribute(name);
    return text == nullptr ? "" : text;
}

std::string ItemLabel(Section section, size_t index, const TiXmlElement* item)
{
    static constexpr const char* kItems[] = {"layer", "texture", "model",  "envelope",
                                             "light", "effect",  "bitmap", "material",
                                             "mesh",  "scene",   "row",    "music"};
    std::string text = FormatText("%s %u", kItems[static_cast<size_t>(section)],
                                  ItemNumber(section, static_cast<uint32_t>(index) + 1));
    std::string name = AttributeText(item, "name");
    name = name.empty() ? AttributeText(item, "filename") : name;
    return name.empty() ? text : text + " \"" + name + "\"";
}
