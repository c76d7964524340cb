// SPDX-License-Identifier: MIT

// Stretches of a piece whose pictures are all black or all white.
//
// Whoever can draw looks at pictures of a piece at regular times and hands over how blank each is.
// Black and white may be off by 2 of 255. A stretch counts from more than two seconds on. Black at
// the begin or the end of a piece is a fade and a note; all else is a warning.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/check/finding.h"

enum class Blankness : uint8_t
{
    kShowsSomething,
    kBlack,
    kWhite,
};

/// Judges one picture.
/// @param rgb    three bytes a pixel
/// @param size   bytes, at least 3
Blankness JudgePicture(const uint8_t* rgb, size_t size);

/// Adds a finding for each blank stretch of the demo document.
/// @param pictures   in the order of their times, `step` ticks apart, the first at tick 0
/// @param endTick    the tick that ends the piece
void AddBlankStretches(const std::vector<Blankness>& pictures, uint32_t step, uint32_t endTick,
                       FindingList* findings);
