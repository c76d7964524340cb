// SPDX-License-Identifier: MIT

// The timeline: 32 rows of clips laid end to end, one flat block. A frame draws at most one clip of
// each row, row 0 first.
//
// All times are ticks of 10 ms, unsigned 32-bit. A row has an index by second: the clip to begin
// the search at for ticks 100 s to 100 s + 99.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/vocabulary_numbers.h"

struct FaultList;

inline constexpr uint32_t kEmptySlot = 0xFFFFFFFF; // reserved marker; the reader never stores it

/// An animated value in column form: slot and flag of each clip.
struct ClipValues
{
    uint32_t slot[kTimelineRows][kTimelineClips];
    uint8_t dynamic[kTimelineRows][kTimelineClips]; // 1: the slot is an envelope id; 0: a float
};

struct Timeline
{
    uint32_t clipCount[kTimelineRows];
    uint32_t sceneId[kTimelineRows][kTimelineClips];     // 0 draws nothing
    uint32_t spaceBefore[kTimelineRows][kTimelineClips]; // ticks of gap before the clip
    uint32_t offset[kTimelineRows][kTimelineClips];      // ticks added to clip-local time
    uint32_t length[kTimelineRows][kTimelineClips];      // ticks, without spaceBefore
    int32_t passKind[kTimelineRows][kTimelineClips];     // PassKind
    ClipValues cameraX, cameraY, cameraZ;
    ClipValues cameraRotX, cameraRotY, cameraRotZ;         // degrees
    uint32_t fov[kTimelineRows][kTimelineClips];           // degrees, vertical; see projectionKind
    uint8_t projectionKind[kTimelineRows][kTimelineClips]; // ProjectionKind
    float passParams[kTimelineRows][kTimelineClips][8];    // the first: target bitmap id, 0.0 none
    int8_t fogMode[kTimelineRows][kTimelineClips];         // fog is on above 0
    ClipValues fogDensity, fogStart, fogEnd;               // unset where fog is off
    uint32_t fogColorMaterial[kTimelineRows][kTimelineClips]; // 0 is white
    uint32_t slotIndex[kTimelineRows][kTimelineSeconds];
    uint32_t clipEnd[kTimelineRows][kTimelineClips]; // absolute end tick, inclusive
    uint32_t rowEnd[kTimelineRows];                  // largest clipEnd; read by nothing
};

/// @return a new zeroed block for free(); null after a fault without a place if there is no memory
Timeline* CreateTimeline(FaultList* faults);

/// Clears what a reader counts on: clipCount, rowEnd, clipEnd and slotIndex of all rows.
void InitializeTimeline(Timeline* timeline);

/// Notes where a clip lies. Slots past the block's 1024 seconds are left out: a search past them
/// starts at the last slot.
/// @param start, end   absolute ticks
/// @param clip, row    from 0
void AddClipToIndex(uint32_t start, uint32_t end, uint32_t clip, uint32_t row, Timeline* timeline);

/// Finds the clip of a row at a time, through the index by second.
/// @param second   of the time, at most kTimelineSeconds - 1
/// @param local    receives the ticks since the clip began
/// @return false in the gap before a clip and past the row's end
bool FindClip(const Timeline* timeline, uint32_t row, uint32_t second, uint32_t time,
              uint32_t* clip, uint32_t* local);

/// Section 10, one row: reads all its clips.
/// @param index   the row, below kTimelineRows: those after are not read
/// @return false after a fault: more than 1024 clips, a missing attribute or child
bool ReadTimelineRow(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

/// Section 10, before its rows: clears the block of demo.xmlz (that of loading.xmlz is cleared when
/// it is made).
bool BeginTimeline(ReadContext* context);

/// Section 10, after its rows: a fault if there was none.
bool EndTimeline(ReadContext* context);
