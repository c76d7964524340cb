// SPDX-License-Identifier: MIT
#include "engine/render/piece_run.h"

#include <GL/glew.h>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "engine/data/cos_table.h"
#include "engine/textures/bitmap_texture.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/procedural_texture.h"
#include "support/fault_text.h"
#include "support/gl_state.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"

/// A run of a piece in memory.
struct TestRun
{
    explicit TestRun(const std::string& package)
    {
        StartFaults(&faults);
        isOpen = StartRun(&run, &faults) &&
                 OpenPackageMemory(reinterpret_cast<const unsigned char*>(package.data()),
                                   package.size(), &run.piece.package, &faults);
        run.features = {1, 1, 1, 1};
    }
    ~TestRun()
    {
        CloseRun(&run);
        FreeFaults(&faults);
    }
    TestRun(const TestRun&) = delete;
    TestRun& operator=(const TestRun&) = delete;

    void Draw(RunDocument document, uint32_t time)
    {
        const FrameSources sources = RunSources(&run, document);
        const FrameRequest request = {1.6f, time, 640, 480};
        scenesDrawn += RenderFrame(&sources, &request);
    }

    /// Loads a document. While the demo is loaded, the loading screen is drawn now and then.
    LoadResult Load(RunDocument document)
    {
        const LoadWatcher watcher = {nullptr, DrawLoadingScreen, this};
        return LoadRunDocument(&run, document, document == RunDocument::kDemo ? &watcher : nullptr);
    }

    static void DrawLoadingScreen(void* user)
    {
        TestRun* test = static_cast<TestRun*>(user);
        if (test->itemsSeen % kItemsPerFrame == 0)
        {
            test->Draw(RunDocument::kLoading, test->itemsSeen);
        }
        test->itemsSeen += 1;
    }

    /// Loads both documents.
    /// @return false after a fault
    bool LoadBoth()
    {
        return isOpen && Load(RunDocument::kLoading) == LoadResult::kLoaded &&
               Load(RunDocument::kDemo) == LoadResult::kLoaded;
    }

    static constexpr uint32_t kItemsPerFrame = 8; // of the loading screen

    PieceRun run;
    FaultList faults;
    bool isOpen;
    uint32_t itemsSeen = 0;
    uint32_t scenesDrawn = 0;
};

class PieceRunTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        BuildCosTable();
        BuildCornerMasks();
        ResetGl();
    }

    void TearDown() override
    {
        ResetGl();
    }

    std::string package = SmallPiece();
};

static constexpr uint32_t kTimes[] = {0, 40, 150, 399, 401, 650};

