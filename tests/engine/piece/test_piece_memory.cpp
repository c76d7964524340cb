// SPDX-License-Identifier: MIT

// Opening a piece while memory runs out, at each allocation in turn.
#include <cstdint>
#include <gtest/gtest.h>
#include <string>

#include "engine/piece/opened_piece.h"
#include "support/failing_memory.h"
#include "support/small_piece.h"

/// An allocation that fails.
struct Shortage
{
    uint64_t k; // counted from 1
    bool stays; // and all after it fail too
};

/// @return whether there were so many allocations
static bool OpenWithout(Shortage shortage, const std::string& package, bool computePixels)
{
    const uint64_t k = shortage.k;
    const int64_t before = LiveBlocks();
    FaultList faults;
    StartFaults(&faults);
    Piece piece;
    PieceState state;
    const PieceSource source = {nullptr, reinterpret_cast<const unsigned char*>(package.data()),
                                package.size(), computePixels};
    shortage.stays ? FailAllocationsFrom(k) : FailAllocation(k);
    const bool isOpen = OpenPiece(&source, &piece, &state, &faults);
    const bool hasFailed = AllowAllocations() >= k;
    EXPECT_EQ(isOpen, !hasFailed) << "allocation " << k;
    EXPECT_EQ(HasFailed(&faults), hasFailed) << "allocation " << k;
    EXPECT_EQ(faults.count, hasFailed ? 1u : 0u) << "allocation " << k;
    ClosePiece(&piece);
    FreePieceState(&state);
    FreeFaults(&faults);
    EXPECT_EQ(LiveBlocks() - before, 0) << "allocation " << k;
    return hasFailed;
}

/// A loading document with as little as there can be.
static DocumentSource BareDocument()
{
    DocumentSource source;
    source.sections[10] = "<row/>";
    source.music = "<m/>";
    return source;
}

TEST(PieceMemory, EveryAllocationThatFailsIsAFaultAndLeaksNothing)
{
    OpenedPiece first(SmallPiece()); // the tables that a program builds once
    const std::string package = SmallPieceOf(BareDocument(), SmallDocument());
    for (const bool stays : {false, true})
    {
        uint64_t k = 1;
        while (OpenWithout({k, stays}, package, false) && !HasFailure())
        {
            k += 1;
        }
        EXPECT_GT(k, 50u);
    }
}

TEST(PieceMemory, SoIsEveryOneOfTheRecordsAndTheirPixels)
{
    OpenedPiece first(SmallPiece());
    DocumentSource few = BareDocument();
    const DocumentSource small = SmallDocument();
    for (const size_t section : {0u, 1u, 6u})
    {
        few.sections[section] = small.sections[section];
    }
    const std::string package = SmallPieceOf(BareDocument(), few);
    for (const bool stays : {false, true})
    {
        uint64_t k = 1;
        while (OpenWithout({k, stays}, package, true) && !HasFailure())
        {
            k += 1;
        }
        EXPECT_GT(k, 50u);
    }
}
