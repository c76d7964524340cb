// SPDX-License-Identifier: MIT

// Models and objects laid out by hand.
#pragma once

#include <GL/glew.h>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/animation/animated_value.h"
#include "support/recorded_gl.h"
#include "support/test_piece.h"

/// The arrays of a mesh, each of exactly its size: a sanitizer sees reads past their ends.
struct MeshArrays
{
    std::vector<float> vertices;
    std::vector<float> texCoords1;
    std::vector<float> texCoords2;
    std::vector<float> normals;
    std::vector<uint32_t> indices;
};

/// Triangles side by side: vertex i lies at (i, i % 3, 0), with the coordinates (i, 1) and (i, 2).
/// @param vertexCount   a multiple of 3, and as many indices
inline MeshArrays MakeMeshArrays(uint32_t vertexCount)
{
    MeshArrays arrays;
    for (uint32_t i = 0; i < vertexCount; ++i)
    {
        const float x = static_cast<float>(i);
        arrays.vertices.insert(arrays.vertices.end(), {x, static_cast<float>(i % 3), 0.0f});
        arrays.texCoords1.insert(arrays.texCoords1.end(), {x, 1.0f});
        arrays.texCoords2.insert(arrays.texCoords2.end(), {x, 2.0f});
        arrays.normals.insert(arrays.normals.end(), {0.0f, 0.0f, 1.0f});
        arrays.indices.push_back(i);
    }
    return arrays;
}

/// Labels "name.vertices", "name.texCoords1", "name.texCoords2", "name.normals", "name.indices".
inline void NameMeshArrays(const MeshArrays& arrays, const std::string& name)
{
    NameGlPointer(arrays.vertices.data(), (name + ".vertices").c_str());
    NameGlPointer(arrays.texCoords1.data(), (name + ".texCoords1").c_str());
    NameGlPointer(arrays.texCoords2.data(), (name + ".texCoords2").c_str());
    NameGlPointer(arrays.normals.data(), (name + ".normals").c_str());
    NameGlPointer(arrays.indices.data(), (name + ".indices").c_str());
}

/// @param arrays   lent to the mesh
/// @param sets     of texture coordinates, 1 or 2
inline Mesh MakeMesh(MeshArrays* arrays, uint8_t sets)
{
    return {static_cast<uint32_t>(arrays->vertices.size() / 3),
            static_cast<uint32_t>(arrays->indices.size()),
            arrays->vertices.data(),
            arrays->texCoords1.data(),
            sets == 2 ? arrays->texCoords2.data() : nullptr,
            sets,
            arrays->normals.data(),
            arrays->indices.data(),
            nullptr};
}

/// Puts an array into a new buffer. Leaves GL_ARRAY_BUFFER bound to 0.
template <typename Element>
uint32_t MakeBuffer(const std::vector<Element>& elements)
{
    uint32_t buffer;
    glGenBuffers(1, &buffer);
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(elements.size() * sizeof(Element)),
                 elements.data(), GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    return buffer;
}

/// Adds a model with five new buffers, whose names go up in the order of the record's fields. What
/// was recorded so far is dropped.
/// @param arrays   lent to the model
/// @param sets     of texture coordinates, 1 or 2
/// @return the model's OpenGL names, lent until the next model
inline ModelUpload* AddModel(TestPiece* piece, MeshArrays* arrays, uint8_t sets)
{
    ModelData* model = AddRecord<ModelData>(piece->document.models);
    model->mesh = MakeMesh(arrays, sets);
    ModelUpload* upload = AddUploadEntry(&piece->upload.models, &piece->upload.modelCount);
    upload->vertexBuffer = MakeBuffer(arrays->vertices);
    upload->texCoordBuffer1 = MakeBuffer(arrays->texCoords1);
    upload->texCoordBuffer2 = MakeBuffer(arrays->texCoords2);
    upload->normalBuffer = MakeBuffer(arrays->normals);
    upload->indexBuffer = MakeBuffer(arrays->indices);
    upload->bufferIndexCount = model->mesh.indexCount;
    TakeGlCalls();
    return upload;
}

/// Adds an object at the origin, of its mesh's own size.
/// @return its number in the scene
inline uint32_t AddObject(Scene* scene, uint8_t kind, uint32_t id, uint32_t materialId)
{
    const uint32_t n = scene->objectCount;
    scene->objectCount += 1;
    scene->objectKind[n] = kind;
    scene->objectId[n] = id;
    scene->materialId[n] = materialId;
    for (ObjectValues* values : {&scene->scaleX, &scene->scaleY, &scene->scaleZ})
    {
        values->slot[n] = FloatSlot(1.0f);
    }
    return n;
}
