#include "engine/data/model_data.h"

#include <GL/glew.h>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "engine/data/fault.h"
#include "support/byte_file.h"
#include "support/package_builder.h"
#include "support/recorded_gl.h"

static void AppendLittle(Bytes* bytes, uint32_t value)
{
    AppendBytes(bytes, {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                        static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)});
}

static void AppendFloat(Bytes* bytes, float value)
{
    AppendLittle(bytes, std::bit_cast<uint32_t>(value));
}

/// Three vertices with T coordinate sets and the index list 0, 1, 2. Floats count up from 1 in file
/// order, so that each array can be told by its first float.
static Bytes Triangle(uint8_t sets)
{
    Bytes file;
    AppendLittle(&file, 3);
    file.push_back(sets);
    for (int k = 0; k < 3 * 2 * (3 + sets); ++k)
    {
        AppendFloat(&file, static_cast<float>(k + 1));
    }
    for (uint32_t index : {0u, 1u, 2u})
    {
        AppendLittle(&file, index);
    }
    return file;
}

static std::string Container(const Bytes& file)
{
    return MakeContainer(std::string(file.begin(), file.end()));
}

class ModelDataTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        ResetGl();
        glewInit();
        TakeGlCalls();
        demo.name = "demo.xmlz";
        context.document = &demo;
        CurrentPlace = {"demo.xmlz", 2, 1, 0};
    }

    void TearDown() override
    {
        if (model.block != nullptr)
        {
            // The block begins 11 bytes into its allocation, where offset 5 is aligned.
            free(model.block - 11);
        }
        CurrentPlace = {nullptr, kNoSection, 0, 0};
    }

    void Read(const Bytes& file, const char* item = "<m filename=\"triangle\"/>")
    {
        ReadContainer(Container(file), item);
    }

    /// Reads from a package whose only entry, "triangle", is this.
    void ReadContainer(const std::string& container, const char* item)
    {
        context.package = OpenBytes(MakePackage({{"triangle", container}}));
        TiXmlDocument tree;
        tree.Parse(item);
        memset(static_cast<void*>(&model), 0xA5, sizeof model); // as the table leaves it
        ReadModelItem(tree.FirstChildElement(), &model, 0, &context);
        fclose(context.package);
    }

    /// Reads the file behind another size word.
    void ReadWithSize(const Bytes& file, uint8_t sizeWord)
    {
        std::string container = Container(file);
        container.replace(0, 4, std::string{static_cast<char>(sizeWord), 0, 0, 0});
        ReadContainer(container, "<m filename=\"triangle\"/>");
    }

    void ReadInDemo(const Bytes& file)
    {
        context.isDemo = true;
        context.features.vbo = 1;
        Read(file);
    }

    size_t Offset(const void* pointer) const
    {
        return static_cast<size_t>(static_cast<const unsigned char*>(pointer) - model.block);
    }

    DemoDocument demo = {};
    LoadContext context = {};
    ModelData model = {};
};

using ModelDataDeathTest = ModelDataTest;

TEST_F(ModelDataTest, ATriangleWithOneSetIs113BytesLong)
{
    Bytes file = Triangle(1);
    ASSERT_EQ(file.size(), 113u);
    Read(file);
    EXPECT_EQ(model.mesh.vertexCount, 3u);
    EXPECT_EQ(model.mesh.indexCount, 3u);
    EXPECT_EQ(model.mesh.texCoordSets, 1);
    EXPECT_EQ(Offset(model.mesh.vertices), 5u);
    EXPECT_EQ(Offset(model.mesh.texCoords1), 5u + 36);
    EXPECT_EQ(model.mesh.texCoords2, nullptr);
    EXPECT_EQ(Offset(model.mesh.normals), 5u + 20 * 3);
    EXPECT_EQ(Offset(model.mesh.indices), 5u + 32 * 3);
    EXPECT_EQ(model.mesh.vertices[0], 1.0f);
    EXPECT_EQ(model.mesh.texCoords1[0], 10.0f);
    EXPECT_EQ(model.mesh.normals[0], 16.0f);
    EXPECT_EQ(model.mesh.indices[2], 2u);
}

TEST_F(ModelDataTest, TwoSetsMoveNormalsAndIndices)
{
    Read(Triangle(2));
    EXPECT_EQ(model.mesh.texCoordSets, 2);
    EXPECT_EQ(Offset(model.mesh.texCoords1), 5u + 36);
    EXPECT_EQ(Offset(model.mesh.texCoords2), 5u + 60);
    EXPECT_NE(model.mesh.texCoords2, model.mesh.texCoords1);
    EXPECT_EQ(Offset(model.mesh.normals), 5u + 28 * 3);
    EXPECT_EQ(Offset(model.mesh.indices), 5u + 40 * 3);
    EXPECT_EQ(model.mesh.indexCount, 3u);
}

