// How much a piece may take of a machine. Each limit lies far above all that pieces need, and is
// checked before the memory is taken, so that a small package can't fill a machine.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"

inline constexpr uint32_t kMostPackageEntries = 1000000;   // of a package's directory
inline constexpr uint32_t kLargestInflatedSize = 1u << 30; // bytes, of one entry
inline constexpr uint64_t kPieceBytes = uint64_t{1} << 30; // bytes, see PieceBudget
inline constexpr uint32_t kLargestText = 64u << 20;        // bytes, of a document
inline constexpr uint32_t kMostNodes = 1000000;            // of a document, attributes included
inline constexpr uint32_t kMostAttributes = 64;            // of an element; a document needs 7
inline constexpr uint32_t kDeepestNesting = 1000;          // elements; a document needs 6

/// What a piece may still take for inflated entries and for pixels, all of them together.
struct PieceBudget
{
    uint64_t bytesLeft;
};

/// Takes bytes out of the budget, before they are allocated.
/// @return false, with a fault, if the budget has less
bool TakeFromBudget(PieceBudget* budget, uint64_t bytes, FaultList* faults);

/// Puts bytes back that were freed.
inline void ReturnToBudget(PieceBudget* budget, uint64_t bytes)
{
    budget->bytesLeft += bytes;
}
