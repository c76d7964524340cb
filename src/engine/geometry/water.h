// SPDX-License-Identifier: MIT

// The two water surfaces that generated meshes can be. Both are a flat grid of 30 by 30 vertices at
// the start; vertex row * 30 + column stands at x = row, z = column, and only y and the normals
// ever change.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/data/model_data.h"
#include "engine/data/vocabulary_numbers.h"

struct Arena;
struct FaultList;
struct RandomSequence;

inline constexpr int32_t kWaterSide = 30;
inline constexpr int32_t kWaterCells = kWaterSide * kWaterSide;

/// "Lake water". Grids are indexed like the vertices; `current` and `next` change places as the
/// lake steps.
struct LakeWaterState
{
    int32_t* older;   // [kWaterCells] heights, into the state's block; the state before `current`
                      // took its step
    int32_t* current; // [kWaterCells], into the block
    int32_t* next;    // [kWaterCells], into the block
    int32_t lastStep; // the driving value of the last step, truncated
};

/// "Centerwave water".
struct CenterwaveState
{
    float lastTime; // the driving value that the surface was computed for; -1.0 at first
};

/// All of a generated mesh that changes while a piece plays.
struct GenMeshState
{
    unsigned char* block; // owned; null for a type without a generator, and then all is zero
    size_t blockSize;     // bytes
    float* vertices;      // [kWaterCells][3], into block
    float* normals;       // [kWaterCells][3], into block
    LakeWaterState lake;  // counts for kLakeWater only
    CenterwaveState wave; // counts for kCenterwaveWater only
};

/// Starts a state at rest.
/// @param type    GenMeshType; any other gives an empty state
/// @param mesh    the grid at rest: kWaterCells vertices
/// @param state   receives the state, for FreeGenMeshState; empty after a fault
/// @return false after a fault if there is no memory
bool StartGenMeshState(uint32_t type, const Mesh* mesh, GenMeshState* state, FaultList* faults);

/// Makes `to` like `from`, in memory of its own.
/// @param to   empty, or a state of the same type, whose memory is used again
/// @return false after a fault if there is no memory; `to` may be freed all the same
bool CopyGenMeshState(const GenMeshState* from, GenMeshState* to, FaultList* faults);

/// Frees what a state owns and clears it.
void FreeGenMeshState(GenMeshState* state);

/// Moves a water surface to a driving value: writes y of the state's vertices, then its normals.
///
/// A lake steps once when the value has passed the next whole number, and not at all when it has
/// run or jumped two or more away; between steps the heights are blended. Drops come from `random`.
/// A centerwave whose value has moved by less than 0.01 is left as it is.
/// @param type    GenMeshType; any other does nothing
/// @param v       no unit of its own: "Lake water" counts it in steps, "Centerwave water" in
///                radians
/// @param state   started for this type
/// @param mesh    the grid at rest, whose indices say which triangles there are
/// @param arena   scratch memory, given back
/// @return false if there is no memory
bool SimulateWater(uint32_t type, float v, GenMeshState* state, const Mesh* mesh,
                   RandomSequence* random, Arena* arena);
