// SPDX-License-Identifier: MIT
#include "engine/geometry/normals.h"

#include <bit>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "engine/geometry/gen_mesh.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/geometry/water.h"
#include "support/failing_memory.h"
#include "support/guarded_bytes.h"
#include "support/instruction_sets.h"

/// Runs RecomputeNormals on a mesh made of these, with guards around the normals.
/// @param faces   kept lists of the mesh, or null
static std::vector<float> NormalsOf(std::vector<float> vertices, std::vector<uint32_t> indices,
                                    VertexFaces* faces = nullptr)
{
    GuardedBytes normals(vertices.size() * sizeof(float));
    const std::vector<float> verticesBefore = vertices;
    const std::vector<uint32_t> indicesBefore = indices;

    Mesh mesh = {};
    mesh.vertexCount = static_cast<uint32_t>(vertices.size() / 3);
    mesh.indexCount = static_cast<uint32_t>(indices.size());
    mesh.vertices = vertices.data();
    mesh.normals = normals.Floats();
    mesh.indices = indices.data();
    mesh.faces = faces;
    Arena arena = {};
    EXPECT_TRUE(RecomputeNormals(&mesh, &arena));
    EXPECT_EQ(arena.used, 0u); // the scratch memory is given back
    FreeArena(&arena);

    EXPECT_TRUE(normals.GuardsAreWhole());
    EXPECT_EQ(vertices, verticesBefore);
    EXPECT_EQ(indices, indicesBefore);
    return {normals.Floats(), normals.Floats() + vertices.size()};
}

static void ExpectPlainNormals(const std::vector<float>& vertices,
                               const std::vector<uint32_t>& indices)
{
    std::vector<float> plain(vertices.size());
    PlainNormals(static_cast<uint32_t>(vertices.size() / 3), static_cast<uint32_t>(indices.size()),
                 vertices.data(), plain.data(), indices.data());
    VertexFaces faces = {};
    for (const InstructionSet set : ListInstructionSets())
    {
        const UsedInstructionSet used(set);
        const std::vector<float> normals = NormalsOf(vertices, indices, &faces);
        for (size_t i = 0; i < plain.size(); ++i)
        {
            ASSERT_EQ(std::bit_cast<uint32_t>(normals[i]), std::bit_cast<uint32_t>(plain[i]))
                << InstructionSetNames[set] << ", normal " << i / 3 << ", axis " << i % 3 << ": "
                << normals[i] << " and " << plain[i];
        }
    }
    FreeVertexFaces(&faces);
}

