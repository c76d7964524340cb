// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

#include "support/package_builder.h"
#include "tools/container.h"
#include "tools/dpk_run.h"

static std::string Unpack(const std::string& container)
{
    Bytes data;
    EXPECT_EQ(UnpackContainer(Bytes(container.begin(), container.end()), &data), nullptr);
    return std::string(data.begin(), data.end());
}

/// Runs "dpk model" and compares the model, uncompressed, byte by byte.
/// @param notes   the lines that are printed after the line of numbers, each line without "out: "
/// in front
static void ExpectModel(const TemporaryFolder& folder, const std::string& source,
                        const ModelSource& expected, const std::string& summary,
                        const std::vector<std::string>& notes,
                        const std::vector<std::string>& options = {})
{
    std::vector<std::string> arguments = {"model", source, "out"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    DpkRun run = RunDpk(folder, arguments);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");

    std::string out = "out: " + summary + "\n";
    for (const std::string& note : notes)
    {
        out += "out: " + note + "\n";
    }
    EXPECT_EQ(run.out, out);
    EXPECT_EQ(Unpack(folder.Read("out")), Unpack(MakeModel(expected)));
}

static const char* const kNormalsMade = "no normals in 1 of 1 meshes: smooth ones were made";
static const char* const kNoCoords =
    "no first set of texture coordinates in 1 of 1 meshes: zeros stand there";

TEST(MeshImport, AnObjWithEverythingKeepsItsNumbersAndOrder)
{
    TemporaryFolder folder;
    folder.Write("quad.obj", "v 0 0 0\nv 2 0 0\nv 2 1 0.5\nv 0 1 0.5\n"
                             "vt 0 0\nvt 1 0\nvt 1 0.25\nvt 0 1\n"
                             "vn 0 0 1\nvn 0.5 0 0.25\n"
                             "f 1/1/1 2/2/1 3/3/2 4/4/2\n");
    const float x = 0.5f / sqrtf(0.3125f);
    const float z = 0.25f / sqrtf(0.3125f);
    ExpectModel(folder, "quad.obj",
                {{0, 0, 0, 2, 0, 0, 2, 1, 0.5f, 0, 1, 0.5f},
                 {{0, 1, 1, 1, 1, 0.75f, 0, 0}},
                 {0, 0, 1, 0, 0, 1, x, 0, z, x, 0, z},
                 {0, 1, 2, 0, 2, 3}},
                "vertices 4, triangles 2, texture coordinate sets 1, from (0, 0, 0) to (2, 1, 0.5)",
                {"normals that were not 1 long: 2, now they are"});
}

/// A triangle whose coordinates are (0, 0), (1, 0.25) and (0.5, 1), as COLLADA has it.
static const char* const kColladaTriangle =
    "<?xml version=\"1.0\"?><COLLADA "
    "xmlns=\"http://www.collada.org/2005/11/COLLADASchema\" version=\"1.4.1\"><asset>"
    "<up_axis>Y_UP</up_axis></asset><library_geometries><geometry id=\"g\"><mesh>"
    "<source id=\"p\"><float_array id=\"pa\" count=\"9\">0 0 0 1 0 0 0 1 0</float_array>"
    "<technique_common><accessor source=\"#pa\" count=\"3\" stride=\"3\"><param name=\"X\" "
    "type=\"float\"/><param name=\"Y\" type=\"float\"/><param name=\"Z\" type=\"float\"/>"
    "</accessor></technique_common></source><source id=\"n\"><float_array id=\"na\" "
    "count=\"3\">0 0 1</float_array><technique_common><accessor source=\"#na\" "
    "count=\"1\" stride=\"3\"><param name=\"X\" type=\"float\"/><param name=\"Y\" "
    "type=\"float\"/><param name=\"Z\" type=\"float\"/></accessor></technique_common>"
    "</source><source id=\"t\"><float_array id=\"ta\" count=\"6\">0 0 1 0.25 0.5 "
    "1</float_array><technique_common><accessor source=\"#ta\" count=\"3\" stride=\"2\">"
    "<param name=\"S\" type=\"float\"/><param name=\"T\" type=\"float\"/></accessor>"
    "</technique_common></source><vertices id=\"v\"><input semantic=\"POSITION\" "
    "source=\"#p\"/></vertices><triangles count=\"1\"><input semantic=\"VERTEX\" "
    "source=\"#v\" offset=\"0\"/><input semantic=\"NORMAL\" source=\"#n\" offset=\"1\"/>"
    "<input semantic=\"TEXCOORD\" source=\"#t\" offset=\"2\" set=\"0\"/><p>0 0 0 1 0 1 2 0 "
    "2</p></triangles></mesh></geometry></library_geometries>"
    "<library_visual_scenes><visual_scene id=\"s\"><node id=\"o\"><instance_geometry "
    "url=\"#g\"/></node></visual_scene></library_visual_scenes><scene>"
    "<instance_visual_scene url=\"#s\"/></scene></COLLADA>";

TEST(MeshImport, ObjPlyAndColladaCountVFromTheLowerEdge)
{
    TemporaryFolder folder;
    const std::string body = "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0.25\nvt 0.5 1\nvn 0 0 1\n"
                             "f 1/1/1 2/2/1 3/3/1\n";
    folder.Write("a.obj", body);
    folder.Write("upper.obj", "# a.obj: made by hand\n# v counts from the upper edge\n" + body);
    folder.Write("b.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                          "property float y\nproperty float z\nproperty float nx\n"
                          "property float ny\nproperty float nz\nproperty float u\n"
                          "property float v\nelement face 1\n"
                          "property list uchar int vertex_indices\nend_header\n"
                          "0 0 0 0 0 1 0 0\n1 0 0 0 0 1 1 0.25\n0 1 0 0 0 1 0.5 1\n3 0 1 2\n");
    folder.Write("c.dae", kColladaTriangle);
    const char* summary =
        "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)";
    const std::vector<float> places = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const std::vector<float> normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    const ModelSource kept = {places, {{0, 0, 1, 0.25f, 0.5f, 1}}, normals, {0, 1, 2}};
    const ModelSource turned = {places, {{0, 1, 1, 0.75f, 0.5f, 0}}, normals, {0, 1, 2}};
    for (const char* name : {"a.obj", "b.ply", "c.dae"})
    {
        ExpectModel(folder, name, turned, summary, {}, {});
        ExpectModel(folder, name, turned, summary, {}, {"--flip-v"});
        ExpectModel(folder, name, kept, summary, {}, {"--keep-v"});
    }
    ExpectModel(folder, "upper.obj", kept, summary, {}, {});
    ExpectModel(folder, "upper.obj", turned, summary, {}, {"--flip-v"});
}

TEST(MeshImport, ABareObjGetsNormalsAndZerosAndSaysSo)
{
    TemporaryFolder folder;
    folder.Write("bare.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3\nf 1 3 4\n");
    ExpectModel(folder, "bare.obj",
                {{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
                 {{0, 0, 0, 0, 0, 0, 0, 0}},
                 {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                 {0, 1, 2, 0, 2, 3}},
                "vertices 4, triangles 2, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
                {kNoCoords, kNormalsMade});
}

TEST(MeshImport, NormalsThatAreMadeAreSmooth)
{
    TemporaryFolder folder;
    folder.Write("fold.obj", "v 0 0 0\nv 0 1 0\nv 6 0 0\nv 0 0 8\nf 1 3 2\nf 1 2 4\n");
    ExpectModel(folder, "fold.obj",
                {{0, 0, 0, 6, 0, 0, 0, 1, 0, 0, 0, 8}, // in the order of the corners
                 {{0, 0, 0, 0, 0, 0, 0, 0}},
                 {0.8f, 0, 0.6f, 0, 0, 1, 0.8f, 0, 0.6f, 1, 0, 0},
                 {0, 1, 2, 0, 2, 3}},
                "vertices 4, triangles 2, texture coordinate sets 1, from (0, 0, 0) to (6, 1, 8)",
                {kNoCoords, kNormalsMade});
}

TEST(MeshImport, PointsAndLinesAreDropped)
{
    TemporaryFolder folder;
    folder.Write("mixed.obj", "v 5 5 5\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\n"
                              "o dots\np 1\nl 1 2\no face\nf 2//1 3//1 4//1\n");
    ExpectModel(
        folder, "mixed.obj",
        {{0, 0, 0, 1, 0, 0, 0, 1, 0}, {{0, 0, 0, 0, 0, 0}}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 1, 2}},
        "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
        {kNoCoords, "points and lines dropped: 2"});
}

TEST(MeshImport, AllMeshesOfASceneBecomeOneAndShareVertices)
{
    TemporaryFolder folder;
    folder.Write("two.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nvt 0.5 0.5\nvn 0 0 1\n"
                            "o one\nf 1//1 2//1 3//1\no two\nf 3/1/1 2/1/1 4/1/1\n");
    // The second object's corners have coordinates, so its vertices are others.
    ExpectModel(folder, "two.obj",
                {{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0},
                 {{0, 0, 0, 0, 0, 0, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f}},
                 {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                 {0, 1, 2, 3, 4, 5}},
                "vertices 6, triangles 2, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
                {"no first set of texture coordinates in 1 of 2 meshes: zeros stand there"});

    folder.Write("same.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nvt 0.5 0.5\nvn 0 0 1\n"
                             "o one\nf 1/1/1 2/1/1 3/1/1\no two\nf 3/1/1 2/1/1 4/1/1\n");
    ExpectModel(folder, "same.obj",
                {{0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0},
                 {{0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f}},
                 {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                 {0, 1, 2, 2, 1, 3}},
                "vertices 4, triangles 2, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
                {});
}

TEST(MeshImport, APlyKeepsTheOrderOfItsVerticesAndLosesUnusedOnes)
{
    TemporaryFolder folder;
    folder.Write("a.ply", "ply\nformat ascii 1.0\nelement vertex 5\n"
                          "property float x\nproperty float y\nproperty float z\n"
                          "property float nx\nproperty float ny\nproperty float nz\n"
                          "element face 2\nproperty list uchar int vertex_indices\nend_header\n"
                          "0 3 0 0 0 1\n9 9 9 0 0 1\n2 3 0 0 0 1\n2 0 0 0 0 1\n0 0 0 0 0 1\n"
                          "3 4 3 2\n3 4 2 0\n");
    ExpectModel(folder, "a.ply",
                {{0, 3, 0, 2, 3, 0, 2, 0, 0, 0, 0, 0},
                 {{0, 0, 0, 0, 0, 0, 0, 0}},
                 {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                 {3, 2, 1, 3, 1, 0}},
                "vertices 4, triangles 2, texture coordinate sets 1, from (0, 0, 0) to (2, 3, 0)",
                {kNoCoords});
}

TEST(MeshImport, AnStlIsReadToo)
{
    TemporaryFolder folder;
    folder.Write("a.stl", "solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                          "vertex 0 1 0\nendloop\nendfacet\nendsolid s\n");
    ExpectModel(
        folder, "a.stl",
        {{0, 0, 0, 1, 0, 0, 0, 1, 0}, {{0, 0, 0, 0, 0, 0}}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 1, 2}},
        "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
        {kNoCoords});
}

// ---- glTF, which has nodes and two sets of coordinates

static std::string FloatBytes(const std::vector<float>& values)
{
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
}

/// One triangle with two sets of coordinates: glTF counts v from the upper edge.
static void WriteGltf(const TemporaryFolder& folder, const std::string& node,
                      const std::string& attributes)
{
    folder.Write("two.bin", FloatBytes({0, 0, 0, 1, 0, 0, 0, 1, 0}) +        // at 0
                                FloatBytes({0, 0, 1, 0, 0, 1, 0, 0, 1}) +    // at 36
                                FloatBytes({0, 0, 0.5f, 0, 0, 0.25f}) +      // at 72
                                FloatBytes({0.125f, 0.5f, 1, 1, 0.75f, 0}) + // at 96
                                Raw("\0\0\1\0\2\0"));                        // at 120
    auto view = [](int offset, int length)
    {
        return "{\"buffer\":0,\"byteOffset\":" + std::to_string(offset) +
               ",\"byteLength\":" + std::to_string(length) + "}";
    };
    auto accessor = [](int number, const char* rest)
    {
        return "{\"bufferView\":" + std::to_string(number) +
               ",\"componentType\":5126,\"count\":3,\"type\":" + rest + "}";
    };
    folder.Write(
        "two.gltf",
        "{\"asset\":{\"version\":\"2.0\"},\"scene\":0,\"scenes\":[{\"nodes\":[0]}],"
        "\"nodes\":[" +
            node + "],\"meshes\":[{\"primitives\":[{\"attributes\":{\"POSITION\":0,\"NORMAL\":1" +
            attributes +
            "},\"indices\":4}]}],\"buffers\":[{\"uri\":\"two.bin\",\"byteLength\":126}],"
            "\"bufferViews\":[" +
            view(0, 36) + "," + view(36, 36) + "," + view(72, 24) + "," + view(96, 24) + "," +
            view(120, 6) + "],\"accessors\":[" +
            accessor(0, "\"VEC3\",\"min\":[0,0,0],\"max\":[1,1,0]") + "," +
            accessor(1, "\"VEC3\"") + "," + accessor(2, "\"VEC2\"") + "," +
            accessor(3, "\"VEC2\"") +
            ",{\"bufferView\":4,\"componentType\":5123,\"count\":3,\"type\":\"SCALAR\"}]}");
}

static const char* const kBothSets = ",\"TEXCOORD_0\":2,\"TEXCOORD_1\":3";

TEST(MeshImport, ASecondSetOfCoordinatesIsKept)
{
    TemporaryFolder folder;
    WriteGltf(folder, "{\"mesh\":0}", kBothSets);
    ExpectModel(folder, "two.gltf",
                {{0, 0, 0, 1, 0, 0, 0, 1, 0},
                 {{0, 0, 0.5f, 0, 0, 0.25f}, {0.125f, 0.5f, 1, 1, 0.75f, 0}},
                 {0, 0, 1, 0, 0, 1, 0, 0, 1},
                 {0, 1, 2}},
                "vertices 3, triangles 1, texture coordinate sets 2, from (0, 0, 0) to (1, 1, 0)",
                {});
}

TEST(MeshImport, WithoutASecondSetThereIsOne)
{
    TemporaryFolder folder;
    WriteGltf(folder, "{\"mesh\":0}", ",\"TEXCOORD_0\":2");
    ExpectModel(folder, "two.gltf",
                {{0, 0, 0, 1, 0, 0, 0, 1, 0},
                 {{0, 0, 0.5f, 0, 0, 0.25f}},
                 {0, 0, 1, 0, 0, 1, 0, 0, 1},
                 {0, 1, 2}},
                "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
                {});
}

TEST(MeshImport, NodesMoveTheirMeshes)
{
    TemporaryFolder folder;
    WriteGltf(folder,
              "{\"translation\":[10,0,0],\"children\":[1,2]},"
              "{\"mesh\":0,\"scale\":[2,4,1]},"
              "{\"mesh\":0,\"translation\":[0,0,-1]}",
              "");
    ExpectModel(
        folder, "two.gltf",
        {{10, 0, 0, 12, 0, 0, 10, 4, 0, 10, 0, -1, 11, 0, -1, 10, 1, -1},
         {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
         {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
         {0, 1, 2, 3, 4, 5}},
        "vertices 6, triangles 2, texture coordinate sets 1, from (10, 0, -1) to (12, 4, 0)",
        {"no first set of texture coordinates in 2 of 2 meshes: zeros stand there"});
}

TEST(MeshImport, AMirroredTriangleIsTurnedRound)
{
    TemporaryFolder folder;
    WriteGltf(folder, "{\"mesh\":0,\"scale\":[1,1,-2]}", "");
    ExpectModel(folder, "two.gltf",
                {{0, 0, 0, 1, 0, 0, 0, 1, 0},
                 {{0, 0, 0, 0, 0, 0}},
                 {-0.0f, -0.0f, -1, -0.0f, -0.0f, -1, -0.0f, -0.0f, -1},
                 {0, 2, 1}},
                "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
                {kNoCoords});
}

// ---- What authors ask for

/// A square in the plane z = 0, bent up along its diagonal.
static const char kBent[] = "v 2 0 0\nv 4 0 0\nv 4 2 0\nv 2 2 2\nf 1 2 3\nf 1 3 4\n";

/// The positions of a model file's vertices, and its normals.
static std::vector<float> FloatsOf(const std::string& model, bool normals)
{
    uint32_t count = 0;
    memcpy(&count, model.data(), sizeof(count));
    std::vector<float> floats(size_t{3} * count);
    memcpy(floats.data(), model.data() + 5 + (normals ? size_t{20} * count : 0), 12 * count);
    return floats;
}

static std::string ModelOf(const TemporaryFolder& folder, std::vector<std::string> options)
{
    options.insert(options.begin(), "model");
    options.insert(options.end(), {"-q", "bent.obj", "out"});
    const DpkRun run = RunDpk(folder, options);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "");
    return Unpack(folder.Read("out"));
}

TEST(MeshImport, MeshesAreTurnedScaledAndCentered)
{
    TemporaryFolder folder;
    folder.Write("bent.obj", kBent);
    using Floats = std::vector<float>;
    EXPECT_EQ(FloatsOf(ModelOf(folder, {"--scale", "0.5"}), false),
              (Floats{1, 0, 0, 2, 0, 0, 2, 1, 0, 1, 1, 1}));
    EXPECT_EQ(FloatsOf(ModelOf(folder, {"--up", "z"}), false),
              (Floats{2, 0, 0, 4, 0, 0, 4, 0, -2, 2, 2, -2}));
    EXPECT_EQ(FloatsOf(ModelOf(folder, {"--center"}), false),
              (Floats{-1, -1, -1, 1, -1, -1, 1, 1, -1, -1, 1, 1}));
    EXPECT_EQ(
        FloatsOf(ModelOf(folder, {"--center", "--scale", "0.5"}), false),
        (Floats{-0.5f, -0.5f, -0.5f, 0.5f, -0.5f, -0.5f, 0.5f, 0.5f, -0.5f, -0.5f, 0.5f, 0.5f}));
}

TEST(MeshImport, FacesThatMeetAtMoreHaveAnEdge)
{
    TemporaryFolder folder;
    folder.Write("bent.obj", kBent);
    // The faces' normals are (0, 0, 1) and (1, -1, 1) / sqrt 3: they meet at 54.7 degrees.
    const std::string smooth = ModelOf(folder, {"--smooth", "60"});
    EXPECT_EQ(FloatsOf(smooth, true).size(), 12u);
    const std::vector<float> edged = FloatsOf(ModelOf(folder, {"--smooth", "50"}), true);
    ASSERT_EQ(edged.size(), 18u);
    const float third = static_cast<float>(1.0 / sqrt(3.0));
    for (size_t i = 0; i < 18; i += 3)
    {
        const bool isFirst = i < 9;
        EXPECT_FLOAT_EQ(edged[i], isFirst ? 0.0f : third);
        EXPECT_FLOAT_EQ(edged[i + 1], isFirst ? 0.0f : -third);
        EXPECT_FLOAT_EQ(edged[i + 2], isFirst ? 1.0f : third);
    }
}

TEST(MeshImport, NormalsWithoutALengthAreMade)
{
    TemporaryFolder folder;
    folder.Write("a.stl", "solid s\nfacet normal 0 0 0\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                          "vertex 0 1 0\nendloop\nendfacet\nendsolid s\n");
    ExpectModel(
        folder, "a.stl",
        {{0, 0, 0, 1, 0, 0, 0, 1, 0}, {{0, 0, 0, 0, 0, 0}}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 1, 2}},
        "vertices 3, triangles 1, texture coordinate sets 1, from (0, 0, 0) to (1, 1, 0)",
        {kNoCoords, "normals without a length: 3, smooth ones were made"});
}

TEST(MeshImport, AnEmptySolidIsNoReasonToRefuseTheRest)
{
    TemporaryFolder folder;
    folder.Write("a.stl", "solid empty\nendsolid empty\n"
                          "solid s\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                          "vertex 0 1 0\nendloop\nendfacet\nendsolid s\n");
    const DpkRun run = RunDpk(folder, {"model", "a.stl", "out"});
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out.find("out: vertices 3, triangles 1,"), std::string::npos) << run.out;
}

// ---- Files that are no meshes

TEST(MeshImport, WhatGivesNoTriangleIsAnErrorAndTheOldModelStays)
{
    TemporaryFolder folder;
    folder.Write("out", "old");
    folder.Write("dots.obj",
                 "# two dots and a line between them\nv 0 0 0\nv 1 0 0\np 1\np 2\nl 1 2\n");
    folder.Write("junk.obj", "this is a text of some length that holds no mesh at all\n");
    folder.Write("junk.unknown", "this is a text of some length that holds no mesh at all\n");
    folder.Write("endless.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n1\n");
    folder.Write("inf.obj", "v 0 0 inf\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\n");
    folder.Write("nan.obj", "v 0 0 nan\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//1\n");
    const struct
    {
        const char* source;
        const char* text; // the line begins so
    } cases[] = {
        {"dots.obj", "dots.obj: no triangle in it\n"},
        {"junk.obj", "junk.obj: "},
        {"junk.unknown", "junk.unknown: No suitable reader found"},
        {"endless.ply", "endless.ply: its header has no end\n"},
        {"inf.obj", "inf.obj: a vertex holds a number that is not finite\n"},
        {"nan.obj", "nan.obj: a vertex holds a number that is not finite\n"},
        {"nowhere.obj", "nowhere.obj: No such file or directory\n"},
        {".", ".: not a regular file\n"},
    };
    for (const auto& c : cases)
    {
        DpkRun run = RunDpk(folder, {"model", "--force", c.source, "out"});
        EXPECT_EQ(run.exitCode, 1) << c.source;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.find(std::string("dpk: ") + c.text), 0u) << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
        EXPECT_EQ(folder.Read("out"), "old");
    }
    EXPECT_EQ(FilesIn(folder), "dots.obj endless.ply inf.obj junk.obj junk.unknown nan.obj out");
}

TEST(MeshImport, AFileThatCrashesTheReaderIsAnError)
{
    TemporaryFolder folder;
    // A node that holds itself: the reader goes down until there is no stack.
    folder.Write("loop.dae", "<?xml version=\"1.0\"?><COLLADA version=\"1.4.1\">"
                             "<library_visual_scenes><visual_scene id=\"s\"><node id=\"n\">"
                             "<instance_node url=\"#n\"/></node></visual_scene>"
                             "</library_visual_scenes><scene><instance_visual_scene url=\"#s\"/>"
                             "</scene></COLLADA>");
    folder.Write("out", "old");
    DpkRun run = RunDpk(folder, {"model", "--force", "loop.dae", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "dpk: loop.dae: its import ended by signal 11 (Segmentation fault)\n");
    EXPECT_EQ(folder.Read("out"), "old");
    EXPECT_EQ(FilesIn(folder), "loop.dae out");
}

TEST(MeshImport, AFileThatClaimsGigabytesIsAnError)
{
    TemporaryFolder folder;
    folder.Write("huge.ply", "ply\nformat binary_little_endian 1.0\nelement vertex 400000000\n"
                             "property float x\nproperty float y\nproperty float z\n"
                             "element face 400000000\n"
                             "property list uint int vertex_indices\nend_header\n");
    DpkRun run = RunDpk(folder, {"model", "huge.ply", "out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err.find("dpk: huge.ply: "), 0u) << run.err;
    EXPECT_EQ(FilesIn(folder), "huge.ply");
}

TEST(MeshImport, AModelGoesToAPlaceThatExists)
{
    TemporaryFolder folder;
    folder.Write("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/1\n");
    DpkRun run = RunDpk(folder, {"model", "a.obj", "nowhere/out"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "dpk: nowhere/out: No such file or directory\n");
}
