// SPDX-License-Identifier: MIT

// Opening a stage and seeking on it while memory runs out, at each allocation in turn.
#include <cstdint>
#include <gtest/gtest.h>
#include <new>
#include <string>

#include "engine/data/cos_table.h"
#include "engine/stage/stage.h"
#include "engine/stage/stage_documents.h"
#include "engine/textures/corner_masks.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"

static constexpr StageView kView = {160, 120, 1.3333334f, {1, 1, 1, 1}};

static uint32_t retries; // of allocations by `new` that failed, which are the stand-in's

/// A piece with all that a stage keeps: cells and water, a target that is resized and shows itself.
static std::string RememberingPiece()
{
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"square\"/>";
    demo.sections[3] = LinearEnvelope("0.4", "0");
    demo.sections[5] = "<e name=\"\" type=\"2\" resolution=\"64x64\" bpp=\"8\"><p>1</p></e>";
    demo.sections[6] = "<b filename=\"noise.tga\"/>";
    demo.sections[7] =
        MaterialOf(7, {"1", "1", "1", "1"}, {1}) + MaterialOf(6, {"1", "1", "1", "1"}, {}, 1);
    demo.sections[8] = "<g type=\"0\"><p>1</p></g>";
    demo.sections[9] =
        SceneOf({{.material = 1}, {.material = 2, .x = "0.5"}, {.kind = 1, .id = 1}});
    demo.sections[10] = RowOf({{.scene = 1, .length = 100, .pass = 1, .target = 1},
                               {.scene = 1, .length = 300, .pass = 5, .target = 1}}) +
                        RowOf({{.scene = 1, .length = 400}});
    return PackageOf(demo);
}

/// Opens a stage and seeks to and fro, up to the first fault.
static void Play(const std::string& package, Stage* stage, FaultList* faults)
{
    const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                package.size(), true};
    if (!OpenStage(&source, &kView, stage, faults))
    {
        return;
    }
    for (const uint32_t tick : {40u, 150u, 400u, 20u, 30u})
    {
        if (!SeekPiece(stage, tick, 10, faults))
        {
            return;
        }
    }
    char text[100];
    if (DescribeMemory(stage, 10, text, sizeof(text), faults) &&
        ShowLoadingScreen(stage, 50, faults))
    {
        SeekPiece(stage, 333, 9, faults);
    }
}

/// Makes the stand-in give back all that it has.
static void EmptyGl()
{
    ResetGl();
    TakeGlCalls();
}

/// Plays with the k-th allocation failing.
/// @return whether so many allocations were asked for
static bool PlayWithout(uint64_t k, const std::string& package)
{
    EmptyGl();
    const int64_t before = LiveBlocks();
    FaultList faults;
    StartFaults(&faults);
    Stage stage = {};
    retries = 0;
    FailAllocation(k);
    Play(package, &stage, &faults);
    const bool wasAsked = AllowAllocations() >= k;

    // Those of the stand-in are asked for again, and all goes on.
    const bool isFaulty = wasAsked && retries == 0;
    EXPECT_EQ(faults.count, isFaulty ? 1u : 0u) << FaultText(faults);
    FreeFaults(&faults);
    if (stage.history.lastWriter != nullptr)
    {
        // An open stage goes on once there is memory again.
        EXPECT_TRUE(SeekPiece(&stage, 130, 10, &faults)) << FaultText(faults);
    }
    CloseStage(&stage);
    FreeFaults(&faults);
    EXPECT_EQ(GlLiveTextures(), 0u);
    EXPECT_EQ(GlLiveBuffers(), 0u);
    EXPECT_EQ(GlRefusedCalls(), 0u);
    EmptyGl();
    EXPECT_EQ(LiveBlocks() - before, 0);
    return wasAsked;
}

TEST(StageMemory, EveryAllocationThatFailsIsAFaultAndLosesNothing)
{
    BuildCosTable();
    BuildCornerMasks();
    const std::string package = RememberingPiece();
    const std::new_handler handler = std::set_new_handler([] { retries += 1; });
    uint64_t k = 1;
    while (PlayWithout(k, package) && !HasFailure())
    {
        k += 1;
    }
    std::set_new_handler(handler);
    EXPECT_FALSE(HasFailure()) << "at allocation " << k;
    EXPECT_GT(k, 150u);
}
