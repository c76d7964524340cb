// Generated meshes: flat grids that water moves.
//
// The mesh fields are those of a model, so drawing and manipulators take either. What differs:
// there are no buffer objects, because the vertices change from frame to frame.
#pragma once

#include <cstdint>

#include "engine/data/model_data.h"
#include "engine/data/vocabulary_numbers.h"

struct GenMesh
{
    uint32_t type;                  // GenMeshType
    int32_t params[kGenMeshParams]; // the first is the driving envelope's id, 0 for none
    void** state;      // owned cell, filled by the generator; null in it if there is none
    Mesh mesh;         // arrays owned
    VertexFaces faces; // owned; of the mesh
};

/// Makes a mesh and its state: a grid of 30 by 30 vertices in the plane y = 0, from the origin to
/// (29, 0, 29), with 5046 indices, one set of texture coordinates given twice and normals of 0.
/// @param type    GenMeshType; any other leaves the cell and the mesh as they are
/// @param state   cell that receives the state, for FreeGenMesh
/// @param mesh    receives its counts and new arrays, for FreeGenMesh
void BuildGenMesh(uint32_t type, void** state, Mesh* mesh);

/// Frees what BuildGenMesh made, not the cell itself, and clears both. A type without a generator
/// frees nothing. The player never calls it: its meshes live to the end of the run.
void FreeGenMesh(uint32_t type, void** state, Mesh* mesh);

/// Section 8: <m type="0"><p>envelope id</p>...</m>, of any name; "p" counts, and the first child
/// with another name ends the parameters. A type without a generator gives a mesh of no vertices.
/// Fatal: no child at all, a "p" without text, more than 32 of them, a missing attribute.
void ReadGenMeshItem(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context);

/// Moves a mesh to an object time; every use of a generated mesh comes after a call of it. An id
/// without a record does nothing.
/// @param time   ticks
/// Fatal: a driving envelope that its table lacks.
void UpdateGenMesh(uint32_t id, const ObjectTable* genMeshes, const ObjectTable* envelopes,
                   uint32_t time);
