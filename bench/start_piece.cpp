// SPDX-License-Identifier: MIT

// Starts a piece once, as the player does, on the driver and without a window, and tells when its
// pictures were there. A process of its own for each start, since the driver compiles in the first.
//
//   start_piece FILE|big
//
// Prints a name and milliseconds a line, counted from the begin of main but for the loading steps:
// `display`, `first_picture` of the loading screen, `loaded`, `first_demo_picture`, then the
// sections of the demo and its text. QUORVALE_THREADS counts.
#include <GL/glew.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "big_piece.h"
#include "compare.h"
#include "engine/data/cos_table.h"
#include "engine/piece/read_ahead.h"
#include "engine/render/piece_run.h"
#include "engine/stage/egl_display.h"
#include "engine/textures/corner_masks.h"

static constexpr int32_t kWidth = 640;
static constexpr int32_t kHeight = 400;

struct Start
{
    PieceRun run;
    FaultList faults;
    double begin; // microseconds, as all times
    double last;
    double steps[kSectionCount + 1]; // of the demo; the last one is its text
};

static void Require(bool good, const FaultList* faults)
{
    if (!good)
    {
        PrintFault(GetFault(faults, 0), "start_piece");
        exit(1);
    }
}

static void Tell(const char* name, double microseconds)
{
    printf("%s %.3f\n", name, microseconds / 1000.0);
}

static void NoteStep(void* user)
{
    Start* start = static_cast<Start*>(user);
    const double now = Microseconds();
    const int32_t section = static_cast<int32_t>(start->faults.place.section);
    start->steps[section < 0 || section >= kSectionCount ? kSectionCount : section] +=
        now - start->last;
    start->last = now;
}

/// Draws a picture and waits for it.
static void DrawPicture(Start* start, RunDocument document, const EglDisplay* display)
{
    const FrameSources sources = RunSources(&start->run, document);
    const FrameRequest request = {1.6f, 0, kWidth, kHeight};
    RenderFrame(&sources, &request);
    std::string picture(size_t{3} * kWidth * kHeight, 0);
    ReadEglPicture(display, reinterpret_cast<uint8_t*>(picture.data()));
    Require(!HasFailed(&start->faults), &start->faults);
}

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        fprintf(stderr, "usage: start_piece FILE|big\n");
        return 2;
    }
    std::string package;
    if (strcmp(argv[1], "big") == 0)
    {
        package = MakeBigPiece(kBigPiece);
    }
    else
    {
        std::ifstream file(argv[1], std::ios::binary);
        package.assign(std::istreambuf_iterator<char>(file), {});
    }

    static Start start = {};
    start.begin = Microseconds();
    FaultList* faults = &start.faults;
    StartFaults(faults);
    BuildCosTable();
    BuildCornerMasks();
    EglDisplay display = {};
    const EglDisplayRequest request = {kWidth, kHeight, 0};
    Require(OpenEglDisplay(&request, &display, faults), faults);
    Tell("display", Microseconds() - start.begin);

    PieceRun* run = &start.run;
    Require(StartRun(run, faults) &&
                OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()),
                                  package.size(), &run->piece.package, faults),
            faults);
    run->features = display.features;
    run->threads = CountLoadingThreads(getenv("QUORVALE_THREADS"));
    LoadRunDocument(run, RunDocument::kLoading, nullptr);
    DrawPicture(&start, RunDocument::kLoading, &display);
    Tell("first_picture", Microseconds() - start.begin);

    const LoadWatcher watcher = {NoteStep, NoteStep, &start};
    start.last = Microseconds();
    Require(LoadRunDocument(run, RunDocument::kDemo, &watcher) == LoadResult::kLoaded, faults);
    Tell("loaded", Microseconds() - start.begin);
    DrawPicture(&start, RunDocument::kDemo, &display);
    Tell("first_demo_picture", Microseconds() - start.begin);

    static constexpr const char* kNames[kSectionCount + 1] = {
        "layers",  "textures",  "models",     "envelopes", "lights",   "effects",
        "bitmaps", "materials", "gen_meshes", "scenes",    "timeline", "text"};
    for (int32_t i = 0; i <= kSectionCount; ++i)
    {
        Tell(kNames[i], start.steps[i]);
    }
    CloseRun(run);
    CloseEglDisplay(&display);
    return 0;
}
