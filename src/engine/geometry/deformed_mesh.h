// The deformed geometry of the one object that is being drawn. A manipulator fills it, drawing
// reads it, and it is gone before the next object.
#pragma once

#include <cstdint>

struct DeformedMesh
{
    float* vertices;       // [vertexCount][3], owned, from malloc; null if nothing is deformed
    float* normals;        // [vertexCount][3], owned, from malloc
    uint32_t vertexBuffer; // OpenGL buffer names; 0 unless buffer objects are in use
    uint32_t normalBuffer;
};

/// Main thread only.
extern DeformedMesh CurrentDeformedMesh;

/// If there are deformed arrays: with `vbo`, deletes the two buffers with glDeleteBuffersARB, then
/// frees both arrays, and all four fields are clear again. Otherwise does nothing.
void ReleaseDeformedMesh(bool vbo);
