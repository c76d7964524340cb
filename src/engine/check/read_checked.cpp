// SPDX-License-Identifier: MIT
#include "engine/check/context.h"
#include "engine/data/document_values.h"
#include "engine/piece/piece_sections.h"
#include "engine/textures/layer_generator.h"

/// Keeps the faults of a step and empties the list.
static void TakeFaults(CheckedDocument* checked, FaultList* faults)
{
    for (uint32_t i = 0; i < faults->count; ++i)
    {
        checked->faults.push_back(*GetFault(faults, i));
    }
    FreeFaults(faults);
}

static void NoteFailure(CheckedDocument* checked, const Place& place)
{
    if (place.section == Section::kNone || place.section == Section::kMusic || place.item == 0)
    {
        return;
    }
    std::vector<uint8_t>* failed = &checked->failed[static_cast<size_t>(place.section)];
    if (failed->size() < place.item)
    {
        failed->resize(place.item, 0);
    }
    (*failed)[place.item - 1] = 1;
}

/// A player computes each texture, and its pixels count against what a piece may take.
static void TakePixels(CheckContext* context, const ItemPlace& item, FaultList* faults)
{
    static constexpr uint64_t kBytes = uint64_t{kTextureSize} * kTextureSize * 3;
    if (item.section == Section::kTextures)
    {
        TakeFromBudget(&context->package.budget, kBytes, faults);
    }
}

void ReadChecked(CheckContext* context, CheckedDocument* checked)
{
    FaultList faults;
    StartFaults(&faults);
    checked->isThere = LoadDocument(&context->package, &checked->document, &faults);
    if (!checked->isThere)
    {
        checked->isThere = HasFailed(&faults);
        TakeFaults(checked, &faults);
        return;
    }

    ReadContext reading = {};
    reading.document = &checked->document;
    reading.package = &context->package;
    reading.isDemo = checked->isDemo;
    reading.faults = &faults;
    DocumentReader reader;
    BeginReading(PieceSections, &reading, &reader);
    bool goesOn = true;
    while (goesOn)
    {
        ItemPlace item = {};
        const ReadStep step = ReadNextItem(&reader, &item);
        if (step == ReadStep::kItem)
        {
            TakePixels(context, item, &faults);
        }
        checked->layerCount =
            reader.section <= 1 ? reading.layerCount : checked->layerCount; // freed after them
        goesOn = step != ReadStep::kDone;
        if (HasFailed(&faults))
        {
            NoteFailure(checked, faults.place);
            TakeFaults(checked, &faults);
            goesOn = step == ReadStep::kItem || SkipFailure(&reader);
        }
    }
    checked->isWhole = reader.section == kSectionCount;
    FreeLayers(&reading);
    FreeFaults(&faults);
}
