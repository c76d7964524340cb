// SPDX-License-Identifier: MIT
#include "played_document.h"

#include "engine/data/document_values.h"
#include "engine/render/frame.h"
#include "engine/render/piece_run.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"

/// The loading screen while the demo is read.
struct Screen
{
    PieceRun* run;
    uint32_t done;
};

static uint32_t Draw(PieceRun* run, RunDocument document, uint32_t tick)
{
    const FrameSources sources = RunSources(run, document);
    const FrameRequest request = {1.6f, tick, 640, 480};
    return RenderFrame(&sources, &request);
}

static void ShowProgress(void* user)
{
    Screen* screen = static_cast<Screen*>(user);
    screen->done += 1;
    Draw(screen->run, RunDocument::kLoading,
         100 * screen->done / CountItems(&screen->run->piece.demo));
}

/// @return false after a fault
static bool Load(PieceRun* run, const std::string& package)
{
    FaultList* faults = run->faults;
    if (!OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()), package.size(),
                           &run->piece.package, faults) ||
        LoadRunDocument(run, RunDocument::kLoading, nullptr) == LoadResult::kFailed)
    {
        return false;
    }
    Screen screen = {run, 0};
    const LoadWatcher watcher = {nullptr, ShowProgress, &screen};
    const LoadResult loaded = LoadRunDocument(run, RunDocument::kDemo, &watcher);
    if (loaded == LoadResult::kFailed)
    {
        return false;
    }
    const DemoDocument* last =
        loaded == LoadResult::kLoaded ? &run->piece.demo : &run->piece.loading;
    faults->place = PlaceAt(last->name, Section::kMusic);
    return RequireElement(last->musicNode, "the node", faults) != nullptr;
}

static PlayedTo Play(PieceRun* run, const std::string& package)
{
    if (!Load(run, package))
    {
        return PlayedTo::kFault;
    }
    uint32_t tick = 0;
    while (tick < kPlayedTicks && Draw(run, RunDocument::kDemo, tick) != 0)
    {
        ++tick;
    }
    if (HasFailed(run->faults))
    {
        return PlayedTo::kFault;
    }
    return tick < kPlayedTicks ? PlayedTo::kEnd : PlayedTo::kNever;
}

PlayedTo PlayPackage(const std::string& package, std::string* fault)
{
    ResetGl();
    MuteGl(true);
    FaultList faults;
    StartFaults(&faults);
    PieceRun run = {};
    PlayedTo played = PlayedTo::kFault;
    if (StartRun(&run, &faults))
    {
        run.features = {1, 1, 1, 1};
        played = Play(&run, package);
    }
    *fault = FaultText(faults);
    CloseRun(&run);
    FreeFaults(&faults);
    return played;
}
