// SPDX-License-Identifier: MIT
#include "tools/size_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <tinyxml.h>

#include "tools/container.h"
#include "tools/overwrite.h"
#include "tools/report.h"
#include "tools/shrink_piece.h"
#include "tools/size_report.h"
#include "tools/text_layout.h"
#include "tools/treemap.h"

static uint64_t PackageSize(const ListedPackage& package)
{
    uint64_t size = kPackageHeaderSize + kPackageNameSize;
    for (const ListedEntry& entry : package.entries)
    {
        size += kPackageEntrySize + entry.size;
    }
    return size;
}

static void PrintTable(const std::vector<SizeRow>& rows, uint64_t size)
{
    std::vector<const SizeRow*> sorted;
    for (const SizeRow& row : rows)
    {
        sorted.push_back(&row);
    }
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const SizeRow* a, const SizeRow* b) { return a->bytes > b->bytes; });
    printf("   bytes  share   unpacked  entry or record\n");
    for (const SizeRow* row : sorted)
    {
        const std::string unpacked = row->isItem ? "" : std::to_string(row->unpacked);
        printf("%8.0f %5.1f%% %10s  %s%s\n", std::round(row->bytes),
               100.0 * row->bytes / static_cast<double>(size), unpacked.c_str(),
               row->isItem ? (Printable(row->entry) + ", ").c_str() : "",
               Printable(row->label).c_str());
    }
    printf("%8llu 100.0%%             the package, its directory included\n",
           static_cast<unsigned long long>(size));
}

/// Reads all that `dpk build --small` would pack.
/// @return false after an error line
static bool ReadEntries(const ListedPackage& package, std::vector<PieceEntry>* entries)
{
    std::set<std::string> seen;
    for (const ListedEntry& entry : package.entries)
    {
        if (!seen.insert(entry.name).second)
        {
            continue; // the first of a name is found
        }
        entries->push_back({entry.name, {}, false});
        if (!ReadListedEntry(&package, &entry, &entries->back().bytes))
        {
            return false;
        }
    }
    return true;
}

static std::string BytesText(uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

static void PrintUnused(const std::vector<SizeRow>& rows, const ShrinkReport& report)
{
    for (const SizeRow& row : rows)
    {
        if (row.isUnused)
        {
            printf("unused: \"%s\", %s\n", Printable(row.label).c_str(),
                   BytesText(static_cast<uint64_t>(row.bytes)).c_str());
        }
    }
    for (const std::string& item : report.items)
    {
        printf("unused: %s, no clip reaches it\n", Printable(item).c_str());
    }
    for (const std::string& file : report.files)
    {
        printf("unused: \"%s\", no clip reaches it\n", Printable(file).c_str());
    }
}

/// @return false after an error line
static bool PackSmaller(PieceEntry* entry)
{
    Bytes data;
    Bytes small;
    const bool isPacked = entry->name.ends_with(".xmlz") || entry->name.ends_with(".model");
    if (!isPacked || UnpackContainer(entry->bytes, &data) != nullptr)
    {
        return true; // a build takes it as it is
    }
    const std::string text(data.begin(), data.end());
    const std::string bare = LayOutText(text, TextLayout::kBare);
    TiXmlDocument document;
    if (ParseText(text, &document) && SaysTheSame(document, bare))
    {
        data.assign(bare.begin(), bare.end());
    }
    if (!PackSmallContainer(data, &small))
    {
        return false;
    }
    if (small.size() < entry->bytes.size())
    {
        entry->bytes = small;
    }
    return true;
}

/// @param entries   of the package without what nothing uses; they are packed smaller
/// @return false after an error line
static bool PrintSavings(const ListedPackage& package, std::vector<PieceEntry>* entries)
{
    std::map<std::string, size_t> sizes;
    for (PieceEntry& entry : *entries)
    {
        if (!PackSmaller(&entry))
        {
            return false;
        }
        sizes[entry.name] = entry.bytes.size();
    }
    uint64_t saved = 0;
    for (const ListedEntry& entry : package.entries)
    {
        const auto found = sizes.find(entry.name);
        if (found == sizes.end())
        {
            saved += entry.size + kPackageEntrySize;
            printf("would go: \"%s\", %s and %u of the directory\n", Printable(entry.name).c_str(),
                   BytesText(entry.size).c_str(), kPackageEntrySize);
        }
        else if (found->second < entry.size)
        {
            saved += entry.size - found->second;
            printf("would shrink: \"%s\" by %s, to %zu\n", Printable(entry.name).c_str(),
                   BytesText(entry.size - found->second).c_str(), found->second);
        }
    }
    printf("would shrink: all of them by %s\n", BytesText(saved).c_str());
    return true;
}

/// Items stand for their documents where they could be measured.
static bool WritePicture(const std::string& path, const std::vector<SizeRow>& rows)
{
    std::vector<TreemapCell> cells;
    for (size_t i = 0; i < rows.size(); ++i)
    {
        const bool hasItems = !rows[i].isItem && i + 1 < rows.size() && rows[i + 1].isItem;
        if (hasItems || rows[i].bytes <= 0.0)
        {
            continue;
        }
        const std::string& entry = rows[i].entry;
        const uint32_t group = rows[i].isItem              ? 0
                               : entry.ends_with(".model") ? 2
                               : entry.ends_with(".xmlz")  ? 0
                                                           : 1;
        cells.push_back({Printable(rows[i].label) + " " +
                             std::to_string(static_cast<uint64_t>(std::round(rows[i].bytes))),
                         rows[i].bytes, rows[i].isUnused ? 4 : group});
    }
    const std::string svg = DrawTreemap(cells, 1200, 800);
    return ReplaceFile(path, reinterpret_cast<const unsigned char*>(svg.data()), svg.size());
}

bool PrintPackageSizes(const std::string& path, const SizeOptions& options)
{
    ListedPackage package;
    if ((!options.picture.empty() &&
         !MayOverwrite(options.picture, FileKind::kDrawing, options.isForced)) ||
        !OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    std::vector<SizeRow> rows;
    std::vector<PieceEntry> entries;
    ShrinkReport report;
    bool isDone = MeasurePackage(&package, &rows) && ReadEntries(package, &entries) &&
                  ShrinkPiece(&entries, &report);
    if (isDone)
    {
        PrintTable(rows, PackageSize(package));
        PrintUnused(rows, report);
    }
    isDone = isDone && (!options.triesSmall || PrintSavings(package, &entries));
    ClosePackage(&package);
    return isDone && (options.picture.empty() || WritePicture(options.picture, rows));
}
