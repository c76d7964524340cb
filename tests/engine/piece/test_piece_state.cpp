// SPDX-License-Identifier: MIT
#include "engine/piece/piece_state.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/piece/opened_piece.h"
#include "support/failing_memory.h"
#include "support/small_piece.h"

static constexpr uint32_t kMiddle = 50; // ticks
static constexpr uint32_t kEnd = 100;   // ticks

/// Plays a piece by its state.
/// @return all that was seen
static std::string Play(OpenedPiece* opened, PieceState* state, uint32_t begin, uint32_t end)
{
    std::string seen;
    for (uint32_t time = begin; time < end; time += 2)
    {
        seen += opened->Move(state, time);
    }
    return seen;
}

TEST(PieceState, StartsEmptyWithRandomNumbersFromSeedOne)
{
    PieceState state;
    StartPieceState(&state);
    EXPECT_EQ(state.demo.envelopes, nullptr);
    EXPECT_EQ(state.loading.effectCount, 0u);
    EXPECT_EQ(NextRandom(&state.random), 1804289383); // the first number of the C library's rand
    FreePieceState(&state);
}

TEST(PieceState, AmobaSeedsTheRandomNumbersWhenItIsRead)
{
    DocumentSource document = SmallDocument();
    OpenedPiece with(SmallPieceOf(document, document), false);
    RandomSequence random;
    SeedRandom(&random, 5);
    for (int i = 0; i < 20; ++i) // ten cells, two numbers each
    {
        NextRandom(&random);
    }
    EXPECT_EQ(memcmp(&with.state.random, &random, sizeof(random)), 0);

    document.sections[5] = "<e name=\"\" type=\"3\" bpp=\"8\"><p>1</p></e>";
    OpenedPiece without(SmallPieceOf(document, document), false);
    SeedRandom(&random, 1);
    EXPECT_EQ(memcmp(&without.state.random, &random, sizeof(random)), 0);
}

TEST(PieceState, HoldsEveryItemOfALargeDocument)
{
    DocumentSource document = SmallDocument();
    for (int i = 0; i < 100; ++i)
    {
        document.sections[3] += "<e type=\"0\" loop_type=\"0\" loop_begin=\"0\" loop_end=\"0\"/>";
        document.sections[8] += "<g type=\"1\"><p>0</p></g>";
    }
    OpenedPiece opened(SmallPieceOf(document, document), false);
    EXPECT_EQ(opened.state.demo.envelopeCount, 105u);
    EXPECT_EQ(opened.state.demo.envelopes[104].lastTime, kNothingCached);
    EXPECT_EQ(opened.state.demo.genMeshCount, 103u);
    EXPECT_EQ(opened.state.demo.genMeshes[102].wave.lastTime, -1.0f);
}

TEST(PieceState, ACopyPlaysOnLikeItsOriginal)
{
    OpenedPiece opened(SmallPiece(), false);
    Play(&opened, &opened.state, 0, kMiddle);

    PieceState copy = {};
    ASSERT_TRUE(CopyPieceState(&opened.state, &copy, &opened.faults));
    const std::string byCopy = Play(&opened, &copy, kMiddle, kEnd);
    const std::string byOriginal = Play(&opened, &opened.state, kMiddle, kEnd);
    EXPECT_TRUE(byCopy == byOriginal); // so the copy has changed nothing of the original
    FreePieceState(&copy);
}

TEST(PieceState, AMomentThatWasKeptCanBeComeBackToAgainAndAgain)
{
    OpenedPiece opened(SmallPiece(), false);
    Play(&opened, &opened.state, 0, kMiddle);
    PieceState kept = {};
    ASSERT_TRUE(CopyPieceState(&opened.state, &kept, &opened.faults));
    const std::string once = Play(&opened, &opened.state, kMiddle, kEnd);
    for (int round = 0; round < 3; ++round)
    {
        ASSERT_TRUE(CopyPieceState(&kept, &opened.state, &opened.faults));
        EXPECT_TRUE(Play(&opened, &opened.state, kMiddle, kEnd) == once);
    }
    FreePieceState(&kept);
}

TEST(PieceState, ACopyOutlivesItsOriginal)
{
    OpenedPiece opened(SmallPiece(), false);
    PieceState copy = {};
    ASSERT_TRUE(CopyPieceState(&opened.state, &copy, &opened.faults));
    const std::string seen = Play(&opened, &opened.state, 0, kMiddle);
    FreePieceState(&opened.state);
    EXPECT_TRUE(Play(&opened, &copy, 0, kMiddle) == seen);
    FreePieceState(&copy);
}

TEST(PieceState, ACopyOverOneOfTheSamePieceTakesNoMemory)
{
    OpenedPiece opened(SmallPiece(), false);
    PieceState copy = {};
    ASSERT_TRUE(CopyPieceState(&opened.state, &copy, &opened.faults));
    Play(&opened, &opened.state, 0, kMiddle);
    FailAllocation(UINT64_MAX);
    EXPECT_TRUE(CopyPieceState(&opened.state, &copy, &opened.faults));
    EXPECT_EQ(AllowAllocations(), 0u);
    FreePieceState(&copy);
}

TEST(PieceState, ACopyOverAnotherPiecesStateIsWhole)
{
    DocumentSource other = SmallDocument();
    other.sections[5] = "";
    other.sections[8] += "<g type=\"0\"><p>0</p></g><g type=\"0\"><p>0</p></g>";
    OpenedPiece a(SmallPiece(), false);
    OpenedPiece b(SmallPieceOf(other, other), false);
    ASSERT_TRUE(CopyPieceState(&a.state, &b.state, &b.faults));
    EXPECT_TRUE(Play(&a, &a.state, 0, kMiddle) == Play(&a, &b.state, 0, kMiddle));
}

TEST(PieceState, ACopyWithoutMemoryIsAFaultAndCanBeFreed)
{
    OpenedPiece opened(SmallPiece(), false);
    const int64_t before = LiveBlocks();
    for (uint64_t k = 1;; ++k)
    {
        FaultList faults;
        StartFaults(&faults);
        PieceState copy = {};
        FailAllocation(k);
        const bool copied = CopyPieceState(&opened.state, &copy, &faults);
        const uint64_t asked = AllowAllocations();
        FreePieceState(&copy);
        EXPECT_EQ(copied, asked < k);
        EXPECT_EQ(faults.count, copied ? 0u : 1u);
        EXPECT_EQ(LiveBlocks(), before);
        FreeFaults(&faults);
        if (copied)
        {
            EXPECT_GT(k, 10u);
            break;
        }
        EXPECT_EQ(asked, k); // nothing was asked for after it
    }
}
