// SPDX-License-Identifier: MIT
#include "engine/stage/stage.h"

#include <GL/glew.h>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>

#include "engine/stage/played_frames.h"
#include "engine/stage/stage_documents.h"
#include "record/random_numbers.h"

static constexpr StageView kView = {160, 120, 1.3333334f, {1, 1, 1, 1}};

class Stages : public testing::Test
{
  protected:
    void SetUp() override
    {
        unsetenv("DISPLAY");
    }
};

/// A piece, and how tests run it.
struct RunSource
{
    std::string package;
    uint32_t stride;
    uint32_t frames;
    StageView view = kView;
};

/// Seeks to these frames in turn and compares each with the straight run.
static void CheckFrames(const RunSource& source, const std::vector<uint32_t>& frames)
{
    const PlayedFrames played =
        PlayFrames(source.package, source.view, 0, source.stride, source.frames);
    ASSERT_EQ(played.fault, "");
    const std::set<Pixels> different(played.pictures.begin(), played.pictures.end());
    ASSERT_GT(different.size(), 1u) << "nothing moves in it";

    OpenedStage opened(source.package, source.view, 0);
    ASSERT_EQ(opened.fault, "");
    uint32_t before = 0xFFFFFFFF;
    for (const uint32_t frame : frames)
    {
        const SoughtFrame sought = Seek(&opened, frame * source.stride, source.stride);
        ASSERT_EQ(sought.fault, "");
        EXPECT_EQ(sought.result.sceneCount, played.scenes[frame]) << frame;
        ASSERT_TRUE(sought.picture == played.pictures[frame])
            << "frame " << frame << " after frame " << before;
        before = frame;
    }
}

/// Frames in any order: forwards, backwards, the same again, neighbours.
static std::vector<uint32_t> RandomFrames(uint32_t frameCount, uint32_t seekCount, uint32_t seed)
{
    Random random = {seed};
    std::vector<uint32_t> frames;
    uint32_t frame = 0;
    for (uint32_t i = 0; i < seekCount; ++i)
    {
        const int32_t last = static_cast<int32_t>(frameCount) - 1;
        frame = Chance(&random, 30) ? std::min(frame + 1, frameCount - 1)
                                    : static_cast<uint32_t>(Between(&random, 0, last));
        frames.push_back(frame);
    }
    return frames;
}

static void CheckRandomSeeks(const RunSource& source, uint32_t seekCount)
{
    CheckFrames(source, RandomFrames(source.frames, seekCount, 1));
    CheckFrames(source, RandomFrames(source.frames, seekCount, 2));
}

static std::vector<uint32_t> AllFrames(uint32_t count)
{
    std::vector<uint32_t> frames;
    for (uint32_t i = 0; i < count; ++i)
    {
        frames.push_back(i);
    }
    return frames;
}

TEST_F(Stages, PlayForwardsLikeAPlayer)
{
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"square\"/>";
    demo.sections[3] = LinearEnvelope("0.004", "0.1");
    demo.sections[7] = MaterialOf(0, {"1", "0.5", "0", "1"});
    demo.sections[9] = SceneOf({{.material = 1, .x = "#1", .width = "0.2"}});
    demo.sections[10] = RowOf({{.scene = 1, .length = 200}});
    CheckFrames({PackageOf(demo), 10, 23}, AllFrames(23));

    OpenedStage opened(PackageOf(demo), kView, 0);
    for (uint32_t i = 0; i < 21; ++i)
    {
        const SoughtFrame sought = Seek(&opened, 10 * i + 9, 10);
        EXPECT_EQ(sought.result.tick, 10 * i);
        EXPECT_EQ(sought.result.drawnFrames, 1u);
        EXPECT_EQ(sought.result.firstDrawnTick, 10 * i);
        EXPECT_EQ(sought.result.skippedFrames, 0u);
    }
}

