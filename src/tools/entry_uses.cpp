// SPDX-License-Identifier: MIT
#include "tools/entry_uses.h"

#include <cstring>
#include <tinyxml.h>

#include "engine/piece/piece.h"
#include "tools/text_layout.h"

static void AddNames(const TiXmlNode* node, EntryUses* uses)
{
    for (const TiXmlNode* child = node->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        const TiXmlElement* element = child->ToElement();
        const TiXmlAttribute* attribute = element == nullptr ? nullptr : element->FirstAttribute();
        for (; attribute != nullptr; attribute = attribute->Next())
        {
            uses->names.insert(attribute->Value());
            uses->namesFirst = uses->namesFirst || (strcmp(attribute->Name(), "filename") == 0 &&
                                                    *attribute->Value() == 0);
        }
        AddNames(child, uses);
    }
}

void AddEntryUses(const Bytes& text, EntryUses* uses)
{
    TiXmlDocument document;
    if (ParseText({text.begin(), text.end()}, &document))
    {
        AddNames(&document, uses);
    }
}

bool IsEntryUsed(const EntryUses& uses, const std::string& entry)
{
    return uses.namesFirst || entry == kDemoDocumentName || entry == kLoadingDocumentName ||
           entry == kPieceTextName || uses.names.count(entry) != 0;
}
