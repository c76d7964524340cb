// What loading costs: lookups in the package, and a document of 1 MB from its entry to its records.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/animation/envelope.h"
#include "engine/data/compressed_entry.h"
#include "engine/data/demo_document.h"
#include "engine/data/document_text.h"
#include "engine/data/package_file.h"
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

static void ParseDocument(benchmark::State& state)
{
    std::string text = LargeDocument();
    FaultList faults;
    StartFaults(&faults);
    for ([[maybe_unused]] auto _ : state)
    {
        TiXmlDocument tree;
        LoadFromString(&tree, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(ParseDocument)->Unit(benchmark::kMillisecond);

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
