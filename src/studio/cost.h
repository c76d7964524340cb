// SPDX-License-Identifier: MIT

// The cost of the pictures that the window shows.
#pragma once

#include "studio/build/child.h"
#include "studio/gl_counts.h"
#include "studio/logic/frame_cost.h"

struct Studio;

/// The parts of a seek that were left before its picture was there.
struct LeftParts
{
    uint32_t tick; // that is sought
    uint32_t parts;
    uint64_t begunNs;              // when the first of them began
    uint64_t wholeNs;              // that they took together
    uint64_t callNs, simulationNs; // of that
};

struct StudioCost
{
    GlCounts counts;     // of the picture that is drawn, or was last; of the last part of its seek
    uint64_t begunNs;    // when that part began
    LeftParts left;      // of its seek
    FrameCost frame;     // of it
    bool isOpen;         // it is drawn, and not swapped yet
    CostHistory history; // of the piece that plays
    PieceCost piece;     // the same
    CostSources sources; // of its graph; none before it is counted
    bool isCounted;      // draws, triangles and textures of the piece are whole
    Child counter;       // counts its state calls; none before and after
    bool hasCounter;     // it was started
};

/// Another piece took over, or its values or rows changed: the graph begins anew.
/// @param keepsHistory   the last pictures stay
void RestartCost(Studio* studio, bool keepsHistory);

/// Around the drawing of a picture, or a part of its seek.
/// @param faults   of the drawing; their place tells the clips
void BeginCost(Studio* studio, uint32_t tick, const FaultList* faults);

/// The seek was left, and goes on later.
void LeaveCost(Studio* studio);

/// The picture is drawn.
void EndCost(Studio* studio, uint32_t tick);

/// The window has swapped.
void NoteSwap(Studio* studio);

/// Counts a little of the piece's graph while it is shown, for less than the time of a picture.
/// @return whether there is more of it to draw
bool CountMore(Studio* studio);