/// Both waters and growing cells, which share their random numbers.
static DocumentSource WaterDocument()
{
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"square\"/>";
    demo.sections[3] = LinearEnvelope("0.4", "0") + LinearEnvelope("0.05", "0") +
                       LinearEnvelope("0.3", "3") + LinearEnvelope("0.02", "-1");
    demo.sections[4] = "<l><a><v type=\"static\" value=\"0.2\"/><v type=\"static\" value=\"0.2\"/>"
                       "<v type=\"static\" value=\"0.2\"/></a><d><v type=\"static\" value=\"1\"/>"
                       "<v type=\"static\" value=\"0.8\"/><v type=\"static\" value=\"0.6\"/></d><p>"
                       "<v type=\"dynamic\" value=\"4\"/><v type=\"static\" value=\"3\"/>"
                       "<v type=\"static\" value=\"1\"/></p></l>";
    demo.sections[5] = "<e name=\"a\" type=\"2\" resolution=\"64x64\" bpp=\"24\"><p>3</p></e>"
                       "<e name=\"b\" type=\"1\" resolution=\"64x64\" bpp=\"8\"><p>2</p></e>"
                       "<e name=\"c\" type=\"3\" resolution=\"64x64\" bpp=\"24\"><p>2</p></e>"
                       "<e name=\"d\" type=\"0\" resolution=\"64x64\" bpp=\"24\"><p>1</p></e>";
    demo.sections[7] =
        MaterialOf(1, {"1", "1", "1", "1"}, {1}) + MaterialOf(6, {"1", "1", "1", "1"}, {}, 1) +
        MaterialOf(6, {"1", "1", "1", "1"}, {}, 2) + MaterialOf(6, {"1", "1", "1", "1"}, {}, 3) +
        MaterialOf(6, {"1", "1", "1", "1"}, {}, 4);
    demo.sections[8] = "<g type=\"0\"><p>1</p></g><g type=\"1\"><p>2</p></g>";
    const ObjectSource lake = {.kind = 1, .id = 1, .material = 1, .width = "0.05", .height = "0.2"};
    const ObjectSource wave = {
        .kind = 1, .id = 2, .material = 1, .y = "0.5", .width = "0.05", .height = "0.2"};
    demo.sections[9] =
        SceneOf({lake, wave}) +
        SceneOf({{.material = 2, .width = "0.5", .height = "0.5"},
                 {.material = 3, .x = "0.5", .width = "0.5", .height = "0.5"}}) +
        SceneOf({lake, {.material = 4, .y = "0.5", .width = "0.5", .height = "0.5"}}) +
        SceneOf({{.material = 5, .x = "0.5", .y = "0.5", .width = "0.5", .height = "0.5"}});
    return demo;
}

TEST_F(Stages, SimulateWatersAndCells)
{
    DocumentSource demo = WaterDocument();
    demo.sections[10] = RowOf({{.scene = 1, .length = 150, .perspective = true},
                               {.scene = 3, .length = 150, .perspective = true}}) +
                        RowOf({{.scene = 2, .length = 120}, {.scene = 4, .length = 180}});
    CheckRandomSeeks({PackageOf(demo), 3, 100}, 25);
}

TEST_F(Stages, StepWatersThroughGapsAndPauses)
{
    // Strides of more than a lake's step stop it, and a pause of row 0 stops everything.
    DocumentSource demo = WaterDocument();
    demo.sections[10] = RowOf({{.scene = 1, .length = 100, .perspective = true},
                               {.scene = 1, .length = 200, .perspective = true, .before = 300}}) +
                        RowOf({{.scene = 2, .length = 600}});
    CheckRandomSeeks({PackageOf(demo), 7, 90}, 15);
    CheckRandomSeeks({PackageOf(demo), 1, 60}, 10);
}

TEST_F(Stages, ShowEffectsThatStandStill)
{
    // The effect's time does not change in these frames, so a run refreshes its picture once.
    DocumentSource demo = WaterDocument();
    demo.sections[3] += LinearEnvelope("0", "5");
    demo.sections[10] = RowOf({{.scene = 2, .length = 100}, {.scene = 4, .length = 300}}) +
                        RowOf({{.scene = 2, .length = 300, .before = 100}});
    RunSource source = {PackageOf(demo), 5, 80};
    CheckRandomSeeks(source, 20);
    source.view.features.pbo = 0;
    source.view.features.vbo = 0;
    CheckRandomSeeks(source, 10);
}

