#include "engine/geometry/gen_mesh.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/make_envelope.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/numeric.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/geometry/water.h"

/// A table whose only record is read from an item's text.
struct ReadMesh
{
    explicit ReadMesh(const std::string& text)
    {
        BuildCosTable();
        document.Parse(text.c_str());
        CurrentPlace = {"demo.xmlz", 8, 1, 0};
        table = CreateObjectTable(sizeof(GenMesh));
        genMesh = GetRecord<GenMesh>(AllocateObject(table), table);
        memset(static_cast<void*>(genMesh), 0xEE, sizeof(GenMesh)); // as a new record may be
        ReadGenMeshItem(document.FirstChildElement(), genMesh, 0, &context);
    }
    ~ReadMesh()
    {
        FreeGenMesh(genMesh->type, genMesh->state, &genMesh->mesh);
        free(genMesh->state);
        FreeObjectTable(table);
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }
    ReadMesh(const ReadMesh&) = delete;
    ReadMesh& operator=(const ReadMesh&) = delete;

    TiXmlDocument document;
    LoadContext context = {};
    ObjectTable* table;
    GenMesh* genMesh;
};

static std::vector<uint32_t> Triple(const Mesh& mesh, uint32_t first)
{
    return {mesh.indices[first], mesh.indices[first + 1], mesh.indices[first + 2]};
}

static std::vector<float> Vertex(const Mesh& mesh, uint32_t n)
{
    return {mesh.vertices[3 * n], mesh.vertices[3 * n + 1], mesh.vertices[3 * n + 2]};
}

// ---- Building

TEST(GenMesh, IsAFlatGridOf900VerticesAnd5046Indices)
{
    for (uint32_t type : {0u, 1u})
    {
        void* state = nullptr;
        Mesh mesh = {};
        BuildGenMesh(type, &state, &mesh);
        EXPECT_EQ(mesh.vertexCount, 900u);
        EXPECT_EQ(mesh.indexCount, 5046u);
        EXPECT_EQ(mesh.texCoordSets, 2);
        EXPECT_EQ(Vertex(mesh, 0), (std::vector<float>{0, 0, 0}));
        EXPECT_EQ(Vertex(mesh, 29), (std::vector<float>{0, 0, 29}));
        EXPECT_EQ(Vertex(mesh, 870), (std::vector<float>{29, 0, 0}));
        EXPECT_EQ(Vertex(mesh, 899), (std::vector<float>{29, 0, 29}));
        EXPECT_NE(state, nullptr);

        FreeGenMesh(type, &state, &mesh);
        EXPECT_EQ(state, nullptr);
        EXPECT_EQ(mesh.vertices, nullptr);
        EXPECT_EQ(mesh.vertexCount, 0u);
    }
}

TEST(GenMesh, Vertex31IsAt1And1WithAThirtiethOfTheTexture)
{
    void* state = nullptr;
    Mesh mesh = {};
    BuildGenMesh(kLakeWater, &state, &mesh);
    EXPECT_EQ(Vertex(mesh, 31), (std::vector<float>{1, 0, 1}));
    EXPECT_EQ(mesh.texCoords1[62], 1.0f / 30.0f);
    EXPECT_EQ(mesh.texCoords1[63], 1.0f / 30.0f);

    // The far edge stops at 29/30, and both sets are the same values in blocks of their own.
    EXPECT_EQ(mesh.texCoords1[2 * 899], 29.0f / 30.0f);
    EXPECT_NE(mesh.texCoords1, mesh.texCoords2);
    for (uint32_t i = 0; i < 1800; ++i)
    {
        ASSERT_EQ(mesh.texCoords1[i], mesh.texCoords2[i]);
    }
    FreeGenMesh(kLakeWater, &state, &mesh);
}

TEST(GenMesh, EveryVertexCoordinateAndIndexFollowsTheGrid)
{
    void* state = nullptr;
    Mesh mesh = {};
    BuildGenMesh(kCenterwaveWater, &state, &mesh);
    uint32_t first = 0;
    uint32_t second = 2523;
    for (uint32_t i = 0; i < 30; ++i)
    {
        for (uint32_t j = 0; j < 30; ++j)
        {
            uint32_t a = i * 30 + j;
            float x = static_cast<float>(i);
            float z = static_cast<float>(j);
            ASSERT_EQ(Vertex(mesh, a), (std::vector<float>{x, 0, z}));
            ASSERT_EQ(mesh.texCoords1[2 * a], x / 30.0f) << a;
            ASSERT_EQ(mesh.texCoords1[2 * a + 1], z / 30.0f) << a;
            if (i == 29 || j == 29)
            {
                continue;
            }
            // The cell of corners a, b, d, e is cut from a to d.
            uint32_t b = a + 1;
            uint32_t d = a + 31;
            uint32_t e = a + 30;
            ASSERT_EQ(Triple(mesh, first), (std::vector<uint32_t>{a, b, d}));
            ASSERT_EQ(Triple(mesh, second), (std::vector<uint32_t>{a, d, e}));
            first += 3;
            second += 3;
        }
    }
    EXPECT_EQ(first, 2523u);
    EXPECT_EQ(second, 5046u);
    FreeGenMesh(kCenterwaveWater, &state, &mesh);
}

