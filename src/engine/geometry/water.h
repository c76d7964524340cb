// The two water surfaces that generated meshes can be. Both are a flat grid of 30 by 30 vertices at
// the start; vertex row * 30 + column stands at x = row, z = column, and only y and the normals
// ever change.
#pragma once

#include <cstdint>

#include "engine/data/model_data.h"
#include "engine/data/vocabulary_numbers.h"

inline constexpr int32_t kWaterSide = 30;
inline constexpr int32_t kWaterCells = kWaterSide * kWaterSide;

/// "Lake water". Grids are indexed like the vertices; they change places as the lake steps.
struct LakeWaterState
{
    int32_t* older;   // [kWaterCells] heights, owned; the state before `current` took its step
    int32_t* current; // [kWaterCells], owned
    int32_t* next;    // [kWaterCells], owned
    int32_t lastStep; // the driving value of the last step, truncated
};

/// "Centerwave water".
struct CenterwaveState
{
    float lastTime; // the driving value that the surface was computed for; -1.0 at first
};

/// @return a new state of a type, at rest, for FreeWaterState; null for a type above 1. Fatal at
///         CurrentPlace if there is no memory.
void* CreateWaterState(uint32_t type);

/// Frees what CreateWaterState gave. A type above 1 frees nothing.
void FreeWaterState(uint32_t type, void* state);

/// Moves a water surface to a driving value: writes y of all vertices, then the normals.
///
/// A lake steps once when the value has passed the next whole number, and not at all when it has
/// run or jumped two or more away; between steps the heights are blended. Drops come from the
/// library's rand. A centerwave whose value has moved by less than 0.01 is left as it is.
/// @param type    GenMeshType; any other does nothing
/// @param v       no unit of its own: "Lake water" counts it in steps, "Centerwave water" in
/// radians
/// @param state   the cell that holds what CreateWaterState gave for this type
/// @param mesh    the grid: kWaterCells vertices
void SimulateWater(uint32_t type, float v, void** state, const Mesh* mesh);