/// A target that is drawn with its own last picture, smaller, and a spot that moves over it.
static DocumentSource FeedbackDocument()
{
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"square\"/>";
    demo.sections[3] = LinearEnvelope("0.003", "0");
    demo.sections[6] = "<b filename=\"noise.tga\"/><b filename=\"wide.tga\"/>";
    demo.sections[7] = MaterialOf(17, {"0.9", "0.9", "0.9", "0.9"}, {1}) +
                       MaterialOf(19, {"1", "0.6", "0.2", "1"}) +
                       MaterialOf(7, {"1", "1", "1", "1"}, {1});
    demo.sections[9] =
        SceneOf({{.material = 1, .x = "0.02", .y = "0.05", .width = "0.9", .height = "0.9"},
                 {.material = 2, .x = "#1", .y = "0.3", .width = "0.1", .height = "0.1"}}) +
        SceneOf({{.material = 3}});
    return demo;
}

TEST_F(Stages, FeedTargetsBackToTheirStart)
{
    DocumentSource demo = FeedbackDocument();
    demo.sections[10] = RowOf({{.scene = 1, .length = 300, .pass = 1, .target = 1}}) +
                        RowOf({{.scene = 2, .length = 300}});
    const RunSource source = {PackageOf(demo), 10, 32};
    CheckRandomSeeks(source, 15);

    OpenedStage opened(source.package, kView, 0);
    EXPECT_EQ(Seek(&opened, 200, 10).result.drawnFrames, 21u);
    EXPECT_EQ(Seek(&opened, 210, 10).result.drawnFrames, 1u);
    EXPECT_EQ(Seek(&opened, 230, 10).result.drawnFrames, 2u);
    EXPECT_EQ(Seek(&opened, 50, 10).result.drawnFrames, 6u);

    char text[100];
    FaultList faults;
    StartFaults(&faults);
    EXPECT_TRUE(DescribeMemory(opened.stage, 10, text, sizeof(text), &faults));
    EXPECT_STREQ(text, "memory of bitmap 1 from tick 10 on");
    EXPECT_TRUE(DescribeMemory(opened.stage, 10, text, 9, &faults));
    EXPECT_STREQ(text, "memory o");
}

/// Leaves a seek after so many frames of each part.
struct FramesOfAPart
{
    uint32_t frames;
    uint32_t left;
    SeekProgress progress; // asked last
};

static bool HasFramesLeft(const SeekProgress& progress, void* user)
{
    FramesOfAPart* part = static_cast<FramesOfAPart*>(user);
    EXPECT_LE(progress.done, progress.frames);
    part->progress = progress;
    part->left -= 1;
    return part->left != 0;
}

static SeekEnd SeekAPart(OpenedStage* opened, uint32_t tick, FramesOfAPart* part)
{
    MakeCurrent(opened->display);
    part->left = part->frames;
    const SeekPatience patience = {HasFramesLeft, part};
    FaultList faults;
    StartFaults(&faults);
    const SeekEnd end = SeekPieceInParts(opened->stage, tick, 10, &patience, &faults);
    EXPECT_EQ(FaultLine(faults), "");
    return end;
}

