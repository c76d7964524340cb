// SPDX-License-Identifier: MIT
#include "engine/data/model_data.h"

#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "support/byte_file.h"
#include "support/fault_text.h"
#include "support/package_builder.h"

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
        demo.name = "demo.xmlz";
        context.document = &demo;
        context.package = &package;
        context.faults = &faults;
        faults.place = PlaceAt("demo.xmlz", Section::kModels, 1);
    }

    void TearDown() override
    {
        FreeModel(&model);
        FreeFaults(&faults);
    }

    void Read(const Bytes& file, const char* item = "<m filename=\"triangle\"/>")
    {
        ReadContainer(Container(file), item);
    }

    /// Reads from a package whose only entry, "triangle", is this.
    void ReadContainer(const std::string& container, const char* item)
    {
        FreeModel(&model);
        const std::string bytes = MakePackage({{"triangle", container}});
        ASSERT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                      bytes.size(), &package, &faults));
        TiXmlDocument tree;
        tree.Parse(item);
        const bool isRead = ReadModelItem(tree.FirstChildElement(), &model, 0, &context);
        EXPECT_NE(isRead, HasFailed(&faults));
        ClosePackage(&package);
    }

    /// Reads the file with another size word.
    void ReadWithSize(const Bytes& file, uint8_t sizeWord)
    {
        std::string container = Container(file);
        container.replace(0, 4, std::string{static_cast<char>(sizeWord), 0, 0, 0});
        ReadContainer(container, "<m filename=\"triangle\"/>");
    }

    /// The lines of reading a file that is no model.
    std::string FaultOf(const Bytes& file, const char* item = "<m filename=\"triangle\"/>")
    {
        Read(file, item);
        std::string text = FaultText(faults);
        FreeFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kModels, 1);
        return text;
    }

    /// The offset in the file; offset 5 is where the vertices begin.
    size_t Offset(const void* pointer) const
    {
        return 5 + static_cast<size_t>(static_cast<const unsigned char*>(pointer) -
                                       reinterpret_cast<const unsigned char*>(model.mesh.vertices));
    }

    DemoDocument demo = {};
    ReadContext context = {};
    PackageFile package = {};
    FaultList faults = {};
    ModelData model = {};
};

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

TEST_F(ModelDataTest, BytesAfterTheLastWholeIndexAreNoIndex)
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

TEST_F(ModelDataTest, AllIndicesOfOneOrTwoSetsGoIntoTheBuffer)
{
    for (uint8_t sets : {uint8_t{1}, uint8_t{2}})
    {
        Read(Triangle(sets));
        const ModelIndexBytes bytes = GetModelIndexBytes(&model);
        EXPECT_EQ(bytes.size, 12u);
        EXPECT_EQ(bytes.present, 12u);
        EXPECT_EQ(bytes.count, 3u);
        EXPECT_EQ(model.fileSets, sets);
    }
}

TEST_F(ModelDataTest, TheIndexBufferGoesByOneOrTwoSetsWhateverTheFileHas)
{
    // Without sets it is 8 * 3 bytes too small: 12 - 24 is below nothing, so nothing is uploaded.
    Read(Triangle(0));
    ModelIndexBytes bytes = GetModelIndexBytes(&model);
    EXPECT_EQ(bytes.size, 0u);
    EXPECT_EQ(bytes.present, 0u);
    EXPECT_EQ(bytes.count, 0u);

    // With three sets it reaches 8 * 3 bytes past the end of the file; those zeros are not drawn.
    Read(Triangle(3));
    bytes = GetModelIndexBytes(&model);
    EXPECT_EQ(bytes.size, 36u);
    EXPECT_EQ(bytes.present, 12u);
    EXPECT_EQ(bytes.count, 3u);
    EXPECT_EQ(model.fileSets, 3u);
}

TEST_F(ModelDataTest, WithoutSetsTheIndexBufferIs8VBytesShort)
{
    Bytes file = {1, 0, 0, 0, 0};
    file.insert(file.end(), 24 + 12 * 4, 0); // one vertex, its normal, twelve times index 0
    Read(file);
    EXPECT_EQ(model.mesh.indexCount, 12u);
    EXPECT_EQ(GetModelIndexBytes(&model).size, 40u); // and not 48
    EXPECT_EQ(GetModelIndexBytes(&model).count, 10u);
}

TEST_F(ModelDataTest, NoMoreIndicesAreDrawnFromABufferThanItHolds)
{
    Bytes file = Triangle(0);
    for (uint32_t index : {2u, 1u, 0u, 0u, 2u, 1u})
    {
        AppendLittle(&file, index);
    }
    AppendBytes(&file, {0, 0, 0});
    Read(file); // 39 bytes after the arrays, of which 8 * 3 are left out
    EXPECT_EQ(model.mesh.indexCount, 9u);
    EXPECT_EQ(GetModelIndexBytes(&model).size, 15u);
    EXPECT_EQ(GetModelIndexBytes(&model).present, 15u);
    EXPECT_EQ(GetModelIndexBytes(&model).count, 3u);
}

TEST_F(ModelDataTest, ClaimsThatTheFileDoesNotHoldAreFaults)
{
    const std::string at = "quorvale: demo.xmlz, section 2 (models), item 1: ";
    EXPECT_EQ(FaultOf({3, 0, 0, 0}), at + "model \"triangle\" is shorter than its header\n");

    Bytes claims = Triangle(1);
    claims[0] = 4; // 5 + 32 * 4 = 133 bytes, and the file has 113
    EXPECT_EQ(FaultOf(claims), at + "model \"triangle\" claims 4 vertices with 1 coordinate sets, "
                                    "more than its 113 bytes\n");
    claims[0] = claims[1] = claims[2] = claims[3] = claims[4] = 0xff; // wraps in 32 bits
    EXPECT_EQ(FaultOf(claims), at + "model \"triangle\" claims 4294967295 vertices with 255 "
                                    "coordinate sets, more than its 113 bytes\n");

    Bytes index = Triangle(1);
    index[101 + 8] = 3;
    EXPECT_EQ(FaultOf(index), at + "model \"triangle\": index 2 names vertex 3 of 3\n");
}

TEST_F(ModelDataTest, AnIndexIntoNoVerticesIsAFault)
{
    EXPECT_EQ(FaultOf({0, 0, 0, 0, 1, 0, 0, 0, 0}),
              "quorvale: demo.xmlz, section 2 (models), item 1: "
              "model \"triangle\": index 0 names vertex 0 of 0\n");
}

TEST_F(ModelDataTest, AMissingNameOrEntryIsAFault)
{
    const std::string at = "quorvale: demo.xmlz, section 2 (models), item 1: ";
    EXPECT_EQ(FaultOf(Triangle(1), "<m file=\"triangle\"/>"),
              at + "attribute \"filename\" of <m> is missing\n");
    EXPECT_EQ(FaultOf(Triangle(1), "<m filename=\"other\"/>"),
              at + "the package has no model \"other\"\n");
}

TEST_F(ModelDataTest, FreeingLeavesARecordOfZeros)
{
    Read(Triangle(1));
    FreeModel(&model);
    EXPECT_EQ(model.block, nullptr);
    EXPECT_EQ(model.mesh.vertices, nullptr);
    FreeModel(&model);
}