TEST_F(ModelDataTest, WithoutSetsTheCoordinatesCoincideWithTheNormals)
{
    Read(Triangle(0));
    EXPECT_EQ(model.mesh.texCoordSets, 1);
    EXPECT_EQ(Offset(model.mesh.texCoords1), 5u + 36);
    EXPECT_EQ(model.mesh.normals, model.mesh.texCoords1);
    EXPECT_EQ(Offset(model.mesh.indices), 5u + 24 * 3);
    EXPECT_EQ(model.mesh.indexCount, 3u);
}

TEST_F(ModelDataTest, WithThreeSetsTheOffsetsGoByTheFile)
{
    Read(Triangle(3));
    EXPECT_EQ(model.mesh.texCoordSets, 2);
    EXPECT_EQ(Offset(model.mesh.texCoords2), 5u + 60);
    EXPECT_EQ(Offset(model.mesh.normals), 5u + 36 * 3);
    EXPECT_EQ(Offset(model.mesh.indices), 5u + 48 * 3);
    EXPECT_EQ(model.mesh.indexCount, 3u);
}

TEST_F(ModelDataTest, AModelWithoutVerticesHasItsIndexListAtOffset5)
{
    Read({0, 0, 0, 0, 1});
    EXPECT_EQ(Offset(model.mesh.indices), 5u);
    EXPECT_EQ(model.mesh.indexCount, 0u);
}

TEST_F(ModelDataTest, BytesBehindTheLastWholeIndexAreNoIndex)
{
    Bytes file = Triangle(1);
    AppendBytes(&file, {0, 0, 0});
    Read(file);
    EXPECT_EQ(model.mesh.indexCount, 3u);
}

TEST_F(ModelDataTest, TheIndexCountGoesByTheSizeWord)
{
    // The stream gives 113 bytes, the last 12 of them indices 0, 1, 2.
    ReadWithSize(Triangle(1), 113 - 4);
    EXPECT_EQ(model.mesh.indexCount, 2u);
    EXPECT_EQ(model.mesh.indices[1], 1u);
    free(model.block - 11);

    ReadWithSize(Triangle(1), 113 + 8); // what the stream does not give is zeros
    ASSERT_EQ(model.mesh.indexCount, 5u);
    EXPECT_EQ(model.mesh.indices[2], 2u);
    EXPECT_EQ(model.mesh.indices[3], 0u);
    EXPECT_EQ(model.mesh.indices[4], 0u);
}

TEST_F(ModelDataTest, ArraysAreAligned)
{
    Read(Triangle(1));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(model.mesh.vertices) % 16, 0u);
    for (const void* array : {static_cast<const void*>(model.mesh.normals),
                              static_cast<const void*>(model.mesh.indices)})
    {
        EXPECT_EQ(reinterpret_cast<uintptr_t>(array) % 4, 0u);
    }
}

TEST_F(ModelDataTest, TheDemoUploadsFourBuffersOfAModelWithOneSet)
{
    ReadInDemo(Triangle(1));
    EXPECT_EQ(TakeGlCalls(), "GenBuffers 1 1\n"
                             "BindBuffer ARRAY_BUFFER 1\n"
                             "BufferData ARRAY_BUFFER 36 ? STATIC_DRAW\n"
                             "GenBuffers 1 2\n"
                             "BindBuffer ARRAY_BUFFER 2\n"
                             "BufferData ARRAY_BUFFER 24 ? STATIC_DRAW\n"
                             "GenBuffers 1 3\n"
                             "BindBuffer ARRAY_BUFFER 3\n"
                             "BufferData ARRAY_BUFFER 36 ? STATIC_DRAW\n"
                             "GenBuffers 1 4\n"
                             "BindBuffer ELEMENT_ARRAY_BUFFER 4\n"
                             "BufferData ELEMENT_ARRAY_BUFFER 12 ? STATIC_DRAW\n"
                             "BindBuffer ARRAY_BUFFER 0\n"
                             "BindBuffer ELEMENT_ARRAY_BUFFER 0\n");
    EXPECT_EQ(model.vertexBuffer, 1u);
    EXPECT_EQ(model.texCoordBuffer1, 2u);
    EXPECT_EQ(model.texCoordBuffer2, 0u);
    EXPECT_EQ(model.normalBuffer, 3u);
    EXPECT_EQ(model.indexBuffer, 4u);
    EXPECT_EQ(model.bufferIndexCount, 3u);

    const Bytes file = Triangle(1);
    EXPECT_EQ(GlBufferBytes(1), Bytes(file.begin() + 5, file.begin() + 41));
    EXPECT_EQ(GlBufferBytes(2), Bytes(file.begin() + 41, file.begin() + 65));
    EXPECT_EQ(GlBufferBytes(3), Bytes(file.begin() + 65, file.begin() + 101));
    EXPECT_EQ(GlBufferBytes(4), Bytes(file.begin() + 101, file.end()));
}

