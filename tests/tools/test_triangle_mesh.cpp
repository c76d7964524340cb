// SPDX-License-Identifier: MIT
#include "tools/triangle_mesh.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>

/// A mesh of vertices with positions alone.
static TriangleMesh MakeMesh(const std::vector<std::array<float, 3>>& positions,
                             const std::vector<uint32_t>& indices)
{
    TriangleMesh mesh = {};
    for (const std::array<float, 3>& position : positions)
    {
        MeshVertex vertex = {};
        memcpy(vertex.position, position.data(), sizeof(vertex.position));
        mesh.vertices.push_back(vertex);
        mesh.hasNormal.push_back(0);
    }
    mesh.indices = indices;
    mesh.texCoordSets = 1;
    return mesh;
}

static void ExpectNormal(const MeshVertex& vertex, float x, float y, float z)
{
    EXPECT_EQ(vertex.normal[0], x);
    EXPECT_EQ(vertex.normal[1], y);
    EXPECT_EQ(vertex.normal[2], z);
}

TEST(MakeMissingNormals, OfATrianglePointWhereItTurnsLeft)
{
    TriangleMesh mesh = MakeMesh({{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}, {0, 1, 2});
    MakeMissingNormals(&mesh);
    for (const MeshVertex& vertex : mesh.vertices)
    {
        ExpectNormal(vertex, 0.0f, 0.0f, 1.0f);
    }
}

TEST(MakeMissingNormals, WeighsTrianglesByTheirArea)
{
    // One of area 3 facing z, one of area 4 facing x, along one edge: (4, 0, 3) / 5.
    TriangleMesh mesh = MakeMesh({{0, 0, 0}, {0, 1, 0}, {6, 0, 0}, {0, 0, 8}}, {0, 2, 1, 0, 1, 3});
    MakeMissingNormals(&mesh);
    ExpectNormal(mesh.vertices[0], 0.8f, 0.0f, 0.6f);
    ExpectNormal(mesh.vertices[1], 0.8f, 0.0f, 0.6f);
    ExpectNormal(mesh.vertices[2], 0.0f, 0.0f, 1.0f);
    ExpectNormal(mesh.vertices[3], 1.0f, 0.0f, 0.0f);
}

TEST(MakeMissingNormals, GoesOverSeamsWhereTwoVerticesShareAPlace)
{
    TriangleMesh mesh = MakeMesh(
        {{0, 0, 0}, {6, 0, 0}, {0, 1, 0}, {-0.0f, 0, 0}, {0, 1, 0}, {0, 0, 8}}, {0, 1, 2, 3, 4, 5});
    MakeMissingNormals(&mesh);
    ExpectNormal(mesh.vertices[0], 0.8f, 0.0f, 0.6f);
    ExpectNormal(mesh.vertices[3], 0.8f, 0.0f, 0.6f); // its zero has a sign, and is a zero still
}

TEST(MakeMissingNormals, LeavesNormalsThatAreThere)
{
    TriangleMesh mesh = MakeMesh({{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}, {0, 1, 2});
    mesh.hasNormal[1] = 1;
    mesh.vertices[1].normal[0] = 7.0f;
    MakeMissingNormals(&mesh);
    ExpectNormal(mesh.vertices[0], 0.0f, 0.0f, 1.0f);
    ExpectNormal(mesh.vertices[1], 7.0f, 0.0f, 0.0f);
}

TEST(MakeMissingNormals, AroundADegenerateTriangleStaysZero)
{
    TriangleMesh mesh = MakeMesh({{0, 0, 0}, {1, 1, 1}, {2, 2, 2}}, {0, 1, 2});
    MakeMissingNormals(&mesh);
    ExpectNormal(mesh.vertices[0], 0.0f, 0.0f, 0.0f);
}

TEST(JoinIdenticalVertices, KeepsTheFirstAndTheOrder)
{
    TriangleMesh mesh =
        MakeMesh({{3, 0, 0}, {1, 0, 0}, {2, 0, 0}, {1, 0, 0}, {4, 0, 0}}, {0, 1, 2, 3, 2, 4});
    JoinIdenticalVertices(&mesh);
    ASSERT_EQ(mesh.vertices.size(), 4u);
    EXPECT_EQ(mesh.hasNormal.size(), 4u);
    const float expected[] = {3, 1, 2, 4};
    for (size_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(mesh.vertices[i].position[0], expected[i]);
    }
    EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{0, 1, 2, 1, 2, 3}));
}

TEST(JoinIdenticalVertices, DropsVerticesThatNoTriangleUses)
{
    TriangleMesh mesh =
        MakeMesh({{9, 0, 0}, {1, 0, 0}, {8, 0, 0}, {2, 0, 0}, {3, 0, 0}}, {4, 3, 1});
    JoinIdenticalVertices(&mesh);
    ASSERT_EQ(mesh.vertices.size(), 3u);
    EXPECT_EQ(mesh.vertices[0].position[0], 1.0f);
    EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{2, 1, 0}));
}

