// SPDX-License-Identifier: MIT
#include "engine/geometry/gen_mesh.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/make_envelope.h"
#include "engine/data/arena.h"
#include "engine/data/cos_table.h"
#include "engine/data/fault.h"
#include "engine/data/random_sequence.h"
#include "engine/geometry/plain_geometry.h"
#include "engine/geometry/water.h"
#include "support/failing_memory.h"
#include "support/fault_text.h"
#include "support/moving_values.h"

/// A mesh read from an item's text: record 1 of a table, and its state.
struct ReadMesh
{
    /// @param lines   receives the faults' lines; null where there must be none
    explicit ReadMesh(const std::string& text, std::string* lines = nullptr)
    {
        BuildCosTable();
        document.Parse(text.c_str());
        context.faults = &values.faults;
        values.faults.place = PlaceAt("demo.xmlz", Section::kGenMeshes, 1);
        genMesh = GetRecord<GenMesh>(AllocateObject(table), table);
        memset(static_cast<void*>(genMesh), 0, sizeof(GenMesh)); // as a reader hands it over
        SeedRandom(&random, 1);
        const bool read = ReadGenMeshItem(document.FirstChildElement(), genMesh, 0, &context);
        EXPECT_EQ(read, lines == nullptr);
        if (lines != nullptr)
        {
            *lines = FaultText(values.faults);
            return;
        }
        EXPECT_TRUE(StartGenMeshState(genMesh->type, &genMesh->mesh, &state, &values.faults));
    }
    ~ReadMesh()
    {
        FreeGenMeshState(&state);
        FreeGenMeshRecord(genMesh);
        FreeObjectTable(table);
        FreeArena(&arena);
    }
    ReadMesh(const ReadMesh&) = delete;
    ReadMesh& operator=(const ReadMesh&) = delete;

    bool Update(uint32_t id, uint32_t time)
    {
        const GenMeshSources sources = {table, &state, &values.animation, &random, &arena};
        return UpdateGenMesh(id, &sources, time);
    }

    TiXmlDocument document;
    ReadContext context = {};
    MovingValues values;
    ObjectTable* table = CreateObjectTable(sizeof(GenMesh));
    GenMesh* genMesh;
    GenMeshState state = {};
    RandomSequence random;
    Arena arena = {};
};

/// A mesh made without a document.
struct BuiltMesh
{
    explicit BuiltMesh(uint32_t meshType) : type(meshType)
    {
        StartFaults(&faults);
        EXPECT_TRUE(BuildGenMesh(type, &mesh, &faults));
    }
    ~BuiltMesh()
    {
        FreeGenMesh(type, &mesh);
        FreeFaults(&faults);
    }
    BuiltMesh(const BuiltMesh&) = delete;
    BuiltMesh& operator=(const BuiltMesh&) = delete;

    uint32_t type;
    Mesh mesh = {};
    FaultList faults;
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
        BuiltMesh built(type);
        Mesh& mesh = built.mesh;
        EXPECT_EQ(mesh.vertexCount, 900u);
        EXPECT_EQ(mesh.indexCount, 5046u);
        EXPECT_EQ(mesh.texCoordSets, 2);
        EXPECT_EQ(Vertex(mesh, 0), (std::vector<float>{0, 0, 0}));
        EXPECT_EQ(Vertex(mesh, 29), (std::vector<float>{0, 0, 29}));
        EXPECT_EQ(Vertex(mesh, 870), (std::vector<float>{29, 0, 0}));
        EXPECT_EQ(Vertex(mesh, 899), (std::vector<float>{29, 0, 29}));

        FreeGenMesh(type, &mesh);
        EXPECT_EQ(mesh.vertices, nullptr);
        EXPECT_EQ(mesh.vertexCount, 0u);
    }
}

TEST(GenMesh, Vertex31IsAt1And1WithAThirtiethOfTheTexture)
{
    BuiltMesh built(kLakeWater);
    const Mesh& mesh = built.mesh;
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
}

TEST(GenMesh, EveryVertexCoordinateAndIndexFollowsTheGrid)
{
    BuiltMesh built(kCenterwaveWater);
    const Mesh& mesh = built.mesh;
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
}

TEST(GenMesh, TrianglesComeInTwoRunsOfAllFirstAndAllSecondHalves)
{
    BuiltMesh built(kLakeWater);
    const Mesh& mesh = built.mesh;
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
}

