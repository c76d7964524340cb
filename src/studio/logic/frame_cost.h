// SPDX-License-Identifier: MIT

// The cost of pictures: what each clip asks of OpenGL at a tick, counted from the records without
// drawing, and what pictures were measured to take.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/data/demo_document.h"
#include "studio/logic/piece_fields.h"

/// The textures of a demo in OpenGL, with their smaller levels, in bytes.
struct TextureSizes
{
    uint64_t procedural;           // each of them
    std::vector<uint64_t> bitmaps; // [id - 1]
    std::vector<uint64_t> effects; // [id - 1]
};

/// All that the cost of a piece is counted from.
struct CostSources
{
    const DemoDocument* document; // borrowed, with its tree; null for none
    bool hasBuffers;              // models are drawn from buffer objects
    TextureSizes sizes;
    std::vector<std::vector<ItemRef>> textures; // [material's id - 1], that it names
};

CostSources MakeCostSources(const DemoDocument* document, bool hasBuffers, TextureSizes&& sizes);

/// The draws of a clip at a tick.
struct ClipDraws
{
    uint32_t row, clip; // from 0
    uint64_t draws;
    uint64_t triangles;
    std::vector<ItemRef> textures; // procedural ones, bitmaps and effects that it binds, each once;
                                   // also the target of the clip before that it ends
};

/// Counts what a frame of the demo draws, by the rows of the timeline. Curves are evaluated at the
/// tick alone: a curve with a piece of an unknown function, which repeats the value before, counts
/// as 0 there.
std::vector<ClipDraws> CountDraws(const CostSources* sources, uint32_t tick);

/// The graph over a whole piece.
struct PieceCost
{
    uint32_t step;                      // ticks from value to value, 1 or more
    std::vector<uint64_t> draws;        // [tick / step], as far as it was counted
    std::vector<uint64_t> triangles;    // the same
    std::vector<uint64_t> textureBytes; // the same; a texture counts once in each clip
    std::vector<uint32_t> stateCalls;   // the same; of all clips
    std::vector<uint32_t> shownUs; // [tick / step], of the picture shown there last; 0 for none
};

/// Values that a graph has at most.
inline constexpr uint32_t kMostCostValues = 2000;

/// Begins to count a piece from its start; nothing was measured of it.
void StartPieceCost(uint32_t endTick, PieceCost* cost);

/// Counts some more values.
/// @return whether all are counted
bool StepPieceCost(const CostSources* sources, uint32_t values, PieceCost* cost);

/// The measured cost of one clip of a picture.
struct ClipCost
{
    uint32_t row, clip; // from 0; kNoClip for what belongs to none
    uint32_t draws;
    uint64_t triangles;
    uint32_t stateCalls; // all others
    uint64_t textureBytes;
    uint64_t callNs; // in OpenGL's calls
};

inline constexpr uint32_t kNoClip = 0xFFFFFFFF;

/// The measured cost of one picture. Times are of the processor's one thread.
struct FrameCost
{
    uint32_t tick;
    uint64_t evaluationNs; // all that is none of the next two
    uint64_t simulationNs; // water and growing effects
    uint64_t callNs;       // in OpenGL's calls
    uint64_t swapNs;       // from the start of the picture to its end in the window
    uint32_t parts;        // of the seek that it took, 1 or more: the times are those of all
    std::vector<ClipCost> clips;
};

/// @return all clips of a picture together; a texture counts once in each
ClipCost SumClips(const FrameCost& cost);

/// The last pictures, in a ring.
struct CostHistory
{
    std::vector<FrameCost> frames; // at most kCostFrames
    uint32_t next;                 // place of the next picture, once the ring is full
};

inline constexpr uint32_t kCostFrames = 240;

/// @return state calls of a picture's clips, without those that belong to none
uint32_t ClipStateCalls(const FrameCost& cost);

/// Adds a picture, also its time to the graph of the piece, if it took no past along.
void NoteCost(const FrameCost& frame, CostHistory* history, PieceCost* piece);

/// @return the picture that was added last; null for none
const FrameCost* LastCost(const CostHistory* history);

/// @return milliseconds to the end of each picture's swap, the oldest first
std::vector<float> HistoryMs(const CostHistory* history);
