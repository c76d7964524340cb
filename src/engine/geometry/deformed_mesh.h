// SPDX-License-Identifier: MIT

// The bent geometry of one object, for the length of its drawing. The caller starts an object with
// an empty record; ripplers fill it, and drawing takes these arrays instead of the mesh's own.
#pragma once

#include <cstdint>

#include "engine/data/model_data.h"

struct Arena;
struct FaultList;

struct DeformedMesh
{
    float* vertices; // [vertexCount][3], lent by the arena of the frame; null if nothing is bent
    float* normals;  // [vertexCount][3], lent by the arena of the frame
};

/// Makes both arrays of an empty record: a copy of the mesh's vertices, and normals that are not
/// initialised. A mesh without vertices gets arrays too: that they are there says who is drawn.
/// @return false after a fault if there is no memory; the record is empty then
bool StartDeformedMesh(const Mesh* mesh, DeformedMesh* deformed, Arena* arena, FaultList* faults);