TEST(GenMesh, ATypeWithoutAGeneratorLeavesTheMeshAsItIs)
{
    FaultList faults;
    StartFaults(&faults);
    Mesh mesh = {};
    mesh.vertexCount = 77;
    EXPECT_TRUE(BuildGenMesh(2, &mesh, &faults));
    EXPECT_EQ(mesh.vertexCount, 77u);
    FreeGenMesh(2, &mesh);
    EXPECT_EQ(mesh.vertexCount, 77u);
}

TEST(GenMesh, WithoutMemoryIsAFaultWhicheverAllocationFails)
{
    for (uint64_t k = 1; k <= 5; ++k)
    {
        FaultList faults;
        StartFaults(&faults);
        Mesh mesh = {};
        FailAllocation(k);
        const bool built = BuildGenMesh(kLakeWater, &mesh, &faults);
        EXPECT_EQ(AllowAllocations(), k); // nothing is allocated after the fault
        EXPECT_FALSE(built);
        EXPECT_EQ(faults.count, 1u);
        FreeGenMesh(kLakeWater, &mesh);
    }
}

// ---- Reading

TEST(GenMesh, AParameterOfZeroIsAGridWithoutAnEnvelope)
{
    ReadMesh read("<m type=\"1\"><p>0</p></m>");
    EXPECT_EQ(read.genMesh->type, 1u);
    EXPECT_EQ(read.genMesh->params[0], 0u);
    EXPECT_EQ(read.genMesh->mesh.vertexCount, 900u);
    EXPECT_EQ(read.state.wave.lastTime, -1.0f);

    EXPECT_TRUE(read.Update(1, 1000));
    EXPECT_EQ(read.state.wave.lastTime, 0.0f);
}

TEST(GenMesh, ParametersEndAtTheFirstChildOfAnotherName)
{
    ReadMesh read("<m type=\"0\"><p>7</p><p>-3 and more</p><p>x</p><q>5</q><p>9</p></m>");
    EXPECT_EQ(read.genMesh->type, 0u);
    EXPECT_EQ(read.genMesh->params[0], 7u);
    EXPECT_EQ(read.genMesh->params[1], static_cast<uint32_t>(-3));
    for (uint32_t i = 2; i < kGenMeshParams; ++i)
    {
        EXPECT_EQ(read.genMesh->params[i], 0u);
    }
    EXPECT_EQ(read.values.faults.place.part, 0u);
}

TEST(GenMesh, AFirstChildOfAnotherNameMeansNoParameters)
{
    ReadMesh read("<m type=\"0\"><q/></m>");
    EXPECT_EQ(read.genMesh->params[0], 0u);
}

TEST(GenMesh, TakesAllOf32Parameters)
{
    std::string text = "<m type=\"0\">";
    for (int i = 1; i <= 32; ++i)
    {
        text += "<p>" + std::to_string(i) + "</p>";
    }
    ReadMesh read(text + "</m>");
    EXPECT_EQ(read.genMesh->params[31], 32u);
}

TEST(GenMesh, AnUnknownTypeIsAMeshOfNoVerticesThatNothingMoves)
{
    ReadMesh read("<m type=\"2\"><p>0</p></m>");
    EXPECT_EQ(read.genMesh->mesh.vertexCount, 0u);
    EXPECT_EQ(read.genMesh->mesh.indexCount, 0u);
    EXPECT_EQ(read.state.block, nullptr);
    EXPECT_TRUE(read.Update(1, 1000));
}

/// @return what is wrong with an item's text, after the name of the section
static std::string FaultOf(const std::string& text)
{
    std::string lines;
    ReadMesh read(text, &lines);
    const std::string place = "quorvale: demo.xmlz, section 8 (generated meshes), ";
    EXPECT_EQ(lines.substr(0, place.size()), place);
    return lines.substr(place.size());
}

TEST(GenMesh, SomethingThatADocumentLacksIsAFaultAtItsPlace)
{
    EXPECT_EQ(FaultOf("<m type=\"0\"/>"), "item 1: a parameter is missing\n");
    EXPECT_EQ(FaultOf("<m><p>0</p></m>"), "item 1: attribute \"type\" of <m> is missing\n");
    EXPECT_EQ(FaultOf("<m type=\"0\"><p>1</p><p/></m>"), "item 1, parameter 2: <p> has no text\n");

    std::string text = "<m type=\"0\">";
    for (int i = 0; i < 33; ++i)
    {
        text += "<p>1</p>";
    }
    EXPECT_EQ(FaultOf(text + "</m>"), "item 1, parameter 33: more than 32 parameters\n");
}

// ---- Updating

TEST(GenMesh, AnUpdateOfAnIdWithoutARecordDoesNothing)
{
    ReadMesh read("<m type=\"1\"><p>0</p></m>");
    for (uint32_t id : {0u, 2u, 4096u, 4097u, 0xFFFFFFFFu})
    {
        EXPECT_TRUE(read.Update(id, 0));
    }
    EXPECT_EQ(read.state.wave.lastTime, -1.0f);
}

