// SPDX-License-Identifier: MIT

// A package played from start to end through the recorded OpenGL, as a player with all features and
// with music on plays it.
#pragma once

#include <string>

enum class PlayedTo : unsigned char
{
    kEnd,   // without a fault
    kFault, // of opening, loading or drawing
    kNever, // after so many ticks it still plays
};

/// The ticks after which a piece that still plays is left alone.
inline constexpr unsigned int kPlayedTicks = 3000;

/// Relies on CosTable and CornerMasks. Leaves OpenGL muted.
/// @param fault   receives the line of the fault
PlayedTo PlayPackage(const std::string& package, std::string* fault);