TEST_F(Stages, SeekInParts)
{
    DocumentSource demo = FeedbackDocument();
    demo.sections[10] = RowOf({{.scene = 1, .length = 300, .pass = 1, .target = 1}}) +
                        RowOf({{.scene = 2, .length = 300}});
    const std::string package = PackageOf(demo);
    const PlayedFrames played = PlayFrames(package, kView, 0, 10, 32);
    ASSERT_EQ(played.fault, "");

    for (const uint32_t frames : {1u, 3u})
    {
        OpenedStage opened(package, kView, 0);
        FramesOfAPart part = {frames, 0, {}};
        for (const uint32_t frame : RandomFrames(31, 12, frames))
        {
            // Another seek is begun and left first.
            SeekAPart(&opened, (frame * 7 + 5) % 31 * 10, &part);
            uint32_t parts = 1;
            while (SeekAPart(&opened, frame * 10, &part) == SeekEnd::kLeft)
            {
                parts += 1;
                ASSERT_LT(parts, 100u) << "no part comes nearer to frame " << frame;
            }
            EXPECT_TRUE(TakePixels(opened.display) == played.pictures[frame]) << frame;
        }
    }

    // All is simulated first, to know which frames show in it, and then they are drawn.
    OpenedStage opened(package, kView, 0);
    FramesOfAPart part = {5, 0, {}};
    EXPECT_EQ(SeekAPart(&opened, 200, &part), SeekEnd::kLeft);
    EXPECT_FALSE(part.progress.isDrawing);
    EXPECT_EQ(part.progress.done, 5u);
    EXPECT_EQ(part.progress.frames, 20u);
    part.frames = 19;
    EXPECT_EQ(SeekAPart(&opened, 200, &part), SeekEnd::kLeft);
    EXPECT_TRUE(part.progress.isDrawing);
    EXPECT_EQ(part.progress.done, 4u);
    EXPECT_EQ(part.progress.frames, 21u);
    EXPECT_EQ(SeekAPart(&opened, 200, &part), SeekEnd::kShown);
    EXPECT_EQ(part.progress.frames, 17u);
}

TEST_F(Stages, DrawOnlyTheLastWriterOfATarget)
{
    // The target is drawn in the first second alone, and shown in the third.
    DocumentSource demo = FeedbackDocument();
    demo.sections[9] += SceneOf({{.material = 2, .x = "#1", .width = "0.3", .height = "0.3"}});
    demo.sections[10] = RowOf({{.scene = 3, .length = 100, .pass = 1, .target = 1},
                               {.scene = 3, .length = 100},
                               {.scene = 2, .length = 200}}) +
                        RowOf({{.scene = 3, .length = 400, .pass = 2}}) +
                        RowOf({{.scene = 3, .length = 400}});
    const RunSource source = {PackageOf(demo), 5, 82};
    CheckRandomSeeks(source, 25);

    OpenedStage opened(source.package, kView, 0);
    const SoughtFrame sought = Seek(&opened, 300, 5);
    EXPECT_EQ(sought.result.drawnFrames, 2u);
    EXPECT_EQ(sought.result.firstDrawnTick, 95u);
    EXPECT_EQ(Seek(&opened, 250, 5).result.drawnFrames, 1u); // its picture is still there
    EXPECT_EQ(Seek(&opened, 150, 5).result.drawnFrames, 1u);
}

TEST_F(Stages, ShowLoadedPicturesAgain)
{
    // The bitmap shows what it was loaded with, through its chain, until it is a target.
    DocumentSource demo = FeedbackDocument();
    demo.sections[9] += SceneOf(
        {{.material = 3, .x = "#1", .width = "0.2", .height = "0.2"}, {.material = 1, .x = "0.5"}});
    demo.sections[10] = RowOf({{.scene = 3, .length = 200},
                               {.scene = 1, .length = 100, .pass = 4, .target = 1},
                               {.scene = 3, .length = 100}}) +
                        RowOf({{.scene = 3, .length = 400}});
    CheckRandomSeeks({PackageOf(demo), 10, 42}, 25);

    demo.sections[6] = "<b filename=\"wide.tga\"/>";
    CheckRandomSeeks({PackageOf(demo), 10, 42}, 15);
    demo.sections[6] = "<b filename=\"gray.tga\"/>";
    CheckRandomSeeks({PackageOf(demo), 10, 42}, 15);
}

