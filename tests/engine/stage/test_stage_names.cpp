// SPDX-License-Identifier: MIT

// Stages leave nothing in OpenGL when they are closed: here on one that keeps books.
#include <gtest/gtest.h>
#include <string>

#include "engine/data/cos_table.h"
#include "engine/stage/stage.h"
#include "engine/stage/stage_documents.h"
#include "engine/textures/corner_masks.h"
#include "support/recorded_gl.h"
#include "support/small_piece.h"

static constexpr StageView kView = {160, 120, 1.3333334f, {1, 1, 1, 1}};

class StageNames : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        StartFaults(&faults);
        BuildCosTable();
        BuildCornerMasks();
    }

    void TearDown() override
    {
        EXPECT_EQ(GlLiveTextures(), 0u);
        EXPECT_EQ(GlLiveBuffers(), 0u);
        EXPECT_EQ(GlRefusedCalls(), 0u);
        FreeFaults(&faults);
    }

    void Open(const std::string& package, Stage* stage)
    {
        const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                    package.size(), true};
        opened = OpenStage(&source, &kView, stage, &faults);
    }

    FaultList faults;
    bool opened = false;
};

/// A document whose bitmaps are resized and shown as loaded.
static std::string ResizingPiece()
{
    DocumentSource demo;
    demo.sections[2] = "<m filename=\"square\"/>";
    demo.sections[6] = "<b filename=\"noise.tga\"/><b filename=\"wide.tga\"/>";
    demo.sections[7] =
        MaterialOf(7, {"1", "1", "1", "1"}, {1}) + MaterialOf(7, {"1", "1", "1", "1"}, {2});
    demo.sections[9] = SceneOf({{.material = 1}, {.material = 2}});
    demo.sections[10] =
        RowOf({{.scene = 1, .length = 100}, {.scene = 1, .length = 100, .pass = 5, .target = 1}}) +
        RowOf({{.scene = 1, .length = 100}, {.scene = 1, .length = 100, .pass = 5, .target = 2}}) +
        RowOf({{.scene = 1, .length = 200}});
    return PackageOf(demo, &demo);
}

TEST_F(StageNames, AreGivenBack200Times)
{
    const std::string packages[] = {SmallPiece(), ResizingPiece()};
    Stage stage;
    for (uint32_t i = 0; i < 200; ++i)
    {
        Open(packages[i % 2], &stage);
        ASSERT_TRUE(opened) << faults.first.text;
        EXPECT_GT(GlLiveTextures(), 0u);
        for (const uint32_t tick : {0u, 150u + i, 40u})
        {
            ASSERT_TRUE(SeekPiece(&stage, tick, 10, &faults)) << faults.first.text;
        }
        ASSERT_TRUE(ShowLoadingScreen(&stage, 50, &faults));
        CloseStage(&stage);
        ASSERT_EQ(GlLiveTextures(), 0u);
        ASSERT_EQ(GlLiveBuffers(), 0u);
        TakeGlCalls();
    }
    CloseStage(&stage); // for nothing
}

TEST_F(StageNames, AreGivenBackInAnyOrder)
{
    Stage first;
    Stage second;
    Open(SmallPiece(), &first);
    Open(ResizingPiece(), &second);
    for (const uint32_t tick : {150u, 50u})
    {
        EXPECT_TRUE(SeekPiece(&first, tick, 10, &faults));
        EXPECT_TRUE(SeekPiece(&second, tick, 10, &faults));
    }
    CloseStage(&first);
    EXPECT_TRUE(SeekPiece(&second, 160, 10, &faults));
    CloseStage(&second);
}

TEST_F(StageNames, AreGivenBackAfterFaults)
{
    DocumentSource demo = SmallDocument();
    demo.sections[10] += "<row><c id=\"99\" space_before=\"0\" length=\"100\" offset=\"0\" "
                         "type=\"0\">";
    for (int i = 0; i < 6; ++i)
    {
        demo.sections[10] += "<v type=\"static\" value=\"0\"/>";
    }
    demo.sections[10] += "<f type=\"ortographic\"/><f type=\"0\"/></c></row>";
    Stage stage;
    Open(SmallPieceOf(SmallDocument(), demo), &stage);
    ASSERT_TRUE(opened) << faults.first.text;
    EXPECT_FALSE(SeekPiece(&stage, 50, 10, &faults));
    CloseStage(&stage);

    // A piece that can't be loaded is closed as well.
    FreeFaults(&faults);
    demo.sections[9] = "<s><o/></s>";
    Open(SmallPieceOf(SmallDocument(), demo), &stage);
    EXPECT_FALSE(opened);
    CloseStage(&stage);
}
