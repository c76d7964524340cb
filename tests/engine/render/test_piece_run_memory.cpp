// SPDX-License-Identifier: MIT

// Loading and drawing a piece while memory runs out, at each allocation in turn.

#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <string>

#include "engine/data/cos_table.h"
#include "engine/render/piece_run.h"
#include "engine/textures/corner_masks.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"

static uint32_t retries; // of allocations by `new` that failed, which are the stand-in's

static void Draw(PieceRun* run, RunDocument document, uint32_t time)
{
    const FrameSources sources = RunSources(run, document);
    const FrameRequest request = {1.6f, time, 640, 480};
    RenderFrame(&sources, &request);
}

static void DrawLoadingScreen(void* user)
{
    Draw(static_cast<PieceRun*>(user), RunDocument::kLoading, 40);
}

/// Loads and draws a piece, up to the first fault.
static void Play(const std::string& package, PieceRun* run, FaultList* faults)
{
    if (!StartRun(run, faults) ||
        !OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()), package.size(),
                           &run->piece.package, faults))
    {
        return;
    }
    run->features = {1, 1, 1, 1};
    const LoadWatcher watcher = {nullptr, DrawLoadingScreen, run};
    if (LoadRunDocument(run, RunDocument::kLoading, nullptr) == LoadResult::kFailed ||
        LoadRunDocument(run, RunDocument::kDemo, &watcher) == LoadResult::kFailed)
    {
        return;
    }
    for (uint32_t time = 0; time < 800 && !HasFailed(faults); time += 390)
    {
        Draw(run, RunDocument::kDemo, time);
    }
}

/// Makes the stand-in give back all that it has.
static void EmptyGl()
{
    ResetGl();
    TakeGlCalls();
}

/// Plays a piece whose k-th allocation fails.
/// @param whole   calls of a run with enough memory
/// @return whether so many allocations were asked for
static bool PlayWithout(uint64_t k, const std::string& package, const std::string& whole)
{
    EmptyGl();
    const int64_t before = LiveBlocks();
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    retries = 0;
    FailAllocation(k);
    Play(package, &run, &faults);
    const bool wasAsked = AllowAllocations() >= k;

    // Those of the stand-in are asked for again, and all goes on.
    const bool isFaulty = wasAsked && retries == 0;
    EXPECT_EQ(faults.count, isFaulty ? 1u : 0u) << FaultText(faults);
    EXPECT_EQ(HasFailed(&faults), isFaulty);
    {
        const std::string calls = TakeGlCalls();
        EXPECT_TRUE(isFaulty ? whole.starts_with(calls) : calls == whole);
    }
    CloseRun(&run);
    FreeFaults(&faults);
    EXPECT_EQ(GlLiveTextures(), 0u);
    EXPECT_EQ(GlLiveBuffers(), 0u);
    EXPECT_EQ(GlRefusedCalls(), 0u);
    EmptyGl();
    EXPECT_EQ(LiveBlocks() - before, 0);
    return wasAsked;
}

/// @return the calls of a run with enough memory
static std::string PlayWhole(const std::string& package)
{
    ResetGl();
    FaultList faults;
    StartFaults(&faults);
    PieceRun run;
    Play(package, &run, &faults);
    EXPECT_EQ(FaultText(faults), "");
    std::string calls = TakeGlCalls();
    CloseRun(&run);
    FreeFaults(&faults);
    return calls;
}

TEST(PieceRunMemory, EveryAllocationThatFailsIsAFaultAndLosesNothing)
{
    BuildCosTable();
    BuildCornerMasks();
    DocumentSource loading = SmallDocument();
    loading.sections[1] = ""; // no pixels, which take their time
    for (const size_t section : {2u, 5u, 6u, 7u, 8u, 9u})
    {
        loading.sections[section] = "";
    }
    loading.sections[10] = "<row/>";
    const std::string package = SmallPieceOf(loading, SmallDocument());
    const std::string whole = PlayWhole(package);

    const std::new_handler handler = std::set_new_handler([] { retries += 1; });
    uint64_t k = 1;
    while (PlayWithout(k, package, whole) && !HasFailure())
    {
        k += 1;
    }
    std::set_new_handler(handler);
    EXPECT_FALSE(HasFailure()) << "at allocation " << k;
    EXPECT_GT(k, 150u);
}