TEST_F(Stages, TakeTwoTargetsInTurns)
{
    // Each is drawn with the other's last picture, in other seconds.
    DocumentSource demo = FeedbackDocument();
    demo.sections[7] += MaterialOf(7, {"0.9", "1", "0.8", "1"}, {2});
    const ObjectSource spot = {
        .material = 2, .x = "#1", .y = "0.3", .width = "0.1", .height = "0.1"};
    demo.sections[9] =
        SceneOf({{.material = 4, .x = "0.05", .width = "0.9", .height = "0.9"}, spot}) +
        SceneOf({{.material = 3, .y = "0.05", .width = "0.9", .height = "0.9"}, spot});
    demo.sections[10] = RowOf({{.scene = 1, .length = 200, .pass = 1, .target = 1},
                               {.scene = 2, .length = 200, .pass = 1, .target = 2},
                               {.scene = 1, .length = 200, .pass = 1, .target = 1}}) +
                        RowOf({{.scene = 2, .length = 300}, {.scene = 1, .length = 300}});
    CheckRandomSeeks({PackageOf(demo), 20, 31}, 20);

    OpenedStage opened(PackageOf(demo), kView, 0);
    char text[200];
    FaultList faults;
    StartFaults(&faults);
    EXPECT_TRUE(DescribeMemory(opened.stage, 20, text, sizeof(text), &faults));
    EXPECT_STREQ(text, "memory of bitmap 1 from tick 200 on, of bitmap 2 from tick 400 on");
}

TEST_F(Stages, ResizeTargetsAndGoBack)
{
    // Shown as loaded, then drawn at its own size, then resized to a quarter of the window.
    DocumentSource demo = FeedbackDocument();
    demo.sections[10] = RowOf({{.scene = 2, .length = 100},
                               {.scene = 1, .length = 100, .pass = 1, .target = 1},
                               {.scene = 1, .length = 100, .pass = 5, .target = 1},
                               {.scene = 2, .length = 100},
                               {.scene = 1, .length = 100, .pass = 1, .target = 1}}) +
                        RowOf({{.scene = 2, .length = 500}}) + RowOf({{.scene = 1, .length = 500}});
    RunSource source = {PackageOf(demo), 20, 26};
    CheckRandomSeeks(source, 25);
    source.view.features.npot = 0; // 64 by 64, as it is: no resize
    CheckRandomSeeks(source, 15);
    demo.sections[6] = "<b filename=\"wide.tga\"/>";
    source.package = PackageOf(demo);
    CheckRandomSeeks(source, 15);
    source.view = {101, 75, 1.0f, {1, 1, 1, 1}}; // rows that are no multiple of four bytes
    CheckRandomSeeks(source, 15);
}

TEST_F(Stages, InheritWhatEveryRecipeLeaves)
{
    // For a second all is drawn with one recipe, after another that sets much; afterwards the
    // objects have no material, and show what it left.
    for (int type = 0; type < 24; ++type)
    {
        for (const bool textured : {false, true})
        {
            SCOPED_TRACE("recipe " + std::to_string(type) + (textured ? ", textured" : ""));
            DocumentSource demo = WaterDocument();
            demo.sections[1] = "<t><layer type=\"101\" id=\"0\"/></t>";
            demo.sections[0] = "<l type=\"1\"><p>1</p><p>1</p><p>1</p><p>2</p><p>3</p></l>";
            demo.sections[6] = "<b filename=\"noise.tga\"/><b filename=\"wide.tga\"/>";
            const std::vector<int> references =
                textured ? std::vector<int>{1, 1, 1} : std::vector<int>{0, 0, 0};
            demo.sections[7] =
                MaterialOf(22, {"0.5", "1", "0.5", "0.5"}, {1, 2}) +
                MaterialOf(type, {"#2", "0.7", "0.5", "0.6", "3"}, references, textured ? 3 : 0) +
                MaterialOf(11, {"1", "1", "1", "1", "1"}, {2});
            const ObjectSource first = {.material = 1, .width = "0.5"};
            const ObjectSource second = {.material = 2, .y = "0.2", .width = "0.9"};
            const ObjectSource third = {.material = 3, .x = "0.6", .y = "0.6", .width = "0.3"};
            const ObjectSource plain = {.material = 0, .x = "0.1", .y = "0.1", .angle = "#1"};
            demo.sections[9] = SceneOf({first, third, second}) + SceneOf({plain, third, second}) +
                               SceneOf({plain});
            demo.sections[10] = RowOf({{.scene = 1, .length = 100, .perspective = true},
                                       {.scene = 3, .length = 100, .perspective = true},
                                       {.scene = 2, .length = 100, .perspective = true},
                                       {.scene = 3, .length = 100, .pass = 2}});
            CheckFrames({PackageOf(demo), 50, 9}, {3, 2, 7, 6, 1, 2, 8, 3, 7});
        }
    }
}

