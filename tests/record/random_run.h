// SPDX-License-Identifier: MIT

// Random pieces, played in random ways.
#pragma once

#include <cstdint>

#include "record/player_run.h"
#include "record/random_piece.h"

/// @return a piece and how it is played: window, switches, what OpenGL offers, pace, end. A seed
///         always makes the same run.
/// @param edit   as in MakeRandomPiece
PlayerRun MakeRandomRun(uint32_t seed, PieceEdit edit = nullptr);
