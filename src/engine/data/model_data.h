// SPDX-License-Identifier: MIT

// Models: triangle meshes that lie in the package in the layout that OpenGL wants. The uncompressed
// file is kept as it is, and a record points into it.
//
// V is the number of vertices, T of texture coordinate sets; all numbers are little-endian.
//
//   offset             size    content
//   0                  4       V, u32
//   4                  1       T, u8
//   5                  12*V    positions, 3 floats
//   5 + 12*V           8*V     first texture coordinates, 2 floats
//   5 + 20*V           8*V     second texture coordinates, only if T is 2 or more
//   5 + (12 + 8*T)*V   12*V    normals, 3 floats
//   5 + 8*(3 + T)*V    rest    triangle list, u32 indices from 0
#pragma once

#include <cstdint>

#include "engine/data/demo_document.h"

inline constexpr uint32_t kModelHeaderSize = 5;

/// The faces around each vertex of a mesh, from which its normals are recomputed. Empty, all 0,
/// until something first bends the mesh.
struct VertexFaces
{
    uint32_t* block;   // owned: the three arrays below; null for an empty record
    uint32_t* corners; // three for each triangle: 4 * the number of a vertex; into block
    uint32_t* faces;   // 4 * the number of a triangle, rising for each vertex; into block
    uint32_t* first;   // [vertexCount + 1], where a vertex's faces begin in `faces`; into block
};

/// The arrays that drawing and deformation work on.
struct Mesh
{
    uint32_t vertexCount;
    uint32_t indexCount;  // indices, not triangles
    float* vertices;      // [vertexCount][3]
    float* texCoords1;    // [vertexCount][2]
    float* texCoords2;    // [vertexCount][2]; null when there is only one set
    uint8_t texCoordSets; // 1 or 2
    float* normals;       // [vertexCount][3]
    uint32_t* indices;    // [indexCount], each below vertexCount; GL_TRIANGLES
    VertexFaces* faces;   // borrowed from the record around the mesh; null if nobody keeps them
};

struct ModelData
{
    void* block;          // owned, the uncompressed file; null where an earlier model lends its own
    const char* filename; // lent by the tree; null until the model is read
    Mesh mesh;            // into the block of this model or the earlier one
    VertexFaces faces;    // owned; of the mesh
    uint32_t storedSize;  // bytes of the uncompressed file, as its container tells
    uint8_t fileSets;     // T as the file has it, which need not be mesh.texCoordSets
};

/// How a model's indices go into a buffer object.
struct ModelIndexBytes
{
    uint32_t size;    // bytes of the buffer
    uint32_t present; // bytes of it that stand at mesh.indices; zeros follow them
    uint32_t count;   // whole indices of the mesh that the buffer holds, so many can be drawn
};

/// The size goes by one or two sets even where the file has none or more. With none it leaves out
/// the last indices; with more it reaches past the end of the file, and zeros stand there.
ModelIndexBytes GetModelIndexBytes(const ModelData* model);

/// Section 2: reads the model that the item's "filename" names. Where an earlier model of the
/// document is of the same file, the mesh points into its block, which has to outlive this record:
/// a file is inflated once, however many items name it. Faults are a missing entry, a header that
/// claims more than the file holds, and an index past the last vertex.
/// @param index   the earlier models are those with ids 1 to index of the context's document; a
///                context without a document, or without such a table, has none
bool ReadModelItem(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context);

/// Frees the blocks of a ModelData.
void FreeModel(void* record);
