// SPDX-License-Identifier: MIT

// The price of dividing a film of the sample piece into parts: frames that two parts draw.
// OpenGL does nothing here, so the frames are counted and not drawn.
#include <gtest/gtest.h>

#include "engine/data/cos_table.h"
#include "engine/stage/stage.h"
#include "engine/textures/corner_masks.h"

static constexpr uint32_t kPictures = 5760; // two minutes, 48 a second
static constexpr uint32_t kParts = 8;

/// @return the frames that a stretch of the film draws, from a piece just loaded
static uint32_t DrawStretch(uint32_t first, uint32_t end)
{
    FaultList faults;
    StartFaults(&faults);
    const PieceSource source = {PACKAGE, nullptr, 0, false};
    const StageView view = {320, 180, 1.7777778f, {1, 1, 1, 1}};
    Stage stage;
    uint32_t drawn = 0;
    EXPECT_TRUE(OpenStage(&source, &view, &stage, &faults)) << faults.first.text;
    for (uint32_t n = first; n < end && !HasFailed(&faults); ++n)
    {
        EXPECT_TRUE(SeekPiece(&stage, n * 100 / 48, 1, &faults)) << faults.first.text;
        drawn += stage.result.drawnFrames;
    }
    CloseStage(&stage);
    FreeFaults(&faults);
    return drawn;
}

TEST(PartsCost, EightPartsDrawAtMostThreeTenthsMore)
{
    BuildCosTable();
    BuildCornerMasks();
    const uint32_t whole = DrawStretch(0, kPictures);
    EXPECT_GE(whole, kPictures);
    uint32_t parts = 0;
    for (uint32_t i = 0; i < kParts; ++i)
    {
        parts += DrawStretch(kPictures * i / kParts, kPictures * (i + 1) / kParts);
    }
    RecordProperty("whole", static_cast<int>(whole));
    RecordProperty("parts", static_cast<int>(parts));
    EXPECT_GE(parts, whole);
    EXPECT_LE(parts * 10, whole * 13);
}
