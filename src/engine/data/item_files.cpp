// SPDX-License-Identifier: MIT
#include "engine/data/item_files.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <tinyxml.h>

#include "engine/data/allocate.h"

struct NamedItem
{
    const char* filename; // lent by the tree
    uint32_t index;       // of the item
};

bool HasFiles(Section section)
{
    return section == Section::kModels || section == Section::kBitmaps;
}

static bool IsBefore(const NamedItem& a, const NamedItem& b)
{
    const int order = strcmp(a.filename, b.filename);
    return order == 0 ? a.index < b.index : order < 0;
}

/// @param items   receives those that name a file
/// @return how many do
static uint32_t ListNamed(const TiXmlNode* sectionNode, uint32_t count, NamedItem* items)
{
    uint32_t named = 0;
    const TiXmlNode* node = sectionNode->FirstChild();
    for (uint32_t i = 0; i < count; ++i)
    {
        const TiXmlElement* element = node->ToElement();
        const char* filename = element == nullptr ? nullptr : element->Attribute("filename");
        if (filename != nullptr)
        {
            items[named] = {filename, i};
            named += 1;
        }
        node = node->NextSibling();
    }
    return named;
}

ItemFile* ListItemFiles(const TiXmlNode* sectionNode, uint32_t count)
{
    ItemFile* files = AllocateZeroed<ItemFile>(count, "", nullptr);
    NamedItem* items = AllocateBlock<NamedItem>(count, "", nullptr);
    if (files == nullptr || items == nullptr)
    {
        free(files);
        free(items);
        return nullptr;
    }
    const uint32_t named = ListNamed(sectionNode, count, items);
    std::sort(items, items + named, IsBefore);

    uint32_t uses = 0;
    for (uint32_t i = named; i > 0; --i)
    {
        const bool isRepeated = i > 1 && strcmp(items[i - 2].filename, items[i - 1].filename) == 0;
        uses += 1;
        files[items[i - 1].index] = {isRepeated, uses};
        uses = isRepeated ? uses : 0;
    }
    free(items);
    return files;
}
