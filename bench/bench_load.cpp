// SPDX-License-Identifier: MIT

// What loading costs: lookups in the package, a document of 1 MB from its entry to its records, an
// image, and whole pieces over an OpenGL that does nothing.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <vector>

#include "big_piece.h"
#include "compare.h"
#include "engine/animation/envelope.h"
#include "engine/data/compressed_entry.h"
#include "engine/data/cos_table.h"
#include "engine/data/demo_document.h"
#include "engine/data/document_text.h"
#include "engine/data/package_file.h"
#include "engine/piece/read_ahead.h"
#include "engine/render/piece_run.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/decode_image.h"
#include "stb_decoder.h"
#include "support/package_builder.h"

/// A package in memory, open.
struct OpenedPackage
{
    std::string bytes;
    PackageFile file;
    FaultList faults;
};

static void OpenPackage(const std::vector<PackageEntry>& entries, OpenedPackage* package)
{
    StartFaults(&package->faults);
    package->bytes = MakePackage(entries);
    OpenPackageMemory(reinterpret_cast<const unsigned char*>(package->bytes.data()),
                      package->bytes.size(), &package->file, &package->faults);
}

static std::string EntryName(int64_t n)
{
    return "textures/entry-" + std::to_string(n) + ".png";
}

/// A lookup of the entry in the middle of the directory, as a piece does on the average.
static void ReadPackageEntryOf(benchmark::State& state)
{
    std::vector<PackageEntry> entries;
    for (int64_t n = 0; n < state.range(0); ++n)
    {
        entries.push_back({EntryName(n), std::string(100, 'x')});
    }
    OpenedPackage package;
    OpenPackage(entries, &package);
    std::string name = EntryName(state.range(0) / 2);
    for ([[maybe_unused]] auto _ : state)
    {
        int32_t size = 0;
        unsigned char* data = ReadPackageEntry(&package.file, name.c_str(), &size, &package.faults);
        benchmark::DoNotOptimize(data);
        free(data);
    }
    ClosePackage(&package.file);
}
BENCHMARK(ReadPackageEntryOf)->Arg(10)->Arg(1000);

/// A document of envelopes, about 1 MB of text.
static std::string LargeDocument()
{
    DocumentSource source;
    for (int n = 0; n < 2400; ++n)
    {
        source.sections[3] += "<envelope type=\"0\" loop_type=\"1\" loop_begin=\"0\" loop_end=\"" +
                              std::to_string(100 + n) + "\">\n";
        for (int piece = 0; piece < 3; ++piece)
        {
            source.sections[3] += "  <piece type=\"3\" length=\"400\">\n    <p>0.5</p><p>0.01</p>"
                                  "<p>-12.75</p><p>1.25</p>\n  </piece>\n";
        }
        source.sections[3] += "</envelope>\n";
    }
    source.music = "<music file=\"a.xm\"/>";
    return MakeDocumentText(source);
}