TEST(JoinIdenticalVertices, ADifferenceAnywhereKeepsVerticesApart)
{
    for (size_t k = 0; k < sizeof(MeshVertex) / sizeof(float); ++k)
    {
        TriangleMesh mesh = MakeMesh({{1, 2, 3}, {1, 2, 3}, {1, 2, 3}}, {0, 1, 2});
        float values[sizeof(MeshVertex) / sizeof(float)];
        memcpy(values, &mesh.vertices[1], sizeof(values));
        values[k] += 0.5f;
        memcpy(&mesh.vertices[1], values, sizeof(values));
        JoinIdenticalVertices(&mesh);
        EXPECT_EQ(mesh.vertices.size(), 2u) << "float " << k;
        EXPECT_EQ(mesh.indices, (std::vector<uint32_t>{0, 1, 0}));
    }
}

TEST(EncodeModel, LaysTheArraysOneBehindTheOther)
{
    TriangleMesh mesh = MakeMesh({{1, 0, 0}}, {0, 0, 0});
    mesh.texCoordSets = 2;
    mesh.vertices[0].texCoords[0][0] = 2.0f;
    mesh.vertices[0].texCoords[1][1] = -2.0f;
    mesh.vertices[0].normal[2] = 0.5f;
    Bytes model;
    ASSERT_TRUE(EncodeModel(mesh, &model));
    const Bytes expected = {
        1, 0, 0,    0,    2,                            // vertices, sets
        0, 0, 0x80, 0x3F, 0, 0, 0, 0,    0, 0, 0, 0,    // position
        0, 0, 0,    0x40, 0, 0, 0, 0,                   // first set
        0, 0, 0,    0,    0, 0, 0, 0xC0,                // second set
        0, 0, 0,    0,    0, 0, 0, 0,    0, 0, 0, 0x3F, // normal
        0, 0, 0,    0,    0, 0, 0, 0,    0, 0, 0, 0,    // indices
    };
    EXPECT_EQ(model, expected);
}

TEST(EncodeModel, ThreeVerticesWithOneSetTake113Bytes)
{
    TriangleMesh mesh = MakeMesh({{0, 0, 0}, {2, 0, 0}, {0, 3, 0}}, {0, 1, 2});
    Bytes model;
    ASSERT_TRUE(EncodeModel(mesh, &model));
    EXPECT_EQ(model.size(), 113u);
    EXPECT_EQ(model[4], 1);
    EXPECT_EQ(model[101], 0); // the indices
    EXPECT_EQ(model[105], 1);
    EXPECT_EQ(model[109], 2);
}

/// The corners of all triangles by their positions, each triangle from its least corner on, sorted.
static std::vector<std::array<float, 9>> SortedTriangles(const TriangleMesh& mesh)
{
    std::vector<std::array<float, 9>> triangles;
    for (size_t i = 0; i < mesh.indices.size(); i += 3)
    {
        std::array<float, 9> turned[3];
        for (size_t turn = 0; turn < 3; ++turn)
        {
            for (size_t corner = 0; corner < 3; ++corner)
            {
                memcpy(turned[turn].data() + 3 * corner,
                       mesh.vertices[mesh.indices[i + (turn + corner) % 3]].position,
                       3 * sizeof(float));
            }
        }
        triangles.push_back(*std::min_element(turned, turned + 3));
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

/// Vertices that a cache of so many, first in and first out, has to load.
static uint32_t CountLoads(const TriangleMesh& mesh, size_t cacheSize)
{
    std::vector<uint32_t> cache;
    uint32_t loads = 0;
    for (const uint32_t index : mesh.indices)
    {
        if (std::find(cache.begin(), cache.end(), index) == cache.end())
        {
            loads += 1;
            cache.insert(cache.begin(), index);
            cache.resize(std::min(cache.size(), cacheSize));
        }
    }
    return loads;
}

TEST(OrderForCache, KeepsTrianglesAndLoadsFewerVertices)
{
    static constexpr uint32_t kSide = 30; // squares
    std::vector<std::array<float, 3>> positions;
    std::vector<uint32_t> indices;
    for (uint32_t i = 0; i < (kSide + 1) * (kSide + 1); ++i)
    {
        positions.push_back(
            {static_cast<float>(i % (kSide + 1)), static_cast<float>(i / (kSide + 1)), 0.0f});
    }
    for (uint32_t i = 0; i < kSide * kSide; ++i)
    {
        const uint32_t square = i * 7 % (kSide * kSide); // far from one another
        const uint32_t at = square / kSide * (kSide + 1) + square % kSide;
        for (const uint32_t corner :
             {at, at + 1, at + kSide + 2, at, at + kSide + 2, at + kSide + 1})
        {
            indices.push_back(corner);
        }
    }
    const TriangleMesh mesh = MakeMesh(positions, indices);
    TriangleMesh ordered = mesh;
    OrderForCache(&ordered);
    EXPECT_EQ(ordered.vertices.size(), mesh.vertices.size());
    EXPECT_EQ(SortedTriangles(ordered), SortedTriangles(mesh));
    EXPECT_LT(CountLoads(ordered, 16) * 2, CountLoads(mesh, 16));

    // Vertices stand in the order of their first use.
    uint32_t next = 0;
    for (const uint32_t index : ordered.indices)
    {
        ASSERT_LE(index, next);
        next = std::max(next, index + 1);
    }
}
