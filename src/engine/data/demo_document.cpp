#include "engine/data/demo_document.h"

#include "engine/data/compressed_entry.h"
#include "engine/data/document_text.h"
#include "engine/data/document_values.h"
#include "engine/data/fault.h"

/// Bytes of text. The tree takes many times that.
static constexpr uint32_t kLargestDocument = 1u << 28;

bool LoadDocument(FILE* package, const char* name, TiXmlDocument* document)
{
    CurrentPlace = {name, kNoSection, 0, 0};

    InflatedEntry entry;
    if (!InflatePackageEntry(package, name, 0, &entry))
    {
        return false;
    }
    if (entry.length > kLargestDocument)
    {
        FatalFault("a text of %u bytes is larger than any document", entry.length);
    }
    bool parsed = LoadFromString(document, entry.data, static_cast<long>(entry.length),
                                 TIXML_ENCODING_UNKNOWN);
    FreeInflatedEntry(&entry);
    if (!parsed)
    {
        FatalFault("the text does not parse (line %d, column %d)", document->ErrorRow(),
                   document->ErrorCol());
    }
    return true;
}

/// Section 0: the second top-level node.
static const TiXmlNode* FirstSection(const TiXmlDocument* document)
{
    const TiXmlNode* first = document->FirstChild();
    return first == nullptr ? nullptr : first->NextSibling();
}

uint32_t CountItems(const TiXmlDocument* document)
{
    uint32_t total = 0;
    for (const TiXmlNode* section = FirstSection(document); section != nullptr;
         section = section->NextSibling())
    {
        total += CountChildren(section);
    }
    return total;
}

static void ReadItem(const SectionReader* reader, ObjectTable* table, const TiXmlNode* item,
                     uint32_t index, LoadContext* context)
{
    if (reader->readItem == nullptr)
    {
        return;
    }
    void* record = nullptr;
    if (table != nullptr)
    {
        uint32_t id = AllocateObject(table);
        if (id == 0)
        {
            FatalFault("the section holds more than %u items", kObjectTableCapacity);
        }
        record = GetObject(static_cast<int32_t>(id), table);
    }
    reader->readItem(RequireElement(item, "the item"), record, index, context);
}

static void ReadSection(const SectionReader* reader, const TiXmlNode* section, int32_t number,
                        LoadContext* context)
{
    CurrentPlace = {context->document->name, number, 0, 0};
    ObjectTable* table = nullptr;
    if (reader->table != nullptr)
    {
        table = CreateObjectTable(reader->recordSize);
        context->document->*(reader->table) = table;
    }
    if (reader->begin != nullptr)
    {
        reader->begin(context);
    }

    context->itemCount = 0;
    for (const TiXmlNode* item = section->FirstChild(); item != nullptr; item = item->NextSibling())
    {
        if (reader->itemLimit != 0 && context->itemCount == reader->itemLimit)
        {
            break;
        }
        CurrentPlace = {context->document->name, number, context->itemCount + 1, 0};
        ReadItem(reader, table, item, context->itemCount, context);
        context->itemCount += 1;
        if (context->itemDone != nullptr)
        {
            context->itemDone(context->user);
        }
    }

    CurrentPlace = {context->document->name, number, 0, 0};
    if (reader->end != nullptr)
    {
        reader->end(context);
    }
}

void ReadSections(const SectionReader* readers, LoadContext* context)
{
    const TiXmlNode* section = FirstSection(context->document->document);
    for (int32_t number = 0; number < kSectionCount; ++number)
    {
        CurrentPlace = {context->document->name, number, 0, 0};
        if (section == nullptr)
        {
            FatalFault("the section is missing: a document has %d of them", kSectionCount);
        }
        ReadSection(&readers[number], section, number, context);
        section = section->NextSibling();
    }
    context->document->musicNode = section;
    CurrentPlace = {context->document->name, kNoSection, 0, 0};
}