TEST(GenMesh, TrianglesComeInTwoRunsOfAllFirstAndAllSecondHalves)
{
    void* state = nullptr;
    Mesh mesh = {};
    BuildGenMesh(kLakeWater, &state, &mesh);
    EXPECT_EQ(Triple(mesh, 0), (std::vector<uint32_t>{0, 1, 31}));
    EXPECT_EQ(Triple(mesh, 3), (std::vector<uint32_t>{1, 2, 32}));
    EXPECT_EQ(Triple(mesh, 28 * 3), (std::vector<uint32_t>{28, 29, 59}));
    EXPECT_EQ(Triple(mesh, 29 * 3), (std::vector<uint32_t>{30, 31, 61}));
    EXPECT_EQ(Triple(mesh, 2520), (std::vector<uint32_t>{868, 869, 899}));
    EXPECT_EQ(Triple(mesh, 2523), (std::vector<uint32_t>{0, 31, 30}));
    EXPECT_EQ(Triple(mesh, 5043), (std::vector<uint32_t>{868, 899, 898}));
    for (uint32_t i = 0; i < mesh.indexCount; ++i)
    {
        ASSERT_LT(mesh.indices[i], 900u);
    }
    FreeGenMesh(kLakeWater, &state, &mesh);
}

TEST(GenMesh, ALakeBeginsWithThreeFlatGridsAtStepZero)
{
    void* state = nullptr;
    Mesh mesh = {};
    BuildGenMesh(kLakeWater, &state, &mesh);
    const LakeWaterState* lake = static_cast<LakeWaterState*>(state);
    const std::vector<int32_t> flat(900, 0);
    EXPECT_EQ(std::vector<int32_t>(lake->older, lake->older + 900), flat);
    EXPECT_EQ(std::vector<int32_t>(lake->current, lake->current + 900), flat);
    EXPECT_EQ(std::vector<int32_t>(lake->next, lake->next + 900), flat);
    EXPECT_EQ(lake->lastStep, 0);
    FreeGenMesh(kLakeWater, &state, &mesh);
}

TEST(GenMesh, ATypeWithoutAGeneratorLeavesCellAndMeshAsTheyAre)
{
    int marker = 0;
    void* state = &marker;
    Mesh mesh = {};
    mesh.vertexCount = 77;
    BuildGenMesh(2, &state, &mesh);
    EXPECT_EQ(state, &marker);
    EXPECT_EQ(mesh.vertexCount, 77u);
    FreeGenMesh(2, &state, &mesh);
    EXPECT_EQ(state, &marker);
    EXPECT_EQ(mesh.vertexCount, 77u);
}

// ---- Reading

TEST(GenMesh, Type1WithASinglePOfZeroIsAGridWithoutADrivingEnvelope)
{
    ReadMesh read("<m type=\"1\"><p>0</p></m>");
    EXPECT_EQ(read.genMesh->type, 1u);
    EXPECT_EQ(read.genMesh->params[0], 0);
    EXPECT_EQ(read.genMesh->mesh.vertexCount, 900u);
    EXPECT_EQ(static_cast<CenterwaveState*>(*read.genMesh->state)->lastTime, -1.0f);

    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    UpdateGenMesh(1, read.table, envelopes, 1000);
    EXPECT_EQ(static_cast<CenterwaveState*>(*read.genMesh->state)->lastTime, 0.0f);
    FreeObjectTable(envelopes);
}

TEST(GenMesh, ParametersEndAtTheFirstChildOfAnotherName)
{
    ReadMesh read("<m type=\"0\"><p>7</p><p>-3 and more</p><p>x</p><q>5</q><p>9</p></m>");
    EXPECT_EQ(read.genMesh->type, 0u);
    EXPECT_EQ(read.genMesh->params[0], 7);
    EXPECT_EQ(read.genMesh->params[1], -3);
    for (uint32_t i = 2; i < kGenMeshParams; ++i)
    {
        EXPECT_EQ(read.genMesh->params[i], 0);
    }
    EXPECT_EQ(CurrentPlace.part, 0u);
}

TEST(GenMesh, AFirstChildOfAnotherNameMeansNoParameters)
{
    ReadMesh read("<m type=\"0\"><q/></m>");
    EXPECT_EQ(read.genMesh->params[0], 0);
}

TEST(GenMesh, TakesAllOf32Parameters)
{
    std::string text = "<m type=\"0\">";
    for (int i = 1; i <= 32; ++i)
    {
        text += "<p>" + std::to_string(i) + "</p>";
    }
    ReadMesh read(text + "</m>");
    EXPECT_EQ(read.genMesh->params[31], 32);
}

