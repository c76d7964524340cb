// SPDX-License-Identifier: MIT
#include "tools/triangle_mesh.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <map>
#include <meshoptimizer.h>

#include "engine/data/byte_order.h"
#include "engine/data/model_data.h"

static_assert(sizeof(MeshVertex) == 10 * sizeof(float), "vertices compare by their bytes");

using PositionKey = std::array<uint32_t, 3>;
using VertexKey = std::array<uint32_t, 10>;
using Sum = std::array<double, 3>;

static PositionKey KeyOf(const MeshVertex& vertex)
{
    PositionKey key;
    for (size_t k = 0; k < key.size(); ++k)
    {
        // Both zeros are one place.
        key[k] = std::bit_cast<uint32_t>(vertex.position[k] + 0.0f);
    }
    return key;
}

/// Twice the triangle's area long.
static Sum TriangleNormal(const float* a, const float* b, const float* c)
{
    double u[3];
    double v[3];
    for (int k = 0; k < 3; ++k)
    {
        u[k] = static_cast<double>(b[k]) - static_cast<double>(a[k]);
        v[k] = static_cast<double>(c[k]) - static_cast<double>(a[k]);
    }
    return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

static void SetUnitNormal(const Sum& sum, MeshVertex* vertex)
{
    const double length = sqrt(sum[0] * sum[0] + sum[1] * sum[1] + sum[2] * sum[2]);
    for (size_t k = 0; k < 3; ++k)
    {
        vertex->normal[k] = length > 0.0 ? static_cast<float>(sum[k] / length) : 0.0f;
    }
}

void MakeMissingNormals(TriangleMesh* mesh)
{
    std::map<PositionKey, Sum> sums;
    for (size_t i = 0; i < mesh->indices.size(); i += 3)
    {
        const uint32_t* corners = &mesh->indices[i];
        const Sum normal =
            TriangleNormal(mesh->vertices[corners[0]].position, mesh->vertices[corners[1]].position,
                           mesh->vertices[corners[2]].position);
        for (int c = 0; c < 3; ++c)
        {
            if (mesh->hasNormal[corners[c]] == 0)
            {
                Sum& sum = sums[KeyOf(mesh->vertices[corners[c]])];
                for (size_t k = 0; k < 3; ++k)
                {
                    sum[k] += normal[k];
                }
            }
        }
    }

    for (size_t i = 0; i < mesh->vertices.size(); ++i)
    {
        if (mesh->hasNormal[i] == 0)
        {
            SetUnitNormal(sums[KeyOf(mesh->vertices[i])], &mesh->vertices[i]);
        }
    }
}

/// Gives each corner of each triangle a vertex of its own.
static void SplitCorners(TriangleMesh* mesh)
{
    TriangleMesh split = {};
    for (uint32_t& index : mesh->indices)
    {
        split.vertices.push_back(mesh->vertices[index]);
        split.hasNormal.push_back(1);
        index = static_cast<uint32_t>(split.vertices.size() - 1);
    }
    mesh->vertices.swap(split.vertices);
    mesh->hasNormal.swap(split.hasNormal);
}

static double Dot(const Sum& a, const Sum& b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void SmoothNormals(TriangleMesh* mesh, float angle)
{
    SplitCorners(mesh);
    std::vector<Sum> faces; // [triangle]
    std::map<PositionKey, std::vector<size_t>> around;
    for (size_t i = 0; i < mesh->vertices.size(); i += 3)
    {
        faces.push_back(TriangleNormal(mesh->vertices[i].position, mesh->vertices[i + 1].position,
                                       mesh->vertices[i + 2].position));
        for (size_t c = 0; c < 3; ++c)
        {
            around[KeyOf(mesh->vertices[i + c])].push_back(i / 3);
        }
    }

    const double least = cos(static_cast<double>(angle) * 3.14159265358979 / 180.0);
    for (size_t i = 0; i < mesh->vertices.size(); ++i)
    {
        const Sum& own = faces[i / 3];
        Sum sum = {};
        for (const size_t face : around[KeyOf(mesh->vertices[i])])
        {
            const double lengths = sqrt(Dot(own, own) * Dot(faces[face], faces[face]));
            const bool isNear = face == i / 3 || Dot(own, faces[face]) >= least * lengths;
            for (size_t k = 0; k < 3 && isNear; ++k)
            {
                sum[k] += faces[face][k];
            }
        }
        SetUnitNormal(sum, &mesh->vertices[i]);
    }
}

void JoinIdenticalVertices(TriangleMesh* mesh)
{
    std::vector<uint8_t> used(mesh->vertices.size(), 0);
    for (const uint32_t index : mesh->indices)
    {
        used[index] = 1;
    }

    std::vector<uint32_t> place(mesh->vertices.size(), 0); // by old index, the new one
    std::map<VertexKey, uint32_t> seen;
    TriangleMesh joined = {};
    for (size_t i = 0; i < mesh->vertices.size(); ++i)
    {
        if (used[i] == 0)
        {
            continue;
        }
        const VertexKey key = std::bit_cast<VertexKey>(mesh->vertices[i]);
        auto [found, isNew] = seen.emplace(key, static_cast<uint32_t>(joined.vertices.size()));
        if (isNew)
        {
            joined.vertices.push_back(mesh->vertices[i]);
            joined.hasNormal.push_back(mesh->hasNormal[i]);
        }
        place[i] = found->second;
    }

    for (uint32_t& index : mesh->indices)
    {
        index = place[index];
    }
    mesh->vertices.swap(joined.vertices);
    mesh->hasNormal.swap(joined.hasNormal);
}

void OrderForCache(TriangleMesh* mesh)
{
    const size_t vertexCount = mesh->vertices.size();
    std::vector<uint32_t> indices(mesh->indices.size());
    meshopt_optimizeVertexCache(indices.data(), mesh->indices.data(), indices.size(), vertexCount);

    std::vector<uint32_t> place(vertexCount);
    meshopt_optimizeVertexFetchRemap(place.data(), indices.data(), indices.size(), vertexCount);
    meshopt_remapIndexBuffer(mesh->indices.data(), indices.data(), indices.size(), place.data());

    // Every vertex has a place: those that no triangle uses are gone.
    const std::vector<MeshVertex> vertices = mesh->vertices;
    const std::vector<uint8_t> hasNormal = mesh->hasNormal;
    for (size_t i = 0; i < vertexCount; ++i)
    {
        mesh->vertices[place[i]] = vertices[i];
        mesh->hasNormal[place[i]] = hasNormal[i];
    }
}

static unsigned char* PutFloats(const float* values, int count, unsigned char* at)
{
    for (int k = 0; k < count; ++k)
    {
        StoreLittleEndian32(std::bit_cast<uint32_t>(values[k]), at);
        at += 4;
    }
    return at;
}

bool EncodeModel(const TriangleMesh& mesh, Bytes* model)
{
    const uint64_t vertexCount = mesh.vertices.size();
    const uint64_t size = kModelHeaderSize + 8 * (3 + uint64_t{mesh.texCoordSets}) * vertexCount +
                          4 * uint64_t{mesh.indices.size()};
    if (size > UINT32_MAX)
    {
        return false;
    }

    model->resize(size);
    unsigned char* at = model->data();
    StoreLittleEndian32(static_cast<uint32_t>(vertexCount), at);
    at[4] = static_cast<unsigned char>(mesh.texCoordSets);
    at += kModelHeaderSize;

    for (const MeshVertex& vertex : mesh.vertices)
    {
        at = PutFloats(vertex.position, 3, at);
    }
    for (uint32_t set = 0; set < mesh.texCoordSets; ++set)
    {
        for (const MeshVertex& vertex : mesh.vertices)
        {
            at = PutFloats(vertex.texCoords[set], 2, at);
        }
    }
    for (const MeshVertex& vertex : mesh.vertices)
    {
        at = PutFloats(vertex.normal, 3, at);
    }
    for (const uint32_t index : mesh.indices)
    {
        StoreLittleEndian32(index, at);
        at += 4;
    }
    return true;
}