TEST_F(PieceRunTest, TwoHundredRunsLeaveNothingInOpenGl)
{
    for (int i = 0; i < 200; ++i)
    {
        {
            TestRun test(package);
            ASSERT_TRUE(test.LoadBoth()) << FaultText(test.faults);
            MuteGl(i >= 5); // to save time: frames give back the names that they take
            for (uint32_t time : kTimes)
            {
                test.Draw(RunDocument::kDemo, time);
            }
            MuteGl(false);
            EXPECT_EQ(FaultText(test.faults), "");
            EXPECT_GT(test.scenesDrawn, 5u);
            EXPECT_GT(GlLiveTextures(), 0u);
            EXPECT_GT(GlLiveBuffers(), 0u);
        }
        ASSERT_EQ(GlLiveTextures(), 0u);
        ASSERT_EQ(GlLiveBuffers(), 0u);
        TakeGlCalls();
    }
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(PieceRunTest, LeavingCallsNoOpenGl)
{
    TestRun test(package);
    ASSERT_TRUE(test.LoadBoth());
    test.Draw(RunDocument::kDemo, 40);
    const size_t textures = GlLiveTextures();
    const size_t buffers = GlLiveBuffers();
    TakeGlCalls();
    LeaveRun(&test.run);
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(GlLiveTextures(), textures);
    EXPECT_EQ(GlLiveBuffers(), buffers);
    CloseRun(&test.run); // of an empty run
    EXPECT_EQ(TakeGlCalls(), "");
}

/// Calls whose names of textures and buffers are numbered in their order of appearance.
static std::string Renumber(const std::string& calls)
{
    std::map<std::string, std::string> names[2]; // textures, buffers
    std::istringstream lines(calls);
    std::string result;
    for (std::string line; std::getline(lines, line); result += line + "\n")
    {
        const std::string call = line.substr(0, line.find(' '));
        const bool isTexture = call.ends_with("Texture") || call.ends_with("Textures");
        const bool isBuffer = call.starts_with("GenBuffers") || call.starts_with("BindBuffer") ||
                              call.starts_with("DeleteBuffers");
        if (!isTexture && !isBuffer)
        {
            continue;
        }
        const size_t at = line.rfind(' ') + 1;
        const std::string name = line.substr(at);
        auto& known = names[isBuffer ? 1 : 0];
        if (name != "0")
        {
            const std::string next = "#" + std::to_string(known.size() + 1);
            line.replace(at, name.size(), known.try_emplace(name, next).first->second);
        }
    }
    return result;
}

/// One of two runs that are played in turns, or alone.
struct Player
{
    std::vector<uint32_t> times;
    std::string calls;
};

/// Takes the calls for a player.
static void TakeCalls(Player* player)
{
    player->calls += TakeGlCalls();
}

static Player PlayAlone(const std::string& package, const std::vector<uint32_t>& times)
{
    ResetGl();
    RecordGlContents(true);
    Player player = {times, ""};
    {
        TestRun test(package);
        EXPECT_TRUE(test.LoadBoth());
        for (uint32_t time : times)
        {
            test.Draw(RunDocument::kDemo, time);
        }
    }
    TakeCalls(&player);
    RecordGlContents(false);
    return player;
}

TEST_F(PieceRunTest, TwoRunsInTurnsBehaveAsEachAlone)
{
    const std::vector<uint32_t> forwards = {0, 10, 20, 31, 40, 77, 150, 399, 401};
    const std::vector<uint32_t> other = {300, 303, 306, 12, 12, 90, 180, 270, 500};
    const Player firstAlone = PlayAlone(package, forwards);
    const Player secondAlone = PlayAlone(package, other);

    ResetGl();
    RecordGlContents(true);
    Player first = {forwards, ""};
    Player second = {other, ""};
    {
        TestRun a(package);
        TestRun b(package);
        for (RunDocument document : {RunDocument::kLoading, RunDocument::kDemo})
        {
            EXPECT_EQ(a.Load(document), LoadResult::kLoaded);
            TakeCalls(&first);
            EXPECT_EQ(b.Load(document), LoadResult::kLoaded);
            TakeCalls(&second);
        }
        for (size_t i = 0; i < forwards.size(); ++i)
        {
            a.Draw(RunDocument::kDemo, first.times[i]);
            TakeCalls(&first);
            b.Draw(RunDocument::kDemo, second.times[i]);
            TakeCalls(&second);
        }
        CloseRun(&a.run);
        TakeCalls(&first);
        CloseRun(&b.run);
        TakeCalls(&second);
    }
    RecordGlContents(false);
    EXPECT_TRUE(Renumber(first.calls) == Renumber(firstAlone.calls));
    EXPECT_TRUE(Renumber(second.calls) == Renumber(secondAlone.calls));
    EXPECT_FALSE(Renumber(first.calls) == Renumber(second.calls));
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(PieceRunTest, ItemsReachOpenGlInTheOrderOfTheDocument)
{
    TestRun test(package);
    ASSERT_EQ(test.Load(RunDocument::kLoading), LoadResult::kLoaded);
    TakeGlCalls();
    ASSERT_EQ(LoadRunDocument(&test.run, RunDocument::kDemo, nullptr), LoadResult::kLoaded);
    std::istringstream lines(TakeGlCalls());
    std::string order;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("TexImage2D TEXTURE_2D 0") || line.starts_with("BufferData ARRAY"))
        {
            order += line.substr(0, line.rfind(" ?")) + "\n";
        }
    }
    EXPECT_EQ(order, "TexImage2D TEXTURE_2D 0 3 256 256 0 RGB UNSIGNED_BYTE\n"
                     "TexImage2D TEXTURE_2D 0 3 256 256 0 RGB UNSIGNED_BYTE\n"
                     "BufferData ARRAY_BUFFER 36\n"
                     "BufferData ARRAY_BUFFER 24\n"
                     "BufferData ARRAY_BUFFER 36\n"
                     "BufferData ARRAY_BUFFER 48\n"
                     "BufferData ARRAY_BUFFER 32\n"
                     "BufferData ARRAY_BUFFER 32\n"
                     "BufferData ARRAY_BUFFER 48\n"
                     "TexImage2D TEXTURE_2D 0 1 64 64 0 LUMINANCE UNSIGNED_BYTE 0\n"
                     "TexImage2D TEXTURE_2D 0 3 64 64 0 RGB UNSIGNED_BYTE 0\n"
                     "TexImage2D TEXTURE_2D 0 1 64 64 0 LUMINANCE UNSIGNED_BYTE 0\n"
                     "TexImage2D TEXTURE_2D 0 3 64 64 0 RGB UNSIGNED_BYTE 0\n"
                     "TexImage2D TEXTURE_2D 0 3 4 4 0 RGB UNSIGNED_BYTE\n"
                     "TexImage2D TEXTURE_2D 0 4 4 4 0 RGBA UNSIGNED_BYTE\n");
}

TEST_F(PieceRunTest, UploadsGoToTheUnitThatATickLeftSelected)
{
    TestRun test(package);
    ASSERT_EQ(test.Load(RunDocument::kLoading), LoadResult::kLoaded);
    glActiveTextureARB(GL_TEXTURE1); // as a tick leaves it that ends with two bitmaps
    TakeGlCalls();
    ASSERT_EQ(LoadRunDocument(&test.run, RunDocument::kDemo, nullptr), LoadResult::kLoaded);
    const std::string calls = TakeGlCalls();
    EXPECT_EQ(calls.find("ActiveTexture"), std::string::npos);
    GlState state;
    ApplyGlCalls("ActiveTextureARB TEXTURE1\n" + calls, &state);
    EXPECT_EQ(GlValue(state, "unit0 texture"), "unset");
    EXPECT_NE(GlValue(state, "unit1 texture"), "unset");
    EXPECT_EQ(GlRefusedCalls(), 0u);
}

