// SPDX-License-Identifier: MIT

// EvaluateEnvelope, each function at times that the cache does not hold and at one that it does,
// and the plain form beside it.

#include <benchmark/benchmark.h>
#include <iterator>

#include "engine/animation/envelope.h"
#include "engine/animation/make_envelope.h"
#include "engine/animation/plain_envelope.h"

static Envelope MakeFunction(int64_t function)
{
    switch (function)
    {
    case kFunctionConstant:
        return MakeOnePiece(kFunctionConstant, {3.0f});
    case kFunctionLinear:
        return MakeOnePiece(kFunctionLinear, {0.25f, 1.0f});
    case kFunctionQuadratic:
        return MakeOnePiece(kFunctionQuadratic, {0.01f, 100.0f, 2.0f});
    case kFunctionSinus:
        return MakeOnePiece(kFunctionSinus, {2.0f, 0.01f, 0.5f, 1.0f});
    case kFunctionSpline:
        return MakeOnePiece(kFunctionSpline, {0,   0, 100, 3, 250, 7, 300, 2, 400,  9, 520,  1,
                                              600, 4, 710, 6, 800, 8, 930, 5, 1000, 2, 1100, 3});
    default:
        return MakeOnePiece(kFunctionSinusX, {0.5f, 0.01f, 0.5f, 1.0f, 2.0f});
    }
}

/// The times of a run: a step on in each round, as a piece plays, or anywhere, as a fold or several
/// callers make it.
enum Times : int64_t
{
    kTimesInOrder = 0,
    kTimesAnywhere = 1,
};

/// Calls `evaluate` at times from 0 to 1099, inside the spline.
template <typename Evaluate>
static void EvaluateMisses(benchmark::State& state, Evaluate evaluate)
{
    const Envelope envelope = MakeFunction(state.range(0));
    EnvelopeCache cache = kEmptyEnvelopeCache;
    static uint32_t times[65536]; // more than a branch predictor learns
    uint32_t random = 1;
    for (uint32_t i = 0; i < std::size(times); ++i)
    {
        random = random * 1664525 + 1013904223;
        times[i] = state.range(1) == kTimesInOrder ? i % 1100 : (random >> 8) % 1100;
    }

    uint32_t i = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(evaluate(&envelope, &cache, times[i]));
        i = (i + 1) % std::size(times);
    }
    state.SetItemsProcessed(state.iterations());
}

/// As far away as the engine's own, whose body no caller sees either.
[[gnu::noinline]] static float CallPlain(const Envelope* envelope, EnvelopeCache* cache,
                                         uint32_t time)
{
    return PlainEvaluateEnvelope(envelope, cache, time);
}

/// The engine's own; tests have overloads of it.
static constexpr float (*kEvaluate)(const Envelope*, EnvelopeCache*, uint32_t) = EvaluateEnvelope;

static void BM_EvaluateEnvelope(benchmark::State& state)
{
    EvaluateMisses(state, kEvaluate);
}

static void BM_PlainEvaluateEnvelope(benchmark::State& state)
{
    EvaluateMisses(state, CallPlain);
}

static void BM_EvaluateEnvelopeCached(benchmark::State& state)
{
    const Envelope envelope = MakeFunction(state.range(0));
    EnvelopeCache cache = kEmptyEnvelopeCache;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(EvaluateEnvelope(&envelope, &cache, 500));
    }
    state.SetItemsProcessed(state.iterations());
}

/// A frame's work at its worst: a table of envelopes of five pieces that swing, each asked once a
/// tick, so that neither the cached result nor the processor's caches help much.
template <typename Evaluate>
static void EvaluateTable(benchmark::State& state, Evaluate evaluate)
{
    static Envelope envelopes[512];
    static EnvelopeCache caches[512];
    for (Envelope& envelope : envelopes)
    {
        envelope = MakeEnvelope();
        for (int64_t function = 1; function <= 5; ++function)
        {
            const Envelope one = MakeFunction(function);
            AddPiece(&envelope, one.pieceType[0], 500, {});
            for (uint32_t k = 0; k < kEnvelopeParams; ++k)
            {
                envelope.pieceParams[function - 1][k] = one.pieceParams[0][k];
            }
        }
        envelope.loopType = kLoopPingPong;
        envelope.loopEnd = 2500.0f;
        PrepareSplines(&envelope);
    }

    for (EnvelopeCache& cache : caches)
    {
        cache = kEmptyEnvelopeCache;
    }
    uint32_t time = 1700; // inside the splines, and on
    for ([[maybe_unused]] auto _ : state)
    {
        for (size_t i = 0; i < std::size(envelopes); ++i)
        {
            benchmark::DoNotOptimize(evaluate(&envelopes[i], &caches[i], time));
        }
        time = time == 1999 ? 1700 : time + 1;
    }
    state.SetItemsProcessed(state.iterations() * 512);
}

static void BM_EvaluateTable(benchmark::State& state)
{
    EvaluateTable(state, kEvaluate);
}

static void BM_PlainEvaluateTable(benchmark::State& state)
{
    EvaluateTable(state, CallPlain);
}

static void ForEachFunction(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"function", "anywhere"});
    for (int64_t function = 0; function <= 5; ++function)
    {
        bench->Args({function, kTimesInOrder});
        bench->Args({function, kTimesAnywhere});
    }
}

BENCHMARK(BM_EvaluateEnvelope)->Apply(ForEachFunction);
BENCHMARK(BM_PlainEvaluateEnvelope)->Apply(ForEachFunction);
BENCHMARK(BM_EvaluateEnvelopeCached)->ArgName("function")->DenseRange(0, 5);
BENCHMARK(BM_EvaluateTable);
BENCHMARK(BM_PlainEvaluateTable);
