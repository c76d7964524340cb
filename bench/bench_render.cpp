// SPDX-License-Identifier: MIT

// Rendering to files against bare drawing, on the sample piece from 20 s on, with a second picture
// for every 40 ms.
//
// BareDrawing draws and waits for the driver; the other forms also read each picture back and write
// it. The counter `over` is their time over bare drawing of the same size, 0.15 for 15 % more; it
// is told when bare drawing was measured before. `pictures` is pictures a second.
#include <GL/glew.h>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>

#include "engine/data/cos_table.h"
#include "engine/stage/egl_display.h"
#include "engine/stage/stage.h"
#include "engine/textures/corner_masks.h"
#include "tools/draw_pictures.h"
#include "tools/render_output.h"

static constexpr uint32_t kFrom = 2000; // ticks
static constexpr uint32_t kStep = 4;
static constexpr uint32_t kPictures = 50;

struct Size
{
    int32_t width;
    int32_t height;
};

static constexpr Size kSizes[] = {{640, 480}, {1920, 1080}};

/// Where the pictures go, made anew and removed at the end.
struct Workshop
{
    Workshop() : path("/tmp/bench_render." + std::to_string(getpid()))
    {
        std::filesystem::create_directories(path + "/film.mp4.parts");
    }
    ~Workshop()
    {
        std::filesystem::remove_all(path);
    }
    Workshop(const Workshop&) = delete;
    Workshop& operator=(const Workshop&) = delete;

    std::string path;
};

/// Seconds of bare drawing at a width, in the same run of the program.
static std::map<int32_t, double>& BareSeconds()
{
    static std::map<int32_t, double> seconds;
    return seconds;
}

static RenderSource* OpenSource()
{
    static RenderSource source = {};
    if (source.package.empty() && !ReadWholeFile(PACKAGE, UINT32_MAX, &source.package))
    {
        abort();
    }
    return &source;
}

static RenderPlan MakePlan(const Size& size)
{
    RenderPlan plan = {};
    plan.width = size.width;
    plan.height = size.height;
    plan.samples = 2;
    plan.supersample = 1;
    plan.aspect = 1.7777778f;
    plan.usesVbo = true;
    plan.rate = {25, 1};
    for (uint32_t i = 0; i < kPictures; ++i)
    {
        plan.pictures.push_back({kFrom + i * kStep, false});
    }
    return plan;
}

static void TellRate(benchmark::State& state, const Size& size, double seconds)
{
    const double mean = seconds / static_cast<double>(state.iterations());
    state.counters["pictures"] = kPictures / mean;
    if (BareSeconds().count(size.width) != 0)
    {
        state.counters["over"] = mean / BareSeconds()[size.width] - 1.0;
    }
}

/// Draws all pictures once: the taker gets them, and the driver's start is not counted.
static double DrawOnce(const RenderPlan& plan, const PictureTaker& taker)
{
    std::vector<uint32_t> indices(kPictures);
    for (uint32_t i = 0; i < kPictures; ++i)
    {
        indices[i] = i;
    }
    timespec start = {};
    timespec end = {};
    bool hasStarted = false;
    const PictureTaker timed = [&](uint32_t index, const uint8_t* rgb)
    {
        if (!hasStarted)
        {
            hasStarted = true;
            clock_gettime(CLOCK_MONOTONIC, &start);
            return true;
        }
        return taker(index, rgb);
    };
    if (DrawPictures(plan, *OpenSource(), indices, timed, [] { return false; }) !=
        DrawResult::kDone)
    {
        abort();
    }
    clock_gettime(CLOCK_MONOTONIC, &end);
    return static_cast<double>(end.tv_sec - start.tv_sec) +
           static_cast<double>(end.tv_nsec - start.tv_nsec) * 1e-9;
}

static void BareDrawing(benchmark::State& state)
{
    const Size size = kSizes[state.range(0)];
    const RenderPlan plan = MakePlan(size);
    BuildCosTable();
    BuildCornerMasks();
    FaultList faults;
    StartFaults(&faults);
    const EglDisplayRequest request = {size.width, size.height, plan.samples};
    EglDisplay display = {};
    Stage stage;
    const Bytes& package = OpenSource()->package;
    const PieceSource source = {nullptr, package.data(), package.size(), false};
    if (!OpenEglDisplay(&request, &display, &faults))
    {
        abort();
    }
    const StageView view = {size.width, size.height, plan.aspect, display.features};
    if (!OpenStage(&source, &view, &stage, &faults) ||
        !SeekPiece(&stage, plan.pictures[0].time, 1, &faults))
    {
        abort();
    }
    glFinish();
    double seconds = 0.0;
    for ([[maybe_unused]] auto _ : state)
    {
        timespec start = {};
        timespec end = {};
        clock_gettime(CLOCK_MONOTONIC, &start);
        for (uint32_t i = 1; i < kPictures; ++i)
        {
            if (!SeekPiece(&stage, plan.pictures[i].time, 1, &faults))
            {
                abort();
            }
            glFinish();
        }
        clock_gettime(CLOCK_MONOTONIC, &end);
        seconds += static_cast<double>(end.tv_sec - start.tv_sec) +
                   static_cast<double>(end.tv_nsec - start.tv_nsec) * 1e-9;
        if (!SeekPiece(&stage, plan.pictures[0].time, 1, &faults))
        {
            abort();
        }
    }
    CloseStage(&stage);
    CloseEglDisplay(&display);
    const double mean = seconds / static_cast<double>(state.iterations());
    double& best = BareSeconds()[size.width];
    best = best == 0.0 || mean < best ? mean : best;
    TellRate(state, size, seconds);
}

static void Render(benchmark::State& state, RenderKind kind)
{
    const Size size = kSizes[state.range(0)];
    Workshop workshop;
    RenderPlan plan = MakePlan(size);
    plan.kind = kind;
    plan.out = workshop.path + (kind == RenderKind::kFilm ? "/film.mp4" : "/");
    plan.outEnd = ".png";
    plan.outDigits = 5;
    plan.codec = {"-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"};
    double seconds = 0.0;
    for ([[maybe_unused]] auto _ : state)
    {
        RenderOutput output = {};
        output.plan = &plan;
        output.raw = open("/dev/null", O_WRONLY | O_CLOEXEC);
        seconds += DrawOnce(plan,
                            [&output](uint32_t index, const uint8_t* rgb)
                            {
                                PictureReport report;
                                return WriteOutput(&output, index, rgb, &report);
                            });
        if (!FinishOutput(&output))
        {
            abort();
        }
        close(output.raw);
    }
    TellRate(state, size, seconds);
}

static void Raw(benchmark::State& state)
{
    Render(state, RenderKind::kRaw);
}

static void Png(benchmark::State& state)
{
    Render(state, RenderKind::kPictures);
}

static void Film(benchmark::State& state)
{
    Render(state, RenderKind::kFilm);
}

BENCHMARK(BareDrawing)->DenseRange(0, 1)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Raw)->DenseRange(0, 1)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Png)->DenseRange(0, 1)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(Film)->DenseRange(0, 1)->Unit(benchmark::kMillisecond)->Iterations(1);