TEST_F(PieceRunTest, TheLoadingScreenUsesNoBuffersOrSizesOfAnyKind)
{
    TestRun test(package);
    ASSERT_EQ(test.Load(RunDocument::kLoading), LoadResult::kLoaded);
    test.Draw(RunDocument::kLoading, 40);
    EXPECT_EQ(GlLiveBuffers(), 0u);
    EXPECT_EQ(TakeGlCalls().find("Buffer "), std::string::npos);

    const GlFeatures loading = RunSources(&test.run, RunDocument::kLoading).features;
    EXPECT_EQ(loading.vbo, 0);
    EXPECT_EQ(loading.pbo, 0);
    EXPECT_EQ(loading.npot, 0);
    EXPECT_EQ(loading.dot3, 1);
    const GlFeatures demo = RunSources(&test.run, RunDocument::kDemo).features;
    EXPECT_EQ(demo.vbo, 1);
    EXPECT_EQ(demo.pbo, 1);
    EXPECT_EQ(demo.npot, 1);
    EXPECT_EQ(demo.dot3, 1);
}

TEST_F(PieceRunTest, ADocumentThatIsMissingIsNoFault)
{
    const std::string empty = MakePackage({});
    TestRun test(empty);
    for (RunDocument document : {RunDocument::kLoading, RunDocument::kDemo})
    {
        EXPECT_EQ(test.Load(document), LoadResult::kMissing);
        test.Draw(document, 0);
    }
    EXPECT_EQ(FaultText(test.faults), "");
    EXPECT_EQ(test.scenesDrawn, 0u);
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(PieceRunTest, AFaultEndsLoadingAndNothingIsLost)
{
    DocumentSource demo = SmallDocument();
    demo.sections[5] += "<e name=\"\" type=\"1\" bpp=\"8\"><p>77</p></e>";
    package = SmallPieceOf(SmallDocument(), demo);
    {
        TestRun test(package);
        EXPECT_FALSE(test.LoadBoth());
        EXPECT_EQ(FaultText(test.faults), "quorvale: demo.xmlz, section 5 (2D effects), item 5, "
                                          "parameter 1: envelope 77 does not exist\n");
    }
    EXPECT_EQ(GlLiveTextures(), 0u);
    EXPECT_EQ(GlLiveBuffers(), 0u);
}

TEST_F(PieceRunTest, AFaultOfTheLoadingScreenEndsTheDemosLoading)
{
    DocumentSource loading = SmallDocument();
    loading.sections[5] = ""; // materials name its effects
    package = SmallPieceOf(loading, SmallDocument());
    TestRun test(package);
    EXPECT_FALSE(test.LoadBoth());
    EXPECT_EQ(test.faults.count, 1u);
    EXPECT_EQ(test.itemsSeen, 1u);
    EXPECT_STREQ(GetFault(&test.faults, 0)->place.document, "loading.xmlz");
}

/// Counts what a watcher sees.
struct Watch
{
    uint32_t looks;
    uint32_t items;
};

TEST_F(PieceRunTest, AWatcherSeesEachLookAndEachItem)
{
    Watch watch = {};
    const LoadWatcher watcher = {[](void* user) { static_cast<Watch*>(user)->looks += 1; },
                                 [](void* user) { static_cast<Watch*>(user)->items += 1; }, &watch};
    TestRun test(package);
    ASSERT_EQ(LoadRunDocument(&test.run, RunDocument::kDemo, &watcher), LoadResult::kLoaded);
    EXPECT_EQ(watch.items, CountItems(&test.run.piece.demo));
    EXPECT_EQ(watch.looks, watch.items + 2); // the document itself, and the end

    watch = {};
    DocumentSource demo = SmallDocument();
    demo.sections[6] += "<b filename=\"missing\"/>";
    const std::string broken = SmallPieceOf(SmallDocument(), demo);
    TestRun second(broken);
    ASSERT_EQ(LoadRunDocument(&second.run, RunDocument::kDemo, &watcher), LoadResult::kFailed);
    EXPECT_EQ(watch.looks, watch.items + 2); // the document, and the look that failed
    EXPECT_GT(second.run.piece.package.lineCount, 0u);
}

TEST_F(PieceRunTest, PixelsStayInTheRecordsOnRequest)
{
    for (bool keep : {false, true})
    {
        TestRun test(package);
        test.run.keepPixels = keep;
        ASSERT_EQ(test.Load(RunDocument::kDemo), LoadResult::kLoaded);
        const DemoDocument& demo = test.run.piece.demo;
        EXPECT_EQ(GetRecord<BitmapTexture>(1, demo.bitmaps)->pixels != nullptr, keep);
        EXPECT_EQ(GetRecord<ProceduralTexture>(1, demo.textures)->pixels, nullptr);
    }
}