TEST(GenMesh, AnUnknownTypeIsAMeshOfNoVerticesThatNothingMoves)
{
    ReadMesh read("<m type=\"2\"><p>0</p></m>");
    EXPECT_EQ(read.genMesh->mesh.vertexCount, 0u);
    EXPECT_EQ(read.genMesh->mesh.indexCount, 0u);
    EXPECT_EQ(*read.genMesh->state, nullptr);
    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    UpdateGenMesh(1, read.table, envelopes, 1000);
    FreeObjectTable(envelopes);
}

TEST(GenMeshDeathTest, WhatADocumentLacksIsFatalWithItsPlace)
{
    EXPECT_EXIT(ReadMesh("<m type=\"0\"/>"), testing::ExitedWithCode(1),
                "demo.xmlz, section 8 \\(generated meshes\\), item 1: a parameter is missing");
    EXPECT_EXIT(ReadMesh("<m><p>0</p></m>"), testing::ExitedWithCode(1),
                "item 1: attribute \"type\" of <m> is missing");
    EXPECT_EXIT(ReadMesh("<m type=\"0\"><p>1</p><p/></m>"), testing::ExitedWithCode(1),
                "item 1, parameter 2: <p> has no text");

    std::string text = "<m type=\"0\">";
    for (int i = 0; i < 33; ++i)
    {
        text += "<p>1</p>";
    }
    EXPECT_EXIT(ReadMesh(text + "</m>"), testing::ExitedWithCode(1),
                "item 1, parameter 33: more than 32 parameters");
}

// ---- Updating

TEST(GenMesh, AnUpdateOfAnIdWithoutARecordDoesNothing)
{
    ReadMesh read("<m type=\"1\"><p>0</p></m>");
    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    for (uint32_t id : {0u, 2u, 4096u, 4097u, 0xFFFFFFFFu})
    {
        UpdateGenMesh(id, read.table, envelopes, 0);
    }
    EXPECT_EQ(static_cast<CenterwaveState*>(*read.genMesh->state)->lastTime, -1.0f);
    FreeObjectTable(envelopes);
}

TEST(GenMesh, IsDrivenByItsFirstParametersEnvelopeAtTheObjectTime)
{
    ReadMesh read("<m type=\"1\"><p>2</p><p>1</p></m>");
    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    *GetRecord<Envelope>(AllocateObject(envelopes), envelopes) =
        MakeOnePiece(kFunctionConstant, {50.0f});
    *GetRecord<Envelope>(AllocateObject(envelopes), envelopes) =
        MakeOnePiece(kFunctionLinear, {0.01f, 0.0f});

    FaultPlace before = CurrentPlace;
    UpdateGenMesh(1, read.table, envelopes, 320);
    EXPECT_EQ(static_cast<CenterwaveState*>(*read.genMesh->state)->lastTime, 320.0f * 0.01f);
    std::vector<float> heights = PlainCenterwaveHeights(320.0f * 0.01f);
    for (uint32_t e = 0; e < 900; ++e)
    {
        ASSERT_EQ(read.genMesh->mesh.vertices[3 * e + 1], heights[e]);
    }
    EXPECT_EQ(CurrentPlace.section, before.section);
    EXPECT_EQ(CurrentPlace.item, before.item);
    EXPECT_EQ(CurrentPlace.part, before.part);
    FreeObjectTable(envelopes);
}

TEST(GenMesh, TheTimePassesThroughAFloatOnItsWay)
{
    ReadMesh read("<m type=\"1\"><p>1</p></m>");
    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    Envelope* envelope = GetRecord<Envelope>(AllocateObject(envelopes), envelopes);
    *envelope = MakeOnePiece(kFunctionConstant, {1.0f});
    UpdateGenMesh(1, read.table, envelopes, 16777217);
    EXPECT_EQ(envelope->lastTime, 16777216u);
    UpdateGenMesh(1, read.table, envelopes, 0x80000001u);
    EXPECT_EQ(envelope->lastTime, 0x80000000u);
    FreeObjectTable(envelopes);
}

TEST(GenMeshDeathTest, ADrivingEnvelopeThatDoesNotExistIsFatalWithTheMeshesPlace)
{
    ReadMesh read("<m type=\"1\"><p>5</p></m>");
    ObjectTable* envelopes = CreateObjectTable(sizeof(Envelope));
    CurrentPlace = {"demo.xmlz", 9, 3, 2};
    EXPECT_EXIT(UpdateGenMesh(1, read.table, envelopes, 0), testing::ExitedWithCode(1),
                "demo.xmlz, section 8 \\(generated meshes\\), item 1, parameter 1: envelope 5");
    FreeObjectTable(envelopes);
}