TEST_F(Stages, FailWhereTheRunFails)
{
    DocumentSource demo = FeedbackDocument();
    demo.sections[9] += SceneOf({{.material = 2, .x = "#9"}});
    demo.sections[10] =
        RowOf({{.scene = 1, .length = 100, .pass = 1, .target = 1}, {.scene = 3, .length = 100}}) +
        RowOf({{.scene = 2, .length = 200}});
    const std::string package = PackageOf(demo);
    const PlayedFrames played = PlayFrames(package, kView, 0, 10, 20);
    ASSERT_EQ(played.pictures.size(), 10u);
    ASSERT_NE(played.fault, "");

    OpenedStage opened(package, kView, 0);
    for (const uint32_t frame : {5u, 15u, 9u, 12u, 19u, 0u, 10u, 8u})
    {
        const SoughtFrame sought = Seek(&opened, frame * 10, 10);
        if (frame < 10)
        {
            EXPECT_EQ(sought.fault, "");
            EXPECT_TRUE(sought.picture == played.pictures[frame]) << frame;
        }
        else
        {
            EXPECT_EQ(sought.fault, played.fault);
        }
    }
}

TEST_F(Stages, FailAtAStrideOf0)
{
    OpenedStage opened(PackageOf(FeedbackDocument()), kView, 0);
    EXPECT_EQ(Seek(&opened, 5, 0).fault, "test: a run with a stride of 0 ticks stands still");
}

TEST_F(Stages, AreBlackAfterTheEnd)
{
    DocumentSource demo = FeedbackDocument();
    demo.sections[10] = RowOf({{.scene = 2, .length = 100}});
    OpenedStage opened(PackageOf(demo), kView, 0);
    for (const uint32_t tick : {0xFFFFFFFFu, 101u, 100000u})
    {
        for (const uint32_t stride : {1u, 70u, 0xFFFFFFFFu})
        {
            const SoughtFrame sought = Seek(&opened, tick, stride);
            ASSERT_EQ(sought.fault, "");
            const bool shows = tick / stride * stride <= 100;
            EXPECT_EQ(sought.result.sceneCount, shows ? 1u : 0u) << tick << " " << stride;
            EXPECT_EQ(sought.picture == Pixels(160 * 120 * 3, 0), !shows);
        }
    }
}

TEST_F(Stages, ShowNothingOfAPieceWithoutADemo)
{
    OpenedStage opened(MakePackage({{"other", "bytes"}}), kView, 0);
    ASSERT_EQ(opened.fault, "");
    const SoughtFrame sought = Seek(&opened, 50, 10);
    EXPECT_EQ(sought.result.sceneCount, 0u);
    EXPECT_TRUE(sought.picture == Pixels(160 * 120 * 3, 0));
}

TEST_F(Stages, ChangeTheirStride)
{
    const DocumentSource feedback = FeedbackDocument();
    DocumentSource demo = WaterDocument();
    demo.sections[6] = feedback.sections[6];
    demo.sections[7] += MaterialOf(17, {"0.9", "0.9", "0.9", "0.9"}, {1});
    demo.sections[9] += SceneOf({{.material = 6, .x = "0.1"}});
    demo.sections[10] = RowOf({{.scene = 5, .length = 300, .pass = 1, .target = 1}}) +
                        RowOf({{.scene = 1, .length = 300, .pass = 2, .perspective = true}}) +
                        RowOf({{.scene = 5, .length = 300}});
    const std::string package = PackageOf(demo);
    OpenedStage opened(package, kView, 0);
    for (const uint32_t stride : {4u, 7u, 4u, 30u})
    {
        const PlayedFrames played = PlayFrames(package, kView, 0, stride, 10);
        for (const uint32_t frame : {9u, 3u})
        {
            EXPECT_TRUE(Seek(&opened, frame * stride, stride).picture == played.pictures[frame])
                << stride << " " << frame;
        }
    }
}

static Pixels ShowLoading(OpenedStage* opened, uint32_t time)
{
    MakeCurrent(opened->display);
    FaultList faults;
    StartFaults(&faults);
    EXPECT_TRUE(ShowLoadingScreen(opened->stage, time, &faults));
    return TakePixels(opened->display);
}