TEST_F(ModelDataTest, ASecondSetGetsABufferBetweenTheFirstAndTheNormals)
{
    ReadInDemo(Triangle(2));
    EXPECT_EQ(model.texCoordBuffer1, 2u);
    EXPECT_EQ(model.texCoordBuffer2, 3u);
    EXPECT_EQ(model.normalBuffer, 4u);
    EXPECT_EQ(model.indexBuffer, 5u);
    const Bytes file = Triangle(2);
    EXPECT_EQ(GlBufferBytes(3), Bytes(file.begin() + 65, file.begin() + 89));
    EXPECT_EQ(GlBufferBytes(5).size(), 12u);
    EXPECT_EQ(model.bufferIndexCount, 3u);
}

TEST_F(ModelDataTest, TheIndexBufferGoesByOneOrTwoSetsWhateverTheFileHas)
{
    // Without sets it is 8 * 3 bytes too small: 12 - 24 is below nothing, so nothing is uploaded.
    ReadInDemo(Triangle(0));
    EXPECT_EQ(GlBufferBytes(model.indexBuffer).size(), 0u);
    EXPECT_EQ(model.bufferIndexCount, 0u);
    free(model.block - 11);

    // With three sets it reaches 8 * 3 bytes behind the file, and zeros stand there.
    ReadInDemo(Triangle(3));
    Bytes expected;
    for (uint32_t index : {0u, 1u, 2u, 0u, 0u, 0u, 0u, 0u, 0u})
    {
        AppendLittle(&expected, index);
    }
    EXPECT_EQ(GlBufferBytes(model.indexBuffer), expected);
    EXPECT_EQ(model.bufferIndexCount, 3u); // the zeros are not drawn
}

TEST_F(ModelDataTest, WithoutSetsTheIndexBufferIs8VBytesShort)
{
    Bytes file = {1, 0, 0, 0, 0};
    file.insert(file.end(), 24 + 12 * 4, 0); // one vertex, its normal, twelve times index 0
    ReadInDemo(file);
    EXPECT_EQ(model.mesh.indexCount, 12u);
    EXPECT_EQ(GlBufferBytes(model.indexBuffer).size(), 40u); // and not 48
}

TEST_F(ModelDataTest, NoMoreIndicesAreDrawnFromABufferThanItHolds)
{
    Bytes file = Triangle(0);
    for (uint32_t index : {2u, 1u, 0u, 0u, 2u, 1u})
    {
        AppendLittle(&file, index);
    }
    AppendBytes(&file, {0, 0, 0});
    ReadInDemo(file); // 39 bytes behind the arrays, of which 8 * 3 are left out
    EXPECT_EQ(model.mesh.indexCount, 9u);
    EXPECT_EQ(GlBufferBytes(model.indexBuffer).size(), 15u);
    EXPECT_EQ(model.bufferIndexCount, 3u);
}

TEST_F(ModelDataTest, WithoutTheVboSwitchNothingIsUploaded)
{
    context.isDemo = true;
    context.features.vbo = 0;
    Read(Triangle(1));
    EXPECT_EQ(TakeGlCalls(), "");
    EXPECT_EQ(model.vertexBuffer, 0u);
    EXPECT_EQ(model.bufferIndexCount, 0u);
    EXPECT_EQ(model.mesh.indexCount, 3u);
}

TEST_F(ModelDataTest, ModelsOfTheLoadingDocumentNeverGetBuffers)
{
    context.isDemo = false;
    context.features.vbo = 1;
    Read(Triangle(1));
    EXPECT_EQ(TakeGlCalls(), "");
}

TEST_F(ModelDataDeathTest, WhatTheFileDoesNotHoldIsFatal)
{
    EXPECT_EXIT(Read({3, 0, 0, 0}), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 2 \\(models\\), item 1: "
                "model \"triangle\" is shorter than its header");

    Bytes claims = Triangle(1);
    claims[0] = 4; // 5 + 32 * 4 = 133 bytes, and the file has 113
    EXPECT_EXIT(Read(claims), testing::ExitedWithCode(1),
                "model \"triangle\" claims 4 vertices with 1 coordinate sets, more than its 113 "
                "bytes");
    claims[0] = claims[1] = claims[2] = claims[3] = claims[4] = 0xff; // wraps in 32 bits
    EXPECT_EXIT(Read(claims), testing::ExitedWithCode(1), "claims 4294967295 vertices");

    Bytes index = Triangle(1);
    index[101 + 8] = 3;
    EXPECT_EXIT(Read(index), testing::ExitedWithCode(1), "index 2 names vertex 3 of 3");
}

TEST_F(ModelDataDeathTest, AnIndexIntoNoVerticesIsFatal)
{
    EXPECT_EXIT(Read({0, 0, 0, 0, 1, 0, 0, 0, 0}), testing::ExitedWithCode(1),
                "model \"triangle\": index 0 names vertex 0 of 0");
}

TEST_F(ModelDataDeathTest, AMissingNameOrEntryIsFatal)
{
    EXPECT_EXIT(Read(Triangle(1), "<m file=\"triangle\"/>"), testing::ExitedWithCode(1),
                "attribute \"filename\" of <m> is missing");
    EXPECT_EXIT(Read(Triangle(1), "<m filename=\"other\"/>"), testing::ExitedWithCode(1),
                "the package has no model \"other\"");
}
