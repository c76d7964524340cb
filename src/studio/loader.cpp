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

static constexpr uint64_t kDrawingBit = uint64_t{1} << 63;
static constexpr uint32_t kFramesShift = 32;

/// For the seek of the thread: told in one number, which the window reads at any time.
struct ThreadSeek
{
    Loader* loader;
    PastPlayed past;
};

static bool IsWanted(const SeekProgress& progress, void* user)
{
    ThreadSeek* seek = static_cast<ThreadSeek*>(user);
    NotePast(progress.isDrawing, progress.frames - progress.done, &seek->past);
    seek->loader->past = (seek->past.isDrawing ? kDrawingBit : 0) |
                         (uint64_t{seek->past.frames & 0x7FFFFFFFu} << kFramesShift) |
                         seek->past.left;
    return !seek->loader->mustLeave;
}

PastPlayed LoaderPast(const Loader* loader)
{
    const uint64_t past = loader->past;
    return {(past & kDrawingBit) != 0, static_cast<uint32_t>((past & ~kDrawingBit) >> kFramesShift),
            static_cast<uint32_t>(past & 0xFFFFFFFFu)};
}

void LeaveSeek(Loader* loader)
{
    loader->mustLeave = true;
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
    if (outcome->isLoaded)
    {
        ThreadSeek seek = {loader, {}};
        const SeekPatience patience = {IsWanted, &seek};
        const SeekEnd end =
            SeekPieceInParts(slot->stage, request.tick, kStudioStride, &patience, &faults);
        outcome->isLoaded = end != SeekEnd::kFailed;
        outcome->isLeft = end == SeekEnd::kLeft;
    }
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
    loader->mustLeave = false;
    loader->past = 0;
    loader->beganMs = SDL_GetTicks();
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
        LeaveSeek(loader);
        loader->thread.join();
        loader->isRunning = false;
    }
}
