// SPDX-License-Identifier: MIT
#include "studio/logic/frame_cost.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/render/piece_run.h"
#include "engine/render/records/timeline.h"
#include "engine/textures/corner_masks.h"
#include "record/random_piece.h"
#include "support/fault_text.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"

/// A piece that is loaded on recorded calls.
struct LoadedRun
{
    FaultList faults;
    PieceRun run;
};

static void OpenRun(const std::string& package, uint8_t buffers, LoadedRun* loaded)
{
    BuildCosTable();
    BuildCornerMasks();
    ResetGl();
    StartFaults(&loaded->faults);
    EXPECT_TRUE(StartRun(&loaded->run, &loaded->faults));
    loaded->run.features = {buffers, buffers, 1, 1};
    EXPECT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()),
                                  package.size(), &loaded->run.piece.package, &loaded->faults));
    LoadRunDocument(&loaded->run, RunDocument::kDemo, nullptr);
}

static void CloseLoaded(LoadedRun* loaded)
{
    CloseRun(&loaded->run);
    FreeFaults(&loaded->faults);
    ResetGl();
}

static CostSources SourcesOf(const LoadedRun* loaded, uint8_t buffers)
{
    return MakeCostSources(&loaded->run.piece.demo, buffers != 0, {});
}

/// @return the OpenGL name of a texture
static uint32_t NameOf(const LoadedRun* loaded, const ItemRef& texture)
{
    const DocumentUpload& upload = loaded->run.demo;
    return texture.section == Section::kTextures  ? upload.textures[texture.item - 1]
           : texture.section == Section::kBitmaps ? upload.bitmaps[texture.item - 1].glTexture
                                                  : upload.effects[texture.item - 1].glTexture;
}

/// The draws of a frame, and the OpenGL names of the textures that it binds.
struct FrameDraws
{
    uint64_t draws;
    uint64_t triangles;
    std::set<uint32_t> textures;
};

/// The draws of a frame, as they are counted when it is drawn.
static FrameDraws DrawFrame(LoadedRun* loaded, uint32_t tick)
{
    TakeGlCalls();
    const FrameSources sources = RunSources(&loaded->run, RunDocument::kDemo);
    const FrameRequest request = {1.5f, tick, 320, 200};
    RenderFrame(&sources, &request);
    std::istringstream calls(TakeGlCalls());
    FrameDraws drawn = {};
    for (std::string line; std::getline(calls, line);)
    {
        if (line.rfind("DrawElements ", 0) == 0)
        {
            std::istringstream words(line);
            std::string name;
            std::string mode;
            uint64_t count = 0;
            words >> name >> mode >> count;
            drawn.draws += 1;
            drawn.triangles += count / 3;
        }
        if (line.rfind("BindTexture ", 0) == 0)
        {
            drawn.textures.insert(
                static_cast<uint32_t>(std::stoul(line.substr(line.rfind(' ') + 1))));
        }
    }
    return drawn;
}

static FrameDraws CountFrame(const LoadedRun* loaded, uint8_t buffers, uint32_t tick)
{
    FrameDraws sum = {};
    const CostSources sources = SourcesOf(loaded, buffers);
    for (const ClipDraws& clip : CountDraws(&sources, tick))
    {
        for (const ItemRef& texture : clip.textures)
        {
            sum.textures.insert(NameOf(loaded, texture));
        }
        sum.draws += clip.draws;
        sum.triangles += clip.triangles;
    }
    return sum;
}

TEST(CountDraws, CountsWhatTheSmallPieceDraws)
{
    for (const uint8_t buffers : {uint8_t{0}, uint8_t{1}})
    {
        LoadedRun loaded;
        OpenRun(SmallPiece(), buffers, &loaded);
        uint64_t draws = 0;
        for (uint32_t tick = 0; tick < 300; tick += 7)
        {
            SCOPED_TRACE(tick);
            const FrameDraws drawn = DrawFrame(&loaded, tick);
            ASSERT_FALSE(HasFailed(&loaded.faults)) << FaultText(loaded.faults);
            const FrameDraws counted = CountFrame(&loaded, buffers, tick);
            EXPECT_EQ(counted.textures, drawn.textures);
            EXPECT_EQ(counted.draws, drawn.draws);
            EXPECT_EQ(counted.triangles, drawn.triangles);
            draws += drawn.draws;
        }
        EXPECT_GT(draws, 0u);
        CloseLoaded(&loaded);
    }
}

TEST(CountDraws, CountsWhatRandomPiecesDraw)
{
    uint64_t draws = 0;
    for (uint64_t seed = 1; seed <= 12; ++seed)
    {
        SCOPED_TRACE(seed);
        Random random = {seed};
        const RandomPiece piece = MakeRandomPiece(&random);
        LoadedRun loaded;
        OpenRun(piece.package, 1, &loaded);
        const uint32_t end = static_cast<uint32_t>(piece.ticks);
        for (uint32_t tick = 0; tick < end && !HasFailed(&loaded.faults); tick += end / 8 + 1)
        {
            const FrameDraws drawn = DrawFrame(&loaded, tick);
            const FrameDraws counted = CountFrame(&loaded, 1, tick);
            if (!HasFailed(&loaded.faults))
            {
                EXPECT_EQ(counted.textures, drawn.textures) << tick;
                EXPECT_EQ(counted.draws, drawn.draws) << tick;
                EXPECT_EQ(counted.triangles, drawn.triangles) << tick;
                draws += drawn.draws;
            }
        }
        CloseLoaded(&loaded);
    }
    EXPECT_GT(draws, 0u);
}

