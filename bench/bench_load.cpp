// What loading costs: lookups in the package, and a document of 1 MB from its entry to its records.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/animation/envelope.h"
#include "engine/data/compressed_entry.h"
#include "engine/data/demo_document.h"
#include "engine/data/document_text.h"
#include "engine/data/package_file.h"
#include "support/byte_file.h"
#include "support/package_builder.h"

static FILE* OpenPackage(const std::vector<PackageEntry>& entries)
{
    std::string package = MakePackage(entries);
    return OpenBytes(Bytes(package.begin(), package.end()));
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
    FILE* package = OpenPackage(entries);
    std::string name = EntryName(state.range(0) / 2);
    for ([[maybe_unused]] auto _ : state)
    {
        int32_t size = 0;
        unsigned char* data = ReadPackageEntry(package, name.c_str(), &size);
        benchmark::DoNotOptimize(data);
        free(data);
    }
    fclose(package);
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
    FILE* package = OpenPackage({{"demo.xmlz", MakeContainer(text)}});
    for ([[maybe_unused]] auto _ : state)
    {
        InflatedEntry entry;
        InflatePackageEntry(package, "demo.xmlz", 0, &entry);
        FreeInflatedEntry(&entry);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
    fclose(package);
}
BENCHMARK(InflateDocument)->Unit(benchmark::kMillisecond);

static void ParseDocument(benchmark::State& state)
{
    std::string text = LargeDocument();
    for ([[maybe_unused]] auto _ : state)
    {
        TiXmlDocument tree;
        LoadFromString(&tree, reinterpret_cast<const unsigned char*>(text.data()),
                       static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
}
BENCHMARK(ParseDocument)->Unit(benchmark::kMillisecond);

/// From the package entry to the records of section 3.
static void LoadWholeDocument(benchmark::State& state)
{
    std::string text = LargeDocument();
    FILE* package = OpenPackage({{"demo.xmlz", MakeContainer(text)}});
    std::vector<SectionReader> readers(kSectionCount);
    readers[3] = {&DemoDocument::envelopes, sizeof(Envelope), 0, nullptr,
                  ReadEnvelopeItem,         nullptr};
    for ([[maybe_unused]] auto _ : state)
    {
        TiXmlDocument tree;
        LoadDocument(package, "demo.xmlz", &tree);
        DemoDocument demo = {};
        demo.name = "demo.xmlz";
        demo.document = &tree;
        LoadContext context = {};
        context.document = &demo;
        context.package = package;
        ReadSections(readers.data(), &context);
        FreeObjectTable(demo.envelopes);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(text.size()));
    fclose(package);
}
BENCHMARK(LoadWholeDocument)->Unit(benchmark::kMillisecond);
