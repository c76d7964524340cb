// SPDX-License-Identifier: MIT
#include "player/load_piece.h"

#include <SDL.h>
#include <cassert>

static constexpr uint32_t kTickMs = 50;              // the least time between two loading frames
static constexpr uint32_t kLoadingTimelineEnd = 100; // ticks, the length of a loading timeline

/// On screen while the demo is built.
struct LoadingScreen
{
    PieceRun* run;     // borrowed
    const View* view;  // borrowed
    uint32_t total;    // items of the demo; 0 until its text is read
    uint32_t done;     // items finished
    uint32_t lastTick; // ms, SDL_GetTicks at the last frame
};

/// Runs after each look into the package.
static void ShowLookups(void* user)
{
    PieceRun* run = static_cast<LoadingScreen*>(user)->run;
    PrintLookupLines(&run->piece.package);
}

/// Runs after each item of the demo.
static void ShowProgress(void* user)
{
    LoadingScreen* screen = static_cast<LoadingScreen*>(user);
    PieceRun* run = screen->run;
    if (screen->done == 0)
    {
        screen->total = CountItems(&run->piece.demo);
    }
    screen->done += 1;
    assert(screen->done <= screen->total);
    if (SDL_GetTicks() - screen->lastTick <= kTickMs)
    {
        return;
    }

    // Drawing says where it is in the loading document, and the demo goes on where it was. The
    // frame's result does not matter: a loading timeline that is over ends nothing.
    const Place place = run->faults->place;
    DrawDocument(run, RunDocument::kLoading, screen->view,
                 kLoadingTimelineEnd * screen->done / screen->total);
    if (HasFailed(run->faults))
    {
        return;
    }
    run->faults->place = place;
    ShowFrame();
    screen->lastTick = SDL_GetTicks();
}

const DemoDocument* LoadPiece(PieceRun* run, const View* view)
{
    LoadingScreen screen = {run, view, 0, 0, 0};
    LoadWatcher watcher = {ShowLookups, nullptr, &screen};
    if (LoadRunDocument(run, RunDocument::kLoading, &watcher) == LoadResult::kFailed)
    {
        return nullptr;
    }

    screen.lastTick = SDL_GetTicks();
    watcher.itemDone = ShowProgress;
    switch (LoadRunDocument(run, RunDocument::kDemo, &watcher))
    {
    case LoadResult::kLoaded:
        return &run->piece.demo;
    case LoadResult::kMissing:
        return &run->piece.loading;
    default:
        return nullptr;
    }
}
