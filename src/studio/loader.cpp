// SPDX-License-Identifier: MIT
#include "studio/loader.h"

#include <GL/glew.h>
#include <chrono>

#include "studio/fault_lines.h"

static uint32_t MicrosecondsSince(std::chrono::steady_clock::time_point start)
{
    const auto passed = std::chrono::steady_clock::now() - start;
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(passed).count());
}

/// Runs on the thread.
static void Load(Loader* loader)
{
    StageSlot* slot = loader->slot;
    LoadOutcome* outcome = &loader->outcome;
    UseSlot(slot);
    CloseSlotStage(slot);
    slot->package = std::move(loader->request.package);
    slot->stage = new Stage{};

    FaultList faults;
    StartFaults(&faults);
    const LoadRequest& request = loader->request;
    const PieceSource source = {request.path.empty() ? nullptr : request.path.c_str(),
                                slot->package.data(), slot->package.size(), true};
    const auto start = std::chrono::steady_clock::now();
    BeginKeptLoad(&loader->kept);
    const StageReaders readers = {loader->kept.readers, &loader->kept};
    outcome->isLoaded = OpenStageWith(&source, &request.view, &readers, slot->stage, &faults);
    outcome->made = loader->kept.made;
    outcome->kept = loader->kept.kept;
    EndKeptLoad(outcome->isLoaded, &loader->kept);
    if (outcome->isLoaded && !slot->stage->run.piece.hasDemo)
    {
        AddError(&faults, "%s: it has no document demo.xmlz", request.path.c_str());
        outcome->isLoaded = false;
    }
    outcome->loadUs = MicrosecondsSince(start);
    const auto seekStart = std::chrono::steady_clock::now();
    outcome->isLoaded =
        outcome->isLoaded && SeekPiece(slot->stage, request.tick, kStudioStride, &faults);
    glFinish();
    outcome->seekUs = MicrosecondsSince(seekStart);
    outcome->faults = FaultLines(&faults);
    if (!outcome->isLoaded)
    {
        CloseSlotStage(slot);
    }
    FreeFaults(&faults);
    UseNothing();
    loader->isDone = true;
}

void StartLoading(LoadRequest&& request, StageSlot* slot, Loader* loader)
{
    loader->request = std::move(request);
    loader->outcome = {};
    loader->slot = slot;
    loader->isDone = false;
    loader->isRunning = true;
    loader->thread = std::thread(Load, loader);
}

bool TakeLoaded(Loader* loader, LoadOutcome* outcome)
{
    if (!loader->isRunning || !loader->isDone)
    {
        return false;
    }
    loader->thread.join();
    loader->isRunning = false;
    *outcome = std::move(loader->outcome);
    return true;
}

void EndLoading(Loader* loader)
{
    if (loader->isRunning)
    {
        loader->thread.join();
        loader->isRunning = false;
    }
}
