// The deformed geometry of the one object that is being drawn. A manipulator fills it, drawing
// reads it, and it is gone before the next object.
#pragma once

#include <cstdint>

struct DeformedMesh
{
    float* vertices;       // [vertexCount][3], owned; null if the object is not deformed
    float* normals;        // [vertexCount][3], owned
    uint32_t vertexBuffer; // OpenGL buffer names; 0 unless buffer objects are in use
    uint32_t normalBuffer;
};

/// Main thread only.
extern DeformedMesh CurrentDeformedMesh;

/// Frees both arrays and sets them to null, if there are any. With `vbo`, first deletes the two
/// buffers with glDeleteBuffersARB.
void ReleaseDeformedMesh(bool vbo);