TEST(GenMesh, IsDrivenByItsFirstParametersEnvelope)
{
    ReadMesh read("<m type=\"1\"><p>2</p><p>1</p></m>");
    read.values.Add(MakeOnePiece(kFunctionConstant, {50.0f}));
    read.values.Add(MakeOnePiece(kFunctionLinear, {0.01f, 0.0f}));

    const Place place = PlaceAt("demo.xmlz", Section::kScenes, 3, 2);
    read.values.faults.place = place;
    EXPECT_TRUE(read.Update(1, 320));
    EXPECT_EQ(read.state.wave.lastTime, 320.0f * 0.01f);
    const Mesh moved = MovedMesh(read.genMesh, &read.state);
    const std::vector<float> heights = PlainCenterwaveHeights(320.0f * 0.01f);
    for (uint32_t e = 0; e < 900; ++e)
    {
        ASSERT_EQ(moved.vertices[3 * e + 1], heights[e]);
        ASSERT_EQ(read.genMesh->mesh.vertices[3 * e + 1], 0.0f); // the record stays at rest
    }
    EXPECT_TRUE(ArePlacesEqual(read.values.faults.place, place));
}

TEST(GenMesh, AMovedMeshTakesVerticesAndNormalsFromItsState)
{
    ReadMesh read("<m type=\"0\"><p>0</p></m>");
    const Mesh& rest = read.genMesh->mesh;
    const Mesh moved = MovedMesh(read.genMesh, &read.state);
    EXPECT_EQ(moved.vertices, read.state.vertices);
    EXPECT_EQ(moved.normals, read.state.normals);
    EXPECT_EQ(moved.vertexCount, 900u);
    EXPECT_EQ(moved.indexCount, 5046u);
    EXPECT_EQ(moved.texCoords1, rest.texCoords1);
    EXPECT_EQ(moved.texCoords2, rest.texCoords2);
    EXPECT_EQ(moved.texCoordSets, 2);
    EXPECT_EQ(moved.indices, rest.indices);
}

TEST(GenMesh, TheTimePassesThroughAFloatOnItsWay)
{
    ReadMesh read("<m type=\"1\"><p>1</p></m>");
    read.values.Add(MakeOnePiece(kFunctionConstant, {1.0f}));
    EXPECT_TRUE(read.Update(1, 16777217));
    EXPECT_EQ(read.values.caches[0].lastTime, 16777216u);
    EXPECT_TRUE(read.Update(1, 0x80000001u));
    EXPECT_EQ(read.values.caches[0].lastTime, 0x80000000u);
}

TEST(GenMesh, AMissingDrivingEnvelopeIsAFaultOfTheMesh)
{
    ReadMesh read("<m type=\"1\"><p>5</p></m>");
    const Place place = PlaceAt("demo.xmlz", Section::kScenes, 3, 2);
    read.values.faults.place = place;
    EXPECT_FALSE(read.Update(1, 0));
    EXPECT_EQ(FaultText(read.values.faults),
              "quorvale: demo.xmlz, section 8 (generated meshes), item 1, parameter 1: envelope 5 "
              "does not exist\n");
    EXPECT_TRUE(ArePlacesEqual(read.values.faults.place, place));
    EXPECT_EQ(read.state.wave.lastTime, -1.0f); // and nothing has moved
}

TEST(GenMesh, AMoveWithoutMemoryIsAFault)
{
    for (uint64_t k = 1; k <= 2; ++k) // the lists of faces and the scratch memory
    {
        ReadMesh read("<m type=\"0\"><p>0</p></m>");
        FailAllocation(k);
        const bool moved = read.Update(1, 0);
        EXPECT_EQ(AllowAllocations(), k);
        EXPECT_FALSE(moved);
        EXPECT_EQ(FaultText(read.values.faults), "quorvale: demo.xmlz, section 8 (generated "
                                                 "meshes), item 1: no memory to move generated "
                                                 "mesh 1\n");
    }
}

TEST(GenMesh, AMoveLikeTheOneBeforeTakesNothingFromTheHeap)
{
    ReadMesh read("<m type=\"0\"><p>1</p></m>");
    read.values.Add(MakeOnePiece(kFunctionLinear, {1.0f, 0.0f}));
    EXPECT_TRUE(read.Update(1, 1));
    FailAllocation(1);
    EXPECT_TRUE(read.Update(1, 2));
    EXPECT_EQ(AllowAllocations(), 0u);
}