static void InflateDocument(benchmark::State& state)
{
    std::string text = LargeDocument();
    OpenedPackage package;
    OpenPackage({{"demo.xmlz", MakeContainer(text)}}, &package);
    for ([[maybe_unused]] auto _ : state)
    {
        InflatedEntry entry;
        InflatePackageEntry(&package.file, "demo.xmlz", 0, kLargestText, &entry, &package.faults);
        FreeInflatedEntry(&entry);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
    ClosePackage(&package.file);
}
BENCHMARK(InflateDocument)->Unit(benchmark::kMillisecond);

/// Beside TinyXML's own parse of the same text.
static void ParseDocument(benchmark::State& state)
{
    const std::string text = LargeDocument();
    FaultList faults;
    StartFaults(&faults);
    CompareForms(state, {{"tinyxml",
                          [&]
                          {
                              TiXmlDocument tree;
                              tree.Parse(text.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
                          }},
                         {"engine", [&]
                          {
                              TiXmlDocument tree;
                              LoadFromString(
                                  &tree, reinterpret_cast<const unsigned char*>(text.data()),
                                  static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
                          }}});
}
BENCHMARK(ParseDocument);

/// From the package entry to the records of section 3.
static void LoadWholeDocument(benchmark::State& state)
{
    std::string text = LargeDocument();
    OpenedPackage package;
    OpenPackage({{"demo.xmlz", MakeContainer(text)}}, &package);
    std::vector<SectionReader> readers(kSectionCount);
    readers[3] = {&DemoDocument::envelopes, sizeof(Envelope), 0,      nullptr,
                  ReadEnvelopeItem,         nullptr,          nullptr};
    for ([[maybe_unused]] auto _ : state)
    {
        DemoDocument demo = {};
        demo.name = "demo.xmlz";
        LoadDocument(&package.file, &demo, &package.faults);
        ReadContext context = {};
        context.document = &demo;
        context.package = &package.file;
        context.faults = &package.faults;
        ReadSections(readers.data(), &context);
        FreeDocument(readers.data(), &demo);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
    ClosePackage(&package.file);
}
BENCHMARK(LoadWholeDocument)->Unit(benchmark::kMillisecond);

// ---- Whole pieces, over an OpenGL that does nothing

/// Where a load spends its time.
struct LoadClock
{
    PieceRun* run;
    double last;                        // microseconds
    double sections[kSectionCount + 1]; // the last one is the document's text
};

static void NoteSection(void* user)
{
    LoadClock* clock = static_cast<LoadClock*>(user);
    const double now = Microseconds();
    const int32_t section = static_cast<int32_t>(clock->run->faults->place.section);
    const int32_t place = section < 0 || section >= kSectionCount ? kSectionCount : section;
    clock->sections[place] += now - clock->last;
    clock->last = now;
}

/// Loads the demo of a piece.
/// @param clock   receives the times, upload and state of an item among those of its section; null
///                where nobody looks
static void LoadDemo(const std::string& package, uint32_t threads, LoadClock* clock)
{
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    if (!StartRun(&run, &faults) ||
        !OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()), package.size(),
                           &run.piece.package, &faults))
    {
        abort();
    }
    run.features = {1, 1, 1, 1};
    run.threads = threads;
    LoadClock unused = {};
    clock = clock == nullptr ? &unused : clock;
    *clock = {&run, Microseconds(), {}};
    // Looking comes before an item is uploaded, and the end of the item after that.
    const LoadWatcher watcher = {NoteSection, NoteSection, clock};
    if (LoadRunDocument(&run, RunDocument::kDemo, &watcher) != LoadResult::kLoaded)
    {
        PrintFault(GetFault(&faults, 0), "bench_load");
        abort();
    }
    CloseRun(&run);
}

static void BuildTables()
{
    BuildCosTable();
    BuildCornerMasks();
}

/// A big piece with one thread, with two and with as many as there are processors.
static void LoadBigPiece(benchmark::State& state)
{
    BuildTables();
    const std::string package = MakeBigPiece(kBigPiece);
    const uint32_t all = CountLoadingThreads(nullptr);
    CompareForms(state, {{"threads1",
                          [&]
                          {
                              LoadDemo(package, 1, nullptr);
                          }},
                         {"threads2",
                          [&]
                          {
                              LoadDemo(package, 2, nullptr);
                          }},
                         {"threadsAll", [&]
                          {
                              LoadDemo(package, all, nullptr);
                          }}});
    state.counters["processors"] = all;
}
BENCHMARK(LoadBigPiece)->Iterations(6);

/// Its steps, one thread.
static void LoadBigPieceSteps(benchmark::State& state)
{
    BuildTables();
    const std::string package = MakeBigPiece(kBigPiece);
    std::vector<double> shortest(kSectionCount + 1, 1e30);
    while (state.KeepRunning())
    {
        LoadClock clock;
        LoadDemo(package, 1, &clock);
        for (size_t i = 0; i < shortest.size(); ++i)
        {
            shortest[i] = std::min(shortest[i], clock.sections[i]);
        }
    }
    static constexpr const char* kNames[kSectionCount + 1] = {
        "layers",  "textures",  "models",     "envelopes", "lights",   "effects",
        "bitmaps", "materials", "gen_meshes", "scenes",    "timeline", "text"};
    for (size_t i = 0; i < shortest.size(); ++i)
    {
        state.counters[kNames[i]] = shortest[i];
    }
}
BENCHMARK(LoadBigPieceSteps)->Iterations(6);

/// One thread, and one, four and sixteen times as much of one kind.
static void LoadGrowth(benchmark::State& state, PieceSize size, uint32_t PieceSize::*kind)
{
    BuildTables();
    size.*kind *= static_cast<uint32_t>(state.range(0));
    const std::string package = MakeBigPiece(size);
    CompareForms(state, {{"engine", [&]
                          {
                              LoadDemo(package, 1, nullptr);
                          }}});
}
#define GROWTH Arg(1)->Arg(4)->Arg(16)
BENCHMARK_CAPTURE(LoadGrowth, layers, {12, 0, 0, 0, 0, 0, 0}, &PieceSize::layers)->GROWTH;
BENCHMARK_CAPTURE(LoadGrowth, textures, {12, 11, 0, 0, 0, 0, 0}, &PieceSize::textures)->GROWTH;
BENCHMARK_CAPTURE(LoadGrowth, bitmaps, {0, 0, 4, 0, 0, 0, 0}, &PieceSize::bitmaps)->GROWTH;
BENCHMARK_CAPTURE(LoadGrowth, models, {0, 0, 0, 0, 10, 1000, 0}, &PieceSize::models)->GROWTH;
BENCHMARK_CAPTURE(LoadGrowth, vertices, {0, 0, 0, 0, 10, 1000, 0}, &PieceSize::modelVertices)
    ->GROWTH;
BENCHMARK_CAPTURE(LoadGrowth, envelopes, {0, 0, 0, 0, 0, 0, 200}, &PieceSize::envelopes)->GROWTH;

/// An image file of 512x512 pixels, beside the decoder alone.
static void DecodeImageFile(benchmark::State& state)
{
    const std::string png = MakePng(1);
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(png.data());
    const int32_t size = static_cast<int32_t>(png.size());
    CompareForms(state, {{"stb",
                          [&]
                          {
                              free(StbDecode(bytes, size));
                          }},
                         {"engine", [&]
                          {
                              DecodedImage image;
                              const char* reason = nullptr;
                              DecodeImage(bytes, size, 1u << 30, &image, &reason);
                              free(image.pixels);
                          }}});
}
BENCHMARK(DecodeImageFile);