TEST_F(Stages, ShowTheLoadingScreenBetweenSeeks)
{
    // The loading screen changes a target of its own, and the random numbers.
    DocumentSource loading = FeedbackDocument();
    loading.sections[8] = "<g type=\"0\"><p>1</p></g>";
    loading.sections[9] +=
        SceneOf({{.kind = 1, .id = 1, .material = 2, .width = "0.01", .height = "0.1"}});
    loading.sections[10] = RowOf({{.scene = 1, .length = 100, .pass = 1, .target = 1}}) +
                           RowOf({{.scene = 2, .length = 100}}) +
                           RowOf({{.scene = 3, .length = 100, .pass = 3, .perspective = true}});
    DocumentSource demo = WaterDocument();
    demo.sections[5] = "<e name=\"\" type=\"1\" resolution=\"64x64\" bpp=\"24\"><p>3</p></e>";
    demo.sections[10] = RowOf({{.scene = 1, .length = 150, .perspective = true}});
    const std::string package = PackageOf(demo, &loading);
    const PlayedFrames played = PlayFrames(package, kView, 0, 10, 10);

    OpenedStage opened(package, kView, 0);
    const Pixels first = ShowLoading(&opened, 50);
    EXPECT_FALSE(first == Pixels(160 * 120 * 3, 0));
    for (const uint32_t frame : {4u, 5u, 9u, 2u})
    {
        EXPECT_TRUE(Seek(&opened, frame * 10, 10).picture == played.pictures[frame]) << frame;
        EXPECT_TRUE(ShowLoading(&opened, 50) == first);
        EXPECT_FALSE(ShowLoading(&opened, 80) == first);
    }

    // It is the first picture that a player draws of the loading screen.
    const PlayedFrames screen = PlayFrames(PackageOf(loading), kView, 0, 50, 1);
    EXPECT_TRUE(ShowLoading(&opened, 0) == screen.pictures[0]);
}

TEST_F(Stages, TakeTurnsOnOneDisplay)
{
    DocumentSource water = WaterDocument();
    water.sections[10] = RowOf({{.scene = 1, .length = 150, .perspective = true},
                                {.scene = 3, .length = 150, .perspective = true}});
    DocumentSource feedback = FeedbackDocument();
    feedback.sections[10] = RowOf({{.scene = 1, .length = 300, .pass = 1, .target = 1}}) +
                            RowOf({{.scene = 2, .length = 300}});
    const std::string packages[] = {PackageOf(water), PackageOf(feedback)};
    const PlayedFrames played[] = {PlayFrames(packages[0], kView, 0, 10, 31),
                                   PlayFrames(packages[1], kView, 0, 10, 31)};

    OpenedStage first(packages[0], kView, 0);
    Stage second;
    FaultList faults;
    StartFaults(&faults);
    const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(packages[1].data()),
                                packages[1].size(), true};
    ASSERT_TRUE(OpenStage(&source, &kView, &second, &faults));

    // In step, each on its own way, and one of them at rest for a while.
    const uint32_t frames[][2] = {{0, 0},  {1, 1},  {2, 2},  {3, 3},
                                  {20, 4}, {5, 25}, {6, 25}, {7, 26}};
    for (const auto& pair : frames)
    {
        EXPECT_TRUE(Seek(&first, pair[0] * 10, 10).picture == played[0].pictures[pair[0]]);
        ASSERT_TRUE(SeekPiece(&second, pair[1] * 10, 10, &faults));
        EXPECT_TRUE(TakePixels(first.display) == played[1].pictures[pair[1]]) << pair[1];
    }
    CloseStage(&second);
    EXPECT_TRUE(Seek(&first, 80, 10).picture == played[0].pictures[8]);
}

TEST_F(Stages, SeekInTheSamplePiece)
{
    std::ifstream file(PACKAGE, std::ios::binary);
    const std::string package((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    ASSERT_FALSE(package.empty());
    CheckFrames({package, 40, 242}, RandomFrames(242, 40, 3));
}
