// SPDX-License-Identifier: MIT

// A seek into the middle of the sample piece, against playing up to there.
//
// FirstSeek knows nothing of the piece: it runs all that lies before without drawing. LaterSeek
// goes to and fro between places that were sought before. The counter `share` is the time as a part
// of the run's; `drawn` and `skipped` are frames.
#include <GL/glew.h>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "engine/data/cos_table.h"
#include "engine/stage/egl_display.h"
#include "engine/stage/stage.h"
#include "engine/textures/corner_masks.h"

static constexpr int32_t kWidth = 320;
static constexpr int32_t kHeight = 240;
static constexpr uint32_t kMiddle = 4800; // ticks
static constexpr uint32_t kStride = 4;    // 25 frames a second

/// Opened once; the same for all that is measured.
struct Theatre
{
    EglDisplay display;
    StageView view;
    FaultList faults;
    double playSeconds; // from the start to the middle; 0 before that was measured
};

static void Require(bool good, const FaultList* faults)
{
    if (!good)
    {
        fprintf(stderr, "bench_seek: %s\n", faults->first.text);
        abort();
    }
}

static Theatre* OpenTheatre()
{
    static Theatre theatre = {};
    if (theatre.display.context == nullptr)
    {
        const EglDisplayRequest request = {kWidth, kHeight, 0};
        Require(OpenEglDisplay(&request, &theatre.display, &theatre.faults), &theatre.faults);
        BuildCosTable();
        BuildCornerMasks();
        theatre.view = {kWidth, kHeight, 1.3333334f, theatre.display.features};
    }
    return &theatre;
}

static void OpenSamplePiece(Theatre* theatre, Stage* stage)
{
    const PieceSource source = {PACKAGE, nullptr, 0, true};
    Require(OpenStage(&source, &theatre->view, stage, &theatre->faults), &theatre->faults);
}

static void ShowTick(Theatre* theatre, Stage* stage, uint32_t tick)
{
    Require(SeekPiece(stage, tick, kStride, &theatre->faults), &theatre->faults);
    glFinish();
}

static void PlayToTheMiddle(benchmark::State& state)
{
    Theatre* theatre = OpenTheatre();
    Stage stage;
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        OpenSamplePiece(theatre, &stage);
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        for (uint32_t tick = 0; tick <= kMiddle; tick += kStride)
        {
            ShowTick(theatre, &stage, tick);
        }
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        theatre->playSeconds = spent.count();
        state.PauseTiming();
        CloseStage(&stage);
        state.ResumeTiming();
    }
}

/// Tells the last seek's work, and the mean time of a seek as a share of the run's.
static void TellShare(benchmark::State* state, const Theatre* theatre, const Stage* stage,
                      double seconds)
{
    const double mean = seconds / static_cast<double>(state->iterations());
    state->counters["drawn"] = stage->result.drawnFrames;
    state->counters["skipped"] = stage->result.skippedFrames;
    state->counters["share"] = mean / theatre->playSeconds;
}

static void FirstSeek(benchmark::State& state)
{
    Theatre* theatre = OpenTheatre();
    Stage stage = {};
    double seconds = 0.0;
    for ([[maybe_unused]] auto _ : state)
    {
        state.PauseTiming();
        CloseStage(&stage);
        OpenSamplePiece(theatre, &stage);
        state.ResumeTiming();
        const auto start = std::chrono::steady_clock::now();
        ShowTick(theatre, &stage, kMiddle);
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        seconds += spent.count();
    }
    TellShare(&state, theatre, &stage, seconds);
    CloseStage(&stage);
}

static void LaterSeek(benchmark::State& state)
{
    static constexpr uint32_t kPlaces[] = {kMiddle, 700, 9100, 3300, 6600};
    Theatre* theatre = OpenTheatre();
    Stage stage;
    OpenSamplePiece(theatre, &stage);
    for (const uint32_t place : kPlaces)
    {
        ShowTick(theatre, &stage, place);
    }
    double seconds = 0.0;
    size_t i = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        const auto start = std::chrono::steady_clock::now();
        ShowTick(theatre, &stage, kPlaces[i % std::size(kPlaces)]);
        const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
        seconds += spent.count();
        i += 1;
    }
    TellShare(&state, theatre, &stage, seconds);
    CloseStage(&stage);
}

BENCHMARK(PlayToTheMiddle)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();
BENCHMARK(FirstSeek)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();
BENCHMARK(LaterSeek)->Unit(benchmark::kMillisecond)->Iterations(25)->UseRealTime();
