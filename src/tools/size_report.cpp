// SPDX-License-Identifier: MIT
#include "tools/size_report.h"

#include <algorithm>
#include <string_view>

#include "engine/piece/piece.h"
#include "tools/container.h"
#include "tools/deflate_cost.h"
#include "tools/document_trees.h"
#include "tools/entry_uses.h"

/// Finds where each item of a document begins: the n-th start tag below the top level, in order.
/// @return offsets of all tags that open an item, in the text
static std::vector<size_t> FindItemStarts(std::string_view text)
{
    std::vector<size_t> starts;
    int32_t depth = 0;
    for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1))
    {
        if (text.substr(at, 4) == "<!--")
        {
            at = std::min(text.find("-->", at), text.size() - 1);
            continue;
        }
        size_t end = at;
        char quote = 0;
        while (end < text.size() && (quote != 0 || text[end] != '>'))
        {
            const char c = text[end];
            quote = quote == c ? 0 : quote == 0 && (c == '"' || c == '\'') ? c : quote;
            end += 1;
        }
        const bool isClose = text.substr(at, 2) == "</";
        const bool isWhole = text.substr(at, 2) == "<?" || (end > at && text[end - 1] == '/');
        if (!isClose && depth == 1)
        {
            starts.push_back(at);
        }
        depth += isClose ? -1 : isWhole ? 0 : 1;
        at = std::max(at, end - 1);
    }
    return starts;
}

static void AddItems(const DocumentTree& document, const Bytes& container,
                     std::vector<SizeRow>* rows)
{
    std::vector<float> bits;
    if (!MeasureContainer(container, &bits) || bits.size() != document.text.size())
    {
        return;
    }
    const std::vector<size_t> starts = FindItemStarts(document.text);
    std::vector<SizeRow> items;
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        const Section section = static_cast<Section>(i);
        const std::vector<const TiXmlElement*> elements = ItemsOf(document, section);
        for (size_t k = 0; k < elements.size(); ++k)
        {
            items.push_back(
                {ItemLabel(section, k, elements[k]), document.name, 0.0, 0, true, false});
        }
    }
    if (items.size() != starts.size())
    {
        return;
    }
    for (size_t k = 0; k < items.size(); ++k)
    {
        const size_t end = k + 1 < starts.size() ? starts[k + 1] : bits.size();
        for (size_t i = starts[k]; i < end; ++i)
        {
            items[k].bytes += static_cast<double>(bits[i]) / 8.0;
        }
    }
    rows->insert(rows->end(), items.begin(), items.end());
}

bool MeasurePackage(const ListedPackage* package, std::vector<SizeRow>* rows)
{
    DocumentTree loading;
    DocumentTree demo;
    if (!ReadDocumentTree(package, kLoadingDocumentName, &loading) ||
        !ReadDocumentTree(package, kDemoDocumentName, &demo))
    {
        return false;
    }
    EntryUses uses = {};
    AddEntryUses({loading.text.begin(), loading.text.end()}, &uses);
    AddEntryUses({demo.text.begin(), demo.text.end()}, &uses);
    for (const ListedEntry& entry : package->entries)
    {
        Bytes bytes;
        Bytes data;
        if (!ReadListedEntry(package, &entry, &bytes))
        {
            return false;
        }
        const bool isContainer = UnpackContainer(bytes, &data) == nullptr;
        rows->push_back({entry.name, entry.name, static_cast<double>(entry.size),
                         isContainer ? data.size() : bytes.size(), false,
                         !IsEntryUsed(uses, entry.name)});
        for (const DocumentTree* document : {&loading, &demo})
        {
            if (document->isRead && entry.name == document->name)
            {
                AddItems(*document, bytes, rows);
            }
        }
    }
    return true;
}
