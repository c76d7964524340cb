// SPDX-License-Identifier: MIT

// Which items of a section name the same file. An image or model that several items name is read
// once: the first of them lends it to the others, and the last one lets it go.
#pragma once

#include <cstdint>

#include "engine/data/section.h"

class TiXmlNode;

/// A stranger's document may have thousands of items with long names, so nothing here compares
/// each with each.
struct ItemFile
{
    bool isRepeated;   // an earlier item of the section names the same file
    uint32_t usesLeft; // items that name it, from this one on; 0 for an item without a file
};

/// @return whether the items of a section name a file each, by their attribute "filename"
bool HasFiles(Section section);

/// @param sectionNode   the node above the items
/// @param count         of its first children; at most as many as it has
/// @return [count], owned, from malloc, by the items' places; null without memory
ItemFile* ListItemFiles(const TiXmlNode* sectionNode, uint32_t count);
