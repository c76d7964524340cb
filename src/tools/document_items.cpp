// SPDX-License-Identifier: MIT
#include "tools/document_items.h"

#include "engine/data/cos_table.h"
#include "engine/data/demo_document.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"

/// @return whether all items were read and taken
static bool TakeItems(DocumentReader* reader, const ItemTaker& take)
{
    for (;;)
    {
        ItemPlace item = {};
        const ReadStep step = ReadNextItem(reader, &item);
        if (step != ReadStep::kItem)
        {
            return step == ReadStep::kDone;
        }
        if (!take(reader, item))
        {
            return false;
        }
    }
}

bool ReadDocumentItems(ListedPackage* package, const char* name, std::span<const Section> sections,
                       const ItemTaker& take, FaultList* faults)
{
    SectionReader readers[kSectionCount] = {};
    for (const Section section : sections)
    {
        readers[static_cast<size_t>(section)] = PieceSections[static_cast<size_t>(section)];
    }
    BuildCosTable();
    BuildCornerMasks();

    DemoDocument document = {};
    document.name = name;
    ReadContext context = {};
    context.document = &document;
    context.package = &package->file;
    context.computePixels = true;
    context.faults = faults;

    bool isRead = LoadDocument(&package->file, &document, faults);
    if (isRead)
    {
        DocumentReader reader = {};
        BeginReading(readers, &context, &reader);
        isRead = TakeItems(&reader, take);
    }
    FreeLayers(&context);
    FreeDocument(readers, &document);
    return isRead;
}