TEST(Normals, OneTriangleGivesItsThreeVerticesTheUnitFaceNormal)
{
    // e1 = (-2, 0, 0), e2 = (2, -3, 0): e1 x e2 = (0, 0, 6).
    EXPECT_EQ(NormalsOf({0, 0, 0, 2, 0, 0, 0, 3, 0}, {0, 1, 2}),
              (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
}

TEST(Normals, TheOtherWindingTurnsTheNormalRound)
{
    EXPECT_EQ(NormalsOf({0, 0, 0, 2, 0, 0, 0, 3, 0}, {0, 2, 1}),
              (std::vector<float>{0, 0, -1, 0, 0, -1, 0, 0, -1}));
}

TEST(Normals, AreTheMeanOfUnitFaceNormalsAndNotNormalisedAgain)
{
    // Two triangles at a right angle share the edge from vertex 0 to vertex 1. Their normals are
    // (0, 0, 1) and (0, 1, 0).
    std::vector<float> normals =
        NormalsOf({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, -1}, {0, 1, 2, 0, 1, 3});
    EXPECT_EQ(normals, (std::vector<float>{0, 0.5f, 0.5f, 0, 0.5f, 0.5f, 0, 0, 1, 0, 1, 0}));
}

TEST(Normals, AVertexOfNoTriangleKeepsZero)
{
    std::vector<float> normals = NormalsOf({0, 0, 0, 1, 0, 0, 9, 9, 9, 0, 1, 0}, {0, 1, 3});
    EXPECT_EQ(normals, (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1}));
}

TEST(Normals, AZeroAreaTriangleStillShortensTheMean)
{
    // Vertices 0, 1 and 3 lie in a line. Vertices 0 and 1 are used twice, vertex 2 once.
    std::vector<float> normals =
        NormalsOf({0, 0, 0, 2, 0, 0, 0, 3, 0, 1, 0, 0}, {0, 1, 2, 0, 1, 3});
    EXPECT_EQ(normals, (std::vector<float>{0, 0, 0.5f, 0, 0, 0.5f, 0, 0, 1, 0, 0, 0}));
}

TEST(Normals, AFaceOfNextToNoAreaAddsItsSmallCrossProduct)
{
    // The cross product is (0, 0, 2^-12): shorter than 0.001, so it is not brought to length 1.
    const float s = 0x1p-6f;
    EXPECT_EQ(NormalsOf({0, 0, 0, s, 0, 0, 0, s, 0}, {0, 1, 2}),
              (std::vector<float>{0, 0, 0x1p-12f, 0, 0, 0x1p-12f, 0, 0, 0x1p-12f}));

    // (0, 0, 2^-9) is longer than 0.001, and it is.
    EXPECT_EQ(NormalsOf({0, 0, 0, 0x1p-4f, 0, 0, 0, 0x1p-5f, 0}, {0, 1, 2}),
              (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
}

TEST(Normals, ATriangleThatNamesAVertexTwiceCountsTwiceForIt)
{
    // The face with 0 twice has no area; vertex 0 is then used three times in all.
    std::vector<float> normals = NormalsOf({0, 0, 0, 3, 0, 0, 0, 3, 0}, {0, 1, 2, 0, 0, 1});
    EXPECT_EQ(normals, (std::vector<float>{0, 0, 1.0f / 3.0f, 0, 0, 0.5f, 0, 0, 1}));
}

TEST(Normals, IndicesAfterTheLastWholeTriangleAreNotUsed)
{
    EXPECT_EQ(NormalsOf({0, 0, 0, 2, 0, 0, 0, 3, 0}, {0, 1, 2, 2, 1}),
              (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
}

TEST(Normals, AMeshWithoutVerticesOrTrianglesIsLeftInPeace)
{
    Arena arena = {};
    const Mesh mesh = {};
    EXPECT_TRUE(RecomputeNormals(&mesh, &arena));
    EXPECT_EQ(NormalsOf({1, 2, 3}, {}), (std::vector<float>{0, 0, 0}));
}

TEST(Normals, OnTheFlatGridStayUnitLengthWithYOfOneSign)
{
    FaultList faults;
    StartFaults(&faults);
    Arena arena = {};
    Mesh mesh = {};
    EXPECT_TRUE(BuildGenMesh(kCenterwaveWater, &mesh, &faults));
    EXPECT_TRUE(RecomputeNormals(&mesh, &arena));
    for (uint32_t i = 0; i < mesh.vertexCount; ++i)
    {
        EXPECT_EQ(mesh.normals[3 * i], 0.0f);
        EXPECT_EQ(mesh.normals[3 * i + 1], 1.0f) << "vertex " << i;
        EXPECT_EQ(mesh.normals[3 * i + 2], 0.0f);
    }
    FreeGenMesh(kCenterwaveWater, &mesh);
    FreeArena(&arena);
}

TEST(Normals, OfRandomMeshesAreThePlainOnesToTheLastBit)
{
    std::mt19937 random(1);
    for (int round = 0; round < 400; ++round)
    {
        uint32_t vertexCount = 1 + random() % 60;
        uint32_t indexCount = random() % 300;
        std::vector<float> vertices(3 * vertexCount);
        for (float& v : vertices)
        {
            // Few different values, so that degenerate faces and equal sums turn up.
            v = round % 2 == 0 ? static_cast<float>(static_cast<int>(random() % 9) - 4)
                               : static_cast<float>(random() % 20000) * 0.0003f - 3.0f;
        }
        std::vector<uint32_t> indices(indexCount);
        for (uint32_t& index : indices)
        {
            index = random() % vertexCount;
        }
        ExpectPlainNormals(vertices, indices);
    }
}

TEST(Normals, OfMeshesOfEverySmallSizeAreThePlainOnes)
{
    std::mt19937 random(2);
    for (uint32_t vertexCount = 1; vertexCount <= 9; ++vertexCount)
    {
        for (uint32_t indexCount = 0; indexCount <= 40; ++indexCount)
        {
            std::vector<float> vertices(3 * vertexCount);
            for (float& v : vertices)
            {
                v = static_cast<float>(random() % 1000) * 0.01f;
            }
            std::vector<uint32_t> indices(indexCount);
            for (uint32_t& index : indices)
            {
                index = random() % vertexCount;
            }
            ExpectPlainNormals(vertices, indices);
        }
    }
}

TEST(Normals, OfThousandsOfFacesSumInTriangleOrder)
{
    std::mt19937 random(3);
    std::vector<float> vertices(3 * 3000);
    for (float& v : vertices)
    {
        v = static_cast<float>(random() % 100000) * 0.001f - 50.0f;
    }
    std::vector<uint32_t> indices;
    for (uint32_t i = 1; i + 1 < 3000; ++i)
    {
        indices.insert(indices.end(), {0, i, i + 1});
    }
    ExpectPlainNormals(vertices, indices);
}

TEST(Normals, WithoutKeptListsFollowIndicesThatChange)
{
    const std::vector<float> vertices = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    EXPECT_EQ(NormalsOf(vertices, {0, 1, 2})[2], 1.0f);
    EXPECT_EQ(NormalsOf(vertices, {0, 2, 1})[2], -1.0f);
}

TEST(Normals, FillEmptyListsOnceAndTrustThemAfterwards)
{
    const std::vector<float> vertices = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    VertexFaces faces = {};
    EXPECT_EQ(NormalsOf(vertices, {0, 1, 2}, &faces)[2], 1.0f);
    const uint32_t* block = faces.block;
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(NormalsOf(vertices, {0, 2, 1}, &faces)[2], 1.0f); // of the indices before
    EXPECT_EQ(faces.block, block);

    FreeVertexFaces(&faces);
    EXPECT_EQ(faces.block, nullptr);
    FreeVertexFaces(&faces); // does nothing
    EXPECT_EQ(NormalsOf(vertices, {0, 2, 1}, &faces)[2], -1.0f);
    FreeVertexFaces(&faces);
}

TEST(VertexFaces, AreListedInTheOrderOfTheTriangles)
{
    const uint32_t indices[] = {0, 1, 2, 2, 1, 3, 0, 2, 2, 3}; // the last one is no triangle
    VertexFaces faces = {};
    ASSERT_TRUE(BuildVertexFaces(indices, 10, 5, &faces));
    EXPECT_EQ(std::vector<uint32_t>(faces.first, faces.first + 6),
              (std::vector<uint32_t>{0, 2, 4, 8, 9, 9}));
    EXPECT_EQ(std::vector<uint32_t>(faces.faces, faces.faces + 9),
              (std::vector<uint32_t>{0, 8, 0, 4, 0, 4, 8, 8, 4}));
    EXPECT_EQ(std::vector<uint32_t>(faces.corners, faces.corners + 10),
              (std::vector<uint32_t>{0, 4, 8, 8, 4, 12, 0, 8, 8, 0}));
    FreeVertexFaces(&faces);
}

TEST(Normals, OfCoordinatesPastAllBoundsHurtNobodyElse)
{
    // The products overflow, and vertices 0 to 2 get what is no number. Vertex 3 keeps its face.
    const float big = 3e38f;
    std::vector<float> normals =
        NormalsOf({0, 0, 0, big, 0, 0, 0, big, 0, 0, 0, 0, 2, 0, 0, 0, 3, 0}, {0, 1, 2, 3, 4, 5});
    EXPECT_EQ(std::vector<float>(normals.begin() + 9, normals.end()),
              (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
}

TEST(Normals, WithoutMemoryLeaveTheNormalsAsTheyWere)
{
    float vertices[] = {0, 0, 0, 2, 0, 0, 0, 3, 0};
    float normals[9] = {7};
    uint32_t indices[] = {0, 1, 2};
    Mesh mesh = {};
    mesh.vertexCount = 3;
    mesh.indexCount = 3;
    mesh.vertices = vertices;
    mesh.normals = normals;
    mesh.indices = indices;
    VertexFaces faces = {};
    mesh.faces = &faces;
    for (uint64_t k = 1; k <= 2; ++k) // the lists and the scratch memory
    {
        Arena arena = {};
        FreeVertexFaces(&faces);
        FailAllocation(k);
        const bool recomputed = RecomputeNormals(&mesh, &arena);
        EXPECT_EQ(AllowAllocations(), k);
        EXPECT_FALSE(recomputed);
        EXPECT_EQ(normals[0], 7.0f);
        FreeArena(&arena);
    }
    FreeVertexFaces(&faces);
}
