// SPDX-License-Identifier: MIT
#include "tools/shrink_piece.h"

#include <algorithm>
#include <cstdlib>

#include "engine/data/byte_order.h"
#include "engine/data/limits.h"
#include "engine/data/model_data.h"
#include "engine/piece/piece.h"
#include "engine/textures/decode_image.h"
#include "tools/container.h"
#include "tools/document_trees.h"
#include "tools/empty_records.h"
#include "tools/entry_uses.h"
#include "tools/text_layout.h"

static bool IsDocument(const PieceEntry& entry)
{
    return entry.name == kDemoDocumentName || entry.name == kLoadingDocumentName;
}

static void DropUnnamed(std::vector<PieceEntry>* entries, ShrinkReport* report)
{
    EntryUses uses = {};
    for (const PieceEntry& entry : *entries)
    {
        Bytes text;
        if (IsDocument(entry) && UnpackContainer(entry.bytes, &text) == nullptr)
        {
            AddEntryUses(text, &uses);
        }
    }
    const auto isDropped = [&uses, report](const PieceEntry& entry)
    {
        const bool isUsed = entry.isKept || IsEntryUsed(uses, entry.name);
        if (!isUsed)
        {
            report->dropped.push_back(entry.name);
        }
        return !isUsed;
    };
    std::erase_if(*entries, isDropped);
}

static bool EmptyDocument(PieceEntry* entry, EmptiedPiece* emptied, ShrinkReport* report)
{
    Bytes data;
    std::string text;
    if (UnpackContainer(entry->bytes, &data) == nullptr)
    {
        text.assign(data.begin(), data.end());
    }
    const std::vector<EmptiedItem> items = EmptyUnreachedRecords(&text, emptied);
    DocumentTree tree = {};
    tree.isRead = !items.empty() && ParseText(text, &tree.tree);
    for (const EmptiedItem& item : items)
    {
        const std::vector<const TiXmlElement*> all = ItemsOf(tree, item.section);
        report->items.push_back(entry->name + ", " +
                                ItemLabel(item.section, item.index, all[item.index]));
    }
    return items.empty() || PackSmallContainer({text.begin(), text.end()}, &entry->bytes);
}

/// @return whether a model loads
static bool IsWhole(const Bytes& model)
{
    if (model.size() < kModelHeaderSize)
    {
        return false;
    }
    const uint64_t vertices = LoadLittleEndian32(model.data());
    const uint64_t indices = kModelHeaderSize + 8 * (3 + uint64_t{model[4]}) * vertices;
    for (uint64_t at = indices; at + 4 <= model.size(); at += 4)
    {
        if (LoadLittleEndian32(model.data() + at) >= vertices)
        {
            return false;
        }
    }
    return indices <= model.size();
}

/// Only a model or an image that would load is replaced: whatever is wrong with a file stays.
static bool EmptyFile(FileUse use, PieceEntry* entry, ShrinkReport* report)
{
    Bytes smallest;
    if (use == FileUse::kUnreachedModel)
    {
        Bytes model;
        if (UnpackContainer(entry->bytes, &model) != nullptr || !IsWhole(model))
        {
            return true;
        }
        const std::string empty = MakeEmptyModel(model[4]);
        if (!PackSmallContainer({empty.begin(), empty.end()}, &smallest))
        {
            return false;
        }
    }
    else
    {
        DecodedImage image = {};
        const char* reason = nullptr;
        if (DecodeImage(entry->bytes.data(), static_cast<int32_t>(entry->bytes.size()), kPieceBytes,
                        &image, &reason) != DecodeResult::kDecoded)
        {
            return true;
        }
        free(image.pixels);
        const std::string empty = MakeEmptyBitmap();
        smallest.assign(empty.begin(), empty.end());
    }
    if (smallest.size() < entry->bytes.size())
    {
        entry->bytes = smallest;
        report->files.push_back(entry->name);
    }
    return true;
}

bool ShrinkPiece(std::vector<PieceEntry>* entries, ShrinkReport* report)
{
    DropUnnamed(entries, report);
    EmptiedPiece emptied = {};
    for (PieceEntry& entry : *entries)
    {
        if (IsDocument(entry) && !EmptyDocument(&entry, &emptied, report))
        {
            return false;
        }
    }
    for (PieceEntry& entry : *entries)
    {
        const FileUse use = FindFileUse(emptied, entry.name);
        if (!entry.isKept && use != FileUse::kReached && !EmptyFile(use, &entry, report))
        {
            return false;
        }
    }
    return true;
}
