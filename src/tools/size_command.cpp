// SPDX-License-Identifier: MIT
#include "tools/size_command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "engine/check/check_piece.h"
#include "tools/container.h"
#include "tools/report.h"
#include "tools/size_report.h"
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

static void PrintUnused(const std::string& path, const std::vector<SizeRow>& rows)
{
    for (const SizeRow& row : rows)
    {
        if (row.isUnused)
        {
            printf("unused: \"%s\", %.0f bytes\n", Printable(row.label).c_str(), row.bytes);
        }
    }
    const CheckRequest request = {path.c_str(), nullptr, 0, nullptr};
    CheckResult result;
    CheckPiece(&request, &result);
    for (const Finding& finding : result.findings)
    {
        if (finding.rule == Rule::kUnusedItem && finding.place.document != nullptr)
        {
            printf("unused: %s, %s\n", finding.place.document, Printable(finding.text).c_str());
        }
    }
}

/// @return false after an error line
static bool PrintSavings(const ListedPackage& package)
{
    uint64_t saved = 0;
    for (const ListedEntry& entry : package.entries)
    {
        Bytes bytes;
        Bytes data;
        Bytes small;
        if (!ReadListedEntry(&package, &entry, &bytes))
        {
            return false;
        }
        if (UnpackContainer(bytes, &data) != nullptr || !PackSmallContainer(data, &small) ||
            small.size() >= bytes.size())
        {
            continue;
        }
        saved += bytes.size() - small.size();
        printf("would shrink: \"%s\" by %zu bytes, to %zu\n", Printable(entry.name).c_str(),
               bytes.size() - small.size(), small.size());
    }
    printf("would shrink: all of them by %llu bytes\n", static_cast<unsigned long long>(saved));
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
    if (!OpenPackage(path, PackageUse::kReading, &package))
    {
        return false;
    }
    std::vector<SizeRow> rows;
    bool isDone = MeasurePackage(&package, &rows);
    if (isDone)
    {
        PrintTable(rows, PackageSize(package));
        PrintUnused(path, rows);
    }
    isDone = isDone && (!options.triesSmall || PrintSavings(package));
    ClosePackage(&package);
    return isDone && (options.picture.empty() || WritePicture(options.picture, rows));
}
