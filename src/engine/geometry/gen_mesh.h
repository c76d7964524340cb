// SPDX-License-Identifier: MIT

// Generated meshes: flat grids that water moves.
//
// The mesh fields are those of a model, so drawing and manipulators take either. Only
// buffer objects are missing, because the vertices change from frame to frame.
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"
#include "engine/data/model_data.h"
#include "engine/data/vocabulary_numbers.h"
#include "engine/geometry/water.h"

struct Animation;
struct Arena;
struct FaultList;
struct RandomSequence;

/// Constant after reading, but that the first move fills `faces`. A GenMeshState beside it holds
/// all that moves.
struct GenMesh
{
    uint32_t type;                   // GenMeshType
    uint32_t params[kGenMeshParams]; // the first is the driving envelope's id, 0 for none
    Mesh mesh;                       // the grid at rest, arrays owned
    VertexFaces faces;               // owned; of the mesh
};

/// Makes a mesh: a grid of 30 by 30 vertices in the plane y = 0, from the origin to (29, 0, 29),
/// with 5046 indices, one set of texture coordinates given twice and normals of 0.
/// @param type   GenMeshType; any other leaves the mesh as it is
/// @param mesh   receives its counts and new arrays, for FreeGenMesh
/// @return false after a fault if there is no memory; the mesh is still FreeGenMesh's then
bool BuildGenMesh(uint32_t type, Mesh* mesh, FaultList* faults);

/// Frees what BuildGenMesh made and clears the mesh. A type without a generator frees nothing.
void FreeGenMesh(uint32_t type, Mesh* mesh);

/// Section 8: <m type="0"><p>envelope id</p>...</m>, of any name; "p" counts, and the first child
/// with another name ends the parameters. A type without a generator gives a mesh of no vertices.
/// @return false after a fault: no child at all, a "p" without text, more than 32 of them, a
///         missing attribute, no memory
bool ReadGenMeshItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

/// Frees what a record of section 8 owns, not the record itself.
void FreeGenMeshRecord(void* record);

/// The values and the memory that move the generated meshes of one document.
struct GenMeshSources
{
    const ObjectTable* genMeshes; // borrowed
    GenMeshState* states;         // [id - 1], borrowed
    const Animation* animation;   // borrowed; of the same document
    RandomSequence* random;       // borrowed
    Arena* arena;                 // borrowed; scratch memory, given back after each call
};

/// Moves a mesh to an object time; every use of a generated mesh comes after a call of it. An id
/// without a record does nothing.
/// @param time   ticks
/// @return false after a fault: a driving envelope that its table lacks, which is said of the mesh
///         and not of the object that is being drawn; no memory
bool UpdateGenMesh(uint32_t id, const GenMeshSources* sources, uint32_t time);

/// @return the mesh as it was moved last: the record's arrays, but vertices and normals lent by the
///         state, good until the state is freed
Mesh MovedMesh(const GenMesh* genMesh, const GenMeshState* state);
