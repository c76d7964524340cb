// SPDX-License-Identifier: MIT

// The loops over vertices and triangles, as a table of routines for each instruction set. All
// tables give the same bits.
//
// "Fours" are arrays of four floats for each vertex or face, of which the last means nothing; they
// lie at multiples of 16 bytes.
#pragma once

#include <cstddef>
#include <cstdint>

/// Faces that are worked on at a time. Fours of faces and corners have room for whole groups.
inline constexpr size_t kFaceGroup = 8;

/// A wave over coordinates. Angles are in steps of CosTable.
struct CoordinateWave
{
    float startSteps;
    float stepsPerUnit;
    float amplitude;
};

/// Where the faces of each vertex are found.
struct FaceOrder
{
    const uint32_t* faces; // numbers of faces, times four
    const uint32_t* first; // [vertexCount + 1], where a vertex's faces begin in `faces`
    size_t vertexCount;
};

struct MeshKernels
{
    /// Changes coordinates in place: c becomes cosLookup(c * stepsPerUnit + startSteps) * amplitude
    /// + c.
    void (*ripple)(float* coordinates, size_t count, const CoordinateWave* wave);
    /// Copies three floats each to fours.
    void (*spreadVertices)(const float* vertices, size_t count, float* fours);
    /// The unit normals of triangles. A triangle of next to no area gets its cross product.
    /// @param vertices   fours
    /// @param corners    three for each face: numbers of vertices, times four; whole groups
    /// @param faces      fours
    void (*findFaceNormals)(const float* vertices, const uint32_t* corners, size_t count,
                            float* faces);
    /// The mean of each vertex's faces, three floats each; 0 where it has none.
    /// @param faces   fours
    void (*averageFaces)(const FaceOrder* order, const float* faces, float* normals);
};

/// @return the table of the instruction set that loops run with (ChooseInstructionSet)
const MeshKernels* GetMeshKernels();
