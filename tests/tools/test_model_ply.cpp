// SPDX-License-Identifier: MIT
#include "tools/model_ply.h"

#include <cmath>
#include <gtest/gtest.h>

#include "support/package_builder.h"
#include "tools/container.h"

static const ModelSource kTriangle = {
    {0.1f, -0.0f, 1e-40f, 1.0f, 2.0f, 3.0f, 16777216.0f, 0.33333334f, -1e30f},
    {{0.0f, 0.25f, 0.5f, 0.75f, 1.0f, 1.25f}, {9.0f, 8.0f, 7.0f, 6.0f, 5.0f, 4.0f}},
    {0.0f, 0.0f, 1.0f, 0.0f, 1.0f, 0.0f, 1.0f, 0.0f, 0.0f},
    {0, 1, 2, 2, 1, 0}};

static const std::string kTrianglePly = "ply\n"
                                        "format ascii 1.0\n"
                                        "comment quorvale model\n"
                                        "element vertex 3\n"
                                        "property float x\n"
                                        "property float y\n"
                                        "property float z\n"
                                        "property float nx\n"
                                        "property float ny\n"
                                        "property float nz\n"
                                        "property float s\n"
                                        "property float t\n"
                                        "property float s2\n"
                                        "property float t2\n"
                                        "element face 2\n"
                                        "property list uchar uint vertex_indices\n"
                                        "end_header\n"
                                        "0.1 -0 1e-40 0 0 1 0 0.25 9 8\n"
                                        "1 2 3 0 1 0 0.5 0.75 7 6\n"
                                        "16777216 0.33333334 -1e+30 1 0 0 1 1.25 5 4\n"
                                        "3 0 1 2\n"
                                        "3 2 1 0\n";

static Bytes ModelBytes(const ModelSource& source)
{
    const std::string container = MakeModel(source);
    Bytes model;
    EXPECT_EQ(UnpackContainer(Bytes(container.begin(), container.end()), &model), nullptr);
    return model;
}

static Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

static std::string Replaced(const std::string& old, const std::string& now)
{
    std::string text = kTrianglePly;
    text.replace(text.find(old), old.size(), now);
    return text;
}

static std::string FaultOf(const std::string& text)
{
    Bytes model;
    return ReadModelPly(BytesOf(text), &model);
}

TEST(ModelPly, SaysEveryNumberOfAModel)
{
    Bytes ply;
    ASSERT_TRUE(WriteModelPly(ModelBytes(kTriangle), &ply));
    EXPECT_EQ(std::string(ply.begin(), ply.end()), kTrianglePly);
}

TEST(ModelPly, ReadsBackToTheSameBytes)
{
    Bytes model;
    ASSERT_EQ(ReadModelPly(BytesOf(kTrianglePly), &model), "");
    EXPECT_EQ(model, ModelBytes(kTriangle));
}

TEST(ModelPly, LeavesOutTheSecondSetThatAModelLacks)
{
    ModelSource source = kTriangle;
    source.texCoords.pop_back();
    Bytes ply;
    Bytes model;
    ASSERT_TRUE(WriteModelPly(ModelBytes(source), &ply));
    EXPECT_EQ(std::string(ply.begin(), ply.end()).find("s2"), std::string::npos);
    ASSERT_EQ(ReadModelPly(ply, &model), "");
    EXPECT_EQ(model, ModelBytes(source));
}

TEST(ModelPly, ReadsLineEndsOfOtherSystems)
{
    std::string text;
    for (const char c : kTrianglePly)
    {
        text += c == '\n' ? "\r\n" : std::string(1, c);
    }
    Bytes model;
    ASSERT_TRUE(IsModelPly(BytesOf(text)));
    ASSERT_EQ(ReadModelPly(BytesOf(text), &model), "");
    EXPECT_EQ(model, ModelBytes(kTriangle));
}

TEST(ModelPly, RefusesModelsThatItCannotSay)
{
    const auto isRefused = [](const ModelSource& source)
    {
        Bytes ply;
        return !WriteModelPly(ModelBytes(source), &ply);
    };
    ModelSource source = kTriangle;
    source.indices[5] = 3; // past the last vertex
    EXPECT_TRUE(isRefused(source));
    source = kTriangle;
    source.indices.pop_back(); // no whole triangle
    EXPECT_TRUE(isRefused(source));
    source = kTriangle;
    source.vertices[4] = NAN;
    EXPECT_TRUE(isRefused(source));
    source = kTriangle;
    source.texCoords.clear();
    EXPECT_TRUE(isRefused(source));
    Bytes ply;
    EXPECT_FALSE(WriteModelPly({3, 0, 0, 0, 1}, &ply));
    EXPECT_FALSE(WriteModelPly({}, &ply));
}

TEST(ModelPly, FaultsHaveTheirLine)
{
    EXPECT_EQ(FaultOf(Replaced("0.1 -0", "0.1 x")), "line 18: no finite number of a vertex");
    EXPECT_EQ(FaultOf(Replaced("0.1 -0", "inf -0")), "line 18: no finite number of a vertex");
    EXPECT_EQ(FaultOf(Replaced("3 0 1 2", "4 0 1 2")), "line 21: no face of 3 corners");
    EXPECT_EQ(FaultOf(Replaced("3 0 1 2", "3 0 1 3")), "line 21: no number of a vertex");
    EXPECT_EQ(FaultOf(Replaced("3 0 1 2", "3 0 1 -2")), "line 21: no number of a vertex");
    EXPECT_EQ(FaultOf(Replaced("float s2", "float q2")),
              "line 13: not as the header of a model goes on");
    EXPECT_EQ(FaultOf(kTrianglePly + "3 0 1 2\n"), "line 23: more than all faces");
}

TEST(ModelPly, CountsWithoutLinesTakeNoMemory)
{
    EXPECT_EQ(FaultOf(Replaced("vertex 3", "vertex 4294967295")), "it ends before its last face");
    EXPECT_EQ(FaultOf(Replaced("face 2", "face 4294967295")), "it ends before its last face");
}

TEST(ModelPly, OtherFilesAreNone)
{
    EXPECT_TRUE(IsModelPly(BytesOf(kTrianglePly)));
    EXPECT_FALSE(IsModelPly(BytesOf(Replaced("comment quorvale model", "comment by hand"))));
    EXPECT_FALSE(IsModelPly(BytesOf("v 0 0 0\n")));
    EXPECT_FALSE(IsModelPly({}));
}
