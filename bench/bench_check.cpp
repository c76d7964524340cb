// SPDX-License-Identifier: MIT

// A check beside parsing the same text: the sample piece, and a document of 1 MB.
#include <benchmark/benchmark.h>
#include <string>
#include <tinyxml.h>

#include "engine/check/base_document.h"
#include "engine/check/check_piece.h"
#include "engine/data/document_text.h"
#include "support/package_builder.h"

/// The base document with so many envelopes that it has a megabyte.
static std::string LargeDocument()
{
    static constexpr char kEnvelope[] =
        "  <envelope type=\"0\" loop_type=\"0\" loop_begin=\"0\" loop_end=\"0\">\n"
        "    <piece type=\"1\" length=\"200\"><p>0.01</p><p>1</p></piece>\n"
        "    <piece type=\"1\" length=\"200\"><p>0.02</p><p>1</p></piece>\n"
        "    <piece type=\"1\" length=\"200\"><p>0.03</p><p>1</p></piece>\n"
        "  </envelope>\n";
    std::string text = kBaseDocument;
    std::string envelopes;
    while (envelopes.size() < 1000000)
    {
        envelopes += kEnvelope;
    }
    return text.insert(text.find("</envelopes>"), envelopes);
}

static void ParseLarge(benchmark::State& state)
{
    const std::string text = LargeDocument();
    for (auto _ : state)
    {
        TiXmlDocument document;
        FaultList faults;
        StartFaults(&faults);
        benchmark::DoNotOptimize(
            LoadFromString(&document, reinterpret_cast<const unsigned char*>(text.data()),
                           static_cast<long>(text.size()), TIXML_ENCODING_UNKNOWN, &faults));
    }
}
BENCHMARK(ParseLarge)->Unit(benchmark::kMillisecond);

static void CheckLarge(benchmark::State& state)
{
    const std::string package = MakePackage({{"demo.xmlz", MakeContainer(LargeDocument())}});
    const CheckRequest request = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                  package.size(), nullptr};
    for (auto _ : state)
    {
        CheckResult result;
        CheckPiece(&request, &result);
        benchmark::DoNotOptimize(result.findings.data());
    }
}
BENCHMARK(CheckLarge)->Unit(benchmark::kMillisecond);

static void CheckSamplePiece(benchmark::State& state)
{
    const CheckRequest request = {PACKAGE, nullptr, 0, nullptr};
    for (auto _ : state)
    {
        CheckResult result;
        CheckPiece(&request, &result);
        benchmark::DoNotOptimize(result.findings.data());
    }
}
BENCHMARK(CheckSamplePiece)->Unit(benchmark::kMillisecond);
