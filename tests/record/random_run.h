// SPDX-License-Identifier: MIT

// Random pieces, played in random ways.
#pragma once

#include <cstdint>

#include "record/player_run.h"

/// @return a piece and how it is played: window, switches, what OpenGL offers, pace, end. A seed
///         always makes the same run.
PlayerRun MakeRandomRun(uint32_t seed);
