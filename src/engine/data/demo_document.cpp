// SPDX-License-Identifier: MIT
#include "engine/data/demo_document.h"

#include <cstdlib>
#include <new>

#include "engine/data/compressed_entry.h"
#include "engine/data/document_text.h"
#include "engine/data/document_values.h"

/// Takes the tree of a text out of the budget, and the copy of the text that its parser works on.
/// @return false after a fault
static bool TakeTree(const InflatedEntry* text, PieceBudget* budget, FaultList* faults)
{
    static constexpr uint64_t kNodeBytes = 256; // of the largest node, an element
    uint64_t nodes = 0;                         // elements and attributes
    for (uint32_t i = 0; i < text->length; ++i)
    {
        nodes += text->data[i] == '<' || text->data[i] == '=' ? 1 : 0;
    }
    return TakeFromBudget(budget, kNodeBytes * nodes + 2 * uint64_t{text->length}, faults);
}

/// Parses the text of a document. Nobody asks whether it parsed: text that stops parsing leaves the
/// nodes before that place, and a piece plays if they are all that it needs.
static void MakeTree(const InflatedEntry* entry, PieceBudget* budget, DemoDocument* document,
                     FaultList* faults)
{
    if (entry->length > kLargestText)
    {
        AddFault(faults, "a text of more than %u bytes is larger than any document", kLargestText);
        return;
    }
    if (!TakeTree(entry, budget, faults))
    {
        return;
    }
    document->document = new (std::nothrow) TiXmlDocument();
    if (document->document == nullptr)
    {
        AddFault(faults, "no memory for the tree of a text");
        return;
    }
    LoadFromString(document->document, entry->data, static_cast<long>(entry->length),
                   TIXML_ENCODING_UNKNOWN, faults);
    ReturnToBudget(budget, entry->length); // the parser's copy
}

bool LoadDocument(PackageFile* package, DemoDocument* document, FaultList* faults)
{
    faults->place = PlaceAt(document->name, Section::kNone);

    InflatedEntry entry = {};
    if (!InflatePackageEntry(package, document->name, 0, kLargestText + 1, &entry, faults))
    {
        return false;
    }
    MakeTree(&entry, &package->budget, document, faults);
    ReturnToBudget(&package->budget, entry.taken);
    FreeInflatedEntry(&entry);
    return !HasFailed(faults);
}

/// Section 0: the second top-level node.
static const TiXmlNode* FirstSection(const TiXmlDocument* document)
{
    const TiXmlNode* first = document == nullptr ? nullptr : document->FirstChild();
    return first == nullptr ? nullptr : first->NextSibling();
}

uint32_t CountItems(const DemoDocument* document)
{
    uint32_t total = 0;
    for (const TiXmlNode* section = FirstSection(document->document); section != nullptr;
         section = section->NextSibling())
    {
        total += CountChildren(section);
    }
    return total;
}

void BeginReading(const SectionReader* readers, ReadContext* context, DocumentReader* reader)
{
    *reader = {};
    reader->readers = readers;
    reader->context = context;
    reader->sectionNode = FirstSection(context->document->document);
}

static void SetPlace(const DocumentReader* reader, uint32_t item, const TiXmlNode* node)
{
    Place* place = &reader->context->faults->place;
    *place = PlaceAt(reader->context->document->name, static_cast<Section>(reader->section), item);
    if (node != nullptr)
    {
        place->line = node->Row();
        place->column = node->Column();
    }
}

/// The items that a reader takes of a section.
static uint32_t CountReadItems(const SectionReader* row, const TiXmlNode* section)
{
    const uint32_t count = CountChildren(section);
    return row->itemLimit != 0 && count > row->itemLimit ? row->itemLimit : count;
}

/// Tells that a section is missing, or where the text stopped that should have held it.
/// @param tree   may be null
static void AddMissingSection(const TiXmlDocument* tree, FaultList* faults)
{
    if (tree == nullptr || !HasStoppedParsing(tree))
    {
        AddFault(faults, "the section is missing: a document has %d of them", kSectionCount);
        return;
    }
    if (tree->ErrorRow() <= 0) // the parser does not always know
    {
        AddFault(faults, "the section is missing: the text does not parse");
        return;
    }
    faults->place.line = tree->ErrorRow();
    faults->place.column = tree->ErrorCol();
    AddFault(faults, "the section is missing: the text does not parse (line %d, column %d)",
             tree->ErrorRow(), tree->ErrorCol());
}

/// Lists the files that the items of a section name; those of the section before are forgotten.
/// @return false after a fault
static bool ListFiles(DocumentReader* reader)
{
    ReadContext* context = reader->context;
    free(context->document->files);
    context->document->files = nullptr;
    if (HasFiles(static_cast<Section>(reader->section)))
    {
        context->document->files = ListItemFiles(reader->sectionNode, context->sectionItems);
        if (context->document->files == nullptr)
        {
            AddError(context->faults, "out of memory");
            return false;
        }
    }
    context->files = context->document->files;
    return true;
}

