// SPDX-License-Identifier: MIT

// A document played from start to end without drawing it: which of its faults a player would meet.
//
// A frame meets a fault where it asks for a record that is not there, or makes more copies than a
// picture may have. Whether it asks depends on the tick: on the clip of each row, and on what is
// visible then. So the walk goes through the ticks in their order and asks for what a frame asks
// for, in the order of a frame. It needs no OpenGL. It does not stop at a fault: what is missing
// counts as 0.0, so that one walk finds all.
#pragma once

#include <cstdint>
#include <set>
#include <tuple>
#include <vector>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

/// A fault that a frame meets: a reference that names nothing, or too many copies.
struct MetFault
{
    Section section; // of the reference
    uint32_t item;   // the same, counted from 1
    uint32_t part;   // the same: object, clip, parameter; 0 for the whole item
    Section target;  // the section that lacks the record; kNone for too many copies
    uint32_t id;     // the record that is not there

    bool operator<(const MetFault& other) const
    {
        return std::tie(section, item, part, target, id) <
               std::tie(other.section, other.item, other.part, other.target, other.id);
    }
};

/// The ticks that a walk goes through at most: those of the timeline's index, and what a last clip
/// may run on after it.
inline constexpr uint32_t kMostWalkedTicks = 1u << 17;

/// The result of a walk.
struct PlayResult
{
    std::set<MetFault> met;
    uint32_t endTick; // the first tick without a scene, which ends a piece
    bool hasEnd;      // there is one among the ticks that are walked
    std::vector<uint8_t> seenClips[kTimelineRows]; // [clip], whether a frame shows it
    std::vector<uint8_t> drawnScenes;              // [id - 1], the same
    uint32_t openTick; // the first frame that ends inside a target; kNoTick if there is none
    uint32_t openRow;  // from 0, the row that opened it
    uint32_t openClip; // from 0, its clip
};

inline constexpr uint32_t kNoTick = 0xFFFFFFFF;

/// Walks the demo from tick 0 to the tick that ends it.
/// @param document   read; items whose reading failed hold what was read of them
void WalkDemo(const DemoDocument* document, PlayResult* result);

/// Walks a loading document through every progress that a demo of so many items can show.
void WalkLoading(const DemoDocument* document, uint32_t demoItems, PlayResult* result);
