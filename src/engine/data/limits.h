// SPDX-License-Identifier: MIT

// How much a piece may take of a machine. Each limit lies far above all that pieces need, and is
// checked before the memory is taken, so that a small package can't fill a machine.
#pragma once

#include <cstdint>

#include "engine/data/fault.h"

inline constexpr uint32_t kMostPackageEntries = 1000000;   // of a package's directory
inline constexpr uint32_t kLargestInflatedSize = 1u << 30; // bytes, of one entry
inline constexpr uint64_t kPieceBytes = uint64_t{1} << 30; // bytes, of the largest PieceBudget
inline constexpr uint32_t kLargestText = 64u << 20;        // bytes, of a document
inline constexpr uint32_t kMostNodes = 1000000;            // of a document, attributes included
inline constexpr uint32_t kMostAttributes = 64;            // of an element; a document needs 7
inline constexpr uint32_t kDeepestNesting = 1000;          // elements; a document needs 6

/// Bytes that a piece may take: 256 MiB and 64 for each byte of its package, up to kPieceBytes. A
/// package of some hundred kilobytes is no reason to fill a machine.
inline constexpr uint64_t PieceBytesOf(uint64_t packageSize)
{
    const uint64_t bytes = (uint64_t{256} << 20) + 64 * packageSize;
    return packageSize > kPieceBytes || bytes > kPieceBytes ? kPieceBytes : bytes;
}

/// The bytes that a piece may still take for inflated entries, trees of documents and pixels, all
/// together.
struct PieceBudget
{
    uint64_t bytesLeft;
    uint64_t leastLeft; // that bytesLeft has come down to since this was set to it
};

/// Takes bytes out of the budget, before they are allocated.
/// @return false, with a fault, if the budget has less
bool TakeFromBudget(PieceBudget* budget, uint64_t bytes, FaultList* faults);

/// Puts bytes back that were freed.
inline void ReturnToBudget(PieceBudget* budget, uint64_t bytes)
{
    budget->bytesLeft += bytes;
}