/// @return false after a fault
static bool EnterSection(DocumentReader* reader)
{
    ReadContext* context = reader->context;
    const SectionReader* row = &reader->readers[reader->section];
    SetPlace(reader, 0, reader->sectionNode);
    if (reader->sectionNode == nullptr)
    {
        AddMissingSection(context->document->document, context->faults);
        return false;
    }

    if (row->table != nullptr)
    {
        ObjectTable* table = CreateObjectTable(row->recordSize);
        context->document->*(row->table) = table;
        if (table == nullptr)
        {
            AddError(context->faults, "out of memory");
            return false;
        }
    }
    reader->isInside = true;
    reader->nextItem = reader->sectionNode->FirstChild();
    context->sectionItems = CountReadItems(row, reader->sectionNode);
    context->itemCount = 0;
    if (!ListFiles(reader))
    {
        return false;
    }
    return row->begin == nullptr || row->begin(context);
}

/// Adds the record of an item, with all its bytes zero: a reader that fails at once leaves one that
/// can be freed.
/// @return null after a fault
static void* AddRecord(ObjectTable* table, FaultList* faults)
{
    const bool isFull = table->count == kObjectTableCapacity;
    const uint32_t id = AllocateObject(table);
    if (id == 0)
    {
        isFull ? AddFault(faults, "the section holds more than %u items", kObjectTableCapacity)
               : AddFault(faults, "out of memory");
        return nullptr;
    }
    return GetObject(id, table);
}

/// Fills a record, with what was read before its turn where there is that.
/// @return false after a fault
static bool FillRecord(const TiXmlElement* item, void* record, const DocumentReader* reader)
{
    ReadContext* context = reader->context;
    const uint32_t index = context->itemCount;
    if (context->ahead != nullptr)
    {
        const Section section = static_cast<Section>(reader->section);
        const AheadResult result = context->takeAhead(section, index, record, context);
        if (result != AheadResult::kNone)
        {
            return result == AheadResult::kRead;
        }
    }
    return reader->readers[reader->section].readItem(item, record, index, context);
}

/// @return false after a fault
static bool ReadItem(DocumentReader* reader, ItemPlace* place)
{
    ReadContext* context = reader->context;
    const SectionReader* row = &reader->readers[reader->section];
    const TiXmlNode* node = reader->nextItem;
    SetPlace(reader, context->itemCount + 1, node);

    void* record = nullptr;
    if (row->readItem != nullptr)
    {
        if (row->table != nullptr)
        {
            record = AddRecord(context->document->*(row->table), context->faults);
            if (record == nullptr)
            {
                return false;
            }
        }
        const TiXmlElement* item = RequireElement(node, "the item", context->faults);
        if (item == nullptr || !FillRecord(item, record, reader))
        {
            return false;
        }
    }

    context->itemCount += 1;
    reader->nextItem = node->NextSibling();
    *place = {static_cast<Section>(reader->section), context->itemCount, record};
    return true;
}

/// @return false after a fault
static bool LeaveSection(DocumentReader* reader)
{
    const SectionReader* row = &reader->readers[reader->section];
    SetPlace(reader, 0, reader->sectionNode);
    if (row->end != nullptr && !row->end(reader->context))
    {
        return false;
    }
    reader->isInside = false;
    reader->section += 1;
    reader->sectionNode = reader->sectionNode->NextSibling();
    return true;
}

ReadStep ReadNextItem(DocumentReader* reader, ItemPlace* item)
{
    ReadContext* context = reader->context;
    while (reader->section < kSectionCount)
    {
        if (!reader->isInside && !EnterSection(reader))
        {
            return ReadStep::kFailed;
        }
        if (context->itemCount < context->sectionItems)
        {
            return ReadItem(reader, item) ? ReadStep::kItem : ReadStep::kFailed;
        }
        if (!LeaveSection(reader))
        {
            return ReadStep::kFailed;
        }
    }
    context->document->musicNode = reader->sectionNode;
    context->faults->place = PlaceAt(context->document->name, Section::kNone);
    return ReadStep::kDone;
}

bool SkipFailure(DocumentReader* reader)
{
    ReadContext* context = reader->context;
    if (!reader->isInside)
    {
        return false;
    }
    if (context->itemCount == context->sectionItems) // the end of the section failed
    {
        reader->isInside = false;
        reader->section += 1;
        reader->sectionNode = reader->sectionNode->NextSibling();
        return true;
    }
    context->itemCount += 1;
    reader->nextItem = reader->nextItem->NextSibling();
    if (context->itemCount > kObjectTableCapacity) // said once, and true of all that follow
    {
        context->itemCount = context->sectionItems;
    }
    return true;
}

bool ReadSections(const SectionReader* readers, ReadContext* context)
{
    DocumentReader reader;
    BeginReading(readers, context, &reader);
    ReadStep step = ReadStep::kItem;
    while (step == ReadStep::kItem)
    {
        ItemPlace item;
        step = ReadNextItem(&reader, &item);
    }
    return step == ReadStep::kDone;
}

static void FreeTable(const SectionReader* row, ObjectTable* table)
{
    if (table != nullptr && row->freeRecord != nullptr)
    {
        for (int32_t position = 1; position <= static_cast<int32_t>(table->count); ++position)
        {
            row->freeRecord(GetObjectAtPosition(position, table));
        }
    }
    FreeObjectTable(table);
}

void FreeDocument(const SectionReader* readers, DemoDocument* document)
{
    for (int32_t section = 0; section < kSectionCount; ++section)
    {
        const SectionReader* row = &readers[section];
        if (row->table != nullptr)
        {
            FreeTable(row, document->*(row->table));
        }
    }
    free(document->timeline);
    free(document->files);
    delete document->document;
    const char* name = document->name;
    *document = {};
    document->name = name;
}