TEST(PieceCost, IsCountedInSteps)
{
    LoadedRun loaded;
    OpenRun(SmallPiece(), 1, &loaded);
    CostSources sources = SourcesOf(&loaded, 1);
    sources.sizes = {1000, std::vector<uint64_t>(20, 10), std::vector<uint64_t>(20, 1)};
    PieceCost whole = {};
    StartPieceCost(220, &whole);
    EXPECT_EQ(whole.step, 1u);
    EXPECT_TRUE(StepPieceCost(&sources, 1000, &whole));
    ASSERT_EQ(whole.draws.size(), 221u);
    PieceCost steps = {};
    StartPieceCost(220, &steps);
    uint32_t rounds = 1;
    while (!StepPieceCost(&sources, 50, &steps))
    {
        EXPECT_EQ(steps.draws.size(), 50 * rounds);
        rounds += 1;
    }
    EXPECT_EQ(rounds, 5u);
    EXPECT_EQ(steps.draws, whole.draws);
    EXPECT_EQ(steps.triangles, whole.triangles);
    EXPECT_EQ(steps.textureBytes, whole.textureBytes);
    // Each clip's textures count, whatever other clips of the picture bind.
    for (uint32_t tick = 0; tick <= 220; tick += 10)
    {
        uint64_t bytes = 0;
        for (const ClipDraws& clip : CountDraws(&sources, tick))
        {
            for (const ItemRef& texture : clip.textures)
            {
                bytes += texture.section == Section::kTextures  ? 1000
                         : texture.section == Section::kBitmaps ? 10
                                                                : 1;
            }
        }
        EXPECT_EQ(whole.textureBytes[tick], bytes) << tick;
    }
    EXPECT_GT(*std::max_element(whole.textureBytes.begin(), whole.textureBytes.end()), 1000u);
    CloseLoaded(&loaded);
}

TEST(PieceCost, HasNoMoreValuesThanAGraph)
{
    PieceCost cost = {};
    StartPieceCost(1999999, &cost);
    EXPECT_EQ(cost.step, 1000u);
    EXPECT_EQ(cost.shownUs.size(), kMostCostValues);
    StartPieceCost(0, &cost);
    EXPECT_EQ(cost.shownUs.size(), 1u);
}

TEST(CostHistory, KeepsTheLastPictures)
{
    CostHistory history = {};
    PieceCost piece = {};
    StartPieceCost(999, &piece);
    EXPECT_EQ(LastCost(&history), nullptr);
    EXPECT_TRUE(HistoryMs(&history).empty());
    for (uint32_t tick = 0; tick < kCostFrames + 10; ++tick)
    {
        FrameCost frame = {};
        frame.tick = tick;
        frame.swapNs = uint64_t{tick} * 1000000;
        frame.clips = {{0, 0, 1, 1, tick, 1, 1}, {1, 0, 1, 1, tick, 1, 1}};
        NoteCost(frame, &history, &piece);
        ASSERT_EQ(LastCost(&history)->tick, tick);
    }
    const std::vector<float> values = HistoryMs(&history);
    ASSERT_EQ(values.size(), kCostFrames);
    EXPECT_EQ(values.front(), 10.0f);
    EXPECT_EQ(values.back(), static_cast<float>(kCostFrames + 9));
    EXPECT_EQ(piece.shownUs[3], 3000u);
    EXPECT_EQ(piece.shownUs[999], 0u);
    FrameCost late = {};
    late.tick = 5000; // of a piece that was longer
    NoteCost(late, &history, &piece);
    // One with its past tells nothing of how it plays.
    FrameCost sought = {};
    sought.tick = 3;
    sought.swapNs = 900000000;
    sought.parts = 2;
    NoteCost(sought, &history, &piece);
    EXPECT_EQ(LastCost(&history)->tick, 3u);
    EXPECT_EQ(piece.shownUs[3], 3000u);
}

TEST(FrameCost, IsTheSumOfItsClips)
{
    FrameCost frame = {};
    frame.clips = {{0, 0, 1, 20, 3, 400, 5}, {kNoClip, kNoClip, 10, 200, 30, 4000, 50}};
    const ClipCost sum = SumClips(frame);
    EXPECT_EQ(sum.draws, 11u);
    EXPECT_EQ(sum.triangles, 220u);
    EXPECT_EQ(sum.stateCalls, 33u);
    EXPECT_EQ(ClipStateCalls(frame), 3u);
    EXPECT_EQ(sum.textureBytes, 4400u);
    EXPECT_EQ(sum.callNs, 55u);
}
