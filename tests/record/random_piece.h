// Pieces made of random numbers, which hold whatever the format has: layers and textures of every
// kind, models, envelopes, all material recipes, manipulators, passes. A seed always makes the same
// piece, on every machine. Most of them play to their end; the others have faults.
#pragma once

#include <cstdint>

#include "record/player_run.h"

/// @return a piece and how it is played: window, switches, what OpenGL offers, pace, end
PlayerRun MakeRandomRun(uint32_t seed);
