// SPDX-License-Identifier: MIT

// The calls of OpenGL that a picture makes, counted and timed beside the engine: the program is
// linked so that the calls of a frame come through here on their way to the driver (--wrap, see
// CMakeLists.txt). The same goes for the two routines that simulate. The player has none of it.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/data/fault.h"
#include "studio/logic/frame_cost.h"

/// A clip that is drawn, with the names of the textures that it binds.
struct CountedClip
{
    ClipCost cost;
    std::vector<uint32_t> textures;
};

struct GlCounts
{
    const Place* place; // of the faults of the frame, which tells the clip; borrowed
    std::vector<CountedClip> clips;
    size_t clip;           // place in clips
    uint64_t callNs;       // in all counted calls
    uint64_t simulationNs; // in what simulates, its calls of OpenGL left out
};

/// Counts all calls of this thread from now on.
/// @param counts   stays where it is until StopCounting
void StartCounting(const Place* place, GlCounts* counts);
void StopCounting();

/// From now on no call of this thread's frames reaches OpenGL, and meshes are not simulated: they
/// are counted alone. For a copy of the program, whose OpenGL belongs to the window's.
void SilenceCalls();

/// @return nanoseconds of a clock that never goes back
uint64_t NowNs();
