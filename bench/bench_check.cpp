// SPDX-License-Identifier: MIT

// A check beside parsing the same text: the sample piece, and a document of 1 MB.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <random>
#include <string>
#include <tinyxml.h>

#include "engine/check/base_document.h"
#include "engine/check/check_piece.h"
#include "engine/data/document_text.h"
#include "support/package_builder.h"

/// The base document with so many envelopes that it has a megabyte, of numbers that do not repeat:
/// a package of less is not worth the memory of its document, and refused.
static std::string LargeDocument()
{
    std::minstd_rand random(1);
    const auto piece = [&random](std::string* envelopes)
    {
        char line[128];
        snprintf(line, sizeof(line),
                 "    <piece type=\"1\" length=\"%u\"><p>0.%06u</p><p>%u.%05u</p></piece>\n",
                 static_cast<unsigned>(random() % 900 + 100),
                 static_cast<unsigned>(random() % 1000000), static_cast<unsigned>(random() % 100),
                 static_cast<unsigned>(random() % 100000));
        *envelopes += line;
    };
    std::string text = kBaseDocument;
    std::string envelopes;
    while (envelopes.size() < 1000000)
    {
        envelopes += "  <envelope type=\"0\" loop_type=\"0\" loop_begin=\"0\" loop_end=\"0\">\n";
        for (int i = 0; i < 3; ++i)
        {
            piece(&envelopes);
        }
        envelopes += "  </envelope>\n";
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
    CheckResult first;
    CheckPiece(&request, &first);
    if (first.demoText.size() < 1000000)
    {
        state.SkipWithError("the document was refused");
    }
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
