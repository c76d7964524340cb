// Generated meshes: flat grids that water moves.
#pragma once

#include <cstdint>

#include "engine/data/model_data.h"

inline constexpr uint32_t kGenMeshParams = 32;

struct GenMesh
{
    uint32_t type;                  // 0 "Lake water", 1 "Centerwave water"
    int32_t params[kGenMeshParams]; // the first is the driving envelope's id, 0 for none
    void** state;                   // owned cell, filled by the generator
    Mesh mesh;                      // arrays owned
};

/// Moves a mesh to an object time; every use of a generated mesh comes after a call of it. An id
/// without a record does nothing.
/// @param time   ticks
/// Fatal: a driving envelope that its table lacks.
void UpdateGenMesh(uint32_t id, const ObjectTable* genMeshes, const ObjectTable* envelopes,
                   uint32_t time);
